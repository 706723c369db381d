// The CD+G interpreter: packs go in, the screen that a player would show comes out.
//
// Units: packs (300 a second, numbered from 0) and pixels, top-down (y = 0 is the top row). Colours are 0x00BBGGRR.
//
// The index screen is the truth. Colour image and mask follow it lazily: they are brought up to date when somebody
// looks, and then hold exactly what drawing every pixel at once would have left.
//
// Any thread may call; one lock per object guards everything. Packs have one feeder at a time. Pictures that are handed
// out by reference stay valid until the next call that draws.
#pragma once

#include "CDGEmulatorPack.h"
#include "Dib.h"
#include "NVExport.h"
#include "NVTypes.h"
#include "ThreadSafety.h"

#include <afxmt.h>
#include <afxwin.h>
#include <array>
#include <atomic>
#include <memory>
#include <utility>
#include <vector>

namespace CDGEmulator {

class ScreenPicture;
class SweepPlayer;

/// A highlighting wipe of the stream that is shown as a smooth one: found by a lyrics analysis, handed to
/// `CCDGEmulator::SetReplacementSweeps`. All positions are pack numbers.
struct NVLIB_API ReplacementSweep {
    int startPack = 0;
    int lastPack = 0;               // the last of the stream's own XOR tiles of this wipe
    int endPack = 0;                // the wipe is complete before this pack
    double duration = 0;            // seconds
    CRect rect;                     // pixels of the screen that the wipe runs over, left to right
    std::vector<IndexedPack> packs; // the stream's XOR tiles that make up the wipe
};

/// The CD+G screen: 300 × 216 pixels of 16 colours, in tiles of 6 × 12.
class NVLIB_API CCDGEmulator {
public:
    static constexpr int screenWidth = 300;
    static constexpr int screenHeight = 216;
    static constexpr int colourCount = 16;
    static constexpr int tileWidth = 6;
    static constexpr int tileHeight = 12;
    static constexpr int tileColumns = 50;
    static constexpr int tileRows = 18;
    static constexpr int maxOutlineWidth = 15;
    /// The part of the screen inside the border tiles, without scroll offsets.
    static constexpr int visibleLeft = 6, visibleTop = 12, visibleWidth = 288, visibleHeight = 192;

    /// A snapshot of the screen. Taken with `StoreState`, put back with `RestoreState`; a plain value.
    struct NVLIB_API typeState {
        CDib ScreenColourImage; // not in an index-only snapshot
        CDib ScreenMaskImage;   // 8 bits, also when the mask lives in the colour image's alpha; none without masking
        CDib ScreenIndexImage;
        bool indexOnly = false;
        u32 palette[16] = {};
        i32 borderColour = 0;
        i32 colourCount = 16;
        i32 backgroundColour = 0;
        i32 verticalOffset = 0;
        i32 horizontalOffset = 0;
        i32 firstChannel = -1;
        i32 outlineWidth = 2;
    };

    CCDGEmulator();
    virtual ~CCDGEmulator();
    CCDGEmulator(const CCDGEmulator&) = delete;
    CCDGEmulator& operator=(const CCDGEmulator&) = delete;

    // ---- Life: CDGEmulator.cpp

    /// Makes a black screen with a black palette. Call once before the first pack, and again to start over.
    void Init();
    /// Returns to a black screen of index 0 without making new images; `IsCleanScreen` then says so.
    void Reset();
    /// Applies changed settings: masking goes on, kept in the colour image's alpha byte. Nothing without a preceding
    /// `SettingsChanged`.
    void UpdateSettings();
    /// Asks for `UpdateSettings` before the next pack or frame. May be called from any thread.
    void SettingsChanged() { settingsChanged = true; }
    /// Chooses how the mask is kept: off, as an image of its own, or in the alpha byte of a 32-bit colour image.
    /// Meant for before `Init`; later it drops colour image and mask, which are then rebuilt from the index screen.
    void SetMasking(bool on, bool inAlpha);
    /// Radius in pixels by which drawn pixels spread into the mask, 0…15; 2 after construction.
    void SetOutlineWidth(int pixels);

