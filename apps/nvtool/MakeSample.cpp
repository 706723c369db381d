// nvtool make-sample: a karaoke track to try things on, made up from a seed. What sounds and what is seen come from
// sample/; here they are put together and written. Works through the track second by second, whatever its length.
#include "Commands.h"
#include "WaveFile.h"
#include "sample/Graphics.h"
#include "sample/Music.h"

#include <CLI/CLI.hpp>

#include <array>
#include <cstdio>
#include <fstream>
#include <memory>
#include <optional>
#include <vector>

namespace nvtool {

namespace {

namespace fs = std::filesystem;

struct MakeSampleArguments {
    std::string image, wav, cdg;
    int seconds = 120;
    u32 seed = 1;
};

constexpr int kSectorsPerSecond = 75, kSectorFrames = 588;
constexpr size_t kSectorAudio = 2352, kSectorPacks = 96;

// A plain file in the making.
class Stream {
public:
    explicit Stream(const std::string& path) : file(path), bytes(file.Temporary(), std::ios::binary) {}

    void Append(const void* data, size_t size)
    {
        bytes.write(static_cast<const char*>(data), static_cast<std::streamsize>(size));
    }
    void Finish()
    {
        bytes.close();
        if (!bytes)
            throw Error(PathText(file.Target()), "cannot be written whole; is the disk full?");
    }
    void Commit() { file.Commit(); }

private:
    OutputFile file;
    std::ofstream bytes;
};

// The same for a sound file.
class Sound {
public:
    explicit Sound(const std::string& path) : file(path)
    {
        if (!wave.Open(file.Temporary().string().c_str(), CFile::modeCreate | CFile::modeReadWrite))
            throw Error(PathText(file.Target()), "cannot be created; is the disk full?");
    }

    void Append(i16* stereo, int frames)
    {
        if (wave.Write(stereo, frames) != frames)
            throw Error(PathText(file.Target()), "cannot be written whole; is the disk full?");
    }
    void Finish() { wave.Close(); }
    void Commit() { file.Commit(); }

private:
    OutputFile file; // outlives the open sound file
    CWaveFile wave;
};

void RefuseSameOutputs(const MakeSampleArguments& options)
{
    const std::string* names[] = {&options.image, &options.wav, &options.cdg};
    for (size_t i = 0; i < std::size(names); ++i) {
        for (size_t k = i + 1; k < std::size(names); ++k) {
            if (!names[i]->empty() && !names[k]->empty())
                RefuseSameFile(*names[i], *names[k]);
        }
    }
}

void RunMakeSample(const MakeSampleArguments& options)
{
    RefuseSameOutputs(options);
    Stream image(options.image);
    std::optional<Sound> wav;
    std::optional<Stream> cdg;
    if (!options.wav.empty())
        wav.emplace(options.wav);
    if (!options.cdg.empty())
        cdg.emplace(options.cdg);

    const sample::Song song = sample::ComposeSong(options.seed, options.seconds);
    sample::Music music(song);
    sample::Graphics graphics(song);
    Progress progress("making " + options.image, static_cast<u64>(options.seconds));
    std::vector<i16> audio(static_cast<size_t>(2 * kSectorFrames * kSectorsPerSecond));
    std::array<u8, kSectorAudio> stored;
    std::array<u8, kSectorPacks> packs;
    for (int second = 0; second < options.seconds; ++second) {
        music.Render(audio.data(), kSectorFrames * kSectorsPerSecond);
        for (int sector = 0; sector < kSectorsPerSecond; ++sector) {
            const i16* from = audio.data() + 2 * kSectorFrames * sector;
            for (size_t i = 0; i < kSectorAudio / 2; ++i) {
                const u16 sampleBits = static_cast<u16>(from[i]);
                stored[2 * i] = static_cast<u8>(sampleBits & 0xFF);
                stored[2 * i + 1] = static_cast<u8>(sampleBits >> 8);
            }
            for (size_t at = 0; at < kSectorPacks; at += kPackSize) {
                const sample::Pack pack = graphics.Next();
                std::copy(pack.begin(), pack.end(), packs.begin() + static_cast<std::ptrdiff_t>(at));
            }
            image.Append(stored.data(), stored.size());
            image.Append(packs.data(), packs.size());
            if (cdg)
                cdg->Append(packs.data(), packs.size());
        }
        if (wav)
            wav->Append(audio.data(), kSectorFrames * kSectorsPerSecond);
        progress.Update(static_cast<u64>(second) + 1);
    }

    // All of them are whole before the first one takes its place.
    image.Finish();
    if (wav)
        wav->Finish();
    if (cdg)
        cdg->Finish();
    image.Commit();
    if (wav)
        wav->Commit();
    if (cdg)
        cdg->Commit();
    std::printf("%s: \"%s\", %s, seed %u, %d beats a minute\n", options.image.c_str(), song.title.c_str(),
                TimeText(options.seconds).c_str(), static_cast<unsigned>(options.seed),
                60 * kPacksPerSecond / song.beat);
}

} // namespace

void AddMakeSample(CLI::App& app)
{
    auto options = std::make_shared<MakeSampleArguments>();
    CLI::App& command = *app.add_subcommand("make-sample", "Make a karaoke track to try things on");
    command.add_option("TRACK", options->image, "disc image to write")->required()->type_name("");
    command.add_option("--seconds", options->seconds, "length of the track, 5 to 3600 seconds")
        ->check(CLI::Range(sample::kShortestSeconds, sample::kLongestSeconds))
        ->capture_default_str()
        ->type_name("N");
    command
        .add_option("--seed", options->seed, "number that the track is made up from; the same one gives the same track")
        ->capture_default_str()
        ->type_name("S");
    command.add_option("--wav", options->wav, "write the sound as a WAV file, too")->type_name("FILE");
    command.add_option("--cdg", options->cdg, "write the graphics as a CD+G file, too")->type_name("FILE");
    command.footer("\nThe tune, its words and the pictures are made up by this program and free of anybody's rights.\n"
                   "There are pages of words that light up as they are sung, a break, and a landscape rolling by.\n\n"
                   "Example:\n  nvtool make-sample track.bin --seconds 90 --seed 7");
    command.callback([options] { RunMakeSample(*options); });
}

} // namespace nvtool
