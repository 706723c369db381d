// Shows the stream's highlighting wipes as smooth ones: see SweepPlayer.h.
#include "SweepPlayer.h"

#include "PackLayout.h"
#include "ScreenPicture.h"

#include <algorithm>

namespace CDGEmulator {

namespace {

constexpr int maxIntrusions = 3;

bool IsTile(const CCDGEmulatorPack& pack)
{
    return pack.instruction == kTileBlock || pack.instruction == kTileBlockXor;
}

CRect TileRect(const CCDGEmulatorPack& pack)
{
    const TileBlock tile(pack.data);
    return CRect(tile.column * 6, tile.row * 12, tile.column * 6 + 6, tile.row * 12 + 12);
}

bool Intersect(const CRect& a, const CRect& b)
{
    CRect common;
    return common.IntersectRect(&a, &b) != FALSE;
}

} // namespace

void SweepPlayer::SetList(std::vector<ReplacementSweep> sweeps)
{
    const CRect screen(0, 0, CCDGEmulator::screenWidth, CCDGEmulator::screenHeight);
    std::erase_if(sweeps, [&screen](const ReplacementSweep& sweep) {
        return sweep.startPack < 0 || sweep.endPack <= sweep.startPack || !Intersect(sweep.rect, screen);
    });
    for (ReplacementSweep& sweep : sweeps)
        sweep.rect &= screen;
    std::stable_sort(sweeps.begin(), sweeps.end(),
                     [](const ReplacementSweep& a, const ReplacementSweep& b) { return a.endPack < b.endPack; });
    list = std::move(sweeps);
    Restart();
}

void SweepPlayer::SwitchOn(bool on)
{
    switchedOn = on;
    Update();
}

void SweepPlayer::Forget()
{
    current = -1;
    held.clear();
}

void SweepPlayer::Restart()
{
    Forget();
    intrusions = 0;
    spoiled = false;
    Update();
}

int SweepPlayer::Find(int pack) const
{
    const auto sweep = std::upper_bound(list.begin(), list.end(), pack,
                                        [](int at, const ReplacementSweep& s) { return at < s.endPack; });
    if (sweep == list.end() || sweep->startPack > pack)
        return -1;
    const double last = std::max<double>(sweep->lastPack, sweep->startPack + sweep->duration * kPacksPerSecond);
    return pack <= last ? static_cast<int>(sweep - list.begin()) : -1;
}

bool SweepPlayer::Step(CCDGEmulator& emulator, const CCDGEmulatorPack& pack, int packIndex, int limitPack)
{
    const int found = Find(packIndex);
    const bool unseen = found >= 0 && found != current && Get(found).endPack < limitPack; // over before anybody looks
    if (found < 0 || unseen) {
        if (!held.empty())
            PutBack(emulator, false);
        return false;
    }
    if (found != current) {
        if (packIndex != Get(found).startPack)
            return false; // entered past its start: drawn as the stream draws it
        Begin(emulator, found);
    }
    const ReplacementSweep& sweep = Get(found);
    const bool heldBack = HoldBack(sweep, pack, packIndex);
    Uncover(emulator, packIndex);
    if (packIndex == sweep.endPack - 1) {
        PutBack(emulator, true);
        spoiled = intrusions > maxIntrusions;
        Update();
    }
    return heldBack;
}

void SweepPlayer::Begin(CCDGEmulator& emulator, int index)
{
    const RECT modified = emulator.modifiedRect; // the finished picture is made out of sight
    emulator.TakeState(before, false);
    for (const IndexedPack& tile : Get(index).packs)
        if (tile.pack.command == kCommandGraphics && tile.pack.instruction == kTileBlockXor)
            emulator.Process_WriteFontXor(tile.pack);
    emulator.TakeState(after, false);
    emulator.PutState(before);
    emulator.modifiedRect = modified;
    current = index;
    held.clear();
}

bool SweepPlayer::HoldBack(const ReplacementSweep& sweep, const CCDGEmulatorPack& pack, int packIndex)
{
    const bool ofSweep = pack.instruction == kTileBlockXor && packIndex <= sweep.lastPack;
    const bool intruder = !ofSweep && IsTile(pack) && Intersect(TileRect(pack), sweep.rect);
    if (intruder)
        ++intrusions;
    if (!ofSweep && !intruder)
        return false;
    if (pack.command == kCommandGraphics)
        held.push_back({packIndex, pack});
    return true;
}

void SweepPlayer::Uncover(CCDGEmulator& emulator, int packIndex)
{
    const ReplacementSweep& sweep = Get(current);
    const double share =
        static_cast<double>(packIndex - sweep.startPack) / (static_cast<double>(sweep.endPack) - sweep.startPack + 1);
    const int width = static_cast<int>(sweep.rect.Width() * share + 0.5);
    if (width <= 0)
        return;
    Show(emulator, after, CRect(sweep.rect.left, sweep.rect.top, sweep.rect.left + width, sweep.rect.bottom));
}

void SweepPlayer::EndRunning(CCDGEmulator& emulator)
{
    if (current >= 0)
        PutBack(emulator, true);
}

// Puts the picture from before the sweep back and draws the held packs. Kept as is: a sweep that is left early draws
// only its XOR tiles, one that ends draws tiles of both kinds.
void SweepPlayer::PutBack(CCDGEmulator& emulator, bool tilesToo)
{
    const CRect area = Get(current).rect;
    Show(emulator, before, area);
    for (const IndexedPack& tile : held)
        if (tile.pack.instruction == kTileBlockXor)
            emulator.Process_WriteFontXor(tile.pack);
        else if (tilesToo && tile.pack.instruction == kTileBlock)
            emulator.Process_WriteFont(tile.pack);
    Forget();
    emulator.RequestRebuild();
    emulator.AddToModified(area);
}

void SweepPlayer::Show(CCDGEmulator& emulator, const CCDGEmulator::typeState& picture, const CRect& area)
{
    emulator.picture->BeforeIndexReplaced();
    emulator.indexImage.CopyRect(picture.ScreenIndexImage, area, area.TopLeft());
    emulator.picture->PutImages(picture.ScreenColourImage, picture.ScreenMaskImage, area);
    emulator.RequestRebuild();
    emulator.AddToModified(area);
}

} // namespace CDGEmulator
