// CDib: stored form, accessors, copies and fills, against a plain model of pixels.
#include "Dib.h"
#include "support/PackStream.h"
#include "support/Pixels.h"

#include <gtest/gtest.h>

namespace {

/// Pixels as a grid; what is outside is 0 and cannot be set.
struct Model {
    int width, height;
    std::vector<u32> pixels = std::vector<u32>(static_cast<std::size_t>(width * height));

    bool Has(int x, int y) const { return x >= 0 && y >= 0 && x < width && y < height; }
    u32 Get(int x, int y) const { return Has(x, y) ? pixels[static_cast<std::size_t>(y * width + x)] : 0; }
    void Set(int x, int y, u32 value)
    {
        if (Has(x, y))
            pixels[static_cast<std::size_t>(y * width + x)] = value;
    }
};

void Set(CDib& image, int x, int y, u32 value)
{
    if (image.GetBitCount() == 8)
        image.SetPixelIndex(x, y, static_cast<u8>(value));
    else
        image.SetPixelColor(x, y, value);
}

void ExpectSame(const CDib& image, const Model& model)
{
    for (int y = -1; y <= model.height; ++y) {
        for (int x = -1; x <= model.width; ++x)
            ASSERT_EQ(Get(image, x, y), model.Get(x, y)) << x << "," << y;
    }
}

} // namespace

