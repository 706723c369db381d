// CSoundFile: silences, first and last sound. The samples pass through in pieces that stay in the cache: read, turned
// into one bit a frame, and only the bits are looked at further.
#include "SoundFile.h"

#include "LoudMask.h"
#include "Rounding.h"
#include "SilenceRuns.h"

#include <bit>
#include <limits>

using namespace NV;

namespace {

constexpr int framesScannedAtOnce = 1 << 16; // 256 KiB of stereo
constexpr i64 mostScanFrames = std::numeric_limits<int>::max();

/// Beyond its ends the level makes every frame loud, or none.
int LevelOf(double threshold)
{
    return static_cast<int>(std::clamp<i64>(TruncateToInt64(threshold * 32767.0), 0, 32769));
}

SilenceRuns RunsOf(double minSeconds, double framesPerSecond)
{
    // The product is a count of frames; anything past 2^62 is as good as never.
    const i64 minimum = std::clamp<i64>(TruncateToInt64(framesPerSecond * minSeconds), -(i64(1) << 62), i64(1) << 62);
    return SilenceRuns(minimum, TruncateToInt64(framesPerSecond / 60.0));
}

/// Puts a file back where it was.
class PositionKeeper {
public:
    explicit PositionKeeper(CSoundFile& kept) : file(kept), position(kept.GetPosition()) {}
    ~PositionKeeper() { file.Seek(position, 0); }
    PositionKeeper(const PositionKeeper&) = delete;
    PositionKeeper& operator=(const PositionKeeper&) = delete;

private:
    CSoundFile& file;
    i64 position;
};

/// The loud frames of one piece of a file after the other.
class LoudPieces {
public:
    LoudPieces(CSoundFile& source, int loudLevel)
        : file(source), level(loudLevel), channels(source.GetChannels()),
          samples(static_cast<std::size_t>(framesScannedAtOnce * channels)), masks(framesScannedAtOnce / maskFrames)
    {
    }

    /// Reads on, at most a piece. Returns the frames that came.
    int Next(i64 wanted)
    {
        const int asked = static_cast<int>(std::min<i64>(wanted, framesScannedAtOnce));
        const int got = std::min(file.Read(samples.data(), asked), asked);
        FindLoudFrames(masks.data(), samples.data(), got, channels, level);
        words = (got + maskFrames - 1) / maskFrames;
        return got;
    }
    const u64* Masks() const { return masks.data(); }
    /// Index of the first or last loud frame in the piece, -1 for none.
    int First() const
    {
        for (int w = 0; w < words; ++w) {
            if (Word(w) != 0)
                return w * maskFrames + std::countr_zero(Word(w));
        }
        return -1;
    }
    int Last() const
    {
        for (int w = words - 1; w >= 0; --w) {
            if (Word(w) != 0)
                return w * maskFrames + maskFrames - 1 - std::countl_zero(Word(w));
        }
        return -1;
    }

private:
    u64 Word(int index) const { return masks[static_cast<std::size_t>(index)]; }

    CSoundFile& file;
    int level, channels, words = 0;
    std::vector<i16> samples;
    std::vector<u64> masks;
};

} // namespace

CSoundFile::SilenceList CSoundFile::ScanForSilence(double threshold, double minSeconds, std::span<const i16> samples,
                                                   int sampleRate)
{
    const int level = LevelOf(threshold);
    SilenceRuns runs = RunsOf(minSeconds, sampleRate);
    std::vector<u64> masks(framesScannedAtOnce / maskFrames);
    const i64 count = std::min<i64>(static_cast<i64>(samples.size()), mostScanFrames);
    for (i64 at = 0; at < count; at += framesScannedAtOnce) {
        const i64 frames = std::min<i64>(framesScannedAtOnce, count - at);
        FindLoudFrames(masks.data(), samples.data() + at, frames, 1, level);
        runs.Add(masks.data(), frames);
    }
    return runs.Finish();
}

bool CSoundFile::CanScan() const
{
    return HasPackedSamples() && format.nChannels <= 2;
}

CSoundFile::SilenceList CSoundFile::ScanFileForSilence(double threshold, double minSeconds)
{
    if (!CanScan())
        return {};
    const PositionKeeper keeper(*this);
    if (Seek(0, 0) != 0)
        return {};
    SilenceRuns runs = RunsOf(minSeconds, format.nSamplesPerSec);
    LoudPieces pieces(*this, LevelOf(threshold));
    // Asking for no more than the length lets a partial sector at the end of a disc image take part.
    for (i64 left = std::min(GetLength(), mostScanFrames); left > 0;) {
        const int got = pieces.Next(left);
        runs.Add(pieces.Masks(), got);
        left = got < std::min<i64>(left, framesScannedAtOnce) ? 0 : left - got;
    }
    return runs.Finish();
}

int CSoundFile::ScanForFirstSound(double threshold)
{
    if (!CanScan())
        return -1;
    const PositionKeeper keeper(*this);
    if (Seek(0, 0) != 0)
        return -1;
    LoudPieces pieces(*this, LevelOf(threshold));
    const i64 length = std::min(GetLength(), mostScanFrames);
    for (i64 at = 0; at < length;) {
        const int got = pieces.Next(length - at);
        if (const int found = pieces.First(); found >= 0)
            return static_cast<int>(at) + found;
        if (got <= 0)
            break;
        at += got;
    }
    return -1;
}

int CSoundFile::ScanForLastSound(double threshold)
{
    if (!CanScan())
        return -1;
    const PositionKeeper keeper(*this);
    LoudPieces pieces(*this, LevelOf(threshold));
    for (i64 end = std::min(GetLength(), mostScanFrames); end > 0;) {
        const i64 begin = std::max<i64>(0, end - framesScannedAtOnce);
        if (Seek(begin, 0) != begin)
            return -1;
        pieces.Next(end - begin);
        if (const int found = pieces.Last(); found >= 0)
            return static_cast<int>(begin) + found;
        end = begin;
    }
    return -1;
}