    // ---- Packs: CDGEmulator.cpp (dispatch), CDGEmulatorInstructions.cpp

    /// Interprets one pack. `packIndex` is its number, or -1 when unknown (replacement sweeps then stay off);
    /// `limitPack` is the pack up to which the caller plays before it looks at the screen. True when the pack was an
    /// instruction of `CDGInstruction` and was acted on at once.
    bool ProcessCommand(const CCDGEmulatorPack& pack, int packIndex, int limitPack);
    /// Interprets `count` raw packs of 24 bytes, as so many calls of `ProcessCommand` would, with the lock taken once.
    /// Returns how many of those calls would have given true. `firstPack` is the number of the first, or -1.
    int ProcessPacks(const u8* raw, int count, int firstPack, int limitPack);

    /// The lock of this object. Whoever calls a `Process_` method or `SetPixel` directly holds it.
    mutable CCriticalSection lock;

    void Process_PresetMemory(const CCDGEmulatorPack& pack) NV_REQUIRES(lock);
    void Process_Border(const CCDGEmulatorPack& pack) NV_REQUIRES(lock);
    void Process_WriteFont(const CCDGEmulatorPack& pack) NV_REQUIRES(lock);
    void Process_WriteFontXor(const CCDGEmulatorPack& pack) NV_REQUIRES(lock);
    void Process_ScrollPreset(const CCDGEmulatorPack& pack) NV_REQUIRES(lock);
    void Process_ScrollCopy(const CCDGEmulatorPack& pack) NV_REQUIRES(lock);
    void Process_LoadCLUT07(const CCDGEmulatorPack& pack) NV_REQUIRES(lock);
    void Process_LoadCLUT8F(const CCDGEmulatorPack& pack) NV_REQUIRES(lock);
    /// Kept as is: the stream's transparent colour has no effect.
    void Process_DefineTransparency(const CCDGEmulatorPack& pack) NV_REQUIRES(lock);
    void Process_Scroll(const CCDGEmulatorPack& pack, bool copy) NV_REQUIRES(lock);
    void Process_LoadCLUT(int firstEntry, const CCDGEmulatorPack& pack) NV_REQUIRES(lock);

    /// Sets one pixel to a palette index. True when it changed from another colour to the background colour. Outside
    /// the screen nothing happens. The last argument has no effect.
    bool SetPixel(int x, int y, int colour, bool) NV_REQUIRES(lock);
    /// Sets every pixel of a rectangle, clipped to the screen. True when `SetPixel` would have given true for any.
    bool SetPixelRect(CRect rect, int colour, bool) NV_REQUIRES(lock);

    // ---- What changed: CDGEmulator.cpp

    void AddToModified(CRect rect);
    /// Union of all areas changed since `ClearModified` (or since `IsCleanScreen` took it).
    CRect GetModified() const;
    bool IsModified() const;
    void ClearModified();
    void SetDirty();
    void ClearDirty();
    bool IsDirty() const;
    /// Consecutive packs with instruction 0, and consecutive colour-table loads, up to the last pack fed.
    int GetEmptyPackRun() const { return emptyPackRun; }
    int GetClutRun() const { return clutRun; }

    // ---- Colours: CDGEmulatorScreen.cpp

    u32 GetPaletteEntry(int index) const;
    int GetBorderColour() const;
    int GetBackgroundColour() const;
    int GetHorizontalOffset() const;
    int GetVerticalOffset() const;
    /// -1 until a tile on another channel than 0 is met, then the channel of the first such tile.
    int GetFirstChannel() const;
    /// The output pixel format: how many bits each component has, and where they stand.
    struct PixelFormat {
        int redBits = 8, redShift = 0, greenBits = 8, greenShift = 8, blueBits = 8, blueShift = 16;
    };
    /// Sets the default output pixel format, 0x00BBGGRR.
    void InitPixelInfo();
    /// Sets another one: 1…8 bits a component, shifts 0…24.
    void SetPixelInfo(const PixelFormat& format);
    /// Converts the palette to the output pixel format and clears the report that colours changed.
    void RecalcPixelColors();
    bool HaveColoursChanged() const;
    /// Palette entry `index` (0…15) in the output pixel format, as of the last `RecalcPixelColors`.
    u32 GetPixelColor(int index) const;
    u32 GetPixelFromColor(COLORREF colour) const;
    u32 GetBorderPixel() const;

