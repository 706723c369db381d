// The 44 bytes in front of the samples of a WAV file as this library writes it:
//
//    0  "RIFF"       4  bytes that follow in the file       8  "WAVE"
//   12  "fmt "      16  16        20  format tag (2), channels (2), frames a second (4), bytes a second (4),
//                                     block alignment (2), bits a sample (2)
//   36  "data"      40  bytes of samples                   44  samples
#pragma once

#include "LittleEndian.h"

#include <array>
#include <cstring>
#include <windows.h>

#include <mmsystem.h>

namespace NV {

constexpr int waveHeaderBytes = 44;
constexpr int waveFormatBytes = 16; // of the format chunk
/// No file gets longer: sizes in the header have 32 bits.
constexpr i64 longestWaveFile = i64(1) << 32;

/// The format chunk's fields, `waveFormatBytes` of them.
inline void StoreWaveFormat(u8* to, const WAVEFORMATEX& format)
{
    StoreLE16(to, format.wFormatTag);
    StoreLE16(to + 2, format.nChannels);
    StoreLE32(to + 4, format.nSamplesPerSec);
    StoreLE32(to + 8, format.nAvgBytesPerSec);
    StoreLE16(to + 12, format.nBlockAlign);
    StoreLE16(to + 14, format.wBitsPerSample);
}

inline std::array<u8, waveHeaderBytes> MakeWaveHeader(const WAVEFORMATEX& format, u32 dataBytes)
{
    std::array<u8, waveHeaderBytes> header{};
    std::memcpy(header.data(), "RIFF....WAVEfmt ", 16);
    StoreLE32(header.data() + 4, dataBytes + (waveHeaderBytes - 8));
    StoreLE32(header.data() + 16, waveFormatBytes);
    StoreWaveFormat(header.data() + 20, format);
    std::memcpy(header.data() + 36, "data", 4);
    StoreLE32(header.data() + 40, dataBytes);
    return header;
}

} // namespace NV
