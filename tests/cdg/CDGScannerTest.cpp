// The scanner against the plain rules, screen by screen and line by line, and what a scan promises its caller.
#include "CDGScanner.h"
#include "support/KaraokeStream.h"
#include "support/MemoryFile.h"
#include "support/NotCancelled.h"
#include "support/PackStream.h"
#include "support/PlainScanner.h"
#include "support/TempFolder.h"

#include <functional>
#include <gtest/gtest.h>
#include <thread>

namespace {

PlainScan Results(const CCDGScanner& scanner)
{
    PlainScan scan;
    for (const CDGScreenInfo& screen : scanner.m_Screens)
        scan.screens.push_back({screen.lastPack, screen.lines});
    scan.activity.assign(scanner.m_ActivityRanges.begin(), scanner.m_ActivityRanges.end());
    for (const CDGXorTile& tile : scanner.m_XorTiles)
        scan.xorTiles.push_back({tile.pack, tile.column, tile.row});
    return scan;
}

class CDGScanner : public testing::Test {
protected:
    std::string Save(const std::vector<u8>& packs, const char* name = "song.cdg")
    {
        return folder.Write(name, std::string(packs.begin(), packs.end()));
    }
    PlainScan Scan(const PackStream& stream)
    {
        CCDGScanner scanner;
        EXPECT_TRUE(scanner.ScanFile(Save(stream.bytes).c_str(), NotCancelled));
        return Results(scanner);
    }

    TempFolder folder;
};

/// Says where two scans part, which a comparison of thousands of records does not.
void ExpectSame(const PlainScan& found, const PlainScan& expected)
{
    for (std::size_t i = 0; i < std::min(found.screens.size(), expected.screens.size()); ++i) {
        ASSERT_EQ(found.screens[i].lastPack, expected.screens[i].lastPack) << "screen " << i;
        ASSERT_EQ(found.screens[i].lines, expected.screens[i].lines) << "screen " << i;
    }
    EXPECT_EQ(found.screens.size(), expected.screens.size());
    EXPECT_EQ(found.activity, expected.activity);
    EXPECT_EQ(found.xorTiles, expected.xorTiles);
}

} // namespace

TEST_F(CDGScanner, EqualsThePlainRules)
{
    for (u32 seed = 1; seed <= 12; ++seed) {
        SCOPED_TRACE(seed);
        Dice dice(seed);
        PackStream stream;
        if (seed % 2 == 0)
            AddKaraoke(stream, dice, 1);
        AddRandomPacks(stream, dice, 600);
        if (seed % 3 != 0)
            PadToRecord(stream);
        const bool image = seed % 4 == 0;
        CCDGScanner scanner;
        scanner.m_nActivityGap = seed % 5 == 0 ? 3 : 300;
        const std::string file = image ? Save(AsDiscImage(stream.bytes), "track.BIN") : Save(stream.bytes);
        ASSERT_TRUE(scanner.ScanFile(file.c_str(), NotCancelled));
        const int counted = stream.Count() / kPacksPerRecord * kPacksPerRecord;
        const PlainScan expected = ScanPlainly(stream.bytes, counted, scanner.m_nActivityGap);
        EXPECT_GT(expected.screens.size(), 3u);
        ExpectSame(Results(scanner), expected);
    }
}

