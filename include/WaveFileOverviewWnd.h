// A strip that shows a whole sound file, time from top to bottom, with a frame around the part that a chart shows.
//
// Units: positions are sample frames, 64-bit; pixels are in the client area. Windows belong to one thread, which makes
// all calls.
//
//   WaveFileOverviewWnd.cpp       the window, geometry, mouse
//   WaveFileOverviewPainting.cpp  the picture
#pragma once

#include "Dib.h"
#include "NVExport.h"
#include "NVTypes.h"

#include <afxwin.h>
#include <memory>

class CSoundFile;
class CWaveFileChartWnd;
namespace NV {
class WaveRows;
}

/// A row stands for the smallest whole number of frames with which the file fits the height, so a short file may leave
/// room at the bottom. All channels together make one band; a coarse time axis is at its left. What lies outside of
/// the frame is dimmed; arrows mark the frame's two ends.
///
/// Mouse: an end of the frame is dragged to resize it, its middle to move it. A click, inside or outside of the frame,
/// sets the pointer; outside, it follows the mouse while the button is down. The wheel moves the frame by an eighth of
/// its length. Keys go to the chart.
///
/// Changes by the person are told with the chart's message and codes: the sink, which is the chart once the two are
/// tied together, otherwise the parent, gets code 0 for the pointer and 1 for the frame.
class NVLIB_API CWaveFileOverviewWnd : public CWnd {
    DECLARE_DYNCREATE(CWaveFileOverviewWnd)
public:
    /// What is at a pixel.
    enum HitCode { hitNothing, hitOutside, hitFrame, hitFrameStart, hitFrameEnd };

    // Colours of all overviews, set before use.
    static COLORREF c_clrBackground; ///< Around the band.
    static COLORREF c_clrBand;       ///< Behind the samples.
    static COLORREF c_clrOutside;    ///< Of the band, behind the end of the file.
    static COLORREF c_clrPending;    ///< Hatching of what is still being read.
    static COLORREF c_clrCentre;
    static COLORREF c_clrSamples;
    static COLORREF c_clrAxis;
    static COLORREF c_clrText;
    static COLORREF c_clrFrame;
    static COLORREF c_clrPointer;
    /// How far what lies outside of the frame goes towards the background, 0 to 255.
    static int c_nDimming;

    CWaveFileOverviewWnd();
    ~CWaveFileOverviewWnd() override;

    /// As those of CWaveFileChartWnd.
    static BOOL RegisterClass();
    static void UnregisterClass();
    static int c_nRefCount;
    static LPCTSTR GetClassName() { return "NVWaveFileOverview"; }
    BOOL Create(const RECT& rect, CWnd* parent, UINT id, DWORD style = WS_CHILD | WS_VISIBLE);
    using CWnd::Create;
    /// Who gets the notifications; null: the chart that this is tied to, or else the parent.
    void SetMessageSink(CWnd* sink) { messageSink = sink; }

    /// Width in pixels with room for the axis and a band that shows shapes.
    static int GetOptimumWidth();

    /// Shows a file, or none for null; as CWaveFileChartWnd::SetSoundFile. The frame is then all of it, and the pointer
    /// at 0, unless `sameAudio`.
    void SetSoundFile(CSoundFile* file, bool sameAudio = false);
    CSoundFile* GetSoundFile() const { return soundFile; }

    /// First frame inside and first one behind, `first` ≤ `last`, neither negative; otherwise they are exchanged or
    /// become 0. No notification.
    void SetFrame(i64 first, i64 last);
    void GetFrame(i64& first, i64& last) const;
    /// Clamped to the file. No notification.
    void SetPointerPos(i64 frame);
    i64 GetPointerPos() const { return pointerPos; }

    // Geometry

    /// The band that shows the samples.
    CRect GetBandRect() const;
    /// First frame of a row of the client area, which may be outside of the band; not clamped to the file.
    i64 PixelToPos(int y) const;
    /// The row that shows a frame.
    int PosToPixel(i64 frame) const;
    HitCode HitTest(CPoint point) const;

protected:
    virtual void Paint(CDC& dc, const CRect& dirty);

    void OnDestroy();
    void OnPaint();
    BOOL OnEraseBkgnd(CDC* dc);
    void OnSize(UINT type, int width, int height);
    void OnLButtonDown(UINT flags, CPoint point);
    void OnLButtonUp(UINT flags, CPoint point);
    void OnMouseMove(UINT flags, CPoint point);
    void OnCaptureChanged(CWnd* next);
    BOOL OnMouseWheel(UINT flags, short delta, CPoint screenPoint);
    BOOL OnSetCursor(CWnd* window, UINT hitTest, UINT message);
    void OnKeyDown(UINT key, UINT repeats, UINT flags);
    void OnTimer(UINT_PTR id);
    DECLARE_MESSAGE_MAP()

private:
    friend CWaveFileChartWnd;
    struct FrameRows {
        int top, bottom; // rows of its first and its last line
    };
    FrameRows GetFrameRows() const;
    i64 GetFileLength() const;
    i64 GetRowFrames() const;
    bool ValidateStrip();
    void PaintStrip();
    void PaintAxis();
    void PaintFrame();
    void InvalidateStrip();
    void Notify(int code);
    void DragTo(int y);
    void MoveFrame(i64 first);
    void SetPointerAt(int y);

    CSoundFile* soundFile = nullptr;
    CWnd* messageSink = nullptr;
    CWaveFileChartWnd* chart = nullptr;
    i64 pointerPos = 0;
    i64 frameFirst = 0, frameLast = 0;

    std::unique_ptr<NV::WaveRows> rows;
    CDib strip, shown; // without frame and pointer, and with them
    bool stripValid = false, registered = false;
    int wheelRest = 0;

    // While a button is down.
    HitCode drag = hitNothing;
    bool moved = false;
    int dragFrom = 0;
    i64 dragFirst = 0, dragLast = 0;
};
