// A long row of bits, compressed and brought into bytes by BitMagic, which is seen in PackedBits.cpp only.
#pragma once

#include "NVTypes.h"

#include <array>
#include <cstddef>
#include <memory>

class PackedBits {
public:
    using Block = std::array<u32, 2048>; // 65536 bits, the lowest of the first word first
    struct Bytes {
        std::unique_ptr<u8[]> data;
        std::size_t size = 0;
    };

    PackedBits();
    ~PackedBits();
    PackedBits(const PackedBits&) = delete;
    PackedBits& operator=(const PackedBits&) = delete;

    // Sets the 65536 bits from 65536 x `index` on; a block is added once.
    void AddBlock(u32 index, const Block& bits);
    // All blocks as a vector of `bitCount` bits; the same bytes on every system. Nothing is left here.
    Bytes Serialize(u32 bitCount);

private:
    struct Vector;
    std::unique_ptr<Vector> vector;
};
