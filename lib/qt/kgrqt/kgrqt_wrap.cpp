// The fill path of a geographic polygon, repeated at every whole turn of
// longitude that the viewport shows.
#include "KGRViewport.h"
#include "kgrqt_engine.h"

#include <QPainterPath>

#include <cmath>
#include <utility>

namespace {

const double kTurn = 360.0;
const double kPoleCapLatitude = 89.9999;
// Longitudes and view limits beyond this are not drawn: whole turns are
// counted in closed form, which needs 360 to stay exact against them, and
// the copies of an outline are counted only up to kMaxCopies.
const double kMaxLongitude = 1e9;
const int kMaxCopies = 64;

struct Outline {
    int npts;
    double* lons;
    double* lats;
    double lonmin;
    double lonmax;
};

// The multiple of 360 that brings a longitude step into [-180, 180];
// 0 for a step that is not a number.
double wholeTurnsBack(double d)
{
    if (!std::isfinite(d))
        return 0.0;
    if (d > 180.0)
        return -kTurn * std::ceil((d - 180.0) / kTurn);
    if (d < -180.0)
        return kTurn * std::ceil((-180.0 - d) / kTurn);
    return 0.0;
}

// Makes successive longitudes differ by at most 180 degrees.
void unwrap(Outline* o)
{
    double offset = 0.0;
    o->lonmin = o->lonmax = o->lons[0];
    for (int i = 1; i < o->npts; i++) {
        offset += wholeTurnsBack(o->lons[i] + offset - o->lons[i - 1]);
        o->lons[i] += offset;
        o->lonmin = std::fmin(o->lonmin, o->lons[i]);
        o->lonmax = std::fmax(o->lonmax, o->lons[i]);
    }
}

void reverse(Outline* o)
{
    for (int i = 0; i < o->npts / 2; i++) {
        std::swap(o->lons[i], o->lons[o->npts - 1 - i]);
        std::swap(o->lats[i], o->lats[o->npts - 1 - i]);
    }
}

// An unwrapped outline that does not end where it began goes round a pole.
// It is turned so that longitude increases along it.
bool orientPolar(Outline* o)
{
    double first = o->lons[0], last = o->lons[o->npts - 1];
    if (!(std::fabs(first - last) > 0.1))
        return false;
    if (first > last)
        reverse(o);
    return true;
}

bool isPlaceable(double v)
{
    return std::fabs(v) <= kMaxLongitude;
}

// The least n >= 0 with v + 360 n > limit. Computed in closed form, then
// corrected for the rounding of the division.
double turnsUpPast(double v, double limit)
{
    if (v > limit)
        return 0.0;
    double n = std::floor((limit - v) / kTurn) + 1.0;
    while (n > 1.0 && v + kTurn * (n - 1.0) > limit)
        n -= 1.0;
    while (!(v + kTurn * n > limit))
        n += 1.0;
    return n;
}

// The least n >= 0 with v - 360 n < limit.
double turnsDownPast(double v, double limit)
{
    return turnsUpPast(-v, -limit);
}

void shift(Outline* o, double turns, double* total)
{
    o->lonmin += kTurn * turns;
    o->lonmax += kTurn * turns;
    *total += kTurn * turns;
}

// Moves the outline by whole turns to the leftmost copy whose east end
// lies east of the view's west edge.
void placeFirstCopy(Outline* o, double xleft, double xright)
{
    double total = 0.0;
    shift(o, turnsUpPast(o->lonmin, xright), &total);
    shift(o, -turnsDownPast(o->lonmax, xleft), &total);
    shift(o, -turnsDownPast(o->lonmin, xright), &total);
    shift(o, turnsUpPast(o->lonmax, xleft), &total);
    for (int i = 0; i < o->npts; i++)
        o->lons[i] += total;
}

bool overlapsView(const Outline& o, double xleft, double xright)
{
    return o.lonmax >= xleft && xright >= o.lonmin;
}

// A polar outline holding one pole is closed over it along the cap
// latitude, from the end of the last copy back to the start of the first.
void addPoleCap(KGRPolyDraw* draw, QPainterPath* path, const Outline& o, double lon0, double lat0,
                int north)
{
    double cap = north ? kPoleCapLatitude : -kPoleCapLatitude;
    double lons[3] = {o.lons[o.npts - 1], lon0, lon0};
    double lats[3] = {cap, cap, lat0};
    draw->addPoints(path, 3, lons, lats, 0, 0);
}

QPainterPath* plotRectanglePath(const KgrviewportItem* vp)
{
    QPainterPath* path = new QPainterPath;
    path->addRect(0, 0, vp->w - vp->mleft - vp->mright, vp->h - vp->mbottom - vp->mtop);
    return path;
}

} // namespace

// Unwraps `lons` in place, may reverse both arrays, and leaves the outline
// shifted to the last copy drawn. Returns null when no copy is visible, when
// the viewport has no scales, or when the longitudes or view limits are not
// finite or beyond 1e9 degrees; at most 64 copies are drawn.
QPainterPath* kgrqt_wrap_longitudes(KgrviewportItem* viewport, int npts, double* lons, double* lats,
                                    int np, int sp)
{
    if (!viewport || npts <= 0 || !lons || !lats)
        return nullptr;
    Outline o = {npts, lons, lats, 0.0, 0.0};
    unwrap(&o);
    bool polar = orientPolar(&o);
    double xleft = viewport->xleft, xright = viewport->xright;
    if (!isPlaceable(o.lonmin) || !isPlaceable(o.lonmax) || !isPlaceable(xleft) ||
        !isPlaceable(xright))
        return nullptr;
    placeFirstCopy(&o, xleft, xright);

    double lon0 = lons[0], lat0 = lats[0];
    KGRPolyDraw draw(viewport, 0);
    if (draw.w < 3 || draw.h < 3)
        return nullptr;
    // Holding both poles, a closed outline bounds the part of the sphere
    // outside it: the plot minus the outline.
    int subtract = !polar && np && sp;
    QPainterPath* path = subtract ? plotRectanglePath(viewport) : nullptr;
    for (int copies = 0; overlapsView(o, xleft, xright);) {
        if (!path)
            path = new QPainterPath;
        path = draw.addPoints(path, npts, lons, lats, 1, subtract);
        o.lonmin += kTurn;
        o.lonmax += kTurn;
        if (!overlapsView(o, xleft, xright) || ++copies >= kMaxCopies)
            break;
        for (int i = 0; i < npts; i++)
            lons[i] += kTurn;
    }
    if (path && polar && (np != 0) != (sp != 0))
        addPoleCap(&draw, path, o, lon0, lat0, np != 0);
    return path;
}
