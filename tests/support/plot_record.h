// Hand-filled viewport records and path rendering for the drawing-engine
// tests.
#ifndef KGRQT_TEST_PLOT_RECORD_H
#define KGRQT_TEST_PLOT_RECORD_H

#include "kgrqt.h"

#include <QImage>
#include <QPainter>
#include <QPainterPath>

// A viewport record of w x h pixels at the parent's origin showing the
// given world box, with the same margin on every side.
inline KgrviewportItem plotRecord(int w, int h, double xl, double xr, double yb, double yt,
                                  int wtran = KGR_WTRAN_NONE, int margin = 0)
{
    KgrviewportItem vp{};
    vp.w = w;
    vp.h = h;
    vp.header = Kgrheader{0, 0, w, h};
    vp.mleft = vp.mright = vp.mbottom = vp.mtop = margin;
    vp.xleft = vp.spc_xleft = xl;
    vp.xright = vp.spc_xright = xr;
    vp.ybottom = vp.spc_ybottom = yb;
    vp.ytop = vp.spc_ytop = yt;
    vp.xmin = vp.xmax = vp.ymin = vp.ymax = KGR_UNSET;
    vp.xgain = vp.ygain = 1.0;
    vp.wtran = wtran;
    return vp;
}

// The path filled black (odd-even, no outline) on a white image.
inline QImage fillPath(const QPainterPath& path, int w, int h)
{
    QImage image(w, h, QImage::Format_ARGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    QPainterPath p = path;
    p.setFillRule(Qt::OddEvenFill);
    painter.fillPath(p, Qt::black);
    return image;
}

inline bool isBlack(const QImage& image, int x, int y)
{
    return image.pixel(x, y) == qRgb(0, 0, 0);
}

inline bool isWhite(const QImage& image, int x, int y)
{
    return image.pixel(x, y) == qRgb(255, 255, 255);
}

#endif
