// Threads that have a queue of messages. A handle is the caller's until Release; messages are those of <windows.h>.
#pragma once

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

/// Another handle for the same thread.
HANDLE Share(HANDLE thread);
/// Returns when the thread has ended. Not for the thread itself.
void WaitFor(HANDLE thread);
/// Null is allowed. The thread runs on.
void Release(HANDLE thread);

} // namespace NV::SystemThread
