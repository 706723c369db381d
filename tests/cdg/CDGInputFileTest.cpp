// CCDGInputFile: both layouts, short files, seeking, copies, failures.
#include "CDGInputFile.h"
#include "support/MemoryFile.h"
#include "support/PackStream.h"
#include "support/TempFolder.h"

#include <climits>
#include <gtest/gtest.h>
#include <limits>

namespace {

/// `packs` packs that tell their number, with the top bits set.
std::vector<u8> NumberedPacks(int packs)
{
    std::vector<u8> bytes;
    for (int p = 0; p < packs; ++p) {
        for (int b = 0; b < kPackSize; ++b)
            bytes.push_back(static_cast<u8>(0xC0 | ((b % 2 == 0 ? p : p / 64) & 63)));
    }
    return bytes;
}

int NumberOf(const u8* pack)
{
    return pack[0] + 64 * pack[1];
}

} // namespace

TEST(CDGInputFile, TimesAndPacks)
{
    struct Case {
        double seconds;
        int pack;
    };
    const Case cases[] = {{0, 0},
                          {1.0, 300},
                          {0.0033, 0},
                          {1 / 300.0, 1},
                          {1.5, 450},
                          {-0.001, 0},
                          {-1.0, -300},
                          {1e300, INT_MAX},
                          {-1e300, INT_MIN},
                          {std::numeric_limits<double>::infinity(), INT_MAX},
                          {std::numeric_limits<double>::quiet_NaN(), 0}};
    for (const Case& c : cases)
        EXPECT_EQ(CCDGInputFile::TimeToPack(c.seconds), c.pack) << c.seconds;
    EXPECT_EQ(CCDGInputFile::PackToTime(450), 1.5);
}

// Any length in bytes, in both layouts: the count is that of whole records, while whole packs behind them still come.
TEST(CDGInputFile, DeliversThePacksOfFilesOfAnyLength)
{
    for (const bool plain : {true, false}) {
        const std::vector<u8> whole = plain ? NumberedPacks(12) : AsDiscImage(NumberedPacks(12));
        const std::size_t record = plain ? kCdgRecordSize : kBinRecordSize;
        for (std::size_t length = 0; length <= whole.size(); length += plain ? 1 : 8) {
            SCOPED_TRACE(testing::Message() << (plain ? "plain, " : "disc image, ") << length << " bytes");
            MemoryFile memory({whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length)});
            CCDGInputFile file;
            ASSERT_EQ(file.Open(&memory, plain), 1);
            EXPECT_EQ(file.GetLength(), length);
            EXPECT_EQ(file.GetPackCount(), static_cast<int>(length / record * 4));
            const std::size_t rest = length % record, audio = record - kCdgRecordSize;
            const int delivered =
                static_cast<int>(length / record * 4 + (rest > audio ? (rest - audio) / kPackSize : 0));
            CCDGEmulatorPack pack;
            for (int p = 0; p < delivered; ++p) {
                ASSERT_TRUE(file.GetNextPack(pack)) << p;
                ASSERT_EQ(pack.command, p);
                ASSERT_EQ(file.GetCurrentPack(), p + 1);
            }
            EXPECT_FALSE(file.GetNextPack(pack));
            EXPECT_EQ(file.GetWatermark(), -1);
        }
    }
}

TEST(CDGInputFile, SeekToPackLandsInsideTheSubcode)
{
    struct Case {
        const char* name;
        bool plain;
        int pack;
        ULONGLONG position;
    };
    const Case cases[] = {
        {"plain, pack 0", true, 0, 0},
        {"plain, pack 5", true, 5, 120},
        {"disc image, pack 0", false, 0, 2352},
        {"disc image, pack 3", false, 3, 2424},
        {"disc image, pack 5", false, 5, 4824}, // second sector, second pack
        {"beyond the end, past 4 GiB", false, INT_MAX, 2448ULL * (INT_MAX / 4) + 2352 + 72},
    };
    MemoryFile memory(AsDiscImage(NumberedPacks(40)));
    CCDGInputFile file;
    EXPECT_FALSE(file.SeekToPack(0));
    EXPECT_EQ(file.GetPackCount(), 0);
    EXPECT_EQ(file.GetLength(), 0u);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        file.Open(&memory, c.plain);
        EXPECT_EQ(file.GetPackCount(), c.plain ? 24480 / 96 * 4 : 40);
        EXPECT_TRUE(file.SeekToPack(c.pack));
        EXPECT_EQ(memory.GetPosition(), c.position);
        EXPECT_EQ(file.GetCurrentPack(), c.pack);
        EXPECT_FALSE(file.SeekToPack(-1));
        EXPECT_EQ(file.GetCurrentPack(), c.pack);
    }
}

