// CFifoBuffer2: a ring between two threads.
#include "FifoBuffer2.h"

#include "ScopedLock.h"

#include <algorithm>
#include <cstring>

namespace NV {

CFifoBuffer2::CFifoBuffer2(int bytes) : capacity(bytes), storage(AllocateHeapBytes<std::byte>(bytes)) {}

int CFifoBuffer2::GetSpace()
{
    const ScopedLock locked(mutex);
    if (available == capacity)
        return 0;
    if (writeIndex < readIndex)
        return readIndex - writeIndex;
    return writeIndex < capacity ? capacity - writeIndex : readIndex;
}

std::byte* CFifoBuffer2::GetWritePtr(int count)
{
    const ScopedLock locked(mutex);
    if (writeIndex == capacity)
        writeIndex = 0;
    totalRequested += count;
    return storage.get() + writeIndex;
}

int CFifoBuffer2::Write(int count)
{
    const ScopedLock locked(mutex);
    writeIndex += count;
    available += count;
    totalWritten += count;
    return count;
}

int CFifoBuffer2::GetTotalSize()
{
    const ScopedLock locked(mutex);
    return available;
}

/// `next` is the read index behind the bytes.
int CFifoBuffer2::CopyOut(std::byte* to, int count, int& next) const
{
    next = readIndex;
    const int copied = std::clamp(count, 0, available);
    if (copied == 0)
        return 0;
    // Before the indices are compared: the writer may have wrapped already.
    if (next == capacity)
        next = 0;
    const bool onePiece = next < writeIndex;
    const int first = std::min(copied, (onePiece ? writeIndex : capacity) - next);
    std::memcpy(to, storage.get() + next, static_cast<std::size_t>(first));
    next += first;
    // One piece that ends with the storage leaves the index there, beside a write index that is there too. Taken back
    // to 0 it would make an empty buffer look like one without space.
    if (onePiece || next < capacity)
        return first;
    next = std::min(copied - first, writeIndex);
    std::memcpy(to + first, storage.get(), static_cast<std::size_t>(next));
    return first + next;
}

int CFifoBuffer2::Read(std::byte* to, int count, bool)
{
    // What is there when the call is made counts, not what comes in while it waits for the lock again.
    count = std::min(count, GetTotalSize());
    const ScopedLock locked(mutex);
    int next = 0;
    const int read = CopyOut(to, count, next);
    readIndex = next;
    available -= read;
    totalRead += read;
    return read;
}

int CFifoBuffer2::Peek(std::byte* to, int count)
{
    const ScopedLock locked(mutex);
    int unused = 0;
    return CopyOut(to, count, unused);
}

int CFifoBuffer2::Test()
{
    constexpr int rounds = 5000, largest = 13;
    for (int capacity = 1; capacity <= largest; ++capacity) {
        CFifoBuffer2 fifo(capacity);
        unsigned written = 0, read = 0, random = static_cast<unsigned>(capacity);
        const auto below = [&](int limit) { // 0 to limit
            random = random * 1103515245u + 12345u;
            return static_cast<int>((random >> 16) % static_cast<unsigned>(limit + 1));
        };
        for (int round = 0; round < rounds; ++round) {
            const int space = fifo.GetSpace(), count = below(space);
            if (space == 0 && fifo.GetTotalSize() != capacity)
                return 0;
            std::byte* const to = fifo.GetWritePtr(count);
            for (int k = 0; k < count; ++k)
                to[k] = std::byte(written++ & 0xFF);
            fifo.Write(count);

            std::byte peeked[largest], got[largest];
            const int wanted = below(capacity), expected = std::min(wanted, static_cast<int>(written - read));
            if (fifo.Peek(peeked, wanted) != expected || fifo.Read(got, wanted) != expected ||
                std::memcmp(peeked, got, static_cast<std::size_t>(expected)) != 0)
                return 0;
            for (int k = 0; k < expected; ++k)
                if (got[k] != std::byte(read++ & 0xFF))
                    return 0;
        }
        const ScopedLock locked(fifo.mutex);
        if (fifo.totalWritten != written || fifo.totalRead != read || fifo.totalRequested != written ||
            fifo.available != static_cast<int>(written - read))
            return 0;
    }
    return 1;
}

} // namespace NV
