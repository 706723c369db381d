// The silence scan of a WAV file, beside the least that it can be: the file read and its loud samples counted.
//
// The recording is the 16-bit stereo file that NVLIB_BENCH_WAV names; without it ten minutes are made from a fixed
// seed: 24 seconds of music-like sound, 2 seconds of near silence, and so on (106 MB). Figures are bytes of the file a
// second, file in the page cache; compare with "limit_read_and_count" of the same run. The threshold is 1 % of full
// scale, the shortest silence half a second.
#include "CpuFeatures.h"
#include "WaveFile.h"
#include "audio/LoudMask.h"
#include "tests/support/TempFolder.h"

#include <benchmark/benchmark.h>
#include <cmath>
#include <cstdlib>
#include <emmintrin.h>
#include <random>

namespace {

constexpr double threshold = 0.01, shortest = 0.5;

void MakeRecording(const std::string& path)
{
    CWaveFile file;
    file.Open(path.c_str(), CFile::modeCreate | CFile::modeReadWrite);
    std::mt19937 random(5);
    std::vector<i16> second(2 * 44100);
    for (int s = 0; s < 600; ++s) {
        const bool music = s % 26 < 24;
        for (std::size_t k = 0; k < second.size(); ++k) {
            const double t = static_cast<double>(k / 2) / 44100.0;
            const double noise = static_cast<double>(random() % 65536) / 32768.0 - 1.0;
            const double tone = std::sin(t * 6.2832 * (220.0 + s % 26 * 20.0)) * 9000.0 + noise * 1500.0;
            second[k] = static_cast<i16>(music ? tone : noise * 3.0);
        }
        file.Write(second.data(), 44100);
    }
}

const std::string& Recording()
{
    static const TempFolder folder;
    static const std::string path = [] {
        if (const char* const given = std::getenv("NVLIB_BENCH_WAV"))
            return std::string(given);
        MakeRecording(folder.Path("a.wav"));
        return folder.Path("a.wav");
    }();
    return path;
}

void CountBytes(benchmark::State& state)
{
    const auto bytes = static_cast<i64>(std::filesystem::file_size(Recording()));
    state.SetBytesProcessed(static_cast<i64>(state.iterations()) * bytes);
}

void scan_file(benchmark::State& state)
{
    CWaveFile file;
    if (!file.Open(Recording().c_str(), CFile::modeRead))
        state.SkipWithError("the recording does not open");
    std::size_t found = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(found = file.ScanFileForSilence(threshold, shortest).size());
    state.counters["silences"] = static_cast<double>(found);
    CountBytes(state);
}

/// No better than what a loop without a purpose does: loud samples counted, whatever frame they belong to.
u64 CountLoud(const u8* bytes, std::size_t count)
{
    const __m128i level = _mm_set1_epi16(327), below = _mm_set1_epi16(-327);
    u64 loud = 0;
    for (std::size_t i = 0; i + 32 <= count; i += 32) {
        const auto* p = reinterpret_cast<const __m128i*>(bytes + i);
        const auto test = [&](__m128i v) { return _mm_or_si128(_mm_cmpgt_epi16(v, level), _mm_cmpgt_epi16(below, v)); };
        const __m128i packed = _mm_packs_epi16(test(_mm_loadu_si128(p)), test(_mm_loadu_si128(p + 1)));
        loud += static_cast<u64>(_mm_movemask_epi8(packed) != 0);
    }
    return loud;
}

template <class Use>
void ReadAll(benchmark::State& state, Use use)
{
    std::vector<u8> piece(256 << 10);
    CFile file(Recording().c_str(), CFile::modeRead | CFile::shareDenyNone);
    for (auto _ : state) {
        file.Seek(44, CFile::begin);
        for (UINT got; (got = file.Read(piece.data(), static_cast<UINT>(piece.size()))) > 0;)
            use(piece.data(), got);
    }
    CountBytes(state);
}

void limit_read_only(benchmark::State& state)
{
    ReadAll(state, [](const u8* bytes, UINT) { benchmark::DoNotOptimize(*bytes); });
}

void limit_read_and_count(benchmark::State& state)
{
    ReadAll(state, [](const u8* bytes, UINT count) { benchmark::DoNotOptimize(CountLoud(bytes, count)); });
}

void masks_in_memory(benchmark::State& state)
{
    const bool wide = state.range(0) != 0;
    if (wide && !NV::CpuHasAvx2()) {
        state.SkipWithError("this processor has no AVX2");
        return;
    }
    std::vector<i16> samples(1 << 17); // 256 KiB
    std::mt19937 random(5);
    for (i16& sample : samples)
        sample = static_cast<i16>(random());
    std::vector<u64> masks(samples.size() / 128);
    const NV::LoudMasker& body = wide ? NV::loudMaskerAvx2 : NV::loudMaskerSse2;
    for (auto _ : state) {
        body.stereo(masks.data(), samples.data(), static_cast<i64>(masks.size()), 327);
        benchmark::DoNotOptimize(masks.data());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<i64>(state.iterations() * samples.size() * 2));
    state.SetLabel(wide ? "AVX2" : "SSE2");
}

} // namespace

BENCHMARK(scan_file)->Unit(benchmark::kMillisecond);
BENCHMARK(limit_read_and_count)->Unit(benchmark::kMillisecond);
BENCHMARK(limit_read_only)->Unit(benchmark::kMillisecond);
BENCHMARK(masks_in_memory)->Arg(0)->Arg(1);

BENCHMARK_MAIN();
