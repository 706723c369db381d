// Reads serialized bit vectors: see ThumbprintReader.h. The form is told in docs/formats.md.
#include "ThumbprintReader.h"

#include "audio/LittleEndian.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace {

// Flags of the first byte.
enum : u8 {
    kWholeRange = 1,   // the vector has no size of its own
    kSized = 2,        // its size follows
    kPlainList = 4,    // an older form without blocks
    kNoByteOrder = 8,  // no byte that tells the byte order
    kNoGapLevels = 16, // no list of memory sizes
    kWide = 32,        // 64-bit positions
    kRefersToOthers = 64,
    kKnownFlags = 63
};
constexpr u8 kLittleEndian = 1;
constexpr int kGapLevelBytes = 4 * 2;

// Block codes.
enum : u8 {
    kEnd = 0,
    kZero1 = 1,
    kOne1 = 2,
    kZero8 = 3, // zero and one blocks, with a count of 8, 16 and 32 bits
    kOne8 = 4,
    kZero16 = 5,
    kOne16 = 6,
    kZero32 = 7,
    kOne32 = 8,
    kRestZero = 9,
    kRestOne = 10,
    kAllWords = 11,
    kGap = 14,
    kGapFromBits = 15,
    kBitList = 16,
    kWordInterval = 17,
    kList = 18,
    kOneBit = 19,
    kGapGamma = 20,
    kListGamma = 21,
    kWordRuns = 22,
    kListGammaInverted = 23,
    kListInverted = 24,
    kGapCentred = 27, // centred: numbers that are coded by interpolation
    kListCentred = 28,
    kListCentredInverted = 29,
    kBitListInverted = 30,
    kLongListCentred = 31,
    kLongListCentredInverted = 32,
    kLongGapCentred = 33,
    kWaves = 34,
    kGapCentred2 = 43, // the second form, with shorter first and last values
    kListCentred2 = 44,
    kListCentredInverted2 = 45,
    kBookmark16 = 47,
    kBookmark24 = 48,
    kBookmark32 = 49,
    kSync8 = 50,
    kSync16 = 51,
    kSync24 = 52,
    kSync32 = 53,
    kShortZeroRun = 128 // and the count in the low seven bits
};

constexpr u32 kLastBit = ThumbprintReader::bitsInBlock - 1;
constexpr u32 kWords32 = ThumbprintReader::bitsInBlock / 32;
constexpr int kWordsInWave32 = 32;

} // namespace

// Bits within the bytes, lowest first, in words of four bytes that are fetched when they are needed.
class ThumbprintReader::BitSource {
public:
    explicit BitSource(ThumbprintReader& bytes) : source(bytes) {}

    // 1…31 bits.
    u32 Get(int wanted)
    {
        if (held < wanted) {
            bits |= static_cast<u64>(Fetch()) << held;
            held += 32;
        }
        const u32 value = static_cast<u32>(bits) & ((u32{1} << wanted) - 1);
        bits >>= wanted;
        held -= wanted;
        return value;
    }

    // A number from 1 on in Elias' gamma code; 0 when it is longer than any that fits.
    u32 Gamma()
    {
        int zeros = 0;
        while (bits == 0) {
            zeros += held;
            if (zeros > longest || source.ranOut)
                return 0;
            bits = Fetch();
            held = 32;
        }
        const int more = std::countr_zero(bits);
        zeros += more;
        bits >>= more + 1;
        held -= more + 1;
        if (zeros > longest)
            return 0;
        return zeros == 0 ? 1 : Get(zeros) | u32{1} << zeros;
    }

