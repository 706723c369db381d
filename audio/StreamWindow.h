// A file that is gone through from front to back a few bytes at a time, read in pieces that stay in the processor's
// cache. Positions are bytes. One thread at a time.
#pragma once

#include "FileCalls.h"
#include "NVTypes.h"

#include <vector>

namespace NV {

class StreamWindow {
public:
    /// The file stays the caller's; its position is moved.
    explicit StreamWindow(CFile& source) : file(source), buffer(pieceBytes) {}

    /// Where whoever goes through the file has got to. Never below 0.
    i64 position = 0;

    /// `count` bytes at the position (a few, far below a piece); null where the file does not hold as many or cannot be
    /// read. Good until the next call.
    const u8* Bytes(i64 count)
    {
        if (position < start || position + count > end)
            Load();
        return position + count <= end ? buffer.data() + (position - start) : nullptr;
    }

    /// Has the next piece begin at the position, so that what follows lies in one.
    void Forget() { start = end = 0; }

private:
    static constexpr i64 pieceBytes = 256 << 10, page = 4096;

    void Load()
    {
        start = end = position / page * page; // whole pages are copied faster
        i64 got = 0;
        Succeeds([&] {
            file.Seek(start, CFile::begin);
            ReadBytes(file, buffer.data(), pieceBytes, got);
        });
        end += got;
    }

    CFile& file;
    std::vector<u8> buffer;
    i64 start = 0, end = 0; // of the file, what is in the buffer
};

} // namespace NV
