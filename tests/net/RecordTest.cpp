// Disc identifiers, lines of answers, and records: read, written, and read again.
#include "CDDB.h"

#include <gtest/gtest.h>
#include <random>

namespace {

CCDDBTrackPosition At(int frames)
{
    return {frames / 4500, frames / 75 % 60, frames % 75};
}

const std::string validRecord =
    "# xmcd\n# Track frame offsets:\n# 150\n# Disc length: 10 seconds\n# Submitted via: a 1\n"
    "DISCID=0a0b0c0d\nDTITLE=x / y\n";

std::string Changed(std::string text, const std::string& from, const std::string& to)
{
    return text.replace(text.find(from), from.size(), to);
}

} // namespace

TEST(CddbIds, DiscIdsFollowTheRule)
{
    EXPECT_EQ(CCDDB::cddb_sum(0), 0);
    EXPECT_EQ(CCDDB::cddb_sum(1987), 25);
    EXPECT_EQ(CCDDB::ComputeDiscID({At(150), {5, 44, 4}}), 0x02015601u) << "seconds of the lead-out less 2";
    // Kept as is: the first track's minute is subtracted as if it were a second.
    EXPECT_EQ(CCDDB::ComputeDiscID({{2, 12, 0}, {48, 23, 5}}), (6u << 24) | (2903 - 12 - 2) << 8 | 1);
    EXPECT_EQ(CCDDB::ComputeDiscID({}), 0u);
    EXPECT_EQ(CCDDB::ComputeDiscID({At(150)}), 0u);
}

TEST(CddbIds, Base64IsThatOfTheStandard)
{
    const char* const cases[][2] = {
        {"", ""}, {"f", "Zg=="}, {"fo", "Zm8="}, {"foo", "Zm9v"}, {"\xFF\xFE\xFD\xFC", "//79/A=="}};
    for (const auto& [plain, coded] : cases) {
        const int length = static_cast<int>(strlen(plain));
        EXPECT_EQ(CCDDB::EncodeBase64(plain, length), coded);
        EXPECT_EQ(CCDDB::Base64BufferSize(length), static_cast<int>(strlen(coded)));
    }
}

TEST(CddbIds, RetiredServersAreReplaced)
{
    for (const char* const gone : {"freedb.freedb.org", "www.FreeDB.de", "tracktype.org", "x.dbpoweramp.com"}) {
        CCDDBSite site;
        site.host = gone;
        CCDDB::UpdateServer(site);
        EXPECT_EQ(site.host, "gnudb.gnudb.org") << gone;
    }
    CCDDBSite site;
    site.host = "cddb.example.org";
    CCDDB::UpdateServer(site);
    EXPECT_EQ(site.host, "cddb.example.org");
}

TEST(CddbLines, MatchesAndSites)
{
    static std::string log;
    CCDDB::c_pWriteLogCallback = [](const char* text) { log = text; };
    struct Case {
        const char *line, *artist, *title, *logged;
    };
    const Case matches[] = {
        {"rock  9a0bed0d   AC/DC / Back\r\nx", "AC", "DC / Back", ""},
        {"rock 9A0BED0D Alone", "Alone", "Alone", ""},
        {"rock 9a0bed0d  /b", "", "b", ""},
        {"rock", "", "", "Parse failed at 380\n"},
        {"rock  ", "", "", "Parse failed at 394\n"},
        {"rock 9a0bed0d", "", "", "Parse failed at 405\n"},
        {"rock 9a0bed0d ", "", "", "Parse failed at 419\n"},
    };
    for (const Case& c : matches) {
        SCOPED_TRACE(c.line);
        log.clear();
        CCDDBQueryResult match;
        EXPECT_EQ(match.Parse(c.line), *c.logged == 0);
        EXPECT_EQ(log, c.logged);
        EXPECT_EQ(match.discId, *c.logged ? 0 : 0x9a0bed0d);
        EXPECT_EQ(match.artist, c.artist);
        EXPECT_EQ(match.title, c.title);
    }
    CCDDB::c_pWriteLogCallback = nullptr;

    CCDDBSite site;
    ASSERT_TRUE(site.Parse("a.org HTTP 8080 /p S037.21 E121.55 San Jose, CA  USA"));
    EXPECT_EQ(site.port, 8080);
    EXPECT_FALSE(site.north);
    EXPECT_EQ(site.latitude, 37 * 60 + 21);
    EXPECT_EQ(site.longitude, 121 * 60 + 55);
    EXPECT_EQ(site.description, "San Jose, CA  USA");
    for (const char* const bad :
         {"", "a.org cddbp 80 - N037.21 W121.55 x", "a http 80 /p n037.21 W121.55 x", "a http 80 /p N037.2 W121.55 x",
          "a http 80 /p N037.21 N121.55 x", "a http x /p N037.21 W121.55"})
        EXPECT_FALSE(site.Parse(bad)) << bad;
    EXPECT_EQ(site.host, "a.org") << "unchanged";
}