TEST(CDGInputFile, ReadsBlocksAndSinglePacksInAnyMixture)
{
    constexpr int packs = 1000;
    const std::vector<u8> plainBytes = NumberedPacks(packs);
    MemoryFile plainMemory(plainBytes), imageMemory(AsDiscImage(plainBytes));
    Dice dice(11);
    for (const bool plain : {true, false}) {
        CCDGInputFile file;
        file.Open(plain ? &plainMemory : &imageMemory, plain);
        int at = 0;
        for (int round = 0; round < 300; ++round) {
            SCOPED_TRACE(testing::Message() << "round " << round << ", pack " << at);
            if (dice.OneIn(5)) {
                at = dice(packs + 20);
                ASSERT_TRUE(file.SeekToPack(at));
            }
            const int count = dice.OneIn(3) ? 1 : dice(dice.OneIn(2) ? 10 : 500);
            std::vector<u8> buffer(static_cast<std::size_t>(count + 1) * kPackSize, 0xEE);
            const int expected = std::clamp(packs - at, 0, count);
            ASSERT_EQ(file.Read(buffer.data(), count), expected);
            for (int p = 0; p < expected; ++p) {
                ASSERT_EQ(NumberOf(buffer.data() + p * kPackSize), at + p);
                ASSERT_EQ(buffer[static_cast<std::size_t>(p * kPackSize + 23)], (at + p) / 64); // masked
            }
            ASSERT_EQ(buffer[static_cast<std::size_t>(count) * kPackSize], 0xEE); // nothing behind the count
            at += expected;
            ASSERT_EQ(file.GetCurrentPack(), at);
        }
    }
}

TEST(CDGInputFile, TheNameChoosesTheLayout)
{
    const TempFolder folder;
    const std::vector<u8> bytes = AsDiscImage(NumberedPacks(8));
    for (const auto& [name, packs] :
         {std::pair{"a.bin", 8}, {"b.BIN", 8}, {"cabin", 8}, {"d.cdg", 204}, {"e.mcg", 204}, {"in", 204}}) {
        const std::string path = folder.Write(name, std::string(bytes.begin(), bytes.end()));
        CCDGInputFile file;
        ASSERT_EQ(file.Open(path.c_str(), CFile::modeRead | CFile::shareDenyNone, nullptr), 1) << name;
        EXPECT_EQ(file.GetPackCount(), packs) << name;
    }
}

TEST(CDGInputFile, AFailedOpenLeavesAClosedFileThatOpensAgain)
{
    const TempFolder folder;
    const std::string good = folder.Write("good.cdg", std::string(96, '\x09'));
    CCDGInputFile file;
    ASSERT_EQ(file.Open(good.c_str(), CFile::modeRead | CFile::shareDenyNone, nullptr), 1);
    CFileException error;
    EXPECT_EQ(file.Open(folder.Path("missing.cdg").c_str(), CFile::modeRead, &error), 0);
    EXPECT_EQ(error.m_cause, CFileException::fileNotFound);
    EXPECT_FALSE(file.IsOpen());
    CCDGEmulatorPack pack;
    EXPECT_FALSE(file.GetNextPack(pack));
    EXPECT_EQ(file.Open(folder.Path().c_str(), CFile::modeRead, nullptr), 0); // a folder
    EXPECT_EQ(file.Open(good.c_str(), CFile::modeRead | CFile::shareDenyNone, nullptr), 1);
    EXPECT_TRUE(file.GetNextPack(pack));
    file.Close();
    file.Close();
    EXPECT_EQ(file.GetPackCount(), 0);
}

// Kept as is: a copy has the same file, its position included, and one's Close is everybody's.
TEST(CDGInputFile, CopiesShareTheFile)
{
    const TempFolder folder;
    const std::vector<u8> bytes = NumberedPacks(8);
    const std::string path = folder.Write("a.cdg", std::string(bytes.begin(), bytes.end()));
    CCDGInputFile file;
    ASSERT_EQ(file.Open(path.c_str(), CFile::modeRead | CFile::shareDenyNone, nullptr), 1);
    CCDGInputFile copy = file;
    CCDGEmulatorPack pack;
    ASSERT_TRUE(file.GetNextPack(pack));
    ASSERT_TRUE(copy.GetNextPack(pack));
    EXPECT_EQ(pack.command, 1);
    EXPECT_EQ(copy.GetCurrentPack(), 1); // each counts for itself
    file.Close();
    EXPECT_FALSE(copy.GetNextPack(pack));
    EXPECT_EQ(copy.GetLength(), 0u);
    copy.Close();
}

TEST(CDGInputFile, ACallersFileStaysOpen)
{
    MemoryFile memory(NumberedPacks(4));
    {
        CCDGInputFile file;
        file.Open(&memory, true);
        file.Close();
        file.Open(&memory, true);
    }
    EXPECT_EQ(memory.GetLength(), 96u);
}
