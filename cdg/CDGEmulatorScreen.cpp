// Colours and pictures of the CD+G screen. See CDGEmulator.h.
#include "CDGEmulator.h"

#include "ScopedLock.h"
#include "ScreenPicture.h"

#include <algorithm>

namespace CDGEmulator {

namespace {

using Guard = NV::ScopedLock<CCriticalSection>;

u32 Convert(const CCDGEmulator::PixelFormat& format, COLORREF colour)
{
    const auto component = [](u32 value, int bits, int shift) { return (value & 0xFF) >> (8 - bits) << shift; };
    return component(colour, format.redBits, format.redShift) |
           component(colour >> 8, format.greenBits, format.greenShift) |
           component(colour >> 16, format.blueBits, format.blueShift);
}

} // namespace

// ---- Colours

u32 CCDGEmulator::GetPaletteEntry(int index) const
{
    const Guard guard(lock);
    return index >= 0 && index < colourCount ? palette[static_cast<std::size_t>(index)] : 0;
}

int CCDGEmulator::GetBorderColour() const
{
    const Guard guard(lock);
    return borderColour;
}

int CCDGEmulator::GetBackgroundColour() const
{
    const Guard guard(lock);
    return backgroundColour;
}

int CCDGEmulator::GetHorizontalOffset() const
{
    const Guard guard(lock);
    return horizontalOffset;
}

int CCDGEmulator::GetVerticalOffset() const
{
    const Guard guard(lock);
    return verticalOffset;
}

int CCDGEmulator::GetFirstChannel() const
{
    const Guard guard(lock);
    return firstChannel;
}

void CCDGEmulator::InitPixelInfo()
{
    SetPixelInfo(PixelFormat());
}

void CCDGEmulator::SetPixelInfo(const PixelFormat& format)
{
    const auto limit = [](int& bits, int& shift) {
        bits = std::clamp(bits, 1, 8);
        shift = std::clamp(shift, 0, 24);
    };
    const Guard guard(lock);
    pixelFormat = format;
    limit(pixelFormat.redBits, pixelFormat.redShift);
    limit(pixelFormat.greenBits, pixelFormat.greenShift);
    limit(pixelFormat.blueBits, pixelFormat.blueShift);
    coloursChanged = true;
}

void CCDGEmulator::RecalcPixelColors()
{
    const Guard guard(lock);
    for (std::size_t i = 0; i < palette.size(); ++i)
        pixelColors[i] = Convert(pixelFormat, palette[i]);
    coloursChanged = false;
}

bool CCDGEmulator::HaveColoursChanged() const
{
    const Guard guard(lock);
    return coloursChanged;
}

u32 CCDGEmulator::GetPixelColor(int index) const
{
    const Guard guard(lock);
    return index >= 0 && index < colourCount ? pixelColors[static_cast<std::size_t>(index)] : 0;
}

u32 CCDGEmulator::GetPixelFromColor(COLORREF colour) const
{
    const Guard guard(lock);
    return Convert(pixelFormat, colour);
}

u32 CCDGEmulator::GetBorderPixel() const
{
    const Guard guard(lock);
    return Convert(pixelFormat, palette[static_cast<std::size_t>(borderColour)]);
}

void CCDGEmulator::PutPaletteIntoTable()
{
    for (int i = 0; i < colourCount; ++i)
        indexImage.SetTableColor(i, palette[static_cast<std::size_t>(i)]);
}

// ---- Pictures

void CCDGEmulator::CreateSurface(bool)
{
    const Guard guard(lock);
    picture->Create(palette, horizontalOffset, verticalOffset, backgroundColour);
    dirty = true;
}

void CCDGEmulator::CreateIfNeeded()
{
    if (!picture->IsCreated())
        CreateSurface(false);
}

void CCDGEmulator::DestroySurface()
{
    const Guard guard(lock);
    picture->Drop();
}

void CCDGEmulator::ReadyScreen()
{
    const Guard guard(lock);
    CreateIfNeeded();
}

const CDib& CCDGEmulator::ScreenColourImage()
{
    const Guard guard(lock);
    return picture->Colour();
}

const CDib* CCDGEmulator::GetScreenMask()
{
    const Guard guard(lock);
    return picture->GetMask(maskView) ? &maskView : nullptr;
}

CRect CCDGEmulator::GetVisibleRect() const
{
    const Guard guard(lock);
    const int left = visibleLeft + horizontalOffset, top = visibleTop + verticalOffset;
    return CRect(left, top, left + visibleWidth, top + visibleHeight);
}

void CCDGEmulator::ClearMargins(CDib& image, const CRect& area) const
{
    const CRect visible = GetVisibleRect();
    const CRect bands[] = {
        CRect(0, 0, screenWidth, visible.top),
        CRect(0, 0, visible.left, screenHeight),
        CRect(visible.right, 0, screenWidth, screenHeight),
        CRect(0, visible.bottom, screenWidth, screenHeight),
    };
    const COLORREF colour = GetPaletteEntry(GetBackgroundColour());
    for (const CRect& band : bands) {
        CRect part;
        if (!part.IntersectRect(&band, &area))
            continue;
        part.OffsetRect(-area.left, -area.top);
        image.FillRect(part, colour);
    }
}

bool CCDGEmulator::GetMask(CDib* out, int margin) const
{
    if (!out || margin < 0 || margin > CDib::maxSide)
        return false;
    const Guard guard(lock);
    if (!out->Create(visibleWidth + 2 * margin, visibleHeight + 2 * margin, 8))
        return false;
    for (int y = 0; y < visibleHeight; ++y) {
        const u8* from = indexImage.GetRow(visibleTop + y) + visibleLeft;
        u8* to = out->GetRow(margin + y) + margin;
        std::transform(from, from + visibleWidth, to,
                       [key = backgroundColour](u8 index) { return static_cast<u8>(index == key ? 0 : 255); });
    }
    return true;
}

// ---- Frames

void CCDGEmulator::PrepareFrame()
{
    const Guard guard(lock);
    ReadyScreen();
    currentFrame = picture->Colour();
    if (coloursChanged)
        RecalcPixelColors();
    dirty = false;
}

void CCDGEmulator::DeleteCurrentFrame()
{
    const Guard guard(lock);
    currentFrame.Destroy();
}

bool CCDGEmulator::FrameIsReady()
{
    if (settingsChanged)
        UpdateSettings();
    const Guard guard(lock);
    return currentFrame.IsValid() && !dirty;
}

} // namespace CDGEmulator
