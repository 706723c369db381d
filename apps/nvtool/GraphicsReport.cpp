// Telling about a CD+G stream: see GraphicsReport.h.
#include "GraphicsReport.h"

#include "Commands.h"

#include <nlohmann/json.hpp>

#include <cstdio>

namespace nvtool {
using nlohmann::ordered_json;

CDGStreamInfo ScanGraphics(GraphicsInput& input, const std::string& name)
{
    constexpr u64 steps = 1000;
    CCDGInputFile reader;
    input.Attach(reader);
    Progress progress("reading packs", steps);
    CDGStreamInfo info;
    if (!ScanCDGStream(reader, info, [&](double done) { progress.Update(static_cast<u64>(done * double(steps))); }))
        throw Error(name, "cannot be read to its end");
    return info;
}

ordered_json GraphicsJson(const CDGStreamInfo& info)
{
    const auto place = [](const std::optional<int>& pack) {
        if (!pack)
            return ordered_json();
        return ordered_json{{"pack", *pack}, {"seconds", CCDGInputFile::PackToTime(*pack)}};
    };
    ordered_json instructions = ordered_json::object();
    for (const auto& row : info.instructions)
        instructions[row.name] = row.packs;
    return {{"seconds", CCDGInputFile::PackToTime(info.packs)},
            {"packs", info.packs},
            {"instructions", instructions},
            {"otherGraphics", info.otherGraphics},
            {"otherCommands", info.otherCommands},
            {"empty", info.empty},
            {"firstGraphics", place(info.firstGraphics)},
            {"lastChange", place(info.lastChange)}};
}

void PrintGraphics(const CDGStreamInfo& info)
{
    const auto place = [](const char* what, const std::optional<int>& pack) {
        if (pack)
            std::printf("  %-22s %s  (pack %d)\n", what, TimeText(CCDGInputFile::PackToTime(*pack)).c_str(), *pack);
        else
            std::printf("  %-22s none\n", what);
    };
    std::printf("  %-22s %s, %d packs\n", "graphics", TimeText(CCDGInputFile::PackToTime(info.packs)).c_str(),
                info.packs);
    place("first graphics pack", info.firstGraphics);
    place("last change", info.lastChange);
    for (const auto& row : info.instructions)
        std::printf("  %-26s %9d\n", row.name, row.packs);
    std::printf("  %-26s %9d\n", "other graphics", info.otherGraphics);
    std::printf("  %-26s %9d\n", "other commands", info.otherCommands);
    std::printf("  %-26s %9d\n", "empty packs", info.empty);
}

} // namespace nvtool
