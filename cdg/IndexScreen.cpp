// The CD+G screen as palette indices: see IndexScreen.h.
#include "IndexScreen.h"

#include "MovePicture.h"

#include <emmintrin.h>

namespace CDGEmulator {

void IndexScreen::ApplyRare(int instruction, const u8* data)
{
    switch (instruction) {
    case kMemoryPreset: {
        const MemoryPreset preset(data);
        if (preset.repeat == 0)
            image.FillRect(image.GetRect(), static_cast<u32>(preset.colour));
        background = preset.colour;
        break;
    }
    case kBorderPreset:
        border = data[0] & 0x0F;
        break;
    case kScrollPreset:
    case kScrollCopy: {
        const ScrollBlock scroll(data);
        if (scroll.Moves())
            MovePicture<width, height>(image.GetBits(), scroll.dx, scroll.dy,
                                       instruction == kScrollCopy ? -1 : scroll.fill);
        break;
    }
    case kLoadColours07:
    case kLoadColours8F:
        for (std::size_t k = 0; k < 8; ++k)
            palette[(instruction == kLoadColours07 ? 0 : 8) + k] = TableColour(data[2 * k], data[2 * k + 1]);
        break;
    default:
        break;
    }
}

void IndexScreen::GetTile(int row, int column, TilePixels& pixels) const
{
    const u8* top = image.GetRow(row * tileHeight) + column * tileWidth;
    for (u64& pixelRow : pixels) {
        pixelRow = LoadTileRow(top);
        top -= width;
    }
}

void IndexScreen::PutTile(int row, int column, const TilePixels& pixels)
{
    u8* top = TopOf(row, column);
    for (const u64 pixelRow : pixels) {
        StoreTileRow(top, pixelRow);
        top -= width;
    }
}

bool IndexScreen::HasOther(int y, int index) const
{
    constexpr int step = 16, lastStep = width - step; // the last one overlaps the one before
    const u8* const row = image.GetRow(y);
    const __m128i key = _mm_set1_epi8(static_cast<char>(index));
    const auto same = [&](int x) {
        return _mm_cmpeq_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(row + x)), key);
    };
    __m128i all = same(lastStep);
    for (int x = 0; x < lastStep; x += step)
        all = _mm_and_si128(all, same(x));
    return _mm_movemask_epi8(all) != 0xFFFF;
}

} // namespace CDGEmulator