TEST(Dib, RefusesWhatCannotBeAPicture)
{
    struct Case {
        const char* name;
        int width, height, bits;
        bool made;
    };
    const Case cases[] = {
        {"smallest", 1, 1, 8, true},
        {"the screen", 300, 216, 24, true},
        {"widest", CDib::maxSide, 1, 32, true},
        {"no width", 0, 5, 8, false},
        {"no height", 5, 0, 8, false},
        {"negative", -3, 5, 24, false},
        {"too wide", CDib::maxSide + 1, 1, 8, false},
        {"sixteen bits", 5, 5, 16, false},
        {"one bit", 5, 5, 1, false},
        {"no depth", 5, 5, 0, false},
        {"more bytes than int counts", CDib::maxSide, CDib::maxSide, 32, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        CDib image;
        ASSERT_TRUE(image.Create(2, 2, 8));
        EXPECT_EQ(image.Create(c.width, c.height, c.bits), c.made);
        EXPECT_EQ(image.IsValid(), c.made); // a refusal leaves no picture, not the old one
        EXPECT_EQ(image.GetBitCount(), c.made ? c.bits : 0);
        EXPECT_EQ(image.GetRect() == CRect(0, 0, c.width, c.height), c.made);
    }
}

TEST(Dib, StoresRowsBottomUpPaddedToFourBytes)
{
    CDib image;
    ASSERT_TRUE(image.Create(3, 2, 24));
    EXPECT_EQ(image.GetPitch(), 12);
    EXPECT_EQ(image.GetImageSize(), 24);
    image.SetPixelColor(1, 0, RGB(0x11, 0x22, 0x33));
    image.SetPixelColor(0, 1, RGB(0x44, 0x55, 0x66));
    const std::vector<u8> expected{0x66, 0x55, 0x44, 0,    0,    0,    0, 0, 0, 0, 0, 0, // lower row: blue, green, red
                                   0,    0,    0,    0x33, 0x22, 0x11, 0, 0, 0, 0, 0, 0};
    EXPECT_EQ(std::vector<u8>(image.GetBits(), image.GetBits() + image.GetImageSize()), expected);
    EXPECT_EQ(image.GetRow(1), image.GetBits());

    for (const auto& [width, bits, pitch] : {std::tuple{1, 8, 4}, {4, 8, 4}, {5, 8, 8}, {2, 32, 8}, {300, 24, 900}}) {
        ASSERT_TRUE(image.Create(width, 2, bits));
        EXPECT_EQ(image.GetPitch(), pitch) << width << " pixels of " << bits;
    }
}

TEST(Dib, ColoursOfIndexPicturesComeFromTheTable)
{
    CDib image;
    ASSERT_TRUE(image.Create(2, 1, 8));
    image.SetTableColor(7, RGB(1, 2, 3));
    image.SetTableColor(256, RGB(9, 9, 9));
    image.SetPixelIndex(1, 0, 7);
    EXPECT_EQ(image.GetPixelColor(1, 0), RGB(1, 2, 3));
    EXPECT_EQ(image.GetPixelColor(0, 0), 0u);
    EXPECT_EQ(image.GetTableColor(-1), 0u);
    const RGBQUAD& entry = image.GetColorTable()[7];
    EXPECT_EQ((std::array<int, 4>{entry.rgbBlue, entry.rgbGreen, entry.rgbRed, entry.rgbReserved}),
              (std::array<int, 4>{3, 2, 1, 0}));
    CDib copy = image;
    image.SetPixelIndex(1, 0, 0);
    EXPECT_EQ(copy.GetPixelIndex(1, 0), 7); // copies are independent
    ASSERT_TRUE(image.Create(2, 1, 8));
    EXPECT_EQ(image.GetTableColor(7), 0u); // a new picture has a black table
}

TEST(Dib, CopiesAndFillsClipLikeSinglePixels)
{
    Dice dice(5);
    for (const int bits : {8, 24, 32}) {
        const u32 values = bits == 8 ? 0xFF : 0xFFFFFF;
        CDib a, b, otherDepth;
        Model modelA{13, 9}, modelB{7, 12};
        ASSERT_TRUE(a.Create(modelA.width, modelA.height, bits) && b.Create(modelB.width, modelB.height, bits));
        ASSERT_TRUE(otherDepth.Create(20, 20, bits == 8 ? 24 : 8));
        for (int round = 0; round < 300; ++round) {
            SCOPED_TRACE(testing::Message() << bits << " bits, round " << round);
            const int left = dice(24) - 8, top = dice(24) - 8;
            const CRect area(left, top, left + dice(14) - 2, top + dice(14) - 2);
            const u32 value = (static_cast<u32>(dice(1 << 16)) << 8 | dice.Byte()) & values;
            const bool within = dice.OneIn(2); // onto itself, overlapping
            const CPoint to(dice(24) - 8, dice(24) - 8);
            if (dice.OneIn(2)) {
                a.FillRect(area, value);
                for (int y = area.top; y < area.bottom; ++y) {
                    for (int x = area.left; x < area.right; ++x)
                        modelA.Set(x, y, value);
                }
            } else {
                Set(b, to.x, to.y, value);
                modelB.Set(to.x, to.y, value);
            }
            const Model from = within ? modelA : modelB;
            ASSERT_TRUE(a.CopyRect(within ? a : b, area, to));
            for (int y = area.top; y < area.bottom; ++y) {
                for (int x = area.left; x < area.right; ++x) {
                    if (from.Has(x, y))
                        modelA.Set(to.x + x - area.left, to.y + y - area.top, from.Get(x, y));
                }
            }
            EXPECT_FALSE(a.CopyRect(otherDepth, area, to));
            ASSERT_NO_FATAL_FAILURE(ExpectSame(a, modelA));
        }
        EXPECT_FALSE(a.CopyRect(CDib(), a.GetRect(), CPoint()));
        a.CopyRect(b, CRect(INT32_MIN, INT32_MIN, INT32_MAX, INT32_MAX), CPoint(INT32_MAX, INT32_MIN));
        a.FillRect(CRect(INT32_MIN, INT32_MIN, INT32_MAX, INT32_MAX), 1);
        EXPECT_EQ(Get(a, 12, 8), 1u);
    }
}

TEST(Dib, ColourOperationsLeaveTheAlphaByte)
{
    CDib image;
    ASSERT_TRUE(image.Create(4, 4, 32));
    for (int y = 0; y < 4; ++y) {
        for (int x = 0; x < 4; ++x)
            image.GetRow(y)[4 * x + 3] = static_cast<u8>(16 * y + x + 1);
    }
    image.SetPixelColor(1, 1, 0xFFFFFF);
    image.FillRect(image.GetRect(), 0x123456);
    for (int y = 0; y < 4; ++y) {
        for (int x = 0; x < 4; ++x)
            EXPECT_EQ(image.GetRow(y)[4 * x + 3], 16 * y + x + 1);
    }
}
