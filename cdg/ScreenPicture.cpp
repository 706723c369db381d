// The colour image and the mask, kept behind the index screen: see ScreenPicture.h.
#include "ScreenPicture.h"

#include <algorithm>
#include <bit>

namespace CDGEmulator {

namespace {

constexpr int screenWidth = 300, screenHeight = 216;
constexpr int tileWidth = 6, tileHeight = 12, columns = 50, rowCount = 18;
constexpr u64 allColumns = (u64{1} << columns) - 1;
constexpr u64 visibleColumns = allColumns & ~TileSet::Bit(0) & ~TileSet::Bit(columns - 1);

bool IsBorderRow(std::size_t row)
{
    return row == 0 || row == rowCount - 1;
}

TileSet Everything()
{
    TileSet tiles;
    tiles.rows.fill(allColumns);
    return tiles;
}

TileSet VisibleArea()
{
    TileSet tiles;
    for (std::size_t row = 1; row < rowCount - 1; ++row)
        tiles.rows[row] = visibleColumns;
    return tiles;
}

TileSet BorderOf(TileSet tiles)
{
    for (std::size_t row = 0; row < rowCount; ++row)
        if (!IsBorderRow(row))
            tiles.rows[row] &= ~visibleColumns;
    return tiles;
}

} // namespace

bool TileSet::IsEmpty() const
{
    return std::all_of(rows.begin(), rows.end(), [](u64 row) { return row == 0; });
}

void ScreenPicture::Drop()
{
    colour.Destroy();
    mask.Clear();
    created = maskValid = followsIndex = false;
    pending = shifted = {};
    hasPending = hasShifted = false;
}

void ScreenPicture::MakeImage()
{
    if (FitsMode())
        return;
    Drop();
    colour.Create(screenWidth, screenHeight, settings.inAlpha ? 32 : 24);
    maskInAlphaStale = true;
}

void ScreenPicture::Create(const std::array<u32, 16>& palette, int horizontalOffset, int verticalOffset, int background)
{
    MakeImage();
    const bool shift = horizontalOffset != 0 || verticalOffset != 0;
    const bool sameColours = palette == shownPalette;
    if (!followsIndex || shift || !sameColours) {
        TileSet border = BorderOf(pending);
        if (!sameColours) {
            DrawTiles(border, 0, 0);
            border = {};
        }
        shownPalette = palette;
        table = ExpandTable(palette);
        pending = border;
        shifted = {};
        shiftX = horizontalOffset;
        shiftY = verticalOffset;
        if (shift) {
            shifted = VisibleArea();
        } else {
            const TileSet visible = VisibleArea();
            for (std::size_t row = 0; row < rowCount; ++row)
                pending.rows[row] |= visible.rows[row];
        }
        hasShifted = shift;
        followsIndex = !shift;
        hasPending = true;
    }
    created = true;
    if (settings.masking && !maskValid) {
        // Kept as is: in the alpha byte the mask ignores the scroll offsets that the colours follow.
        const int dx = settings.inAlpha ? 0 : horizontalOffset, dy = settings.inAlpha ? 0 : verticalOffset;
        Mask().Rebuild(index, background, tileWidth, tileHeight, screenWidth - tileWidth, screenHeight - tileHeight, dx,
                       dy);
        maskValid = true;
    }
}

void ScreenPicture::MaskTile(int row, int column, const TileInk& ink)
{
    Mask().DrawTile(row, column, ink, settings.outline);
}

// Draws the shifted tiles that show part of the tile, and takes the tile itself out of their set: it is about to be
// drawn unshifted.
void ScreenPicture::SettleReaders(int row, int column)
{
    for (int r = std::max(row - 1, 0); r <= row; ++r)
        for (int c = std::max(column - 1, 0); c <= column; ++c)
            if (shifted.Has(r, c)) {
                DrawRun(r, c, c + 1, shiftX, shiftY);
                shifted.Remove(r, c);
            }
    hasShifted = !shifted.IsEmpty();
}

void ScreenPicture::SettleTile(int row, int column)
{
    if (pending.Has(row, column)) {
        DrawRun(row, column, column + 1, 0, 0);
        pending.Remove(row, column);
    }
}

void ScreenPicture::BeginPixel(int x, int y)
{
    if (hasShifted)
        SettleReaders(y / tileHeight, x / tileWidth);
    SettleTile(y / tileHeight, x / tileWidth);
}

void ScreenPicture::EndPixel(int x, int y, int colourIndex, int background, bool becameBackground)
{
    const auto entry = static_cast<std::size_t>(colourIndex);
    colour.SetPixelColor(x, y, shownPalette[entry]);
    if (!settings.masking)
        return;
    if (colourIndex != background) {
        for (int my = std::max(y - settings.outline, 0); my <= std::min(y + settings.outline, screenHeight - 1); ++my)
            for (int mx = std::max(x - settings.outline, 0); mx <= std::min(x + settings.outline, screenWidth - 1);
                 ++mx)
                Mask().SetPixel(mx, my);
    } else if (becameBackground) {
        Mask().ClearPixel(x, y);
    }
}

void ScreenPicture::WholeScreenDrawn(const std::array<u32, 16>& palette)
{
    if (!created) {
        MakeImage();
        created = true;
        maskValid = maskValid || settings.masking;
        shownPalette = palette;
        table = ExpandTable(palette);
    }
    pending = Everything();
    shifted = {};
    hasPending = followsIndex = true;
    hasShifted = false;
}

void ScreenPicture::BeforeIndexReplaced()
{
    Settle();
    followsIndex = false;
}

void ScreenPicture::PaletteReplaced(const std::array<u32, 16>& palette)
{
    Settle();
    shownPalette = palette;
    table = ExpandTable(palette);
    followsIndex = false; // what is drawn already has the old colours
}

void ScreenPicture::Settle()
{
    if (hasShifted)
        DrawTiles(shifted, shiftX, shiftY);
    if (hasPending)
        DrawTiles(pending, 0, 0);
    shifted = pending = {};
    hasShifted = hasPending = false;
}

void ScreenPicture::DrawTiles(const TileSet& tiles, int dx, int dy)
{
    for (int row = 0; row < rowCount; ++row) {
        u64 left = tiles.rows[static_cast<std::size_t>(row)];
        while (left != 0) {
            const int first = std::countr_zero(left);
            const int run = std::countr_one(left >> first);
            DrawRun(row, first, first + run, dx, dy);
            left &= ~(((u64{1} << run) - 1) << first); // at most 50 columns, so the shift is defined
        }
    }
}

void ScreenPicture::DrawRun(int row, int firstColumn, int endColumn, int dx, int dy)
{
    if (!colour.IsValid())
        return;
    const int x = firstColumn * tileWidth, count = (endColumn - firstColumn) * tileWidth;
    const auto expand = settings.inAlpha ? expander.to32 : expander.to24;
    const int pixel = settings.inAlpha ? 4 : 3;
    for (int y = row * tileHeight; y < (row + 1) * tileHeight; ++y)
        expand(colour.GetRow(y) + x * pixel, index.GetRow(y + dy) + x + dx, count, table);
}

const CDib& ScreenPicture::Colour()
{
    Settle();
    if (settings.inAlpha && settings.masking && maskInAlphaStale)
        PutMaskIntoAlpha();
    return colour;
}

void ScreenPicture::PutMaskIntoAlpha()
{
    maskInAlphaStale = false;
    if (!colour.IsValid())
        return;
    std::array<u8, screenWidth> bytes;
    for (int y = 0; y < screenHeight; ++y) {
        mask.GetBytes(y, bytes.data());
        u8* pixels = colour.GetRow(y);
        for (std::size_t x = 0; x < screenWidth; ++x)
            pixels[4 * x + 3] = bytes[x];
    }
}

bool ScreenPicture::GetMask(CDib& out) const
{
    if (!HasMask())
        return false;
    if (out.GetBitCount() != 8 && !out.Create(screenWidth, screenHeight, 8))
        return false;
    for (int y = 0; y < screenHeight; ++y)
        mask.GetBytes(y, out.GetRow(y));
    return true;
}

void ScreenPicture::PutImages(const CDib& colourImage, const CDib& maskImage, const CRect& area)
{
    Settle();
    followsIndex = false;
    colour.CopyRect(colourImage, area, area.TopLeft());
    if (!settings.masking || maskImage.GetBitCount() != 8 || maskImage.GetRect() != index.GetRect())
        return;
    std::array<u8, screenWidth> bytes;
    for (int y = area.top; y < area.bottom; ++y) {
        mask.GetBytes(y, bytes.data());
        std::copy(maskImage.GetRow(y) + area.left, maskImage.GetRow(y) + area.right, bytes.begin() + area.left);
        Mask().PutBytes(y, bytes.data());
    }
}

} // namespace CDGEmulator
