// Pictures as they ought to be: stored as PNG files in tests/data, compared pixel by pixel.
#pragma once

#include "Dib.h"

#include <gtest/gtest.h>
#include <string>

/// Whether a picture of 32 bits is the stored one of that name. When it is not, what was painted and a picture of the
/// difference (what differs in red) are written to the folder golden-failures of the current one, and their names told.
/// With NVLIB_REWRITE_GOLDEN set in the environment the stored picture is replaced instead; the test then fails all the
/// same, so that nobody takes a rewriting run for a passing one.
testing::AssertionResult IsGolden(const std::string& name, const CDib& picture);
