// The summary of long traces: extremes of any range read from blocks agree
// with reading every sample, breaks send the caller to the samples, the
// summary stays small, is kept between views and dropped with the points.
#include "kgrqt.h"
#include "kgrqt_trace.h"

#include <QImage>
#include <QList>
#include <QPainter>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <vector>

namespace {

const char* const kEnd = nullptr;

std::vector<double> walk(long n, unsigned seed)
{
    std::mt19937 rng(seed);
    std::normal_distribution<double> normal(0, 1);
    std::vector<double> y(n);
    double v = 0;
    for (long i = 0; i < n; ++i)
        y[i] = v += normal(rng);
    return y;
}

std::vector<double> ramp(long n)
{
    std::vector<double> x(n);
    for (long i = 0; i < n; ++i)
        x[i] = 1000.0 + 0.5 * i;
    return x;
}

} // namespace

TEST(TraceSummary, RangesAgreeWithReadingEverySample)
{
    const long n = 70001; // not a whole number of blocks
    const std::vector<double> x = ramp(n), y = walk(n, 1);
    KgrqtTraceSummary s;
    kgrqt_trace_summarize(&s, x.data(), y.data(), n);
    EXPECT_TRUE(s.sorted);
    std::mt19937 rng(2);
    for (int k = 0; k < 2000; ++k) {
        long from = rng() % n, to = rng() % (n + 1);
        if (k % 3 == 0)
            to = std::min(n, from + static_cast<long>(rng() % 40)); // short ranges too
        if (from >= to)
            continue;
        KgrqtTraceExtremes e;
        ASSERT_TRUE(kgrqt_trace_range(s, from, to, &e));
        long lo = from, hi = from;
        for (long i = from; i < to; ++i) {
            if (y[i] < y[lo])
                lo = i;
            if (y[i] > y[hi])
                hi = i;
        }
        ASSERT_EQ(e.lo, y[lo]) << from << ".." << to;
        ASSERT_EQ(e.hi, y[hi]);
        ASSERT_EQ(e.loAt, lo);
        ASSERT_EQ(e.hiAt, hi);
    }
    KgrqtTraceExtremes e;
    EXPECT_FALSE(kgrqt_trace_range(s, 10, 10, &e));
}

TEST(TraceSummary, BreaksAndNonFiniteValuesSendTheCallerToTheSamples)
{
    const long n = 10000;
    const std::vector<double> x = ramp(n);
    for (double bad : {KGR_UNSET, std::numeric_limits<double>::quiet_NaN(),
                       std::numeric_limits<double>::infinity()}) {
        std::vector<double> y = walk(n, 3);
        y[5000] = bad;
        KgrqtTraceSummary s;
        kgrqt_trace_summarize(&s, x.data(), y.data(), n);
        KgrqtTraceExtremes e;
        EXPECT_FALSE(kgrqt_trace_range(s, 0, n, &e));
        EXPECT_FALSE(kgrqt_trace_range(s, 4096, 8192, &e));
        EXPECT_FALSE(kgrqt_trace_range(s, 4999, 5001, &e));
        EXPECT_TRUE(kgrqt_trace_range(s, 0, 4096, &e));
        EXPECT_TRUE(kgrqt_trace_range(s, 5001, n, &e));
        EXPECT_TRUE(s.sorted); // breaks in y leave x sorted
    }
}

TEST(TraceSummary, XMustBeFiniteAndNonDecreasing)
{
    const long n = 5000;
    const std::vector<double> y = walk(n, 4);
    std::vector<double> x = ramp(n);
    x[300] = x[299]; // repeated x is sorted
    KgrqtTraceSummary s;
    kgrqt_trace_summarize(&s, x.data(), y.data(), n);
    EXPECT_TRUE(s.sorted);
    for (long at : {0L, 15L, 16L, 4999L}) {
        std::vector<double> bad = x;
        bad[at] = at == 0 ? 1e9 : bad[at - 1] - 1; // a step back, also across blocks
        kgrqt_trace_summarize(&s, bad.data(), y.data(), n);
        EXPECT_FALSE(s.sorted) << at;
        bad = x;
        bad[at] = at % 2 ? KGR_UNSET : std::numeric_limits<double>::quiet_NaN();
        kgrqt_trace_summarize(&s, bad.data(), y.data(), n);
        EXPECT_FALSE(s.sorted) << at;
    }
}

