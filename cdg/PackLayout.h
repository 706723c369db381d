// The operands of each CD+G instruction, decoded once into named fields. Masking and clamping happen here and nowhere
// else, so raw bytes and masked packs decode alike.
#pragma once

#include "CDGEmulatorPack.h"

#include <algorithm>

namespace CDGEmulator {

// Tile Block: instructions 6 (normal) and 38 (XOR).
//   data[0]     ..HH KKKK   HH channel bits 3-2, KKKK colour 0, of clear bits
//   data[1]     ..LL KKKK   LL channel bits 1-0, KKKK colour 1, of set bits
//   data[2]     ...R RRRR   tile row
//   data[3]     ..CC CCCC   tile column
//   data[4-15]              twelve pixel rows, top first, bit 5 is the leftmost pixel
struct TileBlock {
    int colour0, colour1, channel, row, column;
    const u8* rows; // not masked

    explicit TileBlock(const u8* data)
        : colour0(data[0] & 0x0F), colour1(data[1] & 0x0F), channel((data[0] & 0x30) >> 2 | (data[1] & 0x30) >> 4),
          // Kept as is: rows and columns off the screen draw into the last ones, they are not dropped.
          row(std::min(data[2] & 0x1F, 17)), column(std::min(data[3] & 0x3F, 49)), rows(data + 4)
    {
    }
};

// Memory Preset (1):  data[0] colour, data[1] repeat number, both in bits 3-0.
struct MemoryPreset {
    int colour, repeat;

    explicit MemoryPreset(const u8* data) : colour(data[0] & 0x0F), repeat(data[1] & 0x0F) {}
};

// Scroll Preset (20) and Scroll Copy (24).
//   data[0]     .... KKKK   fill colour
//   data[1]     ..CC OOOO   CC horizontal command (1 right, 2 and 3 left), OOOO fine offset
//   data[2]     ..CC OOOO   CC vertical command (1 down, 2 and 3 up), OOOO fine offset
struct ScrollBlock {
    int fill, horizontalOffset, verticalOffset;
    int dx, dy; // where a pixel of the new screen comes from, relative to itself

    explicit ScrollBlock(const u8* data)
        : fill(data[0] & 0x0F), horizontalOffset(std::min(data[1] & 0x0F, 5)),
          verticalOffset(std::min(data[2] & 0x0F, 11)), dx(Source(data[1], 6)), dy(Source(data[2], 12))
    {
    }
    bool Moves() const { return dx != 0 || dy != 0; }

private:
    // Kept as is: command 3 moves like command 2.
    static int Source(u8 byte, int tile)
    {
        const int command = byte >> 4 & 3;
        return command == 0 ? 0 : command == 1 ? -tile : tile;
    }
};

// Load Colour Table (30, 31): eight entries of two bytes, four bits a component.
//   first       ..RR RRGG
//   second      ..GG BBBB
// Kept as is: a component is shifted up by four, not replicated, so white is 240, 240, 240; stored screens and
// comparisons of colours rely on these values.
inline u32 TableColour(u8 first, u8 second)
{
    const u32 red = (first & 0x3Cu) << 2;
    const u32 green = (first & 0x03u) << 6 | (second & 0x30u);
    const u32 blue = (second & 0x0Fu) << 4;
    return red | green << 8 | blue << 16;
}

} // namespace CDGEmulator
