// Files of many makers, against what independent tools say of them.
#include "WaveFile.h"
#include "support/Table.h"

#include <gtest/gtest.h>
#include <regex>
#include <set>

namespace {

// Why the rules refuse them.
const std::set<std::string> refused = {
    "wav/arver-sample_be.wav",                                      // big-endian
    "wav/scipy-test-44100Hz-2ch-32bit-float-be.wav",                // big-endian
    "wav/scipy-test-44100Hz-le-1ch-4bytes-rf64.wav",                // 64-bit sizes
    "wav/scipy-test-8000Hz-le-3ch-5S-24bit-rf64.wav",               // 64-bit sizes
    "wav/goaudio-misaligned-chunk-first61440bytes.wav",             // a padded odd chunk before the data
    "wav/gstreamer-corruptheadertestsrc.wav",                       // no data chunk
    "wav/scipy-test-44100Hz-le-1ch-4bytes-early-eof-no-data.wav",   // no data chunk
    "wav/scipy-test-44100Hz-le-1ch-4bytes-incomplete-chunk.wav",    // cut in the first chunk
    "wav/hound-crash-24728523ef4be15c838293b676f6853e73723bf4.wav", // format chunk past the end
    "wav/hound-crash-b8447179832529c48f9c6bf17feab6337bbc78ea.wav", // format chunk past the end
    "wav/taglib-invalid-chunk.wav",                                 // no format chunk
    "wav/tinytag-invalid_file.wav",                                 // one byte
};

} // namespace

TEST(RealFiles, WavFilesGiveTheirManifest)
{
    const std::string folder = NVLIB_TEST_DATA "/";
    const auto rows = ReadTable(folder + "expected_wav.tsv");
    ASSERT_GT(rows.size(), 60U);
    const std::regex dataChunk("data@(\\d+):(\\d+)");
    for (Row row : rows) {
        SCOPED_TRACE(row["file"]);
        CWaveFile file;
        ASSERT_EQ(file.Open((folder + row["file"]).c_str(), CFile::modeRead), !refused.contains(row["file"]));
        if (refused.contains(row["file"]))
            continue;
        const WAVEFORMATEX& format = file.GetFormat();
        const std::pair<const char*, u32> fields[] = {
            {"tag", format.wFormatTag},      {"channels", format.nChannels},
            {"rate", format.nSamplesPerSec}, {"avg_bytes", format.nAvgBytesPerSec},
            {"align", format.nBlockAlign},   {"bits", format.wBitsPerSample}};
        for (const auto& [name, value] : fields)
            EXPECT_EQ(std::to_string(value), row[name]) << name;
        std::smatch data;
        ASSERT_TRUE(std::regex_search(row["riff_chunks"], data, dataChunk));
        const i64 there = std::stoll(row["bytes"]) - std::stoll(data[1]) - 8;
        const i64 frames = format.nBlockAlign ? std::min<i64>(there, std::stoll(data[2])) / format.nBlockAlign : 0;
        EXPECT_EQ(file.GetLength(), frames);
        const bool oneFrameABlock =
            format.wBitsPerSample >= 8 && format.nBlockAlign == (format.wBitsPerSample + 7) / 8 * format.nChannels;
        if (oneFrameABlock && row["sndfile_frames"] != "refused") {
            EXPECT_EQ(std::to_string(file.GetLength()), row["sndfile_frames"]);
        }
        std::vector<u8> all(static_cast<std::size_t>(frames + 1) * format.nBlockAlign);
        EXPECT_EQ(file.Read(all.data(), static_cast<int>(frames) + 1), frames);
        EXPECT_EQ(file.GetPosition(), frames);
    }
}
