// The synthetic trace of kgrqt-plot: its size, times, repeatability and
// the parsing of its sample count.
#include "synthetic_trace.h"

#include "hxutil.h"

#include <gtest/gtest.h>

#include <cmath>

TEST(SyntheticTrace, HundredHertzFromTheStartOf2024)
{
    PlotTrace trace;
    ASSERT_EQ(plot_synthetic_trace(100000, 1, &trace), 0);
    ASSERT_EQ(trace.x.size(), 100000u);
    ASSERT_EQ(trace.y.size(), 100000u);
    EXPECT_EQ(trace.name, "SYNTHETIC");
    EXPECT_EQ(trace.segments, 1);
    EXPECT_EQ(trace.x[0], 1704067200.0);
    EXPECT_NEAR(trace.x[99999] - trace.x[0], 999.99, 1e-6);
    for (size_t i = 1; i < trace.x.size(); ++i)
        ASSERT_GT(trace.x[i], trace.x[i - 1]);
    // A walk: it wanders far beyond its noise, and every value is a count.
    double lo = trace.y[0], hi = trace.y[0];
    for (double v : trace.y) {
        ASSERT_EQ(v, std::round(v));
        lo = std::min(lo, v);
        hi = std::max(hi, v);
    }
    EXPECT_GT(hi - lo, 300.0);
}

TEST(SyntheticTrace, TheSameSeedGivesTheSameTrace)
{
    PlotTrace a, b, c;
    ASSERT_EQ(plot_synthetic_trace(5000, 7, &a), 0);
    ASSERT_EQ(plot_synthetic_trace(5000, 7, &b), 0);
    ASSERT_EQ(plot_synthetic_trace(5000, 8, &c), 0);
    EXPECT_EQ(a.y, b.y);
    EXPECT_NE(a.y, c.y);
}

TEST(SyntheticTrace, SampleCountsOutOfRangeAreRefused)
{
    PlotTrace trace;
    EXPECT_EQ(plot_synthetic_trace(1, 1, &trace), -1);
    char* text = hx_register_text();
    EXPECT_STREQ(text, "plot_synthetic_trace: illegal sample count: '1'\n");
    free(text);
    hx_clear_register(0);
    EXPECT_EQ(plot_synthetic_trace(kPlotSyntheticMax + 1, 1, &trace), -1);
    hx_clear_register(0);
}

TEST(SyntheticTrace, CountsAreWholeNumbersInRange)
{
    long n = 0;
    EXPECT_TRUE(plot_parse_synthetic("10000000", &n));
    EXPECT_EQ(n, 10000000);
    EXPECT_TRUE(plot_parse_synthetic("1e7", &n));
    EXPECT_EQ(n, 10000000);
    EXPECT_TRUE(plot_parse_synthetic("2", &n));
    EXPECT_EQ(n, 2);
    for (const char* bad : {"", "1", "0", "-5", "12.5", "abc", "10x", "3e8", "nan", "inf"})
        EXPECT_FALSE(plot_parse_synthetic(bad, &n)) << bad;
    EXPECT_FALSE(plot_parse_synthetic(nullptr, &n));
}
