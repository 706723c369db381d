// The seat before an X server of its own (Xvfb): input comes from the server's test extension, and what is shown is
// read from the server, over a connection that the library knows nothing of. See tests/support/Seat.h.
#include "support/Seat.h"

#include <X11/Xutil.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>
#include <array>
#include <csignal>
#include <cstdlib>
#include <spawn.h>
#include <unistd.h>

const char* const displaySeatName = "x11";

namespace {

/// A server that ends with its last connection, of which this keeps one until the test program ends, however it does.
/// Its number is in DISPLAY meanwhile.
class Server {
public:
    Server()
    {
        int numbers[2];
        if (pipe(numbers) != 0)
            return;
        const std::string descriptor = std::to_string(numbers[1]);
        const char* const arguments[] = {"Xvfb",      "-displayfd", descriptor.c_str(), "-screen", "0", "1280x1024x24",
                                         "-nolisten", "tcp",        "-terminate",       nullptr};
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addclose(&actions, numbers[0]);
        posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", 1, 0);
        if (posix_spawnp(&process, arguments[0], &actions, nullptr, const_cast<char* const*>(arguments), environ) != 0)
            process = -1;
        posix_spawn_file_actions_destroy(&actions);
        close(numbers[1]);
        std::string number; // a line
        for (char c = 0; process > 0 && read(numbers[0], &c, 1) == 1 && c != '\n';)
            number += c;
        close(numbers[0]);
        if (!number.empty()) {
            name = ":" + number;
            setenv("DISPLAY", name.c_str(), 1);
            display = XOpenDisplay(name.c_str());
        }
    }
    ~Server()
    {
        if (display)
            XCloseDisplay(display); // the library's own connection may stand yet, so the server ends by itself
        else if (process > 0)
            kill(process, SIGTERM);
    }
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    std::string name;
    ::Display* display = nullptr; // null when it did not start

private:
    pid_t process = -1;
};

::Window FindTitled(::Display* display, ::Window in, const std::string& title)
{
    char* name = nullptr;
    if (XFetchName(display, in, &name) && name) {
        const bool found = title == name;
        XFree(name);
        if (found)
            return in;
    }
    ::Window root, parent, *children = nullptr, found = 0;
    unsigned count = 0;
    if (XQueryTree(display, in, &root, &parent, &children, &count)) {
        for (unsigned i = 0; i < count && !found; ++i)
            found = FindTitled(display, children[i], title);
        XFree(children);
    }
    return found;
}

class XSeat : public Seat {
public:
    explicit XSeat(::Display* opened) : display(opened) {}

    void PointAt(const CWnd& window, CPoint at) override
    {
        window.ClientToScreen(&at);
        XTestFakeMotionEvent(display, -1, at.x, at.y, 0);
        XSync(display, False);
    }
    void Button(int button, bool down) override
    {
        XTestFakeButtonEvent(display, button == VK_LBUTTON ? 1U : button == VK_MBUTTON ? 2U : 3U, down, 0);
        XSync(display, False);
    }
    void Wheel(int notches) override
    {
        for (int i = 0; i < std::abs(notches); ++i) {
            XTestFakeButtonEvent(display, notches > 0 ? 4 : 5, True, 0);
            XTestFakeButtonEvent(display, notches > 0 ? 4 : 5, False, 0);
        }
        XSync(display, False);
    }
    void Key(int key, bool down) override
    {
        AwaitFocus();
        const std::array<std::pair<int, KeySym>, 8> named{{{VK_SHIFT, XK_Shift_L},
                                                           {VK_CONTROL, XK_Control_L},
                                                           {VK_LEFT, XK_Left},
                                                           {VK_RIGHT, XK_Right},
                                                           {VK_UP, XK_Up},
                                                           {VK_DOWN, XK_Down},
                                                           {VK_PRIOR, XK_Prior},
                                                           {VK_ESCAPE, XK_Escape}}};
        KeySym symbol = key >= 'A' && key <= 'Z' ? XK_a + static_cast<KeySym>(key - 'A') : static_cast<KeySym>(key);
        for (const auto& [code, its] : named)
            symbol = code == key ? its : symbol;
        XTestFakeKeyEvent(display, XKeysymToKeycode(display, symbol), down, 0);
        XSync(display, False);
    }
    void Resize(CWnd& top, CSize size) override
    {
        XResizeWindow(display, Native(top), static_cast<unsigned>(size.cx), static_cast<unsigned>(size.cy));
        XSync(display, False);
    }
    void Close(CWnd& top) override
    {
        XEvent event{};
        event.xclient.type = ClientMessage;
        event.xclient.window = Native(top);
        event.xclient.message_type = XInternAtom(display, "WM_PROTOCOLS", False);
        event.xclient.format = 32;
        event.xclient.data.l[0] = static_cast<long>(XInternAtom(display, "WM_DELETE_WINDOW", False));
        XSendEvent(display, event.xclient.window, False, NoEventMask, &event);
        XSync(display, False);
    }
    CDib Look(const CWnd& window) override
    {
        CRect place;
        window.GetWindowRect(place);
        CDib seen;
        seen.Create(place.Width(), place.Height(), 32);
        const auto width = static_cast<unsigned>(place.Width()), height = static_cast<unsigned>(place.Height());
        XImage* const image =
            XGetImage(display, DefaultRootWindow(display), place.left, place.top, width, height, AllPlanes, ZPixmap);
        for (int y = 0; image && y < place.Height(); ++y) {
            for (int x = 0; x < place.Width(); ++x) {
                const unsigned long pixel = XGetPixel(image, x, y);
                seen.SetPixelColor(x, y, RGB(pixel >> 16 & 0xFF, pixel >> 8 & 0xFF, pixel & 0xFF));
            }
        }
        if (image)
            XDestroyImage(image);
        return seen;
    }

private:
    /// The server hears of a new focus over the library's connection, and of keys over this one: no faster than a
    /// person.
    void AwaitFocus() const
    {
        const CWnd* top = CWnd::GetFocus();
        while (top && (top->GetStyle() & WS_CHILD))
            top = top->GetParent();
        const ::Window wanted = top ? Native(*top) : 0;
        Until([&] {
            ::Window focused = 0;
            int revert = 0;
            XGetInputFocus(display, &focused, &revert);
            return !wanted || focused == wanted;
        });
    }

    /// Titles are unique among the tests' windows.
    ::Window Native(const CWnd& top) const
    {
        const std::string title = "test window " + std::to_string(reinterpret_cast<UINT_PTR>(top.m_hWnd));
        const_cast<CWnd&>(top).SetWindowText(title.c_str());
        ::Window found = 0;
        Until([&] { return (found = FindTitled(display, DefaultRootWindow(display), title)) != 0; });
        return found;
    }

    ::Display* display;
};

} // namespace

std::unique_ptr<Seat> TakeDisplaySeat(std::string& whyNot)
{
    static const Server server;
    if (!server.display) {
        whyNot = "Xvfb does not start (is the package xvfb installed?)";
        return nullptr;
    }
    auto seat = std::make_unique<XSeat>(server.display);
    if (!NV::ChooseWindows(NV::WindowKind::display)) {
        whyNot = "the library cannot use the X server";
        return nullptr;
    }
    return seat;
}
