// CFile on the disk: opening, sharing, what is refused and how it is told.
#include "CauseOf.h"
#include "support/TempFolder.h"

#include <afx.h>
#include <ctime>
#include <gtest/gtest.h>

namespace {

namespace fs = std::filesystem;

void MakeReadOnly(const std::string& path)
{
    fs::permissions(path, fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write,
                    fs::perm_options::remove);
}

void MakeWritable(const std::string& path)
{
    fs::permissions(path, fs::perms::owner_write, fs::perm_options::add);
}

constexpr UINT createReadWrite = CFile::modeCreate | CFile::modeReadWrite;

} // namespace

TEST(File, AnOpenThatFailsTellsWhyAndLeavesAFileThatOpens)
{
    const TempFolder folder;
    const std::string good = folder.Write("good", "12345");
    const std::string protectedFile = folder.Write("protected", "12345");
    MakeReadOnly(protectedFile);
    struct Case {
        const char* name;
        std::string path;
        UINT flags;
        int cause;
    };
    const Case cases[] = {
        {"missing file", folder.Path("missing"), CFile::modeRead, CFileException::fileNotFound},
        {"missing file, to be written", folder.Path("missing"), CFile::modeWrite, CFileException::fileNotFound},
        {"missing folder", folder.Path("missing/file"), CFile::modeRead, CFileException::badPath},
        {"missing folder, to be created in", folder.Path("missing/file"), createReadWrite, CFileException::badPath},
        {"a file as folder", folder.Path("good/file"), CFile::modeRead, CFileException::badPath},
        {"empty name", "", CFile::modeRead, CFileException::badPath},
        {"name too long", folder.Path(std::string(5000, 'x')), createReadWrite, CFileException::badPath},
        {"folder", folder.Path(), CFile::modeRead, CFileException::accessDenied},
        {"folder, to be written", folder.Path(), CFile::modeWrite, CFileException::accessDenied},
        {"folder, to be created", folder.Path(), createReadWrite, CFileException::accessDenied},
        {"read-only file, to be written", protectedFile, CFile::modeWrite, CFileException::accessDenied},
        {"read-only file, to be emptied", protectedFile, CFile::modeCreate, CFileException::accessDenied},
        {"no such access", good, 3, CFileException::genericException},
        {"no such sharing", good, 0x50, CFileException::genericException},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        CFile file;
        CFileException error;
        EXPECT_FALSE(file.Open(c.path.c_str(), c.flags, &error));
        EXPECT_EQ(error.m_cause, c.cause);
        EXPECT_EQ(error.m_lOsError > 0, c.cause != CFileException::genericException);
        EXPECT_EQ(error.m_strFileName, c.path.c_str());
        EXPECT_FALSE(file.Open(c.path.c_str(), c.flags)) << "without a record";
        EXPECT_EQ(CauseOf([&] { const CFile thrown(c.path.c_str(), c.flags); }), c.cause);

        EXPECT_EQ(file.m_hFile, CFile::hFileNull);
        EXPECT_TRUE(file.GetFilePath().IsEmpty());
        EXPECT_EQ(CauseOf([&] { file.GetLength(); }), CFileException::invalidFile);
        EXPECT_TRUE(file.Open(good.c_str(), CFile::modeRead));
        EXPECT_EQ(file.GetLength(), 5U);
    }
    EXPECT_EQ(folder.Read("good"), "12345");
    EXPECT_EQ(folder.Read("protected"), "12345");
    EXPECT_FALSE(fs::exists(folder.Path("missing")));
    MakeWritable(protectedFile);
}

