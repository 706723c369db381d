// Drawing into a picture. Coordinates are pixels from the top-left corner; a rectangle's right and bottom are the first
// column and row outside, while both ends of a line belong to it. Everything is clipped, wherever it reaches. One
// thread at a time for each picture.
#pragma once

#include "Dib.h"

#include <span>

/// A run of pixels in row `y`, both ends included; nothing when `right` < `left`.
struct DibSpan {
    int y;
    int left;
    int right;
};

/// Draws into one picture, inside a clipping rectangle. The picture belongs to the caller, outlives this object and is
/// not made anew meanwhile; without a picture nothing is drawn.
///
/// An ink is an index in a picture of 8 bits and a colour (0x00BBGGRR) in one of 24 or 32. The fourth byte of a 32-bit
/// pixel that is drawn becomes 0; a pattern's is copied.
class NVLIB_API CDibDrawing {
public:
    explicit CDibDrawing(CDib& target) : CDibDrawing(target, target.GetRect()) {}
    /// `within` is narrowed to the picture.
    CDibDrawing(CDib& target, const CRect& within);

    const CRect& GetClip() const { return clip; }

    // Rectangles

    void Fill(const CRect& area, u32 ink);
    /// The outermost `thickness` pixels of the rectangle; all of it when it is no larger than that.
    void Frame(const CRect& area, u32 ink, int thickness = 1);
    /// Turns every bit of an index or colour over; done twice it leaves everything as it was.
    void Invert(const CRect& area);
    /// Moves what is there towards `colour`, by `alpha` / 255 and rounded to nearest: 0 leaves it, 255 (and more)
    /// covers it. Pictures of 24 and 32 bits only.
    void Blend(const CRect& area, COLORREF colour, int alpha);
    /// Lays copies of `brush` side by side, one of them with its top-left corner at `origin`. Nothing when its depth is
    /// another one or it is the picture itself. Colour tables do not count.
    void Pattern(const CRect& area, const CDib& brush, CPoint origin);

    // Lines, both ends included; the ends may be given in either order

    void Horizontal(int y, int x1, int x2, u32 ink);
    void Vertical(int x, int y1, int y2, u32 ink);
    /// The pixels nearest to the straight line, one for each step along its longer side; halves go towards `to`'s side.
    /// Clipping takes pixels away and moves none, with ends up to 500,000,000 pixels away.
    void Line(CPoint from, CPoint to, u32 ink);

    // Many at once

    void Spans(std::span<const DibSpan> spans, u32 ink);
    void Points(std::span<const CPoint> points, u32 ink);
    /// Joins each point with the next one.
    void Polyline(std::span<const CPoint> points, u32 ink);

private:
    CDib* picture;
    CRect clip;
};
