// A private pipe with a name, which another process may write to, read on a thread of its own.
//
// Units: bytes. One thread consumes: the data callback's, or any other one. On Windows the pipe is \\.\pipe\ with a
// name; elsewhere it is a file in a folder that only this user may enter.
#pragma once

#include "FifoBuffer2.h"
#include "NVExport.h"
#include "OwnedMutex.h"
#include "ThreadSafety.h"

#include <functional>
#include <memory>
#include <string>

namespace NV {

class NV_CAPABILITY("mutex") NVLIB_API CNamedPipeReader {
public:
    /// Runs on the reader thread whenever bytes have arrived, with no lock held, and must not block. What it throws is
    /// dropped.
    using DataCallback = std::function<void(CNamedPipeReader& reader)>;

    /// Makes the pipe, whose name is `namePrefix` and a number that no other has, and starts the reader thread, which
    /// keeps up to `capacity` bytes; while nobody takes them out, the writer waits. Throws std::system_error with the
    /// system's number when the pipe cannot be made.
    CNamedPipeReader(const std::string& namePrefix, int capacity, DataCallback dataArrived);
    /// Calls Finish.
    ~CNamedPipeReader();
    CNamedPipeReader(const CNamedPipeReader&) = delete;
    CNamedPipeReader& operator=(const CNamedPipeReader&) = delete;

    /// The full name, under which the writer opens the pipe.
    const std::string& GetName() const { return name; }

    /// Bytes waiting to be taken out.
    int DataInBufferCount() { return fifo.GetTotalSize(); }
    /// Moves up to `count` bytes out, or with `peek` copies them. Returns how many.
    int ReadData(void* buffer, int count, bool peek);

    /// The lock that the reader thread takes when it appends; for who reads several times in one go. Taking it twice
    /// throws std::system_error.
    void Lock() NV_ACQUIRE() NV_NO_THREAD_SAFETY_ANALYSIS { mutex.Lock(); }
    void Unlock() NV_RELEASE() NV_NO_THREAD_SAFETY_ANALYSIS { mutex.Unlock(); }

    /// Waits for no more writers and ends the thread. What is in the pipe by then still arrives, as far as there is
    /// room for it.
    void Finish();

private:
    class Thread;

    void Append(const char* bytes, int count);

    std::string name;
    OwnedMutex mutex;
    CFifoBuffer2 fifo;
    DataCallback callback;
    std::unique_ptr<Thread> thread; // the last to come and the first to go
};

} // namespace NV
