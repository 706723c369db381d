// The local database in both layouts: which record is found, whatever the names look like, at the first question and
// later.
#include "CDDB.h"
#include "net/LocalTree.h"
#include "platform/FolderTime.h"
#include "support/TempFolder.h"

#include <chrono>
#include <filesystem>
#include <gtest/gtest.h>
#include <map>
#include <random>
#include <thread>

namespace fs = std::filesystem;

namespace {

constexpr u32 discId = 0x20012302;
const std::vector<i32> offsets = {150, 10000};

CCDDBRecord RecordOf(u32 id, const char* title, std::vector<i32> at = offsets)
{
    CCDDBRecord record;
    record.discId = id;
    record.frameOffsets = std::move(at);
    record.discLength = 300;
    record.artist = "A";
    record.title = title;
    return record;
}

std::string TextOf(u32 id, const char* title, std::vector<i32> at = offsets)
{
    return CCDDB().FormRecordText(RecordOf(id, title, std::move(at))).GetString();
}

std::string Hex(u32 id, const char* format = "%08X")
{
    char name[16];
    std::snprintf(name, sizeof name, format, id);
    return name;
}

class LocalTest : public testing::Test {
protected:
    void Put(const std::string& category, const std::string& name, const std::string& text) const
    {
        fs::create_directories(folder.Path(category));
        folder.Write(category + "/" + name, text);
    }
    std::vector<std::string> Query(CCDDB& client, u32 id = discId) const
    {
        std::vector<CCDDBRecord> records;
        const int given = client.QueryLocal(folder.Path().c_str(), id, offsets, records);
        EXPECT_EQ(given != 0, !records.empty());
        std::vector<std::string> found;
        for (const CCDDBRecord& record : records)
            found.push_back((record.category + ":" + record.title).GetString());
        return found;
    }
    /// By a client that asks for the first time, and one that asks again.
    std::vector<std::string> QueryBoth(u32 id = discId) const
    {
        CCDDB client;
        const auto first = Query(client, id);
        EXPECT_EQ(Query(client, id), first) << "asked again";
        return first;
    }

    TempFolder folder;
};

using Found = std::vector<std::string>;

} // namespace

TEST_F(LocalTest, TheBestRecordWins)
{
    struct Entry {
        const char* category;
        i32 off; // from the disc's offsets, in the last one
        u32 id;
    };
    struct Case {
        const char* name;
        std::vector<Entry> entries;
        Found wanted;
    };
    const u32 tooFar = (0x20 + 17) << 24 | (discId & 0xFFFFFF);
    const u32 close = (0x20 + 16) << 24 | (discId & 0xFFFFFF), below = (0x20 - 16) << 24 | (discId & 0xFFFFFF);
    const Case cases[] = {
        {"nothing there", {}, {}},
        {"exact", {{"rock", 0, discId}}, {"rock:0"}},
        {"first byte off by 16", {{"rock", 5, close}}, {"rock:5"}},
        {"first byte off by -16", {{"rock", 5, below}}, {"rock:5"}},
        {"first byte off by 17", {{"rock", 0, tooFar}}, {}},
        {"the closer one, the other has another id", {{"folk", 9, close}, {"rock", 8, below}}, {"rock:8"}},
        {"the other has the id asked for", {{"folk", 9, discId}, {"rock", 1, close}}, {"rock:1", "folk:9"}},
        {"as close: the first folder", {{"rock", 4, discId}, {"folk", 4, discId}}, {"folk:4", "rock:4"}},
        {"as close: karaoke", {{"folk", 4, discId}, {"karaoke", 4, discId}}, {"karaoke:4", "folk:4"}},
        {"karaoke is off by a bit", {{"folk", 0, discId}, {"karaoke", 3, discId}}, {"karaoke:3", "folk:0"}},
        {"karaoke is off by more", {{"folk", 0, discId}, {"karaoke", 4, discId}}, {"folk:0", "karaoke:4"}},
        {"far off is a match too", {{"rock", 2000000000, discId}}, {"rock:2000000000"}},
    };
    for (const Case& c : cases) {
        for (const char* const spelling : {"%08X", "%08x"}) {
            SCOPED_TRACE(std::string(c.name) + spelling);
            for (const Entry& e : c.entries)
                Put(e.category, Hex(e.id, spelling), TextOf(e.id, std::to_string(e.off).c_str(), {150, 10000 + e.off}));
            Put("other", Hex(discId, spelling), TextOf(discId, "three tracks", {150, 10000, 20000}));
            Put("other", "notes", "x");
            folder.Write("plain", "a file among the folders");
            EXPECT_EQ(QueryBoth(), c.wanted);
            for (const auto& entry : fs::directory_iterator(folder.Path()))
                fs::remove_all(entry);
        }
    }
}

