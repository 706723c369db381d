// CCDGRenderer: any order of times shows what playing from pack 0 shows, and keyframes make it cheap.
#include "CDGRenderer.h"
#include "support/MemoryFile.h"
#include "support/PackStream.h"
#include "support/PlainEmulator.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

namespace {

/// What the plain emulator shows after each of some numbers of packs, played from pack 0.
std::map<int, PlainEmulator> PlayedFromTheStart(const PackStream& stream, const std::vector<int>& packs)
{
    std::map<int, PlainEmulator> screens;
    for (const int pack : packs)
        screens[pack];
    PlainEmulator plain;
    plain.Init();
    int at = 0;
    for (auto& [pack, screen] : screens) {
        for (; at < std::min(pack, stream.Count()); ++at)
            plain.ProcessCommand(stream.At(at));
        screen = plain;
        screen.ReadyScreen();
    }
    return screens;
}

/// Replaces every tile that would be drawn while a fine offset stands by padding.
void DropTilesUnderOffsets(PackStream& stream)
{
    PlainEmulator plain;
    plain.Init();
    for (int i = 0; i < stream.Count(); ++i) {
        u8* raw = stream.bytes.data() + i * kPackSize;
        const int instruction = raw[1] & kPackBits;
        if ((plain.horizontalOffset || plain.verticalOffset) &&
            (instruction == kTileBlock || instruction == kTileBlockXor))
            std::fill(raw, raw + kPackSize, u8{0});
        plain.ProcessCommand(raw);
    }
}

std::string ScreenDifference(CCDGRenderer& renderer, const CDib* frame, const PlainEmulator& plain, bool coloursToo)
{
    const CDGEmulator::CCDGEmulator& emulator = renderer.GetEmulator();
    for (int i = 0; i < 16; ++i) {
        if (emulator.GetPaletteEntry(i) != plain.palette[static_cast<std::size_t>(i)])
            return "palette";
    }
    if (emulator.GetHorizontalOffset() != plain.horizontalOffset ||
        emulator.GetVerticalOffset() != plain.verticalOffset)
        return "offsets";
    if (emulator.GetBackgroundColour() != plain.backgroundColour || emulator.GetBorderColour() != plain.borderColour)
        return "background or border";
    for (int y = 0; y < 216; ++y) {
        for (int x = 0; x < 300; ++x) {
            const auto at = static_cast<std::size_t>(y * 300 + x);
            const bool visible = x >= 6 && x < 294 && y >= 12 && y < 204;
            if (emulator.ScreenIndexImage().GetRow(y)[x] != plain.index[at])
                return "index at " + std::to_string(x) + "," + std::to_string(y);
            if (coloursToo && visible && frame->GetPixelColor(x, y) != plain.colour[at])
                return "colour at " + std::to_string(x) + "," + std::to_string(y);
        }
    }
    return "";
}

} // namespace

// Screens, palettes and offsets never depend on where playing began. Pictures do in one case: a tile drawn while a fine
// offset stands is shown unshifted until the next rebuild, and a keyframe in between is such a rebuild. So colours are
// compared on streams without such tiles.
TEST(CDGRenderer, AnyOrderOfTimesShowsWhatPlayingFromTheStartShows)
{
    for (u32 seed = 1; seed <= 4; ++seed) {
        const bool coloursToo = seed % 2 == 0, discImage = seed > 2;
        Dice dice(seed);
        PackStream stream;
        AddRandomPacks(stream, dice, 9000);
        if (coloursToo)
            DropTilesUnderOffsets(stream);
        std::vector<int> packs{0, -1, 1500, 1501, 3000, 9000, 9001, 100000, 8999};
        for (int i = 0; i < 60; ++i) {
            const int step = dice(700) - 200;
            packs.push_back(dice.OneIn(2) ? dice(9000) : std::clamp(packs.back() + step, 0, 9000));
        }
        const std::map<int, PlainEmulator> truth = PlayedFromTheStart(stream, packs);

        MemoryFile file(discImage ? AsDiscImage(stream.bytes) : stream.bytes);
        CCDGRenderer renderer;
        renderer.InitMultithreading(); // no visible effect
        ASSERT_TRUE(renderer.Open(nullptr, &file, !discImage));
        EXPECT_EQ(renderer.GetDuration(), 30.0);
        for (const int pack : packs) {
            SCOPED_TRACE(testing::Message() << "seed " << seed << ", pack " << pack);
            const CDib* frame = renderer.GetFrame((pack + 0.5) / kPacksPerSecond); // -1 is just before 0
            ASSERT_NE(frame, nullptr);
            ASSERT_EQ(ScreenDifference(renderer, frame, truth.at(pack), coloursToo), "");
            if (pack > 0 && pack <= stream.Count()) {
                ASSERT_EQ(renderer.GetCurrentTime(), CCDGInputFile::PackToTime(pack));
            }
        }
        renderer.FinishMultithreading();
    }
}