TEST(CddbRecord, WhatMakesARecordValid)
{
    CCDDB client;
    CCDDBRecord record;
    struct Case {
        const char *from, *to;
        bool valid;
    };
    const Case cases[] = {
        {"", "", true},
        {"# xmcd", "# xcmd", false},
        {"# 150\n", "", false},
        {"# 150", "# 15x0", false},
        {"length: 10 ", "length: ten ", false},
        {"via: a 1", "via: a", false},
        {"DISCID=0a0b0c0d", "DISCID=a0b0c0d", false},
        {"DISCID=0a0b0c0d", "DISCID=0a0b0c0d,01020304", true},
        {"DISCID=0a0b0c0d", "DISCID=0a0b\nDISCID=0c0d", true},
        {"DTITLE=x / y\n", "", false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.from) + " -> " + c.to);
        EXPECT_EQ(client.ParseRecord(Changed(validRecord, c.from, c.to).c_str(), record), c.valid);
        EXPECT_EQ(record.discId, c.valid ? 0x0a0b0c0d : 0);
        EXPECT_EQ(record.frameOffsets.size(), c.valid ? 1u : 0u);
    }
}

TEST(CddbRecord, LongValuesEscapesAndOddTracks)
{
    CCDDB client;
    CCDDBRecord record;
    const std::string text =
        validRecord + "DTITLE= and more\r\nEXTD=a\\nb\\\\n\\x\\\nEXTD=t\\tc\\\nTTITLE2=third\nEXTT0=e\nTTITLE2=, on\n"
                      "TTITLE=none\nTTITLEx=none\nTTITLE100=far\nEXTT4000000000=far\nDYEAR=1999 or so\nnothing\n";
    ASSERT_TRUE(client.ParseRecord(text.c_str(), record));
    EXPECT_EQ(record.title, "y and more");
    EXPECT_EQ(record.extendedData, "a\nb\\n\\x\t\tc\\") << "an escape may begin in one line and end in the next";
    EXPECT_EQ(record.year, 1999);
    ASSERT_EQ(record.trackTitles.size(), 3u);
    EXPECT_EQ(record.trackTitles[2], "third, on");
    ASSERT_EQ(record.extendedTrackData.size(), 3u);
    EXPECT_EQ(record.extendedTrackData[0], "e");
}

TEST(CddbRecord, TheTextIsTheFormatsOwn)
{
    CCDDBRecord record;
    record.discId = 0xab;
    record.frameOffsets = {150, 20000};
    record.discLength = 500;
    record.revision = 3;
    record.clientComment = "note";
    record.artist = "A";
    record.title = "B";
    record.trackTitles = {"one\ttwo"};
    const std::string wanted = "# xmcd\r\n#\r\n# Track frame offsets:\r\n# 150\r\n# 20000\r\n#\r\n# Disc length: 500 "
                               "seconds\r\n#\r\n#\r\n# Revision: 3\r\n"
                               "# Submitted via: Flomior 1.27 note\r\n#\r\nDISCID=000000ab\r\nDTITLE=A / "
                               "B\r\nDYEAR=\r\nDGENRE=\r\nTTITLE0=one\\ttwo\r\n"
                               "TTITLE1=\r\nEXTD=\r\nEXTT0=\r\nEXTT1=\r\nPLAYORDER=\r\n";
    EXPECT_EQ(CCDDB().FormRecordText(record).GetString(), wanted);
    record.year = 99;
    EXPECT_GE(CCDDB().FormRecordText(record).Find("DYEAR=0099\r\n"), 0);
}

TEST(CddbRecord, WrittenAndReadAgainItIsTheSame)
{
    std::mt19937 random(11);
    const auto text = [&](bool blanksAtEnds) {
        static const char* const parts[] = {"a", "B c", "\\",       "\n",   "\t",   "\\n", "/",
                                            "=", "#",   "\xC3\xBC", "\xFC", "word", " "};
        CString made;
        const int count = random() % 10 == 0 ? 300 : static_cast<int>(random() % 6);
        for (int i = 0; i < count; ++i)
            made += parts[random() % (random() % 2 ? 13 : 6)];
        return blanksAtEnds ? made : CString(made).Trim(" \t\n");
    };
    for (int round = 0; round < 300; ++round) {
        CCDDBRecord record;
        record.discId = static_cast<u32>(random());
        record.discLength = static_cast<i32>(random() % 6000);
        record.revision = static_cast<i32>(random() % 9);
        record.year = static_cast<i32>(random() % 2100);
        record.clientName = "Flomior";
        record.clientVersion = "1.27";
        record.artist = text(false);
        record.artist.Replace(" / ", " - "); // what parts it from the title
        record.artist.Trim(" \t\n/");
        record.title = text(false);
        record.genre = text(true);
        record.extendedData = text(true);
        for (int track = static_cast<int>(random() % 20 + 1); track > 0; --track) {
            record.frameOffsets.push_back(static_cast<i32>(random() % 400000));
            record.trackTitles.push_back(text(true));
            record.extendedTrackData.push_back(text(true));
        }
        CCDDB client;
        const CString written = client.FormRecordText(record);
        for (int start = 0, end; (end = written.Find("\r\n", start)) >= 0; start = end + 2)
            ASSERT_LE(end + 2 - start, 256) << "servers refuse longer lines";
        CCDDBRecord read;
        ASSERT_TRUE(client.ParseRecord(written, read));
        EXPECT_EQ(read.artist, record.artist);
        EXPECT_EQ(read.title, record.title);
        EXPECT_EQ(read.extendedTrackData, record.extendedTrackData);
        EXPECT_EQ(client.FormRecordText(read), written) << round;
    }
}
