// The sound interface of Windows as far as the library uses it, for systems that have no <mmsystem.h> of their own:
// the wave format record, and wave output, which here plays through ALSA (posix/WaveOut.cpp).
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

// ---- Wave output ---------------------------------------------------------------------------------------------------

using DWORD_PTR = __UINTPTR_TYPE__;
using MMRESULT = UINT;
using HWAVEOUT = struct HWAVEOUT__*;
using LPHWAVEOUT = HWAVEOUT*;

/// One block of samples on its way through a device. The caller's, also the data, from waveOutPrepareHeader to
/// waveOutUnprepareHeader; not to be touched while it is in the device's queue.
struct wavehdr_tag {
    LPSTR lpData;
    DWORD dwBufferLength;
    DWORD dwBytesRecorded;
    DWORD_PTR dwUser; // the caller's
    DWORD dwFlags;
    DWORD dwLoops;
    wavehdr_tag* lpNext;
    DWORD_PTR reserved;
};
using WAVEHDR = wavehdr_tag;
using LPWAVEHDR = wavehdr_tag*;

enum : DWORD { WHDR_DONE = 0x01, WHDR_PREPARED = 0x02, WHDR_INQUEUE = 0x10 };

enum : MMRESULT {
    MMSYSERR_NOERROR = 0,
    MMSYSERR_ERROR = 1,
    MMSYSERR_BADDEVICEID = 2,
    MMSYSERR_ALLOCATED = 4,
    MMSYSERR_INVALHANDLE = 5,
    MMSYSERR_NODRIVER = 6,
    MMSYSERR_NOMEM = 7,
    MMSYSERR_INVALPARAM = 11,
    WAVERR_BADFORMAT = 32,
    WAVERR_STILLPLAYING = 33,
    WAVERR_UNPREPARED = 34
};

// What a callback is told.
enum : UINT { WOM_OPEN = 0x3BB, WOM_CLOSE = 0x3BC, WOM_DONE = 0x3BD };

constexpr UINT WAVE_MAPPER = static_cast<UINT>(-1); // the default device
constexpr DWORD CALLBACK_FUNCTION = 0x00030000;

/// Devices to play on; 0 when there is no sound card and the system's default leads nowhere.
UINT waveOutGetNumDevs();

/// Opens the default device (0 or WAVE_MAPPER) for PCM of 8, 16, 24 or 32 bits; what the card cannot do by itself is
/// converted. On a machine without a card opens a device that keeps real time and is silent. `callback` is a
/// void(HWAVEOUT, UINT, DWORD_PTR, DWORD_PTR, DWORD_PTR), called with WOM_OPEN and WOM_CLOSE by who opens and closes,
/// with WOM_DONE and the header when a block has been heard or was returned by waveOutReset: by a thread of the device,
/// with no lock held. It must not call the device.
MMRESULT waveOutOpen(LPHWAVEOUT device, UINT id, LPCWAVEFORMATEX format, DWORD_PTR callback, DWORD_PTR instance,
                     DWORD flags);
MMRESULT waveOutPrepareHeader(HWAVEOUT device, LPWAVEHDR header, UINT headerSize);
/// WAVERR_STILLPLAYING while the block is in the queue.
MMRESULT waveOutUnprepareHeader(HWAVEOUT device, LPWAVEHDR header, UINT headerSize);
/// Puts a block at the end of the queue. MMSYSERR_NODRIVER once the device has gone; what was in the queue has been
/// returned then.
MMRESULT waveOutWrite(HWAVEOUT device, LPWAVEHDR header, UINT headerSize);
/// Stops playing; every block has been returned through the callback when this returns.
MMRESULT waveOutReset(HWAVEOUT device);
/// WAVERR_STILLPLAYING while blocks are in the queue.
MMRESULT waveOutClose(HWAVEOUT device);
MMRESULT waveOutGetErrorText(MMRESULT error, LPSTR text, UINT size);