    // `size` rising numbers of `low`…`high`, the middle one first; `put` gets the place and the number of each. False
    // when they do not fit.
    template <class Put>
    bool Centred(u32 place, u32 size, u32 low, u32 high, const Put& put)
    {
        while (size != 0) {
            if (high < low || high - low + 1 < size || source.ranOut)
                return false;
            const u32 spare = high - low + 1 - size; // the middle one has spare + 1 values to choose from
            u32 value = 0;
            if (spare != 0) {
                // The values in the middle take one bit less.
                const int length = static_cast<int>(std::bit_width(spare + 1)) - 1;
                // NOLINTNEXTLINE(clang-analyzer-core.UndefinedBinaryOperatorResult): at least 0: there is a bit to read
                const i32 half = static_cast<i32>(((u32{2} << length) - spare - 1) / 2),
                          centre = static_cast<i32>(spare / 2);
                const i32 below = centre - half - static_cast<i32>((spare + 1) & 1), above = centre + half + 1;
                value = Get(length);
                if (static_cast<i32>(value) <= below || static_cast<i32>(value) >= above)
                    value |= Get(1) << length;
                if (value > spare)
                    return false;
            }
            const u32 middle = size / 2;
            value += low + middle;
            put(place + middle, value);
            if (middle != 0 && !Centred(place, middle, low, value - 1, put)) // at most 16 deep
                return false;
            place += middle + 1;
            size -= middle + 1;
            low = value + 1;
        }
        return true;
    }

private:
    u32 Fetch()
    {
        if (!source.Has(4))
            return source.Get(4);
        const u32 word = NV::LoadLE32(source.at);
        source.at += 4;
        return word;
    }

    static constexpr int longest = 16; // 65536 takes so many bits behind its first

    ThumbprintReader& source;
    u64 bits = 0;
    int held = 0;
};

ThumbprintReader::ThumbprintReader(const u8* bytes, std::size_t size)
    : begin(bytes), at(bytes), end(bytes ? bytes + size : bytes), bits(std::make_unique<Words>()),
      gaps(std::make_unique_for_overwrite<u16[]>(bitsInBlock))
{
    const u32 flags = Get(1);
    if ((flags & ~u32{kKnownFlags}) != 0 || (flags & (kPlainList | kWide)) != 0)
        return;
    if (((flags & kWholeRange) != 0) == ((flags & kSized) != 0))
        return;
    if ((flags & kNoByteOrder) == 0 && Get(1) != kLittleEndian)
        return;
    if ((flags & kNoGapLevels) == 0) {
        Get(kGapLevelBytes / 2);
        Get(kGapLevelBytes / 2);
    }
    blocksUsed = flags & kSized ? (u64{Get(4)} + bitsInBlock - 1) / bitsInBlock : blocksAtMost;
    if (!ranOut)
        state = Piece::Bits;
}

u32 ThumbprintReader::Get(int bytes)
{
    if (!Has(static_cast<std::size_t>(bytes))) {
        ranOut = true;
        at = end;
        return 0;
    }
    u32 value = 0;
    for (int i = 0; i < bytes; ++i)
        value |= static_cast<u32>(at[i]) << 8 * i;
    at += bytes;
    return value;
}

ThumbprintReader::Piece ThumbprintReader::Break()
{
    return state = Piece::Broken;
}

// Every round takes at least one byte, so this ends.
ThumbprintReader::Piece ThumbprintReader::Next()
{
    while (state != Piece::End && state != Piece::Broken) {
        if (next == blocksAtMost)
            return state = Piece::End;
        const u64 first = next;
        const auto code = static_cast<u8>(Get(1));
        count = 0;
        if (ranOut)
            return Break();
        if (code == kEnd || code == kRestZero)
            return state = Piece::End;
        if (!ReadBlock(code) || ranOut || next > blocksAtMost)
            return Break();
        if (count == 0)
            continue; // zeros, or a mark
        if (next > blocksUsed)
            return Break();
        block = static_cast<u32>(first);
        return state;
    }
    return state;
}

