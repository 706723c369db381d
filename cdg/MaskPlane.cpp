// The mask of drawn pixels: see MaskPlane.h.
#include "MaskPlane.h"

#include "Dib.h"

#include <algorithm>
#include <cstdlib>
#include <type_traits>

namespace CDGEmulator {

namespace {

using Row = MaskPlane::Row;

template <int value>
using Known = std::integral_constant<int, value>; // an outline that the compiler knows

// Bits of the pixels [left, right).
constexpr Row Span(int left, int right)
{
    Row row{};
    for (int word = 0; word < MaskPlane::words; ++word) {
        const int from = std::clamp(left + MaskPlane::origin - 64 * word, 0, 64);
        const int to = std::clamp(right + MaskPlane::origin - 64 * word, 0, 64);
        const u64 below = to == 64 ? ~u64{0} : (u64{1} << to) - 1;
        row[static_cast<std::size_t>(word)] = from == 64 ? 0 : below & ~((u64{1} << from) - 1);
    }
    return row;
}

constexpr Row screen = Span(0, MaskPlane::width);

// Moves the pixels of a row to the left, 0…63 places.
Row Left(const Row& row, int places)
{
    if (places == 0)
        return row;
    Row out{};
    for (std::size_t i = 0; i < out.size(); ++i)
        out[i] = row[i] >> places | (i + 1 < out.size() ? row[i + 1] << (64 - places) : 0);
    return out;
}

Row Right(const Row& row, int places)
{
    if (places == 0)
        return row;
    Row out{};
    for (std::size_t i = 0; i < out.size(); ++i)
        out[i] = row[i] << places | (i > 0 ? row[i - 1] >> (64 - places) : 0);
    return out;
}

void Add(Row& row, const Row& other)
{
    for (std::size_t i = 0; i < row.size(); ++i)
        row[i] |= other[i];
}

// Bits of the bytes of an image row that differ from `key`. Reads 304 bytes.
Row Differing(const u8* bytes, int key)
{
    const __m128i keys = _mm_set1_epi8(static_cast<char>(key));
    Row row{};
    for (int x = 0; x < MaskPlane::width; x += 16) {
        const __m128i same = _mm_cmpeq_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes + x)), keys);
        const auto bits = static_cast<u64>(~static_cast<unsigned>(_mm_movemask_epi8(same)) & 0xFFFFu);
        const auto at = static_cast<unsigned>(x + MaskPlane::origin); // a multiple of 16: the bits stay in one word
        row[at / 64] |= bits << (at % 64);
    }
    for (std::size_t i = 0; i < row.size(); ++i)
        row[i] &= screen[i];
    return row;
}

} // namespace

void MaskPlane::DrawTile(int tileRow, int tileColumn, const TileInk& ink, int outline)
{
    if (outline == 2) // what everybody uses: the compiler unrolls for it
        DrawTileWith(tileRow, tileColumn, ink, Known<2>());
    else
        DrawTileWith(tileRow, tileColumn, ink, outline);
}

template <class Outline>
void MaskPlane::DrawTileWith(int tileRow, int tileColumn, const TileInk& ink, Outline outline)
{
    constexpr bool known = !std::is_same_v<Outline, int>;
    constexpr std::size_t margin =
        known ? 2 * std::size_t{std::conditional_t<known, Outline, Known<0>>::value} : 2 * maxOutline;
    // Patterns of one row stand `outline` bits to the left of the tile's first column. `spread` is a row's ink widened
    // by the outline on both sides, with empty rows around the twelve of the tile.
    const int x = tileColumn * 6, y = tileRow * 12;
    const int cutLeft = std::max(outline - x, 0), kept = std::min(width - x + outline, 6 + 2 * outline);
    const u64 onScreen = ((u64{1} << kept) - 1) & ~((u64{1} << cutLeft) - 1);
    std::array<u64, 12 + 2 * margin> spread{};
    for (int r = 0; r < 12; ++r) {
        const u64 drawn = ink.drawn[static_cast<std::size_t>(r)];
        u64 wide = drawn;
        for (int k = 1; k <= 2 * outline; ++k)
            wide |= drawn << k;
        spread[static_cast<std::size_t>(r) + margin] = wide & onScreen;
    }
    const auto base = static_cast<unsigned>(x - outline + origin);
    const std::size_t word = base / 64;
    const unsigned shift = base % 64;
    const bool straddles = shift + 6 + 2 * static_cast<unsigned>(outline) > 64;
    const int first = std::max(-outline, -y), last = std::min(11 + outline, height - 1 - y);
    for (int t = first; t <= last; ++t) {
        const u64* const rowSpread = &spread[static_cast<std::size_t>(t + static_cast<int>(margin))];
        u64 later = 0; // what rows below set, after this one was written
        for (int k = 1; k <= outline; ++k)
            later |= rowSpread[k];
        u64 set = later;
        for (int k = 0; k <= outline; ++k)
            set |= rowSpread[-k];
        u64 clear = 0;
        if (t >= 0 && t < 12) {
            const u64 drawn = ink.drawn[static_cast<std::size_t>(t)];
            u64 rightOf = 0; // ink of this row written after the pixel
            for (int k = 1; k <= outline; ++k)
                rightOf |= drawn >> k;
            clear = static_cast<u64>(ink.cleared[static_cast<std::size_t>(t)]) << outline;
            clear &= ~(later | rightOf << outline);
        }
        Row& row = rows[static_cast<std::size_t>(y + t)];
        row[word] = (row[word] | set << shift) & ~(clear << shift);
        if (straddles)
            row[word + 1] = (row[word + 1] | set >> (64 - shift)) & ~(clear >> (64 - shift));
    }
}

