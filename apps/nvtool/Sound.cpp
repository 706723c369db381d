// Opening sound and telling about it: see Sound.h.
#include "Sound.h"

#include "BinFile.h"
#include "Commands.h"
#include "WaveFile.h"

#include <nlohmann/json.hpp>

#include <vector>

namespace nvtool {
namespace fs = std::filesystem;
using nlohmann::ordered_json;

namespace {

constexpr int kOpenToRead = CFile::modeRead | CFile::shareDenyNone;
constexpr int kPcm = 1;

} // namespace

std::unique_ptr<CSoundFile> OpenSound(const fs::path& path, StreamKind kind)
{
    std::unique_ptr<CSoundFile> sound;
    if (kind == StreamKind::Wave)
        sound = std::make_unique<CWaveFile>();
    else if (kind == StreamKind::DiscImage)
        sound = std::make_unique<CBinFile>();
    if (!sound || !sound->Open(path.string().c_str(), kOpenToRead))
        return nullptr;
    return sound;
}

std::unique_ptr<CSoundFile> OpenSound(const fs::path& path)
{
    const StreamIdentity identity = Identify(path);
    const StreamKind kind = identity.kind;
    if (kind == StreamKind::AudioImage)
        throw Error(PathText(path), "is an audio image of 2352-byte sectors; 'nvtool process' makes a WAV file of it");
    if (kind != StreamKind::Wave && kind != StreamKind::DiscImage)
        throw Error(PathText(path), "holds no sound that can be read: " + KindText(identity));
    auto sound = OpenSound(path, kind);
    if (!sound)
        throw Error(PathText(path), "begins like a WAV file, but its chunks do not hold together");
    return sound;
}

void CopyAudioImage(const fs::path& image, const fs::path& wav)
{
    constexpr int sectorsPerPiece = 128;
    constexpr int bytesPerFrame = 4;
    CFile from;
    CWaveFile to;
    if (!from.Open(image.string().c_str(), kOpenToRead))
        throw Error(PathText(image), "cannot be read");
    if (!to.Open(wav.string().c_str(), CFile::modeCreate | CFile::modeReadWrite))
        throw Error(PathText(wav), "cannot be created");
    std::vector<u8> piece(size_t{sectorsPerPiece} * kSectorAudioSize);
    for (;;) {
        UINT got = 0;
        try {
            got = from.Read(piece.data(), static_cast<UINT>(piece.size()));
        } catch (CFileException* failure) {
            failure->Delete();
            throw Error(PathText(image), "cannot be read to its end");
        }
        const int frames = static_cast<int>(got) / bytesPerFrame;
        if (frames == 0)
            return;
        if (to.Write(piece.data(), frames) != frames)
            throw Error(PathText(wav), "cannot be written; is the disk full?");
    }
}

void AddSilenceOptions(CLI::App& command, SilenceOptions& options)
{
    command
        .add_option("--threshold", options.threshold,
                    "Quiet is what stays below this part of full scale, 0 to 1 (0.01 is -40 dB)")
        ->check(CLI::Range(0.0, 1.0))
        ->capture_default_str();
    command.add_option("--min", options.minSeconds, "Shortest silence to report, in seconds")
        ->check(CLI::Range(0.001, 86400.0))
        ->capture_default_str();
}

SoundReport DescribeSound(const CSoundFile& sound)
{
    SoundReport report;
    report.format = sound.GetFormat();
    report.frames = sound.GetLength();
    report.seconds = sound.SampleToTime(report.frames);
    return report;
}

SoundReport ScanSound(CSoundFile& sound, const SilenceOptions& options)
{
    SoundReport report = DescribeSound(sound);
    const WAVEFORMATEX& format = report.format;
    report.options = options;
    report.scanned = format.wBitsPerSample == 16 && format.nBlockAlign == 2 * format.nChannels &&
                     (format.nChannels == 1 || format.nChannels == 2) && format.nSamplesPerSec > 0;
    if (!report.scanned)
        return report;
    report.silences = sound.ScanFileForSilence(options.threshold, options.minSeconds);
    report.firstSound = sound.ScanForFirstSound(options.threshold);
    report.lastSound = sound.ScanForLastSound(options.threshold);
    return report;
}

std::string FormatText(const WAVEFORMATEX& format)
{
    std::string text = std::to_string(format.nSamplesPerSec) + " Hz, ";
    if (format.nChannels == 1)
        text += "mono";
    else if (format.nChannels == 2)
        text += "stereo";
    else
        text += std::to_string(format.nChannels) + " channels";
    text += ", " + std::to_string(format.wBitsPerSample) + " bits";
    if (format.wFormatTag != kPcm)
        text += ", format tag " + std::to_string(format.wFormatTag);
    return text;
}

ordered_json FormatJson(const SoundReport& report)
{
    const WAVEFORMATEX& format = report.format;
    return {{"seconds", report.seconds},
            {"frames", report.frames},
            {"formatTag", format.wFormatTag},
            {"channels", format.nChannels},
            {"samplesPerSecond", format.nSamplesPerSec},
            {"bitsPerSample", format.wBitsPerSample},
            {"blockAlign", format.nBlockAlign}};
}

ordered_json SilenceJson(const SoundReport& report)
{
    const auto place = [&](int frame) {
        if (frame < 0)
            return ordered_json();
        return ordered_json{{"frame", frame}, {"seconds", report.Seconds(frame)}};
    };
    ordered_json json = {{"threshold", report.options.threshold},
                         {"minSeconds", report.options.minSeconds},
                         {"firstSound", place(report.firstSound)},
                         {"lastSound", place(report.lastSound)},
                         {"silences", ordered_json::array()}};
    for (const auto& [start, end] : report.silences)
        json["silences"].push_back({{"startFrame", start},
                                    {"endFrame", end},
                                    {"startSeconds", report.Seconds(start)},
                                    {"endSeconds", report.Seconds(end)}});
    return json;
}

} // namespace nvtool
