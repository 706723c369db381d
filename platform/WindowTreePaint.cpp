// What is out of date in windows, and the pixels that make it new. See WindowTree.h.
//
// Each window remembers what of it is out of date, as rectangles that do not overlap. A window that is being painted is
// clipped to them, and to what neither its children nor its neighbours above it cover: so no window paints over another
// one, whatever its style.
#include "RectTools.h"
#include "WindowTree.h"

#include <cstring>

namespace NV {

namespace {

/// Takes `hole` out of rectangles that do not overlap.
void Subtract(std::vector<RECT>& area, const RECT& hole)
{
    std::vector<RECT> left;
    for (const RECT& r : area) {
        const RECT cut = Common(r, hole);
        if (Empty(cut)) {
            left.push_back(r);
            continue;
        }
        const RECT around[] = {{r.left, r.top, r.right, cut.top},
                               {r.left, cut.bottom, r.right, r.bottom},
                               {r.left, cut.top, cut.left, cut.bottom},
                               {cut.right, cut.top, r.right, cut.bottom}};
        std::copy_if(std::begin(around), std::end(around), std::back_inserter(left),
                     [](const RECT& part) { return !Empty(part); });
    }
    area = std::move(left);
}

constexpr std::size_t mostParts = 32; // of a window that is out of date; when there are more, all between them is too

RECT AroundAll(const std::vector<RECT>& parts)
{
    RECT around{};
    for (const RECT& part : parts)
        around = Around(around, part);
    return around;
}

/// One stored row, from `at` on, as 0x00RRGGBB.
void Expand(const PixelRows& picture, const u8* row, int at, int count, u32* to)
{
    if (picture.bitCount == 8) {
        for (int i = 0; i < count; ++i) {
            const RGBQUAD& c = picture.colours[row[at + i]];
            to[i] = static_cast<u32>(c.rgbRed) << 16 | static_cast<u32>(c.rgbGreen) << 8 | c.rgbBlue;
        }
    } else if (picture.bitCount == 24) {
        for (const u8* p = row + 3 * at; count > 0; --count, p += 3)
            *to++ = static_cast<u32>(p[2]) << 16 | static_cast<u32>(p[1]) << 8 | p[0];
    } else {
        std::memcpy(to, row + 4 * at, static_cast<std::size_t>(count) * 4);
        for (int i = 0; i < count; ++i)
            to[i] &= 0x00FFFFFF;
    }
}

std::size_t PitchOf(const PixelRows& picture)
{
    return (static_cast<std::size_t>(picture.width) * static_cast<std::size_t>(picture.bitCount / 8) + 3) / 4 * 4;
}

u8* RowOf(const PixelRows& picture, int y)
{
    return picture.bits + static_cast<std::size_t>(picture.height - 1 - y) * PitchOf(picture);
}

/// Has a surface of this size; what it showed stays at its top left.
void Fit(Surface& surface, int width, int height)
{
    if (surface.width == width && surface.height == height)
        return;
    Surface fitting{width, height, {}};
    fitting.pixels.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    for (int y = 0; y < std::min(height, surface.height); ++y)
        std::copy_n(surface.Row(y), std::min(width, surface.width), fitting.Row(y));
    surface = std::move(fitting);
}

} // namespace

// ---- What is out of date --------------------------------------------------------------------------------------------

void WindowTree::Invalidate(HWND window, const RECT* area, bool erase)
{
    Window* const at = Find(window);
    if (!at)
        return;
    const RECT client = ClientRect(window);
    const RECT part = area ? Common(*area, client) : client;
    std::vector<RECT> added(Empty(part) ? 0 : 1, part);
    SubtractChildren(added, *at, {0, 0}); // these parts are theirs
    for (const RECT& each : added) {
        Subtract(at->invalid, each);
        at->invalid.push_back(each);
        at->erase = at->erase || erase;
    }
    if (at->invalid.size() > mostParts)
        at->invalid = {AroundAll(at->invalid)};
}

void WindowTree::InvalidateAll(HWND window, const RECT& area)
{
    Invalidate(window, &area, true);
    const Window* const at = Find(window);
    for (const HWND child : at ? at->children : std::vector<HWND>()) {
        const RECT place = Find(child)->place;
        const RECT part = Common(area, place);
        if (!Empty(part))
            InvalidateAll(child, Moved(part, {-place.left, -place.top}));
    }
}

/// The window itself or the first one in it that can be seen and is out of date.
HWND WindowTree::Outdated(HWND window)
{
    const Window* const at = Find(window);
    if (!at || !(at->style & WS_VISIBLE))
        return nullptr;
    if (!Empty(Common(AroundAll(at->invalid), ClientRect(window))))
        return window;
    for (const HWND child : at->children) {
        if (const HWND found = Outdated(child))
            return found;
    }
    return nullptr;
}

bool WindowTree::TakePaint(MSG& message)
{
    for (const HWND top : tops) {
        if (const HWND window = Outdated(top))
            return Fill(message, window, WM_PAINT, 0, 0);
    }
    return false;
}

void WindowTree::Update(HWND window)
{
    if (!Shown(window))
        return;
    if (Outdated(window) == window)
        Send(window, WM_PAINT, 0, 0);
    const Window* const at = Find(window);
    for (const HWND child : at ? at->children : std::vector<HWND>())
        Update(child);
}

// ---- Painting -------------------------------------------------------------------------------------------------------

void WindowTree::SubtractChildren(std::vector<RECT>& parts, const Window& at, POINT origin)
{
    for (const HWND child : at.children) {
        const Window* const inner = Find(child);
        if (inner->style & WS_VISIBLE)
            Subtract(parts, Moved(inner->place, origin));
    }
}

/// What can be seen of parts of a window, in the coordinates of the window at the top.
std::vector<RECT> WindowTree::VisibleParts(HWND window, const std::vector<RECT>& area)
{
    POINT origin = OriginInTop(window);
    std::vector<RECT> parts;
    for (const RECT& part : area)
        // NOLINTNEXTLINE(performance-inefficient-vector-operation): a few
        parts.push_back(Moved(Common(part, ClientRect(window)), origin));
    SubtractChildren(parts, *Find(window), origin);
    for (const Window* at = Find(window); at->parent; at = Find(at->parent)) {
        origin = {origin.x - at->place.left, origin.y - at->place.top}; // of the parent
        const Window* const parent = Find(at->parent);
        for (const HWND neighbour : parent->children) {
            const Window* const above = Find(neighbour);
            if (above == at)
                break; // those behind it in the list lie below it
            if (above->style & WS_VISIBLE)
                Subtract(parts, Moved(above->place, origin));
        }
        for (RECT& part : parts)
            part = Common(part, Moved(ClientRect(at->parent), origin));
    }
    std::erase_if(parts, [](const RECT& part) { return Empty(part); });
    return parts;
}

HDC WindowTree::BeginPaint(HWND window, PAINTSTRUCT& paint)
{
    paint = PAINTSTRUCT{};
    Window* at = Find(window);
    if (!at)
        return nullptr;
    const bool erase = at->erase;
    const std::vector<RECT> parts = Shown(window) ? VisibleParts(window, at->invalid) : std::vector<RECT>();
    at->invalid.clear();
    at->erase = false;
    const HWND top = TopOf(window);
    Window& shownIn = *Find(top);
    Fit(shownIn.surface, Width(shownIn.place), Height(shownIn.place));
    const POINT origin = OriginInTop(window);
    const HDC context = reinterpret_cast<HDC>(++lastContext);
    paintings[context] = {window, top, origin, parts};
    paint.hdc = context;
    paint.rcPaint = parts.empty() ? RECT{} : Moved(AroundAll(parts), {-origin.x, -origin.y});
    paint.fErase = erase && !parts.empty() && !Send(window, WM_ERASEBKGND, reinterpret_cast<WPARAM>(context), 0);
    return context;
}

void WindowTree::EndPaint(HWND window, const PAINTSTRUCT& paint)
{
    const auto found = paintings.find(paint.hdc);
    if (found == paintings.end() || found->second.window != window)
        return;
    const Painting painting = std::move(found->second);
    paintings.erase(found);
    const Window* const top = Find(painting.top);
    const RECT all{0, 0, top ? top->surface.width : 0, top ? top->surface.height : 0};
    for (const RECT& part : painting.clip) {
        const RECT changed = Common(part, all);
        if (!Empty(changed))
            screen->Present(painting.top, top->surface, changed);
    }
}

bool WindowTree::EraseBackground(HWND window, HDC context)
{
    const auto found = paintings.find(context);
    const Window* const at = Find(window);
    if (found == paintings.end() || !at->background)
        return false;
    const bool face = at->background == reinterpret_cast<HBRUSH>(static_cast<UINT_PTR>(COLOR_BTNFACE + 1));
    Surface& surface = Find(found->second.top)->surface;
    for (const RECT& clip : found->second.clip) {
        const RECT part = Common(clip, {0, 0, surface.width, surface.height});
        for (int y = part.top; y < part.bottom && part.left < part.right; ++y)
            std::fill_n(surface.Row(y) + part.left, Width(part), face ? 0xF0F0F0U : 0xFFFFFFU);
    }
    return true;
}

bool WindowTree::ShowPixels(HDC context, POINT to, const PixelRows& picture, const RECT& from)
{
    const auto found = paintings.find(context);
    if (found == paintings.end())
        return false;
    const Painting& painting = found->second;
    Surface& surface = Find(painting.top)->surface;
    // From the picture to the window at the top, by way of the window. Far corners are out of reach and are cut first.
    constexpr RECT reach{-0x1000000, -0x1000000, 0x1000000, 0x1000000};
    if (!Holds(reach, to) || !Holds(reach, {from.left, from.top}))
        return true;
    const POINT shift{painting.origin.x + to.x - from.left, painting.origin.y + to.y - from.top};
    const RECT there = Moved(Common(from, {0, 0, picture.width, picture.height}), shift);
    for (const RECT& clip : painting.clip) {
        const RECT part = Common(Common(clip, there), {0, 0, surface.width, surface.height});
        for (int y = part.top; y < part.bottom && part.left < part.right; ++y)
            Expand(picture, RowOf(picture, y - shift.y), part.left - shift.x, Width(part), surface.Row(y) + part.left);
    }
    return true;
}

bool WindowTree::ReadPixels(HWND window, const PixelRows& picture)
{
    const Window* const at = Find(window);
    if (!at || picture.bitCount != 32 || Width(at->place) != picture.width || Height(at->place) != picture.height)
        return false;
    const Surface& surface = Find(TopOf(window))->surface;
    const POINT origin = OriginInTop(window);
    const RECT part = Common(RectAt(origin, picture.width, picture.height), {0, 0, surface.width, surface.height});
    std::fill_n(picture.bits, PitchOf(picture) * static_cast<std::size_t>(picture.height), u8(0));
    for (int y = part.top; y < part.bottom && part.left < part.right; ++y)
        std::memcpy(RowOf(picture, y - origin.y) + 4 * (part.left - origin.x), surface.Row(y) + part.left,
                    static_cast<std::size_t>(Width(part)) * 4);
    return true;
}

} // namespace NV
