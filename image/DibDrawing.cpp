// Drawing into a picture: see DibDrawing.h. Shapes are clipped here; the runs of pixels that remain are PixelRuns.h's.
#include "DibDrawing.h"

#include "PixelRuns.h"

#include <cstdlib>

using NV::WithPixels;

namespace {

/// What is left of both; its sides are within the clip, so that counts cannot overflow.
CRect Clipped(const CRect& area, const CRect& clip)
{
    CRect common;
    common.IntersectRect(area, clip);
    return common;
}

/// `value` modulo `size`, not negative.
int Wrapped(i64 value, int size)
{
    const i64 rest = value % size;
    return static_cast<int>(rest < 0 ? rest + size : rest);
}

/// A line as steps along its longer side ("major"); after k steps the other coordinate has moved by
/// (2 k minor + major) / (2 major).
struct Steps {
    i64 from, count;        // along the longer side: where it begins, how many steps to the end
    int direction;          // 1 or -1
    i64 minorFrom, minorBy; // across: where it begins, how far it goes in all
    int minorDirection;

    Steps(i64 major, i64 majorTo, i64 minor, i64 minorTo)
        : from(major), count(std::abs(majorTo - major)), direction(majorTo < major ? -1 : 1), minorFrom(minor),
          minorBy(std::abs(minorTo - minor)), minorDirection(minorTo < minor ? -1 : 1)
    {
    }

    /// Calls `set(major, minor)` for each step with low ≤ major < high.
    template <class Set>
    void Walk(int low, int high, const Set& set) const
    {
        const i64 first = std::max<i64>(direction > 0 ? low - from : from - (high - 1), 0);
        const i64 last = std::min<i64>(direction > 0 ? high - 1 - from : from - low, count);
        if (first > last)
            return;
        const i64 whole = std::max<i64>(2 * count, 1);
        const i64 moved = 2 * first * minorBy + count;
        i64 rest = moved % whole;
        i64 minor = minorFrom + minorDirection * (moved / whole);
        i64 major = from + direction * first;
        for (i64 k = first; k <= last; ++k, major += direction) {
            set(static_cast<int>(major), minor);
            rest += 2 * minorBy;
            if (rest >= whole) {
                rest -= whole;
                minor += minorDirection;
            }
        }
    }
};

} // namespace

CDibDrawing::CDibDrawing(CDib& target, const CRect& within) : picture(&target), clip(Clipped(within, target.GetRect()))
{
}

// ---- Rectangles -----------------------------------------------------------------------------------------------------

void CDibDrawing::Fill(const CRect& area, u32 ink)
{
    const CRect part = Clipped(area, clip);
    WithPixels(picture->GetBitCount(), [&]<class P>(P) {
        const u32 stored = P::Stored(ink);
        for (int y = part.top; y < part.bottom; ++y)
            P::Fill(picture->GetRow(y) + part.left * P::bytes, part.Width(), stored);
    });
}

void CDibDrawing::Frame(const CRect& area, u32 ink, int thickness)
{
    if (area.IsRectEmpty() || thickness <= 0)
        return;
    // In 64 bits: neither width nor height need fit an int. The sides meet and do not overlap.
    const i64 across = std::min<i64>(thickness, (static_cast<i64>(area.right) - area.left + 1) / 2);
    const i64 down = std::min<i64>(thickness, (static_cast<i64>(area.bottom) - area.top + 1) / 2);
    const int innerLeft = static_cast<int>(area.left + across), innerRight = static_cast<int>(area.right - across);
    const int innerTop = static_cast<int>(area.top + down), innerBottom = static_cast<int>(area.bottom - down);
    Fill(CRect(area.left, area.top, area.right, innerTop), ink);
    Fill(CRect(area.left, std::max(innerBottom, innerTop), area.right, area.bottom), ink);
    Fill(CRect(area.left, innerTop, innerLeft, innerBottom), ink);
    Fill(CRect(std::max(innerRight, innerLeft), innerTop, area.right, innerBottom), ink);
}

void CDibDrawing::Invert(const CRect& area)
{
    const CRect part = Clipped(area, clip);
    WithPixels(picture->GetBitCount(), [&]<class P>(P) {
        for (int y = part.top; y < part.bottom; ++y)
            P::Invert(picture->GetRow(y) + part.left * P::bytes, part.Width());
    });
}

void CDibDrawing::Blend(const CRect& area, COLORREF colour, int alpha)
{
    const CRect part = Clipped(area, clip);
    const auto share = static_cast<u32>(std::clamp(alpha, 0, 255));
    WithPixels(picture->GetBitCount(), [&]<class P>(P) {
        const u32 stored = P::Stored(colour);
        for (int y = part.top; y < part.bottom; ++y)
            P::Blend(picture->GetRow(y) + part.left * P::bytes, part.Width(), stored, share);
    });
}

