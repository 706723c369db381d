// The AVX2 body of the pixel expander: see ExpandPixels.h. This file alone is compiled for AVX2, so it keeps to
// intrinsics: an inline function of a shared header could end up in code that runs on older processors.
#include "ExpandPixels.h"

#include <immintrin.h>

namespace CDGEmulator {

namespace {

__m256i Load(const u8* from)
{
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from));
}

__m256i Components(const u8* table) // sixteen entries, in both halves
{
    return _mm256_broadcastsi128_si256(_mm_load_si128(reinterpret_cast<const __m128i*>(table)));
}

void Store(u8* to, __m128i v)
{
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), v);
}

// Byte shuffles that spread sixteen values of one component over the three 16-byte thirds of 48 interleaved bytes:
// component c of pixel p stands at byte 3p + c.
struct Spread {
    alignas(16) u8 third[3][16];

    constexpr explicit Spread(int component) : third{}
    {
        for (int i = 0; i < 48; ++i)
            third[i / 16][i % 16] = i % 3 == component ? static_cast<u8>(i / 3) : u8{0x80}; // 0x80 gives a zero byte
    }
};
constexpr Spread spreadBlue(0), spreadGreen(1), spreadRed(2);

__m256i Third(int k, __m256i b, __m256i g, __m256i r)
{
    return _mm256_or_si256(_mm256_or_si256(_mm256_shuffle_epi8(b, Components(spreadBlue.third[k])),
                                           _mm256_shuffle_epi8(g, Components(spreadGreen.third[k]))),
                           _mm256_shuffle_epi8(r, Components(spreadRed.third[k])));
}

void To24(u8* to, const u8* from, int count, const ExpandTable& table)
{
    const __m256i blue = Components(table.blue.data()), green = Components(table.green.data()),
                  red = Components(table.red.data());
    for (; count >= 32; count -= 32, from += 32, to += 96) {
        const __m256i index = Load(from);
        const __m256i b = _mm256_shuffle_epi8(blue, index), g = _mm256_shuffle_epi8(green, index),
                      r = _mm256_shuffle_epi8(red, index);
        const __m256i first = Third(0, b, g, r), second = Third(1, b, g, r), last = Third(2, b, g, r);
        Store(to, _mm256_castsi256_si128(first));
        Store(to + 16, _mm256_castsi256_si128(second));
        Store(to + 32, _mm256_castsi256_si128(last));
        Store(to + 48, _mm256_extracti128_si256(first, 1));
        Store(to + 64, _mm256_extracti128_si256(second, 1));
        Store(to + 80, _mm256_extracti128_si256(last, 1));
    }
    expanderPlain.to24(to, from, count, table);
}

void To32(u8* to, const u8* from, int count, const ExpandTable& table)
{
    const __m256i blue = Components(table.blue.data()), green = Components(table.green.data()),
                  red = Components(table.red.data());
    const __m256i alpha = _mm256_set1_epi32(static_cast<int>(0xFF000000u)), zero = _mm256_setzero_si256();
    for (; count >= 32; count -= 32, from += 32, to += 128) {
        const __m256i index = Load(from);
        const __m256i b = _mm256_shuffle_epi8(blue, index), g = _mm256_shuffle_epi8(green, index),
                      r = _mm256_shuffle_epi8(red, index);
        const __m256i bgLow = _mm256_unpacklo_epi8(b, g), bgHigh = _mm256_unpackhi_epi8(b, g);
        const __m256i rLow = _mm256_unpacklo_epi8(r, zero), rHigh = _mm256_unpackhi_epi8(r, zero);
        const __m256i q0 = _mm256_unpacklo_epi16(bgLow, rLow), q1 = _mm256_unpackhi_epi16(bgLow, rLow);
        const __m256i q2 = _mm256_unpacklo_epi16(bgHigh, rHigh), q3 = _mm256_unpackhi_epi16(bgHigh, rHigh);
        const __m256i pixels[4] = {_mm256_permute2x128_si256(q0, q1, 0x20), _mm256_permute2x128_si256(q2, q3, 0x20),
                                   _mm256_permute2x128_si256(q0, q1, 0x31), _mm256_permute2x128_si256(q2, q3, 0x31)};
        for (int k = 0; k < 4; ++k) {
            auto* place = reinterpret_cast<__m256i*>(to + 32 * k);
            const __m256i kept = _mm256_and_si256(_mm256_loadu_si256(place), alpha);
            _mm256_storeu_si256(place, _mm256_or_si256(pixels[k], kept));
        }
    }
    expanderPlain.to32(to, from, count, table);
}

} // namespace

const Expander expanderAvx2{To24, To32};

} // namespace CDGEmulator
