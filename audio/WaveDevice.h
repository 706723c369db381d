// What CWaveOut asks of the system's wave output, so that tests can put a device of their own in its place. The calls
// mean what the waveOut functions of the same names mean. CWaveOut's worker thread makes all of them.
#pragma once

#include <afx.h> // the types that the next one is written in
#include <mmsystem.h>

namespace NV {

class IWaveDevice {
public:
    virtual ~IWaveDevice() = default;
    virtual UINT Count() = 0;
    virtual MMRESULT Open(HWAVEOUT& device, const WAVEFORMATEX& format, DWORD_PTR callback, DWORD_PTR instance) = 0;
    virtual MMRESULT Prepare(HWAVEOUT device, WAVEHDR& header) = 0;
    virtual MMRESULT Unprepare(HWAVEOUT device, WAVEHDR& header) = 0;
    virtual MMRESULT Write(HWAVEOUT device, WAVEHDR& header) = 0;
    virtual MMRESULT Reset(HWAVEOUT device) = 0;
    virtual MMRESULT Close(HWAVEOUT device) = 0;
    virtual MMRESULT ErrorText(MMRESULT error, char* text, UINT size) = 0;
};

/// The default device of the system, unless another one was put in its place.
IWaveDevice& WaveDevice();
/// Null: the system's again. Not while a CWaveOut is there.
void UseWaveDevice(IWaveDevice* device);

} // namespace NV
