// The CD+G screen drawn the plain way; see the header.
#include "support/PlainEmulator.h"

#include <algorithm>

namespace {

constexpr int kPixels = PlainEmulator::width * PlainEmulator::height;

bool OnScreen(int x, int y)
{
    return x >= 0 && x < PlainEmulator::width && y >= 0 && y < PlainEmulator::height;
}

/// Six pixels of border on the left and right, twelve above and below, are never rebuilt.
template <class Visit>
void ForInterior(Visit visit)
{
    for (int y = 12; y < 204; ++y) {
        for (int x = 6; x < 294; ++x)
            visit(x, y);
    }
}

} // namespace

void PlainEmulator::Init()
{
    initialised = true;
    DropPictures();
    index.assign(kPixels, 0);
    palette.fill(0);
    borderColour = backgroundColour = verticalOffset = horizontalOffset = 0;
    firstChannel = -1;
    modified = wholeScreen;
    CreateSurface();
    SetPixelRect(wholeScreen, 0);
    dirty = true;
    cleanScreen = true;
}

void PlainEmulator::Reset()
{
    surfaceCreated = false;
    coloursChanged = dirty = cleanScreen = true;
    index.assign(kPixels, 0);
    palette.fill(0);
}

void PlainEmulator::DropPictures()
{
    colour.clear();
    mask.clear();
    surfaceCreated = maskValid = false;
}

void PlainEmulator::SetMasking(Masking mode)
{
    masking = mode;
    if (!initialised)
        return;
    DropPictures();
    CreateSurface();
    dirty = true;
    modified = wholeScreen;
}

void PlainEmulator::UpdateSettings()
{
    if (!settingsChanged)
        return;
    settingsChanged = false;
    SetMasking(Masking::Alpha);
}

bool PlainEmulator::ProcessCommand(const u8* raw)
{
    UpdateSettings();
    u8 pack[24];
    std::transform(raw, raw + 24, pack, [](u8 b) { return static_cast<u8>(b & 0x3F); });
    const int command = pack[0], instruction = pack[1];
    const u8* data = pack + 4;

    if (instruction == 0) {
        ++emptyPackRun;
        return false;
    }
    if (emptyPackRun > 30)
        clutRun = 0;
    emptyPackRun = 0;
    clutRun = instruction == 30 || instruction == 31 ? clutRun + 1 : 0;

    rebuildRequested = false;
    if (command != 9)
        return false;
    switch (instruction) {
    case 1:
        PresetMemory(data);
        break;
    case 2:
        Border(data);
        break;
    case 6:
        WriteFont(data, false);
        break;
    case 20:
        Scroll(data, false);
        break;
    case 24:
        Scroll(data, true);
        break;
    case 28:
        break; // accepted without effect
    case 30:
    case 31:
        LoadCLUT(instruction == 30 ? 0 : 8, data);
        rebuildRequested = true;
        break;
    case 38:
        WriteFont(data, true);
        break;
    default:
        return false;
    }
    if (rebuildRequested) {
        surfaceCreated = false;
        coloursChanged = dirty = true;
    }
    return true;
}

void PlainEmulator::PresetMemory(const u8* data)
{
    const int preset = data[0] & 0x0F;
    if ((data[1] & 0x0F) == 0) {           // the repeats of a preset do not clear again
        SetPixelRect(wholeScreen, preset); // still against the old background
        horizontalOffset = verticalOffset = 0;
        std::fill(mask.begin(), mask.end(), u8{0});
    }
    backgroundColour = preset;
}

void PlainEmulator::Border(const u8* data)
{
    borderColour = data[0] & 0x0F;
    coloursChanged = true;
}

void PlainEmulator::LoadCLUT(int firstEntry, const u8* data)
{
    for (int k = 0; k < 8; ++k) {
        const int first = data[2 * k], second = data[2 * k + 1]; // ..RRRRGG ..GGBBBB
        const int red = (first >> 2 & 15) * 16, green = ((first & 3) * 4 + (second >> 4 & 3)) * 16,
                  blue = (second & 15) * 16;
        palette[static_cast<std::size_t>(firstEntry + k)] = static_cast<u32>(red | green << 8 | blue << 16);
    }
    AddToModified(wholeScreen);
    coloursChanged = true;
}

