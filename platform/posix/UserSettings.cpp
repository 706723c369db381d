// UserSettings.h for POSIX: files where the desktop's conventions want them.
#include "UserSettings.h"

#include "FileReplace.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <pwd.h>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>

namespace NV {
namespace {

/// The folder that a variable names, or the usual one below the user's own; only absolute ones count.
std::string UserFolder(const char* variable, const char* usual)
{
    if (const char* const given = std::getenv(variable); given && *given == '/')
        return given;
    if (const char* const home = std::getenv("HOME"); home && *home == '/')
        return home + std::string(usual);
    char text[4096];
    passwd entry;
    passwd* found = nullptr;
    const bool known = getpwuid_r(geteuid(), &entry, text, sizeof text, &found) == 0 && found;
    return known ? found->pw_dir + std::string(usual) : "";
}

/// "Software\Maker\Product" as "/Maker/Product".
std::string KeyPath(std::string key)
{
    constexpr char common[] = "Software\\";
    if (key.rfind(common, 0) == 0)
        key.erase(0, sizeof common - 1);
    for (char& c : key) {
        if (c == '\\')
            c = '/';
    }
    return "/" + key;
}

std::string SettingsFile(const char* key)
{
    const std::string folder = UserFolder("XDG_CONFIG_HOME", "/.config");
    return folder.empty() ? "" : folder + KeyPath(key) + ".conf";
}

bool MakeFoldersOf(const std::string& file)
{
    for (std::size_t at = file.find('/', 1); at != std::string::npos; at = file.find('/', at + 1)) {
        if (mkdir(file.substr(0, at).c_str(), 0700) != 0 && errno != EEXIST)
            return false;
    }
    return true;
}

std::string ReadAll(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

} // namespace

bool ReadUserSetting(const char* key, const char* name, std::string& text)
{
    const std::string path = SettingsFile(key);
    if (path.empty())
        return false;
    std::ifstream file(path, std::ios::binary);
    const std::string start = std::string(name) + "=";
    for (std::string line; std::getline(file, line);) {
        if (line.rfind(start, 0) == 0) {
            text = line.substr(start.size());
            return true;
        }
    }
    return false;
}

bool WriteUserSetting(const char* key, const char* name, const std::string& text)
{
    const std::string path = SettingsFile(key);
    if (path.empty() || text.find('\n') != std::string::npos || !MakeFoldersOf(path))
        return false;
    const std::string start = std::string(name) + "=";
    std::string kept;
    std::istringstream old(ReadAll(path));
    for (std::string line; std::getline(old, line);) {
        if (line.rfind(start, 0) != 0)
            kept += line + "\n";
    }
    std::string temporary;
    if (MakeTemporaryBeside(path.c_str(), temporary))
        return false;
    std::ofstream file(temporary, std::ios::binary);
    file << kept << start << text << "\n";
    file.close();
    if (file.good() && std::rename(temporary.c_str(), path.c_str()) == 0)
        return true;
    std::remove(temporary.c_str());
    return false;
}

std::string UserDataFolder(const char* key)
{
    const std::string folder = UserFolder("XDG_DATA_HOME", "/.local/share");
    return folder.empty() ? "" : folder + KeyPath(key);
}

} // namespace NV