void CDibDrawing::Pattern(const CRect& area, const CDib& brush, CPoint origin)
{
    const CRect part = Clipped(area, clip);
    if (part.IsRectEmpty() || &brush == picture || brush.GetBitCount() != picture->GetBitCount())
        return;
    const int pixel = picture->GetBitCount() / 8;
    const int phase = Wrapped(static_cast<i64>(part.left) - origin.x, brush.GetWidth()) * pixel;
    const int period = brush.GetWidth() * pixel, bytes = part.Width() * pixel;
    for (int y = part.top; y < part.bottom; ++y) {
        const u8* const from = brush.GetRow(Wrapped(static_cast<i64>(y) - origin.y, brush.GetHeight()));
        u8* const to = picture->GetRow(y) + part.left * pixel;
        // One period, from the phase on; then what is there is doubled until the row is full.
        const int head = std::min(period - phase, bytes), once = std::min(period, bytes);
        std::memcpy(to, from + phase, static_cast<std::size_t>(head));
        std::memcpy(to + head, from, static_cast<std::size_t>(once - head));
        for (int done = once; done < bytes;) {
            const int more = std::min(done, bytes - done);
            std::memcpy(to + done, to, static_cast<std::size_t>(more));
            done += more;
        }
    }
}

// ---- Lines ----------------------------------------------------------------------------------------------------------

void CDibDrawing::Horizontal(int y, int x1, int x2, u32 ink)
{
    const DibSpan span{y, std::min(x1, x2), std::max(x1, x2)};
    Spans({&span, 1}, ink);
}

void CDibDrawing::Vertical(int x, int y1, int y2, u32 ink)
{
    const int first = std::max<int>(std::min(y1, y2), clip.top);
    const int last = std::min<int>(std::max(y1, y2), clip.bottom - 1);
    if (x < clip.left || x >= clip.right || first > last)
        return;
    WithPixels(picture->GetBitCount(), [&]<class P>(P) {
        const u32 stored = P::Stored(ink);
        u8* at = picture->GetRow(first) + x * P::bytes;
        for (int y = first; y <= last; ++y, at -= picture->GetPitch()) // the row below is stored in front
            P::Set(at, stored);
    });
}

void CDibDrawing::Line(CPoint from, CPoint to, u32 ink)
{
    if (from.y == to.y)
        return Horizontal(from.y, from.x, to.x, ink);
    if (from.x == to.x)
        return Vertical(from.x, from.y, to.y, ink);
    // Products of steps then fit 64 bits.
    const auto within = [](LONG value) { return std::clamp<i64>(value, -500'000'000, 500'000'000); };
    const i64 x1 = within(from.x), y1 = within(from.y), x2 = within(to.x), y2 = within(to.y);
    const bool flat = std::abs(x2 - x1) >= std::abs(y2 - y1);
    WithPixels(picture->GetBitCount(), [&]<class P>(P) {
        const u32 stored = P::Stored(ink);
        if (flat) {
            Steps(x1, x2, y1, y2).Walk(clip.left, clip.right, [&](int x, i64 y) {
                if (y >= clip.top && y < clip.bottom)
                    P::Set(picture->GetRow(static_cast<int>(y)) + x * P::bytes, stored);
            });
        } else {
            Steps(y1, y2, x1, x2).Walk(clip.top, clip.bottom, [&](int y, i64 x) {
                if (x >= clip.left && x < clip.right)
                    P::Set(picture->GetRow(y) + static_cast<int>(x) * P::bytes, stored);
            });
        }
    });
}

// ---- Many at once ---------------------------------------------------------------------------------------------------

void CDibDrawing::Spans(std::span<const DibSpan> spans, u32 ink)
{
    WithPixels(picture->GetBitCount(), [&]<class P>(P) {
        const u32 stored = P::Stored(ink);
        const int low = clip.left, high = clip.right - 1;
        for (const DibSpan& span : spans) {
            const int left = std::max(span.left, low), right = std::min(span.right, high);
            if (left <= right && span.y >= clip.top && span.y < clip.bottom)
                P::Fill(picture->GetRow(span.y) + left * P::bytes, right - left + 1, stored);
        }
    });
}

void CDibDrawing::Points(std::span<const CPoint> points, u32 ink)
{
    WithPixels(picture->GetBitCount(), [&]<class P>(P) {
        const u32 stored = P::Stored(ink);
        for (const CPoint& point : points) {
            if (clip.PtInRect(point))
                P::Set(picture->GetRow(point.y) + point.x * P::bytes, stored);
        }
    });
}

void CDibDrawing::Polyline(std::span<const CPoint> points, u32 ink)
{
    for (std::size_t i = 1; i < points.size(); ++i)
        Line(points[i - 1], points[i], ink);
}
