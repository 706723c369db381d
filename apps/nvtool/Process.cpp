// nvtool process: the main job. A track goes in; its sound, its graphics, a picture of every page, a report and a page
// that shows it all come out.
#include "BinFile.h"
#include "Commands.h"
#include "ContactSheet.h"
#include "GraphicsReport.h"
#include "Interrupt.h"
#include "Mp3.h"
#include "Pages.h"
#include "ProcessPage.h"
#include "ResultFolder.h"
#include "Sound.h"
#include "WaveformPicture.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdio>
#include <memory>

namespace nvtool {
namespace fs = std::filesystem;
using nlohmann::ordered_json;

namespace {

constexpr int kPageScale = 3;
constexpr int kWaveformWidth = 1600, kWaveformHeight = 240;

struct Options {
    std::string track, folder;
    SilenceOptions silence;
    bool mp3 = false;
    bool json = false;
};

std::string NumberedName(const char* what, size_t number)
{
    char name[40];
    std::snprintf(name, sizeof(name), "%s-%03zu.png", what, number);
    return name;
}

void WriteText(const fs::path& path, const std::string& text)
{
    OutputFile file(path);
    file.Write(text.data(), text.size());
    file.Commit();
}

// Parts the image, or makes a WAV file of one without subcode. Returns the WAV file's present place.
fs::path Split(const Options& options, ResultFolder& folder, TrackResults& results)
{
    const StreamKind kind = results.identity.kind;
    if (kind != StreamKind::DiscImage && kind != StreamKind::AudioImage)
        return {};
    results.wav = "track.wav";
    const fs::path wav = folder.Add(results.wav);
    if (kind == StreamKind::AudioImage) {
        CopyAudioImage(options.track, wav);
        return wav;
    }
    results.cdg = "track.cdg";
    const fs::path cdg = folder.Add(results.cdg);
    if (SplitBIN(options.track.c_str(), wav.string().c_str(), cdg.string().c_str()) != 1)
        throw Error(options.track, "could not be split into " + options.folder + "; is there room on the disk?");
    return wav;
}

// `made` is the WAV file just made, if any: the one way to the sound of an image without subcode.
void ReportSound(const Options& options, const fs::path& made, ResultFolder& folder, TrackResults& results)
{
    if (results.identity.kind == StreamKind::Graphics)
        return;
    const auto sound = OpenSound(made.empty() ? fs::path(options.track) : made);
    results.sound = ScanSound(*sound, options.silence);
    if (sound->GetLength() == 0)
        return;
    results.waveform = "waveform.png";
    WritePng(folder.Add(results.waveform), DrawWaveformStrip(*sound, kWaveformWidth, kWaveformHeight));
}

// Scans the track for screens and draws them.
void ReportScreens(const Options& options, CCDGRenderer& renderer, ResultFolder& folder, TrackResults& results)
{
    const ScreenScan scan = [&] {
        Progress progress("scanning", results.identity.length);
        u64 done = 0;
        return ScanScreens(options.track, [&](u64 bytes) { progress.Update(done += bytes); });
    }();
    results.screenCount = scan.screens.size();
    results.screens = GroupScreens(scan.screens);
    results.screensCut = results.screens.size() > kMaxScreenRuns;
    results.screens.resize(std::min(results.screens.size(), kMaxScreenRuns));
    Progress progress("drawing screens", results.screens.size());
    size_t pictures = 0, done = 0;
    for (ScreenRun& run : results.screens) {
        const Picture picture = DrawScreen(renderer, run.shown, kPageScale);
        run.palette = PaletteOf(renderer.GetEmulator());
        if (!run.shown.lines.empty()) {
            run.picture = NumberedName("screen", ++pictures);
            WritePng(folder.Add(run.picture), picture);
        }
        progress.Update(++done);
    }
}

// Plays where the WAV file does, in a fraction of the room.
void EncodeSound(const Options& options, const fs::path& made, ResultFolder& folder, TrackResults& results)
{
    if (!options.mp3)
        return;
    if (results.identity.kind == StreamKind::Graphics)
        throw Error(options.track, "has no sound to make an MP3 file of");
    const fs::path from = made.empty() ? fs::path(options.track) : made;
    results.mp3 = "track.mp3";
    MakeMp3([&] { return OpenSound(from); }, options.track, folder.Add(results.mp3), {});
}

void ReportGraphics(const Options& options, ResultFolder& folder, TrackResults& results)
{
    GraphicsInput input(options.track);
    results.graphics = ScanGraphics(input, options.track);
    results.pages = FindPages(input, options.track);

    CCDGRenderer renderer;
    input.Attach(renderer);
    Progress progress("drawing pages", results.pages.pages.size());
    for (const Page& page : results.pages.pages) {
        const std::string name = NumberedName("page", results.pictures.size() + 1);
        WritePng(folder.Add(name),
                 Enlarged(TakePicture(renderer, Page::SecondsOf(page.pack), Area::Field), kPageScale));
        results.pictures.push_back(name);
        progress.Update(results.pictures.size());
    }
    ReportScreens(options, renderer, folder, results);
    if (results.pages.pages.empty())
        return;
    const SheetOptions sheet;
    results.sheet = "sheet.png";
    WritePng(folder.Add(results.sheet), DrawSheet(renderer, SheetTimes(renderer.GetDuration(), sheet), sheet));
}

ordered_json ToJson(const TrackResults& results, const std::vector<std::string>& files)
{
    ordered_json json = {{"tool", ResultFolder::toolMark},   {"version", NVTOOL_VERSION},
                         {"track", results.title},           {"description", StreamKindName(results.identity.kind)},
                         {"bytes", results.identity.length}, {"seconds", results.Seconds()},
                         {"remarks", results.remarks}};
    if (results.sound) {
        json["sound"] = FormatJson(*results.sound);
        if (results.sound->scanned)
            json["sound"].update(SilenceJson(*results.sound));
    }
    if (results.graphics)
        json["graphics"] = GraphicsJson(*results.graphics);
    json["pages"] = ordered_json::array();
    for (size_t i = 0; i < results.pages.pages.size(); ++i) {
        const Page& page = results.pages.pages[i];
        json["pages"].push_back({{"number", i + 1},
                                 {"fromPack", page.startPack},
                                 {"pack", page.pack},
                                 {"fromSeconds", CCDGInputFile::PackToTime(page.startPack)},
                                 {"seconds", CCDGInputFile::PackToTime(page.pack)},
                                 {"picture", results.pictures[i]}});
    }
    json["pagesCut"] = results.pages.cut;
    json["screenCount"] = results.screenCount;
    json["screens"] = ordered_json::array();
    for (const ScreenRun& run : results.screens) {
        ordered_json screen = {{"number", run.firstNumber}, {"toNumber", run.lastNumber}};
        screen.update(PackRangeJson(run.firstPack, run.lastPack));
        screen.update(LinesJson(run.shown));
        screen["palette"] = run.palette;
        screen["picture"] = run.picture.empty() ? ordered_json() : ordered_json(run.picture);
        json["screens"].push_back(screen);
    }
    json["screensCut"] = results.screensCut;
    json["files"] = files;
    return json;
}

TrackResults Begin(const Options& options)
{
    TrackResults results;
    results.identity = Identify(options.track);
    results.title = PathText(fs::path(options.track).filename());
    switch (results.identity.kind) {
    case StreamKind::DiscImage:
    case StreamKind::AudioImage:
    case StreamKind::Graphics:
    case StreamKind::Wave:
        break;
    case StreamKind::KmaPackage:
        throw Error(options.track, "is a KMA package; unpack it and process what is in it");
    case StreamKind::Empty:
    case StreamKind::Unknown:
        throw Error(options.track, "is no track: " + KindText(results.identity));
    }
    if (std::string remark = NameRemark(results.identity, options.track); !remark.empty())
        results.remarks.push_back(std::move(remark));
    if (results.identity.kind == StreamKind::AudioImage)
        results.remarks.push_back("the sectors have no room for graphics, so there are no pages");
    if (results.identity.restBytes != 0)
        results.remarks.push_back("the last " + std::to_string(results.identity.restBytes) +
                                  " bytes are no whole sector or record and were left out");
    return results;
}

void Run(const Options& options)
{
    CatchInterrupts();
    TrackResults results = Begin(options);
    if (options.mp3)
        RequireMp3Encoder(); // before the work
    ResultFolder folder(options.folder, options.track);
    const fs::path wav = Split(options, folder, results);
    ReportSound(options, wav, folder, results);
    EncodeSound(options, wav, folder, results);
    if (results.identity.kind == StreamKind::DiscImage || results.identity.kind == StreamKind::Graphics)
        ReportGraphics(options, folder, results);
    WriteText(folder.Add("index.html"), BuildProcessPage(results));
    const fs::path reportPath = folder.Add(ResultFolder::reportName);
    const ordered_json report = ToJson(results, folder.Names());
    WriteText(reportPath, JsonText(report));
    folder.Install();

    for (const std::string& remark : results.remarks)
        Warn(options.track, remark);
    if (options.json)
        return PrintJson(report);
    std::printf("%s: %s", options.track.c_str(), TimeText(results.Seconds()).c_str());
    if (results.graphics)
        std::printf(", pages: %zu", results.pages.pages.size());
    if (results.sound && results.sound->scanned)
        std::printf(", silences: %zu", results.sound->silences.size());
    std::printf("\nOpen %s in a browser.\n", PathText(fs::path(options.folder) / "index.html").c_str());
}

} // namespace

void AddProcess(CLI::App& app)
{
    auto options = std::make_shared<Options>();
    CLI::App& command =
        *app.add_subcommand("process", "Do everything: split, report, draw every page, and make a page to look at");
    command.add_option("TRACK", options->track, "Disc image; also a CD+G or WAV file alone")->required()->type_name("");
    command.add_option("-o,--output", options->folder, "Folder for the results; made when missing")
        ->required()
        ->type_name("DIR");
    AddSilenceOptions(command, options->silence);
    command.add_flag("--mp3", options->mp3, "Also make track.mp3, which the page then plays");
    AddJsonFlag(command, options->json);
    command.footer(
        "\nDIR then holds index.html (open it in a browser), report.json, track.wav, track.cdg, a picture of\n"
        "every page and every screen, and a contact sheet. A second run replaces what the first one made and nothing "
        "else;\n"
        "results appear when all of them are whole.\n\n"
        "Example:\n  nvtool process track.bin -o out");
    command.callback([options] { Run(*options); });
}

} // namespace nvtool
