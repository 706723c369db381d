// The pages of a karaoke track: the screens that a singer reads, each at its fullest.
#pragma once

#include "Inputs.h"

#include <vector>

namespace nvtool {

struct Page {
    int startPack = 0; // something of it was on the screen from here on
    int pack = 0;      // show the screen as it is before this pack
    // A time inside the pack's 1/300 s, so that truncating it gives the pack and not the one before.
    static double SecondsOf(int pack) { return (pack + 0.5) / kPacksPerSecond; }
};

struct PageList {
    std::vector<Page> pages;
    bool cut = false; // there were more
};

constexpr size_t kMaxPages = 400;
constexpr int kMinContrast = 48; // of 240: less cannot be read

// Plays the whole stream, with a progress bar. A page ends when a Memory Preset erases the screen, when half of it has
// vanished by other means (faded out, wiped, painted over), or at the end of the stream. It is shown as it was just
// before or, where it went by degrees, as it last was nearly whole. Blank screens and a page like the one before are
// left out. Throws Error when reading fails.
PageList FindPages(GraphicsInput& input, const std::string& name);

} // namespace nvtool
