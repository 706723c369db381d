// Scales a screen of 300 × 216 pixels tile by tile, remembering what it has scaled.
//
// The smooth way looks at the pixels around each corner of a pixel. Where the two neighbours at a corner are alike and
// the pixel itself stands out against them, a slanted edge runs past that corner, and the neighbours' colour is cut
// into it: along a line of 45 degrees, or a flatter or steeper one where the edge goes on that way. Straight edges and
// areas stay as they are, and no colour appears that is not a mixture of two that lie side by side.
#pragma once

#include "Dib.h"
#include "NVTypes.h"

#include <array>
#include <vector>

namespace CDGEmulator {

class ScreenScaler {
public:
    static constexpr int width = 300, height = 216;
    static constexpr int tileWidth = 6, tileHeight = 12, tileColumns = 50, tileRows = 18;

    /// The screen will fill `place` of the pictures that are passed to `Draw`.
    ScreenScaler(CRect place, bool smooth);

    /// The pixels of the screen to be drawn, blue in the lowest byte, 0xFF in the highest; row by row.
    u32* Row(int y) { return &next[static_cast<std::size_t>(y) * width]; }
    /// Draws what is not as it was drawn last; all of it the first time. Returns that part of the picture.
    CRect Draw(CDib& picture);

private:
    static constexpr int rim = 2; // pixels around the screen that repeat its outermost ones
    static constexpr int stride = width + 2 * rim;

    // A pixel with what distances are measured in: brightness and two colour differences.
    struct Pixel {
        u32 colour = 0;
        i32 y = 0, u = 0, v = 0;
    };
    // What is cut into one corner of a pixel.
    struct Corner {
        bool isCut = false, isFlat = false, isSteep = false;
        u32 colour = 0;
    };
    using Rows = std::array<u64, tileRows>; // a bit for each tile

    Pixel* At(int x, int y) { return &shown[static_cast<std::size_t>((y + rim) * stride + x + rim)]; }
    static i32 Distance(const Pixel& a, const Pixel& b);
    static Corner FindCorner(const Pixel* pixel, int right, int down);

    Rows TakeChanges();
    void TakeTile(int row, int column);
    void RepeatRim();
    static Rows WithNeighbours(const Rows& tiles);
    void DrawTile(CDib& picture, int row, int column);
    void SmoothTile(CDib& picture, int row, int column);
    void CutCorner(CDib& picture, int x, int y, const Corner& corner, bool toRight, bool toBottom) const;

    CRect place;
    bool smooth;
    bool isFirst = true;
    std::array<int, width + 1> columnEdges; // where the pixels of a column begin in the picture
    std::array<int, height + 1> rowEdges;
    std::vector<u32> next, last;
    std::vector<Pixel> shown;
};

} // namespace CDGEmulator
