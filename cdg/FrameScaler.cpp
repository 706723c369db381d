// The screen on a larger one: see FrameScaler.h.
#include "FrameScaler.h"

#include "ScreenScaler.h"

#include <algorithm>
#include <new>

namespace CDGEmulator {

namespace {

constexpr int sourceWidth = CCDGEmulator::screenWidth, sourceHeight = CCDGEmulator::screenHeight;

// As pictures store it, with full alpha.
u32 Stored(COLORREF colour)
{
    return 0xFF000000U | u32{GetRValue(colour)} << 16 | u32{GetGValue(colour)} << 8 | GetBValue(colour);
}

// The largest place in the middle with the screen's proportions; its corner is at even pixels, as videos like it.
CRect PlaceFor(int width, int height)
{
    const bool wide = i64{width} * sourceHeight >= i64{height} * sourceWidth;
    const int w = wide ? (height * sourceWidth + sourceHeight / 2) / sourceHeight : width;
    const int h = wide ? height : (width * sourceHeight + sourceWidth / 2) / sourceWidth;
    const int left = (width - w) / 2 & ~1, top = (height - h) / 2 & ~1;
    return CRect(left, top, left + w, top + h);
}

} // namespace

CFrameScaler::CFrameScaler() = default;
CFrameScaler::~CFrameScaler() = default;

bool CFrameScaler::Create(const Settings& wanted)
{
    scaler.reset();
    picture.Destroy();
    if (wanted.width < minWidth || wanted.width > maxWidth || wanted.height < minHeight || wanted.height > maxHeight ||
        !picture.Create(wanted.width, wanted.height, 32))
        return false;
    settings = wanted;
    place = PlaceFor(wanted.width, wanted.height);
    isFirst = true;
    try {
        scaler = std::make_unique<ScreenScaler>(place, wanted.smooth);
    } catch (const std::bad_alloc&) {
        picture.Destroy();
        return false;
    }
    for (int y = 0; y < picture.GetHeight(); ++y) {
        auto* row = reinterpret_cast<u32*>(static_cast<void*>(picture.GetRow(y)));
        std::fill(row, row + picture.GetWidth(), Stored(0));
    }
    return true;
}

CRect CFrameScaler::Update(const CDib& screen, COLORREF margin)
{
    const int bytes = screen.GetBitCount() / 8;
    if (!scaler || (bytes != 3 && bytes != 4) || screen.GetWidth() != sourceWidth || screen.GetHeight() != sourceHeight)
        return CRect(0, 0, 0, 0);
    constexpr int left = CCDGEmulator::visibleLeft, right = left + CCDGEmulator::visibleWidth;
    constexpr int top = CCDGEmulator::visibleTop, bottom = top + CCDGEmulator::visibleHeight;
    for (int y = 0; y < sourceHeight; ++y) {
        u32* to = scaler->Row(y);
        std::fill(to, to + sourceWidth, Stored(margin));
        if (y < top || y >= bottom)
            continue;
        const u8* from = screen.GetRow(y) + left * bytes;
        for (int x = left; x < right; ++x, from += bytes)
            to[x] = 0xFF000000U | u32{from[2]} << 16 | u32{from[1]} << 8 | from[0];
    }
    CRect changed = scaler->Draw(picture);
    const COLORREF around = settings.ownBackground ? settings.background : margin;
    if (isFirst || around != surroundings)
        changed |= PaintSurroundings(around);
    isFirst = false;
    return changed;
}

CRect CFrameScaler::PaintSurroundings(COLORREF colour)
{
    surroundings = colour;
    const int width = picture.GetWidth(), height = picture.GetHeight();
    const CRect areas[] = {CRect(0, 0, width, place.top), CRect(0, place.bottom, width, height),
                           CRect(0, place.top, place.left, place.bottom),
                           CRect(place.right, place.top, width, place.bottom)};
    CRect painted(0, 0, 0, 0);
    for (const CRect& area : areas) {
        if (area.IsRectEmpty())
            continue;
        picture.FillRect(area, colour);
        painted |= area;
    }
    return painted;
}

} // namespace CDGEmulator
