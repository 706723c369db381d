// nvtool for tests: the built program as a child process, in a folder of its own.
#pragma once

#include "NVTypes.h"
#include "support/TempFolder.h"

#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <map>
#include <nlohmann/json.hpp>

namespace fs = std::filesystem;

class RunNvtool : public testing::Test {
protected:
    void SetUp() override { fs::current_path(folder.Path()); }
    void TearDown() override { fs::current_path(fs::temp_directory_path()); }

    // Runs a command line in the folder and returns its exit code.
    static int Run(const std::string& arguments)
    {
        const int status = std::system((NVLIB_NVTOOL " " + arguments + " >out.txt 2>err.txt").c_str());
        return status > 255 ? status / 256 : status; // where the system puts the exit code into the upper byte
    }
    std::string Output() const { return folder.Read("out.txt"); }
    std::string Errors() const { return folder.Read("err.txt"); }
    nlohmann::json Json() const { return nlohmann::json::parse(Output(), nullptr, false); }

    // Every file below the folder with its bytes, but for what Run leaves.
    static std::map<std::string, std::string> Everything(const std::string& below)
    {
        std::map<std::string, std::string> files;
        for (const auto& entry : fs::recursive_directory_iterator(below)) {
            if (entry.path().filename() != "out.txt" && entry.path().filename() != "err.txt")
                files[entry.path().string()] = entry.is_directory() ? "folder" : WholeFile(entry.path());
        }
        return files;
    }

    TempFolder folder;
};
