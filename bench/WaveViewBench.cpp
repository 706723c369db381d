// The waveform chart: a repaint of 1000 × 2000 pixels, off-screen, until its pixels are in the window's surface.
//
// The recording is the 16-bit stereo file that NVLIB_BENCH_WAV names; without it an hour of noise is made (635 MB), in
// the page cache. Every pass goes on by a page, so that every row is read anew. Arguments are frames a pixel row; with
// the last one all of an hour is shown. The limit: as many pixels filled and copied once.
#include "WaveFile.h"
#include "WaveFileChartWnd.h"
#include "Window.h"
#include "tests/support/TempFolder.h"

#include <benchmark/benchmark.h>
#include <cstdlib>
#include <random>

namespace {

const std::string& Recording()
{
    static const TempFolder folder;
    static const std::string path = [] {
        if (const char* const given = std::getenv("NVLIB_BENCH_WAV"))
            return std::string(given);
        CWaveFile file;
        file.Open(folder.Path("a.wav").c_str(), CFile::modeCreate | CFile::modeReadWrite);
        std::mt19937 random(5);
        std::vector<i16> minute(60 * 2 * 44100);
        for (i16& sample : minute)
            sample = static_cast<i16>(static_cast<int>(random() % 20001) - 10000);
        for (int m = 0; m < 60; ++m)
            file.Write(minute.data(), 60 * 44100);
        return folder.Path("a.wav");
    }();
    return path;
}

/// The chart, with or without a peak file in memory.
struct Shown {
    CWaveFile file;
    CWaveFileChartWnd chart;
    Shown(benchmark::State& state, bool peaks)
    {
        NV::ChooseWindows(NV::WindowKind::offScreen);
        CWaveFileChartWnd::c_nFillMilliseconds = 0;
        CWaveFileChartWnd::RegisterClass();
        if (!file.Open(Recording().c_str(), CFile::modeRead | CFile::shareDenyNone))
            state.SkipWithError("the recording does not open");
        if (peaks && !(file.OpenPeakFile() && file.WaitForPeakFile()))
            state.SkipWithError("there is no peak file");
        chart.CreateEx(0, CWaveFileChartWnd::GetClassName(), "", WS_POPUP | WS_VISIBLE, CRect(0, 0, 1000, 2000),
                       nullptr, 0);
        chart.SetSoundFile(&file);
    }
};

void Pages(benchmark::State& state, bool peaks)
{
    Shown shown(state, peaks);
    CWaveFileChartWnd& chart = shown.chart;
    chart.SetDensity(state.range(0));
    chart.UpdateWindow();
    const i64 last = std::max<i64>(shown.file.GetLength() - chart.GetSamplesOnScreen(), 1);
    i64 start = 0;
    for (auto _ : state) {
        start += chart.GetSamplesOnScreen();
        if (start > last)
            start = start % 1000 + 1; // another place, also when all of the file is shown
        chart.SetStartPos(start);
        chart.UpdateWindow();
    }
}

void page_with_peaks(benchmark::State& state)
{
    Pages(state, true);
}
void page_without_peaks(benchmark::State& state)
{
    Pages(state, false);
}

/// The pointer alone: what playing asks for.
void pointer(benchmark::State& state)
{
    Shown shown(state, true);
    shown.chart.SetDensity(256);
    shown.chart.UpdateWindow();
    i64 at = 0;
    for (auto _ : state) {
        at = (at + 735) % shown.chart.GetSamplesOnScreen();
        shown.chart.SetPointerPos(at, true);
        shown.chart.UpdateWindow();
    }
}

void limit_fill_and_copy(benchmark::State& state)
{
    std::vector<u32> image(1000 * 2000), shown(image.size());
    u32 colour = 0;
    for (auto _ : state) {
        std::fill(image.begin(), image.end(), ++colour);
        std::copy(image.begin(), image.end(), shown.begin());
        benchmark::ClobberMemory();
    }
}

BENCHMARK(page_with_peaks)
    ->Unit(benchmark::kMillisecond)
    ->Arg(1)
    ->Arg(10)
    ->Arg(100)
    ->Arg(200)
    ->Arg(201)
    ->Arg(256)
    ->Arg(500)
    ->Arg(1000)
    ->Arg(4096)
    ->Arg(13'230)
    ->Arg(30'000)
    ->Arg(79'380);
BENCHMARK(page_without_peaks)->Unit(benchmark::kMillisecond)->Arg(2)->Arg(20)->Arg(64)->Arg(128)->Arg(200);
BENCHMARK(pointer)->Unit(benchmark::kMillisecond);
BENCHMARK(limit_fill_and_copy)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
