// What a wave device of POSIX plays into: a sound card through ALSA, or a clock. Counts are frames. One thread, the
// device's own, makes all calls.
#pragma once

#include "NVTypes.h"

#include <memory>
#include <mmsystem.h>

namespace NV {

class WaveSink {
public:
    virtual ~WaveSink() = default;
    /// Takes as many frames from the front as there is room for, perhaps none, and tells how many. -1: the device has
    /// gone.
    virtual i64 Put(const u8* frames, i64 count) = 0;
    /// Nothing else is waiting: what was taken must sound even if it does not fill the device's buffer.
    virtual void Begin() = 0;
    /// Of the frames taken since it was opened, how many have been heard or dropped. -1: the device has gone.
    virtual i64 Heard() = 0;
    /// Stops at once; what was taken and not heard is dropped.
    virtual void Drop() = 0;
};

/// The default card, or the clock when there is none. Null, and why, when it cannot be had.
std::unique_ptr<WaveSink> OpenWaveSink(const WAVEFORMATEX& format, MMRESULT& error);
std::unique_ptr<WaveSink> OpenClockSink(const WAVEFORMATEX& format);
/// The default leads somewhere, or there is a card.
bool HasWaveSink();

} // namespace NV
