// Scanning for screens: see ScreenScan.h.
#include "ScreenScan.h"

#include "CDGInputFile.h"
#include "Commands.h"
#include "Interrupt.h"
#include "NamedStream.h"

#include <nlohmann/json.hpp>

namespace nvtool {
using nlohmann::ordered_json;

ScreenScan ScanScreens(const std::filesystem::path& file, const std::function<void(u64)>& advance)
{
    constexpr int packsPerStep = 4096;
    const NamedStream stream(file);
    const auto step = static_cast<u64>(packsPerStep * stream.BytesPerPack());
    CCDGScanner scanner;
    // The scanner asks once for each pack, before it looks at it. A screen that is new then was recorded at the pack
    // before, which began to erase it; the recorded last pack may move on while blank screens follow.
    std::vector<int> wholePacks;
    int pack = 0;
    const auto notice = [&] { wholePacks.resize(scanner.m_Screens.size(), pack - 1); };
    const bool scanned = scanner.ScanFile(stream.Path(), [&] {
        notice();
        if (++pack % packsPerStep == 0)
            advance(step);
        return IsInterrupted();
    });
    if (IsInterrupted())
        throw Interruption();
    if (!scanned)
        throw Error(PathText(file), "cannot be read");
    notice();

    ScreenScan result;
    result.packs = stream.Packs();
    result.activity.assign(scanner.m_ActivityRanges.begin(), scanner.m_ActivityRanges.end());
    result.xorTiles = scanner.m_XorTiles.size();
    int first = 0;
    for (size_t i = 0; i < scanner.m_Screens.size(); ++i) {
        const CDGScreenInfo& screen = scanner.m_Screens[i];
        if (screen.lastPack >= first)
            result.screens.push_back({first, screen.lastPack, wholePacks[i], screen.lines});
        first = screen.lastPack + 1;
    }
    return result;
}

std::string LinesText(const std::vector<std::pair<i32, i32>>& lines)
{
    std::string text;
    for (const auto& [top, bottom] : lines)
        text += (text.empty() ? "" : ", ") + std::to_string(top) + "-" + std::to_string(bottom);
    return lines.empty() ? "none" : text;
}

ordered_json PackRangeJson(int firstPack, int lastPack)
{
    return {{"firstPack", firstPack},
            {"lastPack", lastPack},
            {"firstSeconds", CCDGInputFile::PackToTime(firstPack)},
            {"lastSeconds", CCDGInputFile::PackToTime(lastPack)}};
}

ordered_json LinesJson(const ScannedScreen& screen)
{
    ordered_json lines = ordered_json::array();
    for (const auto& [top, bottom] : screen.lines)
        lines.push_back({{"firstRow", top}, {"lastRow", bottom}});
    return {{"wholePack", screen.wholePack}, {"lines", lines}};
}

} // namespace nvtool
