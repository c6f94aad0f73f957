// Comparing a reduced drawing of a trace with the full drawing of every
// point: shared by the fidelity tests and the benchmark's checks.
#ifndef KGRQT_TEST_TRACE_COMPARE_H
#define KGRQT_TEST_TRACE_COMPARE_H

#include "kgrqt.h"

#include <QImage>
#include <QPainter>
#include <QPolygonF>
#include <QRect>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <random>
#include <vector>

// Kinds of test traces, each hard in its own way.
enum TraceKind { Walk, Noise, Spikes, Steps, Flat, Gaps };
static const char* const kKindNames[] = {"random walk", "noise", "spikes", "steps", "flat", "gaps"};

struct TestTrace {
    std::vector<double> x, y;
    double ylo = 0, yhi = 0; // plain values only
};

// Samples at 100 Hz from an epoch time, as a seismometer channel gives.
inline TestTrace makeTrace(TraceKind kind, long n, unsigned seed)
{
    std::mt19937 rng(seed);
    std::normal_distribution<double> normal(0, 1);
    std::uniform_real_distribution<double> uniform(0, 1);
    TestTrace t;
    t.x.resize(n);
    t.y.resize(n);
    double walk = 0, level = 0;
    for (long i = 0; i < n; ++i) {
        t.x[i] = 1.7e9 + i * 0.01;
        double v = 0;
        switch (kind) {
        case Walk:
        case Gaps:
            walk += normal(rng);
            v = walk;
            break;
        case Noise:
            v = normal(rng);
            break;
        case Spikes:
            v = 0.01 * normal(rng) + (uniform(rng) < 2e-5 ? 10 * normal(rng) : 0);
            break;
        case Steps:
            if (uniform(rng) < 2e-4)
                level = std::round(5 * normal(rng));
            v = level;
            break;
        case Flat:
            v = 3.25;
            break;
        }
        t.y[i] = v;
    }
    if (kind == Gaps) {
        // Runs of breaks and of NaN, from one sample to many columns long.
        for (int g = 0; g < 24; ++g) {
            const long len = g % 4 == 0 ? n / 50 : 1 + static_cast<long>(uniform(rng) * 40);
            const long at = static_cast<long>(uniform(rng) * (n - len));
            for (long i = at; i < at + len; ++i)
                t.y[i] = g % 2 ? KGR_UNSET : std::numeric_limits<double>::quiet_NaN();
        }
    }
    t.ylo = 1e300;
    t.yhi = -1e300;
    for (double v : t.y)
        if (std::isfinite(v) && v != KGR_UNSET) {
            t.ylo = std::min(t.ylo, v);
            t.yhi = std::max(t.yhi, v);
        }
    if (t.yhi - t.ylo < 1e-9) {
        t.ylo -= 1;
        t.yhi += 1;
    }
    return t;
}

// How a drawing differs from the full one inside the plot area.
struct TraceDifference {
    double over64 = 0; // fraction of pixels differing by more than 64 levels
    double differ = 0; // fraction of pixels differing at all
    double mean = 0;   // mean of each pixel's largest channel difference
    long strayInk = 0; // inked pixels more than 1 pixel from the full ink
    long pixels = 0;   // pixels of the plot area
};

// Every point of the item, drawn run by run with QPainter::drawPolyline
// through the same pixel mapping, pen, clip and translation as the item.
inline void drawFullTrace(QPainter& painter, KgrpolylineItem* item)
{
    KgrviewportItem* vp = item->viewport;
    KGRScalemap smap(vp, 0);
    const int w = smap.w, h = smap.h;
    painter.save();
    kgrqt_setup_line(&painter, item->outline.color, item->linewidth, item->linestyle, -1);
    painter.setClipRect(vp->mleft, vp->mtop, w, h, Qt::IntersectClip);
    painter.translate(vp->mleft, vp->mtop);
    QPolygonF run;
    auto flush = [&] {
        if (run.size() == 1)
            painter.drawPoint(run[0]);
        else if (run.size() > 1)
            painter.drawPolyline(run);
        run.clear();
    };
    for (int i = 0; i < item->npts; ++i) {
        const double x = item->xpts[i], y = item->ypts[i];
        const double fx = (x - smap.xstart) * smap.xscale, fy = (y - smap.ystart) * smap.yscale;
        if (x == KGR_UNSET || y == KGR_UNSET || !(std::fabs(fx) <= 1e90) ||
            !(std::fabs(fy) <= 1e90)) {
            flush();
            continue;
        }
        run.append(QPointF(w * fx, h * fy));
    }
    flush();
    painter.restore();
}

inline int channelDifference(QRgb a, QRgb b)
{
    return std::max({std::abs(qRed(a) - qRed(b)), std::abs(qGreen(a) - qGreen(b)),
                     std::abs(qBlue(a) - qBlue(b)), std::abs(qAlpha(a) - qAlpha(b))});
}

// Compares two drawings over the plot area; paper is the background.
inline TraceDifference compareTraces(const QImage& full, const QImage& reduced, QRect area,
                                     QRgb paper)
{
    TraceDifference d;
    const int w = area.width(), h = area.height();
    std::vector<char> ink(static_cast<size_t>(w) * h);
    for (int y = 0; y < h; ++y) {
        const QRgb* row = reinterpret_cast<const QRgb*>(full.constScanLine(area.top() + y));
        for (int x = 0; x < w; ++x)
            ink[static_cast<size_t>(y) * w + x] = row[area.left() + x] != paper;
    }
    auto nearInk = [&](int x, int y) {
        for (int j = std::max(0, y - 1); j <= std::min(h - 1, y + 1); ++j)
            for (int i = std::max(0, x - 1); i <= std::min(w - 1, x + 1); ++i)
                if (ink[static_cast<size_t>(j) * w + i])
                    return true;
        return false;
    };
    long over = 0, differ = 0;
    double sum = 0;
    for (int y = 0; y < h; ++y) {
        const QRgb* a = reinterpret_cast<const QRgb*>(full.constScanLine(area.top() + y));
        const QRgb* b = reinterpret_cast<const QRgb*>(reduced.constScanLine(area.top() + y));
        for (int x = 0; x < w; ++x) {
            const QRgb pa = a[area.left() + x], pb = b[area.left() + x];
            if (pa == pb)
                continue;
            const int c = channelDifference(pa, pb);
            sum += c;
            ++differ;
            over += c > 64;
            if (pb != paper && !nearInk(x, y))
                ++d.strayInk;
        }
    }
    d.pixels = static_cast<long>(w) * h;
    d.over64 = double(over) / d.pixels;
    d.differ = double(differ) / d.pixels;
    d.mean = sum / d.pixels;
    return d;
}

#endif
