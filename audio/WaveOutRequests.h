// How a caller of CWaveOut and its worker meet: the records that messages point to, and the place to wait.
#pragma once

#include "WaveOut.h"

#include <condition_variable>
#include <mutex>

namespace NV {

/// What every request has; the caller's, and his until it is done.
struct WaveOutRequest {
    int result = 0;
};
struct WaveOutFormatRequest : WaveOutRequest {
    explicit WaveOutFormatRequest(const WAVEFORMATEX& wanted) : format(wanted) {}
    const WAVEFORMATEX format;
};
struct WaveOutAddRequest : WaveOutRequest {
    WaveOutAddRequest(const void* samples, int count, CWaveOutUserData* record)
        : data(samples), bytes(count), user(record)
    {
    }
    const void* const data;
    const int bytes;
    CWaveOutUserData* const user;
};
struct WaveOutFlushRequest : WaveOutRequest {
    explicit WaveOutFlushRequest(i64 where) : position(where) {}
    const i64 position;
};
struct WaveOutDeleteRequest : WaveOutRequest {
    explicit WaveOutDeleteRequest(WAVEHDR* block) : header(block) {}
    WAVEHDR* const header;
};

} // namespace NV

/// Where callers wait. It outlives the CWaveOut as long as somebody does, so that nobody waits for a worker that is no
/// more.
struct CWaveOut::Waiters {
    /// Waits until the worker has set `done` or has ended; false when it has.
    bool Wait(const bool& done)
    {
        std::unique_lock hold(mutex);
        changed.wait(hold, [&] { return done || ended; });
        return done;
    }
    void Signal(bool& done)
    {
        const std::lock_guard hold(mutex);
        done = true;
        changed.notify_all(); // under the lock: the caller's record is gone once he has it
    }
    void End()
    {
        const std::lock_guard hold(mutex);
        ended = true;
        changed.notify_all();
    }
    bool HasEnded()
    {
        const std::lock_guard hold(mutex);
        return ended;
    }

private:
    std::mutex mutex;
    std::condition_variable changed;
    bool ended = false;
};
