// A folder of a test's own, gone with everything in it at the end. Names are unique, so that tests run in parallel.
#pragma once

#include "support/WholeFile.h"

#include <filesystem>
#include <fstream>
#include <random>
#include <stdexcept>
#include <string>

class TempFolder {
public:
    TempFolder() : TempFolder(std::filesystem::temp_directory_path()) {}
    explicit TempFolder(const std::filesystem::path& in)
    {
        std::random_device random;
        for (int attempt = 0; attempt < 100; ++attempt) {
            folder = in / ("nvlib-" + std::to_string(random()));
            if (std::filesystem::create_directory(folder))
                return;
        }
        throw std::runtime_error("no temporary folder could be made");
    }
    ~TempFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(folder, ignored);
    }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    /// The path of a file of that name in the folder; with no name the folder's.
    std::string Path(const std::string& name = "") const
    {
        return name.empty() ? folder.string() : (folder / name).string();
    }
    /// Writes a file and returns its path.
    std::string Write(const std::string& name, const std::string& bytes) const
    {
        std::ofstream(folder / name, std::ios::binary) << bytes;
        return Path(name);
    }
    /// A file's bytes; empty when there is none.
    std::string Read(const std::string& name) const { return WholeFile(folder / name); }

private:
    std::filesystem::path folder;
};
