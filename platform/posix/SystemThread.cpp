// Threads with a queue of messages, on POSIX: see SystemThread.h.
#include "SystemThread.h"

#include <condition_variable>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <system_error>
#include <thread>

namespace NV::SystemThread {
namespace {

/// One thread's messages. Any thread.
class Queue {
public:
    void Put(const MSG& message)
    {
        const std::lock_guard hold(mutex);
        if (joint)
            return joint->Put(message);
        messages.push_back(message);
        filled.notify_one();
    }
    void Join(IJointQueue& other)
    {
        const std::lock_guard hold(mutex);
        for (const MSG& message : messages)
            other.Put(message);
        messages.clear();
        joint = &other;
    }
    void Part()
    {
        const std::lock_guard hold(mutex);
        for (const MSG& message : joint->GiveBack())
            messages.push_back(message);
        joint = nullptr;
    }
    IJointQueue* Joint()
    {
        const std::lock_guard hold(mutex);
        return joint;
    }
    MSG Take()
    {
        std::unique_lock hold(mutex);
        filled.wait(hold, [this] { return !messages.empty(); });
        const MSG message = messages.front();
        messages.pop_front();
        return message;
    }

private:
    std::mutex mutex;
    std::condition_variable filled;
    std::deque<MSG> messages;
    IJointQueue* joint = nullptr; // has the messages in place of this one
};

/// Who has a queue, by number.
class Directory {
public:
    DWORD Enter(const std::shared_ptr<Queue>& queue)
    {
        const std::lock_guard hold(mutex);
        queues.emplace(++last, queue);
        return last;
    }
    void Leave(DWORD id)
    {
        const std::lock_guard hold(mutex);
        queues.erase(id);
    }
    std::shared_ptr<Queue> Find(DWORD id)
    {
        const std::lock_guard hold(mutex);
        const auto found = queues.find(id);
        return found == queues.end() ? nullptr : found->second;
    }

private:
    std::mutex mutex;
    std::map<DWORD, std::shared_ptr<Queue>> queues;
    DWORD last = 0;
};

Directory& TheDirectory()
{
    static Directory* const directory = new Directory; // never destroyed: threads may outlive the program's statics
    return *directory;
}

thread_local std::shared_ptr<Queue> ownQueue;
thread_local DWORD ownId = 0;

/// What handles stand for.
struct Thread {
    ~Thread()
    {
        if (thread.joinable())
            thread.detach(); // nobody waits for it any more
    }
    std::thread thread;
    std::once_flag joined;
};
using Shared = std::shared_ptr<Thread>;

Shared& ThreadOf(HANDLE handle)
{
    return *static_cast<Shared*>(handle);
}

} // namespace

HANDLE Start(void (*entry)(void*), void* argument, DWORD& id)
{
    auto handle = std::make_unique<Shared>(std::make_shared<Thread>());
    const auto queue = std::make_shared<Queue>();
    id = TheDirectory().Enter(queue);
    try {
        (*handle)->thread = std::thread([=, number = id] {
            ownQueue = queue;
            ownId = number;
            entry(argument);
            TheDirectory().Leave(number);
        });
    } catch (const std::system_error&) {
        TheDirectory().Leave(id);
        return nullptr;
    }
    return handle.release(); // Release takes it back
}

bool Post(DWORD id, UINT message, WPARAM wParam, LPARAM lParam)
{
    const std::shared_ptr<Queue> queue = TheDirectory().Find(id);
    if (!queue)
        return false;
    MSG posted{};
    posted.message = message;
    posted.wParam = wParam;
    posted.lParam = lParam;
    queue->Put(posted);
    return true;
}

void Next(MSG& message)
{
    while (IJointQueue* const joint = ownQueue->Joint())
        if (joint->Next(message, true))
            return;
    message = ownQueue->Take();
}

void Dispatch(const MSG& message)
{
    if (IJointQueue* const joint = ownQueue->Joint())
        joint->Dispatch(message);
}

DWORD OwnId()
{
    return ownId;
}

Joining::Joining(IJointQueue& queue) : thread(ownId), joint(queue)
{
    if (thread)
        ownQueue->Join(joint);
}

Joining::~Joining()
{
    if (const std::shared_ptr<Queue> queue = TheDirectory().Find(thread))
        queue->Part();
    else
        joint.GiveBack(); // the thread has ended
}

HANDLE Share(HANDLE thread)
{
    return std::make_unique<Shared>(ThreadOf(thread)).release();
}

void WaitFor(HANDLE thread)
{
    Thread& one = *ThreadOf(thread);
    std::call_once(one.joined, [&] { one.thread.join(); });
}

void Release(HANDLE thread)
{
    const std::unique_ptr<Shared> last(static_cast<Shared*>(thread));
}

} // namespace NV::SystemThread
