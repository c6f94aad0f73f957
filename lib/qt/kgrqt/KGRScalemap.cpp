// One point at a time from world coordinates to fractions of the plotting
// area, through the viewport's projection; long equidistant segments are cut
// into steps of about one pixel so that they curve with the projection.
#include "KGRViewport.h"
#include "kgrqt_engine.h"

#include <cmath>
#include <limits>

namespace {

// A segment is cut into at most this many steps, so that the work per
// point stays bounded however far a view is zoomed in. A segment that spans
// more pixels than this (more than a screen) is cut into steps of a few
// pixels, along which the projected curve is still straight to the eye.
const double kMaxDensifySteps = 4096.0;

bool isBreak(double x, double y)
{
    return x == KGR_UNSET || y == KGR_UNSET;
}

bool hasInput(const KGRScalemap& s)
{
    return !(s.xinput == KGR_EMPTY && s.yinput == KGR_EMPTY);
}

void clearInput(KGRScalemap& s)
{
    s.xinput = KGR_EMPTY;
    s.yinput = KGR_EMPTY;
}

// World point to the plane of the mapper's projection. No logarithm is
// taken here: callers on logarithmic axes pass plane values.
void project(const KGRScalemap& s, double x, double y, double* px, double* py)
{
    switch (s.wtran) {
    case KGR_WTRAN_EDP:
        s.tran->edpLatlon2delxy(y, x, px, py);
        break;
    case KGR_WTRAN_MERC:
        *px = x;
        *py = kgrqt_mercator_y(y);
        break;
    default:
        *px = x;
        *py = y;
        break;
    }
}

// Plane point to fractions: x from the left edge, y from the top edge.
void scale(const KGRScalemap& s, double px, double py, double* fx, double* fy)
{
    *fx = (px - s.xstart) * s.xscale;
    *fy = (py - s.ystart) * s.yscale;
}

// Fractions farther out than this are left without a place: times any
// plot size in pixels they stay inside what a painter path accepts.
bool hasPlace(double fx, double fy)
{
    const double far = 1e90;
    return std::fabs(fx) <= far && std::fabs(fy) <= far;
}

// The next intermediate point of the running cut that has a place; false
// when none is left.
bool nextIntermediate(KGRScalemap& s, double* xscaled, double* yscaled)
{
    while (s.idelta < s.ndelta) {
        double px, py;
        project(s, s.xpts_last + s.idelta * s.delx, s.ypts_last + s.idelta * s.dely, &px, &py);
        s.idelta++;
        scale(s, px, py, xscaled, yscaled);
        if (hasPlace(*xscaled, *yscaled))
            return true;
    }
    return false;
}

int finishPoint(KGRScalemap& s, double* xscaled, double* yscaled)
{
    *xscaled = s.xpt;
    *yscaled = s.ypt;
    s.start = 0;
    s.xp_last = s.xptp;
    s.yp_last = s.yptp;
    s.xpts_last = s.xinput;
    s.ypts_last = s.yinput;
    clearInput(s);
    return KGRScalemap::disposition_lineTo;
}

// A longitude step taken the short way round.
double shortLongitudeStep(double d)
{
    if (d > 180.0)
        d -= 360.0;
    if (d < -180.0)
        d += 360.0;
    return d;
}

// Number of steps of about one pixel for a plane step; 0 when its length
// is not a number that can be stepped through.
int densifySteps(const KGRScalemap& s, double delx, double dely)
{
    if (s.w <= 0)
        return 0;
    double d2 = delx * delx + dely * dely;
    // The absolute size keeps a reversed axis curving like a normal one.
    double p = std::fabs((s.xend - s.xstart) / s.w);
    if (!(d2 > p * p))
        return 0;
    double steps = std::sqrt(d2) / p + 0.5;
    if (!std::isfinite(steps))
        return 0;
    return static_cast<int>(std::fmin(steps, kMaxDensifySteps));
}

// Starts cutting the segment from the last real point to the pending one
// into world steps; false when it needs no cutting. A step longer than half
// a turn in longitude or latitude joins coordinates that are not on the
// sphere; it is drawn straight rather than stepped through.
bool startDensify(KGRScalemap& s)
{
    double lonStep = shortLongitudeStep(s.xinput - s.xpts_last);
    double latStep = s.yinput - s.ypts_last;
    int n = densifySteps(s, s.xptp - s.xp_last, s.yptp - s.yp_last);
    if (n <= 1 || !(std::fabs(lonStep) <= 180.0) || !(std::fabs(latStep) <= 180.0)) {
        s.ndelta = 0;
        return false;
    }
    s.ndelta = n;
    s.delx = lonStep / n;
    s.dely = latStep / n;
    s.idelta = 1;
    return true;
}

} // namespace

