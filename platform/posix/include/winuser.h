// The Win32 types, numbers and records of windows and their messages, for systems that have no <winuser.h> of their
// own: what the class framework's windows and those who derive from them use. Values are Windows' own, since
// applications compare and store them. Coordinates are pixels.
#pragma once

#include "NVExport.h"
#include "windows.h"

using UINT_PTR = __UINTPTR_TYPE__;
using LONG_PTR = __INTPTR_TYPE__;
using WPARAM = UINT_PTR;
using LPARAM = LONG_PTR;
using LRESULT = LONG_PTR;
using LPVOID = void*;
using ATOM = WORD;

// Opaque handles; each its own type, so that one is not taken for another.
using HWND = struct HWND__*;
using HDC = struct HDC__*;
using HINSTANCE = struct HINSTANCE__*;
using HICON = struct HICON__*;
using HCURSOR = HICON;
using HBRUSH = struct HBRUSH__*;
using HMENU = struct HMENU__*; // of a child window: its number

#define CALLBACK

using WNDPROC = LRESULT (*)(HWND, UINT, WPARAM, LPARAM);

constexpr WORD LOWORD(ULONGLONG value)
{
    return static_cast<WORD>(value & 0xFFFFU);
}
constexpr WORD HIWORD(ULONGLONG value)
{
    return static_cast<WORD>(value >> 16 & 0xFFFFU);
}
constexpr LPARAM MAKELPARAM(int low, int high)
{
    return static_cast<LPARAM>(static_cast<DWORD>(low & 0xFFFF) | static_cast<DWORD>(high & 0xFFFF) << 16);
}
constexpr WPARAM MAKEWPARAM(int low, int high)
{
    return static_cast<DWORD>(low & 0xFFFF) | static_cast<DWORD>(high & 0xFFFF) << 16;
}

// ---- Messages ------------------------------------------------------------------------------------------------------

enum : UINT {
    WM_NULL = 0x0000,
    WM_CREATE = 0x0001,
    WM_DESTROY = 0x0002,
    WM_MOVE = 0x0003,
    WM_SIZE = 0x0005,
    WM_SETFOCUS = 0x0007,
    WM_KILLFOCUS = 0x0008,
    WM_ENABLE = 0x000A,
    WM_PAINT = 0x000F,
    WM_CLOSE = 0x0010,
    WM_QUIT = 0x0012,
    WM_ERASEBKGND = 0x0014,
    WM_SHOWWINDOW = 0x0018,
    WM_SETCURSOR = 0x0020,
    WM_NCDESTROY = 0x0082,
    WM_KEYDOWN = 0x0100,
    WM_KEYUP = 0x0101,
    WM_CHAR = 0x0102,
    WM_TIMER = 0x0113,
    WM_MOUSEFIRST = 0x0200,
    WM_MOUSEMOVE = 0x0200,
    WM_LBUTTONDOWN = 0x0201,
    WM_LBUTTONUP = 0x0202,
    WM_LBUTTONDBLCLK = 0x0203,
    WM_RBUTTONDOWN = 0x0204,
    WM_RBUTTONUP = 0x0205,
    WM_RBUTTONDBLCLK = 0x0206,
    WM_MBUTTONDOWN = 0x0207,
    WM_MBUTTONUP = 0x0208,
    WM_MBUTTONDBLCLK = 0x0209,
    WM_MOUSEWHEEL = 0x020A,
    WM_CAPTURECHANGED = 0x0215,
    WM_USER = 0x0400
};

// What WM_SIZE tells in wParam.
enum : UINT { SIZE_RESTORED = 0, SIZE_MINIMIZED = 1, SIZE_MAXIMIZED = 2 };

// What dialogs give back.
enum : int { IDOK = 1, IDCANCEL = 2 };

// What mouse messages tell in wParam.
enum : UINT { MK_LBUTTON = 0x01, MK_RBUTTON = 0x02, MK_SHIFT = 0x04, MK_CONTROL = 0x08, MK_MBUTTON = 0x10 };

constexpr int WHEEL_DELTA = 120; // one notch

/// What the pointer is over: the one part that windows here have.
constexpr int HTCLIENT = 1;

/// Keys without a character; letters and digits are their capital letter's and digit's own code.
enum : int {
    VK_LBUTTON = 0x01,
    VK_RBUTTON = 0x02,
    VK_MBUTTON = 0x04,
    VK_BACK = 0x08,
    VK_TAB = 0x09,
    VK_RETURN = 0x0D,
    VK_SHIFT = 0x10,
    VK_CONTROL = 0x11,
    VK_MENU = 0x12,
    VK_ESCAPE = 0x1B,
    VK_SPACE = 0x20,
    VK_PRIOR = 0x21,
    VK_NEXT = 0x22,
    VK_END = 0x23,
    VK_HOME = 0x24,
    VK_LEFT = 0x25,
    VK_UP = 0x26,
    VK_RIGHT = 0x27,
    VK_DOWN = 0x28,
    VK_INSERT = 0x2D,
    VK_DELETE = 0x2E,
    VK_MULTIPLY = 0x6A,
    VK_ADD = 0x6B,
    VK_SUBTRACT = 0x6D,
    VK_DECIMAL = 0x6E,
    VK_DIVIDE = 0x6F,
    VK_F1 = 0x70,
    VK_F12 = 0x7B,
    VK_OEM_PLUS = 0xBB,
    VK_OEM_COMMA = 0xBC,
    VK_OEM_MINUS = 0xBD,
    VK_OEM_PERIOD = 0xBE
};

