// The page that leads to the pages of many tracks.
#pragma once

#include "Batch.h"
#include "ProcessTrack.h"

#include <string>
#include <vector>

namespace nvtool {

struct BatchEntry {
    std::string name;      // the track as it was given
    std::string reference; // its folder below the page's own: UTF-8 with slashes
    std::string cover;     // a picture in that folder; empty when the track has no page
    double seconds = 0;
    size_t pages = 0, silences = 0;
};

// What the page shows of a track.
BatchEntry MakeBatchEntry(const std::string& name, const std::string& reference, const TrackResults& results);

// The whole HTML text, UTF-8: a card for each track, and what failed.
std::string BuildBatchPage(const std::vector<BatchEntry>& entries, const std::vector<BatchFailure>& failures);

} // namespace nvtool