void MaskPlane::Rebuild(const CDib& index, int background, int left, int top, int right, int bottom, int dx, int dy)
{
    const Row area = Span(left, right);
    for (int y = top; y < bottom; ++y) {
        const Row drawn = Left(Differing(index.GetRow(y + dy), background), dx);
        Row& row = rows[static_cast<std::size_t>(y)];
        for (std::size_t i = 0; i < row.size(); ++i)
            row[i] = (row[i] & ~area[i]) | (drawn[i] & area[i]);
    }
}

void MaskPlane::RebuildOutlined(const CDib& index, int background, int outline)
{
    std::array<Row, height> wide;
    for (int y = 0; y < height; ++y) {
        const Row drawn = Differing(index.GetRow(y), background);
        Row& row = wide[static_cast<std::size_t>(y)];
        row = drawn;
        for (int k = 1; k <= outline; ++k) {
            Add(row, Left(drawn, k));
            Add(row, Right(drawn, k));
        }
        for (std::size_t i = 0; i < row.size(); ++i)
            row[i] &= screen[i];
    }
    for (int y = 0; y < height; ++y) {
        Row& row = rows[static_cast<std::size_t>(y)];
        row = {};
        for (int from = std::max(y - outline, 0); from <= std::min(y + outline, height - 1); ++from)
            Add(row, wide[static_cast<std::size_t>(from)]);
    }
}

void MaskPlane::Move(int dx, int dy, int fill)
{
    const auto exposed = [fill](u64 wrapped, u64 mask) { return fill < 0 ? wrapped & mask : fill != 0 ? mask : 0; };
    if (dy != 0) {
        const auto middle = dy > 0 ? rows.begin() + dy : rows.end() + dy;
        std::rotate(rows.begin(), middle, rows.end());
        const auto band = dy > 0 ? rows.end() - dy : rows.begin();
        if (fill >= 0)
            std::fill(band, band + std::abs(dy), fill != 0 ? screen : Row{});
    }
    if (dx == 0)
        return;
    const int count = std::abs(dx);
    const u64 edge = (u64{1} << count) - 1;
    constexpr unsigned leftBit = origin;
    const auto right = static_cast<unsigned>(width - count + origin);
    const std::size_t rightWord = right / 64; // the last few columns lie in one word
    for (Row& row : rows) {
        const u64 leftEdge = row[0] >> leftBit, rightEdge = row[rightWord] >> (right % 64);
        row = dx > 0 ? Left(row, count) : Right(row, count);
        for (std::size_t i = 0; i < row.size(); ++i)
            row[i] &= screen[i];
        if (dx > 0)
            row[rightWord] = (row[rightWord] & ~(edge << right % 64)) | exposed(leftEdge, edge) << right % 64;
        else
            row[0] = (row[0] & ~(edge << leftBit)) | exposed(rightEdge, edge) << leftBit;
    }
}

void MaskPlane::GetBytes(int y, u8* bytes) const
{
    const Row& row = GetRow(y);
    const __m128i bit = _mm_set1_epi64x(static_cast<long long>(0x8040201008040201));
    for (int x = 0; x < width; x += 16) {
        const auto at = static_cast<unsigned>(x + origin);
        __m128i v = _mm_cvtsi32_si128(static_cast<int>(row[at / 64] >> (at % 64) & 0xFFFF));
        v = _mm_unpacklo_epi8(v, v);
        v = _mm_shuffle_epi32(_mm_shufflelo_epi16(v, 0x50), 0x50); // eight copies of either byte
        v = _mm_cmpeq_epi8(_mm_and_si128(v, bit), bit);
        alignas(16) u8 sixteen[16];
        _mm_store_si128(reinterpret_cast<__m128i*>(sixteen), v);
        std::copy(sixteen, sixteen + std::min(16, width - x), bytes + x);
    }
}

void MaskPlane::PutBytes(int y, const u8* bytes)
{
    std::array<u8, 304> padded{};
    std::copy(bytes, bytes + width, padded.begin());
    rows[static_cast<std::size_t>(y)] = Differing(padded.data(), 0);
}

} // namespace CDGEmulator
