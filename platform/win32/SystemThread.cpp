// Threads with a queue of messages, on Win32: see SystemThread.h.
#include "SystemThread.h"

#include <process.h>

namespace NV::SystemThread {
namespace {

/// The new thread's; its starter waits until it has been read.
struct Beginning {
    void (*entry)(void*);
    void* argument;
    HANDLE begun;
};

unsigned __stdcall Begin(void* parameter)
{
    const Beginning beginning = *static_cast<Beginning*>(parameter);
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
    return PostThreadMessageA(id, message, wParam, lParam) != FALSE;
}

void Next(MSG& message)
{
    GetMessageA(&message, nullptr, 0, 0);
}

void Dispatch(const MSG& message)
{
    TranslateMessage(&message);
    DispatchMessageA(&message);
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
