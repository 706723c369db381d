// A linear byte buffer: a sliding view of a stream. The writer appends at the end; the reader reads and then releases
// what it has done with, and the bytes that are left move to the front.
//
// Units: bytes; offsets count from the first byte that was not released. Any thread: whatever changes the buffer holds
// its lock meanwhile. GetCurPos, IsEOF, GetFreeBufSpace and GetBuffer do not, so that beside another thread they tell
// what was so a moment ago.
#pragma once

#include "HeapBytes.h"
#include "NVExport.h"
#include "NVTypes.h"

#include <afxmt.h>
#include <atomic>
#include <vector>

/// One contiguous piece of buffered data, handed out without copying. It is the buffer's and stays good until the bytes
/// are released or the storage is replaced.
struct BufferChunkStruct {
    u8* data = nullptr;
    int length = 0;
};

class NVLIB_API CBuffer : public CObject {
    DECLARE_DYNCREATE(CBuffer)
public:
    /// As `AllocateBuffer`. An object created by name begins without storage.
    explicit CBuffer(int capacity = 0);
    ~CBuffer() override;

    /// Offset at which the next `Read` or `Write` starts.
    virtual int GetCurPos() const { return position; }
    /// Goes to an offset from 0 to the capacity and returns the one before. Others raise a file exception (badSeek).
    virtual int SetCurPos(int newPosition);
    /// Writes at the position as much as fits below the capacity and returns how much that was. The position moves
    /// behind it, and the length grows if need be; a gap that `SetCurPos` left holds old bytes or zeros.
    /// Kept as is: with `grow` a write that does not fit enlarges the storage and is then cut off at the capacity all
    /// the same, which `Resize` does not raise; writers have come to rely on the limit.
    /// Without storage: a generic file exception.
    virtual int Write(void* from, int count, bool grow);
    /// Reads up to `count` bytes at the position and moves behind them; 0 at the end of the data, where a position
    /// behind the end goes back to it. Without storage: a generic file exception.
    virtual int Read(void* to, int count);
    /// Drops bytes from the front; what is left moves there. More than there are empties the buffer. Nothing for counts
    /// below 1.
    virtual void ReleaseFromFront(int count);
    /// Drops bytes from the end, at most all.
    /// Kept as is: the position stays, if need be behind the end, where `IsEOF` is false and `Read` returns 0.
    virtual void ReleaseFromEnd(int count);
    virtual bool IsEOF() const { return position == length; }
    /// Capacity minus length.
    virtual int GetFreeBufSpace() const { return capacity - length; }
    /// Fills `chunks` with where up to `count` bytes from `offset` on lie, and returns how many pieces that makes: one,
    /// possibly of no bytes; none without storage. Ranges are clipped to the data.
    virtual int GetBuffer(int offset, int count, std::vector<BufferChunkStruct>& chunks);
    /// Length, position and absolute start become 0; the storage is kept.
    virtual void Clear();

    /// Storage of `newCapacity` bytes in place of what there was, -1 for as many as before; 0 leaves the buffer without
    /// any. Length, position and absolute start become 0. When there is no memory (or the count is another negative
    /// one) the framework's out-of-memory exception is raised, and the buffer is without storage.
    void AllocateBuffer(int newCapacity);
    /// Leaves the buffer empty and without storage: the capacity is 0. The absolute start stays.
    void FreeBuffer();
    /// Moves the data to storage of another size. Below the length it is cut off there, and so is the position. Nothing
    /// without storage. When there is no memory the out-of-memory exception is raised and nothing has changed.
    /// Kept as is: the capacity stays what it was. Nothing is written past smaller storage, though.
    void Resize(int size);
    /// The capacity.
    int GetBufSize() const { return capacity; }
    /// How many bytes were ever released from the front: this plus an offset is a position in the stream.
    int GetAbsoluteBufferStart() const { return absoluteStart; }
    void SetAbsoluteBufferStart(int start);

protected:
    /// Bytes that both the capacity and the storage have room for.
    int Room() const { return capacity < storageBytes ? capacity.load() : storageBytes; }
    /// Raises a generic file exception without storage.
    void RequireStorage() const;

    // The counts are atomic for the sake of those who look without the lock. The length is what a writer sets last.
    std::atomic<int> capacity = 0;
    NV::HeapBytes<u8> storage; // null without storage
    std::atomic<int> length = 0;
    std::atomic<int> position = 0;
    std::atomic<int> absoluteStart = 0;
    CCriticalSection lock; // held for whatever changes any of these
    int storageBytes = 0;  // differs from the capacity after Resize
};
