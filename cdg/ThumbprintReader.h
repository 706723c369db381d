// Reads serialized bit vectors, block by block, from bytes that may be anything.
//
// The serialized form is BitMagic's, but its own reader believes every length and never looks for the end of the
// buffer. This one checks each value before it uses it, keeps a single block of 65536 bits however long the vector is,
// and knows every block code that a vector by itself is written with (docs/formats.md). Blocks that refer to other
// vectors are refused.
#pragma once

#include "NVTypes.h"

#include <array>
#include <cstddef>
#include <memory>

class ThumbprintReader {
public:
    static constexpr u32 bitsInBlock = 65536;
    static constexpr u32 blocksAtMost = 65536; // positions are 32-bit
    using Words = std::array<u64, bitsInBlock / 64>;

    // Looks at the header; the bytes outlive this.
    ThumbprintReader(const u8* bytes, std::size_t size);

    enum class Piece {
        Bits,   // one block: `Block()`, `Bits()`
        Ones,   // `Count()` blocks from `Block()` on with all bits set
        End,    // the vector is whole; what lies behind it was not looked at
        Broken, // these bytes are no serialized bit vector
    };
    // The next piece. What lies between pieces is all zero. End and Broken stay.
    Piece Next();
    u32 Block() const { return block; }
    u32 Count() const { return count; }
    const Words& Bits() const { return *bits; }
    // Bytes read so far.
    std::size_t Position() const { return static_cast<std::size_t>(at - begin); }

private:
    class BitSource;

    bool ReadBlock(u8 code);
    bool ReadRuns(u8 code);
    bool ReadWords(u8 code);
    bool ReadList(u8 code);
    bool ReadGaps(u8 code);
    bool SkipMark(u8 code);
    bool DrawGaps(bool startsSet, u32 gapCount);
    Piece Break();

    bool Has(std::size_t bytes) const { return bytes <= static_cast<std::size_t>(end - at); }
    // 0 behind the end, which is remembered.
    u32 Get(int bytes);

    void Set(u32 bit) { (*bits)[bit / 64] |= u64{1} << bit % 64; }
    void SetRange(u32 first, u32 last);

    const u8* begin;
    const u8* at;
    const u8* end;
    u64 next = 0;       // block that comes next
    u64 blocksUsed = 0; // blocks that the stated size reaches into
    u32 block = 0, count = 0;
    Piece state = Piece::Broken; // End and Broken stay; anything else goes on
    bool ranOut = false;         // a value was to be read from behind the end
    std::unique_ptr<Words> bits;
    std::unique_ptr<u16[]> gaps; // ends of runs, as they are read
};
