// The extreme search of SampleExtremes.h, eight samples at a time. With 1, 2, 4 or 8 channels a lane of a vector always
// holds the same channel, so that the lanes are folded only once, at the end. SSE2 is what every supported processor
// has.
#include "SampleExtremes.h"

#include <algorithm>
#include <cstring>
#include <emmintrin.h>

namespace NV {
namespace {

constexpr int lanes = 8; // samples of 16 bits in a vector

i16 SampleAt(const u8* samples, i64 index)
{
    i16 value;
    std::memcpy(&value, samples + index * 2, sizeof value);
    return value;
}

void UpdatePlainly(const u8* samples, i64 frames, int channels, i16* maxima, i16* minima)
{
    for (i64 frame = 0; frame < frames; ++frame) {
        for (int c = 0; c < channels; ++c) {
            const i16 value = SampleAt(samples, frame * channels + c);
            maxima[c] = std::max(maxima[c], value);
            minima[c] = std::min(minima[c], value);
        }
    }
}

__m128i VectorAt(const u8* samples, i64 index)
{
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(samples) + index);
}

/// Two accumulators of each kind, so that one vector need not wait for the one before it.
void UpdateLanes(const u8* samples, i64 vectors, i16* maxima, i16* minima)
{
    __m128i high[2], low[2];
    high[0] = high[1] = _mm_set1_epi16(-32768);
    low[0] = low[1] = _mm_set1_epi16(32767);
    i64 k = 0;
    for (; k + 2 <= vectors; k += 2) {
        for (int half = 0; half < 2; ++half) {
            const __m128i v = VectorAt(samples, k + half);
            high[half] = _mm_max_epi16(high[half], v);
            low[half] = _mm_min_epi16(low[half], v);
        }
    }
    if (k < vectors) {
        high[0] = _mm_max_epi16(high[0], VectorAt(samples, k));
        low[0] = _mm_min_epi16(low[0], VectorAt(samples, k));
    }
    _mm_storeu_si128(reinterpret_cast<__m128i*>(maxima), _mm_max_epi16(high[0], high[1]));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(minima), _mm_min_epi16(low[0], low[1]));
}

} // namespace

void UpdateExtremes(const u8* samples, i64 frames, int channels, i16* maxima, i16* minima)
{
    if (frames <= 0 || channels <= 0)
        return;
    i64 done = 0;
    if (channels <= lanes && lanes % channels == 0) {
        const i64 vectors = frames * channels / lanes;
        i16 high[lanes], low[lanes];
        UpdateLanes(samples, vectors, high, low);
        for (int lane = 0; lane < lanes; ++lane) {
            maxima[lane % channels] = std::max(maxima[lane % channels], high[lane]);
            minima[lane % channels] = std::min(minima[lane % channels], low[lane]);
        }
        done = vectors * lanes / channels;
    }
    UpdatePlainly(samples + done * channels * 2, frames - done, channels, maxima, minima);
}

} // namespace NV
