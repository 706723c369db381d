// What the processor reports, as far as it can be checked from outside.
#include "CpuFeatures.h"

#include <gtest/gtest.h>
#include <thread>

TEST(CpuFeatures, AreConsistent)
{
    EXPECT_TRUE(NV::CpuHasSsse3() || !NV::CpuHasAvx2()) << "every processor with AVX2 has SSSE3";
    EXPECT_GE(NV::ProcessorCount(), 1);
}