    // ---- Pictures: CDGEmulatorScreen.cpp

    /// The screen as palette indices, 8 bits; its colour table mirrors the palette.
    const CDib& ScreenIndexImage() const { return indexImage; }
    /// The screen in true colour as it stands: 24 bits, or 32 with the mask in the alpha byte. Kept as is: the border
    /// tiles hold what was drawn there last, in the colours of that moment; see `ClearMargins`. No picture before
    /// `Init`.
    const CDib& ScreenColourImage();
    /// The mask (255 where something was drawn, 0 elsewhere) as an 8-bit image in both masking modes; null without
    /// masking.
    const CDib* GetScreenMask();
    /// Rebuilds the colour image where colours or offsets made it out of date.
    void ReadyScreen();
    void CreateSurface(bool);
    void DestroySurface();
    /// The visible area in pixels of the index screen: it moves with the fine scroll offsets.
    CRect GetVisibleRect() const;
    /// Paints the part of `area` (in screen pixels) that lies outside `GetVisibleRect` in the background colour;
    /// `image` holds that area, 24 or 32 bits. Kept as is: the background colour of the last Memory Preset, not the
    /// border colour.
    void ClearMargins(CDib& image, const CRect& area) const;
    /// Makes `out` an 8-bit mask of the visible area (without scroll offsets) with `margin` empty pixels on each side:
    /// 255 where the index differs from the background colour. False when there is no memory or `margin` is negative.
    bool GetMask(CDib* out, int margin) const;
    /// True when every pixel is index 0. Kept as is: takes the modified rectangle, so read that first.
    bool IsCleanScreen();

    /// Takes the picture that a player shows next: readies the colour image, keeps a copy, clears dirty.
    void PrepareFrame();
    /// The copy of the last `PrepareFrame`; no picture before it or after `DeleteCurrentFrame`.
    const CDib& GetCurrentFrame() const { return currentFrame; }
    void DeleteCurrentFrame();
    /// True when a frame exists and nothing was drawn since. Applies changed settings.
    bool FrameIsReady();
    /// Stream time in seconds that the screen stands at; set by whoever plays.
    void SetTime(double seconds);
    double GetTime() const;

    // ---- Snapshots: CDGEmulatorSnapshots.cpp

    void StoreState(typeState& state, bool indexOnly);
    /// Puts a snapshot back; a running sweep is forgotten. False, and nothing changed, when `state` holds no whole
    /// screen.
    bool RestoreState(const typeState& state, bool);
    /// The same snapshot (with pictures) as a buffer of `size` bytes.
    std::unique_ptr<u8[]> StoreState(int& size);
    /// False, and nothing changed, when the buffer is no such snapshot.
    bool RestoreState(const u8* buffer, int size);

    // ---- Replacement sweeps: CDGEmulatorSweeps.cpp

    /// Takes over a list of sweeps, sorts it by end pack, and reports the change (`HaveSweepsChanged`). An empty list
    /// ends replacing. Pack numbers below 0, empty rectangles and ends before starts make a sweep be left out.
    void SetReplacementSweeps(std::vector<ReplacementSweep> sweeps);
    /// The switch of the application; on after construction.
    void EnableReplacementSweeps(bool on);
    /// True while the switch is on, there are sweeps, and the stream has not drawn too often into them.
    bool AreSweepsEnabled() const;
    /// True once after `SetReplacementSweeps`, until `ClearSweepsChanged`: stored screens are then out of date.
    bool HaveSweepsChanged() const { return sweepsChanged; }
    void ClearSweepsChanged() { sweepsChanged = false; }
    /// Index of the sweep that runs at a pack, in the order of end packs, or -1. With `force` also while switched off.
    int HasReplacementSweep(int packIndex, bool force) const;
    /// The first pack from `packIndex` on at which a snapshot is good: itself, or the end of the sweep that runs there.
    int CanMakeScreenshot(int packIndex) const;
    /// Tiles of the stream that ran into swept areas since `Init`.
    int GetIntrusionCount() const;

