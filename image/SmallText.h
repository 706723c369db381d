// Letters for windows that draw themselves, the same on every system: ASCII, of 5 by 7 dots. PlainLetters.h makes
// ASCII of other text. Sizes are pixels.
#pragma once

#include "DibDrawing.h"

#include <string_view>

namespace NV {

constexpr int smallTextHeight = 7; // at scale 1
constexpr int smallTextAdvance = 6;
constexpr char unknownLetter = 0x7F; // an empty box

/// Draws with the top-left corner of the first letter at `at`, each dot `scale` pixels wide and high. Characters that
/// are not there leave a gap.
void DrawSmallText(CDibDrawing& drawing, CPoint at, std::string_view text, u32 ink, int scale = 2);

inline int SmallTextWidth(std::string_view text, int scale = 2)
{
    return static_cast<int>(text.size()) * smallTextAdvance * scale;
}

} // namespace NV
