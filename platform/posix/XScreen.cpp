// The screen of an X server. Windows at the top of the tree are X windows; pixels go there as images, out of the
// surface that the tree keeps, so that uncovering a window asks nobody to paint. Xlib is loaded when the first window
// is wanted: the library needs neither it nor a server for anything else.
#include "XKeys.h"
#include "Xlib.h"
#include "platform/RectTools.h"
#include "platform/WindowTree.h"

#include <algorithm>
#include <cerrno>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace NV {

namespace {

/// The X cursor font's shapes for those of IDC_.
unsigned FontShape(HCURSOR cursor)
{
    switch (reinterpret_cast<UINT_PTR>(cursor)) {
    case 32514:
        return 150; // a watch
    case 32515:
        return 34; // a cross hair
    case 32644:
        return 108; // an arrow to both sides
    case 32645:
        return 116; // up and down
    case 32646:
        return 52; // all four
    case 32649:
        return 60; // a hand
    default:
        return 68; // an arrow
    }
}

/// Requests may come late, for windows that are gone or not yet to be seen; that is no reason to end the program, which
/// Xlib would do. Errors of other connections go to whoever looked after them.
::Display* ours = nullptr;
XErrorHandler others = nullptr;

int IgnoreErrors(::Display* display, XErrorEvent* error)
{
    return display == ours || !others ? 0 : others(display, error);
}

class XScreen : public IScreen {
public:
    XScreen(const Xlib& functions, ::Display* opened);
    ~XScreen() override;

    /// False when pixels of this server are nothing that we can make.
    bool Usable() const;

    bool Open(HWND top, HWND owner, RECT& place, bool placeGiven) override;
    void Close(HWND top) override;
    void Show(HWND top, bool show) override;
    void Place(HWND top, const RECT& place) override;
    void SetTitle(HWND top, const char* title) override;
    void Focus(HWND top) override;
    void SetCursor(HWND top, HCURSOR cursor) override;
    void Present(HWND top, const Surface& surface, const RECT& part) override;
    void Collect(std::deque<Input>& happened) override;
    void Wait(int milliseconds) override;
    void Wake() override;

private:
    struct Shown {
        ::Window window = 0;
        RECT place{};
        bool mapped = false, wantsFocus = false;
        const Surface* surface = nullptr; // the tree's, once something was painted
    };

    HWND Find(::Window window) const;
    void Translate(XEvent& event, std::deque<Input>& happened);
    void TranslatePointer(const XEvent& event, HWND top, std::deque<Input>& happened);
    void TranslateKey(XEvent& event, HWND top, std::deque<Input>& happened);
    void Placed(HWND top, const XConfigureEvent& event, std::deque<Input>& happened);
    void Put(const Shown& shown, const RECT& part);

