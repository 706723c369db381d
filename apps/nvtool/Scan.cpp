// nvtool scan: the screens of CD+G streams, their text lines, and when something is drawn.
#include "Batch.h"
#include "CDGInputFile.h"
#include "Commands.h"
#include "Interrupt.h"
#include "ScreenScan.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <cstdio>
#include <memory>

namespace nvtool {
using nlohmann::ordered_json;

namespace {

struct ScanArguments {
    std::vector<std::string> files;
    int jobs = 0;
    bool json = false;
};

ordered_json ToJson(const ScreenScan& scan, const std::string& file)
{
    ordered_json screens = ordered_json::array(), activity = ordered_json::array();
    for (const ScannedScreen& screen : scan.screens) {
        screens.push_back(PackRangeJson(screen.firstPack, screen.lastPack));
        screens.back().update(LinesJson(screen));
    }
    for (const auto& [first, last] : scan.activity)
        activity.push_back(PackRangeJson(first, last));
    return {{"file", file},
            {"packs", scan.packs},
            {"seconds", CCDGInputFile::PackToTime(scan.packs)},
            {"xorTiles", scan.xorTiles},
            {"screens", screens},
            {"activity", activity}};
}

void PrintRange(size_t number, int first, int last)
{
    std::printf("%8zu %12s %12s %10d %10d", number, TimeText(CCDGInputFile::PackToTime(first)).c_str(),
                TimeText(CCDGInputFile::PackToTime(last)).c_str(), first, last);
}

void PrintScan(const ScreenScan& scan, const std::string& file)
{
    std::printf("%s: %s, packs: %d, screens: %zu, stretches with graphics: %zu, XOR tiles: %zu\n", file.c_str(),
                TimeText(CCDGInputFile::PackToTime(scan.packs)).c_str(), scan.packs, scan.screens.size(),
                scan.activity.size(), scan.xorTiles);
    std::printf("%8s %12s %12s %10s %10s  %s\n", "screen", "from", "to", "pack", "to pack", "rows of text lines");
    size_t number = 0;
    for (const ScannedScreen& screen : scan.screens) {
        PrintRange(++number, screen.firstPack, screen.lastPack);
        std::printf("  %s\n", LinesText(screen.lines).c_str());
    }
    std::printf("%8s\n", "graphics");
    number = 0;
    for (const auto& [first, last] : scan.activity) {
        PrintRange(++number, first, last);
        std::printf("\n");
    }
}

void RunScan(const ScanArguments& options)
{
    CatchInterrupts();
    ordered_json files = ordered_json::array();
    const auto work = [&](const BatchInput& input, const Advance& advance) -> std::function<void()> {
        if (IsPassedOver(input))
            return {};
        ScreenScan scan = ScanScreens(input.path, advance);
        if (options.json)
            return [&files, json = ToJson(scan, input.name)] { files.push_back(json); };
        return [scan = std::move(scan), name = input.name] {
            PrintScan(scan, name);
            std::fflush(stdout); // for who waits at the other end of a pipe
        };
    };
    const auto failures = RunBatch("scanning", ExpandInputs(options.files), options.jobs, work);
    if (options.json)
        PrintJson({{"files", files}, {"failures", FailuresJson(failures)}});
    EndBatch(failures);
}

} // namespace

void AddScan(CLI::App& app)
{
    auto options = std::make_shared<ScanArguments>();
    CLI::App& command =
        *app.add_subcommand("scan", "List the screens of streams, their text lines, and their activity");
    command.add_option("FILE", options->files, "CD+G files, disc images, folders of them")->required()->type_name("");
    AddJobsOption(command, options->jobs);
    AddJsonFlag(command, options->json);
    command.footer(
        "\nA screen goes from where the one before it was erased to where it is erased itself. Text lines are the\n"
        "first and last of the 216 pixel rows of each, as they were just before the screen was erased. Stretches\n"
        "with graphics have no pause of more than a second. Times are those at which the packs are due.\n" +
        std::string(kBatchHelp) + "\nExamples:\n  nvtool scan track.bin\n  nvtool scan songs --json");
    command.callback([options] { RunScan(*options); });
}

} // namespace nvtool
