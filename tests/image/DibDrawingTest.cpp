// CDibDrawing against the plain meaning of each shape: one question asked of every pixel of the picture.
#include "DibDrawing.h"
#include "support/Pixels.h"

#include <climits>
#include <cstdlib>
#include <functional>
#include <gtest/gtest.h>
#include <random>

namespace {

constexpr int width = 37, height = 29;

/// 2 k minor - major < 2 j major ≤ 2 k minor + major: after k steps along the longer side, j is the nearest.
bool OnLine(CPoint from, CPoint to, int x, int y)
{
    i64 major = to.x - from.x, minor = to.y - from.y, k = x - from.x, j = y - from.y;
    if (std::abs(major) < std::abs(minor)) {
        std::swap(major, minor);
        std::swap(k, j);
    }
    k *= major < 0 ? -1 : 1;
    j *= minor < 0 ? -1 : 1;
    major = std::abs(major);
    minor = std::abs(minor);
    if (major == 0)
        return k == 0 && j == 0;
    const bool within = k >= 0 && k <= major;
    return within && 2 * j * major <= 2 * k * minor + major && 2 * k * minor - major < 2 * j * major;
}

bool OnFrame(const CRect& r, int thickness, int x, int y)
{
    return r.PtInRect(CPoint(x, y)) &&
           (x < r.left + thickness || x >= r.right - thickness || y < r.top + thickness || y >= r.bottom - thickness);
}

u32 Mixed(u32 old, u32 colour, int alpha)
{
    u32 mixed = 0;
    for (int shift = 0; shift < 24; shift += 8) {
        const double a = old >> shift & 0xFF, b = colour >> shift & 0xFF;
        mixed |= static_cast<u32>(a + (b - a) * alpha / 255 + 0.5) << shift;
    }
    return mixed;
}

class DibDrawing : public testing::TestWithParam<int> {
protected:
    std::mt19937 random{7};
    CDib picture, brush;
    u32 every = GetParam() == 8 ? 0xFF : 0xFFFFFF;

    int Pick(int low, int high) { return std::uniform_int_distribution<int>(low, high)(random); }
    int Far() { return Pick(0, 20) == 0 ? Pick(-200'000, 200'000) : Pick(-12, 50); }
    CPoint PickPoint() { return {Far(), Far()}; }
    u32 PickInk() { return static_cast<u32>(random()) & every; }

    void SetUp() override
    {
        ASSERT_TRUE(picture.Create(width, height, GetParam()));
        ASSERT_TRUE(brush.Create(Pick(1, 11), Pick(1, 11), GetParam()));
        for (CDib* const each : {&picture, &brush}) {
            for (int i = 0; i < each->GetImageSize(); ++i)
                each->GetBits()[i] = static_cast<u8>(random());
        }
    }

    /// Draws, and expects of each pixel within the clip what `wanted` makes of it, and of all others what they were.
    void Check(const std::function<void(CDibDrawing&)>& draw, const std::function<u32(int x, int y, u32 old)>& wanted)
    {
        const CRect clip = Pick(0, 3) ? picture.GetRect() : CRect(Far(), Far(), Far(), Far());
        const CDib before = picture;
        CDibDrawing drawing(picture, clip);
        draw(drawing);
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                const u32 old = Get(before, x, y);
                const u32 after = clip.PtInRect(CPoint(x, y)) ? wanted(x, y, old) : old;
                ASSERT_EQ(Get(picture, x, y), after) << x << "," << y;
            }
        }
        const int used = width * GetParam() / 8; // what pads a row stays too
        for (int y = 0; y < height; ++y) {
            for (int i = used; i < picture.GetPitch(); ++i)
                ASSERT_EQ(picture.GetRow(y)[i], before.GetRow(y)[i]);
        }
    }
};

} // namespace

