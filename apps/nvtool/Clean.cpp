// nvtool clean: where the screen of a stream is clean.
#include "Analysis.h"
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

struct CleanArguments {
    std::string file;
    bool json = false;
};

// Packs that follow each other, as first and last.
std::vector<std::pair<int, int>> Ranges(const std::vector<i32>& packs)
{
    std::vector<std::pair<int, int>> ranges;
    for (const int pack : packs) {
        if (ranges.empty() || ranges.back().second + 1 != pack)
            ranges.emplace_back(pack, pack);
        ranges.back().second = pack;
    }
    return ranges;
}

void RunClean(const CleanArguments& options)
{
    CatchInterrupts();
    Analysis analysis(options.file);
    const CCDGAnalyzer& analyzer = analysis.Get();
    const auto ranges = Ranges(analyzer.m_ClearScreens);
    if (options.json) {
        ordered_json clean = ordered_json::array();
        for (const auto& [first, last] : ranges)
            clean.push_back(PackRangeJson(first, last));
        return PrintJson({{"file", options.file},
                          {"packs", analyzer.m_nPackCount},
                          {"cleanPacks", analyzer.m_ClearScreens.size()},
                          {"clean", clean}});
    }
    std::printf("%s: clean before %zu of %d packs, in %zu ranges\n", options.file.c_str(),
                analyzer.m_ClearScreens.size(), analyzer.m_nPackCount, ranges.size());
    if (!ranges.empty())
        std::printf("%12s %12s %10s %10s\n", "from", "to", "pack", "to pack");
    for (const auto& [first, last] : ranges)
        std::printf("%12s %12s %10d %10d\n", TimeText(CCDGInputFile::PackToTime(first)).c_str(),
                    TimeText(CCDGInputFile::PackToTime(last)).c_str(), first, last);
}

} // namespace

void AddClean(CLI::App& app)
{
    auto options = std::make_shared<CleanArguments>();
    CLI::App& command = *app.add_subcommand("clean", "List where the screen is clean, fit for a cut");
    command.add_option("FILE", options->file, "CD+G file or disc image")->required()->type_name("");
    AddJsonFlag(command, options->json);
    command.footer(
        "\nClean is a screen whose pixels all have colour 0, whatever that colour is. Each range gives the first\n"
        "and the last pack before which the screen is clean, and the times at which they are due.\n\n"
        "Example:\n  nvtool clean track.bin --json");
    command.callback([options] { RunClean(*options); });
}

} // namespace nvtool
