// CPeakFile: cut, insert, overwrite. What changed is scanned again from the start of the sector that it begins in;
// everything before is kept. The result is what a fresh scan of the edited audio gives.
#include "PeakFile.h"

#include "FileCalls.h"
#include "PeakSource.h"

#include <algorithm>
#include <cstring>

using namespace NV;

namespace {

const auto neverCancelled = [] { return false; };

} // namespace

/// Runs an edit from `frame` on, while the file says that it is no peak file. The audio is taken to have `atLeast`
/// frames.
template <class Change>
int CPeakFile::Edit(i64 frame, i64 atLeast, Change&& change)
{
    const PeakSource audio(*this);
    if (!peaksValid || frame < 0 || !source || source->GetLength() < frame)
        return 0;
    const PEAKFILEHEADER before = header;
    const bool described = FillHeaderFields() != 0;
    const bool same = std::memcmp(&before, &header, sizeof before) == 0;
    header = before;
    if (!described || !same) // other audio than it was
        return 0;
    totalBytes = std::max(totalBytes, atLeast * source->GetBlockAlign());
    const i64 allBytes = totalBytes;
    const i64 first = std::min(frame / sectorSize, GetNrOfSectorsInPF()) * sectorSize;
    bool done = false;
    try {
        header.version = 0;
        done = AllocateBuffers() && WriteHeader();
        // Kept as is: frames are taken from bytes. Only the progress is told from the difference.
        totalBytes -= first;
        done = done && source->Seek(first, 0) == first && change();
        header = before;
        done = done && WriteHeader();
    } catch (...) { // of the display, and for the caller
        Discard();
        throw;
    }
    totalBytes = allBytes;
    if (!done)
        Discard();
    return done;
}

int CPeakFile::Rescan(int frame, bool cutBehind)
{
    return Edit(frame, 0, [&] {
        return WritePeaks(true, showProgress, neverCancelled) != 0 &&
               (!cutBehind || Succeeds([&] { SetLength(GetPosition()); }));
    });
}

int CPeakFile::Cut(int frame)
{
    return Rescan(frame, true);
}

int CPeakFile::Insert(int frame)
{
    return Rescan(frame, false);
}

int CPeakFile::OvrWrite(void* data, int startFrame, int frameCount)
{
    if (frameCount < 0 || (frameCount > 0 && !data))
        return 0;
    newBegin = startFrame;
    newEnd = newBegin + frameCount;
    const struct Frames {
        const u8*& present;
        ~Frames() { present = nullptr; }
    } frames{newFrames};
    newFrames = static_cast<const u8*>(data);
    return Edit(startFrame, newEnd,
                [&] { return frameCount == 0 || WritePeaks(true, showProgress, neverCancelled) != 0; });
}

int CPeakFile::BufferToBuffer(i64 firstFrame, int frames, int wanted)
{
    const i64 from = std::max(firstFrame, newBegin), to = std::min(firstFrame + wanted, newEnd);
    if (from >= to || from > firstFrame + frames) // nothing of it lies here, or not without a gap
        return frames;
    const int stored = source->GetBlockAlign();
    std::memcpy(inputBuffer.data() + (from - firstFrame) * stored, newFrames + (from - newBegin) * stored,
                static_cast<std::size_t>((to - from) * stored));
    return static_cast<int>(std::max<i64>(frames, to - firstFrame));
}
