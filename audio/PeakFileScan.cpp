// CPeakFile: from audio to records. The audio passes through in pieces that stay in the cache: whole sectors, or parts
// of one where sectors are large.
//
// A long file is scanned in two lanes. The second one is a helper on a thread of its own: a second source on the same
// audio, and a second CPeakFile that lends its buffers and has no file. Lanes take the next piece in turn, read it and
// find its extremes on their own, and write the records to their place in the one file, which the scan's lock guards.
#include "PeakFile.h"

#include "CpuFeatures.h"
#include "FileCalls.h"
#include "PeakKernel.h"
#include "ProgressDialog.h"
#include "ScopedLock.h"
#include "SecondSource.h"

#include <afxmt.h>
#include <algorithm>
#include <cstring>
#include <thread>

using namespace NV;

namespace {

constexpr int scanPieceBytes = 256 << 10;
constexpr i64 worthAHelper = 4 << 20; // bytes of audio

} // namespace

namespace NV {

/// What the lanes of one scan share. Positions are frames.
class PeakScan {
public:
    PeakScan(i64 first, i64 last) : next(first), end(last) {}

    /// The next frames, at most a piece; false when there are none.
    bool Take(const CPeakFile& peaks, i64& first, int& frames)
    {
        const ScopedLock hold(lock);
        if (stopped || next >= end)
            return false;
        first = next;
        // A sector larger than a piece is passed in several, of which none reaches into the next sector.
        i64 most = peaks.pieceFrames;
        if (most < peaks.sectorSize)
            most = std::min(most, peaks.sectorSize - first % peaks.sectorSize);
        frames = static_cast<int>(std::min(most, end - first));
        next += frames;
        return true;
    }
    /// Writes the records of frames that a lane has found the extremes of. False when the scan is over.
    bool Put(CPeakFile& peaks, CPeakFile& lane, i64 first, int frames, int wanted)
    {
        const ScopedLock hold(lock);
        if (frames < wanted) // the audio is shorter than it was
            end = std::min(end, first + frames);
        if (frames > 0 && (!peaks.SetPos(first) || !lane.WriteOutputBuffer(frames))) {
            stopped = true;
            failed = true;
        }
        done += frames;
        return !stopped;
    }
    void Stop()
    {
        const ScopedLock hold(lock);
        stopped = true;
    }
    void Fail()
    {
        const ScopedLock hold(lock);
        stopped = failed = true;
    }
    bool Succeeded()
    {
        const ScopedLock hold(lock);
        return !failed;
    }
    i64 End()
    {
        const ScopedLock hold(lock);
        return end;
    }
    i64 Done()
    {
        const ScopedLock hold(lock);
        return done;
    }

private:
    CCriticalSection lock;        // also of the file underneath while there are two lanes
    i64 next NV_GUARDED_BY(lock); // no lane has taken it yet
    i64 end NV_GUARDED_BY(lock);  // of the audio, as far as is known
    i64 done NV_GUARDED_BY(lock) = 0;
    bool stopped NV_GUARDED_BY(lock) = false;
    bool failed NV_GUARDED_BY(lock) = false;
};

} // namespace NV

// ---- Buffers -------------------------------------------------------------------------------------------------------

i64 CPeakFile::CalculateBytesInSector() const
{
    return static_cast<i64>(sectorSize) * FrameBytes();
}

int CPeakFile::AllocateBuffers()
{
    const i64 cap = std::max(1, c_nPFMaxInBufSize);
    const i64 sectorBytes = CalculateBytesInSector();
    const i64 stretchBytes = std::min(totalBytes, cap);
    stretchSectors = std::max<i64>(1, stretchBytes / sectorBytes + (stretchBytes < cap ? 1 : 0));

    // A file may say that its frames lie further apart than its samples need, by up to 64 KiB.
    const int frameBytes = std::max<int>(FrameBytes(), source->GetBlockAlign());
    const i64 mostFrames = std::min<i64>(cap, scanPieceBytes) / frameBytes;
    const i64 wholeSectors = mostFrames / sectorSize;
    pieceFrames = static_cast<int>(std::max<i64>(1, wholeSectors > 0 ? wholeSectors * sectorSize : mostFrames));
    inputSize = pieceFrames * frameBytes;
    outputSize = static_cast<int>(std::max<i64>(1, wholeSectors)) * GetStructSize();
    try {
        inputBuffer.assign(static_cast<std::size_t>(inputSize), 0);
        outputBuffer.assign(static_cast<std::size_t>(outputSize), 0);
    } catch (const std::bad_alloc&) {
        return 0;
    }
    windowCount = 0;
    return 1;
}

