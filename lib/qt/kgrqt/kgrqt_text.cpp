// Text drawing shared by the annotating items: justification codes, painter
// set-up, measuring, and strings anchored in a viewport's plot frame, plain,
// boxed or rotated, or at a world point.
#include "KGRViewport.h"
#include "kgrqt_engine.h"
#include "kgrqt_round.h"

#include <QFontMetrics>
#include <QPainter>
#include <QPainterPath>

#include <cmath>

namespace {

// The drawing functions take the caller's painter by const reference, as
// the items hand it on; drawing changes its state all the same.
QPainter& writable(const QPainter& painter)
{
    return const_cast<QPainter&>(painter);
}

QString toQString(const char* text)
{
    return QString::fromUtf8(text);
}

bool isEmpty(const char* text)
{
    return !text || !*text;
}

// Widget pixel of a point given in pixels from the plot frame's lower left.
QPointF framePixel(const KgrviewportItem* vp, double x, double y)
{
    return QPointF(vp->header.x1 + x + vp->mleft, vp->header.y2 - y - vp->mbottom);
}

// Draws text whose baseline starts at (-w, h) from the anchor in the
// text's own rotated frame; Qt rotates clockwise on screen.
void drawRotated(QPainter& painter, QPointF anchor, double w, double h, double angle,
                 const QString& text)
{
    const double s = sin(-M_PI * angle / 180.0);
    const double c = cos(-M_PI * angle / 180.0);
    const int x = kgrqt_round(anchor.x() + h * s - w * c);
    const int y = kgrqt_round(anchor.y() + h * c + w * s);
    painter.save();
    painter.translate(x, y);
    painter.rotate(angle);
    painter.drawText(0, 0, text);
    painter.restore();
}

// The box of boxed text and where its text starts, in widget pixels.
struct TextBox {
    int ix, iy;   // text baseline start
    int ixb, iyb; // box corner
    int wb, hb;   // box size
};

TextBox layoutBox(const QFontMetrics& metrics, const QString& text, QPointF anchor, char* just,
                  int width, int height)
{
    const double w = metrics.boundingRect(text).width();
    TextBox box;
    box.wb = width > 0 ? width : kgrqt_trunc(10.0 + w);
    box.hb = height > 0 ? height : kgrqt_trunc(10.0 + metrics.ascent());
    // Centring uses the ink height, not the ascent the box was sized by.
    const double h = metrics.tightBoundingRect(text).height();
    const double shiftx = (box.wb - w) / 2.0;
    const double shifty = box.hb - (box.hb - h) / 2.0;

    double jx = 0.0, jy = 0.0;
    kgrqt_parse_justification(just, &jx, &jy);
    const bool boxMode = just && strlen(just) >= 3 && just[2] == 'b';
    if (boxMode) {
        box.ixb = kgrqt_round(anchor.x() - jx * box.wb);
        box.iyb = kgrqt_round(anchor.y() + (1.0 - jy) * box.hb);
        box.ix = kgrqt_trunc(box.ixb + shiftx);
        box.iy = kgrqt_trunc(box.iyb + shifty);
    } else {
        box.ix = kgrqt_round(anchor.x() - jx * w);
        box.iy = kgrqt_round(anchor.y() + (1.0 - jy) * h);
        box.ixb = kgrqt_trunc(box.ix - shiftx);
        box.iyb = kgrqt_trunc(box.iy - shifty);
    }
    return box;
}

// Background and outline of a box; the path drawn, or null when the box
// has neither.
QPainterPath* drawBox(QPainter& painter, const TextBox& box, QColor* background, QColor* outline)
{
    if (!background && !outline)
        return nullptr;
    auto* path = new QPainterPath;
    path->addRect(box.ixb, box.iyb, box.wb, box.hb);
    if (background)
        kgrqt_setup_fill(&painter, background);
    else
        painter.setBrush(Qt::NoBrush);
    if (outline)
        painter.setPen(QPen(*outline, 1));
    else
        painter.setPen(Qt::NoPen);
    painter.drawPath(*path);
    return path;
}

// The translucent red diagonal that marks text as not being a symbol.
void strikeThrough(QPainter& painter, const TextBox& box)
{
    painter.setRenderHint(QPainter::Antialiasing, true);
    painter.setPen(QPen(QColor("#c0ff0000"), 2.0));
    painter.drawLine(QPointF(box.ixb, box.iyb), QPointF(box.ixb + box.wb, box.iyb + box.hb));
}

} // namespace

int kgrqt_parse_justification(char* just, double* jx, double* jy)
{
    *jx = 0.0;
    *jy = 0.0;
    if (!just)
        return 0;
    // For n and s the second letter says east, west or centre.
    auto horizontal = [](char second) { return second == 'e' ? 1.0 : second == 'w' ? 0.0 : 0.5; };
    switch (just[0]) {
    case 'c':
        *jx = 0.5;
        *jy = 0.5;
        break;
    case 'e':
        *jx = 1.0;
        *jy = 0.5;
        break;
    case 'w':
        *jx = 0.0;
        *jy = 0.5;
        break;
    case 'n':
        *jx = horizontal(just[1]);
        *jy = 1.0;
        break;
    case 's':
        *jx = horizontal(just[1]);
        *jy = 0.0;
        break;
    default:
        break;
    }
    return 0;
}

