// A recording encoded into an MP3 file, beside the encoder alone: its module called on samples in memory, with nothing
// written. 192 kbit/s, joint stereo.
//
// The recording is the first minute of the WAV file that NVLIB_BENCH_WAV names (16-bit stereo); without it, a minute of
// tones and noise. Figures are processor time, of all threads where there are several beside the wall clock's. "over
// encoder" is the ratio to the encoder alone, measured in turn with it; the least of all passes counts.
#include "MP3Encoding.h"
#include "MP3OutFile.h"
#include "Module.h"
#include "WaveFile.h"
#include "tests/support/SoundSamples.h"
#include "tests/support/TempFolder.h"

#include <benchmark/benchmark.h>
#include <cmath>
#include <cstdlib>
#include <ctime>
#include <limits>

namespace {

constexpr int seconds = 60;
constexpr int rate = 44100;

const std::vector<i16>& Recording()
{
    static const std::vector<i16> samples = [] {
        std::vector<i16> all(std::size_t{2} * seconds * rate);
        CWaveFile wave;
        const char* const given = std::getenv("NVLIB_BENCH_WAV");
        if (given && wave.Open(given, CFile::modeRead | CFile::shareDenyNone) && wave.GetBlockAlign() == 4 &&
            wave.Read(all.data(), seconds * rate) == seconds * rate)
            return all;
        const std::vector<i16> noise = RandomSamples(1, all.size());
        for (std::size_t k = 0; k < all.size(); ++k)
            all[k] = static_cast<i16>(8000 * std::sin(double(k) * 0.03) + noise[k] / 16);
        return all;
    }();
    return samples;
}

BE_CONFIG Config()
{
    BE_CONFIG config;
    CMP3OutFile::InitBEConfig(&config);
    config.format.LHV1.nMode = BE_MP3_MODE_JSTEREO;
    return config;
}

/// The least a program around the encoder can do.
bool EncodeAlone()
{
    static NV::Module module;
    std::string problem;
    if (!module.IsLoaded() && !module.Load("lame_enc", problem))
        return false;
    const auto init = module.Find<BE_ERR(BE_CONFIG*, DWORD*, DWORD*, HBE_STREAM*)>("beInitStream");
    const auto encode = module.Find<BE_ERR(HBE_STREAM, DWORD, short*, BYTE*, DWORD*)>("beEncodeChunk");
    const auto flush = module.Find<BE_ERR(HBE_STREAM, BYTE*, DWORD*)>("beDeinitStream");
    const auto close = module.Find<BE_ERR(HBE_STREAM)>("beCloseStream");
    BE_CONFIG config = Config();
    config.format.LHV1.bWriteVBRHeader = FALSE;
    DWORD chunk = 0, room = 0, made = 0;
    HBE_STREAM stream = nullptr;
    if (init(&config, &chunk, &room, &stream) != 0)
        return false;
    std::vector<BYTE> out(room);
    auto* const samples = const_cast<short*>(Recording().data());
    for (std::size_t at = 0; at < Recording().size(); at += chunk)
        encode(stream, static_cast<DWORD>(std::min<std::size_t>(chunk, Recording().size() - at)), samples + at,
               out.data(), &made);
    return flush(stream, out.data(), &made) == 0 && close(stream) == 0;
}

bool EncodeToFile(int threads)
{
    static const TempFolder folder;
    MP3EncodingJob job;
    job.open = [] { return std::make_unique<MemorySound>(2, rate, Recording()); };
    job.path = folder.Path("out.mp3").c_str();
    job.config = Config();
    job.threads = threads;
    return EncodeMP3(job) == MP3EncodingResult::done;
}

double ProcessorSeconds()
{
    return static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
}

void encoder_and_file(benchmark::State& state)
{
    double alone = std::numeric_limits<double>::max(), ours = alone;
    for (auto _ : state) {
        const double start = ProcessorSeconds();
        const bool first = EncodeAlone();
        const double middle = ProcessorSeconds();
        const bool second = EncodeToFile(1);
        const double end = ProcessorSeconds();
        if (!first || !second)
            return state.SkipWithError("it failed");
        alone = std::min(alone, middle - start);
        ours = std::min(ours, end - middle);
        state.SetIterationTime(end - middle);
    }
    state.counters["encoder alone s"] = alone;
    state.counters["over encoder"] = ours / alone;
}
BENCHMARK(encoder_and_file)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(5);

void threads_wall_clock(benchmark::State& state)
{
    for (auto _ : state)
        if (!EncodeToFile(static_cast<int>(state.range(0))))
            return state.SkipWithError("it failed");
}
BENCHMARK(threads_wall_clock)->ArgName("threads")->Arg(1)->Arg(2)->UseRealTime()->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
