// The layout of a raw disc image: sectors of audio and subcode, one behind the other, without a header.
#pragma once

#include "NVTypes.h"

namespace NV {

constexpr i64 sectorBytes = 2448;
constexpr i64 sectorAudio = 2352;                        // comes first
constexpr i64 sectorSubcode = sectorBytes - sectorAudio; // four packs of 24 bytes
constexpr i64 audioFrame = 4;                            // 16-bit stereo
constexpr i64 sectorFrames = sectorAudio / audioFrame;

/// Sectors that pass through memory at a time: 306 KiB, which stay in the second-level cache.
constexpr int sectorsPerPiece = 128;

} // namespace NV
