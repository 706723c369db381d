// CPeakFile: from records to points.
//
// The extremes of a sector count for the point that their frames lie in. Where a point covers whole sectors their
// places do not matter, so whole runs of records are folded at once, and of every 64 records that were ever folded the
// result is kept: a view of an hour then reads two groups of records a point, not all of them.
#include "PeakFile.h"

#include "FileCalls.h"
#include "SampleExtremes.h"

#include <algorithm>
#include <cstring>
#include <new>

using namespace NV;

namespace {

constexpr i64 groupRecords = 64;
constexpr i64 windowBytes = 64 << 10;
constexpr int narrowGroups = 4; // points of fewer groups leave hardly a record out: they are read in long runs

template <class Entry>
Entry Load(const u8* from)
{
    Entry entry;
    std::memcpy(&entry, from, sizeof entry);
    return entry;
}

} // namespace

// ---- Records -------------------------------------------------------------------------------------------------------

PEAKSSTRUCT16ST CPeakFile::Peaks8To16(const u8* record, int channels)
{
    const auto left = Load<PEAKSSTRUCT8>(record);
    PEAKSSTRUCT16ST wide{left.maxPos, Convert8To16(left.max), left.minPos, Convert8To16(left.min), 0, 0, 0, 0};
    if (channels > 1) {
        const auto right = Load<PEAKSSTRUCT8>(record + sizeof left);
        wide.rightMaxPos = right.maxPos;
        wide.rightMax = Convert8To16(right.max);
        wide.rightMinPos = right.minPos;
        wide.rightMin = Convert8To16(right.min);
    }
    return wide;
}

PEAKSSTRUCT16ST CPeakFile::PtrToPeaks16St(const u8* record) const
{
    if (IsEightBit())
        return Peaks8To16(record, header.channels);
    PEAKSSTRUCT16ST wide{};
    std::memcpy(&wide, record, static_cast<std::size_t>(GetStructSize()));
    return wide;
}

i64 CPeakFile::CalculateSectorsToRead(int count, int framesPerPoint) const
{
    return SectorsOf(static_cast<i64>(count) * framesPerPoint);
}

int CPeakFile::AllocateSearchBuffer(int count, int framesPerPoint)
{
    const i64 recordBytes = GetStructSize();
    const i64 cap = std::max<i64>(1, c_nPFMaxInBufSize / recordBytes);
    const i64 useful = std::clamp(CalculateSectorsToRead(count, framesPerPoint) + 1, groupRecords,
                                  windowBytes / recordBytes / groupRecords * groupRecords);
    inputSize = static_cast<int>(std::min(useful, cap) * recordBytes);
    if (static_cast<std::size_t>(inputSize) != inputBuffer.size()) {
        windowCount = 0;
        try {
            inputBuffer.resize(static_cast<std::size_t>(inputSize));
        } catch (const std::bad_alloc&) {
            return 0;
        }
    }
    return 1;
}

void CPeakFile::FillSearchBuffer(long& records)
{
    const long recordBytes = GetStructSize();
    const long most = inputSize / recordBytes;
    const UINT got = Read(inputBuffer.data(), static_cast<UINT>(std::min(records, most) * recordBytes));
    records = static_cast<long>(got) / recordBytes;
}

/// Records from `first` on, one at least and no more than are wanted. `ahead`: those behind will be asked for next.
const u8* CPeakFile::FindRecords(i64 first, i64 wanted, bool ahead, i64& found)
{
    if (first < windowFirst || first >= windowFirst + windowCount) {
        // Never 0 where there are peaks, which an analyser cannot see.
        const i64 room = inputSize / std::max(1, GetStructSize());
        windowFirst = room >= groupRecords ? first / groupRecords * groupRecords : first;
        windowCount = 0;
        long records = static_cast<long>(ahead ? room : std::min(room, groupRecords));
        Seek(RecordPosition(windowFirst), begin);
        FillSearchBuffer(records);
        if (first >= windowFirst + records) // the file became shorter
            AfxThrowFileException(CFileException::endOfFile);
        windowCount = records;
    }
    found = std::min(wanted, windowFirst + windowCount - first);
    return inputBuffer.data() + (first - windowFirst) * GetStructSize();
}

// ---- Points --------------------------------------------------------------------------------------------------------

/// Whole sectors, record by record.
void CPeakFile::AddRecords(i64 first, i64 stop, bool ahead, PointExtremes& point)
{
    for (i64 found = 0; first < stop; first += found) {
        const u8* records = FindRecords(first, stop - first, ahead, found);
        if (!IsEightBit()) {
            // Every field of the records as a channel; those that are places are not looked at.
            i16 max[8], min[8];
            std::fill_n(max, 8, i16(-32768));
            std::fill_n(min, 8, i16(32767));
            UpdateExtremes(records, found, 4 * header.channels, max, min);
            for (int c = 0; c < header.channels; ++c) {
                point.max[c] = std::max(point.max[c], max[4 * c + 1]);
                point.min[c] = std::min(point.min[c], min[4 * c + 3]);
            }
            continue;
        }
        for (i64 k = 0; k < found; ++k) {
            const u8* record = records + k * GetStructSize();
            for (int c = 0; c < header.channels; ++c) {
                const auto entry = Load<PEAKSSTRUCT8>(record + static_cast<std::size_t>(c) * sizeof(PEAKSSTRUCT8));
                point.max[c] = std::max(point.max[c], Convert8To16(entry.max));
                point.min[c] = std::min(point.min[c], Convert8To16(entry.min));
            }
        }
    }
}

