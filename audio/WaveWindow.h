// What the waveform windows share: counted window classes, and hatching. One thread, as windows.
#pragma once

#include "DibDrawing.h"

#include <afxwin.h>

namespace NV {

/// Makes a window class known with the first of `count`. FALSE when the system refuses; the count then stays.
BOOL RegisterCounted(LPCTSTR className, LPCTSTR cursor, int& count);
/// Forgets it with the last; nothing when there is none.
void UnregisterCounted(LPCTSTR className, int& count);

/// Lines rising to the right, on what is there; the same pixels wherever the area begins.
void Hatch(CDibDrawing& drawing, const CRect& area, COLORREF colour);

} // namespace NV
