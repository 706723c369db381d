// The CD+G interpreter on any bytes: the fast emulator and the plain one show the same, and what holds for every screen
// holds. With sweeps, which the plain one does not know, only the latter.
//
// Input: a style byte, then packs of 24 bytes. Style: bits 1-0 masking (off, separate, alpha, alpha switched on half
// way), bit 2 packs in one run instead of one by one, bit 3 looks after every pack, bit 4 the first pack describes a
// sweep, bit 5 the screen of half way comes back at the end.
#include "CDGEmulator.h"
#include "Check.h"
#include "support/CompareEmulators.h"

#include <algorithm>
#include <cstdio>

using CDGEmulator::CCDGEmulator;
using Masking = PlainEmulator::Masking;

namespace {

constexpr int maxPacks = 200; // bounds the plain emulator's work on one input

void CheckEmpty(const std::string& complaint)
{
    if (!complaint.empty())
        std::fprintf(stderr, "%s\n", complaint.c_str());
    FUZZ_CHECK(complaint.empty());
}

struct Style {
    Masking masking;
    bool switchHalfWay, inOneRun, lookAlways, sweep, snapshots;
    explicit Style(u8 byte)
        : masking(static_cast<Masking>(byte % 4 == 3 ? 0 : byte % 4)), switchHalfWay(byte % 4 == 3),
          inOneRun((byte & 4) != 0), lookAlways((byte & 8) != 0), sweep((byte & 16) != 0), snapshots((byte & 32) != 0)
    {
    }
};

CDGEmulator::ReplacementSweep SweepFrom(const u8* raw)
{
    CDGEmulator::ReplacementSweep sweep;
    sweep.startPack = raw[0];
    sweep.lastPack = sweep.startPack + raw[1];
    sweep.endPack = sweep.startPack + raw[2] - 8;
    sweep.duration = raw[3] / 300.0 - 0.05;
    sweep.rect = CRect(raw[4] - 20, raw[5] - 20, raw[6] * 2, raw[7]);
    for (int i = 0; i < 4; ++i)
        sweep.packs.push_back({sweep.startPack + i, CCDGEmulatorPack(raw)});
    return sweep;
}

void PlayWithSweep(CCDGEmulator& emulator, const Style& style, const u8* raw, int packs)
{
    emulator.SetReplacementSweeps({SweepFrom(raw)});
    const int limit = raw[8] * 2;
    if (style.inOneRun)
        emulator.ProcessPacks(raw, packs, 0, limit);
    for (int i = 0; i < packs && !style.inOneRun; ++i)
        emulator.ProcessCommand(CCDGEmulatorPack(raw + i * kPackSize), i, limit);
    emulator.ReadyScreen();
    emulator.ScreenColourImage();
}

void PlayBoth(CCDGEmulator& fast, PlainEmulator& plain, const Style& style, const u8* raw, int packs)
{
    for (int i = 0; i < packs;) {
        const int count = style.inOneRun ? std::min(1 + raw[i * kPackSize + 23] % 64, packs - i) : 1;
        int expected = 0;
        for (int p = i; p < i + count; ++p)
            expected += plain.ProcessCommand(raw + p * kPackSize);
        if (style.inOneRun)
            FUZZ_CHECK(fast.ProcessPacks(raw + i * kPackSize, count, i, packs) == expected);
        else
            FUZZ_CHECK(fast.ProcessCommand(CCDGEmulatorPack(raw + i * kPackSize), i, packs) == (expected != 0));
        if (style.lookAlways)
            CheckEmpty(Difference(fast, plain, raw[i * kPackSize + 20] * 2u));
        i += count;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const u8* bytes, std::size_t size)
{
    if (size < 1 + kPackSize)
        return 0;
    const Style style(*bytes++);
    const int packs = static_cast<int>(std::min<std::size_t>((size - 1) / kPackSize, maxPacks)), half = packs / 2;
    CCDGEmulator fast;
    fast.SetMasking(style.masking != Masking::Off, style.masking == Masking::Alpha);
    fast.Init();
    if (style.sweep) {
        PlayWithSweep(fast, style, bytes, packs);
        CheckEmpty(BrokenInvariant(fast));
        return 0;
    }
    PlainEmulator plain;
    plain.SetMasking(style.masking);
    plain.Init();
    PlayBoth(fast, plain, style, bytes, half);
    if (style.switchHalfWay) {
        fast.SettingsChanged();
        plain.settingsChanged = true;
    }
    CCDGEmulator::typeState state;
    fast.StoreState(state, half % 2 == 0);
    const PlainEmulator::Snapshot plainState = plain.StoreState(half % 2 == 0);
    PlayBoth(fast, plain, style, bytes + half * kPackSize, packs - half);
    CheckEmpty(Difference(fast, plain));
    if (style.snapshots && !style.switchHalfWay) {
        FUZZ_CHECK(fast.RestoreState(state, true));
        plain.RestoreState(plainState);
        CheckEmpty(Difference(fast, plain, kReadyFirst | kLookAtEverything));
    }
    CheckEmpty(BrokenInvariant(fast));
    return 0;
}
