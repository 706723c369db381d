// The choice of a body, the SSE2 body, and what lies outside of the bodies' range: see LoudMask.h.
#include "LoudMask.h"

#include "CpuFeatures.h"
#include "MaskBits.h"

#include <algorithm>
#include <emmintrin.h>

namespace NV {
namespace {

/// Lanes of all ones where a sample is loud. Both comparisons are needed: there is no absolute value of -32768.
struct LoudTest {
    __m128i above, below;
    explicit LoudTest(int level)
        : above(_mm_set1_epi16(static_cast<i16>(level - 1))), below(_mm_set1_epi16(static_cast<i16>(1 - level)))
    {
    }

    __m128i operator()(const i16* samples) const
    {
        const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(samples));
        return _mm_or_si128(_mm_cmpgt_epi16(v, above), _mm_cmpgt_epi16(below, v));
    }
};

void MonoMasks(u64* masks, const i16* samples, i64 words, int level)
{
    const LoudTest loud(level);
    for (i64 word = 0; word < words; ++word) {
        u64 mask = 0;
        for (int part = 0; part < maskFrames; part += 16, samples += 16)
            mask |= MaskBits(_mm_packs_epi16(loud(samples), loud(samples + 8))) << part;
        masks[word] = mask;
    }
}

void StereoMasks(u64* masks, const i16* samples, i64 words, int level)
{
    const LoudTest loud(level);
    // Quiet frames have both halves of their 32 bits clear. They are what survives packing with saturation.
    const auto quiet = [&](const i16* at) { return _mm_cmpeq_epi32(loud(at), _mm_setzero_si128()); };
    for (i64 word = 0; word < words; ++word) {
        u64 mask = 0;
        for (int part = 0; part < maskFrames; part += 16, samples += 32) {
            const __m128i first = _mm_packs_epi32(quiet(samples), quiet(samples + 8));
            const __m128i second = _mm_packs_epi32(quiet(samples + 16), quiet(samples + 24));
            mask |= MaskBits(_mm_packs_epi16(first, second)) << part;
        }
        masks[word] = ~mask;
    }
}

} // namespace

const LoudMasker loudMaskerSse2 = {MonoMasks, StereoMasks};

const LoudMasker& ChooseLoudMasker()
{
    static const LoudMasker& chosen = CpuHasAvx2() ? loudMaskerAvx2 : loudMaskerSse2;
    return chosen;
}

void FindLoudFrames(u64* masks, const i16* samples, i64 frames, int channels, int level, const LoudMasker& masker)
{
    const i64 words = frames / maskFrames;
    const int rest = static_cast<int>(frames % maskFrames);
    const u64 restBits = (u64(1) << rest) - 1;
    if (level < 1 || level > 32768) {
        const u64 all = level < 1 ? ~u64(0) : 0;
        std::fill_n(masks, words, all);
        if (rest > 0)
            masks[words] = all & restBits;
        return;
    }
    const auto body = channels == 1 ? masker.mono : masker.stereo;
    body(masks, samples, words, level);
    if (rest > 0) {
        i16 last[maskFrames * 2] = {}; // a whole word for the body to read
        std::copy_n(samples + words * maskFrames * channels, rest * channels, last);
        body(masks + words, last, 1, level);
        masks[words] &= restBits;
    }
}

} // namespace NV
