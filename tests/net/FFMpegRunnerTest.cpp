// What the runner makes of ffmpeg's output and report; with the program that plays ffmpeg and, where it is installed,
// with ffmpeg itself.
#include "FFMpegRunner.h"

#include "NamedPipeReader.h"
#include "support/FakeTool.h"
#include "support/TempFolder.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <mutex>
#include <stdexcept>
#include <thread>

using NV::CFFMpegRunner;
using NV::CNamedPipeReader;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

namespace {

// Runs the fake tool and keeps every fraction that was reported.
struct Report {
    bool good = false;
    std::vector<double> fractions;
    CFFMpegRunner runner{NVLIB_FAKE_TOOL};

    explicit Report(const std::string& script, int limit = 0, bool wantProgress = true, int stopAfter = -1)
    {
        good = runner.RunCommand(
            script, limit, [] { return 0; }, wantProgress,
            [this, stopAfter](double fraction) {
                fractions.push_back(fraction);
                return static_cast<int>(fractions.size()) == stopAfter ? 1 : 0;
            });
    }
};

} // namespace

TEST(FFMpegRunner, TimesAreReadFromTheirFields)
{
    struct Case {
        const char* text;
        double seconds;
    };
    const Case cases[] = {
        {"00:03:25.47", 205.47},
        {"00:00:10.000000", 10},
        {"00:01:02.500000", 62.5},
        {"100:00:00.00", 360000},
        {"N/A", -1},
        {"", -1},
        {"1:02:03.4", 3723.04},
        {"x:yy:zz.qq", 0},
        {"00:00:01.999999", 1.99},
        {"99999999999:00:00.00", 0},
        {" 1:00:00.00", 3600},
    };
    for (const Case& c : cases)
        EXPECT_DOUBLE_EQ(CFFMpegRunner::GetTimeFromTimeString(c.text), c.seconds) << c.text;
    for (const char* text : {":", "00:", "00:03", "00:03:25", "00:03:25."})
        EXPECT_THROW(CFFMpegRunner::GetTimeFromTimeString(text), std::out_of_range) << text;
}

TEST(FFMpegRunner, TheReportBecomesAFraction)
{
    const std::string known = "out \"Input #0, wav\" out \"  Duration: 00:00:40.00, start: 0\" sleep 300 ";
    struct Case {
        const char* name;
        std::string script;
        double fraction, time, duration;
    };
    const Case cases[] = {
        {"a quarter", known + "report out_time=00:00:10.000000|", 0.25, 10, 40},
        {"a torn line", known + "report out_ti sleep 50 report me=00:00:1 sleep 50 report 0.000000|out_time=", 0.25, 10,
         40},
        {"the end is exactly 1", known + "report out_time=00:00:39.990000|progress=end|", 1, 39.99, 40},
        {"the end without a duration", "report out_time=00:00:05.000000|progress=end|", 1, 5, -1},
        {"no time yet", known + "report out_time=N/A|progress=continue|", -1.0 / 40, -1, 40},
        {"half a time", known + "report out_time=00:00|", -1.0 / 40, -1, 40},
        {"a later input with a length",
         "out \"Input #0\" out \"  Duration: N/A, x\" err \"Input #1\" " +
             std::string("err \"  Duration: 00:00:08.00, x\" sleep 300 report out_time=00:00:02.00|"),
         0.25, 2, 8},
        {"the first length counts", known + "out \"  Duration: 00:00:80.00, x\" sleep 300 report out_time=00:00:10.00|",
         0.25, 10, 40},
        {"no input seen", "out \"  Duration: 00:00:40.00, x\" sleep 300 report out_time=00:00:10.00|", 0, 10, -1},
        {"a broken length", "out \"Input #0\" out \"Duration: 0:1,\" sleep 300 report out_time=00:00:10.00|", 0, 10,
         -1},
        {"other lines", known + "report frame=1|out_time_us=5|out_time_ms=7|speed=1x|", 0, 0, 40},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const Report report(c.script);
        EXPECT_TRUE(report.good);
        ASSERT_FALSE(report.fractions.empty());
        EXPECT_DOUBLE_EQ(report.fractions.back(), c.fraction);
        EXPECT_DOUBLE_EQ(report.runner.GetProgress(), c.fraction);
        EXPECT_DOUBLE_EQ(report.runner.GetOutputTime(), c.time);
        EXPECT_DOUBLE_EQ(report.runner.GetTotalDuration(), c.duration);
        EXPECT_EQ(report.runner.IsFinished(), c.fraction == 1);
    }
}

