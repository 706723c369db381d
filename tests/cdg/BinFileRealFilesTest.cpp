// A disc image put together by others, against the checksums of its parts.
#include "BinFile.h"
#include "support/Crc32.h"
#include "support/TempFolder.h"

#include <fstream>
#include <gtest/gtest.h>

TEST(RealFiles, TheComposedImageSplitsIntoItsParts)
{
    std::ifstream table(NVLIB_TEST_DATA "/expected_disc.tsv");
    std::string titles, name, audioCrc, packCrc;
    std::size_t sectors = 0, audioBytes = 0, packBytes = 0;
    std::getline(table, titles);
    ASSERT_TRUE(table >> name >> sectors >> audioBytes >> audioCrc >> packBytes >> packCrc);
    const TempFolder folder;
    const std::string bin = std::string(NVLIB_TEST_DATA "/") + name;
    ASSERT_EQ(SplitBIN(bin.c_str(), folder.Path("a.wav").c_str(), folder.Path("a.cdg").c_str()), 1);
    const std::string audio = folder.Read("a.wav").substr(44), packs = folder.Read("a.cdg");
    EXPECT_EQ(audio.size(), audioBytes);
    EXPECT_EQ(packs.size(), packBytes);
    const auto crcOf = [](const std::string& bytes) { return Crc32(std::vector<u8>(bytes.begin(), bytes.end())); };
    EXPECT_EQ(crcOf(audio), std::stoul(audioCrc, nullptr, 16));
    EXPECT_EQ(crcOf(packs), std::stoul(packCrc, nullptr, 16));

    EXPECT_TRUE(audio == WholeFile(NVLIB_TEST_DATA "/disc/cdda.bin")); // the same audio without subcode
    CBinFile file;
    ASSERT_TRUE(file.Open(bin.c_str(), CFile::modeRead));
    EXPECT_EQ(file.GetLength(), static_cast<i64>(sectors * 588));
}
