// Numbers of the waveform windows' timers.
#pragma once

#include <afxwin.h>

namespace NV {

constexpr UINT_PTR fillTimer = 1;   // more rows are to be read
constexpr UINT_PTR scrollTimer = 2; // the button is held outside of what is shown
constexpr UINT fillInterval = 10;   // milliseconds

} // namespace NV
