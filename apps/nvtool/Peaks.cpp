// nvtool peaks: makes the peak file of a recording, or tells that it is fresh.
#include "Commands.h"
#include "PeakFile.h"
#include "ProgressDialog.h"
#include "Sound.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <cstdio>
#include <memory>
#include <optional>

namespace nvtool {
namespace fs = std::filesystem;

namespace {

struct PeaksArguments {
    std::string file;
    int sectorSize = CPeakFile::c_nPFSectorSize;
    bool json = false;
};

// The library's progress on this program's bar.
class TerminalBar : public CProgressDialog {
public:
    void Open(const char* status) override { bar.emplace(status, 100'000); }
    void SetProgress(double percent) override { bar->Update(static_cast<u64>(percent * 1000)); }

private:
    std::optional<Progress> bar;
};

enum class PeakState { Fresh, Made };

// A file that is there and young enough is kept. One that turns out to be no peak file is gone after the first attempt.
PeakState MakePeaks(CPeakFile& peaks, CSoundFile& sound, const PeaksArguments& options)
{
    const fs::path place = fs::path(CPeakFile::CreatePeakFilename(options.file.c_str()).GetString());
    bool scanned = false;
    const auto watch = [&] {
        scanned = true;
        return false;
    };
    peaks.SetMemoryOnly(false);
    for (int attempt = 0; attempt < 2; ++attempt) {
        if (peaks.Create(options.file.c_str(), &sound, options.sectorSize, true, watch) == 1)
            return scanned ? PeakState::Made : PeakState::Fresh;
        if (scanned)
            break;
    }
    throw Error(options.file, scanned ? "the peak file could not be written; is there room on the disk?"
                                      : "has no peaks: 8- or 16-bit mono or stereo is needed, and a place for " +
                                            PathText(place) + " beside it, with room on the disk");
}

void RunPeaks(const PeaksArguments& options)
{
    const auto sound = OpenSound(options.file);
    CProgressDialog::c_pCreate = [] { return std::make_unique<TerminalBar>(); };
    CPeakFile peaks;
    const PeakState outcome = MakePeaks(peaks, *sound, options);
    const std::string place = peaks.GetPeakPath().GetString();
    if (peaks.IsInTemporaryFolder())
        throw Error(place.empty() ? options.file : CPeakFile::CreatePeakFilename(options.file.c_str()).GetString(),
                    "cannot be written");
    if (options.json)
        return PrintJson({{"file", options.file},
                          {"peakFile", place},
                          {"fresh", outcome == PeakState::Fresh},
                          {"sectorSize", peaks.GetSectorSize()},
                          {"sectors", peaks.GetSectorCount()},
                          {"bytes", peaks.GetLength()}});
    std::printf("%s: %s, %lld sectors of %d frames\n", place.c_str(),
                outcome == PeakState::Fresh ? "fresh, left as it is" : "made",
                static_cast<long long>(peaks.GetSectorCount()), peaks.GetSectorSize());
}

} // namespace

void AddPeaks(CLI::App& app)
{
    auto options = std::make_shared<PeaksArguments>();
    CLI::App& command = *app.add_subcommand("peaks", "Make the peak file (.fpr) of a recording");
    command.add_option("AUDIO", options->file, kSoundHelp)->required()->type_name("");
    command.add_option("--sector", options->sectorSize, "Frames that one record sums up, for a new file")
        ->check(CLI::Range(1, 65535))
        ->capture_default_str();
    AddJsonFlag(command, options->json);
    command.footer(
        "\nThe file lies beside the audio and has its name, with the extension .fpr. One that is not older than the\n"
        "audio is fresh and left as it is.\n\n"
        "Example:\n  nvtool peaks track.wav");
    command.callback([options] { RunPeaks(*options); });
}

} // namespace nvtool
