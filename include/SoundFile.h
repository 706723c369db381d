// The base of every sound source and sink: format and time, minimum and maximum for display, silence scanning, a log.
//
// Units: positions, lengths and counts are sample frames (one sample of each channel), 64-bit where a file may need it;
// buffers are bytes in the file's own format; times are seconds. One object belongs to one thread at a time; the log's
// settings are shared by all objects and set before use.
//
//   SoundFile.cpp       opening, format, time, display data, writing from floating-point values
//   SilenceScan.cpp     the silence scan, first and last sound
//   SoundFilePeaks.cpp  the peak file
//   SoundFileLog.cpp    the log
#pragma once

#include "NVExport.h"
#include "NVTypes.h"

#include <afx.h>
#include <memory>
#include <mmsystem.h>
#include <span>
#include <utility>
#include <vector>

class CCriticalSection;
class CPeakFile;
namespace NV {
class PeakTask;
}

/// Whether and where a sound file has a peak file made as soon as it is open.
enum class PeakFileOption { none, inMemory, onDisk };

class NVLIB_API CSoundFile : public CObject {
    DECLARE_DYNCREATE(CSoundFile)
public:
    /// Half-open ranges (start, end) of frames, in stream order.
    using SilenceList = std::vector<std::pair<int, int>>;

    // ---- The log, shared by all sound files ----

    /// With true, every opening, closing and failure appends a line with a time stamp (UTC) to the log file.
    static bool c_bEnableLog;
    static CString c_szLogFileName;
    /// Held while a line is written. The application may put a lock of its own here; null: lines are not guarded.
    static CCriticalSection* c_pLogCritSec;

    /// With false, peak files are not made; `OpenPeakFile` then only opens one that is on disk already.
    static bool c_bCreatePeakFiles;

    /// The default format (see `SetDefaultFormat`), not valid yet; no file.
    CSoundFile();
    ~CSoundFile() override;

    // ---- Operations that derived classes fill in; the order of the slots is part of the interface ----

    /// Remembers the name. `mode` takes `CFile`'s open flags. Derived classes open the actual file first and give false
    /// when that fails; they then have no open file, and `Open` may be called again. Always true here.
    virtual bool Open(const char* name, int mode);
    /// Ends the use of the file; nothing when there is none. Always true.
    virtual bool Close();
    virtual bool CanRead() const { return false; }
    /// Reads `frames` frames into a buffer of at least frames × block alignment bytes. Returns how many came, fewer at
    /// the end or when reading fails.
    virtual int Read(void* buffer, int frames);
    virtual bool CanWrite() const { return false; }
    /// Writes frames; `buffer` is only read. Returns how many were written.
    virtual int Write(void* buffer, int frames);
    virtual bool CanSeek() const { return false; }
    /// Moves to a frame counted from `from` (0 start, 1 current position, 2 end; derived classes tell how they read
    /// that) and returns the new position, -1 on a failure, which moves nothing.
    virtual i64 Seek(i64 frames, int from);
    virtual i64 GetPosition() const;
    virtual i64 GetLength() const;
    /// The name given to `Open`; empty without a file.
    virtual CString GetName() const { return name; }
    /// Takes a format as it is and marks it valid. Always true.
    virtual bool SetFormat(const WAVEFORMATEX& newFormat);
    /// The file underneath, owned by this object; null when there is none.
    virtual CFile* GetFile() { return nullptr; }

    // ---- Format and time ----

    const WAVEFORMATEX& GetFormat() const { return format; }
    /// Bytes of one frame.
    int GetBlockAlign() const { return format.nBlockAlign; }
    int GetChannels() const { return format.nChannels; }
    int GetSamplesPerSec() const { return static_cast<int>(format.nSamplesPerSec); }

    /// PCM, 2 channels of 16 bits, 44,100 frames a second, and 18, the size of the record itself, as extra size.
    static void SetDefaultFormat(WAVEFORMATEX* format);
    /// Recomputes block alignment and average bytes a second from the other fields and returns the latter.
    static u32 UpdateFormat(WAVEFORMATEX* format);

    /// 0 for a format without a sample rate.
    double SampleToTime(i64 frames) const;
    /// Rounded to the nearest frame, halves away from zero; clamped to the range of the result; not-a-number gives 0.
    i64 TimeToSample(double seconds) const;

