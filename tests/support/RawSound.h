// A sound file in memory of any format, which may grow and shrink.
#pragma once

#include "PcmFormat.h"

#include <algorithm>
#include <cstring>
#include <string>

class RawSound : public CSoundFile {
public:
    RawSound(int tag, int bits, int channels, std::string frames, int rate = 44100) : bytes(std::move(frames))
    {
        WAVEFORMATEX wanted = PcmFormat(channels, rate, bits);
        wanted.wFormatTag = static_cast<WORD>(tag);
        SetFormat(wanted);
    }
    bool CanRead() const override { return true; }
    bool CanSeek() const override { return true; }
    int Read(void* buffer, int frames) override
    {
        const i64 count = std::clamp<i64>(std::min(GetLength(), readable) - position, 0, frames);
        std::memcpy(buffer, bytes.data() + position * GetBlockAlign(),
                    static_cast<std::size_t>(count * GetBlockAlign()));
        position += count;
        framesRead += count;
        return static_cast<int>(count);
    }
    i64 Seek(i64 frames, int) override { return position = frames; }
    i64 GetPosition() const override { return position; }
    i64 GetLength() const override { return static_cast<i64>(bytes.size()) / GetBlockAlign(); }

    std::string bytes;
    i64 readable = i64(1) << 62; // frames that reading gets to, whatever the length says
    i64 position = 0, framesRead = 0;
};
