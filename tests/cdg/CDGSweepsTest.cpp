// Replacement sweeps: the stream's wipes, shown smoothly. While one runs the picture is made of the screens before and
// after it; when it is over the screen is exactly what the stream draws.
#include "CDGEmulator.h"
#include "CDGRenderer.h"
#include "support/MemoryFile.h"
#include "support/PackStream.h"
#include "support/PlainEmulator.h"

#include <gtest/gtest.h>

using CDGEmulator::CCDGEmulator;
using CDGEmulator::ReplacementSweep;

namespace {

constexpr int farAhead = 1000000;

/// Ten tiles of text in row 5, highlighted one by one.
struct Wipe {
    PackStream stream;
    ReplacementSweep sweep;

    Wipe(int start, int end, int packsATile = 10)
    {
        stream.Colours(false, {0x000, 0xFFF, 0xF00, 0x0F0}).Preset(0);
        for (int column = 10; column < 20; ++column)
            stream.Tile(5, column, 1, 0, 0x2D);
        stream.Empty(start - stream.Count());
        for (int column = 10; column < 20; ++column) {
            sweep.lastPack = stream.Count();
            sweep.packs.push_back({stream.Count(), PackStream().TileXor(5, column, 3, 0, 0x2D).Pack(0)});
            stream.TileXor(5, column, 3, 0, 0x2D).Empty(packsATile - 1);
        }
        sweep.startPack = start;
        sweep.endPack = end;
        sweep.duration = (end - start) / 300.0;
        sweep.rect = CRect(60, 60, 120, 72);
        stream.Empty(std::max(end - stream.Count(), 0) + 100);
    }
    void Replace(int pack, const PackStream& by)
    {
        std::copy(by.bytes.begin(), by.bytes.end(), stream.bytes.begin() + pack * kPackSize);
    }
};

using Screen = std::vector<u8>;

Screen ScreenOf(const CCDGEmulator& emulator)
{
    Screen screen;
    for (int y = 0; y < 216; ++y)
        screen.insert(screen.end(), emulator.ScreenIndexImage().GetRow(y), emulator.ScreenIndexImage().GetRow(y) + 300);
    return screen;
}

/// Plays a stream through both emulators and finds where the fast one differs from what the stream draws.
class SweptStream {
public:
    SweptStream(const PackStream& packs, std::vector<ReplacementSweep> sweeps, int limitPack)
        : stream(packs), limit(limitPack)
    {
        emulator.SetMasking(true, false);
        emulator.Init();
        plain.Init();
        emulator.SetReplacementSweeps(std::move(sweeps));
    }
    /// Plays up to a pack; with `numbered` off the emulator is not told where it is.
    void PlayTo(int end, bool numbered = true)
    {
        for (; at < end; ++at) {
            lastResult = emulator.ProcessCommand(stream.Pack(at), numbered ? at : -1, limit);
            plain.ProcessCommand(stream.At(at));
        }
    }
    bool ShowsTheStream()
    {
        emulator.ReadyScreen();
        plain.ReadyScreen();
        const CDib& colours = emulator.ScreenColourImage();
        bool same = ScreenOf(emulator) == plain.index;
        for (int y = 12; y < 204; ++y) {
            for (int x = 6; x < 294; ++x)
                same &= colours.GetPixelColor(x, y) == plain.colour[static_cast<std::size_t>(y * 300 + x)];
        }
        return same;
    }

    CCDGEmulator emulator;
    PlainEmulator plain;
    int at = 0;
    bool lastResult = false;

private:
    const PackStream& stream;
    int limit;
};

} // namespace