TEST(FFMpegRunner, TheCommandLineIsAsFFMpegTakesIt)
{
    const Report with("echo in.wav \"out 1.mp3\""), without("echo x", 0, false);
    const Lines& lines = with.runner.GetOutput();
    ASSERT_EQ(lines.size(), 4U);
    EXPECT_EQ(lines[0] + lines[1] + lines[2], "<in.wav><out 1.mp3><-progress>");
    EXPECT_NE(lines[3].find("nv"), std::string::npos);
    EXPECT_EQ(without.runner.GetOutput(), Lines{"<x>"});
    EXPECT_TRUE(without.fractions.empty());

    CFFMpegRunner nothing;
    EXPECT_FALSE(nothing.HasPath());
    EXPECT_FALSE(nothing.RunCommand("echo"));
    nothing.SetPath("/no/such/ffmpeg");
    EXPECT_FALSE(nothing.RunCommand("echo"));
    EXPECT_EQ(nothing.GetOutcome(), CFFMpegRunner::Outcome::notStarted);
    EXPECT_FALSE(nothing.GetErrorMessage().empty());
}

TEST(FFMpegRunner, RunsEndWhenTheCallerWantsItOrTheirTimeIsUp)
{
    EXPECT_EQ(Report("hang", 200).runner.GetOutcome(), CFFMpegRunner::Outcome::timedOut);
    const Report stopped("blocks 100000 10", 0, true, 3);
    EXPECT_FALSE(stopped.good);
    EXPECT_EQ(stopped.runner.GetOutcome(), CFFMpegRunner::Outcome::cancelled);

    CFFMpegRunner runner(NVLIB_FAKE_TOOL);
    EXPECT_FALSE(runner.RunCommand("blocks 100000 10", 0, [] { return -1; }));
    EXPECT_EQ(runner.GetOutcome(), CFFMpegRunner::Outcome::cancelled);
    EXPECT_TRUE(runner.RunCommand("blocks 2 0", 0, {}, true, {})); // none passed: the defaults
    EXPECT_TRUE(runner.IsFinished());
    EXPECT_TRUE(runner.RunCommand("blocks 2 0", 0, {}, true, [](double) -> int { throw 1; }));
    EXPECT_TRUE(runner.IsFinished());

    CFFMpegRunner copy(runner);
    EXPECT_TRUE(copy.IsFinished());
    EXPECT_FALSE(copy.RunCommand("out mine exit 9"));
    EXPECT_EQ(copy.GetExitCode(), 9);
    EXPECT_EQ(runner.GetExitCode(), 0);
}

TEST(FFMpegRunner, AFloodOfProgressHoldsNobodyUp)
{
    const Report flood("blocks 10000 0");
    EXPECT_TRUE(flood.good);
    EXPECT_EQ(flood.runner.GetOutputTime(), 10000);
    const Report endless("report " + std::string(20000, 'x') + " report |out_time=00:00:07.00|");
    EXPECT_EQ(endless.runner.GetOutputTime(), 7);
}

// ---- With ffmpeg itself

class RealFFMpeg : public testing::Test {
protected:
    void SetUp() override
    {
        CConsoleOutputReader console;
        if (!console.Run("ffmpeg -version", {}))
            GTEST_SKIP() << "there is no ffmpeg: " << console.GetErrorMessage();
    }
    CFFMpegRunner runner{"ffmpeg"};
    TempFolder folder;
};

TEST_F(RealFFMpeg, ProgressFollowsItsOwnReport)
{
    const std::string wav = CConsoleOutputReader::QuoteArgument(folder.Path("two words.wav"));
    ASSERT_TRUE(runner.RunCommand("-f lavfi -i sine=duration=600 -y " + wav))
        << testing::PrintToString(runner.GetOutput());
    EXPECT_EQ(runner.GetProgress(), 1);

    std::vector<double> fractions;
    ASSERT_TRUE(runner.RunCommand(
        "-stats_period 0.05 -i " + wav + " -y " + CConsoleOutputReader::QuoteArgument(folder.Path("out.flac")), 60000,
        {}, true, [&](double fraction) {
            // Told on the thread that reads it: time and fraction are of the same block.
            EXPECT_TRUE(fraction == 1 || fraction == runner.GetOutputTime() / 600) << fraction;
            fractions.push_back(fraction);
            return 0;
        }));
    EXPECT_DOUBLE_EQ(runner.GetTotalDuration(), 600);
    EXPECT_DOUBLE_EQ(runner.GetOutputTime(), 600);
    ASSERT_FALSE(fractions.empty());
    EXPECT_EQ(fractions.back(), 1);
    EXPECT_TRUE(std::is_sorted(fractions.begin(), fractions.end())) << testing::PrintToString(fractions);
}

TEST_F(RealFFMpeg, CancellingEndsItWithinASecond)
{
    steady_clock::time_point cancelled;
    const auto start = steady_clock::now();
    EXPECT_FALSE(runner.RunCommand("-re -f lavfi -i sine -f null -", 0, [&] {
        cancelled = steady_clock::now();
        return cancelled - start > milliseconds(500) ? 1 : 0;
    }));
    EXPECT_LT(duration_cast<milliseconds>(steady_clock::now() - cancelled).count(), 1000);
    EXPECT_EQ(runner.GetOutcome(), CFFMpegRunner::Outcome::cancelled);
}
