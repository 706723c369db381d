// CSoundFile: opening, format, time, display data, writing from floating-point values.
#include "SoundFile.h"

#include "PeakTask.h"
#include "Rounding.h"
#include "SampleExtremes.h"

#include <algorithm>
#include <new>

using namespace NV;

IMPLEMENT_DYNCREATE(CSoundFile, CObject)

CSoundFile::CSoundFile()
{
    SetDefaultFormat(&format);
}

CSoundFile::~CSoundFile() = default;

// ---- Opening -------------------------------------------------------------------------------------------------------

bool CSoundFile::Open(const char* newName, int mode)
{
    name = newName;
    CString detail;
    detail.Format("mode 0x%X", static_cast<unsigned>(mode));
    Log("open", name, detail);
    if (peakFileOption != PeakFileOption::none)
        OpenPeakFile();
    return true;
}

bool CSoundFile::Close()
{
    peakTask.reset();
    if (!name.IsEmpty())
        Log("close", name);
    name.Empty();
    return true;
}

int CSoundFile::Read(void*, int)
{
    return 0;
}

int CSoundFile::Write(void*, int)
{
    return 0;
}

i64 CSoundFile::Seek(i64, int)
{
    return -1;
}

i64 CSoundFile::GetPosition() const
{
    return 0;
}

i64 CSoundFile::GetLength() const
{
    return 0;
}

// ---- Format and time -----------------------------------------------------------------------------------------------

bool CSoundFile::SetFormat(const WAVEFORMATEX& newFormat)
{
    format = newFormat;
    formatValid = true;
    return true;
}

void CSoundFile::SetDefaultFormat(WAVEFORMATEX* format)
{
    format->wFormatTag = WAVE_FORMAT_PCM;
    format->nChannels = 2;
    format->nSamplesPerSec = 44100;
    format->nAvgBytesPerSec = 176400;
    format->nBlockAlign = 4;
    format->wBitsPerSample = 16;
    format->cbSize = sizeof(WAVEFORMATEX); // Kept as is: the size of the record, where 0 would be usual for PCM.
}

u32 CSoundFile::UpdateFormat(WAVEFORMATEX* format)
{
    const u32 frameBits = static_cast<u32>(format->wBitsPerSample) * format->nChannels;
    format->nBlockAlign = static_cast<WORD>(frameBits / 8);
    format->nAvgBytesPerSec = format->nBlockAlign * format->nSamplesPerSec;
    return format->nAvgBytesPerSec;
}

double CSoundFile::SampleToTime(i64 frames) const
{
    return format.nSamplesPerSec == 0 ? 0.0 : static_cast<double>(frames) / format.nSamplesPerSec;
}

i64 CSoundFile::TimeToSample(double seconds) const
{
    return RoundToInt64(seconds * format.nSamplesPerSec);
}

// ---- Data for display ----------------------------------------------------------------------------------------------

bool CSoundFile::HasPackedSamples() const
{
    return format.wBitsPerSample == 16 && format.nChannels > 0 && format.nBlockAlign == format.nChannels * 2;
}

void CSoundFile::GetMaxMinSample(const void* samples, int frames, void* maxima, void* minima) const
{
    if (format.wBitsPerSample != 16)
        return;
    i16* high = static_cast<i16*>(maxima);
    i16* low = static_cast<i16*>(minima);
    std::fill_n(high, format.nChannels, i16(-32768));
    std::fill_n(low, format.nChannels, i16(32767));
    UpdateExtremes(static_cast<const u8*>(samples), frames, format.nChannels, high, low);
}

namespace {

/// Display points from frames that arrive in pieces of any size.
class PointFiller {
public:
    PointFiller(i16* max, i16* min, int channelCount, int framesPerPoint)
        : maxima(max), minima(min), channels(channelCount), density(framesPerPoint)
    {
        Begin();
    }
    void Add(const u8* samples, int frames)
    {
        while (frames > 0) {
            const int now = std::min(frames, density - filled);
            UpdateExtremes(samples, now, channels, highs.data(), lows.data());
            samples += static_cast<std::ptrdiff_t>(now) * channels * 2;
            frames -= now;
            filled += now;
            if (filled == density)
                End();
        }
    }
    int Points() const { return points; }

private:
    void Begin()
    {
        highs.assign(static_cast<std::size_t>(channels), -32768);
        lows.assign(static_cast<std::size_t>(channels), 32767);
        filled = 0;
    }
    void End()
    {
        maxima = std::copy(highs.begin(), highs.end(), maxima);
        minima = std::copy(lows.begin(), lows.end(), minima);
        ++points;
        Begin();
    }

    i16 *maxima, *minima;
    int channels, density;
    std::vector<i16> highs, lows; // of the point under way
    int filled = 0, points = 0;
};

} // namespace

int CSoundFile::GetData(i64 start, void* minima, void* maxima, int count, int density)
{
    const bool measured = format.wBitsPerSample == 16; // other sizes pass through without being looked at
    if (density < 1 || count < 1 || format.nBlockAlign == 0 || (measured && !HasPackedSamples()) ||
        Seek(start, 0) != start)
        return 0;
    if (density == 1)
        return Read(minima, count);
    if (const int points = GetPeakData(start, minima, maxima, count, density); points >= 0)
        return points;

    // Pieces of whole points where they are small, of a part of one where they are not.
    constexpr int pieceBytes = 256 << 10;
    const int mostFrames = std::max(1, pieceBytes / format.nBlockAlign);
    const int pieceFrames = density < mostFrames ? mostFrames / density * density : mostFrames;
    std::vector<u8> piece(static_cast<std::size_t>(pieceFrames) * format.nBlockAlign);
    PointFiller filler(static_cast<i16*>(maxima), static_cast<i16*>(minima), format.nChannels, density);
    i64 done = 0;
    for (const i64 wanted = static_cast<i64>(count) * density; done < wanted;) {
        const int asked = static_cast<int>(std::min<i64>(pieceFrames, wanted - done));
        const int got = std::min(Read(piece.data(), asked), asked);
        if (measured)
            filler.Add(piece.data(), got);
        done += std::max(got, 0);
        if (got < asked)
            break;
    }
    return measured ? filler.Points() : static_cast<int>(done / density);
}

// ---- Writing from computed samples ---------------------------------------------------------------------------------

namespace {

template <class Real>
int WriteReals(CSoundFile& file, const Real* first, const Real* second, int frames)
{
    const std::size_t count = frames > 0 ? static_cast<std::size_t>(frames) : 0;
    // `Write` takes block alignment bytes a frame, whatever the format is; it must not read past the buffer.
    const std::size_t samplesPerFrame =
        std::max<std::size_t>(2, (static_cast<std::size_t>(file.GetBlockAlign()) + 1) / 2);
    try {
        std::vector<i16> buffer(std::max<std::size_t>(count * samplesPerFrame, 2));
        for (std::size_t k = 0; k < count; ++k) {
            buffer[2 * k] = RoundToSample(first[k]);
            buffer[2 * k + 1] = RoundToSample(second[k]);
        }
        return file.Write(buffer.data(), frames);
    } catch (const std::bad_alloc&) {
        return 0;
    }
}

} // namespace

int CSoundFile::WriteDoubles(float* first, float* second, int frames)
{
    return WriteReals(*this, first, second, frames);
}

int CSoundFile::WriteDoubles(double* first, double* second, int frames)
{
    return WriteReals(*this, first, second, frames);
}
