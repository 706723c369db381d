// Thumbprints: their bits, their comparison, and bytes that are none. The reader of serialized bit vectors is held
// against BitMagic, which writes them.
#include "CDGScanner.h"
#include "cdg/ThumbprintReader.h"
#include "support/Crc32.h"
#include "support/KaraokeStream.h"
#include "support/Noise.h"
#include "support/PlainScanner.h"
#include "support/TempFolder.h"

#include <algorithm>
#include <bm/bm.h>
#include <bm/bmserial.h>
#include <gtest/gtest.h>
#include <set>

namespace {

using Bits = bm::bvector<>;
using Bytes = std::vector<u8>;
using Piece = ThumbprintReader::Piece;

constexpr int packsPerImage = 6000;

Bytes ThumbprintOf(const Bytes& packs)
{
    const TempFolder folder;
    const std::string file = folder.Write("song.cdg", std::string(packs.begin(), packs.end()));
    unsigned char* buffer = nullptr;
    int size = 0;
    EXPECT_TRUE(CCDGScanner::GetCDGThumbprint(file.c_str(), buffer, size));
    const Bytes bytes(buffer, buffer + size);
    CCDGScanner::ReleaseCDGThumbprint(buffer);
    return bytes;
}

int Diff(Bytes a, Bytes b)
{
    return CCDGScanner::GetCDGThumbprintDiff(a.data(), static_cast<int>(a.size()), b.data(),
                                             static_cast<int>(b.size()));
}

std::vector<bool> Unpack(const Bytes& bytes)
{
    Bits packed;
    packed.resize(0); // grows to the stored size
    bm::deserialize(packed, bytes.data());
    std::vector<bool> bits(packed.size());
    for (auto bit = packed.first(); bit.valid(); ++bit)
        bits.at(*bit) = true;
    return bits;
}

Bytes Song(u32 seed, int packs)
{
    Dice dice(seed);
    PackStream stream;
    while (stream.Count() < packs) {
        AddKaraoke(stream, dice, 1);
        stream.Empty(dice(900));
    }
    stream.bytes.resize(static_cast<std::size_t>(packs) * kPackSize);
    return stream.bytes;
}

struct Style {
    unsigned level;
    bool gapLengths, byteOrder, bookmarks;
};

Bytes Serialize(const Bits& bits, const Style& style)
{
    bm::serializer<Bits> serializer;
    serializer.set_compression_level(style.level);
    serializer.gap_length_serialization(style.gapLengths);
    serializer.byte_order_serialization(style.byteOrder);
    serializer.set_bookmarks(style.bookmarks, 1);
    bm::serializer<Bits>::buffer buffer;
    serializer.serialize(bits, buffer, nullptr);
    return Bytes(buffer.data(), buffer.data() + buffer.size());
}

/// Everything that the reader reads, or false.
bool ReadAll(const Bytes& bytes, Bits& bits)
{
    ThumbprintReader reader(bytes.data(), bytes.size());
    for (;;) {
        const Piece piece = reader.Next();
        if (piece == Piece::End || piece == Piece::Broken)
            return piece == Piece::End;
        const u32 first = reader.Block() * ThumbprintReader::bitsInBlock;
        if (piece == Piece::Ones)
            bits.set_range(first, first + (reader.Count() * ThumbprintReader::bitsInBlock - 1));
        else
            for (u32 i = 0; i < ThumbprintReader::bitsInBlock; ++i)
                if (reader.Bits()[i / 64] >> i % 64 & 1)
                    bits.set(first + i);
    }
}

/// Vectors that BitMagic stores in different ways: by how full they are, and whether bits stand alone or in runs.
Bits RandomBits(Dice& dice)
{
    Bits bits;
    bits.resize(600000);
    for (u32 block = 0; block < 9; ++block) {
        const u32 first = block * ThumbprintReader::bitsInBlock;
        const int kind = dice(9), few = 1 + dice(12), many = 200 + dice(30000), inverted = dice(3);
        const auto place = [&](u32 within) { return first + static_cast<u32>(dice(static_cast<int>(within))); };
        if (kind == 0)
            continue;
        if (kind == 1 || inverted == 0)
            bits.set_range(first, first + ThumbprintReader::bitsInBlock - 1);
        if (kind == 1)
            continue;
        const bool on = inverted != 0;
        for (int i = 0; i < (kind < 4 ? few : many); ++i) {
            if (kind == 8) { // two crowded corners
                bits.set(place(900) + (i % 2 == 0 ? 40 * 1024 : 0), on);
            } else if (kind % 2 == 0) {
                bits.set(place(ThumbprintReader::bitsInBlock), on);
            } else {
                const u32 from = place(kind == 7 ? 3000 : ThumbprintReader::bitsInBlock - 400);
                bits.set_range(from, from + static_cast<u32>(dice(kind == 5 ? 400 : 6)), on);
            }
        }
    }
    return bits;
}

} // namespace

