// Sound for tests: seeded samples, and a sound file whose frames are in memory.
#pragma once

#include "PcmFormat.h"

#include <algorithm>
#include <cstring>
#include <random>
#include <vector>

/// Stretches of noise, of near silence and of lone clicks, so that every rule of a silence scan meets its case.
inline std::vector<i16> RandomSamples(unsigned seed, std::size_t count, int longestStretch = 3000)
{
    std::mt19937 random(seed);
    std::vector<i16> samples(count);
    for (std::size_t at = 0; at < count;) {
        const std::size_t length = 1 + random() % static_cast<unsigned>(longestStretch);
        const int kind = static_cast<int>(random() % 4);
        for (std::size_t k = 0; k < length && at < count; ++k, ++at) {
            const int loud = static_cast<int>(random() % 65536) - 32768;
            const int quiet = static_cast<int>(random() % 201) - 100;
            samples[at] = static_cast<i16>(kind == 0 || (kind == 1 && random() % 700 == 0) ? loud : quiet);
        }
        if (random() % 3 == 0)
            samples[at - 1] = -32768;
    }
    return samples;
}

/// 16-bit frames in memory; `written` takes what is passed to Write.
class MemorySound : public CSoundFile {
public:
    MemorySound(int channels, int rate, std::vector<i16> interleaved) : samples(std::move(interleaved))
    {
        SetFormat(PcmFormat(channels, rate, 16));
    }
    int Read(void* buffer, int frames) override
    {
        const i64 count = std::clamp<i64>(GetLength() - position, 0, frames);
        std::memcpy(buffer, samples.data() + position * GetChannels(),
                    static_cast<std::size_t>(count * GetBlockAlign()));
        position += count;
        return static_cast<int>(count);
    }
    int Write(void* buffer, int frames) override
    {
        writtenFrames = frames;
        const i16* from = static_cast<const i16*>(buffer);
        written.assign(from, from + std::max(frames, 0) * 2);
        return frames;
    }
    i64 Seek(i64 frames, int) override { return position = frames; }
    i64 GetPosition() const override { return position; }
    i64 GetLength() const override { return static_cast<i64>(samples.size()) / GetChannels(); }

    std::vector<i16> samples, written;
    int writtenFrames = -99;
    i64 position = 0;
};
