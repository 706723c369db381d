// Disc images of any bytes: sound and packs are where the layout says they are, and nothing else is read; an image that
// is split and joined again is the image.
//
// Input: three bytes that say where to read, then the image.
#include "BinFile.h"
#include "CDGInputFile.h"
#include "Check.h"
#include "Scratch.h"

#include <algorithm>
#include <cstring>
#include <span>
#include <vector>

namespace {

using Bytes = std::span<const u8>;

constexpr size_t kSector = 2448, kAudio = 2352, kFrame = 4;

// The audio of an image, subcode left out.
std::vector<u8> AudioOf(Bytes image)
{
    std::vector<u8> audio;
    for (size_t at = 0; at < image.size(); at += kSector) {
        const Bytes part = image.subspan(at, std::min(kAudio, image.size() - at));
        audio.insert(audio.end(), part.begin(), part.end());
    }
    return audio;
}

void CheckSound(Bytes image, int start, int piece)
{
    std::vector<u8> copy(image.begin(), image.end());
    CMemFile file(copy.data(), static_cast<UINT>(copy.size()));
    CBinFile sound;
    FUZZ_CHECK(sound.Open(&file));
    const i64 size = static_cast<i64>(image.size());
    const i64 length = (size - 96 * (size / static_cast<i64>(kSector))) / static_cast<i64>(kFrame);
    FUZZ_CHECK(sound.GetLength() == length);
    FUZZ_CHECK(sound.Seek(start, 0) == start && sound.GetPosition() == start);

    const std::vector<u8> audio = AudioOf(image);
    std::vector<u8> got(static_cast<size_t>(piece) * kFrame);
    size_t at = static_cast<size_t>(start) * kFrame;
    for (int round = 0; round < 64; ++round) {
        const int frames = sound.Read(got.data(), piece);
        FUZZ_CHECK(frames >= 0 && frames <= piece);
        const size_t count = static_cast<size_t>(frames) * kFrame;
        FUZZ_CHECK(count == 0 || at + count <= audio.size());
        FUZZ_CHECK(count == 0 || std::memcmp(got.data(), audio.data() + at, count) == 0);
        // What is missing is missing because the image ends within the sector that is read next.
        if (frames < piece) {
            const size_t sectorEnd = std::min((at + count) / kAudio * kAudio + kAudio, at + got.size());
            FUZZ_CHECK(sectorEnd > audio.size());
            break;
        }
        at += count;
    }
}

void CheckPacks(Bytes image, bool plain, int start)
{
    std::vector<u8> copy(image.begin(), image.end());
    CMemFile file(copy.data(), static_cast<UINT>(copy.size()));
    CCDGInputFile input;
    FUZZ_CHECK(input.Open(&file, plain) == 1);
    const size_t record = plain ? 96 : kSector;
    FUZZ_CHECK(input.GetPackCount() == static_cast<int>(image.size() / record * 4));
    FUZZ_CHECK(input.GetLength() == image.size());
    FUZZ_CHECK(input.SeekToPack(start) && input.GetCurrentPack() == start);

    CCDGEmulatorPack pack;
    for (size_t number = static_cast<size_t>(start);; ++number) {
        const size_t at = (number / 4 + 1) * record - 96 + number % 4 * 24;
        const bool whole = at + 24 <= image.size();
        FUZZ_CHECK(input.GetNextPack(pack) == whole);
        if (!whole)
            break;
        u8 raw[24];
        pack.GetMem(raw);
        for (size_t i = 0; i < 24; ++i)
            FUZZ_CHECK(raw[i] == (image[at + i] & 0x3F));
    }
}

void CheckSplitAndJoin(Bytes image)
{
    static const ScratchFolder scratch;
    const std::string bin = scratch.Write("image.bin", image);
    const std::string wav = scratch.Path("image.wav"), cdg = scratch.Path("image.cdg");
    FUZZ_CHECK(SplitBIN(bin.c_str(), wav.c_str(), cdg.c_str()) == 1);
    const size_t sectors = image.size() / kSector;
    FUZZ_CHECK(scratch.Read("image.wav").size() == 44 + sectors * kAudio);
    FUZZ_CHECK(scratch.Read("image.cdg").size() == sectors * 96);

    const std::string joined = scratch.Write("joined.bin", {});
    FUZZ_CHECK(CBinFile::WriteWavToBin(wav.c_str(), joined.c_str()));
    WriteCDGToBIN(cdg.c_str(), joined.c_str());
    const std::vector<u8> back = scratch.Read("joined.bin");
    FUZZ_CHECK(back.size() == sectors * kSector && std::equal(back.begin(), back.end(), image.begin()));

    const bool package = image.size() >= 256 && image[169] == 6;
    const std::string zip = scratch.Path("image.zip");
    std::error_code none;
    std::filesystem::remove(zip, none);
    FUZZ_CHECK(IsKMAZIP(bin.c_str(), zip.c_str()) == package);
    const std::vector<u8> archive = scratch.Read("image.zip");
    const size_t wanted = package ? image.size() - 256 : 0;
    FUZZ_CHECK(archive.size() == wanted &&
               std::equal(archive.begin(), archive.end(), image.end() - static_cast<std::ptrdiff_t>(wanted)));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const u8* bytes, size_t size)
{
    if (size < 3)
        return 0;
    const Bytes image(bytes + 3, size - 3);
    CheckSound(image, bytes[0] * 7, bytes[1] * 5 + 1);
    CheckPacks(image, false, bytes[0]);
    CheckPacks(image, true, bytes[1]);
    if (bytes[2] & 1)
        CheckSplitAndJoin(image);
    return 0;
}
