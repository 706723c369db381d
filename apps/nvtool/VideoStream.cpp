// Pictures on their way to ffmpeg: see VideoStream.h.
#include "VideoStream.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <string_view>

namespace nvtool {

namespace {

// ---- Elements of Matroska: a number that says what it is, a length of eight bytes, a body; high bytes first.

std::string BigEndian(u64 value, int bytes)
{
    std::string text;
    for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8)
        text += static_cast<char>(value >> shift & 0xFF);
    return text;
}

std::string ElementHead(u32 id, u64 length)
{
    const int idBytes = id > 0xFFFFFF ? 4 : id > 0xFFFF ? 3 : id > 0xFF ? 2 : 1;
    return BigEndian(id, idBytes) + BigEndian(u64{1} << 56 | length, 8);
}

std::string Element(u32 id, std::string_view body)
{
    return ElementHead(id, body.size()) + std::string(body);
}

std::string Number(u32 id, u64 value)
{
    return Element(id, BigEndian(value, 8));
}

std::string Real(u32 id, double value)
{
    return Element(id, BigEndian(std::bit_cast<u64>(value), 8));
}

constexpr u64 kUnknownLength = (u64{1} << 56) - 1;

std::string StreamHead(const VideoStream::Shape& shape)
{
    const u64 frameTime = (1000000000ULL * static_cast<u64>(shape.perSeconds) + static_cast<u64>(shape.rate) / 2) /
                          static_cast<u64>(shape.rate); // nanoseconds, and the unit of all times
    const bool planes = shape.form == PixelForm::Planes;
    const std::string head = Number(0x4286, 1) + Number(0x42F7, 1) + Number(0x42F2, 4) + Number(0x42F3, 8) +
                             Element(0x4282, "matroska") + Number(0x4287, 4) + Number(0x4285, 2);
    const std::string info = Number(0x2AD7B1, frameTime) + Real(0x4489, static_cast<double>(shape.frames)) +
                             Element(0x4D80, "nvtool") + Element(0x5741, "nvtool");
    // BT.709, in its usual range.
    const std::string colour = Number(0x55B1, 1) + Number(0x55B9, 1) + Number(0x55BA, 1) + Number(0x55BB, 1);
    const std::string video = Number(0xB0, static_cast<u64>(shape.width)) +
                              Number(0xBA, static_cast<u64>(shape.height)) +
                              Element(0x2EB524, planes ? std::string_view("I420", 4) : std::string_view("BGR\0", 4)) +
                              (planes ? Element(0x55B0, colour) : std::string());
    const std::string track = Number(0xD7, 1) + Number(0x73C5, 1) + Number(0x83, 1) + Number(0x9C, 0) +
                              Element(0x86, "V_UNCOMPRESSED") + Number(0x23E383, frameTime) + Element(0xE0, video);
    return Element(0x1A45DFA3, head) + ElementHead(0x18538067, kUnknownLength) + Element(0x1549A966, info) +
           Element(0x1654AE6B, Element(0xAE, track));
}

// ---- BT.709 in 16 bits behind the point

constexpr int kHalf = 1 << 15;

u8 Brightness(int red, int green, int blue)
{
    return static_cast<u8>((11966 * red + 40254 * green + 4064 * blue + (16 << 16) + kHalf) >> 16);
}

// Of sums of four pixels.
u8 BlueDifference(int red, int green, int blue)
{
    return static_cast<u8>((-6596 * red - 22188 * green + 28784 * blue + 4 * ((128 << 16) + kHalf)) >> 18);
}

u8 RedDifference(int red, int green, int blue)
{
    return static_cast<u8>((28784 * red - 26145 * green - 2639 * blue + 4 * ((128 << 16) + kHalf)) >> 18);
}

} // namespace

StreamPicture::StreamPicture(int across, int down, PixelForm pixelForm)
    : width(across), height(down), form(pixelForm),
      bytes(static_cast<std::size_t>(across) * static_cast<std::size_t>(down) * (form == PixelForm::BlueFirst ? 8 : 3) /
            2)
{
}

void StreamPicture::Take(const CDib& picture, CRect part)
{
    // Whole squares of 2 x 2.
    part = CRect(part.left & ~1, part.top & ~1, (part.right + 1) & ~1, (part.bottom + 1) & ~1);
    if (form == PixelForm::Planes)
        return TakePlanes(picture, part);
    const auto count = static_cast<std::size_t>(part.Width()) * 4;
    for (int y = part.top; y < part.bottom && count > 0; ++y)
        std::memcpy(&bytes[(static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
                            static_cast<std::size_t>(part.left)) *
                           4],
                    picture.GetRow(y) + part.left * 4, count);
}

void StreamPicture::TakePlanes(const CDib& picture, const CRect& part)
{
    const std::ptrdiff_t line = width, all = line * height;
    for (int y = part.top; y < part.bottom; y += 2) {
        const u8* rows[2] = {picture.GetRow(y) + part.left * 4, picture.GetRow(y + 1) + part.left * 4};
        u8* bright = bytes.data() + y * line + part.left;
        u8* blues = bytes.data() + all + y / 2 * (line / 2) + part.left / 2;
        u8* reds = blues + all / 4;
        const int pairs = part.Width() / 2;
        for (int x = 0; x < 2 * pairs; ++x) {
            bright[x] = Brightness(rows[0][4 * x + 2], rows[0][4 * x + 1], rows[0][4 * x]);
            bright[x + line] = Brightness(rows[1][4 * x + 2], rows[1][4 * x + 1], rows[1][4 * x]);
        }
        for (int x = 0; x < pairs; ++x) {
            const auto sum = [&](int c) {
                return rows[0][8 * x + c] + rows[0][8 * x + 4 + c] + rows[1][8 * x + c] + rows[1][8 * x + 4 + c];
            };
            blues[x] = BlueDifference(sum(2), sum(1), sum(0));
            reds[x] = RedDifference(sum(2), sum(1), sum(0));
        }
    }
}

VideoStream::VideoStream(CConsoleOutputReader::Input& to, const Shape& shape) : output(to)
{
    const std::string head = StreamHead(shape);
    isOpen = output.Write(head.data(), head.size());
}

bool VideoStream::Write(i64 number, const StreamPicture& picture)
{
    const std::string time = Number(0xE7, static_cast<u64>(number));
    const std::string block("\x81\0\0\x80", 4); // track 1, at the cluster's time, stands by itself
    const u64 blockBytes = block.size() + picture.Bytes().size();
    const std::string blockHead = ElementHead(0xA3, blockBytes) + block;
    const std::string head =
        ElementHead(0x1F43B675, time.size() + blockHead.size() + picture.Bytes().size()) + time + blockHead;
    isOpen = isOpen && output.Write(head.data(), head.size()) &&
             output.Write(picture.Bytes().data(), picture.Bytes().size());
    return isOpen;
}

} // namespace nvtool
