// World-to-pixel transforms of a viewport record, and the shown world box
// computed from the specified one, the pan and the zoom gains.
#include "KGRViewport.h"
#include "kgrqt_engine.h"

#include <cmath>

namespace {

bool isSet(double v)
{
    return v != KGR_UNSET;
}

// Plane box and scale of one axis; false when a logarithmic bound is not
// positive, in which case nothing is written.
bool axisScale(int mode, double lo, double hi, double* a1, double* a2, double* s)
{
    if (mode == KGR_MODE_LOG) {
        if (lo <= 0.0 || hi <= 0.0)
            return false;
        *a1 = log10(lo);
        *a2 = log10(hi);
    } else {
        *a1 = lo;
        *a2 = hi;
    }
    *s = 1.0 / (*a2 - *a1);
    return true;
}

// The world point of the plane: "edp", "merc" or unchanged.
void planeToWorld(const KgrviewportItem* vp, double x, double y, double* wx, double* wy)
{
    switch (vp->wtran) {
    case KGR_WTRAN_EDP:
        kgrqt_edp2latlon(vp->latr, vp->lonr, x, y, wy, wx);
        break;
    case KGR_WTRAN_MERC:
        *wx = x;
        *wy = kgrqt_mercator_lat(y);
        break;
    default:
        *wx = x;
        *wy = y;
    }
}

void worldToPlane(const KgrviewportItem* vp, double wx, double wy, double* x, double* y)
{
    switch (vp->wtran) {
    case KGR_WTRAN_EDP:
        kgrqt_latlon2edp(vp->latr, vp->lonr, wy, wx, x, y);
        break;
    case KGR_WTRAN_MERC:
        *x = wx;
        *y = kgrqt_mercator_y(wy);
        break;
    default:
        *x = wx;
        *y = wy;
    }
}

// How a pan acts on one kind of axis: linear axes add the pan and widen a
// range by 10 units, logarithmic axes multiply and widen by a decade.
struct AxisPan {
    double pan;
    bool log;

    double apply(double v) const { return log ? v * pan : v + pan; }
    double lower(double v) const { return log ? 0.1 * v : v - 10.0; }
    double upper(double v) const { return log ? 10.0 * v : v + 10.0; }
};

// One end of the shown box: the specified end, else the extent limit
// (widened when both limits are equal), else the default range around 0
// (linear) or 1 (logarithmic).
double panEnd(const AxisPan& p, double spc, double limit, bool limitsEqual, bool low)
{
    if (isSet(spc))
        return p.apply(spc);
    double base = p.log ? 1.0 : 0.0;
    if (isSet(limit)) {
        base = limit;
        if (!limitsEqual)
            return p.apply(base);
    }
    return p.apply(low ? p.lower(base) : p.upper(base));
}

void panAxis(int mode, bool panned, double d, double spcLo, double spcHi, double min, double max,
             double* lo, double* hi)
{
    const bool log = mode == KGR_MODE_LOG;
    // On a logarithmic axis the pan is a factor, 1 when there is no offset.
    const AxisPan p{log ? (panned ? pow(10.0, d) : 1.0) : d, log};
    *lo = panEnd(p, spcLo, min, min == max, true);
    *hi = panEnd(p, spcHi, max, min == max, false);
}

// Scales the range about the anchor a; a gain above 1 widens it.
void gainAxis(int mode, double a, double gain, double* lo, double* hi)
{
    if (mode == KGR_MODE_LOG) {
        double la = log10(a), llo = log10(*lo), lhi = log10(*hi);
        *lo = pow(10.0, la - (la - llo) * gain);
        *hi = pow(10.0, la + (lhi - la) * gain);
    } else {
        *lo = a - (a - *lo) * gain;
        *hi = a + (*hi - a) * gain;
    }
}

} // namespace

int kgrqt_get_scales(KgrviewportItem* vp, int* pw, int* ph, double* x1, double* x2, double* sx,
                     double* y1, double* y2, double* sy)
{
    int w = vp->w - vp->mleft - vp->mright;
    if (w <= 2)
        return -1;
    int h = vp->h - vp->mbottom - vp->mtop;
    if (h <= 2)
        return -1;
    *pw = w;
    *ph = h;
    // A logarithmic axis with a bound of 0 or less answers 0 without scales.
    if (!axisScale(vp->xmode, vp->xleft, vp->xright, x1, x2, sx))
        return 0;
    axisScale(vp->ymode, vp->ybottom, vp->ytop, y1, y2, sy);
    return 0;
}

