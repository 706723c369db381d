// From loud frames to silences: the rule that decides which quiet stretches count and which loud frames are mere
// clicks.
#pragma once

#include "NVTypes.h"

#include <utility>
#include <vector>

namespace NV {

/// Takes a recording's frames in order, as masks of LoudMask.h. All numbers are frames.
class SilenceRuns {
public:
    /// A loud frame more than `click` frames behind the last loud one is a click and part of the silence around it.
    SilenceRuns(i64 minimum, i64 click) : minimumRun(minimum), clickWindow(click), lastLoud(-click) {}

    void Add(const u64* loud, i64 frames);
    /// Ends the recording. The silences found, as half-open ranges in order.
    std::vector<std::pair<int, int>> Finish();

private:
    void AddFrame(bool loud);
    void AddWord(u64 loud);
    void AddQuiet(i64 frames);
    void EndRun();

    i64 minimumRun;
    i64 clickWindow;
    i64 at = 0;    // the next frame
    i64 run = 0;   // quiet frames and clicks so far
    i64 start = 0; // where the run began
    i64 lastLoud;  // begins one window before the first frame, which therefore is never a click
    std::vector<std::pair<int, int>> found;
};

} // namespace NV
