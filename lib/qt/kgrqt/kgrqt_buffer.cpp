// The segment buffer: consecutive segments are merged into polylines, and
// segments of filled shapes into polygons that follow the plot frame, so
// that long runs of short segments cost one painter call. One set of
// process-wide state, used from the GUI thread by one painter at a time;
// every figure ends with a flush.
#include "KGRViewport.h"
#include "kgrqt_engine.h"

#include <QPainter>
#include <QPointF>

#include <cmath>
#include <cstdio>

namespace {

const int kLinePoints = 1000;
const int kFirstFillSize = 1000;

struct SegmentBuffer {
    QPointF points[kLinePoints];
    int npts = 0;
    QPointF* fpoints = nullptr;
    int fnpts = 0;
    int fpoints_size = 0;
    double lastx = 0.0;
    double lasty = 0.0;
};

SegmentBuffer buffer;

bool continuesLast(double x, double y)
{
    return x == buffer.lastx && y == buffer.lasty;
}

void setLast(double x, double y)
{
    buffer.lastx = x;
    buffer.lasty = y;
}

// ------------------------------------------------------------ polylines

void drawCollectedLine(QPainter& painter)
{
    if (buffer.npts == 2)
        painter.drawLine(buffer.points[0], buffer.points[1]);
    else if (buffer.npts > 2)
        painter.drawPolyline(buffer.points, buffer.npts);
}

void addLineSegment(QPainter& painter, double x1, double y1, double x2, double y2)
{
    if (buffer.npts > 0 && !continuesLast(x1, y1)) {
        drawCollectedLine(painter);
        buffer.npts = 0;
    }
    if (buffer.npts == 0)
        buffer.points[buffer.npts++] = QPointF(x1, y1);
    buffer.points[buffer.npts++] = QPointF(x2, y2);
    setLast(x2, y2);
    // A full run is drawn and the next one starts at its last point, so
    // that the runs join without a gap.
    if (buffer.npts == kLinePoints) {
        drawCollectedLine(painter);
        buffer.points[0] = buffer.points[kLinePoints - 1];
        buffer.npts = 1;
    }
}

void flushLines(QPainter& painter, int debug)
{
    if (debug) {
        printf("kgrqt_buffer_qtdraws:");
        for (int i = 0; i < buffer.npts; i++)
            printf(" %f %f", buffer.points[i].x(), buffer.points[i].y());
        printf("\n");
    }
    drawCollectedLine(painter);
    buffer.npts = 0;
}

// ------------------------------------------------------------- polygons

// The plot frame in pixels. Its sides are numbered clockwise on screen from
// the top (0 top, 1 right, 2 bottom, 3 left), and corner i is where side i
// ends going clockwise (0 top-right, 1 bottom-right, 2 bottom-left, 3
// top-left).
struct Frame {
    double left, top, right, bottom;

    QPointF corner(int i) const
    {
        switch (i & 3) {
        case 0:
            return QPointF(right, top);
        case 1:
            return QPointF(right, bottom);
        case 2:
            return QPointF(left, bottom);
        default:
            return QPointF(left, top);
        }
    }
};

Frame frameOf(const KgrviewportItem* vp)
{
    return Frame{double(vp->header.x1 + vp->mleft), double(vp->header.y1 + vp->mtop),
                 double(vp->header.x2 - vp->mright), double(vp->header.y2 - vp->mbottom)};
}

// Bit i set when the point lies on side i. Clipped points are placed on the
// frame exactly; the tolerance only absorbs the rounding of callers that
// compute frame points themselves.
int sidesOf(const Frame& f, double x, double y)
{
    const double eps = 1e-6;
    bool withinX = x >= f.left - eps && x <= f.right + eps;
    bool withinY = y >= f.top - eps && y <= f.bottom + eps;
    int sides = 0;
    if (withinX && std::fabs(y - f.top) <= eps)
        sides |= 1;
    if (withinY && std::fabs(x - f.right) <= eps)
        sides |= 2;
    if (withinX && std::fabs(y - f.bottom) <= eps)
        sides |= 4;
    if (withinY && std::fabs(x - f.left) <= eps)
        sides |= 8;
    return sides;
}

bool appendFillPoint(double x, double y)
{
    if (kgrqt_set_fpoints(buffer.fnpts, &buffer.fpoints_size, &buffer.fpoints) < 0)
        return false;
    buffer.fpoints[buffer.fnpts++] = QPointF(x, y);
    return true;
}

// Corners passed when walking round the frame from a point on the sides
// `from` to a point on the sides `to`: the shorter way, clockwise when both
// ways are equally long. Sets *first to the first corner and *step to +1
// (clockwise) or -1.
int frameWalk(int from, int to, int* first, int* step)
{
    int best = -1;
    for (int a = 0; a < 4; a++) {
        for (int b = 0; b < 4; b++) {
            if (!(from & (1 << a)) || !(to & (1 << b)))
                continue;
            int clockwise = (b - a + 4) % 4;
            int counter = (a - b + 4) % 4;
            int n = clockwise <= counter ? clockwise : counter;
            if (best >= 0 && n >= best)
                continue;
            best = n;
            *step = clockwise <= counter ? 1 : -1;
            *first = clockwise <= counter ? a : a - 1;
        }
    }
    return best < 0 ? 0 : best;
}

// A shape cut by the frame continues along it to where it comes back in,
// so that it is closed along the frame rather than by a chord.
bool appendFrameCorners(const Frame& f, double x, double y)
{
    int first = 0, step = 1;
    int n = frameWalk(sidesOf(f, buffer.lastx, buffer.lasty), sidesOf(f, x, y), &first, &step);
    for (int i = 0; i < n; i++) {
        QPointF c = f.corner(first + i * step);
        if (!appendFillPoint(c.x(), c.y()))
            return false;
    }
    return true;
}

int addFillSegment(KgrviewportItem* vp, double x1, double y1, double x2, double y2)
{
    if (buffer.fnpts > 0 && !continuesLast(x1, y1)) {
        if (!appendFrameCorners(frameOf(vp), x1, y1))
            return -1;
    }
    if (buffer.fnpts == 0 || !continuesLast(x1, y1)) {
        if (!appendFillPoint(x1, y1))
            return -1;
    }
    if (!appendFillPoint(x2, y2))
        return -1;
    setLast(x2, y2);
    return 0;
}

void flushFill(QPainter& painter)
{
    if (buffer.fnpts > 0)
        painter.drawPolygon(buffer.fpoints, buffer.fnpts, Qt::OddEvenFill);
    buffer.fnpts = 0;
}

bool isFiniteSegment(double x1, double y1, double x2, double y2)
{
    return std::isfinite(x1) && std::isfinite(y1) && std::isfinite(x2) && std::isfinite(y2);
}

} // namespace