TEST(File, FlagsDecideWhatBecomesOfTheContents)
{
    struct Case {
        const char* name;
        UINT flags;
        bool existed;
        const char* after;
        bool canRead, canWrite;
    };
    const Case cases[] = {
        {"reading keeps", CFile::modeRead, true, "old", true, false},
        {"writing keeps", CFile::modeWrite, true, "old", false, true},
        {"creating empties", createReadWrite, true, "", true, true},
        {"creating for reading empties too", CFile::modeCreate | CFile::modeRead, true, "", true, false},
        {"creating without truncation keeps", createReadWrite | CFile::modeNoTruncate, true, "old", true, true},
        {"truncation needs creation", CFile::modeReadWrite | CFile::modeNoTruncate, true, "old", true, true},
        {"creating makes a file", CFile::modeCreate | CFile::modeWrite, false, "", false, true},
        {"creating for reading makes one", CFile::modeCreate | CFile::modeRead, false, "", true, false},
        {"without truncation it makes one", createReadWrite | CFile::modeNoTruncate, false, "", true, true},
        {"the hints change nothing",
         CFile::modeReadWrite | CFile::typeText | CFile::osSequentialScan | CFile::osWriteThrough |
             CFile::modeNoInherit,
         true, "old", true, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const TempFolder folder;
        if (c.existed)
            folder.Write("file", "old");
        CFile file(folder.Path("file").c_str(), c.flags | CFile::shareDenyNone); // so that it can be looked into
        EXPECT_EQ(folder.Read("file"), c.after);
        EXPECT_EQ(file.GetPosition(), 0U);
        char byte = 'n';
        const auto denied = [](bool allowed) { return allowed ? CFileException::none : CFileException::accessDenied; };
        EXPECT_EQ(CauseOf([&] { file.Read(&byte, 1); }), denied(c.canRead));
        EXPECT_EQ(CauseOf([&] { file.SetLength(2); }), denied(c.canWrite));
        EXPECT_EQ(CauseOf([&] { file.Write("\r\n", 2); }), denied(c.canWrite));
        file.Close();
        // Two bytes were left, or added as zeros, and two written behind them.
        const std::string head = *c.after ? std::string("ol") : std::string(2, '\0');
        EXPECT_EQ(folder.Read("file"), c.canWrite ? head + "\r\n" : c.after);
    }
}

TEST(File, OpeningsExcludeEachOther)
{
    const TempFolder folder;
    const std::string path = folder.Write("file", "contents");
    struct Case {
        const char* name;
        UINT first, second;
        bool allowed;
    };
    constexpr UINT read = CFile::modeRead, write = CFile::modeWrite, both = CFile::modeReadWrite;
    constexpr UINT exclusive = CFile::shareExclusive, denyWrite = CFile::shareDenyWrite,
                   denyRead = CFile::shareDenyRead, denyNone = CFile::shareDenyNone;
    const Case cases[] = {
        {"plain reading excludes plain reading", read, read, false},
        {"plain reading excludes the most tolerant reader", read, read | denyNone, false},
        {"exclusive excludes", read | exclusive, read | denyNone, false},
        {"a late exclusive reader is refused", read | denyNone, read | exclusive, false},
        {"readers that deny writing agree", read | denyWrite, read | denyWrite, true},
        {"a reader that denies writing keeps writers out", read | denyWrite, write | denyNone, false},
        {"a late reader that denies writing meets a writer", both | denyNone, read | denyWrite, false},
        {"a late tolerant reader meets a writer that allows it", both | denyWrite, read | denyNone, true},
        {"a second writer is refused then", both | denyWrite, write | denyNone, false},
        {"who denies reading keeps readers out", write | denyRead, read | denyNone, false},
        {"writers that deny reading agree", write | denyRead, write | denyRead, true},
        {"a reader cannot deny reading beside another", read | denyNone, write | denyRead, false},
        {"all that deny nothing agree", both | denyNone, both | denyNone, true},
        {"an emptying opening counts as a writer", read | denyWrite, both | denyNone | CFile::modeCreate, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        CFile first(path.c_str(), c.first);
        CFile second;
        CFileException error;
        EXPECT_EQ(second.Open(path.c_str(), c.second, &error) != FALSE, c.allowed);
        EXPECT_EQ(error.m_cause, c.allowed ? CFileException::none : CFileException::sharingViolation);
        EXPECT_EQ(CFileException::OsErrorToException(error.m_lOsError == -1 ? 0 : error.m_lOsError), error.m_cause);
        first.Close();
        second.Close();
        EXPECT_EQ(folder.Read("file"), "contents");
        EXPECT_TRUE(first.Open(path.c_str(), CFile::modeReadWrite)) << "nothing is left of the openings";
    }
}

TEST(File, ThreeOpeningsAreHeldAgainstEachOther)
{
    const TempFolder folder;
    const std::string path = folder.Write("file", "contents");
    CFile reader(path.c_str(), CFile::modeRead | CFile::shareDenyNone);
    CFile writer(path.c_str(), CFile::modeWrite | CFile::shareDenyNone);
    CFile third;
    EXPECT_FALSE(third.Open(path.c_str(), CFile::modeRead | CFile::shareDenyWrite));
    writer.Close();
    EXPECT_TRUE(third.Open(path.c_str(), CFile::modeRead | CFile::shareDenyWrite));
    EXPECT_FALSE(writer.Open(path.c_str(), CFile::modeWrite | CFile::shareDenyNone));
    EXPECT_TRUE(third.Open(path.c_str(), CFile::modeRead | CFile::shareDenyNone)) << "an open object opens anew";
    EXPECT_TRUE(writer.Open(path.c_str(), CFile::modeWrite | CFile::shareDenyNone));
}

TEST(File, AClosedFileRefusesWorkAndClosesAgain)
{
    CFile file;
    char byte = 0;
    EXPECT_EQ(CauseOf([&] { file.Read(&byte, 1); }), CFileException::invalidFile);
    EXPECT_EQ(CauseOf([&] { file.Write(&byte, 1); }), CFileException::invalidFile);
    EXPECT_EQ(CauseOf([&] { file.Seek(0, CFile::begin); }), CFileException::invalidFile);
    EXPECT_EQ(CauseOf([&] { file.SetLength(0); }), CFileException::invalidFile);
    EXPECT_EQ(CauseOf([&] { file.GetLength(); }), CFileException::invalidFile);
    EXPECT_EQ(CauseOf([&] { file.GetPosition(); }), CFileException::invalidFile);
    EXPECT_EQ(CauseOf([&] { file.Flush(); }), CFileException::none);
    EXPECT_EQ(CauseOf([&] { file.Close(); }), CFileException::none);
    CFileStatus status;
    EXPECT_FALSE(file.GetStatus(status));
}

TEST(File, WorksPastFourGigabytes)
{
    const TempFolder folder;
    const std::string path = folder.Path("sparse");
    constexpr ULONGLONG distant = 5'000'000'000ULL;
    CFile file(path.c_str(), createReadWrite);
    EXPECT_EQ(file.Seek(distant, CFile::begin), distant);
    file.Write("end", 3);
    EXPECT_EQ(file.GetPosition(), distant + 3);
    EXPECT_EQ(file.GetLength(), distant + 3);
    char text[4] = "xxx";
    EXPECT_EQ(file.Seek(-3, CFile::end), distant);
    EXPECT_EQ(file.Read(text, 4), 3U);
    EXPECT_STREQ(text, "end");
    EXPECT_EQ(file.Seek(-LONGLONG(distant) - 3 + 1, CFile::current), 1U);
    EXPECT_EQ(file.Read(text, 1), 1U);
    EXPECT_EQ(text[0], 0);
    file.SetLength(1ULL << 32);
    EXPECT_EQ(file.GetPosition(), 1ULL << 32);
    CFileStatus status;
    ASSERT_TRUE(file.GetStatus(status));
    EXPECT_EQ(status.m_size, 1ULL << 32);
    EXPECT_EQ(CauseOf([&] { file.SetLength(~0ULL); }), CFileException::badSeek);
}

TEST(File, StatusTellsTimesSizeAndAttributes)
{
    const TempFolder folder;
    const __time64_t before = std::time(nullptr);
    const std::string path = folder.Write("file", "12345");
    fs::last_write_time(path, fs::last_write_time(path) - std::chrono::hours(24));
    CFileStatus status;
    ASSERT_TRUE(CFile::GetStatus(path.c_str(), status));
    EXPECT_EQ(status.m_size, 5U);
    EXPECT_EQ(status.m_attribute & (CFile::readOnly | CFile::directory), 0);
    EXPECT_EQ(fs::path(status.m_szFullName), fs::path(path));
    EXPECT_NEAR(double(status.m_mtime.GetTime() - before), -24 * 3600, 60);
    EXPECT_NEAR(double(status.m_atime.GetTime() - before), 0, 60);
    EXPECT_LT(status.m_mtime, status.m_atime);

    MakeReadOnly(path);
    CFile file(path.c_str(), CFile::modeRead);
    CFileStatus ofOpen;
    ASSERT_TRUE(file.GetStatus(ofOpen));
    EXPECT_EQ(ofOpen.m_attribute & CFile::readOnly, CFile::readOnly);
    EXPECT_EQ(ofOpen.m_mtime, status.m_mtime);
    EXPECT_STREQ(ofOpen.m_szFullName, status.m_szFullName);
    file.Close();
    MakeWritable(path);

    ASSERT_TRUE(CFile::GetStatus(folder.Path().c_str(), status));
    EXPECT_EQ(status.m_attribute & CFile::directory, CFile::directory);
    EXPECT_FALSE(CFile::GetStatus(folder.Path("missing").c_str(), status));
    EXPECT_FALSE(CFile::GetStatus(nullptr, status));
}

TEST(File, NamesOfAnOpenFile)
{
    const TempFolder folder;
    const std::string path = folder.Write("song.cdg", "");
    const fs::path before = fs::current_path();
    fs::current_path(folder.Path());
    CFile file;
    EXPECT_TRUE(file.Open("./song.cdg", CFile::modeRead));
    fs::current_path(before); // the folder could not be removed otherwise
    EXPECT_EQ(file.GetFileName(), "song.cdg");
    EXPECT_TRUE(fs::path(file.GetFilePath().GetString()).is_absolute());
    EXPECT_TRUE(fs::equivalent(file.GetFilePath().GetString(), path));
}

TEST(File, RemoveAndRenameRefuseWhatWouldHarm)
{
    const TempFolder folder;
    const std::string a = folder.Write("a", "A"), b = folder.Write("b", "B"), c = folder.Path("c");
    EXPECT_EQ(CauseOf([&] { CFile::Rename(a.c_str(), b.c_str()); }), CFileException::accessDenied);
    EXPECT_EQ(CauseOf([&] { CFile::Rename(c.c_str(), b.c_str()); }), CFileException::fileNotFound);
    EXPECT_EQ(CauseOf([&] { CFile::Rename(a.c_str(), (c + "/d").c_str()); }), CFileException::badPath);
    EXPECT_EQ(CauseOf([&] { CFile::Remove(c.c_str()); }), CFileException::fileNotFound);
    EXPECT_EQ(CauseOf([&] { CFile::Remove(folder.Path().c_str()); }), CFileException::accessDenied);
    EXPECT_EQ(CauseOf([&] { CFile::Remove(nullptr); }), CFileException::badPath);
    {
        const CFile open(a.c_str(), CFile::modeRead | CFile::shareDenyNone);
        EXPECT_EQ(CauseOf([&] { CFile::Remove(a.c_str()); }), CFileException::sharingViolation);
        EXPECT_EQ(CauseOf([&] { CFile::Rename(a.c_str(), c.c_str()); }), CFileException::sharingViolation);
    }
    EXPECT_EQ(folder.Read("a") + folder.Read("b"), "AB");
    CFile::Rename(a.c_str(), c.c_str());
    CFile::Remove(b.c_str());
    EXPECT_EQ(folder.Read("c"), "A");
    EXPECT_FALSE(fs::exists(a) || fs::exists(b));
}
