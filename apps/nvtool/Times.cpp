// Times as people type them: see Times.h.
#include "Times.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <charconv>

namespace nvtool {

double ParseTime(const std::string& text, const std::string& option)
{
    constexpr double day = 86400;
    const CLI::ValidationError refused(option, "'" + text + "' is no time; give seconds (90.5) or minutes (1:30.5)");
    if (std::count(text.begin(), text.end(), ':') > 2)
        throw refused;
    double seconds = 0;
    for (const char *at = text.data(), *end = at + text.size();;) {
        const char* const stop = std::find(at, end, ':');
        double part = 0;
        const auto [rest, error] = std::from_chars(at, stop, part, std::chars_format::fixed);
        const bool digitsFirst = at != stop && *at >= '0' && *at <= '9'; // neither a sign nor "inf"
        if (error != std::errc() || rest != stop || !digitsFirst || part > day)
            throw refused;
        seconds = seconds * 60 + part;
        if (stop == end)
            break;
        at = stop + 1;
    }
    if (seconds > day)
        throw refused;
    return seconds;
}

std::vector<double> ParseTimes(const std::vector<std::string>& texts, const std::string& option)
{
    std::vector<double> times;
    std::transform(texts.begin(), texts.end(), std::back_inserter(times),
                   [&](const std::string& text) { return ParseTime(text, option); });
    return times;
}

} // namespace nvtool
