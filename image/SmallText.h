// Letters for windows that draw themselves, the same on every system: ASCII letters, figures and a few signs of 5 by 7
// dots. Sizes are pixels.
#pragma once

#include "DibDrawing.h"

#include <string_view>

namespace NV {

constexpr int smallTextHeight = 7; // at scale 1
constexpr int smallTextAdvance = 6;

/// Draws with the top-left corner of the first letter at `at`, each dot `scale` pixels wide and high. Characters that
/// are not there leave a gap.
void DrawSmallText(CDibDrawing& drawing, CPoint at, std::string_view text, u32 ink, int scale = 2);

inline int SmallTextWidth(std::string_view text, int scale = 2)
{
    return static_cast<int>(text.size()) * smallTextAdvance * scale;
}

} // namespace NV
