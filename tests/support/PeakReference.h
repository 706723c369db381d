// Peak files by their plain rules, and sound to make them of.
#pragma once

#include "PcmFormat.h"
#include "PeakFile.h"

#include <algorithm>
#include <cstring>
#include <random>
#include <span>
#include <vector>

using Bytes = std::vector<u8>;

struct SampleFormat {
    int bits, channels;
    int FrameBytes() const { return bits / 8 * channels; }
    WAVEFORMATEX Wave() const { return PcmFormat(channels, 44100, bits); }
};

/// Stretches of noise, of few different values, and of nothing but full scale, at which extremes do not pass their
/// start.
inline Bytes RandomFrames(std::mt19937& random, SampleFormat format, i64 frames)
{
    Bytes bytes(static_cast<std::size_t>(frames * format.FrameBytes()));
    u8* to = bytes.data();
    u8* const end = to + bytes.size();
    while (to != end) {
        const auto kind = random() % 8;
        for (auto left = 1 + random() % 900; left > 0 && to != end; --left) {
            const auto value = kind == 0 ? 0x7FFF : kind == 1 ? 0x8000 : random() % (kind < 4 ? 3 : 65536);
            *to++ = static_cast<u8>(format.bits == 8 ? value >> 8 : value);
            if (format.bits == 16)
                *to++ = static_cast<u8>(value >> 8);
        }
    }
    return bytes;
}

inline int SampleOf(std::span<const u8> bytes, SampleFormat format, i64 frame, int channel)
{
    const auto index = static_cast<std::size_t>(frame * format.channels + channel);
    if (format.bits == 8)
        return bytes[index];
    return static_cast<i16>(bytes[2 * index] | bytes[2 * index + 1] << 8);
}

/// Writes a value's lower bytes, the lowest first, and goes on behind them.
inline void Put(u8*& to, int value, int bytes)
{
    for (int k = 0; k < bytes; ++k)
        *to++ = static_cast<u8>(value >> 8 * k);
}

/// The peak file of frames, sample by sample.
inline Bytes PlainPeakFile(std::span<const u8> audio, SampleFormat format, int sectorSize)
{
    const i64 total = static_cast<i64>(audio.size()), cap = CPeakFile::c_nPFMaxInBufSize;
    const i64 frames = total / format.FrameBytes();
    const i64 input = std::min(total, cap);
    i64 sectorsPerRead = input / (static_cast<i64>(format.FrameBytes()) * sectorSize) + (input < cap);
    sectorsPerRead = std::max<i64>(1, sectorsPerRead);
    const i64 sectors = (frames + sectorSize - 1) / sectorSize;
    Bytes file(static_cast<std::size_t>(8 + sectors * (format.channels * 4 + format.FrameBytes() * 2)));
    u8* to = file.data();
    for (const int value : {8, 1, format.bits | format.channels << 8, sectorSize})
        Put(to, value, 2);
    for (i64 first = 0; first < frames; first += sectorSize) {
        for (int c = 0; c < format.channels; ++c) {
            int min = 32767, max = -32768;
            i64 minAt = first / sectorSize % sectorsPerRead, maxAt = minAt;
            for (i64 i = 0; i < sectorSize && first + i < frames; ++i) {
                const int value = SampleOf(audio, format, first + i, c);
                if (value < min) {
                    min = value;
                    minAt = i;
                }
                if (value > max) {
                    max = value;
                    maxAt = i;
                }
            }
            Put(to, static_cast<int>(maxAt), 2);
            Put(to, max, format.bits / 8);
            Put(to, static_cast<int>(minAt), 2);
            Put(to, min, format.bits / 8);
        }
    }
    return file;
}

