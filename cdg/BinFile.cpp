// CBinFile: see BinFile.h. Runs of whole sectors are read and written in pieces; the plain rule, one sector at a time,
// does what is before and behind them.
#include "BinFile.h"

#include "DiscImage.h"
#include "audio/FileCalls.h"

#include <algorithm>
#include <cstring>

using namespace NV;

IMPLEMENT_DYNCREATE(CBinFile, CSoundFile)

CBinFile::CBinFile()
{
    formatValid = true;
}

CBinFile::~CBinFile()
{
    CBinFile::Close();
}

bool CBinFile::Open(const char* path, int mode)
{
    CBinFile::Close();
    CFileException error;
    if (!image.Open(path, static_cast<UINT>(mode), &error)) {
        CString cause;
        cause.Format("cause %d, system error %d", error.m_cause, static_cast<int>(error.m_lOsError));
        Log("open failed", path, cause);
        return false;
    }
    return CSoundFile::Open(path, mode);
}

bool CBinFile::Open(CFile* file)
{
    CBinFile::Close();
    if (!file)
        return false;
    inUse = file;
    return CSoundFile::Open(file->GetFilePath(), 0);
}

bool CBinFile::Close()
{
    CSoundFile::Close();
    inUse = &image;
    Succeeds([&] { image.Close(); });
    return true;
}

// ---- Positions -----------------------------------------------------------------------------------------------------

i64 CBinFile::FilePointerToSample(i64 filePos)
{
    const i64 sector = filePos / sectorBytes;
    const i64 inSector = filePos - sector * sectorBytes;
    const i64 audioByte = filePos - sectorSubcode * sector - std::max<i64>(0, inSector - sectorAudio);
    return audioByte / audioFrame;
}

i64 CBinFile::GetLength() const
{
    i64 frames = 0;
    Succeeds([&] {
        const i64 length = static_cast<i64>(inUse->GetLength());
        frames = (length - sectorSubcode * (length / sectorBytes)) / audioFrame;
    });
    return frames;
}

i64 CBinFile::GetPosition() const
{
    i64 frames = 0;
    Succeeds([&] { frames = FilePointerToSample(static_cast<i64>(inUse->GetPosition())); });
    return frames;
}

i64 CBinFile::Seek(i64 frames, int from)
{
    constexpr i64 farthest = i64(1) << 60; // leaves room for the sums below
    if (from < 0 || from > 2 || frames > farthest || frames < -farthest)
        return -1;
    i64 reached = -1;
    Succeeds([&] {
        i64 target = frames * audioFrame;
        if (from != 0) {
            // Kept as is: from the raw position, subcode included, and downwards from there for 2.
            const i64 raw = static_cast<i64>(inUse->GetPosition());
            target = from == 1 ? raw + target : raw - target;
        }
        target = std::max<i64>(0, target);
        const i64 position = target + sectorSubcode * (target / sectorAudio);
        reached = FilePointerToSample(static_cast<i64>(inUse->Seek(position, CFile::begin)));
    });
    return reached;
}

// ---- Reading -------------------------------------------------------------------------------------------------------

namespace {

/// Audio left in the sector at a byte of the image; below 1 inside the subcode.
i64 AudioLeft(i64 at)
{
    return sectorBytes * (at / sectorBytes) - at + sectorAudio;
}

/// Worth reading or writing at once: the start of a sector, and more than one of them wanted.
bool IsRunOfSectors(i64 at, i64 audioBytes)
{
    return at % sectorBytes == 0 && audioBytes >= 2 * sectorAudio;
}

int SectorsIn(i64 audioBytes)
{
    return static_cast<int>(std::min<i64>(audioBytes / sectorAudio, sectorsPerPiece));
}

} // namespace

