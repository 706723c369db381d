// Packs and the emulator: what single instructions do, in numbers worked out by hand (the plain emulator has to agree),
// and what random streams cannot show: refused snapshots, frames, formats, text pages, threads.
#include "CDGEmulator.h"
#include "ScopedLock.h"
#include "support/CompareEmulators.h"
#include "support/PackStream.h"

#include <gtest/gtest.h>
#include <thread>

using CDGEmulator::CCDGEmulator;
using Masking = PlainEmulator::Masking;

namespace {

void Play(CCDGEmulator& emulator, const PackStream& stream)
{
    emulator.ProcessPacks(stream.bytes.data(), stream.Count(), -1, 0);
}

} // namespace

TEST(CDGEmulatorPack, KeepsSixBitsOfEachByte)
{
    std::vector<u8> raw(kPackSize), back(kPackSize), expected(kPackSize);
    for (std::size_t i = 0; i < raw.size(); ++i) {
        expected[i] = static_cast<u8>(i + 1);
        raw[i] = static_cast<u8>(expected[i] | (i % 4) << 6);
    }
    CCDGEmulatorPack pack(raw.data());
    EXPECT_EQ(pack.command, 1);
    EXPECT_EQ(pack.instruction, 2);
    EXPECT_EQ(pack.parityQ[1], 4);
    EXPECT_EQ(pack.data[0], 5);
    EXPECT_EQ(pack.data[15], 20);
    EXPECT_EQ(pack.parityP[3], 24);
    pack.GetFromMem(nullptr); // changes nothing
    pack.GetMem(back.data());
    EXPECT_EQ(back, expected);
    pack.Clear();
    for (const CCDGEmulatorPack& zero : {pack, CCDGEmulatorPack(), CCDGEmulatorPack(nullptr)}) {
        zero.GetMem(back.data());
        EXPECT_EQ(back, std::vector<u8>(kPackSize));
    }
}

