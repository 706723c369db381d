// Ctrl-C on Win32, where a thread of the system's own tells of it: see Interrupt.h.
#include "Interrupt.h"

#include <atomic>
#include <windows.h>

namespace {

std::atomic<bool> interrupted = false;

BOOL WINAPI RememberInterrupt(DWORD event)
{
    if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT)
        return FALSE;
    // Not handled the second time: the system then ends the program.
    return interrupted.exchange(true, std::memory_order_relaxed) ? FALSE : TRUE;
}

} // namespace

void CatchInterrupts()
{
    static std::atomic<bool> caught = false;
    if (!caught.exchange(true))
        SetConsoleCtrlHandler(RememberInterrupt, TRUE); // a program that ignores Ctrl-C is not told of it either way
}

bool IsInterrupted()
{
    return interrupted.load(std::memory_order_relaxed);
}
