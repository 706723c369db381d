// The plan of a sample track: what is sung, played and shown, and when. Music and pictures are both made from it, so
// they cannot drift apart. Times and lengths are packs (300 a second, 147 audio frames each).
#pragma once

#include "NVTypes.h"

#include <string>
#include <vector>

namespace nvtool::sample {

constexpr int kShortestSeconds = 5, kLongestSeconds = 3600;
constexpr int kFramesPerPack = 147;

struct Note {
    int start = 0, length = 0;
    int pitch = 0; // half-tones, 69 is the A of 440 Hz
};

struct Syllable {
    std::string text; // with the blank behind a word
    Note note;
};

using Line = std::vector<Syllable>; // sung in two bars

enum class Part { Intro, Verse, Chorus, Break, Instrumental, Outro };

struct Section {
    Part part = Part::Intro;
    int start = 0;
    std::vector<int> chords; // a scale degree, 0…6, for each bar
    std::vector<Line> lines; // of verses and choruses
    std::vector<Note> solo;  // the melody where nobody sings
};

struct Song {
    u32 seed = 0;
    int packs = 0;                    // length of the whole track
    int beat = 0;                     // a multiple of 4
    int musicStart = 0, musicEnd = 0; // silence before and after
    int key = 0;                      // pitch of the scale's first degree
    std::string title;
    std::vector<Section> sections;

    int Bar() const { return 4 * beat; }
};

// `seconds` is in kShortestSeconds…kLongestSeconds. The same arguments give the same song everywhere.
Song ComposeSong(u32 seed, int seconds);

// Pitch of a degree of the major scale on `key`; degrees past 6 and below 0 are those of the neighbouring octaves.
int ScalePitch(int key, int degree);

} // namespace nvtool::sample
