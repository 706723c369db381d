// Locks between threads, as MFC has them.
#pragma once

#include "RecursiveLock.h"
#include "ThreadSafety.h"

#include <afx.h>

/// A lock that its holder may take again: it is free when every Lock has had its Unlock, by the same thread. Locks
/// within this process only.
class NV_CAPABILITY("mutex") CCriticalSection {
public:
    CCriticalSection() = default;
    CCriticalSection(const CCriticalSection&) = delete;
    CCriticalSection& operator=(const CCriticalSection&) = delete;

    /// Waits without limit; always TRUE.
    BOOL Lock() NV_ACQUIRE() NV_NO_THREAD_SAFETY_ANALYSIS // this object stands for the lock inside
    {
        lock.Lock();
        return TRUE;
    }
    /// For the holder only; always TRUE.
    BOOL Unlock() NV_RELEASE() NV_NO_THREAD_SAFETY_ANALYSIS
    {
        lock.Unlock();
        return TRUE;
    }

private:
    NV::RecursiveLock lock;
};

/// Releases a lock at the end of a scope if it holds it then. Unlike NV::ScopedLock it may begin without the lock and
/// be locked and unlocked in between, which is why Clang's analysis cannot follow it: prefer NV::ScopedLock.
class CSingleLock {
public:
    explicit CSingleLock(CCriticalSection* lockable, BOOL initialLock = FALSE) : section(lockable)
    {
        if (initialLock)
            Lock();
    }
    ~CSingleLock() { Unlock(); }
    CSingleLock(const CSingleLock&) = delete;
    CSingleLock& operator=(const CSingleLock&) = delete;

    /// Takes the lock unless this object holds it already; always TRUE.
    BOOL Lock() NV_NO_THREAD_SAFETY_ANALYSIS
    {
        if (!locked)
            section->Lock();
        locked = true;
        return TRUE;
    }
    /// FALSE when this object did not hold the lock.
    BOOL Unlock() NV_NO_THREAD_SAFETY_ANALYSIS
    {
        if (!locked)
            return FALSE;
        locked = false;
        return section->Unlock();
    }
    BOOL IsLocked() const { return locked; }

private:
    CCriticalSection* section;
    bool locked = false;
};
