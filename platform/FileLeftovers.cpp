// What programs left that were ended in the middle of their work: see FileReplace.h.
#include "FileReplace.h"

#include <chrono>
#include <filesystem>
#include <system_error>

namespace NV {

bool RemoveLeftover(const std::string& temporary)
{
    constexpr std::chrono::hours longAgo(24);
    std::error_code failure;
    const auto written = std::filesystem::last_write_time(temporary, failure);
    if (failure || std::filesystem::file_time_type::clock::now() - written < longAgo)
        return false;
    return std::filesystem::remove(temporary, failure) && !failure;
}

} // namespace NV