void PlainEmulator::WriteFont(const u8* data, bool exclusiveOr)
{
    const int channel = (data[0] >> 4 & 3) * 4 + (data[1] >> 4 & 3);
    if (firstChannel == -1 && channel != 0)
        firstChannel = channel;
    if (channel >= 2)
        return;
    const int x0 = std::min(data[3] & 0x3F, 49) * 6, y0 = std::min(data[2] & 0x1F, 17) * 12;
    bool cleared = false;
    for (int r = 0; r < 12; ++r) {
        for (int c = 0; c < 6; ++c) {
            const bool on = (data[4 + r] & (0x20 >> c)) != 0;
            int pixel = data[on ? 1 : 0] & 0x0F;
            if (exclusiveOr)
                pixel ^= index[At(x0 + c, y0 + r)];
            cleared |= SetPixel(x0 + c, y0 + r, pixel);
        }
    }
    if (cleared)
        AddToModified({x0, y0, x0 + 6, y0 + 12});
}

bool PlainEmulator::SetPixel(int x, int y, int newIndex)
{
    if (!OnScreen(x, y))
        return false;
    if (!surfaceCreated)
        CreateSurface();
    colour[At(x, y)] = palette[static_cast<std::size_t>(newIndex)];
    const bool cleared = index[At(x, y)] != backgroundColour && newIndex == backgroundColour;
    index[At(x, y)] = static_cast<u8>(newIndex);
    if (masking != Masking::Off && newIndex != backgroundColour) {
        for (int my = y - outlineWidth; my <= y + outlineWidth; ++my) {
            for (int mx = x - outlineWidth; mx <= x + outlineWidth; ++mx) {
                if (OnScreen(mx, my))
                    mask[At(mx, my)] = 255;
            }
        }
    } else if (masking != Masking::Off && cleared) {
        mask[At(x, y)] = 0; // its outline stays until the mask is rebuilt
    }
    dirty = true;
    AddToModified({x, y, x + 1, y + 1});
    return cleared;
}

bool PlainEmulator::SetPixelRect(Rect area, int newIndex)
{
    bool cleared = false;
    for (int y = std::max(area.top, 0); y < std::min(area.bottom, height); ++y) {
        for (int x = std::max(area.left, 0); x < std::min(area.right, width); ++x)
            cleared |= SetPixel(x, y, newIndex);
    }
    return cleared;
}

void PlainEmulator::Scroll(const u8* data, bool copy)
{
    const int fill = data[0] & 0x0F;
    verticalOffset = std::min(data[2] & 0x0F, 11);
    horizontalOffset = std::min(data[1] & 0x0F, 5);
    const int dxOf[] = {0, -6, 6, 6}, dyOf[] = {0, -12, 12, 12}; // from the pixel drawn to the pixel shown there
    const int dx = dxOf[data[1] >> 4 & 3], dy = dyOf[data[2] >> 4 & 3];

    std::vector<u8> newIndex(kPixels), newMask(kPixels);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            int sx = x + dx, sy = y + dy;
            if (copy) {
                sx = (sx + width) % width;
                sy = (sy + height) % height;
            }
            if (OnScreen(sx, sy)) {
                newIndex[At(x, y)] = index[At(sx, sy)];
                newMask[At(x, y)] = maskValid ? mask[At(sx, sy)] : u8{0};
            } else {
                newIndex[At(x, y)] = static_cast<u8>(fill);
                newMask[At(x, y)] = fill == backgroundColour ? 0 : 255;
            }
        }
    }
    index = newIndex;
    if (!mask.empty())
        mask = newMask;
    rebuildRequested = true;
    maskValid = false;
    dirty = true;
    AddToModified(wholeScreen);
}

void PlainEmulator::CreateSurface()
{
    if (colour.empty())
        colour.assign(kPixels, 0);
    if (masking != Masking::Off && mask.empty())
        mask.assign(kPixels, 0);
    ForInterior([&](int x, int y) { colour[At(x, y)] = palette[index[At(x + horizontalOffset, y + verticalOffset)]]; });
    surfaceCreated = true;
    if (masking != Masking::Off && !maskValid) {
        // Kept as is: a mask in the alpha bytes does not follow the fine offsets, one in a picture of its own does.
        const int h = masking == Masking::Alpha ? 0 : horizontalOffset,
                  v = masking == Masking::Alpha ? 0 : verticalOffset;
        ForInterior([&](int x, int y) { mask[At(x, y)] = index[At(x + h, y + v)] == backgroundColour ? 0 : 255; });
        maskValid = true;
    }
    dirty = true;
}

void PlainEmulator::DestroySurface()
{
    DropPictures();
}

void PlainEmulator::ReadyScreen()
{
    if (!surfaceCreated)
        CreateSurface();
}

