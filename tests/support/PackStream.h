// CD+G streams for tests: written instruction by instruction, or at random from a seed. Everything ends up as raw packs
// of 24 bytes in `bytes`. The random streams are the same on every system.
#pragma once

#include "CDGEmulatorPack.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <random>
#include <vector>

/// Horizontal or vertical move of a scroll instruction and its fine offset, as stored.
struct ScrollMove {
    int command = 0, offset = 0;
    u8 Byte() const { return static_cast<u8>(command << 4 | offset); }
};

class PackStream {
public:
    std::vector<u8> bytes;

    int Count() const { return static_cast<int>(bytes.size() / kPackSize); }
    const u8* At(int pack) const { return bytes.data() + static_cast<std::ptrdiff_t>(pack) * kPackSize; }
    CCDGEmulatorPack Pack(int pack) const { return CCDGEmulatorPack(At(pack)); }

    PackStream& Add(int command, int instruction, const std::vector<u8>& data = {})
    {
        std::array<u8, kPackSize> raw{static_cast<u8>(command), static_cast<u8>(instruction)};
        std::copy_n(data.begin(), std::min<std::size_t>(data.size(), 16), raw.begin() + 4);
        bytes.insert(bytes.end(), raw.begin(), raw.end());
        return *this;
    }
    PackStream& Graphics(int instruction, const std::vector<u8>& data = {})
    {
        return Add(kCommandGraphics, instruction, data);
    }
    PackStream& Empty(int count = 1)
    {
        bytes.resize(bytes.size() + static_cast<std::size_t>(count) * kPackSize);
        return *this;
    }
    PackStream& Preset(int colour, int repeat = 0) { return Graphics(kMemoryPreset, {U8(colour), U8(repeat)}); }
    PackStream& Border(int colour) { return Graphics(kBorderPreset, {U8(colour)}); }
    /// A tile whose twelve rows are all `rows` (six bits, the highest is the leftmost pixel).
    PackStream& Tile(int row, int column, int on, int off = 0, int rows = 0x3F, int channel = 0)
    {
        return AnyTile(kTileBlock, row, column, on, off, rows, channel);
    }
    PackStream& TileXor(int row, int column, int on, int off = 0, int rows = 0x3F, int channel = 0)
    {
        return AnyTile(kTileBlockXor, row, column, on, off, rows, channel);
    }
    PackStream& ScrollPreset(int fill, ScrollMove across, ScrollMove down = {})
    {
        return Graphics(kScrollPreset, {U8(fill), across.Byte(), down.Byte()});
    }
    PackStream& ScrollCopy(ScrollMove across, ScrollMove down = {})
    {
        return Graphics(kScrollCopy, {0, across.Byte(), down.Byte()});
    }
    /// Colours as 0xRGB, four bits a component, for entries 0-7 or 8-15.
    PackStream& Colours(bool upperHalf, const std::vector<int>& rgb)
    {
        std::vector<u8> data;
        for (const int c : rgb) {
            data.push_back(U8((c >> 8 & 15) << 2 | (c >> 6 & 3)));
            data.push_back(U8((c >> 4 & 3) << 4 | (c & 15)));
        }
        return Graphics(upperHalf ? kLoadColours8F : kLoadColours07, data);
    }

private:
    static u8 U8(int value) { return static_cast<u8>(value); }
    PackStream& AnyTile(int instruction, int row, int column, int on, int off, int rows, int channel)
    {
        std::vector<u8> data{U8(off | (channel >> 2) << 4), U8(on | (channel & 3) << 4), U8(row), U8(column)};
        data.resize(16, U8(rows));
        return Graphics(instruction, data);
    }
};

/// The tests' dice. `std::mt19937` is fixed by the standard to the last bit, the distributions are not.
class Dice {
public:
    explicit Dice(u32 seed) : engine(seed) {}
    /// 0 … sides - 1
    int operator()(int sides) { return static_cast<int>(engine() % static_cast<u32>(sides)); }
    bool OneIn(int n) { return (*this)(n) == 0; }
    u8 Byte() { return static_cast<u8>(engine() >> 24); }

private:
    std::mt19937 engine;
};

