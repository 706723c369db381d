// The ring and the FIFO between two threads: a million transfers of random sizes each, nothing lost, doubled or
// swapped. Meant for the thread sanitiser as well.
#include "CyclicBuffer.h"
#include "FifoBuffer2.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <random>
#include <thread>

namespace {

// Room for some hundred transfers: each time one side has to wait costs a turn of the scheduler.
constexpr int capacity = 65521, largest = 300, transfers = 1000000;

// The byte at a place of the stream; its period has nothing in common with the capacity.
u8 ByteAt(i64 place)
{
    return static_cast<u8>((place * 167 + (place >> 8)) & 0xFF);
}

// `produce(bytes, count)` and `consume(bytes, count)` move up to `count` bytes and tell how many, 0 to try again.
template <class Produce, class Consume>
void Transfer(Produce produce, Consume consume)
{
    std::atomic<i64> total = -1;
    std::thread producer([&] {
        std::minstd_rand random(1);
        i64 place = 0;
        u8 bytes[largest];
        for (int k = 0; k < transfers; ++k) {
            const int count = 1 + static_cast<int>(random() % largest);
            for (int i = 0; i < count; ++i)
                bytes[i] = ByteAt(place + i);
            int moved = 0;
            while ((moved = produce(bytes, count)) == 0)
                std::this_thread::yield();
            place += moved;
        }
        total = place;
    });
    std::minstd_rand random(2);
    i64 place = 0, wrong = 0;
    while (place != total) {
        u8 bytes[largest];
        const int count = consume(bytes, 1 + static_cast<int>(random() % largest));
        for (int i = 0; i < count; ++i)
            wrong += bytes[i] != ByteAt(place + i);
        place += count;
        if (count == 0)
            std::this_thread::yield();
    }
    producer.join();
    EXPECT_EQ(wrong, 0);
    EXPECT_GT(place, i64{transfers});
}

} // namespace

TEST(BufferThreads, RingHandsOnWhatIsWritten)
{
    CCyclicBuffer ring(capacity);
    std::vector<BufferChunkStruct> chunks;
    Transfer([&](u8* bytes, int count) { return ring.Write(bytes, count); },
             [&](u8* bytes, int count) {
                 int moved = 0;
                 ring.GetBuffer(0, count, chunks);
                 for (const BufferChunkStruct& chunk : chunks) {
                     std::copy_n(chunk.data, chunk.length, bytes + moved);
                     moved += chunk.length;
                 }
                 ring.ReleaseFromFront(moved);
                 return moved;
             });
    EXPECT_EQ(ring.GetFreeBufSpace(), capacity);
}

TEST(BufferThreads, FifoHandsOnWhatIsWritten)
{
    NV::CFifoBuffer2 fifo(capacity);
    Transfer(
        [&](u8* bytes, int count) {
            const int fits = std::min(count, fifo.GetSpace());
            if (fits == 0)
                return 0;
            std::byte* const to = fifo.GetWritePtr(fits);
            std::transform(bytes, bytes + fits, to, [](u8 byte) { return std::byte{byte}; });
            return fifo.Write(fits);
        },
        [&](u8* bytes, int count) { return fifo.Read(reinterpret_cast<std::byte*>(bytes), count); });
    EXPECT_EQ(fifo.GetTotalSize(), 0);
}
