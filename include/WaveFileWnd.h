// A window with an overview and a chart of one sound file, side by side and tied together.
//
// Units: positions are sample frames. Windows belong to one thread, which makes all calls.
#pragma once

#include "WaveFileChartWnd.h"
#include "WaveFileOverviewWnd.h"

#include <memory>

/// The overview is at the left, in its optimum width, the chart takes the rest; in a narrow window the overview has a
/// third. It owns both windows, passes the chart's notifications on as its own, and gives the chart the focus that it
/// gets.
class NVLIB_API CWaveFileWnd : public CWnd {
    DECLARE_DYNCREATE(CWaveFileWnd)
public:
    CWaveFileWnd();
    ~CWaveFileWnd() override;

    /// As those of CWaveFileChartWnd.
    static BOOL RegisterClass();
    static void UnregisterClass();
    static int c_nRefCount;
    static LPCTSTR GetClassName() { return "NVWaveFile"; }

    /// Makes the window and the two in it: a child of `parent` with WS_CHILD, otherwise a window of its own.
    BOOL Create(const RECT& rect, CWnd* parent, UINT id, DWORD style = WS_CHILD | WS_VISIBLE);
    using CWnd::Create;

    /// Who gets the notifications, the chart's message with the chart's codes; null: the parent.
    void SetMessageSink(CWnd* sink) { messageSink = sink; }

    /// For both windows; as CWaveFileChartWnd::SetSoundFile.
    void SetSoundFile(CSoundFile* file, bool sameAudio = false);
    CSoundFile* GetSoundFile() const;
    /// Both stand from the creation of this window to its end.
    CWaveFileChartWnd* GetChart() const { return chart.get(); }
    CWaveFileOverviewWnd* GetOverview() const { return overview.get(); }

protected:
    /// Makes the objects; a derived class may give its own.
    virtual std::unique_ptr<CWaveFileChartWnd> CreateChart();
    virtual std::unique_ptr<CWaveFileOverviewWnd> CreateOverview();
    virtual CRect GetChartRect(CRect client) const;
    virtual CRect GetOverviewRect(CRect client) const;
    /// Sends a code to the sink.
    virtual void Notify(int code);

    /// Keeps the window from painting over the two in it.
    BOOL PreCreateWindow(CREATESTRUCT& how) override;
    LRESULT OnChartMessage(WPARAM code, LPARAM unused);
    int OnCreate(LPCREATESTRUCT how);
    void OnSize(UINT type, int width, int height);
    void OnSetFocus(CWnd* old);
    void OnPaint();
    BOOL OnEraseBkgnd(CDC* dc);
    DECLARE_MESSAGE_MAP()

private:
    std::unique_ptr<CWaveFileChartWnd> chart;
    std::unique_ptr<CWaveFileOverviewWnd> overview;
    CWnd* messageSink = nullptr;
    bool registered = false;
};
