// Times as people type them.
#pragma once

#include "CommandLineFwd.h"

#include <string>
#include <vector>

namespace nvtool {

// Seconds from "90.5", "1:30.5" or "1:02:03". Throws CLI::ValidationError, which names `option`, for anything else,
// for negative times and for times past a day.
double ParseTime(const std::string& text, const std::string& option);
std::vector<double> ParseTimes(const std::vector<std::string>& texts, const std::string& option);

} // namespace nvtool
