// Pictures of the screens of a track with their text lines framed, for a person to see what a scan found.
#pragma once

#include "Palette.h"
#include "Picture.h"
#include "ScreenScan.h"

#include <vector>

namespace nvtool {

// What one picture stands for: a screen that stays for half a second or more, or a run of shorter ones, which are the
// steps of a scroll, a wipe or a fade.
struct ScreenRun {
    size_t firstNumber = 0, lastNumber = 0; // of the scan's screens, from 1
    int firstPack = 0, lastPack = 0;
    ScannedScreen shown; // the longest of them
    // From here on filled in by who draws it.
    PaletteTexts palette;
    std::string picture; // the file's name; empty for a run without lines, which would be an empty picture
};

std::vector<ScreenRun> GroupScreens(const std::vector<ScannedScreen>& screens);

// The screen as it was before it was erased, `scale` times as large, a frame around each line. Leaves the renderer
// there.
Picture DrawScreen(CCDGRenderer& renderer, const ScannedScreen& screen, int scale);

constexpr size_t kMaxScreenRuns = 400;

} // namespace nvtool
