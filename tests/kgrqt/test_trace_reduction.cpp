// The fast path for long polylines: what it draws must be, pixel for pixel,
// what drawing the item's whole path draws; where it cannot promise that it
// must step aside. Every comparison draws the same item twice into images
// with the same background, once with the fast path turned off.
#include "kgrqt.h"
#include "kgrqt_trace.h"

#include <QColor>
#include <QImage>
#include <QList>
#include <QPainter>
#include <QPixmap>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace {

const char* const kEnd = nullptr;
const QRgb kPaper = qRgb(250, 248, 240);

// Kinds of traces, each with its own way of being hard.
enum Kind {
    RandomWalk,    // steps of a few pixels: long vertical runs in every column
    FineWalk,      // steps well under a pixel: lines stroked flat and steep by turns
    Spikes,        // flat with rare tall spikes
    Quantized,     // a walk on a coarse grid: flat steps and repeated values
    GapsAndBreaks, // a walk with NaN gaps and 2e30 breaks, in x and in y
    Excursions,    // a walk that leaves the view above and below
    Sparse,        // fewer points than pixels
    RepeatedX,     // several points at each x
    FlatRuns,      // long constant stretches between jumps
    KindCount
};

const char* const kKindNames[] = {"walk",      "fine walk",   "spikes",
                                  "quantized", "gaps+breaks", "excursions",
                                  "sparse",    "repeated x",  "flat runs"};

struct Trace {
    std::vector<double> x, y;
};

Trace makeTrace(Kind kind, int n, unsigned seed)
{
    std::mt19937 rng(seed);
    std::normal_distribution<double> normal(0, 1);
    std::uniform_real_distribution<double> uniform(0, 1);
    Trace t;
    t.x.resize(n);
    t.y.resize(n);
    double y = 0;
    for (int i = 0; i < n; ++i) {
        t.x[i] = kind == RepeatedX ? std::floor(i / 4.0) * 4.0 / n : double(i) / n;
        switch (kind) {
        case RandomWalk:
        case GapsAndBreaks:
        case RepeatedX:
            y += 0.02 * normal(rng);
            break;
        case FineWalk:
            y += 0.0007 * normal(rng);
            break;
        case Spikes:
            y = uniform(rng) < 0.002 ? 0.8 * normal(rng) : 0.001 * normal(rng);
            break;
        case Quantized:
            y = std::round((y + 0.01 * normal(rng)) * 200) / 200;
            break;
        case Excursions:
            y += 0.03 * normal(rng);
            y = std::max(-2.0, std::min(2.0, y));
            break;
        case Sparse:
            y = 0.5 * normal(rng);
            break;
        case FlatRuns:
            if (uniform(rng) < 0.001)
                y = 0.6 * normal(rng);
            break;
        case KindCount:
            break;
        }
        y = std::max(-1.5, std::min(1.5, y));
        t.y[i] = y;
    }
    if (kind == GapsAndBreaks) {
        for (int g = 0; g < 12; ++g) {
            int at = static_cast<int>(uniform(rng) * (n - 50));
            int len = 1 + static_cast<int>(uniform(rng) * 40);
            for (int i = at; i < at + len; ++i)
                (g % 3 == 0 ? t.x[i] : t.y[i]) = g % 2 ? KGR_UNSET : std::nan("");
        }
    }
    return t;
}

