// The CD+G screen drawn the plain way: every rule pixel by pixel, every picture brought up to date at once.
//
// It is the truth that the fast emulator is held against, and the place to read what the rules are. It shares no code
// with the library. Units: packs of 24 raw bytes, pixels top-down, colours 0x00BBGGRR. One thread; no replacement
// sweeps.
#pragma once

#include "NVTypes.h"

#include <array>
#include <cstddef>
#include <utility>
#include <vector>

/// What a snapshot always holds.
struct PlainScreen {
    std::vector<u8> index; // width × height palette indices, top row first
    std::array<u32, 16> palette{};
    int borderColour = 0, backgroundColour = 0;
    int verticalOffset = 0, horizontalOffset = 0;
    int firstChannel = -1;
    int outlineWidth = 2;
};

class PlainEmulator : public PlainScreen {
public:
    static constexpr int width = 300, height = 216;
    enum class Masking { Off, Separate, Alpha };

    struct Rect {
        int left = 0, top = 0, right = 0, bottom = 0; // right and bottom exclusive
        bool Empty() const { return left >= right || top >= bottom; }
        bool operator==(const Rect&) const = default;
    };
    static constexpr Rect wholeScreen{0, 0, width, height};

    struct Snapshot : PlainScreen {
        bool indexOnly = false;
        std::vector<u32> colour;
        std::vector<u8> mask;
    };

    // The pictures: one value a pixel, top row first, empty while there is none. With Masking::Alpha the mask stands
    // for the alpha bytes of the colour picture.
    std::vector<u32> colour;
    std::vector<u8> mask;
    Masking masking = Masking::Off;

    Rect modified;
    bool surfaceCreated = false, maskValid = false, dirty = false, coloursChanged = true, cleanScreen = false;
    bool rebuildRequested = false, settingsChanged = false, initialised = false;
    int emptyPackRun = 0, clutRun = 0;
    std::vector<std::pair<int, int>> lines;

    void Init();
    void Reset();
    void SetMasking(Masking mode);
    void UpdateSettings();

    /// Masks 24 raw bytes to six bits each and acts on them.
    bool ProcessCommand(const u8* raw);
    void PresetMemory(const u8* data);
    void Border(const u8* data);
    void WriteFont(const u8* data, bool exclusiveOr);
    void Scroll(const u8* data, bool copy);
    void LoadCLUT(int firstEntry, const u8* data);
    bool SetPixel(int x, int y, int index);
    bool SetPixelRect(Rect area, int index);

    void AddToModified(Rect area);
    void CreateSurface();
    void DestroySurface();
    void ReadyScreen();
    void UpdateMaskOutline();
    void DetectLines();
    bool IsThisTextPage() const;
    bool IsCleanScreen();
    Rect VisibleRect() const;
    /// (288 + 2 × margin) × (192 + 2 × margin) mask values.
    std::vector<u8> GetMask(int margin) const;
    /// Paints the margins into `image`, which holds `area` of the screen, row by row.
    void ClearMargins(std::vector<u32>& image, Rect area) const;

    Snapshot StoreState(bool indexOnly) const;
    void RestoreState(const Snapshot& state);

private:
    static constexpr std::size_t At(int x, int y) { return static_cast<std::size_t>(y * width + x); }
    void DropPictures();
};
