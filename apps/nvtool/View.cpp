// nvtool view: a desktop program to look at a track with. See ViewWindow.h.
#include "ViewWindow.h"

#include "Commands.h"
#include "Inputs.h"
#include "Interrupt.h"
#include "Sound.h"
#include "Times.h"
#include "Window.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <optional>

namespace nvtool {
namespace fs = std::filesystem;

namespace {

constexpr int kMostWindowSide = 16384;

struct ViewArguments {
    std::string track, sound, at;
    i64 density = 512;
    int width = 1200, height = 800;
    bool print = false;
};

// Stands in for the sound of graphics that have none: nothing is to be heard for as long as they last.
class SilentSound : public CSoundFile {
public:
    explicit SilentSound(double seconds)
    {
        WAVEFORMATEX wanted;
        SetDefaultFormat(&wanted);
        SetFormat(wanted);
        length = TimeToSample(seconds);
    }
    bool CanRead() const override { return true; }
    bool CanSeek() const override { return true; }
    int Read(void* buffer, int frames) override
    {
        const i64 count = std::clamp<i64>(length - position, 0, std::max(frames, 0));
        std::memset(buffer, 0, static_cast<size_t>(count * GetBlockAlign()));
        position += count;
        return static_cast<int>(count);
    }
    i64 Seek(i64 frames, int) override { return position = frames; }
    i64 GetPosition() const override { return position; }
    i64 GetLength() const override { return length; }

private:
    i64 length = 0, position = 0;
};

// The other half of a track in two files: the same name with another ending. Empty when there is none.
fs::path Beside(const fs::path& track, const char* ending)
{
    fs::path path = track;
    std::error_code ignored;
    path.replace_extension(ending);
    return fs::is_regular_file(path, ignored) ? path : fs::path();
}

bool HasGraphics(StreamKind kind)
{
    return kind == StreamKind::Graphics || kind == StreamKind::DiscImage;
}

struct Track {
    std::unique_ptr<GraphicsInput> graphics;
    CCDGRenderer renderer;
    std::unique_ptr<CSoundFile> sound, played; // once for the window, once for the player
};

void OpenTrack(const ViewArguments& options, Track& track)
{
    const StreamKind kind = Identify(options.track).kind;
    const fs::path cdg = HasGraphics(kind) ? fs::path(options.track) : Beside(options.track, ".cdg");
    if (!cdg.empty() && HasGraphics(Identify(cdg).kind)) {
        track.graphics = std::make_unique<GraphicsInput>(cdg);
        track.graphics->Attach(track.renderer);
    }
    fs::path wav = options.sound;
    if (wav.empty())
        wav = kind == StreamKind::Graphics ? SoundBeside(options.track).value_or(fs::path()) : fs::path(options.track);
    std::optional<SoundSource> source;
    if (!wav.empty())
        source.emplace(wav, CWaveFileChartWnd::CanShow).Tell();
    for (std::unique_ptr<CSoundFile>* const sound : {&track.sound, &track.played}) {
        if (source)
            *sound = source->Open();
        else
            *sound = std::make_unique<SilentSound>(track.renderer.GetDuration());
    }
    track.sound->SetPeakFileOption(PeakFileOption::inMemory);
    track.sound->OpenPeakFile(); // meanwhile the window reads what it shows itself
}

void Print(int code, const CWaveFileChartWnd& chart)
{
    if (code == CWaveFileChartWnd::notifyDensity) {
        std::printf("density %lld\n", static_cast<long long>(chart.GetDensity()));
    } else {
        const char* const what = code == ViewWindow::toldPlaying   ? "playing"
                                 : code == ViewWindow::toldHeard   ? "heard"
                                 : code == ViewWindow::toldStopped ? "stopped"
                                                                   : "pointer";
        std::printf("%s %lld %.6f\n", what, static_cast<long long>(chart.GetPointerPos()),
                    chart.GetSoundFile()->SampleToTime(chart.GetPointerPos()));
    }
    std::fflush(stdout);
}

void RunView(const ViewArguments& options)
{
    const double at = options.at.empty() ? 0 : ParseTime(options.at, "--at");
    CatchInterrupts();
    Track track;
    OpenTrack(options, track);
    if (NV::WindowsAre() != NV::WindowKind::display)
        throw Error(options.track,
                    "there is no display to show it on; 'nvtool waveform' and 'nvtool frame' save pictures");
    ViewWindow::PictureAt picture;
    if (track.graphics)
        picture = [&track](double seconds) { return TakePicture(track.renderer, seconds, Area::Field); };
    ViewWindow window(PathText(fs::path(options.track).filename()), picture,
                      options.print ? Print : ViewWindow::Told());
    if (!window.Open(options.width, options.height))
        throw Error(options.track, "no window can be opened");
    window.SetSound(*track.sound, options.density, at);
    window.SetPlayer(std::make_unique<ViewPlayer>(std::move(track.played), options.track));
    while (AfxPumpMessage()) {
    }
    Progress::Check();
}

} // namespace

void AddView(CLI::App& app)
{
    auto options = std::make_shared<ViewArguments>();
    CLI::App& command =
        *app.add_subcommand("view", "Look at a track and play it: sound, and the graphics at the pointer");
    command
        .add_option("TRACK", options->track,
                    "Disc image, CD+G file, WAV file or, with ffmpeg installed, any other sound")
        ->required()
        ->type_name("");
    command.add_option("--sound", options->sound, "File to take the sound from")->type_name("FILE");
    command.add_option("--at", options->at, "Time that the pointer stands at first")->type_name("TIME");
    command.add_option("--density", options->density, "Frames a pixel row at first")
        ->check(CLI::Range(i64(1), i64(1) << 40))
        ->capture_default_str();
    command.add_option("--width", options->width, "Of the window at first")
        ->check(CLI::Range(200, kMostWindowSide))
        ->capture_default_str();
    command.add_option("--height", options->height)->check(CLI::Range(100, kMostWindowSide))->capture_default_str();
    command.add_flag(
        "--print", options->print,
        "Print a line whenever the pointer or the density is changed, and where playing begins, is and ends");
    command.footer(
        "\nOf a track in two files either may be named; the other one is found by its name. Click or drag in\n"
        "the waveform to move in time, in the strip at the left to go far; drag the frame's ends to zoom.\n"
        "Space plays from the pointer, which then follows what is heard, and stops again; moving in time\n"
        "goes on from there. Without a sound device time passes all the same.\n"
        "Keys: up, down, left, right, page up, page down, Home and End move, + and - zoom, Escape ends.\n"
        "The wheel scrolls; with Control it zooms.\n\n"
        "Example:\n  nvtool view track.bin");
    command.callback([options] { RunView(*options); });
}

} // namespace nvtool
