// Palette indices to true-colour pixels, a run of a row at a time.
//
// There are two bodies of the same rule, a plain one and one for AVX2 (ExpandPixelsAvx2.cpp); `ChooseExpander` takes
// the widest that the processor has. Indices are below 16. Up to `CDib::slackBytes` may be read behind `from`; nothing
// is written outside of `to`'s `count` pixels.
#pragma once

#include "NVTypes.h"

#include <array>

namespace CDGEmulator {

// The sixteen colours in the forms that the bodies want.
struct ExpandTable {
    std::array<u32, 16> pixel{};                           // blue in the lowest byte, then green, red, 0: as stored
    alignas(16) std::array<u8, 16> blue{}, green{}, red{}; // the same, a component each

    ExpandTable() = default;
    explicit ExpandTable(const std::array<u32, 16>& palette); // 0x00BBGGRR
};

struct Expander {
    // 24 bits a pixel.
    void (*to24)(u8* to, const u8* from, int count, const ExpandTable& table);
    // 32 bits a pixel; the fourth byte of each pixel stays as it is.
    void (*to32)(u8* to, const u8* from, int count, const ExpandTable& table);
};

extern const Expander expanderPlain;
extern const Expander expanderAvx2; // only on processors with AVX2

const Expander& ChooseExpander();

} // namespace CDGEmulator
