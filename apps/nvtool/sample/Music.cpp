// The instruments and what they play: see Music.h.
#include "Music.h"

#include <algorithm>
#include <array>
#include <cstdlib>

namespace nvtool::sample {

namespace {

constexpr i32 kFull = 1 << 30;       // a full envelope
constexpr i32 kSilent = kFull >> 14; // below a loudness that 16 bits can tell from nothing
constexpr int kFadeFrames = 15000;   // a third of a second

// One period of a sine, 4096 steps of 15 bits, by turning a vector in integers.
const std::array<i32, 4096>& SineTable()
{
    static const std::array<i32, 4096> table = [] {
        constexpr i64 kCosine = 1073740561, kSine = 1647099; // of 2 pi / 4096, 30 bits
        std::array<i32, 4096> sines{};
        // A quarter is turned and mirrored, so that the small errors of turning cannot add up to an offset.
        i64 x = 1 << 30, y = 0;
        for (size_t i = 0; i <= 1024; ++i) {
            const i32 value = static_cast<i32>(std::min<i64>((y + (1 << 14)) >> 15, 32767));
            sines[i] = value;
            sines[2048 - i] = value;
            sines[2048 + i] = -value;
            sines[(4096 - i) % 4096] = -value;
            const i64 turned = (x * kCosine - y * kSine) >> 30;
            y = (x * kSine + y * kCosine) >> 30;
            x = turned;
        }
        return sines;
    }();
    return table;
}

// How far the phase (a full turn is 2^32) moves in a frame for the pitches 108 to 119; lower octaves are halves.
constexpr u32 kTopOctave[12] = {407681904, 431923931, 457607465, 484818220, 513647012, 544190053,
                                576549277, 610832681, 647154683, 685636503, 726406571, 769600953};

u32 StepOf(int pitch)
{
    const int below = 119 - std::clamp(pitch, 12, 119);
    return kTopOctave[11 - below % 12] >> (below / 12);
}

// A level that falls to 37 % within `frames`, one frame later.
i32 Decayed(i32 level, int frames)
{
    return level - std::max(level / frames, 1);
}

i32 Times(i32 sample, i32 level)
{
    return static_cast<i32>((static_cast<i64>(sample) * level) >> 30);
}

} // namespace

Music::Music(const Song& song) : noise(song.seed + 1)
{
    for (const Section& section : song.sections)
        AddSection(song, section);
    std::stable_sort(events.begin(), events.end(), [](const Event& a, const Event& b) { return a.start < b.start; });
    hushes.push_back({static_cast<i64>(song.musicEnd) * kFramesPerPack - kFadeFrames,
                      static_cast<i64>(song.packs) * kFramesPerPack + kFadeFrames});
    for (auto& side : echo)
        side.assign(static_cast<size_t>(song.beat * 3 / 4 * kFramesPerPack), 0);
}

void Music::Play(const Song& song, const std::vector<Note>& notes, int loudness)
{
    for (const Note& note : notes) {
        // Released a little early, so that repeated notes are heard apart.
        const int held = note.length - song.beat / 16;
        events.push_back({static_cast<i64>(note.start) * kFramesPerPack, held * kFramesPerPack,
                          static_cast<i16>(note.pitch), static_cast<i16>(loudness), Instrument::Lead});
    }
}

void Music::Strike(i64 start, Instrument drum, int loudness)
{
    events.push_back({start, 0, 0, static_cast<i16>(loudness), drum});
}

void Music::AddSection(const Song& song, const Section& section)
{
    const i64 start = static_cast<i64>(section.start) * kFramesPerPack;
    const i32 beat = song.beat * kFramesPerPack;
    if (section.part == Part::Break) {
        hushes.push_back({start, start + 4 * beat});
        return;
    }
    for (const Line& line : section.lines) {
        for (const Syllable& syllable : line)
            Play(song, {syllable.note}, 230);
    }
    Play(song, section.solo, 170);

    const bool full = section.part == Part::Chorus || section.part == Part::Instrumental;
    for (size_t bar = 0; bar < section.chords.size(); ++bar) {
        const i64 at = start + static_cast<i64>(bar) * 4 * beat;
        const int chord = section.chords[bar];
        const bool ending = section.part == Part::Outro && bar + 1 == section.chords.size();
        const int root = ScalePitch(song.key - 24, chord);
        events.push_back({at, ending ? 4 * beat : 3 * beat / 2, static_cast<i16>(root), 256, Instrument::Bass});
        for (int tone : {0, 2, 4}) {
            const i16 pitch = static_cast<i16>(ScalePitch(song.key - 12, chord + tone));
            const i16 high = static_cast<i16>(pitch < 57 ? pitch + 12 : pitch); // chords stay in one register
            events.push_back({at, ending ? 4 * beat : 2 * beat, high, 150, Instrument::Keys});
            if (!ending)
                events.push_back({at + 3 * beat / 2, beat, high, full ? i16{130} : i16{100}, Instrument::Keys});
        }
        if (ending)
            continue;
        events.push_back({at + 2 * beat, beat, static_cast<i16>(root + (bar % 2 ? 7 : 0)), 220, Instrument::Bass});
        events.push_back({at + 7 * beat / 2, beat / 2, static_cast<i16>(root + 12), 160, Instrument::Bass});
        for (int eighth = 0; eighth < 8; ++eighth)
            Strike(at + eighth * (beat / 2), Instrument::Hat, eighth % 2 ? 60 : 100);
        if (section.part == Part::Intro && bar < section.chords.size() / 2)
            continue; // the drums come in halfway
        Strike(at, Instrument::Kick, 256);
        Strike(at + (full ? 5 : 4) * (beat / 2), Instrument::Kick, 220);
        Strike(at + beat, Instrument::Snare, 200);
        Strike(at + 3 * beat, Instrument::Snare, 220);
        if (bar % 4 == 3)
            Strike(at + 7 * (beat / 2), Instrument::Snare, 140);
    }
}

// The voice's next sample, 15 bits at full loudness, and its envelope moved on; a voice that has faded has level 0.
i32 Music::Sample(Voice& voice)
{
    const auto& sine = SineTable();
    const auto at = [&](u32 phase) { return sine[phase >> 20]; };
    const bool held = voice.age < voice.event.length;
    i32 sample = 0;
    switch (voice.event.instrument) {
    case Instrument::Lead: {
        // A voice-like tone: soft attack, four harmonics, a vibrato that sets in late.
        const u32 p = voice.phase;
        sample = (16 * at(p) + 7 * at(2 * p) + 4 * at(3 * p) + 2 * at(4 * p)) / 32;
        i64 step = voice.step;
        if (voice.age > 9000)
            step +=
                step * at(static_cast<u32>(voice.age) * 535654u) >> 22; // 5.5 times a second, an eighth of a half-tone
        voice.phase += static_cast<u32>(step);
        if (!held)
            voice.level = Decayed(voice.level, 2200);
        else if (voice.age < 1100)
            voice.level = kFull / 1100 * voice.age;
        else
            voice.level = Decayed(voice.level, 90000);
        break;
    }
    case Instrument::Keys: {
        // An electric piano: a sine whose phase a second one bends, the less the longer it sounds.
        const u32 bend = static_cast<u32>(Times(at(2 * voice.phase), voice.level) * 24000);
        sample = at(voice.phase + bend);
        voice.phase += voice.step;
        voice.level = Decayed(voice.level, held ? 26000 : 4000);
        break;
    }
    case Instrument::Bass: {
        const u32 p = voice.phase;
        sample = (20 * at(p) + 9 * at(2 * p) + 3 * at(3 * p)) / 32;
        voice.phase += voice.step;
        voice.level = Decayed(voice.level, held ? 40000 : 2500);
        break;
    }
    case Instrument::Kick:
        // Falls from some 170 Hz to 45 Hz.
        sample = at(voice.phase);
        voice.phase += 4382620u + static_cast<u32>(voice.level >> 6) * 3 / 4;
        voice.level = Decayed(voice.level, 4200);
        break;
    case Instrument::Snare: {
        const i32 hiss = static_cast<i32>(noise.Next() >> 16) - 32768;
        sample = hiss / 2 + at(voice.phase) / 3;
        voice.phase += 18504394u; // 190 Hz
        voice.level = Decayed(voice.level, 3600);
        break;
    }
    case Instrument::Hat: {
        const i32 hiss = static_cast<i32>(noise.Next() >> 16) - 32768;
        sample = (hiss - voice.last) / 2; // only its upper frequencies
        voice.last = hiss;
        voice.level = Decayed(voice.level, 1300);
        break;
    }
    }
    const i32 out = Times(sample, voice.level);
    if (voice.level < kSilent && voice.age > 2000)
        voice.level = 0;
    ++voice.age;
    return out * voice.event.loudness >> 8;
}

// Loudness of everything at a frame, 1 << 15 is full; frames are asked for in order.
i32 Music::Gain(i64 frame)
{
    while (nextHush < hushes.size() && frame >= hushes[nextHush].end)
        ++nextHush;
    if (nextHush == hushes.size() || frame < hushes[nextHush].start)
        return 1 << 15;
    const i64 into = frame - hushes[nextHush].start;
    return into >= kFadeFrames ? 0 : static_cast<i32>((1 << 15) - (into << 15) / kFadeFrames);
}

void Music::Render(i16* stereo, int frames)
{
    // How loud each instrument is left and right, 1 / 256, and how much of it goes into the echo.
    struct Place {
        i32 left, right, echo;
    };
    constexpr Place kPlaces[] = {{110, 110, 70}, {50, 34, 40}, {88, 88, 0}, {120, 120, 0}, {56, 70, 14}, {22, 34, 0}};

    for (int i = 0; i < frames; ++i, ++now) {
        while (nextEvent < events.size() && events[nextEvent].start <= now) {
            Voice voice;
            voice.event = events[nextEvent++];
            voice.step = StepOf(voice.event.pitch);
            voice.level = voice.event.instrument == Instrument::Lead ? 0 : kFull;
            voices.push_back(voice);
        }
        i32 left = 0, right = 0, send = 0;
        for (Voice& voice : voices) {
            const i32 sample = Sample(voice);
            const Place& place = kPlaces[static_cast<size_t>(voice.event.instrument)];
            left += sample * place.left >> 8;
            right += sample * place.right >> 8;
            send += sample * place.echo >> 8;
        }
        if (now % 64 == 0)
            std::erase_if(voices, [](const Voice& voice) { return voice.level == 0 && voice.age > 1; });

        // The echo goes from side to side and halves each time.
        const i32 echoLeft = echo[0][echoAt], echoRight = echo[1][echoAt];
        echo[0][echoAt] = (send + echoRight) / 2;
        echo[1][echoAt] = echoLeft / 2;
        echoAt = (echoAt + 1) % echo[0].size();

        const i32 gain = Gain(now);
        for (i32 sample : {left + echoLeft, right + echoRight}) {
            // Peaks above three quarters are bent, not cut.
            constexpr i32 kKnee = 24576;
            const i32 size = std::abs(sample);
            if (size > kKnee)
                sample = (sample < 0 ? -1 : 1) * std::min(kKnee + (size - kKnee) / 3, 32000);
            *stereo++ = static_cast<i16>(static_cast<i64>(sample) * gain >> 15);
        }
    }
}

} // namespace nvtool::sample
