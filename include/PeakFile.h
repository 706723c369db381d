// Peak files: for every run of frames (a sector) the largest and smallest sample of each channel and where they are, so
// that a waveform can be drawn at any zoom without reading the audio. The format is told in docs/formats.md.
//
// Units: sample frames, counted from 0; a point is one pixel row of a view. One object belongs to one thread at a time;
// making the peaks of a long file takes a second thread for as long as that lasts.
//
//   PeakFile.cpp        what is in memory and what on disk, opening, making, rebuilding or not
//   PeakFileScan.cpp    from audio to records
//   PeakFilePoints.cpp  from records to points
//   PeakFileEdits.cpp   cut, insert, overwrite
#pragma once

#include "NVTypes.h"

#include <afx.h>
#include <functional>
#include <memory>
#include <vector>

class CProgressDialog;
class CSoundFile;
namespace NV {
class PeakHelper;
class PeakScan;
class PeakSource;
} // namespace NV

#pragma pack(push, 1)
/// The first bytes of a peak file, as stored.
struct PEAKFILEHEADER {
    u16 headerSize;   ///< 0  8
    u16 version;      ///< 2  1; 0 while an edit is under way
    u8 bitsPerSample; ///< 4  of the audio
    u8 channels;      ///< 5  1 or 2
    u16 sectorSize;   ///< 6  frames; the lower 16 bits of a larger one
};
/// One channel of one sector of 16-bit audio, as stored. Positions are frames from the start of the sector.
struct PEAKSSTRUCT16 {
    u16 maxPos; ///< 0
    i16 max;    ///< 2
    u16 minPos; ///< 4
    i16 min;    ///< 6
};
/// The same of 8-bit audio.
struct PEAKSSTRUCT8 {
    u16 maxPos; ///< 0
    u8 max;     ///< 2  unsigned, as in the audio
    u16 minPos; ///< 3  unaligned: this is the stored form
    u8 min;     ///< 5
};
#pragma pack(pop)
static_assert(sizeof(PEAKFILEHEADER) == 8 && sizeof(PEAKSSTRUCT16) == 8 && sizeof(PEAKSSTRUCT8) == 6);

/// The widened view of one record: 8-bit values are zero-extended (0 to 255), not moved to be around 0; mono has zeros
/// in the right channel.
struct PEAKSSTRUCT16ST {
    u16 leftMaxPos;
    i16 leftMax;
    u16 leftMinPos;
    i16 leftMin;
    u16 rightMaxPos;
    i16 rightMax;
    u16 rightMinPos;
    i16 rightMin;
};
static_assert(sizeof(PEAKSSTRUCT16ST) == 16);

/// A file of peaks, in memory (what a new object is set to) or on disk beside the audio. Reading and writing the file
/// itself, through CFile's operations, is possible and moves the position only; edits and Create write at places of
/// their own.
///
/// On disk the file is opened shared with everybody. A new one appears under its name when it is whole; while an edit
/// is under way its version is 0, so that what a program leaves that dies in the middle is no peak file.
class NVLIB_API CPeakFile : public CMemFile {
    DECLARE_DYNAMIC(CPeakFile)
public:
    /// Frames in a sector where none are given.
    static int c_nPFSectorSize;
    /// Most bytes of the buffers, and the length of the stretches from whose start sectors without an extreme are
    /// counted (see docs/formats.md).
    static int c_nPFMaxInBufSize;

    CPeakFile();
    /// Closes the file. One in the folder for temporary files is removed: nobody else knows its name.
    ~CPeakFile() override;

    // ---- Making and opening ----

    /// With true, the default, peaks live in this object only, and Create always computes them. Takes effect with the
    /// next Create or Initialize.
    void SetMemoryOnly(bool on) { memoryOnly = on; }
    bool IsMemoryOnly() const { return memoryOnly != 0; }

