// Chance that falls out the same on every machine: a given seed makes a given track.
#pragma once

#include "NVTypes.h"

namespace nvtool::sample {

class Random {
public:
    explicit Random(u32 seed) : state(seed * 2654435761u + 0x9E3779B9u)
    {
        if (state == 0)
            state = 1; // the one state that the generator never leaves
        for (int i = 0; i < 8; ++i)
            Next();
    }

    u32 Next()
    {
        state ^= state << 13;
        state ^= state >> 17;
        state ^= state << 5;
        return state;
    }

    // 0…count - 1; `count` is small, so the slight preference for low numbers does not matter here.
    int Below(int count) { return static_cast<int>((Next() >> 8) % static_cast<u32>(count)); }

private:
    u32 state;
};

} // namespace nvtool::sample
