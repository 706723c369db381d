// Stretches of one sound, encoded side by side and joined into one MP3 stream.
//
// An encoder moved by whole MP3 frames makes the same of the same sound once it has forgotten where it began. So each
// stretch but the first begins a few seconds early, the one before ends a little late, and at a frame where both agree
// well enough the stream changes from one to the other. What has to fit there is the reservoir: a frame's data may
// begin in room that earlier frames left, as many bytes back as its header says. Where the new stretch reaches back no
// further than the old one would, those bytes are free, and they get the new stretch's data.
#pragma once

#include "LameConfig.h"
#include "SoundFile.h"

#include <string>
#include <vector>

namespace NV {

struct MP3Stretch {
    i64 fromSample = 0, toSample = 0; // frames of the sound
    i64 fromFrame = 0;                // MP3 frames of the whole that come before it
    i64 joint = 0;                    // of the whole: where it should take over
    std::string path;                 // of its own file
};

class MP3Stretches {
public:
    MP3Stretches() = default;
    ~MP3Stretches();
    MP3Stretches(const MP3Stretches&) = delete;
    MP3Stretches& operator=(const MP3Stretches&) = delete;

    /// Divides a sound among `count` threads and makes a temporary file beside `target` for each. False when it is too
    /// short, the encoder changes the rate, or something is in the way.
    bool Plan(const CSoundFile& sound, const BE_CONFIG& config, const char* target, int count);
    const std::vector<MP3Stretch>& All() const { return stretches; }

    enum class Joining { done, noPlace, failed };
    /// Makes the target of the stretches' files, which are whole by now. They are gone with this object.
    Joining Join();

private:
    std::string target;
    std::vector<MP3Stretch> stretches;
    i64 samplesPerFrame = 0;
};

} // namespace NV
