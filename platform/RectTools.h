// Small sums with rectangles, below the framework's own class for them. Right and bottom are the first column and row
// outside.
#pragma once

#include <algorithm>
#include <windows.h>

namespace NV {

inline int Width(const RECT& r)
{
    return r.right - r.left;
}
inline int Height(const RECT& r)
{
    return r.bottom - r.top;
}
inline bool Empty(const RECT& r)
{
    return r.left >= r.right || r.top >= r.bottom;
}
inline bool Same(const RECT& a, const RECT& b)
{
    return a.left == b.left && a.top == b.top && a.right == b.right && a.bottom == b.bottom;
}
inline bool Holds(const RECT& r, POINT p)
{
    return p.x >= r.left && p.x < r.right && p.y >= r.top && p.y < r.bottom;
}
/// Negative sizes count as 0.
inline RECT RectAt(POINT corner, int width, int height)
{
    return {corner.x, corner.y, corner.x + std::max(width, 0), corner.y + std::max(height, 0)};
}
inline RECT Moved(const RECT& r, POINT by)
{
    return {r.left + by.x, r.top + by.y, r.right + by.x, r.bottom + by.y};
}
/// What both have; empty, though perhaps not all 0, when there is nothing.
inline RECT Common(const RECT& a, const RECT& b)
{
    return {std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right), std::min(a.bottom, b.bottom)};
}
/// The smallest one around both, of which empty ones do not count.
inline RECT Around(const RECT& a, const RECT& b)
{
    if (Empty(a) || Empty(b))
        return Empty(a) ? b : a;
    return {std::min(a.left, b.left), std::min(a.top, b.top), std::max(a.right, b.right), std::max(a.bottom, b.bottom)};
}

} // namespace NV
