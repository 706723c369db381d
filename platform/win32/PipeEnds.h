// The two ends of pipes over Win32 handles: see Pipe.h.
#pragma once

#include "OwnedHandle.h"
#include "Pipe.h"

#include <atomic>
#include <mutex>

namespace NV {

/// The number of a failed call and what it means; to be called at once.
SystemFailure LastSystemFailure();

class HandleSource : public PipeSource {
public:
    explicit HandleSource(OwnedHandle readEnd)
        : end(std::move(readEnd)), stopped(CreateEventA(nullptr, TRUE, FALSE, nullptr))
    {
    }
    int Read(void* buffer, int count) override;
    void Stop() override;
    bool IsReady() const { return end && stopped; }

protected:
    HANDLE End() const { return end.Get(); }

private:
    OwnedHandle end, stopped;
    int rest = -1; // bytes to deliver after Stop; -1 before
};

class HandleSink : public PipeSink {
public:
    explicit HandleSink(OwnedHandle writeEnd) : end(std::move(writeEnd)) {}
    bool Write(const void* bytes, std::size_t count) override;
    void Stop() override;

private:
    OwnedHandle end;
    std::atomic<bool> stopping = false;
    std::mutex mutex;
    OwnedHandle writer; // the thread inside Write; guarded by the mutex
};

} // namespace NV
