// What 'nvtool view' plays with: the sound on the default device, or only its time where nothing can be heard. Frames.
// One thread.
#pragma once

#include "SoundFilePlayer.h"

#include <chrono>
#include <memory>
#include <string>

namespace nvtool {

class ViewPlayer {
public:
    // The sound is this object's alone: a thread reads it while it plays. `name` is what messages are about.
    ViewPlayer(std::unique_ptr<CSoundFile> toPlay, std::string name);
    ~ViewPlayer();
    ViewPlayer(const ViewPlayer&) = delete;
    ViewPlayer& operator=(const ViewPlayer&) = delete;

    // From a frame to the end. False when the sound cannot go there.
    bool Play(i64 from);
    void Stop();
    // Goes on from there, when it is playing.
    void Seek(i64 to);
    bool IsPlaying();
    // What is heard, or was heard last.
    i64 GetPosition() const;

private:
    void OpenDevice();
    i64 PositionOnClock() const;

    std::unique_ptr<CSoundFile> sound;
    std::string label;
    bool opened = false, silent = false;
    // In place of a device.
    bool clockRuns = false;
    i64 clockFrom = 0;
    std::chrono::steady_clock::time_point clockStart;
    CSoundFilePlayer player; // last: it ends before the sound does
};

} // namespace nvtool
