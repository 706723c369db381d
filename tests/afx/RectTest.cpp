// CRect against counting single pixels.
#include <afxwin.h>
#include <gtest/gtest.h>
#include <random>

void PrintTo(const CRect& r, std::ostream* out)
{
    *out << '(' << r.left << ',' << r.top << ',' << r.right << ',' << r.bottom << ')';
}

TEST(Rect, IntersectionAndUnionCoverTheRightPixels)
{
    constexpr int side = 8;
    std::mt19937 random(5);
    const auto coordinate = [&] { return int(random() % (side + 1)); };
    for (int round = 0; round < 5000; ++round) {
        const CRect a(coordinate(), coordinate(), coordinate(), coordinate());
        const CRect b(coordinate(), coordinate(), coordinate(), coordinate());
        CRect common(side, side, 0, 0), around(side, side, 0, 0); // of pixels in both, in either
        const auto add = [](CRect& to, int x, int y) {
            to = CRect(std::min<int>(to.left, x), std::min<int>(to.top, y), std::max<int>(to.right, x + 1),
                       std::max<int>(to.bottom, y + 1));
        };
        for (int y = 0; y < side; ++y) {
            for (int x = 0; x < side; ++x) {
                const CPoint p(x, y);
                if (a.PtInRect(p) && b.PtInRect(p))
                    add(common, x, y);
                if (a.PtInRect(p) || b.PtInRect(p))
                    add(around, x, y);
            }
        }
        const bool hasCommon = common.right > 0, hasAround = around.right > 0;
        CRect result(9, 9, 9, 9);
        ASSERT_EQ(result.IntersectRect(a, b) != FALSE, hasCommon);
        ASSERT_EQ(result, hasCommon ? common : CRect());
        ASSERT_EQ(a & b, result);
        ASSERT_EQ(result.UnionRect(a, b) != FALSE, hasAround);
        ASSERT_EQ(result, hasAround ? around : CRect());
        ASSERT_EQ(a | b, result);
        CRect target = a;
        target |= b;
        ASSERT_EQ(target, result);
        target = a;
        target &= b;
        ASSERT_EQ(target, a & b);
    }
}

TEST(Rect, MovesAndResizes)
{
    struct Case {
        const char* name;
        CRect actual, expected;
    };
    const auto changed = [](CRect r, auto change) {
        change(r);
        return r;
    };
    const CRect r(10, 20, 30, 50);
    const Case cases[] = {
        {"normalise", changed({30, 50, 10, 20}, [](CRect& x) { x.NormalizeRect(); }), r},
        {"normalise one side", changed({30, 20, 10, 50}, [](CRect& x) { x.NormalizeRect(); }), r},
        {"offset", changed(r, [](CRect& x) { x.OffsetRect(1, -2); }), {11, 18, 31, 48}},
        {"offset by a point", changed(r, [](CRect& x) { x.OffsetRect(CPoint(1, -2)); }), {11, 18, 31, 48}},
        {"inflate", changed(r, [](CRect& x) { x.InflateRect(1, 2); }), {9, 18, 31, 52}},
        {"inflate each side", changed(r, [](CRect& x) { x.InflateRect(1, 2, 3, 4); }), {9, 18, 33, 54}},
        {"deflate", changed(r, [](CRect& x) { x.DeflateRect(1, 2); }), {11, 22, 29, 48}},
        {"deflate each side", changed(r, [](CRect& x) { x.DeflateRect(1, 2, 3, 4); }), {11, 22, 27, 46}},
        {"corners", CRect(r.TopLeft(), r.BottomRight()), r},
        {"corner and size", CRect(r.TopLeft(), CSize(20, 30)), r},
        {"empty", changed(r, [](CRect& x) { x.SetRectEmpty(); }), {0, 0, 0, 0}},
    };
    for (const Case& c : cases)
        EXPECT_EQ(c.actual, c.expected) << c.name;
    EXPECT_EQ(r.Size(), CSize(20, 30));
    EXPECT_TRUE(CRect(5, 5, 5, 9).IsRectEmpty() && CRect(9, 5, 5, 9).IsRectEmpty() && !r.IsRectEmpty());
    EXPECT_TRUE(CRect().IsRectNull() && !CRect(5, 5, 5, 5).IsRectNull());
    EXPECT_TRUE(r.PtInRect(CPoint(10, 20)) && !r.PtInRect(CPoint(30, 20)) && !r.PtInRect(CPoint(10, 50)));
    EXPECT_EQ(CPoint(5, 6) - CPoint(1, 2), CSize(4, 4));
}
