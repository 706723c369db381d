// CWaveFileChartWnd: the picture.
//
// What is seen is one image of the client area. It is painted as a whole when the view changes (rows from the buffers,
// so nothing is read again), and the pointer is put on it and taken off again each time it is shown: while the pointer
// alone moves, no more than its own rows are painted.
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

bool CWaveFileChartWnd::c_bUseSimplePaintMode = false;
int CWaveFileChartWnd::c_nFillMilliseconds = 15;
// Dark, of little contrast but for the samples and, in the opposite hue, the pointer.
COLORREF CWaveFileChartWnd::c_clrBackground = RGB(27, 30, 36);
COLORREF CWaveFileChartWnd::c_clrBand = RGB(35, 39, 47);
COLORREF CWaveFileChartWnd::c_clrOutside = RGB(22, 24, 29);
COLORREF CWaveFileChartWnd::c_clrPending = RGB(48, 54, 64);
COLORREF CWaveFileChartWnd::c_clrGrid = RGB(50, 56, 66);
COLORREF CWaveFileChartWnd::c_clrCentre = RGB(62, 104, 112);
COLORREF CWaveFileChartWnd::c_clrSamples = RGB(124, 204, 190);
COLORREF CWaveFileChartWnd::c_clrLoud = RGB(64, 138, 160);
COLORREF CWaveFileChartWnd::c_clrAxis = RGB(96, 106, 120);
COLORREF CWaveFileChartWnd::c_clrText = RGB(168, 178, 192);
COLORREF CWaveFileChartWnd::c_clrPointer = RGB(255, 178, 62);
COLORREF CWaveFileChartWnd::c_clrPointerText = RGB(38, 26, 6);

namespace {

constexpr int labelDistance = 48, labelledTick = 8, plainTick = 4, tickGap = 3;
constexpr int bandGap = 2;
constexpr int flagHeight = figureHeight + 6, flagLeft = 2, narrowestFlag = 40;
constexpr int barDensity = 100; // above it rows are bars
constexpr int pointerShadow = 110;

BYTE Mixed(int from, int to, int share)
{
    return static_cast<BYTE>(from + (to - from) * share / 256);
}

CRect BandOf(const CRect& samples, int channel, int channels)
{
    const int width = samples.Width() / channels;
    const int left = samples.left + channel * width;
    return CRect(left, samples.top, left + width, samples.bottom);
}

int CentreOf(const CRect& band)
{
    return (band.left + band.right) / 2;
}

} // namespace

// ---- The window's turn ----------------------------------------------------------------------------------------------

BOOL CWaveFileChartWnd::OnEraseBkgnd(CDC*)
{
    return TRUE; // every pixel is painted at once, so nothing flickers
}

void CWaveFileChartWnd::OnPaint()
{
    CPaintDC dc(this);
    Paint(dc, dc.m_ps.rcPaint);
}

void CWaveFileChartWnd::Paint(CDC& dc, const CRect& dirty)
{
    if (!ValidateBackground())
        return;
    CRect pointer;
    pointer.IntersectRect(GetPointerRect(), background.GetRect());
    if (!pointer.IsRectEmpty() && underPointer.Create(pointer.Width(), pointer.Height(), 32)) {
        underPointer.CopyRect(background, pointer, CPoint(0, 0));
        PaintPointer(background);
        background.Show(dc, dirty, dirty.TopLeft());
        background.CopyRect(underPointer, underPointer.GetRect(), pointer.TopLeft());
    } else {
        background.Show(dc, dirty, dirty.TopLeft());
    }
}

/// False when there is no room to paint in.
bool CWaveFileChartWnd::ValidateBackground()
{
    CRect client;
    GetClientRect(client);
    if (client.IsRectEmpty())
        return false;
    if (background.GetWidth() != client.Width() || background.GetHeight() != client.Height()) {
        backgroundValid = false;
        if (!background.Create(client.Width(), client.Height(), 32))
            return false;
    }
    if (backgroundValid)
        return true;
    Layout();
    if (!UpdateBuffer())
        SetTimer(fillTimer, fillInterval, nullptr);
    PaintBands(background);
    PaintAxis(background);
    if (soundFile && showSamples)
        PaintSamples(background);
    backgroundValid = true;
    return true;
}

bool CWaveFileChartWnd::UpdateBuffer()
{
    if (!soundFile || !showSamples)
        return true;
    rows->Want(*soundFile, startPos, density, samplesRect.Height());
    return rows->Fill(*soundFile, c_nFillMilliseconds);
}

// ---- What lies behind the samples -----------------------------------------------------------------------------------

