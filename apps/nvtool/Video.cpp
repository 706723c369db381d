// nvtool video: a karaoke track as a video file, made by ffmpeg of the renderer's frames and the track's sound.
#include "CDGRenderer.h"
#include "Commands.h"
#include "FFMpeg.h"
#include "FrameScaler.h"
#include "Inputs.h"
#include "Interrupt.h"
#include "Sound.h"
#include "VideoStream.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <exception>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>

namespace nvtool {
namespace fs = std::filesystem;

namespace {

using CDGEmulator::CFrameScaler;

struct VideoArguments {
    std::string track, output, size = "1920x1080", rate = "30", background, audio;
    bool smooth = false, lossless = false, noAudio = false, json = false;
};

// How a kind of file is made.
struct Container {
    const char* extension;
    const char* format; // ffmpeg's name
    const char* video;
    const char* audio;
};
constexpr char kH264[] = "-c:v libx264 -preset veryfast -crf 18 -pix_fmt yuv420p";
constexpr Container kContainers[] = {
    {".mp4", "mp4", kH264, "-c:a aac -b:a 192k -movflags +faststart"},
    {".mkv", "matroska", kH264, "-c:a aac -b:a 192k"},
    {".webm", "webm", "-c:v libvpx-vp9 -crf 24 -b:v 0 -deadline good -cpu-used 5 -row-mt 1 -pix_fmt yuv420p",
     "-c:a libopus -b:a 160k"},
};
constexpr Container kLossless = {".mkv", "matroska", "-c:v ffv1 -level 3 -slices 4", "-c:a flac"};

// What is asked for, checked.
struct Plan {
    Container container{};
    CFrameScaler::Settings scaling;
    VideoStream::Shape shape;
    std::optional<fs::path> sound;
};

[[noreturn]] void RefuseOption(const char* option, const std::string& text, const char* wanted)
{
    throw CLI::ValidationError(option, "'" + text + "' is not " + wanted);
}

// Two whole numbers above 0 with a sign between them; without the sign the second one is `missing`, or none is right.
bool ReadPair(const std::string& text, char between, int missing, int& first, int& second)
{
    const char* const end = text.data() + text.size();
    auto result = std::from_chars(text.data(), end, first);
    second = missing;
    if (result.ec == std::errc() && result.ptr != end && *result.ptr == between)
        result = std::from_chars(result.ptr + 1, end, second);
    return result.ec == std::errc() && result.ptr == end && first > 0 && second > 0;
}

void ReadSize(const VideoArguments& options, Plan& plan)
{
    int &width = plan.scaling.width, &height = plan.scaling.height;
    if (!ReadPair(options.size, 'x', 0, width, height) || width % 2 != 0 || height % 2 != 0 ||
        width < CFrameScaler::minWidth || width > CFrameScaler::maxWidth || height < CFrameScaler::minHeight ||
        height > CFrameScaler::maxHeight)
        RefuseOption("--size", options.size, "WIDTHxHEIGHT in even numbers from 300x216 to 7680x4320");
    plan.shape.width = width;
    plan.shape.height = height;
}

void ReadRate(const VideoArguments& options, Plan& plan)
{
    int &rate = plan.shape.rate, &perSeconds = plan.shape.perSeconds;
    if (!ReadPair(options.rate, '/', 1, rate, perSeconds) || rate > 1000000 || perSeconds > 10000 ||
        rate / perSeconds < 1 || rate > 120 * perSeconds)
        RefuseOption("--fps", options.rate, "a rate from 1 to 120 like 30 or 30000/1001");
}

void ReadBackground(const VideoArguments& options, Plan& plan)
{
    const std::string& text = options.background;
    if (text.empty() || text == "screen")
        return;
    u32 colour = 0;
    const bool black = text == "black";
    const char* const end = text.data() + text.size();
    const auto result = std::from_chars(text.data() + (text[0] == '#' ? 1 : 0), end, colour, 16);
    if (!black && (text.size() != (text[0] == '#' ? 7U : 6U) || result.ec != std::errc() || result.ptr != end))
        RefuseOption("--background", text, "'screen', 'black' or a colour like #102040");
    plan.scaling.ownBackground = true;
    plan.scaling.background = black ? 0 : RGB(colour >> 16, colour >> 8, colour);
}

void ReadContainer(const VideoArguments& options, Plan& plan)
{
    const std::string extension = LowerExtension(options.output);
    const auto* const found = std::find_if(std::begin(kContainers), std::end(kContainers),
                                           [&](const Container& each) { return extension == each.extension; });
    if (found == std::end(kContainers))
        RefuseOption("--output", options.output, "a name that ends in .mp4, .mkv or .webm");
    if (options.lossless && extension != kLossless.extension)
        RefuseOption("--lossless", options.output, "a name that ends in .mkv");
    plan.container = options.lossless ? kLossless : *found;
    plan.shape.form = options.lossless ? PixelForm::BlueFirst : PixelForm::Planes;
}

// The sound that belongs to the track; that of a disc image goes to the temporary file first.
std::optional<fs::path> SoundOf(const VideoArguments& options, const GraphicsInput& graphics,
                                std::optional<TemporaryFile>& temporary)
{
    if (options.noAudio)
        return std::nullopt;
    if (!options.audio.empty()) {
        RequireReadable(options.audio);
        return options.audio;
    }
    if (graphics.IsPlain()) {
        auto beside = SoundBeside(options.track);
        if (!beside)
            Warn(options.track, "there is no sound file of the same name: the video has no sound");
        return beside;
    }
    temporary.emplace("sound.wav");
    CopyImageSound(options.track, temporary->Path());
    return temporary->Path();
}

// Draws the frames and writes those that differ. Runs on a thread of ffmpeg's run; its failures come out of `Check`.
class FrameFeed {
public:
    FrameFeed(GraphicsInput& input, const Plan& what) : plan(what)
    {
        input.Attach(renderer);
        if (!scaler.Create(plan.scaling))
            throw std::bad_alloc();
    }

