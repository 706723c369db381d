// CWaveFile: see WaveFile.h. Every number from a header is checked against the file before it is used; a file whose
// header lies is read as far as it goes.
#include "WaveFile.h"

#include "FileCalls.h"
#include "LittleEndian.h"
#include "WaveHeader.h"

#include <algorithm>
#include <cstring>
#include <limits>

using namespace NV;

IMPLEMENT_DYNCREATE(CWaveFile, CSoundFile)

namespace {

constexpr i64 movePiece = 256 << 10;

/// Chunks that are looked at before a file counts as none of ours: a file of empty chunks must not take for ever.
constexpr int mostChunks = 1 << 20;

} // namespace

CWaveFile::~CWaveFile()
{
    CWaveFile::Close();
}

// ---- Opening and closing -------------------------------------------------------------------------------------------

bool CWaveFile::Open(const char* path, int mode)
{
    CWaveFile::Close();
    CFileStatus status;
    const bool isNew = !CFile::GetStatus(path, status);
    CFileException error;
    if (!file.Open(path, static_cast<UINT>(mode), &error)) {
        CString cause;
        cause.Format("cause %d, system error %d", error.m_cause, static_cast<int>(error.m_lOsError));
        Log("open failed", path, cause);
        return false;
    }
    const bool marked = file.GetStatus(status) && (status.m_attribute & CFile::readOnly) != 0;
    readOnly = (mode & 3) == CFile::modeRead || marked;
    bool ready = false;
    if (mode & CFile::modeCreate) {
        SetDefaultHeader();
        ready = CreateHeader();
    } else {
        ready = ParseHeader();
    }
    if (!ready || Seek(0, 0) < 0) {
        // A block alignment of 0 leaves nothing to seek in, and Seek then gives 0.
        Log("open failed", path, mode & CFile::modeCreate ? "header not written" : "no sound file");
        headerValid = false;
        file.Abort();
        if (isNew) // a file without a header is of no use to anybody
            Succeeds([&] { CFile::Remove(path); });
        return false;
    }
    return CSoundFile::Open(path, mode);
}

bool CWaveFile::Close()
{
    CSoundFile::Close();
    if (file.m_hFile == CFile::hFileNull)
        return true;
    const CString path = file.GetFilePath();
    WriteHeader();
    if (!Succeeds([&] { file.Close(); }))
        Log("close failed", path);
    headerValid = formatValid = readOnly = false;
    return true;
}

void CWaveFile::SetDefaultHeader()
{
    WAVEFORMATEX standard;
    SetDefaultFormat(&standard);
    SetFormat(standard);
}

// ---- The header ----------------------------------------------------------------------------------------------------

bool CWaveFile::SeekToNextRIFFChunk(const char* id, unsigned long& size)
{
    for (int chunk = 0; chunk < mostChunks; ++chunk) {
        u8 head[8];
        if (file.Read(head, sizeof head) < sizeof head)
            return false;
        size = LoadLE32(head + 4);
        if (std::memcmp(head, id, 4) == 0)
            return true;
        // Kept as is: exactly `size` bytes, without the byte that pads odd sizes. Files that rely on the padding were
        // never accepted.
        file.Seek(static_cast<i64>(size), CFile::current);
    }
    return false;
}

bool CWaveFile::ParseHeader()
{
    headerValid = false;
    bool complete = false;
    Succeeds([&] {
        unsigned long size = 0;
        u8 fields[waveFormatBytes];
        file.SeekToBegin();
        if (!SeekToNextRIFFChunk("RIFF", size))
            return;
        riffPosition = static_cast<i64>(file.GetPosition()) - 8;
        if (file.Read(fields, 4) < 4 || std::memcmp(fields, "WAVE", 4) != 0 || !SeekToNextRIFFChunk("fmt ", size))
            return;
        fmtPosition = static_cast<i64>(file.GetPosition()) - 8;
        if (file.Read(fields, sizeof fields) < sizeof fields)
            return;
        WAVEFORMATEX stored;
        stored.wFormatTag = LoadLE16(fields);
        stored.nChannels = LoadLE16(fields + 2);
        stored.nSamplesPerSec = LoadLE32(fields + 4);
        stored.nAvgBytesPerSec = LoadLE32(fields + 8);
        stored.nBlockAlign = LoadLE16(fields + 12);
        stored.wBitsPerSample = LoadLE16(fields + 14);
        stored.cbSize = sizeof(WAVEFORMATEX);
        SetFormat(stored);
        file.Seek(fmtPosition + 8 + static_cast<i64>(size), CFile::begin);
        if (!SeekToNextRIFFChunk("data", size))
            return;
        dataPosition = static_cast<i64>(file.GetPosition()) - 8;
        const i64 dataEnd = DataStart() + static_cast<i64>(size);
        bytesAfterData = std::max<i64>(0, static_cast<i64>(file.GetLength()) - dataEnd);
        file.SeekToBegin();
        complete = true;
    });
    headerValid = complete;
    return complete;
}

