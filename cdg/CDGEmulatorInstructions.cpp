// What each CD+G instruction does to the screen. See CDGEmulator.h; the operands' layout is in PackLayout.h.
#include "CDGEmulator.h"

#include "MovePicture.h"
#include "PackLayout.h"
#include "ScreenPicture.h"
#include "TileKernel.h"

namespace CDGEmulator {

bool CCDGEmulator::Dispatch(int instruction, const u8* data)
{
    switch (instruction) {
    case kTileBlock:
        DrawTile(data, false);
        return true;
    case kTileBlockXor:
        DrawTile(data, true);
        return true;
    case kMemoryPreset:
        PresetMemory(data);
        return true;
    case kBorderPreset:
        SetBorder(data);
        return true;
    case kScrollPreset:
        Scroll(data, false);
        return true;
    case kScrollCopy:
        Scroll(data, true);
        return true;
    case kLoadColours07:
    case kLoadColours8F:
        LoadColours(instruction == kLoadColours07 ? 0 : 8, data);
        rebuildRequested = true;
        return true;
    case kDefineTransparent:
        return true; // Kept as is: handled, without effect
    default:
        return false;
    }
}

void CCDGEmulator::DrawTile(const u8* data, bool exclusiveOr)
{
    const TileBlock tile(data);
    if (firstChannel == -1 && tile.channel != 0)
        firstChannel = tile.channel;
    if (tile.channel >= 2) // Kept as is: streams that put the lyrics on channel 1 still show
        return;
    CreateIfNeeded();
    picture->BeginTile(tile.row, tile.column);
    const int x = tile.column * tileWidth, y = tile.row * tileHeight;
    u8* const top = indexImage.GetRow(y) + x;
    if (!picture->settings.masking) {
        if (exclusiveOr)
            DrawTilePixels<true>(top, screenWidth, tile);
        else
            DrawTilePixels<false>(top, screenWidth, tile);
    } else {
        TileInk ink;
        if (exclusiveOr)
            DrawTilePixels<true>(top, screenWidth, tile, backgroundColour, ink);
        else
            DrawTilePixels<false>(top, screenWidth, tile, backgroundColour, ink);
        picture->MaskTile(tile.row, tile.column, ink);
    }
    dirty = true;
    Modified(x, y, x + tileWidth, y + tileHeight);
}

void CCDGEmulator::PresetMemory(const u8* data)
{
    const MemoryPreset preset(data);
    if (preset.repeat == 0) {
        indexImage.FillRect(indexImage.GetRect(), static_cast<u32>(preset.colour));
        picture->WholeScreenDrawn(palette);
        picture->Mask().Clear();
        horizontalOffset = verticalOffset = 0;
        dirty = true;
        Modified(0, 0, screenWidth, screenHeight);
    }
    backgroundColour = preset.colour;
}

void CCDGEmulator::SetBorder(const u8* data)
{
    borderColour = data[0] & 0x0F;
    coloursChanged = true;
}

void CCDGEmulator::Scroll(const u8* data, bool copy)
{
    const ScrollBlock scroll(data);
    verticalOffset = scroll.verticalOffset;
    horizontalOffset = scroll.horizontalOffset;
    if (scroll.Moves()) {
        picture->BeforeIndexReplaced();
        MovePicture<screenWidth, screenHeight>(indexImage.GetBits(), scroll.dx, scroll.dy, copy ? -1 : scroll.fill);
    }
    if (picture->settings.masking) {
        if (!picture->IsMaskValid()) // an outdated mask does not move along; only what is filled anew counts
            picture->Mask().Clear();
        picture->Mask().Move(scroll.dx, scroll.dy, copy ? -1 : scroll.fill != backgroundColour);
    }
    picture->InvalidateMask();
    rebuildRequested = true;
    dirty = true;
    Modified(0, 0, screenWidth, screenHeight);
}

void CCDGEmulator::LoadColours(int firstEntry, const u8* data)
{
    for (int k = 0; k < 8; ++k) {
        const u32 colour = TableColour(data[2 * k], data[2 * k + 1]);
        palette[static_cast<std::size_t>(firstEntry + k)] = colour;
        indexImage.SetTableColor(firstEntry + k, colour);
    }
    Modified(0, 0, screenWidth, screenHeight);
    coloursChanged = true;
}

// ---- The same, one pack at a time, for callers that hold the lock

void CCDGEmulator::Process_PresetMemory(const CCDGEmulatorPack& pack)
{
    PresetMemory(pack.data);
}

void CCDGEmulator::Process_Border(const CCDGEmulatorPack& pack)
{
    SetBorder(pack.data);
}

void CCDGEmulator::Process_WriteFont(const CCDGEmulatorPack& pack)
{
    DrawTile(pack.data, false);
}

void CCDGEmulator::Process_WriteFontXor(const CCDGEmulatorPack& pack)
{
    DrawTile(pack.data, true);
}

void CCDGEmulator::Process_ScrollPreset(const CCDGEmulatorPack& pack)
{
    Process_Scroll(pack, false);
}

void CCDGEmulator::Process_ScrollCopy(const CCDGEmulatorPack& pack)
{
    Process_Scroll(pack, true);
}

void CCDGEmulator::Process_Scroll(const CCDGEmulatorPack& pack, bool copy)
{
    Scroll(pack.data, copy);
}

void CCDGEmulator::Process_LoadCLUT07(const CCDGEmulatorPack& pack)
{
    Process_LoadCLUT(0, pack);
}

void CCDGEmulator::Process_LoadCLUT8F(const CCDGEmulatorPack& pack)
{
    Process_LoadCLUT(8, pack);
}

void CCDGEmulator::Process_LoadCLUT(int firstEntry, const CCDGEmulatorPack& pack)
{
    if (firstEntry < 0 || firstEntry > 8)
        return;
    LoadColours(firstEntry, pack.data);
    if (picture->IsCreated()) // outside of a dispatched pack no rebuild follows by itself
        picture->PaletteReplaced(palette);
}

void CCDGEmulator::Process_DefineTransparency(const CCDGEmulatorPack&) {}

// ---- Pixels

bool CCDGEmulator::SetPixel(int x, int y, int colour, bool)
{
    if (x < 0 || y < 0 || x >= screenWidth || y >= screenHeight)
        return false;
    CreateIfNeeded();
    picture->BeginPixel(x, y);
    colour &= 0x0F;
    u8& pixel = indexImage.GetRow(y)[x];
    const bool becameBackground = pixel != backgroundColour && colour == backgroundColour;
    pixel = static_cast<u8>(colour);
    picture->EndPixel(x, y, colour, backgroundColour, becameBackground);
    dirty = true;
    Modified(x, y, x + 1, y + 1);
    return becameBackground;
}

bool CCDGEmulator::SetPixelRect(CRect rect, int colour, bool)
{
    rect &= CRect(0, 0, screenWidth, screenHeight);
    bool any = false;
    for (int y = rect.top; y < rect.bottom; ++y)
        for (int x = rect.left; x < rect.right; ++x)
            any |= SetPixel(x, y, colour, false);
    return any;
}

} // namespace CDGEmulator
