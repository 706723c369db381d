// The replacement sweeps as callers see them. See CDGEmulator.h; SweepPlayer.h plays them.
#include "CDGEmulator.h"

#include "ScopedLock.h"
#include "SweepPlayer.h"

namespace CDGEmulator {

namespace {

using Guard = NV::ScopedLock<CCriticalSection>;

} // namespace

void CCDGEmulator::SetReplacementSweeps(std::vector<ReplacementSweep> newSweeps)
{
    const Guard guard(lock);
    sweeps->EndRunning(*this);
    sweeps->SetList(std::move(newSweeps));
    sweepsChanged = true;
}

void CCDGEmulator::EnableReplacementSweeps(bool on)
{
    const Guard guard(lock);
    if (!on)
        sweeps->EndRunning(*this);
    sweeps->SwitchOn(on);
}

bool CCDGEmulator::AreSweepsEnabled() const
{
    return sweeps->IsActive();
}

int CCDGEmulator::HasReplacementSweep(int packIndex, bool force) const
{
    const Guard guard(lock);
    return force || sweeps->IsActive() ? sweeps->Find(packIndex) : -1;
}

int CCDGEmulator::CanMakeScreenshot(int packIndex) const
{
    const Guard guard(lock);
    const int sweep = HasReplacementSweep(packIndex, false);
    return sweep >= 0 && packIndex > sweeps->Get(sweep).startPack ? sweeps->Get(sweep).endPack : packIndex;
}

int CCDGEmulator::GetIntrusionCount() const
{
    const Guard guard(lock);
    return sweeps->GetIntrusions();
}

} // namespace CDGEmulator
