// What is asked of windows beyond the class framework's own classes: which kind of windows a program has, pixels to and
// from them, and the messages that wait. Sizes and positions are pixels.
//
// Windows belong to one thread, the one that makes the first of them; only it may call what is declared here, except
// where a function says otherwise.
#pragma once

#include "NVExport.h"
#include "NVTypes.h"

#include <windows.h>

namespace NV {

/// What windows are made of. Without a display, or with NVLIB_WINDOWS=offscreen in the environment, a program's windows
/// are off-screen ones, which paint and take messages like any other but are seen by nobody.
enum class WindowKind { display, offScreen };

/// Has windows be of this kind from now on. False, and nothing changes, while a window stands or when there is no
/// display.
NVLIB_API bool ChooseWindows(WindowKind kind);
/// What windows are, or would be if one were made now.
NVLIB_API WindowKind WindowsAre();

/// A picture as CDib stores it: rows bottom-up, each padded to four bytes; blue, green, red (and a byte that does not
/// count), or indices into 256 entries of `colours`.
struct PixelRows {
    u8* bits;
    int width, height;
    int bitCount; // 8, 24 or 32
    const RGBQUAD* colours;
};

/// Shows `from` of the picture with its top-left corner at `to` of a window that is being painted, clipped to both and
/// to what is to be painted. False when the context is none.
NVLIB_API bool ShowPixels(HDC context, POINT to, const PixelRows& picture, const RECT& from);

/// Reads what a window and the windows in it last painted into a picture of its client area's size and 32 bits. False
/// when the window is none, or the sizes differ, or the window system keeps nothing.
NVLIB_API bool ReadPixels(HWND window, const PixelRows& picture);

/// Handles all messages that wait and returns at once. False when the program was asked to quit meanwhile: the
/// message loop is told again. What was posted to the thread and not to a window is dropped, so a thread that gets such
/// messages pumps them instead.
NVLIB_API bool HandleWaitingMessages();

/// This module, as window classes want it; null where there is nothing of the kind. Any thread.
NVLIB_API HINSTANCE ModuleInstance();

} // namespace NV
