// How each scene is drawn and timed: see Scenes.h.
#include "Scenes.h"

#include "Font.h"
#include "Random.h"

#include <string>
#include <utility>

namespace nvtool::sample {

namespace {

constexpr int kColumns = 50, kScreenWidth = 300;
constexpr int kLineRows = 2; // tile rows of a line of words

// Who uses which palette entry. The landscape's stars twinkle in 8…15.
enum Ink {
    kBackground = 0,
    kText = 1,
    kOutline = 2,
    kSung = 3,
    kAccent = 4,
    kFarHill = 5,
    kNearHill = 6,
    kMoon = 7,
    kStars = 8
};
static_assert((kText ^ kSung) == 2, "a highlight turns one into the other with a single XOR colour");

//                               back   text   edge   sung   accent far    near   moon   stars
constexpr Palette kNight = {
    {0x015, 0xFFF, 0x003, 0xFC0, 0x4AF, 0x126, 0x013, 0xFFB, 0xFFF, 0xBBC, 0x889, 0x558, 0x337, 0x558, 0x889, 0xBBC}};
constexpr Palette kDusk = {
    {0x302, 0xFFF, 0x100, 0x6F8, 0xF86, 0x514, 0x201, 0xFD8, 0xFEE, 0xCAB, 0x988, 0x755, 0x534, 0x755, 0x988, 0xCAB}};
constexpr Palette kWood = {
    {0x021, 0xFFE, 0x010, 0xFE2, 0x8D6, 0x142, 0x020, 0xEFB, 0xFFF, 0xACB, 0x798, 0x465, 0x243, 0x465, 0x798, 0xACB}};
constexpr const Palette* kThemes[] = {&kNight, &kDusk, &kWood};

const Palette& ThemeOf(const Song& song, int scene)
{
    return *kThemes[(song.seed + static_cast<u32>(scene)) % 3];
}

// `full` of 8 gives the palette itself, 0 black.
Palette Faded(const Palette& palette, int full)
{
    Palette faded{};
    for (size_t i = 0; i < palette.size(); ++i) {
        const int red = (palette[i] >> 8 & 15) * full / 8, green = (palette[i] >> 4 & 15) * full / 8,
                  blue = (palette[i] & 15) * full / 8;
        faded[i] = static_cast<u16>(red << 8 | green << 4 | blue);
    }
    return faded;
}

constexpr int kFadeStep = 8, kFadeLength = 9 * kFadeStep;

void LoadColours(PackQueue& queue, int due, const Palette& palette)
{
    queue.At(due, ColoursPack(palette, false));
    queue.At(due, ColoursPack(palette, true));
}

void Fade(PackQueue& queue, int due, const Palette& palette, bool in)
{
    for (int step = 0; step <= 8; ++step)
        LoadColours(queue, due + step * kFadeStep, Faded(palette, in ? step : 8 - step));
}

// The screen cleared, told sixteen times as streams do, in case a player missed some.
void ClearScreen(PackQueue& queue, int due, const Palette& palette, int border)
{
    queue.At(due, PresetPack(kBackground, 0));
    LoadColours(queue, due, palette);
    for (int repeat = 1; repeat < 16; ++repeat)
        queue.At(due, PresetPack(kBackground, repeat));
    queue.At(due, BorderPack(border));
}

// A strip of tiles over the whole width of the screen, `rows` tiles high, its top at tile row `row`.
struct Strip {
    int row, rows;
    Bitmap ink;

    Strip(int topRow, int tileRows) : row(topRow), rows(tileRows), ink(kScreenWidth, tileRows * 12) {}

    void Place(const Bitmap& picture, int left, int top)
    {
        for (int y = 0; y < picture.height; ++y) {
            for (int x = 0; x < picture.width; ++x) {
                if (picture.At(x, y) && left + x >= 0 && left + x < ink.width && top + y < ink.height)
                    ink.Set(left + x, top + y);
            }
        }
    }