    // ---- Lines: CDGEmulatorLines.cpp

    /// Rebuilds the mask from the whole index screen: 255 within the outline width of every pixel that differs from the
    /// background. Nothing without masking.
    void UpdateMaskOutline();
    /// Finds the text lines: runs of pixel rows with ink in the mask.
    void DetectLines();
    /// (first row, last row with ink) of every line of the last `DetectLines`, from the top.
    const std::vector<std::pair<i32, i32>>& GetLines() const { return lines; }
    /// True when the lines look like text: at most nine, none higher than 40, none but the first lower than 8. Kept as
    /// is: the first line does not count for the lowest, and a screen without lines counts as text.
    bool IsThisTextPage() const;

private:
    friend class SweepPlayer;

    bool Dispatch(int instruction, const u8* data) NV_REQUIRES(lock);
    void DrawTile(const u8* data, bool exclusiveOr) NV_REQUIRES(lock);
    void PresetMemory(const u8* data) NV_REQUIRES(lock);
    void SetBorder(const u8* data) NV_REQUIRES(lock);
    void Scroll(const u8* data, bool copy) NV_REQUIRES(lock);
    void LoadColours(int firstEntry, const u8* data) NV_REQUIRES(lock);
    void CountRuns(int instruction);
    bool ProcessLocked(int command, int instruction, const u8* data) NV_REQUIRES(lock);
    void Modified(int left, int top, int right, int bottom) NV_REQUIRES(lock);
    void ModifiedAll() NV_REQUIRES(lock);
    void RequestRebuild() NV_REQUIRES(lock);
    void TakeState(typeState& state, bool indexOnly) NV_REQUIRES(lock);
    void PutState(const typeState& state) NV_REQUIRES(lock);
    void PutPaletteIntoTable() NV_REQUIRES(lock);
    void RebuildImages() NV_REQUIRES(lock);
    void CreateIfNeeded() NV_REQUIRES(lock);

    CDib indexImage;
    std::unique_ptr<ScreenPicture> picture; // colour image and mask; guarded by the lock
    CDib maskView;                          // what GetScreenMask hands out
    CDib currentFrame;
    std::array<u32, 16> palette NV_GUARDED_BY(lock){};
    std::array<u32, 16> pixelColors NV_GUARDED_BY(lock){};
    PixelFormat pixelFormat NV_GUARDED_BY(lock);
    i32 borderColour NV_GUARDED_BY(lock) = 0;
    i32 backgroundColour NV_GUARDED_BY(lock) = 0;
    i32 verticalOffset NV_GUARDED_BY(lock) = 0;
    i32 horizontalOffset NV_GUARDED_BY(lock) = 0;
    i32 firstChannel NV_GUARDED_BY(lock) = -1;
    RECT modifiedRect NV_GUARDED_BY(lock){};
    bool dirty NV_GUARDED_BY(lock) = false;
    bool coloursChanged NV_GUARDED_BY(lock) = true;
    bool rebuildRequested NV_GUARDED_BY(lock) = false;
    bool cleanScreen NV_GUARDED_BY(lock) = false;
    double time NV_GUARDED_BY(lock) = 0;
    std::atomic<bool> settingsChanged = false;
    std::atomic<bool> sweepsChanged = false;
    i32 emptyPackRun = 0; // the feeder's own
    i32 clutRun = 0;
    std::unique_ptr<SweepPlayer> sweeps;
    std::vector<std::pair<i32, i32>> lines;
};

} // namespace CDGEmulator
