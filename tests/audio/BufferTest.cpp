// CBuffer, CCyclicBuffer and CFifoBuffer2: against a plain text that is cut and joined, and one by one where they are
// odd.
#include "CyclicBuffer.h"
#include "FifoBuffer2.h"
#include "support/Noise.h"

#include <climits>
#include <functional>
#include <gtest/gtest.h>
#include <memory>

namespace {

// What the operation throws, as a cause of CFileException; -1 for running out of memory, 0 for nothing.
int Thrown(const std::function<void()>& operation)
{
    try {
        operation();
        return 0;
    } catch (CFileException* exception) {
        const int cause = exception->m_cause;
        exception->Delete();
        return cause;
    } catch (CMemoryException* exception) {
        exception->Delete();
        return -1;
    }
}

std::string Contents(CBuffer& buffer, int offset = 0, int count = INT_MAX)
{
    std::vector<BufferChunkStruct> chunks(3);
    const int pieces = buffer.GetBuffer(offset, count, chunks);
    EXPECT_EQ(pieces, static_cast<int>(chunks.size()));
    std::string all;
    for (const BufferChunkStruct& chunk : chunks)
        all.append(reinterpret_cast<const char*>(chunk.data), static_cast<std::size_t>(chunk.length));
    return all;
}

int WriteText(CBuffer& buffer, std::string text, bool grow = false)
{
    auto* const ring = dynamic_cast<CCyclicBuffer*>(&buffer);
    const int count = static_cast<int>(text.size());
    return ring ? ring->Write(text.data(), count) : buffer.Write(text.data(), count, grow);
}

std::string ReadText(CBuffer& buffer, int count)
{
    std::string text(static_cast<std::size_t>(std::max(count, 0)), '?');
    text.resize(static_cast<std::size_t>(buffer.Read(text.data(), count)));
    return text;
}

// The rules on a string: data from offset 0 on, a position, and what was released.
struct Model {
    std::string data;
    int position = 0, start = 0, room = 0;

    int Length() const { return static_cast<int>(data.size()); }
    int Write(std::string text)
    {
        const int written = std::max(0, std::min(static_cast<int>(text.size()), room - position));
        text.resize(static_cast<std::size_t>(written));
        if (written > 0)
            data.replace(static_cast<std::size_t>(position), text.size(), text);
        position += written;
        return written;
    }
    std::string Read(int count, bool ring)
    {
        const int read = std::max(0, std::min(position + count, Length()) - position);
        const std::string text = read > 0 ? data.substr(static_cast<std::size_t>(position), std::size_t(read)) : "";
        position = ring ? position + read : std::min(position + count, Length());
        return text;
    }
    void Release(int count)
    {
        const int released = std::min(count, Length());
        data.erase(0, static_cast<std::size_t>(released));
        position = data.empty() ? 0 : std::max(0, position - released);
        start += released;
    }
};

void RunBesideModel(CBuffer& buffer, bool ring, unsigned seed)
{
    constexpr int capacity = 61;
    buffer.AllocateBuffer(capacity);
    Model model;
    model.room = capacity;
    std::mt19937 random(seed);
    for (int round = 0; round < 20000; ++round) {
        const int count = static_cast<int>(random() % 40);
        const std::string text = Noise(static_cast<unsigned>(random()), static_cast<std::size_t>(count));
        switch (random() % 8) {
        case 0:
        case 1:
            ASSERT_EQ(WriteText(buffer, text), model.Write(text));
            break;
        case 2:
            ASSERT_EQ(ReadText(buffer, count), model.Read(count, ring));
            break;
        case 3:
            model.position = std::min(count, model.Length()); // no gaps
            buffer.SetCurPos(model.position);
            break;
        case 4:
            buffer.ReleaseFromFront(count - 5);
            model.Release(std::max(count - 5, 0));
            break;
        case 5:
            if (model.position > model.Length() - count / 8) // mostly within the data
                break;
            buffer.ReleaseFromEnd(count / 8);
            model.data.resize(static_cast<std::size_t>(model.Length() - count / 8));
            break;
        case 6:
            if (auto* const cyclic = dynamic_cast<CCyclicBuffer*>(&buffer)) {
                std::string longer = text + text + text;
                const int kept = std::min(static_cast<int>(longer.size()), model.room);
                model.Release(std::max(model.Length() + kept - model.room, 0));
                ASSERT_EQ(cyclic->WriteWithAutorelease(longer.data(), static_cast<int>(longer.size())),
                          model.Write(longer.substr(longer.size() - static_cast<std::size_t>(kept))));
            }
            break;
        default:
            if (random() % 8 != 0)
                break;
            buffer.Resize(capacity - 30 + count);
            model.room = std::min(capacity, capacity - 30 + count);
            model.data.resize(std::min(model.data.size(), static_cast<std::size_t>(model.room)));
            model.position = std::min(model.position, capacity - 30 + count);
        }
        ASSERT_EQ(Contents(buffer), model.data) << "round " << round;
        ASSERT_EQ(buffer.GetCurPos(), model.position) << "round " << round;
        ASSERT_EQ(buffer.GetAbsoluteBufferStart(), model.start);
        ASSERT_EQ(buffer.IsEOF(), model.position == model.Length());
        ASSERT_EQ(buffer.GetFreeBufSpace(), capacity - model.Length());
        if (model.Length() > 3) {
            ASSERT_EQ(Contents(buffer, 2, model.Length() - 3), model.data.substr(2, model.data.size() - 3));
        }
    }
}

} // namespace

