// Reading into many places at once, and files that replace others.
#include "FileScatter.h"
#include "FileReplace.h"
#include "support/Links.h"
#include "support/Noise.h"
#include "support/TempFolder.h"

#include <afx.h>
#include <chrono>
#include <filesystem>
#include <gtest/gtest.h>
#include <vector>

namespace fs = std::filesystem;

TEST(FileScatter, FillsTheRoomsInOrderUpToTheEnd)
{
    const TempFolder folder;
    const std::string bytes = Noise(1, 300'000);
    CFile file(folder.Write("a", bytes).c_str(), CFile::modeRead);
    std::mt19937 random(2);
    for (int round = 0; round < 40; ++round) {
        const std::size_t at = random() % 300'001, count = random() % 1'500; // more rooms than one system call takes
        std::string memory(count * 400, '\0');
        std::vector<NV::FileRoom> rooms(count);
        std::size_t wanted = 0;
        for (NV::FileRoom& room : rooms) { // one behind the other, so that the result reads as one string
            room = {memory.data() + wanted, static_cast<u32>(random() % 4 ? random() % 400 : 0)};
            wanted += room.count;
        }
        file.Seek(static_cast<LONGLONG>(at), CFile::begin);
        u64 done = 99;
        ASSERT_FALSE(NV::ReadScattered(file.m_hFile, rooms.data(), rooms.size(), done));
        const std::size_t expected = std::min(wanted, bytes.size() - at);
        ASSERT_EQ(done, expected);
        ASSERT_TRUE(memory.compare(0, expected, bytes, at, expected) == 0);
        ASSERT_EQ(file.GetPosition(), at + expected);
    }
    u64 done = 99;
    NV::FileRoom room{&done, 1};
    EXPECT_TRUE(NV::ReadScattered(CFile::hFileNull, &room, 1, done));
    EXPECT_EQ(done, 99U);
}

TEST(FileReplace, TemporaryFilesTakeNoNameThatIsInUse)
{
    const TempFolder folder;
    const std::string path = folder.Write("a", "old");
    if (!MakeLink("nowhere", folder.Path("a.~0"))) // making a file through it would make "nowhere"
        folder.Write("a.~0", "");
    std::string first, second, none = "unchanged";
    EXPECT_FALSE(NV::MakeTemporaryBeside(path.c_str(), first));
    EXPECT_FALSE(NV::MakeTemporaryBeside(path.c_str(), second));
    EXPECT_TRUE(first != second && first != folder.Path("a.~0") && !std::filesystem::exists(folder.Path("nowhere")));
    EXPECT_TRUE(NV::MakeTemporaryBeside(folder.Path("x/a").c_str(), none)) << "there is no such folder";
    EXPECT_EQ(none, "unchanged");

    std::ofstream(first) << "new";
    EXPECT_FALSE(NV::PutInPlace(first.c_str(), path.c_str()));
    EXPECT_EQ(folder.Read("a"), "new");
    EXPECT_FALSE(std::filesystem::exists(first));
    EXPECT_TRUE(NV::PutInPlace(second.c_str(), folder.Path("missing").c_str())) << "there must be a file to replace";
    EXPECT_TRUE(std::filesystem::exists(second));
}

TEST(FileReplace, NamesOfProgramsThatWereEndedAreFreeAgainAfterADay)
{
    const TempFolder folder;
    folder.Write("a", "mine");
    std::string older, newer, next;
    EXPECT_FALSE(NV::MakeTemporaryBeside(folder.Path("a").c_str(), older));
    EXPECT_FALSE(NV::MakeTemporaryBeside(folder.Path("a").c_str(), newer));
    folder.Write(fs::path(older).filename().string(), "half of it");
    const auto age = [](const std::string& path, int hours) {
        fs::last_write_time(path, fs::file_time_type::clock::now() - std::chrono::hours(hours));
    };
    age(older, 26);
    age(newer, 22);
    EXPECT_FALSE(NV::MakeTemporaryBeside(folder.Path("a").c_str(), next));
    EXPECT_EQ(next, older);
    EXPECT_EQ(fs::file_size(next), 0U);
    EXPECT_TRUE(fs::exists(newer));
}

TEST(FileReplace, LinksAndKinds)
{
    const TempFolder folder;
    const std::string path = folder.Write("a", "");
    const std::string link = MakeLink("a", folder.Path("link")) ? folder.Path("link") : path;
    EXPECT_EQ(NV::FinalPath(link.c_str()), std::filesystem::canonical(path).string());
    EXPECT_EQ(NV::FinalPath(folder.Path("none").c_str()), "");
    EXPECT_TRUE(NV::IsPlainFile(link.c_str()));
    EXPECT_FALSE(NV::IsPlainFile("/dev/null"));
    EXPECT_FALSE(NV::IsPlainFile(folder.Path().c_str()));
    EXPECT_FALSE(NV::IsPlainFile(folder.Path("none").c_str()));
}
