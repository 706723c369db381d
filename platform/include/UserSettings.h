// What this user has set, and where this user's data lie. A setting is a text under a name under a key; a key is
// written as in Windows' registry, "Software\\Maker\\Product". Any thread.
#pragma once

#include <string>

namespace NV {

/// False when there is no such setting. On Windows: a string value of the key under HKEY_CURRENT_USER. Elsewhere: a
/// line NAME=TEXT of the file Maker/Product.conf in the user's configuration folder.
bool ReadUserSetting(const char* key, const char* name, std::string& text);

/// Sets or replaces it. A text holds no line ends. False when that is not possible; the old setting stays then.
bool WriteUserSetting(const char* key, const char* name, const std::string& text);

/// A folder of the key's maker and product where a program keeps what it has fetched for this user; it may not be there
/// yet. Empty when the system does not tell.
std::string UserDataFolder(const char* key);

} // namespace NV
