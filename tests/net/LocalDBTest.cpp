// Fetching and unpacking the local database: all of it or nothing, nowhere else, and on from where it stopped.
#include "CDDB.h"
#include "TestServer.h"
#include "net/ArchiveUnpacker.h"
#include "platform/Environment.h"
#include "support/Noise.h"
#include "support/TempFolder.h"

#include <archive.h>
#include <archive_entry.h>
#include <gtest/gtest.h>
#include <map>

namespace fs = std::filesystem;

namespace {

struct Entry {
    std::string name, bytes;
    unsigned type = AE_IFREG;
};

void MakeArchive(const std::string& path, const std::vector<Entry>& entries, bool tar = false)
{
    archive* const made = archive_write_new();
    tar ? archive_write_set_format_pax_restricted(made) : archive_write_set_format_7zip(made);
    ASSERT_EQ(archive_write_open_filename(made, path.c_str()), ARCHIVE_OK);
    archive_entry* const entry = archive_entry_new();
    for (const Entry& e : entries) {
        archive_entry_clear(entry);
        archive_entry_set_pathname(entry, e.name.c_str());
        archive_entry_set_filetype(entry, e.type);
        archive_entry_set_perm(entry, 0644);
        archive_entry_set_size(entry, static_cast<la_int64_t>(e.bytes.size()));
        if (e.type == AE_IFLNK)
            archive_entry_set_symlink(entry, "..");
        ASSERT_EQ(archive_write_header(made, entry), ARCHIVE_OK) << e.name;
        archive_write_data(made, e.bytes.data(), e.bytes.size());
    }
    archive_entry_free(entry);
    archive_write_free(made);
}

class LocalDBTest : public testing::Test {
protected:
    void SetUp() override
    {
        SetVariable("XDG_CONFIG_HOME", folder.Path("config").c_str());
        SetVariable("XDG_DATA_HOME", folder.Path("data").c_str());
        fs::create_directory(folder.Path("out"));
    }
    void TearDown() override
    {
        CCDDB::c_nMaxUnpackedSize = u64{64} << 30;
        CCDDB::c_szLocalDBURL = "";
    }
    /// Every file below "out" with its bytes.
    std::map<std::string, std::string> Everything() const
    {
        std::map<std::string, std::string> files;
        for (const auto& entry : fs::recursive_directory_iterator(folder.Path("out"))) {
            const std::string name = entry.path().lexically_relative(folder.Path("out")).generic_string();
            files[name] = entry.is_directory() ? "folder" : folder.Read("out/" + name);
        }
        return files;
    }
    int Unpack(const CCDDB::CancelCallback& cancelled = {})
    {
        return CCDDB::UnpackLocalDB(folder.Path("a").c_str(), folder.Path("out").c_str(), {}, cancelled);
    }

    TempFolder folder;
};

const std::vector<Entry> tree = {
    {"rock", "", AE_IFDIR}, {"rock/0000000a", "one"}, {"misc\\0000000b", "two"}, {"COPYING", "text"}};

} // namespace

