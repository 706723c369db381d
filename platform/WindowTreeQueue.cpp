// The queue of messages: posted ones, then what a person did, then painting, then timers. See WindowTree.h.
#include "RectTools.h"
#include "ScopedLock.h"
#include "WindowTree.h"

#include <algorithm>
#include <cstdlib>

namespace NV {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds doubleClickTime{500};
constexpr int doubleClickReach = 4;

constexpr LPARAM repeatedKey = 0x40000001; // once, and it was down already
constexpr LPARAM pressedKey = 0x00000001;
constexpr auto releasedKey = static_cast<LPARAM>(static_cast<i32>(0xC0000001));

DWORD Milliseconds()
{
    return static_cast<DWORD>(
        std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now().time_since_epoch()).count());
}

POINT Minus(POINT a, POINT b)
{
    return {a.x - b.x, a.y - b.y};
}

} // namespace

bool WindowTree::Post(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    MSG made{};
    made.hwnd = window;
    made.message = message;
    made.wParam = wParam;
    made.lParam = lParam;
    Put(made);
    return true;
}

void WindowTree::Put(const MSG& message)
{
    {
        const ScopedLock held(postedLock);
        posted.push_back(message);
        posted.back().time = Milliseconds();
    }
    screen->Wake();
}

std::vector<MSG> WindowTree::GiveBack()
{
    const ScopedLock held(postedLock);
    const auto forThread = std::stable_partition(posted.begin(), posted.end(), [](const MSG& m) { return m.hwnd; });
    std::vector<MSG> given(forThread, posted.end());
    posted.erase(forThread, posted.end());
    return given;
}

/// With the last window: the thread waits in its own queue again, and is not kept waiting for a quit that came here.
void WindowTree::PartFromThread()
{
    joining.reset();
    if (quitting && SystemThread::OwnId() != 0) {
        quitting = false;
        PostQuit(exitCode);
    }
}

void WindowTree::PostQuit(int code)
{
    exitCode = code;
    quitting = joining || !SystemThread::Post(SystemThread::OwnId(), WM_QUIT, static_cast<WPARAM>(code), 0);
}

bool WindowTree::Fill(MSG& message, HWND window, UINT number, WPARAM wParam, LPARAM lParam) const
{
    message = MSG{};
    message.hwnd = window;
    message.message = number;
    message.wParam = wParam;
    message.lParam = lParam;
    message.time = Milliseconds();
    message.pt = pointer;
    return true;
}

bool WindowTree::Next(MSG& message, bool wait)
{
    for (;;) {
        screen->Collect(inputs);
        if (TakePosted(message))
            return true;
        if (quitting) {
            quitting = false;
            return Fill(message, nullptr, WM_QUIT, static_cast<WPARAM>(exitCode), 0);
        }
        if (TakeInput(message) || TakePaint(message) || TakeTimer(message))
            return true;
        if (!wait || (!joining && SystemThread::OwnId() != 0))
            return false;
        screen->Wait(MillisecondsToTimer());
    }
}

void WindowTree::Dispatch(const MSG& message)
{
    Send(message.hwnd, message.message, message.wParam, message.lParam);
}

bool WindowTree::TakePosted(MSG& message)
{
    const ScopedLock held(postedLock);
    while (!posted.empty()) {
        message = posted.front();
        posted.pop_front();
        message.pt = pointer;
        if (!message.hwnd || Find(message.hwnd)) // else it went meanwhile
            return true;
    }
    return false;
}

// ---- Input ----------------------------------------------------------------------------------------------------------

void WindowTree::Happened(const Input& input)
{
    // Of a movement only its end counts, as long as nothing else has happened in between.
    const bool replaces = input.kind == Input::pointer || input.kind == Input::placed;
    if (replaces && !inputs.empty() && inputs.back().kind == input.kind && inputs.back().top == input.top)
        inputs.back() = input;
    else
        inputs.push_back(input);
    screen->Wake();
}

bool WindowTree::TakeInput(MSG& message)
{
    while (!inputs.empty()) {
        const Input input = inputs.front();
        inputs.pop_front();
        if (Find(input.top) && TakeOne(input, message))
            return true;
    }
    return false;
}

bool WindowTree::TakeOne(const Input& input, MSG& message)
{
    if (input.modifiers >= 0) {
        down[VK_SHIFT] = (input.modifiers & static_cast<int>(MK_SHIFT)) != 0;
        down[VK_CONTROL] = (input.modifiers & static_cast<int>(MK_CONTROL)) != 0;
    }
    switch (input.kind) {
    case Input::pointer:
    case Input::press:
    case Input::release:
    case Input::wheel:
        return TakePointer(input, message);
    case Input::keyDown:
    case Input::keyUp:
        return TakeKey(input, message);
    case Input::placed:
        Placed(input);
        return false;
    case Input::close:
        return Reachable(input.top) && Fill(message, input.top, WM_CLOSE, 0, 0);
    case Input::focusIn:
        if (TopOf(focus) != input.top)
            GiveFocusBackTo(input.top);
        return false;
    case Input::focusOut:
        if (TopOf(focus) == input.top) {
            Find(input.top)->lastFocus = focus;
            SetFocus(nullptr);
        }
        return false;
    }
    return false;
}

void WindowTree::Placed(const Input& input)
{
    Window* const at = Find(input.top);
    const RECT before = at->place;
    if (Same(before, input.place))
        return;
    at->place = input.place;
    Resized(input.top, before, true);
}

