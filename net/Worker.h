// A thread that can be waited for with a time limit and is always joined before its object goes.
#pragma once

#include <afx.h>
#include <chrono>
#include <future>
#include <thread>
#include <utility>

namespace NV {

/// Calls something that must not let an exception out. False when it threw one.
template <class Call>
bool CallGuarded(Call&& call) noexcept
{
    try {
        call();
        return true;
    } catch (CException* failure) { // the framework throws by pointer
        failure->Delete();
    } catch (...) { // whatever it is, a thread that lets it out would end the program
    }
    return false;
}

class Worker {
public:
    Worker() = default;
    template <class Work>
    // NOLINTNEXTLINE(bugprone-forwarding-reference-overload): it can be neither copied nor moved
    explicit Worker(Work&& work)
    {
        std::promise<void> done;
        finished = done.get_future();
        thread = std::thread([work = std::forward<Work>(work), done = std::move(done)]() mutable {
            CallGuarded(work);
            done.set_value();
        });
    }
    ~Worker() { Join(); }
    Worker(Worker&&) = default;
    Worker& operator=(Worker&& other) noexcept
    {
        Join();
        thread = std::move(other.thread);
        finished = std::move(other.finished);
        return *this;
    }

    /// True when the work is done, at once or within the time, or was never begun.
    bool WaitFor(std::chrono::milliseconds time) const
    {
        return !finished.valid() || finished.wait_for(time) == std::future_status::ready;
    }
    void Join()
    {
        if (thread.joinable())
            thread.join();
    }

private:
    std::thread thread;
    std::future<void> finished;
};

} // namespace NV
