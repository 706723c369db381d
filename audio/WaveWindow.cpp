// See WaveWindow.h.
#include "WaveWindow.h"

#include <algorithm>
#include <vector>

namespace NV {

BOOL RegisterCounted(LPCTSTR className, LPCTSTR cursor, int& count)
{
    if (count == 0) {
        WNDCLASS windowClass{};
        windowClass.lpfnWndProc = ::DefWindowProc;
        windowClass.hInstance = AfxGetInstanceHandle();
        windowClass.hCursor = ::LoadCursor(nullptr, cursor);
        windowClass.lpszClassName = className; // no background: these windows paint every pixel
        if (!AfxRegisterClass(&windowClass))
            return FALSE;
    }
    ++count;
    return TRUE;
}

void UnregisterCounted(LPCTSTR className, int& count)
{
    if (count > 0 && --count == 0)
        ::UnregisterClass(className, AfxGetInstanceHandle());
}

void Hatch(CDibDrawing& drawing, const CRect& area, COLORREF colour)
{
    constexpr int distance = 6;
    CRect part;
    part.IntersectRect(area, drawing.GetClip());
    std::vector<CPoint> points;
    for (int y = part.top; y < part.bottom; ++y) {
        const int phase = (part.left + y) % distance;
        for (int x = part.left + (distance - phase) % distance; x < part.right; x += distance)
            points.emplace_back(x, y);
    }
    drawing.Points(points, colour);
}

} // namespace NV
