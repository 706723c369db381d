// CWaveFileOverviewWnd: the window, geometry, mouse. See WaveFileOverviewWnd.h.
#include "WaveFileOverviewWnd.h"

#include "SoundFile.h"
#include "WaveFileChartWnd.h"
#include "WaveRows.h"
#include "WaveTimers.h"
#include "WaveWindow.h"

#include <algorithm>
#include <utility>

using namespace NV;

IMPLEMENT_DYNCREATE(CWaveFileOverviewWnd, CWnd)

BEGIN_MESSAGE_MAP(CWaveFileOverviewWnd, CWnd)
ON_WM_DESTROY()
ON_WM_PAINT()
ON_WM_ERASEBKGND()
ON_WM_SIZE()
ON_WM_LBUTTONDOWN()
ON_WM_LBUTTONUP()
ON_WM_MOUSEMOVE()
ON_WM_CAPTURECHANGED()
ON_WM_MOUSEWHEEL()
ON_WM_SETCURSOR()
ON_WM_KEYDOWN()
ON_WM_TIMER()
END_MESSAGE_MAP()

int CWaveFileOverviewWnd::c_nRefCount = 0;

namespace {

constexpr int axisWidth = 46, bandWidth = 64, sideMargin = 6, endMargin = 10; // the ends leave room for the arrows
constexpr int grip = 4;               // pixels to either side of the frame's ends that catch them
constexpr int stillness = 3;          // pixels that a click may move by
constexpr int overviewWheelParts = 8; // a notch moves the frame by this part of its height

} // namespace

// ---- The window -----------------------------------------------------------------------------------------------------

CWaveFileOverviewWnd::CWaveFileOverviewWnd() : rows(std::make_unique<WaveRows>()) {}

CWaveFileOverviewWnd::~CWaveFileOverviewWnd()
{
    if (chart)
        chart->SetOverview(nullptr);
    DestroyWindow();
    if (registered)
        UnregisterClass();
}

BOOL CWaveFileOverviewWnd::RegisterClass()
{
    return RegisterCounted(GetClassName(), IDC_ARROW, c_nRefCount);
}

void CWaveFileOverviewWnd::UnregisterClass()
{
    UnregisterCounted(GetClassName(), c_nRefCount);
}

BOOL CWaveFileOverviewWnd::Create(const RECT& rect, CWnd* parent, UINT id, DWORD style)
{
    registered = registered || RegisterClass();
    return registered && CWnd::Create(GetClassName(), "", style, rect, parent, id);
}

void CWaveFileOverviewWnd::OnDestroy()
{
    drag = hitNothing;
    stripValid = false;
    CWnd::OnDestroy();
}

void CWaveFileOverviewWnd::OnSize(UINT type, int width, int height)
{
    CWnd::OnSize(type, width, height);
    InvalidateStrip();
}

void CWaveFileOverviewWnd::InvalidateStrip()
{
    stripValid = false;
    if (GetSafeHwnd())
        Invalidate(FALSE);
}

void CWaveFileOverviewWnd::OnTimer(UINT_PTR id)
{
    if (id != fillTimer)
        return CWnd::OnTimer(id);
    KillTimer(fillTimer); // painting sets it again while rows are missing
    InvalidateStrip();
}

// ---- File, frame and pointer ----------------------------------------------------------------------------------------

i64 CWaveFileOverviewWnd::GetFileLength() const
{
    return soundFile ? std::max<i64>(soundFile->GetLength(), 0) : 0;
}

void CWaveFileOverviewWnd::SetSoundFile(CSoundFile* file, bool sameAudio)
{
    soundFile = file;
    if (!sameAudio || !file) {
        rows->Forget();
        SetFrame(0, GetFileLength());
        pointerPos = 0;
    }
    SetPointerPos(pointerPos);
    InvalidateStrip();
}

