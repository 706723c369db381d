// What only POSIX systems can show: full and failing devices, limits, links and pipes.
#include "File.h"
#include "afx/CauseOf.h"
#include "support/TempFolder.h"

#include <afx.h>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <vector>

namespace {

/// Lowers a limit of this process for as long as it lives.
class LowLimit {
public:
    LowLimit(__rlimit_resource which, rlim_t value) : kind(which)
    {
        getrlimit(kind, &old);
        rlimit low = old;
        low.rlim_cur = value;
        setrlimit(kind, &low);
    }
    ~LowLimit() { setrlimit(kind, &old); }
    LowLimit(const LowLimit&) = delete;
    LowLimit& operator=(const LowLimit&) = delete;

private:
    __rlimit_resource kind;
    rlimit old{};
};

} // namespace

TEST(PosixFile, AFullDeviceThrowsDiskFull)
{
    CFile full("/dev/full", CFile::modeWrite);
    CFile again("/dev/full", CFile::modeWrite); // devices have no sharing to violate
    try {
        full.Write("x", 1);
        FAIL() << "the write went through";
    } catch (CFileException* e) {
        EXPECT_EQ(e->m_cause, CFileException::diskFull);
        EXPECT_EQ(e->m_lOsError, ENOSPC);
        EXPECT_EQ(e->m_strFileName, "/dev/full");
        e->Delete();
    }
}

TEST(PosixFile, AWriteThatFindsRoomForAPartThrowsDiskFull)
{
    const TempFolder folder;
    CFile file(folder.Path("file").c_str(), CFile::modeCreate | CFile::modeWrite);
    const std::vector<char> data(100'000, 'x');
    const auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
    int writeCause = 0, lengthCause = 0;
    {
        const LowLimit limit(RLIMIT_FSIZE, 60'000);
        writeCause = CauseOf([&] { file.Write(data.data(), UINT(data.size())); });
        lengthCause = CauseOf([&] { file.SetLength(70'000); });
    }
    std::signal(SIGXFSZ, oldHandler);
    EXPECT_EQ(writeCause, CFileException::diskFull);
    EXPECT_EQ(lengthCause, CFileException::diskFull);
    EXPECT_EQ(file.GetLength(), 60'000U);
}

TEST(PosixFile, WithoutDescriptorsThereAreTooManyOpenFiles)
{
    const TempFolder folder;
    const std::string path = folder.Write("file", "");
    CFile file;
    CFileException error;
    {
        const LowLimit limit(RLIMIT_NOFILE, 3);
        EXPECT_FALSE(file.Open(path.c_str(), CFile::modeRead, &error));
    }
    EXPECT_EQ(error.m_cause, CFileException::tooManyOpenFiles);
    EXPECT_EQ(error.m_lOsError, EMFILE);
    EXPECT_TRUE(file.Open(path.c_str(), CFile::modeRead));
}

TEST(PosixFile, LinksLeadToTheSameFile)
{
    namespace fs = std::filesystem;
    const TempFolder folder;
    const std::string path = folder.Write("file", "x");
    fs::create_hard_link(path, folder.Path("hard"));
    fs::create_symlink(path, folder.Path("soft"));
    fs::create_symlink("loop", folder.Path("loop"));
    CFileException error;
    CFile other;
    {
        const CFile file(path.c_str(), CFile::modeRead);
        for (const char* link : {"hard", "soft"}) {
            EXPECT_FALSE(other.Open(folder.Path(link).c_str(), CFile::modeRead | CFile::shareDenyNone, &error));
            EXPECT_EQ(error.m_cause, CFileException::sharingViolation) << link;
        }
    }
    EXPECT_FALSE(other.Open(folder.Path("loop").c_str(), CFile::modeRead, &error));
    EXPECT_EQ(error.m_cause, CFileException::badPath);
    CFile::Remove(folder.Path("soft").c_str());
    CFile::Remove(folder.Path("loop").c_str());
    EXPECT_EQ(folder.Read("file"), "x") << "a link is removed, not what it leads to";
}

TEST(PosixFile, APipeWithoutAnOtherEndDoesNotHoldUsUp)
{
    const TempFolder folder;
    const std::string pipe = folder.Path("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    CFile file;
    EXPECT_FALSE(file.Open(pipe.c_str(), CFile::modeWrite));
    ASSERT_TRUE(file.Open(pipe.c_str(), CFile::modeRead));
    char byte = 0;
    EXPECT_EQ(file.Read(&byte, 1), 0U);
    EXPECT_EQ(CauseOf([&] { file.GetLength(); }), CFileException::badSeek);
}

TEST(PosixFile, ReadOnlyMediaRefuseWriting)
{
    CFile file;
    CFileException error;
    EXPECT_FALSE(file.Open("/proc/version", CFile::modeWrite, &error));
    EXPECT_EQ(error.m_cause, CFileException::accessDenied);
    EXPECT_FALSE(file.Open("/proc/nvlib", CFile::modeCreate | CFile::modeWrite, &error));
    EXPECT_NE(error.m_cause, CFileException::none);
}

TEST(PosixFile, MomentsAreAsFineAsTheFileSystem)
{
    const TempFolder folder;
    const std::string path = folder.Write("file", "x");
    const timespec times[] = {{1'000'000'000, 5}, {1'000'000'000, 7}};
    ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
    NV::FileState state;
    ASSERT_FALSE(NV::SystemFile::State(path.c_str(), state));
    EXPECT_EQ(state.written, (NV::FileMoment{1'000'000'000, 7}));
    EXPECT_EQ(state.read, (NV::FileMoment{1'000'000'000, 5}));
    EXPECT_LT(state.read, state.written);
    EXPECT_LE(state.created, state.written);
}
