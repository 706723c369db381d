// Work on all cores: see WorkerPool.h.
#include "WorkerPool.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

namespace nvtool {

namespace {

// The threads, from their start to their end.
class Workers {
public:
    Workers(size_t count, unsigned jobs, const std::function<void(size_t)>& work) : done(count)
    {
        const size_t wanted = std::min<size_t>(count, std::max(jobs, 1u));
        threads.reserve(wanted);
        try {
            while (threads.size() < wanted)
                threads.emplace_back([this, &work] { Work(work); });
        } catch (const std::system_error&) {
            if (threads.empty()) // fewer threads than wanted will do, none will not
                throw;
        }
    }
    ~Workers()
    {
        next = done.size(); // nothing more is begun
        for (std::thread& thread : threads)
            thread.join();
    }
    Workers(const Workers&) = delete;
    Workers& operator=(const Workers&) = delete;

    // Waits a little; true when piece `i` is done.
    bool WaitFor(size_t i)
    {
        std::unique_lock hold(mutex);
        return finished.wait_for(hold, std::chrono::milliseconds(100), [&] { return done[i]; });
    }

private:
    void Work(const std::function<void(size_t)>& work)
    {
        for (size_t i; (i = next.fetch_add(1)) < done.size();) {
            work(i);
            const std::lock_guard hold(mutex);
            done[i] = true;
            finished.notify_one();
        }
    }

    std::mutex mutex; // guards `done`
    std::condition_variable finished;
    std::vector<bool> done;
    std::atomic<size_t> next = 0;
    std::vector<std::thread> threads;
};

} // namespace

void RunInOrder(size_t count, unsigned jobs, const std::function<void(size_t)>& work,
                const std::function<void(size_t)>& deliver, const std::function<void()>& idle)
{
    if (count == 0)
        return;
    Workers workers(count, jobs, work);
    for (size_t i = 0; i < count; ++i) {
        while (!workers.WaitFor(i))
            idle();
        deliver(i);
        idle();
    }
}

} // namespace nvtool
