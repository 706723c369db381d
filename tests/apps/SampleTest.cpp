// The sample track: words fit the screen, packs leave in time, what is sung has lit up, silence is silent, and a seed
// gives the same bytes everywhere.
#include "CDGEmulator.h"
#include "apps/nvtool/sample/Font.h"
#include "apps/nvtool/sample/Graphics.h"
#include "apps/nvtool/sample/Lyrics.h"
#include "apps/nvtool/sample/Music.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>

using namespace nvtool::sample;

namespace {

constexpr int kText = 1, kSung = 3; // palette entries of words

struct Track {
    u32 seed;
    int seconds;
};
constexpr Track kTracks[] = {{1, 5}, {2, 6}, {3, 9}, {4, 14}, {5, 31}, {6, 60}, {7, 120}, {0xFFFFFFFF, 301}};

int CountPixels(const CDib& screen, int index)
{
    int count = 0;
    for (int y = 0; y < screen.GetHeight(); ++y)
        count += static_cast<int>(std::count(screen.GetRow(y), screen.GetRow(y) + screen.GetWidth(), index));
    return count;
}

// Frames [from, to) of a song, rendered in pieces of `piece`.
std::vector<i16> Played(const Song& song, int from, int to, int piece)
{
    Music music(song);
    std::vector<i16> all(static_cast<size_t>(2 * to));
    for (int at = 0; at < to; at += piece)
        music.Render(all.data() + 2 * at, std::min(piece, to - at));
    all.erase(all.begin(), all.begin() + 2 * from);
    return all;
}

u64 Fingerprint(u64 hash, const u8* bytes, size_t count)
{
    for (size_t i = 0; i < count; ++i)
        hash = (hash ^ bytes[i]) * 0x100000001B3u;
    return hash;
}

} // namespace

TEST(Sample, WordsFitTheScreenAndTheTune)
{
    for (const auto* stanzas : {&kVerses, &kChoruses}) {
        for (const Stanza& stanza : *stanzas) {
            for (const char* words : stanza.lines) {
                SCOPED_TRACE(words);
                const std::vector<std::string> syllables = Syllables(words);
                std::string line;
                for (const std::string& syllable : syllables)
                    line += syllable;
                EXPECT_GE(syllables.size(), 4u);
                EXPECT_LE(syllables.size(), 9u);
                EXPECT_LE(TextWidth(line, 2), 288 - 12);
                EXPECT_EQ(DrawWords(line, 2).width, TextWidth(line, 2));
            }
        }
    }
    for (const char* title : kTitles)
        EXPECT_LE(TextWidth(title, 4), 288 - 12) << title;
}

TEST(Sample, SongsFillTheirLengthInOrder)
{
    for (const auto& [seed, seconds] : kTracks) {
        SCOPED_TRACE(seconds);
        const Song song = ComposeSong(seed, seconds);
        EXPECT_EQ(song.packs, seconds * 300);
        int at = song.musicStart, sung = 0;
        for (const Section& section : song.sections) {
            EXPECT_EQ(section.start, at);
            at += static_cast<int>(section.chords.size()) * song.Bar();
            int last = section.start;
            for (const Line& line : section.lines) {
                for (const Syllable& syllable : line) {
                    EXPECT_GE(syllable.note.start, last);
                    last = syllable.note.start + syllable.note.length;
                    ++sung;
                }
            }
            EXPECT_LE(last, at);
        }
        EXPECT_EQ(at, song.musicEnd);
        EXPECT_GT(sung, 3);
        EXPECT_LE(song.musicEnd, song.packs - std::min(600, song.packs / 10));
        EXPECT_GE(song.musicEnd, song.packs - std::min(600, song.packs / 10) - song.Bar());
    }
}

