// Compressed bits: see PackedBits.h.
//
// Only portable bodies of BitMagic are compiled (no BMSSE2OPT and the like): they are quick enough, and every product
// then takes the same decisions and writes the same bytes.
#include "PackedBits.h"

#include <algorithm>
#include <bm/bm.h>
#include <bm/bmserial.h>

namespace {

using Bits = bm::bvector<>;
using Serializer = bm::serializer<Bits>;

// Runs are kept in Elias' gamma code. One level higher the bytes are a third to two thirds fewer, but comparing takes
// three times as long, and whoever looks for a stream among ten thousand waits for it.
constexpr unsigned compressionLevel = 4;

} // namespace

struct PackedBits::Vector {
    Bits bits;
};

PackedBits::PackedBits() : vector(std::make_unique<Vector>())
{
    vector->bits.init();
}

PackedBits::~PackedBits() = default;

void PackedBits::AddBlock(u32 index, const Block& bits)
{
    static_assert(std::tuple_size_v<Block> == bm::set_block_size);
    if (std::all_of(bits.begin(), bits.end(), [](u32 word) { return word == 0; }))
        return;
    auto& manager = vector->bits.get_blocks_manager();
    bm::word_t* const block = manager.get_allocator().alloc_bit_block();
    std::copy(bits.begin(), bits.end(), block);
    manager.set_block(index, block); // takes the block over
}

PackedBits::Bytes PackedBits::Serialize(u32 bitCount)
{
    vector->bits.resize(bitCount);
    Serializer serializer;
    Serializer::buffer packed;
    serializer.set_compression_level(compressionLevel);
    serializer.optimize_serialize_destroy(vector->bits, packed);
    Bytes bytes{std::make_unique_for_overwrite<u8[]>(packed.size()), packed.size()};
    std::copy_n(packed.data(), packed.size(), bytes.data.get());
    return bytes;
    // NOLINTNEXTLINE(clang-analyzer-cplusplus.NewDeleteLeaks): the caller's
}