TEST_F(LocalDBTest, AnArchiveBecomesTheLocalDatabase)
{
    double last = 0;
    for (const bool tar : {false, true}) {
        MakeArchive(folder.Path("a"), tree, tar);
        fs::remove_all(folder.Path("out/LocalCDDatabase"));
        EXPECT_EQ(CCDDB::CheckForLocalDB(), false);
        last = 0;
        ASSERT_TRUE(CCDDB::UnpackLocalDB(folder.Path("a").c_str(), folder.Path("out").c_str(), [&](double done) {
            EXPECT_GE(done, last);
            last = done;
        }));
        EXPECT_EQ(last, 1);
        EXPECT_EQ(Everything().at("LocalCDDatabase/rock/0000000a"), "one");
        EXPECT_EQ(Everything().at("LocalCDDatabase/misc/0000000b"), "two");
        EXPECT_TRUE(CCDDB::CheckForLocalDB());
        EXPECT_EQ(fs::path(CCDDB::GetLocalDBPath().GetString()), fs::path(folder.Path("out")) / "LocalCDDatabase");
    }
    // Over a tree that is there: what is new replaces, the rest stays. The archive's own first folder is not repeated.
    folder.Write("out/LocalCDDatabase/rock/mine", "mine");
    MakeArchive(folder.Path("a"),
                {{"LocalCDDatabase/rock/0000000a", "newer"}, {"LocalCDDatabase/folk/0000000c", "three"}});
    ASSERT_TRUE(CCDDB::UnpackLocalDB(folder.Path("a").c_str(), folder.Path("out/LocalCDDatabase").c_str()));
    const std::map<std::string, std::string> wanted = {
        {"LocalCDDatabase", "folder"},         {"LocalCDDatabase/COPYING", "text"},
        {"LocalCDDatabase/folk", "folder"},    {"LocalCDDatabase/folk/0000000c", "three"},
        {"LocalCDDatabase/misc", "folder"},    {"LocalCDDatabase/misc/0000000b", "two"},
        {"LocalCDDatabase/rock", "folder"},    {"LocalCDDatabase/rock/0000000a", "newer"},
        {"LocalCDDatabase/rock/mine", "mine"},
    };
    EXPECT_TRUE(Everything() == wanted);
}

TEST_F(LocalDBTest, ArchivesThatMustNotUnpackChangeNothing)
{
    fs::create_directories(folder.Path("out/LocalCDDatabase/rock"));
    folder.Write("out/LocalCDDatabase/rock/0000000a", "old");
    const auto before = Everything();
    for (const char* const name : {"../x", "rock/../../x", "/x", "\\x", "C:/x", "c:x", "rock/..\\..\\x", "..",
                                   "rock/NUL", "com1.txt", "rock./x", "a\nb", "x /y"}) {
        SCOPED_TRACE(name);
        fs::path ignored;
        EXPECT_FALSE(NV::SafeRelativePath(name, ignored));
        MakeArchive(folder.Path("a"), {{"rock/0000000a", "new"}, {name, "climbs"}}, true);
        EXPECT_FALSE(Unpack());
        EXPECT_TRUE(Everything() == before);
    }
    // A link is left out, so nothing is written through it.
    MakeArchive(folder.Path("a"), {{"up", "", AE_IFLNK}, {"up/x", "through"}}, true);
    EXPECT_TRUE(Unpack());
    EXPECT_EQ(Everything().at("LocalCDDatabase/up/x"), "through");
    EXPECT_FALSE(fs::exists(folder.Path("out/x")));
    fs::remove_all(folder.Path("out/LocalCDDatabase/up"));

    MakeArchive(folder.Path("a"), {{"rock/0000000a", "new"}, {"rock/big", Noise(1, 300000)}});
    EXPECT_FALSE(Unpack([] { return true; }));
    EXPECT_FALSE(CCDDB::UnpackLocalDB(folder.Path("out/x").c_str(), folder.Path("new/deep").c_str()));
    EXPECT_FALSE(fs::exists(folder.Path("new"))) << "folders that were made on the way";
    int asked = 0;
    EXPECT_FALSE(Unpack([&] { return ++asked == 4; }));
    CCDDB::c_nMaxUnpackedSize = 200000;
    EXPECT_FALSE(Unpack());
    CCDDB::c_nMaxUnpackedSize = 1 << 20;
    const std::string whole = folder.Read("a");
    for (const std::size_t kept : {std::size_t{0}, std::size_t{10}, whole.size() / 2, whole.size() - 1}) {
        folder.Write("a", whole.substr(0, kept));
        EXPECT_FALSE(Unpack()) << kept;
    }
    std::string damaged = whole;
    damaged[whole.size() / 2] = static_cast<char>(damaged[whole.size() / 2] ^ 0x40);
    folder.Write("a", damaged);
    EXPECT_FALSE(Unpack());
    EXPECT_FALSE(CCDDB::UnpackLocalDB(folder.Path("none").c_str(), folder.Path("out").c_str()));
    EXPECT_TRUE(Everything() == before);
    folder.Write("a", whole);
    EXPECT_TRUE(Unpack());
}

