// CWaveFileChartWnd: the window, mapping, positions, what it shares with the overview. See WaveFileChartWnd.h.
#include "WaveFileChartWnd.h"

#include "SoundFile.h"
#include "WaveFileOverviewWnd.h"
#include "WaveRows.h"
#include "WaveWindow.h"

#include <algorithm>

using namespace NV;

IMPLEMENT_DYNCREATE(CWaveFileChartWnd, CWnd)

BEGIN_MESSAGE_MAP(CWaveFileChartWnd, CWnd)
ON_WM_CREATE()
ON_WM_DESTROY()
ON_WM_PAINT()
ON_WM_ERASEBKGND()
ON_WM_SIZE()
ON_WM_LBUTTONDOWN()
ON_WM_LBUTTONUP()
ON_WM_MOUSEMOVE()
ON_WM_CAPTURECHANGED()
ON_WM_MOUSEWHEEL()
ON_WM_KEYDOWN()
ON_WM_TIMER()
ON_MESSAGE(CWaveFileChartWnd::notifyMessage, &CWaveFileChartWnd::OnOverviewMessage)
END_MESSAGE_MAP()

int CWaveFileChartWnd::c_nRefCount = 0;

namespace {

constexpr i64 largestDensity = i64(1) << 40; // positions in a view of 32,767 rows then stay far from overflow

} // namespace

// ---- The window -----------------------------------------------------------------------------------------------------

CWaveFileChartWnd::CWaveFileChartWnd() : rows(std::make_unique<WaveRows>()) {}

CWaveFileChartWnd::~CWaveFileChartWnd()
{
    SetOverview(nullptr);
    DestroyWindow();
    if (registered)
        UnregisterClass();
}

BOOL CWaveFileChartWnd::RegisterClass()
{
    return RegisterCounted(GetClassName(), IDC_ARROW, c_nRefCount);
}

void CWaveFileChartWnd::UnregisterClass()
{
    UnregisterCounted(GetClassName(), c_nRefCount);
}

BOOL CWaveFileChartWnd::Create(const RECT& rect, CWnd* parent, UINT id, DWORD style)
{
    registered = registered || RegisterClass();
    return registered && CWnd::Create(GetClassName(), "", style, rect, parent, id);
}

int CWaveFileChartWnd::OnCreate(LPCREATESTRUCT how)
{
    if (CWnd::OnCreate(how) == -1)
        return -1;
    Layout();
    return 0;
}

void CWaveFileChartWnd::OnDestroy()
{
    dragging = false;
    backgroundValid = false;
    CWnd::OnDestroy();
}

void CWaveFileChartWnd::OnSize(UINT type, int width, int height)
{
    CWnd::OnSize(type, width, height);
    Layout();
    InvalidateView();
    UpdateOverview();
}

void CWaveFileChartWnd::Layout()
{
    CRect client;
    GetClientRect(client);
    samplesRect = GetSamplesRect(client);
}

CRect CWaveFileChartWnd::GetSamplesRect(CRect client) const
{
    client.DeflateRect(margins.left, margins.top, margins.right, margins.bottom);
    client.right = std::max(client.left, client.right);
    client.bottom = std::max(client.top, client.bottom);
    return client;
}

void CWaveFileChartWnd::SetMargins(int left, int top, int right, int bottom)
{
    margins = CRect(left, top, right, bottom);
    if (GetSafeHwnd())
        Layout();
    InvalidateView();
    UpdateOverview();
}

void CWaveFileChartWnd::SetBrush(const CDib& newBrush)
{
    brush = newBrush;
    InvalidateView();
}

void CWaveFileChartWnd::ShowSamples(bool show)
{
    showSamples = show;
    InvalidateView();
}

void CWaveFileChartWnd::ShowPointer(bool show)
{
    showPointer = show;
    Invalidate(FALSE);
}

void CWaveFileChartWnd::InvalidateView()
{
    backgroundValid = false;
    if (GetSafeHwnd())
        Invalidate(FALSE);
}

// ---- The file -------------------------------------------------------------------------------------------------------

i64 CWaveFileChartWnd::GetFileLength() const
{
    return soundFile ? std::max<i64>(soundFile->GetLength(), 0) : 0;
}

i64 CWaveFileChartWnd::ValidatePosition(i64 frame) const
{
    return std::clamp<i64>(frame, 0, std::max<i64>(GetFileLength() - 1, 0));
}

bool CWaveFileChartWnd::CanShow(const CSoundFile& file)
{
    return WaveRows::CanShow(file);
}

