// All bodies of the pixel expander write the same bytes, and none outside of their run.
#include "cdg/ExpandPixels.h"

#include "CpuFeatures.h"
#include "Dib.h"

#include <gtest/gtest.h>
#include <numeric>
#include <random>
#include <vector>

namespace CDGEmulator {
namespace {

TEST(ExpandPixels, EveryBodyWritesItsRunAndNothingElse)
{
    std::mt19937 random(1);
    std::array<u32, 16> palette;
    for (u32& colour : palette)
        colour = random() & 0xFFFFFF;
    const ExpandTable table(palette);
    std::vector<u8> indices(300 + CDib::slackBytes);
    for (u8& index : indices)
        index = random() & 15;

    std::vector<const Expander*> bodies{&expanderPlain};
    if (NV::CpuHasAvx2())
        bodies.push_back(&expanderAvx2);
    for (const int depth : {3, 4})
        for (int count = 0; count <= 300; ++count) {
            std::vector<u8> before(static_cast<std::size_t>(302 * depth));
            std::iota(before.begin(), before.end(), u8{7});
            std::vector<u8> expected = before;
            for (int x = 0; x < count; ++x) // the rule: blue, green, red; a fourth byte stays
                for (int c = 0; c < 3; ++c)
                    expected[static_cast<std::size_t>((x + 1) * depth + c)] =
                        static_cast<u8>(palette[indices[static_cast<std::size_t>(x)]] >> (16 - 8 * c));
            for (std::size_t body = 0; body < bodies.size(); ++body) {
                std::vector<u8> actual = before;
                const auto expand = depth == 3 ? bodies[body]->to24 : bodies[body]->to32;
                expand(actual.data() + depth, indices.data(), count, table);
                ASSERT_EQ(actual, expected)
                    << "body " << body << ", " << depth << " bytes a pixel, " << count << " pixels";
            }
        }
}

} // namespace
} // namespace CDGEmulator
