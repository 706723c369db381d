// The lowest and highest samples of a recording, row by row, as a view of it would draw them.
#pragma once

#include "SoundFile.h"

#include <vector>

namespace nvtool {

struct Levels {
    int channels = 0;
    int framesPerPoint = 0;
    int fullScale = 32768;           // what a sample reaches at most
    std::vector<int> minima, maxima; // channels interleaved; 8-bit samples are moved to be around 0
    size_t Points() const { return channels > 0 ? minima.size() / static_cast<size_t>(channels) : 0; }
};

// So many points over the whole recording, or one a frame when it has fewer. Each covers the same number of frames, so
// that up to points - 1 frames at the end are left out. Wide points come from a peak file in memory, which is awaited.
// Without points for formats that no view can draw.
Levels MeasureLevels(CSoundFile& sound, int points);

} // namespace nvtool
