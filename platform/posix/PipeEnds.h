// The two ends of pipes over descriptors: see Pipe.h.
#pragma once

#include "OwnedDescriptor.h"
#include "Pipe.h"

namespace NV {

/// The number of a failed call and what it means; to be called at once.
SystemFailure LastSystemFailure();

/// Tells every waiting reader or writer of one pipe, for good, to stop.
class StopSignal {
public:
    StopSignal();
    void Send();
    int Descriptor() const { return event.Get(); }
    explicit operator bool() const { return static_cast<bool>(event); }

private:
    OwnedDescriptor event;
};

class DescriptorSource : public PipeSource {
public:
    /// Takes over a descriptor that does not block.
    explicit DescriptorSource(OwnedDescriptor readEnd) : end(std::move(readEnd)) {}
    int Read(void* buffer, int count) override;
    void Stop() override { stop.Send(); }
    bool IsReady() const { return end && stop; }

private:
    int TakeRest(void* buffer, int count);

    OwnedDescriptor end;
    StopSignal stop;
    int rest = -1; // bytes to deliver after Stop; -1 before
};

class DescriptorSink : public PipeSink {
public:
    /// Takes over a descriptor that does not block.
    explicit DescriptorSink(OwnedDescriptor writeEnd) : end(std::move(writeEnd)) {}
    bool Write(const void* bytes, std::size_t count) override;
    void Stop() override { stop.Send(); }
    bool IsReady() const { return end && stop; }

private:
    bool AwaitRoom();

    OwnedDescriptor end;
    StopSignal stop;
};

} // namespace NV
