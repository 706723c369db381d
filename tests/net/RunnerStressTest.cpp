// Runs of random misbehaviour from several threads at once. NVLIB_STRESS_RUNS in the environment says how many; the
// usual number is small.
#include "FFMpegRunner.h"
#include "platform/ProcessProbe.h"
#include "support/FakeTool.h"

#include <atomic>
#include <cstdlib>
#include <gtest/gtest.h>
#include <random>
#include <thread>
#include <vector>

namespace {

struct Misbehaviour {
    const char* script;
    int limit;    // milliseconds; 0 for one that ends by itself
    int exitCode; // of that one
    int lines;
};

constexpr Misbehaviour kKinds[] = {
    {"exit 0", 0, 0, 0},
    {"exit 9", 0, 9, 0},
    {"lines 2000", 0, 0, 4000},
    {"bytes 300000 err x exit 1", 0, 1, 2},
    {"blocks 200 0 out end", 0, 0, 1},
    {"close-out err x sleep 5 exit 2", 0, 2, 1},
    {"close-err blocks 5 1 out x close-out sleep 5", 0, 0, 1},
    {"report out_time=|out_time=0:|progress=e|x", 0, 0, 0},
    {"leave sleep 1500 ; out x exit 3", 0, 3, 1},
    {"hang", 20, 0, 0},
    {"blocks 1000 1 hang", 30, 0, 0},
    {"stubborn close-out hang", 20, 0, 0},
    {"leave hang ; hang", 30, 0, 0},
};

void RunOne(std::size_t kind, bool fed)
{
    const Misbehaviour& wanted = kKinds[kind];
    SCOPED_TRACE(wanted.script);
    NV::CFFMpegRunner runner(NVLIB_FAKE_TOOL);
    if (fed)
        runner.SetInputFeed([](CConsoleOutputReader::Input& input) {
            const std::vector<char> zeros(100000);
            while (input.Write(zeros.data(), zeros.size())) {
            }
        });
    const bool good = runner.RunCommand(wanted.script, wanted.limit);
    EXPECT_EQ(good, wanted.limit == 0 && wanted.exitCode == 0);
    EXPECT_EQ(runner.GetOutcome(),
              wanted.limit == 0 ? NV::CFFMpegRunner::Outcome::ended : NV::CFFMpegRunner::Outcome::timedOut);
    if (wanted.limit == 0) {
        EXPECT_EQ(runner.GetExitCode(), wanted.exitCode);
        EXPECT_EQ(static_cast<int>(runner.GetOutput().size()), wanted.lines);
    }
}

} // namespace

TEST(RunnerStress, NothingIsLeftOfRandomMisbehaviour)
{
    const char* asked = std::getenv("NVLIB_STRESS_RUNS");
    const int runs = asked ? std::atoi(asked) : 40;
    const int handles = OpenHandleCount(), threads = ThreadCount();
    std::atomic<int> left = runs;
    std::vector<std::thread> callers;
    for (u32 i = 0; i < 4; ++i)
        callers.emplace_back([&, i] {
            std::mt19937 random(i);
            while (left-- > 0)
                RunOne(random() % std::size(kKinds), random() % 2 == 0);
        });
    for (std::thread& caller : callers)
        caller.join();
    EXPECT_TRUE(ThreadsFallTo(threads));
    EXPECT_LE(OpenHandleCount(), handles + SystemHandleCount());
}
