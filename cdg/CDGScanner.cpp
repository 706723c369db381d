// Parting a CD+G stream into screens: see CDGScanner.h. Packs, pixel rows.
//
// Only the index screen is drawn, and a tile is compared with itself as it is drawn. The results grow pack by pack, so
// that a scan that is cancelled leaves those of the packs before.
#include "CDGScanner.h"

#include "CDGInputFile.h"
#include "IndexScreen.h"
#include "PackPieces.h"
#include "TextLines.h"

#include <algorithm>

namespace {

using namespace CDGEmulator;

constexpr u64 bit4 = 0x101010101010;

// Bit 4 of each byte whose pixel is index 0 in `b` and not in `a`; the other bits are of no account. Indices are below
// 16, so adding 15 carries into that bit of just those bytes that are not 0.
u64 OnlyIn(u64 a, u64 b)
{
    constexpr u64 fifteen = 0x0F0F0F0F0F0F;
    return (a + fifteen) & ~(b + fifteen);
}

// Whether a tile has set a pixel that was clear. The comparison goes row by row, left to right, and ends at the first
// pixel that was erased.
bool AddsBeforeErasing(const TilePixels& before, const TilePixels& after)
{
    for (std::size_t r = 0; r < before.size(); ++r) {
        const u64 gone = OnlyIn(before[r], after[r]) & bit4, come = OnlyIn(after[r], before[r]) & bit4;
        if ((gone | come) != 0)
            return (come & (gone - 1)) != 0; // left of the first erased one; all of a row without
    }
    return false;
}

class StreamScan {
public:
    StreamScan(CCDGScanner& scanner, int packCount)
        : results(scanner), range(&scanner.m_ActivityRanges.back()), lastPack(packCount - 1)
    {
    }

    // A graphics pack, or the last one of the stream, whatever it is.
    void Add(const u8* raw, int pack)
    {
        const bool graphics = raw[0] == kCommandGraphics;
        const int instruction = raw[1];
        CountActivity(pack);
        bool screenChange = false, scrolled = false;
        if (pack == lastPack) {
            screenChange = contentPending = true;
            ink.FindLines(screen, lines);
        }
        if (IsTile(instruction)) {
            const TileBlock tile(raw + 4);
            if (instruction == kTileBlockXor)
                results.m_XorTiles.push_back({pack, tile.column, tile.row});
            if (graphics)
                screenChange |= AddTile(tile, instruction == kTileBlockXor, pack);
        } else {
            scrolled = instruction == kScrollPreset || instruction == kScrollCopy;
            if (scrolled || instruction == kMemoryPreset) {
                screenChange = true;
                if (contentPending)
                    ink.FindLines(screen, lines);
            }
            ApplyOther(raw);
        }
        if (screenChange)
            EndScreen(pack - 1);
        contentPending |= scrolled; // Kept as is: also when there is nothing to be seen
    }

private:
    void CountActivity(int pack)
    {
        if (i64{range->second} + results.m_nActivityGap < pack)
            range = &results.m_ActivityRanges.emplace_back(pack, pack);
        else
            range->second = pack;
    }

    void ApplyOther(const u8* raw)
    {
        if (raw[0] != kCommandGraphics)
            return;
        const int instruction = raw[1], background = screen.BackgroundColour();
        const u8* const data = raw + 4;
        screen.Apply(raw);
        const bool moved = (instruction == kScrollPreset || instruction == kScrollCopy) && ScrollBlock(data).Moves();
        if (instruction == kMemoryPreset && MemoryPreset(data).repeat == 0)
            ink.AllCleared();
        else if (moved || background != screen.BackgroundColour())
            ink.AllChanged();
    }

    // True when this erases content: the screen was over before it.
    bool AddTile(const TileBlock& tile, bool exclusiveOr, int pack)
    {
        if (!IsDrawn(tile))
            return false;
        TilePixels before, after;
        u64 gone = 0, come = 0;
        if (contentPending) { // more of it makes no difference
            screen.DrawTile(tile, exclusiveOr, [&](std::size_t row, u64 was, u64 is) {
                before[row] = was;
                gone |= OnlyIn(was, is);
            });
        } else {
            screen.DrawTile(tile, exclusiveOr, [&](std::size_t row, u64 was, u64 is) {
                before[row] = was;
                gone |= OnlyIn(was, is);
                come |= OnlyIn(is, was);
            });
        }
        ink.RowChanged(tile.row);
        if ((gone & bit4) == 0) {
            contentPending |= (come & bit4) != 0;
            return false;
        }
        screen.GetTile(tile.row, tile.column, after);
        const bool over = contentPending;
        if (over) { // the lines are those of the whole screen, as it was just before
            screen.PutTile(tile.row, tile.column, before);
            ink.FindLines(screen, lines);
            screen.PutTile(tile.row, tile.column, after);
            ink.RowChanged(tile.row);
        } else if (!results.m_Screens.empty()) {
            results.m_Screens.back().lastPack = pack - 1; // more of the same erasure
        }
        contentPending |= AddsBeforeErasing(before, after);
        return over;
    }

    void EndScreen(int last)
    {
        if (contentPending || results.m_Screens.empty())
            results.m_Screens.push_back({last, lines});
        else
            results.m_Screens.back().lastPack = last;
        contentPending = false;
    }

    CCDGScanner& results;
    std::pair<i32, i32>* range; // the last one
    const int lastPack;
    IndexScreen screen;
    InkWatch ink;
    TextLines lines; // as they were found last
    bool contentPending = false;
};

// Says that a scan is running for as long as it does, however it ends.
class Running {
public:
    explicit Running(bool& flag) : running(flag) { running = true; }
    ~Running() { running = false; }
    Running(const Running&) = delete;
    Running& operator=(const Running&) = delete;

private:
    bool& running;
};

} // namespace

// NOLINTNEXTLINE(performance-unnecessary-value-param): applications rely on this signature
bool CCDGScanner::ScanFile(const char* path, std::function<bool()> isCancelled)
{
    const Running running(m_bScanning);
    CCDGInputFile input;
    if (!path || !input.Open(path, CFile::modeRead | CFile::shareDenyNone, nullptr))
        return false;
    const int count = input.GetPackCount();
    m_Screens.clear();
    m_ActivityRanges.assign(1, {0, 0});
    StreamScan scan(*this, count);
    PackPieces pieces(input);
    for (int pack = 0; const u8* raw = pieces.Next(); ++pack) {
        if (m_bStopRequested)
            break;
        if (isCancelled())
            return false;
        if (raw[0] == kCommandGraphics || pack == count - 1)
            scan.Add(raw, pack);
    }
    m_bScanComplete = true;
    return true;
}

void CCDGScanner::GetScannedLines(int pack, std::vector<std::pair<int, int>>& lines)
{
    lines.clear();
    const auto screen = std::find_if(m_Screens.begin(), m_Screens.end(),
                                     [pack](const CDGScreenInfo& info) { return info.lastPack >= pack; });
    if (screen != m_Screens.end())
        lines = screen->lines;
}
