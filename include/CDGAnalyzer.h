// A whole CD+G stream in memory: its packs, where the screen is clean, the screen and the colours at one pack, and a
// renderer on the same file.
//
// Units: packs (300 a second, numbered from 0). One thread at a time.
#pragma once

#include "CDGEmulatorPack.h"
#include "CDGRenderer.h"
#include "Dib.h"
#include "NVExport.h"
#include "NVTypes.h"

#include <afx.h>
#include <array>
#include <functional>
#include <memory>
#include <vector>

class NVLIB_API CCDGAnalyzer {
public:
    /// A stream of more packs (a day) is refused.
    static constexpr i32 maxPacks = 24 * 3600 * kPacksPerSecond;

    /// One for each pack of the stream.
    std::vector<CCDGEmulatorPack> m_Packs;
    /// Ascending: the packs before which the screen was clean (every pixel index 0).
    std::vector<i32> m_ClearScreens;
    /// `m_nPackCount` × 24 bytes, as read from the file: not masked to six bits.
    std::unique_ptr<u8[]> m_pRawPacks;
    i32 m_nPackCount = 0;
    /// The palette (0x00BBGGRR) and the border colour, as they were before the snapshot pack.
    std::array<u32, 17> m_SnapshotColors{};
    /// The index screen with its colour table, as it was before the snapshot pack; no picture when that was not met.
    CDib m_SnapshotImage;
    /// Opened on the same file, which is still the caller's and must outlive its use here.
    CCDGRenderer m_Renderer;

    CCDGAnalyzer();
    ~CCDGAnalyzer();
    CCDGAnalyzer(const CCDGAnalyzer&) = delete;
    CCDGAnalyzer& operator=(const CCDGAnalyzer&) = delete;

    /// Loads all packs of an open file. One whose extension is "bin", in any case, is a disc image, anything else a
    /// plain stream. `snapshotPack` is the pack to take the snapshot at; -1 for none. `isCancelled` is asked once for
    /// each sector of an image and once for each pack; an empty one throws `std::bad_function_call`. False when it gave
    /// true, or the file cannot be read, is longer than `maxPacks` or than memory: what was loaded so far stays.
    bool ReadFromFile(CFile* file, int snapshotPack, std::function<bool()> isCancelled);
    /// Writes the packs as a plain CD+G file from the file's position on. Kept as is: false in every case, so the
    /// result says nothing; look at the file's length.
    bool WriteToFile(CFile* file);

    /// The first pack at or after `pack` that is a graphics pack with an instruction; the number of packs when there is
    /// none, `pack` itself when that is beyond the end.
    int GetFirstActivePackAfter(int pack);
    /// The last loads of colours 0-7 (`low`) and 8-15 (`high`) at or before `pack`; packs that load black where there
    /// were none. Kept as is: the command is not looked at.
    void GetPalette(int pack, CCDGEmulatorPack& low, CCDGEmulatorPack& high);
    /// The last clean screen at or before `pack`; 0 when there is none at or after it. Kept as is: before the first
    /// clean screen it is that one, although it comes later.
    int GetPrevClearScreen(int pack);
    /// Kept as is: always empty.
    std::vector<unsigned long> GetTextColors();

private:
    bool ReadRawPacks(CFile& file, bool discImage, const std::function<bool()>& isCancelled);
    bool Replay(int snapshotPack, const std::function<bool()>& isCancelled);
};
