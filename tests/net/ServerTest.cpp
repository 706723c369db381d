// Every command against every way in which a server can misbehave: the right result or the documented failure, in time,
// and the same client works afterwards.
#include "CDDB.h"
#include "TestServer.h"

#include <gtest/gtest.h>
#include <mutex>

namespace {

const std::string head = "HTTP/1.0 200 OK\r\nContent-Type: text/plain\r\n\r\n";
const std::string recordText =
    "# xmcd\r\n#\r\n# Track frame offsets:\r\n# 150\r\n# 20000\r\n#\r\n# Disc length: 500 seconds\r\n"
    "# Submitted via: test 1.0\r\n#\r\nDISCID=1001f202\r\nDTITLE=A / B\r\nTTITLE0=one\r\nTTITLE1=two\r\n";
const std::vector<CCDDBTrackPosition> disc = {{0, 2, 0}, {4, 26, 50}, {8, 20, 0}};

CCDDBRecord ARecord()
{
    CCDDB client;
    CCDDBRecord record;
    EXPECT_TRUE(client.ParseRecord(recordText.c_str(), record));
    return record;
}

struct CommandCase {
    const char* name;
    bool https, list;
    std::string body; // of a good answer
    std::function<std::pair<int, bool>(CCDDB&, const CCDDBSite&)>
        run; // what it gave, and whether that is as sent (or empty)
    bool garbageIsFine;
};

template <class Result>
std::pair<int, bool> Judge(int given, const Result& result, bool right)
{
    if constexpr (requires { result.empty(); })
        return {given, given ? right : result.empty()};
    else
        return {given, !given || right};
}

std::vector<CommandCase> Commands()
{
    const std::string matches = "211 close matches\r\nrock 1001f202 A / B\r\nmisc 1001f203 C\r\n.\r\n";
    const auto query = [](bool https) {
        return [https](CCDDB& client, const CCDDBSite& site) {
            std::vector<CCDDBQueryResult> r(7);
            const int given =
                https ? client.QueryHTTP(site, 0x1001f202, disc, r) : client.Query(site, 0x1001f202, disc, r);
            return Judge(given, r, r.size() == 2 && r[0].category == "rock" && r[1].title == "C" && r[1].artist == "C");
        };
    };
    const auto read = [](bool https) {
        return [https](CCDDB& client, const CCDDBSite& site) {
            CCDDBRecord r;
            r.title = "old";
            const int given =
                https ? client.ReadHTTP(site, 0x1001f202, "rock", r) : client.Read(site, 0x1001f202, "rock", r);
            const bool right =
                given ? r.title == "B" && r.trackTitles.size() == 2 && r.category == "rock" : r.title.IsEmpty();
            return std::pair<int, bool>(given, right);
        };
    };
    const std::string record = "210 rock 1001f202 follows\r\n" + recordText + ".\r\n";
    std::vector<CommandCase> all = {
        {"sites", false, true,
         "210 OK\r\nh.org cddbp 888 - N001.00 W002.30 x\r\nh.org http 80 /p N001.01 W002.30 Some town\r\n.\r\n",
         [](CCDDB& client, const CCDDBSite& site) {
             std::vector<CCDDBSite> r(3);
             const int given = client.Sites(r, site);
             return Judge(given, r,
                          r.empty() || (r[0].latitude == 61 && !r[0].east && r[0].description == "Some town"));
         },
         true},
        {"categories", false, true, "210 OK\r\nrock\r\nmisc\r\n.\r\n",
         [](CCDDB& client, const CCDDBSite& site) {
             std::vector<CString> r(3);
             const int given = client.Categories(site, r);
             return Judge(given, r, r[0] == "rock" && r[1] == "misc" && r.size() == 2);
         },
         false},
        {"status", false, true,
         "210 OK\r\nServer status:\r\n    current proto: 5\r\n    gets: no\r\n    Database entries: 12\r\n"
         "    Database entries by category:\r\n        rock: 7\r\n    Pending file transmissions:\r\n        h.org: "
         "3\r\n.\r\n",
         [](CCDDB& client, const CCDDBSite& site) {
             CCDDBStatus r;
             const int given = client.Status(site, r);
             return std::pair(given, given ? r.currentProto == 5 && r.gets == "no" && r.databaseEntries == 12 &&
                                                 r.categoryEntries.at(0).second == 7 &&
                                                 r.pendingTransmissions.at(0).second == "3"
                                           : r.currentProto == 0);
         },
         false},
        {"motd", false, true, "210 modified\r\nHello\r\n  there\r\n.\r\n",
         [](CCDDB& client, const CCDDBSite& site) {
             CString r = "old";
             const int given = client.MessageOfTheDay(site, r);
             return std::pair(given, r == (given ? "Hello\r\n  there\r\n" : ""));
         },
         false},
        {"query", false, true, matches, query(false), false},
        {"read", false, true, record, read(false), false},
        {"submit", false, false, "200 OK, submission has been sent.\r\n",
         [](CCDDB& client, const CCDDBSite& site) {
             const int given = client.Submit(site, "rock", "a@b.c", ARecord());
             return std::pair<int, bool>(given, (given != 0) == client.GetErrorMessage().IsEmpty());
         },
         true},
    };
    if (TestServer::HasTls()) {
        all.push_back({"query over HTTPS", true, true, matches, query(true), false});
        all.push_back({"read over HTTPS", true, true, record, read(true), false});
    }
    return all;
}

constexpr u32 none = 0, late = 10060, bad = 10043;

struct Misbehaviour {
    const char* name;
    std::function<void(Connection&, const CommandCase&, bool again)> answer;
    u32 overSocket, overHttps;
};

void SendRest(Connection& c, const std::string& text)
{
    c.ReadRequest();
    c.Send(text);
}

void Flood(Connection& c, const std::string& start)
{
    SendRest(c, start);
    const std::string line = std::string(65534, 'x') + "\r\n";
    for (int i = 0; i < 1600 && c.Send(line); ++i) { // 100 MB
    }
}

std::string WithoutDot(const CommandCase& command)
{
    return command.list ? command.body.substr(0, command.body.size() - 3) : command.body;
}

const Misbehaviour misbehaviours[] = {
    {"none", [](Connection& c, const CommandCase& m, bool) { SendRest(c, head + m.body); }, none, none},
    {"pieces of one byte",
     [](Connection& c, const CommandCase& m, bool) {
         c.ReadRequest();
         for (const char byte : head + m.body)
             c.Send(std::string(1, byte));
     },
     none, none},
    {"does not close",
     [](Connection& c, const CommandCase& m, bool) {
         SendRest(c, head + m.body);
         c.Linger();
     },
     none, late},
    {"no terminator", [](Connection& c, const CommandCase& m, bool) { SendRest(c, head + WithoutDot(m)); }, none, none},
    {"no terminator and does not close",
     [](Connection& c, const CommandCase& m, bool) {
         SendRest(c, head + WithoutDot(m));
         c.Linger();
     },
     late, late},
    {"no answer", [](Connection& c, const CommandCase&, bool) { c.Linger(); }, late, late},
    {"drips",
     [](Connection& c, const CommandCase&, bool) {
         SendRest(c, head + "210 wait\r\n");
         while (c.Send("x"))
             std::this_thread::sleep_for(std::chrono::milliseconds(20));
     },
     late, late},
    {"closes at once", [](Connection&, const CommandCase&, bool) {}, bad, bad},
    {"closes within the head", [](Connection& c, const CommandCase&, bool) { SendRest(c, "HTTP/1.0 200 OK\r\nConte"); },
     bad, bad},
    {"closes behind the head", [](Connection& c, const CommandCase&, bool) { SendRest(c, head); }, bad, bad},
    {"another code", [](Connection& c, const CommandCase&, bool) { SendRest(c, head + "402 Server error.\r\n"); }, bad,
     bad},
    {"a code of two digits", [](Connection& c, const CommandCase&, bool) { SendRest(c, head + "21"); }, bad, bad},
    {"a page", [](Connection& c, const CommandCase&, bool) { SendRest(c, "HTTP/1.0 404 No\r\n\r\n<html>\r\n"); }, bad,
     bad},
    {"a redirect",
     [](Connection& c, const CommandCase& m, bool again) {
         SendRest(c, again ? head + m.body : "HTTP/1.0 302 Found\r\nLocation: /elsewhere\r\n\r\n");
     },
     bad, none},
    {"a redirect in a circle",
     [](Connection& c, const CommandCase&, bool) { SendRest(c, "HTTP/1.0 302 Found\r\nLocation: /x\r\n\r\n"); }, bad,
     bad},
    {"100 MB of a body", [](Connection& c, const CommandCase&, bool) { Flood(c, head + "210 OK\r\n"); }, bad, bad},
    {"100 MB of a head", [](Connection& c, const CommandCase&, bool) { Flood(c, "HTTP/1.0 200 OK\r\nX: "); }, bad, bad},
};

class ServerTest : public testing::Test {
protected:
    void TearDown() override
    {
        CCDDB::c_nMaxResponseTime = 60'000;
        CCDDB::c_nHTTPSTimeout = 5000;
        CCDDB::c_bVerifyCertificates = false;
        CCDDB::c_pWriteLogCallback = nullptr;
        CCDDB::c_pSelectMatchCallback = nullptr;
        CCDDB::c_szPublicServer = "gnudb.gnudb.org";
    }

