// SplitBIN: a disc image parted into a WAV file and a CD+G file.
//
// This is a copy of a whole track, and about as fast as one: the system reads each sector's audio and packs straight
// into their places, room for the output is reserved before anything is written, and the WAV file is written in large
// pieces that begin on page boundaries. Both files appear under their names only when they are whole.
#include "BinFile.h"

#include "DiscImage.h"
#include "FileScatter.h"
#include "FileSpace.h"
#include "audio/FileCalls.h"
#include "audio/WaveHeader.h"
#include "audio/WholeFile.h"

#include <algorithm>
#include <cstring>
#include <memory>

using namespace NV;

namespace {

// 2352 × 512 bytes are 294 pages. The header shifts the audio by 44 bytes, so as many are left over from each piece
// and go in front of the next one.
constexpr int sectorsPerWrite = 512;
constexpr int sectorsPerRead = 128; // what was read is still in the cache when it is written
constexpr std::size_t pageBytes = 4096;

/// Whole sectors of an image, read into audio with room for a header in front and into packs.
class SectorReader {
public:
    explicit SectorReader(HANDLE file) : image(file), memory(audioBytes + pageBytes), packs(packBytes)
    {
        void* aligned = memory.data();
        std::size_t space = memory.size();
        audio = static_cast<u8*>(std::align(pageBytes, audioBytes, aligned, space));
    }
    u8* Audio() { return audio; }
    const u8* Packs() const { return packs.data(); }

    /// False when not all of them came.
    bool Read(int count)
    {
        u8* audioTo = audio + waveHeaderBytes;
        u8* packsTo = packs.data();
        FileRoom rooms[2 * sectorsPerRead];
        for (int done = 0; done < count;) {
            const int now = std::min(count - done, sectorsPerRead);
            for (int k = 0; k < now; ++k, audioTo += sectorAudio, packsTo += sectorSubcode) {
                rooms[2 * k] = {audioTo, static_cast<u32>(sectorAudio)};
                rooms[2 * k + 1] = {packsTo, static_cast<u32>(sectorSubcode)};
            }
            u64 got = 0;
            if (ReadScattered(image, rooms, 2 * static_cast<std::size_t>(now), got) ||
                got < static_cast<u64>(now * sectorBytes))
                return false;
            done += now;
        }
        return true;
    }

private:
    static constexpr std::size_t audioBytes = waveHeaderBytes + std::size_t(sectorAudio) * sectorsPerWrite;
    static constexpr std::size_t packBytes = std::size_t(sectorSubcode) * sectorsPerWrite;

    HANDLE image;
    std::vector<u8> memory;
    std::vector<u8> packs;
    u8* audio = nullptr; // on a page boundary within `memory`
};

bool CopySectors(CFile& image, i64 count, CFile& wav, CFile& cdg)
{
    WAVEFORMATEX format;
    CSoundFile::SetDefaultFormat(&format);
    const i64 audioBytes = count * sectorAudio;
    ReserveFileSpace(wav.m_hFile, static_cast<u64>(waveHeaderBytes + audioBytes));
    ReserveFileSpace(cdg.m_hFile, static_cast<u64>(count * sectorSubcode));
    SectorReader sectors(image.m_hFile);
    const auto header = MakeWaveHeader(format, static_cast<u32>(audioBytes));
    std::memcpy(sectors.Audio(), header.data(), waveHeaderBytes);
    for (i64 done = 0; done < count;) {
        const int now = static_cast<int>(std::min<i64>(count - done, sectorsPerWrite));
        if (!sectors.Read(now))
            return false;
        wav.Write(sectors.Audio(), static_cast<UINT>(now * sectorAudio));
        cdg.Write(sectors.Packs(), static_cast<UINT>(now * sectorSubcode));
        std::memcpy(sectors.Audio(), sectors.Audio() + now * sectorAudio, waveHeaderBytes);
        done += now;
    }
    wav.Write(sectors.Audio(), waveHeaderBytes);
    return true;
}

} // namespace

// NOLINTNEXTLINE(performance-unnecessary-value-param): applications rely on this signature
int SplitBIN(CString binPath, CString wavPath, CString cdgPath)
{
    CFile image;
    WholeFile cdg, wav;
    if (!image.Open(binPath, CFile::modeRead | CFile::shareDenyNone | CFile::osSequentialScan))
        return 0;
    // An output that is the image itself, or the other output, is refused here: those are open already.
    if (!cdg.Create(cdgPath) || !wav.Create(wavPath))
        return 0;
    bool copied = false;
    Succeeds([&] {
        const i64 sectors = static_cast<i64>(image.GetLength()) / sectorBytes;
        copied = sectors <= (longestWaveFile - waveHeaderBytes) / sectorAudio &&
                 CopySectors(image, sectors, wav.Bytes(), cdg.Bytes());
    });
    if (!copied || !wav.Commit())
        return 0;
    if (cdg.Commit())
        return 1;
    wav.TakeBack();
    return 0;
}
