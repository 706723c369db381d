// Times beside a waveform: which ticks a time axis has, how a time is written, and figures to write it with. Times are
// microseconds, positions sample frames, sizes pixels. Any thread.
#pragma once

#include "DibDrawing.h"
#include "NVTypes.h"

#include <string>

namespace NV {

/// One line of a time axis.
struct TimeTick {
    i64 time;  // microseconds
    i64 frame; // the first at or behind that time
    bool labelled;
};

/// Ticks at round times, some of them labelled: the closest ones whose labels are at least `labelDistance` pixels
/// apart.
class TimeScale {
public:
    /// `density` frames a pixel row, `rate` frames a second. Without a rate, or where even a day is too short, no tick.
    TimeScale(i64 density, int rate, int labelDistance);

    /// The first tick at or behind a frame; false when there is none. Positions are not negative.
    bool First(i64 frame, TimeTick& tick) const;
    /// The one behind a tick.
    TimeTick Next(const TimeTick& tick) const { return At(tick.time + between); }
    /// Decimals that tell labelled ticks apart.
    int Decimals() const { return decimals; }

private:
    TimeTick At(i64 time) const;
    i64 labelled = 0, between = 0; // time from one labelled tick to the next, from one tick to the next
    i64 framesPerSecond = 0;
    int decimals = 0;
};

/// "1:02" or "1:02:03", with 0 to 3 decimals, to the nearest.
std::string TimeLabel(i64 microseconds, int decimals);

/// Time of a frame, cut off; 0 without a rate.
i64 MicrosecondsOf(i64 frame, int rate);

// Figures for times: digits, ':' and '.'. Anything else leaves a gap.
constexpr int figureHeight = 9;
int FiguresWidth(const std::string& text);
void DrawFigures(CDibDrawing& drawing, CPoint topLeft, const std::string& text, COLORREF colour);

} // namespace NV