/// Windows that are hidden or disabled are not hit; what lies beneath them is.
HWND WindowTree::Hit(HWND window, POINT at)
{
    for (const HWND child : Find(window)->children) {
        const Window* const inner = Find(child);
        if ((inner->style & WS_VISIBLE) && !(inner->style & WS_DISABLED) && Holds(inner->place, at))
            return Hit(child, {at.x - inner->place.left, at.y - inner->place.top});
    }
    return window;
}

int WindowTree::Flags() const
{
    const struct {
        int key;
        UINT flag;
    } all[] = {{VK_LBUTTON, MK_LBUTTON},
               {VK_RBUTTON, MK_RBUTTON},
               {VK_MBUTTON, MK_MBUTTON},
               {VK_SHIFT, MK_SHIFT},
               {VK_CONTROL, MK_CONTROL}};
    int flags = 0;
    for (const auto& each : all)
        flags |= down[static_cast<std::size_t>(each.key)] ? static_cast<int>(each.flag) : 0;
    return flags;
}

/// What a press is to this window: two at one place in short time are a double click to classes that want them.
UINT WindowTree::ButtonMessage(const Input& input, HWND window)
{
    const UINT first = input.what == VK_LBUTTON   ? WM_LBUTTONDOWN
                       : input.what == VK_RBUTTON ? WM_RBUTTONDOWN
                                                  : WM_MBUTTONDOWN;
    if (input.kind == Input::release)
        return first + 1;
    const Clock::time_point now = Clock::now();
    const bool again = lastClick.window == window && lastClick.button == input.what &&
                       now - lastClick.when <= doubleClickTime &&
                       std::abs(input.at.x - lastClick.at.x) <= doubleClickReach &&
                       std::abs(input.at.y - lastClick.at.y) <= doubleClickReach;
    if (again && (Find(window)->classStyle & CS_DBLCLKS)) {
        lastClick = {};
        return first + 2;
    }
    lastClick = {window, input.what, input.at, now};
    return first;
}

bool WindowTree::TakePointer(const Input& input, MSG& message)
{
    const POINT corner = ClientOrigin(input.top);
    pointer = {corner.x + input.at.x, corner.y + input.at.y};
    const bool button = input.kind == Input::press || input.kind == Input::release;
    if (button)
        down[static_cast<std::size_t>(input.what & 0xFF)] = input.kind == Input::press;
    if (input.kind == Input::wheel) {
        const HWND turned = focus ? focus : Hit(input.top, input.at);
        return Reachable(turned) &&
               Fill(message, turned, WM_MOUSEWHEEL, MAKEWPARAM(Flags(), input.what), MAKELPARAM(pointer.x, pointer.y));
    }
    const HWND captured = capture;
    const HWND target = captured ? captured : Hit(input.top, input.at);
    if (!Reachable(target))
        return false;
    const UINT number = button ? ButtonMessage(input, target) : WM_MOUSEMOVE;
    if (!captured) {
        pointed = target;
        if (input.kind == Input::press && TopOf(focus) != input.top)
            GiveFocusBackTo(input.top);
        Send(target, WM_SETCURSOR, reinterpret_cast<WPARAM>(target), MAKELPARAM(HTCLIENT, static_cast<int>(number)));
        if (!Find(target))
            return false;
    }
    const POINT at = Minus(pointer, ClientOrigin(target));
    return Fill(message, target, number, static_cast<WPARAM>(Flags()), MAKELPARAM(at.x, at.y));
}

bool WindowTree::TakeKey(const Input& input, MSG& message)
{
    const auto key = static_cast<std::size_t>(input.what & 0xFF);
    const bool pressed = input.kind == Input::keyDown, before = down[key];
    down[key] = pressed;
    const HWND target = focus ? focus : input.top; // the screen may be late in taking the keys elsewhere
    if (!Reachable(target))
        return false;
    if (!pressed)
        return Fill(message, target, WM_KEYUP, key, releasedKey);
    const LPARAM bits = before ? repeatedKey : pressedKey;
    if (input.character) // behind the key, in front of everything else
        Post(target, WM_CHAR, static_cast<u8>(input.character), bits);
    return Fill(message, target, WM_KEYDOWN, key, bits);
}

short WindowTree::KeyState(int virtualKey)
{
    return virtualKey >= 0 && virtualKey < 256 && down[static_cast<std::size_t>(virtualKey)] ? -0x80 : 0;
}

// ---- Timers ---------------------------------------------------------------------------------------------------------

bool WindowTree::SetTimer(HWND window, UINT_PTR id, UINT milliseconds)
{
    if (!Find(window))
        return false;
    KillTimer(window, id);
    const std::chrono::milliseconds period(std::clamp(milliseconds, 10U, 0x7FFFFFFFU)); // as Windows has it
    timers.push_back({window, id, period, Clock::now() + period});
    return true;
}

bool WindowTree::KillTimer(HWND window, UINT_PTR id)
{
    return std::erase_if(timers, [&](const Timer& t) { return t.window == window && t.id == id; }) > 0;
}

bool WindowTree::TakeTimer(MSG& message)
{
    const Clock::time_point now = Clock::now();
    for (auto timer = timers.begin(); timer != timers.end(); ++timer) {
        if (timer->due > now)
            continue;
        Timer fired = *timer; // behind the others now, so that each has its turn
        fired.due = now + fired.period;
        timers.erase(timer);
        timers.push_back(fired);
        return Fill(message, fired.window, WM_TIMER, fired.id, 0);
    }
    return false;
}

int WindowTree::MillisecondsToTimer() const
{
    if (timers.empty())
        return -1;
    const auto first =
        std::min_element(timers.begin(), timers.end(), [](const Timer& a, const Timer& b) { return a.due < b.due; });
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(first->due - Clock::now());
    return static_cast<int>(std::clamp<i64>(left.count(), 0, 0x7FFFFFFF));
}

} // namespace NV
