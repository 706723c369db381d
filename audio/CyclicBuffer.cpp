// CCyclicBuffer: bytes in a ring.
#include "CyclicBuffer.h"

#include "ScopedLock.h"

#include <algorithm>
#include <cstring>

using namespace NV;

IMPLEMENT_DYNCREATE(CCyclicBuffer, CBuffer)

int CCyclicBuffer::Index(int offset) const
{
    const int room = Room();
    return room > 0 ? static_cast<int>((i64{head} + offset) % room) : 0;
}

int CCyclicBuffer::Read(void* to, int count)
{
    const ScopedLock locked(lock);
    RequireStorage();
    const int read = static_cast<int>(std::clamp<i64>(i64{length} - position, 0, std::max(count, 0)));
    if (read == 0)
        return 0;
    const int from = Index(position), first = std::min(read, Room() - from);
    std::memcpy(to, storage.get() + from, static_cast<std::size_t>(first));
    std::memcpy(static_cast<u8*>(to) + first, storage.get(), static_cast<std::size_t>(read - first));
    position += read;
    return read;
}

int CCyclicBuffer::Write(void* from, int count)
{
    const ScopedLock locked(lock);
    RequireStorage();
    const int end = static_cast<int>(std::min<i64>(i64{position} + std::max(count, 0), Room()));
    const int written = end - position;
    if (written <= 0)
        return 0;
    const int at = Index(position), first = std::min(written, Room() - at);
    std::memcpy(storage.get() + at, from, static_cast<std::size_t>(first));
    std::memcpy(storage.get(), static_cast<const u8*>(from) + first, static_cast<std::size_t>(written - first));
    position = end;
    length = std::max(length.load(), end);
    return written;
}

int CCyclicBuffer::WriteWithAutorelease(void* from, int count)
{
    const ScopedLock locked(lock); // for both steps, so that nobody takes the room in between
    RequireStorage();
    u8* bytes = static_cast<u8*>(from);
    const int room = Room();
    if (count > room - length) {
        bytes += std::max(count - room, 0);
        count = std::min(count, room);
        ReleaseFromFront(length - room + count);
    }
    return Write(bytes, count);
}

void CCyclicBuffer::ReleaseFromFront(int count)
{
    const ScopedLock locked(lock);
    const int released = std::min(count, length.load());
    if (released <= 0)
        return;
    head = Index(released);
    position = std::max(position - released, 0);
    length -= released;
    absoluteStart.fetch_add(released); // wraps, as in CBuffer
}

int CCyclicBuffer::GetBuffer(int offset, int count, std::vector<BufferChunkStruct>& chunks)
{
    chunks.clear();
    if (!storage)
        return 0;
    // The length before the head: a piece that is read of the one belongs to what was written before it.
    const int dataLength = length, from = std::clamp(offset, 0, dataLength);
    const int bytes = std::clamp(count, 0, dataLength - from);
    const int at = Index(from), first = std::min(bytes, Room() - at);
    chunks.push_back({storage.get() + at, first});
    if (bytes > first)
        chunks.push_back({storage.get(), bytes - first});
    return static_cast<int>(chunks.size());
}

void CCyclicBuffer::Clear()
{
    const ScopedLock locked(lock);
    CBuffer::Clear();
    head = 0;
}
