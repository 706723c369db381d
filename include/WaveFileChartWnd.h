// The detailed waveform of a sound file, time from top to bottom, with a pointer that a person moves about in it.
//
// Units: positions are sample frames, 64-bit; a density is frames a pixel row; y counts pixel rows from the top of the
// samples rectangle. Windows belong to one thread, which makes all calls.
//
//   WaveFileChartWnd.cpp       the window, mapping, positions, what it shares with the overview
//   WaveFileChartInput.cpp     mouse, wheel and keys
//   WaveFileChartPainting.cpp  the picture
#pragma once

#include "Dib.h"
#include "NVExport.h"
#include "NVTypes.h"

#include <afxwin.h>
#include <memory>

class CDibDrawing;
class CSoundFile;
class CWaveFileOverviewWnd;
namespace NV {
class WaveRows;
}

/// Each channel has a column band of its own, side by side, loud samples far from the band's centre line. To the left
/// of them is a time axis (minutes:seconds) with lines across the bands. What lies behind the end of the file is
/// darker; what is still being read is hatched and filled in a few milliseconds at a time.
///
/// Mouse: the left button sets the pointer, and drags it; held above or below the bands it scrolls. The wheel
/// scrolls by an eighth of what is shown, with Control it zooms around the row under it. Keys: up and down move the
/// pointer by a row (with Control ten), left and right by 10 ms, page up and down by what is shown, Home and End to the
/// ends; + and - zoom around the pointer.
///
/// 16-bit audio of any channel count up to 64 is shown, PCM of 8, 24 and 32 bits and 32-bit floating-point audio as
/// well (from the frames; 8 bits also from the peak file). Of other formats only the axis and the centre lines are
/// shown.
class NVLIB_API CWaveFileChartWnd : public CWnd {
    DECLARE_DYNCREATE(CWaveFileChartWnd)
public:
    /// What the sink is sent, with a code of these in wParam and 0 in lParam.
    static constexpr UINT notifyMessage = WM_USER + 401;
    enum Notification : int {
        notifyPointer = 0, ///< The person moved the pointer.
        notifyDensity = 1  ///< The density changed, by the person's doing.
    };

    // ---- Settings of all charts, set before use; windows that stand show them with `SetDensity(GetDensity(), true)`

    /// Draws bars as plain lines of one colour at every density.
    static bool c_bUseSimplePaintMode;
    /// Longest time in milliseconds that one painting spends on reading; the rest follows at short intervals. 0: no
    /// limit, every painting is whole.
    static int c_nFillMilliseconds;
    static COLORREF c_clrBackground; ///< Around the bands.
    static COLORREF c_clrBand;       ///< Behind the samples.
    static COLORREF c_clrOutside;    ///< Of a band, behind the end of the file.
    static COLORREF c_clrPending;    ///< Hatching of what is still being read.
    static COLORREF c_clrGrid;       ///< Lines of the axis across the bands.
    static COLORREF c_clrCentre;     ///< Centre lines, in front of the samples.
    static COLORREF c_clrSamples;    ///< Lines, and bars near the centre.
    static COLORREF c_clrLoud;       ///< Bars near the edge of the band.
    static COLORREF c_clrAxis;       ///< Ticks.
    static COLORREF c_clrText;       ///< Times.
    static COLORREF c_clrPointer;
    static COLORREF c_clrPointerText; ///< The time in the pointer's flag.

    // ---- The window

    CWaveFileChartWnd();
    ~CWaveFileChartWnd() override;

    /// Makes the window class known, and forgets it with the last of as many calls of UnregisterClass. Windows that are
    /// made with the Create below count themselves. FALSE when the system refuses.
    static BOOL RegisterClass();
    static void UnregisterClass();
    static int c_nRefCount;
    static LPCTSTR GetClassName() { return "NVWaveFileChart"; }

    /// Makes a child window. FALSE when there is no parent or one stands already.
    BOOL Create(const RECT& rect, CWnd* parent, UINT id, DWORD style = WS_CHILD | WS_VISIBLE);
    using CWnd::Create;

    /// Who gets the notifications; null: the parent. Not owned, outlives this window or is taken back.
    void SetMessageSink(CWnd* sink) { messageSink = sink; }
    CWnd* GetMessageSink() const { return messageSink; }
    /// Ties this window and an overview of the same file together; null unties. Neither owns the other; whichever ends
    /// first unties itself.
    void SetOverview(CWaveFileOverviewWnd* newOverview);
    CWaveFileOverviewWnd* GetOverview() const { return overview; }

    // ---- What is shown

    /// Shows a file, or none for null; not owned, and to be taken back before it closes. Start and pointer go to frame
    /// 0, the density stays. With `sameAudio` the file is what was shown before, grown or shrunk and perhaps opened
    /// anew: start and pointer stay where they are in it, and only what may have changed is read again.
    void SetSoundFile(CSoundFile* file, bool sameAudio = false);
    CSoundFile* GetSoundFile() const { return soundFile; }
    /// Whether the file's samples are of a kind whose waveform can be drawn: PCM of 8, 16, 24 or 32 bits, or
    /// floating-point of 32. Of other files nothing is shown.
    static bool CanShow(const CSoundFile& file);

