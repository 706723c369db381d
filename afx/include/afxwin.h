// Points, sizes and rectangles, as MFC has them. Coordinates are pixels; a rectangle's right and bottom are the first
// column and row outside of it. Plain values; any thread may use its own.
#pragma once

#include <afx.h>

/// Width and height.
class CSize : public tagSIZE {
public:
    CSize() : tagSIZE{0, 0} {}
    CSize(int width, int height) : tagSIZE{width, height} {}
    CSize(const SIZE& other) : tagSIZE(other) {}

    friend bool operator==(const CSize& a, const CSize& b) { return a.cx == b.cx && a.cy == b.cy; }
    CSize operator+(const SIZE& other) const { return CSize(cx + other.cx, cy + other.cy); }
    CSize operator-(const SIZE& other) const { return CSize(cx - other.cx, cy - other.cy); }
};

class CPoint : public tagPOINT {
public:
    CPoint() : tagPOINT{0, 0} {}
    CPoint(int atX, int atY) : tagPOINT{atX, atY} {}
    CPoint(const POINT& other) : tagPOINT(other) {}

    void Offset(int byX, int byY)
    {
        x += byX;
        y += byY;
    }
    friend bool operator==(const CPoint& a, const CPoint& b) { return a.x == b.x && a.y == b.y; }
    CPoint operator+(const SIZE& by) const { return CPoint(x + by.cx, y + by.cy); }
    CPoint operator-(const SIZE& by) const { return CPoint(x - by.cx, y - by.cy); }
    CSize operator-(const POINT& other) const { return CSize(x - other.x, y - other.y); }
};

/// A rectangle is empty when it has no width or no height, a negative one included; several operations treat all empty
/// rectangles alike, so normalise one whose corners may be the wrong way round.
class CRect : public tagRECT {
public:
    CRect() : tagRECT{0, 0, 0, 0} {}
    CRect(int l, int t, int r, int b)
    {
        // One by one: the static analyser does not follow values into a base's braces.
        left = l;
        top = t;
        right = r;
        bottom = b;
    }
    CRect(const RECT& other) : tagRECT(other) {}
    CRect(LPCRECT other) : tagRECT(*other) {}
    CRect(POINT topLeft, SIZE size) : tagRECT{topLeft.x, topLeft.y, topLeft.x + size.cx, topLeft.y + size.cy} {}
    CRect(POINT topLeft, POINT bottomRight) : tagRECT{topLeft.x, topLeft.y, bottomRight.x, bottomRight.y} {}

    operator LPRECT() { return this; }
    operator LPCRECT() const { return this; }

    int Width() const { return right - left; }
    int Height() const { return bottom - top; }
    CSize Size() const { return CSize(Width(), Height()); }
    CPoint TopLeft() const { return CPoint(left, top); }
    CPoint BottomRight() const { return CPoint(right, bottom); }

    BOOL IsRectEmpty() const { return left >= right || top >= bottom; }
    /// All four sides are 0.
    BOOL IsRectNull() const { return left == 0 && top == 0 && right == 0 && bottom == 0; }
    BOOL PtInRect(POINT p) const { return p.x >= left && p.x < right && p.y >= top && p.y < bottom; }

    void SetRect(int l, int t, int r, int b) { *this = CRect(l, t, r, b); }
    void SetRectEmpty() { *this = CRect(); }
    /// Exchanges sides so that width and height are not negative.
    void NormalizeRect()
    {
        *this = CRect(left < right ? left : right, top < bottom ? top : bottom, left < right ? right : left,
                      top < bottom ? bottom : top);
    }
    void OffsetRect(int x, int y) { SetRect(left + x, top + y, right + x, bottom + y); }
    void OffsetRect(SIZE by) { OffsetRect(by.cx, by.cy); }
    void OffsetRect(POINT by) { OffsetRect(by.x, by.y); }
    void InflateRect(int l, int t, int r, int b) { SetRect(left - l, top - t, right + r, bottom + b); }
    void InflateRect(int x, int y) { InflateRect(x, y, x, y); }
    void InflateRect(SIZE by) { InflateRect(by.cx, by.cy); }
    void DeflateRect(int l, int t, int r, int b) { InflateRect(-l, -t, -r, -b); }
    void DeflateRect(int x, int y) { InflateRect(-x, -y); }
    void DeflateRect(SIZE by) { InflateRect(-by.cx, -by.cy); }

    /// Makes this the part that both have. FALSE, and all sides 0, when there is none.
    BOOL IntersectRect(LPCRECT a, LPCRECT b)
    {
        const CRect common(a->left > b->left ? a->left : b->left, a->top > b->top ? a->top : b->top,
                           a->right < b->right ? a->right : b->right, a->bottom < b->bottom ? a->bottom : b->bottom);
        const bool any = !common.IsRectEmpty(); // nor is there one with an empty rectangle
        *this = any ? common : CRect();
        return any;
    }
    /// Makes this the smallest rectangle around both, of which empty ones do not count. FALSE, and all sides 0, when
    /// both are empty.
    BOOL UnionRect(LPCRECT a, LPCRECT b)
    {
        const bool hasA = !CRect(a).IsRectEmpty();
        const bool hasB = !CRect(b).IsRectEmpty();
        if (hasA && hasB) {
            *this = CRect(a->left < b->left ? a->left : b->left, a->top < b->top ? a->top : b->top,
                          a->right > b->right ? a->right : b->right, a->bottom > b->bottom ? a->bottom : b->bottom);
        } else {
            *this = hasA ? CRect(a) : hasB ? CRect(b) : CRect();
        }
        return hasA || hasB;
    }

    void operator&=(const RECT& other) { IntersectRect(this, &other); }
    void operator|=(const RECT& other) { UnionRect(this, &other); }
    CRect operator&(const RECT& other) const
    {
        CRect result;
        result.IntersectRect(this, &other);
        return result;
    }
    CRect operator|(const RECT& other) const
    {
        CRect result;
        result.UnionRect(this, &other);
        return result;
    }
    /// Compares the sides: two empty rectangles may differ.
    friend bool operator==(const CRect& a, const CRect& b)
    {
        return a.left == b.left && a.top == b.top && a.right == b.right && a.bottom == b.bottom;
    }
};
