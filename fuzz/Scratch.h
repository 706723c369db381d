// A folder for the few operations that take file names only: this process's own, in the folder for temporary files
// (which scripts/fuzz.sh puts into memory), gone at the end.
#pragma once

#include "Check.h"
#include "NVTypes.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <span>
#include <string>
#include <vector>

class ScratchFolder {
public:
    ScratchFolder()
    {
        const auto base = std::filesystem::temp_directory_path();
        std::random_device random;
        do {
            folder = base / ("nvlib-fuzz-" + std::to_string(random()));
        } while (!std::filesystem::create_directory(folder));
    }
    ~ScratchFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(folder, ignored);
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    std::string Path(const char* name) const { return (folder / name).string(); }

    std::string Write(const char* name, std::span<const u8> bytes) const
    {
        std::ofstream file(Path(name), std::ios::binary);
        file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
        file.close();
        FUZZ_CHECK(file.good());
        return Path(name);
    }

    std::vector<u8> Read(const char* name) const
    {
        std::ifstream file(Path(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

private:
    std::filesystem::path folder;
};
