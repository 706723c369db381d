// See SilenceRuns.h. Music crosses zero all the time, so most words of a mask are mixed; a word therefore costs the
// same few steps whatever it holds.
#include "SilenceRuns.h"

#include "LoudMask.h"

#include <bit>

namespace NV {

void SilenceRuns::EndRun()
{
    if (run >= minimumRun)
        found.emplace_back(static_cast<int>(start), static_cast<int>(start + run));
}

void SilenceRuns::AddQuiet(i64 frames)
{
    if (run == 0 && frames > 0)
        start = at;
    run += frames;
    at += frames;
}

/// The rule itself.
void SilenceRuns::AddFrame(bool loud)
{
    if (!loud) {
        AddQuiet(1);
        return;
    }
    if (at - lastLoud > clickWindow) {
        ++run; // a click; the run's start stays
    } else {
        EndRun();
        run = 0;
    }
    lastLoud = at++;
}

/// The same for 64 frames at once. Needs a click window and a minimum run of at least 64: then all loud frames of a
/// word but its first are near another one, and no quiet stretch inside a word is long enough to report.
void SilenceRuns::AddWord(u64 loud)
{
    const i64 base = at;
    if (loud == 0) {
        AddQuiet(maskFrames);
        return;
    }
    const int first = std::countr_zero(loud);
    AddQuiet(first);
    AddFrame(true);
    const u64 others = loud & (loud - 1);
    if (others == 0) { // one loud frame, perhaps a click: its run goes on
        AddQuiet(maskFrames - 1 - first);
        return;
    }
    AddQuiet(std::countr_zero(others) - first - 1);
    AddFrame(true); // ends the run
    const int last = maskFrames - 1 - std::countl_zero(loud);
    run = 0;
    lastLoud = base + last;
    at = lastLoud + 1;
    AddQuiet(maskFrames - 1 - last);
}

void SilenceRuns::Add(const u64* loud, i64 frames)
{
    if (minimumRun >= maskFrames && clickWindow >= maskFrames) {
        for (; frames >= maskFrames; frames -= maskFrames)
            AddWord(*loud++);
    }
    for (i64 k = 0; k < frames; ++k)
        AddFrame((loud[k / maskFrames] >> (k % maskFrames) & 1) != 0);
}

std::vector<std::pair<int, int>> SilenceRuns::Finish()
{
    EndRun();
    return std::move(found);
}

} // namespace NV
