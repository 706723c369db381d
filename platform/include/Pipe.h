// Bytes that come from, or go to, another process. Each end is used by one thread; Stop may be called by any other one,
// so that nobody waits for a process that has stopped answering. Units: bytes.
#pragma once

#include "NVTypes.h"

#include <cstddef>
#include <memory>
#include <string>

namespace NV {

/// A failure of the system: its own number for it, and its own words.
struct SystemFailure {
    i32 code = 0;
    std::string message;
};

/// What the system says about one of its numbers, without a line end.
SystemFailure DescribeFailure(i32 code);

/// The end of a pipe that is read.
class PipeSource {
public:
    PipeSource() = default;
    virtual ~PipeSource() = default;
    PipeSource(const PipeSource&) = delete;
    PipeSource& operator=(const PipeSource&) = delete;

    /// Waits for bytes and takes up to `count` (above 0) of them. 0 when there will be no more: every writer has closed
    /// its end, or Stop was called and what was in the pipe at that time is taken.
    virtual int Read(void* buffer, int count) = 0;
    /// Ends the waiting, now and later. Bytes that are in the pipe are still delivered, but none that come after them:
    /// a writer that never ends does not hold up the reader.
    virtual void Stop() = 0;
};

/// The end of a pipe that is written to.
class PipeSink {
public:
    PipeSink() = default;
    virtual ~PipeSink() = default;
    PipeSink(const PipeSink&) = delete;
    PipeSink& operator=(const PipeSink&) = delete;

    /// Waits until all bytes are in the pipe. False when nobody is left to read them, or after Stop.
    virtual bool Write(const void* bytes, std::size_t count) = 0;
    /// Ends the waiting, now and later.
    virtual void Stop() = 0;
};

/// Makes a pipe that a process may open for writing by its name, which is made of `prefix` and a number that no other
/// pipe has. Only this user's processes can open it. Its source's first Read waits for the writer to come. It is gone
/// with its source. Null, and a failure, when it cannot be made.
std::unique_ptr<PipeSource> MakeInboundPipe(const std::string& prefix, std::string& name, SystemFailure& failure);

} // namespace NV