TEST(CDGSweeps, RevealFromTheLeftAndEndAsTheStreamDraws)
{
    const Wipe wipe(100, 220);
    SweptStream swept(wipe.stream, {wipe.sweep}, 220);
    swept.PlayTo(100);
    ASSERT_TRUE(swept.ShowsTheStream());
    const Screen before = swept.plain.index;
    PlainEmulator done = swept.plain;
    for (const IndexedPack& tile : wipe.sweep.packs)
        done.WriteFont(tile.pack.data, true);
    for (int pack = 100; pack < 219; ++pack) {
        swept.emulator.ClearModified();
        swept.PlayTo(pack + 1);
        EXPECT_FALSE(swept.lastResult) << "held back, or padding";
        const int width = static_cast<int>(60.0 * (pack - 100) / 121 + 0.5);
        Screen expected = before;
        for (int y = 60; y < 72; ++y)
            std::copy_n(done.index.begin() + y * 300 + 60, width, expected.begin() + y * 300 + 60);
        ASSERT_EQ(ScreenOf(swept.emulator) == expected, true) << "pack " << pack;
        const CRect revealed = width > 0 ? CRect(60, 60, 60 + width, 72) : CRect();
        EXPECT_TRUE(swept.emulator.GetModified() == revealed ||
                    pack == 100) // the first draws the end and takes it back
            << "pack " << pack;
        swept.emulator.ReadyScreen();
        for (int x = 60; x < 120; ++x)
            ASSERT_EQ(swept.emulator.ScreenColourImage().GetPixelColor(x, 65),
                      swept.plain.palette[expected[65 * 300 + static_cast<std::size_t>(x)]]);
    }
    swept.PlayTo(220);
    EXPECT_TRUE(swept.ShowsTheStream());
    EXPECT_EQ(swept.emulator.GetIntrusionCount(), 0);
    swept.PlayTo(wipe.stream.Count());
    EXPECT_TRUE(swept.ShowsTheStream());
}

TEST(CDGSweeps, StayAwayWhenTheyWouldNotBeSeenOrCannotBePlayed)
{
    struct Case {
        const char* name;
        int limit, numberedFrom;
        bool on;
    };
    const Case cases[] = {
        {"over before anybody looks", 221, 0, true},
        {"entered past its start", 220, 101, true},
        {"the position is unknown", 220, farAhead, true},
        {"switched off", 220, 0, false},
    };
    const Wipe wipe(100, 220);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        SweptStream swept(wipe.stream, {wipe.sweep}, c.limit);
        swept.emulator.EnableReplacementSweeps(c.on);
        for (int pack = 0; pack < wipe.stream.Count(); ++pack) {
            swept.PlayTo(pack + 1, pack >= c.numberedFrom);
            ASSERT_EQ(ScreenOf(swept.emulator) == swept.plain.index, true) << "pack " << pack;
        }
        EXPECT_TRUE(swept.ShowsTheStream());
    }
}

TEST(CDGSweeps, MoreThanThreeIntrusionsSwitchThemOff)
{
    for (int intrusions = 0; intrusions <= 6; ++intrusions) {
        SCOPED_TRACE(intrusions);
        Wipe wipe(100, 220);
        const Wipe second(300, 420);
        for (int i = 0; i < intrusions; ++i) // late XOR tiles count like normal ones; those elsewhere do not
            wipe.Replace(195 + 2 * i, i % 2 ? PackStream().Tile(5, 12, 2) : PackStream().TileXor(5, 14, 2));
        wipe.Replace(194, PackStream().Tile(9, 12, 2));
        PackStream stream = wipe.stream;
        stream.bytes.resize(300 * kPackSize);
        stream.bytes.insert(stream.bytes.end(), second.stream.At(300), second.stream.At(second.stream.Count()));
        SweptStream swept(stream, {wipe.sweep, second.sweep}, 150);
        swept.PlayTo(220);
        EXPECT_TRUE(swept.ShowsTheStream());
        EXPECT_EQ(swept.emulator.GetIntrusionCount(), intrusions);
        EXPECT_EQ(swept.emulator.AreSweepsEnabled(), intrusions <= 3);
        EXPECT_EQ(swept.emulator.HasReplacementSweep(300, false), intrusions <= 3 ? 1 : -1);
        EXPECT_EQ(swept.emulator.HasReplacementSweep(300, true), 1);
        swept.PlayTo(360);
        EXPECT_EQ(swept.ShowsTheStream(), intrusions > 3);
        swept.PlayTo(420);
        EXPECT_TRUE(swept.ShowsTheStream());
        swept.emulator.Init();
        EXPECT_TRUE(swept.emulator.AreSweepsEnabled());
        EXPECT_EQ(swept.emulator.GetIntrusionCount(), 0);
    }
}