TEST(TraceSummary, TakesAtMostATenthOfTheData)
{
    for (long n : {4096L, 100000L, 1000003L}) {
        const std::vector<double> x = ramp(n), y = walk(n, 5);
        KgrqtTraceSummary s;
        kgrqt_trace_summarize(&s, x.data(), y.data(), n);
        EXPECT_LE(s.bytes(), 0.1 * 2 * n * sizeof(double)) << n;
        // Blocks of 16, 256, 4096, ... up to one block for everything.
        EXPECT_EQ(s.lo[0].size(), static_cast<size_t>((n + 15) / 16));
        EXPECT_EQ(s.lo.back().size(), 1u);
    }
}

// The item keeps its summary between views and drops it with its points.
class TraceSummaryItemTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        KgrviewportItem& r = vp.viewport;
        r.w = 1920;
        r.h = 400;
        line = new KGRPolyline(&vp);
        ASSERT_EQ(line->configure("outline", "black", kEnd), 0);
    }
    void TearDown() override { delete line; }

    void load(long n, unsigned seed)
    {
        const std::vector<double> x = ramp(n), y = walk(n, seed);
        QList<KGR_XY> list;
        for (long i = 0; i < n; ++i)
            list.append(KGR_XY{x[i], y[i]});
        ASSERT_EQ(line->configure("qlist", reinterpret_cast<char*>(&list), kEnd), 0);
        KgrviewportItem& r = vp.viewport;
        r.xleft = x.front();
        r.xright = x.back();
        r.ybottom = -3000;
        r.ytop = 3000;
    }

    KgrqtTraceStats draw()
    {
        QImage image(vp.viewport.w, vp.viewport.h, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::white);
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        line->draw(painter);
        return kgrqt_trace_last_stats();
    }

    KGRViewport vp{nullptr};
    KGRPolyline* line = nullptr;
};

TEST_F(TraceSummaryItemTest, LoadingMakesTheSummaryAndViewsReuseIt)
{
    load(2000000, 6);
    // Made when the points were loaded, not by the drawing.
    KgrqtTraceStats st = draw();
    EXPECT_TRUE(st.reduced);
    EXPECT_FALSE(st.summary_built);
    EXPECT_LT(st.samples_read, 2000000 / 4);
    // Zoom and pan: the summary is reused, and the samples read one by one
    // (at the edges of cells and inside the blocks that hold extremes) stay
    // within a bound per column that depends on the levels, not on the
    // points in view.
    KgrviewportItem& r = vp.viewport;
    const double x0 = r.xleft, span = r.xright - r.xleft;
    const double views[][2] = {{0.1, 0.9}, {0.3, 0.35}, {0.0, 0.5}, {0.5, 1.0}};
    for (const auto& v : views) {
        r.xleft = x0 + v[0] * span;
        r.xright = x0 + v[1] * span;
        st = draw();
        EXPECT_TRUE(st.reduced);
        EXPECT_FALSE(st.summary_built);
        EXPECT_LT(st.samples_read, 256 * r.w) << v[0] << ".." << v[1];
    }
    // New points: the old summary is gone and a new one made.
    load(2000000, 7);
    EXPECT_FALSE(draw().summary_built);
    const KgrqtTraceSummary* s = kgrqt_trace_summary(&line->polyline);
    EXPECT_EQ(s->y, line->polyline.ypts);
}

TEST_F(TraceSummaryItemTest, ADroppedSummaryIsRemadeByTheNextDrawing)
{
    load(100000, 8);
    kgrqt_trace_forget(&line->polyline);
    EXPECT_TRUE(draw().summary_built);
    EXPECT_FALSE(draw().summary_built);
}
