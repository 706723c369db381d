// Streams as karaoke makers write them: pages of text lines, wiped in another colour, cleared in several ways.
#pragma once

#include "support/PackStream.h"

/// Adds `pages` pages of random layout, about 1000 packs each.
inline void AddKaraoke(PackStream& stream, Dice& dice, int pages)
{
    for (int page = 0; page < pages; ++page) {
        const int background = dice.OneIn(3) ? 1 + dice(3) : 0;
        if (page == 0 || dice.OneIn(2)) // else the tiles of the last page are erased one by one, below
            for (int repeat = 0; repeat < 16; ++repeat)
                stream.Preset(background, repeat);
        stream.Colours(false, {0x000, 0xFFF, 0x0F0, 0xF00}).Border(background);
        std::vector<std::array<int, 3>> glyphs; // row, column, pattern
        for (int row = 1 + dice(3); row < 17; row += 2 + dice(3))
            for (int column = 2 + dice(10), end = 30 + dice(18); column < end; ++column)
                glyphs.push_back({row, column, 1 + dice(63)});
        for (const auto& [row, column, pattern] : glyphs)
            stream.Tile(row, column, 4, background, pattern).Empty(dice(3));
        if (dice.OneIn(4))
            stream.ScrollPreset(background, {dice(3), dice(8)}, {dice(3), 0});
        for (const auto& [row, column, pattern] : glyphs) // the wipe turns colour 4 into 6
            stream.TileXor(row, column, 2, 0, pattern).Empty(dice(4));
        if (dice.OneIn(2)) {
            stream.Empty(dice(600));
            for (const auto& [row, column, pattern] : glyphs)
                stream.Tile(row, column, 0, background, 0);
        }
    }
}
