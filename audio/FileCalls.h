// Where the framework's file exceptions end: our classes return failures, they do not throw.
#pragma once

#include "NVTypes.h"

#include <afx.h>
#include <algorithm>

namespace NV {

/// Runs file calls. False when one of them failed; those behind it were not made then.
template <class Calls>
bool Succeeds(Calls&& calls)
{
    try {
        calls();
        return true;
    } catch (CException* exception) {
        exception->Delete();
        return false;
    }
}

/// Counts of `CFile` are 32-bit; longer requests go out in pieces.
constexpr i64 longestFileCall = 1 << 30;

/// Reads on from the file's position. Adds what came to `done` as it comes, so that it counts when a later call throws.
inline void ReadBytes(CFile& file, void* buffer, i64 count, i64& done)
{
    u8* to = static_cast<u8*>(buffer);
    while (count > 0) {
        const UINT asked = static_cast<UINT>(std::min(count, longestFileCall));
        const UINT got = file.Read(to, asked);
        done += got;
        if (got < asked)
            return;
        to += got;
        count -= got;
    }
}

inline void WriteBytes(CFile& file, const void* bytes, i64 count)
{
    const u8* from = static_cast<const u8*>(bytes);
    while (count > 0) {
        const UINT piece = static_cast<UINT>(std::min(count, longestFileCall));
        file.Write(from, piece);
        from += piece;
        count -= piece;
    }
}

} // namespace NV
