// RIFF/WAVE sound files, read and written in place.
//
// Units: frames (block alignment bytes) at the interface, bytes inside. Frame f lies at byte data chunk + 8 + f × block
// alignment. One thread at a time.
#pragma once

#include "SoundFile.h"

/// Any format tag, channel count, rate and sample size is accepted; samples are passed through as they are stored.
/// Chunks other than the three that count are left alone, those behind the data move when the data grows. Read,
/// Write, Seek, GetPosition and GetLength give 0 while no header was read or the block alignment is 0.
class NVLIB_API CWaveFile : public CSoundFile {
    DECLARE_DYNCREATE(CWaveFile)
public:
    CWaveFile() = default;
    /// As `Close`.
    ~CWaveFile() override;

    /// Opens a file with `CFile`'s open flags and goes to frame 0. With `modeCreate` the file becomes an empty one of
    /// the default format, which `SetFormat` may change before the first write. Without, its header must hold "RIFF",
    /// "WAVE" and "fmt ", then "data". A data size that reaches past the end of the file counts as what is there.
    /// False leaves no open file.
    bool Open(const char* path, int mode) override;
    /// Brings the header up to date unless the file is read-only, and closes it. Always true.
    bool Close() override;
    bool CanRead() const override { return true; }
    int Read(void* buffer, int frames) override;
    bool CanWrite() const override { return true; }
    /// Writes at the position, over frames that are there or behind them; bytes behind the data chunk are moved so that
    /// they stay behind it. Stops short of a file of more than 4 GiB. When the disk is full what was written counts,
    /// and the file is as long as it needs to be. 0 for a position before frame 0.
    int Write(void* buffer, int frames) override;
    bool CanSeek() const override { return true; }
    /// `from` 0: from frame 0; 1: from the position; 2: from the file's end, the bytes behind the data added.
    /// Kept as is: added, not subtracted; applications rely on what they get.
    /// Positions before frame 0 are negative; one before the file's first byte fails.
    i64 Seek(i64 frames, int from) override;
    i64 GetPosition() const override;
    /// Whole frames.
    i64 GetLength() const override;
    CFile* GetFile() override { return &file; }

private:
    bool ParseHeader();
    bool CreateHeader();
    bool WriteHeader();
    bool SeekToNextRIFFChunk(const char* id, unsigned long& size);
    void SetDefaultHeader();

    bool IsUsable() const { return formatValid && headerValid && format.nBlockAlign != 0; }
    i64 DataStart() const { return dataPosition + 8; }
    bool WriteBytes(const u8* bytes, i64 count, i64 at);
    i64 MoveBytes(i64 from, i64 to, i64 count);
    bool WriteZeros(i64 begin, i64 end);
    bool MakeRoom(i64 dataEnd, i64 at, i64 newDataEnd);
    void CloseUp(i64 dataEnd);

    CFile file;
    i64 riffPosition = 0; // of the chunks' identifiers
    i64 fmtPosition = 0;
    i64 dataPosition = 0;
    i64 bytesAfterData = 0;
    bool headerValid = false;
    bool readOnly = false;
};
