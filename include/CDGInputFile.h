// CD+G packs from disk: a plain graphics file, or the subcode of a raw disc image.
//
//   plain file        records of 96 bytes: four packs
//   raw disc image    records of 2448 bytes: 2352 bytes of audio, then four packs
//
// Units: packs (300 a second, numbered from 0), bytes, seconds. One thread at a time.
#pragma once

#include "CDGEmulatorPack.h"
#include "NVExport.h"
#include "NVTypes.h"

#include <afx.h>
#include <memory>

constexpr int kCdgRecordSize = 96;
constexpr int kBinRecordSize = 2448;

class NVLIB_API CCDGInputFile {
public:
    CCDGInputFile() = default;
    /// Copies share the file: closing one closes it for all.
    CCDGInputFile(const CCDGInputFile&) = default;
    CCDGInputFile& operator=(const CCDGInputFile&) = default;
    virtual ~CCDGInputFile() = default;

    /// Opens a file by name with `CFile`'s open flags. A name that ends in "bin", in any case, is a raw disc image,
    /// anything else a plain file; the contents are not looked at. 1 on success; 0 on failure, with `error` filled when
    /// given.
    virtual int Open(const char* name, unsigned flags, CFileException* error);
    /// Reads from the caller's open file, which stays the caller's and must outlive its use here. Always 1.
    virtual int Open(CFile* file, bool plainFile);
    virtual void Close();
    /// Bytes; 0 without a file.
    virtual ULONGLONG GetLength() const;

    /// The next pack, or false at the end.
    bool GetNextPack(CCDGEmulatorPack& pack);
    /// Stores up to `count` packs of 24 bytes, each byte masked to six bits. Returns how many there were.
    int Read(u8* buffer, int count);
    /// Makes pack `pack` the next one. False without a file, for a negative number, or when the file cannot seek.
    bool SeekToPack(int pack);
    /// Packs in whole records; a partial record at the end counts for nothing here, yet its whole packs can be read.
    int GetPackCount() const;
    /// Always -1: no watermark encoding is known to this library.
    int GetWatermark() const { return -1; }
    /// Number of the pack that is read next.
    int GetCurrentPack() const { return currentPack; }
    bool IsOpen() const { return file != nullptr; }

    /// Seconds at which a pack is due.
    static double PackToTime(int pack) { return pack / double(kPacksPerSecond); }
    /// The pack at a time in seconds, truncated towards zero; times beyond the range of int give its ends.
    static int TimeToPack(double seconds);

private:
    int ReadFromFile(u8* buffer, int count);

    std::shared_ptr<CFile> file; // does not delete a caller's file
    bool ownsFile = true;
    i32 recordSize = kCdgRecordSize;
    u8 readBuffer[kPackSize] = {};
    i32 paddingPacks = 0; // zero packs still to be delivered after the end of the file
    i32 currentPack = 0;
};