    /// `newDensity` below 1 becomes 1 (and above 2^40 that). Nothing happens when it is what it was, unless `force`,
    /// which reads everything again.
    void SetDensity(i64 newDensity, bool force = false);
    i64 GetDensity() const { return density; }
    /// Frame in the first row; clamped to the file.
    void SetStartPos(i64 frame);
    i64 GetStartPos() const { return startPos; }
    /// Clamped to the file. With `scrollIntoView`, when it is out of sight, the view goes to where the pointer is half
    /// a screen from the top, the end of the file at the lowest.
    void SetPointerPos(i64 frame, bool scrollIntoView);
    i64 GetPointerPos() const { return pointerPos; }
    /// The nearest frame that the file has; 0 without a file or with an empty one.
    i64 ValidatePosition(i64 frame) const;

    void ShowSamples(bool show);
    void ShowPointer(bool show);
    /// Distances of the samples rectangle from the sides of the client rectangle. The axis has room at the left for 76
    /// pixels; a margin of 0 there leaves it out.
    void SetMargins(int left, int top, int right, int bottom);
    /// Takes the place of the bars' brush: 32 bits, laid side by side from each band's top-left corner. A picture
    /// without pixels brings the built-in one back.
    void SetBrush(const CDib& newBrush);

    // ---- Mapping

    i64 FileToScreen(i64 frame) const { return (frame - startPos) / density; } ///< Truncated towards zero.
    i64 ScreenToFile(int y) const { return density * y + startPos; }
    i64 GetSamplesOnScreen() const { return samplesRect.Height() * density; }
    bool IsSampleVisible(i64 frame) const { return frame >= startPos && frame < startPos + GetSamplesOnScreen(); }
    /// The part of a client rectangle that samples are shown in; may be empty.
    virtual CRect GetSamplesRect(CRect client) const;

    /// Zooms in (`steps` > 0) or out by a factor of about √2 a step, at most until all of the file is shown; the frame
    /// in row `y` stays there where that is possible. Sends no notification.
    void Zoom(int steps, int y);

protected:
    // ---- Painting, in this order. `image` is the client area without the pointer.

    /// Shows `dirty`, having brought the image up to date.
    virtual void Paint(CDC& dc, const CRect& dirty);
    virtual void PaintAxis(CDib& image);
    virtual void PaintSamples(CDib& image);
    /// One channel in its band.
    virtual void PaintChannel(CDib& image, const CRect& band, int channel);
    /// One row of a bar, a rectangle one row high.
    virtual void PaintSamplesBar(CDibDrawing& drawing, const CRect& bar, const CRect& band);
    /// The pointer, inside of GetPointerRect.
    virtual void PaintPointer(CDib& image);
    /// What the pointer covers; empty while it is out of sight.
    virtual CRect GetPointerRect() const;

    /// Brings the row buffers in line with the view, as far as the time allows. False when rows are still missing.
    bool UpdateBuffer();
    /// Has everything painted anew.
    void InvalidateView();
    void UpdateOverview();
    void Notify(Notification code);

    int OnCreate(LPCREATESTRUCT how);
    void OnDestroy();
    void OnPaint();
    BOOL OnEraseBkgnd(CDC* dc);
    void OnSize(UINT type, int width, int height);
    void OnLButtonDown(UINT flags, CPoint point);
    void OnLButtonUp(UINT flags, CPoint point);
    void OnMouseMove(UINT flags, CPoint point);
    void OnCaptureChanged(CWnd* next);
    BOOL OnMouseWheel(UINT flags, short delta, CPoint screenPoint);
    void OnKeyDown(UINT key, UINT repeats, UINT flags);
    void OnTimer(UINT_PTR id);
    /// What the overview sends: a code as above, its pointer being set or its frame changed.
    LRESULT OnOverviewMessage(WPARAM code, LPARAM unused);
    DECLARE_MESSAGE_MAP()

private:
    friend CWaveFileOverviewWnd;
    void Layout();
    bool ValidateBackground();
    void MakeBrush(const CRect& band);
    void PaintBands(CDib& image);
    void PaintPoints(CDib& image, const CRect& band, int channel);
    void PaintBars(CDib& image, const CRect& band, int channel);
    int ColumnOf(const CRect& band, int value) const;
    i64 GetFileLength() const;
    void MoveView(i64 newStart);
    void ScrollRows(i64 byRows);
    void DragTo(int y);
    void MovePointer(i64 to);
    bool ZoomKey(UINT key);

    CSoundFile* soundFile = nullptr;
    CWnd* messageSink = nullptr;
    CRect margins{76, 4, 6, 4}; // distances, not a place
    i64 pointerPos = 0;
    i64 startPos = 0;
    i64 density = 1;
    CRect samplesRect;                  // of the last layout
    std::unique_ptr<NV::WaveRows> rows; // both row buffers and what they hold
    int fullScale = 34'500;             // a little above the loudest sample: channels at full volume do not touch
    bool showSamples = true, showPointer = true;
    CDib brush; // of the application, or none

    CWaveFileOverviewWnd* overview = nullptr;
    CDib background, underPointer, builtInBrush;
    bool backgroundValid = false, registered = false;
    bool dragging = false;
    int dragY = 0;
    int wheelRest = 0;
};
