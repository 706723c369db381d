// The wave format record of the sound interface, for systems that have no <mmsystem.h> of their own.
#pragma once

#include <windows.h>

#define WAVE_FORMAT_PCM 1

#pragma pack(push, 1)
/// As stored in the format chunk of a sound file: 18 bytes, or the first 16 of them for plain PCM.
struct tWAVEFORMATEX {
    WORD wFormatTag;
    WORD nChannels;
    DWORD nSamplesPerSec;
    DWORD nAvgBytesPerSec;
    WORD nBlockAlign; // bytes of one frame
    WORD wBitsPerSample;
    WORD cbSize; // bytes that follow this record
};
#pragma pack(pop)
using WAVEFORMATEX = tWAVEFORMATEX;
using LPWAVEFORMATEX = tWAVEFORMATEX*;
using LPCWAVEFORMATEX = const tWAVEFORMATEX*;

static_assert(sizeof(WAVEFORMATEX) == 18);
