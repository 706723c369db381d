// Device-independent bitmaps: the pictures of the library.
//
// Rows are stored bottom-up and padded to four bytes, as the Windows DIB format has them; coordinates given to the
// accessors are top-down (y = 0 is the top row). Colours are 0x00BBGGRR; pixels store blue, green, red.
// A bitmap is a plain value: one thread at a time, copies are independent.
#pragma once

#include "NVExport.h"
#include "NVTypes.h"

#include <afxwin.h>
#include <array>
#include <vector>

/// A picture of 8 bits a pixel with a colour table of 256 entries, or of 24 or 32 bits a pixel.
class NVLIB_API CDib {
public:
    /// Bytes that may be read or written behind the last pixel (and are never part of the picture), so that row code
    /// can move whole vectors.
    static constexpr int slackBytes = 64;
    /// Largest width and height in pixels.
    static constexpr int maxSide = 32767;

    CDib() = default;

    /// Makes a zero-filled picture, with a black colour table when `bitsPerPixel` is 8. False, and no picture, when the
    /// size is not in 1…`maxSide`, the depth is none of 8, 24, 32, or there is no memory.
    bool Create(int width, int height, int bitsPerPixel);
    /// Drops the picture; `IsValid()` is then false.
    void Destroy();
    bool IsValid() const { return !bits.empty(); }

    int GetWidth() const { return width; }
    int GetHeight() const { return height; }
    /// 8, 24 or 32; 0 without a picture.
    int GetBitCount() const { return bitCount; }
    /// Bytes from one stored row to the next one, which is the row above.
    int GetPitch() const { return pitch; }
    /// The whole picture as a rectangle; empty without one.
    CRect GetRect() const { return CRect(0, 0, width, height); }
    /// Bytes of all rows, padding included.
    int GetImageSize() const { return pitch * height; }

    /// The stored bytes, bottom row first; null without a picture. Valid until the picture is made anew or dropped.
    u8* GetBits() { return bits.empty() ? nullptr : bits.data(); }
    const u8* GetBits() const { return bits.empty() ? nullptr : bits.data(); }
    /// The first pixel of the row `y` counted from the top. No check: `y` must be in 0…height - 1.
    u8* GetRow(int y) { return bits.data() + static_cast<std::ptrdiff_t>(height - 1 - y) * pitch; }
    const u8* GetRow(int y) const { return bits.data() + static_cast<std::ptrdiff_t>(height - 1 - y) * pitch; }

    /// Pixel of an 8-bit picture; 0 outside of it or in another depth.
    u8 GetPixelIndex(int x, int y) const;
    /// Sets a pixel of an 8-bit picture; nothing outside of it or in another depth.
    void SetPixelIndex(int x, int y, u8 index);
    /// Colour of a pixel of any depth (0x00BBGGRR); black outside.
    COLORREF GetPixelColor(int x, int y) const;
    /// Sets blue, green and red of a pixel of a 24- or 32-bit picture and leaves the alpha byte; nothing outside.
    void SetPixelColor(int x, int y, COLORREF colour);

    /// Colour table of an 8-bit picture, kept (and black) in the other depths.
    COLORREF GetTableColor(int index) const;
    void SetTableColor(int index, COLORREF colour);
    /// The colour table as stored: blue, green, red, 0 for each of the 256 entries.
    const std::array<RGBQUAD, 256>& GetColorTable() const { return colourTable; }

    /// Copies `from` of `source` to `to` (its top-left corner), clipped to both pictures. False, and nothing copied,
    /// when the depths differ or there is no picture. `source` may be this picture; overlaps are copied as if through a
    /// third one. The colour table is not copied.
    bool CopyRect(const CDib& source, const CRect& from, CPoint to);
    /// Fills a rectangle, clipped: with an index (8 bits) or a colour (24 and 32 bits, alpha left as it is).
    void FillRect(const CRect& area, u32 indexOrColour);

    /// Shows `from` with its top-left corner at `to` of a window that is being painted, clipped to both. False when
    /// there is no picture or the context is none.
    bool Show(const CDC& context, const CRect& from, CPoint to) const;
    /// Becomes a 32-bit picture of what a window and the windows in it last painted. False, and no picture, when
    /// there is no such window or nothing of it is kept.
    bool CopyWindow(const CWnd& window);

private:
    int width = 0, height = 0, bitCount = 0, pitch = 0;
    std::vector<u8> bits; // rows, then the slack
    std::array<RGBQUAD, 256> colourTable{};
};
