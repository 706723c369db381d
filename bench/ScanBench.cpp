// CD+G: a stream scanned for its screens, loaded for analysis, thumbprints made and compared; beside them the
// emulator's bulk operation over the same packs, which is the measure of the first three.
//
// The stream is the file that NVLIB_BENCH_CDG names (a plain .cdg); without it a karaoke-like one is made from a fixed
// seed, four minutes long: pages of text, wiped with XOR tiles. Everything reads from disk (the page cache), as in use,
// but the bulk operation, whose packs lie in memory.
#include "CDGAnalyzer.h"
#include "CDGEmulator.h"
#include "CDGScanner.h"
#include "support/KaraokeStream.h"

#include <afx.h>
#include <algorithm>
#include <benchmark/benchmark.h>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <span>
#include <vector>

namespace {

constexpr int songPacks = 240 * kPacksPerSecond;

std::vector<u8> MakeSong(u32 seed)
{
    Dice dice(seed);
    PackStream stream;
    while (stream.Count() < songPacks) {
        AddKaraoke(stream, dice, 1);
        stream.Empty(dice(1200));
    }
    stream.bytes.resize(std::size_t{songPacks} * kPackSize);
    return stream.bytes;
}

const std::vector<u8>& Song()
{
    static const std::vector<u8> song = [] {
        const char* name = std::getenv("NVLIB_BENCH_CDG");
        if (!name)
            return MakeSong(1);
        std::ifstream file(name, std::ios::binary);
        return std::vector<u8>(std::istreambuf_iterator<char>(file), {});
    }();
    return song;
}

int PackCount()
{
    return static_cast<int>(Song().size() / kPackSize);
}

/// A file that is on disk for as long as the program runs.
struct SongFile {
    std::filesystem::path path;
    SongFile(const char* name, std::span<const u8> bytes) : path(std::filesystem::temp_directory_path() / name)
    {
        std::ofstream(path, std::ios::binary)
            .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    }
    ~SongFile() { std::filesystem::remove(path); }
};

const std::string& SongPath()
{
    static const SongFile file("nvlib-scan-bench.cdg", Song());
    static const std::string name = file.path.string();
    return name;
}

const auto goOn = [] { return false; };

void PacksInBulk(benchmark::State& state)
{
    CDGEmulator::CCDGEmulator emulator;
    for (auto _ : state) {
        emulator.Init();
        emulator.ProcessPacks(Song().data(), PackCount(), 0, PackCount());
    }
}
BENCHMARK(PacksInBulk)->Unit(benchmark::kMicrosecond);

void Scan(benchmark::State& state)
{
    std::size_t screens = 0;
    for (auto _ : state) {
        CCDGScanner scanner;
        scanner.ScanFile(SongPath().c_str(), goOn);
        screens = scanner.m_Screens.size();
    }
    state.counters["screens"] = static_cast<double>(screens);
}
BENCHMARK(Scan)->Unit(benchmark::kMicrosecond);

// One object for one stream after another: the memory for the 56 bytes that are kept of each pack is there already.
void ReadFromFile(benchmark::State& state)
{
    CCDGAnalyzer analyzer;
    for (auto _ : state) {
        CFile file(SongPath().c_str(), CFile::modeRead | CFile::shareDenyNone);
        analyzer.ReadFromFile(&file, PackCount() / 2, goOn);
        benchmark::DoNotOptimize(analyzer.m_ClearScreens.data());
    }
}
BENCHMARK(ReadFromFile)->Unit(benchmark::kMicrosecond);

// A new object each time. Where the allocator gave the last one's memory back to the system, most of this is the pages'
// first use, which `FirstUseOfMemory` shows alone.
void ReadFromFileNewObject(benchmark::State& state)
{
    for (auto _ : state) {
        CFile file(SongPath().c_str(), CFile::modeRead | CFile::shareDenyNone);
        CCDGAnalyzer analyzer;
        analyzer.ReadFromFile(&file, PackCount() / 2, goOn);
        benchmark::DoNotOptimize(analyzer.m_ClearScreens.data());
    }
}
BENCHMARK(ReadFromFileNewObject)->Unit(benchmark::kMicrosecond);

void FirstUseOfMemory(benchmark::State& state)
{
    constexpr std::size_t largest = std::size_t{32} << 20; // beyond what the allocator keeps
    const std::size_t used = static_cast<std::size_t>(PackCount()) * (sizeof(CCDGEmulatorPack) + kPackSize);
    for (auto _ : state) {
        const auto memory = std::make_unique_for_overwrite<u8[]>(std::max(used, largest + 1));
        for (std::size_t i = 0; i < used; i += 4096)
            memory[i] = 1;
        benchmark::DoNotOptimize(memory.get());
    }
}
BENCHMARK(FirstUseOfMemory)->Unit(benchmark::kMicrosecond);

struct Thumbprint {
    unsigned char* bytes = nullptr;
    int size = 0;
    explicit Thumbprint(const std::string& path) { CCDGScanner::GetCDGThumbprint(path.c_str(), bytes, size); }
    ~Thumbprint() { CCDGScanner::ReleaseCDGThumbprint(bytes); }
    Thumbprint(const Thumbprint&) = delete;
    Thumbprint& operator=(const Thumbprint&) = delete;
};

void MakeThumbprint(benchmark::State& state)
{
    int size = 0;
    for (auto _ : state)
        size = Thumbprint(SongPath()).size;
    state.counters["bytes"] = size;
}
BENCHMARK(MakeThumbprint)->Unit(benchmark::kMicrosecond);

// One comparison; a collection of 10,000 takes so many.
void CompareThumbprints(benchmark::State& state)
{
    static const SongFile otherFile("nvlib-scan-bench-2.cdg", MakeSong(2));
    const Thumbprint one(SongPath()), other(otherFile.path.string());
    for (auto _ : state)
        benchmark::DoNotOptimize(CCDGScanner::GetCDGThumbprintDiff(one.bytes, one.size, other.bytes, other.size));
}
BENCHMARK(CompareThumbprints)->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
