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
#include <vector>

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
