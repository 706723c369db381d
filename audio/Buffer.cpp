// CBuffer: bytes in one piece.
#include "Buffer.h"

#include "ScopedLock.h"

#include <algorithm>
#include <climits>
#include <cstring>

using namespace NV;

IMPLEMENT_DYNCREATE(CBuffer, CObject)

CBuffer::CBuffer(int newCapacity)
{
    AllocateBuffer(newCapacity);
}

CBuffer::~CBuffer() = default;

void CBuffer::RequireStorage() const
{
    if (!storage)
        AfxThrowFileException(CFileException::genericException);
}

// ---- Storage -------------------------------------------------------------------------------------------------------

void CBuffer::AllocateBuffer(int newCapacity)
{
    const ScopedLock locked(lock);
    const int wanted = newCapacity == -1 ? capacity.load() : newCapacity;
    FreeBuffer(); // first, so that the two need not fit into memory together
    absoluteStart = 0;
    if (wanted == 0)
        return;
    storage = AllocateHeapBytes<u8>(wanted);
    storageBytes = wanted;
    capacity = wanted;
}

void CBuffer::FreeBuffer()
{
    const ScopedLock locked(lock);
    storage.reset();
    storageBytes = 0;
    capacity = 0;
    length = 0;
    position = 0;
}

void CBuffer::Resize(int size)
{
    const ScopedLock locked(lock);
    if (!storage)
        return;
    HeapBytes<u8> larger = AllocateHeapBytes<u8>(size);
    const int keptLength = std::min(length.load(), size), keptPosition = position, keptStart = absoluteStart;
    // Through the virtual operations, so that a ring's data is found wherever it lies and starts at index 0 afterwards.
    std::vector<BufferChunkStruct> chunks;
    GetBuffer(0, keptLength, chunks);
    u8* to = larger.get();
    for (const BufferChunkStruct& chunk : chunks) {
        std::memcpy(to, chunk.data, static_cast<std::size_t>(chunk.length));
        to += chunk.length;
    }
    Clear();
    storage = std::move(larger);
    storageBytes = size;
    absoluteStart = keptStart;
    position = std::min(keptPosition, size);
    length = keptLength;
}

void CBuffer::Clear()
{
    const ScopedLock locked(lock);
    length = 0;
    position = 0;
    absoluteStart = 0;
}

void CBuffer::SetAbsoluteBufferStart(int start)
{
    const ScopedLock locked(lock);
    absoluteStart = start;
}

// ---- Data ----------------------------------------------------------------------------------------------------------

int CBuffer::SetCurPos(int newPosition)
{
    const ScopedLock locked(lock);
    if (newPosition < 0 || newPosition > capacity)
        AfxThrowFileException(CFileException::badSeek);
    return position.exchange(newPosition);
}

int CBuffer::Write(void* from, int count, bool grow)
{
    const ScopedLock locked(lock);
    RequireStorage();
    const i64 wanted = i64{position} + std::max(count, 0);
    if (wanted > capacity && grow)
        Resize(static_cast<int>(std::min<i64>(wanted, INT_MAX)));
    const int end = static_cast<int>(std::min<i64>(wanted, Room()));
    const int written = end - position;
    if (written <= 0)
        return 0;
    std::memcpy(storage.get() + position, from, static_cast<std::size_t>(written));
    position = end;
    length = std::max(length.load(), end);
    return written;
}

int CBuffer::Read(void* to, int count)
{
    const ScopedLock locked(lock);
    RequireStorage();
    const int end = static_cast<int>(std::min<i64>(i64{position} + std::max(count, 0), length));
    const int read = end - position;
    if (read > 0)
        std::memcpy(to, storage.get() + position, static_cast<std::size_t>(read));
    position = end;
    return std::max(read, 0);
}

void CBuffer::ReleaseFromFront(int count)
{
    const ScopedLock locked(lock);
    if (count <= 0)
        return;
    const int released = std::min(count, length.load()), left = length - released;
    if (left > 0)
        std::memmove(storage.get(), storage.get() + released, static_cast<std::size_t>(left));
    position = left > 0 ? std::max(position - released, 0) : 0;
    length = left;
    absoluteStart.fetch_add(released); // atomic sums wrap, which streams of more than 2 GiB need
}

void CBuffer::ReleaseFromEnd(int count)
{
    const ScopedLock locked(lock);
    length = std::max(length - std::max(count, 0), 0);
}

int CBuffer::GetBuffer(int offset, int count, std::vector<BufferChunkStruct>& chunks)
{
    chunks.clear();
    if (!storage)
        return 0;
    const int dataLength = length, from = std::clamp(offset, 0, dataLength);
    chunks.push_back({storage.get() + from, std::clamp(count, 0, dataLength - from)});
    return 1;
}