void CWaveFileChartWnd::SetSoundFile(CSoundFile* file, bool sameAudio)
{
    soundFile = file;
    if (!sameAudio || !file) {
        rows->Forget();
        startPos = pointerPos = 0;
    }
    startPos = ValidatePosition(startPos);
    pointerPos = ValidatePosition(pointerPos);
    InvalidateView();
    UpdateOverview();
}

// ---- Positions ------------------------------------------------------------------------------------------------------

void CWaveFileChartWnd::SetDensity(i64 newDensity, bool force)
{
    newDensity = std::clamp<i64>(newDensity, 1, largestDensity);
    if (newDensity == density && !force)
        return;
    density = newDensity;
    rows->Forget();
    InvalidateView();
    UpdateOverview();
}

void CWaveFileChartWnd::SetStartPos(i64 frame)
{
    MoveView(frame);
}

void CWaveFileChartWnd::MoveView(i64 newStart)
{
    newStart = ValidatePosition(newStart);
    if (newStart == startPos)
        return;
    startPos = newStart;
    InvalidateView();
    UpdateOverview();
}

void CWaveFileChartWnd::SetPointerPos(i64 frame, bool scrollIntoView)
{
    const CRect before = GetPointerRect();
    pointerPos = ValidatePosition(frame);
    if (scrollIntoView && !IsSampleVisible(pointerPos)) {
        const i64 screen = GetSamplesOnScreen();
        const i64 lowest = std::max<i64>(GetFileLength() - screen, 0);
        startPos = std::clamp<i64>(pointerPos - screen / 2, 0, lowest);
        InvalidateView();
    } else if (GetSafeHwnd()) {
        InvalidateRect(before, FALSE);
        InvalidateRect(GetPointerRect(), FALSE);
    }
    UpdateOverview();
}

void CWaveFileChartWnd::Zoom(int steps, int y)
{
    // Whole numbers near the factor, and always another one.
    i64 newDensity = density;
    for (; steps > 0; --steps)
        newDensity = std::min(newDensity * 181 / 256, newDensity - 1);
    for (; steps < 0 && newDensity < largestDensity; ++steps)
        newDensity = std::max(newDensity * 181 / 128, newDensity + 1);
    const i64 height = std::max(samplesRect.Height(), 1);
    const i64 whole = std::max<i64>((GetFileLength() + height - 1) / height, 1); // with which all of the file is shown
    newDensity = std::clamp<i64>(newDensity, 1, std::max(whole, density));
    if (newDensity == density)
        return;
    const i64 frame = ScreenToFile(y);
    SetDensity(newDensity);
    // On multiples of the density rows stay the same rows when the view is scrolled by some.
    const i64 lowest = std::max<i64>(GetFileLength() - GetSamplesOnScreen() + density - 1, 0);
    MoveView(std::clamp<i64>(frame - density * y, 0, lowest) / density * density);
}

// ---- Chart and overview ---------------------------------------------------------------------------------------------

void CWaveFileChartWnd::SetOverview(CWaveFileOverviewWnd* newOverview)
{
    if (overview)
        overview->chart = nullptr;
    overview = newOverview;
    if (!overview)
        return;
    if (overview->chart)
        overview->chart->overview = nullptr;
    overview->chart = this;
    UpdateOverview();
}

void CWaveFileChartWnd::UpdateOverview()
{
    if (!overview)
        return;
    overview->SetFrame(startPos, startPos + GetSamplesOnScreen());
    overview->SetPointerPos(pointerPos);
}

void CWaveFileChartWnd::Notify(Notification code)
{
    CWnd* const sink = messageSink ? messageSink : GetParent();
    if (sink)
        sink->SendMessage(notifyMessage, static_cast<WPARAM>(code), 0);
}

LRESULT CWaveFileChartWnd::OnOverviewMessage(WPARAM code, LPARAM)
{
    if (!overview)
        return 0;
    if (code == notifyPointer) {
        SetPointerPos(overview->GetPointerPos(), true);
        Notify(notifyPointer);
    } else if (code == notifyDensity) {
        i64 first = 0, last = 0;
        overview->GetFrame(first, last);
        const i64 newDensity = std::clamp<i64>((last - first) / std::max(samplesRect.Height(), 1), 1, largestDensity);
        if (newDensity != density) {
            density = newDensity;
            rows->Forget();
            // Kept as is: told before the start follows. Sinks look at the density here, not at the start.
            Notify(notifyDensity);
        }
        startPos = ValidatePosition(first) / density * density;
        InvalidateView();
        UpdateOverview();
    }
    return 0;
}