// ---- One piece -----------------------------------------------------------------------------------------------------

int CPeakFile::ReadSector(i64 firstFrame, int frames)
{
    const bool allNew = newFrames && firstFrame >= newBegin && firstFrame + frames <= newEnd;
    int got = 0;
    const bool read = allNew || Succeeds([&] {
                          if (sourceFrame == firstFrame || source->Seek(firstFrame, 0) == firstFrame)
                              got = std::min(source->Read(inputBuffer.data(), frames), frames);
                          else
                              got = -1;
                          sourceFrame = firstFrame + got;
                      });
    if (!read || got < 0)
        return -1;
    if (newFrames)
        got = BufferToBuffer(firstFrame, got, frames);
    // Samples of a kind that is not told by one or two bytes: what the first bytes of a frame say.
    const int stored = source->GetBlockAlign(), used = FrameBytes();
    for (int k = 1; stored != used && k < got; ++k)
        std::memmove(inputBuffer.data() + static_cast<std::ptrdiff_t>(k) * used,
                     inputBuffer.data() + static_cast<std::ptrdiff_t>(k) * stored, static_cast<std::size_t>(used));
    return got;
}

/// Kept as is: an extreme starts at a value that a 16-bit sample has to pass, at the sector's own number. A sector of
/// nothing but the highest value keeps 32,767 as its minimum at that place, one of nothing but the lowest -32,768 as
/// its maximum; whoever looks for points takes such an extreme for none.
void CPeakFile::FindSectorExtremes(int sector)
{
    const i64 before = sector == 0 ? bufferFrame % sectorSize : 0; // frames of the sector in earlier pieces
    const i64 firstHere = static_cast<i64>(sector) * sectorSize;
    const i64 frames = std::min<i64>(sectorSize - before, validBytes / FrameBytes() - firstHere);
    if (before == 0) {
        const i64 number = (bufferFrame / sectorSize + sector) % stretchSectors;
        std::fill_n(current, 2, SectorExtremes{-32768, 32767, static_cast<u16>(number), static_cast<u16>(number)});
    }
    BlockExtremes found{};
    if (frames > 0)
        ChoosePeakFinder().For(IsEightBit(), header.channels)(inputBuffer.data() + firstHere * FrameBytes(),
                                                              static_cast<int>(frames), found);
    u8* to = outputBuffer.data() + static_cast<std::ptrdiff_t>(sector) * GetStructSize();
    for (int c = 0; c < header.channels; ++c) {
        SectorExtremes& kept = current[c];
        if (frames > 0 && found.max[c] > kept.max) {
            kept.max = found.max[c];
            kept.maxPos = static_cast<u16>(before + found.maxAt[c]);
        }
        if (frames > 0 && found.min[c] < kept.min) {
            kept.min = found.min[c];
            kept.minPos = static_cast<u16>(before + found.minAt[c]);
        }
        if (IsEightBit()) {
            const PEAKSSTRUCT8 entry = {kept.maxPos, static_cast<u8>(kept.max), kept.minPos, static_cast<u8>(kept.min)};
            std::memcpy(to, &entry, sizeof entry);
            to += sizeof entry;
        } else {
            const PEAKSSTRUCT16 entry = {kept.maxPos, static_cast<i16>(kept.max), kept.minPos,
                                         static_cast<i16>(kept.min)};
            std::memcpy(to, &entry, sizeof entry);
            to += sizeof entry;
        }
    }
}

void CPeakFile::FillOutputBuffer(int frames)
{
    validBytes = frames * FrameBytes();
    const i64 sectors = SectorsOf(bufferFrame % sectorSize + frames);
    for (int sector = 0; sector < sectors; ++sector)
        FindSectorExtremes(sector);
}

