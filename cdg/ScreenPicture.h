// The colour image and the mask of the CD+G screen, kept behind the index screen.
//
// The plain rule draws every pixel three times at once: index, colour, mask. Here the index screen is written at once,
// the mask is kept as bits, and the colour image only remembers which tiles it has to draw again. It is brought up to
// date when somebody looks, and then holds what the plain rule would have left. Two things make that more than a copy:
//
// - A rebuild (`Create`) shows the index screen shifted by the fine scroll offsets; a tile drawn later lands unshifted.
//   So there are two sets of tiles to draw: `shifted` since the last rebuild, `pending` since they were drawn
//   themselves. Before the index of a tile changes, the (up to four) shifted tiles that show part of it are drawn.
// - A rebuild leaves the border tiles alone: they keep the colours of the moment when they were drawn. So the border
//   tiles still to be drawn are drawn before the colours change.
//
// Runs under the emulator's lock.
#pragma once

#include "Dib.h"
#include "ExpandPixels.h"
#include "MaskPlane.h"

#include <array>

namespace CDGEmulator {

// A set of the screen's 18 × 50 tiles.
struct TileSet {
    std::array<u64, 18> rows{};

    static constexpr u64 Bit(int column) { return u64{1} << column; }
    bool Has(int row, int column) const { return (rows[static_cast<std::size_t>(row)] & Bit(column)) != 0; }
    void Add(int row, int column) { rows[static_cast<std::size_t>(row)] |= Bit(column); }
    void Remove(int row, int column) { rows[static_cast<std::size_t>(row)] &= ~Bit(column); }
    bool IsEmpty() const;
};

class ScreenPicture {
public:
    // The emulator's index screen, which outlives this object.
    explicit ScreenPicture(const CDib& indexScreen) : index(indexScreen), expander(ChooseExpander()) {}

    struct Settings {
        bool masking = false; // there is a mask
        bool inAlpha = false; // it lives in the alpha bytes of a 32-bit colour image
        int outline = 2;
    };
    Settings settings;

    // The flags of the plain rule.
    bool IsCreated() const { return created; } // the colour image follows index, palette and offsets
    void Invalidate() { created = false; }
    bool IsMaskValid() const { return maskValid; }
    void InvalidateMask() { maskValid = false; }

    // Drops both images; the next `Create` makes new, zero-filled ones.
    void Drop();
    // Rebuilds the visible area of the colour image from the index screen, and that of an invalid mask.
    void Create(const std::array<u32, 16>& palette, int horizontalOffset, int verticalOffset, int background);

    // To be called before a tile's index pixels change, with the picture created.
    void BeginTile(int row, int column)
    {
        if (hasShifted)
            SettleReaders(row, column);
        pending.Add(row, column);
        hasPending = true;
    }
    void MaskTile(int row, int column, const TileInk& ink);
    // Before one index pixel changes, and after it: that pixel alone is drawn, in the palette's colour `index`.
    void BeginPixel(int x, int y);
    void EndPixel(int x, int y, int colour, int background, bool becameBackground);
    // Every pixel was set to one colour: nothing older shows any more. Creates the picture if need be.
    void WholeScreenDrawn(const std::array<u32, 16>& palette);
    // To be called before the index screen is moved or replaced as a whole.
    void BeforeIndexReplaced();
    // The palette changes while the picture stays created: what was drawn keeps its colours, what follows has the new.
    void PaletteReplaced(const std::array<u32, 16>& palette);

    // The colour image, brought up to date.
    const CDib& Colour();
    bool HasMask() const { return settings.masking && colour.IsValid(); }
    // The mask as an 8-bit image. False without one.
    bool GetMask(CDib& out) const;
    MaskPlane& Mask() // whoever changes it by hand
    {
        maskInAlphaStale = true;
        return mask;
    }
    const MaskPlane& Mask() const { return mask; }
    void MarkMaskValid() { maskValid = true; }
    // Puts an area of stored images back as it is; of the colour image only when it has the present depth.
    void PutImages(const CDib& colourImage, const CDib& maskImage, const CRect& area);

private:
    bool FitsMode() const { return colour.GetBitCount() == (settings.inAlpha ? 32 : 24); }
    void MakeImage();
    void SettleReaders(int row, int column);
    void SettleTile(int row, int column);
    void Settle();
    void DrawTiles(const TileSet& tiles, int dx, int dy);
    void DrawRun(int row, int firstColumn, int endColumn, int dx, int dy);
    void PutMaskIntoAlpha();

    const CDib& index;
    const Expander& expander;
    CDib colour;
    MaskPlane mask;
    bool created = false;
    bool maskValid = false;
    bool maskInAlphaStale = false; // in alpha mode: the bytes are behind the bits
    bool followsIndex = false;     // every visible pixel shows the index below it, or its tile is pending
    bool hasPending = false, hasShifted = false;
    TileSet pending; // to be drawn as the index stands
    TileSet shifted; // to be drawn shifted; empty unless an offset stands
    int shiftX = 0, shiftY = 0;
    std::array<u32, 16> shownPalette{};
    ExpandTable table;
};

} // namespace CDGEmulator
