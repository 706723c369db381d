// Windows without a window system's help: a tree of windows, their messages and what is to be painted, over a screen
// that only shows the windows at the top of the tree and tells what a person does. Two screens stand behind it, the
// off-screen one and the one of an X server. Messages come in Windows' order: posted ones, then input, then WM_PAINT,
// then WM_TIMER.
//
//   WindowTree.cpp       making and destroying windows, their place, focus and capture
//   WindowTreeQueue.cpp  the queue: posted messages, input, timers
//   WindowTreePaint.cpp  what is out of date, and the pixels
//
// Pixels; positions are in the parent's client area, those of windows at the top on the screen. Windows have no frame
// of their own: the client area is all of a window. One thread; Post alone is for any. Messages that are posted to that
// thread wait in the same queue, from its first window to its last.
#pragma once

#include "RecursiveLock.h"
#include "SystemThread.h"
#include "ThreadSafety.h"
#include "WindowSystem.h"

#include <array>
#include <chrono>
#include <deque>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace NV {

/// What a window at the top shows, its children included: rows top-down, 0x00RRGGBB.
struct Surface {
    int width = 0, height = 0;
    std::vector<u32> pixels;

    u32* Row(int y) { return pixels.data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(width); }
    const u32* Row(int y) const
    {
        return pixels.data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(width);
    }
};

/// What a person or the screen did.
struct Input {
    enum Kind : u8 { pointer, press, release, wheel, keyDown, keyUp, placed, close, focusIn, focusOut };
    Kind kind;
    HWND top;       // the window at the top that it happened to
    POINT at;       // of the pointer, in its client area
    int what;       // VK_ code of the key or button, or what the wheel turned by
    char character; // that a key gives, or 0
    int modifiers;  // MK_SHIFT and MK_CONTROL as they are; negative: as the keys before say
    RECT place;     // of `placed`: where it is now
};

/// What shows the windows at the top of the tree.
class IScreen {
public:
    virtual ~IScreen() = default;
    /// Makes a window, not yet to be seen. `place` may be changed to what there is room for.
    virtual bool Open(HWND top, HWND owner, RECT& place, bool placeGiven) = 0;
    virtual void Close(HWND top) = 0;
    virtual void Show(HWND top, bool show) = 0;
    virtual void Place(HWND top, const RECT& place) = 0;
    virtual void SetTitle(HWND top, const char* title) = 0;
    /// Keys shall come to this window.
    virtual void Focus(HWND top) = 0;
    virtual void SetCursor(HWND top, HCURSOR cursor) = 0;
    /// A part of the window has new pixels.
    virtual void Present(HWND top, const Surface& surface, const RECT& part) = 0;

    /// Adds to `happened` what has happened since; does not wait.
    virtual void Collect(std::deque<Input>& happened) = 0;
    /// Waits until something happens, Wake is called, or the time is over; negative: without limit.
    virtual void Wait(int milliseconds) = 0;
    /// Any thread; counts also when Wait is called only afterwards.
    virtual void Wake() = 0;
};

class WindowTree : public IWindowSystem, public SystemThread::IJointQueue {
public:
    explicit WindowTree(std::unique_ptr<IScreen> shownOn) : screen(std::move(shownOn)) {}

    HWND Create(const CREATESTRUCTA& how, WNDPROC procedure) override;
    bool Destroy(HWND window) override;
    bool IsWindow(HWND window) override { return Find(window) != nullptr; }
    bool AnyWindow() override { return !windows.empty(); }
    LRESULT Send(HWND window, UINT message, WPARAM wParam, LPARAM lParam) override;
    bool Post(HWND window, UINT message, WPARAM wParam, LPARAM lParam) override;
    LRESULT Default(HWND window, UINT message, WPARAM wParam, LPARAM lParam) override;
    bool Next(MSG& message, bool wait) override;
    void Dispatch(const MSG& message) override;
    void Put(const MSG& message) override;
    std::vector<MSG> GiveBack() override;
    void PostQuit(int exitCode) override;
    void Show(HWND window, int how) override;
    bool IsVisible(HWND window) override;
    bool Enable(HWND window, bool enable) override;
    bool IsEnabled(HWND window) override;
    bool Move(HWND window, const RECT& to, bool repaint) override;
    RECT ClientRect(HWND window) override;
    RECT WindowRect(HWND window) override;
    POINT ClientOrigin(HWND window) override;
    RECT FrameAround(const RECT& client, DWORD, DWORD) override { return client; }
    HWND Parent(HWND window) override;
    int Id(HWND window) override;
    DWORD Style(HWND window) override;
    void SetTitle(HWND window, const char* title) override;
    void Invalidate(HWND window, const RECT* area, bool erase) override;
    void Update(HWND window) override;
    HDC BeginPaint(HWND window, PAINTSTRUCT& paint) override;
    void EndPaint(HWND window, const PAINTSTRUCT& paint) override;
    bool ShowPixels(HDC context, POINT to, const PixelRows& picture, const RECT& from) override;
    bool ReadPixels(HWND window, const PixelRows& picture) override;
    HWND SetCapture(HWND window) override;
    HWND GetCapture() override { return capture; }
    HWND SetFocus(HWND window) override;
    HWND GetFocus() override { return focus; }
    short KeyState(int virtualKey) override;
    HCURSOR SetCursor(HCURSOR cursor) override;
    bool SetTimer(HWND window, UINT_PTR id, UINT milliseconds) override;
    bool KillTimer(HWND window, UINT_PTR id) override;

