// Peaks of a recording beside what another tool keeps of it.
#include "WaveFile.h"
#include "support/PeakReference.h"
#include "support/WholeFile.h"

#include <gtest/gtest.h>

namespace {

constexpr int framesPerPoint = 64;
constexpr std::size_t headerBytes = 20;

Bytes ReadFile(const std::string& name)
{
    const std::string bytes = WholeFile(NVLIB_TEST_DATA "/peaks/audiowaveform-" + name);
    return Bytes(bytes.begin(), bytes.end());
}

} // namespace

TEST(RealPeaks, AgreeWithAnotherTools)
{
    CWaveFile wave;
    ASSERT_TRUE(
        wave.Open(NVLIB_TEST_DATA "/peaks/audiowaveform-test_file_stereo.wav", CFile::modeRead | CFile::shareDenyNone));
    const int frames = static_cast<int>(wave.GetLength());
    ASSERT_GT(frames, 100'000);
    std::vector<i16> both(static_cast<std::size_t>(frames) * 2);
    ASSERT_EQ(wave.Read(both.data(), frames), frames);
    Bytes mixed(both.size()); // that tool's: truncated towards zero
    u8* to = mixed.data();
    for (std::size_t k = 0; k < both.size(); k += 2)
        Put(to, (both[k] + both[k + 1]) / 2, 2);
    ByteSound mono({16, 1}, mixed);
    CPeakFile peaks;
    ASSERT_EQ(peaks.Create("mix.wav", &mono, framesPerPoint, false, [] { return false; }), 1);
    const int count = static_cast<int>(peaks.GetSectorCount());
    const Points points(peaks, 16, 1, 0, count, framesPerPoint);
    const Bytes wide = ReadFile("test_file_stereo_16bit_64spp_wav.dat"),
                narrow = ReadFile("test_file_stereo_8bit_64spp_wav.dat");
    ASSERT_EQ(wide.size(), headerBytes + static_cast<std::size_t>(count) * 4);
    ASSERT_EQ(narrow.size(), headerBytes + static_cast<std::size_t>(count) * 2);
    const std::span<const u8> values(wide.begin() + headerBytes, wide.end());
    for (int k = 0; k < count; ++k) {
        const auto at = static_cast<std::size_t>(k);
        ASSERT_EQ(points.minima[at], SampleOf(values, {16, 2}, k, 0)) << "point " << k;
        ASSERT_EQ(points.maxima[at], SampleOf(values, {16, 2}, k, 1)) << "point " << k;
        ASSERT_EQ(points.minima[at] / 256, static_cast<signed char>(narrow[headerBytes + 2 * at])) << "point " << k;
        ASSERT_EQ(points.maxima[at] / 256, static_cast<signed char>(narrow[headerBytes + 2 * at + 1])) << "point " << k;
    }
}
