// The mask of drawn pixels, one bit a pixel, top row first: the form that drawing and line detection work on. Bytes of
// 0 and 255 are made of it when somebody looks.
//
// A row is six 64-bit words; pixel x is bit x + 16, so that ink may spread over the left edge and be cut off there.
#pragma once

#include "NVTypes.h"
#include "TileKernel.h"

#include <array>

class CDib;

namespace CDGEmulator {

class MaskPlane {
public:
    static constexpr int width = 300, height = 216, words = 6, origin = 16, maxOutline = 15;
    using Row = std::array<u64, words>;

    void Clear() { rows = {}; }
    const Row& GetRow(int y) const { return rows[static_cast<std::size_t>(y)]; }
    void SetPixel(int x, int y) { Word(x, y) |= Bit(x); }
    void ClearPixel(int x, int y) { Word(x, y) &= ~Bit(x); }

    // What writing the tile's pixels one by one, from the top left, would do: ink sets all within `outline` pixels, a
    // pixel that turned into background clears itself alone.
    void DrawTile(int tileRow, int tileColumn, const TileInk& ink, int outline);
    // Pixels of `index` in [left, right) × [top, bottom): drawn where the index, read `dx` to the right (0…15) and `dy`
    // below, differs from the background.
    void Rebuild(const CDib& index, int background, int left, int top, int right, int bottom, int dx, int dy);
    // The whole plane: drawn within `outline` (0…15) pixels of any that differs from the background.
    void RebuildOutlined(const CDib& index, int background, int outline);

    // Moves the plane by less than 64 pixels across and any number of rows: pixel (x, y) becomes what (x + dx, y + dy)
    // was. What comes from outside wraps around when `fill` is negative, else is drawn when `fill` is not 0.
    void Move(int dx, int dy, int fill);

    // One row as 300 bytes of 0 or 255, and back (any byte that is not 0 counts as drawn).
    void GetBytes(int y, u8* bytes) const;
    void PutBytes(int y, const u8* bytes);

private:
    template <class Outline>
    void DrawTileWith(int tileRow, int tileColumn, const TileInk& ink, Outline outline);
    u64& Word(int x, int y) { return rows[static_cast<std::size_t>(y)][static_cast<std::size_t>((x + origin) / 64)]; }
    static u64 Bit(int x) { return u64{1} << ((x + origin) % 64); }

    std::array<Row, height> rows{};
};

} // namespace CDGEmulator