// A polyline on a viewport whose record is set by hand: 400 x 300 pixels
// with margins; the world box is given per test.
class TraceTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        kgrqt_trace_tuning() = KgrqtTraceTuning();
        kgrqt_trace_tuning().min_points = 2;
        KgrviewportItem& r = vp.viewport;
        r.w = 400;
        r.h = 300;
        r.mleft = 23;
        r.mright = 17;
        r.mtop = 11;
        r.mbottom = 29;
        setBox(0, 1, -1, 1);
        line = new KGRPolyline(&vp);
        ASSERT_EQ(line->configure("outline", "#c03010", kEnd), 0);
    }
    void TearDown() override
    {
        delete line;
        kgrqt_trace_tuning() = KgrqtTraceTuning();
    }

    void setBox(double xleft, double xright, double ybottom, double ytop)
    {
        KgrviewportItem& r = vp.viewport;
        r.xleft = xleft;
        r.xright = xright;
        r.ybottom = ybottom;
        r.ytop = ytop;
    }

    void setTrace(const Trace& t)
    {
        QList<KGR_XY> list;
        for (size_t i = 0; i < t.x.size(); ++i)
            list.append(KGR_XY{t.x[i], t.y[i]});
        ASSERT_EQ(line->configure("qlist", reinterpret_cast<char*>(&list), kEnd), 0);
    }

    // Draws the item through its own draw(), with or without the fast path.
    void paint(QPainter& painter, bool fast)
    {
        kgrqt_trace_tuning().enabled = fast;
        line->draw(painter);
        stats = kgrqt_trace_last_stats();
        kgrqt_trace_tuning().enabled = true;
    }

    QImage draw(bool fast, bool antialias = false,
                QImage::Format format = QImage::Format_ARGB32_Premultiplied, QPoint offset = {})
    {
        QImage image(vp.viewport.w + 13, vp.viewport.h + 7, format);
        image.fill(kPaper);
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing, antialias);
        painter.translate(offset);
        paint(painter, fast);
        return image;
    }

    // Where two images differ, for the failure message.
    static std::string difference(const QImage& a, const QImage& b)
    {
        int count = 0;
        std::ostringstream out;
        for (int y = 0; y < a.height(); ++y)
            for (int x = 0; x < a.width(); ++x)
                if (a.pixel(x, y) != b.pixel(x, y)) {
                    if (count < 6)
                        out << " (" << x << "," << y << ") " << std::hex << a.pixel(x, y) << " vs "
                            << b.pixel(x, y) << std::dec;
                    ++count;
                }
        return std::to_string(count) + " pixels differ:" + out.str();
    }

    static int countInk(const QImage& image)
    {
        int n = 0;
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x)
                n += image.pixel(x, y) != kPaper;
        return n;
    }

    // The normal path's picture and the fast path's, compared; fastTaken
    // tells whether the fast path drew.
    ::testing::AssertionResult
    sameAsNormalPath(const std::string& what, bool antialias = false,
                     QImage::Format format = QImage::Format_ARGB32_Premultiplied,
                     QPoint offset = {})
    {
        const QImage normal = draw(false, antialias, format, offset);
        const QImage fast = draw(true, antialias, format, offset);
        fastTaken = stats.fast;
        if (normal == fast)
            return ::testing::AssertionSuccess();
        return ::testing::AssertionFailure() << what << ": " << difference(normal, fast);
    }

    KGRViewport vp{nullptr};
    KGRPolyline* line = nullptr;
    bool fastTaken = false;
    KgrqtTraceStats stats;
};

// The views every trace is drawn in: the whole of it, zoomed into the
// middle, panned so that it leaves the view on both sides, zoomed in x and
// y at once, and through a painter that is itself translated.
struct View {
    const char* name;
    double xleft, xright, ybottom, ytop;
    QPoint offset;
};
const View kViews[] = {{"whole", 0, 1, -1, 1, {}},
                       {"zoomed", 0.4, 0.47, -0.6, 0.9, {}},
                       {"panned", -0.3, 0.6, -1.2, 0.8, {}},
                       {"deep", 0.7001, 0.7051, -0.3, 0.2, {}},
                       {"offset", 0.1, 0.9, -1, 1, {5, -3}}};

} // namespace

TEST_F(TraceTest, RandomTracesInEveryViewDrawLikeTheWholePath)
{
    long skipped = 0;
    for (int k = 0; k < KindCount; ++k) {
        for (unsigned seed = 1; seed <= 2; ++seed) {
            const Kind kind = static_cast<Kind>(k);
            const int n = kind == Sparse ? 300 : 120000 + 7919 * seed;
            setTrace(makeTrace(kind, n, 100 * k + seed));
            for (const View& view : kViews) {
                setBox(view.xleft, view.xright, view.ybottom, view.ytop);
                std::string what = std::string(kKindNames[k]) + " seed " + std::to_string(seed) +
                                   " view " + view.name;
                EXPECT_TRUE(sameAsNormalPath(what, false, QImage::Format_ARGB32_Premultiplied,
                                             view.offset));
                EXPECT_TRUE(fastTaken) << what;
                skipped += stats.skipped;
            }
        }
    }
    // The runs proven to add nothing were really passed over.
    EXPECT_GT(skipped, 500000);
}

TEST_F(TraceTest, DenseTracesSkipMostPointsAndStayExact)
{
    setTrace(makeTrace(RandomWalk, 600000, 7));
    EXPECT_TRUE(sameAsNormalPath("dense walk"));
    ASSERT_TRUE(fastTaken);
    EXPECT_GT(stats.skipped, 300000);
    kgrqt_trace_tuning().skipping = false;
    EXPECT_TRUE(sameAsNormalPath("dense walk, every segment stroked"));
    EXPECT_EQ(stats.skipped, 0);
}

TEST_F(TraceTest, LineWidthsZeroAndOneAreFastWiderOnesTakeTheNormalPath)
{
    setTrace(makeTrace(RandomWalk, 40000, 3));
    for (int width : {0, 1, 2, 3}) {
        ASSERT_EQ(line->configure("linewidth", std::to_string(width).c_str(), kEnd), 0);
        EXPECT_TRUE(sameAsNormalPath("width " + std::to_string(width)));
        EXPECT_EQ(fastTaken, width <= 1) << width;
    }
}

