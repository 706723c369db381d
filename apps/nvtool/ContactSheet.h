// Many small pictures of a track on one, each with its time.
#pragma once

#include "Picture.h"

#include <vector>

namespace nvtool {

struct SheetOptions {
    double stepSeconds = 0; // 0: a round step that gives 60 pictures at most
    int columns = 6;
    bool fullSize = false; // 288 × 192 a picture, else half of that
};

// No more pictures than this go on one sheet.
constexpr int kMaxSheetPictures = 500;

// The times that a sheet of a track shows: 0, step, two steps… within the track's duration; at least one.
std::vector<double> SheetTimes(double duration, const SheetOptions& options);

// Draws the sheet, with a progress bar.
Picture DrawSheet(CCDGRenderer& renderer, const std::vector<double>& times, const SheetOptions& options);

} // namespace nvtool