TEST(Buffer, DoesWhatAPlainTextDoes)
{
    CBuffer linear;
    RunBesideModel(linear, false, 1);
    CCyclicBuffer ring;
    RunBesideModel(ring, true, 2);
    RunBesideModel(ring, true, 3); // allocated anew, wherever its head stood
}

TEST(Buffer, RaisesWhatItPromises)
{
    for (const CRuntimeClass* type : {RUNTIME_CLASS(CBuffer), RUNTIME_CLASS(CCyclicBuffer)}) {
        SCOPED_TRACE(type->m_lpszClassName);
        const std::unique_ptr<CObject> made(const_cast<CRuntimeClass*>(type)->CreateObject());
        CBuffer& buffer = dynamic_cast<CBuffer&>(*made);
        const auto withoutStorage = [&] {
            EXPECT_EQ(Thrown([&] { ReadText(buffer, 1); }), CFileException::genericException);
            EXPECT_EQ(Thrown([&] { WriteText(buffer, "x"); }), CFileException::genericException);
            buffer.ReleaseFromFront(1);
            buffer.Resize(10);
            EXPECT_EQ(Contents(buffer), "");
            EXPECT_EQ(buffer.GetBufSize(), 0);
        };
        withoutStorage();
        buffer.AllocateBuffer(10);
        EXPECT_EQ(WriteText(buffer, "123456789012"), 10);
        EXPECT_EQ(buffer.SetCurPos(0), 10);
        EXPECT_EQ(Thrown([&] { buffer.SetCurPos(11); }), CFileException::badSeek);
        EXPECT_EQ(Thrown([&] { buffer.SetCurPos(-1); }), CFileException::badSeek);
        EXPECT_EQ(Thrown([&] { buffer.Resize(-7); }), -1);
        EXPECT_EQ(Contents(buffer), "1234567890"); // nothing has changed
        buffer.Resize(0);
        EXPECT_EQ(WriteText(buffer, "x"), 0);
        EXPECT_EQ(Contents(buffer), "");
        buffer.AllocateBuffer(-1);
        EXPECT_EQ(buffer.GetBufSize(), 10);
        WriteText(buffer, "abc");
        buffer.FreeBuffer();
        withoutStorage();
        EXPECT_EQ(Thrown([&] { buffer.AllocateBuffer(-2); }), -1);
        withoutStorage();
    }
    EXPECT_EQ(Thrown([] { NV::CFifoBuffer2 fifo(-1); }), -1);
}

