// Which kind of windows a program has, and what goes to whichever it is: see Window.h.
#include "WindowSystem.h"

#include <cstdlib>
#include <cstring>

namespace NV {

namespace {

struct Chosen {
    std::unique_ptr<IWindowSystem> system;
    WindowKind kind = WindowKind::offScreen;
};

Chosen& Current()
{
    static Chosen chosen; // gone at the program's end, when no window is left
    return chosen;
}

bool Make(Chosen& chosen, WindowKind kind)
{
    std::unique_ptr<IWindowSystem> made = kind == WindowKind::display ? MakeDisplayWindows() : MakeOffScreenWindows();
    if (!made)
        return false;
    chosen = {std::move(made), kind};
    return true;
}

Chosen& Ready()
{
    Chosen& chosen = Current();
    if (!chosen.system) {
        const char* const wish = std::getenv("NVLIB_WINDOWS");
        if ((wish && std::strcmp(wish, "offscreen") == 0) || !Make(chosen, WindowKind::display))
            Make(chosen, WindowKind::offScreen);
    }
    return chosen;
}

} // namespace

IWindowSystem& WindowSystem()
{
    return *Ready().system;
}

WindowKind WindowsAre()
{
    return Ready().kind;
}

bool ChooseWindows(WindowKind kind)
{
    Chosen& chosen = Current();
    if (chosen.system && chosen.kind == kind)
        return true;
    return !(chosen.system && chosen.system->AnyWindow()) && Make(chosen, kind);
}

bool ShowPixels(HDC context, POINT to, const PixelRows& picture, const RECT& from)
{
    return WindowSystem().ShowPixels(context, to, picture, from);
}

bool ReadPixels(HWND window, const PixelRows& picture)
{
    return WindowSystem().ReadPixels(window, picture);
}

bool HandleWaitingMessages()
{
    MSG message;
    while (WindowSystem().Next(message, false)) {
        if (message.message == WM_QUIT) {
            WindowSystem().PostQuit(static_cast<int>(message.wParam));
            return false;
        }
        WindowSystem().Dispatch(message);
    }
    return true;
}

} // namespace NV
