// Making MP3 files, for the commands that do.
#pragma once

#include "CommandLineFwd.h"
#include "Commands.h"
#include "SoundFile.h"

#include <filesystem>
#include <functional>
#include <memory>

namespace nvtool {

struct Mp3Options {
    int bitrate = 192; // kbit/s
    int vbr = -1;      // quality; -1: constant
    bool mono = false;
    int jobs = 1;
};
// Adds --bitrate, --vbr, --mono and --jobs.
void AddMp3Options(CLI::App& command, Mp3Options& options);

// Encodes the sound that `open` gives into `mp3`, with a bar. `input` and `output` are what errors are about. Throws
// Error, or Interruption when Ctrl-C was pressed; there is no file then.
void MakeMp3(const std::function<std::unique_ptr<CSoundFile>()>& open, const std::filesystem::path& mp3,
             const std::string& input, const std::string& output, const Mp3Options& options);

// Throws Error when there is no encoder, and says where it was looked for.
void RequireMp3Encoder();

} // namespace nvtool