    const Xlib& x;
    ::Display* display;
    int number; // of the screen
    Visual* visual;
    int depth;
    GC graphics;
    Atom protocols, deleteWindow;
    std::map<HWND, Shown> all;
    std::map<HCURSOR, Cursor> cursors;
    std::vector<u32> converted; // pixels of a server that has other bits than we
    int wake;                   // an event counter that other threads add to
};

XScreen::XScreen(const Xlib& functions, ::Display* opened)
    : x(functions), display(opened), number(DefaultScreen(opened)), visual(DefaultVisual(opened, number)),
      depth(DefaultDepth(opened, number)), graphics(DefaultGC(opened, number)),
      protocols(x.InternAtom(opened, "WM_PROTOCOLS", False)),
      deleteWindow(x.InternAtom(opened, "WM_DELETE_WINDOW", False)), wake(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
    ours = display;
    others = x.SetErrorHandler(IgnoreErrors);
    x.kbSetDetectableAutoRepeat(display, True, nullptr); // a held key is pressed again and again, and released once
}

XScreen::~XScreen()
{
    x.CloseDisplay(display);
    x.SetErrorHandler(others);
    ours = nullptr;
    if (wake >= 0)
        close(wake);
}

bool XScreen::Usable() const
{
    return wake >= 0 && depth >= 15 && visual->c_class == TrueColor;
}

HWND XScreen::Find(::Window window) const
{
    for (const auto& [top, shown] : all) {
        if (shown.window == window)
            return top;
    }
    return nullptr;
}

// ---- Windows --------------------------------------------------------------------------------------------------------

bool XScreen::Open(HWND top, HWND owner, RECT& place, bool placeGiven)
{
    place = RectAt({place.left, place.top}, std::clamp(Width(place), 1, 16384), std::clamp(Height(place), 1, 16384));
    Shown made;
    made.place = place;
    XSetWindowAttributes with{};
    with.event_mask = ExposureMask | StructureNotifyMask | FocusChangeMask | KeyPressMask | KeyReleaseMask |
                      ButtonPressMask | ButtonReleaseMask | PointerMotionMask;
    with.bit_gravity = NorthWestGravity; // what is shown stays when the size changes
    made.window = x.CreateWindow(display, RootWindow(display, number), place.left, place.top,
                                 static_cast<unsigned>(Width(place)), static_cast<unsigned>(Height(place)), 0, depth,
                                 InputOutput, visual, CWEventMask | CWBitGravity, &with);
    if (!made.window)
        return false;
    x.SetWMProtocols(display, made.window, &deleteWindow, 1);
    XSizeHints hints{};
    hints.flags = placeGiven ? USPosition | USSize : USSize;
    hints.x = place.left;
    hints.y = place.top;
    hints.width = Width(place);
    hints.height = Height(place);
    x.SetWMNormalHints(display, made.window, &hints);
    if (const auto above = all.find(owner); above != all.end())
        x.SetTransientForHint(display, made.window, above->second.window);
    all[top] = made;
    return true;
}

void XScreen::Close(HWND top)
{
    if (const auto shown = all.find(top); shown != all.end()) {
        x.DestroyWindow(display, shown->second.window);
        x.Flush(display);
        all.erase(shown);
    }
}

void XScreen::Show(HWND top, bool show)
{
    Shown& shown = all[top];
    if (show)
        x.MapRaised(display, shown.window);
    else
        x.UnmapWindow(display, shown.window);
    x.Flush(display);
}

void XScreen::Place(HWND top, const RECT& place)
{
    Shown& shown = all[top];
    shown.place = place;
    x.MoveResizeWindow(display, shown.window, place.left, place.top, static_cast<unsigned>(std::max(Width(place), 1)),
                       static_cast<unsigned>(std::max(Height(place), 1)));
    x.Flush(display);
}

void XScreen::SetTitle(HWND top, const char* title)
{
    const ::Window window = all[top].window;
    x.StoreName(display, window, title);
    const Atom name = x.InternAtom(display, "_NET_WM_NAME", False), text = x.InternAtom(display, "UTF8_STRING", False);
    x.ChangeProperty(display, window, name, text, 8, PropModeReplace, reinterpret_cast<const unsigned char*>(title),
                     static_cast<int>(std::char_traits<char>::length(title)));
}

void XScreen::Focus(HWND top)
{
    Shown& shown = all[top];
    shown.wantsFocus = !shown.mapped; // a window that is not to be seen yet cannot have it
    if (shown.mapped)
        x.SetInputFocus(display, shown.window, RevertToParent, CurrentTime);
    x.Flush(display);
}

void XScreen::SetCursor(HWND top, HCURSOR cursor)
{
    const auto known = cursors.find(cursor);
    const Cursor shape =
        known != cursors.end() ? known->second : (cursors[cursor] = x.CreateFontCursor(display, FontShape(cursor)));
    x.DefineCursor(display, all[top].window, shape);
    x.Flush(display);
}

// ---- Pixels ---------------------------------------------------------------------------------------------------------

void XScreen::Present(HWND top, const Surface& surface, const RECT& part)
{
    Shown& shown = all[top];
    shown.surface = &surface;
    if (shown.mapped)
        Put(shown, part);
}

void XScreen::Put(const Shown& shown, const RECT& wanted)
{
    if (!shown.surface)
        return;
    const RECT part = Common(wanted, {0, 0, shown.surface->width, shown.surface->height});
    if (Empty(part))
        return;
    XImage* const image =
        x.CreateImage(display, visual, static_cast<unsigned>(depth), ZPixmap, 0, nullptr,
                      static_cast<unsigned>(shown.surface->width), static_cast<unsigned>(Height(part)), 32, 0);
    if (!image)
        return;
    const auto rows = static_cast<std::size_t>(Height(part)), width = static_cast<std::size_t>(shown.surface->width);
    const bool ourBits = image->bits_per_pixel == 32 && image->red_mask == 0xFF0000 && image->green_mask == 0xFF00 &&
                         image->blue_mask == 0xFF && image->byte_order == LSBFirst;
    if (ourBits) {
        image->data = const_cast<char*>(reinterpret_cast<const char*>(shown.surface->Row(part.top)));
    } else {
        converted.assign((static_cast<std::size_t>(image->bytes_per_line) * rows + 3) / 4 + width, 0);
        image->data = reinterpret_cast<char*>(converted.data());
        const unsigned long masks[] = {image->red_mask, image->green_mask, image->blue_mask};
        for (int y = part.top; y < part.bottom; ++y) {
            for (int at = part.left; at < part.right; ++at) {
                const u32 pixel = shown.surface->Row(y)[at];
                unsigned long made = 0;
                for (int i = 0; i < 3; ++i) // the mask's share of the whole: v × mask / 255, in the mask's own place
                    made |=
                        static_cast<unsigned long>(static_cast<u64>(masks[i]) * (pixel >> (16 - 8 * i) & 0xFF) / 255) &
                        masks[i];
                XPutPixel(image, at, y - part.top, made);
            }
        }
    }
    x.PutImage(display, shown.window, graphics, image, part.left, 0, part.left, part.top,
               static_cast<unsigned>(Width(part)), static_cast<unsigned>(Height(part)));
    image->data = nullptr; // not the image's own
    XDestroyImage(image);
    x.Flush(display);
}

// ---- What happens ---------------------------------------------------------------------------------------------------

void XScreen::Collect(std::deque<Input>& happened)
{
    while (x.Pending(display) > 0) {
        XEvent event;
        x.NextEvent(display, &event);
        Translate(event, happened);
    }
}

void XScreen::Translate(XEvent& event, std::deque<Input>& happened)
{
    const HWND top = Find(event.xany.window);
    if (event.type == MappingNotify)
        x.RefreshKeyboardMapping(&event.xmapping);
    if (!top)
        return;
    Shown& shown = all[top];
    switch (event.type) {
    case Expose: {
        const XExposeEvent& e = event.xexpose;
        Put(shown, RectAt({e.x, e.y}, e.width, e.height));
        break;
    }
    case MapNotify:
        shown.mapped = true;
        if (shown.wantsFocus)
            Focus(top);
        break;
    case UnmapNotify:
        shown.mapped = false;
        break;
    case ConfigureNotify:
        Placed(top, event.xconfigure, happened);
        break;
    case ClientMessage:
        if (event.xclient.message_type == protocols && static_cast<Atom>(event.xclient.data.l[0]) == deleteWindow)
            happened.push_back({Input::close, top, {}, 0, 0, -1, {}});
        break;
    case FocusIn:
    case FocusOut:
        // Keys that come by way of the pointer, and short grabs, change nothing.
        if (event.xfocus.detail < NotifyPointer && event.xfocus.mode != NotifyGrab && event.xfocus.mode != NotifyUngrab)
            happened.push_back({event.type == FocusIn ? Input::focusIn : Input::focusOut, top, {}, 0, 0, -1, {}});
        break;
    case KeyPress:
    case KeyRelease:
        TranslateKey(event, top, happened);
        break;
    case ButtonPress:
    case ButtonRelease:
    case MotionNotify:
        TranslatePointer(event, top, happened);
        break;
    default:
        break;
    }
}

int ModifiersOf(unsigned state)
{
    return (state & ShiftMask ? static_cast<int>(MK_SHIFT) : 0) |
           (state & ControlMask ? static_cast<int>(MK_CONTROL) : 0);
}

void XScreen::TranslatePointer(const XEvent& event, HWND top, std::deque<Input>& happened)
{
    if (event.type == MotionNotify) {
        const XMotionEvent& e = event.xmotion;
        const Input moved{Input::pointer, top, {e.x, e.y}, 0, 0, ModifiersOf(e.state), {}};
        if (!happened.empty() && happened.back().kind == Input::pointer && happened.back().top == top)
            happened.back() = moved; // only where it got to counts
        else
            happened.push_back(moved);
        return;
    }
    const XButtonEvent& e = event.xbutton;
    const int modifiers = ModifiersOf(e.state);
    if (e.button == Button4 || e.button == Button5) {
        if (event.type == ButtonPress)
            happened.push_back(
                {Input::wheel, top, {e.x, e.y}, e.button == Button4 ? WHEEL_DELTA : -WHEEL_DELTA, 0, modifiers, {}});
        return;
    }
    const int button = e.button == Button1   ? VK_LBUTTON
                       : e.button == Button2 ? VK_MBUTTON
                       : e.button == Button3 ? VK_RBUTTON
                                             : 0;
    const Input::Kind kind = event.type == ButtonPress ? Input::press : Input::release;
    if (button)
        happened.push_back({kind, top, {e.x, e.y}, button, 0, modifiers, {}});
}

void XScreen::TranslateKey(XEvent& event, HWND top, std::deque<Input>& happened)
{
    char text[8] = {};
    KeySym symbol = 0;
    const int length = x.LookupString(&event.xkey, text, sizeof text, &symbol, nullptr);
    // Keys are named by what they give alone, whatever else is held.
    const int key = VirtualKeyOf(x.LookupKeysym(&event.xkey, 0), symbol);
    if (!key)
        return;
    const Input::Kind kind = event.type == KeyPress ? Input::keyDown : Input::keyUp;
    const int modifiers = key == VK_SHIFT || key == VK_CONTROL ? -1 : ModifiersOf(event.xkey.state);
    happened.push_back({kind, top, {}, key, length == 1 ? text[0] : char(0), modifiers, {}});
}

void XScreen::Placed(HWND top, const XConfigureEvent& event, std::deque<Input>& happened)
{
    Shown& shown = all[top];
    int left = event.x, upper = event.y;
    ::Window child = 0;
    if (!event.send_event) // then they count from the window manager's frame, if there is one
        x.TranslateCoordinates(display, shown.window, RootWindow(display, number), 0, 0, &left, &upper, &child);
    shown.place = RectAt({left, upper}, event.width, event.height);
    happened.push_back({Input::placed, top, {}, 0, 0, -1, shown.place});
}

void XScreen::Wait(int milliseconds)
{
    x.Flush(display);
    if (x.Pending(display) > 0)
        return;
    pollfd both[] = {{ConnectionNumber(display), POLLIN, 0}, {wake, POLLIN, 0}};
    if (poll(both, 2, milliseconds) > 0 && (both[1].revents & POLLIN)) {
        eventfd_t count = 0;
        eventfd_read(wake, &count);
    }
}

void XScreen::Wake()
{
    eventfd_write(wake, 1);
}

} // namespace

std::unique_ptr<IWindowSystem> MakeDisplayWindows()
{
    const Xlib* const functions = Xlib::Load();
    ::Display* const display = functions ? functions->OpenDisplay(nullptr) : nullptr;
    if (!display)
        return nullptr;
    auto screen = std::make_unique<XScreen>(*functions, display);
    if (!screen->Usable())
        return nullptr;
    return std::make_unique<WindowTree>(std::move(screen));
}

} // namespace NV