bool CWaveFile::CreateHeader()
{
    riffPosition = 0;
    fmtPosition = 12;
    dataPosition = 36;
    bytesAfterData = 0;
    headerValid = Succeeds([&] {
        const auto header = MakeWaveHeader(format, 0);
        file.SeekToBegin();
        file.SetLength(0);
        file.Write(header.data(), waveHeaderBytes);
    });
    return headerValid && WriteHeader();
}

/// Kept as is: true in every case; a header that could not be written shows when the file is opened again.
bool CWaveFile::WriteHeader()
{
    if (readOnly || !headerValid || !formatValid)
        return true;
    const bool written = Succeeds([&] {
        const auto storeAt = [&](i64 position, const u8* bytes, UINT count) {
            file.Seek(position, CFile::begin);
            file.Write(bytes, count);
        };
        const auto size = [](i64 bytes) { // of a file that was too long before it came to us: as much as can be told
            u8 stored[4];
            StoreLE32(stored, static_cast<u32>(std::clamp<i64>(bytes, 0, std::numeric_limits<u32>::max())));
            return std::array<u8, 4>{stored[0], stored[1], stored[2], stored[3]};
        };
        const i64 position = static_cast<i64>(file.GetPosition());
        const i64 length = static_cast<i64>(file.GetLength());
        u8 fields[waveFormatBytes];
        StoreWaveFormat(fields, format);
        storeAt(riffPosition + 4, size(length - 8).data(), 4);
        storeAt(fmtPosition + 8, fields, waveFormatBytes);
        storeAt(dataPosition + 4, size(length - bytesAfterData - DataStart()).data(), 4);
        file.Seek(position, CFile::begin);
    });
    if (!written)
        Log("header not written", file.GetFilePath());
    return true;
}

// ---- Reading and moving --------------------------------------------------------------------------------------------

int CWaveFile::Read(void* buffer, int frames)
{
    if (!IsUsable() || frames <= 0)
        return 0;
    i64 got = 0;
    const bool read = Succeeds([&] {
        i64 wanted = static_cast<i64>(frames) * format.nBlockAlign;
        if (bytesAfterData > 0) {
            const i64 dataEnd = static_cast<i64>(file.GetLength()) - bytesAfterData;
            wanted = std::min(wanted, dataEnd - static_cast<i64>(file.GetPosition()));
        }
        ReadBytes(file, buffer, wanted, got);
    });
    if (!read)
        Log("read failed", GetName());
    return static_cast<int>(got / format.nBlockAlign);
}

i64 CWaveFile::Seek(i64 frames, int from)
{
    if (!IsUsable())
        return 0;
    constexpr i64 farthest = i64(1) << 62;
    if (from < 0 || from > 2 || frames > farthest / format.nBlockAlign || frames < -farthest / format.nBlockAlign)
        return -1;
    const i64 origin = from == 0 ? DataStart() : from == 2 ? bytesAfterData : 0;
    i64 position = 0;
    const bool moved = Succeeds([&] {
        const ULONGLONG reached = file.Seek(frames * format.nBlockAlign + origin, static_cast<UINT>(from));
        position = (static_cast<i64>(reached) - DataStart()) / format.nBlockAlign;
    });
    return moved ? position : -1;
}

i64 CWaveFile::GetPosition() const
{
    i64 position = 0;
    if (IsUsable())
        Succeeds([&] { position = (static_cast<i64>(file.GetPosition()) - DataStart()) / format.nBlockAlign; });
    return position;
}

i64 CWaveFile::GetLength() const
{
    i64 length = 0;
    if (IsUsable())
        Succeeds(
            [&] { length = (static_cast<i64>(file.GetLength()) - bytesAfterData - DataStart()) / format.nBlockAlign; });
    return length;
}

