// Runs of pixels in one stored row, for each of the depths that a picture may have: the loops that all drawing ends in.
// They check nothing. The fourth byte of a 32-bit pixel that is drawn becomes 0.
#pragma once

#include "NVTypes.h"

#include <afxwin.h>
#include <algorithm>
#include <cstring>

namespace NV {

/// The colour 0x00BBGGRR as a stored pixel: blue in the lowest byte.
inline u32 StoredColour(COLORREF colour)
{
    return static_cast<u32>(GetRValue(colour)) << 16 | static_cast<u32>(GetGValue(colour)) << 8 | GetBValue(colour);
}

/// `value` × `alpha` / 255 and the rest of `to`, to nearest; for bytes.
inline u32 BlendByte(u32 value, u32 to, u32 alpha)
{
    const u32 sum = value * (255 - alpha) + to * alpha + 128;
    return (sum + (sum >> 8)) >> 8; // division by 255, exact in this range
}

struct Pixels8 {
    static constexpr int bytes = 1;
    static u32 Stored(u32 ink) { return ink & 0xFF; }
    static void Set(u8* at, u32 stored) { *at = static_cast<u8>(stored); }
    static void Fill(u8* at, int count, u32 stored)
    {
        std::memset(at, static_cast<int>(stored), static_cast<std::size_t>(count));
    }
    static void Invert(u8* at, int count)
    {
        for (int i = 0; i < count; ++i)
            at[i] = static_cast<u8>(~at[i]);
    }
    static void Blend(u8*, int, u32, u32) {} // indices have no middle
};

struct Pixels24 {
    static constexpr int bytes = 3;
    static u32 Stored(u32 ink) { return StoredColour(ink); }
    static void Set(u8* at, u32 stored)
    {
        at[0] = static_cast<u8>(stored);
        at[1] = static_cast<u8>(stored >> 8);
        at[2] = static_cast<u8>(stored >> 16);
    }
    static void Fill(u8* at, int count, u32 stored)
    {
        constexpr int block = 16; // pixels that make whole vectors
        u8 pattern[3 * block];
        const int shaped = std::min(count, block);
        for (int i = 0; i < shaped; ++i)
            Set(pattern + 3 * i, stored);
        for (; count >= block; count -= block, at += sizeof pattern)
            std::memcpy(at, pattern, sizeof pattern);
        std::memcpy(at, pattern, static_cast<std::size_t>(3 * count));
    }
    static void Invert(u8* at, int count) { Pixels8::Invert(at, 3 * count); }
    static void Blend(u8* at, int count, u32 stored, u32 alpha)
    {
        for (u8* const end = at + 3 * count; at < end; at += 3) {
            for (int i = 0; i < 3; ++i)
                at[i] = static_cast<u8>(BlendByte(at[i], stored >> (8 * i) & 0xFF, alpha));
        }
    }
};

struct Pixels32 {
    static constexpr int bytes = 4;
    static u32 Stored(u32 ink) { return StoredColour(ink); }
    static u32 Load(const u8* at)
    {
        u32 stored;
        std::memcpy(&stored, at, sizeof stored);
        return stored;
    }
    static void Set(u8* at, u32 stored) { std::memcpy(at, &stored, sizeof stored); }
    static void Fill(u8* at, int count, u32 stored)
    {
        for (int i = 0; i < count; ++i)
            Set(at + 4 * i, stored);
    }
    static void Invert(u8* at, int count)
    {
        for (int i = 0; i < count; ++i)
            Set(at + 4 * i, ~Load(at + 4 * i) & 0x00FFFFFF);
    }
    static void Blend(u8* at, int count, u32 stored, u32 alpha)
    {
        for (int i = 0; i < count; ++i) {
            const u32 old = Load(at + 4 * i);
            u32 mixed = 0;
            for (u32 shift = 0; shift < 24; shift += 8)
                mixed |= BlendByte(old >> shift & 0xFF, stored >> shift & 0xFF, alpha) << shift;
            Set(at + 4 * i, mixed);
        }
    }
};

/// Calls `work` with the runs of a picture of so many bits a pixel; not at all for none.
template <class Work>
void WithPixels(int bitCount, const Work& work)
{
    if (bitCount == 8)
        work(Pixels8());
    else if (bitCount == 24)
        work(Pixels24());
    else if (bitCount == 32)
        work(Pixels32());
}

} // namespace NV
