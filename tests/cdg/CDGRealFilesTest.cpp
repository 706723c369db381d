// Streams made by others: what independent decoders and counters say of them.
#include "CDGRenderer.h"
#include "support/Crc32.h"
#include "support/PackStream.h"

#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <sstream>

using CDGEmulator::CCDGEmulator;

namespace {

using Row = std::map<std::string, std::string>;

/// The rows of a tab-separated table, by column name.
std::vector<Row> ReadTable(const std::string& name)
{
    std::ifstream file(std::string(NVLIB_TEST_DATA "/") + name);
    std::vector<std::string> columns;
    std::vector<Row> rows;
    for (std::string line; std::getline(file, line);) {
        std::istringstream cells(line);
        Row row;
        std::size_t at = 0;
        for (std::string cell; std::getline(cells, cell, '\t'); ++at) {
            if (rows.empty() && columns.size() == at)
                columns.push_back(cell);
            row[columns.at(at)] = cell;
        }
        rows.push_back(row);
    }
    EXPECT_GT(rows.size(), 1u) << name;
    if (!rows.empty())
        rows.erase(rows.begin()); // the names
    return rows;
}

std::string Hex(u32 value, int digits)
{
    std::ostringstream out;
    out << std::hex;
    out.width(digits);
    out.fill('0');
    out << value;
    return out.str();
}

std::string CrcOfIndices(const CDib& screen, const CRect& area)
{
    std::vector<u8> indices;
    for (int y = area.top; y < area.bottom; ++y)
        indices.insert(indices.end(), screen.GetRow(y) + area.left, screen.GetRow(y) + area.right);
    return Hex(Crc32(indices), 8);
}

/// Sixteen entries of three hexadecimal digits: red, green, blue of four bits.
std::string PaletteOf(const CCDGEmulator& emulator)
{
    std::string text;
    for (int i = 0; i < 16; ++i) {
        const u32 c = emulator.GetPaletteEntry(i);
        text += (i ? "," : "") + Hex((c & 0xF0) << 4 | (c >> 8 & 0xF0) | (c >> 20 & 0x0F), 3);
    }
    return text;
}

} // namespace

TEST(CDGRealFiles, ScreensAgreeWithOtherDecoders)
{
    std::string openName;
    CCDGRenderer renderer;
    for (Row& row : ReadTable("expected_cdg_frames.tsv")) {
        SCOPED_TRACE(row["file"] + " after " + row["packs"] + " packs");
        if (openName != row["file"]) {
            openName = row["file"];
            ASSERT_TRUE(renderer.Open((NVLIB_TEST_DATA "/" + openName).c_str(), nullptr, true));
        }
        ASSERT_NE(renderer.GetFrame((std::stoi(row["packs"]) + 0.5) / kPacksPerSecond), nullptr);
        const CCDGEmulator& emulator = renderer.GetEmulator();
        EXPECT_EQ(CrcOfIndices(emulator.ScreenIndexImage(), CRect(0, 0, 300, 216)), row["crc32_index_300x216"]);
        EXPECT_EQ(CrcOfIndices(emulator.ScreenIndexImage(), CRect(6, 12, 294, 204)),
                  row["crc32_index_visible_288x192"]);
        EXPECT_EQ(PaletteOf(emulator), row["palette_4bit"]);
        EXPECT_EQ(std::to_string(emulator.GetHorizontalOffset()), row["h_offset"]);
        EXPECT_EQ(std::to_string(emulator.GetVerticalOffset()), row["v_offset"]);
        EXPECT_EQ(std::to_string(emulator.GetBackgroundColour()),
                  row["last_preset"].empty() ? "0" : row["last_preset"]);
        EXPECT_EQ(std::to_string(emulator.GetBorderColour()), row["border"].empty() ? "0" : row["border"]);
    }
}

TEST(CDGRealFiles, PackCountsAgree)
{
    const std::map<int, std::string> columns{
        {kMemoryPreset, "memory_preset"}, {kBorderPreset, "border_preset"}, {kTileBlock, "tile"},
        {kScrollPreset, "scroll_preset"}, {kScrollCopy, "scroll_copy"},     {kDefineTransparent, "transparent"},
        {kLoadColours07, "clut_low"},     {kLoadColours8F, "clut_high"},    {kTileBlockXor, "tile_xor"},
    };
    for (Row& row : ReadTable("expected_cdg_packs.tsv")) {
        SCOPED_TRACE(row["file"]);
        CCDGInputFile file;
        ASSERT_EQ(
            file.Open((NVLIB_TEST_DATA "/" + row["file"]).c_str(), CFile::modeRead | CFile::shareDenyNone, nullptr), 1);
        EXPECT_EQ(std::to_string(file.GetPackCount()), row["packs"]);
        EXPECT_EQ(std::to_string(file.GetLength()), row["bytes"]);
        CCDGEmulator emulator;
        emulator.Init();
        std::map<std::string, int> counts;
        int first = -1, otherGraphics = 0;
        CCDGEmulatorPack pack;
        for (int i = 0; file.GetNextPack(pack); ++i) {
            const auto column = columns.find(pack.instruction);
            const bool known = pack.command == kCommandGraphics && column != columns.end();
            EXPECT_EQ(emulator.ProcessCommand(pack, i, INT32_MAX), known) << "pack " << i;
            EXPECT_EQ(CDGInstructionName(pack.instruction) != nullptr, column != columns.end());
            if (known)
                ++counts[column->second];
            if (pack.command == kCommandGraphics && first < 0)
                first = i;
            otherGraphics += pack.command == kCommandGraphics && !known;
        }
        for (const auto& [instruction, name] : columns)
            EXPECT_EQ(std::to_string(counts[name]), row[name]) << name;
        EXPECT_EQ(std::to_string(first), row["first_graphics_pack"]);
        EXPECT_EQ(std::to_string(otherGraphics), row["other_graphics"]);
    }
}
