// Shows the stream's highlighting wipes as smooth ones: while a sweep runs, the tiles that draw it are held back, and
// the finished picture is uncovered from the left, a little more with every pack. At the sweep's end the held tiles are
// drawn after all, so that the screen is again exactly what the stream makes it.
//
// Runs under the emulator's lock.
#pragma once

#include "CDGEmulator.h"

#include <atomic>
#include <vector>

namespace CDGEmulator {

class SweepPlayer {
public:
    // Sweeps that make no sense are left out; the rest is sorted by end pack.
    void SetList(std::vector<ReplacementSweep> sweeps);
    void SwitchOn(bool on);
    bool IsActive() const { return active.load(std::memory_order_relaxed); }
    int GetIntrusions() const { return intrusions; }

    // The sweep at a pack, or -1.
    int Find(int pack) const;
    const ReplacementSweep& Get(int index) const { return list[static_cast<std::size_t>(index)]; }

    // What a pack has to do with the sweeps. True when it was held back: it must not be drawn now.
    bool Step(CCDGEmulator& emulator, const CCDGEmulatorPack& pack, int packIndex, int limitPack)
        NV_REQUIRES(emulator.lock);
    // The running sweep ends at once: its held tiles are drawn.
    void EndRunning(CCDGEmulator& emulator) NV_REQUIRES(emulator.lock);
    // The running sweep and its held tiles are forgotten: the screen was replaced by another.
    void Forget();
    // Starts over: no sweep runs, intrusions count from 0.
    void Restart();

private:
    void Begin(CCDGEmulator& emulator, int index) NV_REQUIRES(emulator.lock);
    bool HoldBack(const ReplacementSweep& sweep, const CCDGEmulatorPack& pack, int packIndex);
    void Uncover(CCDGEmulator& emulator, int packIndex) NV_REQUIRES(emulator.lock);
    void PutBack(CCDGEmulator& emulator, bool tilesToo) NV_REQUIRES(emulator.lock);
    static void Show(CCDGEmulator& emulator, const CCDGEmulator::typeState& picture, const CRect& area)
        NV_REQUIRES(emulator.lock);
    void Update() { active = switchedOn && !spoiled && !list.empty(); }

    std::vector<ReplacementSweep> list; // by end pack
    int current = -1;
    CCDGEmulator::typeState before, after;
    std::vector<IndexedPack> held; // the stream's packs that wait for the sweep's end
    int intrusions = 0;
    bool switchedOn = true;
    bool spoiled = false; // the stream draws other things into the swept areas
    std::atomic<bool> active = false;
};

} // namespace CDGEmulator
