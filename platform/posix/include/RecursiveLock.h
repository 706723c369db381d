// The system's lock that one thread may take several times. Inline, since some are taken once for every graphics pack.
#pragma once

#include "ThreadSafety.h"

#include <pthread.h>

namespace NV {

/// Free when every Lock has had its Unlock by the same thread. Made without a constructor call, so that a static one
/// works at any time of the program's start and end.
class NV_CAPABILITY("mutex") RecursiveLock {
public:
    RecursiveLock() = default;
    ~RecursiveLock() { pthread_mutex_destroy(&mutex); }
    RecursiveLock(const RecursiveLock&) = delete;
    RecursiveLock& operator=(const RecursiveLock&) = delete;

    // Neither call can fail on a lock of this kind that its holder releases.
    void Lock() NV_ACQUIRE() { pthread_mutex_lock(&mutex); }
    void Unlock() NV_RELEASE() { pthread_mutex_unlock(&mutex); }

private:
    pthread_mutex_t mutex = PTHREAD_RECURSIVE_MUTEX_INITIALIZER_NP;
};

} // namespace NV
