// The fast path for long polylines: what it draws must be, pixel for pixel,
// what drawing the item's whole path draws; where it cannot promise that it
// must step aside. Every comparison draws the same item twice into images
// of the same background, once with the fast path turned off.
#include "kgrqt.h"
#include "kgrqt_trace.h"

#include <QColor>
#include <QImage>
#include <QList>
#include <QPainter>
#include <QPixmap>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace {

const char* const kEnd = nullptr;

// Kinds of traces, each with its own way of being hard.
enum Kind {
    RandomWalk,    // steps of a few pixels: long vertical runs in every column
    FineWalk,      // steps well under a pixel: lines stroked flat and steep by turns
    Spikes,        // flat with rare tall spikes
    Quantized,     // a walk on a coarse grid: many flat steps and repeated values
    GapsAndBreaks, // a walk with NaN gaps and 2e30 breaks
    Excursions,    // a walk that leaves the view above and below
    Sparse,        // fewer points than pixels
    RepeatedX      // several points at each x
};

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

// A viewport whose record is set by hand: 400 x 300 pixels with margins, the
// world box given per test.
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

    int pw() const { return vp.viewport.w - vp.viewport.mleft - vp.viewport.mright; }
    int ph() const { return vp.viewport.h - vp.viewport.mtop - vp.viewport.mbottom; }

    // The item drawn on a fresh image, by the normal path or the fast one.
    QImage draw(bool fast, bool antialias = false,
                QImage::Format format = QImage::Format_ARGB32_Premultiplied, QPoint offset = {})
    {
        QImage image(vp.viewport.w + 13, vp.viewport.h + 7, format);
        image.fill(qRgb(250, 248, 240));
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing, antialias);
        painter.translate(offset);
        if (fast) {
            fastTaken = kgrqt_trace_draw(painter, &line->polyline, pw(), ph());
            stats = kgrqt_trace_last_stats();
            if (!fastTaken)
                line->draw(painter);
        } else {
            kgrqt_trace_tuning().enabled = false;
            line->draw(painter);
            kgrqt_trace_tuning().enabled = true;
        }
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
                    if (count < 8)
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
                n += image.pixel(x, y) != qRgb(250, 248, 240);
        return n;
    }

    ::testing::AssertionResult sameAsNormalPath(const std::string& what, bool antialias = false)
    {
        const QImage normal = draw(false, antialias);
        const QImage fast = draw(true, antialias);
        if (normal == fast)
            return ::testing::AssertionSuccess();
        return ::testing::AssertionFailure() << what << ": " << difference(normal, fast);
    }

    KGRViewport vp{nullptr};
    KGRPolyline* line = nullptr;
    bool fastTaken = false;
    KgrqtTraceStats stats;
};

const Kind kKinds[] = {RandomWalk,    FineWalk,   Spikes, Quantized,
                       GapsAndBreaks, Excursions, Sparse, RepeatedX};
const char* const kKindNames[] = {"walk",        "fine walk",  "spikes", "quantized",
                                  "gaps+breaks", "excursions", "sparse", "repeated x"};

} // namespace

TEST_F(TraceTest, EveryKindOfTraceDrawsLikeTheWholePath)
{
    for (int k = 0; k < 8; ++k) {
        for (unsigned seed = 1; seed <= 3; ++seed) {
            const int n = kKinds[k] == Sparse ? 300 : 60000 + 7919 * seed;
            setTrace(makeTrace(kKinds[k], n, 100 * k + seed));
            std::string what = std::string(kKindNames[k]) + " seed " + std::to_string(seed);
            EXPECT_TRUE(sameAsNormalPath(what));
            EXPECT_TRUE(fastTaken) << what;
        }
    }
}