TEST_F(TraceTest, AntialiasingTakesTheNormalPath)
{
    // Antialiased lines sum the coverage of every segment over each pixel,
    // which no reduction reproduces; the picture is the normal path's own.
    setTrace(makeTrace(RandomWalk, 40000, 4));
    EXPECT_TRUE(sameAsNormalPath("antialiased", true));
    EXPECT_FALSE(fastTaken);
}

TEST_F(TraceTest, ImageFormatsAndPixmapsGetTheSamePixels)
{
    setTrace(makeTrace(FineWalk, 50000, 5));
    for (QImage::Format format : {QImage::Format_RGB32, QImage::Format_ARGB32, QImage::Format_RGB16,
                                  QImage::Format_Grayscale8, QImage::Format_RGB888}) {
        EXPECT_TRUE(sameAsNormalPath("format " + std::to_string(format), false, format));
        EXPECT_TRUE(fastTaken) << format;
    }
    QPixmap normal(vp.viewport.w, vp.viewport.h), fast(vp.viewport.w, vp.viewport.h);
    for (bool useFast : {false, true}) {
        QPixmap& pixmap = useFast ? fast : normal;
        pixmap.fill(kPaper);
        QPainter painter(&pixmap);
        paint(painter, useFast);
    }
    EXPECT_TRUE(stats.fast);
    EXPECT_EQ(normal.toImage(), fast.toImage());
}

TEST_F(TraceTest, AnEarlierClipStillApplies)
{
    setTrace(makeTrace(RandomWalk, 50000, 6));
    QImage normal(vp.viewport.w, vp.viewport.h, QImage::Format_RGB32);
    QImage fast = normal;
    for (bool useFast : {false, true}) {
        QImage& image = useFast ? fast : normal;
        image.fill(kPaper);
        QPainter painter(&image);
        painter.setClipRegion(QRegion(60, 40, 150, 120, QRegion::Ellipse) + QRect(250, 0, 20, 300));
        paint(painter, useFast);
    }
    EXPECT_TRUE(stats.fast);
    EXPECT_EQ(normal, fast) << difference(normal, fast);
}

TEST_F(TraceTest, RedrawsAfterZoomAndPanReuseTheSummary)
{
    setTrace(makeTrace(RandomWalk, 200000, 8));
    QImage first = draw(true);
    EXPECT_TRUE(stats.fast);
    EXPECT_TRUE(stats.summary_built);
    double left = 0, right = 1;
    for (int step = 0; step < 6; ++step) {
        // Zoom in about the middle, then pan right.
        if (step < 3) {
            double mid = (left + right) / 2, half = (right - left) / 3;
            left = mid - half;
            right = mid + half;
        } else {
            double shift = (right - left) / 4;
            left += shift;
            right += shift;
        }
        setBox(left, right, -1, 1);
        const QImage fast = draw(true);
        EXPECT_TRUE(stats.fast) << step;
        EXPECT_FALSE(stats.summary_built) << step;
        const QImage normal = draw(false);
        EXPECT_EQ(normal, fast) << "step " << step << ": " << difference(normal, fast);
    }
    // Back at the start, the first picture again.
    setBox(0, 1, -1, 1);
    EXPECT_EQ(draw(true), first);
}

TEST_F(TraceTest, NewPointsDropTheSummary)
{
    setTrace(makeTrace(RandomWalk, 100000, 9));
    draw(true);
    ASSERT_TRUE(stats.fast);
    draw(true);
    EXPECT_FALSE(stats.summary_built);
    // Different points, possibly at the very same addresses: drawn as
    // themselves, through a new summary.
    setTrace(makeTrace(Spikes, 100000, 10));
    EXPECT_TRUE(sameAsNormalPath("after qlist"));
    const QImage spikes = draw(true);
    EXPECT_TRUE(stats.fast);

    // An in-place refill from a second-generation vector keeps the arrays
    // when they are large enough.
    std::string text;
    const Trace walk = makeTrace(RandomWalk, 100000, 11);
    for (size_t i = 0; i < walk.x.size(); ++i)
        text += std::to_string(walk.x[i]) + " " + std::to_string(walk.y[i]) + "\n";
    ASSERT_EQ(hxvector_read_text("tracev2", HXVECTOR_SECOND, text.c_str(), nullptr), 1);
    ASSERT_EQ(line->configure("vector2", "tracev2", kEnd), 0);
    draw(true);
    const double* keptX = line->polyline.xpts;
    EXPECT_TRUE(stats.summary_built);
    ASSERT_EQ(line->configure("vector2", "tracev2", kEnd), 0);
    ASSERT_EQ(line->polyline.xpts, keptX);
    draw(true);
    EXPECT_TRUE(stats.summary_built);
    EXPECT_TRUE(sameAsNormalPath("after vector2"));
    EXPECT_NE(draw(true), spikes);
    hxvector_free("tracev2");
}