    static CCDDBSite SiteOf(const TestServer& server, bool https = false)
    {
        CCDDBSite site;
        site.host = "127.0.0.1";
        site.port = server.Port();
        if (https)
            site.host.AppendFormat(":%d", server.Port());
        return site;
    }
};

} // namespace

TEST_F(ServerTest, EveryCommandStandsEveryMisbehaviour)
{
    for (const CommandCase& command : Commands()) {
        for (const Misbehaviour& row : misbehaviours) {
            SCOPED_TRACE(std::string(command.name) + ": " + row.name);
            std::atomic<bool> behave = false;
            int answers = 0;
            TestServer server(
                [&](Connection& c) { (behave ? misbehaviours[0] : row).answer(c, command, answers++ > 0); },
                command.https);
            u32 wanted = command.https ? row.overHttps : row.overSocket;
            const bool isMissingDot = row.answer.target_type() == misbehaviours[4].answer.target_type();
            if (isMissingDot && !command.list)
                wanted = none; // a one-line answer has no dot
            CCDDB client;
            const u32 wait = wanted == late ? 150 : 8000;
            client.SetTimeout(wait);
            CCDDB::c_nMaxResponseTime = wanted == late ? 300 : 60'000;
            CCDDB::c_nHTTPSTimeout = wait;
            testing::internal::CaptureStderr(); // libcurl's failures are told there
            const auto start = std::chrono::steady_clock::now();
            const auto [given, right] = command.run(client, SiteOf(server, command.https));
            const auto spent = std::chrono::steady_clock::now() - start;
            testing::internal::GetCapturedStderr();
            EXPECT_EQ(given != 0, wanted == none);
            EXPECT_TRUE(right);
            EXPECT_TRUE(client.GetLastError() == wanted || (wanted == bad && client.GetLastError() == NV::netReset))
                << client.GetLastError() << " " << client.GetErrorMessage().GetString();
            EXPECT_EQ(client.GetErrorMessage().IsEmpty(), wanted == none);
            EXPECT_LT(spent, std::chrono::seconds(wanted == late ? 3 : 20));

            behave = true;
            client.SetTimeout(8000);
            CCDDB::c_nMaxResponseTime = 60'000;
            CCDDB::c_nHTTPSTimeout = 8000;
            const auto [after, rightAfter] = command.run(client, SiteOf(server, command.https));
            EXPECT_TRUE(after && rightAfter && client.GetLastError() == 0) << client.GetErrorMessage().GetString();
        }
    }
}

