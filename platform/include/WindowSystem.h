// The narrow interface between the framework's windows and what they are made of. Three stand behind it: user32
// (win32/UserWindows.cpp), Xlib (posix/XScreen.cpp) and the off-screen one (OffScreen.cpp); the last two share the tree
// of windows in WindowTree.h. Calls mean what the Win32 function of the same name means, unless they say otherwise.
// Handles that are stale or null are refused, never followed.
//
// One thread owns the windows and makes all calls, but for Post, which any thread may call.
#pragma once

#include "Window.h"

#include <memory>

namespace NV {

class IWindowSystem {
public:
    virtual ~IWindowSystem() = default;

    /// Makes a window of a registered class whose messages go to `procedure`, from WM_CREATE at the latest (with the
    /// handle that this is going to return) to WM_NCDESTROY, which is the last. Null when the class or the parent is
    /// none, or WM_CREATE gave -1.
    virtual HWND Create(const CREATESTRUCTA& how, WNDPROC procedure) = 0;
    virtual bool Destroy(HWND window) = 0;
    virtual bool IsWindow(HWND window) = 0;
    /// True while one stands that Create made.
    virtual bool AnyWindow() = 0;

    virtual LRESULT Send(HWND window, UINT message, WPARAM wParam, LPARAM lParam) = 0;
    virtual bool Post(HWND window, UINT message, WPARAM wParam, LPARAM lParam) = 0;
    /// What a message does when nobody handles it.
    virtual LRESULT Default(HWND window, UINT message, WPARAM wParam, LPARAM lParam) = 0;

    /// Takes the next message out of the queue; without `wait` false when there is none. WM_QUIT is a message, and so
    /// is what was posted to the thread and has no window, which Dispatch drops. A thread of SystemThread waits with
    /// the functions there; to it the result is also false when it has no windows.
    virtual bool Next(MSG& message, bool wait) = 0;
    /// Translates keys to characters and sends the message to its window.
    virtual void Dispatch(const MSG& message) = 0;
    virtual void PostQuit(int exitCode) = 0;

    virtual void Show(HWND window, int how) = 0;
    virtual bool IsVisible(HWND window) = 0;
    /// Enables it for the pointer and keys; tells whether it was disabled before.
    virtual bool Enable(HWND window, bool enable) = 0;
    virtual bool IsEnabled(HWND window) = 0;
    /// Position in the parent's client area, or on the screen.
    virtual bool Move(HWND window, const RECT& to, bool repaint) = 0;
    virtual RECT ClientRect(HWND window) = 0;
    /// On the screen.
    virtual RECT WindowRect(HWND window) = 0;
    /// Where the client area begins on the screen.
    virtual POINT ClientOrigin(HWND window) = 0;
    /// Widens a client rectangle to that of a whole window of this style.
    virtual RECT FrameAround(const RECT& client, DWORD style, DWORD exStyle) = 0;

    virtual HWND Parent(HWND window) = 0;
    virtual int Id(HWND window) = 0;
    virtual DWORD Style(HWND window) = 0;
    virtual void SetTitle(HWND window, const char* title) = 0;

    /// Null: the whole client area.
    virtual void Invalidate(HWND window, const RECT* area, bool erase) = 0;
    virtual void Update(HWND window) = 0;
    virtual HDC BeginPaint(HWND window, PAINTSTRUCT& paint) = 0;
    virtual void EndPaint(HWND window, const PAINTSTRUCT& paint) = 0;
    /// As the functions in Window.h.
    virtual bool ShowPixels(HDC context, POINT to, const PixelRows& picture, const RECT& from) = 0;
    virtual bool ReadPixels(HWND window, const PixelRows& picture) = 0;

    /// Null releases.
    virtual HWND SetCapture(HWND window) = 0;
    virtual HWND GetCapture() = 0;
    virtual HWND SetFocus(HWND window) = 0;
    virtual HWND GetFocus() = 0;
    /// Negative while the key is down.
    virtual short KeyState(int virtualKey) = 0;
    virtual HCURSOR SetCursor(HCURSOR cursor) = 0;

    virtual bool SetTimer(HWND window, UINT_PTR id, UINT milliseconds) = 0;
    virtual bool KillTimer(HWND window, UINT_PTR id) = 0;
};

/// The one that is chosen; made when it is first wanted.
IWindowSystem& WindowSystem();

/// The display's; null when there is none. Each system has its own.
std::unique_ptr<IWindowSystem> MakeDisplayWindows();
std::unique_ptr<IWindowSystem> MakeOffScreenWindows();

} // namespace NV