/// Whole sectors, a group at a time where they are one.
void CPeakFile::AddSectors(i64 first, i64 stop, bool dense, PointExtremes& point)
{
    while (first < stop) {
        const i64 groupEnd = (first / groupRecords + 1) * groupRecords;
        if (first % groupRecords != 0 || groupEnd > stop) {
            const i64 next = std::min(groupEnd, stop);
            AddRecords(first, next, dense, point);
            first = next;
            continue;
        }
        const auto index = static_cast<std::size_t>(first / groupRecords);
        if (index >= groups.size())
            groups.resize(static_cast<std::size_t>(GetNrOfSectorsInPF() / groupRecords));
        Group& group = groups[index];
        if (!group.known) {
            AddRecords(first, groupEnd, true, group.extremes);
            group.known = true;
        }
        for (int c = 0; c < header.channels; ++c) {
            point.max[c] = std::max(point.max[c], group.extremes.max[c]);
            point.min[c] = std::min(point.min[c], group.extremes.min[c]);
        }
        first = groupEnd;
    }
}

/// A sector that only begins or ends in the point, which is `from` to `to`. A place behind the sector, as a damaged
/// file may have it, counts as its last frame.
void CPeakFile::AddPartly(i64 sector, i64 from, i64 to, bool dense, PointExtremes& point)
{
    i64 found = 0;
    const PEAKSSTRUCT16ST record = PtrToPeaks16St(FindRecords(sector, 1, dense, found));
    const auto isInside = [&](u16 place) {
        const i64 frame = sector * sectorSize + std::min<i64>(place, sectorSize - 1);
        return frame >= from && frame < to;
    };
    const auto add = [&](int c, u16 maxPos, i16 max, u16 minPos, i16 min) {
        if (isInside(maxPos))
            point.max[c] = std::max(point.max[c], max);
        if (isInside(minPos))
            point.min[c] = std::min(point.min[c], min);
    };
    add(0, record.leftMaxPos, record.leftMax, record.leftMinPos, record.leftMin);
    if (header.channels > 1)
        add(1, record.rightMaxPos, record.rightMax, record.rightMinPos, record.rightMin);
}

void CPeakFile::SearchPeaks(i64 firstFrame, int points, int framesPerPoint, void* minima, void* maxima)
{
    const i64 sectors = GetNrOfSectorsInPF();
    const bool dense = framesPerPoint / sectorSize < narrowGroups * groupRecords;
    for (int k = 0; k < points; ++k) {
        const i64 from = firstFrame + static_cast<i64>(k) * framesPerPoint;
        const i64 to = std::min(from + framesPerPoint, sectors * sectorSize);
        const i64 firstWhole = SectorsOf(from), endWhole = to / sectorSize;
        PointExtremes point;
        if (from % sectorSize != 0)
            AddPartly(from / sectorSize, from, to, dense, point);
        AddSectors(firstWhole, endWhole, dense, point);
        if (endWhole >= firstWhole && to % sectorSize != 0)
            AddPartly(endWhole, from, to, dense, point);
        for (int c = 0; c < header.channels; ++c) {
            const std::ptrdiff_t at = static_cast<std::ptrdiff_t>(k) * header.channels + c;
            if (IsEightBit()) {
                static_cast<u8*>(minima)[at] = static_cast<u8>(point.min[c]);
                static_cast<u8*>(maxima)[at] = static_cast<u8>(point.max[c]);
            } else {
                static_cast<i16*>(minima)[at] = point.min[c];
                static_cast<i16*>(maxima)[at] = point.max[c];
            }
        }
    }
}

int CPeakFile::GetPoints(i64 firstFrame, int count, int framesPerPoint, void* minima, void* maxima)
{
    if (!peaksValid || firstFrame < 0 || count < 0 || framesPerPoint < 1)
        return -1;
    const i64 frames = GetNrOfSectorsInPF() * sectorSize - firstFrame;
    const i64 there = frames > 0 ? (frames - 1) / framesPerPoint + 1 : 0;
    const int points = static_cast<int>(std::min<i64>(count, there));
    if (points == 0)
        return count;
    try {
        const bool found = AllocateSearchBuffer(count, framesPerPoint) &&
                           Succeeds([&] { SearchPeaks(firstFrame, points, framesPerPoint, minima, maxima); });
        return found ? count - points : -1;
    } catch (const std::bad_alloc&) {
        return -1;
    }
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): applications rely on this signature
int CPeakFile::GetData(int firstFrame, int count, int framesPerPoint, void* minima, void* maxima, CString)
{
    return GetPoints(firstFrame, count, framesPerPoint, minima, maxima);
}
