// Threads that have a queue of messages. A handle is the caller's until Release; messages are those of <windows.h>.
#pragma once

#include <vector>
#include <windows.h>

namespace NV::SystemThread {

/// Starts a thread that runs `entry`, and returns when messages can be posted to it. Null when there is none to be had.
/// `id` names the thread to Post, and never again once it has ended.
HANDLE Start(void (*entry)(void*), void* argument, DWORD& id);

/// Puts a message at the end of a thread's queue. False when the thread has ended or never had a queue.
bool Post(DWORD id, UINT message, WPARAM wParam, LPARAM lParam);

/// Takes the next message of the calling thread, its windows' messages included; WM_QUIT is one too. Waits for it.
void Next(MSG& message);
/// Gives a message that has a window to that window.
void Dispatch(const MSG& message);
/// Of the calling thread; 0 unless Start has begun it.
DWORD OwnId();

/// A queue that windows have which are not the system's own.
class IJointQueue {
public:
    virtual ~IJointQueue() = default;
    /// Adds a message to a thread, which has no window. Any thread; nothing of SystemThread may be called here.
    virtual void Put(const MSG& message) = 0;
    /// Takes out the messages that have no window. As Put.
    virtual std::vector<MSG> GiveBack() = 0;
    /// Takes the next message. False when there is none, or when it would wait without anything to wait for.
    virtual bool Next(MSG& message, bool wait) = 0;
    virtual void Dispatch(const MSG& message) = 0;
};

/// While one stands, the messages of the thread that made it, and the ones that wait for it already, go into that queue
/// and come out of it in the order they were posted in, whatever they are for. On a thread that Start has not begun it
/// does nothing.
class Joining {
public:
    explicit Joining(IJointQueue& queue);
    ~Joining();
    Joining(const Joining&) = delete;
    Joining& operator=(const Joining&) = delete;

private:
    const DWORD thread;
    IJointQueue& joint;
};

/// Another handle for the same thread.
HANDLE Share(HANDLE thread);
/// Returns when the thread has ended. Not for the thread itself.
void WaitFor(HANDLE thread);
/// Null is allowed. The thread runs on.
void Release(HANDLE thread);

} // namespace NV::SystemThread