void CWaveFileOverviewWnd::SetFrame(i64 first, i64 last)
{
    first = std::max<i64>(first, 0);
    last = std::max<i64>(last, 0);
    if (first > last)
        std::swap(first, last);
    if (first == frameFirst && last == frameLast)
        return;
    frameFirst = first;
    frameLast = last;
    if (GetSafeHwnd())
        Invalidate(FALSE);
}

void CWaveFileOverviewWnd::GetFrame(i64& first, i64& last) const
{
    first = frameFirst;
    last = frameLast;
}

void CWaveFileOverviewWnd::SetPointerPos(i64 frame)
{
    frame = std::clamp<i64>(frame, 0, std::max<i64>(GetFileLength() - 1, 0));
    if (std::exchange(pointerPos, frame) != frame && GetSafeHwnd())
        Invalidate(FALSE);
}

void CWaveFileOverviewWnd::Notify(int code)
{
    CWnd* const sink = messageSink ? messageSink : chart ? chart : GetParent();
    if (sink)
        sink->SendMessage(CWaveFileChartWnd::notifyMessage, static_cast<WPARAM>(code), 0);
}

// ---- Geometry -------------------------------------------------------------------------------------------------------

int CWaveFileOverviewWnd::GetOptimumWidth()
{
    return axisWidth + bandWidth + sideMargin;
}

CRect CWaveFileOverviewWnd::GetBandRect() const
{
    CRect client;
    GetClientRect(client);
    // Without room for both the band is left.
    const int left = client.Width() >= axisWidth + bandWidth / 2 + sideMargin ? axisWidth : sideMargin;
    return CRect(left, endMargin, std::max<int>(client.right - sideMargin, left),
                 std::max<int>(client.bottom - endMargin, endMargin));
}

/// Frames of a row.
i64 CWaveFileOverviewWnd::GetRowFrames() const
{
    const i64 height = std::max(GetBandRect().Height(), 1);
    return std::max<i64>((GetFileLength() + height - 1) / height, 1);
}

i64 CWaveFileOverviewWnd::PixelToPos(int y) const
{
    return (y - GetBandRect().top) * GetRowFrames();
}

int CWaveFileOverviewWnd::PosToPixel(i64 frame) const
{
    // What is far outside is somewhere outside.
    const i64 row = std::clamp<i64>(frame / GetRowFrames(), -100'000, 100'000);
    return GetBandRect().top + static_cast<int>(row);
}

CWaveFileOverviewWnd::FrameRows CWaveFileOverviewWnd::GetFrameRows() const
{
    const CRect band = GetBandRect();
    const int last = std::max<int>(PosToPixel(std::max<i64>(GetFileLength() - 1, 0)), band.top);
    const int top = std::clamp<int>(PosToPixel(frameFirst), band.top, last);
    return {top, std::clamp<int>(PosToPixel(frameLast), top, last)};
}

CWaveFileOverviewWnd::HitCode CWaveFileOverviewWnd::HitTest(CPoint point) const
{
    CRect client;
    GetClientRect(client);
    if (!soundFile || GetFileLength() == 0 || !client.PtInRect(point))
        return hitNothing;
    const auto [top, bottom] = GetFrameRows();
    const int middle = (top + bottom) / 2; // of a frame thinner than its grips each half is one end
    if (std::abs(point.y - top) <= grip && point.y <= middle)
        return hitFrameStart;
    if (std::abs(point.y - bottom) <= grip && point.y >= middle)
        return hitFrameEnd;
    if (point.y > top && point.y < bottom)
        return hitFrame;
    return hitOutside;
}

// ---- Mouse ----------------------------------------------------------------------------------------------------------

void CWaveFileOverviewWnd::OnLButtonDown(UINT, CPoint point)
{
    (chart && chart->GetSafeHwnd() ? static_cast<CWnd*>(chart) : this)->SetFocus();
    drag = HitTest(point);
    if (drag == hitNothing)
        return;
    moved = false;
    dragFrom = point.y;
    dragFirst = frameFirst;
    dragLast = frameLast;
    SetCapture();
    if (drag == hitOutside)
        SetPointerAt(point.y);
}

