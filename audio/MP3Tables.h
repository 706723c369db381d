// What the fields of MPEG audio frame headers and ID3v1 tags stand for.
#pragma once

#include "MP3Info.h"

namespace NV {

/// 3 MPEG-1, 2 MPEG-2, 1 MPEG-2.5, 0 reserved.
int MPEGVersionCode(const MP3FRAMEHEADER& header);
/// 1 to 3, 0 reserved.
int MPEGLayerCode(const MP3FRAMEHEADER& header);

/// All that the third byte of a header says of its frame, worked out beforehand.
struct FrameKind {
    int rate = 0;       // kbit/s; below 1 for frames that do not count: free format, no rate at all, reserved layer
    int sampleRate = 0; // Hz; 0 for none
    int bytes = 0;      // with the header; 0 unless both rates are there
    double seconds = 0;
};

/// The kinds of one sort of stream, by bits 9 to 15 of the header (`KindIndex`).
const FrameKind* FrameKinds(int versionCode, int layer);
inline u32 KindIndex(const MP3FRAMEHEADER& header)
{
    return header.bits >> 9 & 127;
}

/// A frame as the standard has it.
struct MPEGFrame {
    int bytes = 0; // with the header; 0 for free format and where a field is reserved
    int samples = 0;
    int sampleRate = 0;
};
MPEGFrame StandardFrame(const MP3FRAMEHEADER& header);

/// Null for indexes without a name.
const char* GenreName(int index);

} // namespace NV
