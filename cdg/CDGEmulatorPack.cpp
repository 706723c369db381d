// CD+G packs in memory: see CDGEmulatorPack.h.
#include "CDGEmulatorPack.h"

#include <algorithm>

const char* CDGInstructionName(int instruction)
{
    switch (instruction) {
    case kMemoryPreset:
        return "Memory Preset";
    case kBorderPreset:
        return "Border Preset";
    case kTileBlock:
        return "Tile Block";
    case kScrollPreset:
        return "Scroll Preset";
    case kScrollCopy:
        return "Scroll Copy";
    case kDefineTransparent:
        return "Define Transparent Colour";
    case kLoadColours07:
        return "Load Colour Table 0-7";
    case kLoadColours8F:
        return "Load Colour Table 8-15";
    case kTileBlockXor:
        return "Tile Block XOR";
    default:
        return nullptr;
    }
}

void CCDGEmulatorPack::GetFromMem(const u8* raw)
{
    if (!raw)
        return;
    command = raw[0] & kPackBits;
    instruction = raw[1] & kPackBits;
    const auto copyMasked = [](u8* to, const u8* from, int count) { // each count is known: a load, a mask and a store
        for (int i = 0; i < count; ++i)
            to[i] = from[i] & kPackBits;
    };
    copyMasked(parityQ, raw + 2, 2);
    copyMasked(data, raw + 4, 16);
    copyMasked(parityP, raw + 20, 4);
}

void CCDGEmulatorPack::GetMem(u8* raw) const
{
    *raw++ = command;
    *raw++ = instruction;
    raw = std::copy(parityQ, parityQ + 2, raw);
    raw = std::copy(data, data + 16, raw);
    std::copy(parityP, parityP + 4, raw);
}

void CCDGEmulatorPack::Clear()
{
    *this = CCDGEmulatorPack();
}
