// A lock that notices when its holder asks for it again, instead of waiting for itself without end. Any thread.
#pragma once

#include "ThreadSafety.h"

#include <atomic>
#include <mutex>
#include <system_error>
#include <thread>

namespace NV {

class NV_CAPABILITY("mutex") OwnedMutex {
public:
    OwnedMutex() = default;
    OwnedMutex(const OwnedMutex&) = delete;
    OwnedMutex& operator=(const OwnedMutex&) = delete;

    /// Throws std::system_error (resource_deadlock_would_occur) when the calling thread holds the lock already.
    void Lock() NV_ACQUIRE() NV_NO_THREAD_SAFETY_ANALYSIS // this object stands for the lock inside
    {
        // Only this thread itself ever writes its own identity here, so the answer cannot be out of date.
        if (owner.load(std::memory_order_relaxed) == std::this_thread::get_id())
            throw std::system_error(std::make_error_code(std::errc::resource_deadlock_would_occur));
        mutex.lock();
        owner.store(std::this_thread::get_id(), std::memory_order_relaxed);
    }
    void Unlock() NV_RELEASE() NV_NO_THREAD_SAFETY_ANALYSIS
    {
        owner.store({}, std::memory_order_relaxed);
        mutex.unlock();
    }

private:
    std::mutex mutex;
    std::atomic<std::thread::id> owner{};
};

} // namespace NV
