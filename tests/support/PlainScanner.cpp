// The rules of the scan, one pack after the other: see PlainScanner.h.
#include "support/PlainScanner.h"

#include <algorithm>

namespace {

constexpr std::size_t packSize = 24;

struct Masked {
    std::array<u8, packSize> bytes;
    explicit Masked(const u8* raw)
    {
        std::transform(raw, raw + packSize, bytes.begin(), [](u8 b) { return b & 0x3F; });
    }
};

std::vector<u8> CopyTile(const PlainEmulator& emulator, PlainEmulator::Rect tile)
{
    std::vector<u8> pixels;
    for (int y = tile.top; y < tile.bottom; ++y)
        for (int x = tile.left; x < tile.right; ++x)
            pixels.push_back(emulator.index[static_cast<std::size_t>(y * PlainEmulator::width + x)]);
    return pixels;
}

void PasteTile(PlainEmulator& emulator, PlainEmulator::Rect tile, const std::vector<u8>& pixels)
{
    auto pixel = pixels.begin();
    for (int y = tile.top; y < tile.bottom; ++y)
        for (int x = tile.left; x < tile.right; ++x)
            emulator.index[static_cast<std::size_t>(y * PlainEmulator::width + x)] = *pixel++;
}

std::vector<std::pair<int, int>> Lines(PlainEmulator& emulator)
{
    emulator.UpdateMaskOutline();
    emulator.DetectLines();
    return emulator.lines;
}

} // namespace

PlainScan ScanPlainly(const std::vector<u8>& packs, int packCount, int activityGap)
{
    PlainScan scan;
    scan.activity.emplace_back(0, 0);
    PlainEmulator emulator;
    emulator.SetMasking(PlainEmulator::Masking::Separate);
    emulator.Init();
    std::vector<std::pair<int, int>> lines;
    bool contentPending = false;
    for (int i = 0; i < static_cast<int>(packs.size() / packSize); ++i) {
        const Masked pack(&packs[static_cast<std::size_t>(i) * packSize]);
        const bool isLast = i == packCount - 1;
        if (pack.bytes[0] != 9 && !isLast)
            continue;
        if (scan.activity.back().second + activityGap < i)
            scan.activity.emplace_back(i, i);
        else
            scan.activity.back().second = i;
        const int instruction = pack.bytes[1];
        const bool isScroll = instruction == 20 || instruction == 24;
        const bool isTile = instruction == 6 || instruction == 38;
        bool screenChange = instruction == 1 || isScroll;
        const int row = std::min(pack.bytes[6] & 0x1F, 17), column = std::min(pack.bytes[7] & 0x3F, 49);
        const PlainEmulator::Rect tile{column * 6, row * 12, column * 6 + 6, row * 12 + 12};
        const std::vector<u8> before = CopyTile(emulator, tile);
        if (instruction == 38)
            scan.xorTiles.push_back({i, column, row});
        if (isLast)
            screenChange = contentPending = true;
        if (screenChange && contentPending)
            lines = Lines(emulator);
        emulator.ProcessCommand(pack.bytes.data());
        if (isTile) {
            const std::vector<u8> after = CopyTile(emulator, tile);
            bool added = false, erased = false;
            for (std::size_t p = 0; p < before.size() && !erased; ++p) {
                added = added || (before[p] == 0 && after[p] != 0);
                erased = before[p] != 0 && after[p] == 0;
            }
            if (erased && !contentPending && !scan.screens.empty())
                scan.screens.back().lastPack = i - 1;
            if (erased && contentPending) {
                PasteTile(emulator, tile, before);
                lines = Lines(emulator);
                PasteTile(emulator, tile, after);
                screenChange = true;
            }
            contentPending = contentPending || added;
        }
        if (screenChange) {
            if (contentPending || scan.screens.empty())
                scan.screens.push_back({i - 1, lines});
            else
                scan.screens.back().lastPack = i - 1;
            contentPending = false;
        }
        if (isScroll)
            contentPending = true;
    }
    return scan;
}

std::vector<bool> ThumbprintPlainly(const std::vector<u8>& packs)
{
    std::vector<bool> bits;
    PlainEmulator emulator;
    emulator.Init();
    for (std::size_t i = 0; i < packs.size() / packSize; ++i) {
        emulator.ProcessCommand(&packs[i * packSize]);
        if (i == 0 || i % 6000 != 0)
            continue;
        for (int y = 12; y < 204; ++y)
            for (int x = 6; x < 294; ++x)
                bits.push_back(emulator.index[static_cast<std::size_t>(y * PlainEmulator::width + x)] != 0);
    }
    return bits;
}

std::vector<int> CleanScreensPlainly(const std::vector<u8>& packs)
{
    std::vector<int> clean;
    PlainEmulator emulator;
    emulator.Init();
    for (std::size_t i = 0; i < packs.size() / packSize; ++i) {
        emulator.ReadyScreen();
        if (emulator.IsCleanScreen())
            clean.push_back(static_cast<int>(i));
        emulator.ProcessCommand(&packs[i * packSize]);
    }
    return clean;
}
