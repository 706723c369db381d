// One track's whole job: see ProcessTrack.h.
#include "ProcessTrack.h"

#include "BinFile.h"
#include "ContactSheet.h"
#include "GraphicsReport.h"
#include "MP3Info.h"
#include "Mp3.h"
#include "Pages.h"
#include "Print.h"
#include "ResultFolder.h"
#include "ScreenScript.h"
#include "TextEncoding.h"
#include "WaveformPicture.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdio>
#include <optional>

namespace nvtool {
namespace fs = std::filesystem;
using nlohmann::ordered_json;

namespace {

constexpr int kPageScale = 3;
constexpr int kWaveformWidth = 1600, kWaveformHeight = 240;

struct Job {
    const std::string& track;
    const std::string& folder;
    const ProcessOptions& options;
};

std::string NumberedName(const char* what, size_t number)
{
    char name[40];
    std::snprintf(name, sizeof(name), "%s-%03zu.png", what, number);
    return name;
}

// Parts the image, or makes a WAV file of one without subcode. Returns the WAV file's present place.
fs::path Split(const Job& job, ResultFolder& folder, TrackResults& results)
{
    const StreamKind kind = results.identity.kind;
    if (kind != StreamKind::DiscImage && kind != StreamKind::AudioImage)
        return {};
    results.wav = "track.wav";
    const fs::path wav = folder.Add(results.wav);
    if (kind == StreamKind::AudioImage) {
        CopyAudioImage(job.track, wav);
        return wav;
    }
    results.cdg = "track.cdg";
    const fs::path cdg = folder.Add(results.cdg);
    if (SplitBIN(job.track.c_str(), wav.string().c_str(), cdg.string().c_str()) != 1)
        throw Error(job.track, "could not be split into " + job.folder + "; is there room on the disk?");
    return wav;
}

std::optional<SongFacts> ReadSong(const fs::path& mp3)
{
    CMP3Info info;
    if (!info.Open(mp3.string().c_str()) || !(info.GetValidity() & CMP3Info::validTag))
        return {};
    const auto text = [](const CString& field) { return Readable(field.GetString(), Encoding::automatic); };
    return SongFacts{text(info.GetTitle()), text(info.GetArtist()), text(info.GetAlbum())};
}

// Puts the sound that lies elsewhere into the folder, so that the page plays it: as it is or, of a kind that browsers
// may not know, as ffmpeg has decoded it.
void CopySound(const fs::path& file, const std::optional<SoundSource>& source, ResultFolder& folder,
               TrackResults& results)
{
    const bool isWave = Identify(file).kind == StreamKind::Wave;
    const bool isMp3 = !isWave && LowerExtension(file) == ".mp3";
    if (!isWave && !isMp3 && !source)
        return;
    std::string& name = isMp3 ? results.mp3 : results.wav;
    name = isMp3 ? "track.mp3" : "track.wav";
    if (isMp3)
        results.song = ReadSong(file);
    std::error_code failure;
    if (!fs::copy_file(isWave || isMp3 ? file : source->DecodedFile(), folder.Add(name), failure))
        throw Error(PathText(file), "cannot be copied to " + PathText(folder.Path() / name) + ": " + failure.message() +
                                        "; is there room on the disk?");
}

void ReportSound(const Job& job, const SoundSource& source, ResultFolder& folder, TrackResults& results)
{
    const auto sound = source.Open();
    results.sound = ScanSound(*sound, job.options.silence);
    if (sound->GetLength() == 0)
        return;
    results.waveform = "waveform.png";
    WritePng(folder.Add(results.waveform), DrawWaveformStrip(*sound, kWaveformWidth, kWaveformHeight));
}

// Plays where the WAV file does, in a fraction of the room.
void EncodeSound(const Job& job, const std::optional<SoundSource>& source, ResultFolder& folder, TrackResults& results)
{
    if (!job.options.mp3 || !results.mp3.empty())
        return;
    if (!source)
        throw Error(job.track, "has no sound to make an MP3 file of");
    results.mp3 = "track.mp3";
    MakeMp3([&] { return source->Open(); }, folder.Add(results.mp3), job.track,
            PathText(fs::path(job.folder) / results.mp3), {});
}

// The track's sound is `made`, what was split off; else the track itself, or the file beside it.
void TakeSound(const Job& job, const fs::path& made, ResultFolder& folder, TrackResults& results)
{
    const bool isBeside = results.identity.kind == StreamKind::Graphics;
    fs::path file = made;
    if (made.empty())
        file = isBeside ? SoundBeside(job.track).value_or(fs::path()) : fs::path(job.track);
    std::optional<SoundSource> source;
    if (!file.empty()) {
        if (isBeside)
            results.remarks.push_back("its sound is " + PathText(file.filename()) + ", which lies beside it");
        try {
            source.emplace(file, IsScannable);
        } catch (const Error& error) {
            if (!isBeside)
                throw;
            // A player may well play what was not understood here, and the graphics are whole.
            results.remarks.push_back("its sound " + std::string(error.what()));
        }
        if (source && source->IsDecoded())
            results.remarks.push_back(isBeside ? "its sound was decoded by ffmpeg" : "decoded by ffmpeg");
        if (made.empty())
            CopySound(file, source, folder, results);
        if (source)
            ReportSound(job, *source, folder, results);
    }
    EncodeSound(job, source, folder, results);
}

// Scans the track for screens and draws them.
void ReportScreens(const Job& job, CCDGRenderer& renderer, ResultFolder& folder, TrackResults& results)
{
    const ScreenScan scan = [&] {
        Progress progress("scanning", results.identity.length);
        u64 done = 0;
        return ScanScreens(job.track, [&](u64 bytes) { progress.Update(done += bytes); });
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

// What a browser needs to play the graphics.
void WriteScript(const Job& job, GraphicsInput& input, ResultFolder& folder, TrackResults& results)
{
    if (results.graphics->packs > kMaxScriptPacks) {
        results.remarks.push_back("the page does not play graphics of more than two hours");
        return;
    }
    results.script = "graphics.js";
    OutputFile::WriteWhole(folder.Add(results.script), ScreenScript(input, job.track));
}

void ReportPrint(const Job& job, ResultFolder& folder, TrackResults& results)
{
    const Print print = Print::OfStream(job.track);
    results.print = {"track.thumbprint", print.Bytes().size(), print.Ink()};
    print.Save(folder.Add(results.print->name));
}

void ReportGraphics(const Job& job, ResultFolder& folder, TrackResults& results)
{
    GraphicsInput input(job.track);
    results.graphics = ScanGraphics(input, job.track);
    results.pages = FindPages(input, job.track);

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
    ReportScreens(job, renderer, folder, results);
    WriteScript(job, input, folder, results);
    ReportPrint(job, folder, results);
    if (results.pages.pages.empty())
        return;
    const SheetOptions sheet;
    results.sheet = "sheet.png";
    WritePng(folder.Add(results.sheet), DrawSheet(renderer, SheetTimes(renderer.GetDuration(), sheet), sheet));
}

ordered_json ToJson(const TrackResults& results, const std::vector<std::string>& files)
{
    ordered_json json = {{"tool", ResultFolder::toolMark},   {"version", NVTOOL_VERSION},
                         {"track", results.title},           {"description", results.Description()},
                         {"bytes", results.identity.length}, {"seconds", results.Seconds()},
                         {"remarks", results.remarks}};
    if (results.sound) {
        json["sound"] = FormatJson(*results.sound);
        if (results.sound->scanned)
            json["sound"].update(SilenceJson(*results.sound));
    }
    if (results.graphics)
        json["graphics"] = GraphicsJson(*results.graphics);
    if (results.song)
        json["song"] = {
            {"title", results.song->title}, {"artist", results.song->artist}, {"album", results.song->album}};
    if (results.titles)
        json["disc"] = RecordJson(results.titles->record, results.titles->encoding);
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
    if (results.print)
        json["thumbprint"] = {
            {"file", results.print->name}, {"bytes", results.print->bytes}, {"bitsSet", results.print->bitsSet}};
    json["files"] = files;
    return json;
}

TrackResults Begin(const Job& job)
{
    TrackResults results;
    results.identity = Identify(job.track);
    results.title = PathText(fs::path(job.track).filename());
    switch (results.identity.kind) {
    case StreamKind::DiscImage:
    case StreamKind::AudioImage:
    case StreamKind::Graphics:
    case StreamKind::Wave:
        break;
    case StreamKind::KmaPackage:
        throw Error(job.track, "is a KMA package; unpack it and process what is in it");
    case StreamKind::Unknown:
        if (FindSound(job.track))
            break;
        [[fallthrough]];
    case StreamKind::Empty:
        throw Error(job.track, "is no track: " + KindText(results.identity));
    }
    if (std::string remark = NameRemark(results.identity, job.track); !remark.empty())
        results.remarks.push_back(std::move(remark));
    if (results.identity.kind == StreamKind::AudioImage)
        results.remarks.push_back("the sectors have no room for graphics, so there are no pages");
    if (results.identity.restBytes != 0)
        results.remarks.push_back("the last " + std::to_string(results.identity.restBytes) +
                                  " bytes are no whole sector or record and were left out");
    return results;
}

} // namespace

ProcessedTrack ProcessTrack(const std::string& track, const std::string& target, const ProcessOptions& options)
{
    const Job job{track, target, options};
    ProcessedTrack done{Begin(job), {}};
    TrackResults& results = done.results;
    ResultFolder folder(target, track);
    TakeSound(job, Split(job, folder, results), folder, results);
    if (results.identity.kind == StreamKind::DiscImage || results.identity.kind == StreamKind::Graphics)
        ReportGraphics(job, folder, results);
    if (std::string remark; !options.titles.db.empty()) {
        results.titles = FindDiscTitles(track, options.titles, remark);
        if (!remark.empty())
            results.remarks.push_back(remark);
    }
    OutputFile::WriteWhole(folder.Add("index.html"), BuildProcessPage(results));
    const fs::path reportPath = folder.Add(ResultFolder::reportName);
    done.report = ToJson(results, folder.Names());
    OutputFile::WriteWhole(reportPath, JsonText(done.report));
    folder.Install();
    return done;
}

} // namespace nvtool
