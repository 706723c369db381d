// A ring of bytes between one thread that produces and one that consumes. The producer writes straight into the
// storage.
//
// Units: bytes. Every operation holds the buffer's own lock; asking for it twice raises the standard library's
// resource-deadlock error.
#pragma once

#include "HeapBytes.h"
#include "NVExport.h"
#include "NVTypes.h"
#include "OwnedMutex.h"

#include <cstddef>

namespace NV {

class NVLIB_API CFifoBuffer2 {
public:
    /// Zero-filled. Raises the framework's out-of-memory exception when there is none, also for a capacity below 0.
    explicit CFifoBuffer2(int capacity);
    CFifoBuffer2(const CFifoBuffer2&) = delete;
    CFifoBuffer2& operator=(const CFifoBuffer2&) = delete;

    // ---- The producer: GetSpace, GetWritePtr, fill, Write ----

    /// Free bytes that lie together where the next one is written. There may be more behind the end of the storage,
    /// which show when these are used up.
    int GetSpace();
    /// Where to put up to `GetSpace()` bytes. Does not check; `count` is only added up.
    std::byte* GetWritePtr(int count);
    /// Hands over `count` bytes that were put there, at most `GetSpace()` of them. Returns `count`.
    int Write(int count);

    // ---- The consumer ----

    /// Bytes waiting to be read.
    int GetTotalSize();
    /// Takes up to `count` bytes out and returns how many. The third argument is not looked at: see `Peek`.
    int Read(std::byte* to, int count, bool = false);
    /// As `Read`, but the bytes stay.
    int Peek(std::byte* to, int count);

    /// Passes bytes through small buffers of its own and checks that all come out again, in order. Not 0 when they do.
    static int Test();

private:
    int CopyOut(std::byte* to, int count, int& next) const NV_REQUIRES(mutex);

    const int capacity;
    OwnedMutex mutex;
    const HeapBytes<std::byte> storage;
    // At the capacity both indices are about to wrap: the write index with the next GetWritePtr, the read index with
    // the next read.
    int readIndex NV_GUARDED_BY(mutex) = 0;
    int writeIndex NV_GUARDED_BY(mutex) = 0;
    int available NV_GUARDED_BY(mutex) = 0;
    i64 totalRead NV_GUARDED_BY(mutex) = 0;
    i64 totalWritten NV_GUARDED_BY(mutex) = 0;
    i64 totalRequested NV_GUARDED_BY(mutex) = 0;
};

} // namespace NV
