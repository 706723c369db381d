// The analyser: packs, clean screens and the snapshot against the plain emulator; cancelling, broken files, queries.
#include "CDGAnalyzer.h"
#include "support/KaraokeStream.h"
#include "support/MemoryFile.h"
#include "support/NotCancelled.h"
#include "support/PackStream.h"
#include "support/PlainScanner.h"
#include "support/TempFolder.h"

#include <cstring>
#include <functional>
#include <gtest/gtest.h>

namespace {

class CDGAnalyzer : public testing::Test {
protected:
    /// Writes a file and opens it; the analyser keeps reading from it.
    CFile& Open(const std::vector<u8>& bytes, const char* name)
    {
        if (file.m_hFile != CFile::hFileNull)
            file.Close();
        const std::string path = folder.Write(name, std::string(bytes.begin(), bytes.end()));
        EXPECT_TRUE(file.Open(path.c_str(), CFile::modeRead | CFile::shareDenyNone));
        return file;
    }
    std::vector<u8> Raw() const
    {
        return {analyzer.m_pRawPacks.get(), analyzer.m_pRawPacks.get() + analyzer.m_nPackCount * kPackSize};
    }

    TempFolder folder;
    CFile file;
    CCDGAnalyzer analyzer;
};

/// Breaks when it is read from a place on.
class BrokenFile : public MemoryFile {
public:
    BrokenFile(const std::vector<u8>& bytes, ULONGLONG from) : MemoryFile(bytes), brokenFrom(from) {}
    UINT Read(void* buffer, UINT count) override
    {
        if (GetPosition() + count > brokenFrom)
            throw new CFileException(CFileException::hardIO, 5);
        return MemoryFile::Read(buffer, count);
    }

private:
    ULONGLONG brokenFrom;
};

} // namespace

TEST_F(CDGAnalyzer, KnowsWhatThePlainRulesKnow)
{
    for (u32 seed = 1; seed <= 8; ++seed) {
        SCOPED_TRACE(seed);
        Dice dice(seed);
        PackStream stream;
        if (seed % 2 == 0)
            AddKaraoke(stream, dice, 2);
        AddRandomPacks(stream, dice, 700);
        for (int place = 0; place < 60; ++place) // clean and used again, tile by tile and at once
            stream.Tile(dice(18), dice(50), dice(2), 0, 1).Preset(dice(2) * dice(2), dice(3)).TileXor(3, 3, 1);
        PadToRecord(stream);
        const int snapshot = dice(stream.Count());
        const bool image = seed % 3 == 0;
        CFile& input = image ? Open(AsDiscImage(stream.bytes), "track.Bin") : Open(stream.bytes, "song.cdg");
        ASSERT_TRUE(analyzer.ReadFromFile(&input, snapshot, NotCancelled));
        EXPECT_EQ(analyzer.m_nPackCount, stream.Count());
        EXPECT_EQ(Raw(), stream.bytes);
        EXPECT_EQ(analyzer.m_ClearScreens, CleanScreensPlainly(stream.bytes));
        ASSERT_EQ(analyzer.m_Packs.size(), static_cast<std::size_t>(stream.Count()));

        PlainEmulator plain;
        plain.Init();
        for (int i = 0; i < stream.Count(); ++i) {
            if (i == snapshot) {
                for (std::size_t c = 0; c < 16; ++c) {
                    EXPECT_EQ(analyzer.m_SnapshotColors[c], plain.palette[c]);
                    EXPECT_EQ(analyzer.m_SnapshotImage.GetTableColor(static_cast<int>(c)), plain.palette[c]);
                }
                EXPECT_EQ(analyzer.m_SnapshotColors[16], static_cast<u32>(plain.borderColour));
                for (int y = 0; y < PlainEmulator::height; ++y)
                    ASSERT_EQ(std::memcmp(analyzer.m_SnapshotImage.GetRow(y),
                                          &plain.index[static_cast<std::size_t>(y) * 300], 300),
                              0);
            }
            plain.ProcessCommand(stream.At(i));
            u8 kept[kPackSize], expected[kPackSize];
            analyzer.m_Packs[static_cast<std::size_t>(i)].GetMem(kept);
            stream.Pack(i).GetMem(expected);
            ASSERT_EQ(std::memcmp(kept, expected, kPackSize), 0) << "pack " << i;
        }
        EXPECT_DOUBLE_EQ(analyzer.m_Renderer.GetDuration(), stream.Count() / 300.0);
        ASSERT_NE(analyzer.m_Renderer.GetFrame(1e6), nullptr);
        const CDib& last = analyzer.m_Renderer.GetEmulator().ScreenIndexImage();
        for (int y = 0; y < PlainEmulator::height; ++y)
            ASSERT_EQ(std::memcmp(last.GetRow(y), &plain.index[static_cast<std::size_t>(y) * 300], 300), 0);
    }
}