TEST_F(ServerTest, TextThatIsNoneIsTakenOrRefused)
{
    const std::string garbage("\xFF\xFE\x00\x80 \r\n\x01 = : #\r\n", 17);
    for (const CommandCase& command : Commands()) {
        SCOPED_TRACE(command.name);
        TestServer server(
            [&](Connection& c) { SendRest(c, head + command.body.substr(0, 3) + " x\r\n" + garbage + ".\r\n"); },
            command.https);
        CCDDB client;
        client.SetTimeout(8000);
        const auto [given, right] = command.run(client, SiteOf(server, command.https));
        const std::string name = command.name;
        const bool takesText = name == "categories" || name == "status" || name == "motd";
        EXPECT_EQ(given != 0, takesText || command.garbageIsFine);
        EXPECT_TRUE(takesText || right);
        EXPECT_EQ(client.GetLastError(), given ? none : bad);
    }
}

TEST_F(ServerTest, RequestsAreWhatTheProtocolWants)
{
    class Client : public CCDDB {
    public:
        CString GetUserName() const override { return "a user"; }
        CString GetHostName() const override { return "h&st"; }
    };
    std::string seen;
    std::string body = "200 x 1 a / b\r\n";
    TestServer server([&](Connection& c) {
        seen = c.ReadRequest();
        c.Send(head + body);
    });
    const std::string port = std::to_string(server.Port());
    const std::string hello = "hello=a_user+h_st+Flomior+1.27&proto=5";
    const std::string arguments = "+1001f202+2+150+19950+";
    const std::string host = "127.0.0.1:" + port;
    const std::string place = "http://" + host + "/~cddb/cddb.cgi";
    const std::string authorised = "\r\nProxy-Authorization: Basic dXNlcjpwYXNz\r\nHost: " + host + "\r\n\r\n";
    const std::string submitted =
        " HTTP/1.0\r\nCategory: rock\r\nDiscid: 1001f202\r\nUser-Email: a@b.c\r\nSubmit-Mode: test\r\n"
        "X-Cddbd-Note: a note  with a line\r\nContent-Length: ";
    const std::vector<CCDDBTrackPosition> two = {{0, 2, 0}, {4, 26, 0}, {8, 20, 74}};
    std::vector<CCDDBQueryResult> results;
    CCDDBRecord record;
    CString text;
    struct Case {
        bool proxy, user;
        std::string wanted;
        std::function<void(Client&, const CCDDBSite&)> run;
    };
    const Case cases[] = {
        {false, false, "GET /~cddb/cddb.cgi?cmd=cddb+query" + arguments + "500&" + hello + " HTTP/1.0\r\n\r\n",
         [&](Client& c, const CCDDBSite& s) { EXPECT_TRUE(c.Query(s, 0x1001f202, two, results)); }},
        {false, false, "GET /~cddb/cddb.cgi?cmd=cddb+query+1001f202&" + hello + " HTTP/1.0\r\n\r\n",
         [&](Client& c, const CCDDBSite& s) { EXPECT_TRUE(c.Query(s, 0x1001f202, two, results, true)); }},
        {true, false,
         "GET " + place + "?cmd=cddb+query" + arguments + "0&" + hello + " HTTP/1.0\r\nHost: " + host + "\r\n\r\n",
         [&](Client& c, const CCDDBSite& s) { EXPECT_TRUE(c.Query(s, 0x1001f202, two, results, true)); }},
        {true, true, "GET " + place + "?cmd=motd&" + hello + " HTTP/1.0" + authorised,
         [&](Client& c, const CCDDBSite& s) { c.MessageOfTheDay(s, text); }},
        {false, false, "GET /~cddb/cddb.cgi?cmd=cddb+read+rock%26%0D%0A+000000ff&" + hello + " HTTP/1.0\r\n\r\n",
         [&](Client& c, const CCDDBSite& s) { c.Read(s, 255, "rock&\r\n", record); }},
        {false, false, "POST /~cddb/submit.cgi" + submitted,
         [&](Client& c, CCDDBSite s) {
             s.path = CCDDBSite(CCDDBSite::submission).path;
             EXPECT_TRUE(c.Submit(s, "rock", "a@b.c", ARecord(), "a note\r\nwith a line", true));
         }},
        {true, false, "POST http://" + host + "/p HTTP/1.0\r\nHost: " + host + submitted.substr(9),
         [&](Client& c, CCDDBSite s) {
             s.path = "/p";
             EXPECT_TRUE(c.Submit(s, "rock", "a@b.c", ARecord(), "a note\r\nwith a line", true));
         }},
    };
    for (const Case& row : cases) {
        SCOPED_TRACE(row.wanted);
        Client client;
        if (row.proxy)
            client.SetProxyDetails("127.0.0.1", server.Port());
        if (row.user) {
            client.SetProxyUser("user");
            client.SetProxyPassword("pass");
        }
        row.run(client, SiteOf(server));
        const bool isPost = row.wanted[0] == 'P';
        EXPECT_EQ(isPost ? seen.substr(0, row.wanted.size()) : seen, row.wanted);
        if (isPost) {
            EXPECT_EQ(seen.substr(seen.find("\r\n\r\n") + 4), client.FormRecordText(ARecord()).GetString());
        }
    }
    CCDDBSite odd = SiteOf(server);
    odd.path = "/a\r\nX: y";
    EXPECT_FALSE(Client().MessageOfTheDay(odd, text)) << "a path that would add a header";
}

