// UserSettings.h for Win32: the registry, and the folder for local application data.
#include "UserSettings.h"

#include <windows.h>

#include <shlobj.h>

namespace NV {
namespace {

/// Closes a key of the registry.
class OpenedKey {
public:
    OpenedKey() = default;
    ~OpenedKey()
    {
        if (key)
            RegCloseKey(key);
    }
    OpenedKey(const OpenedKey&) = delete;
    OpenedKey& operator=(const OpenedKey&) = delete;
    HKEY key = nullptr;
};

} // namespace

bool ReadUserSetting(const char* key, const char* name, std::string& text)
{
    OpenedKey opened;
    if (RegOpenKeyExA(HKEY_CURRENT_USER, key, 0, KEY_READ, &opened.key) != ERROR_SUCCESS)
        return false;
    DWORD type = 0;
    DWORD size = 0;
    if (RegQueryValueExA(opened.key, name, nullptr, &type, nullptr, &size) != ERROR_SUCCESS ||
        (type != REG_SZ && type != REG_EXPAND_SZ))
        return false;
    std::string value(size, '\0');
    if (RegQueryValueExA(opened.key, name, nullptr, &type, reinterpret_cast<BYTE*>(value.data()), &size) !=
        ERROR_SUCCESS)
        return false;
    value.resize(size);
    text = value.substr(0, value.find('\0')); // stored with its closing zero, or without
    return true;
}

bool WriteUserSetting(const char* key, const char* name, const std::string& text)
{
    OpenedKey opened;
    return RegCreateKeyExA(HKEY_CURRENT_USER, key, 0, nullptr, 0, KEY_WRITE, nullptr, &opened.key, nullptr) ==
               ERROR_SUCCESS &&
           RegSetValueExA(opened.key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                          static_cast<DWORD>(text.size() + 1)) == ERROR_SUCCESS;
}

std::string UserDataFolder(const char* key)
{
    char folder[MAX_PATH];
    if (SHGetFolderPathA(nullptr, CSIDL_LOCAL_APPDATA, nullptr, SHGFP_TYPE_CURRENT, folder) != S_OK)
        return "";
    std::string path = key;
    constexpr char common[] = "Software\\";
    if (path.rfind(common, 0) == 0)
        path.erase(0, sizeof common - 1);
    return folder + ("\\" + path);
}

} // namespace NV