    /// Has the peaks of `source`, which must outlive its use here and is moved about in; null: of the WAV file at
    /// `audioPath`. On disk an existing peak file that is not older than the audio is opened instead. The file lies
    /// beside the audio, or in the folder for temporary files when that place cannot be written to. `sectorSize` is in
    /// frames, -1 for `c_nPFSectorSize`. `cancel` is asked once a buffer, on the calling thread, and ends the work with
    /// true; an empty one raises std::bad_function_call.
    ///
    /// 1 when the peaks are valid, at once when they were before. 0: no audio, a format other than one or two channels
    /// of at least a sample's size, a sector size out of range, a failure, or cancelled; there is no peak file then,
    /// also none that was there before.
    int Create(CString audioPath, CSoundFile* source, int sectorSize, bool showProgress, std::function<bool()> cancel);
    /// Opens the existing peak file of `audioPath`, however old, or in memory what was written or attached. 1; 5 when
    /// the peaks were valid before; -1 when there is none or its header is not one of a peak file.
    int Initialize(CString audioPath);
    /// The audio that later edits read; null: the WAV file at the path given before. Must outlive its use.
    void SetSource(CSoundFile* newSource) { source = newSource; }
    /// The audio's path up to its last full stop, and "fpr".
    static CString CreatePeakFilename(const CString& audioPath);

    // ---- What there is ----

    bool HasPeaks() const { return peaksValid != 0; }
    /// Frames that a record stands for.
    int GetSectorSize() const { return sectorSize; }
    /// Whole records.
    i64 GetSectorCount() const { return peaksValid ? GetNrOfSectorsInPF() : 0; }
    /// Where the peak file is, or would be; empty before Create and Initialize.
    const CString& GetPeakPath() const { return peakPath; }
    bool IsInTemporaryFolder() const { return inTemporaryFolder != 0; }

    /// Extremes of `count` points of `framesPerPoint` frames, the first from `firstFrame` on: an extreme of a sector
    /// counts for the point that its frame lies in. One value a channel and point, channels interleaved, 16 bits or,
    /// for 8-bit audio, 8. A point without one is 32767 and -32768 (255 and 0). Points that begin behind the last
    /// sector are not filled. Returns how many were not; -1 for invalid peaks, arguments out of range, a failure.
    /// `unused` is.
    int GetData(int firstFrame, int count, int framesPerPoint, void* minima, void* maxima, CString unused = CString());
    /// The same for positions of any size.
    int GetPoints(i64 firstFrame, int count, int framesPerPoint, void* minima, void* maxima);

    // ---- After the audio was edited ----

    /// Frames were removed from, or put in before, `frame`: recomputes what follows from the audio as it is now. 1, or
    /// 0 when `frame` is outside of the audio (nothing has changed then) or on a failure, which leaves no peaks.
    int Cut(int frame);
    int Insert(int frame);
    /// `frameCount` frames from `startFrame` on, which may lie beyond the old end, now are those at `data`, whether or
    /// not the audio has them yet. Results as above.
    int OvrWrite(void* data, int startFrame, int frameCount);

    // ---- The file underneath: in memory or on disk ----

    ULONGLONG GetPosition() const override;
    ULONGLONG Seek(LONGLONG offset, UINT from) override;
    void SetLength(ULONGLONG newLength) override;
    ULONGLONG GetLength() const override;
    UINT Read(void* buffer, UINT count) override;
    void Write(const void* buffer, UINT count) override;
    void Abort() override;
    void Flush() override;
    /// There are no peaks afterwards; Create and Initialize begin anew.
    void Close() override;
    BOOL GetStatus(CFileStatus& status) const override;
    using CMemFile::GetStatus;

protected:
    // ---- Opening (PeakFile.cpp) ----

    /// 1 when Create has to compute the peaks.
    int NewFileNecessary() const;
    int FillHeaderFields();
    int ReadHeader();
    int WriteHeader();
    /// Opens the audio by its path, as the source of one operation; null when that fails.
    std::unique_ptr<CSoundFile> OpenWaveFile() const;
    /// Bytes of a record.
    int GetStructSize() const;
    i64 GetNrOfSectorsInPF() const;
    /// Moves to the record of the sector that holds `frame`.
    int SetPos(i64 frame);

    // ---- From audio to records (PeakFileScan.cpp) ----

    int AllocateBuffers();
    /// Scans the source from where it stands (`continueFromHere`) or from its start, and writes the records of what it
    /// scans. Ends behind the last of them.
    int WritePeaks(bool continueFromHere, bool withProgress, const std::function<bool()>& cancel);
    /// Reads frames into the input buffer, no more than fit. How many came, -1 on a failure.
    int ReadSector(i64 firstFrame, int frames);
    /// Makes the record of one sector of the input buffer.
    void FindSectorExtremes(int sector);
    /// Makes the records of so many frames of the input buffer.
    void FillOutputBuffer(int frames);
    /// Writes the records of so many frames at the position.
    int WriteOutputBuffer(int frames);
    /// Bytes of the samples of one sector.
    i64 CalculateBytesInSector() const;
    /// Puts the frames of OvrWrite that belong there over those in the input buffer. How many of the buffer's frames
    /// there are then, `frames` of them having been read.
    int BufferToBuffer(i64 firstFrame, int frames, int wanted);

