// Peak files: made from a WAV file, in memory and on disk, and points for a view of an hour.
//
// The recording is the 16-bit stereo file that NVLIB_BENCH_WAV names; without it ten minutes of noise are made (106
// MB). Figures are bytes of the file a second, file in the page cache; compare with "peak records" of limits.cpp, and
// with "limit_sse2" here for the SSE2 body. Points: time for 2,000 of them, by frames a point.
#include "CpuFeatures.h"
#include "PeakFile.h"
#include "WaveFile.h"
#include "audio/PeakKernel.h"
#include "tests/support/TempFolder.h"

#include <benchmark/benchmark.h>
#include <bit>
#include <cstdlib>
#include <emmintrin.h>
#include <random>
#include <thread>

namespace {

const std::function<bool()> never = [] { return false; };

const std::string& Recording()
{
    static const TempFolder folder;
    static const std::string path = [] {
        if (const char* const given = std::getenv("NVLIB_BENCH_WAV"))
            return std::string(given);
        CWaveFile file;
        file.Open(folder.Path("a.wav").c_str(), CFile::modeCreate | CFile::modeReadWrite);
        std::mt19937 random(5);
        std::vector<i16> second(2 * 44100);
        for (int s = 0; s < 600; ++s) {
            for (i16& sample : second)
                sample = static_cast<i16>(static_cast<int>(random() % 20001) - 10000);
            file.Write(second.data(), 44100);
        }
        return folder.Path("a.wav");
    }();
    return path;
}

void CountBytes(benchmark::State& state)
{
    const auto bytes = static_cast<i64>(std::filesystem::file_size(Recording()));
    state.SetBytesProcessed(static_cast<i64>(state.iterations()) * bytes);
}

/// A sound file whose class cannot be made by name, so that the scan stays on one thread.
class OneThread : public CWaveFile {
public:
    CRuntimeClass* GetRuntimeClass() const override { return RUNTIME_CLASS(CObject); }
};

template <class Source>
void create_in_memory(benchmark::State& state)
{
    Source source;
    if (!source.Open(Recording().c_str(), CFile::modeRead | CFile::shareDenyNone))
        state.SkipWithError("the recording does not open");
    for (auto _ : state) {
        CPeakFile peaks;
        if (peaks.Create(Recording().c_str(), &source, -1, false, never) != 1)
            state.SkipWithError("no peaks");
    }
    CountBytes(state);
}

void create_on_disk(benchmark::State& state)
{
    const TempFolder folder;
    CWaveFile source;
    source.Open(Recording().c_str(), CFile::modeRead | CFile::shareDenyNone);
    int pass = 0;
    for (auto _ : state) {
        CPeakFile peaks;
        peaks.SetMemoryOnly(false);
        const std::string path = folder.Path("a" + std::to_string(pass++) + ".wav");
        if (peaks.Create(path.c_str(), &source, -1, false, never) != 1)
            state.SkipWithError("no peaks");
    }
    CountBytes(state);
}

/// Extremes and their first places of one sector of 100 stereo frames with SSE2, searching until it finds.
void SectorSse2(const i16* frames, i16* record)
{
    const auto at = [&](int k) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(frames) + k); };
    __m128i low = at(24), high = at(24);
    for (int k = 0; k < 24; ++k) {
        low = _mm_min_epi16(low, at(k));
        high = _mm_max_epi16(high, at(k));
    }
    const auto fold = [](__m128i v, auto op) {
        v = op(v, _mm_shuffle_epi32(v, 0x4E));
        return op(v, _mm_shuffle_epi32(v, 0xB1));
    };
    low = fold(low, [](__m128i a, __m128i b) { return _mm_min_epi16(a, b); });
    high = fold(high, [](__m128i a, __m128i b) { return _mm_max_epi16(a, b); });
    const auto place = [&](__m128i wanted, unsigned mine) {
        for (unsigned k = 0; k < 25; ++k) {
            const unsigned hits =
                static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi16(at(static_cast<int>(k)), wanted))) & mine;
            if (hits != 0)
                return static_cast<i16>(4 * k + static_cast<unsigned>(std::countr_zero(hits)) / 4);
        }
        return i16(0);
    };
    for (int c = 0; c < 2; ++c) {
        const unsigned mine = c == 0 ? 0x3333 : 0xCCCC;
        record[4 * c] = place(high, mine);
        record[4 * c + 1] = static_cast<i16>(_mm_cvtsi128_si32(high) >> 16 * c);
        record[4 * c + 2] = place(low, mine);
        record[4 * c + 3] = static_cast<i16>(_mm_cvtsi128_si32(low) >> 16 * c);
    }
}

