// Largest and smallest 16-bit sample of each channel over interleaved frames.
#pragma once

#include "NVTypes.h"

namespace NV {

/// Raises `maxima` and lowers `minima`, one value a channel, to what `frames` frames at `samples` (any address) hold.
void UpdateExtremes(const u8* samples, i64 frames, int channels, i16* maxima, i16* minima);

} // namespace NV
