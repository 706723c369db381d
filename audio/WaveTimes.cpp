// See WaveTimes.h.
#include "WaveTimes.h"

#include <cstdio>
#include <iterator>

namespace NV {

// ---- The axis -------------------------------------------------------------------------------------------------------

namespace {

constexpr i64 millisecond = 1000, second = 1'000'000, minute = 60 * second, hour = 60 * minute;

struct Step {
    i64 labelled, between;
};
constexpr Step steps[] = {
    {millisecond, millisecond / 5},
    {2 * millisecond, millisecond / 2},
    {5 * millisecond, millisecond},
    {10 * millisecond, 2 * millisecond},
    {20 * millisecond, 5 * millisecond},
    {50 * millisecond, 10 * millisecond},
    {100 * millisecond, 20 * millisecond},
    {200 * millisecond, 50 * millisecond},
    {500 * millisecond, 100 * millisecond},
    {second, second / 5},
    {2 * second, second / 2},
    {5 * second, second},
    {10 * second, 2 * second},
    {30 * second, 5 * second},
    {minute, 10 * second},
    {2 * minute, 30 * second},
    {5 * minute, minute},
    {10 * minute, 2 * minute},
    {30 * minute, 5 * minute},
    {hour, 10 * minute},
    {2 * hour, 30 * minute},
    {6 * hour, hour},
    {24 * hour, 6 * hour},
};

} // namespace

TimeScale::TimeScale(i64 density, int rate, int labelDistance) : framesPerSecond(rate)
{
    if (rate <= 0)
        return;
    const i64 room = density * labelDistance; // frames; below 2^56
    for (const Step& step : steps) {
        if (step.labelled / second * rate + step.labelled % second * rate / second <
            room) // in parts: the product may not fit
            continue;
        labelled = step.labelled;
        between = step.between;
        decimals = labelled % second == 0                ? 0
                   : labelled % (100 * millisecond) == 0 ? 1
                   : labelled % (10 * millisecond) == 0  ? 2
                                                         : 3;
        return;
    }
}

TimeTick TimeScale::At(i64 time) const
{
    // In two parts: days in microseconds times a rate would not fit.
    const i64 seconds = time / second, rest = time % second;
    return {time, seconds * framesPerSecond + (rest * framesPerSecond + second - 1) / second, time % labelled == 0};
}

bool TimeScale::First(i64 frame, TimeTick& tick) const
{
    constexpr i64 mostSeconds = (i64(1) << 61) / second;
    if (labelled == 0 || frame / framesPerSecond >= mostSeconds)
        return false;
    tick = At(MicrosecondsOf(frame, static_cast<int>(framesPerSecond)) / between * between);
    while (tick.frame < frame) // one step or two
        tick = Next(tick);
    return true;
}

i64 MicrosecondsOf(i64 frame, int rate)
{
    if (rate <= 0)
        return 0;
    return frame / rate * second + frame % rate * second / rate;
}

std::string TimeLabel(i64 microseconds, int decimals)
{
    constexpr i64 units[] = {second, 100 * millisecond, 10 * millisecond, millisecond};
    microseconds += units[decimals] / 2;
    const i64 all = microseconds / second;
    const int hours = static_cast<int>(all / 3600), minutes = static_cast<int>(all / 60 % 60);
    const int seconds = static_cast<int>(all % 60), thousandths = static_cast<int>(microseconds % second / millisecond);
    char text[64];
    if (hours > 0)
        std::snprintf(text, sizeof text, "%d:%02d:%02d.%03d", hours, minutes, seconds, thousandths);
    else
        std::snprintf(text, sizeof text, "%d:%02d.%03d", minutes, seconds, thousandths);
    std::string label = text;
    label.resize(label.size() - (decimals > 0 ? static_cast<std::size_t>(3 - decimals) : 4));
    return label;
}

// ---- Figures --------------------------------------------------------------------------------------------------------

namespace {

constexpr int stepWidth = 7, pointWidth = 4; // from one figure to the next

/// Nine rows, top first, of six pixels, the leftmost one the highest bit.
constexpr u8 digitShapes[10][figureHeight] = {
    {0x1E, 0x33, 0x33, 0x33, 0x33, 0x33, 0x33, 0x33, 0x1E}, {0x0C, 0x1C, 0x3C, 0x0C, 0x0C, 0x0C, 0x0C, 0x0C, 0x3F},
    {0x1E, 0x33, 0x03, 0x03, 0x06, 0x0C, 0x18, 0x30, 0x3F}, {0x1E, 0x33, 0x03, 0x03, 0x0E, 0x03, 0x03, 0x33, 0x1E},
    {0x06, 0x0E, 0x1E, 0x36, 0x26, 0x3F, 0x06, 0x06, 0x06}, {0x3F, 0x30, 0x30, 0x3E, 0x03, 0x03, 0x03, 0x33, 0x1E},
    {0x0E, 0x18, 0x30, 0x3E, 0x33, 0x33, 0x33, 0x33, 0x1E}, {0x3F, 0x03, 0x03, 0x06, 0x06, 0x0C, 0x0C, 0x0C, 0x0C},
    {0x1E, 0x33, 0x33, 0x33, 0x1E, 0x33, 0x33, 0x33, 0x1E}, {0x1E, 0x33, 0x33, 0x33, 0x33, 0x1F, 0x03, 0x06, 0x1C},
};
constexpr u8 colonShape[figureHeight] = {0, 0, 0x30, 0x30, 0, 0, 0x30, 0x30, 0};
constexpr u8 point[figureHeight] = {0, 0, 0, 0, 0, 0, 0, 0x30, 0x30};

const u8* RowsOf(char character)
{
    if (character >= '0' && character <= '9')
        return digitShapes[character - '0'];
    return character == ':' ? colonShape : character == '.' ? point : nullptr;
}

int WidthOf(char character)
{
    return character == ':' || character == '.' ? pointWidth : stepWidth;
}

} // namespace

int FiguresWidth(const std::string& text)
{
    int width = 0;
    for (const char character : text)
        width += WidthOf(character);
    return text.empty() ? 0 : width - 1; // without the last gap
}

void DrawFigures(CDibDrawing& drawing, CPoint topLeft, const std::string& text, COLORREF colour)
{
    CPoint pixels[6 * figureHeight];
    for (const char character : text) {
        const u8* const rows = RowsOf(character);
        std::size_t count = 0;
        for (int y = 0; rows && y < figureHeight; ++y) {
            for (int x = 0; x < 6; ++x) {
                if (rows[y] & (0x20 >> x))
                    pixels[count++] = topLeft + CSize(x, y);
            }
        }
        drawing.Points({pixels, count}, colour);
        topLeft.x += WidthOf(character);
    }
}

} // namespace NV