TEST_F(ServerTest, NobodyThereIsTold)
{
    int port = 0;
    {
        const TestServer gone([](Connection&) {});
        port = gone.Port();
    }
    CCDDBSite site;
    site.host = "127.0.0.1";
    site.port = port;
    CCDDB client;
    CString text;
    EXPECT_FALSE(client.MessageOfTheDay(site, text));
    EXPECT_EQ(client.GetLastError(), 10061u);
    EXPECT_EQ(
        client.GetErrorMessage().Find("Could not connect to the FreeDB HTTP server 127.0.0.1, GetLastError:10061, "),
        0);
}

TEST_F(ServerTest, CertificatesAreCheckedWhenWanted)
{
    if (!TestServer::HasTls())
        GTEST_SKIP() << "no HTTPS server in this build";
    TestServer server([](Connection& c) { SendRest(c, head + "202 No match\r\n"); }, true);
    CCDDB client;
    std::vector<CCDDBQueryResult> results;
    EXPECT_TRUE(client.QueryHTTP(SiteOf(server, true), 1, disc, results));
    CCDDB::c_bVerifyCertificates = true;
    testing::internal::CaptureStderr();
    EXPECT_FALSE(client.QueryHTTP(SiteOf(server, true), 1, disc, results));
    EXPECT_EQ(testing::internal::GetCapturedStderr().rfind("curl_easy_perform() failed: ", 0), 0u);
    EXPECT_EQ(client.GetErrorMessage(), "Cannot connect to FreeDB server.");
}

