// What is in a CD+G stream: its screens with their text lines, when something is drawn, and a thumbprint by which two
// streams that show the same graphics find each other.
//
// Units: packs (300 a second, numbered from 0) and pixel rows of the 300 × 216 screen. A scan runs on the caller's
// thread; another thread may set `m_bStopRequested` meanwhile and nothing else. Read the results when the scan is over.
#pragma once

#include "NVExport.h"
#include "NVTypes.h"

#include <atomic>
#include <deque>
#include <functional>
#include <utility>
#include <vector>

/// One screen of a stream: everything from its first tile to the erasure that ends it.
struct NVLIB_API CDGScreenInfo {
    i32 lastPack = 0; // the last pack that belongs to it; the next screen begins behind it
    /// Text lines as the emulator found them just before the screen was erased: first and last pixel row with ink.
    std::vector<std::pair<i32, i32>> lines;
};

/// One XOR tile of the stream, as it was drawn.
struct NVLIB_API CDGXorTile {
    i32 pack = 0;
    i32 column = 0; // 0…49
    i32 row = 0;    // 0…17
};

/// A bool that one thread sets and another reads, and that is copied like a bool.
class CCDGStopFlag {
public:
    // NOLINTNEXTLINE(google-explicit-constructor): takes the place of a bool
    CCDGStopFlag(bool on = false) : flag(on) {}
    CCDGStopFlag(const CCDGStopFlag& other) : flag(bool(other)) {}
    CCDGStopFlag& operator=(const CCDGStopFlag& other) { return *this = bool(other); }
    CCDGStopFlag& operator=(bool on)
    {
        flag.store(on, std::memory_order_relaxed);
        return *this;
    }
    // NOLINTNEXTLINE(google-explicit-constructor): takes the place of a bool
    operator bool() const { return flag.load(std::memory_order_relaxed); }

private:
    std::atomic<bool> flag;
};

/// Parts a CD+G stream into screens. A plain value: copies are independent.
class NVLIB_API CCDGScanner {
public:
    /// A scan ran to its end or to a stop request. Nothing clears it.
    bool m_bScanComplete = false;
    /// A scan is running.
    bool m_bScanning = false;
    /// Set it from any thread to end a running scan, which then counts as complete. The scanner never clears it.
    CCDGStopFlag m_bStopRequested;
    /// In the order of their packs.
    std::vector<CDGScreenInfo> m_Screens;
    /// First and last pack of each stretch in which graphics packs come. The first one begins at pack 0.
    std::deque<std::pair<i32, i32>> m_ActivityRanges;
    /// Graphics packs that are at most this many packs apart belong to one stretch.
    i32 m_nActivityGap = 300;
    /// In the order of their packs. Kept as is: a further scan adds to them.
    std::vector<CDGXorTile> m_XorTiles;

    /// Scans the file `path` (one that ends in "bin", in any case, is a disc image). Asks `isCancelled` once for each
    /// pack. True when the scan ran to the end or was stopped by `m_bStopRequested`. False when the file does not open
    /// (the results are then those of before) or `isCancelled` gave true (they are then those of the packs so far).
    /// Throws `std::bad_function_call` when `isCancelled` is empty.
    bool ScanFile(const char* path, std::function<bool()> isCancelled);
    /// Replaces `lines` by those of the screen that shows at `pack`; none when no screen ends at or after it.
    void GetScannedLines(int pack, std::vector<std::pair<int, int>>& lines);

    /// Makes the thumbprint of a stream: one bit for each visible pixel every 20 seconds, set where the palette index
    /// is not 0. The layout is in docs/formats.md. False, with `buffer` null and `size` 0, when the file does not open.
    /// The buffer is the caller's, who gives it back with `ReleaseCDGThumbprint`. No memory: `std::bad_alloc`.
    static bool GetCDGThumbprint(const char* path, unsigned char*& buffer, int& size);
    /// Releases a buffer of `GetCDGThumbprint`; null is fine.
    static void ReleaseCDGThumbprint(unsigned char* buffer);
    /// The number of bits in which two thumbprints differ; 0 says that both streams show the same graphics. Images that
    /// only one has are compared with a blank screen. -1 when one of the two is no thumbprint: any bytes of any length
    /// may be given, bytes behind a whole thumbprint are ignored. Changes neither buffer.
    static int GetCDGThumbprintDiff(unsigned char* a, int aSize, unsigned char* b, int bSize);
};
