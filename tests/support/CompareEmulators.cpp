// Holds the library's emulator against the plain one; see the header.
#include "support/CompareEmulators.h"

#include <sstream>

namespace {

constexpr int width = PlainEmulator::width, height = PlainEmulator::height;

/// Differences are described, the first one wins.
class Report {
public:
    bool Found() const { return !text.empty(); }
    const std::string& Text() const { return text; }

    template <class Fast, class Plain>
    void Equal(const char* what, const Fast& fast, const Plain& plain)
    {
        if (!Found() && !(fast == plain)) {
            std::ostringstream out;
            out << what << ": fast " << fast << ", plain " << plain;
            text = out.str();
        }
    }
    void EqualRect(const char* what, const CRect& fast, const PlainEmulator::Rect& plain)
    {
        if (fast.IsRectEmpty() && plain.Empty())
            return;
        Equal(what, Name(fast), Name(plain));
    }
    /// `fastAt` and `plainAt` give a pixel's value.
    template <class Fast, class Plain>
    void EqualPixels(const char* what, int w, int h, Fast fastAt, Plain plainAt)
    {
        for (int y = 0; y < h && !Found(); ++y) {
            u32 differences = 0;
            for (int x = 0; x < w; ++x)
                differences |= fastAt(x, y) ^ plainAt(x, y);
            for (int x = 0; x < w && differences != 0; ++x)
                Equal((std::string(what) + " at " + std::to_string(x) + "," + std::to_string(y)).c_str(), fastAt(x, y),
                      plainAt(x, y));
        }
    }

private:
    template <class Rect>
    static std::string Name(const Rect& r)
    {
        return std::to_string(r.left) + "," + std::to_string(r.top) + "-" + std::to_string(r.right) + "," +
               std::to_string(r.bottom);
    }
    std::string text;
};

template <class Values>
auto PlainAt(const Values& values, int w = width)
{
    return [&values, w](int x, int y) -> u32 { return values[static_cast<std::size_t>(y * w + x)]; };
}

auto IndexAt(const CDib& image)
{
    return [&image](int x, int y) -> u32 { return image.GetRow(y)[x]; };
}

void CompareState(Report& report, const CDGEmulator::CCDGEmulator& fast, const PlainEmulator& plain)
{
    for (int i = 0; i < 16; ++i)
        report.Equal("palette", fast.GetPaletteEntry(i), plain.palette[static_cast<std::size_t>(i)]);
    report.Equal("border", fast.GetBorderColour(), plain.borderColour);
    report.Equal("border pixel", fast.GetBorderPixel(), plain.palette[static_cast<std::size_t>(plain.borderColour)]);
    report.Equal("background", fast.GetBackgroundColour(), plain.backgroundColour);
    report.Equal("horizontal offset", fast.GetHorizontalOffset(), plain.horizontalOffset);
    report.Equal("vertical offset", fast.GetVerticalOffset(), plain.verticalOffset);
    report.Equal("first channel", fast.GetFirstChannel(), plain.firstChannel);
    report.Equal("dirty", fast.IsDirty(), plain.dirty);
    report.Equal("colours changed", fast.HaveColoursChanged(), plain.coloursChanged);
    report.Equal("empty packs", fast.GetEmptyPackRun(), plain.emptyPackRun);
    report.Equal("colour loads", fast.GetClutRun(), plain.clutRun);
    report.EqualRect("modified", fast.GetModified(), plain.modified);
    report.Equal("is modified", fast.IsModified(), !plain.modified.Empty());
    report.EqualRect("visible area", fast.GetVisibleRect(), plain.VisibleRect());
}

void CompareColours(Report& report, const CDib& fast, const PlainEmulator& plain)
{
    report.Equal("colour image is there", fast.IsValid(), !plain.colour.empty());
    if (report.Found() || plain.colour.empty())
        return;
    const bool alpha = plain.masking == PlainEmulator::Masking::Alpha;
    report.Equal("colour depth", fast.GetBitCount(), alpha ? 32 : 24);
    const int bytes = fast.GetBitCount() / 8;
    report.EqualPixels(
        "colour", width, height,
        [&](int x, int y) {
            const u8* p = fast.GetRow(y) + x * bytes;
            return static_cast<u32>(p[2] | p[1] << 8 | p[0] << 16);
        },
        PlainAt(plain.colour));
    if (alpha)
        report.EqualPixels(
            "alpha", width, height, [&](int x, int y) -> u32 { return fast.GetRow(y)[4 * x + 3]; },
            PlainAt(plain.mask));
}

} // namespace

