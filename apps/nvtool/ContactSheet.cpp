// Contact sheets: see ContactSheet.h.
#include "ContactSheet.h"

#include "Commands.h"

#include <algorithm>
#include <cstdio>
#include <string>

namespace nvtool {

namespace {

constexpr int kGap = 8, kLabelHeight = 18, kDot = 2;
constexpr Rgb kPaper{32, 32, 36}, kInk{220, 220, 224};

// "3:07", or "3:07.5" when the pictures are less than a second apart.
std::string Label(double seconds, bool tenths)
{
    const long long all = static_cast<long long>(seconds * 10 + 0.5);
    char text[40];
    if (tenths)
        std::snprintf(text, sizeof(text), "%lld:%02lld.%lld", all / 600, all / 10 % 60, all % 10);
    else
        std::snprintf(text, sizeof(text), "%lld:%02lld", all / 600, all / 10 % 60);
    return text;
}

double RoundStep(double duration)
{
    constexpr int most = 60;
    constexpr double steps[] = {1, 2, 5, 10, 15, 20, 30, 60, 120, 300, 600};
    for (const double step : steps)
        if (duration / step <= most)
            return step;
    return duration / most;
}

} // namespace

std::vector<double> SheetTimes(double duration, const SheetOptions& options)
{
    const double step = options.stepSeconds > 0 ? options.stepSeconds : RoundStep(duration);
    std::vector<double> times;
    for (int i = 0; i < kMaxSheetPictures && (i == 0 || i * step < duration); ++i)
        times.push_back(i * step);
    return times;
}

Picture DrawSheet(CCDGRenderer& renderer, const std::vector<double>& times, const SheetOptions& options)
{
    const int shrink = options.fullSize ? 1 : 2;
    const int cellWidth = Emulator::visibleWidth / shrink + kGap;
    const int cellHeight = Emulator::visibleHeight / shrink + kLabelHeight + kGap;
    const int count = static_cast<int>(times.size());
    const int columns = std::min(options.columns, count);
    const int rows = (count + columns - 1) / columns;
    const bool tenths = count > 1 && times[1] - times[0] < 1;

    Picture sheet(columns * cellWidth + kGap, rows * cellHeight + kGap, kPaper);
    Progress progress("drawing", times.size());
    for (int i = 0; i < count; ++i) {
        const double seconds = times[static_cast<size_t>(i)];
        const int left = kGap + i % columns * cellWidth, top = kGap + i / columns * cellHeight;
        const Picture screen = TakePicture(renderer, seconds, Area::Visible);
        sheet.Paste(options.fullSize ? screen : Halved(screen), left, top);
        sheet.Text(Label(seconds, tenths), left, top + cellHeight - kGap - Picture::TextHeight(kDot), kDot, kInk);
        progress.Update(static_cast<u64>(i + 1));
    }
    return sheet;
}

} // namespace nvtool
