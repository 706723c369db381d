// A disk of a few hundred KiB that a test can fill. It needs the right to mount one; without it `Works()` is false.
#pragma once

#include "TempFolder.h"

#include <cstdlib>

class SmallDisk {
public:
    explicit SmallDisk(int kib)
    {
        const std::string command =
            "mount -t tmpfs -o size=" + std::to_string(kib) + "k tmpfs '" + folder.Path() + "' 2>/dev/null";
        mounted = std::system(command.c_str()) == 0;
    }
    ~SmallDisk()
    {
        if (mounted && std::system(("umount '" + folder.Path() + "'").c_str()) != 0)
            std::abort(); // or the folder's removal would leave it behind
    }
    bool Works() const { return mounted; }
    const TempFolder& Folder() const { return folder; }

private:
    TempFolder folder;
    bool mounted = false;
};