struct tagMSG {
    HWND hwnd;
    UINT message;
    WPARAM wParam;
    LPARAM lParam;
    DWORD time; // milliseconds of a clock that nobody sets
    POINT pt;   // where the pointer was, on the screen
};
using MSG = tagMSG;

// ---- Windows -------------------------------------------------------------------------------------------------------

enum : DWORD {
    WS_OVERLAPPED = 0x00000000,
    WS_POPUP = 0x80000000,
    WS_CHILD = 0x40000000,
    WS_VISIBLE = 0x10000000,
    WS_DISABLED = 0x08000000,
    WS_CLIPSIBLINGS = 0x04000000,
    WS_CLIPCHILDREN = 0x02000000,
    WS_CAPTION = 0x00C00000,
    WS_BORDER = 0x00800000,
    WS_SYSMENU = 0x00080000,
    WS_THICKFRAME = 0x00040000,
    WS_MINIMIZEBOX = 0x00020000,
    WS_MAXIMIZEBOX = 0x00010000,
    WS_TABSTOP = 0x00010000,
    WS_OVERLAPPEDWINDOW = WS_CAPTION | WS_SYSMENU | WS_THICKFRAME | WS_MINIMIZEBOX | WS_MAXIMIZEBOX
};

/// As a position or width: the system chooses.
constexpr int CW_USEDEFAULT = static_cast<int>(0x80000000);

enum : int { SW_HIDE = 0, SW_SHOWNORMAL = 1, SW_SHOW = 5 };

struct tagCREATESTRUCTA {
    LPVOID lpCreateParams;
    HINSTANCE hInstance;
    HMENU hMenu;
    HWND hwndParent;
    int cy;
    int cx;
    int y;
    int x;
    LONG style;
    LPCSTR lpszName;
    LPCSTR lpszClass;
    DWORD dwExStyle;
};
using CREATESTRUCTA = tagCREATESTRUCTA;
using CREATESTRUCT = tagCREATESTRUCTA;
using LPCREATESTRUCT = tagCREATESTRUCTA*;

struct tagPAINTSTRUCT {
    HDC hdc;
    BOOL fErase;  // the background is still to be erased
    RECT rcPaint; // what is to be painted, in client coordinates
    BOOL fRestore;
    BOOL fIncUpdate;
    BYTE rgbReserved[32];
};
using PAINTSTRUCT = tagPAINTSTRUCT;

// ---- Window classes ------------------------------------------------------------------------------------------------

enum : UINT { CS_VREDRAW = 0x0001, CS_HREDRAW = 0x0002, CS_DBLCLKS = 0x0008 };

// System colours, plus 1 and as a handle the background of a window class.
enum : int { COLOR_WINDOW = 5, COLOR_BTNFACE = 15 };

struct tagWNDCLASSA {
    UINT style;
    WNDPROC lpfnWndProc; // windows of the class framework do not use it
    int cbClsExtra;
    int cbWndExtra;
    HINSTANCE hInstance;
    HICON hIcon;
    HCURSOR hCursor;
    HBRUSH hbrBackground; // null: the window erases its own background
    LPCSTR lpszMenuName;
    LPCSTR lpszClassName;
};
using WNDCLASSA = tagWNDCLASSA;
using WNDCLASS = tagWNDCLASSA;

/// Makes a class known; 0 when its name is taken or empty. Any thread, like the next two.
NVLIB_API ATOM RegisterClass(const WNDCLASS* windowClass);
/// Forgets it; FALSE when there is none. Windows of it that stand keep what they took from it.
NVLIB_API BOOL UnregisterClass(LPCSTR className, HINSTANCE instance);
NVLIB_API BOOL GetClassInfo(HINSTANCE instance, LPCSTR className, WNDCLASS* windowClass);

NVLIB_API LRESULT DefWindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

// ---- Pointer shapes ------------------------------------------------------------------------------------------------

/// A number in the place of a name.
inline LPCSTR MakeIntResource(WORD number)
{
    return reinterpret_cast<LPCSTR>(static_cast<UINT_PTR>(number));
}
#define IDC_ARROW MakeIntResource(32512)
#define IDC_WAIT MakeIntResource(32514)
#define IDC_CROSS MakeIntResource(32515)
#define IDC_SIZEWE MakeIntResource(32644)
#define IDC_SIZENS MakeIntResource(32645)
#define IDC_SIZEALL MakeIntResource(32646)
#define IDC_HAND MakeIntResource(32649)

/// One of the shapes above; null for anything else.
NVLIB_API HCURSOR LoadCursor(HINSTANCE instance, LPCSTR name);