TEST(CDGRenderer, KeyframesStandEveryFiveSecondsAsFarAsPlayed)
{
    PackStream stream;
    Dice dice(6);
    AddRandomPacks(stream, dice, 9000);
    MemoryFile file(stream.bytes);
    CCDGRenderer renderer;
    ASSERT_TRUE(renderer.Open(nullptr, &file, true));
    struct Step {
        const char* name;
        double seconds;
        ULONGLONG packsRead;
        std::vector<int> keyframes;
    };
    const Step steps[] = {
        {"nothing is played for time 0", 0, 0, {0}},
        {"ten seconds; pack 3000 is not yet reached", 10, 3000, {0, 1500}},
        {"half a second on", 10.5, 150, {0, 1500, 3000}},
        {"back to two seconds, from pack 0", 2, 600, {0, 1500, 3000}},
        {"far ahead, from the keyframe", 10.1, 30, {0, 1500, 3000}},
        {"299 packs ahead are played", 10.1 + 299.0 / 300, 299, {0, 1500, 3000}},
        {"far ahead without a keyframe between", 20, 6000 - 3329, {0, 1500, 3000, 4500}},
        {"back to a keyframe's own time", 15, 0, {0, 1500, 3000, 4500}},
        {"the same time again", 15, 0, {0, 1500, 3000, 4500}},
    };
    for (const Step& step : steps) {
        SCOPED_TRACE(step.name);
        const ULONGLONG before = file.bytesRead;
        renderer.GetFrame(step.seconds + 0.0001);
        EXPECT_EQ((file.bytesRead - before) / kPackSize, step.packsRead);
        EXPECT_EQ(renderer.GetKeyframes(), step.keyframes);
    }
    renderer.Clear();
    EXPECT_TRUE(renderer.GetKeyframes().empty());
    const std::map<int, PlainEmulator> truth = PlayedFromTheStart(stream, {600});
    EXPECT_EQ(ScreenDifference(renderer, renderer.GetFrame(2.0001), truth.at(600), false),
              ""); // still the right screen
}

TEST(CDGRenderer, OpensAndClosesAnyNumberOfTimes)
{
    const TempFolder folder;
    PackStream first = PackStream().Colours(false, {0, 0xF00}).Preset(1);
    first.Empty(3998);
    const std::string name = folder.Write("first.cdg", std::string(first.bytes.begin(), first.bytes.end()));
    MemoryFile second(PackStream().Empty().Tile(3, 3, 7).Empty(2).bytes);

    CCDGRenderer renderer;
    EXPECT_EQ(renderer.GetFrame(1), nullptr);
    EXPECT_EQ(renderer.GetDuration(), 0);
    EXPECT_FALSE(renderer.Open(folder.Path("missing.cdg").c_str(), nullptr, true));
    EXPECT_EQ(renderer.GetFrame(1), nullptr);

    ASSERT_TRUE(renderer.Open(name.c_str(), nullptr, true));
    EXPECT_DOUBLE_EQ(renderer.GetDuration(), 4000 / 300.0);
    EXPECT_EQ(renderer.GetFrame(6)->GetPixelColor(100, 100), RGB(240, 0, 0));

    ASSERT_TRUE(renderer.Open(nullptr, &second, true)); // starts over, nothing of the first is left
    EXPECT_EQ(renderer.GetCurrentTime(), 0);
    EXPECT_EQ(renderer.GetKeyframes(), std::vector<int>{0});
    EXPECT_EQ(renderer.GetFrame(0)->GetPixelColor(100, 100), 0u);
    EXPECT_EQ(renderer.GetEmulator().GetPaletteEntry(1), 0u);
    renderer.GetFrame(1);
    EXPECT_EQ(renderer.GetEmulator().ScreenIndexImage().GetPixelIndex(18, 36), 7);

    EXPECT_TRUE(renderer.Open("", nullptr, true));
    EXPECT_EQ(renderer.GetFrame(0), nullptr);
    EXPECT_TRUE(renderer.GetKeyframes().empty());
    EXPECT_EQ(renderer.GetDuration(), 0);
}
