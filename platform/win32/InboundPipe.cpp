// A pipe with a name, on Win32: see Pipe.h.
#include "PipeEnds.h"

#include <algorithm>
#include <atomic>

namespace NV {

namespace {

constexpr DWORD kBuffer = 16777216; // bytes each way
constexpr int kTries = 100;

// Milliseconds since the system was started, as a number that this process has not used yet.
u32 UnusedTick()
{
    static std::atomic<u32> last = 0;
    const u32 tick = GetTickCount();
    u32 before = last.load();
    u32 chosen = 0;
    do
        chosen = static_cast<i32>(tick - before) > 0 ? tick : before + 1; // the count wraps after seven weeks
    while (!last.compare_exchange_weak(before, chosen));
    return chosen;
}

class NamedSource : public HandleSource {
public:
    NamedSource(OwnedHandle readEnd, std::string pipeName) : HandleSource(std::move(readEnd)), name(std::move(pipeName))
    {
    }

    int Read(void* buffer, int count) override
    {
        if (!connected) {
            // A writer that has come and gone already has left its bytes here, which the reading finds.
            ConnectNamedPipe(End(), nullptr);
            connected = true;
        }
        return HandleSource::Read(buffer, count);
    }
    void Stop() override
    {
        HandleSource::Stop();
        // The waiting for a writer ends when one comes. If there is one the pipe takes no second.
        const OwnedHandle visitor(CreateFileA(name.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    }

private:
    std::string name;
    bool connected = false; // the reading thread's own
};

} // namespace

std::unique_ptr<PipeSource> MakeInboundPipe(const std::string& prefix, std::string& name, SystemFailure& failure)
{
    // Another process may have taken the number, or another user lie in wait under it: the first instance is ours.
    for (int attempt = 0; attempt < kTries; ++attempt) {
        const std::string path = "\\\\.\\pipe\\" + prefix + std::to_string(UnusedTick());
        OwnedHandle end(CreateNamedPipeA(path.c_str(), PIPE_ACCESS_INBOUND | FILE_FLAG_FIRST_PIPE_INSTANCE,
                                         PIPE_TYPE_BYTE | PIPE_READMODE_BYTE | PIPE_WAIT | PIPE_REJECT_REMOTE_CLIENTS,
                                         1, kBuffer, kBuffer, 0, nullptr));
        if (!end) {
            failure = LastSystemFailure();
            if (failure.code == ERROR_ACCESS_DENIED || failure.code == ERROR_PIPE_BUSY)
                continue;
            return nullptr;
        }
        auto source = std::make_unique<NamedSource>(std::move(end), path);
        if (!source->IsReady()) {
            failure = LastSystemFailure();
            return nullptr;
        }
        name = path;
        return source;
    }
    return nullptr;
}

} // namespace NV
