// Numbers as files store them here: low byte first, at any address.
#pragma once

#include "NVTypes.h"

namespace NV {

inline u16 LoadLE16(const u8* from)
{
    return static_cast<u16>(from[0] | from[1] << 8);
}

inline u32 LoadLE32(const u8* from)
{
    return LoadLE16(from) | static_cast<u32>(LoadLE16(from + 2)) << 16;
}

inline void StoreLE16(u8* to, u32 value)
{
    to[0] = static_cast<u8>(value);
    to[1] = static_cast<u8>(value >> 8);
}

inline void StoreLE32(u8* to, u32 value)
{
    StoreLE16(to, value);
    StoreLE16(to + 2, value >> 16);
}

} // namespace NV