    /// What a person would do at the screen: for tests, and whoever drives off-screen windows.
    void Happened(const Input& input);
    IScreen& Screen() { return *screen; }

private:
    struct Window {
        HWND parent = nullptr, owner = nullptr; // of a child; of a window at the top, or null
        std::vector<HWND> children;             // the first one lies on top
        RECT place{};
        DWORD style = 0, exStyle = 0;
        int id = 0;
        UINT classStyle = 0;
        HCURSOR cursor = nullptr;
        HBRUSH background = nullptr;
        WNDPROC procedure = nullptr;
        bool dying = false;
        std::vector<RECT> invalid; // what is out of date; they do not overlap
        bool erase = false;
        // Of windows at the top only
        Surface surface;
        HWND lastFocus = nullptr; // who had the keys when they went to another window at the top
    };
    struct Painting {
        HWND window = nullptr, top = nullptr;
        POINT origin{};         // of the window in the one at the top
        std::vector<RECT> clip; // in the one at the top; they do not overlap
    };
    struct Timer {
        HWND window;
        UINT_PTR id;
        std::chrono::milliseconds period;
        std::chrono::steady_clock::time_point due;
    };

    Window* Find(HWND window);
    HWND TopOf(HWND window);
    POINT OriginInTop(HWND window);
    bool Shown(HWND window);              // it and all it lies in are
    bool Reachable(HWND window);          // it and all it lies in are enabled
    bool Within(HWND window, HWND outer); // it is or lies in the other
    std::vector<HWND> OwnedBy(HWND window);

    void MarkDying(HWND window);
    void TellDestroyed(HWND window);
    void Erase(HWND window);
    void PartFromThread();
    void LetGo(HWND window); // the keys and the pointer, of a window that goes or is hidden
    void Resized(HWND window, const RECT& before, bool repaint);
    void GiveFocusBackTo(HWND top);

    bool TakePosted(MSG& message);
    bool TakeInput(MSG& message);
    bool TakeOne(const Input& input, MSG& message);
    bool TakePointer(const Input& input, MSG& message);
    bool TakeKey(const Input& input, MSG& message);
    bool TakePaint(MSG& message);
    bool TakeTimer(MSG& message);
    int MillisecondsToTimer() const;
    void Placed(const Input& input);
    bool Fill(MSG& message, HWND window, UINT number, WPARAM wParam, LPARAM lParam) const; // true
    HWND Hit(HWND window, POINT at); // the window, or the one in it, that is at this point of its client area
    UINT ButtonMessage(const Input& input, HWND window);
    int Flags() const;

    void SubtractChildren(std::vector<RECT>& parts, const Window& at, POINT origin);
    std::vector<RECT> VisibleParts(HWND window, const std::vector<RECT>& area);
    void InvalidateAll(HWND window, const RECT& area); // and what lies in it
    HWND Outdated(HWND window);
    bool EraseBackground(HWND window, HDC context);

    std::unique_ptr<IScreen> screen;
    std::map<HWND, std::unique_ptr<Window>> windows;
    std::vector<HWND> tops; // the newest one first
    UINT_PTR lastHandle = 0;
    HWND focus = nullptr, capture = nullptr;
    HCURSOR cursor = nullptr;
    std::map<HDC, Painting> paintings;
    UINT_PTR lastContext = 0;

    std::deque<Input> inputs;
    std::array<bool, 256> down{};
    POINT pointer{}; // on the screen
    HWND pointed = nullptr;
    struct Click {
        HWND window = nullptr;
        int button = 0;
        POINT at{};
        std::chrono::steady_clock::time_point when;
    } lastClick;
    std::vector<Timer> timers;

    RecursiveLock postedLock;
    std::deque<MSG> posted NV_GUARDED_BY(postedLock);
    bool quitting = false;
    int exitCode = 0;
    std::unique_ptr<SystemThread::Joining> joining; // while there are windows; the last to come and the first to go
};

} // namespace NV
