// nvtool sheet: the whole track on one picture.
#include "Commands.h"
#include "ContactSheet.h"
#include "Inputs.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <cstdio>
#include <memory>

namespace nvtool {

namespace {

struct SheetArguments {
    std::string file, output;
    SheetOptions sheet;
    bool json = false;
};

void RunSheet(const SheetArguments& options)
{
    GraphicsInput input(options.file);
    RefuseSameFile(options.file, options.output);
    CCDGRenderer renderer;
    input.Attach(renderer);
    const double duration = renderer.GetDuration();
    const std::vector<double> times = SheetTimes(duration, options.sheet);
    const bool cut = options.sheet.stepSeconds > 0 && double(times.size()) * options.sheet.stepSeconds < duration;
    const Picture sheet = DrawSheet(renderer, times, options.sheet);
    WritePng(options.output, sheet);
    if (cut)
        Warn(options.file, "one sheet holds " + std::to_string(kMaxSheetPictures) + " pictures: it ends at " +
                               TimeText(times.back()));
    if (options.json)
        return PrintJson({{"file", options.file},
                          {"picture", options.output},
                          {"width", sheet.Width()},
                          {"height", sheet.Height()},
                          {"seconds", times}});
    std::printf("%s: %zu pictures\n", options.output.c_str(), times.size());
}

} // namespace

void AddSheet(CLI::App& app)
{
    auto options = std::make_shared<SheetArguments>();
    CLI::App& command = *app.add_subcommand("sheet", "Save a contact sheet: the whole track on one PNG picture");
    command.add_option("FILE", options->file, "CD+G file or disc image")->required()->type_name("");
    command.add_option("-o,--output", options->output, "PNG file to write")->required()->type_name("FILE");
    command
        .add_option("--every", options->sheet.stepSeconds,
                    "Seconds between two pictures; without it a round number that gives 60 at most")
        ->check(CLI::Range(0.01, 86400.0))
        ->type_name("SECONDS");
    command.add_option("--columns", options->sheet.columns, "Pictures in a row, 1 to 20")
        ->check(CLI::Range(1, 20))
        ->capture_default_str();
    command.add_flag("--full", options->sheet.fullSize, "Pictures of 288x192 pixels instead of half that size");
    AddJsonFlag(command, options->json);
    command.footer("\nExample:\n  nvtool sheet track.bin -o sheet.png --every 10");
    command.callback([options] { RunSheet(*options); });
}

} // namespace nvtool
