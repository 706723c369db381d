// Packs for a page: see ScreenScript.h.
#include "ScreenScript.h"

#include "CDGEmulatorPack.h"
#include "Commands.h"

#include <algorithm>
#include <vector>

namespace nvtool {

namespace {

constexpr int kOperands = 16;

char Digit(int value)
{
    return "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/"[value & kPackBits];
}

void AppendGap(std::string& text, int gap)
{
    for (; gap >= 32; gap /= 32)
        text += Digit(gap % 32 + 32);
    text += Digit(gap);
}

} // namespace

std::string ScreenScript(GraphicsInput& input, const std::string& name)
{
    constexpr int packsPerPiece = 8192;
    CCDGInputFile reader;
    input.Attach(reader);
    const int packs = reader.GetPackCount();
    std::string text = "const screenPacks = {packs: " + std::to_string(packs) + ", data: \"";
    std::vector<u8> piece(size_t{packsPerPiece} * kPackSize);
    int last = -1;
    for (int at = 0; at < packs;) {
        Progress::Check();
        const int got = reader.Read(piece.data(), std::min(packsPerPiece, packs - at));
        if (got == 0)
            throw Error(name, "cannot be read to its end");
        for (int i = 0; i < got; ++i) {
            const u8* const pack = piece.data() + static_cast<size_t>(i) * kPackSize;
            if (pack[0] != kCommandGraphics || pack[1] == 0)
                continue;
            AppendGap(text, at + i - last);
            last = at + i;
            text += Digit(pack[1]);
            std::transform(pack + 4, pack + 4 + kOperands, std::back_inserter(text), Digit);
        }
        at += got;
    }
    return text + "\"};\n";
}

} // namespace nvtool
