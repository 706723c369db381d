// Floating-point values to integers without undefined cases: out of range is the range's end, not-a-number is 0.
#pragma once

#include "NVTypes.h"

#include <algorithm>
#include <limits>

namespace NV {

/// Towards zero.
inline i64 TruncateToInt64(double value)
{
    constexpr double limit = 9223372036854775808.0; // 2^63
    if (value != value)
        return 0;
    if (value >= limit)
        return std::numeric_limits<i64>::max();
    return value < -limit ? std::numeric_limits<i64>::min() : static_cast<i64>(value);
}

/// To the nearest, halves away from zero. The part behind the point is exact, unlike the usual sum with a half.
inline i64 RoundToInt64(double value)
{
    const i64 whole = TruncateToInt64(value);
    const double rest = value - static_cast<double>(whole);
    if (!(rest > -1.0 && rest < 1.0)) // clamped, or not a number
        return whole;
    return whole + (rest >= 0.5) - (rest <= -0.5);
}

/// The same for a 16-bit sample.
template <class Real>
i16 RoundToSample(Real value)
{
    const Real number = value == value ? value : Real(0);
    const Real clamped = std::min(std::max(number, Real(-32768)), Real(32767));
    const i32 whole = static_cast<i32>(clamped);
    const Real rest = clamped - static_cast<Real>(whole);
    return static_cast<i16>(whole + (rest >= Real(0.5)) - (rest <= Real(-0.5)));
}

} // namespace NV
