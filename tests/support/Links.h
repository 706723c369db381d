// Symbolic links and devices, where the system lets a test have them.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <string>

/// False where there are none; the cases that need one are then left out.
inline bool MakeLink(const std::string& to, const std::string& path)
{
    std::error_code failed;
    std::filesystem::create_symlink(to, path, failed);
    return !failed;
}

/// A device of its own that is always full, where the system has such a thing and lets a test make one.
inline bool MakeFullDevice(const std::string& path)
{
    return std::system(("mknod '" + path + "' c 1 7 2>&1").c_str()) == 0;
}
