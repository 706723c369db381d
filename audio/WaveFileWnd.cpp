// CWaveFileWnd: see WaveFileWnd.h.
#include "WaveFileWnd.h"

#include "DibDrawing.h"
#include "WaveWindow.h"

#include <algorithm>

using namespace NV;

IMPLEMENT_DYNCREATE(CWaveFileWnd, CWnd)

BEGIN_MESSAGE_MAP(CWaveFileWnd, CWnd)
ON_WM_CREATE()
ON_WM_SIZE()
ON_WM_SETFOCUS()
ON_WM_PAINT()
ON_WM_ERASEBKGND()
ON_MESSAGE(CWaveFileChartWnd::notifyMessage, &CWaveFileWnd::OnChartMessage)
END_MESSAGE_MAP()

int CWaveFileWnd::c_nRefCount = 0;

namespace {

constexpr UINT chartId = 1, overviewId = 2;

} // namespace

CWaveFileWnd::CWaveFileWnd() = default;

CWaveFileWnd::~CWaveFileWnd()
{
    DestroyWindow();
    if (registered)
        UnregisterClass();
}

BOOL CWaveFileWnd::RegisterClass()
{
    return RegisterCounted(GetClassName(), IDC_ARROW, c_nRefCount);
}

void CWaveFileWnd::UnregisterClass()
{
    UnregisterCounted(GetClassName(), c_nRefCount);
}

BOOL CWaveFileWnd::Create(const RECT& rect, CWnd* parent, UINT id, DWORD style)
{
    registered = registered || RegisterClass();
    return registered && CreateEx(0, GetClassName(), "", style, rect, parent, id);
}

BOOL CWaveFileWnd::PreCreateWindow(CREATESTRUCT& how)
{
    how.style |= static_cast<LONG>(WS_CLIPCHILDREN);
    return CWnd::PreCreateWindow(how);
}

int CWaveFileWnd::OnCreate(LPCREATESTRUCT how)
{
    if (CWnd::OnCreate(how) == -1)
        return -1;
    overview = CreateOverview();
    chart = CreateChart();
    CRect client;
    GetClientRect(client);
    if (!overview->Create(GetOverviewRect(client), this, overviewId) ||
        !chart->Create(GetChartRect(client), this, chartId))
        return -1;
    chart->SetOverview(overview.get());
    return 0;
}

std::unique_ptr<CWaveFileChartWnd> CWaveFileWnd::CreateChart()
{
    return std::make_unique<CWaveFileChartWnd>();
}

std::unique_ptr<CWaveFileOverviewWnd> CWaveFileWnd::CreateOverview()
{
    return std::make_unique<CWaveFileOverviewWnd>();
}

CRect CWaveFileWnd::GetOverviewRect(CRect client) const
{
    client.right = std::min<int>(client.right,
                                 client.left + std::min(CWaveFileOverviewWnd::GetOptimumWidth(), client.Width() / 3));
    return client;
}

CRect CWaveFileWnd::GetChartRect(CRect client) const
{
    client.left = GetOverviewRect(client).right;
    return client;
}

void CWaveFileWnd::OnSize(UINT type, int width, int height)
{
    CWnd::OnSize(type, width, height);
    const CRect client(0, 0, width, height);
    if (overview && overview->GetSafeHwnd())
        overview->MoveWindow(GetOverviewRect(client));
    if (chart && chart->GetSafeHwnd())
        chart->MoveWindow(GetChartRect(client));
}

void CWaveFileWnd::OnSetFocus(CWnd*)
{
    if (chart && chart->GetSafeHwnd())
        chart->SetFocus();
}

BOOL CWaveFileWnd::OnEraseBkgnd(CDC*)
{
    return TRUE;
}

/// Where a derived class leaves something free between the two.
void CWaveFileWnd::OnPaint()
{
    CPaintDC dc(this);
    const CRect dirty = dc.m_ps.rcPaint;
    CDib plain;
    if (!plain.Create(dirty.Width(), dirty.Height(), 32))
        return;
    CDibDrawing(plain).Fill(plain.GetRect(), CWaveFileChartWnd::c_clrBackground);
    plain.Show(dc, plain.GetRect(), dirty.TopLeft());
}

void CWaveFileWnd::SetSoundFile(CSoundFile* file, bool sameAudio)
{
    if (!overview || !chart)
        return;
    overview->SetSoundFile(file, sameAudio);
    chart->SetSoundFile(file, sameAudio);
}

CSoundFile* CWaveFileWnd::GetSoundFile() const
{
    return chart ? chart->GetSoundFile() : nullptr;
}

LRESULT CWaveFileWnd::OnChartMessage(WPARAM code, LPARAM)
{
    Notify(static_cast<int>(code));
    return 0;
}

void CWaveFileWnd::Notify(int code)
{
    CWnd* const sink = messageSink ? messageSink : GetParent();
    if (sink)
        sink->SendMessage(CWaveFileChartWnd::notifyMessage, static_cast<WPARAM>(code), 0);
}
