// See WaveDevice.h.
#include "WaveDevice.h"

#include <atomic>

namespace NV {
namespace {

class SystemWaveDevice : public IWaveDevice {
public:
    UINT Count() override { return waveOutGetNumDevs(); }
    MMRESULT Open(HWAVEOUT& device, const WAVEFORMATEX& format, DWORD_PTR callback, DWORD_PTR instance) override
    {
        return waveOutOpen(&device, WAVE_MAPPER, &format, callback, instance, CALLBACK_FUNCTION);
    }
    MMRESULT Prepare(HWAVEOUT device, WAVEHDR& header) override
    {
        return waveOutPrepareHeader(device, &header, sizeof header);
    }
    MMRESULT Unprepare(HWAVEOUT device, WAVEHDR& header) override
    {
        return waveOutUnprepareHeader(device, &header, sizeof header);
    }
    MMRESULT Write(HWAVEOUT device, WAVEHDR& header) override { return waveOutWrite(device, &header, sizeof header); }
    MMRESULT Reset(HWAVEOUT device) override { return waveOutReset(device); }
    MMRESULT Close(HWAVEOUT device) override { return waveOutClose(device); }
    MMRESULT ErrorText(MMRESULT error, char* text, UINT size) override
    {
        return waveOutGetErrorText(error, text, size);
    }
};

std::atomic<IWaveDevice*> replacement = nullptr;

} // namespace

IWaveDevice& WaveDevice()
{
    static SystemWaveDevice system;
    IWaveDevice* const other = replacement;
    return other ? *other : system;
}

void UseWaveDevice(IWaveDevice* device)
{
    replacement = device;
}

} // namespace NV
