// The user's folders on Win32: see UserFolders.h.
#include "UserFolders.h"

#include <windows.h>

std::string UserCacheFolder()
{
    constexpr const char* variable = "LOCALAPPDATA";
    std::string folder(MAX_PATH, '\0');
    DWORD length = GetEnvironmentVariableA(variable, folder.data(), static_cast<DWORD>(folder.size()));
    if (length >= folder.size()) { // the room that it takes, with the closing zero
        folder.resize(length);
        length = GetEnvironmentVariableA(variable, folder.data(), length);
    }
    folder.resize(length < folder.size() ? length : 0);
    return folder;
}