/// The points of a peak file: every record is asked for every point. Minima and maxima, channels interleaved; as many
/// points as begin in front of the last sector's end.
inline std::pair<std::vector<int>, std::vector<int>> PlainPoints(std::span<const u8> file, i64 firstFrame, int count,
                                                                 i64 framesPerPoint)
{
    const int bits = file[4], channels = file[5], sectorSize = file[6] | file[7] << 8;
    const SampleFormat format{bits == 8 ? 8 : 16, channels};
    const std::size_t entryBytes = format.bits == 8 ? 6 : 8, valueBytes = entryBytes / 2 - 2;
    const i64 records = static_cast<i64>((file.size() - 8) / (entryBytes * static_cast<std::size_t>(channels)));
    std::vector<int> minima, maxima;
    for (int point = 0; point < count; ++point) {
        const i64 from = firstFrame + point * framesPerPoint, to = from + framesPerPoint;
        if (from >= records * sectorSize)
            break;
        for (int c = 0; c < channels; ++c) {
            int min = format.bits == 8 ? 255 : 32767, max = format.bits == 8 ? 0 : -32768;
            for (i64 k = from / sectorSize; k < records && k * sectorSize < to; ++k) {
                const u8* entry = file.data() + 8 + entryBytes * static_cast<std::size_t>(k * channels + c);
                const auto place = [&](const u8* at) {
                    return k * sectorSize + std::min(at[0] | at[1] << 8, sectorSize - 1);
                };
                const auto value = [&](const u8* at) {
                    return format.bits == 8 ? at[0] : static_cast<i16>(at[0] | at[1] << 8);
                };
                if (place(entry) >= from && place(entry) < to)
                    max = std::max<int>(max, value(entry + 2));
                if (place(entry + 2 + valueBytes) >= from && place(entry + 2 + valueBytes) < to)
                    min = std::min<int>(min, value(entry + 4 + valueBytes));
            }
            minima.push_back(min);
            maxima.push_back(max);
        }
    }
    return {minima, maxima};
}

/// Points as a peak file gives them; `left` is what it returned.
struct Points {
    std::vector<int> minima, maxima;
    int left = 0;

    Points(CPeakFile& file, int bits, int channels, i64 firstFrame, int count, int framesPerPoint)
    {
        std::vector<i16> low(static_cast<std::size_t>(count * channels) + 1, 77), high = low;
        left = file.GetPoints(firstFrame, count, framesPerPoint, low.data(), high.data());
        const auto filled = static_cast<std::size_t>(std::max(0, count - left) * channels);
        const auto bytes = [](const std::vector<i16>& from, std::size_t k) {
            return reinterpret_cast<const u8*>(from.data())[k];
        };
        for (std::size_t k = 0; left >= 0 && k < filled; ++k) {
            minima.push_back(bits == 8 ? bytes(low, k) : low[k]);
            maxima.push_back(bits == 8 ? bytes(high, k) : high[k]);
        }
    }
};

inline Bytes BytesOf(CFile& file)
{
    Bytes bytes(static_cast<std::size_t>(file.GetLength()));
    file.Seek(0, CFile::begin);
    bytes.resize(file.Read(bytes.data(), static_cast<UINT>(bytes.size())));
    return bytes;
}

/// Frames of any format in memory, with ways to fail.
class ByteSound : public CSoundFile {
public:
    ByteSound(SampleFormat described, Bytes frames) : audio(std::move(frames)) { SetFormat(described.Wave()); }
    int Read(void* buffer, int frames) override
    {
        if (readsLeft-- == 0)
            return -1;
        const i64 there = static_cast<i64>(audio.size()) / GetBlockAlign();
        const i64 count = std::clamp<i64>(there - position, 0, frames);
        std::memcpy(buffer, audio.data() + position * GetBlockAlign(),
                    static_cast<std::size_t>(count * GetBlockAlign()));
        position += count;
        return static_cast<int>(count);
    }
    i64 Seek(i64 frames, int) override { return seekFails ? -1 : position = frames; }
    i64 GetPosition() const override { return position; }
    i64 GetLength() const override { return static_cast<i64>(audio.size()) / GetBlockAlign() + claimedFrames; }
    bool CanRead() const override { return true; }
    bool CanSeek() const override { return true; }

    Bytes audio;
    i64 claimedFrames = 0; // in the length, without being there
    int readsLeft = -1;    // before one fails
    bool seekFails = false;
    i64 position = 0;
};