void CWaveFileChartWnd::PaintBands(CDib& image)
{
    CDibDrawing drawing(image);
    // Each pixel once: this is most of what there is to write.
    const CRect all = image.GetRect();
    drawing.Fill(CRect(0, 0, all.right, samplesRect.top), c_clrBackground);
    drawing.Fill(CRect(0, samplesRect.bottom, all.right, all.bottom), c_clrBackground);
    drawing.Fill(CRect(0, samplesRect.top, samplesRect.left, samplesRect.bottom), c_clrBackground);

    const i64 rowsLeft = (GetFileLength() - startPos + density - 1) / density;
    const int inFile = static_cast<int>(std::clamp<i64>(rowsLeft, 0, samplesRect.Height()));
    const int channels = soundFile && WaveRows::CanShow(*soundFile) ? soundFile->GetChannels() : 1;
    int right = samplesRect.left;
    for (int c = 0; c < channels; ++c) {
        const CRect band = BandOf(samplesRect, c, channels);
        right = c + 1 < channels ? std::max<int>(band.left, band.right - bandGap) : band.right;
        drawing.Fill(CRect(band.left, band.top, right, band.top + inFile), c_clrBand);
        drawing.Fill(CRect(band.left, band.top + inFile, right, band.bottom), c_clrOutside);
        drawing.Fill(CRect(right, band.top, band.right, band.bottom), c_clrBackground);
    }
    drawing.Fill(CRect(right, samplesRect.top, all.right, samplesRect.bottom), c_clrBackground);
}

void CWaveFileChartWnd::PaintAxis(CDib& image)
{
    const TimeScale scale(density, soundFile ? soundFile->GetSamplesPerSec() : 0, labelDistance);
    const i64 end = std::min(startPos + GetSamplesOnScreen(), GetFileLength());
    CDibDrawing drawing(image), bands(image, samplesRect);
    TimeTick tick{};
    for (bool any = scale.First(startPos, tick); any && tick.frame < end; tick = scale.Next(tick)) {
        const int y = samplesRect.top + static_cast<int>(FileToScreen(tick.frame));
        if (tick.labelled)
            bands.Horizontal(y, samplesRect.left, samplesRect.right - 1, c_clrGrid);
        const int length = tick.labelled ? labelledTick : plainTick;
        const int to = samplesRect.left - tickGap;
        if (to - length < 0)
            continue; // no room for an axis
        drawing.Horizontal(y, to - length + 1, to, c_clrAxis);
        const std::string label = tick.labelled ? TimeLabel(tick.time, scale.Decimals()) : std::string();
        const int left = to - labelledTick - 4 - FiguresWidth(label);
        if (left >= 0)
            DrawFigures(drawing, CPoint(left, y - figureHeight / 2), label, c_clrText);
    }
}

// ---- Samples --------------------------------------------------------------------------------------------------------

void CWaveFileChartWnd::PaintSamples(CDib& image)
{
    const int channels = rows->Channels();
    for (int c = 0; c < channels; ++c)
        PaintChannel(image, BandOf(samplesRect, c, channels), c);
    if (channels == 0) // of a format that is not read
        CDibDrawing(image, samplesRect)
            .Vertical(CentreOf(samplesRect), samplesRect.top, samplesRect.bottom - 1, c_clrCentre);
}

void CWaveFileChartWnd::PaintChannel(CDib& image, const CRect& band, int channel)
{
    if (band.IsRectEmpty())
        return;
    CDibDrawing drawing(image, band);
    for (const auto& [first, stop] : rows->Missing())
        Hatch(drawing, CRect(band.left, band.top + first, band.right - bandGap, band.top + stop), c_clrPending);
    if (density == 1)
        PaintPoints(image, band, channel);
    else
        PaintBars(image, band, channel);
    drawing.Vertical(CentreOf(band), band.top, band.top + rows->Count() - 1, c_clrCentre);
}

/// Where a value on the 16-bit scale is, to the nearest pixel.
int CWaveFileChartWnd::ColumnOf(const CRect& band, int value) const
{
    const int centre = CentreOf(band), half = centre - band.left;
    const int product = value * half;
    return centre + (product + (product < 0 ? -fullScale / 2 : fullScale / 2)) / fullScale;
}

void CWaveFileChartWnd::PaintPoints(CDib& image, const CRect& band, int channel)
{
    CDibDrawing drawing(image, band);
    std::vector<CPoint> points;
    points.reserve(static_cast<std::size_t>(rows->Count()));
    const auto draw = [&] {
        drawing.Polyline(points, c_clrSamples);
        drawing.Points(points, c_clrSamples);
        points.clear();
    };
    for (int y = 0; y < rows->Count(); ++y) {
        if (rows->IsKnown(y) && !WaveRows::IsEmpty(rows->Minimum(y, channel), rows->Maximum(y, channel)))
            points.emplace_back(ColumnOf(band, rows->Minimum(y, channel)), band.top + y);
        else
            draw();
    }
    draw();
}