TEST(CDGSweeps, EndEarlyWhenTheirTimeIsOver)
{
    Wipe wipe(100, 400);
    wipe.sweep.duration = 0.5; // up to pack 250 while the end is at 400
    SweptStream swept(wipe.stream, {wipe.sweep}, 150);
    swept.PlayTo(251);
    EXPECT_FALSE(swept.ShowsTheStream());
    swept.PlayTo(252);
    EXPECT_TRUE(swept.ShowsTheStream());
}

TEST(CDGSweeps, SnapshotsAndNewListsEndARunningSweep)
{
    const Wipe wipe(100, 220);
    for (const bool restore : {true, false}) {
        SweptStream swept(wipe.stream, {wipe.sweep}, 150);
        CCDGEmulator::typeState state;
        swept.PlayTo(50);
        swept.emulator.StoreState(state, true);
        swept.PlayTo(160);
        EXPECT_FALSE(swept.ShowsTheStream());
        if (restore) {
            ASSERT_TRUE(swept.emulator.RestoreState(state, true));
            swept.plain = PlainEmulator();
            swept.plain.Init();
            for (int i = 0; i < 50; ++i)
                swept.plain.ProcessCommand(wipe.stream.At(i));
            swept.at = 50;
            EXPECT_TRUE(swept.ShowsTheStream());
            swept.PlayTo(160);
            EXPECT_FALSE(swept.ShowsTheStream()); // it runs again from its start
            swept.PlayTo(220);
        } else {
            swept.emulator.SetReplacementSweeps({});
        }
        EXPECT_TRUE(swept.ShowsTheStream());
    }
}

TEST(CDGSweeps, AreFoundByPack)
{
    const auto sweep = [](int start, int last, int end, double duration, CRect rect = CRect(0, 0, 6, 12)) {
        ReplacementSweep s;
        s.startPack = start, s.lastPack = last, s.endPack = end, s.duration = duration, s.rect = rect;
        return s;
    };
    CCDGEmulator emulator;
    emulator.Init();
    EXPECT_FALSE(emulator.HaveSweepsChanged());
    emulator.SetReplacementSweeps({sweep(500, 520, 600, 1), // given out of order, sorted by end
                                   sweep(-1, 50, 60, 1),    // the next four are impossible
                                   sweep(50, 50, 50, 1), sweep(60, 70, 80, 1, CRect()),
                                   sweep(60, 70, 80, 1, CRect(300, 0, 400, 10)), sweep(100, 150, 200, 0.1),
                                   sweep(200, 210, 300, 1)});
    EXPECT_TRUE(emulator.HaveSweepsChanged());
    emulator.ClearSweepsChanged();
    EXPECT_FALSE(emulator.HaveSweepsChanged());
    struct Case {
        int pack, index, screenshot;
    };
    const Case cases[] = {
        {-1, -1, -1},   {0, -1, 0},     {55, -1, 55},
        {65, -1, 65},   {99, -1, 99},   {100, 0, 100},
        {101, 0, 200},  {150, 0, 200}, // its last pack is later than its duration says
        {151, -1, 151}, {199, -1, 199}, {200, 1, 200},
        {299, 1, 300},  {300, -1, 300}, {500, 2, 500},
        {599, 2, 600},  {600, -1, 600}, {INT32_MAX, -1, INT32_MAX},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.pack);
        EXPECT_EQ(emulator.HasReplacementSweep(c.pack, false), c.index);
        EXPECT_EQ(emulator.CanMakeScreenshot(c.pack), c.screenshot);
    }
    emulator.EnableReplacementSweeps(false);
    for (const Case& c : cases) {
        EXPECT_EQ(emulator.HasReplacementSweep(c.pack, false), -1);
        EXPECT_EQ(emulator.HasReplacementSweep(c.pack, true), c.index);
        EXPECT_EQ(emulator.CanMakeScreenshot(c.pack), c.pack);
    }
}

