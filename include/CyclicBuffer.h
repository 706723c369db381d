// A byte buffer whose storage is a ring: releasing from the front moves nothing.
//
// Units and locking are those of CBuffer. One thread may write while another one takes chunks with GetBuffer and then
// releases them, without a lock of their own: a chunk that is handed out holds whole writes, and nobody writes over it
// until it is released.
#pragma once

#include "Buffer.h"

/// Offset o lies at storage index (head + o) mod capacity.
class NVLIB_API CCyclicBuffer : public CBuffer {
    DECLARE_DYNCREATE(CCyclicBuffer)
public:
    /// As `CBuffer`.
    explicit CCyclicBuffer(int bytes = 0) : CBuffer(bytes) {}

    /// Reads up to `count` bytes at the position; 0 at the end of the data, and behind it, where the position stays.
    int Read(void* to, int count) override;
    /// Drops bytes from the front, at most all. Nothing for counts below 1.
    void ReleaseFromFront(int count) override;
    /// As in `CBuffer`, but a range that passes the end of the storage makes two pieces.
    int GetBuffer(int offset, int count, std::vector<BufferChunkStruct>& chunks) override;
    void Clear() override;

    /// Writes at the position what fits below the capacity and returns how much that was. Data is never overwritten by
    /// going round. Without storage: a generic file exception.
    virtual int Write(void* from, int count);
    /// As `Write`, after as much has been released from the front as makes room for it. Of more bytes than the capacity
    /// only the last are kept.
    virtual int WriteWithAutorelease(void* from, int count);

private:
    using CBuffer::Write; // knows nothing of the head: only for who uses a ring as a CBuffer, and only until it turns

    int Index(int offset) const;

    std::atomic<int> head = 0; // storage index of the byte at offset 0
};
