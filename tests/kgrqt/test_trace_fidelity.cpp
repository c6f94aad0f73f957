// Long traces drawn through the per-column reduction, held against the full
// drawing of every point (QPainter::drawPolyline, same pen, same
// antialiasing) at 1920 columns: sparse views must match pixel for pixel,
// dense and medium ones within the stated bounds, and no pixel may be
// inked more than one pixel away from the full drawing's ink.
#include "kgrqt.h"
#include "kgrqt_trace.h"
#include "trace_compare.h"

#include <QColor>
#include <QImage>
#include <QList>
#include <QPainter>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <vector>

namespace {

const char* const kEnd = nullptr;
const QRgb kPaper = qRgb(255, 255, 255);
const int kColumns = 1920, kRows = 1080;

// Prints the measured difference so that the figures can be quoted.
void report(const char* what, const char* kind, bool aa, const TraceDifference& d)
{
    printf("[fidelity] %s %s %s: over64 %.4f%% differ %.4f%% mean %.3f stray %ld\n", what, kind,
           aa ? "AA" : "noAA", 100 * d.over64, 100 * d.differ, d.mean, d.strayInk);
}

class TraceFidelityTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        kgrqt_trace_tuning() = KgrqtTraceTuning();
        KgrviewportItem& r = vp.viewport;
        r.w = kColumns;
        r.h = kRows;
        r.xmode = KGR_MODE_TIME;
        line = new KGRPolyline(&vp);
        ASSERT_EQ(line->configure("outline", "#c03010", kEnd), 0);
    }
    void TearDown() override
    {
        delete line;
        kgrqt_trace_tuning() = KgrqtTraceTuning();
    }

    void setTrace(const TestTrace& t)
    {
        QList<KGR_XY> list;
        list.reserve(static_cast<int>(t.x.size()));
        for (size_t i = 0; i < t.x.size(); ++i)
            list.append(KGR_XY{t.x[i], t.y[i]});
        ASSERT_EQ(line->configure("qlist", reinterpret_cast<char*>(&list), kEnd), 0);
        const double room = 0.05 * (t.yhi - t.ylo);
        setBox(t.x.front(), t.x.back(), t.ylo - room, t.yhi + room);
    }

    void setBox(double xleft, double xright, double ybottom, double ytop)
    {
        KgrviewportItem& r = vp.viewport;
        r.xleft = xleft;
        r.xright = xright;
        r.ybottom = ybottom;
        r.ytop = ytop;
    }

    QImage blank() const
    {
        QImage image(vp.viewport.w, vp.viewport.h, QImage::Format_ARGB32_Premultiplied);
        image.fill(kPaper);
        return image;
    }

    QImage drawItem(bool antialias)
    {
        QImage image = blank();
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing, antialias);
        line->draw(painter);
        stats = kgrqt_trace_last_stats();
        return image;
    }

    // The item's own drawing of its whole path.
    QImage drawWhole(bool antialias)
    {
        kgrqt_trace_tuning().enabled = false;
        QImage image = drawItem(antialias);
        kgrqt_trace_tuning().enabled = true;
        return image;
    }

    QImage drawFull(bool antialias)
    {
        QImage image = blank();
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing, antialias);
        drawFullTrace(painter, &line->polyline);
        return image;
    }

    QRect area() const
    {
        const KgrviewportItem& r = vp.viewport;
        return QRect(r.mleft, r.mtop, r.w - r.mleft - r.mright, r.h - r.mtop - r.mbottom);
    }

    TraceDifference compare(bool antialias)
    {
        const QImage full = drawFull(antialias);
        const QImage reduced = drawItem(antialias);
        return compareTraces(full, reduced, area(), kPaper);
    }

    // The bounds every dense or medium view keeps against the full drawing:
    // with antialiasing at most 0.5% of the pixels differ by more than 64
    // levels and the mean difference is at most 1.5 levels; never any ink
    // more than a pixel away from the full drawing's ink.
    static ::testing::AssertionResult withinContract(const TraceDifference& d, bool antialias)
    {
        bool ok = d.strayInk == 0;
        if (antialias)
            ok = ok && d.over64 <= 0.005 && d.mean <= 1.5;
        auto result = ok ? ::testing::AssertionSuccess() : ::testing::AssertionFailure();
        return result << "over 64: " << 100 * d.over64 << "%, differ: " << 100 * d.differ
                      << "%, mean " << d.mean << ", stray ink " << d.strayInk;
    }

    // Without antialiasing the aliased stroker chooses the pixels at the
    // ends of steep segments by the segments around them, so the same
    // points drawn as one path and as a polyline already differ (by 1.25%
    // of the pixels for a trace of steps). The reduction is held to the
    // item's own drawing of its whole path: at most 0.05% of the pixels
    // differ.
    ::testing::AssertionResult withinAliasedContract()
    {
        const QImage whole = drawWhole(false);
        const QImage reduced = drawItem(false);
        const TraceDifference d = compareTraces(whole, reduced, area(), kPaper);
        report("vs whole path", "", false, d);
        auto result = d.differ <= 0.0005 && d.strayInk == 0 ? ::testing::AssertionSuccess()
                                                            : ::testing::AssertionFailure();
        return result << "differ from the whole path: " << 100 * d.differ << "%, stray ink "
                      << d.strayInk;
    }

    KGRViewport vp{nullptr};
    KGRPolyline* line = nullptr;
    KgrqtTraceStats stats;
};

} // namespace