TEST_F(ServerTest, InfoAsksTheServerAndLetsThePersonChoose)
{
    static std::string log;
    log.clear();
    CCDDB::c_pWriteLogCallback = [](const char* text) { log += text; };
    bool bySocket = true;
    const auto answer = [&](Connection& c) {
        const std::string request = c.ReadRequest();
        if (!bySocket && request.find("HTTP/1.0") != std::string::npos)
            return;
        const bool query = request.find("cddb+query") != std::string::npos;
        c.Send(head + (query ? "210 several\r\nrock 1001f202 A / B\r\nmisc 1001f203 C / D\r\n.\r\n"
                             : "210 follows\r\n" + recordText + ".\r\n"));
    };
    std::vector<CCDDBQueryResult> offered;
    int choice = 1;
    CCDDB::c_pSelectMatchCallback = [&](const std::vector<CCDDBQueryResult>& matches) {
        offered = matches;
        return choice;
    };
    TestServer server(answer, TestServer::HasTls());
    CCDDB client;
    client.SetTimeout(3000);
    const CString host = TestServer::HasTls() ? SiteOf(server, true).host : CString("127.0.0.1");
    testing::internal::CaptureStderr();
    const CString text = client.ReadFreeDBInfo("", 0x1001f202, {150, 19950}, 2, "", host, "given");
    testing::internal::GetCapturedStderr();
    if (TestServer::HasTls()) { // "127.0.0.1:PORT" is no host for a socket, so the query goes over HTTPS
        EXPECT_EQ(offered.size(), 2u);
        EXPECT_GE(text.Find("DTITLE=A / B\r\n"), 0);
        EXPECT_GE(text.Find("DISCID=1001f203\r\n"), 0) << "the id that was asked for stays";
        for (const char* const line :
             {"CDDB request: https://127.0.0.1", "Response code: 210\n", "Parsed correctly\n", "1001f203, C / D\n",
              "Request: https://", "FreeDB read:\n", "CDDB Processing result\n",
              "Returned DiscID from CDDB read (1001f202) is different than the computed value (1001f203)"})
            EXPECT_NE(log.find(line), std::string::npos) << line;
        choice = -1;
        EXPECT_EQ(client.ReadFreeDBInfo("", 0x1001f202, {150, 19950}, 2, "", host, "given"), "given");
        CCDDB::c_pSelectMatchCallback = nullptr; // and no window either: the first one, whose id this is
        EXPECT_GE(client.ReadFreeDBInfo("", 0x1001f202, {150, 19950}, 2, "", host).Find("DISCID=1001f202\r\n"), 0);
    }
    EXPECT_EQ(client.ReadFreeDBInfo("", 1, {}, 0, "", host, "given"), "given");
}
