// nvtool play: the sound of a WAV file or a disc image on the default device, with its position and a few keys.
#include "Commands.h"
#include "Console.h"
#include "ConsoleKeys.h"
#include "Interrupt.h"
#include "Sound.h"
#include "SoundFilePlayer.h"
#include "Times.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdio>

namespace nvtool {

namespace {

constexpr double shortJump = 5;
constexpr double longJump = 30;
constexpr double fade = 0.5;

constexpr u32 highestRate = 768000; // samples a second; what a header tells beyond that is damage

struct PlayArguments {
    std::string file, from, to;
};

class Playback {
public:
    Playback(CSoundFile& what, const std::string& name) : sound(what), label(name), terminal(IsErrorTerminal())
    {
        if (!player.Open(&sound))
            throw Error(label, CWaveOut::HasDevice() ? "the sound device does not take " + FormatText(sound.GetFormat())
                                                     : std::string("there is no sound device"));
        if (!CWaveOut::HasDevice())
            Warn(label, "there is no sound device; time passes all the same");
    }
    ~Playback()
    {
        if (terminal)
            std::fprintf(stderr, "\r%*s\r", ErrorTerminalWidth() - 1, "");
    }
    Playback(const Playback&) = delete;
    Playback& operator=(const Playback&) = delete;

    // Returns the seconds that were reached.
    double Play(i64 from, i64 to)
    {
        player.SetFades(0.01, 0); // no click at a start in the middle
        if (!player.Play(from, to))
            throw Error(label, "cannot be read from there");
        while (player.GetState() != CSoundFilePlayer::State::stopped) {
            Show();
            Press(keys.Read(50));
            if (IsInterrupted())
                player.Stop();
        }
        if (IsInterrupted())
            throw Interruption();
        if (player.HasFailed())
            throw Error(label, "playing ended: the file or the sound device failed");
        return sound.SampleToTime(player.GetPosition());
    }

private:
    void Press(int key)
    {
        switch (key) {
        case ' ':
            if (!player.Pause())
                player.Resume();
            break;
        case ConsoleKeys::left:
            Jump(-shortJump);
            break;
        case ConsoleKeys::right:
            Jump(shortJump);
            break;
        case ConsoleKeys::down:
            Jump(-longJump);
            break;
        case ConsoleKeys::up:
            Jump(longJump);
            break;
        case ConsoleKeys::home:
            player.Seek(0);
            break;
        case 'q':
        case 'Q':
        case '\033':
            player.FadeOut(fade);
            break;
        default:
            break;
        }
    }
    void Jump(double seconds) { player.Seek(player.GetPosition() + sound.TimeToSample(seconds)); }
    void Show() const
    {
        if (!terminal)
            return;
        const bool paused = player.GetState() == CSoundFilePlayer::State::paused;
        std::fprintf(stderr, "\r%s %s of %s  (space, arrows, Home, q) ", paused ? "paused " : "playing",
                     TimeText(sound.SampleToTime(player.GetPosition())).c_str(),
                     TimeText(sound.SampleToTime(sound.GetLength())).c_str());
        std::fflush(stderr);
    }

    CSoundFile& sound;
    const std::string& label;
    const bool terminal;
    ConsoleKeys keys;
    CSoundFilePlayer player;
};

void RunPlay(const PlayArguments& options)
{
    CatchInterrupts();
    const auto sound = OpenSound(options.file);
    if (const u32 rate = sound->GetFormat().nSamplesPerSec; rate > highestRate)
        throw Error(options.file,
                    "tells of " + std::to_string(rate) + " samples a second, which no sound device plays");
    const i64 length = sound->GetLength();
    const i64 from = options.from.empty() ? 0 : sound->TimeToSample(ParseTime(options.from, "--from"));
    const i64 to = options.to.empty() ? length : sound->TimeToSample(ParseTime(options.to, "--to"));
    if (from >= std::min(to, length))
        throw Error(options.file, "there is nothing between " + TimeText(sound->SampleToTime(from)) + " and " +
                                      TimeText(sound->SampleToTime(std::min(to, length))));
    const double reached = Playback(*sound, options.file).Play(from, to);
    std::printf("%s: played from %s to %s\n", options.file.c_str(), TimeText(sound->SampleToTime(from)).c_str(),
                TimeText(reached).c_str());
}

} // namespace

void AddPlay(CLI::App& app)
{
    auto options = std::make_shared<PlayArguments>();
    CLI::App& command = *app.add_subcommand("play", "Play a recording");
    command.add_option("FILE", options->file, kSoundHelp)->required()->type_name("");
    command.add_option("--from", options->from, "Where to begin: 90.5, 1:30.5 or 1:02:03")->type_name("TIME");
    command.add_option("--to", options->to, "Where to stop")->type_name("TIME");
    command.footer(
        "\nKeys: space pauses, left and right go 5 seconds, down and up 30, Home to the start, q fades out.\n\n"
        "Example:\n  nvtool play track.bin --from 1:30 --to 2:00");
    command.callback([options] { RunPlay(*options); });
}

} // namespace nvtool