int kgrqt_set_fpoints(int fnpts, int* fpoints_size, QPointF** fpoints)
{
    if (!*fpoints) {
        *fpoints = static_cast<QPointF*>(malloc(kFirstFillSize * sizeof(QPointF)));
        if (!*fpoints) {
            hx_complain(HX_ERROR_ALLOC, "kgrqt_set_fpoints: malloc() error.\n");
            return -1;
        }
        *fpoints_size = kFirstFillSize;
    }
    if (fnpts < *fpoints_size)
        return 0;
    long size = *fpoints_size > 0 ? *fpoints_size : kFirstFillSize;
    while (size <= fnpts)
        size *= 2;
    void* grown = size > 0x7fffffffL ? nullptr : realloc(*fpoints, size * sizeof(QPointF));
    if (!grown) {
        hx_complain(HX_ERROR_ALLOC, "kgrqt_set_fpoints: realloc() error.\n");
        return -1;
    }
    *fpoints = static_cast<QPointF*>(grown);
    *fpoints_size = static_cast<int>(size);
    return 0;
}

int kgrqt_buffer_qtdraws(QPainter& painter, int fill, int flush, KgrviewportItem* vp, double x1,
                         double y1, double x2, double y2, int debug)
{
    if (flush) {
        if (fill)
            flushFill(painter);
        else
            flushLines(painter, debug);
        return 0;
    }
    // A segment that cannot be drawn is left out, as is one of no length.
    if ((x1 == x2 && y1 == y2) || !isFiniteSegment(x1, y1, x2, y2))
        return 0;
    if (!fill) {
        addLineSegment(painter, x1, y1, x2, y2);
        return 0;
    }
    if (!vp)
        return 0;
    return addFillSegment(vp, x1, y1, x2, y2);
}

int kgrqt_buffer_draws(QPainter& painter, int fill, int flush, KgrviewportItem* vp, int w, int h,
                       double fx1, double fy1, double fx2, double fy2, int debug)
{
    // A flush empties the buffer whatever the plot size, so that nothing of
    // this figure is left over for the next one.
    if (flush)
        return kgrqt_buffer_qtdraws(painter, fill, flush, vp, 0.0, 0.0, 0.0, 0.0, debug);
    if (!vp)
        return 0;
    if (w == 0 && h == 0) {
        w = vp->w - vp->mleft - vp->mright;
        h = vp->h - vp->mbottom - vp->mtop;
    }
    if (w < 3 || h < 3)
        return 0;
    double x1 = vp->mleft + vp->header.x1 + w * fx1;
    double y1 = vp->header.y2 - h * fy1 - vp->mbottom;
    double x2 = vp->mleft + vp->header.x1 + w * fx2;
    double y2 = vp->header.y2 - h * fy2 - vp->mbottom;
    if (debug)
        printf("kgrqt_buffer_draws: %f %f %f %f\n", x1, y1, x2, y2);
    return kgrqt_buffer_qtdraws(painter, fill, flush, vp, x1, y1, x2, y2, debug);
}