    // A tile's pixels in the columns from `left` up to `right`.
    TileRows Rows(const Bitmap& from, int tileRow, int column, int left = 0, int right = kScreenWidth) const
    {
        TileRows bits{};
        for (int y = 0; y < 12; ++y) {
            for (int x = 0; x < 6; ++x) {
                const int at = column * 6 + x;
                if (at >= left && at < right && from.At(at, tileRow * 12 + y))
                    bits[static_cast<size_t>(y)] |= static_cast<u8>(0x20 >> x);
            }
        }
        return bits;
    }
};

bool Any(const TileRows& rows)
{
    return std::any_of(rows.begin(), rows.end(), [](u8 row) { return row != 0; });
}

// Everything within a pixel of the ink, the ink included.
Bitmap Outlined(const Bitmap& ink)
{
    Bitmap wide(ink.width, ink.height);
    for (int y = 0; y < ink.height; ++y) {
        for (int x = 0; x < ink.width; ++x) {
            for (int k = 0; k < 9; ++k) {
                if (ink.At(x + k % 3 - 1, y + k / 3 - 1)) {
                    wide.Set(x, y);
                    break;
                }
            }
        }
    }
    return wide;
}

// Letters with an edge around them: the edge's tile first, then the letters over it.
void DrawStrip(PackQueue& queue, const Strip& strip, int colour)
{
    const Bitmap wide = Outlined(strip.ink);
    for (int column = 0; column < kColumns; ++column) {
        for (int row = 0; row < strip.rows; ++row) {
            const TileRows edge = strip.Rows(wide, row, column), letters = strip.Rows(strip.ink, row, column);
            if (Any(edge))
                queue.Draw(TilePack(kTileBlock, strip.row + row, column, kBackground, kOutline, edge));
            if (Any(letters))
                queue.Draw(TilePack(kTileBlockXor, strip.row + row, column, 0, kOutline ^ colour, letters));
        }
    }
}

int CentredLeft(int width)
{
    return (kScreenWidth - width) / 2;
}

Strip CentredText(const std::string& text, int scale, int row, int rows)
{
    Strip strip(row, rows);
    strip.Place(DrawWords(text, scale), CentredLeft(TextWidth(text, scale)), scale == 1 ? 2 : 3);
    return strip;
}

void StageTitle(PackQueue& queue, const Song& song, const Scene& scene)
{
    const Palette& palette = ThemeOf(song, 0);
    const bool roomy = scene.end - scene.start > 900;
    ClearScreen(queue, scene.start, roomy ? Faded(palette, 0) : palette, kBackground);
    queue.At(scene.start, TransparentPack(kBackground));
    const int seconds = song.packs / 300;
    const std::string length =
        std::to_string(seconds / 60) + (seconds % 60 < 10 ? ":0" : ":") + std::to_string(seconds % 60);
    DrawStrip(queue, CentredText(song.title, roomy ? 4 : 2, 4, roomy ? 4 : 2), kSung);
    if (roomy) {
        const TileRows rule = {0, 0, 0, 0, 0x3F, 0x3F, 0, 0, 0, 0, 0, 0};
        for (int column = 10; column < kColumns - 10; ++column)
            queue.Draw(TilePack(kTileBlock, 8, column, kBackground, kAccent, rule));
        DrawStrip(queue, CentredText("a karaoke sample", 2, 9, 2), kText);
        DrawStrip(queue, CentredText("words and music made up by nvtool", 1, 13, 1), kAccent);
        DrawStrip(queue, CentredText("seed " + std::to_string(song.seed) + ", " + length, 1, 14, 1), kAccent);
        // The page was drawn in the dark.
        Fade(queue, queue.DrawnBy(scene.start) + 24, palette, true);
        Fade(queue, scene.end - kFadeLength - 4, palette, false);
    }
}

// The letters of one syllable turn to the other colour, three columns at a time, over the time of its note.
void SweepSyllable(PackQueue& queue, const Strip& strip, int left, int right, const Note& note)
{
    const int time = note.length - note.length / 8;
    for (int from = left; from < right;) {
        const int to = std::min(right, from / 3 * 3 + 3); // never across a tile's edge
        const int due = note.start + time * (from - left) / (right - left);
        for (int row = 0; row < strip.rows; ++row) {
            const TileRows letters = strip.Rows(strip.ink, row, from / 6, from, to);
            if (Any(letters))
                queue.At(due, TilePack(kTileBlockXor, strip.row + row, from / 6, 0, kText ^ kSung, letters));
        }
        from = to;
    }
}

// Dots that go out one by one on the beats before the first word.
void CountIn(PackQueue& queue, const Song& song, int row, int left, int start)
{
    constexpr int kDots = 4;
    const TileRows dot = {0, 0, 0, 0, 0x0C, 0x1E, 0x3F, 0x3F, 0x1E, 0x0C, 0, 0};
    for (int i = 0; i < kDots; ++i) {
        const int column = left / 6 + 1 + 2 * i;
        queue.Draw(TilePack(kTileBlock, row, column, kBackground, kAccent, dot, 1));
        queue.At(start - (kDots - i) * song.beat,
                 TilePack(kTileBlockXor, row, column, 0, kBackground ^ kAccent, dot, 1));
    }
}

constexpr int kRollStep = 4, kRollLength = 17 * 3 * kRollStep;

// Off the screen upwards or downwards, four pixels a step; each third step moves by the whole tile.
void RollOff(PackQueue& queue, int due, bool up)
{
    for (int step = 1; step <= kRollLength / kRollStep; ++step) {
        const Move moves[2][3] = {{{1, 8}, {0, 4}, {0, 0}}, {{0, 4}, {0, 8}, {2, 0}}};
        queue.At(due + step * kRollStep, ScrollPack(kScrollPreset, kBackground, {}, moves[up][(step - 1) % 3]));
    }
}

void StageWords(PackQueue& queue, const Song& song, const Scene& scene)
{
    const std::vector<Line>& lines = scene.section->lines;
    const bool chorus = scene.section->part == Part::Chorus;
    ClearScreen(queue, scene.start, ThemeOf(song, chorus ? 1 : 0), chorus ? kOutline : kBackground);
    const int top = 2 + 2 * (4 - static_cast<int>(lines.size()));
    for (size_t i = 0; i < lines.size(); ++i) {
        std::string text;
        for (const Syllable& syllable : lines[i])
            text += syllable.text;
        const int left = CentredLeft(TextWidth(text, 2)), row = top + 4 * static_cast<int>(i);
        if (i == 0 && lines[0][0].note.start - scene.start > 6 * song.beat)
            CountIn(queue, song, row - 1, left, lines[0][0].note.start);
        const Strip strip = CentredText(text, 2, row, kLineRows);
        DrawStrip(queue, strip, kText);
        int at = left;
        for (const Syllable& syllable : lines[i]) {
            const int width = TextWidth(syllable.text, 2);
            SweepSyllable(queue, strip, at, at + width, syllable.note);
            at += width;
        }
    }
    if (scene.rollsOff)
        RollOff(queue, scene.end - kRollLength - 2 * kRollStep, true);
}

// Heights that close without a seam over the width of the screen: seeded posts, joined by smooth curves.
std::array<int, kScreenWidth> Hills(Random& random, int posts, int lowest, int highest)
{
    std::vector<int> height(static_cast<size_t>(posts));
    for (int& post : height)
        post = lowest + random.Below(highest - lowest);
    std::array<int, kScreenWidth> hills{};
    const int apart = kScreenWidth / posts;
    for (int x = 0; x < kScreenWidth; ++x) {
        const size_t post = static_cast<size_t>(x / apart % posts);
        const int from = height[post], to = height[(post + 1) % height.size()];
        const int t = x % apart * 256 / apart, smooth = t * t * (768 - 2 * t) / 65536; // 0…256, level at both ends
        hills[static_cast<size_t>(x)] = from + (to - from) * smooth / 256;
    }
    return hills;
}

void DrawStars(PackQueue& queue, Random& random)
{
    const TileRows star = {0, 0, 0, 0x08, 0x08, 0x1C, 0x08, 0x08, 0, 0, 0, 0};
    for (int i = 0; i < 36; ++i) {
        const int row = 1 + random.Below(6), column = random.Below(kColumns);
        queue.Draw(TilePack(kTileBlock, row, column, kBackground, kStars + i % 8, star));
    }
}

void DrawMoon(PackQueue& queue)
{
    constexpr int kCentreX = 222, kCentreY = 50, kRadius = 21;
    Strip strip(2, 5);
    for (int y = 0; y < strip.ink.height; ++y) {
        for (int x = 0; x < kScreenWidth; ++x) {
            const int dx = x - kCentreX, dy = y + 24 - kCentreY;
            if (dx * dx + dy * dy <= kRadius * kRadius)
                strip.ink.Set(x, y);
        }
    }
    for (int row = 0; row < strip.rows; ++row) {
        for (int column = 0; column < kColumns; ++column) {
            const TileRows rows = strip.Rows(strip.ink, row, column);
            if (Any(rows))
                queue.Draw(TilePack(kTileBlock, strip.row + row, column, kBackground, kMoon, rows, 1));
        }
    }
}

void DrawHills(PackQueue& queue, Random& random)
{
    const auto farHills = Hills(random, 6, 50, 110), nearHills = Hills(random, 10, 20, 60);
    for (int row = 6; row < 18; ++row) {
        for (int column = 0; column < kColumns; ++column) {
            TileRows any{}, close{};
            for (int y = 0; y < 12; ++y) {
                for (int x = 0; x < 6; ++x) {
                    const size_t at = static_cast<size_t>(column * 6 + x);
                    const int height = 216 - (row * 12 + y);
                    const u8 bit = static_cast<u8>(0x20 >> x);
                    if (height <= std::max(farHills[at], nearHills[at]))
                        any[static_cast<size_t>(y)] |= bit;
                    if (height <= nearHills[at])
                        close[static_cast<size_t>(y)] |= bit;
                }
            }
            if (Any(any))
                queue.Draw(TilePack(kTileBlock, row, column, kBackground, kFarHill, any));
            if (Any(close))
                queue.Draw(TilePack(kTileBlockXor, row, column, 0, kFarHill ^ kNearHill, close));
        }
    }
}

void StageLandscape(PackQueue& queue, const Song& song, const Scene& scene)
{
    Random random(song.seed + static_cast<u32>(scene.start));
    const Palette& palette = ThemeOf(song, 0);
    ClearScreen(queue, scene.start, palette, kBackground);
    DrawStars(queue, random);
    DrawMoon(queue);
    DrawHills(queue, random);

    // It rolls to the left by a pixel every six packs once it is drawn: five fine offsets, then a whole tile.
    const int rollOff = scene.end - kRollLength - 2 * kRollStep;
    const int rolling = queue.DrawnBy(scene.start) + song.beat;
    const int tiles = std::max(0, (rollOff - song.beat / 2 - rolling) / 36);
    for (int step = 1; step <= 6 * tiles; ++step) {
        const int offset = step % 6;
        queue.At(rolling + 6 * step, ScrollPack(kScrollCopy, kBackground, {offset == 0 ? 2 : 0, offset}, {}));
    }
    Palette twinkling = palette;
    for (int time = scene.start + song.beat; time < rollOff; time += song.beat / 2) {
        std::rotate(twinkling.begin() + kStars, twinkling.begin() + kStars + 1, twinkling.end());
        queue.At(time, ColoursPack(twinkling, true));
    }
    if (rollOff > rolling)
        RollOff(queue, rollOff, false);
}

void StageEnd(PackQueue& queue, const Song& song, const Scene& scene)
{
    const Palette& palette = ThemeOf(song, 2);
    ClearScreen(queue, scene.start, palette, kBackground);
    DrawStrip(queue, CentredText("The End", 4, 6, 4), kSung);
    DrawStrip(queue, CentredText("thank you for singing", 2, 11, 2), kText);
    if (scene.end - song.musicEnd > kFadeLength + 60) {
        Fade(queue, song.musicEnd, palette, false);
        ClearScreen(queue, song.musicEnd + kFadeLength + 20, Faded(palette, 0), kBackground);
    }
}

} // namespace

std::vector<Scene> PlanScenes(const Song& song)
{
    std::vector<Scene> scenes{Scene{}};
    int busyUntil = 300; // the title is seen for a second at least
    for (size_t i = 0; i < song.sections.size(); ++i) {
        const Section& section = song.sections[i];
        Scene scene;
        scene.section = &section;
        if (!section.lines.empty()) {
            // Words are there two bars ahead where the screen is free by then.
            scene.kind = SceneKind::Words;
            scene.start = std::max(busyUntil, section.start - std::max(2 * song.Bar() - song.beat, 300));
            const Note& last = section.lines.back().back().note;
            busyUntil = last.start + last.length + song.beat / 4;
            scene.rollsOff = i + 1 < song.sections.size() && song.sections[i + 1].part == Part::Break;
            if (scene.rollsOff)
                busyUntil += kRollLength + song.beat;
        } else if (section.part == Part::Instrumental || section.part == Part::Outro) {
            scene.kind = section.part == Part::Outro ? SceneKind::End : SceneKind::Landscape;
            scene.start = std::max(busyUntil, section.start);
            busyUntil = section.start + static_cast<int>(section.chords.size() - 1) * song.Bar();
        } else {
            continue; // the intro has the title, the break what was there
        }
        scenes.back().end = scene.start;
        scenes.push_back(scene);
    }
    scenes.back().end = song.packs;
    return scenes;
}

void StageScene(PackQueue& queue, const Song& song, const Scene& scene)
{
    switch (scene.kind) {
    case SceneKind::Title:
        StageTitle(queue, song, scene);
        break;
    case SceneKind::Words:
        StageWords(queue, song, scene);
        break;
    case SceneKind::Landscape:
        StageLandscape(queue, song, scene);
        break;
    case SceneKind::End:
        StageEnd(queue, song, scene);
        break;
    }
}

} // namespace nvtool::sample
