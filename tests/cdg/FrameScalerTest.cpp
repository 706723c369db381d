// The screen on larger pictures: exact where it must be, smoother where it may be, and never behind.
#include "FrameScaler.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <random>

using CDGEmulator::CFrameScaler;

namespace {

constexpr COLORREF kBlack = RGB(0, 0, 0), kWhite = RGB(255, 255, 255);

CDib BlackPicture()
{
    CDib screen;
    EXPECT_TRUE(screen.Create(300, 216, 24));
    return screen;
}

CFrameScaler::Settings Wanted(int width, int height, bool smooth)
{
    CFrameScaler::Settings settings;
    settings.width = width;
    settings.height = height;
    settings.smooth = smooth;
    return settings;
}

// Paints a pixel white where `inside` of its middle is true.
template <class Inside>
CDib Drawn(Inside&& inside)
{
    CDib screen = BlackPicture();
    for (int y = 0; y < 216; ++y)
        for (int x = 0; x < 300; ++x)
            if (inside(x + 0.5, y + 0.5))
                screen.SetPixelColor(x, y, kWhite);
    return screen;
}

bool SamePicture(const CDib& a, const CDib& b)
{
    return a.GetImageSize() == b.GetImageSize() &&
           std::memcmp(a.GetBits(), b.GetBits(), static_cast<std::size_t>(a.GetImageSize())) == 0;
}

} // namespace

TEST(FrameScaler, SizesAreCheckedAndTheScreenSitsInTheMiddle)
{
    struct Case {
        int width, height;
        bool good;
        CRect place;
    };
    const Case cases[] = {
        {300, 216, true, {0, 0, 300, 216}},
        {1920, 1080, true, {210, 0, 1710, 1080}},
        {1280, 720, true, {140, 0, 1140, 720}},
        {1080, 1920, true, {0, 570, 1080, 1348}},
        {7680, 4320, true, {840, 0, 6840, 4320}},
        {298, 216, false, {}},
        {300, 214, false, {}},
        {7682, 4320, false, {}},
    };
    for (const Case& c : cases) {
        CFrameScaler scaler;
        EXPECT_EQ(scaler.Create(Wanted(c.width, c.height, false)), c.good) << c.width << "x" << c.height;
        EXPECT_EQ(scaler.Picture().IsValid(), c.good);
        if (c.good) {
            EXPECT_TRUE(scaler.GetScreenRect() == c.place) << c.width << "x" << c.height;
        } else {
            EXPECT_TRUE(scaler.Update(BlackPicture(), kBlack).IsRectEmpty());
        }
    }
}

TEST(FrameScaler, PlainPicturesShowThePixelBelowEachMiddle)
{
    std::mt19937 random(3);
    CDib screen = BlackPicture();
    for (int y = 0; y < 216; ++y)
        for (int x = 0; x < 300; ++x)
            screen.SetPixelColor(x, y, static_cast<u32>(random() & 0xFFFFFF));
    const COLORREF margin = RGB(1, 2, 3), around = RGB(9, 8, 7);
    for (const auto& [width, height] : {std::pair(300, 216), std::pair(1000, 1000), std::pair(1920, 1080)}) {
        CFrameScaler scaler;
        CFrameScaler::Settings settings = Wanted(width, height, false);
        settings.ownBackground = true;
        settings.background = around;
        ASSERT_TRUE(scaler.Create(settings));
        scaler.Update(screen, margin);
        const CRect place = scaler.GetScreenRect();
        int wrong = 0;
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x) {
                COLORREF expected = around;
                if (place.PtInRect(CPoint(x, y))) {
                    const int column = static_cast<int>((x - place.left + 0.5) * 300 / place.Width());
                    const int row = static_cast<int>((y - place.top + 0.5) * 216 / place.Height());
                    const bool visible = column >= 6 && column < 294 && row >= 12 && row < 204;
                    expected = visible ? screen.GetPixelColor(column, row) : margin;
                }
                wrong += scaler.Picture().GetPixelColor(x, y) != expected;
            }
        EXPECT_EQ(wrong, 0) << width << "x" << height;
    }
}