/// Reads the audio of up to `wanted` bytes' worth of sectors from the start of one. Returns the sectors that are there
/// whole, and leaves the file behind the last of them.
int CBinFile::ReadSectors(u8* to, i64 wanted)
{
    sectors.resize(static_cast<std::size_t>(sectorBytes * sectorsPerPiece));
    const UINT asked = static_cast<UINT>(SectorsIn(wanted) * sectorBytes);
    const UINT got = inUse->Read(sectors.data(), asked);
    const int whole = static_cast<int>(got / sectorBytes);
    for (int k = 0; k < whole; ++k)
        std::memcpy(to + k * sectorAudio, sectors.data() + k * sectorBytes, sectorAudio);
    if (got < asked)
        inUse->Seek(whole * sectorBytes - static_cast<i64>(got), CFile::current);
    return whole;
}

int CBinFile::Read(void* buffer, int frames)
{
    u8* to = static_cast<u8*>(buffer);
    i64 left = frames * audioFrame;
    i64 counted = 0;
    const bool read = Succeeds([&] {
        i64 at = left > 0 ? static_cast<i64>(inUse->GetPosition()) : 0;
        while (left > 0) {
            const i64 audio = AudioLeft(at);
            if (audio < 1) {
                at = static_cast<i64>(inUse->Seek(sectorSubcode, CFile::current));
                continue;
            }
            if (IsRunOfSectors(at, left)) {
                const int run = ReadSectors(to, left);
                counted += run * sectorFrames;
                at += run * sectorBytes;
                to += run * sectorAudio;
                left -= run * sectorAudio;
                if (run > 0)
                    continue;
            }
            const UINT piece = static_cast<UINT>(std::min(audio, left));
            if (inUse->Read(to, piece) < piece)
                return; // Kept as is: what came of this piece does not count.
            counted += piece / audioFrame;
            at += piece;
            to += piece;
            left -= piece;
            if (piece == audio)
                at = static_cast<i64>(inUse->Seek(sectorSubcode, CFile::current));
        }
    });
    if (!read)
        Log("read failed", GetName());
    return static_cast<int>(counted);
}

// ---- Writing -------------------------------------------------------------------------------------------------------

void CBinFile::WriteSectors(const u8* from, int count)
{
    sectors.resize(static_cast<std::size_t>(sectorBytes * sectorsPerPiece));
    for (int k = 0; k < count; ++k) {
        u8* const sector = sectors.data() + k * sectorBytes;
        std::memcpy(sector, from + k * sectorAudio, sectorAudio);
        std::memset(sector + sectorAudio, 0, sectorSubcode);
    }
    image.Write(sectors.data(), static_cast<UINT>(count * sectorBytes));
}

int CBinFile::Write(void* buffer, int frames)
{
    static constexpr u8 noPacks[sectorSubcode] = {};
    const u8* from = static_cast<const u8*>(buffer);
    i64 left = frames * audioFrame;
    i64 written = 0; // bytes of audio
    i64 at = 0;      // behind them
    const bool wrote = Succeeds([&] {
        if (left > 0)
            at = static_cast<i64>(image.GetPosition());
        while (left > 0) {
            const i64 audio = AudioLeft(at);
            if (IsRunOfSectors(at, left)) {
                const int run = SectorsIn(left);
                WriteSectors(from, run);
                at += run * sectorBytes;
                from += run * sectorAudio;
                left -= run * sectorAudio;
                written += run * sectorAudio;
                continue;
            }
            const i64 piece = std::clamp<i64>(audio, 0, left); // none inside the subcode, which becomes zero
            if (piece > 0)
                image.Write(from, static_cast<UINT>(piece));
            if (piece >= audio)
                image.Write(noPacks, sectorSubcode);
            at += piece + (piece >= audio ? sectorSubcode : 0);
            from += piece;
            left -= piece;
            written += piece;
        }
    });
    if (!wrote) {
        Log("write failed", GetName());
        Succeeds([&] { image.Seek(at, CFile::begin); }); // behind what counts
    }
    return static_cast<int>(written / audioFrame);
}
