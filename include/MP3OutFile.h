// Sound written into an MP3 file, by way of the encoder module that lies beside the program.
//
// Units: frames of the object's own format at the interface; encoder chunks are counted in 16-bit samples. One thread
// at a time; objects of several threads may encode side by side.
//
//   MP3OutFile.cpp           the encoder, opening, writing, closing
//   MP3SettingsDialog.cpp    the settings, edited by the user
#pragma once

#include "LameConfig.h"
#include "SoundFile.h"

#include <memory>

class CCyclicBuffer;
class CWnd;

namespace NV {
class Module;
class WholeFile;
} // namespace NV

/// PCM of 8, 16, 24 or 32 bits with one or two channels, set with `SetFormat` before `Open` (the default is that of
/// `CSoundFile`). The format, not the settings, says the sample rate that comes in. Mono sound makes a mono MP3, and of
/// stereo sound the mono mode makes one by averaging the channels.
///
/// With `modeCreate` the file appears under its name when `Close` has made it whole, in place of what was there; until
/// then it has a temporary name beside it. When something goes wrong on the way, nothing of it stays.
class NVLIB_API CMP3OutFile : public CSoundFile {
    DECLARE_DYNCREATE(CMP3OutFile)
public:
    /// The application's settings, for every object that was not given others. Those of `InitBEConfig` at first.
    static BE_CONFIG c_EncodingParams;

    /// Looks for the encoder.
    CMP3OutFile();
    /// As `Close`.
    ~CMP3OutFile() override;

    /// Loads the module "lame_enc" from the program's own folder. False when it or an entry point other than
    /// beWriteInfoTag is missing; `GetEncoderProblem` then says what, and where it was looked for.
    bool InitLame();
    bool IsEncoderAvailable() const { return encoderAvailable; }
    /// A sentence without its full stop; empty when the encoder is there.
    const CString& GetEncoderProblem() const { return problem; }
    /// What went wrong last, as the encoder tells; 0 when nothing did or it was not the encoder.
    BE_ERR GetEncoderError() const { return lastError; }

    /// 44.1 kHz stereo, 192 kbit/s, no preset, with the frame that tells the length.
    static void InitBEConfig(BE_CONFIG* config);
    /// Lets the user edit the settings, in a dialog over `parent` (null: over nothing). Only when it is confirmed they
    /// are written to `config`. For the thread of the windows.
    static void EditParameters(BE_CONFIG* config, CWnd* parent);

    /// Settings of this object, in place of `c_EncodingParams` from the next `Open` on.
    void SetParameters(const BE_CONFIG& config);
    /// The format is one that `Open` takes.
    bool IsEncodable() const;
    /// Those that the open file is encoded with, or those of last time.
    const BE_CONFIG& GetParameters() const { return parameters; }

    /// False when the file cannot be opened, the encoder is not there or takes neither the settings nor those of
    /// `InitBEConfig`, which are tried next. A variable bit rate is always between 32 and 320 kbit/s.
    bool Open(const char* path, int mode) override;
    /// Encodes what is left, fills in the first frame and puts the file in its place. False when this or an earlier
    /// write failed; there is no file then. True without an open file.
    bool Close() override;
    /// Closes without a result: as if nothing had been written.
    void Abandon();

    bool CanRead() const override { return false; }
    bool CanWrite() const override { return true; }
    bool CanSeek() const override { return false; }
    /// Returns the frames that were taken; fewer than given when encoding or writing failed, 0 without an encoder.
    int Write(void* frames, int count) override;
    /// Frames taken so far.
    i64 GetPosition() const override { return written; }
    i64 GetLength() const override { return written; }
    CFile* GetFile() override;

    /// Encodes whole chunks of what has been taken, with `flush` all of it. False when that fails or more is given than
    /// there is room for (4,608 frames are always fine).
    /// Kept as is: one last whole chunk waits for more or for the flush.
    bool WriteMP3Buffer(void* frames, int count, bool flush);
    /// Gives back the buffers of the encoder; nothing while a file is open.
    void FreeBuffers();

private:
    bool InitStream();
    bool StartEncoder();
    void FitToFormat();
    const void* EncoderSamples(const void* frames, int count);
    bool EncodeFromRing();
    bool WriteBytes(DWORD count);
    bool Finish();
    void ReleaseEncoder();

    std::unique_ptr<NV::WholeFile> output;
    bool encoderAvailable = false;
    LameEntries entries{};
    std::unique_ptr<NV::Module> module;
    BE_CONFIG parameters;
    DWORD chunkSamples = 0;
    DWORD outputSize = 0;
    HBE_STREAM stream = nullptr;
    BE_ERR lastError = BE_ERR_SUCCESSFUL;
    std::vector<i16> input;
    std::vector<BYTE> encoded;
    int largestStep = 4608; // frames
    std::unique_ptr<CCyclicBuffer> ring;
    bool streamOpen = false;

    BE_CONFIG own;       // of SetParameters
    bool hasOwn = false; // they count
    bool failed = false; // a write did
    i64 written = 0;     // frames
    std::vector<i16> converted;
    CString problem;
};
