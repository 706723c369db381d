// Memory that is handed out by handle, for systems that have no <winbase.h> of their own. Any thread.
#pragma once

#include "windows.h"

#include <cstddef>

using SIZE_T = std::size_t;
using HGLOBAL = void*;

constexpr UINT GMEM_MOVEABLE = 0x0002;

/// Bytes that GlobalLock tells the place of; null when there is no memory.
HGLOBAL GlobalAlloc(UINT flags, SIZE_T bytes);
/// Where the bytes lie until GlobalUnlock.
void* GlobalLock(HGLOBAL memory);
/// Always FALSE: nothing here moves, so nothing stays locked.
BOOL GlobalUnlock(HGLOBAL memory);
/// Always null.
HGLOBAL GlobalFree(HGLOBAL memory);
