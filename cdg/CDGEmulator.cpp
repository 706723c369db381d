// The CD+G interpreter: life, dispatch and change flags. See CDGEmulator.h.
#include "CDGEmulator.h"

#include "PackLayout.h"
#include "ScopedLock.h"
#include "ScreenPicture.h"
#include "SweepPlayer.h"

#include <algorithm>
#include <cstring>

namespace CDGEmulator {

namespace {

using Guard = NV::ScopedLock<CCriticalSection>;

constexpr int longPadding = 30; // more padding packs than this end a run of colour-table loads

bool IsEmpty(const RECT& rect)
{
    return rect.right <= rect.left || rect.bottom <= rect.top;
}

} // namespace

CCDGEmulator::CCDGEmulator()
    : picture(std::make_unique<ScreenPicture>(indexImage)), sweeps(std::make_unique<SweepPlayer>())
{
    indexImage.Create(screenWidth, screenHeight, 8);
}

CCDGEmulator::~CCDGEmulator() = default;

void CCDGEmulator::Init()
{
    const Guard guard(lock);
    picture->Drop();
    indexImage.Create(screenWidth, screenHeight, 8);
    palette.fill(0);
    borderColour = backgroundColour = 0;
    horizontalOffset = verticalOffset = 0;
    firstChannel = -1;
    ModifiedAll();
    CreateSurface(false);
    picture->WholeScreenDrawn(palette); // the new index screen is all 0 already
    dirty = true;
    currentFrame.Destroy();
    cleanScreen = true;
    sweeps->Restart();
}

void CCDGEmulator::Reset()
{
    const Guard guard(lock);
    picture->BeforeIndexReplaced();
    picture->Invalidate();
    coloursChanged = dirty = true;
    indexImage.FillRect(indexImage.GetRect(), 0);
    palette.fill(0);
    PutPaletteIntoTable();
    cleanScreen = true;
    sweeps->Forget();
}

void CCDGEmulator::UpdateSettings()
{
    const Guard guard(lock);
    if (!settingsChanged.exchange(false))
        return;
    picture->settings.inAlpha = true;
    picture->settings.masking = true;
    currentFrame.Destroy();
    RebuildImages();
}

void CCDGEmulator::SetMasking(bool on, bool inAlpha)
{
    const Guard guard(lock);
    picture->settings.inAlpha = inAlpha;
    picture->settings.masking = on;
    RebuildImages();
}

void CCDGEmulator::RebuildImages()
{
    picture->Drop();
    CreateSurface(false);
    dirty = true;
    ModifiedAll();
}

void CCDGEmulator::SetOutlineWidth(int pixels)
{
    const Guard guard(lock);
    picture->settings.outline = std::clamp(pixels, 0, maxOutlineWidth);
}

// ---- Packs

bool CCDGEmulator::ProcessCommand(const CCDGEmulatorPack& pack, int packIndex, int limitPack)
{
    if (settingsChanged)
        UpdateSettings();
    if (packIndex != -1 && sweeps->IsActive()) {
        const Guard guard(lock);
        if (sweeps->Step(*this, pack, packIndex, limitPack))
            return false;
    }
    if (pack.instruction == 0) {
        ++emptyPackRun;
        return false;
    }
    CountRuns(pack.instruction);
    const Guard guard(lock);
    return ProcessLocked(pack.command, pack.instruction, pack.data);
}

int CCDGEmulator::ProcessPacks(const u8* raw, int count, int firstPack, int limitPack)
{
    if (settingsChanged)
        UpdateSettings();
    const Guard guard(lock);
    int handled = 0;
    for (int i = 0; i < count; ++i, raw += kPackSize) {
        if (firstPack != -1 && sweeps->IsActive() &&
            sweeps->Step(*this, CCDGEmulatorPack(raw), firstPack + i, limitPack))
            continue;
        const int instruction = raw[1] & kPackBits;
        if (instruction == 0) {
            ++emptyPackRun;
            continue;
        }
        CountRuns(instruction);
        handled += ProcessLocked(raw[0] & kPackBits, instruction, raw + 4);
    }
    return handled;
}

void CCDGEmulator::CountRuns(int instruction)
{
    if (emptyPackRun > longPadding)
        clutRun = 0;
    emptyPackRun = 0;
    const bool coloursLoaded = instruction == kLoadColours07 || instruction == kLoadColours8F;
    clutRun = coloursLoaded ? clutRun + 1 : 0;
}

bool CCDGEmulator::ProcessLocked(int command, int instruction, const u8* data)
{
    rebuildRequested = false;
    const bool handled = command == kCommandGraphics && Dispatch(instruction, data);
    if (rebuildRequested)
        RequestRebuild();
    return handled;
}

void CCDGEmulator::RequestRebuild()
{
    picture->Invalidate();
    coloursChanged = dirty = true;
}

// ---- What changed

void CCDGEmulator::Modified(int left, int top, int right, int bottom)
{
    if (IsEmpty(modifiedRect)) {
        modifiedRect = {left, top, right, bottom};
        return;
    }
    modifiedRect.left = std::min<LONG>(modifiedRect.left, left);
    modifiedRect.top = std::min<LONG>(modifiedRect.top, top);
    modifiedRect.right = std::max<LONG>(modifiedRect.right, right);
    modifiedRect.bottom = std::max<LONG>(modifiedRect.bottom, bottom);
}

void CCDGEmulator::ModifiedAll()
{
    modifiedRect = {0, 0, screenWidth, screenHeight};
}

void CCDGEmulator::AddToModified(CRect rect)
{
    const Guard guard(lock);
    rect.NormalizeRect();
    if (!IsEmpty(rect))
        Modified(rect.left, rect.top, rect.right, rect.bottom);
}

CRect CCDGEmulator::GetModified() const
{
    const Guard guard(lock);
    return modifiedRect;
}

bool CCDGEmulator::IsModified() const
{
    const Guard guard(lock);
    return !IsEmpty(modifiedRect);
}

void CCDGEmulator::ClearModified()
{
    const Guard guard(lock);
    modifiedRect = {};
}

void CCDGEmulator::SetDirty()
{
    const Guard guard(lock);
    dirty = true;
}

void CCDGEmulator::ClearDirty()
{
    const Guard guard(lock);
    dirty = false;
}

bool CCDGEmulator::IsDirty() const
{
    const Guard guard(lock);
    return dirty;
}

bool CCDGEmulator::IsCleanScreen()
{
    const Guard guard(lock);
    if (IsEmpty(modifiedRect))
        return cleanScreen;
    CRect area = indexImage.GetRect();
    if (cleanScreen)
        area &= CRect(modifiedRect); // the rest was clean and has not changed
    modifiedRect = {};
    cleanScreen = true;
    for (int y = area.top; y < area.bottom && cleanScreen; ++y) {
        const u8* row = indexImage.GetRow(y);
        cleanScreen = std::all_of(row + area.left, row + area.right, [](u8 index) { return index == 0; });
    }
    return cleanScreen;
}

void CCDGEmulator::SetTime(double seconds)
{
    const Guard guard(lock);
    time = seconds;
}

double CCDGEmulator::GetTime() const
{
    const Guard guard(lock);
    return time;
}

} // namespace CDGEmulator
