// Holds a lock for as long as the object lives. Works on anything with Lock() and Unlock(), the framework's
// CCriticalSection first of all.
#pragma once

#include "ThreadSafety.h"

namespace NV {

template <class Mutex>
class NV_SCOPED_CAPABILITY ScopedLock {
public:
    explicit ScopedLock(Mutex& mutex) NV_ACQUIRE(mutex) : held(mutex) { held.Lock(); }
    ~ScopedLock() NV_RELEASE() { held.Unlock(); }
    ScopedLock(const ScopedLock&) = delete;
    ScopedLock& operator=(const ScopedLock&) = delete;

private:
    Mutex& held;
};

} // namespace NV
