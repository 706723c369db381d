// Reserving room, seen through the file that it leaves.
#include "FileSpace.h"
#include "support/TempFolder.h"

#include <afx.h>
#include <gtest/gtest.h>

TEST(FileSpace, AReservedFileIsAsLongAsWhatWasWritten)
{
    const TempFolder folder;
    CFile file(folder.Path("file").c_str(), CFile::modeCreate | CFile::modeReadWrite | CFile::shareDenyNone);
    for (const u64 length : {0ULL, 1ULL << 20, ~0ULL}) {
        NV::ReserveFileSpace(file.m_hFile, length);
        EXPECT_EQ(file.GetLength(), 0U) << length;
    }
    NV::ReserveFileSpace(INVALID_HANDLE_VALUE, 1000);
    file.Write("x", 1);
    EXPECT_EQ(folder.Read("file"), "x");
}
