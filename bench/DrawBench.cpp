// A whole chart of 1000 x 2000 pixels painted anew: background, a bar in each row of two channels, the pointer; beside
// the machine's own limit, writing the same bytes once (memset) and moving them (memcpy, which is what showing takes).
// The figure to reach is 4 ms for all that a repaint does, 8 and 32 bits a pixel alike.
#include "DibDrawing.h"

#include <benchmark/benchmark.h>
#include <cstring>
#include <random>

namespace {

constexpr int width = 1000, height = 2000;

/// Bars of loud music: half the band wide on average, each reaching near its neighbour's end.
std::vector<DibSpan> Bars(int left, int right)
{
    std::mt19937 random(1);
    std::vector<DibSpan> bars;
    const int centre = (left + right) / 2, half = centre - left;
    for (int y = 0; y < height; ++y) {
        const int reach = half / 4 + static_cast<int>(random() % static_cast<unsigned>(half / 2));
        bars.push_back({y, centre - reach, centre + reach});
    }
    return bars;
}

struct Chart {
    CDib picture, brush;
    std::vector<DibSpan> bars[2] = {Bars(0, width / 2), Bars(width / 2, width)};
    explicit Chart(int bits)
    {
        picture.Create(width, height, bits);
        brush.Create(8, 8, bits);
    }
};

void Finish(benchmark::State& state, const CDib& picture)
{
    state.counters["MB/s"] = benchmark::Counter(picture.GetImageSize() / 1e6 * static_cast<double>(state.iterations()),
                                                benchmark::Counter::kIsRate);
}

void chart_of_spans(benchmark::State& state)
{
    Chart chart(static_cast<int>(state.range(0)));
    CDibDrawing drawing(chart.picture);
    for (auto _ : state) {
        drawing.Fill(chart.picture.GetRect(), 1);
        for (const std::vector<DibSpan>& bars : chart.bars)
            drawing.Spans(bars, 2);
        drawing.Horizontal(700, 0, width - 1, 3);
        benchmark::DoNotOptimize(chart.picture.GetBits());
    }
    Finish(state, chart.picture);
}

void chart_of_brush_bars(benchmark::State& state)
{
    Chart chart(static_cast<int>(state.range(0)));
    CDibDrawing drawing(chart.picture);
    for (auto _ : state) {
        drawing.Fill(chart.picture.GetRect(), 1);
        for (const std::vector<DibSpan>& bars : chart.bars) {
            for (const DibSpan& bar : bars)
                drawing.Pattern(CRect(bar.left, bar.y, bar.right + 1, bar.y + 1), chart.brush, CPoint(0, 0));
        }
        benchmark::DoNotOptimize(chart.picture.GetBits());
    }
    Finish(state, chart.picture);
}

/// The finest density: a point in each row, joined by lines.
void chart_of_lines(benchmark::State& state)
{
    Chart chart(static_cast<int>(state.range(0)));
    std::vector<CPoint> points[2];
    for (int channel = 0; channel < 2; ++channel) {
        for (const DibSpan& bar : chart.bars[channel])
            points[channel].emplace_back(bar.y % 2 ? bar.left : bar.right, bar.y);
    }
    CDibDrawing drawing(chart.picture);
    for (auto _ : state) {
        drawing.Fill(chart.picture.GetRect(), 1);
        for (const std::vector<CPoint>& each : points) {
            drawing.Polyline(each, 2);
            drawing.Points(each, 3);
        }
        benchmark::DoNotOptimize(chart.picture.GetBits());
    }
    Finish(state, chart.picture);
}

void blend_all(benchmark::State& state)
{
    Chart chart(static_cast<int>(state.range(0)));
    CDibDrawing drawing(chart.picture);
    for (auto _ : state) {
        drawing.Blend(chart.picture.GetRect(), RGB(200, 100, 50), 100);
        benchmark::DoNotOptimize(chart.picture.GetBits());
    }
    Finish(state, chart.picture);
}

void limit_memset(benchmark::State& state)
{
    Chart chart(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        std::memset(chart.picture.GetBits(), 1, static_cast<std::size_t>(chart.picture.GetImageSize()));
        benchmark::DoNotOptimize(chart.picture.GetBits());
    }
    Finish(state, chart.picture);
}

void limit_memcpy(benchmark::State& state)
{
    Chart chart(static_cast<int>(state.range(0)));
    const CDib other = chart.picture;
    for (auto _ : state) {
        std::memcpy(chart.picture.GetBits(), other.GetBits(), static_cast<std::size_t>(chart.picture.GetImageSize()));
        benchmark::DoNotOptimize(chart.picture.GetBits());
    }
    Finish(state, chart.picture);
}

} // namespace

BENCHMARK(chart_of_spans)->Arg(8)->Arg(24)->Arg(32)->Unit(benchmark::kMillisecond);
BENCHMARK(chart_of_brush_bars)->Arg(8)->Arg(24)->Arg(32)->Unit(benchmark::kMillisecond);
BENCHMARK(chart_of_lines)->Arg(8)->Arg(24)->Arg(32)->Unit(benchmark::kMillisecond);
BENCHMARK(blend_all)->Arg(24)->Arg(32)->Unit(benchmark::kMillisecond);
BENCHMARK(limit_memset)->Arg(8)->Arg(32)->Unit(benchmark::kMillisecond);
BENCHMARK(limit_memcpy)->Arg(8)->Arg(32)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
