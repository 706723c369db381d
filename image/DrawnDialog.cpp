// See DrawnDialog.h.
#include "DrawnDialog.h"

#include "DibDrawing.h"
#include "SmallText.h"

namespace NV {
namespace {

constexpr const char* className = "NVLibDialog";
constexpr int buttonHeight = 34, buttonWidth = 120, buttonGap = 12;
constexpr COLORREF button = RGB(228, 231, 236);

} // namespace

BEGIN_MESSAGE_MAP(CDrawnDialog, CWnd)
ON_WM_PAINT()
ON_WM_ERASEBKGND()
ON_WM_KEYDOWN()
ON_WM_LBUTTONDOWN()
ON_WM_LBUTTONDBLCLK()
ON_WM_MOUSEWHEEL()
ON_WM_CLOSE()
END_MESSAGE_MAP()

// ---- The window ----------------------------------------------------------------------------------------------------

bool CDrawnDialog::CreateOver(CWnd* parent)
{
    WNDCLASS windowClass{};
    windowClass.style = CS_DBLCLKS;
    windowClass.lpfnWndProc = ::DefWindowProc;
    windowClass.hInstance = AfxGetInstanceHandle();
    windowClass.lpszClassName = className;
    if (!AfxRegisterClass(&windowClass))
        return false;
    constexpr DWORD style = WS_POPUP | WS_CAPTION | WS_SYSMENU | WS_VISIBLE;
    CPoint at(100, 100);
    if (parent) {
        CRect over;
        parent->GetWindowRect(over);
        at = CPoint(over.left + (over.Width() - size.cx) / 2, over.top + (over.Height() - size.cy) / 3);
    }
    CRect outer(at, size); // the client area grows to that of the whole window
    const CRect client = outer;
    if (!CreateEx(0, className, title, style, outer, parent, 0))
        return false;
    CalcWindowRect(outer);
    outer.OffsetRect(client.left - outer.left, client.top - outer.top);
    MoveWindow(outer);
    return true;
}

int CDrawnDialog::DoModal(CWnd* parent)
{
    if (!m_hWnd && !CreateOver(parent))
        return IDCANCEL;
    const bool held = parent && !parent->EnableWindow(FALSE);
    SetFocus();
    while (m_hWnd && result == 0)
        if (!AfxPumpMessage()) {
            AfxPostQuitMessage(0); // for whoever runs the program's own loop
            break;
        }
    if (held)
        parent->EnableWindow(TRUE);
    DestroyWindow();
    if (held)
        parent->SetFocus();
    return result == IDOK ? IDOK : IDCANCEL;
}

void CDrawnDialog::OnClose()
{
    End(IDCANCEL);
}

// ---- Keys and pointer ----------------------------------------------------------------------------------------------

void CDrawnDialog::OnKeyDown(UINT key, UINT, UINT)
{
    if (key == VK_RETURN)
        End(IDOK);
    else if (key == VK_ESCAPE)
        End(IDCANCEL);
    else
        Key(key);
}

bool CDrawnDialog::PressButton(CPoint point)
{
    if (OkRect().PtInRect(point))
        End(IDOK);
    else if (CancelRect().PtInRect(point))
        End(IDCANCEL);
    else
        return false;
    return true;
}

void CDrawnDialog::OnLButtonDown(UINT, CPoint point)
{
    if (!PressButton(point))
        Click(point);
}

void CDrawnDialog::OnLButtonDblClk(UINT, CPoint point)
{
    if (!PressButton(point))
        DoubleClick(point);
}

BOOL CDrawnDialog::OnMouseWheel(UINT, short delta, CPoint)
{
    Wheel(delta / WHEEL_DELTA);
    return TRUE;
}

// ---- Painting ------------------------------------------------------------------------------------------------------

CRect CDrawnDialog::OkRect() const
{
    return CRect(CPoint(size.cx - margin - 2 * buttonWidth - buttonGap, size.cy - margin - buttonHeight),
                 CSize(buttonWidth, buttonHeight));
}

CRect CDrawnDialog::CancelRect() const
{
    return CRect(CPoint(size.cx - margin - buttonWidth, size.cy - margin - buttonHeight),
                 CSize(buttonWidth, buttonHeight));
}

BOOL CDrawnDialog::OnEraseBkgnd(CDC*)
{
    return TRUE; // painting covers everything
}

void CDrawnDialog::DrawRowText(CDibDrawing& drawing, int left, const CRect& rowRect, std::string_view text, u32 colour)
{
    DrawSmallText(drawing, CPoint(left, rowRect.top + (rowRect.Height() - 2 * smallTextHeight) / 2), text, colour);
}

void CDrawnDialog::OnPaint()
{
    const CPaintDC context(this);
    CRect client;
    GetClientRect(client);
    CDib picture;
    if (!picture.Create(client.Width(), client.Height(), 32))
        return;
    CDibDrawing drawing(picture);
    drawing.Fill(drawing.GetClip(), paper);
    PaintRows(drawing);
    const auto drawButton = [&](const CRect& rect, std::string_view text) {
        drawing.Fill(rect, button);
        drawing.Frame(rect, line);
        DrawRowText(drawing, rect.left + (rect.Width() - SmallTextWidth(text)) / 2, rect, text, ink);
    };
    drawButton(OkRect(), "OK");
    drawButton(CancelRect(), "Cancel");
    picture.Show(context, client, CPoint(0, 0));
}

} // namespace NV