KGRScalemap::KGRScalemap(KgrviewportItem* viewport, int ignoretran)
    : vp(viewport), wtran(0), w(0), h(0), xstart(0.0), xend(1.0), xscale(1.0), ystart(0.0),
      yend(1.0), yscale(1.0), tran(nullptr), xp_last(KGR_EMPTY), yp_last(KGR_EMPTY), xpt(0.0),
      ypt(0.0), xptp(0.0), yptp(0.0), xinput(KGR_EMPTY), yinput(KGR_EMPTY), xpts_last(0.0),
      ypts_last(0.0), start(1), ndelta(0), idelta(0), delx(0.0), dely(0.0)
{
    if (!vp)
        return;
    wtran = ignoretran ? 0 : vp->wtran;
    // Asking for the y scale with its ends exchanged and negating it makes
    // the fractions grow downwards, as pixels do. Scales that stay unset (a
    // logarithmic axis with a bound of 0 or less) leave w and h at 0 and
    // every point without a place.
    const double unset = std::numeric_limits<double>::quiet_NaN();
    xstart = xend = xscale = ystart = yend = yscale = unset;
    int pw = 0, ph = 0;
    if (kgrqt_get_scales(vp, &pw, &ph, &xstart, &xend, &xscale, &yend, &ystart, &yscale) == 0 &&
        std::isfinite(xstart) && std::isfinite(xscale) && std::isfinite(ystart) &&
        std::isfinite(yscale)) {
        w = pw;
        h = ph;
    }
    yscale = -yscale;
    if (wtran == KGR_WTRAN_EDP)
        tran = new HXMapTransform(vp->latr, vp->lonr);
}

KGRScalemap::~KGRScalemap()
{
    delete tran;
}

int KGRScalemap::pushPoint(double x, double y)
{
    xinput = x;
    yinput = y;
    return 0;
}

int KGRScalemap::popPoint(double* xscaled, double* yscaled)
{
    if (ndelta > 1) {
        if (nextIntermediate(*this, xscaled, yscaled))
            return disposition_lineTo;
        ndelta = idelta = 0;
        return finishPoint(*this, xscaled, yscaled);
    }
    if (!hasInput(*this))
        return disposition_noInput;
    if (isBreak(xinput, yinput)) {
        start = 1;
        clearInput(*this);
        return disposition_notUsed;
    }
    project(*this, xinput, yinput, &xptp, &yptp);
    scale(*this, xptp, yptp, &xpt, &ypt);
    // A point without a place on the plot is a break too, so that its
    // neighbours are not joined through it.
    if (!hasPlace(xpt, ypt)) {
        start = 1;
        xp_last = yp_last = KGR_EMPTY;
        clearInput(*this);
        return disposition_notUsed;
    }
    if (wtran != KGR_WTRAN_EDP) {
        *xscaled = xpt;
        *yscaled = ypt;
        int d = start ? disposition_moveTo : disposition_lineTo;
        start = 0;
        clearInput(*this);
        return d;
    }
    // Equidistant: breaks do not stop the line, only the first point moves.
    if (xp_last == KGR_EMPTY) {
        finishPoint(*this, xscaled, yscaled);
        return disposition_moveTo;
    }
    if (startDensify(*this))
        return popPoint(xscaled, yscaled);
    return finishPoint(*this, xscaled, yscaled);
}
