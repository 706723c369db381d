// Ctrl-C on POSIX, the signal SIGINT: see Interrupt.h.
#include "Interrupt.h"

#include <atomic>
#include <csignal>

namespace {

std::atomic<bool> interrupted = false;
static_assert(std::atomic<bool>::is_always_lock_free); // or a signal handler could not touch it

extern "C" void RememberInterrupt(int)
{
    interrupted.store(true, std::memory_order_relaxed);
}

} // namespace

void CatchInterrupts()
{
    static std::atomic<bool> caught = false;
    struct sigaction before = {};
    if (caught.exchange(true) || sigaction(SIGINT, nullptr, &before) != 0 || before.sa_handler == SIG_IGN)
        return;
    struct sigaction remember = {};
    remember.sa_handler = RememberInterrupt;
    remember.sa_flags = static_cast<int>(SA_RESETHAND) | SA_RESTART; // once; the second time the program ends
    sigemptyset(&remember.sa_mask);
    sigaction(SIGINT, &remember, nullptr);
}

bool IsInterrupted()
{
    return interrupted.load(std::memory_order_relaxed);
}
