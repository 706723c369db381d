// Scrolls a stored picture by whole tiles, for the screen of the emulator and for that of the scans.
#pragma once

#include "NVTypes.h"

#include <array>
#include <cstring>

namespace CDGEmulator {

// Moves a stored picture of one byte a pixel: pixel (x, y) becomes what (x + dx, y + dy) was. What comes from outside
// wraps around, or is `fill` when that is not negative. `Width` bytes a row and no padding, so all rows move as one
// block.
template <int Width, int Height>
inline void MovePicture(u8* bits, int dx, int dy, int fill)
{
    constexpr int tileWidth = 6, tileHeight = 12;
    std::array<u8, static_cast<std::size_t>(Width * tileHeight)> edge;
    const auto size = static_cast<std::size_t>(Width * Height);
    if (dy != 0) { // the picture is stored bottom-up: rows above lie behind
        const auto band = edge.size();
        u8* const bottom = bits;
        u8* const top = bits + size - band;
        u8* const leaving = dy > 0 ? top : bottom;
        u8* const exposed = dy > 0 ? bottom : top;
        std::memcpy(edge.data(), leaving, band);
        if (dy > 0)
            std::memmove(bits + band, bits, size - band);
        else
            std::memmove(bits, bits + band, size - band);
        if (fill < 0)
            std::memcpy(exposed, edge.data(), band);
        else
            std::memset(exposed, fill, band);
    }
    if (dx != 0) {
        constexpr std::size_t band = tileWidth;
        for (u8* row = bits; row < bits + size; row += Width) {
            u8* const left = row;
            u8* const right = row + Width - band;
            std::memcpy(edge.data(), dx > 0 ? left : right, band);
            if (dx > 0)
                std::memmove(row, row + band, Width - band);
            else
                std::memmove(row + band, row, Width - band);
            u8* const exposed = dx > 0 ? right : left;
            if (fill < 0)
                std::memcpy(exposed, edge.data(), band);
            else
                std::memset(exposed, fill, band);
        }
    }
}

} // namespace CDGEmulator
