// Pictures of nvtool: red, green, blue, top row first, and how the screen of a renderer becomes one.
#pragma once

#include "CDGRenderer.h"
#include "NVTypes.h"

#include <array>
#include <filesystem>
#include <string_view>
#include <vector>

namespace nvtool {

using Emulator = CDGEmulator::CCDGEmulator;
using Rgb = std::array<u8, 3>;
// Of a colour as the library has them, 0x00BBGGRR.
Rgb ToRgb(u32 colour);

// A plain value.
class Picture {
public:
    Picture(int width, int height, Rgb fill);
    int Width() const { return width; }
    int Height() const { return height; }
    // No check: x and y are inside.
    u8* At(int x, int y) { return &bytes[(size_t(y) * size_t(width) + size_t(x)) * 3]; }
    const u8* At(int x, int y) const { return &bytes[(size_t(y) * size_t(width) + size_t(x)) * 3]; }
    const u8* Bytes() const { return bytes.data(); }
    size_t Size() const { return bytes.size(); }

    // Puts another picture at a place, clipped to this one.
    void Paste(const Picture& other, int left, int top);
    // Draws the outline of a rectangle, right and bottom exclusive, inwards, clipped to the picture.
    void Frame(int left, int top, int right, int bottom, int thickness, Rgb colour);
    // Digits, ':' and '.' in small upright figures, each dot `dot` pixels wide; anything else leaves a gap.
    void Text(std::string_view text, int left, int top, int dot, Rgb colour);
    // Height of such a text in pixels.
    static int TextHeight(int dot);

private:
    int width, height;
    std::vector<u8> bytes;
};

enum class Area {
    Field,   // 300 × 216: the visible area on a field of the background colour
    Visible, // 288 × 192
};

// The screen at a time, as a viewer sees it. Border tiles keep remains of earlier pictures, so they are painted over
// with the background colour, as a player does with its margins.
Picture TakePicture(CCDGRenderer& renderer, double seconds, Area area);

// Every pixel as a square of `factor` × `factor`; the largest factor that is allowed for pictures is 16.
Picture Enlarged(const Picture& picture, int factor);
// Every square of 2 × 2 pixels as their average.
Picture Halved(const Picture& picture);

// Writes a PNG, whole or not at all. Throws Error.
void WritePng(const std::filesystem::path& path, const Picture& picture);

} // namespace nvtool
