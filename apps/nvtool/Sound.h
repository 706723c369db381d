// The sound of a WAV file or a disc image, and what is told about it. Frames are one sample of each channel.
#pragma once

#include "Commands.h"
#include "Inputs.h"
#include "SoundFile.h"

#include <filesystem>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <string>

namespace nvtool {

// Opens a WAV file or a disc image for reading. Throws Error for everything else.
std::unique_ptr<CSoundFile> OpenSound(const std::filesystem::path& path);
// The same for a file whose kind is known; null when it does not open.
std::unique_ptr<CSoundFile> OpenSound(const std::filesystem::path& path, StreamKind kind);

// Copies the audio of a 2352-byte image, which is nothing but samples, to a new WAV file. Throws Error.
void CopyAudioImage(const std::filesystem::path& image, const std::filesystem::path& wav);

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
