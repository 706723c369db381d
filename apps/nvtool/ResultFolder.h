// A folder of results that are all put in place together, or not at all.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace nvtool {

// The folder belongs to the person: only files that this program made are replaced or removed, and it knows them by the
// report that it left there. Results are written into a hidden folder inside, which goes away whatever happens.
class ResultFolder {
public:
    static constexpr const char* reportName = "report.json";
    // The value of "tool" in a report of ours.
    static constexpr const char* toolMark = "nvtool process";

    // Throws Error when the folder cannot be made or written to, or when `input` is a file that would be replaced or
    // removed; an empty path for no such file.
    ResultFolder(std::filesystem::path folder, const std::filesystem::path& input);
    ~ResultFolder();
    ResultFolder(const ResultFolder&) = delete;
    ResultFolder& operator=(const ResultFolder&) = delete;

    const std::filesystem::path& Path() const { return folder; }
    // Where to write a result of this name until Install. Throws Error when the name is taken by a file that is not
    // ours.
    std::filesystem::path Add(const std::string& name);
    // Names of the results so far, in the order they were added.
    const std::vector<std::string>& Names() const { return names; }
    // Moves all results into place and removes what an earlier run left and this one did not make. Throws Error.
    void Install();

private:
    bool IsOurs(const std::string& name) const;

    std::filesystem::path folder, staging, input;
    bool madeFolder = false, installed = false;
    std::vector<std::string> names, earlier;
};

} // namespace nvtool
