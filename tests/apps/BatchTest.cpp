// Commands that take many files: as many at a time as there are cores make what one at a time makes.
#include "RunNvtool.h"

namespace {

class NvtoolBatch : public RunNvtool {
protected:
    void SetUp() override
    {
        RunNvtool::SetUp();
        fs::create_directories("songs");
        for (const char* const seed : {"1", "2", "3", "4"})
            ASSERT_EQ(Run(std::string("make-sample songs/") + seed + ".bin --seconds 5 --seed " + seed), 0) << Errors();
    }
};

} // namespace

TEST_F(NvtoolBatch, ManyAtATimeMakeWhatOneAtATimeMakes)
{
    for (const std::string command : {"process songs -o made", "thumbprint songs -o made", "scan songs"}) {
        SCOPED_TRACE(command);
        std::map<std::string, std::string> files[2];
        std::string told[2];
        for (const int many : {0, 1}) {
            fs::create_directory("made");
            ASSERT_EQ(Run(command + (many ? " --jobs 4" : " --jobs 1")), 0) << Errors();
            files[many] = Everything("made");
            told[many] = Output();
            fs::remove_all("made");
        }
        EXPECT_EQ(told[0], told[1]);
        EXPECT_TRUE(files[0] == files[1]);
    }
}
