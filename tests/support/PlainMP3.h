// The walk over MPEG frames by the plain rule, a seek and a read for every try, on bytes in memory: for tests to hold
// the library's against.
#pragma once

#include "NVTypes.h"

#include <cmath>
#include <string>

struct PlainMP3 {
    int frames = 0, bitRate = 0, sampleRate = 0, version = 0, layer = 0, protection = 0;
    int channelMode = 0, emphasis = 0, copyright = 0, original = 0;
    unsigned length = 0;
};

inline int PlainRate(int version, int layer, u32 index)
{
    static constexpr int first[16] = {0, 32, 64, 96, 128, 160, 192, 224, 256, 288, 320, 352, 384, 416, 448, -1};
    static constexpr int second[16] = {0, 32, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, 384, -1};
    static constexpr int third[16] = {0, 32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, -1};
    static constexpr int first2[16] = {0, 32, 48, 56, 64, 80, 96, 112, 128, 144, 160, 176, 192, 224, 256, -1};
    static constexpr int second2[16] = {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160, -1};
    static constexpr int third2[16] = {0, 8, 16, 24, 32, 64, 80, 56, 64, 128, 160, 112, 128, 256, 320, -1};
    if (version == 3)
        return (layer == 1 ? first : layer == 2 ? second : third)[index];
    return (layer == 1 ? first2 : layer == 2 ? second2 : third2)[index];
}

inline int PlainSampleRate(int version, u32 index)
{
    static constexpr int rates[3] = {44100, 48000, 32000};
    if (version == 0 || index == 3)
        return 0;
    return rates[index] / (version == 3 ? 1 : version == 2 ? 2 : 4);
}

inline int PlainVersion(u32 h)
{
    const u32 bits = h >> 19 & 3;
    return bits == 0 ? 1 : bits == 1 ? 0 : static_cast<int>(bits);
}

inline int PlainLayer(u32 h)
{
    const int bits = static_cast<int>(h >> 17 & 3);
    return bits == 0 ? 0 : 4 - bits;
}

/// 0 for a frame that has no length.
inline int PlainFrameBytes(int version, int layer, int rate, u32 h)
{
    const int sampleRate = PlainSampleRate(version, h >> 10 & 3), padding = static_cast<int>(h >> 9 & 1);
    if (rate < 1 || sampleRate == 0)
        return 0;
    return layer == 1 ? (rate * 12000 / sampleRate + padding) * 4 : rate * 144000 / sampleRate + padding;
}

inline int PlainFrameBytes(u32 h)
{
    const int layer = PlainLayer(h);
    return layer == 0 ? 0 : PlainFrameBytes(PlainVersion(h), layer, PlainRate(PlainVersion(h), layer, h >> 12 & 15), h);
}

inline PlainMP3 WalkPlainly(const std::string& bytes)
{
    std::size_t at = 0;
    const auto read = [&](u32& h) {
        if (bytes.size() < 4 || at > bytes.size() - 4)
            return false;
        h = 0;
        for (int k = 0; k < 4; ++k)
            h = h << 8 | static_cast<u8>(bytes[at++]);
        return true;
    };
    const auto next = [&](u32& h, int skip) {
        if (skip > 0)
            at += static_cast<std::size_t>(skip);
        if (!read(h))
            return false;
        for (int tries = 0; (h & 0xFFE00000) != 0xFFE00000 && tries < 100000; ++tries) {
            at -= 3;
            if (!read(h))
                return false;
        }
        return (h & 0xFFE00000) == 0xFFE00000;
    };

    PlainMP3 plain;
    int rate = -100000, skip = 0;
    i64 sum = 0;
    double seconds = 0;
    for (u32 h = 0; next(h, skip);) {
        if (plain.frames == 0) {
            plain.version = PlainVersion(h);
            plain.layer = PlainLayer(h);
            plain.protection = static_cast<int>(h >> 16 & 1);
        }
        if (plain.layer != 0)
            rate = PlainRate(plain.version, plain.layer, h >> 12 & 15);
        if (rate < 1)
            continue;
        sum += rate;
        plain.sampleRate = PlainSampleRate(plain.version, h >> 10 & 3);
        if (plain.sampleRate == 0)
            break;
        plain.channelMode = static_cast<int>(h >> 6 & 3);
        plain.copyright = static_cast<int>(h >> 3 & 1);
        plain.original = static_cast<int>(h >> 2 & 1);
        plain.emphasis = static_cast<int>(h & 3);
        const int length = PlainFrameBytes(plain.version, plain.layer, rate, h);
        ++plain.frames;
        seconds += length * 8.0 / (rate * 1000.0);
        skip = length - 4;
    }
    if (plain.frames > 0) {
        plain.bitRate = static_cast<int>(sum / plain.frames);
        plain.length = static_cast<unsigned>(std::lround(seconds));
    }
    return plain;
}
