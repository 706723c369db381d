// What tests ask the system about processes.
#pragma once

#include <chrono>
#include <string>
#include <thread>
#include <vector>

/// Files, pipes and other things of the system that this process holds open.
int OpenHandleCount();
/// Handles that the system may open on its own account while a test runs.
int SystemHandleCount();
/// Threads of this process; 1 where that cannot be told.
int ThreadCount();
/// True when the process has no more than that many threads within two seconds: the system lists a thread for a moment
/// after it was joined.
inline bool ThreadsFallTo(int count)
{
    for (int patience = 200; ThreadCount() > count; --patience) {
        if (patience == 0)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return true;
}
/// Starts a program that has this one's standard streams and goes on without it. No argument needs quotes.
void LeaveBehind(const std::string& program, const std::vector<std::string>& arguments);
