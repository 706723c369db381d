// The CD+G screen as palette indices and nothing else: for reading whole streams, where nobody looks at colours, masks
// or changed areas. What it holds is what the emulator's index screen, palette, border and background colour would be.
//
// Packs are 24 raw bytes, masked to six bits or not. One thread at a time.
#pragma once

#include "CDGEmulatorPack.h"
#include "Dib.h"
#include "PackLayout.h"
#include "TileKernel.h"

#include <array>
#include <cstddef>

namespace CDGEmulator {

// The pixels of a tile, a row each, as `LoadTileRow` reads them.
using TilePixels = std::array<u64, 12>;

inline bool IsTile(int instruction)
{
    return instruction == kTileBlock || instruction == kTileBlockXor;
}

// Kept as is: streams that put the lyrics on channel 1 still show; other channels do not.
inline bool IsDrawn(const TileBlock& tile)
{
    return tile.channel < 2;
}

class IndexScreen {
public:
    static constexpr int width = 300, height = 216, tileWidth = 6, tileHeight = 12, columns = 50, rows = 18;

    IndexScreen() { image.Create(width, height, 8); }

    // Acts on one pack.
    void Apply(const u8* raw);
    // Draws a tile as `Apply` does and calls `look(row, before, after)` for each of its pixel rows, 0…11 from the top,
    // with the pixels as `LoadTileRow` reads them. False, without calls, when such a tile draws nothing.
    template <class Look>
    bool DrawTile(const TileBlock& tile, bool exclusiveOr, Look look)
    {
        if (!IsDrawn(tile))
            return false;
        if (exclusiveOr)
            DrawRows<true>(tile, look);
        else
            DrawRows<false>(tile, look);
        return true;
    }

    void GetTile(int row, int column, TilePixels& pixels) const;
    void PutTile(int row, int column, const TilePixels& pixels);
    // Whether any pixel of row `y` is another index than `index`.
    bool HasOther(int y, int index) const;
    // The indices; the colour table is all black.
    const CDib& Image() const { return image; }
    const std::array<u32, 16>& Palette() const { return palette; }
    int BorderColour() const { return border; }
    int BackgroundColour() const { return background; }

private:
    template <bool exclusiveOr, class Look>
    void DrawRows(const TileBlock& tile, const Look& look);
    void ApplyRare(int instruction, const u8* data);
    u8* TopOf(int row, int column) { return image.GetRow(row * tileHeight) + column * tileWidth; }

    CDib image;
    std::array<u32, 16> palette{};
    int border = 0, background = 0;
};

inline void IndexScreen::Apply(const u8* raw)
{
    if ((raw[0] & kPackBits) != kCommandGraphics)
        return;
    const int instruction = raw[1] & kPackBits;
    if (!IsTile(instruction)) {
        ApplyRare(instruction, raw + 4);
        return;
    }
    const TileBlock tile(raw + 4);
    if (!IsDrawn(tile))
        return;
    if (instruction == kTileBlockXor)
        DrawTilePixels<true>(TopOf(tile.row, tile.column), width, tile);
    else
        DrawTilePixels<false>(TopOf(tile.row, tile.column), width, tile);
}

template <bool exclusiveOr, class Look>
inline void IndexScreen::DrawRows(const TileBlock& tile, const Look& look)
{
    const TileColours colours(tile);
    u8* top = TopOf(tile.row, tile.column);
    for (std::size_t r = 0; r < tileHeight; ++r, top -= width) {
        const u64 before = LoadTileRow(top), after = colours.Row(tile.rows[r]) ^ (exclusiveOr ? before : 0);
        StoreTileRow(top, after);
        look(r, before, after);
    }
}

} // namespace CDGEmulator
