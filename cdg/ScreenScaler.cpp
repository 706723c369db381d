// Scaling tiles, plainly or smoothly: see ScreenScaler.h.
#include "ScreenScaler.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>

namespace CDGEmulator {

namespace {

// Mixes two colours; `part` of 256 is the second one's.
u32 Mix(u32 first, u32 second, u32 part)
{
    const u32 odd = (first & 0x00FF00FF) * (256 - part) + (second & 0x00FF00FF) * part;
    const u32 even = (first >> 8 & 0x00FF00FF) * (256 - part) + (second >> 8 & 0x00FF00FF) * part;
    return ((odd + 0x00800080) >> 8 & 0x00FF00FF) | ((even + 0x00800080) & 0xFF00FF00);
}

// Where each of `count` source pixels begins among `length` pixels from `start` on: those whose middle lies in it.
template <std::size_t Count>
void PlaceEdges(std::array<int, Count>& edges, int start, int length)
{
    constexpr i64 count = static_cast<i64>(Count) - 1;
    for (std::size_t i = 0; i < Count; ++i)
        edges[i] = start + static_cast<int>((2 * static_cast<i64>(i) * length + count - 1) / (2 * count));
}

u32* PictureRow(CDib& picture, int y)
{
    return reinterpret_cast<u32*>(static_cast<void*>(picture.GetRow(y)));
}

} // namespace

ScreenScaler::ScreenScaler(CRect area, bool smoothEdges)
    : place(area), smooth(smoothEdges), next(std::size_t{width} * height), last(next),
      shown(std::size_t{stride} * (height + 2 * rim))
{
    PlaceEdges(columnEdges, place.left, place.Width());
    PlaceEdges(rowEdges, place.top, place.Height());
}

CRect ScreenScaler::Draw(CDib& picture)
{
    Rows tiles = TakeChanges();
    if (smooth) {
        RepeatRim();
        tiles = WithNeighbours(tiles);
    }
    CRect drawn(0, 0, 0, 0);
    for (int row = 0; row < tileRows; ++row)
        for (int column = 0; column < tileColumns; ++column) {
            if ((tiles[static_cast<std::size_t>(row)] >> column & 1) == 0)
                continue;
            DrawTile(picture, row, column);
            if (smooth)
                SmoothTile(picture, row, column);
            const auto x = static_cast<std::size_t>(column) * tileWidth, y = static_cast<std::size_t>(row) * tileHeight;
            drawn |= CRect(columnEdges[x], rowEdges[y], columnEdges[x + tileWidth], rowEdges[y + tileHeight]);
        }
    return drawn;
}

/// Takes over the tiles that have changed and tells which they are.
ScreenScaler::Rows ScreenScaler::TakeChanges()
{
    Rows changed{};
    for (int y = 0; y < height; ++y) {
        const u32 *now = Row(y), *then = &last[static_cast<std::size_t>(y) * width];
        if (std::memcmp(now, then, width * sizeof(u32)) == 0)
            continue;
        u64& bits = changed[static_cast<std::size_t>(y / tileHeight)];
        for (int x = 0; x < width; ++x)
            bits |= static_cast<u64>(now[x] != then[x]) << (x / tileWidth);
    }
    last = next;
    if (isFirst)
        changed.fill((u64{1} << tileColumns) - 1);
    isFirst = false;
    for (int row = 0; row < tileRows; ++row)
        for (int column = 0; column < tileColumns; ++column)
            if ((changed[static_cast<std::size_t>(row)] >> column & 1) != 0)
                TakeTile(row, column);
    return changed;
}

void ScreenScaler::TakeTile(int row, int column)
{
    for (int y = row * tileHeight; y < (row + 1) * tileHeight; ++y)
        for (int x = column * tileWidth; x < (column + 1) * tileWidth; ++x) {
            const u32 colour = Row(y)[x];
            const i32 blue = colour & 0xFF, green = colour >> 8 & 0xFF, red = colour >> 16 & 0xFF;
            const i32 bright = 299 * red + 587 * green + 114 * blue; // thousandths
            *At(x, y) = {colour, bright / 250, (1000 * blue - bright) / 2000, (1000 * red - bright) / 1600};
        }
}

void ScreenScaler::RepeatRim()
{
    for (int y = 0; y < height; ++y)
        for (int i = 1; i <= rim; ++i) {
            *At(-i, y) = *At(0, y);
            *At(width - 1 + i, y) = *At(width - 1, y);
        }
    for (int i = 1; i <= rim; ++i) {
        std::copy_n(At(-rim, 0), stride, At(-rim, -i));
        std::copy_n(At(-rim, height - 1), stride, At(-rim, height - 1 + i));
    }
}

/// What is drawn of a tile depends on pixels of the tiles around it.
ScreenScaler::Rows ScreenScaler::WithNeighbours(const Rows& tiles)
{
    Rows wide{}, all{};
    for (std::size_t row = 0; row < tileRows; ++row)
        wide[row] = (tiles[row] | tiles[row] << 1 | tiles[row] >> 1) & ((u64{1} << tileColumns) - 1);
    for (std::size_t row = 0; row < tileRows; ++row)
        all[row] = wide[row] | (row > 0 ? wide[row - 1] : 0) | (row + 1 < tileRows ? wide[row + 1] : 0);
    return all;
}

void ScreenScaler::DrawTile(CDib& picture, int row, int column)
{
    const auto first = static_cast<std::size_t>(column) * tileWidth;
    const std::size_t bytes = static_cast<std::size_t>(columnEdges[first + tileWidth] - columnEdges[first]) * 4;
    for (int y = row * tileHeight; y < (row + 1) * tileHeight; ++y) {
        const Pixel* from = At(static_cast<int>(first), y);
        const int top = rowEdges[static_cast<std::size_t>(y)], bottom = rowEdges[static_cast<std::size_t>(y) + 1];
        u32* const to = PictureRow(picture, top);
        for (std::size_t x = first; x < first + tileWidth; ++x, ++from)
            std::fill(to + columnEdges[x], to + columnEdges[x + 1], from->colour);
        for (int line = top + 1; line < bottom; ++line)
            std::memcpy(PictureRow(picture, line) + columnEdges[first], to + columnEdges[first], bytes);
    }
}

void ScreenScaler::SmoothTile(CDib& picture, int row, int column)
{
    for (int y = row * tileHeight; y < (row + 1) * tileHeight; ++y)
        for (int x = column * tileWidth; x < (column + 1) * tileWidth; ++x) {
            const Pixel* pixel = At(x, y);
            for (const int right : {1, -1})
                for (const int down : {1, -1})
                    if (const Corner corner = FindCorner(pixel, right, down * stride); corner.isCut)
                        CutCorner(picture, x, y, corner, right > 0, down > 0);
        }
}

i32 ScreenScaler::Distance(const Pixel& a, const Pixel& b)
{
    // The eye sees differences of brightness first.
    return 12 * std::abs(a.y - b.y) + 7 * std::abs(a.u - b.u) + 6 * std::abs(a.v - b.v);
}

/// Looks at one corner of a pixel; `right` and `down` are the steps towards it.
ScreenScaler::Corner ScreenScaler::FindCorner(const Pixel* pixel, int right, int down)
{
    const auto at = [&](int x, int y) -> const Pixel& { return pixel[x * right + y * down]; };
    const auto same = [](const Pixel& a, const Pixel& b) { return a.colour == b.colour; };
    const Pixel &here = *pixel, &beside = at(1, 0), &below = at(0, 1);
    if (same(here, beside) || same(here, below))
        return {};
    const Pixel &across = at(1, 1), &above = at(0, -1), &behind = at(-1, 0);
    const Pixel &upper = at(1, -1), &lower = at(-1, 1); // the edge runs between these two, if there is one
    const Pixel &farBeside = at(2, 0), &farBelow = at(0, 2), &acrossBeside = at(2, 1), &acrossBelow = at(1, 2);

    const i32 along = Distance(here, upper) + Distance(here, lower) + Distance(across, farBeside) +
                      Distance(across, farBelow) + 4 * Distance(below, beside);
    const i32 against = Distance(below, behind) + Distance(below, acrossBelow) + Distance(beside, acrossBeside) +
                        Distance(beside, above) + 4 * Distance(here, across);
    if (along >= against)
        return {};
    // The corner of something large and square stays square.
    const bool belongs = (!same(beside, above) && !same(beside, upper)) ||
                         (!same(below, behind) && !same(below, lower)) ||
                         (same(here, across) && ((!same(beside, farBeside) && !same(beside, acrossBeside)) ||
                                                 (!same(below, farBelow) && !same(below, acrossBelow)))) ||
                         same(here, lower) || same(here, upper);
    if (!belongs)
        return {};
    Corner corner;
    corner.isCut = true;
    const i32 towardsLower = Distance(beside, lower), towardsUpper = Distance(below, upper);
    corner.isFlat = 2 * towardsLower <= towardsUpper && !same(here, lower) && !same(behind, lower);
    corner.isSteep = towardsLower >= 2 * towardsUpper && !same(here, upper) && !same(above, upper);
    corner.colour = Distance(here, beside) <= Distance(here, below) ? beside.colour : below.colour;
    return corner;
}

/// Mixes a corner's colour into the pixels that lie beyond its line, as far as they do.
void ScreenScaler::CutCorner(CDib& picture, int x, int y, const Corner& corner, bool toRight, bool toBottom) const
{
    const int left = columnEdges[static_cast<std::size_t>(x)], right = columnEdges[static_cast<std::size_t>(x) + 1];
    const int top = rowEdges[static_cast<std::size_t>(y)], bottom = rowEdges[static_cast<std::size_t>(y) + 1];
    const float across = static_cast<float>(width) / static_cast<float>(place.Width());
    const float down = static_cast<float>(height) / static_cast<float>(place.Height());
    const float perPixel = 1 / std::max(across, down);
    // From the opposite corner of the source pixel, 0 to 1 in both directions; distances in pixels of the picture.
    for (int line = top; line < bottom; ++line) {
        float v = (static_cast<float>(line - place.top) + 0.5F) * down - static_cast<float>(y);
        v = toBottom ? v : 1 - v;
        u32* const to = PictureRow(picture, line);
        for (int column = left; column < right; ++column) {
            float u = (static_cast<float>(column - place.left) + 0.5F) * across - static_cast<float>(x);
            u = toRight ? u : 1 - u;
            float beyond = (u + v - 1.5F) * 0.70710678F;
            if (corner.isFlat)
                beyond = std::max(beyond, (0.5F * u + v - 1) * 0.89442719F);
            if (corner.isSteep)
                beyond = std::max(beyond, (2 * u + v - 2) * 0.44721360F);
            const float part = std::clamp(beyond * perPixel + 0.5F, 0.0F, 1.0F);
            if (part > 0)
                to[column] = Mix(to[column], corner.colour, static_cast<u32>(part * 256));
        }
    }
}

} // namespace CDGEmulator