TEST(Sample, PacksLeaveInTimeAndWordsLightUp)
{
    for (const auto& [seed, seconds] : kTracks) {
        SCOPED_TRACE(seconds);
        const Song song = ComposeSong(seed, seconds);
        std::map<int, const Scene*> firstWords, endOfWords; // by pack
        const std::vector<Scene> scenes = PlanScenes(song);
        for (const Scene& scene : scenes) {
            if (scene.kind != SceneKind::Words)
                continue;
            const Note& last = scene.section->lines.back().back().note;
            firstWords[scene.section->lines[0][0].note.start - 1] = &scene;
            endOfWords[last.start + last.length] = &scene;
        }
        Graphics graphics(song);
        CDGEmulator::CCDGEmulator emulator;
        emulator.Init();
        std::map<int, int> instructions;
        for (int i = 0; i < song.packs; ++i) {
            const CCDGEmulatorPack pack(graphics.Next().data());
            if (pack.command == kCommandGraphics) {
                ++instructions[pack.instruction];
                const bool tile = pack.instruction == kTileBlock || pack.instruction == kTileBlockXor;
                ASSERT_FALSE(tile && (emulator.GetHorizontalOffset() || emulator.GetVerticalOffset()))
                    << "players disagree about tiles that are drawn while a fine offset stands, pack " << i;
            }
            emulator.ProcessCommand(pack, i, song.packs);
            if (firstWords.count(i)) {
                EXPECT_GT(CountPixels(emulator.ScreenIndexImage(), kText), 400)
                    << "words are there before they are sung, pack " << i;
                EXPECT_EQ(CountPixels(emulator.ScreenIndexImage(), kSung), 0);
            }
            if (endOfWords.count(i)) {
                EXPECT_EQ(CountPixels(emulator.ScreenIndexImage(), kText), 0) << "what was sung has lit up, pack " << i;
                EXPECT_GT(CountPixels(emulator.ScreenIndexImage(), kSung), 400);
            }
        }
        EXPECT_LE(graphics.Queue().WorstDelay(), 30); // a tenth of a second
        EXPECT_EQ(graphics.Queue().Unsent(), 0);
        if (seconds >= 120) {
            for (int instruction : {kMemoryPreset, kBorderPreset, kTileBlock, kScrollPreset, kScrollCopy,
                                    kLoadColours07, kLoadColours8F, kTileBlockXor})
                EXPECT_GT(instructions[instruction], 1) << CDGInstructionName(instruction);
            EXPECT_EQ(instructions[kDefineTransparent], 1);
        }
    }
}

TEST(Sample, MusicIsLoudEnoughAndItsSilencesAreSilent)
{
    const Song song = ComposeSong(3, 90);
    const int frames = song.packs * kFramesPerPack;
    const std::vector<i16> sound = Played(song, 0, frames, 588);
    const auto loudest = [&](int fromPack, int toPack) {
        int peak = 0;
        for (int i = 2 * fromPack * kFramesPerPack; i < 2 * toPack * kFramesPerPack; ++i)
            peak = std::max(peak, std::abs(int{sound[static_cast<size_t>(i)]}));
        return peak;
    };
    EXPECT_EQ(loudest(0, song.musicStart), 0);
    EXPECT_EQ(loudest(song.musicEnd, song.packs), 0);
    int breaks = 0;
    for (const Section& section : song.sections) {
        const int end = section.start + static_cast<int>(section.chords.size()) * song.Bar();
        if (section.part == Part::Break) {
            ++breaks;
            EXPECT_EQ(loudest(section.start + 120, end), 0);
        } else {
            EXPECT_GT(loudest(section.start, end), 6000) << section.start;
        }
    }
    EXPECT_EQ(breaks, 1);
    EXPECT_LT(loudest(0, song.packs), 32001);
    EXPECT_EQ(Played(song, 200000, 260000, 441), Played(song, 200000, 260000, 997)) << "pieces of another length";
}

TEST(Sample, ASeedGivesTheSameBytesOnEveryMachine)
{
    struct Case {
        u32 seed;
        u64 sound, packs;
    };
    const Case cases[] = {{1, 6272831015852756682u, 9747717387007848045u},
                          {2, 18316345671422564641u, 12912483443032446149u}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.seed);
        const Song song = ComposeSong(c.seed, 20);
        const int frames = song.packs * kFramesPerPack;
        u64 sound = 0xCBF29CE484222325u, packs = sound;
        for (const i16 sample : Played(song, 0, frames, frames)) {
            const u8 bytes[2] = {static_cast<u8>(sample & 0xFF), static_cast<u8>(sample >> 8 & 0xFF)};
            sound = Fingerprint(sound, bytes, 2);
        }
        Graphics graphics(song);
        for (int i = 0; i < song.packs; ++i) {
            const Pack pack = graphics.Next();
            packs = Fingerprint(packs, pack.data(), pack.size());
        }
        EXPECT_EQ(sound, c.sound);
        EXPECT_EQ(packs, c.packs);
    }
}
