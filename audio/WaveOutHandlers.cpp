// CWaveOut, as its worker and the device's callback see it. The worker alone calls the device, under the device lock;
// the callback only queues and counts, under the lock of the returned blocks.
#include "ScopedLock.h"
#include "WaveDevice.h"
#include "WaveOut.h"
#include "WaveOutRequests.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <new>
#include <thread>
#include <utility>

using namespace NV;

namespace {

/// A header with the memory that its data lies in.
struct Block : WAVEHDR {
    Block() : WAVEHDR{} {}
    ~Block()
    {
        if (lpData)
            GlobalUnlock(memory);
        if (memory)
            GlobalFree(memory);
    }
    Block(const Block&) = delete;
    Block& operator=(const Block&) = delete;

    HGLOBAL memory = nullptr;
};

void FreeBlock(WAVEHDR* header)
{
    const std::unique_ptr<Block> last(static_cast<Block*>(header));
}

/// A copy of the bytes; null when there is no memory.
std::unique_ptr<Block> MakeBlock(const void* data, int bytes, CWaveOutUserData* user)
{
    std::unique_ptr<Block> block(new (std::nothrow) Block);
    if (!block)
        return nullptr;
    block->memory = GlobalAlloc(GMEM_MOVEABLE, static_cast<SIZE_T>(bytes));
    block->lpData = block->memory ? static_cast<LPSTR>(GlobalLock(block->memory)) : nullptr;
    if (!block->lpData)
        return nullptr;
    std::memcpy(block->lpData, data, static_cast<std::size_t>(bytes));
    block->dwBufferLength = block->dwBytesRecorded = static_cast<DWORD>(bytes);
    block->dwUser = reinterpret_cast<DWORD_PTR>(user);
    return block;
}

CWaveOutUserData* UserOf(const WAVEHDR& header)
{
    return reinterpret_cast<CWaveOutUserData*>(header.dwUser);
}

template <class T>
T& RequestOf(WPARAM request)
{
    return *reinterpret_cast<T*>(request);
}

void Pause(int milliseconds)
{
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

/// How long blocks are waited for that may never return.
constexpr int patienceMilliseconds = 200;

} // namespace

// ---- Messages ------------------------------------------------------------------------------------------------------

void CWaveOut::OnOpenWaveDeviceMessage(WPARAM request, LPARAM done)
{
    auto& wanted = RequestOf<WaveOutFormatRequest>(request);
    wanted.result = OnOpenWaveDevice(wanted.format);
    waiters->Signal(*reinterpret_cast<bool*>(done));
}

void CWaveOut::OnCloseWaveDeviceMessage(WPARAM request, LPARAM done)
{
    RequestOf<WaveOutRequest>(request).result = OnCloseWaveDevice();
    waiters->Signal(*reinterpret_cast<bool*>(done));
}

void CWaveOut::OnAddBufferMessage(WPARAM request, LPARAM done)
{
    auto& wanted = RequestOf<WaveOutAddRequest>(request);
    wanted.result = OnAddBuffer(wanted.data, wanted.bytes, wanted.user);
    waiters->Signal(*reinterpret_cast<bool*>(done));
}

void CWaveOut::OnSetFormatMessage(WPARAM request, LPARAM done)
{
    auto& wanted = RequestOf<WaveOutFormatRequest>(request);
    wanted.result = OnSetFormat(wanted.format);
    waiters->Signal(*reinterpret_cast<bool*>(done));
}

void CWaveOut::OnFlushMessage(WPARAM request, LPARAM done)
{
    OnFlush(RequestOf<WaveOutFlushRequest>(request).position);
    waiters->Signal(*reinterpret_cast<bool*>(done));
}

void CWaveOut::OnDeleteBufferMessage(WPARAM request, LPARAM done)
{
    auto& wanted = RequestOf<WaveOutDeleteRequest>(request);
    wanted.result = OnDeleteBuffer(wanted.header);
    waiters->Signal(*reinterpret_cast<bool*>(done));
}

// ---- Opening and closing -------------------------------------------------------------------------------------------

int CWaveOut::OnOpenWaveDevice(const WAVEFORMATEX& newFormat)
{
    OnCloseWaveDevice();
    const ScopedLock hold(deviceLock);
    HWAVEOUT opened = nullptr;
    const MMRESULT error = WaveDevice().Open(opened, newFormat, reinterpret_cast<DWORD_PTR>(&CWaveOut::waveOutProc),
                                             reinterpret_cast<DWORD_PTR>(this));
    if (error != MMSYSERR_NOERROR) {
        char text[256];
        WaveDevice().ErrorText(error, text, sizeof text); // for whoever debugs; callers get the 0
        return 0;
    }
    device = opened;
    buffersOut = 0;
    format = newFormat;
    blockAlign = std::max<int>(newFormat.nBlockAlign, 1);
    buffersAdded = 0;
    framesPlayed = 0;
    resetting = 0;
    return 1;
}

int CWaveOut::OnSetFormat(const WAVEFORMATEX& newFormat)
{
    return OnOpenWaveDevice(newFormat);
}

int CWaveOut::OnCloseWaveDevice()
{
    if (!IsOpen())
        return 1;
    // Kept as is: set until the next opening, so that no header of a closed device is ever unprepared.
    resetting = 1;
    ResetDevice();
    WaitForReturns(false);
    FreeReturned();
    std::list<WAVEHDR*> left; // blocks that the device never returned
    {
        const ScopedLock hold(deviceLock);
        left.swap(out);
    }
    for (WAVEHDR* const header : left) {
        const std::unique_ptr<CWaveOutUserData> user(UserOf(*header));
        FreeBlock(header);
    }
    const ScopedLock hold(deviceLock);
    WaveDevice().Close(device);
    device = nullptr;
    return 1;
}

bool CWaveOut::IsOpen() const
{
    const ScopedLock hold(deviceLock);
    return device != nullptr;
}

bool CWaveOut::ResetDevice()
{
    const ScopedLock hold(deviceLock);
    return WaveDevice().Reset(device) == MMSYSERR_NOERROR;
}

bool CWaveOut::WaitForReturns(bool sure)
{
    for (int waited = 0; buffersOut > 0; waited += 10) {
        if (!sure && waited >= patienceMilliseconds)
            return false;
        Pause(10);
    }
    return true;
}

// ---- Blocks --------------------------------------------------------------------------------------------------------

int CWaveOut::OnAddBuffer(const void* data, int bytes, CWaveOutUserData* user)
{
    if (!data || bytes <= 0)
        return 0;
    if (!IsOpen() && !OnOpenWaveDevice(GetFormat()))
        return 0;
    FreeReturned();
    std::unique_ptr<Block> block = MakeBlock(data, bytes, user);
    if (!block)
        return 0;
    u32 word = 0;
    if (user)
        std::memcpy(&word, user, sizeof word);
    lastUserWord = word;
    while (buffersOut >= std::max(maxBuffersOut, 1))
        Pause(1);
    if (!WriteBlock(*block))
        return 0;
    static_cast<void>(block.release()); // in the list of blocks out
    return 1;
}

bool CWaveOut::WriteBlock(WAVEHDR& header)
{
    const ScopedLock hold(deviceLock);
    out.push_back(&header);
    if (WaveDevice().Prepare(device, header) == MMSYSERR_NOERROR) {
        if (WaveDevice().Write(device, header) == MMSYSERR_NOERROR) {
            ++buffersOut;
            ++buffersAdded;
            return true;
        }
        WaveDevice().Unprepare(device, header);
    }
    out.remove(&header);
    return false;
}

void CWaveOut::RemoveBuffer(WAVEHDR* header)
{
    if (!resetting) {
        const ScopedLock hold(deviceLock);
        WaveDevice().Unprepare(device, *header);
    }
    RemoveBufferFromBuffersOutThere(header);
    FreeBlock(header);
}

void CWaveOut::RemoveBufferFromBuffersOutThere(WAVEHDR* header)
{
    const ScopedLock hold(deviceLock);
    out.remove(header);
}

WAVEHDR* CWaveOut::FirstReturned()
{
    const ScopedLock hold(returnedLock);
    if (returned.empty())
        return nullptr;
    WAVEHDR* const first = returned.front();
    returned.pop_front();
    return first;
}

void CWaveOut::FreeReturned()
{
    while (WAVEHDR* const header = FirstReturned())
        RemoveBuffer(header);
}

int CWaveOut::OnDeleteBuffer(WAVEHDR* header)
{
    {
        const ScopedLock hold(deviceLock);
        if (std::ranges::find(out, header) == out.end())
            return 0;
    }
    {
        const ScopedLock hold(returnedLock);
        if (std::ranges::find(returned, header) != returned.end())
            return 0; // it has returned by itself
    }
    {
        const ScopedLock hold(deviceLock);
        if (!resetting && WaveDevice().Unprepare(device, *header) == WAVERR_STILLPLAYING)
            return 0;
        if (header->dwFlags & WHDR_DONE)
            return 0; // just now; the callback sees to it
    }
    RemoveBufferFromBuffersOutThere(header);
    framesPlayed += static_cast<int>(header->dwBufferLength) / blockAlign;
    MakeCurrent(UserOf(*header));
    FreeBlock(header);
    --buffersOut;
    return 1;
}

void CWaveOut::MakeCurrent(CWaveOutUserData* user)
{
    std::unique_ptr<CWaveOutUserData> next(user); // the one before goes without the lock
    const ScopedLock hold(returnedLock);
    next.swap(currentUser);
}

void CWaveOut::OnWOMDone(WAVEHDR* header)
{
    const int frames = static_cast<int>(header->dwBufferLength) / blockAlign;
    std::unique_ptr<CWaveOutUserData> user(UserOf(*header));
    {
        const ScopedLock hold(returnedLock);
        returned.push_back(header); // the worker may free it from here on
        framesPlayed += frames;
        user.swap(currentUser);
    }
    --buffersOut;
}

void CALLBACK CWaveOut::waveOutProc(HWAVEOUT, UINT message, DWORD_PTR instance, DWORD_PTR parameter, DWORD_PTR)
{
    if (message == WOM_DONE)
        reinterpret_cast<CWaveOut*>(instance)->OnWOMDone(reinterpret_cast<WAVEHDR*>(parameter));
}

// ---- Flushing ------------------------------------------------------------------------------------------------------

void CWaveOut::OnFlush(i64 position)
{
    const bool open = IsOpen();
    if (open) {
        resetting = 1;
        if (!WaitForReturns(ResetDevice()))
            OnCloseWaveDevice(); // it does not give its blocks back
    }
    MakeCurrent(position >= 0 ? new (std::nothrow) CWaveOutUserData{position, 0} : nullptr);
    if (open && IsOpen())
        resetting = 0;
}
