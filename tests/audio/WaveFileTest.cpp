// WAV files: the stored bytes, edits against a model in memory, hostile headers, disks and sizes at their limits.
#include "WaveFile.h"
#include "support/Noise.h"
#include "support/SmallDisk.h"

#include <gtest/gtest.h>
#include <random>
#include <vector>

namespace {

constexpr int create = CFile::modeCreate | CFile::modeReadWrite, edit = CFile::modeReadWrite, look = CFile::modeRead;

std::string Le(u32 value, int bytes)
{
    std::string text;
    for (int k = 0; k < bytes; ++k)
        text += static_cast<char>(value >> (8 * k));
    return text;
}

std::string Chunk(const char* id, const std::string& data)
{
    return id + Le(static_cast<u32>(data.size()), 4) + data;
}

std::string Fmt(u16 channels = 2, u16 align = 4, u16 bits = 16, const std::string& more = "")
{
    return Chunk("fmt ",
                 Le(1, 2) + Le(channels, 2) + Le(44100, 4) + Le(44100U * align, 4) + Le(align, 2) + Le(bits, 2) + more);
}

std::string Riff(const std::string& chunks)
{
    return Chunk("RIFF", "WAVE" + chunks);
}

} // namespace

TEST(WaveFile, StoresTheHeaderByteForByte)
{
    const TempFolder folder;
    const std::string path = folder.Path("a.wav");
    CWaveFile file;
    ASSERT_TRUE(file.Open(path.c_str(), create));
    EXPECT_EQ(std::string(file.GetName()), path);
    EXPECT_TRUE(file.Close());
    const std::string empty(
        "RIFF\x24\0\0\0WAVEfmt \x10\0\0\0\x01\0\x02\0\x44\xAC\0\0\x10\xB1\x02\0\x04\0\x10\0data\0\0\0\0", 44);
    EXPECT_EQ(folder.Read("a.wav"), empty);

    ASSERT_TRUE(file.Open(path.c_str(), create));
    WAVEFORMATEX mono = file.GetFormat();
    mono.nChannels = 1;
    mono.nSamplesPerSec = 8000;
    CSoundFile::UpdateFormat(&mono);
    file.SetFormat(mono);
    char frames[] = "abcdef";
    EXPECT_EQ(file.Write(frames, 3), 3);
    EXPECT_EQ(file.GetLength(), 3);
    file.Close();
    const std::string three(
        "RIFF\x2A\0\0\0WAVEfmt \x10\0\0\0\x01\0\x01\0\x40\x1F\0\0\x80\x3E\0\0\x02\0\x10\0data\x06\0\0\0abcdef", 50);
    EXPECT_EQ(folder.Read("a.wav"), three);
}

