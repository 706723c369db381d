// CWaveFileOverviewWnd: the picture. The strip with the samples is painted when the file or the size changes; frame and
// pointer are put on a copy of it.
#include "DibDrawing.h"
#include "SoundFile.h"
#include "WaveFileChartWnd.h"
#include "WaveFileOverviewWnd.h"
#include "WaveRows.h"
#include "WaveTimers.h"
#include "WaveTimes.h"
#include "WaveWindow.h"

#include <algorithm>
#include <vector>

using namespace NV;

COLORREF CWaveFileOverviewWnd::c_clrBackground = RGB(27, 30, 36);
COLORREF CWaveFileOverviewWnd::c_clrBand = RGB(35, 39, 47);
COLORREF CWaveFileOverviewWnd::c_clrOutside = RGB(22, 24, 29);
COLORREF CWaveFileOverviewWnd::c_clrPending = RGB(48, 54, 64);
COLORREF CWaveFileOverviewWnd::c_clrCentre = RGB(62, 104, 112);
COLORREF CWaveFileOverviewWnd::c_clrSamples = RGB(96, 172, 176);
COLORREF CWaveFileOverviewWnd::c_clrAxis = RGB(96, 106, 120);
COLORREF CWaveFileOverviewWnd::c_clrText = RGB(168, 178, 192);
COLORREF CWaveFileOverviewWnd::c_clrFrame = RGB(214, 222, 232);
COLORREF CWaveFileOverviewWnd::c_clrPointer = RGB(255, 178, 62);
int CWaveFileOverviewWnd::c_nDimming = 130;

namespace {

constexpr int overviewLabelDistance = 60, overviewLabelledTick = 6, overviewPlainTick = 3, overviewTickGap = 5;
constexpr int fullScale = 34'500; // as the chart's
constexpr int arrowHeight = 5;
constexpr int pointerOverhang = 4; // to either side of the band

} // namespace

BOOL CWaveFileOverviewWnd::OnEraseBkgnd(CDC*)
{
    return TRUE; // every pixel is painted at once, so nothing flickers
}

void CWaveFileOverviewWnd::OnPaint()
{
    CPaintDC dc(this);
    Paint(dc, dc.m_ps.rcPaint);
}

void CWaveFileOverviewWnd::Paint(CDC& dc, const CRect& dirty)
{
    if (!ValidateStrip())
        return;
    shown.CopyRect(strip, strip.GetRect(), CPoint(0, 0));
    if (GetFileLength() > 0)
        PaintFrame();
    shown.Show(dc, dirty, dirty.TopLeft());
}

/// False when there is no room to paint in.
bool CWaveFileOverviewWnd::ValidateStrip()
{
    CRect client;
    GetClientRect(client);
    if (client.IsRectEmpty())
        return false;
    if (strip.GetWidth() != client.Width() || strip.GetHeight() != client.Height()) {
        stripValid = false;
        if (!strip.Create(client.Width(), client.Height(), 32) || !shown.Create(client.Width(), client.Height(), 32))
            return false;
    }
    if (!stripValid)
        PaintStrip();
    stripValid = true;
    return true;
}

void CWaveFileOverviewWnd::PaintStrip()
{
    const CRect band = GetBandRect();
    CDibDrawing drawing(strip), inBand(strip, band);
    drawing.Fill(strip.GetRect(), c_clrBackground);
    drawing.Fill(band, c_clrOutside);
    if (!soundFile)
        return;
    rows->Want(*soundFile, 0, GetRowFrames(), band.Height());
    if (!rows->Fill(*soundFile, CWaveFileChartWnd::c_nFillMilliseconds))
        SetTimer(fillTimer, fillInterval, nullptr);
    const i64 length = GetFileLength();
    const int stop = length > 0 ? PosToPixel(length - 1) + 1 : static_cast<int>(band.top);
    drawing.Fill(CRect(band.left, band.top, band.right, stop), c_clrBand);
    for (const auto& [first, last] : rows->Missing())
        Hatch(inBand, CRect(band.left, band.top + first, band.right, band.top + last), c_clrPending);
    PaintAxis();

    const int centre = (band.left + band.right) / 2, half = centre - band.left;
    std::vector<DibSpan> bars;
    bars.reserve(static_cast<std::size_t>(rows->Count()));
    for (int y = 0; y < rows->Count(); ++y) {
        if (!rows->IsKnown(y))
            continue;
        int low = 32767, high = -32768; // of all channels
        for (int c = 0; c < rows->Channels(); ++c) {
            low = std::min<int>(low, rows->Minimum(y, c));
            high = std::max<int>(high, rows->Maximum(y, c));
        }
        if (low <= high)
            bars.push_back({band.top + y, centre + low * half / fullScale, centre + high * half / fullScale});
    }
    inBand.Spans(bars, c_clrSamples);
    inBand.Vertical(centre, band.top, stop - 1, c_clrCentre);
}

void CWaveFileOverviewWnd::PaintAxis()
{
    const CRect band = GetBandRect();
    const TimeScale scale(GetRowFrames(), soundFile->GetSamplesPerSec(), overviewLabelDistance);
    CDibDrawing drawing(strip);
    TimeTick tick{};
    const int to = band.left - overviewTickGap;
    for (bool any = scale.First(0, tick); any && tick.frame < GetFileLength(); tick = scale.Next(tick)) {
        const std::string label = tick.labelled ? TimeLabel(tick.time, scale.Decimals()) : std::string();
        const int y = PosToPixel(tick.frame), length = tick.labelled ? overviewLabelledTick : overviewPlainTick;
        const int left = to - overviewLabelledTick - 1 - FiguresWidth(label);
        if (left < 0)
            continue;
        drawing.Horizontal(y, to - length + 1, to, c_clrAxis);
        DrawFigures(drawing, CPoint(left, y - figureHeight / 2), label, c_clrText);
    }
}

/// The frame, what lies outside of it, and the pointer.
void CWaveFileOverviewWnd::PaintFrame()
{
    const CRect band = GetBandRect();
    const auto [top, bottom] = GetFrameRows();
    CDibDrawing drawing(shown);
    drawing.Blend(CRect(band.left, band.top, band.right, top), c_clrBackground, c_nDimming);
    drawing.Blend(CRect(band.left, bottom + 1, band.right, band.bottom), c_clrBackground, c_nDimming);

    const int y = PosToPixel(pointerPos);
    drawing.Horizontal(y, band.left - pointerOverhang, band.right - 1 + pointerOverhang, c_clrPointer);

    drawing.Frame(CRect(band.left - 2, top - 1, band.right + 2, bottom + 2), c_clrFrame);
    const int centre = (band.left + band.right) / 2;
    for (int k = 0; k < arrowHeight; ++k) { // pointing away from the frame
        drawing.Horizontal(top - 2 - k, centre - (arrowHeight - 1 - k), centre + (arrowHeight - 1 - k), c_clrFrame);
        drawing.Horizontal(bottom + 2 + k, centre - (arrowHeight - 1 - k), centre + (arrowHeight - 1 - k), c_clrFrame);
    }
}
