// The waveOut calls on POSIX: a queue of blocks and one thread for each open device, which feeds a WaveSink and returns
// blocks when they have been heard. Callers and the device's thread meet under one lock; callbacks and the sink are
// called without it.
#include "ScopedLock.h"
#include "WaveSink.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <deque>
#include <mmsystem.h>
#include <mutex>
#include <system_error>
#include <thread>

using namespace NV;

namespace {

using Callback = void (*)(HWAVEOUT, UINT, DWORD_PTR, DWORD_PTR, DWORD_PTR);

class OpenDevice {
public:
    OpenDevice(std::unique_ptr<WaveSink> to, int bytesPerFrame, Callback callback, DWORD_PTR instance)
        : sink(std::move(to)), frameBytes(bytesPerFrame), notify(callback), user(instance), thread([this] { Work(); })
    {
    }
    ~OpenDevice()
    {
        {
            const std::lock_guard hold(mutex);
            ending = true;
        }
        changed.notify_all();
        thread.join();
    }
    OpenDevice(const OpenDevice&) = delete;
    OpenDevice& operator=(const OpenDevice&) = delete;

    HWAVEOUT Handle() { return reinterpret_cast<HWAVEOUT>(this); }
    void Tell(UINT message, WAVEHDR* header = nullptr)
    {
        if (notify)
            notify(Handle(), message, user, reinterpret_cast<DWORD_PTR>(header), 0);
    }

    MMRESULT Prepare(WAVEHDR& header)
    {
        const std::lock_guard hold(mutex);
        header.dwFlags = (header.dwFlags & ~DWORD{WHDR_DONE}) | WHDR_PREPARED;
        return MMSYSERR_NOERROR;
    }
    MMRESULT Unprepare(WAVEHDR& header)
    {
        const std::lock_guard hold(mutex);
        if (header.dwFlags & WHDR_INQUEUE)
            return WAVERR_STILLPLAYING;
        header.dwFlags &= ~DWORD{WHDR_PREPARED};
        return MMSYSERR_NOERROR;
    }
    MMRESULT Write(WAVEHDR& header)
    {
        {
            const std::lock_guard hold(mutex);
            if (!(header.dwFlags & WHDR_PREPARED))
                return WAVERR_UNPREPARED;
            if (header.dwFlags & WHDR_INQUEUE)
                return WAVERR_STILLPLAYING;
            if (gone)
                return MMSYSERR_NODRIVER;
            header.dwFlags = (header.dwFlags & ~DWORD{WHDR_DONE}) | WHDR_INQUEUE;
            blocks.push_back(&header);
        }
        changed.notify_all();
        return MMSYSERR_NOERROR;
    }
    void Reset()
    {
        std::unique_lock hold(mutex);
        const unsigned mine = ++resetsAsked;
        changed.notify_all();
        changed.wait(hold, [&] { return static_cast<int>(resetsDone - mine) >= 0; });
    }
    bool IsPlaying()
    {
        const std::lock_guard hold(mutex);
        return !blocks.empty();
    }

private:
    // Often enough for a buffer of a fifth of a second, and blocks return within this time of their end.
    static constexpr std::chrono::milliseconds tick{4};

    i64 FramesOf(const WAVEHDR& header) const { return header.dwBufferLength / static_cast<DWORD>(frameBytes); }

    void Work()
    {
        std::unique_lock hold(mutex);
        while (!ending) {
            if (resetsDone != resetsAsked) {
                const unsigned asked = resetsAsked;
                hold.unlock();
                sink->Drop();
                hold.lock();
                ReturnAll(hold);
                resetsDone = asked;
                changed.notify_all();
            } else if (blocks.empty()) {
                changed.wait(hold);
            } else {
                const bool fed = Feed(hold);
                const bool returned = ReturnHeard(hold);
                if (gone)
                    ReturnAll(hold);
                else if (!fed && !returned)
                    changed.wait_for(hold, tick);
            }
        }
    }

    // Puts one block, or the part there is room for, into the sink.
    bool Feed(std::unique_lock<std::mutex>& hold)
    {
        if (fedBlocks == blocks.size())
            return false;
        const WAVEHDR& block = *blocks[fedBlocks];
        const bool last = fedBlocks + 1 == blocks.size();
        const i64 frames = FramesOf(block);
        hold.unlock();
        const u8* const data = reinterpret_cast<const u8*>(block.lpData);
        const i64 put = fedFrames < frames ? sink->Put(data + fedFrames * frameBytes, frames - fedFrames) : 0;
        const bool whole = put >= 0 && fedFrames + put == frames;
        if (whole && last)
            sink->Begin();
        hold.lock();
        if (put < 0) {
            gone = true;
            return false;
        }
        fedFrames = whole ? 0 : fedFrames + put;
        fedBlocks += whole;
        return whole || put > 0;
    }

    bool ReturnHeard(std::unique_lock<std::mutex>& hold)
    {
        hold.unlock();
        const i64 heard = sink->Heard();
        hold.lock();
        gone |= heard < 0;
        bool any = false;
        while (fedBlocks > 0 && heard - returnedFrames >= FramesOf(*blocks.front())) {
            returnedFrames += FramesOf(*blocks.front());
            ReturnFirst(hold);
            any = true;
        }
        return any;
    }

    // After a reset, or when the device has gone; blocks that are written meanwhile return as well.
    void ReturnAll(std::unique_lock<std::mutex>& hold)
    {
        while (!blocks.empty())
            ReturnFirst(hold);
        fedFrames = 0;
        hold.unlock();
        const i64 heard = sink->Heard();
        hold.lock();
        returnedFrames = std::max<i64>(heard, 0);
    }

