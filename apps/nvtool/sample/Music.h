// Plays a song: melody, chords, bass and drums as 16-bit stereo at 44.1 kHz, in order, in pieces of any length. All of
// it is integer arithmetic, so that a song has the same bytes on every machine. Times are audio frames.
#pragma once

#include "NVTypes.h"
#include "Random.h"
#include "Song.h"

#include <vector>

namespace nvtool::sample {

class Music {
public:
    explicit Music(const Song& song);

    // The next `frames` frames, left before right.
    void Render(i16* stereo, int frames);

private:
    enum class Instrument : u8 { Lead, Keys, Bass, Kick, Snare, Hat };

    struct Event {
        i64 start;
        i32 length; // how long a key is held; drums ignore it
        i16 pitch;
        i16 loudness; // 256 is full
        Instrument instrument;
    };

    struct Voice {
        Event event;
        i32 age = 0;
        u32 phase = 0, step = 0;
        i32 level = 0; // envelope, 1 << 30 is full
        i32 last = 0;  // the noise sample before
    };

    // Nothing is heard between `start` and `end`; what sounds before fades out within `start` and `start +
    // kFadeFrames`.
    struct Hush {
        i64 start, end;
    };

    void AddSection(const Song& song, const Section& section);
    void Play(const Song& song, const std::vector<Note>& notes, int loudness);
    void Strike(i64 start, Instrument drum, int loudness);
    i32 Sample(Voice& voice);
    i32 Gain(i64 frame);

    std::vector<Event> events; // by start
    size_t nextEvent = 0;
    std::vector<Voice> voices;
    std::vector<Hush> hushes; // by start
    size_t nextHush = 0;
    std::vector<i32> echo[2]; // rings, as long as the echo's delay
    size_t echoAt = 0;
    Random noise;
    i64 now = 0;
};

} // namespace nvtool::sample
