// The system's lock that one thread may take several times. Inline, since some are taken once for every graphics pack.
#pragma once

#include "ThreadSafety.h"

#include <atomic>
#include <windows.h>

namespace NV {

/// Free when every Lock has had its Unlock by the same thread. Made without a constructor call, so that a static one
/// works at any time of the program's start and end; that is why it is no CRITICAL_SECTION, which has to be set up by a
/// call. Nothing has to be given back either.
class NV_CAPABILITY("mutex") RecursiveLock {
public:
    constexpr RecursiveLock() = default;
    RecursiveLock(const RecursiveLock&) = delete;
    RecursiveLock& operator=(const RecursiveLock&) = delete;

    void Lock() NV_ACQUIRE()
    {
        const DWORD thread = GetCurrentThreadId();
        // Only this thread ever writes its own number here, so finding it means holding the lock, and any other value
        // means not holding it, however old the value is.
        if (holder.load(std::memory_order_relaxed) != thread) {
            AcquireSRWLockExclusive(&lock);
            holder.store(thread, std::memory_order_relaxed);
        }
        ++depth;
    }
    /// For the holder only.
    void Unlock() NV_RELEASE()
    {
        if (--depth > 0)
            return;
        holder.store(0, std::memory_order_relaxed); // no thread has the number 0
        ReleaseSRWLockExclusive(&lock);
    }

private:
    SRWLOCK lock = SRWLOCK_INIT;
    std::atomic<DWORD> holder{0};
    unsigned depth = 0; // of Lock calls; guarded by the lock
};

} // namespace NV
