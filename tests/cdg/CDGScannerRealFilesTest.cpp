// Streams made by others: the scan equals the plain rules on them too, and their lines look like lines.
#include "CDGAnalyzer.h"
#include "CDGScanner.h"
#include "support/PlainScanner.h"
#include "support/WholeFile.h"

#include <filesystem>
#include <gtest/gtest.h>

TEST(CDGScannerRealFiles, EqualThePlainRules)
{
    int files = 0;
    for (const auto& entry : std::filesystem::directory_iterator(NVLIB_TEST_DATA "/cdg")) {
        if (entry.path().extension() != ".cdg")
            continue;
        SCOPED_TRACE(entry.path().filename().string());
        ++files;
        const std::string path = entry.path().string();
        const std::string bytes = WholeFile(path);
        const std::vector<u8> packs(bytes.begin(), bytes.end());
        CCDGScanner scanner;
        ASSERT_TRUE(scanner.ScanFile(path.c_str(), [] { return false; }));
        const PlainScan expected = ScanPlainly(packs, static_cast<int>(packs.size() / 96 * 4), scanner.m_nActivityGap);
        ASSERT_EQ(scanner.m_Screens.size(), expected.screens.size());
        for (std::size_t i = 0; i < expected.screens.size(); ++i) {
            EXPECT_EQ(scanner.m_Screens[i].lastPack, expected.screens[i].lastPack);
            EXPECT_EQ(scanner.m_Screens[i].lines, expected.screens[i].lines);
        }
        EXPECT_TRUE(std::equal(scanner.m_ActivityRanges.begin(), scanner.m_ActivityRanges.end(),
                               expected.activity.begin(), expected.activity.end()));
        CFile file(path.c_str(), CFile::modeRead | CFile::shareDenyNone);
        CCDGAnalyzer analyzer;
        ASSERT_TRUE(analyzer.ReadFromFile(&file, -1, [] { return false; }));
        EXPECT_EQ(analyzer.m_ClearScreens, CleanScreensPlainly(packs));
    }
    EXPECT_GT(files, 0);
}
