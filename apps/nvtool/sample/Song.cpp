// Chords, tunes and the order of sections: see Song.h.
#include "Song.h"

#include "Lyrics.h"
#include "NVTypes.h"
#include "Random.h"

#include <algorithm>
#include <cstdlib>

namespace nvtool::sample {

namespace {

constexpr int kVerseChords[][8] = {{0, 4, 5, 3, 0, 4, 3, 4}, {0, 5, 3, 4, 0, 5, 3, 4}, {5, 3, 0, 4, 5, 3, 4, 4}};
constexpr int kChorusChords[][8] = {{3, 4, 0, 5, 3, 4, 0, 0}, {0, 3, 4, 5, 3, 4, 0, 0}, {0, 4, 5, 3, 0, 4, 0, 0}};

// How 4…9 syllables share twelve eighths; the last four of a line's sixteen are for breathing.
constexpr int kFewestSyllables = 4, kMostSyllables = 9;
constexpr int kRhythms[][kMostSyllables] = {
    {2, 2, 4, 4},          {2, 2, 2, 2, 4},          {2, 2, 1, 1, 2, 4},
    {2, 1, 1, 2, 1, 1, 4}, {1, 1, 2, 1, 1, 2, 2, 2}, {1, 1, 2, 1, 1, 1, 1, 2, 2},
};

// Melodies move by steps and land on tones of the chord where the beat is strong.
class Melody {
public:
    explicit Melody(u32 seed) : random(seed) {}

    // The next scale degree, over `chord`; `strong` where the note carries weight.
    int Next(int chord, bool strong)
    {
        int move = random.Below(5) - 2;
        if (at > 8)
            move = -1 - random.Below(2); // keeps to an octave and a bit
        if (at < -1)
            move = 1 + random.Below(2);
        at += move;
        if (strong)
            at = NearestChordTone(chord);
        return at;
    }
    int Land(int chord) { return at = NearestChordTone(chord); }

private:
    int NearestChordTone(int chord) const
    {
        for (int distance = 0;; ++distance) {
            for (int sign : {-1, 1}) {
                const int degree = at + sign * distance;
                const int above = ((degree - chord) % 7 + 7) % 7;
                if (above == 0 || above == 2 || above == 4)
                    return degree;
            }
        }
    }

