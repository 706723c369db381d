// Whether a file is MPEG audio at all, and what a VBR header in its first frame claims. CMP3Info relies on neither: it
// walks. Unlike there, frame lengths are the standard's here.
//
// Units: bytes, seconds, MPEG frames. Any thread.
#pragma once

#include "NVExport.h"
#include "NVTypes.h"

#include <afx.h>
#include <optional>

/// What a "Xing", "Info" or "VBRI" header says. It need not be true.
struct MPEGVBRClaim {
    const char* kind = "";         // the header's name
    std::optional<u32> frames;     // without the frame that the header itself takes
    std::optional<u32> bytes;      // of the stream, with that frame
    std::optional<double> seconds; // what so many frames take
};

/// True when frames follow each other from the beginning on, behind ID3v2 tags and at most 64 KiB of other bytes: three
/// of the same kind, or fewer that reach to the end or to a tag there. Free-format streams are not recognised. False
/// also when the file cannot be read.
NVLIB_API bool IsMPEGAudio(const CString& path);

/// Reads the VBR header of a file. False when there is none or `IsMPEGAudio` is false.
NVLIB_API bool ReadVBRClaim(const CString& path, MPEGVBRClaim& claim);
