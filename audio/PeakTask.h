// The task that makes the peak file of a sound file, and what it made. It has a sound file of its own and never looks
// at the one that it belongs to, so that one may end at any time: the end of this object waits.
#pragma once

#include "PeakFile.h"
#include "SoundFile.h"

#include <atomic>
#include <future>

namespace NV {

class PeakTask {
public:
    /// `audio` is the task's own. With `mayCreate` false an existing file on disk is opened, however old.
    PeakTask(std::unique_ptr<CSoundFile> audio, bool onDisk, bool mayCreate);
    ~PeakTask();
    PeakTask(const PeakTask&) = delete;
    PeakTask& operator=(const PeakTask&) = delete;

    /// Asks for an early end and waits for it.
    void Terminate();
    void Wait();
    /// The peaks, when they are whole: nobody else uses them then.
    CPeakFile* Peaks() { return whole.load(std::memory_order_acquire) ? &peaks : nullptr; }

private:
    void Run(bool onDisk, bool mayCreate);

    std::unique_ptr<CSoundFile> source;
    CPeakFile peaks;
    std::atomic<bool> cancelled = false;
    std::atomic<bool> whole = false;
    std::future<void> work;
};

} // namespace NV
