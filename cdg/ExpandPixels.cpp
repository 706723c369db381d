// The plain body of the pixel expander, and the choice between the bodies: see ExpandPixels.h.
#include "ExpandPixels.h"

#include "CpuFeatures.h"

#include <cstring>

namespace CDGEmulator {

namespace {

void To24(u8* to, const u8* from, int count, const ExpandTable& table)
{
    for (; count > 1; --count, to += 3)
        std::memcpy(to, &table.pixel[*from++ & 15], 4); // the fourth byte belongs to the next pixel, which follows
    if (count == 1)
        std::memcpy(to, &table.pixel[*from & 15], 3);
}

void To32(u8* to, const u8* from, int count, const ExpandTable& table)
{
    for (; count > 0; --count, to += 4)
        std::memcpy(to, &table.pixel[*from++ & 15], 3);
}

} // namespace

ExpandTable::ExpandTable(const std::array<u32, 16>& palette)
{
    for (std::size_t i = 0; i < 16; ++i) {
        red[i] = static_cast<u8>(palette[i]);
        green[i] = static_cast<u8>(palette[i] >> 8);
        blue[i] = static_cast<u8>(palette[i] >> 16);
        pixel[i] = blue[i] | static_cast<u32>(green[i]) << 8 | static_cast<u32>(red[i]) << 16;
    }
}

const Expander expanderPlain{To24, To32};

const Expander& ChooseExpander()
{
    static const Expander& chosen = NV::CpuHasAvx2() ? expanderAvx2 : expanderPlain;
    return chosen;
}

} // namespace CDGEmulator
