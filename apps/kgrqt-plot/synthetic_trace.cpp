// A synthetic seismogram: a random walk with white noise, sampled at 100 Hz.
#include "synthetic_trace.h"

#include "hxutil.h"

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <new>
#include <random>

namespace {

const double kStart = 1704067200.0; // 2024-01-01T00:00:00
const double kInterval = 0.01;

} // namespace

bool plot_parse_synthetic(const char* text, long* n)
{
    if (!text || !*text)
        return false;
    char* end = nullptr;
    errno = 0;
    const double value = strtod(text, &end);
    if (errno || *end || !(value >= kPlotSyntheticMin && value <= kPlotSyntheticMax) ||
        value != std::floor(value))
        return false;
    *n = static_cast<long>(value);
    return true;
}

int plot_synthetic_trace(long n, unsigned seed, PlotTrace* trace)
{
    if (n < kPlotSyntheticMin || n > kPlotSyntheticMax) {
        hx_register_error(0, "plot_synthetic_trace: illegal sample count: '%ld'\n", n);
        return -1;
    }
    try {
        trace->x.resize(n);
        trace->y.resize(n);
    } catch (const std::bad_alloc&) {
        hx_register_error(1, "plot_synthetic_trace: no memory for %ld samples\n", n);
        return -1;
    }
    std::mt19937 rng(seed);
    std::normal_distribution<double> normal(0.0, 1.0);
    double walk = 0.0;
    for (long i = 0; i < n; ++i) {
        walk += 2.0 * normal(rng);
        trace->x[i] = kStart + i * kInterval;
        trace->y[i] = std::round(walk + 30.0 * normal(rng)); // counts, as a digitiser gives
    }
    trace->name = "SYNTHETIC";
    trace->segments = 1;
    trace->otherChannels = 0;
    return 0;
}
