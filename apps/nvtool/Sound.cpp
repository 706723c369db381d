// Opening sound and telling about it: see Sound.h.
#include "Sound.h"

#include "BinFile.h"
#include "Commands.h"
#include "WaveFile.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <system_error>
#include <utility>
#include <vector>

namespace nvtool {
namespace fs = std::filesystem;
using nlohmann::ordered_json;

namespace {

constexpr int kPcm = 1;

// What ffmpeg has made of a file. The temporary file is held by a base, since it goes after the sound is closed.
class DecodedSound : private std::shared_ptr<TemporaryFile>, public CWaveFile {
public:
    explicit DecodedSound(const std::shared_ptr<TemporaryFile>& from) : std::shared_ptr<TemporaryFile>(from) {}
};

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

bool IsPlain(const CSoundFile& sound)
{
    const WAVEFORMATEX& format = sound.GetFormat();
    return format.wFormatTag == kPcm && (format.wBitsPerSample == 16 || format.wBitsPerSample == 8) &&
           (format.nChannels == 1 || format.nChannels == 2);
}

bool IsScannable(const CSoundFile& sound)
{
    return IsPlain(sound) && sound.GetFormat().wBitsPerSample == 16;
}

SoundSource::SoundSource(fs::path file, TakesSound takes) : path(std::move(file)), kind(StreamKind::Unknown)
{
    const StreamIdentity identity = Identify(path);
    kind = identity.kind;
    if (kind == StreamKind::AudioImage)
        throw Error(PathText(path), "is an audio image of 2352-byte sectors; 'nvtool process' makes a WAV file of it");
    if (kind == StreamKind::Wave || kind == StreamKind::DiscImage) {
        const auto sound = OpenSound(path, kind);
        if (!sound)
            throw Error(PathText(path), kBrokenSound);
        if (!takes(*sound) && !FindFFMpeg().empty())
            Decode();
    } else if (kind == StreamKind::Unknown && FindSound(path)) {
        Decode();
    } else {
        const char* hint =
            kind == StreamKind::Unknown && FindFFMpeg().empty() ? "; with ffmpeg installed it might be read" : "";
        throw Error(PathText(path), "holds no sound that can be read: " + KindText(identity) + hint);
    }
}

void SoundSource::Decode()
{
    decoded = std::make_shared<TemporaryFile>("sound.wav");
    DecodeSound(path, decoded->Path());
}

void SoundSource::Tell() const
{
    if (IsDecoded())
        Warn(PathText(path), "decoded by ffmpeg");
}

std::unique_ptr<CSoundFile> SoundSource::Open() const
{
    std::unique_ptr<CSoundFile> sound;
    if (!decoded) {
        sound = OpenSound(path, kind);
    } else {
        sound = std::make_unique<DecodedSound>(decoded);
        if (!sound->Open(decoded->Path().string().c_str(), kOpenToRead))
            sound.reset();
    }
    if (!sound)
        throw Error(PathText(path), "cannot be opened any more");
    return sound;
}

std::unique_ptr<CSoundFile> OpenSound(const fs::path& path, TakesSound takes)
{
    const SoundSource source(path, takes);
    source.Tell();
    return source.Open();
}

std::optional<fs::path> SoundBeside(const fs::path& track)
{
    static constexpr const char* endings[] = {".wav", ".flac", ".mp3", ".m4a", ".ogg", ".opus", ".aac", ".wma"};
    std::optional<fs::path> best;
    std::size_t bestRank = std::size(endings);
    std::error_code failure;
    const fs::path folder = track.has_parent_path() ? track.parent_path() : fs::path(".");
    for (const auto& entry : fs::directory_iterator(folder, failure)) {
        const auto* const ending = std::find(std::begin(endings), std::end(endings), LowerExtension(entry.path()));
        const auto rank = static_cast<std::size_t>(ending - std::begin(endings));
        if (rank < bestRank && entry.path().stem() == track.stem()) {
            best = track.has_parent_path() ? entry.path() : entry.path().filename();
            bestRank = rank;
        }
    }
    return best;
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

void CopyImageSound(const fs::path& image, const fs::path& wav)
{
    constexpr int framesPerPiece = 1 << 16;
    const auto from = OpenSound(image, StreamKind::DiscImage);
    if (!from)
        throw Error(PathText(image), "cannot be read");
    CWaveFile to;
    if (!to.Open(wav.string().c_str(), CFile::modeCreate | CFile::modeReadWrite))
        throw Error(PathText(wav), "cannot be created; is the disk full?");
    to.SetFormat(from->GetFormat());
    std::vector<u8> piece(size_t{framesPerPiece} * from->GetFormat().nBlockAlign);
    for (int got = framesPerPiece; got == framesPerPiece;) {
        got = from->Read(piece.data(), framesPerPiece);
        if (got > 0 && to.Write(piece.data(), got) != got)
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
