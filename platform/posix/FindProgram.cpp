// The folders of PATH: see FindProgram.h.
#include "FindProgram.h"

#include <cstdlib>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>

std::string FindProgram(const std::string& name)
{
    const char* folders = std::getenv("PATH");
    std::istringstream list(folders ? folders : "");
    for (std::string folder; std::getline(list, folder, ':');) {
        std::string path = (folder.empty() ? "." : folder) + "/" + name;
        struct stat state = {};
        if (stat(path.c_str(), &state) == 0 && S_ISREG(state.st_mode) && access(path.c_str(), X_OK) == 0)
            return path;
    }
    return {};
}