TEST_P(DibDrawing, RectanglesAreWhatEachPixelSays)
{
    for (int round = 0; round < 300 && !HasFatalFailure(); ++round) {
        const CPoint a = PickPoint(), b = PickPoint(), origin = PickPoint();
        const CRect area(a, b);
        const u32 ink = PickInk();
        const int thickness = Pick(0, 6), alpha = Pick(-20, 280);
        const auto inside = [&](int x, int y) { return area.PtInRect(CPoint(x, y)); };
        Check([&](CDibDrawing& d) { d.Fill(area, ink); },
              [&](int x, int y, u32 old) { return inside(x, y) ? ink : old; });
        Check([&](CDibDrawing& d) { d.Frame(area, ink, thickness); },
              [&](int x, int y, u32 old) { return OnFrame(area, thickness, x, y) ? ink : old; });
        Check([&](CDibDrawing& d) { d.Invert(area); },
              [&](int x, int y, u32 old) { return inside(x, y) ? ~old & every : old; });
        Check([&](CDibDrawing& d) { d.Pattern(area, brush, origin); },
              [&](int x, int y, u32 old) {
                  const int column = ((x - origin.x) % brush.GetWidth() + brush.GetWidth()) % brush.GetWidth();
                  const int row = ((y - origin.y) % brush.GetHeight() + brush.GetHeight()) % brush.GetHeight();
                  return inside(x, y) ? Get(brush, column, row) : old;
              });
        Check([&](CDibDrawing& d) { d.Blend(area, ink, alpha); },
              [&](int x, int y, u32 old) {
                  return inside(x, y) && GetParam() > 8 ? Mixed(old, ink, std::clamp(alpha, 0, 255)) : old;
              });
    }
}

TEST_P(DibDrawing, LinesAreThePixelsNearestToThem)
{
    for (int round = 0; round < 500 && !HasFatalFailure(); ++round) {
        const CPoint a = PickPoint(), b = Pick(0, 5) ? PickPoint() : CPoint(a.x, Far());
        const CPoint points[] = {a, b, Pick(0, 5) ? PickPoint() : CPoint(Far(), b.y)};
        const u32 ink = PickInk();
        Check([&](CDibDrawing& d) { d.Polyline(points, ink); },
              [&](int x, int y, u32 old) {
                  return OnLine(points[0], points[1], x, y) || OnLine(points[1], points[2], x, y) ? ink : old;
              });
        Check([&](CDibDrawing& d) { d.Horizontal(a.y, b.x, a.x, ink); },
              [&](int x, int y, u32 old) { return OnLine(a, CPoint(b.x, a.y), x, y) ? ink : old; });
        Check([&](CDibDrawing& d) { d.Vertical(a.x, b.y, a.y, ink); },
              [&](int x, int y, u32 old) { return OnLine(a, CPoint(a.x, b.y), x, y) ? ink : old; });
        Check([&](CDibDrawing& d) { d.Points(points, ink); },
              [&](int x, int y, u32 old) {
                  return std::find(std::begin(points), std::end(points), CPoint(x, y)) != std::end(points) ? ink : old;
              });
        const DibSpan spans[] = {{a.y, a.x, b.x}, {b.y, b.x, a.x}}; // one of them is empty, or both are single pixels
        Check([&](CDibDrawing& d) { d.Spans(spans, ink); },
              [&](int x, int y, u32 old) {
                  return (y == a.y && x >= a.x && x <= b.x) || (y == b.y && x >= b.x && x <= a.x) ? ink : old;
              });
    }
}

TEST_P(DibDrawing, ShapesMayReachAnywhere)
{
    const int ends[] = {INT_MIN, INT_MIN + 1, -1, 0, 5, INT_MAX - 1, INT_MAX};
    CDibDrawing drawing(picture);
    for (const int left : ends) {
        for (const int top : ends) {
            for (const int right : ends) {
                for (const int bottom : ends) {
                    const CRect area(left, top, right, bottom);
                    const bool inside = area.PtInRect(CPoint(0, 0));
                    drawing.Fill(picture.GetRect(), 1);
                    drawing.Fill(area, 2);
                    ASSERT_EQ(Get(picture, 0, 0), inside ? 2U : 1U);
                    drawing.Frame(area, 3, right);
                    drawing.Pattern(area, brush, area.TopLeft());
                    drawing.Line(area.TopLeft(), area.BottomRight(), 4);
                    drawing.Spans(std::vector<DibSpan>{{top, left, right}}, 5);
                }
            }
        }
    }
    CDib none;
    CDibDrawing nowhere(none);
    nowhere.Fill(CRect(0, 0, 5, 5), 1);
    nowhere.Line(CPoint(0, 0), CPoint(5, 3), 1);
    nowhere.Pattern(CRect(0, 0, 5, 5), none, CPoint(0, 0));
    drawing.Pattern(picture.GetRect(), none, CPoint(0, 0));
    EXPECT_FALSE(none.IsValid());
}

INSTANTIATE_TEST_SUITE_P(Depths, DibDrawing, testing::Values(8, 24, 32));
