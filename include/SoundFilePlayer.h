// Plays any sound file on the default device: from a place to a place, with pauses, seeks and fades, and tells what is
// being heard.
//
// Units: frames for positions, seconds for fades. One thread controls a player; its state and position may be asked for
// by any. While it plays, the file is read by a thread of the player's.
#pragma once

#include "NVExport.h"
#include "NVTypes.h"
#include "SoundFile.h"
#include "WaveOut.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>

class NVLIB_API CSoundFilePlayer {
public:
    enum class State { stopped, playing, paused };

    /// Milliseconds of sound in one block. With `CWaveOut::c_nMaxBuffersOut` of them in the device it runs dry when the
    /// file cannot be read for as long.
    static int c_nBlockMilliseconds;

    CSoundFilePlayer() = default;
    ~CSoundFilePlayer();
    CSoundFilePlayer(const CSoundFilePlayer&) = delete;
    CSoundFilePlayer& operator=(const CSoundFilePlayer&) = delete;

    /// Takes a file that is open for reading; it stays the caller's, and there until `Close`. False when its format is
    /// not played or there is no device; nothing is open then.
    bool Open(CSoundFile* file);
    /// Stops and gives the device back.
    void Close();

    /// Plays from frame `from` up to `to` (not with it), to the end when that is negative. Both are clipped to the
    /// file. False when nothing is open or the file cannot go there.
    bool Play(i64 from, i64 to = -1);
    /// Stops at what is heard, for `Resume`. False unless playing.
    bool Pause();
    /// Plays on from where it was paused. False unless paused.
    bool Resume();
    /// Goes to a frame, playing on or staying paused or stopped. The end is where `Play` said.
    bool Seek(i64 position);
    /// Stops at what is heard. The next thing to do is `Play`.
    void Stop();

    /// How long the sound takes to come up after `Play`, and to go down in front of the end. 0: at once. Samples of 8
    /// and 16 bits only; others are played as they are.
    void SetFades(double inSeconds, double outSeconds);
    /// Goes down from now on and stops.
    void FadeOut(double seconds);

    State GetState() const { return state; }
    /// The frame that is heard: exact when paused, stopped or just sought to, within a block while playing.
    i64 GetPosition() const;
    /// Returns when it is not playing any more, or after that time; false then.
    bool WaitUntilStopped(double seconds) const;
    /// Playing ended since the device or the file failed.
    bool HasFailed() const { return failed; }

private:
    struct WorkerEnd {
        void operator()(CWaveOut* output) const { output->Delete(); }
    };

    bool Start(i64 from, bool fresh);
    i64 Halt();
    void Feed(i64 from);
    bool FeedBlock(i64 at, int frames);
    void ApplyFades(u8* samples, i64 at, int frames) const;
    double Gain(i64 at) const;
    i64 Heard() const;
    void SetState(State next);

    CSoundFile* file = nullptr;
    std::unique_ptr<CWaveOut, WorkerEnd> out;
    i64 first = 0, end = 0;            // of what is played; `first` is where it comes up
    i64 fadeIn = 0, fadeOut = 0;       // frames
    std::atomic<i64> goingDown = 0;    // frames that FadeOut wants, 0: none
    i64 downFrom = 0, downFrames = 0;  // the feeder's: where it began to do so
    std::vector<u8> block;             // the feeder's
    std::atomic<i64> resting = 0;      // the position while not playing
    std::atomic<bool> halting = false; // the feeder is to end
    std::atomic<bool> failed = false;
    std::atomic<State> state = State::stopped;
    mutable std::mutex mutex;
    mutable std::condition_variable stateChanged;
    // What was seen returned last, and when.
    mutable i64 seen = -1;                                // under the mutex
    mutable std::chrono::steady_clock::time_point seenAt; // under the mutex
    std::thread feeder;
};
