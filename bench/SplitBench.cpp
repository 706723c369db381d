// A disc image split into sound and graphics, beside plain copies of the same bytes to the same disk.
//
// The image is the file that NVLIB_BENCH_IMAGE names; without it, 18,000 sectors (four minutes, 44 MB) of seeded noise
// are made. Outputs go to a folder of their own in the folder for temporary files, or in the one that TMPDIR names.
// Figures are bytes of the image a second, files in the page cache. The ratios are those to "copy_by_cp" and
// "copy_in_process".
#include "BinFile.h"
#include "tests/support/Noise.h"
#include "tests/support/TempFolder.h"

#include <benchmark/benchmark.h>
#include <chrono>
#include <cstdlib>
#include <functional>

namespace {

const TempFolder& Folder()
{
    static const TempFolder folder;
    return folder;
}

const std::string& Image()
{
    static const std::string path = [] {
        const char* const given = std::getenv("NVLIB_BENCH_IMAGE");
        return given ? std::string(given) : Folder().Write("image.bin", Noise(1, std::size_t(18'000) * 2448));
    }();
    return path;
}

/// Times `work` alone; each pass begins with or without the outputs of the one before.
void Measure(benchmark::State& state, bool newFiles, const std::function<bool()>& work)
{
    const auto bytes = static_cast<double>(std::filesystem::file_size(Image()));
    double best = 1e9;
    for (auto _ : state) {
        if (newFiles) {
            for (const char* name : {"a.wav", "a.cdg", "copy.bin"})
                std::filesystem::remove(Folder().Path(name));
        }
        const auto start = std::chrono::steady_clock::now();
        if (!work())
            state.SkipWithError("it failed");
        const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        state.SetIterationTime(seconds);
        best = std::min(best, seconds);
    }
    state.counters["MB/s"] =
        benchmark::Counter(bytes / 1e6 * static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
    state.counters["best MB/s"] = bytes / 1e6 / best;
}

bool Split()
{
    return SplitBIN(Image().c_str(), Folder().Path("a.wav").c_str(), Folder().Path("a.cdg").c_str()) == 1;
}

void split_into_new_files(benchmark::State& state)
{
    Measure(state, true, Split);
}

void split_over_old_files(benchmark::State& state)
{
    Measure(state, false, Split);
}

void copy_by_cp(benchmark::State& state) // the start of a shell and of the program included: about a millisecond
{
    const std::string command = "cp '" + Image() + "' '" + Folder().Path("copy.bin") + "'";
    Measure(state, true, [&] { return std::system(command.c_str()) == 0; });
}

void copy_in_process(benchmark::State& state)
{
    Measure(state, true, [] { return std::filesystem::copy_file(Image(), Folder().Path("copy.bin")); });
}

} // namespace

BENCHMARK(split_into_new_files)->UseManualTime()->Iterations(40)->Unit(benchmark::kMillisecond);
BENCHMARK(copy_by_cp)->UseManualTime()->Iterations(40)->Unit(benchmark::kMillisecond);
BENCHMARK(copy_in_process)->UseManualTime()->Iterations(40)->Unit(benchmark::kMillisecond);
BENCHMARK(split_over_old_files)->UseManualTime()->Iterations(40)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
