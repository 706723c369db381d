// nvtool join: sound and graphics into a disc image.
#include "BinFile.h"
#include "Commands.h"
#include "FFMpeg.h"
#include "Inputs.h"
#include "Sound.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <memory>
#include <optional>
#include <vector>

namespace nvtool {
namespace fs = std::filesystem;

namespace {

constexpr i64 kFramesPerSector = kSectorAudioSize / 4;

struct JoinArguments {
    std::string track, wav, cdg;
    bool json = false;
};

i64 WholeSectors(i64 count, i64 perSector)
{
    return (count + perSector - 1) / perSector;
}

double SectorSeconds(i64 sectors)
{
    return double(sectors) * kFramesPerSector / 44100;
}

bool Fits(const CSoundFile& sound)
{
    const WAVEFORMATEX& format = sound.GetFormat();
    return format.wFormatTag == 1 && format.nChannels == 2 && format.nSamplesPerSec == 44100 &&
           format.wBitsPerSample == 16 && format.nBlockAlign == 4;
}

i64 AudioFrames(const std::string& wav)
{
    if (const StreamIdentity identity = Identify(wav); identity.kind != StreamKind::Wave)
        throw Error(wav, "is no WAV file: " + KindText(identity));
    const auto sound = OpenSound(wav, StreamKind::Wave);
    if (!sound)
        throw Error(wav, kBrokenSound);
    if (!Fits(*sound))
        throw Error(wav, "a disc image takes 44100 Hz, stereo, 16 bits; this is " + FormatText(sound->GetFormat()));
    return sound->GetLength();
}

// The WAV file to take: the one that is named or, if that does not fit, what ffmpeg makes of it.
std::string WavFile(const std::string& named, std::optional<TemporaryFile>& decoded)
{
    const StreamKind kind = Identify(named).kind;
    if (kind == StreamKind::Wave) {
        const auto sound = OpenSound(named, kind);
        if (!sound || Fits(*sound))
            return named;
    }
    if ((kind != StreamKind::Wave && kind != StreamKind::Unknown) || !FindSound(named))
        return named;
    decoded.emplace("sound.wav");
    DecodeSound(named, decoded->Path(), "-ar 44100 -ac 2");
    Warn(named, "decoded by ffmpeg to 44100 Hz, stereo, 16 bits");
    return decoded->Path().string();
}

void Resize(const fs::path& image, i64 bytes, const std::string& name)
{
    std::error_code failure;
    fs::resize_file(image, static_cast<std::uintmax_t>(bytes), failure);
    if (failure)
        throw Error(name, "cannot be written: " + failure.message());
}

// The subcode of the image, read back, is the graphics file. Writing it reports no failure, a full disk among them.
bool HoldsGraphics(const fs::path& image, const fs::path& cdg)
{
    constexpr int sectorsPerPiece = 128;
    std::ifstream sectors(image, std::ios::binary), packs(cdg, std::ios::binary);
    std::vector<char> got(size_t{sectorsPerPiece} * kBinRecordSize), wanted(size_t{sectorsPerPiece} * kCdgRecordSize);
    do {
        std::fill(wanted.begin(), wanted.end(), '\0');
        packs.read(wanted.data(), static_cast<std::streamsize>(wanted.size()));
        const auto records = static_cast<size_t>(WholeSectors(packs.gcount(), kCdgRecordSize));
        sectors.read(got.data(), static_cast<std::streamsize>(records * kBinRecordSize));
        if (sectors.gcount() != static_cast<std::streamsize>(records * kBinRecordSize))
            return false;
        for (size_t i = 0; i < records; ++i)
            if (std::memcmp(&got[i * kBinRecordSize + kSectorAudioSize], &wanted[i * kCdgRecordSize], kCdgRecordSize))
                return false;
    } while (packs);
    return packs.eof();
}

// Says what has to be filled up so that sound and graphics have the same number of sectors.
void TellPadding(const JoinArguments& options, i64 frames, i64 soundSectors, i64 graphicsSectors, int restBytes)
{
    if (soundSectors > graphicsSectors)
        Warn(options.cdg, "ends " + TimeText(SectorSeconds(soundSectors - graphicsSectors)) +
                              " before the sound: filled up with empty packs");
    if (graphicsSectors > soundSectors)
        Warn(options.wav, "ends " + TimeText(SectorSeconds(graphicsSectors - soundSectors)) +
                              " before the graphics: filled up with silence");
    if (frames % kFramesPerSector != 0)
        Warn(options.wav, "ends within a sector: the rest of that sector is silence");
    if (restBytes != 0)
        Warn(options.cdg, "ends within a record of four packs: the rest of that record is empty");
}

void RunJoin(const JoinArguments& options)
{
    const StreamIdentity identity = Identify(options.cdg);
    if (identity.kind != StreamKind::Graphics)
        throw Error(options.cdg, "is no plain CD+G file: " + KindText(identity));
    std::optional<TemporaryFile> decoded;
    const std::string wav = WavFile(options.wav, decoded);
    const i64 frames = AudioFrames(wav);
    RefuseSameFile(options.wav, options.track);
    RefuseSameFile(options.cdg, options.track);

    const i64 soundSectors = WholeSectors(frames, kFramesPerSector);
    const i64 graphicsSectors = WholeSectors(static_cast<i64>(identity.length), kCdgRecordSize);
    const i64 sectors = std::max(soundSectors, graphicsSectors);

    OutputFile image(options.track);
    const std::string temporary = image.Temporary().string();
    const i64 written = frames * 4 + frames / kFramesPerSector * kCdgRecordSize;
    std::error_code failure;
    if (!CBinFile::WriteWavToBin(wav.c_str(), temporary.c_str()) ||
        static_cast<i64>(fs::file_size(image.Temporary(), failure)) != written || failure)
        throw Error(options.track, "the sound could not be written whole; is there room on the disk?");
    Resize(image.Temporary(), sectors * kBinRecordSize, options.track);
    WriteCDGToBIN(options.cdg.c_str(), temporary.c_str());
    if (!HoldsGraphics(image.Temporary(), options.cdg))
        throw Error(options.track, "the graphics could not be written whole; is there room on the disk?");
    image.Commit();

    TellPadding(options, frames, soundSectors, graphicsSectors, identity.restBytes);
    if (options.json)
        return PrintJson({{"file", options.track},
                          {"sectors", sectors},
                          {"seconds", SectorSeconds(sectors)},
                          {"soundFrames", frames},
                          {"silentSectorsAdded", sectors - soundSectors},
                          {"emptyPacksAdded", (sectors - graphicsSectors) * 4}});
    std::printf("%s: %lld sectors, %s\n", options.track.c_str(), sectors, TimeText(SectorSeconds(sectors)).c_str());
}

} // namespace

void AddJoin(CLI::App& app)
{
    auto options = std::make_shared<JoinArguments>();
    CLI::App& command = *app.add_subcommand("join", "Put a WAV file and a CD+G file together into a disc image");
    command.add_option("TRACK", options->track, "Disc image to write")->required()->type_name("");
    command
        .add_option("--wav", options->wav,
                    "WAV file of 44100 Hz, stereo, 16 bits or, with ffmpeg installed, any other sound")
        ->required()
        ->type_name("FILE");
    command.add_option("--cdg", options->cdg, "Graphics: plain CD+G")->required()->type_name("FILE");
    AddJsonFlag(command, options->json);
    command.footer("\nThe shorter one of the two is filled up, with silence or with empty packs.\n"
                   "What 'nvtool split' made of a whole image gives that image again, byte for byte.\n\n"
                   "Example:\n  nvtool join --wav track.wav --cdg track.cdg track.bin");
    command.callback([options] { RunJoin(*options); });
}

} // namespace nvtool