    // ---- Data for display (16-bit formats only) ----

    /// Largest and smallest sample of each channel over interleaved frames, as 16-bit values; without frames -32768
    /// and 32767. Does nothing for other sample sizes.
    void GetMaxMinSample(const void* samples, int frames, void* maxima, void* minima) const;
    /// One point for every `density` frames from frame `start` on, `count` points at most. With density 1 the frames
    /// themselves go to `minima`, in the file's format. Above twice the sector size of the peak file, when there is one
    /// and it covers the whole file, the points are those of `CPeakFile::GetPoints`. Otherwise both buffers get a
    /// 16-bit value a channel and point, computed from the frames. Returns the points that were filled; a last point
    /// that the file fills only partly does not count. 0 for a density below 1, and for 16-bit formats whose frames are
    /// not packed. May move the position.
    int GetData(i64 start, void* minima, void* maxima, int count, int density);

    // ---- The peak file, made meanwhile by a task on another thread ----

    /// Has `Open` start `OpenPeakFile`; it also says where the peak file lies (`none`: in memory).
    void SetPeakFileOption(PeakFileOption option) { peakFileOption = option; }
    PeakFileOption GetPeakFileOption() const { return peakFileOption; }
    /// Begins to make the peak file, or to open one on disk that is not older than the audio, and returns. The task
    /// reads through an object of its own, of the same class and name, so the file has to be open in a way that shares
    /// it
    /// (`CFile::shareDenyNone` or `shareDenyWrite`). False when there is no such object; there is no peak file then.
    /// Ends an earlier task; its peak file is gone. Frames that are written afterwards are the caller's to tell to
    /// `GetPeakFile()`.
    bool OpenPeakFile();
    /// Stops the task, if one is running, and waits for its end. A peak file that is whole stays. `Close`, the
    /// destructor and `OpenPeakFile` do the same before they drop the peak file.
    void TerminatePeakfileThread();
    /// Waits for the task. True when there is a peak file.
    bool WaitForPeakFile();
    /// The peak file, owned by this object, which is its source; null while it is being made, or when that failed.
    CPeakFile* GetPeakFile();

    // ---- Silence ----

    /// The quiet stretches of one channel of samples. Quiet is what stays below threshold × 32767; a loud sample more
    /// than a sixtieth of a second behind the last one is a click, which does not end a silence. `minSeconds` is the
    /// shortest stretch to report. Both products are truncated towards zero. |-32768| counts as 32,768.
    static SilenceList ScanForSilence(double threshold, double minSeconds, std::span<const i16> samples,
                                      int sampleRate);
    /// The same for the whole open file, a frame being as loud as its loudest channel. Empty unless the format is
    /// 16-bit with one or two channels. At most the first 2^31 - 1 frames are looked at. Keeps the position.
    SilenceList ScanFileForSilence(double threshold, double minSeconds);
    /// The first and the last frame that reaches threshold × 32767 (truncated) in some channel; -1 when there is none
    /// or the format is another. Keeps the position.
    int ScanForFirstSound(double threshold);
    int ScanForLastSound(double threshold);

    // ---- Writing from computed samples ----

    /// Passes `frames` 16-bit stereo frames to `Write`, left from `first`, right from `second`, and returns its result.
    /// The values are on the 16-bit scale already: clamped to it, rounded to nearest, halves away from zero;
    /// not-a-number becomes 0. With `frames` below 1 `Write` is called all the same. 0 when there is no memory.
    int WriteDoubles(float* first, float* second, int frames);
    int WriteDoubles(double* first, double* second, int frames);

protected:
    /// Appends a line to the log when that is on; a log that cannot be written changes nothing.
    static void Log(const char* event, const char* name, const char* detail = "");
    /// The format is 16-bit, and its frames hold their samples and nothing else.
    bool HasPackedSamples() const;

    WAVEFORMATEX format;
    bool formatValid = false;

private:
    bool CanScan() const;
    int GetPeakData(i64 start, void* minima, void* maxima, int count, int density);

    CString name;
    PeakFileOption peakFileOption = PeakFileOption::none;
    std::unique_ptr<NV::PeakTask> peakTask;
};
