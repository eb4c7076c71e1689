// Shift estimation per 1920 × 1080 frame pair: the motion-point search alone and the
// whole web cascade (its p95 over repetitions is the figure to watch).

#include "capture/scrolling/ShiftEstimation.h"
#include "capture/scrolling/SyntheticPage.h"

#include <benchmark/benchmark.h>
#include <algorithm>
#include <vector>

namespace {

const cv::Mat &page()
{
    static const cv::Mat p = syntheticPage(1920, 6000);
    return p;
}

// arg: the shift between the two frames; a second arg adds a 120-row sticky header.
void BM_VerticalShift(benchmark::State &state)
{
    const int shift = int(state.range(0));
    const ScrollFrame a = pageWindow(page(), 1000, 1080);
    const ScrollFrame b = pageWindow(page(), 1000 + shift, 1080);
    int found = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(found = ScrollingCapture::verticalShift(a, b));
    state.counters["correct"] = found == shift;
}
BENCHMARK(BM_VerticalShift)->Arg(60)->Arg(424)->Unit(benchmark::kMillisecond);

void BM_WebCascade(benchmark::State &state)
{
    const int shift = int(state.range(0));
    const int header = int(state.range(1));
    const ScrollFrame a = pageWindow(page(), 1000, 1080, header);
    const ScrollFrame b = pageWindow(page(), 1000 + shift, 1080, header);
    int found = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(found = ScrollingCapture::estimateWebShift(a, b, 360));
    state.counters["correct"] = found == shift;
}
BENCHMARK(BM_WebCascade)
    ->Args({424, 0})
    ->Args({424, 120})
    ->Args({900, 0})
    ->Unit(benchmark::kMillisecond)
    ->Repetitions(20)
    ->ComputeStatistics("p95", [](const std::vector<double> &v) {
        std::vector<double> sorted = v;
        std::sort(sorted.begin(), sorted.end());
        return sorted[std::min(sorted.size() - 1, size_t(double(sorted.size()) * 0.95))];
    });

} // namespace

BENCHMARK_MAIN();
