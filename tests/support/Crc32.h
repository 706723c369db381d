// CRC-32 as zlib computes it, bit by bit.
#pragma once

#include "NVTypes.h"

template <class Bytes>
u32 Crc32(const Bytes& bytes)
{
    u32 crc = 0xFFFFFFFFu;
    for (const u8 byte : bytes) {
        crc ^= byte;
        for (int bit = 0; bit < 8; ++bit)
            crc = crc >> 1 ^ (crc & 1 ? 0xEDB88320u : 0u);
    }
    return ~crc;
}
