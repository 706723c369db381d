// CWnd: objects and their windows. What windows are made of is behind WindowSystem.h.
#include "RecursiveLock.h"
#include "ScopedLock.h"
#include "WindowSystem.h"

#include <afxwin.h>
#include <algorithm>
#include <map>
#include <thread>
#include <utility>
#include <vector>

using NV::WindowSystem;

IMPLEMENT_DYNCREATE(CWnd, CObject)

namespace {

struct TopWindow {
    std::thread::id thread;
    CWnd* object;
};

/// Which object a window belongs to, and the windows that belong to no other, oldest first. Locked, since PostMessage
/// may be called while another thread makes a window.
struct Attached {
    NV::RecursiveLock lock;
    std::map<HWND, CWnd*> objects NV_GUARDED_BY(lock);
    std::vector<TopWindow> tops NV_GUARDED_BY(lock);
};

Attached& AttachedWindows()
{
    static Attached attached;
    return attached;
}

/// Whose window is being made: its first message tells the handle.
CWnd*& Making()
{
    static thread_local CWnd* making = nullptr;
    return making;
}

} // namespace

CWnd::~CWnd()
{
    if (!m_hWnd)
        return;
    const HWND window = Detach(); // what a derived class does with messages is gone already
    WindowSystem().Destroy(window);
}

CWnd* CWnd::FromHandlePermanent(HWND window)
{
    Attached& attached = AttachedWindows();
    const NV::ScopedLock held(attached.lock);
    const auto found = attached.objects.find(window);
    return found == attached.objects.end() ? nullptr : found->second;
}

BOOL CWnd::Attach(HWND window)
{
    if (!window || m_hWnd)
        return FALSE;
    Attached& attached = AttachedWindows();
    const NV::ScopedLock held(attached.lock);
    if (!attached.objects.emplace(window, this).second)
        return FALSE;
    m_hWnd = window;
    return TRUE;
}

HWND CWnd::Detach()
{
    Attached& attached = AttachedWindows();
    const NV::ScopedLock held(attached.lock);
    attached.objects.erase(m_hWnd);
    std::erase_if(attached.tops, [this](const TopWindow& top) { return top.object == this; });
    return std::exchange(m_hWnd, nullptr);
}

/// Where the messages of every window come in, whatever it is made of.
LRESULT CALLBACK AfxWndProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    CWnd* object = CWnd::FromHandlePermanent(window);
    if (!object && Making()) {
        object = std::exchange(Making(), nullptr);
        object->Attach(window);
    }
    if (object)
        return object->Receive(message, wParam, lParam);
    return WindowSystem().Default(window, message, wParam, lParam); // its object is gone
}

// ---- Making and destroying ------------------------------------------------------------------------------------------

BOOL CWnd::Create(LPCTSTR className, LPCTSTR windowName, DWORD style, const RECT& rect, CWnd* parent, UINT id,
                  void* context)
{
    return parent && CreateEx(0, className, windowName, style | WS_CHILD, rect, parent, id, context);
}

BOOL CWnd::CreateEx(DWORD exStyle, LPCTSTR className, LPCTSTR windowName, DWORD style, const RECT& rect, CWnd* parent,
                    UINT id, LPVOID parameter)
{
    const CRect place(rect);
    return CreateEx(exStyle, className, windowName, style, place.left, place.top, place.Width(), place.Height(),
                    parent ? parent->GetSafeHwnd() : nullptr, reinterpret_cast<HMENU>(static_cast<UINT_PTR>(id)),
                    parameter);
}

BOOL CWnd::CreateEx(DWORD exStyle, LPCTSTR className, LPCTSTR windowName, DWORD style, int x, int y, int width,
                    int height, HWND parent, HMENU idOrMenu, LPVOID parameter)
{
    if (m_hWnd)
        return FALSE;
    CREATESTRUCT how{};
    how.lpCreateParams = parameter;
    how.hInstance = AfxGetInstanceHandle();
    how.hMenu = idOrMenu;
    how.hwndParent = parent;
    how.x = x;
    how.y = y;
    how.cx = width;
    how.cy = height;
    how.style = static_cast<LONG>(style);
    how.lpszName = windowName;
    how.lpszClass = className;
    how.dwExStyle = exStyle;
    if (!PreCreateWindow(how)) {
        PostNcDestroy();
        return FALSE;
    }
    Making() = this;
    const HWND made = WindowSystem().Create(how, AfxWndProc);
    if (std::exchange(Making(), nullptr)) // nothing came so far that a message was sent; else WM_NCDESTROY has come too
        PostNcDestroy();
    if (made && !how.hwndParent && FromHandlePermanent(made) == this) { // it may be gone, and the object with it
        Attached& attached = AttachedWindows();
        const NV::ScopedLock held(attached.lock);
        attached.tops.push_back({std::this_thread::get_id(), this});
    }
    return made != nullptr;
}

BOOL CWnd::PreCreateWindow(CREATESTRUCT&)
{
    return TRUE;
}

void CWnd::PostNcDestroy() {}

BOOL CWnd::DestroyWindow()
{
    return m_hWnd && WindowSystem().Destroy(m_hWnd);
}

// ---- Place and looks ------------------------------------------------------------------------------------------------

