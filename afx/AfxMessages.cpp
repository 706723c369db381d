// The way of a message: from the window's object through its class's message map, or to what the system does with it.
#include "WindowSystem.h"

#include <afxwin.h>

using NV::WindowSystem;

namespace {

struct HandledMessage {
    UINT message = WM_NULL;
    WPARAM wParam = 0;
    LPARAM lParam = 0;
};

/// What is being handled, for Default().
HandledMessage& Handled()
{
    static thread_local HandledMessage now;
    return now;
}

/// Sets it for a scope; messages may be sent while others are handled.
class Handling {
public:
    Handling(UINT message, WPARAM wParam, LPARAM lParam) : before(Handled()) { Handled() = {message, wParam, lParam}; }
    ~Handling() { Handled() = before; }
    Handling(const Handling&) = delete;
    Handling& operator=(const Handling&) = delete;

private:
    HandledMessage before;
};

} // namespace

LRESULT CWnd::SendMessage(UINT message, WPARAM wParam, LPARAM lParam) const
{
    return WindowSystem().Send(m_hWnd, message, wParam, lParam);
}

BOOL CWnd::PostMessage(UINT message, WPARAM wParam, LPARAM lParam) const
{
    return m_hWnd && WindowSystem().Post(m_hWnd, message, wParam, lParam);
}

LRESULT CWnd::Receive(UINT message, WPARAM wParam, LPARAM lParam)
{
    const Handling handling(message, wParam, lParam);
    // NOLINTNEXTLINE(clang-analyzer-deadcode.DeadStores): for what follows a caught exception
    const HWND window = m_hWnd;
    try {
        const LRESULT result = WindowProc(message, wParam, lParam);
        if (message == WM_NCDESTROY)
            Gone();
        return result;
    } catch (CException* e) { // no system's code may be unwound
        e->Delete();
    }
    if (message == WM_NCDESTROY)
        Gone();
    if (message == WM_PAINT)
        WindowSystem().Default(window, message, wParam, lParam); // or it would come again, for ever
    return message == WM_CREATE ? -1 : 0;
}

/// The window is no more.
void CWnd::Gone()
{
    Detach();
    PostNcDestroy(); // may delete this
}

LRESULT CWnd::WindowProc(UINT message, WPARAM wParam, LPARAM lParam)
{
    LRESULT result = 0;
    if (OnWndMsg(message, wParam, lParam, &result))
        return result;
    return DefWindowProc(message, wParam, lParam);
}

BOOL CWnd::OnWndMsg(UINT message, WPARAM wParam, LPARAM lParam, LRESULT* result)
{
    for (const AFX_MSGMAP* map = GetMessageMap(); map; map = map->pfnGetBaseMap ? map->pfnGetBaseMap() : nullptr) {
        for (const AFX_MSGMAP_ENTRY* entry = map->lpEntries; entry->pfnCall; ++entry) {
            if (entry->nMessage == message)
                return entry->pfnCall(this, wParam, lParam, *result);
        }
    }
    return FALSE;
}

LRESULT CWnd::DefWindowProc(UINT message, WPARAM wParam, LPARAM lParam)
{
    return m_hWnd ? WindowSystem().Default(m_hWnd, message, wParam, lParam) : 0;
}

LRESULT CWnd::Default()
{
    const HandledMessage now = Handled();
    return DefWindowProc(now.message, now.wParam, now.lParam);
}

// The root of all message maps handles nothing.
const AFX_MSGMAP* CWnd::GetThisMessageMap()
{
    static const AFX_MSGMAP_ENTRY entries[] = {{WM_NULL, nullptr}};
    static const AFX_MSGMAP map = {nullptr, entries};
    return &map;
}

const AFX_MSGMAP* CWnd::GetMessageMap() const
{
    return GetThisMessageMap();
}

// ---- What handlers do that are not overridden: what the system does -------------------------------------------------

int CWnd::OnCreate(LPCREATESTRUCT)
{
    return static_cast<int>(Default());
}
void CWnd::OnDestroy()
{
    Default();
}
void CWnd::OnNcDestroy()
{
    Default();
}
void CWnd::OnClose()
{
    Default();
}
void CWnd::OnMove(int, int)
{
    Default();
}
void CWnd::OnSize(UINT, int, int)
{
    Default();
}
void CWnd::OnShowWindow(BOOL, UINT)
{
    Default();
}
void CWnd::OnEnable(BOOL)
{
    Default();
}
void CWnd::OnPaint()
{
    Default();
}
BOOL CWnd::OnEraseBkgnd(CDC*)
{
    return static_cast<BOOL>(Default());
}
void CWnd::OnSetFocus(CWnd*)
{
    Default();
}
void CWnd::OnKillFocus(CWnd*)
{
    Default();
}
void CWnd::OnKeyDown(UINT, UINT, UINT)
{
    Default();
}
void CWnd::OnKeyUp(UINT, UINT, UINT)
{
    Default();
}
void CWnd::OnChar(UINT, UINT, UINT)
{
    Default();
}
void CWnd::OnMouseMove(UINT, CPoint)
{
    Default();
}
void CWnd::OnLButtonDown(UINT, CPoint)
{
    Default();
}
void CWnd::OnLButtonUp(UINT, CPoint)
{
    Default();
}
void CWnd::OnLButtonDblClk(UINT, CPoint)
{
    Default();
}
void CWnd::OnRButtonDown(UINT, CPoint)
{
    Default();
}
void CWnd::OnRButtonUp(UINT, CPoint)
{
    Default();
}
void CWnd::OnMButtonDown(UINT, CPoint)
{
    Default();
}
void CWnd::OnMButtonUp(UINT, CPoint)
{
    Default();
}
BOOL CWnd::OnMouseWheel(UINT, short, CPoint)
{
    return FALSE; // the message map then hands it on
}
BOOL CWnd::OnSetCursor(CWnd*, UINT, UINT)
{
    return static_cast<BOOL>(Default());
}
void CWnd::OnCaptureChanged(CWnd*)
{
    Default();
}
void CWnd::OnTimer(UINT_PTR)
{
    Default();
}
