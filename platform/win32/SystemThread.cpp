// Threads with a queue of messages, on Win32: see SystemThread.h.
#include "SystemThread.h"

#include <map>
#include <mutex>
#include <process.h>

namespace NV::SystemThread {
namespace {

thread_local DWORD ownId = 0;

/// Threads whose messages go elsewhere, by number.
struct Joined {
    std::mutex mutex;
    std::map<DWORD, IJointQueue*> queues;

    IJointQueue* Find(DWORD id) // under the mutex
    {
        const auto found = queues.find(id);
        return found == queues.end() ? nullptr : found->second;
    }
};

Joined& TheJoined()
{
    static Joined* const joined = new Joined; // never destroyed: threads may outlive the program's statics
    return *joined;
}

IJointQueue* OwnJoint()
{
    Joined& joined = TheJoined();
    const std::lock_guard hold(joined.mutex);
    return joined.Find(ownId);
}

/// The new thread's; its starter waits until it has been read.
struct Beginning {
    void (*entry)(void*);
    void* argument;
    HANDLE begun;
};

unsigned __stdcall Begin(void* parameter)
{
    const Beginning beginning = *static_cast<Beginning*>(parameter);
    ownId = GetCurrentThreadId();
    MSG message;
    PeekMessageA(&message, nullptr, WM_USER, WM_USER, PM_NOREMOVE); // makes the queue
    SetEvent(beginning.begun);                                      // `parameter` is gone from here on
    beginning.entry(beginning.argument);
    return 0;
}

} // namespace

HANDLE Start(void (*entry)(void*), void* argument, DWORD& id)
{
    Beginning beginning = {entry, argument, CreateEventA(nullptr, TRUE, FALSE, nullptr)};
    if (!beginning.begun)
        return nullptr;
    unsigned number = 0;
    const auto thread = reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, Begin, &beginning, 0, &number));
    if (thread)
        WaitForSingleObject(beginning.begun, INFINITE);
    CloseHandle(beginning.begun);
    id = number;
    return thread;
}

bool Post(DWORD id, UINT message, WPARAM wParam, LPARAM lParam)
{
    Joined& joined = TheJoined();
    const std::lock_guard hold(joined.mutex);
    IJointQueue* const joint = joined.Find(id);
    if (!joint)
        return PostThreadMessageA(id, message, wParam, lParam) != FALSE;
    MSG posted{};
    posted.message = message;
    posted.wParam = wParam;
    posted.lParam = lParam;
    joint->Put(posted);
    return true;
}

void Next(MSG& message)
{
    while (IJointQueue* const joint = OwnJoint())
        if (joint->Next(message, true))
            return;
    GetMessageA(&message, nullptr, 0, 0);
}

void Dispatch(const MSG& message)
{
    if (IJointQueue* const joint = OwnJoint())
        return joint->Dispatch(message);
    TranslateMessage(&message);
    DispatchMessageA(&message);
}

DWORD OwnId()
{
    return ownId;
}

Joining::Joining(IJointQueue& queue) : thread(ownId), joint(queue)
{
    if (!thread)
        return;
    Joined& joined = TheJoined();
    const std::lock_guard hold(joined.mutex);
    const auto toThreads = reinterpret_cast<HWND>(static_cast<INT_PTR>(-1)); // not to a window
    MSG message;
    while (PeekMessageA(&message, toThreads, 0, 0, PM_REMOVE))
        joint.Put(message);
    joined.queues[thread] = &joint;
}

Joining::~Joining()
{
    Joined& joined = TheJoined();
    const std::lock_guard hold(joined.mutex);
    joined.queues.erase(thread);
    for (const MSG& message : joint.GiveBack())
        PostThreadMessageA(thread, message.message, message.wParam, message.lParam);
}

HANDLE Share(HANDLE thread)
{
    HANDLE shared = nullptr;
    const HANDLE process = GetCurrentProcess();
    return DuplicateHandle(process, thread, process, &shared, 0, FALSE, DUPLICATE_SAME_ACCESS) ? shared : nullptr;
}

void WaitFor(HANDLE thread)
{
    WaitForSingleObject(thread, INFINITE);
}

void Release(HANDLE thread)
{
    if (thread)
        CloseHandle(thread);
}

} // namespace NV::SystemThread
