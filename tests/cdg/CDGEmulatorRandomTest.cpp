// Random streams and calls: the emulator, which draws when somebody looks, must show at every moment exactly what
// drawing each pixel at once would have left. The plain emulator does the latter.
#include "CDGEmulator.h"
#include "ScopedLock.h"
#include "support/CompareEmulators.h"
#include "support/PackStream.h"

#include <gtest/gtest.h>

using CDGEmulator::CCDGEmulator;
using Masking = PlainEmulator::Masking;

namespace {

class TwoEmulators {
public:
    TwoEmulators(u32 seed, Masking masking) : dice(seed)
    {
        SetMasking(masking);
        fast.Init();
        plain.Init();
    }

    /// Feeds packs, does or does not do something else, and looks: always, or once in a while.
    void Step(bool lookAlways)
    {
        Feed(lookAlways || dice.OneIn(2) ? 1 + dice(3) : 1 + dice(150));
        if (dice.OneIn(3))
            CallSomething();
        if (lookAlways)
            Look(kLookAtEverything);
        else if (dice.OneIn(4))
            Look(static_cast<unsigned>(dice(kAllLooks)));
    }
    void Look(unsigned looks)
    {
        if (difference.empty())
            difference = Difference(fast, plain, looks);
        if (!difference.empty() && history.back() != '!')
            history += " look " + std::to_string(looks) + "!";
    }

    std::string difference;
    std::string history;

private:
    struct Kept {
        CCDGEmulator::typeState state;
        std::unique_ptr<u8[]> buffer;
        int size = 0;
        PlainEmulator::Snapshot plain;
    };

    void Expect(bool right, const char* what)
    {
        if (!right && difference.empty())
            difference = what;
    }

    void SetMasking(Masking mode)
    {
        fast.SetMasking(mode != Masking::Off, mode == Masking::Alpha);
        plain.SetMasking(mode);
        // Pictures in another mode's format are another matter.
        std::erase_if(kept, [](const Kept& k) { return !k.plain.indexOnly; });
    }

    void Feed(int count)
    {
        PackStream stream;
        AddRandomPacks(stream, dice, count);
        int expected = 0, handled = 0;
        for (int i = 0; i < count; ++i)
            expected += plain.ProcessCommand(stream.At(i));
        if (dice.OneIn(2)) {
            handled = fast.ProcessPacks(stream.bytes.data(), count, -1, 0);
        } else {
            for (int i = 0; i < count; ++i)
                handled += fast.ProcessCommand(stream.Pack(i), -1, 0);
        }
        Expect(handled == expected, "number of packs acted on");
        history = "feed " + std::to_string(count);
    }

    void CallSomething()
    {
        NV::ScopedLock held(fast.lock);
        const int what = dice(40);
        history += ", call " + std::to_string(what);
        if (what < 6)
            Store();
        else if (what < 12)
            Restore();
        else if (what < 18)
            DrawDirectly();
        else if (what < 26)
            CallProcess();
        else
            ChangeAnything(what);
    }

    void Store()
    {
        if (plain.colour.empty())
            return; // nothing to keep of it
        Kept k;
        const int form = dice(3);
        k.plain = plain.StoreState(form == 0);
        if (form == 2)
            k.buffer = fast.StoreState(k.size);
        else
            fast.StoreState(k.state, form == 0);
        if (kept.size() > 5)
            kept.erase(kept.begin() + dice(5));
        kept.push_back(std::move(k));
    }

    void Restore()
    {
        if (kept.empty())
            return;
        const Kept& k = kept[static_cast<std::size_t>(dice(static_cast<int>(kept.size())))];
        Expect(k.buffer ? fast.RestoreState(k.buffer.get(), k.size) : fast.RestoreState(k.state, false),
               "RestoreState");
        plain.RestoreState(k.plain);
    }

    void DrawDirectly() NV_REQUIRES(fast.lock)
    {
        const int x = dice(310) - 5, y = dice(226) - 5, colour = dice.OneIn(2) ? plain.backgroundColour : dice(16);
        if (dice.OneIn(3)) {
            const CRect area(x, y, x + dice(30) - 2, y + dice(30) - 2);
            Expect(fast.SetPixelRect(area, colour, false) ==
                       plain.SetPixelRect({area.left, area.top, area.right, area.bottom}, colour),
                   "result of SetPixelRect");
        } else {
            Expect(fast.SetPixel(x, y, colour, false) == plain.SetPixel(x, y, colour), "result of SetPixel");
        }
    }

