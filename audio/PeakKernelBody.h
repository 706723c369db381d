// What the bodies of PeakKernel.h share, written over a kind of vector. All of it is in an unnamed namespace, so that
// each body's file has functions of its own, compiled with that file's flags.
//
// A kind of vector has:
//   Sample, Vector, wordVectors          vectors in a word, which is 64 samples
//   Load, Max, Min                       lane by lane
//   FoldMax<channels>, FoldMin<channels> every lane gets the extreme of its channel's lanes
//   First(v, lane)                       one of the first two lanes
//   Hits(at, wanted)                     a bit for each sample of a word that equals its lane, the lowest the earliest
//
// Two passes: the extremes of the whole block first, then where they are. The second one looks at all words, last word
// first, and lets earlier places replace later ones: unlike a search that stops where it finds something, it has no
// branch for the processor to guess wrong.

#pragma once

#include "PeakKernel.h"

#include <bit>
#include <cstddef>
#include <cstring>

namespace NV {
namespace {

// NOLINTNEXTLINE(misc-definitions-in-headers): each includer has its own, in its unnamed namespace
constexpr int wordSamples = 64;

template <class Sample>
int PlainSample(const u8* samples, int index)
{
    Sample value;
    std::memcpy(&value, samples + static_cast<std::ptrdiff_t>(index) * static_cast<std::ptrdiff_t>(sizeof value),
                sizeof value);
    return value;
}

template <class Sample, int channels>
void FindPlainly(const u8* samples, int frames, BlockExtremes& found)
{
    for (int c = 0; c < channels; ++c) {
        found.max[c] = found.min[c] = PlainSample<Sample>(samples, c);
        found.maxAt[c] = found.minAt[c] = 0;
        for (int frame = 1; frame < frames; ++frame) {
            const int value = PlainSample<Sample>(samples, frame * channels + c);
            if (value > found.max[c]) {
                found.max[c] = value;
                found.maxAt[c] = static_cast<u32>(frame);
            }
            if (value < found.min[c]) {
                found.min[c] = value;
                found.minAt[c] = static_cast<u32>(frame);
            }
        }
    }
}

template <class Kind, int channels>
void FindExtremes(const u8* samples, int frames, BlockExtremes& found)
{
    using Vector = typename Kind::Vector;
    constexpr int sampleBytes = static_cast<int>(sizeof(typename Kind::Sample));
    constexpr int lanes = wordSamples / Kind::wordVectors;
    const int count = frames * channels;
    if (count < wordSamples)
        return FindPlainly<typename Kind::Sample, channels>(samples, frames, found);
    const auto at = [&](int sample) { return samples + static_cast<std::ptrdiff_t>(sample) * sampleBytes; };

    Vector high = Kind::Load(at(count - lanes)), low = high; // overlaps the last whole vector
    for (int sample = 0; sample + lanes <= count; sample += lanes) {
        const Vector v = Kind::Load(at(sample));
        high = Kind::Max(high, v);
        low = Kind::Min(low, v);
    }
    high = Kind::template FoldMax<channels>(high);
    low = Kind::template FoldMin<channels>(low);

    u32 maxAt[2] = {}, minAt[2] = {};
    for (int word = (count - 1) / wordSamples; word >= 0; --word) {
        const int whole = word * wordSamples;
        const int begin = whole + wordSamples <= count ? whole : count - wordSamples;
        const u64 highs = Kind::Hits(at(begin), high), lows = Kind::Hits(at(begin), low);
        for (int c = 0; c < channels; ++c) {
            const u64 mine = channels == 1 ? ~u64(0) : u64(0x5555555555555555) << c;
            const auto place = [&](u64 hits) { return static_cast<u32>(begin + std::countr_zero(hits)); };
            maxAt[c] = (highs & mine) != 0 ? place(highs & mine) : maxAt[c];
            minAt[c] = (lows & mine) != 0 ? place(lows & mine) : minAt[c];
        }
    }
    for (int c = 0; c < channels; ++c) {
        found.max[c] = Kind::First(high, c);
        found.min[c] = Kind::First(low, c);
        found.maxAt[c] = maxAt[c] / channels;
        found.minAt[c] = minAt[c] / channels;
    }
}

template <class Kind8, class Kind16>
constexpr PeakFinder MakePeakFinder()
{
    return {FindExtremes<Kind8, 1>, FindExtremes<Kind8, 2>, FindExtremes<Kind16, 1>, FindExtremes<Kind16, 2>};
}

} // namespace
} // namespace NV
