// nvtool silence: the quiet stretches of a recording.
#include "Commands.h"
#include "Sound.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <cstdio>
#include <memory>

namespace nvtool {

namespace {

struct SilenceArguments {
    std::string file;
    SilenceOptions silence;
    bool json = false;
};

void PrintSilence(const SoundReport& report)
{
    const auto place = [&](const char* what, int frame) {
        if (frame >= 0)
            std::printf("%-12s %s  (frame %d)\n", what, TimeText(report.Seconds(frame)).c_str(), frame);
        else
            std::printf("%-12s none: all of it is below the threshold\n", what);
    };
    std::printf("%-12s %s  (%lld frames)\n", "length", TimeText(report.seconds).c_str(), report.frames);
    place("first sound", report.firstSound);
    place("last sound", report.lastSound);
    std::printf("%zu silence%s of at least %g s below %g of full scale\n", report.silences.size(),
                report.silences.size() == 1 ? "" : "s", report.options.minSeconds, report.options.threshold);
    if (!report.silences.empty())
        std::printf("\n%12s %12s %10s %12s %12s\n", "from", "to", "seconds", "frame", "to frame");
    for (const auto& [start, end] : report.silences)
        std::printf("%12s %12s %10.3f %12d %12d\n", TimeText(report.Seconds(start)).c_str(),
                    TimeText(report.Seconds(end)).c_str(), report.Seconds(end - start), start, end);
}

void RunSilence(const SilenceArguments& options)
{
    const auto sound = OpenSound(options.file, IsScannable);
    const SoundReport report = ScanSound(*sound, options.silence);
    if (!report.scanned)
        throw Error(options.file,
                    "silence is looked for in 16-bit mono or stereo only, this is " + FormatText(report.format));
    if (!options.json)
        return PrintSilence(report);
    nlohmann::ordered_json json = {{"file", options.file}, {"sound", FormatJson(report)}};
    json.update(SilenceJson(report));
    PrintJson(json);
}

} // namespace

void AddSilence(CLI::App& app)
{
    auto options = std::make_shared<SilenceArguments>();
    CLI::App& command = *app.add_subcommand("silence", "List the quiet stretches of a recording");
    command.add_option("FILE", options->file, kSoundHelp)->required()->type_name("");
    AddSilenceOptions(command, options->silence);
    AddJsonFlag(command, options->json);
    command.footer("\nA click, a loud sample on its own, does not end a silence.\n\n"
                   "Example:\n  nvtool silence track.wav --threshold 0.005 --min 0.5");
    command.callback([options] { RunSilence(*options); });
}

} // namespace nvtool