TEST_F(LocalTest, NamesMatchWithoutCase)
{
    const u32 id = 0x9a0bed02, other = 0x9b0bed02;
    // Enough names in small letters that the first look at the folder sees no others.
    for (u32 i = 0; i < 60; ++i)
        Put("rock", Hex(0xabcdef00 + i, "%08x"), TextOf(0xabcdef00 + i, "filler"));
    Put("misc", Hex(id), TextOf(id, "capital", {150, 10001}));
    Put("rock", Hex(other, "%08x"), TextOf(other, "small"));
    CCDDB client;
    EXPECT_EQ(Query(client, id), (Found{"rock:small", "misc:capital"}));
    fs::remove(folder.Path("rock/" + Hex(other, "%08x")));
    Put("rock", Hex(other), TextOf(other, "lonely capital"));
    fs::remove_all(folder.Path("misc"));
    EXPECT_EQ(Query(client, other), Found{"rock:lonely capital"});
    CCDDB fresh;
    EXPECT_EQ(Query(fresh, other), Found{"rock:lonely capital"});
    fs::remove(folder.Path("rock/" + Hex(other)));
    Put("jazz", "9b0BEd02", TextOf(other, "mixed"));
    CCDDB third;
    EXPECT_EQ(Query(third, other), Found{"jazz:mixed"});
    EXPECT_EQ(Query(client, other), Found{"jazz:mixed"});
}

/// Folders that are too large to be listed for one question.
TEST_F(LocalTest, NamesInLargeFoldersMatchWithoutCase)
{
    const u32 id = 0x9a0bed02, close = 0x9b0bed02;
    const std::pair<const char*, const char*> spellings[] = {{"%08x", "%08X"}, {"%08X", "%08x"}};
    for (const auto& [usual, other] : spellings) {
        SCOPED_TRACE(usual);
        fs::create_directories(folder.Path("rock"));
        for (u32 i = 0; i < 900; ++i)
            folder.Write("rock/" + Hex(0xabcdef00 + i, usual), "");
        Put("rock", Hex(close, other), TextOf(close, "the only one written so"));
        EXPECT_EQ(QueryBoth(id), Found{"rock:the only one written so"});
        fs::remove(folder.Path("rock/" + Hex(close, other)));
        Put("rock", Hex(close, usual), TextOf(close, "as usual"));
        Put("blues", Hex(close, other), TextOf(close, "in a small folder"));
        EXPECT_EQ(QueryBoth(id), (Found{"blues:in a small folder", "rock:as usual"}));
        fs::remove_all(folder.Path("rock"));
        fs::remove_all(folder.Path("blues"));
    }
}

