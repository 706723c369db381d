// A disk of a few hundred KiB that a test can fill. It needs the right to mount one, or a folder named by the
// environment (NVLIB_SMALL_DISKS) in which a disk of that size is mounted under its size in KiB; otherwise `Works()` is
// false.
#pragma once

#include "TempFolder.h"

#include <cstdlib>
#include <optional>

class SmallDisk {
public:
    explicit SmallDisk(int kib)
    {
        if (const char* const disks = std::getenv("NVLIB_SMALL_DISKS")) {
            const std::string ready = disks + ("/" + std::to_string(kib));
            works = std::filesystem::is_directory(ready);
            if (works)
                folder.emplace(ready);
            return;
        }
        folder.emplace();
        const std::string command =
            "mount -t tmpfs -o size=" + std::to_string(kib) + "k tmpfs '" + folder->Path() + "' 2>/dev/null";
        works = mounted = std::system(command.c_str()) == 0;
    }
    ~SmallDisk()
    {
        if (mounted && std::system(("umount '" + folder->Path() + "'").c_str()) != 0)
            std::abort(); // or the folder's removal would leave it behind
    }
    bool Works() const { return works; }
    const TempFolder& Folder() const { return *folder; }

private:
    std::optional<TempFolder> folder;
    bool works = false, mounted = false;
};