int kgrqt_setup_text(const QPainter& painter, const QColor& color, const QFont& font)
{
    QPainter& p = writable(painter);
    p.setFont(font);
    p.setPen(QPen(color));
    return 0;
}

int kgrqt_get_metrics(const QFont& font, char* text, int* w, int* h)
{
    QFontMetrics metrics(font);
    *w = metrics.boundingRect(toQString(text)).width();
    *h = metrics.ascent();
    return 0;
}

int kgrqt_fontmetrics(const QFont& font, char* string, int* str_w, int* str_h, int* ascent,
                      int* descent)
{
    QFontMetrics metrics(font);
    QRect rect = metrics.boundingRect(toQString(string));
    *str_w = rect.width();
    *str_h = rect.height();
    *ascent = metrics.ascent();
    *descent = metrics.descent();
    return 0;
}

void kgrqt_draw_text(const QPainter& painter, KgrviewportItem* vp, const QFont& font, double x,
                     double y, char* just, double angle, char* text)
{
    if (isEmpty(text) || !vp)
        return;
    const QString string = toQString(text);
    QFontMetrics metrics(font);
    double jx = 0.0, jy = 0.0;
    kgrqt_parse_justification(just, &jx, &jy);
    const double w = metrics.boundingRect(string).width() * jx;
    const double h = metrics.ascent() * jy;
    const QPointF anchor = framePixel(vp, x, y);
    QPainter& p = writable(painter);
    if (angle == 0.0) {
        p.drawText(kgrqt_round(anchor.x() - w), kgrqt_round(anchor.y() + h), string);
        return;
    }
    drawRotated(p, anchor, w, h, angle, string);
}

void kgrqt_draw_text2(const QPainter& painter, KgrviewportItem* vp, const QFont& font,
                      QColor* text_color, QColor* background, QColor* outline, double x, double y,
                      int width, int height, char* just, double angle, char* text,
                      int show_not_symbol, QPainterPath** path, double* xbb, double* ybb, int* wbb,
                      int* hbb)
{
    if (isEmpty(text) || !vp)
        return;
    const QString string = toQString(text);
    QFontMetrics metrics(font);
    const QPointF anchor = framePixel(vp, x, y);
    QPainter& p = writable(painter);
    if (angle != 0.0) {
        // Rotated text has no box; it uses the painter's pen and font as set.
        drawRotated(p, anchor, metrics.boundingRect(string).width(),
                    metrics.tightBoundingRect(string).height(), angle, string);
        return;
    }

    const TextBox box = layoutBox(metrics, string, anchor, just, width, height);
    QPainterPath* boxPath = drawBox(p, box, background, outline);
    if (path)
        *path = boxPath;
    else
        delete boxPath;
    kgrqt_setup_text(p, text_color ? *text_color : QColor(Qt::black), font);
    p.drawText(box.ix, box.iy, string);
    if (show_not_symbol)
        strikeThrough(p, box);
    if (xbb)
        *xbb = x;
    if (ybb)
        *ybb = y;
    if (wbb)
        *wbb = box.wb;
    if (hbb)
        *hbb = box.hb;
}

void kgrqt_scaletext_draw(const QPainter& painter, KgrviewportItem* viewport, double xpt,
                          double ypt, double xsh, double ysh, const QFont& font,
                          char* justification, double angle, char* text)
{
    if (!viewport)
        return;
    int pw = 0, ph = 0;
    double x1 = 0, x2 = 0, sx = 0, y1 = 0, y2 = 0, sy = 0;
    if (kgrqt_get_scales(viewport, &pw, &ph, &x1, &x2, &sx, &y1, &y2, &sy) < 0)
        return;
    if (xpt == KGR_UNSET || ypt == KGR_UNSET)
        return;
    double x = xpt, y = ypt;
    if (viewport->wtran == KGR_WTRAN_EDP)
        kgrqt_latlon2edp(viewport->latr, viewport->lonr, ypt, xpt, &x, &y);
    else if (viewport->wtran == KGR_WTRAN_MERC)
        y = kgrqt_mercator_y(ypt);
    if (viewport->xmode == KGR_MODE_LOG)
        x = log10(x);
    if (viewport->ymode == KGR_MODE_LOG)
        y = log10(y);
    // The same fractions that the world-to-pixel mapping uses; the frame's
    // edges belong to it.
    const double fx = (x - x1) * sx;
    const double fy = (y - y1) * sy;
    if (!(fx >= 0.0 && fx <= 1.0 && fy >= 0.0 && fy <= 1.0))
        return;
    kgrqt_draw_text(painter, viewport, font, pw * fx + xsh, ph * fy + ysh, justification, angle,
                    text);
}
