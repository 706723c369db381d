// Running ffmpeg for commands: see FFMpeg.h.
#include "FFMpeg.h"

#include "Commands.h"
#include "FFMpegRunner.h"
#include "FindProgram.h"
#include "Interrupt.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string_view>
#include <system_error>
#include <vector>

namespace nvtool {
namespace fs = std::filesystem;

namespace {

using Runner = NV::CFFMpegRunner;

constexpr u64 kBarSteps = 1000;
constexpr int kProbeTime = 60000; // milliseconds; for a file that keeps ffmpeg looking for its end

int CheckInterrupt()
{
    return IsInterrupted() ? 1 : 0;
}

Runner MakeRunner(const std::string& file)
{
    RequireFFMpeg(file);
    return Runner(FindFFMpeg());
}

// The line that says that what ffmpeg made could not be written; empty when there is none. Where this comes out only at
// the end, when it empties its buffers, versions before 6 tell of it and end with the code for success.
std::string WriteFailure(const Runner& runner)
{
    static constexpr std::string_view signs[] = {"Error writing trailer", "Error closing file",
                                                 "av_interleaved_write_frame(): ", "Could not write header"};
    for (const std::string& line : runner.GetOutput())
        for (const std::string_view sign : signs) {
            const std::size_t at = line.find(sign);
            if (at == 0 || (at != std::string::npos && line[0] == '[')) // titles in a file are told indented
                return line.substr(at);
        }
    return {};
}

// ffmpeg's reason: what it could not write or, without that, its last line that says something.
std::string LastWords(const Runner& runner)
{
    if (std::string written = WriteFailure(runner); !written.empty())
        return written;
    const auto& lines = runner.GetOutput();
    const auto last = std::find_if(lines.rbegin(), lines.rend(), [](const std::string& line) {
        const bool isProgress = line.starts_with("frame=") || line.starts_with("size=");
        return !isProgress && line.find_first_not_of(" \t") != std::string::npos;
    });
    return last == lines.rend() ? "it gives no reason" : *last;
}

void RequireStart(const Runner& runner)
{
    if (runner.GetOutcome() == Runner::Outcome::notStarted)
        throw Error(runner.GetPath(), "cannot be run: " + runner.GetErrorMessage());
}

// What stands behind the first "Audio: " of a line that describes a stream; empty when there is none.
std::string AudioOf(const std::vector<std::string>& lines)
{
    static constexpr std::string_view label = ": Audio: ";
    for (const std::string& line : lines)
        if (const std::size_t at = line.find(label); at != std::string::npos && line.find("Stream #") < at)
            return line.substr(at + label.size());
    return {};
}

} // namespace

std::string FindFFMpeg()
{
    const char* chosen = std::getenv("NVTOOL_FFMPEG");
    return chosen ? chosen : FindProgram("ffmpeg");
}

void RequireFFMpeg(const std::string& file)
{
    if (FindFFMpeg().empty())
        throw Error(file, "this needs the program ffmpeg, which is not installed");
}

TemporaryFile::TemporaryFile(const std::string& name)
{
    std::random_device random;
    std::error_code failure;
    const fs::path all = fs::temp_directory_path(failure);
    for (int attempt = 0; attempt < 100 && !failure; ++attempt) {
        char folder[32];
        std::snprintf(folder, sizeof(folder), "nvtool-%08x", static_cast<unsigned>(random()));
        if (!fs::create_directory(all / folder, failure)) // one that is there may be a trap
            continue;
        fs::permissions(all / folder, fs::perms::owner_all, failure);
        path = all / folder / name;
        return;
    }
    throw Error(PathText(all), "takes no temporary files");
}

TemporaryFile::~TemporaryFile()
{
    std::error_code ignored;
    fs::remove(path, ignored);
    fs::remove(path.parent_path(), ignored);
}

std::string FFMpegFile(const fs::path& path)
{
    return CConsoleOutputReader::QuoteArgument("file:" + path.string(), true);
}

double RunFFMpeg(const FFMpegJob& job)
{
    CatchInterrupts(); // or ffmpeg and what it has written would be left behind
    Runner runner = MakeRunner(job.file);
    runner.SetInputFeed(job.feed);
    Progress progress(job.label, kBarSteps);
    u64 shown = 0; // the bar never goes back, whatever ffmpeg reports
    const bool good = runner.RunCommand(job.arguments, 0, CheckInterrupt, true, [&](double fraction) {
        if (runner.GetTotalDuration() <= 0 && !runner.IsFinished()) {
            progress.UpdateUnknown(runner.GetOutputTime());
            return 0;
        }
        shown = std::max(shown, static_cast<u64>(std::clamp(fraction, 0.0, 1.0) * kBarSteps));
        progress.Update(shown);
        return 0;
    });
    if (IsInterrupted())
        throw Interruption();
    RequireStart(runner);
    if (!good || !WriteFailure(runner).empty())
        throw Error(job.file, "ffmpeg failed: " + LastWords(runner));
    return runner.GetOutputTime();
}

std::optional<FoundSound> FindSound(const fs::path& path)
{
    if (FindFFMpeg().empty())
        return std::nullopt;
    CatchInterrupts();
    Runner runner = MakeRunner(PathText(path));
    // Without an output ffmpeg only tells what is in the file, and ends with a failure.
    runner.RunCommand("-i " + FFMpegFile(path), kProbeTime, CheckInterrupt);
    if (IsInterrupted())
        throw Interruption();
    RequireStart(runner);
    const auto& lines = runner.GetOutput();
    FoundSound found;
    found.description = AudioOf(lines);
    found.seconds = runner.GetTotalDuration();
    found.isGuess = std::any_of(lines.begin(), lines.end(), [](const std::string& line) {
        return line.find("Estimating duration from bitrate") != std::string::npos;
    });
    return found.description.empty() ? std::nullopt : std::optional(found);
}

double MeasureSound(const fs::path& path)
{
    const auto found = FindSound(path);
    if (!found)
        throw Error(PathText(path), "holds no sound that can be read");
    if (found->IsLengthKnown())
        return found->seconds;
    return RunFFMpeg({"measuring", PathText(path), "-i " + FFMpegFile(path) + " -map 0:a:0 -f null -", {}});
}

void DecodeSound(const fs::path& path, const fs::path& wav, const std::string& form)
{
    RunFFMpeg(
        {"decoding",
         PathText(path),
         "-i " + FFMpegFile(path) + " -map 0:a:0 -c:a pcm_s16le " + form + " -bitexact -f wav -y " + FFMpegFile(wav),
         {}});
}

} // namespace nvtool