void CWnd::GetClientRect(LPRECT rect) const
{
    *rect = WindowSystem().ClientRect(m_hWnd);
}

void CWnd::GetWindowRect(LPRECT rect) const
{
    *rect = WindowSystem().WindowRect(m_hWnd);
}

void CWnd::ClientToScreen(LPPOINT point) const
{
    const POINT origin = WindowSystem().ClientOrigin(m_hWnd);
    point->x += origin.x;
    point->y += origin.y;
}

void CWnd::ScreenToClient(LPPOINT point) const
{
    const POINT origin = WindowSystem().ClientOrigin(m_hWnd);
    point->x -= origin.x;
    point->y -= origin.y;
}

void CWnd::CalcWindowRect(LPRECT clientRect, UINT)
{
    *clientRect = WindowSystem().FrameAround(*clientRect, GetStyle(), 0);
}

void CWnd::MoveWindow(int x, int y, int width, int height, BOOL repaint)
{
    WindowSystem().Move(m_hWnd, CRect(CPoint(x, y), CSize(width, height)), repaint != FALSE);
}

void CWnd::MoveWindow(LPCRECT rect, BOOL repaint)
{
    WindowSystem().Move(m_hWnd, *rect, repaint != FALSE);
}

BOOL CWnd::ShowWindow(int show)
{
    const bool before = (GetStyle() & WS_VISIBLE) != 0;
    WindowSystem().Show(m_hWnd, show);
    return before;
}

BOOL CWnd::IsWindowVisible() const
{
    return WindowSystem().IsVisible(m_hWnd);
}

BOOL CWnd::EnableWindow(BOOL enable)
{
    return WindowSystem().Enable(m_hWnd, enable != FALSE);
}

BOOL CWnd::IsWindowEnabled() const
{
    return WindowSystem().IsEnabled(m_hWnd);
}

void CWnd::SetWindowText(LPCTSTR text)
{
    WindowSystem().SetTitle(m_hWnd, text);
}

DWORD CWnd::GetStyle() const
{
    return WindowSystem().Style(m_hWnd);
}

int CWnd::GetDlgCtrlID() const
{
    return WindowSystem().Id(m_hWnd);
}

CWnd* CWnd::GetParent() const
{
    return FromHandlePermanent(WindowSystem().Parent(m_hWnd));
}

void CWnd::Invalidate(BOOL erase)
{
    WindowSystem().Invalidate(m_hWnd, nullptr, erase != FALSE);
}

void CWnd::InvalidateRect(LPCRECT rect, BOOL erase)
{
    WindowSystem().Invalidate(m_hWnd, rect, erase != FALSE);
}

void CWnd::UpdateWindow()
{
    WindowSystem().Update(m_hWnd);
}

// ---- Pointer, keys and timers ---------------------------------------------------------------------------------------

CWnd* CWnd::SetCapture()
{
    return FromHandlePermanent(WindowSystem().SetCapture(m_hWnd));
}

BOOL CWnd::ReleaseCapture()
{
    WindowSystem().SetCapture(nullptr);
    return TRUE;
}

CWnd* CWnd::GetCapture()
{
    return FromHandlePermanent(WindowSystem().GetCapture());
}

CWnd* CWnd::SetFocus()
{
    return FromHandlePermanent(WindowSystem().SetFocus(m_hWnd));
}

CWnd* CWnd::GetFocus()
{
    return FromHandlePermanent(WindowSystem().GetFocus());
}

short CWnd::GetKeyState(int virtualKey)
{
    return WindowSystem().KeyState(virtualKey);
}

HCURSOR CWnd::SetCursor(HCURSOR cursor)
{
    return WindowSystem().SetCursor(cursor);
}

UINT_PTR CWnd::SetTimer(UINT_PTR id, UINT milliseconds, void*)
{
    return WindowSystem().SetTimer(m_hWnd, id, milliseconds) ? id : 0;
}

BOOL CWnd::KillTimer(UINT_PTR id)
{
    return WindowSystem().KillTimer(m_hWnd, id);
}

// ---- Window classes and the message loop ---------------------------------------------------------------------------

BOOL AfxRegisterClass(WNDCLASS* windowClass)
{
    WNDCLASS known;
    return GetClassInfo(windowClass->hInstance, windowClass->lpszClassName, &known) || RegisterClass(windowClass) != 0;
}

HINSTANCE AfxGetInstanceHandle()
{
    return NV::ModuleInstance();
}

CWnd* AfxGetMainWnd()
{
    Attached& attached = AttachedWindows();
    const NV::ScopedLock held(attached.lock);
    const auto own = std::ranges::find(attached.tops, std::this_thread::get_id(), &TopWindow::thread);
    return own == attached.tops.end() ? nullptr : own->object;
}

BOOL AfxPumpMessage()
{
    if (CWinThread* const thread = AfxGetThread())
        return thread->PumpMessage();
    MSG message;
    WindowSystem().Next(message, true);
    if (message.message == WM_QUIT)
        return FALSE;
    WindowSystem().Dispatch(message);
    return TRUE;
}

void AfxPostQuitMessage(int exitCode)
{
    WindowSystem().PostQuit(exitCode);
}