// Whatever tiles and colours run inside the swept area: at its end the screen is the stream's.
TEST(CDGSweeps, EndAsTheStreamDrawsOnRandomStreams)
{
    for (u32 seed = 0; seed < 30; ++seed) {
        SCOPED_TRACE(seed);
        Dice dice(seed);
        PackStream stream;
        AddRandomPacks(stream, dice, 199);
        stream.ScrollCopy({}); // no offset stands
        ReplacementSweep sweep;
        sweep.startPack = 200, sweep.lastPack = 230 + dice(60), sweep.endPack = 300;
        sweep.duration = 0.5; // up to the end: one that is left early draws its XOR tiles alone
        sweep.rect = CRect(60, 60, 60 + 6 * (1 + dice(5)), 60 + 12 * (1 + dice(3)));
        while (stream.Count() < 330) {
            const int row = 5 + dice(sweep.rect.Height() / 12), column = 10 + dice(sweep.rect.Width() / 6);
            if (dice.OneIn(8))
                stream.Colours(dice.OneIn(2), {dice(4096), dice(4096), dice(4096)});
            else if (dice.OneIn(3))
                stream.Tile(row, column, dice(16), dice(16), dice(64));
            else if (dice.OneIn(2))
                stream.TileXor(row, column, dice(16), dice(16), dice(64));
            else
                stream.Empty();
            if (dice.OneIn(2))
                sweep.packs.push_back({stream.Count() - 1, stream.Pack(stream.Count() - 1)});
        }
        SweptStream swept(stream, {sweep}, 250);
        swept.PlayTo(300);
        ASSERT_TRUE(swept.ShowsTheStream());
        swept.PlayTo(stream.Count());
        ASSERT_TRUE(swept.ShowsTheStream());
    }
}

TEST(CDGSweeps, RendererTakesNoKeyframeInsideThem)
{
    const Wipe wipe(1450, 1600);
    MemoryFile file(wipe.stream.bytes);
    CCDGRenderer renderer;
    ASSERT_TRUE(renderer.Open(nullptr, &file, true));
    renderer.GetEmulator().SetReplacementSweeps({wipe.sweep});
    const auto shown = [&](int pack) {
        renderer.GetFrame((pack + 0.5) / 300);
        return ScreenOf(renderer.GetEmulator());
    };
    PlainEmulator plain;
    plain.Init();
    for (int i = 0; i < wipe.stream.Count(); ++i)
        plain.ProcessCommand(wipe.stream.At(i));

    const Screen middle = shown(1550);
    EXPECT_EQ(renderer.GetKeyframes(), std::vector<int>{0});
    EXPECT_EQ(shown(1700) == plain.index, true);
    EXPECT_EQ(renderer.GetKeyframes(), (std::vector<int>{0, 1600}));
    EXPECT_EQ(shown(1550) == middle, true); // from keyframe 0, through the sweep's start
    EXPECT_EQ(middle == plain.index, false);
    EXPECT_EQ(shown(1600) == plain.index, true);
    renderer.GetEmulator().SetReplacementSweeps({});
    EXPECT_EQ(shown(1610) == plain.index, true);
    EXPECT_EQ(renderer.GetKeyframes(), std::vector<int>{0}); // the others showed the old sweeps
    EXPECT_EQ(shown(0) == Screen(300 * 216), true);
    EXPECT_EQ(shown(1690) == plain.index, true);
    EXPECT_EQ(renderer.GetKeyframes(), (std::vector<int>{0, 1500}));
}
