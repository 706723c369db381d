// The choice of a body and the SSE2 body: see PeakKernel.h.
#include "PeakKernel.h"

#include "CpuFeatures.h"
#include "MaskBits.h"
#include "PeakKernelBody.h"

namespace NV {
namespace {

/// Every 32 bits of the result hold the fold of all of them.
template <class Operation>
__m128i FoldPairs(__m128i v, Operation operation)
{
    v = operation(v, _mm_shuffle_epi32(v, 0x4E));
    return operation(v, _mm_shuffle_epi32(v, 0xB1));
}

__m128i VectorAt(const u8* samples, int vector)
{
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(samples) + vector);
}

struct Samples16 {
    using Sample = i16;
    using Vector = __m128i;
    static constexpr int wordVectors = 8;
    static Vector Load(const u8* at) { return VectorAt(at, 0); }
    static Vector Max(Vector a, Vector b) { return _mm_max_epi16(a, b); }
    static Vector Min(Vector a, Vector b) { return _mm_min_epi16(a, b); }
    static Vector Swapped(Vector v) { return _mm_shufflehi_epi16(_mm_shufflelo_epi16(v, 0xB1), 0xB1); }
    template <int channels>
    static Vector FoldMax(Vector v)
    {
        v = FoldPairs(v, Max);
        return channels == 1 ? Max(v, Swapped(v)) : v;
    }
    template <int channels>
    static Vector FoldMin(Vector v)
    {
        v = FoldPairs(v, Min);
        return channels == 1 ? Min(v, Swapped(v)) : v;
    }
    static int First(Vector v, int lane) { return static_cast<i16>(_mm_cvtsi128_si32(v) >> 16 * lane); }
    static u64 Hits(const u8* at, Vector wanted)
    {
        const auto equal = [&](int k) { return _mm_cmpeq_epi16(VectorAt(at, k), wanted); };
        u64 hits = 0;
        for (int k = 0; k < wordVectors; k += 2)
            hits |= MaskBits(_mm_packs_epi16(equal(k), equal(k + 1))) << 8 * k;
        return hits;
    }
};

struct Samples8 {
    using Sample = u8;
    using Vector = __m128i;
    static constexpr int wordVectors = 4;
    static Vector Load(const u8* at) { return VectorAt(at, 0); }
    static Vector Max(Vector a, Vector b) { return _mm_max_epu8(a, b); }
    static Vector Min(Vector a, Vector b) { return _mm_min_epu8(a, b); }
    template <int channels, class Operation>
    static Vector Fold(Vector v, Operation operation)
    {
        v = FoldPairs(v, operation);
        v = operation(v, Samples16::Swapped(v));
        return channels == 1 ? operation(v, _mm_or_si128(_mm_slli_epi16(v, 8), _mm_srli_epi16(v, 8))) : v;
    }
    template <int channels>
    static Vector FoldMax(Vector v)
    {
        return Fold<channels>(v, Max);
    }
    template <int channels>
    static Vector FoldMin(Vector v)
    {
        return Fold<channels>(v, Min);
    }
    static int First(Vector v, int lane) { return static_cast<u8>(_mm_cvtsi128_si32(v) >> 8 * lane); }
    static u64 Hits(const u8* at, Vector wanted)
    {
        u64 hits = 0;
        for (int k = 0; k < wordVectors; ++k)
            hits |= MaskBits(_mm_cmpeq_epi8(VectorAt(at, k), wanted)) << 16 * k;
        return hits;
    }
};

} // namespace

const PeakFinder peakFinderSse2 = MakePeakFinder<Samples8, Samples16>();

const PeakFinder& ChoosePeakFinder()
{
    static const PeakFinder& chosen = CpuHasAvx2() ? peakFinderAvx2 : peakFinderSse2;
    return chosen;
}

} // namespace NV
