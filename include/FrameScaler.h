// The CD+G screen on a larger one: frames of a video, or of a player's window.
//
// Units: pixels, top-down. One thread at a time.
#pragma once

#include "CDGEmulator.h"
#include "Dib.h"
#include "NVExport.h"
#include "NVTypes.h"

#include <memory>

namespace CDGEmulator {

class ScreenScaler;

/// Keeps a picture of the screen in another size up to date. The picture shows all of the 300 × 216 pixels as large as
/// they fit, in the middle; only tiles that have changed since the last time are scaled again.
class NVLIB_API CFrameScaler {
public:
    static constexpr int minWidth = CCDGEmulator::screenWidth, minHeight = CCDGEmulator::screenHeight;
    static constexpr int maxWidth = 7680, maxHeight = 4320;

    struct Settings {
        int width = 1920, height = 1080;
        bool smooth = false;        // slanted edges become straight; else each pixel becomes a rectangle
        bool ownBackground = false; // `background` surrounds the screen; else its own background colour does
        COLORREF background = 0;
    };

    CFrameScaler();
    ~CFrameScaler();
    CFrameScaler(const CFrameScaler&) = delete;
    CFrameScaler& operator=(const CFrameScaler&) = delete;

    /// Makes a black picture. False, and no picture, when the size is outside of the limits or there is no memory.
    bool Create(const Settings& settings);
    /// Takes a screen as `CCDGRenderer::GetFrame` gives it (24 or 32 bits). The tiles around its visible area are shown
    /// in the colour `margin`, as players do. Returns the part of the picture that has become another; empty when
    /// nothing has, without a picture, and for images of another size or depth.
    CRect Update(const CDib& screen, COLORREF margin);
    /// 32 bits a pixel, alpha 255.
    const CDib& Picture() const { return picture; }
    /// Where in the picture the screen is.
    CRect GetScreenRect() const { return place; }

private:
    CRect PaintSurroundings(COLORREF colour);

    Settings settings;
    CDib picture;
    CRect place;
    COLORREF surroundings = 0;
    bool isFirst = true;
    std::unique_ptr<ScreenScaler> scaler;
};

} // namespace CDGEmulator