int CPeakFile::WriteOutputBuffer(int frames)
{
    const i64 bytes = SectorsOf(bufferFrame % sectorSize + frames) * GetStructSize();
    CPeakFile& file = owner ? *owner : *this;
    return Succeeds([&] { file.Write(outputBuffer.data(), static_cast<UINT>(bytes)); });
}

// ---- The scan ------------------------------------------------------------------------------------------------------

/// One piece from audio to records, in the buffers of a lane. False when the scan is over.
bool CPeakFile::ScanPiece(PeakScan& scan, CPeakFile& lane)
{
    i64 first = 0;
    int wanted = 0;
    if (!scan.Take(*this, first, wanted))
        return false;
    const int got = lane.ReadSector(first, wanted);
    if (got < 0) {
        scan.Fail();
        return false;
    }
    lane.bufferFrame = first;
    lane.FillOutputBuffer(got);
    return scan.Put(*this, lane, first, got, wanted);
}

/// The second lane, for as long as the object lives. Its end waits for the piece that the helper is at.
class NV::PeakHelper {
public:
    /// Nothing happens when one lane has to do.
    PeakHelper(CPeakFile& peaks, PeakScan& shared) : scan(shared)
    {
        const bool worth = peaks.totalBytes >= worthAHelper && peaks.pieceFrames >= peaks.sectorSize &&
                           !peaks.newFrames && ProcessorCount() > 1;
        source = worth ? OpenSecondSource(*peaks.source) : nullptr;
        if (!source)
            return;
        lane.owner = &peaks;
        lane.source = source.get();
        lane.header = peaks.header;
        lane.sectorSize = peaks.sectorSize;
        lane.totalBytes = peaks.totalBytes;
        if (!lane.AllocateBuffers())
            return;
        lane.stretchSectors = peaks.stretchSectors;
        lane.sourceFrame = -1;
        try {
            thread = std::thread([&] { Run(peaks); });
        } catch (const std::system_error&) { // no thread to be had
        }
    }
    ~PeakHelper()
    {
        if (!thread.joinable())
            return;
        scan.Stop();
        thread.join();
    }
    PeakHelper(const PeakHelper&) = delete;
    PeakHelper& operator=(const PeakHelper&) = delete;

private:
    void Run(CPeakFile& peaks)
    {
        try {
            while (peaks.ScanPiece(scan, lane)) {
            }
        } catch (...) {
            scan.Fail();
        }
    }

    PeakScan& scan;
    std::unique_ptr<CSoundFile> source;
    CPeakFile lane;
    std::thread thread;
};

void CPeakFile::RunLanes(PeakScan& scan, CProgressDialog* dialog, const std::function<bool()>& cancel)
{
    const double total = static_cast<double>(totalBytes) / std::max(1, source->GetBlockAlign());
    const PeakHelper helper(*this, scan);
    do {
        if (cancel() || (dialog && dialog->IsCancelled()))
            return scan.Fail();
        if (dialog && total > 0)
            dialog->SetProgress(std::min(100.0, static_cast<double>(scan.Done()) / total * 100.0));
    } while (ScanPiece(scan, *this));
}

int CPeakFile::WritePeaks(bool continueFromHere, bool withProgress, const std::function<bool()>& cancel)
{
    i64 first = -1, last = -1;
    Succeeds([&] {
        const i64 length = source->GetLength();
        last = newFrames ? std::min(SectorsOf(newEnd) * sectorSize, std::max(length, newEnd)) : length;
        first = continueFromHere ? source->GetPosition() : source->Seek(0, 0);
    });
    if (first < 0)
        return 0;
    sourceFrame = first;
    PeakScan scan(first, last);
    const std::unique_ptr<CProgressDialog> dialog = withProgress ? CProgressDialog::Make() : nullptr;
    if (dialog)
        dialog->Open("Scanning audio file");
    RunLanes(scan, dialog.get(), cancel);
    if (!scan.Succeeded())
        return 0;
    if (dialog)
        dialog->SetProgress(100);
    return Succeeds([&] {
        const ULONGLONG length = static_cast<ULONGLONG>(RecordPosition(SectorsOf(std::max(first, scan.End()))));
        if (!continueFromHere && GetLength() > length) // what another lane found behind the end of audio that shrank
            SetLength(length);
        Seek(static_cast<LONGLONG>(length), begin);
    });
}
