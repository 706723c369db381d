// Largest and smallest sample of each channel in a block of frames, and where each comes first: the pass over all
// samples that peak files are made with.
//
// There are two bodies of the rule, for SSE2 (what every supported processor has) and for AVX2 (PeakKernelAvx2.cpp,
// chosen at run time); PeakKernelBody.h is what they share. Samples lie at any address; 8-bit ones are unsigned.
#pragma once

#include "NVTypes.h"

namespace NV {

/// A mono block fills the first of each pair. Places are frames from the start of the block; of equal extremes the
/// earliest counts.
struct BlockExtremes {
    int max[2], min[2];
    u32 maxAt[2], minAt[2];
};

/// Blocks are of at least one frame and fewer than 2^30.
struct PeakFinder {
    using Body = void (*)(const u8* samples, int frames, BlockExtremes& found);
    Body mono8, stereo8, mono16, stereo16;

    Body For(bool eightBit, int channels) const
    {
        if (eightBit)
            return channels == 1 ? mono8 : stereo8;
        return channels == 1 ? mono16 : stereo16;
    }
};

extern const PeakFinder peakFinderSse2;
extern const PeakFinder peakFinderAvx2; // only on processors with AVX2

const PeakFinder& ChoosePeakFinder();

} // namespace NV