int kgrqt_get_pcoords(KgrviewportItem* vp, double wx, double wy, double* px, double* py, int noproj,
                      int noscale)
{
    int pw = 0, ph = 0;
    double x1 = 0, x2 = 0, sx = 0, y1 = 0, y2 = 0, sy = 0;
    if (!noscale && kgrqt_get_scales(vp, &pw, &ph, &x1, &x2, &sx, &y1, &y2, &sy) < 0)
        return -1;
    double x = wx, y = wy;
    if (!noproj)
        worldToPlane(vp, wx, wy, &x, &y);
    if (vp->xmode == KGR_MODE_LOG && x > 0.0)
        x = log10(x);
    if (vp->ymode == KGR_MODE_LOG && y > 0.0)
        y = log10(y);
    if (!noscale) {
        x = (x - x1) * sx * pw + vp->x + vp->mleft;
        y = (vp->y + vp->mtop + ph) - (y - y1) * sy * ph;
    }
    *px = x;
    *py = y;
    return 0;
}

int kgrqt_get_wcoords(KgrviewportItem* vp, double px, double py, double* wx, double* wy, int noproj,
                      int noscale)
{
    double x = px, y = py;
    if (!noscale) {
        int pw = 0, ph = 0;
        double x1 = 0, x2 = 0, sx = 0, y1 = 0, y2 = 0, sy = 0;
        if (kgrqt_get_scales(vp, &pw, &ph, &x1, &x2, &sx, &y1, &y2, &sy) < 0)
            return -1;
        x = x1 + (px - vp->x - vp->mleft) / pw / sx;
        y = y1 + ((vp->y + vp->mtop + ph) - py) / ph / sy;
        if (vp->xmode == KGR_MODE_LOG)
            x = pow(10.0, x);
        if (vp->ymode == KGR_MODE_LOG)
            y = pow(10.0, y);
    }
    if (noproj) {
        *wx = x;
        *wy = y;
    } else {
        planeToWorld(vp, x, y, wx, wy);
    }
    return 0;
}

int kgrqt_translate_and_gain(KgrviewportItem* vp, double xoffset, double yoffset, int xanchor,
                             int yanchor, double xgain, double ygain)
{
    int pw = 0, ph = 0;
    double x1 = 0, x2 = 0, sx = 0, y1 = 0, y2 = 0, sy = 0;
    if (kgrqt_get_scales(vp, &pw, &ph, &x1, &x2, &sx, &y1, &y2, &sy) < 0)
        return -1;
    // Before the first draw the shown box is unset and so is the pan.
    double dx = isSet(vp->xleft) && isSet(vp->xright) ? (xoffset / pw) / sx : 0.0;
    double dy = isSet(vp->ybottom) && isSet(vp->ytop) ? (-yoffset / ph) / sy : 0.0;
    if (!std::isfinite(dx))
        dx = 0.0;
    if (!std::isfinite(dy))
        dy = 0.0;
    panAxis(vp->xmode, xoffset != 0.0, dx, vp->spc_xleft, vp->spc_xright, vp->xmin, vp->xmax,
            &vp->xleft, &vp->xright);
    panAxis(vp->ymode, yoffset != 0.0, dy, vp->spc_ybottom, vp->spc_ytop, vp->ymin, vp->ymax,
            &vp->ybottom, &vp->ytop);

    // The anchor is converted unless the gains are exactly (1, 0); then it
    // stays at the origin of the world.
    double ax = 0.0, ay = 0.0;
    if (!(xgain == 1.0 && ygain == 0.0))
        kgrqt_get_wcoords(vp, xanchor, yanchor, &ax, &ay, 0, 0);
    if (xgain != 1.0)
        gainAxis(vp->xmode, ax, xgain, &vp->xleft, &vp->xright);
    if (ygain == 1.0)
        return 0;
    gainAxis(vp->ymode, ay, ygain, &vp->ybottom, &vp->ytop);
    return 0;
}