    /// The instructions' own methods, without the rebuild that ProcessCommand asks for.
    void CallProcess() NV_REQUIRES(fast.lock)
    {
        PackStream stream;
        AddRandomPacks(stream, dice, 1);
        const CCDGEmulatorPack pack = stream.Pack(0);
        switch (dice(8)) {
        case 0:
            fast.Process_PresetMemory(pack), plain.PresetMemory(pack.data);
            break;
        case 1:
            fast.Process_Border(pack), plain.Border(pack.data);
            break;
        case 2:
            fast.Process_WriteFont(pack), plain.WriteFont(pack.data, false);
            break;
        case 3:
            fast.Process_WriteFontXor(pack), plain.WriteFont(pack.data, true);
            break;
        case 4:
            fast.Process_ScrollPreset(pack), plain.Scroll(pack.data, false);
            break;
        case 5:
            fast.Process_ScrollCopy(pack), plain.Scroll(pack.data, true);
            break;
        case 6:
            fast.Process_LoadCLUT07(pack), plain.LoadCLUT(0, pack.data);
            break;
        case 7:
            fast.Process_LoadCLUT8F(pack), plain.LoadCLUT(8, pack.data);
            break;
        }
    }

    void ChangeAnything(int what)
    {
        switch (what) {
        case 26: {
            const CRect area(dice(400) - 50, dice(300) - 50, dice(400) - 50, dice(300) - 50); // inverted ones, too
            fast.AddToModified(area);
            plain.AddToModified({area.left, area.top, area.right, area.bottom});
            break;
        }
        case 27:
        case 28:
            fast.ClearModified(), plain.modified = {};
            break;
        case 29:
            fast.SetDirty(), plain.dirty = true;
            break;
        case 30:
        case 31:
            fast.ClearDirty(), plain.dirty = false;
            break;
        case 32:
            fast.CreateSurface(false), plain.CreateSurface();
            break;
        case 33:
            fast.RecalcPixelColors(), plain.coloursChanged = false;
            for (int i = 0; i < 16; ++i)
                Expect(fast.GetPixelColor(i) == plain.palette[static_cast<std::size_t>(i)], "pixel colour");
            break;
        case 34: {
            const int pixels = dice.OneIn(4) ? dice(16) : dice(4);
            fast.SetOutlineWidth(pixels), plain.outlineWidth = pixels;
            break;
        }
        case 35:
            CompareMargins();
            break;
        default:
            ChangeRarely(dice(8));
        }
    }

    void ChangeRarely(int what)
    {
        switch (what) {
        case 0:
            fast.Reset(), plain.Reset();
            break;
        case 1:
            fast.Init(), plain.Init();
            break;
        case 2:
            fast.DestroySurface(), plain.DestroySurface();
            break;
        case 3:
            SetMasking(static_cast<Masking>(dice(3)));
            break;
        case 4:
            fast.SettingsChanged(), plain.settingsChanged = true;
            fast.UpdateSettings(), plain.UpdateSettings();
            std::erase_if(kept, [](const Kept& k) { return !k.plain.indexOnly; });
            break;
        default:
            break;
        }
    }

    void CompareMargins()
    {
        const int x = dice(100), y = dice(80);
        const CRect area(x, y, x + 1 + dice(200), y + 1 + dice(136));
        CDib image;
        ASSERT_TRUE(image.Create(area.Width(), area.Height(), dice.OneIn(2) ? 24 : 32));
        std::vector<u32> expected(static_cast<std::size_t>(area.Width() * area.Height()));
        fast.ClearMargins(image, area);
        plain.ClearMargins(expected, {area.left, area.top, area.right, area.bottom});
        for (int at = 0; at < area.Width() * area.Height(); ++at)
            Expect(image.GetPixelColor(at % area.Width(), at / area.Width()) == expected[static_cast<std::size_t>(at)],
                   "margins");
    }

    CCDGEmulator fast;
    PlainEmulator plain;
    Dice dice;
    std::vector<Kept> kept;
};

class RandomStream : public testing::TestWithParam<u32> {};

} // namespace

TEST_P(RandomStream, LooksAsIfEveryPixelWereDrawnAtOnce)
{
    const u32 seed = GetParam();
    const bool lookAlways = seed % 8 == 0; // the others look seldom, so that much is left undrawn for long
    TwoEmulators two(seed, static_cast<Masking>(seed % 3));
    for (int step = 0; step < (lookAlways ? 100 : 150); ++step) {
        two.Step(lookAlways);
        ASSERT_EQ(two.difference, "") << "seed " << seed << ", step " << step << ": " << two.history;
    }
    for (const unsigned looks : {0u, 0u + kReadyFirst})
        two.Look(looks | kLookAtEverything);
    ASSERT_EQ(two.difference, "") << "seed " << seed << ", at the end: " << two.history;
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomStream, testing::Range(0u, 40u));