TEST_F(TraceFidelityTest, DenseMillionSampleTracesStayWithinTheContract)
{
    for (TraceKind kind : {Walk, Noise, Spikes, Steps, Flat, Gaps}) {
        setTrace(makeTrace(kind, 1000000, 11 + kind));
        for (bool aa : {true, false}) {
            const TraceDifference d = compare(aa);
            report("dense 1M", kKindNames[kind], aa, d);
            if (!aa)
                EXPECT_TRUE(withinAliasedContract()) << kKindNames[kind];
            EXPECT_TRUE(stats.reduced);
            EXPECT_GT(stats.spans, kColumns / 2) << kKindNames[kind];
            EXPECT_TRUE(withinContract(d, aa)) << kKindNames[kind] << (aa ? " AA" : " no AA");
        }
    }
}

TEST_F(TraceFidelityTest, MediumDensityTracesStayWithinTheContract)
{
    // 5 and 50 points per column.
    for (long n : {9600L, 96000L})
        for (TraceKind kind : {Walk, Noise, Spikes, Steps, Flat, Gaps}) {
            setTrace(makeTrace(kind, n, 31 + kind));
            for (bool aa : {true, false}) {
                const TraceDifference d = compare(aa);
                report(("medium " + std::to_string(n)).c_str(), kKindNames[kind], aa, d);
                EXPECT_TRUE(stats.reduced);
                if (aa)
                    EXPECT_TRUE(withinContract(d, aa)) << n << " points, " << kKindNames[kind];
                else
                    EXPECT_TRUE(withinAliasedContract()) << n << " points, " << kKindNames[kind];
            }
        }
}

TEST_F(TraceFidelityTest, SparseViewsArePixelIdentical)
{
    // Under two points per column: the whole trace of 3000 points, and a
    // trace of 200,000 points zoomed in to 1500 of them.
    kgrqt_trace_tuning().min_points = 1000;
    for (TraceKind kind : {Walk, Noise, Spikes, Steps, Flat, Gaps})
        for (long n : {3000L, 200000L}) {
            const TestTrace t = makeTrace(kind, n, 51 + kind);
            setTrace(t);
            if (n > 3000)
                setBox(t.x[100000], t.x[101500], vp.viewport.ybottom, vp.viewport.ytop);
            for (bool aa : {true, false}) {
                // Without antialiasing the item's whole path is the reference:
                // drawn as a polyline the same points differ (see above).
                const QImage full = aa ? drawFull(aa) : drawWhole(aa);
                const QImage reduced = drawItem(aa);
                EXPECT_TRUE(stats.reduced);
                EXPECT_EQ(stats.spans, 0);
                const TraceDifference d = compareTraces(full, reduced, area(), kPaper);
                EXPECT_EQ(d.differ, 0) << kKindNames[kind] << " " << n << (aa ? " AA" : " no AA")
                                       << ": " << 100 * d.differ << "% differ";
            }
        }
}

TEST_F(TraceFidelityTest, AOneSampleSpikeOfAnyHeightIsDrawn)
{
    const long n = 1000000;
    TestTrace t = makeTrace(Flat, n, 3);
    setTrace(t);
    setBox(t.x.front(), t.x.back(), 0, 10);
    // Heights of a tenth of a pixel to far above the view, up and down.
    const double heights[] = {0.001, 0.05, 1.0, 4.0, 1e6, -0.05, -3.0, -1e6};
    for (double height : heights) {
        const long at = 123457;
        std::vector<double> y(n, 3.25);
        y[at] = 3.25 + height;
        t.y = y;
        QList<KGR_XY> list;
        for (long i = 0; i < n; ++i)
            list.append(KGR_XY{t.x[i], t.y[i]});
        ASSERT_EQ(line->configure("qlist", reinterpret_cast<char*>(&list), kEnd), 0);
        for (bool aa : {true, false}) {
            const QImage image = drawItem(aa);
            ASSERT_TRUE(stats.reduced);
            // Every row from the flat line to the spike's tip (or to the
            // edge of the view) has ink within a pixel of the spike's column.
            const int column =
                static_cast<int>(kColumns * (t.x[at] - t.x[0]) / (t.x[n - 1] - t.x[0]));
            const double base = kRows * (10 - 3.25) / 10;
            const double tip = std::max(0.0, std::min(kRows - 1.0, kRows * (10 - y[at]) / 10));
            const int top = static_cast<int>(std::min(base, tip));
            const int bottom = static_cast<int>(std::max(base, tip));
            for (int row = top; row <= bottom; ++row) {
                bool inked = false;
                for (int c = column - 1; c <= column + 1; ++c)
                    for (int r = std::max(0, row - 1); r <= std::min(kRows - 1, row + 1); ++r)
                        inked = inked || image.pixel(c, r) != kPaper;
                EXPECT_TRUE(inked)
                    << "height " << height << " row " << row << (aa ? " AA" : " no AA");
            }
        }
    }
}

