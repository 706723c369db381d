// What tests ask the system about processes.
#pragma once

#include <string>
#include <vector>

/// Files, pipes and other things of the system that this process holds open.
int OpenHandleCount();
/// Threads of this process; 1 where that cannot be told.
int ThreadCount();
/// Starts a program that has this one's standard streams and goes on without it. No argument needs quotes.
void LeaveBehind(const std::string& program, const std::vector<std::string>& arguments);