    double Duration() const { return renderer.GetDuration(); }
    i64 Drawn() const { return drawn; }

    void Run(CConsoleOutputReader::Input& input)
    {
        try {
            WriteFrames(input);
        } catch (...) {
            failure = std::current_exception();
        }
    }
    void Check() const
    {
        if (failure)
            std::rethrow_exception(failure);
    }

private:
    void WriteFrames(CConsoleOutputReader::Input& input)
    {
        const VideoStream::Shape& shape = plan.shape;
        const i64 longest = std::max<i64>(1, i64{2} * shape.rate / shape.perSeconds); // so that ffmpeg keeps going
        VideoStream stream(input, shape);
        StreamPicture picture(shape.width, shape.height, shape.form);
        i64 last = -longest;
        for (i64 number = 0; number < shape.frames; ++number) {
            const CRect changed = DrawFrame(number);
            if (!changed.IsRectEmpty()) {
                picture.Take(scaler.Picture(), changed);
                ++drawn;
            }
            if (changed.IsRectEmpty() && number - last < longest && number + 1 < shape.frames)
                continue;
            if (!stream.Write(number, picture))
                return;
            last = number;
        }
    }
    // The screen at the first pack of a frame, put a little later so that no rounding falls short of it.
    CRect DrawFrame(i64 number)
    {
        const i64 pack = number * kPacksPerSecond * plan.shape.perSeconds / plan.shape.rate;
        const CDib* screen = renderer.GetFrame((static_cast<double>(pack) + 0.5) / kPacksPerSecond);
        if (!screen || !screen->IsValid())
            throw std::bad_alloc(); // an open renderer has a frame unless there was no memory for it
        const auto& emulator = renderer.GetEmulator();
        return scaler.Update(*screen, emulator.GetPaletteEntry(emulator.GetBackgroundColour()));
    }