template <class Use>
void ReadAll(benchmark::State& state, Use use)
{
    std::vector<u8> piece(400 * 655);
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

void limit_sse2(benchmark::State& state)
{
    std::vector<i16> records(8 * 655);
    ReadAll(state, [&](const u8* bytes, UINT count) {
        for (UINT k = 0; k < count / 400; ++k)
            SectorSse2(reinterpret_cast<const i16*>(bytes + std::size_t{400} * k), records.data() + std::size_t{8} * k);
        benchmark::DoNotOptimize(records.data());
        benchmark::ClobberMemory();
    });
}

void kernel_in_memory(benchmark::State& state)
{
    const bool wide = state.range(0) != 0;
    if (wide && !NV::CpuHasAvx2()) {
        state.SkipWithError("this processor has no AVX2");
        return;
    }
    std::vector<u8> samples(400 * 655);
    std::mt19937 random(5);
    for (u8& byte : samples)
        byte = static_cast<u8>(random());
    const NV::PeakFinder& finder = wide ? NV::peakFinderAvx2 : NV::peakFinderSse2;
    for (auto _ : state) {
        for (std::size_t at = 0; at < samples.size(); at += 400) {
            NV::BlockExtremes found;
            finder.stereo16(samples.data() + at, 100, found);
            benchmark::DoNotOptimize(found);
        }
    }
    state.SetBytesProcessed(static_cast<i64>(state.iterations() * samples.size()));
    state.SetLabel(wide ? "AVX2" : "SSE2");
}

/// An hour: 1,587,600 records of noise, as a file beside audio that is not needed.
const std::string& HourOfPeaks()
{
    static const TempFolder folder;
    static const std::string path = [] {
        std::string bytes("\10\0\1\0\20\2\144\0", 8);
        std::mt19937 random(5);
        for (int k = 0; k < 2 * 1'587'600; ++k) {
            const i16 entry[4] = {static_cast<i16>(random() % 100), static_cast<i16>(random() % 32768),
                                  static_cast<i16>(random() % 100), static_cast<i16>(random() % 32768 - 32768)};
            bytes.append(reinterpret_cast<const char*>(entry), sizeof entry);
        }
        folder.Write("hour.fpr", bytes);
        return folder.Path("hour.wav");
    }();
    return path;
}

/// `warm` false: the first view after the file was opened.
void points_of_an_hour(benchmark::State& state, bool onDisk, bool warm)
{
    const int density = static_cast<int>(state.range(0));
    CPeakFile peaks;
    std::vector<i16> minima(4000), maxima(4000);
    const auto open = [&] {
        peaks.Close();
        peaks.SetMemoryOnly(!onDisk);
        if (!onDisk) {
            CFile file((HourOfPeaks().substr(0, HourOfPeaks().size() - 3) + "fpr").c_str(), CFile::modeRead);
            std::vector<u8> bytes(static_cast<std::size_t>(file.GetLength()));
            file.Read(bytes.data(), static_cast<UINT>(bytes.size()));
            peaks.Write(bytes.data(), static_cast<UINT>(bytes.size()));
        }
        if (peaks.Initialize(HourOfPeaks().c_str()) != 1)
            state.SkipWithError("no peaks");
    };
    open();
    for (auto _ : state) {
        if (!warm) {
            state.PauseTiming();
            open();
            state.ResumeTiming();
        }
        benchmark::DoNotOptimize(peaks.GetData(0, 2000, density, minima.data(), maxima.data()));
    }
}

void Densities(benchmark::internal::Benchmark* bench)
{
    bench->Arg(1)->Arg(201)->Arg(2000)->Arg(6400)->Arg(12799)->Arg(20000)->Arg(25599)->Arg(50000)->Arg(79380);
    bench->Unit(benchmark::kMillisecond);
}

} // namespace

BENCHMARK(create_in_memory<OneThread>)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(create_in_memory<CWaveFile>)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(create_on_disk)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(20);
BENCHMARK(limit_sse2)->Unit(benchmark::kMillisecond);
BENCHMARK(limit_read_only)->Unit(benchmark::kMillisecond);
BENCHMARK(kernel_in_memory)->Arg(0)->Arg(1);
BENCHMARK_CAPTURE(points_of_an_hour, memory_first, false, false)->Apply(Densities)->Iterations(5);
BENCHMARK_CAPTURE(points_of_an_hour, memory, false, true)->Apply(Densities)->MinTime(0.05);
BENCHMARK_CAPTURE(points_of_an_hour, disk_first, true, false)->Apply(Densities)->Iterations(5);
BENCHMARK_CAPTURE(points_of_an_hour, disk, true, true)->Apply(Densities)->MinTime(0.05);

BENCHMARK_MAIN();
