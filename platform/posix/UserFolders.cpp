// The user's folders on POSIX, as the XDG base directories have them: see UserFolders.h.
#include "UserFolders.h"

#include <cstdlib>

namespace {

// An absolute path from the environment; anything else is to be ignored.
std::string FolderFrom(const char* variable)
{
    const char* const value = std::getenv(variable);
    return value && value[0] == '/' ? value : "";
}

} // namespace

std::string UserCacheFolder()
{
    if (std::string folder = FolderFrom("XDG_CACHE_HOME"); !folder.empty())
        return folder;
    const std::string home = FolderFrom("HOME");
    return home.empty() ? "" : home + "/.cache";
}
