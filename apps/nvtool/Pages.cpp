// Finding pages: see Pages.h.
#include "Pages.h"

#include "Commands.h"
#include "Picture.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <optional>

namespace nvtool {

namespace {

constexpr int kSampleEvery = kPacksPerSecond / 4;
constexpr int kMinEdges = 24; // less is a stray dot, not a page

// What a viewer sees, measured.
struct Sight {
    int edges = 0;    // places where a pixel stands out from its left or upper neighbour
    int contrast = 0; // by how much, all together
    u64 print = 0;    // of the palette and all pixels, to tell screens apart
};

int Contrast(u32 a, u32 b)
{
    int most = 0;
    for (int shift = 0; shift < 24; shift += 8)
        most = std::max(most, std::abs(static_cast<int>(a >> shift & 0xFF) - static_cast<int>(b >> shift & 0xFF)));
    return most < kMinContrast ? 0 : most;
}

Sight Look(const Emulator& emulator)
{
    constexpr u64 fnvPrime = 1099511628211u, fnvStart = 14695981039346656037u;
    constexpr auto colours = static_cast<size_t>(Emulator::colourCount);
    const CDib& screen = emulator.ScreenIndexImage();
    const CRect visible = emulator.GetVisibleRect();
    std::array<u32, colours> palette{};
    for (size_t i = 0; i < colours; ++i)
        palette[i] = emulator.GetPaletteEntry(static_cast<int>(i));
    std::array<std::array<int, colours>, colours> contrasts{};
    for (size_t i = 0; i < colours; ++i)
        for (size_t j = 0; j < colours; ++j)
            contrasts[i][j] = Contrast(palette[i], palette[j]);

    Sight sight;
    sight.print = fnvStart;
    const auto mix = [&](u64 value) { sight.print = (sight.print ^ value) * fnvPrime; };
    std::for_each(palette.begin(), palette.end(), mix);
    const auto compare = [&](u8 a, u8 b) {
        const int contrast = contrasts[a][b];
        sight.edges += contrast > 0;
        sight.contrast += contrast;
    };
    for (int y = visible.top + 1; y < visible.bottom; ++y) {
        const u8 *row = screen.GetRow(y), *above = screen.GetRow(y - 1);
        for (int x = visible.left + 1; x < visible.right; ++x) {
            compare(row[x], row[x - 1]);
            compare(row[x], above[x]);
        }
        for (int x = visible.left; x < visible.right; x += int(sizeof(u64))) { // 288 pixels, a multiple of eight
            u64 pixels = 0;
            std::memcpy(&pixels, row + x, sizeof(pixels));
            mix(pixels);
        }
    }
    return sight;
}

class PageFinder {
public:
    PageFinder() { emulator.Init(); }

    void Feed(const u8* raw, int index)
    {
        const bool erases = raw[0] == kCommandGraphics && raw[1] == kMemoryPreset && (raw[5] & 0x0F) == 0;
        if (erases) {
            Sample(index);
            Emit({});
        } else if (index % kSampleEvery == 0) {
            Sample(index);
        }
        emulator.ProcessCommand(CCDGEmulatorPack(raw), -1, 0);
    }

    PageList Finish(int packs)
    {
        Sample(packs);
        Emit({});
        return std::move(list);
    }

private:
    // Looks at the screen as it is before pack `index`.
    void Sample(int index)
    {
        if (!emulator.IsModified()) {
            if (candidate && whole)
                candidate->pack = index;
            return;
        }
        emulator.ClearModified();
        const Sight sight = Look(emulator);
        if (candidate && sight.edges < most.edges / 2) // gone, or going, without a preset
            Emit(sight);
        left = std::min(left, sight.edges);
        most.edges = std::max(most.edges, sight.edges);
        most.contrast = std::max(most.contrast, sight.contrast);

        // What is left of an emitted page is no new one until more has been drawn.
        const bool isPage = sight.edges >= left + std::max(kMinEdges, left / 4);
        // Highlighting may darken a page; fading out darkens it more.
        whole = isPage && sight.edges >= most.edges / 10 * 9 && sight.contrast >= most.contrast / 10 * 8;
        if (!whole)
            return;
        candidate = Page{candidate ? candidate->startPack : index, index};
        print = sight.print;
    }

    // Ends the page that is on the screen, if there is one; `rest` is what stays behind.
    void Emit(const Sight& rest)
    {
        most = rest;
        left = rest.edges;
        if (!candidate)
            return;
        const Page page = *candidate;
        candidate.reset();
        if (print == lastPrint)
            return;
        lastPrint = print;
        if (list.pages.size() < kMaxPages)
            list.pages.push_back(page);
        else
            list.cut = true;
    }

    Emulator emulator;
    PageList list;
    std::optional<Page> candidate; // the page that is on the screen, as it last was whole
    bool whole = false;            // it still is
    Sight most;                    // the most seen since the last page ended
    int left = 0;                  // the fewest edges since then
    u64 print = 0, lastPrint = 0;
};

} // namespace

PageList FindPages(GraphicsInput& input, const std::string& name)
{
    constexpr int packsPerPiece = 8192;
    CCDGInputFile reader;
    input.Attach(reader);
    const int packs = reader.GetPackCount();
    Progress progress("looking for pages", static_cast<u64>(packs));
    PageFinder finder;
    std::vector<u8> piece(size_t{packsPerPiece} * kPackSize);
    for (int at = 0; at < packs;) {
        const int got = reader.Read(piece.data(), std::min(packsPerPiece, packs - at));
        if (got == 0)
            throw Error(name, "cannot be read to its end");
        for (int i = 0; i < got; ++i)
            finder.Feed(piece.data() + static_cast<size_t>(i) * kPackSize, at + i);
        at += got;
        progress.Update(static_cast<u64>(at));
    }
    return finder.Finish(packs);
}

} // namespace nvtool