TEST(Buffer, KeptOddities)
{
    CBuffer buffer(4);
    EXPECT_EQ(WriteText(buffer, "abcdef", true), 4); // grown, and yet cut off at the old capacity
    EXPECT_EQ(buffer.GetBufSize(), 4);
    EXPECT_EQ(Contents(buffer), "abcd");
    buffer.ReleaseFromEnd(3);
    EXPECT_EQ(buffer.GetCurPos(), 4); // behind the end
    EXPECT_FALSE(buffer.IsEOF());
    EXPECT_EQ(ReadText(buffer, 9), "");
    buffer.ReleaseFromFront(9);
    EXPECT_EQ(buffer.GetAbsoluteBufferStart(), 1); // only what there was
    buffer.SetAbsoluteBufferStart(INT_MAX);
    WriteText(buffer, "ab");
    buffer.ReleaseFromFront(1);
    EXPECT_EQ(buffer.GetAbsoluteBufferStart(), INT_MIN);
    buffer.SetCurPos(3);
    EXPECT_EQ(WriteText(buffer, "z"), 1);
    EXPECT_EQ(Contents(buffer).substr(3), "z"); // a gap is allowed

    CCyclicBuffer ring(4);
    WriteText(ring, "abcd");
    ring.ReleaseFromEnd(3);
    EXPECT_EQ(ReadText(ring, 9), "");
    EXPECT_EQ(ring.GetCurPos(), 4); // unlike in the linear buffer
    ring.Clear();
    WriteText(ring, "abc");
    ring.ReleaseFromFront(2);
    WriteText(ring, "d"); // ends with the storage
    std::vector<BufferChunkStruct> chunks;
    EXPECT_EQ(ring.GetBuffer(0, 9, chunks), 1);
    WriteText(ring, "ef");
    EXPECT_EQ(ring.GetBuffer(0, 9, chunks), 2);
    EXPECT_EQ(ring.GetBuffer(2, 9, chunks), 1);
}

TEST(FifoBuffer, WrapsWhereItShould)
{
    EXPECT_NE(NV::CFifoBuffer2::Test(), 0);
    NV::CFifoBuffer2 fifo(10);
    std::byte out[10];
    std::byte* const storage = fifo.GetWritePtr(10);
    EXPECT_EQ(storage[9], std::byte(0));
    fifo.Write(10);
    EXPECT_EQ(fifo.GetSpace(), 0);
    EXPECT_EQ(fifo.Read(out, 4), 4);
    EXPECT_EQ(fifo.GetSpace(), 4); // at the start, before anything has wrapped
    EXPECT_EQ(fifo.GetWritePtr(4), storage);
    EXPECT_EQ(fifo.GetSpace(), 4);
    fifo.Write(4);
    EXPECT_EQ(fifo.Read(out, 6), 6); // exactly to the storage's end, in two pieces: wraps
    EXPECT_EQ(fifo.GetSpace(), 6);
    EXPECT_EQ(fifo.Read(out, 10), 4);
    EXPECT_EQ(fifo.GetSpace(), 6);
    fifo.GetWritePtr(6);
    fifo.Write(6);
    EXPECT_EQ(fifo.Read(out, 6), 6); // the same in one piece: stays
    EXPECT_EQ(fifo.GetSpace(), 10);
    EXPECT_EQ(fifo.GetWritePtr(1), storage);
    *storage = std::byte(7);
    fifo.Write(1);
    EXPECT_EQ(fifo.Peek(out, 5), 1);
    EXPECT_EQ(fifo.Read(out, -1), 0);
    EXPECT_EQ(fifo.Read(out, 5, true), 1); // the flag is not looked at
    EXPECT_EQ(out[0], std::byte(7));
    EXPECT_EQ(fifo.GetTotalSize(), 0);

    NV::OwnedMutex mutex;
    const auto lockTwice = [&]() NV_NO_THREAD_SAFETY_ANALYSIS {
        mutex.Lock();
        EXPECT_THROW(mutex.Lock(), std::system_error);
        mutex.Unlock();
    };
    lockTwice();
    lockTwice(); // it was free again
}
