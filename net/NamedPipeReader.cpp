// The reader of a named pipe: see NamedPipeReader.h.
#include "NamedPipeReader.h"

#include "Pipe.h"
#include "ScopedLock.h"
#include "Worker.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstring>
#include <system_error>

namespace NV {

namespace {

constexpr int kPiece = 65536;                      // bytes read at a time
constexpr std::chrono::milliseconds kRoomPause{5}; // until the consumer is asked again whether there is room

} // namespace

class CNamedPipeReader::Thread {
public:
    Thread(CNamedPipeReader& owner, std::unique_ptr<PipeSource> source)
        : reader(owner), pipe(std::move(source)), worker([this] { Run(); })
    {
    }
    ~Thread()
    {
        stopping = true;
        pipe->Stop();
        worker.Join();
    }
    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;

private:
    void Run()
    {
        std::array<char, kPiece> bytes;
        for (;;) {
            const int room = std::min(AwaitRoom(), kPiece);
            const int count = room > 0 ? pipe->Read(bytes.data(), room) : 0;
            if (count == 0)
                return;
            reader.Append(bytes.data(), count);
            if (reader.callback)
                CallGuarded([this] { reader.callback(reader); });
        }
    }
    // Room for bytes that lie together; 0 when there is none and nobody will make any.
    int AwaitRoom()
    {
        for (;;) {
            const bool lastTry = stopping; // before the question
            const int room = reader.fifo.GetSpace();
            if (room > 0 || lastTry)
                return room;
            std::this_thread::sleep_for(kRoomPause);
        }
    }

    CNamedPipeReader& reader;
    std::unique_ptr<PipeSource> pipe;
    std::atomic<bool> stopping = false;
    Worker worker; // after what it uses
};

CNamedPipeReader::CNamedPipeReader(const std::string& namePrefix, int capacity, DataCallback dataArrived)
    : fifo(capacity), callback(std::move(dataArrived))
{
    SystemFailure failure;
    auto pipe = MakeInboundPipe(namePrefix, name, failure);
    if (!pipe)
        throw std::system_error(failure.code, std::system_category(), "named pipe");
    thread = std::make_unique<Thread>(*this, std::move(pipe));
}

CNamedPipeReader::~CNamedPipeReader()
{
    Finish();
}

void CNamedPipeReader::Finish()
{
    thread.reset();
}

void CNamedPipeReader::Append(const char* bytes, int count)
{
    const ScopedLock locked(mutex);
    std::memcpy(fifo.GetWritePtr(count), bytes, static_cast<std::size_t>(count));
    fifo.Write(count);
}

int CNamedPipeReader::ReadData(void* buffer, int count, bool peek)
{
    auto* to = static_cast<std::byte*>(buffer);
    return peek ? fifo.Peek(to, count) : fifo.Read(to, count);
}

} // namespace NV
