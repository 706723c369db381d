// Draws one tile into the index screen: the hottest loop of the emulator.
//
// A tile row is written as four and two bytes: a tile then only ever reads back what an earlier tile wrote in the same
// two pieces, which the processor forwards without waiting; eight bytes would straddle the neighbour.
#pragma once

#include "NVTypes.h"
#include "PackLayout.h"

#include <array>
#include <cstddef>
#include <cstring>
#include <emmintrin.h>

namespace CDGEmulator {

// For each of the 64 patterns of a tile row: 0xFF in the bytes whose bit is set, leftmost pixel (bit 5) first.
struct TileMasks {
    std::array<u64, 64> masks{};

    constexpr TileMasks()
    {
        for (unsigned bits = 0; bits < 64; ++bits)
            for (unsigned x = 0; x < 6; ++x)
                if (bits & (0x20u >> x))
                    masks[bits] |= u64{0xFF} << 8 * x;
    }
};
inline constexpr TileMasks tileMasks;

// Colours of the tile row `bits`, one index a byte.
struct TileColours {
    u64 off, difference;

    explicit TileColours(const TileBlock& tile)
    {
        constexpr u64 ones = 0x010101010101;
        off = static_cast<u64>(tile.colour0) * ones;
        difference = static_cast<u64>(tile.colour0 ^ tile.colour1) * ones;
    }
    u64 Row(u8 bits) const { return off ^ (difference & tileMasks.masks[bits & kPackBits]); }
};

inline u64 LoadTileRow(const u8* pixels)
{
    u32 left;
    u16 right;
    std::memcpy(&left, pixels, 4);
    std::memcpy(&right, pixels + 4, 2);
    return left | static_cast<u64>(right) << 32;
}

inline void StoreTileRow(u8* pixels, u64 colours)
{
    const u32 left = static_cast<u32>(colours);
    const u16 right = static_cast<u16>(colours >> 32);
    std::memcpy(pixels, &left, 4);
    std::memcpy(pixels + 4, &right, 2);
}

// `top` is the tile's top left pixel; the row below it lies `pitch` bytes before it.
template <bool exclusiveOr>
inline void DrawTilePixels(u8* top, std::ptrdiff_t pitch, const TileBlock& tile)
{
    const TileColours colours(tile);
    for (int r = 0; r < 12; ++r, top -= pitch)
        StoreTileRow(top, colours.Row(tile.rows[r]) ^ (exclusiveOr ? LoadTileRow(top) : 0));
}

// What a tile did, for the mask: bit x of a row stands for the tile's column x.
struct TileInk {
    std::array<u8, 12> drawn;   // now another colour than the background
    std::array<u8, 12> cleared; // was another colour, now the background
};

template <bool exclusiveOr>
inline void DrawTilePixels(u8* top, std::ptrdiff_t pitch, const TileBlock& tile, int background, TileInk& ink)
{
    const TileColours colours(tile);
    std::array<u64, 12> before, after; // compared in a second pass, when the stores are through
    for (std::size_t r = 0; r < 12; ++r, top -= pitch) {
        before[r] = LoadTileRow(top);
        after[r] = colours.Row(tile.rows[r]) ^ (exclusiveOr ? before[r] : 0);
        StoreTileRow(top, after[r]);
    }
    const __m128i key = _mm_set1_epi8(static_cast<char>(background));
    const auto isBackground = [&key](const u64& row) {
        const __m128i pixels = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(&row));
        return static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(pixels, key))) & kPackBits;
    };
    for (std::size_t r = 0; r < 12; ++r) {
        const unsigned now = isBackground(after[r]);
        ink.drawn[r] = static_cast<u8>(now ^ kPackBits);
        ink.cleared[r] = static_cast<u8>(now & ~isBackground(before[r]));
    }
}

} // namespace CDGEmulator
