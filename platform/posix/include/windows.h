// The few Win32 types that the exported interface is written in, for systems that have no <windows.h> of their own.
// Widths are those of 32-bit and 64-bit Windows alike: LONG and DWORD have 32 bits wherever this is compiled.
#pragma once

using BYTE = unsigned char;
using WORD = unsigned short;
using DWORD = unsigned int;
using UINT = unsigned int;
using INT = int;
using LONG = int;
using BOOL = int;
using LONGLONG = long long;
using ULONGLONG = unsigned long long;
using TCHAR = char;
using LPSTR = char*;
using LPTSTR = char*;
using LPCSTR = const char*;
using LPCTSTR = const char*;
using HANDLE = void*;
using COLORREF = DWORD; // 0x00BBGGRR
using __time64_t = long long;

static_assert(sizeof(WORD) == 2 && sizeof(DWORD) == 4 && sizeof(LONG) == 4 && sizeof(ULONGLONG) == 8);

#define __int64 long long

#define TRUE 1
#define FALSE 0

/// What stands for "no file"; everything else that a file function hands out is opaque.
#define INVALID_HANDLE_VALUE (reinterpret_cast<HANDLE>(static_cast<__INTPTR_TYPE__>(-1)))

/// Longest full path, its closing zero included.
#define _MAX_PATH 4096
#define MAX_PATH _MAX_PATH

constexpr COLORREF RGB(unsigned red, unsigned green, unsigned blue)
{
    return (red & 0xFFU) | (green & 0xFFU) << 8 | (blue & 0xFFU) << 16;
}
constexpr BYTE GetRValue(COLORREF colour)
{
    return static_cast<BYTE>(colour & 0xFFU);
}
constexpr BYTE GetGValue(COLORREF colour)
{
    return static_cast<BYTE>(colour >> 8 & 0xFFU);
}
constexpr BYTE GetBValue(COLORREF colour)
{
    return static_cast<BYTE>(colour >> 16 & 0xFFU);
}

/// One entry of a colour table, in its stored order.
struct tagRGBQUAD {
    BYTE rgbBlue;
    BYTE rgbGreen;
    BYTE rgbRed;
    BYTE rgbReserved;
};
using RGBQUAD = tagRGBQUAD;

struct tagPOINT {
    LONG x;
    LONG y;
};
using POINT = tagPOINT;
using LPPOINT = tagPOINT*;

struct tagSIZE {
    LONG cx;
    LONG cy;
};
using SIZE = tagSIZE;
using LPSIZE = tagSIZE*;

/// Right and bottom are the first column and row outside.
struct tagRECT {
    LONG left;
    LONG top;
    LONG right;
    LONG bottom;
};
using RECT = tagRECT;
using LPRECT = tagRECT*;
using LPCRECT = const tagRECT*;

#include "winbase.h"
#include "winuser.h" // the rest, as with the system's own