TEST_F(TraceFidelityTest, BreaksStayBreaks)
{
    const long n = 1000000;
    TestTrace t = makeTrace(Walk, n, 5);
    // A gap of breaks over 10% of the trace, one of NaN over another 10%.
    for (long i = 200000; i < 300000; ++i)
        t.y[i] = KGR_UNSET;
    for (long i = 600000; i < 700000; ++i)
        t.y[i] = std::numeric_limits<double>::quiet_NaN();
    setTrace(t);
    for (bool aa : {true, false}) {
        const QImage image = drawItem(aa);
        ASSERT_TRUE(stats.reduced);
        for (int c : {400, 500, 1200, 1300}) {
            int ink = 0;
            for (int row = 0; row < kRows; ++row)
                ink += image.pixel(c, row) != kPaper;
            EXPECT_EQ(ink, 0) << "column " << c;
        }
    }
}

TEST_F(TraceFidelityTest, MarginsLayersAndAPainterThatTranslatesKeepTheContract)
{
    KgrviewportItem& r = vp.viewport;
    r.mleft = 60;
    r.mright = 20;
    r.mtop = 15;
    r.mbottom = 40;
    setTrace(makeTrace(Walk, 1000000, 17));
    const QImage full = drawFull(true);
    const QImage reduced = drawItem(true);
    EXPECT_TRUE(stats.reduced);
    EXPECT_TRUE(withinContract(compareTraces(full, reduced, area(), kPaper), true));
    // Nothing outside the plot area.
    for (int x = 0; x < r.w; ++x)
        for (int y : {0, r.mtop - 1, r.h - r.mbottom, r.h - 1})
            ASSERT_EQ(reduced.pixel(x, y), kPaper) << x << "," << y;
}

TEST_F(TraceFidelityTest, ConditionsOutsideTheReductionDrawTheWholePath)
{
    TestTrace t = makeTrace(Walk, 100000, 7);
    setTrace(t);
    drawItem(true);
    EXPECT_TRUE(stats.reduced);
    // Unsorted x.
    std::swap(t.x[500], t.x[501]);
    setTrace(t);
    drawItem(true);
    EXPECT_FALSE(stats.reduced);
    // A fill colour.
    std::swap(t.x[500], t.x[501]);
    setTrace(t);
    ASSERT_EQ(line->configure("fill", "yellow", kEnd), 0);
    drawItem(true);
    EXPECT_FALSE(stats.reduced);
    ASSERT_EQ(line->configure("fill", "", kEnd), 0);
    // A break in x.
    t.x[700] = KGR_UNSET;
    setTrace(t);
    drawItem(true);
    EXPECT_FALSE(stats.reduced);
    t.x[700] = t.x[699] + 0.01;
    // An equidistant map.
    setTrace(t);
    vp.viewport.wtran = KGR_WTRAN_EDP;
    drawItem(true);
    EXPECT_FALSE(stats.reduced);
    vp.viewport.wtran = KGR_WTRAN_NONE;
    // Switched off.
    kgrqt_trace_tuning().enabled = false;
    drawItem(true);
    EXPECT_FALSE(stats.reduced);
}

TEST_F(TraceFidelityTest, LogarithmicAxesAreReduced)
{
    // The item is given plane values (logarithms) on logarithmic axes; the
    // samples then crowd towards the right, from sparse to very dense.
    TestTrace t = makeTrace(Noise, 200000, 9);
    for (size_t i = 0; i < t.x.size(); ++i) {
        t.x[i] = std::log10(1 + static_cast<double>(i));
        t.y[i] = std::log10(std::fabs(t.y[i]) + 1);
    }
    t.ylo = 0;
    t.yhi = 1;
    setTrace(t);
    vp.viewport.xmode = KGR_MODE_LOG;
    vp.viewport.ymode = KGR_MODE_LOG;
    setBox(1, 200000, 1, 10);
    const TraceDifference d = compare(true);
    EXPECT_TRUE(stats.reduced);
    EXPECT_TRUE(withinContract(d, true));
}
