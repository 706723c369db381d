// The whole job on one track: its sound, its graphics, a picture of every page, a report, and a page that shows it all.
#pragma once

#include "ProcessPage.h"
#include "Sound.h"

#include <nlohmann/json.hpp>

#include <string>

namespace nvtool {

struct ProcessOptions {
    SilenceOptions silence;
    bool mp3 = false;
    DiscTitlesOptions titles;
};

struct ProcessedTrack {
    TrackResults results;
    nlohmann::ordered_json report; // what report.json holds
};

// Works on a disc image, a CD+G file (with the sound file of its name beside it, if there is one) or sound alone, and
// puts all results into `folder`, or none. Any thread; draws bars only on the main thread. Throws Error,
// Interruption.
ProcessedTrack ProcessTrack(const std::string& track, const std::string& folder, const ProcessOptions& options);

} // namespace nvtool