TEST_F(LocalTest, TheIndexSeesWhatChanges)
{
    CCDDB client;
    Put("rock", Hex(discId), TextOf(discId, "first"));
    EXPECT_EQ(Query(client), Found{"rock:first"});
    EXPECT_EQ(Query(client), Found{"rock:first"});
    Put("rock", Hex(discId), TextOf(discId, "changed"));
    EXPECT_EQ(Query(client), Found{"rock:changed"});
    Put("blues", Hex(discId), TextOf(discId, "new folder"));
    EXPECT_EQ(Query(client), (Found{"blues:new folder", "rock:changed"}));
    // Where a folder's time can be set back, it is then not listed again until it changes.
    for (const char* const name : {"", "rock", "blues"})
        ASSERT_TRUE(SetFolderTimeBack(folder.Path(name).c_str(), 3600));
    EXPECT_EQ(Query(client).size(), 2u);
    Put("rock", Hex(discId + 0x01000000), TextOf(discId, "another"));
    EXPECT_EQ(Query(client).size(), 3u);
    fs::remove_all(folder.Path("blues"));
    EXPECT_EQ(Query(client), (Found{"rock:changed", "rock:another"}));
    fs::remove_all(folder.Path("rock"));
    EXPECT_EQ(Query(client), Found{});
}

