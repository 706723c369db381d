// Pictures and PNG files: see Picture.h.
#include "Picture.h"

#include "Commands.h"

#include <stb_image_write.h>

#include <algorithm>
#include <cstring>
#include <new>

namespace nvtool {

namespace {

constexpr int kGlyphWidth = 5, kGlyphHeight = 7, kGlyphStep = 6;

// Rows of five dots, top first, bit 4 the leftmost.
const u8* Glyph(char character)
{
    static constexpr u8 digits[10][kGlyphHeight] = {
        {0x0E, 0x11, 0x13, 0x15, 0x19, 0x11, 0x0E}, {0x04, 0x0C, 0x04, 0x04, 0x04, 0x04, 0x0E},
        {0x0E, 0x11, 0x01, 0x06, 0x08, 0x10, 0x1F}, {0x0E, 0x11, 0x01, 0x06, 0x01, 0x11, 0x0E},
        {0x02, 0x06, 0x0A, 0x12, 0x1F, 0x02, 0x02}, {0x1F, 0x10, 0x1E, 0x01, 0x01, 0x11, 0x0E},
        {0x06, 0x08, 0x10, 0x1E, 0x11, 0x11, 0x0E}, {0x1F, 0x01, 0x02, 0x04, 0x08, 0x08, 0x08},
        {0x0E, 0x11, 0x11, 0x0E, 0x11, 0x11, 0x0E}, {0x0E, 0x11, 0x11, 0x0F, 0x01, 0x02, 0x0C},
    };
    static constexpr u8 colon[kGlyphHeight] = {0, 0x04, 0x04, 0, 0x04, 0x04, 0};
    static constexpr u8 point[kGlyphHeight] = {0, 0, 0, 0, 0, 0x0C, 0x0C};
    if (character >= '0' && character <= '9')
        return digits[character - '0'];
    return character == ':' ? colon : character == '.' ? point : nullptr;
}

} // namespace

Rgb ToRgb(u32 colour)
{
    return {u8(colour), u8(colour >> 8), u8(colour >> 16)};
}

Picture::Picture(int across, int down, Rgb fill) : width(across), height(down), bytes(size_t(across) * size_t(down) * 3)
{
    for (size_t at = 0; at < bytes.size(); at += 3)
        std::copy(fill.begin(), fill.end(), bytes.begin() + std::ptrdiff_t(at));
}

void Picture::Paste(const Picture& other, int left, int top)
{
    const int fromX = std::max(0, -left), toX = std::min(other.width, width - left);
    const int fromY = std::max(0, -top), toY = std::min(other.height, height - top);
    if (fromX >= toX)
        return;
    for (int y = fromY; y < toY; ++y)
        std::memcpy(At(left + fromX, top + y), other.At(fromX, y), size_t(toX - fromX) * 3);
}

void Picture::Frame(int left, int top, int right, int bottom, int thickness, Rgb colour)
{
    left = std::clamp(left, 0, width);
    right = std::clamp(right, left, width);
    top = std::clamp(top, 0, height);
    bottom = std::clamp(bottom, top, height);
    const Picture across(right - left, std::min(thickness, bottom - top), colour);
    const Picture down(std::min(thickness, right - left), bottom - top, colour);
    Paste(across, left, top);
    Paste(across, left, bottom - across.Height());
    Paste(down, left, top);
    Paste(down, right - down.Width(), top);
}

void Picture::Text(std::string_view text, int left, int top, int dot, Rgb colour)
{
    const Picture ink(dot, dot, colour);
    for (const char character : text) {
        const u8* rows = Glyph(character);
        for (int y = 0; rows && y < kGlyphHeight; ++y)
            for (int x = 0; x < kGlyphWidth; ++x)
                if (rows[y] & (0x10 >> x))
                    Paste(ink, left + x * dot, top + y * dot);
        left += kGlyphStep * dot;
    }
}

int Picture::TextHeight(int dot)
{
    return kGlyphHeight * dot;
}

Picture TakePicture(CCDGRenderer& renderer, double seconds, Area area)
{
    const CDib* frame = renderer.GetFrame(seconds);
    if (!frame || !frame->IsValid())
        throw std::bad_alloc(); // an open renderer has a frame unless there was no memory for it
    const Emulator& emulator = renderer.GetEmulator();
    const int bytesPerPixel = frame->GetBitCount() / 8;

    Picture seen(Emulator::visibleWidth, Emulator::visibleHeight, {});
    for (int y = 0; y < seen.Height(); ++y) {
        const u8* from = frame->GetRow(Emulator::visibleTop + y) + Emulator::visibleLeft * bytesPerPixel;
        u8* to = seen.At(0, y);
        for (int x = 0; x < seen.Width(); ++x, from += bytesPerPixel, to += 3) {
            to[0] = from[2];
            to[1] = from[1];
            to[2] = from[0];
        }
    }
    if (area == Area::Visible)
        return seen;
    Picture field(Emulator::screenWidth, Emulator::screenHeight,
                  ToRgb(emulator.GetPaletteEntry(emulator.GetBackgroundColour())));
    field.Paste(seen, Emulator::visibleLeft, Emulator::visibleTop);
    return field;
}

Picture Enlarged(const Picture& picture, int factor)
{
    if (factor <= 1)
        return picture;
    Picture large(picture.Width() * factor, picture.Height() * factor, {});
    for (int y = 0; y < large.Height(); ++y)
        for (int x = 0; x < large.Width(); ++x)
            std::memcpy(large.At(x, y), picture.At(x / factor, y / factor), 3);
    return large;
}

Picture Halved(const Picture& picture)
{
    Picture small(picture.Width() / 2, picture.Height() / 2, {});
    for (int y = 0; y < small.Height(); ++y)
        for (int x = 0; x < small.Width(); ++x)
            for (int c = 0; c < 3; ++c) {
                const u8 *upper = picture.At(2 * x, 2 * y) + c, *lower = picture.At(2 * x, 2 * y + 1) + c;
                small.At(x, y)[c] = u8((upper[0] + upper[3] + lower[0] + lower[3] + 2) / 4);
            }
    return small;
}

void WritePng(const std::filesystem::path& path, const Picture& picture)
{
    OutputFile file(path);
    std::vector<u8> png;
    const auto append = [](void* context, void* data, int size) {
        const auto* bytes = static_cast<const u8*>(data);
        static_cast<std::vector<u8>*>(context)->insert(static_cast<std::vector<u8>*>(context)->end(), bytes,
                                                       bytes + size);
    };
    if (!stbi_write_png_to_func(append, &png, picture.Width(), picture.Height(), 3, picture.Bytes(),
                                picture.Width() * 3))
        throw Error(PathText(path), "the picture could not be encoded");
    file.Write(png.data(), png.size());
    file.Commit();
}

} // namespace nvtool