std::string Difference(CDGEmulator::CCDGEmulator& fast, PlainEmulator& plain, unsigned looks)
{
    Report report;
    if (looks & kReadyFirst) {
        fast.ReadyScreen();
        plain.ReadyScreen();
    }
    if (looks & kLookAtMask) {
        const CDib* mask = fast.GetScreenMask();
        report.Equal("mask is there", mask != nullptr, !plain.mask.empty());
        if (mask && !report.Found())
            report.EqualPixels("mask", width, height, IndexAt(*mask), PlainAt(plain.mask));
    }
    if (looks & kLookAtState)
        CompareState(report, fast, plain);
    if (looks & kLookAtIndex) {
        report.EqualPixels("index", width, height, IndexAt(fast.ScreenIndexImage()), PlainAt(plain.index));
        for (int i = 0; i < 16; ++i)
            report.Equal("colour table", fast.ScreenIndexImage().GetTableColor(i),
                         plain.palette[static_cast<std::size_t>(i)]);
    }
    if (looks & kLookAtColours)
        CompareColours(report, fast.ScreenColourImage(), plain);
    if (looks & kLookAtVisible) {
        CDib out;
        const int margin = plain.borderColour; // any number will do
        report.Equal("GetMask", fast.GetMask(&out, margin), true);
        report.Equal("GetMask's width", out.GetWidth(), 288 + 2 * margin);
        report.Equal("GetMask's height", out.GetHeight(), 192 + 2 * margin);
        const std::vector<u8> expected = plain.GetMask(margin);
        if (!report.Found())
            report.EqualPixels("GetMask", out.GetWidth(), out.GetHeight(), IndexAt(out),
                               PlainAt(expected, out.GetWidth()));
    }
    if (looks & kOutlineLines) {
        fast.UpdateMaskOutline();
        plain.UpdateMaskOutline();
    }
    if (looks & kLinesLast) {
        fast.DetectLines();
        plain.DetectLines();
        report.Equal("number of lines", fast.GetLines().size(), plain.lines.size());
        for (std::size_t i = 0; i < plain.lines.size() && !report.Found(); ++i) {
            report.Equal("first row of a line", fast.GetLines()[i].first, plain.lines[i].first);
            report.Equal("last row of a line", fast.GetLines()[i].second, plain.lines[i].second);
        }
        report.Equal("is a text page", fast.IsThisTextPage(), plain.IsThisTextPage());
    }
    if (looks & kCleanLast)
        report.Equal("clean screen", fast.IsCleanScreen(), plain.IsCleanScreen());
    return report.Text();
}

std::string BrokenInvariant(CDGEmulator::CCDGEmulator& emulator)
{
    Report report;
    const auto within = [&report](const char* what, int value, int low, int high) {
        report.Equal(what, value, value < low ? low : value > high ? high : value);
    };
    const auto compareIndices = [&](const char* what, const CDib& a, const CDib& b) {
        report.EqualPixels(what, width, height, IndexAt(a), IndexAt(b));
    };
    within("horizontal offset", emulator.GetHorizontalOffset(), 0, 5);
    within("vertical offset", emulator.GetVerticalOffset(), 0, 11);
    within("border", emulator.GetBorderColour(), 0, 15);
    within("background", emulator.GetBackgroundColour(), 0, 15);
    within("first channel", emulator.GetFirstChannel(), -1, 15);
    const auto indexAt = IndexAt(emulator.ScreenIndexImage());
    report.EqualPixels("index", width, height, indexAt, [&](int x, int y) { return indexAt(x, y) & 15; });
    const CDib before = emulator.ScreenIndexImage();
    CDGEmulator::CCDGEmulator::typeState state;
    emulator.StoreState(state, true);
    int size = 0;
    const std::unique_ptr<u8[]> buffer = emulator.StoreState(size);
    emulator.Reset();
    report.Equal("RestoreState of an object", emulator.RestoreState(state, false), true);
    compareIndices("index after an object", emulator.ScreenIndexImage(), before);
    emulator.Reset();
    report.Equal("RestoreState of a buffer", emulator.RestoreState(buffer.get(), size), true);
    compareIndices("index after a buffer", emulator.ScreenIndexImage(), before);
    return report.Text();
}
