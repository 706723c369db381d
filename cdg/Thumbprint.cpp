// Thumbprints of CD+G streams, made and compared: see CDGScanner.h. The layout is told in docs/formats.md.
#include "CDGEmulator.h"
#include "CDGInputFile.h"
#include "CDGScanner.h"
#include "IndexScreen.h"
#include "PackPieces.h"
#include "PackedBits.h"
#include "ThumbprintReader.h"

#include <algorithm>
#include <climits>
#include <emmintrin.h>
#include <memory>

namespace {

using CDGEmulator::CCDGEmulator;
using CDGEmulator::IndexScreen;

constexpr int packsPerImage = 20 * kPacksPerSecond;
constexpr u32 wordsInRow = CCDGEmulator::visibleWidth / 32;
constexpr u32 bitsInImage = u32{CCDGEmulator::visibleWidth} * CCDGEmulator::visibleHeight;
// Beyond this a position no longer fits 32 bits: eighteen days.
constexpr u32 imagesAtMost = UINT32_MAX / bitsInImage;

// Collects images bit by bit and hands whole blocks to the vector.
class ThumbprintMaker {
public:
    void Add(const CDib& screen)
    {
        if (images == imagesAtMost)
            return;
        ++images;
        for (int y = 0; y < CCDGEmulator::visibleHeight; ++y)
            AddRow(screen.GetRow(CCDGEmulator::visibleTop + y) + CCDGEmulator::visibleLeft);
    }

    // Everything so far as bytes; afterwards this is empty.
    PackedBits::Bytes Serialize()
    {
        if (used != 0)
            Flush();
        return bits.Serialize(images * bitsInImage);
    }

private:
    // 288 pixels, and 16 bytes that may be read behind them.
    void AddRow(const u8* pixels)
    {
        const __m128i zero = _mm_setzero_si128();
        const auto clear = [&](const u8* from) {
            const __m128i sixteen = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
            return static_cast<u32>(_mm_movemask_epi8(_mm_cmpeq_epi8(sixteen, zero)));
        };
        for (u32 i = 0; i < wordsInRow; ++i, pixels += 32) {
            words[used] = ~(clear(pixels) | clear(pixels + 16) << 16);
            if (++used == words.size())
                Flush();
        }
    }

    void Flush()
    {
        std::fill(words.begin() + static_cast<std::ptrdiff_t>(used), words.end(), 0);
        used = 0;
        bits.AddBlock(nextBlock++, words);
    }

    PackedBits bits;
    PackedBits::Block words{}; // the block that is being filled
    std::size_t used = 0;
    u32 nextBlock = 0;
    u32 images = 0;
};

int CountOnes(u64 word)
{
    word -= word >> 1 & 0x5555555555555555;
    word = (word & 0x3333333333333333) + (word >> 2 & 0x3333333333333333);
    word = (word + (word >> 4)) & 0x0F0F0F0F0F0F0F0F;
    return static_cast<int>(word * 0x0101010101010101 >> 56);
}

// One of the two sides of a comparison: a piece of it and where that begins.
class Side {
public:
    Side(const u8* bytes, int size) : reader(bytes, size > 0 ? static_cast<std::size_t>(size) : 0) { Advance(); }

    bool IsBroken() const { return piece == ThumbprintReader::Piece::Broken; }
    bool IsAtEnd() const { return IsBroken() || piece == ThumbprintReader::Piece::End; }
    u64 Block() const { return IsAtEnd() ? UINT64_MAX : block; }
    u32 Count() const { return count; }
    u64 Word(std::size_t i) const { return piece == ThumbprintReader::Piece::Ones ? ~u64{0} : reader.Bits()[i]; }
    void Skip(u32 blocks)
    {
        block += blocks;
        count -= blocks;
        if (count == 0)
            Advance();
    }

private:
    void Advance()
    {
        piece = reader.Next();
        block = reader.Block();
        count = reader.Count();
    }

    ThumbprintReader reader;
    ThumbprintReader::Piece piece = ThumbprintReader::Piece::Broken;
    u64 block = 0;
    u32 count = 0;
};

// Set bits of one block, or of what two blocks differ in.
template <class Word>
u64 CountBlock(Word word)
{
    u64 total = 0;
    for (std::size_t i = 0; i < ThumbprintReader::bitsInBlock / 64; ++i)
        total += static_cast<u64>(CountOnes(word(i)));
    return total;
}

} // namespace

bool CCDGScanner::GetCDGThumbprint(const char* path, unsigned char*& buffer, int& size)
{
    buffer = nullptr;
    size = 0;
    CCDGInputFile input;
    if (!path || !input.Open(path, CFile::modeRead | CFile::shareDenyNone, nullptr))
        return false;
    IndexScreen screen;
    ThumbprintMaker thumbprint;
    PackPieces pieces(input);
    int untilImage = packsPerImage;
    while (const u8* raw = pieces.Next()) {
        screen.Apply(raw);
        if (untilImage-- == 0) {
            thumbprint.Add(screen.Image());
            untilImage = packsPerImage - 1;
        }
    }
    PackedBits::Bytes bytes = thumbprint.Serialize();
    size = static_cast<int>(bytes.size); // at most 512 MB
    buffer = bytes.data.release();
    return true;
}

void CCDGScanner::ReleaseCDGThumbprint(unsigned char* buffer)
{
    delete[] buffer;
}

int CCDGScanner::GetCDGThumbprintDiff(unsigned char* a, int aSize, unsigned char* b, int bSize)
{
    Side one(a, aSize), other(b, bSize);
    u64 differing = 0;
    while (!one.IsAtEnd() || !other.IsAtEnd()) {
        if (one.IsBroken() || other.IsBroken())
            break;
        if (one.Block() == other.Block()) {
            const u32 blocks = std::min(one.Count(), other.Count());
            differing += blocks * CountBlock([&](std::size_t i) { return one.Word(i) ^ other.Word(i); });
            one.Skip(blocks);
            other.Skip(blocks);
            continue;
        }
        Side& first = one.Block() < other.Block() ? one : other;
        const Side& second = &first == &one ? other : one;
        const auto blocks = static_cast<u32>(std::min<u64>(first.Count(), second.Block() - first.Block()));
        differing += blocks * CountBlock([&first](std::size_t i) { return first.Word(i); });
        first.Skip(blocks);
    }
    if (one.IsBroken() || other.IsBroken())
        return -1;
    return static_cast<int>(std::min<u64>(differing, INT_MAX));
}
