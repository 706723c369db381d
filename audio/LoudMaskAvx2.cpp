// The AVX2 body of the loud-frame search: see LoudMask.h. This file alone is compiled for AVX2, so it keeps to
// intrinsics: an inline function of a shared header could end up in code that runs on older processors.
#include "LoudMask.h"

#include <immintrin.h>

namespace NV {
namespace {

struct LoudTest {
    __m256i above, below;
    explicit LoudTest(int level)
        : above(_mm256_set1_epi16(static_cast<i16>(level - 1))), below(_mm256_set1_epi16(static_cast<i16>(1 - level)))
    {
    }

    __m256i operator()(const i16* samples) const
    {
        const __m256i v = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(samples));
        return _mm256_or_si256(_mm256_cmpgt_epi16(v, above), _mm256_cmpgt_epi16(below, v));
    }
};

u64 Bits(__m256i bytes)
{
    return static_cast<u64>(static_cast<u32>(_mm256_movemask_epi8(bytes)));
}

// Packing works within the halves of a vector; the permutations put the frames back in order.

void MonoMasks(u64* masks, const i16* samples, i64 words, int level)
{
    const LoudTest loud(level);
    const auto half = [&](const i16* at) {
        return Bits(_mm256_permute4x64_epi64(_mm256_packs_epi16(loud(at), loud(at + 16)), 0b11'01'10'00));
    };
    for (i64 word = 0; word < words; ++word, samples += maskFrames)
        masks[word] = half(samples) | half(samples + 32) << 32;
}

void StereoMasks(u64* masks, const i16* samples, i64 words, int level)
{
    const LoudTest loud(level);
    const __m256i order = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
    const auto quiet = [&](const i16* at) { return _mm256_cmpeq_epi32(loud(at), _mm256_setzero_si256()); };
    const auto half = [&](const i16* at) {
        const __m256i first = _mm256_packs_epi32(quiet(at), quiet(at + 16));
        const __m256i second = _mm256_packs_epi32(quiet(at + 32), quiet(at + 48));
        return Bits(_mm256_permutevar8x32_epi32(_mm256_packs_epi16(first, second), order));
    };
    for (i64 word = 0; word < words; ++word, samples += 2 * maskFrames)
        masks[word] = ~(half(samples) | half(samples + 64) << 32);
}

} // namespace

const LoudMasker loudMaskerAvx2 = {MonoMasks, StereoMasks};

} // namespace NV