TEST(FrameScaler, SmoothPicturesComeCloserToTheShapesThatWereMeant)
{
    struct Case {
        const char* name;
        bool (*inside)(double x, double y);
        double part; // of the plain picture's error that may be left
    };
    const Case cases[] = {
        {"a disc", [](double x, double y) { return std::hypot(x - 150, y - 108) < 50.3; }, 0.7},
        {"a slant of 45 degrees", [](double x, double y) { return x + y < 249.5; }, 0.1},
        {"a flat slant", [](double x, double y) { return x + 2 * y < 350; }, 0.4},
        {"a steep slant", [](double x, double y) { return 2 * x - y < 200; }, 0.4},
    };
    for (const Case& c : cases) {
        double error[2] = {};
        for (const bool smooth : {false, true}) {
            CFrameScaler scaler;
            ASSERT_TRUE(scaler.Create(Wanted(1500, 1080, smooth)));
            scaler.Update(Drawn(c.inside), kBlack);
            for (int y = 100; y < 980; ++y)
                for (int x = 100; x < 1400; ++x) {
                    int covered = 0; // of nine points
                    for (int i = 0; i < 9; ++i)
                        covered += c.inside((x + (i % 3 + 0.5) / 3) / 5, (y + (i / 3 + 0.5) / 3) / 5);
                    error[smooth] += std::abs(covered / 9.0 - GetRValue(scaler.Picture().GetPixelColor(x, y)) / 255.0);
                }
        }
        EXPECT_LT(error[1], error[0] * c.part) << c.name << ": " << error[0] << " and " << error[1];
    }
}

TEST(FrameScaler, SmoothPicturesKeepStraightEdgesAndMixOnlyWhatLiesSideBySide)
{
    CFrameScaler plain, smooth;
    ASSERT_TRUE(plain.Create(Wanted(1500, 1080, false)) && smooth.Create(Wanted(1500, 1080, true)));
    const CDib straight = Drawn([](double x, double y) { // a window with bars
        return x > 40 && x < 260 && y > 40 && y < 180 && static_cast<int>(x) / 16 % 2 == 0;
    });
    plain.Update(straight, kBlack);
    smooth.Update(straight, kBlack);
    EXPECT_TRUE(SamePicture(plain.Picture(), smooth.Picture()));

    std::mt19937 random(4);
    CDib blueAndYellow = BlackPicture();
    for (int i = 0; i < 300 * 216; ++i)
        blueAndYellow.SetPixelColor(i % 300, i / 300, random() % 2 != 0 ? RGB(255, 255, 0) : RGB(0, 0, 255));
    smooth.Update(blueAndYellow, RGB(0, 0, 255));
    int strangers = 0, mixtures = 0;
    for (int i = 0; i < 1500 * 1080; ++i) {
        const COLORREF colour = smooth.Picture().GetPixelColor(i % 1500, i / 1500);
        strangers +=
            GetRValue(colour) != GetGValue(colour) || std::abs(GetRValue(colour) + GetBValue(colour) - 255) > 3;
        mixtures += GetRValue(colour) != 0 && GetRValue(colour) != 255;
    }
    EXPECT_EQ(strangers, 0);
    EXPECT_GT(mixtures, 1000);
}

TEST(FrameScaler, WhatIsKeptUpToDateEqualsWhatIsDrawnAnew)
{
    for (const bool smooth : {false, true}) {
        std::mt19937 random(5);
        CFrameScaler kept;
        const CFrameScaler::Settings settings = Wanted(860, 700, smooth); // no whole factor
        ASSERT_TRUE(kept.Create(settings));
        CDib screen = BlackPicture(), before;
        COLORREF margin = kBlack;
        for (int round = 0; round < 25; ++round) {
            SCOPED_TRACE(round);
            if (round % 5 == 4)
                margin = static_cast<u32>(random() & 0xFFFFFF);
            for (auto spots = random() % 20; spots > 0; --spots) {
                const int x = static_cast<int>(random() % 300), y = static_cast<int>(random() % 216);
                screen.FillRect(CRect(x, y, x + static_cast<int>(random() % 9), y + static_cast<int>(random() % 9)),
                                static_cast<u32>(random() & 0xFFFFFF));
            }
            const CRect changed = kept.Update(screen, margin);
            CFrameScaler fresh;
            ASSERT_TRUE(fresh.Create(settings));
            fresh.Update(screen, margin);
            EXPECT_TRUE(SamePicture(kept.Picture(), fresh.Picture()));
            for (int y = 0; before.IsValid() && y < 700; ++y)
                for (int x = 0; x < 860; ++x)
                    ASSERT_TRUE(changed.PtInRect(CPoint(x, y)) ||
                                before.GetPixelColor(x, y) == kept.Picture().GetPixelColor(x, y));
            EXPECT_TRUE(kept.Update(screen, margin).IsRectEmpty()); // a still screen
            before = kept.Picture();
        }
    }
}
