// The tree of windows: making and destroying them, their place, focus and capture. See WindowTree.h.
//
// Every message may end in code that destroys any window. So records are looked up anew behind each one.
#include "WindowTree.h"

#include "RectTools.h"

#include <algorithm>

namespace NV {

namespace {

constexpr RECT defaultPlace{40, 40, 840, 640};

} // namespace

WindowTree::Window* WindowTree::Find(HWND window)
{
    const auto found = windows.find(window);
    return found == windows.end() ? nullptr : found->second.get();
}

HWND WindowTree::TopOf(HWND window)
{
    const Window* at = Find(window);
    while (at && at->parent) {
        window = at->parent;
        at = Find(window);
    }
    return at ? window : nullptr;
}

POINT WindowTree::OriginInTop(HWND window)
{
    POINT origin{0, 0};
    for (const Window* at = Find(window); at && at->parent; at = Find(at->parent)) {
        origin.x += at->place.left;
        origin.y += at->place.top;
    }
    return origin;
}

bool WindowTree::Shown(HWND window)
{
    const Window* at = Find(window);
    while (at && (at->style & WS_VISIBLE) && at->parent)
        at = Find(at->parent);
    return at && (at->style & WS_VISIBLE) != 0;
}

bool WindowTree::Reachable(HWND window)
{
    const Window* at = Find(window);
    while (at && !(at->style & WS_DISABLED) && at->parent)
        at = Find(at->parent);
    return at && !(at->style & WS_DISABLED);
}

bool WindowTree::Within(HWND window, HWND outer)
{
    while (window && window != outer) {
        const Window* const at = Find(window);
        window = at ? at->parent : nullptr;
    }
    return window != nullptr;
}

// ---- Making and destroying ------------------------------------------------------------------------------------------

HWND WindowTree::Create(const CREATESTRUCTA& how, WNDPROC procedure)
{
    WNDCLASSA windowClass{};
    if (!how.lpszClass || !GetClassInfo(how.hInstance, how.lpszClass, &windowClass))
        return nullptr;
    const auto style = static_cast<DWORD>(how.style);
    const bool child = (style & WS_CHILD) != 0;
    Window* const parent = Find(how.hwndParent);
    if ((child || how.hwndParent) && (!parent || parent->dying))
        return nullptr;

    auto made = std::make_unique<Window>();
    const HWND window = reinterpret_cast<HWND>(++lastHandle);
    made->style = style & ~static_cast<DWORD>(WS_VISIBLE);
    made->exStyle = how.dwExStyle;
    made->classStyle = windowClass.style;
    made->cursor = windowClass.hCursor;
    made->background = windowClass.hbrBackground;
    made->procedure = procedure;
    const bool placeGiven = how.x != CW_USEDEFAULT, sizeGiven = how.cx != CW_USEDEFAULT;
    const POINT corner = placeGiven ? POINT{how.x, how.y} : POINT{defaultPlace.left, defaultPlace.top};
    made->place = RectAt(corner, sizeGiven ? how.cx : Width(defaultPlace), sizeGiven ? how.cy : Height(defaultPlace));
    if (child) {
        made->parent = how.hwndParent;
        made->id = static_cast<int>(reinterpret_cast<UINT_PTR>(how.hMenu));
        parent->children.push_back(window);
    } else {
        made->owner = TopOf(how.hwndParent);
        if (!screen->Open(window, made->owner, made->place, placeGiven))
            return nullptr;
        tops.insert(tops.begin(), window);
    }
    if (!joining)
        joining = std::make_unique<SystemThread::Joining>(*this);
    windows[window] = std::move(made);
    if (!child && how.lpszName)
        screen->SetTitle(window, how.lpszName);

    CREATESTRUCTA told = how;
    if (Send(window, WM_CREATE, 0, reinterpret_cast<LPARAM>(&told)) == -1) {
        Destroy(window);
        return nullptr;
    }
    if (const Window* const at = Find(window)) {
        const RECT place = at->place;
        Send(window, WM_SIZE, SIZE_RESTORED, MAKELPARAM(Width(place), Height(place)));
        Send(window, WM_MOVE, 0, MAKELPARAM(place.left, place.top));
    }
    if (style & WS_VISIBLE)
        Show(window, SW_SHOW);
    return Find(window) ? window : nullptr;
}

std::vector<HWND> WindowTree::OwnedBy(HWND window)
{
    std::vector<HWND> owned;
    for (const HWND top : tops) {
        if (Find(top)->owner == window)
            owned.push_back(top);
    }
    return owned;
}

bool WindowTree::Destroy(HWND window)
{
    Window* const at = Find(window);
    if (!at || at->dying)
        return false;
    MarkDying(window);
    for (const HWND owned : OwnedBy(window))
        Destroy(owned);
    Show(window, SW_HIDE);
    TellDestroyed(window);
    Erase(window);
    return true;
}

/// From now on nobody gives it keys or the pointer, or makes windows in it.
void WindowTree::MarkDying(HWND window)
{
    Window* const at = Find(window);
    at->dying = true;
    for (const HWND child : at->children)
        MarkDying(child);
}

/// Outside in, as told by WM_DESTROY.
void WindowTree::TellDestroyed(HWND window)
{
    Send(window, WM_DESTROY, 0, 0);
    const Window* const at = Find(window);
    for (const HWND child : at ? at->children : std::vector<HWND>())
        TellDestroyed(child);
}

/// Inside out, as told by WM_NCDESTROY.
void WindowTree::Erase(HWND window)
{
    const Window* at = Find(window);
    for (const HWND child : at ? at->children : std::vector<HWND>())
        Erase(child);
    LetGo(window);
    Send(window, WM_NCDESTROY, 0, 0);
    at = Find(window);
    if (!at)
        return;
    if (Window* const parent = Find(at->parent))
        std::erase(parent->children, window);
    else
        screen->Close(window);
    std::erase(tops, window);
    std::erase_if(timers, [window](const Timer& timer) { return timer.window == window; });
    std::erase_if(paintings, [window](const auto& painting) { return painting.second.window == window; });
    windows.erase(window);
    if (windows.empty())
        PartFromThread();
}

void WindowTree::LetGo(HWND window)
{
    if (Within(capture, window))
        SetCapture(nullptr);
    if (pointed == window)
        pointed = nullptr;
    for (const HWND top : tops) {
        if (Within(Find(top)->lastFocus, window))
            Find(top)->lastFocus = nullptr;
    }
    if (!Within(focus, window))
        return;
    const Window* const at = Find(window);
    if (at->parent && !Find(at->parent)->dying)
        SetFocus(at->parent);
    else if (const Window* const owner = Find(at->owner); owner && !owner->dying)
        GiveFocusBackTo(at->owner);
    else
        SetFocus(nullptr);
}

// ---- Place and looks ------------------------------------------------------------------------------------------------

void WindowTree::Show(HWND window, int how)
{
    Window* const at = Find(window);
    const bool show = how != SW_HIDE;
    if (!at || show == ((at->style & WS_VISIBLE) != 0))
        return;
    Send(window, WM_SHOWWINDOW, show, 0);
    if (!Find(window))
        return;
    at->style = show ? at->style | WS_VISIBLE : at->style & ~static_cast<DWORD>(WS_VISIBLE);
    const bool top = !at->parent;
    if (show) {
        InvalidateAll(window, ClientRect(window));
        if (top)
            screen->Show(window, true);
        if (top && Reachable(window))
            GiveFocusBackTo(window);
        return;
    }
    if (top)
        screen->Show(window, false);
    else
        InvalidateAll(at->parent, at->place);
    LetGo(window);
}

bool WindowTree::IsVisible(HWND window)
{
    return Shown(window);
}

bool WindowTree::Enable(HWND window, bool enable)
{
    Window* const at = Find(window);
    if (!at)
        return false;
    const bool wasDisabled = (at->style & WS_DISABLED) != 0;
    if (wasDisabled != enable)
        return wasDisabled;
    at->style = enable ? at->style & ~static_cast<DWORD>(WS_DISABLED) : at->style | WS_DISABLED;
    if (!enable && Within(capture, window))
        SetCapture(nullptr);
    if (!enable && Within(focus, window))
        SetFocus(nullptr);
    Send(window, WM_ENABLE, enable, 0);
    return wasDisabled;
}

bool WindowTree::IsEnabled(HWND window)
{
    const Window* const at = Find(window);
    return at && !(at->style & WS_DISABLED);
}

bool WindowTree::Move(HWND window, const RECT& to, bool repaint)
{
    Window* const at = Find(window);
    if (!at)
        return false;
    const RECT before = at->place;
    at->place = RectAt({to.left, to.top}, Width(to), Height(to));
    if (Same(before, at->place))
        return true;
    if (!at->parent)
        screen->Place(window, at->place);
    else if (repaint && Shown(window))
        InvalidateAll(at->parent, before);
    Resized(window, before, repaint);
    return true;
}

/// The window has its new place: has it painted, and tells it.
void WindowTree::Resized(HWND window, const RECT& before, bool repaint)
{
    const Window* const at = Find(window);
    const RECT now = at->place;
    const bool sized = Width(before) != Width(now) || Height(before) != Height(now);
    const bool moved = before.left != now.left || before.top != now.top;
    const bool grown = Width(now) > Width(before) || Height(now) > Height(before);
    const bool redrawn = (at->classStyle & CS_HREDRAW && Width(before) != Width(now)) ||
                         (at->classStyle & CS_VREDRAW && Height(before) != Height(now));
    if (repaint && at->parent)
        InvalidateAll(window, ClientRect(window)); // its pixels stay where they were
    else if (repaint && (grown || redrawn))
        Invalidate(window, nullptr, true);
    if (moved)
        Send(window, WM_MOVE, 0, MAKELPARAM(now.left, now.top));
    if (sized)
        Send(window, WM_SIZE, SIZE_RESTORED, MAKELPARAM(Width(now), Height(now)));
}

RECT WindowTree::ClientRect(HWND window)
{
    const Window* const at = Find(window);
    return at ? RECT{0, 0, Width(at->place), Height(at->place)} : RECT{};
}

POINT WindowTree::ClientOrigin(HWND window)
{
    const Window* const top = Find(TopOf(window));
    POINT origin = OriginInTop(window);
    if (top) {
        origin.x += top->place.left;
        origin.y += top->place.top;
    }
    return origin;
}

RECT WindowTree::WindowRect(HWND window)
{
    const Window* const at = Find(window);
    return at ? RectAt(ClientOrigin(window), Width(at->place), Height(at->place)) : RECT{};
}

HWND WindowTree::Parent(HWND window)
{
    const Window* const at = Find(window);
    if (!at)
        return nullptr;
    return at->parent ? at->parent : at->owner;
}

int WindowTree::Id(HWND window)
{
    const Window* const at = Find(window);
    return at ? at->id : 0;
}

DWORD WindowTree::Style(HWND window)
{
    const Window* const at = Find(window);
    return at ? at->style : 0;
}

void WindowTree::SetTitle(HWND window, const char* title)
{
    const Window* const at = Find(window);
    if (at && !at->parent)
        screen->SetTitle(window, title ? title : "");
}

// ---- Who gets the keys and the pointer ------------------------------------------------------------------------------

HWND WindowTree::SetCapture(HWND window)
{
    const HWND before = capture;
    const Window* const at = Find(window);
    if (window && (!at || at->dying))
        return before;
    capture = window;
    if (before && before != window)
        Send(before, WM_CAPTURECHANGED, 0, reinterpret_cast<LPARAM>(window));
    return before;
}

HWND WindowTree::SetFocus(HWND window)
{
    const HWND before = focus;
    if (window && (!Reachable(window) || Find(window)->dying))
        return nullptr;
    if (before == window)
        return before;
    focus = window;
    const HWND top = TopOf(window), topBefore = TopOf(before);
    if (top != topBefore) {
        if (Window* const left = Find(topBefore))
            left->lastFocus = before;
        if (top)
            screen->Focus(top);
    }
    if (before)
        Send(before, WM_KILLFOCUS, reinterpret_cast<WPARAM>(window), 0);
    if (window && focus == window) // unless somebody took it meanwhile
        Send(window, WM_SETFOCUS, reinterpret_cast<WPARAM>(before), 0);
    return before;
}

/// To the window in it that had the keys last.
void WindowTree::GiveFocusBackTo(HWND top)
{
    const Window* const at = Find(top);
    if (at)
        SetFocus(Find(at->lastFocus) ? at->lastFocus : top);
}

HCURSOR WindowTree::SetCursor(HCURSOR newCursor)
{
    const HCURSOR before = cursor;
    cursor = newCursor;
    if (const HWND top = TopOf(capture ? capture : pointed))
        screen->SetCursor(top, cursor);
    return before;
}

// ---- Messages -------------------------------------------------------------------------------------------------------

LRESULT WindowTree::Send(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    const Window* const at = Find(window);
    return at ? at->procedure(window, message, wParam, lParam) : 0;
}

LRESULT WindowTree::Default(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    Window* const at = Find(window);
    if (!at)
        return 0;
    switch (message) {
    case WM_CLOSE:
        Destroy(window);
        return 0;
    case WM_PAINT: {
        PAINTSTRUCT paint;
        BeginPaint(window, paint);
        EndPaint(window, paint);
        return 0;
    }
    case WM_ERASEBKGND:
        return EraseBackground(window, reinterpret_cast<HDC>(wParam));
    case WM_MOUSEWHEEL:
        return at->parent ? Send(at->parent, message, wParam, lParam) : 0;
    case WM_SETCURSOR:
        // Outer windows are asked first: whoever gives true has set the shape for what lies in it.
        if (at->parent && Send(at->parent, message, wParam, lParam))
            return 1;
        if (reinterpret_cast<HWND>(wParam) == window && at->cursor) {
            SetCursor(at->cursor);
            return 1;
        }
        return 0;
    default:
        return 0;
    }
}

} // namespace NV
