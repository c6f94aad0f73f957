// World-coordinate polylines and polygons: projected, cut to bend with the
// equidistant projection, clipped to the plot and fed to the segment buffer.
#include "KGRViewport.h"
#include "kgrqt_engine.h"

#include <QPainter>
#include <QPointF>

#include <cmath>
#include <limits>
#include <vector>

namespace {

// Under the equidistant transform a segment is cut into steps of a hundredth
// of the plot. Per segment at most kMaxSubdivisions steps (a segment a
// hundred plots long), and per call at most kMaxAddedPoints points in all:
// past that segments are drawn straight, so that an absurd zoom costs
// bounded time and memory.
const int kMaxSubdivisions = 10000;
const long kMaxAddedPoints = 1000000;

// The plane box of the plot area and its size in pixels.
struct PlotScales {
    int w = 0, h = 0;
    double x1, x2, sx, y1, y2, sy;
};

bool getPlotScales(KgrviewportItem* vp, PlotScales* s)
{
    // A logarithmic axis with a bound of 0 or less leaves the scales unset.
    s->x1 = s->x2 = s->sx = s->y1 = s->y2 = s->sy = std::numeric_limits<double>::quiet_NaN();
    if (kgrqt_get_scales(vp, &s->w, &s->h, &s->x1, &s->x2, &s->sx, &s->y1, &s->y2, &s->sy) != 0)
        return false;
    return s->w >= 3 && s->h >= 3 && std::isfinite(s->x1) && std::isfinite(s->sx) &&
           std::isfinite(s->y1) && std::isfinite(s->sy);
}

bool toLogAxis(int mode, double* v)
{
    if (mode != KGR_MODE_LOG)
        return true;
    if (!(*v > 0.0))
        return false;
    *v = std::log10(*v);
    return true;
}

// World point to plot fractions (y upwards); false when the point cannot be
// transformed.
bool toFraction(KgrviewportItem* vp, const PlotScales& s, int ignoretran, double x, double y,
                QPointF* f)
{
    if (!ignoretran) {
        if (vp->wtran == KGR_WTRAN_EDP) {
            double lon = x, lat = y;
            kgrqt_latlon2edp(vp->latr, vp->lonr, lat, lon, &x, &y);
        } else if (vp->wtran == KGR_WTRAN_MERC) {
            y = kgrqt_mercator_y(y);
        }
        if (!toLogAxis(vp->xmode, &x) || !toLogAxis(vp->ymode, &y))
            return false;
    }
    // Bounded so that differences of fractions, which the clippers form,
    // stay finite.
    double fx = (x - s.x1) * s.sx, fy = (y - s.y1) * s.sy;
    if (!(std::fabs(fx) <= 1e300) || !(std::fabs(fy) <= 1e300))
        return false;
    *f = QPointF(fx, fy);
    return true;
}

// Unbroken runs of plot fractions, one after the other in pts.
struct Runs {
    std::vector<QPointF> pts;
    std::vector<size_t> ends;
    long added = 0;