// ---- Writing -------------------------------------------------------------------------------------------------------

int CWaveFile::Write(void* buffer, int frames)
{
    if (!IsUsable() || frames <= 0)
        return 0;
    i64 advance = 0;
    const bool written = Succeeds([&] {
        const i64 at = static_cast<i64>(file.GetPosition());
        const i64 dataEnd = static_cast<i64>(file.GetLength()) - bytesAfterData;
        const i64 room =
            std::max<i64>(0, longestWaveFile - bytesAfterData - at) / format.nBlockAlign * format.nBlockAlign;
        const i64 count = std::min(static_cast<i64>(frames) * format.nBlockAlign, room);
        if (at < DataStart() || count == 0)
            return;
        if (bytesAfterData > 0 && at + count > dataEnd && !MakeRoom(dataEnd, at, at + count)) {
            file.Seek(at, CFile::begin);
            return;
        }
        if (WriteBytes(static_cast<const u8*>(buffer), count, at)) {
            advance = count;
            return;
        }
        advance = (static_cast<i64>(file.GetPosition()) - at) / format.nBlockAlign * format.nBlockAlign;
        CloseUp(std::max(dataEnd, at + advance));
        file.Seek(at + advance, CFile::begin);
    });
    if (!written || advance == 0)
        Log("write failed", GetName());
    return static_cast<int>(advance / format.nBlockAlign);
}

bool CWaveFile::WriteBytes(const u8* bytes, i64 count, i64 at)
{
    return Succeeds([&] {
        file.Seek(at, CFile::begin);
        NV::WriteBytes(file, bytes, count);
    });
}

/// Copies bytes within the file, in the order that keeps what is still to be copied. Returns how many were copied,
/// counted from the end when `to` lies behind `from`, else from the start.
i64 CWaveFile::MoveBytes(i64 from, i64 to, i64 count)
{
    std::vector<u8> piece(static_cast<std::size_t>(std::min(count, movePiece)));
    i64 done = 0;
    Succeeds([&] {
        while (done < count) {
            const UINT bytes = static_cast<UINT>(std::min(count - done, movePiece));
            const i64 offset = to > from ? count - done - bytes : done;
            file.Seek(from + offset, CFile::begin);
            if (file.Read(piece.data(), bytes) < bytes)
                return;
            file.Seek(to + offset, CFile::begin);
            file.Write(piece.data(), bytes);
            done += bytes;
        }
    });
    return done;
}

bool CWaveFile::WriteZeros(i64 begin, i64 end)
{
    const std::vector<u8> zeros(static_cast<std::size_t>(std::clamp<i64>(end - begin, 0, movePiece)));
    for (; begin < end; begin += movePiece) {
        if (!WriteBytes(zeros.data(), std::min(movePiece, end - begin), begin))
            return false;
    }
    return true;
}

/// Moves the bytes behind the data chunk from `dataEnd` to `newDataEnd`, for a write at `at`. False when that cannot be
/// done; the file is as it was then.
bool CWaveFile::MakeRoom(i64 dataEnd, i64 at, i64 newDataEnd)
{
    const i64 length = dataEnd + bytesAfterData;
    const i64 newLength = newDataEnd + bytesAfterData;
    // Zeros, where lengthening alone would do: a full disk says so here, before anything is moved over its old place.
    bool ready = WriteZeros(length, newLength);
    if (ready) {
        const i64 moved = MoveBytes(dataEnd, newDataEnd, bytesAfterData);
        ready = moved == bytesAfterData;
        if (!ready)
            MoveBytes(newLength - moved, length - moved, moved);
    }
    if (!ready)
        Succeeds([&] { file.SetLength(static_cast<ULONGLONG>(length)); });
    // A write behind the end of the data leaves silence in between, not what used to follow the data.
    return ready && WriteZeros(dataEnd, std::min(at, length));
}

/// Brings what follows the data to `dataEnd`, when that is before its place, and cuts the file behind it.
void CWaveFile::CloseUp(i64 dataEnd)
{
    const i64 excess = static_cast<i64>(file.GetLength()) - bytesAfterData - dataEnd;
    if (excess > 0 && MoveBytes(dataEnd + excess, dataEnd, bytesAfterData) == bytesAfterData)
        file.SetLength(static_cast<ULONGLONG>(dataEnd + bytesAfterData));
}