// Reads what follows a code: `next` moves on, `count` and `state` tell what it was.
bool ThumbprintReader::ReadBlock(u8 code)
{
    if (code >= kShortZeroRun) {
        next += code - kShortZeroRun;
        return code != kShortZeroRun;
    }
    if (code <= kRestOne)
        return ReadRuns(code);
    if (code >= kBookmark16 && code <= kSync32)
        return SkipMark(code);
    bits->fill(0);
    state = Piece::Bits;
    count = 1;
    ++next;
    switch (code) {
    case kAllWords:
    case kWordInterval:
    case kWordRuns:
    case kWaves:
        return ReadWords(code);
    case kGap:
    case kGapFromBits:
    case kGapGamma:
    case kGapCentred:
    case kGapCentred2:
    case kLongGapCentred:
        return ReadGaps(code);
    case kListInverted:
    case kBitListInverted:
    case kListGammaInverted:
    case kListCentredInverted:
    case kListCentredInverted2:
    case kLongListCentredInverted:
        if (!ReadList(code))
            return false;
        for (u64& word : *bits)
            word = ~word;
        return true;
    default:
        return ReadList(code);
    }
}

bool ThumbprintReader::ReadRuns(u8 code)
{
    const bool ones = code % 2 == 0;
    u64 run = 1;
    if (code == kRestOne)
        run = blocksUsed > next ? blocksUsed - next : 0;
    else if (code >= kZero8)
        run = Get(1 << (code - kZero8) / 2);
    next += run;
    if (ones) {
        state = Piece::Ones;
        count = static_cast<u32>(std::min<u64>(run, blocksAtMost));
    }
    if (code == kRestOne) // nothing follows
        next = blocksUsed = blocksAtMost;
    return run != 0;
}

// Marks let a reader jump ahead; this one reads everything.
bool ThumbprintReader::SkipMark(u8 code)
{
    Get(code < kSync8 ? code - kBookmark16 + 2 : code - kSync8 + 1);
    return true;
}

bool ThumbprintReader::ReadWords(u8 code)
{
    const auto take = [this](u32 first, u32 words) { // of 32 bits
        if (first > kWords32 || words > kWords32 - first || !Has(std::size_t{words} * 4))
            return false;
        for (u32 i = first; i < first + words; ++i, at += 4)
            (*bits)[i / 2] |= static_cast<u64>(NV::LoadLE32(at)) << i % 2 * 32;
        return true;
    };
    if (code == kAllWords)
        return take(0, kWords32);
    if (code == kWordInterval) {
        const u32 first = Get(2), last = Get(2);
        return first <= last && take(first, last - first + 1);
    }
    if (code == kWaves) {
        const u64 low = Get(4);
        u64 waves = low | static_cast<u64>(Get(4)) << 32;
        for (; waves != 0; waves &= waves - 1)
            if (!take(static_cast<u32>(std::countr_zero(waves)) * kWordsInWave32, kWordsInWave32))
                return false;
        return true;
    }
    bool filled = Get(1) != 0;
    for (u32 word = 0; word < kWords32; filled = !filled) {
        const u32 run = Get(2);
        if (ranOut || run == 0 || run > kWords32 - word || (filled && !take(word, run)))
            return false;
        word += run;
    }
    return true;
}

// Positions of single bits. False for codes that nobody knows.
bool ThumbprintReader::ReadList(u8 code)
{
    const auto set = [this](u32, u32 bit) { Set(bit); };
    BitSource source(*this);
    switch (code) {
    case kOneBit:
        Set(Get(2));
        return true;
    case kList:
    case kListInverted:
    case kBitList:
    case kBitListInverted: {
        const u32 size = Get(2);
        if (!Has(std::size_t{size} * 2))
            return false;
        for (u32 i = 0; i < size; ++i, at += 2)
            Set(NV::LoadLE16(at));
        return true;
    }
    case kListGamma:
    case kListGammaInverted: {
        const u32 size = source.Gamma();
        u32 bit = 0;
        for (u32 i = 0; i < size; ++i) {
            const u32 step = source.Gamma();
            bit += i == 0 ? step - 1 : step;
            if (step == 0 || bit > kLastBit)
                return false;
            Set(bit);
        }
        return size != 0;
    }
    default:
        break;
    }
    u32 size = 0, first = 0, last = 0;
    if (code == kListCentred2 || code == kListCentredInverted2) {
        const u32 head = Get(2);
        first = Get(head & 1 ? 1 : 2);
        last = first + Get(head & 2 ? 1 : 2);
        size = head >> 2;
    } else {
        first = Get(2);
        last = Get(2);
        if (code == kLongListCentred || code == kLongListCentredInverted)
            size = Get(2);
        else if (code == kListCentred || code == kListCentredInverted)
            size = source.Gamma() + 4;
    }
    if (size < 2 || last > kLastBit || first > last)
        return false;
    Set(first);
    Set(last);
    return source.Centred(0, size - 2, first, last, set);
}

