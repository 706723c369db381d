// CWaveFileChartWnd: mouse, wheel and keys. Whatever moves the pointer or changes the density here is told to the sink.
#include "SoundFile.h"
#include "WaveFileChartWnd.h"
#include "WaveFileOverviewWnd.h"
#include "WaveTimers.h"

#include <algorithm>

using namespace NV;

namespace {

constexpr UINT scrollInterval = 30; // milliseconds, while the button is held above or below the bands
constexpr int wheelParts = 8;       // notches that a screen is
constexpr int manyRows = 10;
constexpr int fineStepsPerSecond = 100;

} // namespace

// ---- Mouse ----------------------------------------------------------------------------------------------------------

void CWaveFileChartWnd::OnLButtonDown(UINT, CPoint point)
{
    SetFocus();
    if (!soundFile || !samplesRect.PtInRect(point))
        return;
    pointerPos = ValidatePosition(ScreenToFile(point.y - samplesRect.top));
    Invalidate(FALSE);
    UpdateOverview();
    dragging = true;
    dragY = point.y;
    SetCapture();
    Notify(notifyPointer);
}

void CWaveFileChartWnd::OnMouseMove(UINT, CPoint point)
{
    if (!dragging)
        return;
    const bool wasInside = dragY >= samplesRect.top && dragY < samplesRect.bottom;
    const bool isInside = point.y >= samplesRect.top && point.y < samplesRect.bottom;
    dragY = point.y;
    if (isInside)
        KillTimer(scrollTimer);
    else if (wasInside)
        SetTimer(scrollTimer, scrollInterval, nullptr);
    DragTo(dragY);
}

void CWaveFileChartWnd::OnLButtonUp(UINT, CPoint)
{
    if (dragging)
        ReleaseCapture(); // OnCaptureChanged ends the dragging
}

void CWaveFileChartWnd::OnCaptureChanged(CWnd*)
{
    dragging = false;
    KillTimer(scrollTimer);
}

/// The pointer follows the mouse, which may be outside: then to the nearest row that is shown.
void CWaveFileChartWnd::DragTo(int y)
{
    const int row = std::clamp(y - static_cast<int>(samplesRect.top), 0, std::max(samplesRect.Height() - 1, 0));
    const i64 to = ValidatePosition(ScreenToFile(row));
    if (to == pointerPos)
        return;
    SetPointerPos(to, false);
    Notify(notifyPointer);
}

BOOL CWaveFileChartWnd::OnMouseWheel(UINT flags, short delta, CPoint screenPoint)
{
    CPoint point = screenPoint;
    ScreenToClient(&point);
    wheelRest += delta;
    const int notches = wheelRest / WHEEL_DELTA;
    if ((flags & MK_CONTROL) != 0) {
        wheelRest -= notches * WHEEL_DELTA;
        const i64 before = density;
        Zoom(notches, std::clamp(static_cast<int>(point.y - samplesRect.top), 0, samplesRect.Height()));
        if (density != before)
            Notify(notifyDensity);
        return TRUE;
    }
    // Fine wheels scroll by rows, without waiting for a whole notch.
    const int wholeTurn = WHEEL_DELTA * wheelParts;
    const int height = std::max(samplesRect.Height(), 1);
    const int byRows = static_cast<int>(static_cast<i64>(wheelRest) * height / wholeTurn);
    wheelRest -= static_cast<int>(static_cast<i64>(byRows) * wholeTurn / height);
    ScrollRows(-byRows);
    return TRUE;
}

/// By whole rows, so that they stay the same rows; not beyond the ends of the file.
void CWaveFileChartWnd::ScrollRows(i64 byRows)
{
    const i64 below = GetFileLength() - GetSamplesOnScreen() - startPos; // frames that are to come
    const i64 rowsBelow = below > 0 ? (below - 1) / density + 1 : 0;
    const i64 by = std::clamp(byRows, -(startPos / density) - 1, std::max<i64>(rowsBelow, 0));
    MoveView(startPos + by * density); // which takes care of less than a row before the start
}

// ---- Keys -----------------------------------------------------------------------------------------------------------

void CWaveFileChartWnd::MovePointer(i64 to)
{
    const i64 before = pointerPos;
    SetPointerPos(to, true);
    if (pointerPos != before)
        Notify(notifyPointer);
}

bool CWaveFileChartWnd::ZoomKey(UINT key)
{
    const bool in = key == VK_ADD || key == VK_OEM_PLUS, out = key == VK_SUBTRACT || key == VK_OEM_MINUS;
    if (!in && !out)
        return false;
    const i64 before = density;
    const bool aroundPointer = IsSampleVisible(pointerPos);
    Zoom(in ? 1 : -1, aroundPointer ? static_cast<int>(FileToScreen(pointerPos)) : samplesRect.Height() / 2);
    if (density != before)
        Notify(notifyDensity);
    return true;
}

void CWaveFileChartWnd::OnKeyDown(UINT key, UINT repeats, UINT)
{
    if (!soundFile || ZoomKey(key)) {
        if (!soundFile)
            Default();
        return;
    }
    const i64 times = std::max(repeats, 1U);
    const i64 rowStep = times * density * (GetKeyState(VK_CONTROL) < 0 ? manyRows : 1);
    const i64 fineStep = times * std::max(soundFile->GetSamplesPerSec() / fineStepsPerSecond, 1);
    switch (key) {
    case VK_UP:
        return MovePointer(pointerPos - rowStep);
    case VK_DOWN:
        return MovePointer(pointerPos + rowStep);
    case VK_LEFT:
        return MovePointer(pointerPos - fineStep);
    case VK_RIGHT:
        return MovePointer(pointerPos + fineStep);
    case VK_PRIOR:
        return MovePointer(pointerPos - GetSamplesOnScreen());
    case VK_NEXT:
        return MovePointer(pointerPos + GetSamplesOnScreen());
    case VK_HOME:
        return MovePointer(0);
    case VK_END:
        return MovePointer(GetFileLength());
    default:
        Default();
    }
}

// ---- Timers ---------------------------------------------------------------------------------------------------------

void CWaveFileChartWnd::OnTimer(UINT_PTR id)
{
    if (id == fillTimer) {
        KillTimer(fillTimer); // painting sets it again while rows are missing
        InvalidateView();
    } else if (id == scrollTimer && dragging) {
        // The farther away the faster.
        const i64 beyond = dragY < samplesRect.top ? dragY - samplesRect.top : dragY - samplesRect.bottom + 1;
        ScrollRows(beyond);
        DragTo(dragY);
    } else {
        Default();
    }
}