    void endRun()
    {
        if (pts.size() > (ends.empty() ? 0 : ends.back()))
            ends.push_back(pts.size());
    }
};

// Steps for a segment of the plot; none for one that leaves the sphere
// (latitudes more than half a turn apart).
int subdivisions(const QPointF& f0, const QPointF& f1, double dlat, long budget)
{
    if (!(std::fabs(dlat) <= 180.0))
        return 0;
    double length = std::hypot(f1.x() - f0.x(), f1.y() - f0.y());
    if (!(length > 0.0001))
        return 0;
    double n = std::fmin(std::trunc(length / 0.01 + 0.5), kMaxSubdivisions);
    return n > 1.0 && n - 1.0 <= budget ? static_cast<int>(n) : 0;
}

// Cuts an equidistant segment in latitude and longitude (the short way
// round), so that it bends with the projection.
void addSubdivisions(KgrviewportItem* vp, const PlotScales& s, double lon0, double lat0,
                     const QPointF& f0, double lon1, double lat1, const QPointF& f1, Runs* runs)
{
    int n = subdivisions(f0, f1, lat1 - lat0, kMaxAddedPoints - runs->added);
    if (n <= 1)
        return;
    double dlon = std::remainder(lon1 - lon0, 360.0) / n;
    double dlat = (lat1 - lat0) / n;
    for (int k = 1; k < n; k++) {
        QPointF f;
        if (toFraction(vp, s, 0, lon0 + k * dlon, lat0 + k * dlat, &f))
            runs->pts.push_back(f);
    }
    runs->added += n - 1;
}

// A break, or a point that was already found not to transform.
bool isMarker(double v)
{
    return v == KGR_UNSET || v == KGR_EMPTY;
}

// The world points as runs of plot fractions, split at breaks and at points
// that cannot be transformed.
void collectRuns(KgrviewportItem* vp, const PlotScales& s, int npts, const double* xpts,
                 const double* ypts, int ignoretran, Runs* runs)
{
    bool subdivide = !ignoretran && vp->wtran == KGR_WTRAN_EDP;
    runs->pts.reserve(static_cast<size_t>(npts * 1.2) + 1);
    bool joined = false;
    double xlast = 0.0, ylast = 0.0;
    for (int i = 0; i < npts; i++) {
        QPointF f;
        if (isMarker(xpts[i]) || isMarker(ypts[i]) ||
            !toFraction(vp, s, ignoretran, xpts[i], ypts[i], &f)) {
            runs->endRun();
            joined = false;
            continue;
        }
        if (subdivide && joined)
            addSubdivisions(vp, s, xlast, ylast, runs->pts.back(), xpts[i], ypts[i], f, runs);
        runs->pts.push_back(f);
        joined = true;
        xlast = xpts[i];
        ylast = ypts[i];
    }
    runs->endRun();
}

// Outside codes of a point against the unit square.
int outcode(const QPointF& p)
{
    int code = p.y() > 1.0 ? 8 : p.y() < 0.0 ? 4 : 0;
    return code | (p.x() > 1.0 ? 2 : p.x() < 0.0 ? 1 : 0);
}

// Moves the outside end a of a segment onto the side of the square that its
// code names first; the other end lies inside that side, so the divisor is
// never 0.
QPointF moveOntoSquare(const QPointF& a, const QPointF& b, int code)
{
    // The ratio first: it lies in [0, 1], so nothing overflows.
    if (code & 12) {
        double y = (code & 8) ? 1.0 : 0.0;
        double t = (y - a.y()) / (b.y() - a.y());
        return QPointF(a.x() + (b.x() - a.x()) * t, y);
    }
    double x = (code & 2) ? 1.0 : 0.0;
    double t = (x - a.x()) / (b.x() - a.x());
    return QPointF(x, a.y() + (b.y() - a.y()) * t);
}

// Cohen-Sutherland: false when no part of the segment lies in the square.
// Each move settles one side for good in exact arithmetic (four moves at
// most); the limit only guards against rounding.
bool clipToSquare(QPointF* a, QPointF* b)
{
    int ca = outcode(*a), cb = outcode(*b);
    for (int i = 0; i < 8; i++) {
        if (!(ca | cb))
            return true;
        if (ca & cb)
            return false;
        if (ca) {
            *a = moveOntoSquare(*a, *b, ca);
            ca = outcode(*a);
        } else {
            *b = moveOntoSquare(*b, *a, cb);
            cb = outcode(*b);
        }
    }
    return false;
}

void drawSegment(QPainter& painter, int fill, KgrviewportItem* vp, const PlotScales& s,
                 const QPointF& a, const QPointF& b)
{
    kgrqt_buffer_draws(painter, fill, 0, vp, s.w, s.h, a.x(), a.y(), b.x(), b.y(), 0);
}

void drawClippedLine(QPainter& painter, KgrviewportItem* vp, const PlotScales& s, QPointF a,
                     QPointF b)
{
    if (clipToSquare(&a, &b))
        drawSegment(painter, 0, vp, s, a, b);
}

// With `complete` each run is closed back to its first point.
void drawRunLines(QPainter& painter, KgrviewportItem* vp, const PlotScales& s, const QPointF* p,
                  size_t n, int complete)
{
    for (size_t i = 1; i < n; i++)
        drawClippedLine(painter, vp, s, p[i - 1], p[i]);
    if (complete && n > 2 && p[n - 1] != p[0])
        drawClippedLine(painter, vp, s, p[n - 1], p[0]);
}

// One side of the unit square: the axis (0 x, 1 y) and its bound, 0 or 1.
struct SquareSide {
    int axis;
    double bound;
};

const SquareSide kSquareSides[] = {{0, 0.0}, {0, 1.0}, {1, 0.0}, {1, 1.0}};

double coordinate(const QPointF& p, int axis)
{
    return axis == 0 ? p.x() : p.y();
}

bool keeps(const SquareSide& side, const QPointF& p)
{
    double v = coordinate(p, side.axis);
    return side.bound == 0.0 ? v >= 0.0 : v <= 1.0;
}

// Where the edge from a to b crosses the side; a and b lie on either side
// of it, so the divisor is never 0.
QPointF crossing(const SquareSide& side, const QPointF& a, const QPointF& b)
{
    double t = (side.bound - coordinate(a, side.axis)) /
               (coordinate(b, side.axis) - coordinate(a, side.axis));
    QPointF p = a + t * (b - a);
    if (side.axis == 0)
        p.setX(side.bound);
    else
        p.setY(side.bound);
    return p;
}

// Sutherland-Hodgman, one side: the part of the closed ring on the inside.
// What lay outside becomes a run along the side, so corners of the square
// that the ring encloses are kept.
void clipRingToSide(const std::vector<QPointF>& in, const SquareSide& side,
                    std::vector<QPointF>* out)
{
    out->clear();
    for (size_t i = 0; i < in.size(); i++) {
        const QPointF& prev = in[i == 0 ? in.size() - 1 : i - 1];
        const QPointF& cur = in[i];
        bool prevIn = keeps(side, prev), curIn = keeps(side, cur);
        if (curIn != prevIn)
            out->push_back(crossing(side, prev, cur));
        if (curIn)
            out->push_back(cur);
    }
}

double clampToUnit(double v)
{
    return v < 0.0 ? 0.0 : v > 1.0 ? 1.0 : v;
}

std::vector<QPointF> clipRingToSquare(const QPointF* p, size_t n)
{
    std::vector<QPointF> ring(p, p + n), clipped;
    for (const SquareSide& side : kSquareSides) {
        clipRingToSide(ring, side, &clipped);
        ring.swap(clipped);
    }
    // Interpolation may stray by a rounding error from the square.
    for (QPointF& q : ring)
        q = QPointF(clampToUnit(q.x()), clampToUnit(q.y()));
    return ring;
}

// The rings of one figure make one polygon. Each ring is reached from the
// first ring's start and left back to it along the same line, so under the
// odd-even rule the connections cancel and holes stay holes.
void drawRingFill(QPainter& painter, int fill, KgrviewportItem* vp, const PlotScales& s,
                  const std::vector<QPointF>& ring, bool* anchored, QPointF* anchor)
{
    if (ring.empty())
        return;
    if (!*anchored) {
        *anchor = ring[0];
        *anchored = true;
    }
    drawSegment(painter, fill, vp, s, *anchor, ring[0]);
    for (size_t i = 1; i < ring.size(); i++)
        drawSegment(painter, fill, vp, s, ring[i - 1], ring[i]);
    drawSegment(painter, fill, vp, s, ring.back(), ring[0]);
    drawSegment(painter, fill, vp, s, ring[0], *anchor);
}

} // namespace