void PlainEmulator::AddToModified(Rect area)
{
    for (Rect* r : {&modified, &area}) {
        if (r->left > r->right)
            std::swap(r->left, r->right);
        if (r->top > r->bottom)
            std::swap(r->top, r->bottom);
    }
    if (modified.Empty())
        modified = area.Empty() ? Rect{} : area;
    else if (!area.Empty())
        modified = {std::min(modified.left, area.left), std::min(modified.top, area.top),
                    std::max(modified.right, area.right), std::max(modified.bottom, area.bottom)};
}

void PlainEmulator::UpdateMaskOutline()
{
    if (mask.empty())
        return;
    mask.assign(kPixels, 0);
    maskValid = true;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            if (index[At(x, y)] == backgroundColour)
                continue;
            for (int my = std::max(y - outlineWidth, 0); my <= std::min(y + outlineWidth, height - 1); ++my) {
                for (int mx = std::max(x - outlineWidth, 0); mx <= std::min(x + outlineWidth, width - 1); ++mx)
                    mask[At(mx, my)] = 255;
            }
        }
    }
}

void PlainEmulator::DetectLines()
{
    lines.clear();
    bool inLine = false;
    for (int y = 0; y < height && !mask.empty(); ++y) {
        const auto row = mask.begin() + static_cast<std::ptrdiff_t>(At(0, y));
        const bool ink = std::any_of(row, row + width, [](u8 m) { return m != 0; });
        if (ink && inLine)
            lines.back().second = y;
        else if (ink)
            lines.push_back({y, y});
        inLine = ink;
    }
    for (std::size_t i = 0; i + 1 < lines.size(); ++i) { // a line that took its neighbour is not looked at again
        if (lines[i].second - lines[i].first < 5 && lines[i + 1].first - lines[i].second < 5) {
            lines[i].second = lines[i + 1].second;
            lines.erase(lines.begin() + static_cast<std::ptrdiff_t>(i) + 1);
        }
    }
}

bool PlainEmulator::IsThisTextPage() const
{
    int highest = 0, lowest = 9999;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const int lineHeight = lines[i].second - lines[i].first;
        highest = std::max(highest, lineHeight);
        if (i > 0) // the first line is left out
            lowest = std::min(lowest, lineHeight);
    }
    return lines.size() <= 9 && highest <= 40 && lowest >= 8;
}

bool PlainEmulator::IsCleanScreen()
{
    if (modified.Empty())
        return cleanScreen;
    const Rect area = cleanScreen ? modified : wholeScreen;
    modified = {};
    cleanScreen = true;
    for (int y = std::max(area.top, 0); y < std::min(area.bottom, height); ++y) {
        for (int x = std::max(area.left, 0); x < std::min(area.right, width); ++x)
            cleanScreen &= index[At(x, y)] == 0;
    }
    return cleanScreen;
}

PlainEmulator::Rect PlainEmulator::VisibleRect() const
{
    const int left = 6 + horizontalOffset, top = 12 + verticalOffset;
    return {left, top, left + 288, top + 192};
}

std::vector<u8> PlainEmulator::GetMask(int margin) const
{
    const int outWidth = 288 + 2 * margin;
    std::vector<u8> out(static_cast<std::size_t>(outWidth * (192 + 2 * margin)));
    ForInterior([&](int x, int y) {
        if (index[At(x, y)] != backgroundColour)
            out[static_cast<std::size_t>((margin + y - 12) * outWidth + margin + x - 6)] = 255;
    });
    return out;
}

void PlainEmulator::ClearMargins(std::vector<u32>& image, Rect area) const
{
    const Rect visible = VisibleRect();
    for (int y = std::max(area.top, 0); y < std::min(area.bottom, height); ++y) {
        for (int x = std::max(area.left, 0); x < std::min(area.right, width); ++x) {
            if (x < visible.left || x >= visible.right || y < visible.top || y >= visible.bottom)
                image[static_cast<std::size_t>((y - area.top) * (area.right - area.left) + x - area.left)] =
                    palette[static_cast<std::size_t>(backgroundColour)];
        }
    }
}

PlainEmulator::Snapshot PlainEmulator::StoreState(bool indexOnly) const
{
    Snapshot state;
    static_cast<PlainScreen&>(state) = *this;
    state.indexOnly = indexOnly;
    if (!indexOnly) {
        state.colour = colour;
        state.mask = mask;
    }
    return state;
}

void PlainEmulator::RestoreState(const Snapshot& state)
{
    static_cast<PlainScreen&>(*this) = state;
    surfaceCreated = maskValid = false;
    coloursChanged = dirty = true;
    if (!state.indexOnly) {
        colour = state.colour;
        mask = state.mask;
    }
}
