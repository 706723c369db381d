// See WaveRows.h.
#include "WaveRows.h"

#include "PeakFile.h"

#include <algorithm>
#include <chrono>
#include <climits>
#include <cstring>

namespace NV {

namespace {

constexpr i16 emptyMinimum = 32767, emptyMaximum = -32768;
constexpr int formatPcm = 1, formatFloat = 3, formatExtensible = 0xFFFE;
constexpr int mostPieceBytes = 256 << 10;

/// One sample on the 16-bit scale.
i16 ToSixteen(const u8* sample, int bits, bool isFloat)
{
    if (isFloat) {
        float value;
        std::memcpy(&value, sample, sizeof value);
        // Written so that not-a-number becomes 0.
        return static_cast<i16>(value >= 1    ? 32767
                                : value > -1  ? static_cast<int>(value * 32768)
                                : value <= -1 ? -32768
                                              : 0);
    }
    if (bits == 8)
        return static_cast<i16>((*sample - 128) * 256);
    const u8* const top = sample + bits / 8 - 2; // little-endian: the upper two bytes are last
    return static_cast<i16>(top[0] | top[1] << 8);
}

} // namespace

bool WaveRows::CanShow(const CSoundFile& file)
{
    const WAVEFORMATEX& f = file.GetFormat();
    const int bits = f.wBitsPerSample, tag = f.wFormatTag;
    if (f.nChannels < 1 || f.nChannels > mostChannels || bits % 8 != 0 || f.nBlockAlign != f.nChannels * bits / 8)
        return false;
    if (bits == 16)
        return true;
    if (tag == formatFloat)
        return bits == 32;
    // An extensible format of 32 bits may be integers or not; which, the file base does not tell.
    return (tag == formatPcm && (bits == 8 || bits == 24 || bits == 32)) ||
           (tag == formatExtensible && (bits == 8 || bits == 24));
}

// ---- What is wanted, and what of it is known ------------------------------------------------------------------------

/// Of the rows that are known, those that are of use for a view, as rows of that view.
WaveRows::Range WaveRows::KeptOf(i64 start, i64 newDensity, i64 newLength) const
{
    if (key < 0 || newDensity != density || (start - key) % density != 0)
        return {0, 0};
    i64 first = known.first, stop = known.stop;
    if (newLength != length) // the last row may have been a short one, or is one now
        stop = std::min(stop, (std::min(length, newLength) - key) / density);
    const i64 shift = (start - key) / density;
    first = std::max<i64>(first - shift, 0);
    stop = std::min<i64>(stop - shift, wanted);
    return first < stop ? Range{static_cast<int>(first), static_cast<int>(stop)} : Range{0, 0};
}

void WaveRows::Want(const CSoundFile& file, i64 start, i64 newDensity, int count)
{
    const bool canShow = CanShow(file);
    const int newChannels = canShow ? file.GetChannels() : 0;
    const i64 newLength = canShow ? file.GetLength() : 0;
    if (newChannels != channels)
        Forget();
    const i64 inFile = start < newLength ? (newLength - start - 1) / newDensity + 1 : 0;
    const int newWanted = static_cast<int>(std::min<i64>(std::max(count, 0), inFile));

    const int before = std::exchange(wanted, newWanted);
    const Range kept = KeptOf(start, newDensity, newLength);
    const i64 shift = key < 0 ? 0 : (start - key) / density;
    if (kept.first == kept.stop || shift != 0 || before != wanted) {
        const std::size_t size = static_cast<std::size_t>(wanted) * static_cast<std::size_t>(newChannels);
        std::vector<i16> newMinima(size), newMaxima(size);
        channels = newChannels;
        if (kept.first < kept.stop) {
            const std::size_t from = At(static_cast<int>(kept.first + shift)), values = At(kept.stop - kept.first);
            std::copy_n(minima.data() + from, values, newMinima.data() + At(kept.first));
            std::copy_n(maxima.data() + from, values, newMaxima.data() + At(kept.first));
        }
        minima.swap(newMinima);
        maxima.swap(newMaxima);
    }
    known = kept;
    key = start;
    density = newDensity;
    length = newLength;
}

// ---- Reading --------------------------------------------------------------------------------------------------------

bool WaveRows::HasPeaks(CSoundFile& file) const
{
    CPeakFile* const peaks = file.GetPeakFile();
    if (!peaks || density <= 2 * static_cast<i64>(peaks->GetSectorSize()))
        return false;
    const i64 sectorSize = peaks->GetSectorSize();
    return peaks->GetSectorCount() == (length + sectorSize - 1) / sectorSize;
}

/// Missing rows next to those that are known, downwards first: as many as a moment allows.
WaveRows::Range WaveRows::NextToRead(const CSoundFile& file, bool fromPeaks) const
{
    constexpr i64 bytesAtOnce = 1 << 20;
    const i64 atOnce = fromPeaks ? wanted : std::max<i64>(bytesAtOnce / (density * file.GetBlockAlign()), 1);
    const int most = static_cast<int>(std::min<i64>(atOnce, wanted));
    if (known.stop < wanted)
        return {known.stop, known.stop + std::min(most, wanted - known.stop)};
    return {std::max(known.first - most, 0), known.first};
}

bool WaveRows::Fill(CSoundFile& file, int milliseconds)
{
    using Clock = std::chrono::steady_clock;
    const auto end = Clock::now() + std::chrono::milliseconds(milliseconds);
    while (!IsComplete()) {
        const Range next = NextToRead(file, HasPeaks(file));
        Read(file, next);
        if (known.first == known.stop)
            known = next;
        known = {std::min(known.first, next.first), std::max(known.stop, next.stop)};
        if (milliseconds > 0 && Clock::now() >= end)
            break;
    }
    return IsComplete();
}

/// Rows that cannot be read, because the file has become shorter meanwhile, are empty ones.
void WaveRows::Read(CSoundFile& file, Range range)
{
    const i64 from = key + range.first * density;
    i16 *const low = minima.data() + At(range.first), *const high = maxima.data() + At(range.first);
    std::fill_n(low, At(range.stop - range.first), emptyMinimum);
    std::fill_n(high, At(range.stop - range.first), emptyMaximum);
    const int whole = static_cast<int>(std::min<i64>((length - from) / density, range.stop - range.first));
    if (density <= INT_MAX) {
        const int filled = whole > 0 ? ReadWhole(file, from, whole, low, high) : 0;
        std::fill_n(low + At(filled), At(whole - filled), emptyMinimum);
        std::fill_n(high + At(filled), At(whole - filled), emptyMaximum);
    } else {
        for (int row = 0; row < whole; ++row)
            ReadOne(file, from + row * density, density, low + At(row), high + At(row));
    }
    if (whole < range.stop - range.first) // the file's last row is a short one
        ReadOne(file, from + whole * density, length - from - whole * density, low + At(whole), high + At(whole));
}

/// Rows filled.
int WaveRows::ReadWhole(CSoundFile& file, i64 from, int count, i16* low, i16* high)
{
    const int bits = file.GetFormat().wBitsPerSample;
    if (bits == 8 && HasPeaks(file))
        return ReadBytePeaks(file, from, count, low, high);
    if (bits != 16)
        return ReadFrames(file, from, density, count, low, high);
    const int filled = std::clamp(file.GetData(from, low, high, count, static_cast<int>(density)), 0, count);
    if (density == 1)
        std::copy_n(low, At(filled), high);
    return filled;
}

/// One row of any length, in pieces where it is a long one.
bool WaveRows::ReadOne(CSoundFile& file, i64 from, i64 frames, i16* low, i16* high)
{
    if (file.GetFormat().wBitsPerSample != 16)
        return ReadFrames(file, from, frames, 1, low, high) == 1;
    std::vector<i16> lows(At(1)), highs(At(1));
    while (frames > 0) {
        const int now = static_cast<int>(std::min<i64>(frames, 1 << 30));
        if (file.GetData(from, lows.data(), highs.data(), 1, now) != 1)
            return false;
        if (now == 1)
            highs = lows;
        for (std::size_t c = 0; c < At(1); ++c) {
            low[c] = std::min(low[c], lows[c]);
            high[c] = std::max(high[c], highs[c]);
        }
        from += now;
        frames -= now;
    }
    return true;
}

/// The frames themselves, in any format that can be shown; a short read ends it.
int WaveRows::ReadFrames(CSoundFile& file, i64 from, i64 framesPerRow, int count, i16* low, i16* high)
{
    const int bits = file.GetFormat().wBitsPerSample, sampleBytes = bits / 8, frameBytes = file.GetBlockAlign();
    const bool isFloat = file.GetFormat().wFormatTag == formatFloat;
    if (file.Seek(from, 0) != from)
        return 0;
    piece.resize(static_cast<std::size_t>(std::max(mostPieceBytes, frameBytes)));
    const int mostFrames = std::max(1, mostPieceBytes / frameBytes);
    i64 inRow = 0;
    int row = 0;
    while (row < count) {
        const i64 left = (count - row) * framesPerRow - inRow;
        const int asked = static_cast<int>(std::min<i64>(mostFrames, left));
        const int got = std::min(file.Read(piece.data(), asked), asked);
        const u8* sample = piece.data();
        for (int k = 0; k < got; ++k) {
            for (int c = 0; c < channels; ++c, sample += sampleBytes) {
                const i16 value = ToSixteen(sample, bits, isFloat);
                i16 &lowest = low[At(row) + static_cast<std::size_t>(c)],
                    &highest = high[At(row) + static_cast<std::size_t>(c)];
                lowest = std::min(lowest, value);
                highest = std::max(highest, value);
            }
            if (++inRow == framesPerRow) {
                inRow = 0;
                ++row;
            }
        }
        if (got < asked)
            break;
    }
    return row;
}

/// The peak file of 8-bit audio holds bytes.
int WaveRows::ReadBytePeaks(CSoundFile& file, i64 from, int count, i16* low, i16* high)
{
    std::vector<u8> lows(At(count)), highs(At(count));
    const int left = file.GetPeakFile()->GetPoints(from, count, static_cast<int>(density), lows.data(), highs.data());
    const int filled = left < 0 ? 0 : count - left;
    for (std::size_t k = 0; k < At(filled); ++k) {
        if (lows[k] > highs[k])
            continue; // a row without an extreme of its own stays empty
        low[k] = ToSixteen(&lows[k], 8, false);
        high[k] = ToSixteen(&highs[k], 8, false);
    }
    return filled;
}

} // namespace NV
