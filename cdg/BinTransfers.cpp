// Whole-file operations of disc images and packages: audio out of an image and into one, graphics into one, the archive
// out of a KMA package.
#include "BinFile.h"
#include "DiscImage.h"
#include "WaveFile.h"
#include "audio/FileCalls.h"
#include "audio/WholeFile.h"

#include <algorithm>

using namespace NV;

namespace {

constexpr int framesPerPiece = static_cast<int>(sectorFrames * sectorsPerPiece);

/// The image is asked for its audio in requests of this many frames. The size shows at the end: a partial sector counts
/// if a request ends within it. Smaller pieces must therefore end where sectors or these requests do.
constexpr i64 requestFrames = 1 << 20;

constexpr int existing = CFile::modeReadWrite | CFile::shareDenyNone;
constexpr int source = CFile::modeRead | CFile::shareDenyWrite; // so that it cannot be what is written to as well

} // namespace

bool CBinFile::ConvertBinToWav(const char* binPath, const char* wavPath)
{
    CBinFile bin;
    CWaveFile wav;
    if (!bin.Open(binPath, CFile::modeRead | CFile::shareDenyNone) ||
        !wav.Open(wavPath, CFile::modeCreate | CFile::modeReadWrite))
        return false;
    wav.SetFormat(bin.GetFormat());
    std::vector<u8> piece(static_cast<std::size_t>(framesPerPiece * audioFrame));
    for (i64 at = 0;;) {
        const i64 toSectorEnd = framesPerPiece - at % sectorFrames;
        const int asked = static_cast<int>(std::min(toSectorEnd, requestFrames - at % requestFrames));
        const int got = bin.Read(piece.data(), asked);
        if (got > 0 && wav.Write(piece.data(), got) < got)
            break; // the disk is full; the header will say what is there
        if (got < asked)
            break;
        at += got;
    }
    wav.Close();
    return true;
}

bool CBinFile::WriteWavToBin(const char* wavPath, const char* binPath)
{
    CBinFile bin;
    CWaveFile wav;
    if (!bin.Open(binPath, existing) || !wav.Open(wavPath, source) || wav.GetBlockAlign() != audioFrame)
        return false;
    std::vector<u8> piece(static_cast<std::size_t>(framesPerPiece * audioFrame));
    int got = framesPerPiece;
    while (got == framesPerPiece) {
        got = wav.Read(piece.data(), framesPerPiece);
        if (bin.Write(piece.data(), got) < got)
            break;
    }
    return true;
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): applications rely on this signature
int WriteCDGToBIN(CString cdgPath, CString binPath)
{
    CFile image;
    CFile cdg;
    if (!image.Open(binPath, existing) || !cdg.Open(cdgPath, source))
        return 0;
    Succeeds([&] {
        std::vector<u8> packs(static_cast<std::size_t>(sectorSubcode * sectorsPerPiece));
        const UINT asked = static_cast<UINT>(packs.size());
        for (UINT got = asked; got == asked;) {
            got = cdg.Read(packs.data(), asked);
            std::fill(packs.begin() + got, packs.end(), u8(0)); // a last record that is not whole
            for (UINT at = 0; at < got; at += sectorSubcode) {
                image.Seek(sectorAudio, CFile::current);
                image.Write(packs.data() + at, sectorSubcode);
            }
        }
        image.Close();
    });
    return 0;
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): applications rely on this signature
bool IsKMAZIP(CString kmaPath, CString zipPath)
{
    constexpr UINT headerBytes = 256;
    constexpr UINT kindOffset = 169;
    constexpr u8 zipKind = 6;
    constexpr ULONGLONG longestPackage = 50'000'000; // not reached
    constexpr UINT pieceBytes = 256 << 10;

    CFile package;
    u8 header[headerBytes];
    bool isZip = false;
    WholeFile archive;
    Succeeds([&] {
        if (!package.Open(kmaPath, CFile::modeRead | CFile::shareDenyNone) ||
            package.Read(header, headerBytes) < headerBytes)
            return;
        isZip = header[kindOffset] == zipKind;
        if (!isZip || package.GetLength() >= longestPackage || !archive.Create(zipPath))
            return;
        std::vector<u8> piece(pieceBytes);
        for (UINT got = pieceBytes; got == pieceBytes;) {
            got = package.Read(piece.data(), pieceBytes);
            archive.Bytes().Write(piece.data(), got);
        }
        archive.Commit();
    });
    return isZip;
}
