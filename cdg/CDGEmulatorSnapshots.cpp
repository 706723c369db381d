// Snapshots of the CD+G screen, as objects and as buffers. See CDGEmulator.h.
#include "CDGEmulator.h"

#include "ScopedLock.h"
#include "ScreenPicture.h"
#include "SweepPlayer.h"

#include <algorithm>
#include <cstring>

namespace CDGEmulator {

namespace {

using Guard = NV::ScopedLock<CCriticalSection>;

// A snapshot in a buffer. Integers are little-endian, pictures without row padding, top row first.
//   0     "NVS1"
//   4     bytes a pixel of the colour image (0 none, 3, 4), then 1 when a mask follows, else 0
//   12    border, colour count, background, vertical and horizontal offset, first channel, outline width
//   40    sixteen palette entries
//   104   index image; colour image; mask
constexpr u32 snapshotMark = 0x3153564E;
constexpr std::size_t screenPixels = std::size_t{CCDGEmulator::screenWidth} * CCDGEmulator::screenHeight;
constexpr std::size_t fieldCount = 10;
constexpr std::size_t headSize = 4 * (fieldCount + CCDGEmulator::colourCount);

void PutInteger(u8* to, u32 value)
{
    for (int i = 0; i < 4; ++i)
        to[i] = static_cast<u8>(value >> 8 * i);
}

u32 GetInteger(const u8* from)
{
    return from[0] | static_cast<u32>(from[1]) << 8 | static_cast<u32>(from[2]) << 16 | static_cast<u32>(from[3]) << 24;
}

std::size_t RowBytes(const CDib& image)
{
    return static_cast<std::size_t>(image.GetWidth()) * static_cast<std::size_t>(image.GetBitCount() / 8);
}

u8* PutRows(u8* to, const CDib& image)
{
    for (int y = 0; y < image.GetHeight(); ++y, to += RowBytes(image))
        std::memcpy(to, image.GetRow(y), RowBytes(image));
    return to;
}

const u8* GetRows(const u8* from, CDib& image)
{
    for (int y = 0; y < image.GetHeight(); ++y, from += RowBytes(image))
        std::memcpy(image.GetRow(y), from, RowBytes(image));
    return from;
}

bool IsScreen(const CDib& image)
{
    return image.GetBitCount() == 8 && image.GetWidth() == CCDGEmulator::screenWidth &&
           image.GetHeight() == CCDGEmulator::screenHeight;
}

bool InRange(const CCDGEmulator::typeState& state)
{
    const auto within = [](i32 value, i32 low, i32 high) { return value >= low && value <= high; };
    return within(state.borderColour, 0, 15) && within(state.backgroundColour, 0, 15) &&
           state.colourCount == CCDGEmulator::colourCount && within(state.verticalOffset, 0, 11) &&
           within(state.horizontalOffset, 0, 5) && within(state.firstChannel, -1, 15) &&
           within(state.outlineWidth, 0, CCDGEmulator::maxOutlineWidth);
}

} // namespace

void CCDGEmulator::StoreState(typeState& state, bool indexOnly)
{
    const Guard guard(lock);
    TakeState(state, indexOnly);
}

bool CCDGEmulator::RestoreState(const typeState& state, bool)
{
    if (!IsScreen(state.ScreenIndexImage) || !InRange(state))
        return false;
    const Guard guard(lock);
    sweeps->Forget();
    PutState(state);
    return true;
}

void CCDGEmulator::TakeState(typeState& state, bool indexOnly)
{
    state.ScreenIndexImage = indexImage;
    state.indexOnly = indexOnly;
    state.ScreenColourImage.Destroy();
    state.ScreenMaskImage.Destroy();
    if (!indexOnly) {
        state.ScreenColourImage = picture->Colour();
        picture->GetMask(state.ScreenMaskImage);
    }
    std::copy(palette.begin(), palette.end(), state.palette);
    state.borderColour = borderColour;
    state.colourCount = colourCount;
    state.backgroundColour = backgroundColour;
    state.verticalOffset = verticalOffset;
    state.horizontalOffset = horizontalOffset;
    state.firstChannel = firstChannel;
    state.outlineWidth = picture->settings.outline;
}

void CCDGEmulator::PutState(const typeState& state)
{
    picture->BeforeIndexReplaced();
    picture->InvalidateMask();
    RequestRebuild();
    indexImage = state.ScreenIndexImage;
    if (!state.indexOnly)
        picture->PutImages(state.ScreenColourImage, state.ScreenMaskImage, indexImage.GetRect());
    std::copy(state.palette, state.palette + colourCount, palette.begin());
    PutPaletteIntoTable();
    borderColour = state.borderColour;
    backgroundColour = state.backgroundColour;
    verticalOffset = state.verticalOffset;
    horizontalOffset = state.horizontalOffset;
    firstChannel = state.firstChannel;
    picture->settings.outline = state.outlineWidth;
}

std::unique_ptr<u8[]> CCDGEmulator::StoreState(int& size)
{
    typeState state;
    StoreState(state, false);
    const std::size_t colourBytes = RowBytes(state.ScreenColourImage) * screenHeight;
    const std::size_t maskBytes = state.ScreenMaskImage.IsValid() ? screenPixels : 0;
    const std::size_t total = headSize + screenPixels + colourBytes + maskBytes;
    auto buffer = std::make_unique<u8[]>(total);
    const auto word = [](i32 value) { return static_cast<u32>(value); };
    const u32 fields[fieldCount] = {snapshotMark,
                                    word(state.ScreenColourImage.GetBitCount() / 8),
                                    word(state.ScreenMaskImage.IsValid()),
                                    word(state.borderColour),
                                    word(state.colourCount),
                                    word(state.backgroundColour),
                                    word(state.verticalOffset),
                                    word(state.horizontalOffset),
                                    word(state.firstChannel),
                                    word(state.outlineWidth)};
    u8* to = buffer.get();
    for (const u32 field : fields) {
        PutInteger(to, field);
        to += 4;
    }
    for (const u32 colour : state.palette) {
        PutInteger(to, colour);
        to += 4;
    }
    to = PutRows(to, state.ScreenIndexImage);
    to = PutRows(to, state.ScreenColourImage);
    PutRows(to, state.ScreenMaskImage);
    size = static_cast<int>(total);
    return buffer;
}

bool CCDGEmulator::RestoreState(const u8* buffer, int size)
{
    if (!buffer || size < 0 || static_cast<std::size_t>(size) < headSize + screenPixels ||
        GetInteger(buffer) != snapshotMark)
        return false;
    const u32 colourDepth = GetInteger(buffer + 4), maskCount = GetInteger(buffer + 8);
    if ((colourDepth != 0 && colourDepth != 3 && colourDepth != 4) || maskCount > 1 ||
        static_cast<std::size_t>(size) != headSize + screenPixels * (1 + colourDepth + maskCount))
        return false;
    const u8* const indices = buffer + headSize;
    if (std::any_of(indices, indices + screenPixels, [](u8 index) { return index >= colourCount; }))
        return false;

    typeState state;
    const u8* from = buffer + 12;
    for (i32* field : {&state.borderColour, &state.colourCount, &state.backgroundColour, &state.verticalOffset,
                       &state.horizontalOffset, &state.firstChannel, &state.outlineWidth}) {
        *field = static_cast<i32>(GetInteger(from));
        from += 4;
    }
    for (u32& colour : state.palette) {
        colour = GetInteger(from) & 0xFFFFFF;
        from += 4;
    }
    state.ScreenIndexImage.Create(screenWidth, screenHeight, 8);
    from = GetRows(from, state.ScreenIndexImage);
    if (colourDepth != 0)
        state.ScreenColourImage.Create(screenWidth, screenHeight, static_cast<int>(8 * colourDepth));
    from = GetRows(from, state.ScreenColourImage);
    if (maskCount != 0)
        state.ScreenMaskImage.Create(screenWidth, screenHeight, 8);
    GetRows(from, state.ScreenMaskImage);
    return RestoreState(state, false);
}

} // namespace CDGEmulator
