// See WaveformPicture.h.
#include "WaveformPicture.h"

#include "WaveFileWnd.h"
#include "Window.h"

#include <algorithm>
#include <mutex>
#include <new>

namespace nvtool {

namespace {

// While it lives, windows are off-screen ones that paint everything at once, and belong to this thread. Others wait:
// there is one set of windows in a program.
class OffScreenWindows {
public:
    OffScreenWindows() : hold(Owner()), before(CWaveFileChartWnd::c_nFillMilliseconds)
    {
        if (!NV::ChooseWindows(NV::WindowKind::offScreen))
            throw std::bad_alloc();
        CWaveFileChartWnd::c_nFillMilliseconds = 0;
        CWaveFileChartWnd::RegisterClass();
        CWaveFileOverviewWnd::RegisterClass();
    }
    ~OffScreenWindows()
    {
        CWaveFileOverviewWnd::UnregisterClass();
        CWaveFileChartWnd::UnregisterClass();
        CWaveFileChartWnd::c_nFillMilliseconds = before;
    }
    OffScreenWindows(const OffScreenWindows&) = delete;
    OffScreenWindows& operator=(const OffScreenWindows&) = delete;

private:
    static std::mutex& Owner()
    {
        static std::mutex owner;
        return owner;
    }

    std::lock_guard<std::mutex> hold;
    int before;
};

void Open(CWnd& window, const char* className, int width, int height)
{
    if (!window.CreateEx(0, className, "", WS_POPUP | WS_VISIBLE, CRect(0, 0, width, height), nullptr, 0))
        throw std::bad_alloc();
}

Picture TakeWindow(CWnd& window)
{
    CDib seen;
    window.UpdateWindow();
    if (!seen.CopyWindow(window))
        throw std::bad_alloc();
    Picture picture(seen.GetWidth(), seen.GetHeight(), {});
    for (int y = 0; y < picture.Height(); ++y) {
        const u8* from = seen.GetRow(y);
        u8* to = picture.At(0, y);
        for (int x = 0; x < picture.Width(); ++x, from += 4, to += 3) {
            to[0] = from[2];
            to[1] = from[1];
            to[2] = from[0];
        }
    }
    return picture;
}

// What of the file is shown, and the pointer.
void SetView(CWaveFileChartWnd& chart, const WaveformOptions& options)
{
    CRect client;
    chart.GetClientRect(client);
    const CSoundFile& sound = *chart.GetSoundFile();
    const i64 start = chart.ValidatePosition(sound.TimeToSample(options.start));
    const i64 height = std::max(chart.GetSamplesRect(client).Height(), 1);
    const i64 rest = sound.GetLength() - start;
    chart.SetDensity(options.density > 0 ? options.density : (rest + height - 1) / height);
    chart.SetStartPos(start);
    chart.ShowPointer(options.pointer >= 0);
    if (options.pointer >= 0)
        chart.SetPointerPos(sound.TimeToSample(options.pointer), false);
}

} // namespace

Picture DrawWaveform(CSoundFile& sound, const WaveformOptions& options)
{
    const OffScreenWindows windows;
    if (options.view == WaveformOptions::View::Overview) {
        CWaveFileOverviewWnd overview;
        Open(overview, CWaveFileOverviewWnd::GetClassName(), options.width, options.height);
        overview.SetSoundFile(&sound);
        const i64 start = sound.TimeToSample(options.start);
        overview.SetFrame(start, options.density > 0 ? start + options.density * options.height : sound.GetLength());
        overview.SetPointerPos(options.pointer >= 0 ? sound.TimeToSample(options.pointer) : start);
        return TakeWindow(overview);
    }
    if (options.view == WaveformOptions::View::Window) {
        CWaveFileWnd window;
        if (!window.Create(CRect(0, 0, options.width, options.height), nullptr, 0, WS_POPUP | WS_VISIBLE))
            throw std::bad_alloc();
        window.SetSoundFile(&sound);
        SetView(*window.GetChart(), options);
        return TakeWindow(window);
    }
    CWaveFileChartWnd chart;
    Open(chart, CWaveFileChartWnd::GetClassName(), options.width, options.height);
    chart.SetSoundFile(&sound);
    SetView(chart, options);
    return TakeWindow(chart);
}

Picture DrawWaveformStrip(CSoundFile& sound, int width, int height)
{
    const OffScreenWindows windows;
    CWaveFileChartWnd chart;
    Open(chart, CWaveFileChartWnd::GetClassName(), height, width);
    chart.SetMargins(0, 0, 0, 0);
    chart.ShowPointer(false);
    chart.SetSoundFile(&sound);
    chart.SetDensity((sound.GetLength() + width - 1) / width);
    const Picture upright = TakeWindow(chart);
    Picture strip(width, height, {});
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            std::copy_n(upright.At(y, x), 3, strip.At(x, y));
    return strip;
}

} // namespace nvtool
