// A stream's packs one after the other, read a few thousand at a time.
#pragma once

#include "CDGInputFile.h"

#include <memory>

class PackPieces {
public:
    static constexpr int packsPerPiece = 4096; // 96 KiB stay in the second-level cache

    // Begins at the next pack of `source`, which outlives this.
    explicit PackPieces(CCDGInputFile& source)
        : input(source), buffer(std::make_unique_for_overwrite<u8[]>(packsPerPiece * std::size_t{kPackSize}))
    {
    }

    // 24 bytes, each masked to six bits, valid until the next call; null at the end.
    const u8* Next()
    {
        if (next == end && !Fill())
            return nullptr;
        const u8* const pack = next;
        next += kPackSize;
        return pack;
    }

private:
    bool Fill()
    {
        const int read = input.Read(buffer.get(), packsPerPiece);
        next = buffer.get();
        end = next + static_cast<std::ptrdiff_t>(read) * kPackSize;
        return read > 0;
    }

    CCDGInputFile& input;
    std::unique_ptr<u8[]> buffer;
    const u8* next = nullptr;
    const u8* end = nullptr;
};
