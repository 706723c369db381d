// The system's search, but in the folders of PATH alone: see FindProgram.h. Left to itself it begins in the current
// folder, where anybody may have put a program of that name.
#include "FindProgram.h"

#include <cstdlib>
#include <windows.h>

std::string FindProgram(const std::string& name)
{
    const char* folders = std::getenv("PATH");
    char path[4 * MAX_PATH];
    const DWORD length = folders ? SearchPathA(folders, name.c_str(), ".exe", sizeof(path), path, nullptr) : 0;
    return length < sizeof(path) ? std::string(path, length) : std::string();
}
