// Palettes as reports show them.
#pragma once

#include "CDGEmulator.h"

#include <array>
#include <string>

namespace nvtool {

// "#rgb", a hexadecimal digit each for red, green and blue: all that the stream says of a colour.
using PaletteTexts = std::array<std::string, CDGEmulator::CCDGEmulator::colourCount>;
PaletteTexts PaletteOf(const CDGEmulator::CCDGEmulator& emulator);

} // namespace nvtool
