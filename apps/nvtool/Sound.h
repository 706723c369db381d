// The sound of a WAV file or a disc image, and what is told about it. Frames are one sample of each channel.
#pragma once

#include "CommandLineFwd.h"
#include "Commands.h"
#include "FFMpeg.h"
#include "Inputs.h"
#include "SoundFile.h"

#include <filesystem>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>

namespace nvtool {

// What sound of other kinds is called.
constexpr char kOtherSound[] = "sound that ffmpeg reads";
// What is wrong with a file of such a kind that does not open.
constexpr char kBrokenSound[] = "begins like a WAV file, but its chunks do not hold together";
// For --help.
constexpr char kSoundHelp[] = "WAV file, disc image or, with ffmpeg installed, any other sound";

// What a command can work with as it is.
using TakesSound = bool (*)(const CSoundFile& sound);
bool IsPlain(const CSoundFile& sound);     // PCM of 8 or 16 bits, one or two channels
bool IsScannable(const CSoundFile& sound); // PCM of 16 bits, one or two channels

// A file's sound, to be opened as often as needed: that of a WAV file or a disc image. What the command cannot work
// with, and any other kind of file, is decoded once by ffmpeg, if it is installed, to a temporary WAV file of 16 bits.
class SoundSource {
public:
    // Throws Error when there is no sound, or Interruption. Without ffmpeg sound that `takes` refuses is taken all the
    // same: what uses it says what is wrong.
    explicit SoundSource(std::filesystem::path file, TakesSound takes = IsPlain);
    // Throws Error. What it opens may outlive this object.
    std::unique_ptr<CSoundFile> Open() const;
    bool IsDecoded() const { return decoded != nullptr; }
    // A remark when ffmpeg has decoded it.
    void Tell() const;
    // The decoded file, while this object or one that it has opened is there.
    const std::filesystem::path& DecodedFile() const { return decoded->Path(); }

private:
    void Decode();

    std::filesystem::path path;
    StreamKind kind;
    std::shared_ptr<TemporaryFile> decoded;
};
// The same for one that is opened once; a remark tells when ffmpeg has decoded it.
std::unique_ptr<CSoundFile> OpenSound(const std::filesystem::path& path, TakesSound takes = IsPlain);
// The same for a file whose kind is known; null when it does not open.
std::unique_ptr<CSoundFile> OpenSound(const std::filesystem::path& path, StreamKind kind);

// A sound file of the same name beside the graphics, as karaoke tracks come; a WAV file before all others.
std::optional<std::filesystem::path> SoundBeside(const std::filesystem::path& track);

// Copies the audio of a 2352-byte image, which is nothing but samples, to a new WAV file. Throws Error.
void CopyAudioImage(const std::filesystem::path& image, const std::filesystem::path& wav);
// The same of an image with graphics.
void CopyImageSound(const std::filesystem::path& image, const std::filesystem::path& wav);

struct SilenceOptions {
    double threshold = 0.01; // of full scale
    double minSeconds = 1.0;
};
// Adds --threshold and --min.
void AddSilenceOptions(CLI::App& command, SilenceOptions& options);

// What a scan of the whole sound gives. `scanned` is false for formats that the scan does not take.
struct SoundReport {
    WAVEFORMATEX format{};
    i64 frames = 0;
    double seconds = 0;
    bool scanned = false;
    SilenceOptions options;
    CSoundFile::SilenceList silences;
    int firstSound = -1, lastSound = -1;
    double Seconds(int frame) const { return format.nSamplesPerSec ? double(frame) / format.nSamplesPerSec : 0; }
};
// Only format and length.
SoundReport DescribeSound(const CSoundFile& sound);
// All of it.
SoundReport ScanSound(CSoundFile& sound, const SilenceOptions& options);

// "44100 Hz, stereo, 16 bits".
std::string FormatText(const WAVEFORMATEX& format);
nlohmann::ordered_json FormatJson(const SoundReport& report);
nlohmann::ordered_json SilenceJson(const SoundReport& report);

} // namespace nvtool