TEST(Thumbprint, HasTheBitsOfThePlainRule)
{
    for (const int packs : {0, packsPerImage, packsPerImage + 1, 2 * packsPerImage, 3 * packsPerImage + 7}) {
        SCOPED_TRACE(packs);
        const Bytes song = Song(3, packs);
        const std::vector<bool> expected = ThumbprintPlainly(song);
        EXPECT_EQ(expected.size(), static_cast<std::size_t>(std::max(packs - 1, 0) / packsPerImage) * 55296);
        EXPECT_EQ(Unpack(ThumbprintOf(song)), expected);
    }
}

TEST(Thumbprint, IsTheSameBytesOnEverySystem)
{
    const Bytes thumbprint = ThumbprintOf(Song(7, 5 * packsPerImage + 1));
    EXPECT_EQ(thumbprint.size(), 11464u);
    EXPECT_EQ(Crc32(thumbprint), 1821319637u);
}

TEST(Thumbprint, DiffersWhereTheBitsDo)
{
    const Bytes songs[] = {Song(1, 0), Song(1, packsPerImage + 1), Song(1, 3 * packsPerImage + 1),
                           Song(2, 3 * packsPerImage + 1)};
    for (const Bytes& a : songs)
        for (const Bytes& b : songs) {
            std::vector<bool> one = ThumbprintPlainly(a), other = ThumbprintPlainly(b);
            one.resize(std::max(one.size(), other.size()));
            other.resize(one.size());
            int differing = 0;
            for (std::size_t i = 0; i < one.size(); ++i)
                differing += one[i] != other[i];
            EXPECT_EQ(Diff(ThumbprintOf(a), ThumbprintOf(b)), differing);
            EXPECT_EQ(differing == 0, &a == &b);
        }
}

TEST(Thumbprint, OfNothingIsRefused)
{
    unsigned char other = 0;
    unsigned char* buffer = &other;
    int size = 5;
    EXPECT_FALSE(CCDGScanner::GetCDGThumbprint(TempFolder().Path("absent.cdg").c_str(), buffer, size));
    EXPECT_EQ(buffer, nullptr);
    EXPECT_EQ(size, 0);
    CCDGScanner::ReleaseCDGThumbprint(nullptr);
}

TEST(Thumbprint, BytesThatAreNoneAreToldApart)
{
    const Bytes good = ThumbprintOf(Song(1, packsPerImage + 1)), empty = ThumbprintOf({});
    for (std::size_t size = 0; size < good.size(); ++size) {
        const Bytes cut(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(size)); // exact, for the sanitiser
        EXPECT_EQ(Diff(cut, good), -1) << size;
        EXPECT_EQ(Diff(empty, cut), -1) << size;
    }
    Bytes longer = good;
    longer.push_back(0x77);
    EXPECT_EQ(Diff(longer, good), 0);
    EXPECT_EQ(CCDGScanner::GetCDGThumbprintDiff(nullptr, 9, nullptr, 9), -1);
    EXPECT_EQ(CCDGScanner::GetCDGThumbprintDiff(longer.data(), -1, longer.data(), 5), -1);
    for (std::size_t at = 0; at < good.size(); ++at) // may happen to be one; must not harm
        for (const int bit : {0, 3, 7}) {
            Bytes wrong = good;
            wrong[at] = static_cast<u8>(wrong[at] ^ 1 << bit);
            EXPECT_GE(Diff(wrong, good), -1);
        }
    for (u32 seed = 0; seed < 3000; ++seed) {
        const std::string noise = Noise(seed, seed % 97);
        Bytes bytes(noise.begin(), noise.end());
        if (bytes.size() > 6 && seed % 2 == 0)
            std::copy_n(good.begin(), 6, bytes.begin()); // the header as it should be
        EXPECT_GE(Diff(bytes, good), -1);
    }
}

TEST(ThumbprintReader, ReadsWhatBitMagicWrites)
{
    Dice dice(11);
    for (int round = 0; round < 120; ++round) {
        SCOPED_TRACE(round);
        Bits bits = RandomBits(dice);
        if (dice.OneIn(2))
            bits.optimize();
        const Style style{static_cast<unsigned>(round % 6), dice.OneIn(3), !dice.OneIn(3), dice.OneIn(3)};
        const Bytes bytes = Serialize(bits, style);
        Bits read;
        read.resize(bits.size());
        ASSERT_TRUE(ReadAll(bytes, read));
        EXPECT_EQ(read.compare(bits), 0) << "level " << style.level;
    }
}

