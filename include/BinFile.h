// Raw disc-image tracks: their audio as a sound file, and moving audio and graphics between images and plain files.
//
//   sector of 2448 bytes   2352 bytes of audio: 588 frames, left then right, 16-bit signed, low byte first
//                          96 bytes of subcode: four CD+G packs of 24 bytes
//
// There is no header; sector k starts at byte 2448 × k. Units: frames of four bytes at the interface of CBinFile. One
// thread at a time.
//
//   BinFile.cpp      CBinFile
//   SplitBIN.cpp     SplitBIN
//   BinTransfers.cpp the other operations on whole files
#pragma once

#include "SoundFile.h"

class NVLIB_API CBinFile : public CSoundFile {
    DECLARE_DYNCREATE(CBinFile)
public:
    /// The format is valid from the start: 44,100 frames of 16-bit stereo a second.
    CBinFile();
    ~CBinFile() override;

    /// Opens an image with `CFile`'s open flags; nothing in it is looked at. False leaves no open file.
    bool Open(const char* path, int mode) override;
    /// Closes the image that was opened by name; a caller's file is only let go of. Always true.
    bool Close() override;
    bool CanRead() const override { return true; }
    /// Reads frames from the position on, passing over the subcode. Frames of a read that came up short within a sector
    /// do not count.
    int Read(void* buffer, int frames) override;
    bool CanWrite() const override { return true; }
    /// Writes frames at the position and zeros into the subcode of each sector that this completes. Returns the audio
    /// frames written. Kept as is: always to the image opened by name, also while a caller's file is in use.
    int Write(void* buffer, int frames) override;
    bool CanSeek() const override { return true; }
    /// `from` 0: frame `frames`; 1 and 2: the raw position in bytes plus, or minus, 4 × frames, taken as a count of
    /// audio bytes. Kept as is: 1 and 2 start from the raw position, subcode included, so they drift by the subcode
    /// passed. Below the start is the start. Returns the new position in frames.
    i64 Seek(i64 frames, int from) override;
    i64 GetPosition() const override;
    /// A partial sector at the end counts whole.
    i64 GetLength() const override;
    /// The image opened by name, also while a caller's file is in use.
    CFile* GetFile() override { return &image; }
    /// Uses the caller's open file, which stays the caller's and must outlive its use here. False for null.
    virtual bool Open(CFile* file);

    /// The frame at a byte of an image; a byte of the subcode is the end of its sector's audio.
    static i64 FilePointerToSample(i64 filePos);
    /// Copies the audio of an image to a new WAV file. False when one of them does not open, else true.
    static bool ConvertBinToWav(const char* binPath, const char* wavPath);
    /// Writes the audio of a WAV file into an existing image, from its start; the subcode of the sectors that are
    /// completed becomes zero (`WriteCDGToBIN` puts graphics back). False when one of them does not open or the WAV
    /// file's frames are not of four bytes, else true.
    static bool WriteWavToBin(const char* wavPath, const char* binPath);

private:
    int ReadSectors(u8* to, i64 wanted);
    void WriteSectors(const u8* from, int count);

    CFile image;
    CFile* inUse = &image;
    std::vector<u8> sectors; // whole sectors on their way
};

/// Splits an image into a new WAV file and a new CD+G file; a partial sector at the end is dropped. 1 when both were
/// written whole. Otherwise 0, and both paths are as they were before: nothing new, and existing files unharmed.
NVLIB_API int SplitBIN(CString binPath, CString wavPath, CString cdgPath);

/// Writes the packs of a CD+G file into the subcode of an existing image, four packs a sector from the first on, the
/// last four filled up with zeros. The audio stays; packs beyond the last sector lengthen the image. Always 0.
NVLIB_API int WriteCDGToBIN(CString cdgPath, CString binPath);

/// Whether a file is a KMA karaoke package that carries a ZIP archive. If so, and the package is shorter than
/// 50,000,000 bytes, the archive is written to a new file at `zipPath`.
NVLIB_API bool IsKMAZIP(CString kmaPath, CString zipPath);
