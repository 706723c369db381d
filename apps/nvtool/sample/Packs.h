// CD+G packs as a stream's author writes them: one function an instruction. Colours are palette indices, 0…15, places
// are tiles; six-bit bytes throughout, parity left empty as players do not ask for it.
#pragma once

#include "CDGEmulatorPack.h"
#include "NVTypes.h"

#include <array>
#include <cstddef>

namespace nvtool::sample {

using Pack = std::array<u8, kPackSize>;
using TileRows = std::array<u8, 12>; // bit 5 is the leftmost pixel
using Palette = std::array<u16, 16>; // 0x0RGB, four bits a component

inline Pack Instruction(CDGInstruction instruction)
{
    Pack pack{};
    pack[0] = kCommandGraphics;
    pack[1] = instruction;
    return pack;
}

inline Pack PresetPack(int colour, int repeat)
{
    Pack pack = Instruction(kMemoryPreset);
    pack[4] = static_cast<u8>(colour);
    pack[5] = static_cast<u8>(repeat);
    return pack;
}

inline Pack BorderPack(int colour)
{
    Pack pack = Instruction(kBorderPreset);
    pack[4] = static_cast<u8>(colour);
    return pack;
}

inline Pack TransparentPack(int colour)
{
    Pack pack = Instruction(kDefineTransparent);
    pack[4] = static_cast<u8>(colour);
    return pack;
}

// `instruction` is one of the two tile blocks; clear bits of `rows` take `colour0`, set ones `colour1`.
inline Pack TilePack(CDGInstruction instruction, int row, int column, int colour0, int colour1, const TileRows& rows,
                     int channel = 0)
{
    Pack pack = Instruction(instruction);
    pack[4] = static_cast<u8>(colour0 | (channel >> 2) << 4);
    pack[5] = static_cast<u8>(colour1 | (channel & 3) << 4);
    pack[6] = static_cast<u8>(row);
    pack[7] = static_cast<u8>(column);
    for (size_t i = 0; i < rows.size(); ++i)
        pack[8 + i] = rows[i];
    return pack;
}

// Moves: 0 none, 1 right or down, 2 left or up, each by a tile; offsets are pixels, 0…5 and 0…11.
struct Move {
    int command = 0, offset = 0;
};

inline Pack ScrollPack(CDGInstruction instruction, int fill, Move across, Move down)
{
    Pack pack = Instruction(instruction);
    pack[4] = static_cast<u8>(fill);
    pack[5] = static_cast<u8>(across.command << 4 | across.offset);
    pack[6] = static_cast<u8>(down.command << 4 | down.offset);
    return pack;
}

// Entries 0…7 or 8…15 of a palette.
inline Pack ColoursPack(const Palette& palette, bool upperHalf)
{
    Pack pack = Instruction(upperHalf ? kLoadColours8F : kLoadColours07);
    for (size_t i = 0; i < 8; ++i) {
        const u16 colour = palette[i + (upperHalf ? 8 : 0)];
        pack[4 + 2 * i] = static_cast<u8>(colour >> 6 & 0x3F); // ..RR RRGG
        pack[5 + 2 * i] = static_cast<u8>(colour & 0x3F);      // ..GG BBBB
    }
    return pack;
}

} // namespace nvtool::sample