    static constexpr int kPacksPerSecond = 300;
    const Plan& plan;
    CCDGRenderer renderer;
    CFrameScaler scaler;
    i64 drawn = 0;
    std::exception_ptr failure;
};

std::string Arguments(const Plan& plan, const fs::path& file)
{
    const std::string rate = std::to_string(plan.shape.rate) + "/" + std::to_string(plan.shape.perSeconds);
    std::string text = "-f matroska -i pipe:0 ";
    if (plan.sound)
        text += "-i " + FFMpegFile(*plan.sound) + " ";
    text += "-map 0:v:0 ";
    if (plan.sound)
        text += "-map 1:a:0 " + std::string(plan.container.audio) + " ";
    // The filter repeats each picture until the next one is due.
    return text + "-vf fps=" + rate + " " + plan.container.video + " -f " + plan.container.format + " -y " +
           FFMpegFile(file);
}

void Report(const VideoArguments& options, const Plan& plan, i64 drawn)
{
    const VideoStream::Shape& shape = plan.shape;
    const double seconds = static_cast<double>(shape.frames) * shape.perSeconds / shape.rate;
    if (options.json)
        return PrintJson({{"file", options.track},
                          {"video", options.output},
                          {"sound", plan.sound ? nlohmann::ordered_json(!options.audio.empty() ? options.audio
                                                                                               : PathText(*plan.sound))
                                               : nlohmann::ordered_json()},
                          {"width", shape.width},
                          {"height", shape.height},
                          {"seconds", seconds},
                          {"frames", shape.frames},
                          {"framesDrawn", drawn}});
    std::printf("%s: %s of %dx%d, %lld frames, of which %lld differ from the one before%s\n", options.output.c_str(),
                TimeText(seconds).c_str(), shape.width, shape.height, static_cast<long long>(shape.frames),
                static_cast<long long>(drawn), plan.sound ? "" : "; no sound");
}

void RunVideo(const VideoArguments& options)
{
    CatchInterrupts();
    Plan plan;
    ReadSize(options, plan);
    ReadRate(options, plan);
    plan.scaling.smooth = options.smooth;
    ReadBackground(options, plan);
    ReadContainer(options, plan);
    RequireFFMpeg(options.output);
    GraphicsInput input(options.track);
    RefuseSameFile(options.track, options.output);
    if (!options.audio.empty())
        RefuseSameFile(options.audio, options.output);

    std::optional<TemporaryFile> temporary;
    plan.sound = SoundOf(options, input, temporary);
    FrameFeed feed(input, plan);
    const double seconds = std::max(feed.Duration(), plan.sound ? MeasureSound(*plan.sound) : 0.0);
    plan.shape.frames =
        std::max<i64>(1, static_cast<i64>(std::ceil(seconds * plan.shape.rate / plan.shape.perSeconds - 1e-6)));

    OutputFile output(options.output);
    try {
        RunFFMpeg({"making the video", options.output, Arguments(plan, output.Temporary()),
                   [&](CConsoleOutputReader::Input& pipe) { feed.Run(pipe); }});
    } catch (const Error&) {
        feed.Check(); // the cause, if the frames have ended too early
        throw;
    }
    feed.Check();
    output.Commit();
    Report(options, plan, feed.Drawn());
}

} // namespace

void AddVideo(CLI::App& app)
{
    auto options = std::make_shared<VideoArguments>();
    CLI::App& command = *app.add_subcommand("video", "Make a video of a track (with ffmpeg)");
    command.add_option("TRACK", options->track, "CD+G file or disc image")->required()->type_name("");
    command.add_option("-o,--output", options->output, "Video file to write: .mp4, .mkv or .webm")
        ->required()
        ->type_name("FILE");
    command.add_option("--size", options->size, "Width and height in pixels")
        ->type_name("WIDTHxHEIGHT")
        ->capture_default_str();
    command.add_option("--fps", options->rate, "Frames a second, a number or a fraction like 30000/1001")
        ->type_name("RATE")
        ->capture_default_str();
    command.add_flag("--smooth", options->smooth, "Make slanted edges straight instead of enlarging each pixel");
    command
        .add_option("--background", options->background,
                    "What surrounds the screen: 'screen' (its own background colour), 'black', or #RRGGBB")
        ->type_name("COLOUR");
    CLI::Option* audio =
        command
            .add_option("--audio", options->audio,
                        "Sound to use, anything that ffmpeg reads; else that of the disc image, or the "
                        "sound file of the same name beside the graphics")
            ->type_name("FILE");
    command.add_flag("--no-audio", options->noAudio, "Make a video without sound")->excludes(audio);
    command.add_flag("--lossless", options->lossless, "Keep every pixel as it is (.mkv only, large)");
    AddJsonFlag(command, options->json);
    command.footer(
        "\nThe video lasts until graphics and sound have both ended. Ctrl-C stops the work and leaves no file.\n"
        "NVTOOL_FFMPEG in the environment names the ffmpeg to use.\n\n"
        "Examples:\n  nvtool video track.bin -o track.mp4 --smooth\n"
        "  nvtool video song.cdg --audio song.mp3 -o song.webm --size 1280x720 --background black");
    command.callback([options] { RunVideo(*options); });
}

} // namespace nvtool
