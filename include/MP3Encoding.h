// A whole sound file encoded into an MP3 file, in one thread or several.
//
// Units: frames of the sound; progress is a fraction from 0 to 1.
#pragma once

#include "LameConfig.h"
#include "NVExport.h"
#include "SoundFile.h"

#include <functional>
#include <memory>

enum class MP3EncodingResult {
    done,
    cancelled,
    noEncoder, ///< The module is missing or broken; or the sound's format is none that it takes.
    badSource, ///< The sound could not be opened or read to its end.
    badTarget  ///< The MP3 file could not be made: its folder, its name, a full disk.
};

struct MP3EncodingJob {
    /// Opens the sound for reading, once for each thread and at least once; null when that fails. Called by the
    /// caller's thread.
    std::function<std::unique_ptr<CSoundFile>()> open;
    CString path;     ///< Of the MP3 file, which appears when it is whole.
    BE_CONFIG config; ///< The sound's own rate and channels count.
    /// How many threads encode, each its own stretch. With more than one the stretches overlap by a few seconds and are
    /// joined where the encoder's states agree: every frame is as good as in one thread, but not each one the same.
    /// Short sounds, and those whose rate the encoder changes, are encoded in one.
    int threads = 1;
    /// Called by the caller's thread now and then; true stops. May be empty.
    std::function<bool(double)> progress;
};

/// Whatever the result is but `done`, there is no file, or the one that was there before. `problem`, when given, gets a
/// sentence without its full stop.
NVLIB_API MP3EncodingResult EncodeMP3(const MP3EncodingJob& job, CString* problem = nullptr);
