// nvtool waveform: a picture of a recording as the waveform windows show it.
#include "WaveformPicture.h"

#include "Commands.h"
#include "Sound.h"
#include "Times.h"
#include "WaveFileChartWnd.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <cstdio>
#include <map>
#include <memory>

namespace nvtool {

namespace {

using View = WaveformOptions::View;

struct WaveformArguments {
    std::string file, output, view = "chart", start, pointer;
    WaveformOptions waveform;
    bool json = false;
};

const std::map<std::string, View> kViews = {
    {"chart", View::Chart}, {"overview", View::Overview}, {"window", View::Window}};

void RunWaveform(const WaveformArguments& options)
{
    WaveformOptions waveform = options.waveform;
    waveform.view = kViews.at(options.view);
    if (!options.start.empty())
        waveform.start = ParseTime(options.start, "--start");
    if (!options.pointer.empty())
        waveform.pointer = ParseTime(options.pointer, "--pointer");
    RefuseSameFile(options.file, options.output);
    const auto sound = OpenSound(options.file, CWaveFileChartWnd::CanShow);
    const double seconds = sound->SampleToTime(sound->GetLength());
    if (waveform.start >= seconds && waveform.start > 0)
        throw Error(options.file, "ends at " + TimeText(seconds) + ", before --start");
    const Picture picture = DrawWaveform(*sound, waveform);
    WritePng(options.output, picture);
    if (options.json)
        return PrintJson({{"file", options.file},
                          {"sound", FormatJson(DescribeSound(*sound))},
                          {"picture", options.output},
                          {"width", picture.Width()},
                          {"height", picture.Height()}});
    std::printf("%s  %s\n", TimeText(seconds).c_str(), options.output.c_str());
}

} // namespace

void AddWaveform(CLI::App& app)
{
    auto options = std::make_shared<WaveformArguments>();
    CLI::App& command = *app.add_subcommand("waveform", "Save a picture of a recording, time from top to bottom");
    command.add_option("AUDIO", options->file, kSoundHelp)->required()->type_name("");
    command.add_option("-o,--output", options->output, "PNG file to write")->required()->type_name("FILE");
    command.add_option("--view", options->view, "chart, overview, or window: both side by side")
        ->check(CLI::IsMember(kViews))
        ->capture_default_str()
        ->type_name("VIEW");
    command.add_option("--width", options->waveform.width, "Pixels across")
        ->check(CLI::Range(1, kMostWaveformSide))
        ->capture_default_str();
    command.add_option("--height", options->waveform.height, "Pixels down")
        ->check(CLI::Range(1, kMostWaveformSide))
        ->capture_default_str();
    command.add_option("--start", options->start, "Time of the first row")->type_name("TIME");
    command
        .add_option("--density", options->waveform.density,
                    "Frames a pixel row; without it all of the recording is shown")
        ->check(CLI::Range(i64(1), i64(1) << 40))
        ->type_name("N");
    command.add_option("--pointer", options->pointer, "Time that the pointer stands at")->type_name("TIME");
    AddJsonFlag(command, options->json);
    command.footer("\nExamples:\n  nvtool waveform track.wav -o wave.png --view window\n"
                   "  nvtool waveform track.bin -o start.png --start 0:12 --density 100 --pointer 0:12.5");
    command.callback([options] { RunWaveform(*options); });
}

} // namespace nvtool
