// Pictures of scanned screens: see ScreenPictures.h.
#include "ScreenPictures.h"

#include "CDGEmulator.h"
#include "Pages.h"

#include <algorithm>
#include <cstdlib>

namespace nvtool {

namespace {

constexpr int kStepPacks = kPacksPerSecond / 2;
constexpr int kGhostContrast = 80; // of what has faded, as it is drawn all the same
constexpr int kOutline = 2;        // by which the scan widens ink, rows and columns alike
constexpr Rgb kFrame{255, 48, 144};

int Length(const ScannedScreen& screen)
{
    return screen.lastPack - screen.firstPack + 1;
}

// Leftmost and rightmost pixel with ink in some rows of the index screen; none is an empty range.
std::pair<int, int> InkColumns(const Emulator& emulator, int top, int bottom)
{
    const CDib& screen = emulator.ScreenIndexImage();
    const int background = emulator.GetBackgroundColour();
    std::pair<int, int> ink{Emulator::screenWidth, -1};
    for (int y = top; y <= bottom; ++y)
        for (int x = 0; x < Emulator::screenWidth; ++x)
            if (screen.GetRow(y)[x] != background)
                ink = {std::min(ink.first, x), std::max(ink.second, x)};
    return ink;
}

// Calls with each pixel that has ink in some rows of the index screen and is seen in the picture; `right` and `down`
// lead from the one to the other.
template <class Use>
void ForInk(Picture& picture, const Emulator& emulator, int right, int down, std::pair<int, int> rows, Use use)
{
    const CDib& screen = emulator.ScreenIndexImage();
    const int background = emulator.GetBackgroundColour();
    const int top = std::max(rows.first + down, Emulator::visibleTop);
    const int bottom = std::min(rows.second + down, Emulator::visibleTop + Emulator::visibleHeight - 1);
    for (int y = top; y <= bottom; ++y)
        for (int x = Emulator::visibleLeft; x < Emulator::visibleLeft + Emulator::visibleWidth; ++x)
            if (screen.GetRow(y - down)[x - right] != background)
                use(picture.At(x, y));
}

// A line that has faded into the background whole is a line still: draws it a little off the background.
void ShowFaded(Picture& picture, const Emulator& emulator, int right, int down, std::pair<int, int> rows)
{
    const Rgb paper = ToRgb(emulator.GetPaletteEntry(emulator.GetBackgroundColour()));
    bool readable = false;
    ForInk(picture, emulator, right, down, rows, [&](const u8* pixel) {
        for (size_t part = 0; part < paper.size(); ++part)
            readable = readable || std::abs(pixel[part] - paper[part]) >= kMinContrast;
    });
    if (readable)
        return;
    const int shift = paper[0] + paper[1] + paper[2] < 3 * 128 ? kGhostContrast : -kGhostContrast;
    Rgb ghost{};
    std::transform(paper.begin(), paper.end(), ghost.begin(),
                   [&](u8 part) { return u8(std::clamp(part + shift, 0, 255)); });
    ForInk(picture, emulator, right, down, rows, [&](u8* pixel) { std::copy(ghost.begin(), ghost.end(), pixel); });
}

} // namespace

std::vector<ScreenRun> GroupScreens(const std::vector<ScannedScreen>& screens)
{
    std::vector<ScreenRun> runs;
    bool steps = false; // the last run is one of short screens
    for (size_t i = 0; i < screens.size(); ++i) {
        const ScannedScreen& screen = screens[i];
        const bool isStep = Length(screen) < kStepPacks;
        if (!isStep || !steps)
            runs.push_back({i + 1, i + 1, screen.firstPack, screen.lastPack, screen, {}, {}});
        steps = isStep;
        ScreenRun& run = runs.back();
        run.lastNumber = i + 1;
        run.lastPack = screen.lastPack;
        if (Length(screen) > Length(run.shown))
            run.shown = screen;
    }
    return runs;
}

Picture DrawScreen(CCDGRenderer& renderer, const ScannedScreen& screen, int scale)
{
    Picture picture = TakePicture(renderer, Page::SecondsOf(screen.wholePack), Area::Field);
    const Emulator& emulator = renderer.GetEmulator();
    // Lines are rows of the index screen; the picture shows it moved by the fine scroll offsets.
    const CRect visible = emulator.GetVisibleRect();
    const int right = Emulator::visibleLeft - visible.left, down = Emulator::visibleTop - visible.top;
    for (const auto& line : screen.lines)
        ShowFaded(picture, emulator, right, down, line);
    picture = Enlarged(picture, scale);
    for (const auto& [top, bottom] : screen.lines) {
        const auto [first, last] = InkColumns(emulator, top, bottom);
        if (first <= last)
            picture.Frame((first + right - kOutline) * scale, (top + down) * scale,
                          (last + right + 1 + kOutline) * scale, (bottom + down + 1) * scale, scale, kFrame);
    }
    return picture;
}

} // namespace nvtool
