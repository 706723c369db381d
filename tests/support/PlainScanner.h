// What is in a stream, the plain way: the rules of the scan, one pack after the other, over the plain emulator.
//
// It is the truth that the library's scanner, analyser and thumbprints are held against. Streams are raw packs of 24
// bytes; one thread.
#pragma once

#include "support/PlainEmulator.h"

#include <array>
#include <utility>
#include <vector>

struct PlainScan {
    struct Screen {
        int lastPack = 0;
        std::vector<std::pair<int, int>> lines;
        bool operator==(const Screen&) const = default;
    };
    std::vector<Screen> screens;
    std::vector<std::pair<int, int>> activity;
    std::vector<std::array<int, 3>> xorTiles; // pack, column, row

    bool operator==(const PlainScan&) const = default;
};

/// Scans `packs`; the stream counts `packCount` packs, of which the last is the one that ends the last screen.
PlainScan ScanPlainly(const std::vector<u8>& packs, int packCount, int activityGap);

/// The bits of a thumbprint, one a byte.
std::vector<bool> ThumbprintPlainly(const std::vector<u8>& packs);

/// The packs before which every pixel was index 0.
std::vector<int> CleanScreensPlainly(const std::vector<u8>& packs);
