// Text lines of a CD+G screen: see TextLines.h.
#include "TextLines.h"

#include <algorithm>
#include <bit>

namespace CDGEmulator {

namespace {

constexpr int mergeBelow = 5;   // rows: lower lines closer than this to the next belong to it (dots, accents)
constexpr int outlineWidth = 2; // the emulator's own

} // namespace

int InkRows::Next(int y, bool wanted) const
{
    for (auto word = static_cast<std::size_t>(y) / 64; word < words.size(); ++word) {
        const int first = std::max(y - static_cast<int>(word) * 64, 0);
        const u64 rows = (wanted ? words[word] : ~words[word]) >> first << first;
        if (rows != 0)
            return std::min(static_cast<int>(word) * 64 + std::countr_zero(rows), height);
    }
    return height;
}

InkRows InkRows::Spread(int distance) const
{
    InkRows wide = *this;
    for (int k = 1; k <= distance; ++k)
        for (std::size_t i = 0; i < words.size(); ++i) {
            wide.words[i] |= words[i] << k | words[i] >> k;
            if (i > 0)
                wide.words[i] |= words[i - 1] >> (64 - k);
            if (i + 1 < words.size())
                wide.words[i] |= words[i + 1] << (64 - k);
        }
    wide.words.back() &= (u64{1} << height % 64) - 1;
    return wide;
}

void FindTextLines(const InkRows& ink, TextLines& lines)
{
    lines.clear();
    for (int first = ink.Next(0, true); first < InkRows::height;) {
        const int end = ink.Next(first, false);
        lines.emplace_back(first, end - 1);
        first = ink.Next(end, true);
    }
    // Kept as is: a line that has taken in the next one is not compared again.
    for (std::size_t i = 0; i + 1 < lines.size(); ++i)
        if (lines[i].second - lines[i].first < mergeBelow && lines[i + 1].first - lines[i].second < mergeBelow) {
            lines[i].second = lines[i + 1].second;
            lines.erase(lines.begin() + static_cast<std::ptrdiff_t>(i) + 1);
        }
}

void InkWatch::FindLines(const IndexScreen& screen, TextLines& lines)
{
    for (; changed != 0; changed &= changed - 1) {
        const int top = std::countr_zero(changed) * IndexScreen::tileHeight;
        for (int y = top; y < top + IndexScreen::tileHeight; ++y)
            ink.Set(y, screen.HasOther(y, screen.BackgroundColour()));
    }
    FindTextLines(ink.Spread(outlineWidth), lines);
}

} // namespace CDGEmulator
