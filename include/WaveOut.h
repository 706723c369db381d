// Sound on the default output device: blocks of PCM samples are queued, and each tells when it has been played.
//
// Units: bytes for blocks, frames for positions. A CWaveOut is a thread of its own, which makes all calls to the
// device. Operations that are meant for callers may be called by any thread: they post a message to the worker and wait
// until it is done. Handlers (On...) are the worker's own.
//
//   WaveOut.cpp           what callers call, and how they wait
//   WaveOutHandlers.cpp   what the worker and the device's callback do
#pragma once

#include "NVExport.h"
#include "NVTypes.h"
#include "ThreadSafety.h"

#include <afxmt.h>
#include <afxwin.h>
#include <atomic>
#include <deque>
#include <list>
#include <memory>
#include <mmsystem.h>

/// What a block carries through the device: which part of the stream it is. Made with `new`; it passes to the CWaveOut
/// with a successful `AddBuffer`.
struct CWaveOutUserData {
    i64 position = 0; ///< Of the block's first frame in the stream.
    int frames = 0;   ///< Of the block; 0 in the records that `Flush` makes.
};

// NOLINTNEXTLINE(cppcoreguidelines-virtual-class-destructor): it deletes itself when its thread ends
class NVLIB_API CWaveOut : public CWinThread {
    DECLARE_DYNCREATE(CWaveOut)
public:
    /// How many blocks are in the device at most; each new object takes this over.
    static int c_nMaxBuffersOut;

    /// The messages, posted with a request (`NV::WaveOutRequest`) in wParam and what is signalled when it is done in
    /// lParam.
    enum : UINT {
        openDeviceMessage = WM_USER + 500,
        closeDeviceMessage,
        addBufferMessage,
        setFormatMessage,
        flushMessage,
        deleteBufferMessage
    };

    // ---- Any thread ----

    /// Starts the worker. Null when there is no thread to be had. `Delete` ends it.
    static CWaveOut* CreateNew();
    /// There is something to play on.
    static bool HasDevice();

    /// Opens the device for a format, after closing it when it was open. 0 when it does not play that or cannot be had,
    /// or the worker has ended; so for all of these.
    int OpenWaveDevice(const WAVEFORMATEX& format);
    int SetFormat(WAVEFORMATEX format);
    /// Queues a copy of `bytes` bytes; opens the device with the last format if need be. Waits while as many blocks as
    /// allowed are out. `user` (it may be null) is this object's from then on, but when the result is 0 it stays the
    /// caller's.
    int AddBuffer(void* data, int bytes, CWaveOutUserData* user);
    /// Stops playing and returns all blocks; the device stays open. The current position record then says `position`,
    /// or there is none when it is negative.
    void Flush(i64 position);
    /// Stops and closes. Not 0 also when it was closed.
    int CloseWaveDevice();
    /// Returns a block that is out as if the device had finished it. 0 when it is not out, or the device holds on to
    /// it.
    int DeleteBuffer(WAVEHDR* header);
    /// Ends the worker, which closes the device and destroys this object; returns when that is done (at once when the
    /// worker itself calls it). Whoever still waits for an operation gets a 0.
    void Delete() override;

    /// Of the device, or of the next one.
    WAVEFORMATEX GetFormat() const;
    /// Blocks that the device has not returned yet.
    int GetBuffersOut() const { return buffersOut; }
    /// Blocks since the device was opened, and the frames of those that were returned.
    int GetBuffersAdded() const { return buffersAdded; }
    int GetFramesPlayed() const { return framesPlayed; }
    /// The first 32 bits of the user record of the block added last.
    u32 GetLastUserWord() const { return lastUserWord; }
    /// Copies the current position record: that of the block returned last, or what `Flush` said. False when there is
    /// none.
    bool GetCurrentUserData(CWaveOutUserData& record) const;

    BOOL InitInstance() override;
    int ExitInstance() override;

protected:
    CWaveOut();
    ~CWaveOut() override;

    void OnOpenWaveDeviceMessage(WPARAM request, LPARAM done);
    void OnCloseWaveDeviceMessage(WPARAM request, LPARAM done);
    void OnAddBufferMessage(WPARAM request, LPARAM done);
    void OnSetFormatMessage(WPARAM request, LPARAM done);
    void OnFlushMessage(WPARAM request, LPARAM done);
    void OnDeleteBufferMessage(WPARAM request, LPARAM done);

    int OnOpenWaveDevice(const WAVEFORMATEX& newFormat);
    int OnSetFormat(const WAVEFORMATEX& newFormat);
    int OnAddBuffer(const void* data, int bytes, CWaveOutUserData* user);
    void OnFlush(i64 position);
    int OnCloseWaveDevice();
    int OnDeleteBuffer(WAVEHDR* header);

    /// Of a block that has returned: unprepares it (unless resetting), takes it out of the list of blocks out and frees
    /// it.
    void RemoveBuffer(WAVEHDR* header);
    /// Only takes it out of the list.
    void RemoveBufferFromBuffersOutThere(WAVEHDR* header);

    /// The device's callback: queues and counts, and calls nothing of the device.
    void OnWOMDone(WAVEHDR* header);
    static void CALLBACK waveOutProc(HWAVEOUT device, UINT message, DWORD_PTR instance, DWORD_PTR parameter, DWORD_PTR);

    DECLARE_MESSAGE_MAP()

private:
    struct Waiters;

    int Request(UINT message, void* request);
    bool IsOpen() const;
    bool ResetDevice();
    /// False when the device does not give its blocks back; not `sure` that it will: waits only for a while.
    bool WaitForReturns(bool sure);
    bool WriteBlock(WAVEHDR& header);
    void MakeCurrent(CWaveOutUserData* user);
    WAVEHDR* FirstReturned();
    void FreeReturned();

    HWAVEOUT device NV_GUARDED_BY(deviceLock) = nullptr;
    std::atomic<int> buffersOut = 0;
    std::atomic<int> buffersAdded = 0;
    std::atomic<int> framesPlayed = 0;
    std::atomic<int> resetting = 0; // blocks that return are not unprepared
    WAVEFORMATEX format NV_GUARDED_BY(deviceLock);
    std::unique_ptr<CWaveOutUserData> currentUser NV_GUARDED_BY(returnedLock);
    std::atomic<u32> lastUserWord = 0;
    int maxBuffersOut = c_nMaxBuffersOut;
    mutable CCriticalSection deviceLock;
    std::deque<WAVEHDR*> returned NV_GUARDED_BY(returnedLock);
    mutable CCriticalSection returnedLock; // never held while the device lock is taken
    std::list<WAVEHDR*> out NV_GUARDED_BY(deviceLock);

    std::atomic<int> blockAlign = 4; // of the format, for the callback
    const std::shared_ptr<Waiters> waiters;
};