    // ---- From records to points (PeakFilePoints.cpp) ----

    int AllocateSearchBuffer(int count, int framesPerPoint);
    /// Sectors that so many points cover, rounded up.
    i64 CalculateSectorsToRead(int count, int framesPerPoint) const;
    /// Reads whole records from the position on, at most `records` and what the buffer holds; `records` then tells how
    /// many came.
    void FillSearchBuffer(long& records);
    void SearchPeaks(i64 firstFrame, int points, int framesPerPoint, void* minima, void* maxima);
    PEAKSSTRUCT16ST PtrToPeaks16St(const u8* record) const;
    static PEAKSSTRUCT16ST Peaks8To16(const u8* record, int channels);
    static i16 Convert8To16(u8 value) { return value; }

private:
    friend NV::PeakHelper;
    friend NV::PeakScan;
    friend NV::PeakSource;
    struct PointExtremes {
        i16 max[2] = {-32768, -32768};
        i16 min[2] = {32767, 32767};
    };
    struct Group {
        PointExtremes extremes;
        bool known = false;
    };
    struct SectorExtremes {
        int max = 0, min = 0;
        u16 maxPos = 0, minPos = 0;
    };

    bool MakeInMemory(const std::function<bool()>& cancel);
    bool MakeOnDisk(const std::function<bool()>& cancel);
    bool Make(const std::function<bool()>& cancel);
    bool OpenOnDisk();
    void Forget();
    void Discard();

    bool IsEightBit() const { return header.bitsPerSample == 8; }
    int FrameBytes() const { return (IsEightBit() ? 1 : 2) * header.channels; }
    i64 SectorsOf(i64 frames) const { return (frames + sectorSize - 1) / sectorSize; }
    i64 RecordPosition(i64 sector) const { return static_cast<i64>(sizeof header) + sector * GetStructSize(); }

    bool ScanPiece(NV::PeakScan& scan, CPeakFile& lane);
    void RunLanes(NV::PeakScan& scan, CProgressDialog* dialog, const std::function<bool()>& cancel);

    template <class Change>
    int Edit(i64 frame, i64 atLeast, Change&& change);
    int Rescan(int frame, bool cutBehind);

    const u8* FindRecords(i64 first, i64 wanted, bool ahead, i64& found);
    void AddRecords(i64 first, i64 end, bool ahead, PointExtremes& point);
    void AddSectors(i64 first, i64 end, bool dense, PointExtremes& point);
    void AddPartly(i64 sector, i64 begin, i64 end, bool dense, PointExtremes& point);

    u8 inTemporaryFolder = 0;
    CString audioPath;
    CString peakPath;
    int sectorSize = 0;
    PEAKFILEHEADER header{};
    CSoundFile* source = nullptr;
    int failed = 0;
    int headerValid = 0;
    int peaksValid = 0;
    int showProgress = 0;
    std::vector<u8> inputBuffer;  // audio while scanning, records while looking for points
    std::vector<u8> outputBuffer; // the records of what is in the input buffer
    i64 totalBytes = 0;           // of the audio
    int inputSize = 0;
    int outputSize = 0;
    int validBytes = 0;
    u8 memoryOnly = 1;

    CFile disk;
    CFile* inUse = nullptr; // the file on disk; null: the one in memory

    // Of the input buffer while scanning.
    int pieceFrames = 0;
    i64 stretchSectors = 1;     // sectors without an extreme are counted within stretches of so many
    i64 bufferFrame = 0;        // its first frame
    SectorExtremes current[2];  // of the last sector in it, which may be continued by the next piece
    i64 sourceFrame = 0;        // where the source stands
    CPeakFile* owner = nullptr; // of the file, for a helper that has none of its own

    // While frames are overwritten.
    const u8* newFrames = nullptr;
    i64 newBegin = 0, newEnd = 0;

    // Of the search buffer, and what is known of 64 records each.
    i64 windowFirst = 0, windowCount = 0;
    std::vector<Group> groups;
};