    void ReturnFirst(std::unique_lock<std::mutex>& hold)
    {
        WAVEHDR* const block = blocks.front();
        blocks.pop_front();
        fedBlocks -= fedBlocks > 0;
        block->dwFlags = (block->dwFlags & ~DWORD{WHDR_INQUEUE}) | WHDR_DONE;
        hold.unlock();
        Tell(WOM_DONE, block); // the block may be gone when this returns
        hold.lock();
    }

    const std::unique_ptr<WaveSink> sink; // the thread's
    const int frameBytes;
    const Callback notify;
    const DWORD_PTR user;

    std::mutex mutex; // guards what follows up to the thread
    std::condition_variable changed;
    std::deque<WAVEHDR*> blocks; // in the order written
    unsigned resetsAsked = 0, resetsDone = 0;
    bool ending = false;
    bool gone = false; // the device has

    // The thread's own.
    std::size_t fedBlocks = 0; // of `blocks`, from the front, entirely in the sink
    i64 fedFrames = 0;         // of the block behind them
    i64 returnedFrames = 0;    // of all that the sink took: returned or dropped

    std::thread thread; // last: begins when everything else is there
};

OpenDevice* DeviceOf(HWAVEOUT handle)
{
    return reinterpret_cast<OpenDevice*>(handle);
}

bool IsPlayable(const WAVEFORMATEX& format)
{
    const int bits = format.wBitsPerSample;
    return format.wFormatTag == WAVE_FORMAT_PCM && format.nChannels > 0 && format.nSamplesPerSec > 0 &&
           (bits == 8 || bits == 16 || bits == 24 || bits == 32) && format.nBlockAlign == format.nChannels * bits / 8;
}

} // namespace

UINT waveOutGetNumDevs()
{
    return HasWaveSink() ? 1 : 0;
}

MMRESULT waveOutOpen(LPHWAVEOUT device, UINT id, LPCWAVEFORMATEX format, DWORD_PTR callback, DWORD_PTR instance,
                     DWORD flags)
{
    if (id != WAVE_MAPPER && id != 0)
        return MMSYSERR_BADDEVICEID;
    if (!device || !format || (flags != 0 && flags != CALLBACK_FUNCTION))
        return MMSYSERR_INVALPARAM;
    if (!IsPlayable(*format))
        return WAVERR_BADFORMAT;
    try {
        MMRESULT error = MMSYSERR_NOERROR;
        std::unique_ptr<WaveSink> sink = OpenWaveSink(*format, error);
        if (!sink)
            return error;
        const auto notify = flags ? reinterpret_cast<Callback>(callback) : nullptr;
        auto opened = std::make_unique<OpenDevice>(std::move(sink), format->nBlockAlign, notify, instance);
        *device = opened->Handle();
        opened.release()->Tell(WOM_OPEN); // waveOutClose takes it back
        return MMSYSERR_NOERROR;
    } catch (const std::bad_alloc&) {
        return MMSYSERR_NOMEM;
    } catch (const std::system_error&) { // no thread to be had
        return MMSYSERR_ERROR;
    }
}

MMRESULT waveOutPrepareHeader(HWAVEOUT device, LPWAVEHDR header, UINT)
{
    return !device ? MMSYSERR_INVALHANDLE : !header ? MMSYSERR_INVALPARAM : DeviceOf(device)->Prepare(*header);
}

MMRESULT waveOutUnprepareHeader(HWAVEOUT device, LPWAVEHDR header, UINT)
{
    return !device ? MMSYSERR_INVALHANDLE : !header ? MMSYSERR_INVALPARAM : DeviceOf(device)->Unprepare(*header);
}

MMRESULT waveOutWrite(HWAVEOUT device, LPWAVEHDR header, UINT)
{
    return !device ? MMSYSERR_INVALHANDLE : !header ? MMSYSERR_INVALPARAM : DeviceOf(device)->Write(*header);
}

MMRESULT waveOutReset(HWAVEOUT device)
{
    if (!device)
        return MMSYSERR_INVALHANDLE;
    DeviceOf(device)->Reset();
    return MMSYSERR_NOERROR;
}

MMRESULT waveOutClose(HWAVEOUT device)
{
    if (!device)
        return MMSYSERR_INVALHANDLE;
    if (DeviceOf(device)->IsPlaying())
        return WAVERR_STILLPLAYING;
    const std::unique_ptr<OpenDevice> closing(DeviceOf(device));
    closing->Tell(WOM_CLOSE);
    return MMSYSERR_NOERROR;
}

MMRESULT waveOutGetErrorText(MMRESULT error, LPSTR text, UINT size)
{
    struct Text {
        MMRESULT error;
        const char* words;
    };
    static constexpr Text texts[] = {
        {MMSYSERR_NOERROR, "No error."},
        {MMSYSERR_ERROR, "The sound device failed."},
        {MMSYSERR_BADDEVICEID, "There is no sound device of that number."},
        {MMSYSERR_ALLOCATED, "The sound device is in use."},
        {MMSYSERR_INVALHANDLE, "The sound device is not open."},
        {MMSYSERR_NODRIVER, "The sound device is not there."},
        {MMSYSERR_NOMEM, "There is not enough memory."},
        {MMSYSERR_INVALPARAM, "A call to the sound device was wrong."},
        {WAVERR_BADFORMAT, "The sound device does not play this format."},
        {WAVERR_STILLPLAYING, "The sound device is still playing."},
        {WAVERR_UNPREPARED, "A block was not prepared."},
    };
    const auto* const known = std::ranges::find(texts, error, &Text::error);
    if (known == std::end(texts) || !text || size == 0)
        return MMSYSERR_INVALPARAM;
    std::snprintf(text, size, "%s", known->words);
    return MMSYSERR_NOERROR;
}
