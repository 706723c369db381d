// What is told about a CD+G stream.
#pragma once

#include "Inputs.h"
#include "StreamInfo.h"

#include <nlohmann/json_fwd.hpp>
#include <string>

namespace nvtool {

// Counts the packs of a whole stream, with a progress bar. Throws Error when reading fails.
CDGStreamInfo ScanGraphics(GraphicsInput& input, const std::string& name);

nlohmann::ordered_json GraphicsJson(const CDGStreamInfo& info);
// On standard output, one fact a line.
void PrintGraphics(const CDGStreamInfo& info);

} // namespace nvtool
