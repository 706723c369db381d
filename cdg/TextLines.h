// Text lines of a CD+G screen: runs of pixel rows with ink.
//
// Whether a row has ink is all that they depend on, so a whole stream is followed with one bit a row: ink that spreads
// sideways never reaches another row.
#pragma once

#include "IndexScreen.h"
#include "NVTypes.h"

#include <array>
#include <utility>
#include <vector>

namespace CDGEmulator {

using TextLines = std::vector<std::pair<i32, i32>>; // first and last row with ink, from the top

// One bit for each pixel row of the screen, row y in bit y % 64 of word y / 64; bits past row 215 are 0.
struct InkRows {
    static constexpr int height = 216;
    std::array<u64, 4> words{};

    void Set(int y, bool ink)
    {
        u64& word = words[static_cast<std::size_t>(y) / 64];
        word = (word & ~(u64{1} << y % 64)) | static_cast<u64>(ink) << y % 64;
    }
    // The first row from `y` on that has ink, or that has none; `height` when no such row follows.
    int Next(int y, bool ink) const;
    // These rows and all within `distance` (0…63) rows of them.
    InkRows Spread(int distance) const;
};

// Replaces `lines` by the runs of ink, low ones merged with what follows closely.
void FindTextLines(const InkRows& ink, TextLines& lines);

// Which rows of a screen that is being drawn differ from its background.
class InkWatch {
public:
    // To be told of every row of tiles that was drawn in, and of anything else that changed pixels or the background.
    void RowChanged(int tileRow) { changed |= 1u << tileRow; }
    void AllChanged() { changed = (1u << IndexScreen::rows) - 1; }
    // Every pixel is the background's.
    void AllCleared()
    {
        changed = 0;
        ink = {};
    }
    // What the emulator finds with its mask made anew from the whole screen.
    void FindLines(const IndexScreen& screen, TextLines& lines);

private:
    u32 changed = 0; // tile rows to be looked at
    InkRows ink;
};

} // namespace CDGEmulator