// Runs of clear and set bits in turn. Their ends are stored, but for the last, which is the block's.
bool ThumbprintReader::ReadGaps(u8 code)
{
    const auto put = [this](u32 place, u32 value) { gaps[place] = static_cast<u16>(value); };
    BitSource source(*this);
    if (code == kLongGapCentred) {
        const bool startsSet = (Get(1) & 1) != 0;
        const u32 size = Get(2);
        gaps[0] = static_cast<u16>(Get(2));
        return size >= 2 && source.Centred(1, size - 2, gaps[0], kLastBit, put) && DrawGaps(startsSet, size - 1);
    }
    const u32 head = Get(2), size = head >> 3;
    const bool startsSet = (head & 1) != 0;
    switch (code) {
    case kGap:
    case kGapFromBits:
        if (size == 0 || !Has((std::size_t{size} - 1) * 2))
            return false;
        for (u32 i = 0; i + 1 < size; ++i, at += 2)
            gaps[i] = NV::LoadLE16(at);
        break;
    case kGapGamma: {
        u32 last = 0;
        for (u32 i = 0; i + 1 < size; ++i) {
            const u32 step = source.Gamma();
            last += i == 0 ? step - 1 : step;
            if (step == 0 || last > kLastBit)
                return false;
            gaps[i] = static_cast<u16>(last);
        }
        if (size < 2)
            return false;
        break;
    }
    case kGapCentred:
        gaps[0] = static_cast<u16>(Get(2));
        if (size < 2 || !source.Centred(1, size - 2, gaps[0], kLastBit, put))
            return false;
        break;
    default: { // kGapCentred2
        gaps[0] = static_cast<u16>(Get(head & 2 ? 1 : 2));
        const u32 last = kLastBit - Get(head & 4 ? 1 : 2);
        if (size < 3 || !source.Centred(1, size - 3, gaps[0], last, put))
            return false;
        gaps[size - 2] = static_cast<u16>(last);
        break;
    }
    }
    return DrawGaps(startsSet, size - 1);
}

bool ThumbprintReader::DrawGaps(bool startsSet, u32 gapCount)
{
    bool set = startsSet;
    u32 first = 0;
    for (u32 i = 0; i < gapCount; ++i, set = !set) {
        const u32 last = gaps[i];
        if (last < first)
            return false;
        if (set)
            SetRange(first, last);
        first = last + 1;
    }
    if (first > kLastBit)
        return false;
    if (set)
        SetRange(first, kLastBit);
    return true;
}

void ThumbprintReader::SetRange(u32 first, u32 last)
{
    const u64 from = ~u64{0} << first % 64, to = ~u64{0} >> (63 - last % 64);
    const std::size_t firstWord = first / 64, lastWord = last / 64;
    if (firstWord == lastWord) {
        (*bits)[firstWord] |= from & to;
        return;
    }
    (*bits)[firstWord] |= from;
    for (std::size_t word = firstWord + 1; word < lastWord; ++word)
        (*bits)[word] = ~u64{0};
    (*bits)[lastWord] |= to;
}
