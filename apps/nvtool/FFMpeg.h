// ffmpeg as a part of commands: found, run with a progress bar, ended by Ctrl-C.
#pragma once

#include "ConsoleOutputReader.h"

#include <filesystem>
#include <optional>
#include <string>

namespace nvtool {

// The path of the ffmpeg program: what NVTOOL_FFMPEG in the environment says, else the one that is installed. Empty
// when there is none.
std::string FindFFMpeg();
// Throws Error, with `file` as what the work is about, when there is none.
void RequireFFMpeg(const std::string& file);

// A place for a file in a new folder of this user's own, where temporary files lie. File and folder go with the object.
class TemporaryFile {
public:
    // There is no file yet. Throws Error when no folder can be made.
    explicit TemporaryFile(const std::string& name);
    ~TemporaryFile();
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    const std::filesystem::path& Path() const { return path; }

private:
    std::filesystem::path path;
};

// The path as an argument of ffmpeg: one that nothing in it can turn into an option or another protocol.
std::string FFMpegFile(const std::filesystem::path& path);

struct FFMpegJob {
    std::string label;     // of the bar
    std::string file;      // what the work is about, for messages
    std::string arguments; // without those that every run has
    CConsoleOutputReader::InputFeed feed;
};
// Runs ffmpeg and returns the seconds that it has written. Throws Error with ffmpeg's last words when it fails, or when
// there is no ffmpeg; Interruption after Ctrl-C.
double RunFFMpeg(const FFMpegJob& job);

// The sound in a file in ffmpeg's words.
struct FoundSound {
    std::string description; // "flac, 44100 Hz, stereo, s16"
    double seconds = -1;     // of the whole file; below 0 when ffmpeg cannot tell
    bool isGuess = false;    // the seconds are worked out from the bit rate
    bool IsLengthKnown() const { return seconds >= 0 && !isGuess; }
};
// What sound ffmpeg finds in a file; none also without ffmpeg. Throws Error when ffmpeg cannot be run.
std::optional<FoundSound> FindSound(const std::filesystem::path& path);
// Seconds until the sound in a file ends. Where its head does not tell, all of it is read. Throws Error when there is
// no sound that can be read.
double MeasureSound(const std::filesystem::path& path);

// Decodes the sound of any file that ffmpeg reads to a WAV file of 16 bits. `form` is the rest of its form in ffmpeg's
// words; without it there are one or two channels. Throws Error.
void DecodeSound(const std::filesystem::path& path, const std::filesystem::path& wav,
                 const std::string& form = "-af aformat=channel_layouts=mono|stereo");

} // namespace nvtool
