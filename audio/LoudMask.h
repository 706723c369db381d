// Which frames of a 16-bit recording are loud, one bit a frame: the pass over all samples that silence scans rest on.
//
// A frame is loud when one of its samples has an absolute value of at least the level; |-32768| is 32,768. There are
// two bodies of the rule, for SSE2 (what every supported processor has) and for AVX2 (LoudMaskAvx2.cpp, chosen at run
// time).
#pragma once

#include "NVTypes.h"

namespace NV {

/// Frames in one word of a mask; the lowest bit is the earliest frame.
constexpr int maskFrames = 64;

/// Fills `words` words from 64 frames each. `level` is 1 to 32768.
struct LoudMasker {
    void (*mono)(u64* masks, const i16* samples, i64 words, int level);
    void (*stereo)(u64* masks, const i16* samples, i64 words, int level);
};

extern const LoudMasker loudMaskerSse2;
extern const LoudMasker loudMaskerAvx2; // only on processors with AVX2

const LoudMasker& ChooseLoudMasker();

/// The masks of any number of frames, of one or two channels, at any level: below 1 every frame is loud, above 32768
/// none. Bits behind the last frame are 0.
void FindLoudFrames(u64* masks, const i16* samples, i64 frames, int channels, int level,
                    const LoudMasker& masker = ChooseLoudMasker());

} // namespace NV
