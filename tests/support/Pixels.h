#pragma once

#include "Dib.h"

/// What a picture of any depth holds at a place: an index, or a colour.
inline u32 Get(const CDib& image, int x, int y)
{
    return image.GetBitCount() == 8 ? image.GetPixelIndex(x, y) : image.GetPixelColor(x, y);
}