TEST_F(LocalTest, KeptHeadsAreGivenUpWhereOneNoLongerTellsItsRecord)
{
    // Written over in place, so that its folder does not tell.
    const auto put = [&](const char* category, const char* title, const std::vector<i32>& at) {
        Put(category, Hex(discId), TextOf(discId, title, at));
    };
    put("blues", "far", {150, 10'400});
    put("rock", "near", {150, 10'001});
    std::this_thread::sleep_for(std::chrono::milliseconds(3100)); // until then it may be half-written: no head is kept
    CCDDB client;
    for (int asked = 0; asked < 3; ++asked)
        EXPECT_EQ(Query(client), (Found{"rock:near", "blues:far"})) << asked;
    put("rock", "farther", {150, 10'800});
    EXPECT_EQ(Query(client), (Found{"blues:far", "rock:farther"}));
    put("blues", "three tracks", {150, 10'000, 20'000});
    EXPECT_EQ(Query(client), Found{"rock:farther"});
}

TEST_F(LocalTest, IndexedAndPlainAnswersAreTheSame)
{
    std::mt19937 random(3);
    for (int i = 0; i < 600; ++i) {
        const u32 id = static_cast<u32>(random() % 64) << 24 | 0x000100 | random() % 4;
        const char* const categories[] = {"a", "karaoke", "m", "z"};
        Put(categories[random() % 4], Hex(id, random() % 2 ? "%08X" : "%08x"),
            random() % 9 == 0 ? "damaged"
                              : TextOf(id, std::to_string(i).c_str(), {150, static_cast<i32>(random() % 9)}));
    }
    CCDDB kept;
    Query(kept);
    std::size_t all = 0;
    for (u32 i = 0; i < 256; i += 3) {
        CCDDB fresh;
        const u32 id = i % 70 << 24 | 0x000100 | i % 4;
        std::vector<CCDDBRecord> one, two;
        kept.QueryLocal(folder.Path().c_str(), id, {150, 4}, one);
        fresh.QueryLocal(folder.Path().c_str(), id, {150, 4}, two);
        ASSERT_EQ(one.size(), two.size()) << Hex(id);
        all += one.size();
        for (std::size_t k = 0; k < one.size(); ++k)
            EXPECT_EQ((one[k].category + one[k].title), (two[k].category + two[k].title));
    }
    EXPECT_GT(all, 100u);
}

TEST_F(LocalTest, RangeFilesHoldManyRecords)
{
    std::string text = "#FILENAME=1f012302\r\n" + TextOf(0x1f012302, "in front");
    text += "# a mark within #FILENAME=20012302 a line\n#FILENAME=2001230\n";
    std::string filler;
    for (u32 i = 0; i < 300; ++i)
        filler += "#FILENAME=" + Hex(0x21000000 + i, "%08x") + "\n" + TextOf(i, "filler");
    text += filler + "#FILENAME=20012302\n" + TextOf(0x77777777, "right") + filler;
    text += "#FILENAME=2F012302\n" + TextOf(0x2F012302, "last");
    Put("rock", "1Fto2f", text);
    Put("misc", "00to1e", "#FILENAME=20012302\n" + TextOf(discId, "its name does not cover the id"));
    Put("misc", "xxto2f", text);
    Put("rock", "30to3f", "#FILENAME=31012302\n" + TextOf(0x31012302, "in the next file"));
    Put("zero", "30TO30", "#FILENAME=30012302");
    CCDDB client;
    struct Case {
        u32 id;
        const char* title;
    };
    const Case cases[] = {{0x1f012302, "in front"},         {discId, "right"},     {0x2F012302, "last"},
                          {0x31012302, "in the next file"}, {0x20012303, nullptr}, {0x30012302, nullptr}};
    for (const Case& c : cases) {
        SCOPED_TRACE(Hex(c.id));
        CCDDBRecord record;
        CString category;
        EXPECT_EQ(client.Read(folder.Path().c_str(), c.id, false, record, category) != 0, c.title != nullptr);
        EXPECT_EQ(record.title, c.title ? c.title : "");
        EXPECT_EQ(category, c.title ? "rock" : "");
        EXPECT_FALSE(client.Read(folder.Path().c_str(), c.id, true, record, category)) << "no file of its own";
    }
    // Everything at once takes the id as the file has it, and the closest of all candidates.
    CString info = client.ReadFreeDBInfo("", 0x25012302, offsets, 2, folder.Path().c_str());
    EXPECT_GE(info.Find("DTITLE=A / in front\r\n"), 0);
    Put("rock", Hex(0x26012302), TextOf(0x26012302, "own file", {150, 10003}));
    CCDDB fresh;
    info = fresh.ReadFreeDBInfo("", 0x25012302, offsets, 2, folder.Path().c_str());
    EXPECT_GE(info.Find("DTITLE=A / own file\r\n"), 0);
}

TEST_F(LocalTest, WhatIsWrittenIsFound)
{
    CCDDB client;
    const std::string db = folder.Path("new/db");
    ASSERT_TRUE(client.WriteLocal(db.c_str(), "Rock", RecordOf(0x9a0bed0d, "one")));
    EXPECT_TRUE(fs::exists(db + "/Rock/9A0BED0D"));
    fs::rename(db + "/Rock/9A0BED0D", db + "/Rock/other"); // the next step alone may count as nothing to do
    fs::rename(db + "/Rock/other", db + "/Rock/9a0bed0d");
    ASSERT_TRUE(client.WriteLocal(db.c_str(), "rock", RecordOf(0x9a0bed0d, "two")));
    ASSERT_TRUE(client.WriteLocal(db.c_str(), "rock", RecordOf(0x9b0bed0e, "three")));
    std::vector<std::string> names;
    for (const auto& entry : fs::recursive_directory_iterator(db))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (std::vector<std::string>{"9a0bed0d", "9b0bed0e", "Rock"})) << "named like those that are there";
    CCDDBRecord record;
    CString category;
    EXPECT_TRUE(client.Read(db.c_str(), 0x9A0BED0D, true, record, category));
    EXPECT_EQ(record.title, "two");
    EXPECT_EQ(category, "Rock");

    for (const char* const bad : {"", ".", "..", "a/b", "a\\b", "c:", "a\n"})
        EXPECT_FALSE(client.WriteLocal(db.c_str(), bad, RecordOf(1, "x"))) << bad;
    EXPECT_FALSE(client.WriteLocal("", "rock", RecordOf(1, "x")));
    fs::create_directories(db + "/rock2/00000001");
    EXPECT_FALSE(client.WriteLocal(db.c_str(), "rock2", RecordOf(1, "x"))) << "a folder has the name";
    EXPECT_FALSE(client.WriteLocal((db + "/Rock/9a0bed0d").c_str(), "rock", RecordOf(1, "x")))
        << "a file is in the way";
    EXPECT_FALSE(client.GetErrorMessage().IsEmpty());
}