TEST_F(CDGScanner, PartsAStreamIntoScreens)
{
    using Screens = std::vector<PlainScan::Screen>;
    const struct {
        const char* name;
        PackStream stream;
        Screens screens;
    } cases[] = {
        {"nothing but padding ends with an empty screen", PackStream().Empty(8), {{6, {}}}},
        {"a preset ends a screen, its repeats do not make more",
         PackStream().Preset(0).Tile(2, 5, 1).Preset(0).Preset(0, 1).Preset(0, 2).Empty(3),
         {{-1, {}}, {3, {{22, 37}}}, {6, {}}}},
        {"an erasure ends a screen with the lines of before it",
         PackStream().Tile(2, 5, 1).Tile(8, 5, 1).Tile(2, 5, 0).Tile(8, 5, 0).Empty(4),
         {{2, {{22, 37}, {94, 109}}}, {6, {}}}},
        {"overpainting in another colour erases nothing",
         PackStream().Tile(2, 5, 1).Tile(2, 5, 2).TileXor(2, 5, 1).Empty(1),
         {{2, {{22, 37}}}}},
        {"a scroll ends a screen and is content itself",
         PackStream().Tile(2, 5, 1).ScrollCopy({}, {1, 0}).Preset(0).Empty(1),
         {{0, {{22, 37}}}, {1, {{34, 49}}}, {2, {}}}},
        {"the mode bits above the six do not count",
         PackStream().Add(0x49, kTileBlock, {0, 1, 2, 5, 63, 63, 63, 63, 63, 63, 63, 63, 63, 63, 63, 63}).Empty(3),
         {{2, {{22, 37}}}}},
        {"what is behind the last whole record is an ordinary pack",
         PackStream().Tile(2, 5, 1).Empty(3).Tile(8, 5, 1).Preset(0),
         {{2, {{22, 37}}}, {4, {{22, 37}, {94, 109}}}}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(Scan(c.stream).screens, c.screens);
    }
}

TEST_F(CDGScanner, KeepsTilesOfEarlierScansAndNothingElse)
{
    const std::string first = Save(PackStream().TileXor(31, 63, 1).Empty(3).bytes, "first.cdg");
    const std::string second = Save(PackStream().Tile(1, 1, 1).TileXor(2, 3, 1).Empty(398).bytes, "second.cdg");
    CCDGScanner scanner;
    scanner.m_nActivityGap = 100;
    ASSERT_TRUE(scanner.ScanFile(first.c_str(), NotCancelled));
    ASSERT_TRUE(scanner.ScanFile(second.c_str(), NotCancelled));
    const PlainScan results = Results(scanner);
    EXPECT_EQ(results.xorTiles, (std::vector<std::array<int, 3>>{{0, 49, 17}, {1, 3, 2}}));
    EXPECT_EQ(results.activity, (std::vector<std::pair<int, int>>{{0, 1}, {399, 399}}));
    EXPECT_EQ(results.screens.size(), 1u);

    EXPECT_FALSE(scanner.ScanFile(folder.Path("absent.cdg").c_str(), NotCancelled));
    ExpectSame(Results(scanner), results);
    EXPECT_FALSE(scanner.m_bScanning);
}

TEST_F(CDGScanner, StopsWhereItIsTold)
{
    Dice dice(5);
    PackStream stream;
    AddKaraoke(stream, dice, 2);
    PadToRecord(stream);
    const std::string file = Save(stream.bytes);
    CCDGScanner whole;
    int asked = 0;
    ASSERT_TRUE(whole.ScanFile(file.c_str(), [&asked] { return ++asked < 0; }));
    EXPECT_EQ(asked, stream.Count());
    EXPECT_TRUE(whole.m_bScanComplete);

    for (const int stopAt : {0, 1, 700, stream.Count() - 1}) {
        SCOPED_TRACE(stopAt);
        CCDGScanner cancelled;
        int pack = 0;
        EXPECT_FALSE(cancelled.ScanFile(file.c_str(), [&] { return pack++ == stopAt; }));
        EXPECT_FALSE(cancelled.m_bScanComplete);
        EXPECT_FALSE(cancelled.m_bScanning);
        const std::vector<u8> part(stream.bytes.begin(), stream.bytes.begin() + stopAt * kPackSize);
        ExpectSame(Results(cancelled), ScanPlainly(part, stream.Count(), 300));

        CCDGScanner stopped;
        pack = 0;
        EXPECT_TRUE(stopped.ScanFile(file.c_str(), [&] {
            EXPECT_TRUE(stopped.m_bScanning);
            stopped.m_bStopRequested = ++pack == stopAt;
            return false;
        }));
        EXPECT_TRUE(stopped.m_bScanComplete);
        if (stopAt > 0)
            ExpectSame(Results(stopped), Results(cancelled));
        const CCDGScanner copy = stopped;
        ExpectSame(Results(copy), Results(stopped));
        EXPECT_EQ(copy.m_bStopRequested, stopAt > 0);
    }
    EXPECT_THROW(whole.ScanFile(file.c_str(), nullptr), std::bad_function_call);
    EXPECT_FALSE(whole.m_bScanning);
}

TEST_F(CDGScanner, IsStoppedFromAnotherThread)
{
    const std::string file = Save(PackStream().Empty(400).bytes);
    CCDGScanner scanner;
    std::thread other;
    EXPECT_TRUE(scanner.ScanFile(file.c_str(), [&] {
        if (!other.joinable())
            other = std::thread([&scanner] { scanner.m_bStopRequested = true; });
        return false;
    }));
    other.join();
    EXPECT_TRUE(scanner.m_bScanComplete);
}

TEST(CDGScannerLines, AreThoseOfTheScreenThatShows)
{
    CCDGScanner scanner;
    std::vector<std::pair<int, int>> lines{{1, 2}};
    scanner.GetScannedLines(0, lines);
    EXPECT_TRUE(lines.empty());
    scanner.m_Screens = {{10, {{1, 2}}}, {20, {{3, 4}, {5, 6}}}};
    const std::pair<int, std::size_t> cases[] = {{-5, 1}, {10, 1}, {11, 2}, {20, 2}, {21, 0}};
    for (const auto& [pack, count] : cases) {
        scanner.GetScannedLines(pack, lines);
        EXPECT_EQ(lines.size(), count) << pack;
    }
}
