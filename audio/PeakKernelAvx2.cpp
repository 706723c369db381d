// The AVX2 body of the search for extremes: see PeakKernel.h. This file alone is compiled for AVX2. Beside intrinsics
// it uses nothing that other files share but std::countr_zero, which is made of whole numbers only.
#include "PeakKernel.h"

#include "PeakKernelBody.h"

#include <immintrin.h>

namespace NV {
namespace {

/// Every 32 bits of the result hold the fold of all of them.
template <class Operation>
__m128i FoldPairs(__m256i v, Operation operation)
{
    __m128i folded = operation(_mm256_castsi256_si128(v), _mm256_extracti128_si256(v, 1));
    folded = operation(folded, _mm_shuffle_epi32(folded, 0x4E));
    return operation(folded, _mm_shuffle_epi32(folded, 0xB1));
}

__m128i Swapped(__m128i v)
{
    return _mm_shufflehi_epi16(_mm_shufflelo_epi16(v, 0xB1), 0xB1);
}

u64 Bits(__m256i bytes)
{
    return static_cast<u64>(static_cast<u32>(_mm256_movemask_epi8(bytes)));
}

__m256i VectorAt(const u8* samples, int vector)
{
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(samples) + vector);
}

int LowBits(__m256i v)
{
    return _mm_cvtsi128_si32(_mm256_castsi256_si128(v));
}

struct Samples16 {
    using Sample = i16;
    using Vector = __m256i;
    static constexpr int wordVectors = 4;
    static Vector Load(const u8* at) { return VectorAt(at, 0); }
    static Vector Max(Vector a, Vector b) { return _mm256_max_epi16(a, b); }
    static Vector Min(Vector a, Vector b) { return _mm256_min_epi16(a, b); }
    template <int channels, class Operation>
    static Vector Fold(Vector v, Operation operation)
    {
        __m128i folded = FoldPairs(v, operation);
        if (channels == 1)
            folded = operation(folded, Swapped(folded));
        return _mm256_broadcastsi128_si256(folded);
    }
    template <int channels>
    static Vector FoldMax(Vector v)
    {
        return Fold<channels>(v, [](__m128i a, __m128i b) { return _mm_max_epi16(a, b); });
    }
    template <int channels>
    static Vector FoldMin(Vector v)
    {
        return Fold<channels>(v, [](__m128i a, __m128i b) { return _mm_min_epi16(a, b); });
    }
    static int First(Vector v, int lane) { return static_cast<i16>(LowBits(v) >> 16 * lane); }
    static u64 Hits(const u8* at, Vector wanted)
    {
        const auto equal = [&](int k) { return _mm256_cmpeq_epi16(VectorAt(at, k), wanted); };
        // Packing works within the halves of a vector; the permutation puts the samples back in order.
        const auto half = [&](int k) {
            return Bits(_mm256_permute4x64_epi64(_mm256_packs_epi16(equal(k), equal(k + 1)), 0b11'01'10'00));
        };
        return half(0) | half(2) << 32;
    }
};

struct Samples8 {
    using Sample = u8;
    using Vector = __m256i;
    static constexpr int wordVectors = 2;
    static Vector Load(const u8* at) { return VectorAt(at, 0); }
    static Vector Max(Vector a, Vector b) { return _mm256_max_epu8(a, b); }
    static Vector Min(Vector a, Vector b) { return _mm256_min_epu8(a, b); }
    template <int channels, class Operation>
    static Vector Fold(Vector v, Operation operation)
    {
        __m128i folded = FoldPairs(v, operation);
        folded = operation(folded, Swapped(folded));
        if (channels == 1)
            folded = operation(folded, _mm_or_si128(_mm_slli_epi16(folded, 8), _mm_srli_epi16(folded, 8)));
        return _mm256_broadcastsi128_si256(folded);
    }
    template <int channels>
    static Vector FoldMax(Vector v)
    {
        return Fold<channels>(v, [](__m128i a, __m128i b) { return _mm_max_epu8(a, b); });
    }
    template <int channels>
    static Vector FoldMin(Vector v)
    {
        return Fold<channels>(v, [](__m128i a, __m128i b) { return _mm_min_epu8(a, b); });
    }
    static int First(Vector v, int lane) { return static_cast<u8>(LowBits(v) >> 8 * lane); }
    static u64 Hits(const u8* at, Vector wanted)
    {
        return Bits(_mm256_cmpeq_epi8(VectorAt(at, 0), wanted)) | Bits(_mm256_cmpeq_epi8(VectorAt(at, 1), wanted))
                                                                      << 32;
    }
};

} // namespace

const PeakFinder peakFinderAvx2 = MakePeakFinder<Samples8, Samples16>();

} // namespace NV
