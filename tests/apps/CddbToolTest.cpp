// nvtool's commands for CDDB as a person runs them, against a small database and a server of the test's own.
#include "CDDB.h"
#include "RunNvtool.h"
#include "net/TestServer.h"

namespace {

class CddbTool : public RunNvtool {
protected:
    void SetUp() override
    {
        RunNvtool::SetUp();
        CCDDB client;
        CCDDBRecord record;
        record.discId = 0x06000502; // of the sheet below
        record.frameOffsets = {150, 300};
        record.discLength = 7;
        record.artist = "Caf\xE9"; // Latin-1
        record.title = "Titel <1>";
        record.trackTitles = {"\xCF\xF0\xE8\xE2\xE5\xF2", "zwei"}; // in Windows-1251 a greeting
        ASSERT_TRUE(client.WriteLocal("db", "karaoke", record));
        text = client.FormRecordText(record).GetString();
        folder.Write("track.cue",
                     "FILE track.bin BINARY\nTRACK 01 CDG\nINDEX 01 00:00:00\nTRACK 02 CDG\nINDEX 01 00:02:00\n");
        folder.Write("track.bin", std::string(2448 * 375, '\0'));
    }

    std::string text;
};

} // namespace

TEST_F(CddbTool, DiscsAreNamedInEachWay)
{
    ASSERT_EQ(Run("disc-id 0:02:00 0:04:00 0:07:00"), 0) << Errors();
    EXPECT_EQ(Output(), "06000502 150 300\n");
    ASSERT_EQ(Run("disc-id --image track.cue --json"), 0) << Errors();
    EXPECT_EQ(Json()[0]["discId"], "06000502");
    EXPECT_EQ(Json()[0]["leadOut"], 525);
    const std::pair<const char*, const char*> wrong[] = {{"disc-id", "--image"},
                                                         {"disc-id 0:02:00", "lead-out"},
                                                         {"disc-id 0:02:00 0:02:75", "0:02:75"},
                                                         {"disc-id 0:04:00 0:02:00", "follow"},
                                                         {"cddb", "subcommand"},
                                                         {"cddb local --db db", "--image"},
                                                         {"cddb query 0:02:00 1:00:00", "--server"}};
    for (const auto& [arguments, message] : wrong) {
        EXPECT_EQ(Run(arguments), 2) << arguments;
        EXPECT_NE(Errors().find(message), std::string::npos) << Errors();
    }
    EXPECT_EQ(Run("disc-id --image track.bin"), 1);
    EXPECT_EQ(Errors().rfind("nvtool: track.bin: holds no table of contents", 0), 0u) << Errors();
}

TEST_F(CddbTool, LocalLooksManyDiscsUp)
{
    ASSERT_EQ(Run("cddb local --db db --image track.cue"), 0) << Errors();
    EXPECT_NE(Output().find("Caf\xC3\xA9 / Titel <1>\n"), std::string::npos) << Output();
    ASSERT_EQ(Run("cddb local --db db --image track.cue --json --encoding cp1251"), 0) << Errors();
    EXPECT_EQ(Json()[0]["records"][0]["tracks"][0]["title"], "\xD0\x9F\xD1\x80\xD0\xB8\xD0\xB2\xD0\xB5\xD1\x82");
    folder.Write("list.txt", "# discs\n06000502 150 300\n99000502 150 300\n\n08000502 150 301\n");
    ASSERT_EQ(Run("cddb local --db db --list list.txt --json"), 0) << Errors();
    ASSERT_EQ(Json().size(), 3u);
    EXPECT_EQ(Json()[1]["records"].size(), 0u);
    EXPECT_EQ(Json()[2]["records"].size(), 1u);
    EXPECT_EQ(Run("cddb local --db db 0:02:00 9:00:00"), 1);
    EXPECT_EQ(Run("cddb local --db none 0:02:00 9:00:00"), 1);
    folder.Write("list.txt", "06000502 150 x\n");
    EXPECT_EQ(Run("cddb local --db db --list list.txt"), 1);
    EXPECT_NE(Errors().find("line 1"), std::string::npos);
    folder.Write("no.7z", "no archive");
    EXPECT_EQ(Run("cddb unpack no.7z out"), 1);
    EXPECT_NE(Errors().find("this is no archive"), std::string::npos) << Errors();
}

