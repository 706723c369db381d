// Text lines of the CD+G screen, found in the mask. See CDGEmulator.h.
#include "CDGEmulator.h"

#include "ScopedLock.h"
#include "ScreenPicture.h"
#include "TextLines.h"

#include <algorithm>

namespace CDGEmulator {

namespace {

using Guard = NV::ScopedLock<CCriticalSection>;

constexpr std::size_t maxTextLines = 9;
constexpr int maxTextHeight = 40;
constexpr int minTextHeight = 8;

} // namespace

void CCDGEmulator::UpdateMaskOutline()
{
    const Guard guard(lock);
    if (!picture->HasMask())
        return;
    picture->Mask().RebuildOutlined(indexImage, backgroundColour, picture->settings.outline);
    picture->MarkMaskValid();
}

void CCDGEmulator::DetectLines()
{
    const Guard guard(lock);
    InkRows ink;
    for (int y = 0; y < screenHeight; ++y) {
        const MaskPlane::Row& row = std::as_const(*picture).Mask().GetRow(y);
        ink.Set(y, std::any_of(row.begin(), row.end(), [](u64 word) { return word != 0; }));
    }
    FindTextLines(ink, lines);
}

bool CCDGEmulator::IsThisTextPage() const
{
    const Guard guard(lock);
    if (lines.size() > maxTextLines)
        return false;
    int highest = 0, lowest = 9999;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const int height = lines[i].second - lines[i].first;
        highest = std::max(highest, height);
        if (i > 0)
            lowest = std::min(lowest, height);
    }
    return highest <= maxTextHeight && lowest >= minTextHeight;
}

} // namespace CDGEmulator
