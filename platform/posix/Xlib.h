// The functions of Xlib that are used, loaded while the program runs; the types are those of its own headers. One
// thread.
#pragma once

#include <X11/XKBlib.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>

namespace NV {

#define NV_XLIB_FUNCTIONS(X)                                                                                           \
    X(ChangeProperty)                                                                                                  \
    X(CloseDisplay)                                                                                                    \
    X(CreateFontCursor)                                                                                                \
    X(CreateImage)                                                                                                     \
    X(CreateWindow)                                                                                                    \
    X(DefineCursor)                                                                                                    \
    X(DestroyWindow)                                                                                                   \
    X(Flush)                                                                                                           \
    X(InternAtom)                                                                                                      \
    X(kbSetDetectableAutoRepeat)                                                                                       \
    X(LookupKeysym)                                                                                                    \
    X(LookupString)                                                                                                    \
    X(MapRaised)                                                                                                       \
    X(MoveResizeWindow)                                                                                                \
    X(NextEvent)                                                                                                       \
    X(OpenDisplay)                                                                                                     \
    X(Pending)                                                                                                         \
    X(PutImage)                                                                                                        \
    X(RefreshKeyboardMapping)                                                                                          \
    X(SetErrorHandler)                                                                                                 \
    X(SetInputFocus)                                                                                                   \
    X(SetTransientForHint)                                                                                             \
    X(SetWMNormalHints)                                                                                                \
    X(SetWMProtocols)                                                                                                  \
    X(StoreName)                                                                                                       \
    X(TranslateCoordinates)                                                                                            \
    X(UnmapWindow)

/// Each under its name without the X in front.
struct Xlib {
#define NV_XLIB_MEMBER(name) decltype(&::X##name) name = nullptr;
    NV_XLIB_FUNCTIONS(NV_XLIB_MEMBER)
#undef NV_XLIB_MEMBER

    /// Null where there is no Xlib. Loaded once, and then for good: it does not like to be unloaded.
    static const Xlib* Load();
};

} // namespace NV