TEST_F(CDGAnalyzer, TakesFilesOfAnyLength)
{
    const PackStream stream =
        PackStream().Preset(1).Tile(2, 3, 1).Border(4).Colours(false, {1}).Preset(2).Preset(3).Empty(2);
    const std::vector<u8> image = AsDiscImage(stream.bytes);
    const struct {
        const char* name;
        std::size_t bytes;
        const char* file;
        int packs, filled; // bytes of packs that come from the file
    } cases[] = {
        {"nothing", 0, "a.cdg", 0, 0},
        {"plain, part of a pack left over", 7 * 24 + 23, "a.cdg", 7, 7 * 24},
        {"a name that only ends in bin is a plain file", 48, "cabin", 2, 48},
        {"an empty image", 0, "a.bin", 0, 0},
        {"an image cut in the audio", 2448 + 100, "a.bin", 8, 96},
        {"an image cut in the subcode", 2448 + 2352 + 30, "a.bin", 8, 126},
        {"a whole image", 2 * 2448, "a.bin", 8, 192},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const bool isImage = std::string(c.file).ends_with(".bin");
        std::vector<u8> bytes = isImage ? image : stream.bytes;
        bytes.resize(c.bytes);
        ASSERT_TRUE(analyzer.ReadFromFile(&Open(bytes, c.file), -1, NotCancelled));
        EXPECT_EQ(analyzer.m_nPackCount, c.packs);
        EXPECT_EQ(analyzer.m_Packs.size(), static_cast<std::size_t>(c.packs));
        std::vector<u8> expected(stream.bytes.begin(), stream.bytes.begin() + c.filled);
        expected.resize(static_cast<std::size_t>(c.packs) * kPackSize);
        EXPECT_EQ(Raw(), expected);
        EXPECT_FALSE(analyzer.m_SnapshotImage.IsValid());
    }
    MemoryFile memory(stream.bytes); // has no name
    ASSERT_TRUE(analyzer.ReadFromFile(&memory, 3, NotCancelled));
    EXPECT_NE(analyzer.m_Renderer.GetFrame(0), nullptr);
}

TEST_F(CDGAnalyzer, IsCancelledInEachLoop)
{
    const PackStream stream = PackStream().Preset(0).Tile(2, 3, 1).Empty(6);
    const auto readUntil = [&](CFile& input, int stopAt) {
        int asked = 0;
        const bool read = analyzer.ReadFromFile(&input, -1, [&] { return asked++ == stopAt; });
        return std::pair(read, asked);
    };
    // An image asks twice for its sectors and then, as a plain file, eight times for its packs.
    EXPECT_EQ(readUntil(Open(AsDiscImage(stream.bytes), "a.bin"), 100), std::pair(true, 10));
    EXPECT_EQ(readUntil(Open(stream.bytes, "a.cdg"), 100), std::pair(true, 8));
    EXPECT_EQ(analyzer.m_ClearScreens, (std::vector<i32>{0, 1}));
    for (const int stopAt : {0, 1, 2, 9}) {
        EXPECT_EQ(readUntil(Open(AsDiscImage(stream.bytes), "a.bin"), stopAt), std::pair(false, stopAt + 1));
        EXPECT_EQ(analyzer.m_nPackCount, 8);
    }
    EXPECT_EQ(analyzer.m_Packs.size(), 8u);
    EXPECT_THROW(analyzer.ReadFromFile(&Open(stream.bytes, "a.cdg"), -1, nullptr), std::bad_function_call);

    for (const ULONGLONG from : {ULONGLONG{0}, ULONGLONG{30}}) {
        BrokenFile broken(stream.bytes, from);
        EXPECT_FALSE(analyzer.ReadFromFile(&broken, -1, NotCancelled));
    }
    EXPECT_FALSE(analyzer.ReadFromFile(nullptr, -1, NotCancelled));
}

