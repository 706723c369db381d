// The results of comparisons of vectors, as bits.
#pragma once

#include "NVTypes.h"

#include <emmintrin.h>

namespace NV {

/// The topmost bit of each byte, that of the first byte as bit 0.
inline u64 MaskBits(__m128i bytes)
{
    return static_cast<u64>(static_cast<u32>(_mm_movemask_epi8(bytes)));
}

} // namespace NV
