// nvtool frame: the screen at given times, as PNG pictures.
#include "Commands.h"
#include "Inputs.h"
#include "Picture.h"
#include "Times.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <cstdio>
#include <memory>
#include <vector>

namespace nvtool {
namespace fs = std::filesystem;

namespace {

struct FrameArguments {
    std::string file, output;
    std::vector<std::string> times;
    bool visible = false;
    int scale = 1;
    bool json = false;
};

// The i-th of `count` pictures: p.png, or p-07.png when there are several.
fs::path NumberedPath(const fs::path& output, size_t i, size_t count)
{
    if (count == 1)
        return output;
    const int digits = static_cast<int>(std::to_string(count).size());
    char number[24];
    std::snprintf(number, sizeof(number), "-%0*zu", digits, i + 1);
    fs::path path = output;
    path.replace_filename(output.stem().string() + number + output.extension().string());
    return path;
}

void RunFrame(const FrameArguments& options)
{
    const std::vector<double> times = ParseTimes(options.times, "--at");
    GraphicsInput input(options.file);
    std::vector<fs::path> paths;
    for (size_t i = 0; i < times.size(); ++i) {
        paths.push_back(NumberedPath(options.output, i, times.size()));
        RefuseSameFile(options.file, paths.back());
    }
    CCDGRenderer renderer;
    input.Attach(renderer);
    const double duration = renderer.GetDuration();

    nlohmann::ordered_json pictures = nlohmann::ordered_json::array();
    Progress progress("drawing", times.size());
    for (size_t i = 0; i < times.size(); ++i) {
        const Area area = options.visible ? Area::Visible : Area::Field;
        const Picture picture = Enlarged(TakePicture(renderer, times[i], area), options.scale);
        WritePng(paths[i], picture);
        if (times[i] > duration)
            Warn(options.file, TimeText(times[i]) + " is past the end at " + TimeText(duration) +
                                   ": the picture shows the last screen");
        pictures.push_back({{"seconds", times[i]},
                            {"picture", PathText(paths[i])},
                            {"width", picture.Width()},
                            {"height", picture.Height()}});
        progress.Update(i + 1);
    }
    if (options.json)
        return PrintJson({{"file", options.file}, {"pictures", pictures}});
    for (size_t i = 0; i < times.size(); ++i)
        std::printf("%s  %s\n", TimeText(times[i]).c_str(), PathText(paths[i]).c_str());
}

} // namespace

void AddFrame(CLI::App& app)
{
    auto options = std::make_shared<FrameArguments>();
    CLI::App& command = *app.add_subcommand("frame", "Save the screen at one or more times as PNG pictures");
    command.add_option("FILE", options->file, "CD+G file or disc image")->required()->type_name("");
    command.add_option("--at", options->times, "Time in seconds (90.5) or minutes (1:30.5); any number of times")
        ->required()
        ->allow_extra_args(false)
        ->delimiter(',')
        ->type_name("TIME");
    command.add_option("-o,--output", options->output, "PNG file to write")->required()->type_name("FILE");
    command.add_flag("--visible", options->visible, "Only the visible 288x192 pixels, without the margin around them");
    command.add_option("--scale", options->scale, "Enlarge by a whole number, 1 to 16")
        ->check(CLI::Range(1, 16))
        ->capture_default_str();
    AddJsonFlag(command, options->json);
    command.footer("\nWith one time the picture gets the name given. With several the pictures are numbered in the\n"
                   "order of the times: p.png becomes p-1.png, p-2.png and so on.\n\n"
                   "Examples:\n  nvtool frame track.cdg --at 83.5 -o page.png --scale 2\n"
                   "  nvtool frame track.bin --at 0:30 --at 1:00 --at 1:30 -o p.png");
    command.callback([options] { RunFrame(*options); });
}

} // namespace nvtool