void CWaveFileOverviewWnd::OnMouseMove(UINT, CPoint point)
{
    if (drag != hitNothing) {
        DragTo(point.y);
        return;
    }
    switch (HitTest(point)) {
    case hitFrameStart:
    case hitFrameEnd:
        SetCursor(::LoadCursor(nullptr, IDC_SIZENS));
        break;
    case hitFrame:
        SetCursor(::LoadCursor(nullptr, IDC_HAND));
        break;
    default:
        SetCursor(::LoadCursor(nullptr, IDC_ARROW));
        break;
    }
}

void CWaveFileOverviewWnd::DragTo(int y)
{
    if (drag == hitOutside)
        return SetPointerAt(y);
    moved = moved || std::abs(y - dragFrom) >= stillness;
    if (!moved)
        return;
    const i64 length = GetFileLength(), by = (y - dragFrom) * GetRowFrames();
    if (drag == hitFrame)
        return MoveFrame(dragFirst + by);
    // The other end stays; one frame is left at the least.
    if (drag == hitFrameStart)
        SetFrame(std::clamp<i64>(dragFirst + by, 0, std::max<i64>(dragLast - 1, 0)), dragLast);
    else
        SetFrame(dragFirst,
                 std::clamp<i64>(std::min(dragLast, length) + by, dragFirst + 1, std::max(length, dragFirst + 1)));
    Notify(CWaveFileChartWnd::notifyDensity);
}

/// Its length stays as it was when the button went down.
void CWaveFileOverviewWnd::MoveFrame(i64 first)
{
    const i64 span = dragLast - dragFirst;
    first = std::clamp<i64>(first, 0, std::max<i64>(GetFileLength() - span, 0));
    if (first == frameFirst && first + span == frameLast)
        return;
    SetFrame(first, first + span);
    Notify(CWaveFileChartWnd::notifyDensity);
}

void CWaveFileOverviewWnd::SetPointerAt(int y)
{
    const i64 before = pointerPos;
    SetPointerPos(PixelToPos(y));
    if (pointerPos != before || !moved)
        Notify(CWaveFileChartWnd::notifyPointer);
    moved = true;
}

void CWaveFileOverviewWnd::OnLButtonUp(UINT, CPoint point)
{
    if (drag == hitNothing)
        return;
    const bool click = !moved;
    ReleaseCapture(); // OnCaptureChanged ends the dragging
    if (click)
        SetPointerAt(point.y);
}

void CWaveFileOverviewWnd::OnCaptureChanged(CWnd*)
{
    drag = hitNothing;
}

BOOL CWaveFileOverviewWnd::OnMouseWheel(UINT, short delta, CPoint)
{
    if (drag != hitNothing || GetFileLength() == 0)
        return TRUE;
    dragFirst = frameFirst;
    dragLast = frameLast;
    wheelRest += delta;
    const int notches = wheelRest / WHEEL_DELTA;
    wheelRest -= notches * WHEEL_DELTA;
    if (notches != 0)
        MoveFrame(frameFirst - notches * std::max<i64>((frameLast - frameFirst) / overviewWheelParts, 1));
    return TRUE;
}

/// OnMouseMove has set the shape for where the mouse is.
BOOL CWaveFileOverviewWnd::OnSetCursor(CWnd* window, UINT hitTest, UINT message)
{
    return hitTest == HTCLIENT || CWnd::OnSetCursor(window, hitTest, message);
}

void CWaveFileOverviewWnd::OnKeyDown(UINT key, UINT repeats, UINT flags)
{
    if (chart && chart->GetSafeHwnd())
        chart->SendMessage(WM_KEYDOWN, key, MAKELPARAM(static_cast<int>(repeats), static_cast<int>(flags)));
    else
        CWnd::OnKeyDown(key, repeats, flags);
}
