// Result folders: see ResultFolder.h.
#include "ResultFolder.h"

#include "Commands.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <random>
#include <system_error>

namespace nvtool {
namespace fs = std::filesystem;

namespace {

// Results have plain names; anything else in a report is not ours, and nothing outside the folder is ever touched.
bool IsPlainName(const std::string& name)
{
    return !name.empty() && name[0] != '.' && std::all_of(name.begin(), name.end(), [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' || c == '.';
    });
}

// The files that an earlier run put here; none when there is no report of ours.
std::vector<std::string> EarlierResults(const fs::path& folder)
{
    constexpr std::uintmax_t largest = 16 << 20;
    const fs::path path = folder / ResultFolder::reportName;
    std::error_code failure;
    if (!fs::is_regular_file(path, failure) || fs::file_size(path, failure) > largest || failure)
        return {};
    std::ifstream file(path, std::ios::binary);
    const auto report = nlohmann::json::parse(file, nullptr, false);
    if (!report.is_object() || !report.contains("tool") || report["tool"] != ResultFolder::toolMark ||
        !report.contains("files") || !report["files"].is_array())
        return {};
    std::vector<std::string> names;
    for (const auto& name : report["files"])
        if (name.is_string() && IsPlainName(name.get<std::string>()))
            names.push_back(name.get<std::string>());
    return names;
}

} // namespace

ResultFolder::ResultFolder(fs::path path, const fs::path& source) : folder(std::move(path)), input(source)
{
    std::error_code failure;
    if (fs::exists(folder, failure) && !fs::is_directory(folder, failure))
        throw Error(PathText(folder), "is a file; a folder is needed");
    madeFolder = fs::create_directories(folder, failure);
    if (failure)
        throw Error(PathText(folder), "cannot be made: " + failure.message());
    earlier = EarlierResults(folder);

    char name[40];
    std::snprintf(name, sizeof(name), ".nvtool-part-%08x", static_cast<unsigned>(std::random_device()()));
    staging = folder / name;
    fs::create_directory(staging, failure);
    if (failure)
        throw Error(PathText(folder), "takes no new file: " + failure.message());
}

ResultFolder::~ResultFolder()
{
    std::error_code ignored;
    fs::remove_all(staging, ignored);
    if (madeFolder && !installed)
        fs::remove(folder, ignored); // only when it is empty
}

bool ResultFolder::IsOurs(const std::string& name) const
{
    return std::find(earlier.begin(), earlier.end(), name) != earlier.end();
}

fs::path ResultFolder::Add(const std::string& name)
{
    std::error_code failure;
    const fs::path target = folder / name;
    if (!input.empty())
        RefuseSameFile(input, target);
    if (fs::exists(fs::symlink_status(target, failure)) && !IsOurs(name))
        throw Error(PathText(target), "is in the way: it was not made by 'nvtool process'. Choose another folder");
    names.push_back(name);
    return staging / name;
}

void ResultFolder::Install()
{
    std::error_code failure;
    for (const std::string& name : earlier)
        if (!input.empty() && std::find(names.begin(), names.end(), name) == names.end())
            RefuseSameFile(input, folder / name);
    // The report first: should the program be ended half-way, the next run still knows what is its own.
    std::vector<std::string> order = names;
    std::stable_partition(order.begin(), order.end(), [](const std::string& name) { return name == reportName; });
    for (const std::string& name : order) {
        fs::rename(staging / name, folder / name, failure);
        if (failure)
            throw Error(PathText(folder / name), "cannot be put in place: " + failure.message());
        installed = true;
    }
    for (const std::string& name : earlier)
        if (std::find(names.begin(), names.end(), name) == names.end())
            fs::remove(folder / name, failure);
}

} // namespace nvtool