TEST_F(CddbTool, TitlesComeOnThePage)
{
    ASSERT_EQ(Run("make-sample track.bin --seconds 5 --seed 7"), 0) << Errors(); // as long as before
    ASSERT_EQ(Run("process track.bin -o out --db db --json"), 0) << Errors();
    EXPECT_EQ(Json()["disc"]["title"], "Titel <1>");
    const std::string page = folder.Read("out/index.html");
    EXPECT_NE(page.find("Caf\xC3\xA9 &ndash; Titel &lt;1&gt;"), std::string::npos);
    EXPECT_NE(page.find("<td>zwei</td><td>0:02.000</td>"), std::string::npos);
    fs::remove("track.cue");
    ASSERT_EQ(Run("process track.bin -o out --db db --json"), 0) << Errors();
    EXPECT_EQ(Json()["remarks"].size(), 1u);
    EXPECT_FALSE(Json().contains("disc"));
    EXPECT_EQ(Run("process track.bin -o out --db none"), 1);
}

TEST_F(CddbTool, ServersAreAsked)
{
    std::string seen, body = "211 several\r\nrock 1001f202 A / B\r\nmisc 1001f203 C\r\n.\r\n";
    TestServer server([&](Connection& c) {
        seen = c.ReadRequest();
        c.Send("HTTP/1.0 200 OK\r\n\r\n" + body);
    });
    const std::string at = " --timeout 8000 --server 127.0.0.1:" + std::to_string(server.Port());
    ASSERT_EQ(Run("cddb query 0:02:00 4:26:50 8:20:00 --json" + at), 0) << Errors();
    EXPECT_EQ(Json()[0]["matches"][1]["title"], "C");
    EXPECT_NE(seen.find("+nvtool+"), std::string::npos);
    body = "210 follows\r\n" + text + ".\r\n";
    ASSERT_EQ(Run("cddb read karaoke 06000502 --json" + at), 0) << Errors();
    EXPECT_EQ(Json()["tracks"].size(), 2u);
    body = "210 OK\r\nrock\r\nfolk\r\n.\r\n";
    ASSERT_EQ(Run("cddb categories" + at), 0) << Errors();
    EXPECT_EQ(Output(), "rock\nfolk\n");
    folder.Write("record", text);
    body = "200 OK\r\n";
    ASSERT_EQ(Run("cddb submit record --category rock --email a@b.c" + at), 0) << Errors();
    EXPECT_NE(seen.find("Submit-Mode: test\r\n"), std::string::npos);
    body = "501 Entry rejected: no\r\n";
    EXPECT_EQ(Run("cddb submit record --category rock --email a@b.c --send" + at), 1);
    EXPECT_NE(Errors().find("501 Entry rejected"), std::string::npos) << Errors();
    struct Answer {
        const char *command, *given, *shown;
    };
    const Answer answers[] = {{"sites", "a.org http 80 /~cddb/cddb.cgi N001.30 W002.15 A town\r\n",
                               "a.org:80/~cddb/cddb.cgi  1.50 -2.25  A town\n"},
                              {"status",
                               "Server status:\r\n    current proto: 5\r\n    Database entries: 12\r\n"
                               "    Database entries by category:\r\n        rock: 7\r\n",
                               "categories:\n  rock             7\n"},
                              {"motd", "Hello\r\n  there\r\n", "Hello\n  there\n"}};
    for (const Answer& c : answers) {
        EXPECT_EQ(Run(std::string("cddb ") + c.command + at), 1) << c.command << " was refused";
        body = std::string("210 OK\r\n") + c.given + ".\r\n";
        EXPECT_EQ(Run(std::string("cddb ") + c.command + at), 0) << Errors();
        EXPECT_NE(Output().find(c.shown), std::string::npos) << Output();
        EXPECT_EQ(Run(std::string("cddb ") + c.command + " --json" + at), 0) << Errors();
        EXPECT_TRUE(Json().is_structured()) << Output();
        body = "501 Entry rejected: no\r\n";
    }
}
