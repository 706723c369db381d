// Reserving room and gathered writes, seen through the files that they leave.
#include "FileSpace.h"
#include "support/TempFolder.h"

#include <afx.h>
#include <gtest/gtest.h>
#include <vector>

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

TEST(FileSpace, GatheredPiecesAreWrittenInTheirOrder)
{
    const TempFolder folder;
    for (const std::size_t count : {0U, 1U, 255U, 256U, 257U, 1300U}) {
        SCOPED_TRACE(count);
        std::string source(count * 5 + 10, 0), expected = "head"; // pieces of 0 to 5 bytes, every 5 bytes
        for (std::size_t i = 0; i < source.size(); ++i)
            source[i] = static_cast<char>('a' + i % 23);
        std::vector<NV::FilePiece> pieces;
        for (std::size_t i = 0; i < count; ++i) {
            pieces.push_back({source.data() + 5 * i, static_cast<u32>(i % 6)});
            expected.append(source, 5 * i, i % 6);
        }
        CFile file(folder.Path("file").c_str(), CFile::modeCreate | CFile::modeReadWrite | CFile::shareDenyNone);
        file.Write("head", 4);
        EXPECT_TRUE(NV::WriteGathered(file.m_hFile, pieces.data(), count));
        EXPECT_EQ(file.GetPosition(), expected.size());
        EXPECT_EQ(folder.Read("file"), expected);
    }
    const NV::FilePiece piece{"x", 1};
    EXPECT_FALSE(NV::WriteGathered(INVALID_HANDLE_VALUE, &piece, 1));
}
