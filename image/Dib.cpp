// Device-independent bitmaps: see Dib.h.
#include "Dib.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace {

COLORREF ToColour(const u8* pixel)
{
    return static_cast<COLORREF>(pixel[2] | pixel[1] << 8 | pixel[0] << 16);
}

void FromColour(COLORREF colour, u8* pixel)
{
    pixel[0] = static_cast<u8>(colour >> 16);
    pixel[1] = static_cast<u8>(colour >> 8);
    pixel[2] = static_cast<u8>(colour);
}

} // namespace

bool CDib::Create(int newWidth, int newHeight, int bitsPerPixel)
{
    Destroy();
    const bool sizeFits = newWidth >= 1 && newWidth <= maxSide && newHeight >= 1 && newHeight <= maxSide;
    if (!sizeFits || (bitsPerPixel != 8 && bitsPerPixel != 24 && bitsPerPixel != 32))
        return false;
    const int newPitch = (newWidth * (bitsPerPixel / 8) + 3) / 4 * 4;
    if (newPitch > (INT32_MAX - slackBytes) / newHeight) // sizes are int in the interface
        return false;
    try {
        bits.assign(static_cast<std::size_t>(newPitch) * static_cast<std::size_t>(newHeight) + slackBytes, 0);
    } catch (const std::bad_alloc&) {
        return false;
    }
    width = newWidth;
    height = newHeight;
    bitCount = bitsPerPixel;
    pitch = newPitch;
    return true;
}

void CDib::Destroy()
{
    width = height = bitCount = pitch = 0;
    bits = {};
    colourTable = {};
}

u8 CDib::GetPixelIndex(int x, int y) const
{
    if (bitCount != 8 || x < 0 || y < 0 || x >= width || y >= height)
        return 0;
    return GetRow(y)[x];
}

void CDib::SetPixelIndex(int x, int y, u8 index)
{
    if (bitCount == 8 && x >= 0 && y >= 0 && x < width && y < height)
        GetRow(y)[x] = index;
}

COLORREF CDib::GetPixelColor(int x, int y) const
{
    if (x < 0 || y < 0 || x >= width || y >= height)
        return 0;
    if (bitCount == 8)
        return GetTableColor(GetRow(y)[x]);
    return ToColour(GetRow(y) + x * (bitCount / 8));
}

void CDib::SetPixelColor(int x, int y, COLORREF colour)
{
    if (bitCount > 8 && x >= 0 && y >= 0 && x < width && y < height)
        FromColour(colour, GetRow(y) + x * (bitCount / 8));
}

COLORREF CDib::GetTableColor(int index) const
{
    if (index < 0 || index > 255)
        return 0;
    const RGBQUAD& entry = colourTable[static_cast<std::size_t>(index)];
    return RGB(entry.rgbRed, entry.rgbGreen, entry.rgbBlue);
}

void CDib::SetTableColor(int index, COLORREF colour)
{
    if (index < 0 || index > 255)
        return;
    RGBQUAD& entry = colourTable[static_cast<std::size_t>(index)];
    entry.rgbBlue = static_cast<BYTE>(colour >> 16);
    entry.rgbGreen = static_cast<BYTE>(colour >> 8);
    entry.rgbRed = static_cast<BYTE>(colour);
}

bool CDib::CopyRect(const CDib& source, const CRect& from, CPoint to)
{
    if (!IsValid() || source.bitCount != bitCount)
        return false;
    // Clip in 64 bits: rectangles come from callers and may reach anywhere.
    const i64 left = std::max<i64>({from.left, 0, static_cast<i64>(from.left) - to.x});
    const i64 top = std::max<i64>({from.top, 0, static_cast<i64>(from.top) - to.y});
    const i64 right = std::min<i64>({from.right, source.width, static_cast<i64>(from.left) - to.x + width});
    const i64 bottom = std::min<i64>({from.bottom, source.height, static_cast<i64>(from.top) - to.y + height});
    if (left >= right || top >= bottom)
        return true;
    const int pixel = bitCount / 8;
    const int x = static_cast<int>(left), toX = static_cast<int>(left - from.left + to.x);
    const int rows = static_cast<int>(bottom - top);
    const auto bytes = static_cast<std::size_t>(right - left) * static_cast<std::size_t>(pixel);
    const int fromY = static_cast<int>(top), toY = static_cast<int>(top - from.top + to.y);
    const bool upwards = &source == this && toY > fromY; // then the last row goes first
    for (int i = 0; i < rows; ++i) {
        const int y = upwards ? rows - 1 - i : i;
        std::memmove(GetRow(toY + y) + toX * pixel, source.GetRow(fromY + y) + x * pixel, bytes);
    }
    return true;
}

void CDib::FillRect(const CRect& area, u32 indexOrColour)
{
    const int left = std::max<int>(area.left, 0), right = std::min<int>(area.right, width);
    const int top = std::max<int>(area.top, 0), bottom = std::min<int>(area.bottom, height);
    for (int y = top; y < bottom && left < right; ++y) {
        u8* row = GetRow(y);
        if (bitCount == 8)
            std::memset(row + left, static_cast<int>(indexOrColour & 0xFF), static_cast<std::size_t>(right - left));
        else
            for (int x = left; x < right; ++x)
                FromColour(indexOrColour, row + x * (bitCount / 8));
    }
}