    Random random;
    int at = 2;
};

Line SingLine(const Song& song, const Section& section, int index, const char* words)
{
    // First and second line share their tune, so that it is remembered.
    Melody melody(song.seed * 31u + static_cast<u32>(section.part) * 7u + (index == 1 ? 0u : static_cast<u32>(index)));
    const std::vector<std::string> texts = Syllables(words);
    const int count = std::clamp(static_cast<int>(texts.size()), kFewestSyllables, kMostSyllables);
    const int eighth = song.beat / 2, start = section.start + index * 2 * song.Bar();
    Line line;
    int at = 0;
    for (size_t i = 0; i < texts.size(); ++i) {
        const int length = kRhythms[count - kFewestSyllables][std::min<size_t>(i, static_cast<size_t>(count) - 1)];
        const int chord = section.chords[static_cast<size_t>(2 * index + at / 8)];
        const int degree = i + 1 == texts.size() ? melody.Land(chord) : melody.Next(chord, at % 4 == 0);
        line.push_back({texts[i], {start + at * eighth, length * eighth, ScalePitch(song.key, degree)}});
        at += length;
    }
    return line;
}

std::vector<Note> PlaySolo(const Song& song, const Section& section)
{
    Melody melody(song.seed * 17u + static_cast<u32>(section.part));
    const int eighth = song.beat / 2;
    std::vector<Note> notes;
    for (size_t bar = 0; bar < section.chords.size(); ++bar) {
        // Two bars of movement, with a held note at the end of the second.
        const int start = section.start + static_cast<int>(bar) * song.Bar();
        const int moving = bar % 2 == 0 ? 8 : 4;
        for (int at = 0; at < moving; ++at)
            notes.push_back(
                {start + at * eighth, eighth, ScalePitch(song.key, 7 + melody.Next(section.chords[bar], at % 4 == 0))});
        if (moving == 4)
            notes.push_back(
                {start + 4 * eighth, 3 * eighth, ScalePitch(song.key, 7 + melody.Land(section.chords[bar]))});
    }
    return notes;
}

// What follows what: a list of parts and their bars that fills `bars`.
std::vector<std::pair<Part, int>> Arrange(int bars)
{
    constexpr std::pair<Part, int> kRound[] = {{Part::Verse, 8},        {Part::Chorus, 8}, {Part::Break, 1},
                                               {Part::Instrumental, 8}, {Part::Verse, 8},  {Part::Chorus, 8},
                                               {Part::Instrumental, 4}};
    const int frame = bars >= 24 ? 4 : bars >= 10 ? 2 : 0;
    std::vector<std::pair<Part, int>> parts;
    if (frame)
        parts.emplace_back(Part::Intro, frame);
    int left = bars - 2 * frame;
    for (size_t i = 0; left >= 2; i = (i + 1) % std::size(kRound)) {
        auto [part, length] = kRound[i];
        if (part == Part::Break && left < 9)
            continue; // nothing would follow it
        if (part == Part::Instrumental && left < 4)
            break; // not worth a picture; the end is longer instead
        length = std::min(length, left);
        if (part == Part::Verse || part == Part::Chorus)
            length -= length % 2; // lines are two bars
        parts.emplace_back(part, length);
        left -= length;
    }
    if (frame + left > 0)
        parts.emplace_back(Part::Outro, frame + left);
    return parts;
}

} // namespace

int ScalePitch(int key, int degree)
{
    constexpr int kMajor[7] = {0, 2, 4, 5, 7, 9, 11};
    const int octave = degree >= 0 ? degree / 7 : -((6 - degree) / 7);
    return key + 12 * octave + kMajor[degree - 7 * octave];
}

Song ComposeSong(u32 seed, int seconds)
{
    Random random(seed);
    Song song;
    song.seed = seed;
    song.packs = seconds * 300;
    song.key = 57 + random.Below(7);
    song.title = kTitles[static_cast<size_t>(random.Below(static_cast<int>(kTitles.size())))];

    // Two seconds of silence at each end, less at the end of a track of a few seconds.
    song.musicStart = 600;
    const int playing = song.packs - song.musicStart - std::min(600, song.packs / 10);
    constexpr int kBeats[] = {144, 160, 176};
    song.beat = kBeats[random.Below(3)];
    if (playing < 4 * song.Bar())
        song.beat = std::min(song.beat, playing / 8 / 4 * 4); // at least one line of two bars
    const int bars = playing / song.Bar();
    song.musicEnd = song.musicStart + bars * song.Bar();

    const int* verseChords = kVerseChords[random.Below(3)];
    const int* chorusChords = kChorusChords[random.Below(3)];
    size_t verse = static_cast<size_t>(random.Below(static_cast<int>(kVerses.size())));
    const size_t chorus = static_cast<size_t>(random.Below(static_cast<int>(kChoruses.size())));
    int at = song.musicStart;
    for (const auto& [part, length] : Arrange(bars)) {
        Section section;
        section.part = part;
        section.start = at;
        const int* chords = part == Part::Chorus || part == Part::Instrumental ? chorusChords : verseChords;
        for (int bar = 0; bar < length; ++bar)
            section.chords.push_back(chords[bar % 8]);
        if (part == Part::Outro)
            section.chords.back() = 0; // home
        const bool sung = part == Part::Verse || part == Part::Chorus;
        const Stanza& stanza = part == Part::Verse ? kVerses[verse % kVerses.size()] : kChoruses[chorus];
        for (int line = 0; sung && line < length / 2; ++line)
            section.lines.push_back(SingLine(song, section, line, stanza.lines[line]));
        if (part == Part::Verse)
            ++verse;
        if (part == Part::Instrumental)
            section.solo = PlaySolo(song, section);
        at += length * song.Bar();
        song.sections.push_back(std::move(section));
    }
    return song;
}

} // namespace nvtool::sample
