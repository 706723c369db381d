// What the scanner finds in a stream, in the words of reports.
#pragma once

#include "CDGScanner.h"

#include <nlohmann/json_fwd.hpp>

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace nvtool {

struct ScannedScreen {
    int firstPack = 0, lastPack = 0;
    int wholePack = 0; // as the screen is before this pack its lines were found; then it was erased
    std::vector<std::pair<i32, i32>> lines;
};

struct ScreenScan {
    int packs = 0;
    std::vector<ScannedScreen> screens; // those that hold a pack at least
    std::vector<std::pair<i32, i32>> activity;
    size_t xorTiles = 0;
};

// Any thread. `advance` is told now and then how many bytes of the file more are done. Throws Error when the file
// cannot be read or holds no graphics, Interruption when Ctrl-C was pressed.
ScreenScan ScanScreens(const std::filesystem::path& file, const std::function<void(u64)>& advance);

// "24-50" for one pixel row to another, "none" for no lines.
std::string LinesText(const std::vector<std::pair<i32, i32>>& lines);
// First and last pack and the times at which they are due.
nlohmann::ordered_json PackRangeJson(int firstPack, int lastPack);

// Where the screen was whole, and its lines.
nlohmann::ordered_json LinesJson(const ScannedScreen& screen);

} // namespace nvtool
