#pragma once

#include "SoundFile.h"

/// The format with its sizes worked out as sound files do it.
inline WAVEFORMATEX PcmFormat(int channels, int rate, int bits)
{
    WAVEFORMATEX format;
    CSoundFile::SetDefaultFormat(&format);
    format.nChannels = static_cast<WORD>(channels);
    format.nSamplesPerSec = static_cast<DWORD>(rate);
    format.wBitsPerSample = static_cast<WORD>(bits);
    CSoundFile::UpdateFormat(&format);
    return format;
}
