// What only Windows can show: its error numbers, its names, and share modes that bind every program.
#include "Console.h"
#include "File.h"
#include "FileReplace.h"
#include "afx/CauseOf.h"
#include "support/SmallDisk.h"
#include "support/TempFolder.h"

#include <afx.h>
#include <gtest/gtest.h>
#include <vector>

TEST(Win32File, ErrorNumbersBecomeCauses)
{
    struct Case {
        LONG system;
        int cause;
    };
    const Case cases[] = {
        {ERROR_SUCCESS, CFileException::none},
        {ERROR_FILE_NOT_FOUND, CFileException::fileNotFound},
        {ERROR_PATH_NOT_FOUND, CFileException::badPath},
        {ERROR_INVALID_NAME, CFileException::badPath},
        {ERROR_TOO_MANY_OPEN_FILES, CFileException::tooManyOpenFiles},
        {ERROR_ACCESS_DENIED, CFileException::accessDenied},
        {ERROR_ALREADY_EXISTS, CFileException::accessDenied},
        {ERROR_CURRENT_DIRECTORY, CFileException::removeCurrentDir},
        {ERROR_NEGATIVE_SEEK, CFileException::badSeek},
        {ERROR_CRC, CFileException::hardIO},
        {ERROR_SHARING_VIOLATION, CFileException::sharingViolation},
        {ERROR_LOCK_VIOLATION, CFileException::lockViolation},
        {ERROR_DISK_FULL, CFileException::diskFull},
        {ERROR_HANDLE_EOF, CFileException::endOfFile},
        {ERROR_INVALID_HANDLE, CFileException::invalidFile},
        {ERROR_NOT_SUPPORTED, CFileException::genericException},
    };
    for (const Case& c : cases)
        EXPECT_EQ(CFileException::OsErrorToException(c.system), c.cause) << c.system;
}

TEST(Win32File, NamesHaveDrivesAndTwoKindsOfSlashes)
{
    for (const char* path : {"C:\\songs\\a.cdg", "C:/songs/a.cdg", "C:a.cdg", "a.cdg", "\\\\server\\songs/a.cdg"})
        EXPECT_STREQ(NV::SystemFile::NamePart(path), "a.cdg") << path;
    EXPECT_EQ(NV::SystemFile::FullPath("C:\\songs\\..\\a.cdg"), "C:\\a.cdg");
    EXPECT_EQ(NV::SystemFile::FullPath("C:/x/./a.cdg"), "C:\\x\\a.cdg");
    const std::string deep = "C:\\" + std::string(300, 'x') + "\\a";
    EXPECT_EQ(NV::SystemFile::FullPath(deep.c_str()), deep) << "longer than the usual buffer";
    const TempFolder folder;
    folder.Write("Name.cdg", "x");
    EXPECT_TRUE(CFile().Open(folder.Path("NAME.CDG").c_str(), CFile::modeRead)) << "case does not count";
}

TEST(Win32File, DevicesAreNoPlainFiles)
{
    EXPECT_FALSE(NV::IsPlainFile("NUL"));
    const char* const name = R"(\\.\pipe\nvlib-test)";
    const HANDLE pipe = CreateNamedPipeA(name, PIPE_ACCESS_DUPLEX, PIPE_NOWAIT, 1, 0, 0, 0, nullptr);
    ASSERT_NE(pipe, INVALID_HANDLE_VALUE);
    EXPECT_FALSE(NV::IsPlainFile(name));
    EXPECT_EQ(NV::FinalPath(name), "");
    EXPECT_TRUE(CFile().Open(name, CFile::modeRead)) << "asking did not use the pipe up";
    CloseHandle(pipe);
}

TEST(Win32File, ShareModesBindWhoeverOpens)
{
    const TempFolder folder;
    const std::string path = folder.Write("file", "x");
    constexpr DWORD shareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    const auto open = [&](DWORD access, DWORD share) {
        return CreateFileA(path.c_str(), access, share, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    };
    {
        const CFile file(path.c_str(), CFile::modeRead | CFile::shareDenyWrite);
        EXPECT_EQ(open(GENERIC_WRITE, shareAll), INVALID_HANDLE_VALUE);
        EXPECT_EQ(GetLastError(), DWORD{ERROR_SHARING_VIOLATION});
    }
    const HANDLE other = open(GENERIC_READ, 0);
    ASSERT_NE(other, INVALID_HANDLE_VALUE);
    CFile file;
    CFileException error;
    EXPECT_FALSE(file.Open(path.c_str(), CFile::modeRead | CFile::shareDenyNone, &error));
    EXPECT_EQ(error.m_cause, CFileException::sharingViolation);
    EXPECT_EQ(error.m_lOsError, ERROR_SHARING_VIOLATION);
    CFileStatus status;
    EXPECT_TRUE(CFile::GetStatus(path.c_str(), status)) << "looking is always allowed";
    CloseHandle(other);
    EXPECT_TRUE(file.Open(path.c_str(), CFile::modeRead));
}

TEST(Win32File, AFullDiskThrowsDiskFull)
{
    const SmallDisk disk(256);
    if (!disk.Works())
        GTEST_SKIP() << "no small disk";
    CFile file(disk.Folder().Path("file").c_str(), CFile::modeCreate | CFile::modeWrite);
    const std::vector<char> much(400'000, 'x');
    EXPECT_EQ(CauseOf([&] { file.Write(much.data(), UINT(much.size())); }), CFileException::diskFull);
}
