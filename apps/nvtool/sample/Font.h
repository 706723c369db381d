// The letters of the sample track: a small proportional font of our own, smoothed when enlarged. Sizes are pixels.
#pragma once

#include "NVTypes.h"

#include <cstddef>
#include <string_view>
#include <vector>

namespace nvtool::sample {

// Black and white picture, top row first; 1 is ink.
struct Bitmap {
    int width = 0, height = 0;
    std::vector<u8> ink;

    Bitmap() = default;
    Bitmap(int columns, int rows)
        : width(columns), height(rows), ink(static_cast<size_t>(columns) * static_cast<size_t>(rows))
    {
    }
    // 0 outside of the picture.
    int At(int x, int y) const { return x >= 0 && x < width && y >= 0 && y < height ? ink[Index(x, y)] : 0; }
    void Set(int x, int y) { ink[Index(x, y)] = 1; }

private:
    size_t Index(int x, int y) const
    {
        return static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x);
    }
};

// Height of a line of text at size 1, descenders included.
constexpr int kFontHeight = 9;

// Text in one line; `scale` is 1, 2 or 4. Characters without a glyph are left blank.
Bitmap DrawWords(std::string_view text, int scale);

// The width that DrawWords gives, the gap behind the last character included, so that widths of pieces add up.
int TextWidth(std::string_view text, int scale);

} // namespace nvtool::sample