TEST_F(CDGAnalyzer, WritesPlainPacksAndSaysNothing)
{
    Dice dice(4);
    PackStream stream;
    AddRandomPacks(stream, dice, 50);
    MemoryFile input(stream.bytes);
    ASSERT_TRUE(analyzer.ReadFromFile(&input, -1, NotCancelled));
    CMemFile output;
    EXPECT_FALSE(analyzer.WriteToFile(&output));
    ASSERT_EQ(output.GetLength(), stream.bytes.size());
    output.Seek(0, CFile::begin);
    std::vector<u8> written(stream.bytes.size());
    output.Read(written.data(), static_cast<UINT>(written.size()));
    for (u8& byte : stream.bytes)
        byte &= kPackBits;
    EXPECT_EQ(written, stream.bytes);
    u8 small[10];
    CMemFile full(small, sizeof(small)); // cannot grow
    EXPECT_FALSE(analyzer.WriteToFile(&full));
    EXPECT_FALSE(analyzer.WriteToFile(nullptr));
}

TEST_F(CDGAnalyzer, AnswersByPack)
{
    PackStream stream;
    stream.Empty()
        .Colours(false, {0x111})
        .Graphics(0)
        .Colours(true, {0x222})
        .Add(8, kTileBlock)
        .Colours(false, {0x333});
    stream.Add(8, kLoadColours8F, {5}).Empty();
    MemoryFile input(stream.bytes);
    ASSERT_TRUE(analyzer.ReadFromFile(&input, -1, NotCancelled));
    const struct {
        int pack, active, low, high; // the packs that are found, -1 for none
    } cases[] = {{-3, 1, -1, -1}, {0, 1, -1, -1}, {1, 1, 1, -1}, {2, 3, 1, -1}, {3, 3, 1, 3},  {4, 5, 1, 3},
                 {5, 5, 5, 3},    {6, 8, 5, 6},   {7, 8, 5, 6},  {8, 8, 5, 6},  {90, 90, 5, 6}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.pack);
        EXPECT_EQ(analyzer.GetFirstActivePackAfter(c.pack), c.active);
        CCDGEmulatorPack low(stream.At(4)), high(stream.At(4));
        analyzer.GetPalette(c.pack, low, high);
        const auto expect = [&stream](const CCDGEmulatorPack& found, int from, int instruction) {
            const CCDGEmulatorPack none(PackStream().Graphics(instruction).At(0));
            u8 bytes[kPackSize], expected[kPackSize];
            found.GetMem(bytes);
            (from < 0 ? none : stream.Pack(from)).GetMem(expected);
            EXPECT_EQ(std::memcmp(bytes, expected, kPackSize), 0);
        };
        expect(low, c.low, kLoadColours07);
        expect(high, c.high, kLoadColours8F);
    }
    EXPECT_TRUE(analyzer.GetTextColors().empty());
}

TEST(CDGAnalyzerClearScreens, TheOneBefore)
{
    CCDGAnalyzer analyzer;
    EXPECT_EQ(analyzer.GetPrevClearScreen(5), 0);
    analyzer.m_ClearScreens = {10, 20, 30};
    const std::pair<int, int> cases[] = {{-1, 10}, {9, 10}, {10, 10}, {11, 10}, {20, 20}, {29, 20}, {30, 30}, {31, 0}};
    for (const auto& [pack, clear] : cases)
        EXPECT_EQ(analyzer.GetPrevClearScreen(pack), clear) << pack;
}