TEST(CDGEmulator, DoesWhatTheInstructionsSay)
{
    struct Probe {
        int left, top, right, bottom, index; // the area is all of this index
    };
    struct Case {
        const char* name;
        PackStream stream;
        bool lastHandled;
        std::vector<Probe> probes;
        int background = 0, across = 0, down = 0, channel = -1;
    };
    const std::vector<int> rising{0x000, 0x111, 0x222, 0x333, 0x444, 0x555, 0x666, 0xFFF};
    PackStream topBits = PackStream().Tile(0, 0, 1);
    for (u8& byte : topBits.bytes)
        byte |= 0xC0;
    const Case cases[] = {
        {"a preset fills the screen", PackStream().Preset(3), true, {{0, 0, 300, 216, 3}}, 3},
        {"a repeated preset changes the background alone",
         PackStream().Preset(3).Preset(5, 3),
         true,
         {{0, 0, 300, 216, 3}},
         5},
        {"a preset ends fine offsets",
         PackStream().ScrollCopy({0, 15}, {0, 15}).Preset(1),
         true,
         {{0, 0, 300, 216, 1}},
         1},
        {"offsets are cut to 5 and 11",
         PackStream().ScrollCopy({0, 15}, {0, 15}),
         true,
         {{0, 0, 300, 216, 0}},
         0,
         5,
         11},
        {"scroll preset to the right fills the left",
         PackStream().Tile(0, 0, 1).ScrollPreset(5, {1, 0}),
         true,
         {{0, 0, 6, 216, 5}, {6, 0, 12, 12, 1}, {12, 0, 300, 216, 0}}},
        {"scroll copy to the right wraps",
         PackStream().Tile(3, 49, 1).ScrollCopy({1, 0}),
         true,
         {{0, 36, 6, 48, 1}, {6, 0, 300, 216, 0}}},
        {"scroll to the left, command 2",
         PackStream().Tile(3, 1, 1).ScrollPreset(5, {2, 0}),
         true,
         {{0, 36, 6, 48, 1}, {6, 0, 294, 216, 0}, {294, 0, 300, 216, 5}}},
        {"command 3 is like command 2",
         PackStream().Tile(3, 1, 1).ScrollPreset(5, {3, 0}, {3, 0}),
         true,
         {{0, 24, 6, 36, 1}, {294, 0, 300, 216, 5}, {0, 204, 300, 216, 5}, {6, 0, 294, 204, 0}}},
        {"scroll copy down wraps",
         PackStream().Tile(17, 2, 1).ScrollCopy({}, {1, 0}),
         true,
         {{12, 0, 18, 12, 1}, {0, 12, 300, 216, 0}}},
        {"an XOR tile twice restores",
         PackStream().Preset(4).TileXor(2, 2, 9, 3, 0x15).TileXor(2, 2, 9, 3, 0x15),
         true,
         {{0, 0, 300, 216, 4}},
         4},
        {"XOR combines with what is there",
         PackStream().Preset(4).TileXor(2, 2, 9, 3, 0x38),
         true,
         {{12, 24, 15, 36, 13}, {15, 24, 18, 36, 7}},
         4},
        {"tiles beyond the screen draw into the last one",
         PackStream().Tile(31, 63, 2),
         true,
         {{294, 204, 300, 216, 2}, {0, 0, 294, 216, 0}, {0, 0, 300, 204, 0}}},
        {"set bits are colour 1, bit 5 leftmost",
         PackStream().Tile(0, 0, 1, 2, 0x20),
         true,
         {{0, 0, 1, 12, 1}, {1, 0, 6, 12, 2}}},
        {"channel 1 draws", PackStream().Tile(0, 0, 1, 0, 0x3F, 1), true, {{0, 0, 6, 12, 1}}, 0, 0, 0, 1},
        {"channel 3 draws nothing but is remembered",
         PackStream().Tile(0, 0, 1, 0, 0x3F, 3).Tile(0, 0, 1, 0, 0x3F, 9),
         true,
         {{0, 0, 300, 216, 0}},
         0,
         0,
         0,
         3},
        {"the subcode channels P and Q do not count", topBits, true, {{0, 0, 6, 12, 1}}},
        {"other commands are ignored", PackStream().Add(8, kMemoryPreset, {1}), false, {{0, 0, 300, 216, 0}}},
        {"unknown instructions are ignored", PackStream().Graphics(3, {1}), false, {{0, 0, 300, 216, 0}}},
        {"the transparent colour is accepted without effect",
         PackStream().Graphics(kDefineTransparent, {1, 2, 3}),
         true,
         {{0, 0, 300, 216, 0}}},
        {"padding", PackStream().Empty(), false, {{0, 0, 300, 216, 0}}},
        {"colours", PackStream().Colours(false, rising).Colours(true, rising), true, {{0, 0, 300, 216, 0}}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        CCDGEmulator fast;
        PlainEmulator plain;
        fast.Init();
        plain.Init();
        for (int i = 0; i < c.stream.Count(); ++i) {
            const bool last = i + 1 == c.stream.Count(), handled = plain.ProcessCommand(c.stream.At(i));
            EXPECT_EQ(fast.ProcessCommand(c.stream.Pack(i), i, 0), handled);
            EXPECT_TRUE(!last || handled == c.lastHandled);
        }
        for (const Probe& p : c.probes) {
            for (int y = p.top; y < p.bottom; ++y) {
                for (int x = p.left; x < p.right; ++x)
                    ASSERT_EQ(fast.ScreenIndexImage().GetPixelIndex(x, y), p.index) << x << "," << y;
            }
        }
        EXPECT_EQ(fast.GetBackgroundColour(), c.background);
        EXPECT_EQ(fast.GetVisibleRect(), CRect(CPoint(6 + c.across, 12 + c.down), CSize(288, 192)));
        EXPECT_EQ(fast.GetFirstChannel(), c.channel);
        EXPECT_EQ(Difference(fast, plain), "");
    }
}

TEST(CDGEmulator, ColoursHaveFourBitsInTheUpperHalf)
{
    CCDGEmulator emulator;
    emulator.Init();
    Play(emulator, PackStream()
                       .Graphics(kLoadColours07, {0x3F, 0x3F, 0x00, 0x30, 0x3C, 0x00, 0x02, 0x0F})
                       .Graphics(kLoadColours8F, {0x04, 0x11})
                       .Border(8));
    const u32 expected[] = {RGB(240, 240, 240), RGB(0, 48, 0), RGB(240, 0, 0), RGB(0, 128, 240), 0, 0, 0, 0,
                            RGB(16, 16, 16)};
    for (int i = 0; i < 9; ++i) {
        EXPECT_EQ(emulator.GetPaletteEntry(i), expected[i]) << i;
        EXPECT_EQ(emulator.ScreenIndexImage().GetTableColor(i), expected[i]) << i;
    }

    struct Format {
        const char* name;
        CCDGEmulator::PixelFormat format;
        u32 white, redGreen; // of RGB(240, 240, 240) and RGB(240, 48, 0)
    };
    const Format formats[] = {
        {"the usual one", {}, 0xF0F0F0, 0x0030F0},
        {"blue lowest", {8, 16, 8, 8, 8, 0}, 0xF0F0F0, 0xF03000},
        {"565", {5, 11, 6, 5, 5, 0}, 30 << 11 | 60 << 5 | 30, 30 << 11 | 12 << 5},
        {"555", {5, 10, 5, 5, 5, 0}, 30 << 10 | 30 << 5 | 30, 30 << 10 | 6 << 5},
    };
    for (const Format& f : formats) {
        SCOPED_TRACE(f.name);
        emulator.SetPixelInfo(f.format);
        emulator.RecalcPixelColors();
        EXPECT_FALSE(emulator.HaveColoursChanged());
        EXPECT_EQ(emulator.GetPixelColor(0), f.white);
        EXPECT_EQ(emulator.GetPixelFromColor(RGB(240, 48, 0)), f.redGreen);
        EXPECT_EQ(emulator.GetBorderPixel(), emulator.GetPixelFromColor(RGB(16, 16, 16)));
    }
    emulator.InitPixelInfo();
    EXPECT_EQ(emulator.GetPixelFromColor(RGB(1, 2, 3)), RGB(1, 2, 3));
}

// Kept as is: margins take the colour of the last Memory Preset, whatever the border colour is.
TEST(CDGEmulator, MarginsTakeThePresetColourNotTheBorderColour)
{
    CCDGEmulator emulator;
    emulator.Init();
    Play(emulator, PackStream().Colours(false, {0x000, 0xF00, 0x0F0}).Preset(1).Border(2).ScrollCopy({0, 2}, {0, 3}));
    CDib image;
    ASSERT_TRUE(image.Create(300, 216, 24));
    emulator.ClearMargins(image, image.GetRect());
    const CRect visible(8, 15, 296, 207);
    for (int y = 0; y < 216; ++y) {
        for (int x = 0; x < 300; ++x)
            ASSERT_EQ(image.GetPixelColor(x, y), visible.PtInRect(CPoint(x, y)) ? 0u : RGB(240, 0, 0)) << x << "," << y;
    }
}

TEST(CDGEmulator, ResetScreenIsClean)
{
    CCDGEmulator emulator;
    emulator.Init();
    EXPECT_TRUE(emulator.IsCleanScreen());
    Play(emulator, PackStream().Tile(17, 49, 1));
    EXPECT_FALSE(emulator.IsCleanScreen());
    EXPECT_FALSE(emulator.IsModified()) << "Kept as is: asking takes the modified rectangle";
    EXPECT_FALSE(emulator.IsCleanScreen());
    emulator.Reset();
    EXPECT_TRUE(emulator.IsCleanScreen());
    Play(emulator, PackStream().Tile(0, 0, 1).Tile(0, 0, 0, 0));
    EXPECT_TRUE(emulator.IsCleanScreen());
}

// Kept as is: only the modified rectangle is looked at again, and restoring a screen is no modification.
TEST(CDGEmulator, CleanScreenFollowsTheModifiedRectangleAlone)
{
    CCDGEmulator emulator;
    emulator.Init();
    Play(emulator, PackStream().Tile(3, 3, 1));
    CCDGEmulator::typeState drawn;
    emulator.StoreState(drawn, true);
    emulator.Init();
    EXPECT_TRUE(emulator.IsCleanScreen());
    ASSERT_TRUE(emulator.RestoreState(drawn, true));
    EXPECT_TRUE(emulator.IsCleanScreen());
    Play(emulator, PackStream().Tile(9, 9, 0));
    EXPECT_TRUE(emulator.IsCleanScreen());
    Play(emulator, PackStream().Tile(9, 9, 1)); // not clean: from now on the whole screen is looked at
    EXPECT_FALSE(emulator.IsCleanScreen());
    Play(emulator, PackStream().Tile(9, 9, 0));
    EXPECT_FALSE(emulator.IsCleanScreen());
}

TEST(CDGEmulator, MoreThanThirtyPaddingPacksEndARunOfColourLoads)
{
    for (const int padding : {0, 1, 29, 30, 31, 32}) {
        CCDGEmulator emulator;
        emulator.Init();
        Play(emulator, PackStream().Colours(false, {}).Colours(true, {}).Empty(padding));
        EXPECT_EQ(emulator.GetEmptyPackRun(), padding);
        EXPECT_EQ(emulator.GetClutRun(), 2);
        Play(emulator, PackStream().Add(8, kLoadColours07)); // counted whatever the command
        EXPECT_EQ(emulator.GetEmptyPackRun(), 0);
        EXPECT_EQ(emulator.GetClutRun(), padding > 30 ? 1 : 3) << padding;
        Play(emulator, PackStream().Border(1));
        EXPECT_EQ(emulator.GetClutRun(), 0);
    }
}

TEST(CDGEmulator, WorksBeforeInit)
{
    CCDGEmulator emulator;
    EXPECT_FALSE(emulator.FrameIsReady());
    PackStream stream;
    Dice dice(3);
    AddRandomPacks(stream, dice, 300);
    Play(emulator, stream);
    emulator.IsCleanScreen();
    emulator.DetectLines();
    emulator.ReadyScreen();
    EXPECT_EQ(BrokenInvariant(emulator), "");
}

TEST(CDGEmulator, FramesAreCopiesOfTheReadyScreen)
{
    CCDGEmulator emulator;
    emulator.Init();
    EXPECT_FALSE(emulator.FrameIsReady());
    Play(emulator, PackStream().Colours(false, {0x000, 0xFFF}).Preset(1));
    emulator.PrepareFrame();
    EXPECT_TRUE(emulator.FrameIsReady());
    Play(emulator, PackStream().Tile(5, 5, 0));
    EXPECT_FALSE(emulator.FrameIsReady());
    EXPECT_EQ(emulator.GetCurrentFrame().GetPixelColor(30, 60), RGB(240, 240, 240)); // before the tile
    emulator.PrepareFrame();
    EXPECT_EQ(emulator.GetCurrentFrame().GetPixelColor(30, 60), 0u);
    EXPECT_FALSE(emulator.IsDirty());
    emulator.SettingsChanged(); // masking goes on, and the frame of the old settings away
    EXPECT_FALSE(emulator.FrameIsReady());
    EXPECT_FALSE(emulator.GetCurrentFrame().IsValid());
    EXPECT_EQ(emulator.ScreenColourImage().GetBitCount(), 32);
    emulator.PrepareFrame();
    emulator.DeleteCurrentFrame();
    EXPECT_FALSE(emulator.FrameIsReady());
    emulator.SetTime(1.5);
    EXPECT_EQ(emulator.GetTime(), 1.5);
}

TEST(CDGEmulator, SettingsChangedTakesEffectWithTheNextPack)
{
    CCDGEmulator emulator;
    emulator.Init();
    EXPECT_EQ(emulator.GetScreenMask(), nullptr);
    emulator.SettingsChanged();
    EXPECT_EQ(emulator.GetScreenMask(), nullptr);
    emulator.ProcessCommand(CCDGEmulatorPack(), -1, 0); // padding is enough
    ASSERT_NE(emulator.GetScreenMask(), nullptr);
    Play(emulator, PackStream().Tile(5, 5, 1));
    EXPECT_EQ(emulator.GetScreenMask()->GetPixelIndex(28, 58), 255); // two pixels outside of the tile
    EXPECT_EQ(emulator.GetScreenMask()->GetPixelIndex(27, 58), 0);
}

TEST(CDGEmulator, FullSnapshotsHoldAnEightBitMaskInBothMaskingModes)
{
    for (const Masking mode : {Masking::Off, Masking::Separate, Masking::Alpha}) {
        CCDGEmulator emulator;
        emulator.SetMasking(mode != Masking::Off, mode == Masking::Alpha);
        emulator.Init();
        CCDGEmulator::typeState state;
        emulator.StoreState(state, false);
        EXPECT_EQ(state.ScreenMaskImage.GetBitCount(), mode == Masking::Off ? 0 : 8);
        EXPECT_EQ(state.ScreenColourImage.GetBitCount(), mode == Masking::Alpha ? 32 : 24);
        emulator.StoreState(state, true);
        EXPECT_FALSE(state.ScreenMaskImage.IsValid() || state.ScreenColourImage.IsValid());
    }
}

TEST(CDGEmulator, SnapshotsThatAreNoneAreRefusedWithoutChange)
{
    CCDGEmulator fast;
    PlainEmulator plain;
    fast.SetMasking(true, false);
    plain.SetMasking(Masking::Separate);
    fast.Init();
    plain.Init();
    PackStream stream;
    Dice dice(8);
    AddRandomPacks(stream, dice, 200);
    Play(fast, stream);
    for (int i = 0; i < stream.Count(); ++i)
        plain.ProcessCommand(stream.At(i));

    int size = 0;
    const std::unique_ptr<u8[]> good = fast.StoreState(size);
    const std::vector<u8> bytes(good.get(), good.get() + size);
    EXPECT_FALSE(fast.RestoreState(nullptr, size));
    for (const int length : {-1, 0, 1, 3, 4, 40, 103, 104, size / 2, size - 1}) {
        const std::vector<u8> cut(bytes.begin(), bytes.begin() + std::max(length, 0));
        EXPECT_FALSE(fast.RestoreState(cut.data(), length)) << length;
    }
    std::vector<u8> longer = bytes;
    longer.push_back(0);
    EXPECT_FALSE(fast.RestoreState(longer.data(), size + 1));
    ASSERT_EQ(Difference(fast, plain), "");

    using State = CCDGEmulator::typeState;
    const std::pair<const char*, void (*)(State&)> spoilers[] = {
        {"no screen", [](State& s) { s.ScreenIndexImage.Destroy(); }},
        {"a small screen", [](State& s) { s.ScreenIndexImage.Create(10, 10, 8); }},
        {"a deep screen", [](State& s) { s.ScreenIndexImage.Create(300, 216, 24); }},
        {"an offset of 6", [](State& s) { s.horizontalOffset = 6; }},
        {"an offset of -1", [](State& s) { s.verticalOffset = -1; }},
        {"background 16", [](State& s) { s.backgroundColour = 16; }},
        {"border -1", [](State& s) { s.borderColour = -1; }},
        {"a huge outline", [](State& s) { s.outlineWidth = 1 << 30; }},
    };
    for (const auto& [name, spoil] : spoilers) {
        State state;
        fast.StoreState(state, true);
        spoil(state);
        EXPECT_FALSE(fast.RestoreState(state, false)) << name;
        ASSERT_EQ(Difference(fast, plain), "") << name;
    }
    for (int round = 0; round < 200; ++round) { // what is taken is a possible screen
        std::vector<u8> spoilt = bytes;
        for (int n = 1 + dice(4); n > 0; --n)
            spoilt[static_cast<std::size_t>(dice(dice.OneIn(2) ? 104 : size))] = dice.Byte();
        if (fast.RestoreState(spoilt.data(), size)) {
            ASSERT_EQ(BrokenInvariant(fast), "") << round;
        }
    }
}

TEST(CDGEmulator, LinesOfTextAndTextPages)
{
    using Lines = std::vector<std::pair<i32, i32>>;
    struct Case {
        const char* name;
        Lines drawn, found;
        bool textPage;
    };
    const auto evenly = [](int count, int height) {
        Lines lines;
        for (int i = 0; i < count; ++i)
            lines.push_back({i * 20 + 1, i * 20 + 1 + height});
        return lines;
    };
    const Case cases[] = {
        {"no lines count as text", {}, {}, true},
        {"nine lines are text", evenly(9, 12), evenly(9, 12), true},
        {"ten are not", evenly(10, 12), evenly(10, 12), false},
        {"low lines are not", evenly(3, 7), evenly(3, 7), false},
        {"the first may be low", {{3, 8}, {30, 38}}, {{3, 8}, {30, 38}}, true},
        {"a line of 41 rows is text", {{0, 40}}, {{0, 40}}, true},
        {"one of 42 is not", {{0, 41}}, {{0, 41}}, false},
        {"a line may reach the last row", {{200, 215}}, {{200, 215}}, true},
        {"dots join the line below", {{10, 12}, {15, 30}}, {{10, 30}}, true},
        {"dots farther off do not", {{10, 12}, {17, 30}}, {{10, 12}, {17, 30}}, true},
        {"a joined line is not joined again", {{10, 11}, {13, 14}, {16, 26}}, {{10, 14}, {16, 26}}, true},
    };
    for (const bool inAlpha : {false, true}) {
        for (const Case& c : cases) {
            SCOPED_TRACE(c.name);
            CCDGEmulator emulator;
            emulator.SetOutlineWidth(0);
            emulator.SetMasking(true, inAlpha);
            emulator.Init();
            NV::ScopedLock held(emulator.lock);
            for (const auto& [first, last] : c.drawn)
                emulator.SetPixelRect(CRect(20 + first, first, 21 + first, last + 1), 1, false);
            emulator.DetectLines();
            EXPECT_EQ(emulator.GetLines(), c.found);
            EXPECT_EQ(emulator.IsThisTextPage(), c.textPage);
        }
    }
}

// The stream shows plain screens only, so whatever a second thread takes must be of one colour throughout.
TEST(CDGEmulator, OneThreadFeedsWhileAnotherLooks)
{
    CCDGEmulator emulator;
    emulator.SetMasking(true, true);
    emulator.Init();
    PackStream stream;
    for (int i = 0; i < 64; ++i)
        stream.Colours(false, std::vector<int>(8, i * 61)).Colours(true, std::vector<int>(8, i * 61)).Preset(i % 16);
    std::atomic<bool> stop = false;
    std::thread feeder([&] {
        for (int round = 0; !stop; ++round) {
            if (round % 2 == 0)
                Play(emulator, stream);
            for (int i = 0; i < stream.Count() && round % 2 != 0; ++i)
                emulator.ProcessCommand(stream.Pack(i), i, stream.Count());
        }
    });
    for (int round = 0; round < 60; ++round) {
        CCDGEmulator::typeState state;
        emulator.StoreState(state, false);
        const CDib& screen = state.ScreenIndexImage;
        int other = 0;
        for (int y = 0; y < 216; ++y)
            other += static_cast<int>(std::count_if(screen.GetRow(y), screen.GetRow(y) + 300,
                                                    [&](u8 index) { return index != screen.GetRow(0)[0]; }));
        EXPECT_EQ(other, 0);
        EXPECT_EQ(screen.GetTableColor(3), state.palette[3]);

        emulator.PrepareFrame();
        const CDib& frame = emulator.GetCurrentFrame();
        for (const CPoint at : {CPoint(150, 12), CPoint(6, 100), CPoint(293, 203)})
            EXPECT_EQ(frame.GetPixelColor(at.x, at.y), frame.GetPixelColor(150, 100));
        const CRect modified = emulator.GetModified();
        EXPECT_TRUE(modified.IsRectEmpty() || modified == CRect(0, 0, 300, 216));
        emulator.FrameIsReady();
        emulator.IsCleanScreen();
        emulator.GetPixelColor(emulator.GetBorderColour());
        emulator.DetectLines();
    }
    stop = true;
    feeder.join();
}
