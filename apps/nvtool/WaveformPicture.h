// Pictures of a recording, painted by the library's waveform windows where nobody sees them.
#pragma once

#include "Picture.h"
#include "SoundFile.h"

namespace nvtool {

struct WaveformOptions {
    enum class View { Chart, Overview, Window };
    View view = View::Chart;
    int width = 800, height = 1000; // pixels
    double start = 0;               // seconds, of the first row
    i64 density = 0;                // frames a row; 0: what shows the rest of the recording
    double pointer = -1;            // seconds; negative: none
};

constexpr int kMostWaveformSide = 16384;

// Time goes from top to bottom. May make a peak file in memory, if `sound` can be opened once more. Windows on the
// display and pictures do not go together in one program. Any thread; one picture at a time. Throws std::bad_alloc.
Picture DrawWaveform(CSoundFile& sound, const WaveformOptions& options);

// The whole recording from left to right without an axis, `width` columns in all, each of the same time. The first
// channel is at the top. Any thread, as above.
Picture DrawWaveformStrip(CSoundFile& sound, int width, int height);

} // namespace nvtool