TEST_F(TraceTest, ConditionsThatCannotBeHonouredTakeTheNormalPath)
{
    Trace t = makeTrace(RandomWalk, 40000, 12);
    setTrace(t);
    // A fill colour: the normal path fills the outline too.
    ASSERT_EQ(line->configure("fill", "#80c0ff", kEnd), 0);
    EXPECT_TRUE(sameAsNormalPath("filled"));
    EXPECT_FALSE(fastTaken);
    ASSERT_EQ(line->configure("fill", "", kEnd), 0);
    // A translucent outline: a pixel drawn twice is darker.
    ASSERT_EQ(line->configure("outline", "#80c03010", kEnd), 0);
    EXPECT_TRUE(sameAsNormalPath("translucent"));
    EXPECT_FALSE(fastTaken);
    ASSERT_EQ(line->configure("outline", "#c03010", kEnd), 0);
    // A logarithmic axis.
    vp.viewport.xmode = KGR_MODE_LOG;
    setBox(0.01, 1, -1, 1);
    EXPECT_TRUE(sameAsNormalPath("log x"));
    EXPECT_FALSE(fastTaken);
    vp.viewport.xmode = KGR_MODE_LIN;
    setBox(0, 1, -1, 1);
    // x going back.
    std::swap(t.x[100], t.x[20000]);
    setTrace(t);
    EXPECT_TRUE(sameAsNormalPath("unsorted"));
    EXPECT_FALSE(fastTaken);
    // Short lines are left to the normal path by default.
    kgrqt_trace_tuning() = KgrqtTraceTuning();
    setTrace(makeTrace(RandomWalk, 5000, 13));
    EXPECT_TRUE(sameAsNormalPath("short"));
    EXPECT_FALSE(fastTaken);
}

TEST_F(TraceTest, TimeAxesAndEpochTimesAreExact)
{
    // Seconds since 1970 around 2024, sampled at 100 Hz for half an hour.
    Trace t = makeTrace(RandomWalk, 180000, 14);
    for (double& x : t.x)
        x = 1.7e9 + x * 1800;
    setTrace(t);
    vp.viewport.xmode = KGR_MODE_TIME;
    setBox(1.7e9 + 100, 1.7e9 + 1700, -1, 1);
    EXPECT_TRUE(sameAsNormalPath("time axis"));
    EXPECT_TRUE(fastTaken);
}

TEST_F(TraceTest, LineEndsBreaksAndLonePointsMatch)
{
    // Breaks at the very start and end, single points between breaks, a
    // break in x only, and a run that ends outside the view.
    Trace t = makeTrace(RandomWalk, 30000, 15);
    for (int i : {0, 1, 29998, 29999, 500, 502, 504, 12000})
        t.y[i] = KGR_UNSET;
    t.x[7000] = KGR_UNSET;
    t.y[7001] = std::nan("");
    t.y[20000] = 40; // far above, then back
    setTrace(t);
    EXPECT_TRUE(sameAsNormalPath("breaks"));
    EXPECT_TRUE(fastTaken);
}

TEST_F(TraceTest, ALineThatEndsWhereItBeganIsLeftToTheNormalPath)
{
    // Qt strokes a subpath that closes on itself as an outline.
    Trace t = makeTrace(RandomWalk, 30000, 16);
    for (double& x : t.x)
        x = 0.5;
    t.y.back() = t.y.front();
    setTrace(t);
    EXPECT_TRUE(sameAsNormalPath("closed"));
    EXPECT_FALSE(fastTaken);
}

TEST_F(TraceTest, TinyAndMarginOnlyViewsDrawNothingOrTheSame)
{
    setTrace(makeTrace(RandomWalk, 30000, 17));
    // The whole trace left of the view, then right of it.
    setBox(2, 3, -1, 1);
    EXPECT_TRUE(sameAsNormalPath("left of view"));
    setBox(-3, -2, -1, 1);
    EXPECT_TRUE(sameAsNormalPath("right of view"));
    EXPECT_EQ(countInk(draw(true)), 0);
    // A plotting area of 3 x 3 pixels.
    vp.viewport.mleft = 200;
    vp.viewport.mright = 197;
    vp.viewport.mtop = 150;
    vp.viewport.mbottom = 147;
    setBox(0, 1, -1, 1);
    EXPECT_TRUE(sameAsNormalPath("3 x 3"));
}
