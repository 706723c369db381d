// CMemFile: whose memory it is, and where it ends. Contents are compared with a plain model in FileModelTest.cpp.
#include "CauseOf.h"

#include <afx.h>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <memory>

namespace {

template <class Action>
bool RunsOutOfMemory(Action action)
{
    try {
        action();
        return false;
    } catch (CMemoryException* e) {
        e->Delete();
        return true;
    }
}

struct Free {
    void operator()(BYTE* memory) const { std::free(memory); }
};

} // namespace

TEST(MemFile, FixedMemoryIsTheFileAndDoesNotGrow)
{
    BYTE memory[4] = {'a', 'b', 'c', 'd'};
    CMemFile file(memory, sizeof memory);
    EXPECT_EQ(file.GetLength(), 4U);
    char text[5] = {};
    EXPECT_EQ(file.Read(text, 5), 4U);
    EXPECT_STREQ(text, "abcd");
    EXPECT_TRUE(RunsOutOfMemory([&] { file.Write("e", 1); }));
    EXPECT_TRUE(RunsOutOfMemory([&] { file.SetLength(5); }));
    file.Seek(2, CFile::begin);
    EXPECT_TRUE(RunsOutOfMemory([&] { file.Write("xyz", 3); })) << "no part of it is written";
    EXPECT_EQ(file.GetPosition(), 2U);
    file.Write("XY", 2);
    file.Close();
    EXPECT_EQ(std::memcmp(memory, "abXY", 4), 0) << "the caller's memory stays";
    EXPECT_EQ(file.GetLength(), 0U);
    EXPECT_TRUE(RunsOutOfMemory([&] { file.Write("x", 1); }));
}

TEST(MemFile, AttachedMemoryThatMayGrowBeginsEmptyAndIsHandedBack)
{
    CMemFile file;
    file.Attach(static_cast<BYTE*>(std::malloc(4)), 4, 3);
    EXPECT_EQ(file.GetLength(), 0U);
    file.Write("123456789", 9);
    const std::unique_ptr<BYTE, Free> memory(file.Detach());
    ASSERT_TRUE(memory);
    EXPECT_EQ(std::memcmp(memory.get(), "123456789", 9), 0);
    EXPECT_EQ(file.GetLength(), 0U);
    EXPECT_EQ(file.Detach(), nullptr);
}

TEST(MemFile, PositionsOutOfReachAreRefused)
{
    CMemFile file;
    file.Write("12345", 5);
    constexpr LONGLONG distant = 0x7FFFFFFFFFFFFFFF;
    EXPECT_EQ(CauseOf([&] { file.Seek(distant, CFile::current); }), CFileException::badSeek);
    EXPECT_EQ(CauseOf([&] { file.Seek(-distant - 1, CFile::end); }), CFileException::badSeek);
    EXPECT_EQ(CauseOf([&] { file.Seek(0, 3); }), CFileException::badSeek);
    EXPECT_EQ(file.GetPosition(), 5U);
    EXPECT_TRUE(RunsOutOfMemory([&] { file.SetLength(~0ULL); }));
    EXPECT_EQ(file.Seek(distant, CFile::begin), ULONGLONG(distant));
    char byte = 0;
    EXPECT_EQ(file.Read(&byte, 1), 0U);
    EXPECT_TRUE(RunsOutOfMemory([&] { file.Write(&byte, 1); }));
    CFileStatus status;
    ASSERT_TRUE(file.GetStatus(status));
    EXPECT_EQ(status.m_size, 5U);
}