// Lines are clipped segment by segment; a fill (any nonzero `fill`) is
// clipped ring by ring as a polygon, so that it stays a closed region that
// follows the plot frame. `complete` closes each run of a line back to its
// first point; rings of a fill are always closed. Returns -1, drawing
// nothing, when the viewport has no usable scales.
int kgrqt_poly_draw(QPainter& painter, KgrviewportItem* viewport, int npts, double* xpts,
                    double* ypts, int fill, int complete, int ignoretran)
{
    PlotScales s;
    if (!viewport || !getPlotScales(viewport, &s))
        return -1;
    if (npts <= 0 || !xpts || !ypts)
        return 0;
    Runs runs;
    collectRuns(viewport, s, npts, xpts, ypts, ignoretran, &runs);
    bool anchored = false;
    QPointF anchor;
    size_t begin = 0;
    for (size_t end : runs.ends) {
        const QPointF* p = runs.pts.data() + begin;
        if (fill)
            drawRingFill(painter, fill, viewport, s, clipRingToSquare(p, end - begin), &anchored,
                         &anchor);
        else
            drawRunLines(painter, viewport, s, p, end - begin, complete);
        begin = end;
    }
    kgrqt_buffer_draws(painter, fill, 1, viewport, s.w, s.h, 0.0, 0.0, 0.0, 0.0, 0);
    return 0;
}
