// The rows of a waveform: smallest and largest sample of each channel for every `density` frames of a sound file, on
// the 16-bit scale whatever the file's format. Keeps what is known when a view scrolls, and reads the rest in small
// steps. One thread.
#pragma once

#include "SoundFile.h"

#include <array>
#include <vector>

namespace NV {

class WaveRows {
public:
    struct Range {
        int first, stop;
    };
    static constexpr int mostChannels = 64;
    /// A row without a sample has minimum 32767 and maximum -32768.
    static bool IsEmpty(i16 minimum, i16 maximum) { return minimum > maximum; }
    /// Whether the format is one that is read here.
    static bool CanShow(const CSoundFile& file);

    /// Nothing is known any more.
    void Forget() { key = -1; }
    /// Says which rows are wanted: `count` of `density` (1 to 2^40) frames, the first from frame `start` (not negative)
    /// on. Rows that are known and still of use stay known; when the file's length changed, those that it had whole
    /// then and has whole now.
    void Want(const CSoundFile& file, i64 start, i64 density, int count);
    /// Reads rows that are missing, for about so long; 0: all of them. True when none is missing.
    bool Fill(CSoundFile& file, int milliseconds);

    /// Rows wanted that the file has frames for.
    int Count() const { return wanted; }
    int Channels() const { return channels; }
    bool IsComplete() const { return known.first == 0 && known.stop == wanted; }
    /// What is above and below the rows that are known; either may be empty.
    std::array<Range, 2> Missing() const { return {{{0, known.first}, {known.stop, wanted}}}; }
    bool IsKnown(int row) const { return row >= known.first && row < known.stop; }
    /// For rows that are known.
    i16 Minimum(int row, int channel) const { return minima[At(row) + static_cast<std::size_t>(channel)]; }
    i16 Maximum(int row, int channel) const { return maxima[At(row) + static_cast<std::size_t>(channel)]; }

private:
    std::size_t At(int row) const { return static_cast<std::size_t>(row) * static_cast<std::size_t>(channels); }
    Range KeptOf(i64 start, i64 newDensity, i64 newLength) const;
    Range NextToRead(const CSoundFile& file, bool fromPeaks) const;
    bool HasPeaks(CSoundFile& file) const;
    void Read(CSoundFile& file, Range range);
    int ReadWhole(CSoundFile& file, i64 from, int count, i16* low, i16* high);
    int ReadFrames(CSoundFile& file, i64 from, i64 framesPerRow, int count, i16* low, i16* high);
    int ReadBytePeaks(CSoundFile& file, i64 from, int count, i16* low, i16* high);
    bool ReadOne(CSoundFile& file, i64 from, i64 frames, i16* low, i16* high);

    std::vector<i16> minima, maxima; // `wanted` rows, channels interleaved
    i64 key = -1;                    // frame of the first row; -1: nothing is known
    i64 density = 1;
    i64 length = 0; // of the file, when the rows were last wanted
    int wanted = 0, channels = 0;
    Range known{0, 0};
    std::vector<u8> piece;
};

} // namespace NV
