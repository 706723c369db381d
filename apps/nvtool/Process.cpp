// nvtool process: the main job, on one track or on many. See ProcessTrack.h for what comes out of it.
#include "Batch.h"
#include "BatchPage.h"
#include "Commands.h"
#include "Interrupt.h"
#include "Mp3.h"
#include "ProcessTrack.h"
#include "ResultFolder.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <set>

namespace nvtool {
namespace fs = std::filesystem;
using nlohmann::ordered_json;

namespace {

struct ProcessArguments {
    std::vector<std::string> tracks;
    std::string folder;
    ProcessOptions process;
    int jobs = 0;
    bool json = false;
};

std::string Summary(const TrackResults& results)
{
    std::string text = TimeText(results.Seconds());
    if (results.graphics)
        text += ", pages: " + std::to_string(results.pages.pages.size());
    if (results.sound && results.sound->scanned)
        text += ", silences: " + std::to_string(results.sound->silences.size());
    return text;
}

void Tell(const std::string& name, const TrackResults& results, bool json)
{
    for (const std::string& remark : results.remarks)
        Warn(name, remark);
    if (!json)
        std::printf("%s: %s\n", name.c_str(), Summary(results).c_str());
}

void PointAtPage(const ProcessArguments& options)
{
    std::printf("Open %s in a browser.\n", PathText(fs::path(options.folder) / "index.html").c_str());
}

void RunOne(const ProcessArguments& options, const std::string& track)
{
    const ProcessedTrack done = ProcessTrack(track, options.folder, options.process);
    Tell(track, done.results, options.json);
    if (options.json)
        return PrintJson(done.report);
    PointAtPage(options);
}

// Every track once, none of them a result of an earlier run, no two for one folder.
std::vector<BatchInput> TracksOf(const ProcessArguments& options)
{
    std::error_code unknown;
    const fs::path target = fs::weakly_canonical(options.folder, unknown);
    std::vector<BatchInput> inputs;
    std::set<std::string> taken;
    for (BatchInput& input : ExpandInputs(options.tracks)) {
        const fs::path place = fs::weakly_canonical(input.path, unknown);
        const bool isResult =
            std::mismatch(target.begin(), target.end(), place.begin(), place.end()).first == target.end();
        if (input.found && isResult)
            continue;
        if (input.failure.empty() && !taken.insert(SlashedText(input.relative)).second)
            input.failure = "another track has this name; process it by itself";
        inputs.push_back(std::move(input));
    }
    return inputs;
}

void RunMany(const ProcessArguments& options)
{
    ResultFolder folder(options.folder, {});
    std::vector<BatchEntry> entries;
    ordered_json tracks = ordered_json::array();
    const auto work = [&](const BatchInput& input, const Advance&) -> std::function<void()> {
        if (IsPassedOver(input))
            return {};
        const auto done = std::make_shared<ProcessedTrack>(
            ProcessTrack(input.path.string(), (fs::path(options.folder) / input.relative).string(), options.process));
        return [&, done, name = input.name, reference = SlashedText(input.relative)] {
            Tell(name, done->results, options.json);
            std::fflush(stdout); // for who waits at the other end of a pipe
            entries.push_back(MakeBatchEntry(name, reference, done->results));
            done->report["folder"] = reference;
            tracks.push_back(std::move(done->report));
        };
    };
    const auto failures = RunBatch("processing", TracksOf(options), options.jobs, work);
    OutputFile::WriteWhole(folder.Add("index.html"), BuildBatchPage(entries, failures));
    const fs::path reportPath = folder.Add(ResultFolder::reportName);
    const ordered_json report = {{"tool", ResultFolder::toolMark},
                                 {"version", NVTOOL_VERSION},
                                 {"tracks", tracks},
                                 {"failures", FailuresJson(failures)},
                                 {"files", folder.Names()}};
    OutputFile::WriteWhole(reportPath, JsonText(report));
    folder.Install();
    if (options.json)
        PrintJson(report);
    else
        PointAtPage(options);
    EndBatch(failures);
}

void RunProcess(const ProcessArguments& options)
{
    CatchInterrupts();
    if (options.process.mp3)
        RequireMp3Encoder(); // before the work
    std::error_code unknown;
    if (options.tracks.size() == 1 && !fs::is_directory(options.tracks[0], unknown))
        RunOne(options, options.tracks[0]);
    else
        RunMany(options);
}

} // namespace

void AddProcess(CLI::App& app)
{
    auto options = std::make_shared<ProcessArguments>();
    CLI::App& command =
        *app.add_subcommand("process", "Do everything: split, report, draw every page, and make a page to look at");
    command
        .add_option("TRACK", options->tracks,
                    "Disc image; CD+G file with its sound file of the same name; WAV file or,\nwith ffmpeg installed, "
                    "any other sound; folders of .cdg and .bin files")
        ->required()
        ->type_name("");
    command.add_option("-o,--output", options->folder, "Folder for the results; made when missing")
        ->required()
        ->type_name("DIR");
    AddSilenceOptions(command, options->process.silence);
    command.add_flag("--mp3", options->process.mp3, "Also make track.mp3, which the page then plays");
    AddDiscTitlesOptions(command, options->process.titles);
    AddJobsOption(command, options->jobs);
    AddJsonFlag(command, options->json);
    command.footer(
        "\nDIR then holds index.html (open it in a browser: it plays the sound with the graphics in step),\n"
        "report.json, track.wav, track.cdg, track.thumbprint, a picture of every page and every screen, and a\n"
        "contact sheet. A second run replaces what the first one made and nothing else; results appear when all\n"
        "of them are whole.\n\n"
        "Of several tracks, or of a folder, each gets a folder of its own in DIR, called like the track, and\n"
        "DIR/index.html leads to all of them.\n" +
        std::string(kBatchHelp) + "\nExamples:\n  nvtool process track.bin -o out\n  nvtool process songs -o out");
    command.callback([options] { RunProcess(*options); });
}

} // namespace nvtool