/// Adds random packs. They come in stretches of one mood each, so that what interacts also meets: tiles over tiles in
/// a few places and colours, tiles while a fine offset stands, colour loads and presets between tiles, long padding.
inline void AddRandomPacks(PackStream& stream, Dice& dice, int count)
{
    enum Mood { Tiles, TilesAndColours, TilesAndScrolls, TilesAndPresets, Padding, Everything, moods };
    int mood = Everything, colours = 16, across = 50, down = 18;
    for (int i = 0; i < count; ++i) {
        if (i == 0 || dice.OneIn(40)) {
            mood = dice(moods);
            colours = dice.OneIn(2) ? 2 + dice(2) : 16;
            across = dice.OneIn(2) ? 4 : 50;
            down = dice.OneIn(2) ? 3 : 18;
        }
        std::vector<u8> data(16);
        std::generate(data.begin(), data.end(), [&] { return dice.Byte(); });
        int command = kCommandGraphics, instruction = dice.OneIn(3) ? kTileBlockXor : kTileBlock;
        if (mood == Padding && !dice.OneIn(8))
            instruction = 0;
        else if (mood == TilesAndColours && dice.OneIn(4))
            instruction = dice.OneIn(2) ? kLoadColours07 : kLoadColours8F;
        else if (mood == TilesAndScrolls && dice.OneIn(5))
            instruction = dice.OneIn(2) ? kScrollPreset : kScrollCopy;
        else if (mood == TilesAndPresets && dice.OneIn(4))
            instruction = dice.OneIn(4) ? kBorderPreset : kMemoryPreset;
        else if (mood == Everything) {
            const int all[] = {0, 1, 2, 6, 20, 24, 28, 30, 31, 38, dice(64)};
            instruction = all[dice(11)];
        }
        if (dice.OneIn(50))
            command = dice(64);

        const bool tile = instruction == kTileBlock || instruction == kTileBlockXor;
        data[0] = static_cast<u8>((data[0] & 0xF0) | dice(colours));
        if (tile) {
            data[1] = static_cast<u8>((data[1] & 0xF0) | dice(colours));
            if (!dice.OneIn(20)) { // the channels that are drawn
                data[0] &= 0xCF;
                data[1] &= 0xDF;
            }
            if (!dice.OneIn(20)) { // else any row and column, beyond the screen too
                data[2] = static_cast<u8>(dice.OneIn(2) ? dice(down) : 17 - dice(down));
                data[3] = static_cast<u8>(dice.OneIn(2) ? dice(across) : 49 - dice(across));
            }
            if (dice.OneIn(4)) // plain blocks: erasures and full ink
                std::fill(data.begin() + 4, data.end(), dice.OneIn(2) ? u8{0} : u8{0x3F});
        } else if (instruction == kMemoryPreset && dice.OneIn(3)) {
            data[1] = 0;
        } else if ((instruction == kScrollPreset || instruction == kScrollCopy) && dice.OneIn(2)) {
            data[1] = static_cast<u8>(data[1] & (dice.OneIn(2) ? 0x30 : 0x0F)); // a move alone, an offset alone
            data[2] = static_cast<u8>(data[2] & (dice.OneIn(2) ? 0x30 : 0x0F));
        }
        const std::size_t start = stream.bytes.size();
        stream.Add(command, instruction, data);
        if (!dice.OneIn(3)) {
            for (std::size_t b = start; b < start + 4; ++b)
                stream.bytes[b] = static_cast<u8>(stream.bytes[b] | (dice.Byte() & 0xC0));
        }
    }
}

/// As many zero packs as make whole records.
inline void PadToRecord(PackStream& stream)
{
    stream.Empty((kPacksPerRecord - stream.Count() % kPacksPerRecord) % kPacksPerRecord);
}
