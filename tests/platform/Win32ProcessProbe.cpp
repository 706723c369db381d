// ProcessProbe.h over Win32.
#include "ProcessProbe.h"

#include <windows.h>

int OpenHandleCount()
{
    DWORD count = 0;
    return GetProcessHandleCount(GetCurrentProcess(), &count) ? static_cast<int>(count) : 0;
}

int SystemHandleCount()
{
    return 10;
}

int ThreadCount()
{
    return 1;
}

void LeaveBehind(const std::string& program, const std::vector<std::string>& arguments)
{
    std::string line = "\"" + program + "\"";
    for (const std::string& argument : arguments)
        line += " " + argument;
    STARTUPINFOA start{};
    start.cb = sizeof(start);
    start.dwFlags = STARTF_USESTDHANDLES;
    start.hStdInput = GetStdHandle(STD_INPUT_HANDLE);
    start.hStdOutput = GetStdHandle(STD_OUTPUT_HANDLE);
    start.hStdError = GetStdHandle(STD_ERROR_HANDLE);
    PROCESS_INFORMATION started{};
    if (CreateProcessA(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &start, &started)) {
        CloseHandle(started.hThread);
        CloseHandle(started.hProcess);
    }
}