TEST(WaveFile, EditsKeepWhatFollowsTheData)
{
    // Random writes and seeks, beside the same done to strings. With frames of 3 bytes nothing falls on round numbers.
    for (unsigned seed = 0; seed < 24; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        const TempFolder folder;
        const std::string fmt = Fmt(1, 3, 24, seed % 3 ? std::string(seed % 3 * 12 - 10, 'x') : "");
        const std::string behind = seed % 4 == 0 ? "" : Chunk("LIST", Noise(seed, seed % 4 == 1 ? 9 : 600'000));
        std::string data = Noise(99, 30);
        const std::string before = Chunk("JUNK", "12345678") + fmt;
        folder.Write("a.wav", Riff(before + Chunk("data", data) + behind));
        CWaveFile file;
        ASSERT_TRUE(file.Open(folder.Path("a.wav").c_str(), edit));
        i64 position = 0;
        for (int step = 0; step < 12; ++step) {
            if (random() % 3 == 0) {
                position = static_cast<i64>(random() % (data.size() / 3 + 20));
                ASSERT_EQ(file.Seek(position, 0), position);
            }
            const int frames = static_cast<int>(random() % (step % 4 ? 50 : 200'000));
            std::string bytes = Noise(static_cast<unsigned>(random()), static_cast<std::size_t>(frames) * 3);
            ASSERT_EQ(file.Write(bytes.data(), frames), frames);
            const auto at = static_cast<std::size_t>(position * 3);
            if (frames > 0)
                data.resize(std::max(data.size(), at + bytes.size()));
            data.replace(at, bytes.size(), bytes);
            position += frames;
            ASSERT_EQ(file.GetPosition(), position);
            ASSERT_EQ(file.GetLength(), static_cast<i64>(data.size()) / 3);
        }
        ASSERT_EQ(file.Seek(0, 0), 0);
        std::string read(data.size() + 30, '\0'); // asks for more than there is
        ASSERT_EQ(file.Read(read.data(), static_cast<int>(read.size() / 3)), static_cast<int>(data.size() / 3));
        EXPECT_TRUE(read.compare(0, data.size(), data) == 0);
        file.Close();
        EXPECT_TRUE(folder.Read("a.wav") == Riff(before + Chunk("data", data) + behind));
    }
}

TEST(WaveFile, SeeksFromThreeOrigins)
{
    const TempFolder folder;
    folder.Write("a.wav", Riff(Fmt() + Chunk("data", Noise(1, 40)) + Chunk("LIST", "1234")));
    CWaveFile file;
    ASSERT_TRUE(file.Open(folder.Path("a.wav").c_str(), look));
    struct Case {
        const char* name;
        i64 frames;
        int from;
        i64 result;
    };
    for (const Case& c :
         {Case{"start", 3, 0, 3}, Case{"current", 4, 1, 7}, Case{"current, back", -2, 1, 5},
          Case{"behind the end is fine", 100, 0, 100}, Case{"end: what follows the data is added", 0, 2, 16},
          Case{"into the header", -2, 0, -2}, Case{"before the file", -12, 0, -1}, Case{"too far", INT64_MAX, 0, -1},
          Case{"no such origin", 0, 3, -1}, Case{"failures moved nothing", 0, 1, -2}}) {
        EXPECT_EQ(file.Seek(c.frames, c.from), c.result) << c.name;
        EXPECT_TRUE(c.result == -1 || file.GetPosition() == c.result) << c.name;
    }
}

TEST(WaveFile, AcceptsAndRefusesByTheChunksAlone)
{
    const std::string data = Chunk("data", "12345678");
    struct Case {
        const char* name;
        std::string bytes;
        i64 length; // -1: refused
    };
    const std::vector<Case> cases = {
        {"plain", Riff(Fmt() + data), 2},
        {"something in front of RIFF", Chunk("ID3 ", "abc") + Riff(Fmt() + data), 2},
        {"RIFF size wrong", "RIFF" + Le(0xFFFFFFFF, 4) + "WAVE" + Fmt() + data, 2},
        {"data size past the end", Riff(Fmt() + "data" + Le(0xFFFFFFFF, 4) + "12345678"), 2},
        {"data size 0 with bytes behind", Riff(Fmt() + Chunk("data", "") + "12345678"), 0},
        {"a partial frame", Riff(Fmt() + Chunk("data", "123456789")), 2},
        {"block alignment 0", Riff(Fmt(2, 0) + data), 0},
        {"no channels", Riff(Fmt(0, 4) + data), 2},
        {"everything 65535", Riff(Fmt(65535, 65535, 65535) + data), 0},
        {"format of 40 bytes", Riff(Fmt(2, 4, 16, std::string(24, 'x')) + data), 2},
        {"format too long", Riff("fmt " + Le(0xFFFFFFF0, 4) + std::string(16, '\1') + data), -1},
        {"odd chunk, no padding", Riff(Chunk("inst", "1234567") + Fmt() + data), 2},
        {"odd chunk, padded", Riff(Chunk("inst", "1234567") + std::string(1, '\0') + Fmt() + data), -1},
        {"data before format", Riff(data + Fmt()), -1},
        {"no data", Riff(Fmt()), -1},
        {"no format", Riff(data), -1},
        {"big-endian", "RIFX" + Riff(Fmt() + data).substr(4), -1},
        {"64-bit sizes", "RF64" + Riff(Fmt() + data).substr(4), -1},
        {"not WAVE", Chunk("RIFF", "AVI " + Fmt() + data), -1},
        {"zeros for ever", std::string(9'000'000, '\0'), -1},
    };
    const TempFolder folder;
    std::vector<char> buffer(65535 * 3);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        folder.Write("a.wav", c.bytes);
        CWaveFile file;
        ASSERT_EQ(file.Open(folder.Path("a.wav").c_str(), look), c.length >= 0);
        EXPECT_EQ(file.GetLength(), std::max<i64>(0, c.length));
        EXPECT_EQ(file.Read(buffer.data(), 3), std::max<i64>(0, c.length));
        EXPECT_EQ(file.Write(buffer.data(), 3), 0);
        if (c.length < 0 || file.GetBlockAlign() == 0) {
            EXPECT_EQ(file.Seek(5, 0), 0);
        }
        file.GetData(0, buffer.data(), buffer.data() + 65535, 1, 2);
        file.ScanFileForSilence(0.5, 0.1);
        file.Close();
        EXPECT_EQ(folder.Read("a.wav"), c.bytes); // looking changes nothing
    }
    const std::string whole = Riff(Fmt() + data);
    for (std::size_t cut = 0; cut < whole.size(); ++cut) {
        folder.Write("cut.wav", whole.substr(0, cut));
        EXPECT_EQ(CWaveFile().Open(folder.Path("cut.wav").c_str(), look), cut >= 44) << cut;
    }
    CWaveFile file;
    EXPECT_FALSE(file.Open(folder.Path().c_str(), look)) << "a folder";
    EXPECT_FALSE(file.Open(folder.Path("none/a.wav").c_str(), create)) << "no such folder";
    EXPECT_FALSE(file.Open(folder.Path("missing.wav").c_str(), edit));
    EXPECT_TRUE(file.Open(folder.Path("a.wav").c_str(), create)) << "opens again after failures";
}

TEST(WaveFile, ReadOnlyFilesStayAsTheyAre)
{
    const TempFolder folder;
    const std::string wrongSizes = "RIFF" + Le(7, 4) + "WAVE" + Fmt() + "data" + Le(0xFFFF, 4) + "12345678";
    const std::string path = folder.Write("a.wav", wrongSizes);
    CWaveFile file;
    ASSERT_TRUE(file.Open(path.c_str(), look));
    file.Close();
    EXPECT_EQ(folder.Read("a.wav"), wrongSizes);
    ASSERT_TRUE(file.Open(path.c_str(), edit));
    file.Close();
    EXPECT_EQ(folder.Read("a.wav"), Riff(Fmt() + Chunk("data", "12345678"))) << "editing puts sizes right";
    std::filesystem::permissions(path, std::filesystem::perms::owner_read);
    EXPECT_FALSE(file.Open(path.c_str(), edit));
    EXPECT_TRUE(file.Open(path.c_str(), look));
}

TEST(WaveFile, StopsShortOfFourGiB)
{
    for (const std::string& behind : {std::string(), Chunk("LIST", "1234")}) {
        const TempFolder folder;
        folder.Write("a.wav", Riff(Fmt() + Chunk("data", "1234") + behind));
        const i64 mostFrames = ((i64(1) << 32) - 44 - static_cast<i64>(behind.size())) / 4;
        if (!behind.empty()) { // or the zeros in between would be written: put what follows the data where it ends up
            std::filesystem::resize_file(folder.Path("a.wav"), (u64(1) << 32) - 40);
            std::fstream file(folder.Path("a.wav"), std::ios::in | std::ios::out | std::ios::binary);
            file.seekp(40) << Le(static_cast<u32>((i64(1) << 32) - 40 - 44 - static_cast<i64>(behind.size())), 4);
            file.seekp(-static_cast<int>(behind.size()), std::ios::end) << behind;
        }
        CWaveFile file;
        ASSERT_TRUE(file.Open(folder.Path("a.wav").c_str(), edit));
        ASSERT_EQ(file.Seek(mostFrames - 3, 0), mostFrames - 3);
        std::string frames(80, 'z');
        EXPECT_EQ(file.Write(frames.data(), 20), 3);
        EXPECT_EQ(file.Write(frames.data(), 20), 0);
        EXPECT_EQ(file.GetLength(), mostFrames);
        file.Close();
        EXPECT_EQ(std::filesystem::file_size(folder.Path("a.wav")), u64(1) << 32);
        ASSERT_TRUE(file.Open(folder.Path("a.wav").c_str(), look));
        EXPECT_EQ(file.GetLength(), mostFrames);
        ASSERT_EQ(file.Seek(mostFrames - 3, 0), mostFrames - 3);
        EXPECT_EQ(file.Read(frames.data(), 20), 3);
    }
}

TEST(WaveFile, AFullDiskHarmsNothing)
{
    const SmallDisk disk(256);
    if (!disk.Works())
        GTEST_SKIP() << "no right to mount a small disk";
    const TempFolder& folder = disk.Folder();
    const std::string path = folder.Path("a.wav");
    const std::string before = Chunk("JUNK", "x") + Fmt(); // so that the last block of the disk ends within a frame
    for (const std::size_t behind : {std::size_t(0), std::size_t(8), std::size_t(100'000)}) {
        SCOPED_TRACE(behind);
        const std::string data = Noise(1, 40'000), tail = behind ? Chunk("LIST", Noise(2, behind)) : "";
        folder.Write("a.wav", Riff(before + Chunk("data", data) + tail));
        CWaveFile file;
        ASSERT_TRUE(file.Open(path.c_str(), edit));
        std::string much = Noise(3, 400'000);
        ASSERT_EQ(file.Seek(9'000, 0), 9'000);
        const int written = file.Write(much.data(), 100'000);
        EXPECT_LT(written, 100'000);
        EXPECT_EQ(written > 0, behind == 0);
        EXPECT_EQ(file.GetPosition(), 9'000 + written);
        EXPECT_EQ(file.Write(much.data(), 5), written ? 0 : 5) << "it goes on where there is room";
        file.Close();
        const std::string expected =
            data.substr(0, 36'000) + (written ? much.substr(0, static_cast<std::size_t>(written) * 4)
                                              : much.substr(0, 20) + data.substr(36'020));
        EXPECT_TRUE(folder.Read("a.wav") == Riff(before + Chunk("data", expected) + tail));
    }
}