TEST_F(LocalDBTest, FetchingGoesOnFromWhereItStopped)
{
    MakeArchive(folder.Path("a"), {{"rock/0000000a", Noise(2, 400000)}});
    std::string file = folder.Read("a");
    std::string tag = "\"v1\"", asked, after = "206 Partial";
    std::size_t cut = 150000;
    bool knowsRanges = true;
    TestServer server([&](Connection& c) {
        asked = c.ReadRequest();
        const std::size_t at = asked.find("Range: bytes=");
        const bool same = asked.find("If-Range: " + tag + "\r\n") != std::string::npos;
        std::size_t from = knowsRanges && same && at != std::string::npos ? std::stoul(asked.substr(at + 13)) : 0;
        c.Send("HTTP/1.1 " +
               (from == file.size() ? after
                : from              ? "206 Partial"
                                    : "200 OK") +
               "\r\nETag: " + tag + "\r\nContent-Length: " + std::to_string(file.size() - from) +
               "\r\nConnection: close\r\n\r\n" + file.substr(from, cut));
    });
    const std::string out = folder.Path("out");
    const auto fetch = [&](const CCDDB::CancelCallback& cancelled = {}) {
        return CCDDB::DownloadLocalDB(out.c_str(), {}, cancelled);
    };
    EXPECT_EQ(fetch(), "") << "no address";
    CCDDB::c_szLocalDBURL.Format("http://127.0.0.1:%d/db.7z", server.Port());
    EXPECT_EQ(fetch(), "");
    EXPECT_EQ(Everything().at("freedbkar.7z.part").size(), 150000u);
    EXPECT_EQ(fetch(), "");
    EXPECT_NE(asked.find("Range: bytes=150000-"), std::string::npos);
    EXPECT_EQ(Everything().at("freedbkar.7z.part"), file.substr(0, 300000));
    cut = std::string::npos;
    EXPECT_EQ(fetch([] { return true; }), "") << "stopped";
    EXPECT_GE(Everything().at("freedbkar.7z.part").size(), 300000u);
    EXPECT_EQ(fs::path(fetch().GetString()), fs::path(out) / "freedbkar.7z");
    EXPECT_TRUE(Everything() == (std::map<std::string, std::string>{{"freedbkar.7z", file}}));

    // The server's file changes, or the server does not know ranges: all of it again.
    for (const bool changes : {true, false}) {
        cut = 150000;
        EXPECT_EQ(fetch(), "");
        cut = std::string::npos;
        knowsRanges = changes;
        if (changes) {
            tag = "\"v2\"";
            MakeArchive(folder.Path("a"), {{"rock/0000000a", Noise(3, 400000)}});
            file = folder.Read("a");
        }
        EXPECT_NE(fetch(), "");
        EXPECT_TRUE(Everything() == (std::map<std::string, std::string>{{"freedbkar.7z", file}}));
    }
    // Stopped between the last byte and the new name. A server says that nothing is left, or sends nothing.
    knowsRanges = true;
    for (const bool refuses : {true, false}) {
        fs::rename(out + "/freedbkar.7z", out + "/freedbkar.7z.part");
        folder.Write("out/freedbkar.7z.part.from", std::string(CCDDB::c_szLocalDBURL) + "\n" + tag + "\n");
        after = refuses ? "416 Range Not Satisfiable" : "206 Partial";
        EXPECT_NE(fetch(), "");
        EXPECT_TRUE(Everything() == (std::map<std::string, std::string>{{"freedbkar.7z", file}}));
    }

    const std::string good = file;
    file = "<html>not here</html>";
    EXPECT_EQ(fetch(), "");
    EXPECT_TRUE(Everything() == (std::map<std::string, std::string>{{"freedbkar.7z", good}}))
        << "what is no archive replaces nothing";
    EXPECT_THROW(CCDDB::DownloadLocalDB(out.c_str(), {}, []() -> bool { throw std::runtime_error("x"); }),
                 std::runtime_error);
    CCDDB::c_szLocalDBURL = "file:///etc/passwd";
    EXPECT_EQ(fetch(), "") << "only the web";
}
