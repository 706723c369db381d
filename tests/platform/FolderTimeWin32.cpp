// FolderTime.h for Win32.
#include "FolderTime.h"

#include <windows.h>

bool SetFolderTimeBack(const char* path, int seconds)
{
    constexpr ULONGLONG ticksPerSecond = 10'000'000;
    FILETIME now;
    GetSystemTimeAsFileTime(&now);
    ULARGE_INTEGER ticks;
    ticks.LowPart = now.dwLowDateTime;
    ticks.HighPart = now.dwHighDateTime;
    ticks.QuadPart -= ticksPerSecond * static_cast<ULONGLONG>(seconds);
    const FILETIME time = {ticks.LowPart, ticks.HighPart};
    const HANDLE folder =
        CreateFileA(path, FILE_WRITE_ATTRIBUTES, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                    OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    if (folder == INVALID_HANDLE_VALUE)
        return false;
    const bool set = SetFileTime(folder, nullptr, nullptr, &time) != FALSE;
    CloseHandle(folder);
    return set;
}