void CWaveFileChartWnd::PaintBars(CDib& image, const CRect& band, int channel)
{
    const bool asBars = !c_bUseSimplePaintMode && density > barDensity;
    CDibDrawing drawing(image, band);
    if (asBars)
        MakeBrush(band);
    std::vector<DibSpan> lines;
    lines.reserve(static_cast<std::size_t>(rows->Count()));
    bool follows = false; // on a bar in the row above
    int left = 0, right = 0;
    for (int y = 0; y < rows->Count(); ++y) {
        const bool known = rows->IsKnown(y);
        const i16 low = known ? rows->Minimum(y, channel) : i16(0), high = known ? rows->Maximum(y, channel) : i16(0);
        if (!known || WaveRows::IsEmpty(low, high)) {
            follows = false;
            continue;
        }
        int x1 = ColumnOf(band, low), x2 = ColumnOf(band, high);
        if (follows && x1 > right)
            x1 = right;
        else if (follows && x2 < left)
            x2 = left;
        left = x1;
        right = x2;
        follows = true;
        if (asBars)
            PaintSamplesBar(drawing, CRect(x1, band.top + y, x2 + 1, band.top + y + 1), band);
        else
            lines.push_back({band.top + y, x1, x2});
    }
    drawing.Spans(lines, c_clrSamples);
}

void CWaveFileChartWnd::PaintSamplesBar(CDibDrawing& drawing, const CRect& bar, const CRect& band)
{
    drawing.Pattern(bar, brush.IsValid() ? brush : builtInBrush, band.TopLeft());
}

/// Applications with the original resources give bitmap 19029 to SetBrush; this library carries no resources, so a
/// pattern of its own stands in: from the colour of quiet samples at the centre line to that of loud ones at the edges.
void CWaveFileChartWnd::MakeBrush(const CRect& band)
{
    if (brush.IsValid() || !builtInBrush.Create(band.Width(), 1, 32))
        return;
    const int centre = CentreOf(band) - band.left, half = std::max(centre, 1);
    for (int x = 0; x < band.Width(); ++x) {
        const int share = std::min(std::abs(x - centre) * 256 / half, 256);
        builtInBrush.SetPixelColor(x, 0,
                                   RGB(Mixed(GetRValue(c_clrSamples), GetRValue(c_clrLoud), share),
                                       Mixed(GetGValue(c_clrSamples), GetGValue(c_clrLoud), share),
                                       Mixed(GetBValue(c_clrSamples), GetBValue(c_clrLoud), share)));
    }
}

// ---- The pointer ----------------------------------------------------------------------------------------------------

CRect CWaveFileChartWnd::GetPointerRect() const
{
    if (!showPointer || !soundFile || !IsSampleVisible(pointerPos))
        return CRect();
    CRect client;
    GetClientRect(client);
    const int y = samplesRect.top + static_cast<int>(FileToScreen(pointerPos));
    const int flagTop = std::clamp(y - flagHeight / 2, 0, std::max<int>(client.bottom - flagHeight, 0));
    return CRect(0, std::min(flagTop, y - 1), samplesRect.right, std::max(flagTop + flagHeight, y + 2));
}

void CWaveFileChartWnd::PaintPointer(CDib& image)
{
    const CRect area = GetPointerRect();
    const int y = samplesRect.top + static_cast<int>(FileToScreen(pointerPos));
    CDibDrawing drawing(image, area), bands(image, samplesRect);
    bands.Blend(CRect(samplesRect.left, y - 1, samplesRect.right, y + 2), c_clrBackground, pointerShadow);
    bands.Horizontal(y, samplesRect.left, samplesRect.right - 1, c_clrPointer);
    if (samplesRect.left < narrowestFlag)
        return;
    // The flag: a box with the time, and a point towards the line.
    const int flagTop = std::clamp(y - flagHeight / 2, 0, std::max<int>(image.GetHeight() - flagHeight, 0));
    const int boxRight = samplesRect.left - flagHeight / 2;
    drawing.Fill(CRect(flagLeft, flagTop, boxRight, flagTop + flagHeight), c_clrPointer);
    for (int x = boxRight; x < samplesRect.left; ++x) {
        const int reach = samplesRect.left - 1 - x;
        drawing.Vertical(x, std::max(y - reach, flagTop), std::min(y + reach, flagTop + flagHeight - 1), c_clrPointer);
    }
    const i64 time = MicrosecondsOf(pointerPos, soundFile->GetSamplesPerSec());
    std::string label;
    for (int decimals = 3; decimals >= 0; --decimals) {
        label = TimeLabel(time, decimals);
        if (FiguresWidth(label) <= boxRight - flagLeft - 2)
            break;
    }
    DrawFigures(drawing, CPoint(boxRight - 1 - FiguresWidth(label), flagTop + 3), label, c_clrPointerText);
}