// Block codes that this BitMagic reads and hardly ever or never writes: heads as they should be, then anything. Few
// runs only, since its own reader has no bounds.
TEST(ThumbprintReader, ReadsOlderFormsAsBitMagicDoes)
{
    Dice dice(12);
    const Bytes heads[] = {
        {0x11, 1, 17, 0xF0, 0x07, 0xFF, 0x07},          // words 2032…2047
        {0x11, 1, 20, 5 << 3 | 1, 0},                   // five runs, the first one set
        {0x11, 1, 27, 9 << 3, 0, 7, 0},                 // nine runs, the first one to bit 7
        {0x11, 1, 34, 0x01, 0, 0, 0x40, 0, 0, 0, 0x80}, // three waves of 32 words
        {0x11, 1, 43, 9 << 3 | 7, 0, 7, 9},             // nine runs, first and last in short form
        {0x11, 1, 29, 3, 0, 0xF0, 0xFF, 0x0C},          // a gamma code of a few, then their positions
    };
    for (const Bytes& head : heads) {
        int accepted = 0;
        for (int round = 0; round < 300; ++round) {
            Bytes bytes = head;
            for (int i = 0; i < 400; ++i)
                bytes.push_back(dice.Byte());
            ThumbprintReader reader(bytes.data(), bytes.size());
            if (reader.Next() != Piece::Bits)
                continue;
            ++accepted;
            std::fill(bytes.begin() + static_cast<std::ptrdiff_t>(reader.Position()), bytes.end(), u8{9});
            Bits expected, read;
            bm::deserialize(expected, bytes.data());
            for (u32 i = 0; i < ThumbprintReader::bitsInBlock; ++i)
                if (reader.Bits()[i / 64] >> i % 64 & 1)
                    read.set(i);
            ASSERT_EQ(read.compare(expected), 0) << "code " << int{head[2]};
        }
        EXPECT_GT(accepted, 20) << "code " << int{head[2]};
    }
}

TEST(ThumbprintReader, RefusesWhatReachesTooFar)
{
    const struct {
        const char* name;
        Bytes bytes;
        Piece last;
    } cases[] = {
        {"an empty vector", {0x12, 1, 0, 0, 0, 0, 9}, Piece::End},
        {"a vector without a size may go on to the last block", {0x11, 1, 10}, Piece::End},
        {"zeros up to the last block need no end", {0x11, 1, 5, 0xFF, 0xFF, 1}, Piece::End},
        {"zeros past the last block", {0x11, 1, 7, 1, 0, 1, 0, 0}, Piece::Broken},
        {"ones past the stated size", {0x12, 1, 0, 0, 1, 0, 4, 2, 0}, Piece::Broken},
        {"a run of no blocks", {0x11, 1, 4, 0, 0}, Piece::Broken},
        {"the other byte order", {0x11, 0, 9}, Piece::Broken},
        {"positions of 64 bits", {0x31, 1, 9}, Piece::Broken},
        {"a block like that of another vector", {0x51, 1, 35, 0, 0, 0, 0, 9}, Piece::Broken},
        {"an interval that ends before it begins", {0x11, 1, 17, 5, 0, 4, 0, 9}, Piece::Broken},
        {"an interval past the block", {0x11, 1, 17, 0xFF, 7, 0, 8, 1, 1, 1, 1, 1, 1, 1, 1, 9}, Piece::Broken},
        {"a list longer than the bytes", {0x11, 1, 18, 0xFF, 0xFF, 0, 0, 9}, Piece::Broken},
        {"runs that go back", {0x11, 1, 14, 0x18, 0, 5, 0, 4, 0, 9}, Piece::Broken},
        {"more numbers than there is room for", {0x11, 1, 31, 5, 0, 7, 0, 9, 0, 0, 0, 0, 0, 9}, Piece::Broken},
        {"a gamma code without end", {0x11, 1, 21, 0, 0, 0, 0, 0, 0, 0, 0, 9}, Piece::Broken},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        ThumbprintReader reader(c.bytes.data(), c.bytes.size());
        Piece piece = reader.Next();
        while (piece == Piece::Bits || piece == Piece::Ones)
            piece = reader.Next();
        EXPECT_EQ(piece, c.last);
        EXPECT_EQ(reader.Next(), c.last);
    }
    // All bits of all positions against none.
    EXPECT_EQ(Diff({0x11, 1, 10}, {0x11, 1, 9}), INT32_MAX);
}
