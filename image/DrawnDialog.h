// What the library's dialogs have in common: a window of fixed size that draws itself, with OK and Cancel at its lower
// right, shown until the user is done. Coordinates are pixels of the client area. The thread of the windows makes all
// calls.
#pragma once

#include "NVTypes.h"

#include <afxwin.h>
#include <string_view>

class CDibDrawing;

namespace NV {

/// Return and OK confirm; Escape, Cancel and closing cancel. The rest is up to the derived class.
class CDrawnDialog : public CWnd {
public:
    /// Makes the window, over `parent` when there is one. False when that fails.
    bool CreateOver(CWnd* parent);
    /// Makes the window unless it is there, and returns when the user is done: IDOK or IDCANCEL. `parent` takes no
    /// input meanwhile.
    int DoModal(CWnd* parent);

    CRect OkRect() const;
    CRect CancelRect() const;

    static constexpr int margin = 16, rowHeight = 30;

protected:
    static constexpr COLORREF paper = RGB(245, 246, 248), ink = RGB(30, 34, 42), dim = RGB(168, 172, 180);
    static constexpr COLORREF chosen = RGB(213, 227, 247), line = RGB(120, 128, 142);

    /// `title` outlives the dialog. Of the height, the lowest `footHeight` rows are the buttons'.
    CDrawnDialog(const char* windowTitle, CSize client) : title(windowTitle), size(client) {}
    static constexpr int footHeight = 34 + 2 * margin;

    /// Has DoModal return IDOK or IDCANCEL.
    void End(int with) { result = with; }
    /// Text in the middle of a row's height.
    static void DrawRowText(CDibDrawing& drawing, int left, const CRect& rowRect, std::string_view text, u32 colour);

    /// All but the buttons; the ground is painted.
    virtual void PaintRows(CDibDrawing& drawing) const = 0;
    /// A key other than those above.
    virtual void Key(UINT key) = 0;
    /// A press that is not on a button.
    virtual void Click(CPoint point) = 0;
    /// The second of two presses in short time; the first has been a Click.
    virtual void DoubleClick(CPoint point) { Click(point); }
    /// A notch away from the user is positive.
    virtual void Wheel(int) {}

    void OnPaint();
    BOOL OnEraseBkgnd(CDC* dc);
    void OnKeyDown(UINT key, UINT repeats, UINT flags);
    void OnLButtonDown(UINT flags, CPoint point);
    void OnLButtonDblClk(UINT flags, CPoint point);
    BOOL OnMouseWheel(UINT flags, short delta, CPoint screenPoint);
    void OnClose();
    DECLARE_MESSAGE_MAP()

private:
    bool PressButton(CPoint point);

    const char* title;
    CSize size;
    int result = 0; // 0: still open
};

} // namespace NV
