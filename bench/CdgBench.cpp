// CD+G: packs interpreted, frames shown, frames at random times.
//
// The stream is the file that NVLIB_BENCH_CDG names (a plain .cdg); without it a karaoke-like one is made from a fixed
// seed, four minutes long: half padding, XOR sweeps, tiles, presets, colour loads, scrolls. Figures are items (packs,
// frames) a second.
#include "CDGEmulator.h"
#include "CDGRenderer.h"

#include <benchmark/benchmark.h>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

namespace {

using CDGEmulator::CCDGEmulator;

class Random {
public:
    u32 Next()
    {
        state = state * 6364136223846793005u + 1442695040888963407u;
        return static_cast<u32>(state >> 33);
    }
    int Below(int limit) { return static_cast<int>(Next() % static_cast<u32>(limit)); }

private:
    u64 state = 20240601;
};

std::vector<u8> MakeSong()
{
    Random random;
    std::vector<u8> packs(72000 * kPackSize);
    int page = 0;
    for (std::size_t i = 0; i < packs.size() / kPackSize; ++i) {
        u8* pack = &packs[i * kPackSize];
        const std::size_t inPage = i % 3000;
        page += inPage == 0;
        const int kind = inPage < 16              ? 0
                         : inPage < 380           ? 1
                         : random.Below(100) < 52 ? 2
                         : random.Below(300) == 0 ? 3
                                                  : 4;
        if (kind == 2)
            continue;
        pack[0] = kCommandGraphics;
        pack[1] = kind == 0   ? u8{kMemoryPreset}
                  : kind == 1 ? (inPage % 40 == 39 ? u8{kLoadColours07} : u8{kTileBlock})
                  : kind == 3 ? (random.Below(8) == 0 ? u8{kScrollCopy} : u8{kScrollPreset})
                              : u8{kTileBlockXor};
        for (int k = 4; k < 20; ++k)
            pack[k] = static_cast<u8>(random.Next() & 0x3F);
        if (kind == 0) {
            pack[4] = static_cast<u8>(page & 1);
            pack[5] = static_cast<u8>(inPage);
        } else if (kind == 3) {
            pack[5] = static_cast<u8>(random.Below(6));
            pack[6] = 0;
        } else if (pack[1] != kLoadColours07) {
            pack[4] &= 0x0F;
            pack[5] &= 0x1F;
        }
    }
    return packs;
}

const std::vector<u8>& Song()
{
    static const std::vector<u8> song = [] {
        const char* name = std::getenv("NVLIB_BENCH_CDG");
        if (!name)
            return MakeSong();
        std::ifstream file(name, std::ios::binary);
        return std::vector<u8>(std::istreambuf_iterator<char>(file), {});
    }();
    return song;
}

int PackCount()
{
    return static_cast<int>(Song().size() / kPackSize);
}

// The renderer works from a file, as it does in use; this one is on disk only for as long as the program runs.
struct SongFile {
    std::filesystem::path path = std::filesystem::temp_directory_path() / "nvlib-bench.cdg";
    SongFile()
    {
        std::ofstream(path, std::ios::binary)
            .write(reinterpret_cast<const char*>(Song().data()), static_cast<std::streamsize>(Song().size()));
    }
    ~SongFile() { std::filesystem::remove(path); }
};

const std::string& SongPath()
{
    static const SongFile file;
    static const std::string name = file.path.string();
    return name;
}

void PacksOneByOne(benchmark::State& state)
{
    std::vector<CCDGEmulatorPack> packs;
    for (int i = 0; i < PackCount(); ++i)
        packs.emplace_back(&Song()[static_cast<std::size_t>(i) * kPackSize]);
    CCDGEmulator emulator;
    for (auto _ : state) {
        emulator.Init();
        for (int i = 0; i < PackCount(); ++i)
            emulator.ProcessCommand(packs[static_cast<std::size_t>(i)], i, PackCount());
    }
    state.SetItemsProcessed(state.iterations() * PackCount());
}
BENCHMARK(PacksOneByOne)->Unit(benchmark::kMillisecond);

void PacksInBulk(benchmark::State& state)
{
    CCDGEmulator emulator;
    if (state.range(0) != 0)
        emulator.SetMasking(true, state.range(0) == 2);
    for (auto _ : state) {
        emulator.Init();
        emulator.ProcessPacks(Song().data(), PackCount(), 0, PackCount());
    }
    state.SetItemsProcessed(state.iterations() * PackCount());
}
BENCHMARK(PacksInBulk)->ArgName("masking")->Arg(0)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond);

void SongAt30FramesASecond(benchmark::State& state)
{
    CCDGRenderer renderer;
    const int frames = PackCount() / 10;
    for (auto _ : state) {
        renderer.Open(SongPath().c_str(), nullptr, true);
        for (int i = 0; i < frames; ++i)
            benchmark::DoNotOptimize(renderer.GetFrame(CCDGInputFile::PackToTime(10 * i))->GetBits());
    }
    state.SetItemsProcessed(state.iterations() * frames);
}
BENCHMARK(SongAt30FramesASecond)->Unit(benchmark::kMillisecond);

void RandomFramesWarm(benchmark::State& state)
{
    CCDGRenderer renderer;
    renderer.Open(SongPath().c_str(), nullptr, true);
    renderer.GetFrame(renderer.GetDuration());
    u64 seed = 12345;
    for (auto _ : state) {
        seed = (seed * 1103515245 + 12345) & 0x7fffffff;
        const int target = static_cast<int>(seed * static_cast<u64>(PackCount()) >> 31);
        benchmark::DoNotOptimize(renderer.GetFrame((target + 0.5) / kPacksPerSecond)->GetBits());
    }
}
BENCHMARK(RandomFramesWarm)->Unit(benchmark::kMicrosecond);

// Percent of the song that lies before the frame: all of it is played on a file that was just opened.
void FirstFrameOfFreshFile(benchmark::State& state)
{
    for (auto _ : state) {
        CCDGRenderer renderer;
        renderer.Open(SongPath().c_str(), nullptr, true);
        benchmark::DoNotOptimize(renderer.GetFrame(renderer.GetDuration() * static_cast<double>(state.range(0)) / 100));
    }
}
BENCHMARK(FirstFrameOfFreshFile)->ArgName("percent")->Arg(50)->Arg(100)->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
