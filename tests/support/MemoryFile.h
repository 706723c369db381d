// Files in memory for readers under test.
#pragma once

#include "CDGEmulatorPack.h"
#include "CDGInputFile.h"

#include <afx.h>
#include <algorithm>
#include <vector>

/// A file in memory that begins with these bytes and counts what is read of them.
class MemoryFile : public CMemFile {
public:
    explicit MemoryFile(const std::vector<u8>& bytes)
    {
        Write(bytes.data(), static_cast<UINT>(bytes.size()));
        Seek(0, begin);
    }
    UINT Read(void* buffer, UINT count) override
    {
        const UINT read = CMemFile::Read(buffer, count);
        bytesRead += read;
        return read;
    }
    ULONGLONG bytesRead = 0;
};

/// Plain packs as the disc image that carries them: 2352 bytes of audio before every four.
inline std::vector<u8> AsDiscImage(const std::vector<u8>& packs)
{
    std::vector<u8> image;
    for (auto at = packs.begin(); at != packs.end();) {
        image.insert(image.end(), kBinRecordSize - kCdgRecordSize, 0x5A);
        const auto end = at + std::min<std::ptrdiff_t>(kCdgRecordSize, packs.end() - at);
        image.insert(image.end(), at, end);
        at = end;
    }
    return image;
}
