// Holds the library's emulator against the plain one. One thread.
#pragma once

#include "CDGEmulator.h"
#include "support/PlainEmulator.h"

#include <string>

/// What is looked at. Each look may bring pictures up to date, so tests choose them at random.
enum Observable : unsigned {
    kLookAtState = 1,    // palette, offsets, flags, runs, modified rectangle
    kLookAtIndex = 2,    // all pixels and the colour table
    kLookAtColours = 4,  // all pixels as they stand, alpha bytes included
    kLookAtMask = 8,     // all pixels as they stand
    kLookAtVisible = 16, // GetMask of the visible area
    kReadyFirst = 32,    // ReadyScreen before the rest
    kCleanLast = 64,     // IsCleanScreen after the rest, which takes the modified rectangle
    kLinesLast = 128,    // DetectLines after the rest
    kOutlineLines = 256, // UpdateMaskOutline before those
    kLookAtEverything = kLookAtState | kLookAtIndex | kLookAtColours | kLookAtMask | kLookAtVisible,
    kAllLooks = 512
};

/// Describes the first difference, or is empty.
std::string Difference(CDGEmulator::CCDGEmulator& fast, PlainEmulator& plain, unsigned looks = kLookAtEverything);

/// What holds whatever was fed: indices below 16, offsets in range, and a snapshot brings the screen back. Describes
/// what does not, or is empty. Leaves the screen as it was; the flags change as with `RestoreState`.
std::string BrokenInvariant(CDGEmulator::CCDGEmulator& emulator);
