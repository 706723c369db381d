// The walk over every frame of an hour of MP3, beside the least that it can be: the file read in pieces, and from
// header to header in them.
//
// The stream is the MPEG-1 Layer III file that NVLIB_BENCH_MP3 names; without it an hour of frames of varying bit rates
// is made from a fixed seed (about 70 MB). Times are of the whole file in the page cache; compare "walk_frames" with
// "limit_walk_pieces" of the same run.
#include "MP3Info.h"
#include "tests/support/TempFolder.h"

#include <array>
#include <benchmark/benchmark.h>
#include <cstdlib>
#include <random>
#include <vector>

namespace {

constexpr std::array<int, 16> kbits{0, 32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, 0};
constexpr std::array<int, 4> rates{44100, 48000, 32000, 0};

/// Of an MPEG-1 Layer III frame; 0 when there is none.
std::size_t FrameLength(const u8* h)
{
    if (h[0] != 0xFF || (h[1] & 0xFE) != 0xFA || !kbits[h[2] >> 4] || !rates[h[2] >> 2 & 3])
        return 0;
    return static_cast<std::size_t>(kbits[h[2] >> 4] * 144000 / rates[h[2] >> 2 & 3] + (h[2] >> 1 & 1));
}

std::string MakeStream()
{
    std::mt19937 random(5);
    std::string stream;
    for (int frame = 0; frame < 137820; ++frame) {
        const u8 header[4] = {0xFF, 0xFB, static_cast<u8>((9 + random() % 5) << 4 | (random() % 2) << 1), 0x40};
        const std::size_t begin = stream.size();
        stream.append(reinterpret_cast<const char*>(header), 4);
        while (stream.size() < begin + FrameLength(header))
            stream += static_cast<char>(random());
    }
    return stream;
}

const std::string& Stream()
{
    static const TempFolder folder;
    static const std::string path = [] {
        if (const char* const given = std::getenv("NVLIB_BENCH_MP3"))
            return std::string(given);
        return folder.Write("a.mp3", MakeStream());
    }();
    return path;
}

void CountBytes(benchmark::State& state, int frames)
{
    state.counters["frames"] = frames;
    const auto bytes = static_cast<i64>(std::filesystem::file_size(Stream()));
    state.SetBytesProcessed(static_cast<i64>(state.iterations()) * bytes);
}

void walk_frames(benchmark::State& state)
{
    CMP3Info info;
    for (auto _ : state)
        if (!info.Open(Stream().c_str()))
            state.SkipWithError("the file does not open");
    CountBytes(state, info.GetNumFrames());
}

/// Headers that straddle two pieces are not looked at.
void limit_walk_pieces(benchmark::State& state)
{
    std::vector<u8> piece(256 << 10);
    int frames = 0;
    for (auto _ : state) {
        frames = 0;
        std::size_t skip = 0;
        CFile file(Stream().c_str(), CFile::modeRead | CFile::shareDenyNone);
        for (UINT got; (got = file.Read(piece.data(), static_cast<UINT>(piece.size()))) > 0;) {
            std::size_t at = skip;
            while (at + 4 <= got) {
                const std::size_t length = FrameLength(piece.data() + at);
                frames += length != 0;
                at += length ? length : 1;
            }
            skip = at > got ? at - got : 0;
        }
    }
    CountBytes(state, frames);
}

void limit_read_only(benchmark::State& state)
{
    std::vector<u8> piece(256 << 10);
    for (auto _ : state) {
        CFile file(Stream().c_str(), CFile::modeRead | CFile::shareDenyNone);
        while (file.Read(piece.data(), static_cast<UINT>(piece.size())) > 0)
            benchmark::DoNotOptimize(piece.front());
    }
    CountBytes(state, 0);
}

} // namespace

BENCHMARK(walk_frames)->Unit(benchmark::kMillisecond);
BENCHMARK(limit_walk_pieces)->Unit(benchmark::kMillisecond);
BENCHMARK(limit_read_only)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
