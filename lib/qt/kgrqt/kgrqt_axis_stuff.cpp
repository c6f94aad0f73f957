// Tic marks and grid lines across a viewport's axes. Axes and grids share
// these drawers, so that grid lines fall exactly on the tics: nice values
// on linear axes, decades on logarithmic axes, calendar steps on time axes,
// and meridians and parallels on equidistant maps.
#include "KGRViewport.h"
#include "kgrqt_engine.h"
#include "kgrqt_tics.h"

#include <QPainter>

#include <cmath>
#include <vector>

namespace {

// Fractions of the frame a little outside 0..1 still get their tic.
const double kLowFraction = -1e-5;
const double kHighFraction = 1.00001;
// Most decades a logarithmic axis is given tics for.
const int kMaxDecades = 400;

// One set of lines: pen and extent across the axis in frame fractions.
struct LineSet {
    QColor* color;
    int width;
    int style;
    double incr;
    double start;
    double end;
};

// Major and minor positions along one axis, as frame fractions, and the
// world values of the major ones.
struct AxisFractions {
    std::vector<double> big;
    std::vector<double> sml;
    std::vector<double> values;
};

using AxisRange = KgrqtAxis;

bool axisRange(KgrviewportItem* vp, bool horizontal, AxisRange* axis)
{
    return kgrqt_axis_of(vp, horizontal, axis) && std::isfinite(axis->scale);
}

void decadeFractions(const AxisRange& axis, AxisFractions* out)
{
    const double first = floor(fmin(axis.p1, axis.p2));
    const double last = ceil(fmax(axis.p1, axis.p2));
    if (!std::isfinite(first) || !std::isfinite(last) || last - first > kMaxDecades)
        return;
    for (double k = first; k <= last; k += 1.0) {
        out->values.push_back(k);
        out->big.push_back((k - axis.p1) * axis.scale);
        for (int m = 2; m <= 9; ++m)
            out->sml.push_back((k + log10(m) - axis.p1) * axis.scale);
    }
}

void timeFractions(const AxisRange& axis, AxisFractions* out)
{
    KgrqtTimeTics tics;
    if (!kgrqt_time_tics(axis.p1, axis.p2, &tics))
        return;
    out->values = tics.big;
    for (double t : tics.big)
        out->big.push_back((t - axis.p1) * axis.scale);
    for (double t : tics.sml)
        out->sml.push_back((t - axis.p1) * axis.scale);
}

// Nice values of a range, each through toFraction.
template <class ToFraction>
void niceFractions(double lo, double hi, int pixels, double incrBig, double incrSml, int minspacing,
                   AxisFractions* out, ToFraction toFraction)
{
    double startBig = 0, startSml = 0;
    int nBig = 0, nSml = 0;
    if (!kgrqt_get_nice_fvals(lo, hi, pixels, minspacing, &startBig, &nBig, &incrBig, &startSml,
                              &nSml, &incrSml))
        return;
    // Never more lines than pixels: presets far too fine draw nothing.
    if (nBig > 4 * pixels + 8 || nSml > 4 * pixels + 8)
        return;
    for (int i = 0; i < nBig; ++i) {
        out->values.push_back(startBig + i * incrBig);
        out->big.push_back(toFraction(startBig + i * incrBig));
    }
    for (int i = 0; i < nSml; ++i)
        out->sml.push_back(toFraction(startSml + i * incrSml));
}

AxisFractions fractionsOf(const AxisRange& axis, double incrBig, double incrSml, int minspacing)
{
    AxisFractions f;
    if (axis.mode == KGR_MODE_LOG)
        decadeFractions(axis, &f);
    else if (axis.mode == KGR_MODE_TIME)
        timeFractions(axis, &f);
    else
        niceFractions(axis.p1, axis.p2, axis.pixels, incrBig, incrSml, minspacing, &f,
                      [&](double v) { return (v - axis.p1) * axis.scale; });
    return f;
}

void flush(QPainter& painter, KgrviewportItem* vp)
{
    kgrqt_buffer_draws(painter, 0, 1, vp, 0, 0, 0, 0, 0, 0, 0);
}

// One line across the frame at each fraction along the axis. Lines along
// the pixel grid are drawn without antialiasing, which could only blur them
// over two pixels: so tics and grid lines fall on the very same pixels.
// The raster engine draws such lines many times faster inside a clip
// rectangle than without one, so an unclipped painter gets the viewport's.
void drawLines(QPainter& painter, KgrviewportItem* vp, bool horizontal, const LineSet& set,
               const std::vector<double>& fractions)
{
    if (set.width < 0)
        return;
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing, false);
    if (!painter.hasClipping()) {
        const Kgrheader& b = vp->header;
        painter.setClipRect(QRect(b.x1, b.y1, b.x2 - b.x1 + 1, b.y2 - b.y1 + 1));
    }
    kgrqt_setup_line(&painter, set.color, set.width, set.style, Qt::MiterJoin);
    for (double f : fractions) {
        if (f < kLowFraction || f > kHighFraction)
            continue;
        if (horizontal)
            kgrqt_buffer_draws(painter, 0, 0, vp, 0, 0, f, set.start, f, set.end, 0);
        else
            kgrqt_buffer_draws(painter, 0, 0, vp, 0, 0, set.start, f, set.end, f, 0);
    }
    flush(painter, vp);
    painter.restore();
}

// Meridians (horizontal set) or parallels of an equidistant map, drawn as
// projected polylines in one-degree steps.
void drawGraticule(QPainter& painter, KgrviewportItem* vp, bool meridians, const LineSet& big,
                   const LineSet& sml, int minspacing)
{
    AxisRange axis;
    if (!axisRange(vp, meridians, &axis))
        return;
    // The geographic box of the shown plane box, as the viewport works it
    // out for maps.
    double latmin = 0, latmax = 0, lonmin = 0, lonmax = 0;
    kgrqt_delbox2llbox(vp->latr, vp->lonr, vp->xleft, vp->xright, vp->ybottom, vp->ytop, &latmin,
                       &latmax, &lonmin, &lonmax);
    const double lo = meridians ? lonmin : latmin;
    const double hi = meridians ? lonmax : latmax;
    AxisFractions values;
    niceFractions(lo, hi, axis.pixels, big.incr, sml.incr, minspacing, &values,
                  [](double v) { return v; });
    const int n = meridians ? 181 : 361;
    std::vector<double> lats(n), lons(n);
    auto drawSet = [&](const LineSet& set, const std::vector<double>& at) {
        if (set.width < 0)
            return;
        kgrqt_setup_line(&painter, set.color, set.width, set.style, Qt::MiterJoin);
        for (double v : at) {
            for (int i = 0; i < n; ++i) {
                lats[i] = meridians ? -90.0 + i : v;
                lons[i] = meridians ? v : -180.0 + i;
            }
            kgrqt_poly_draw(painter, vp, n, lons.data(), lats.data(), 0, 0, 0);
        }
        flush(painter, vp);
    };
    drawSet(sml, values.sml);
    drawSet(big, values.big);
}

void drawAxisStuff(QPainter& painter, KgrviewportItem* vp, bool horizontal, const LineSet& big,
                   const LineSet& sml, int minspacing)
{
    if (!vp)
        return;
    if (vp->wtran == KGR_WTRAN_EDP) {
        drawGraticule(painter, vp, horizontal, big, sml, minspacing);
        return;
    }
    AxisRange axis;
    if (!axisRange(vp, horizontal, &axis))
        return;
    // Minor lines first: where both fall, the major one shows.
    AxisFractions f = fractionsOf(axis, big.incr, sml.incr, minspacing);
    drawLines(painter, vp, horizontal, sml, f.sml);
    drawLines(painter, vp, horizontal, big, f.big);
}

} // namespace

bool kgrqt_axis_of(KgrviewportItem* vp, bool horizontal, KgrqtAxis* axis)
{
    int pw = 0, ph = 0;
    double x1 = 0, x2 = 0, sx = 0, y1 = 0, y2 = 0, sy = 0;
    if (kgrqt_get_scales(vp, &pw, &ph, &x1, &x2, &sx, &y1, &y2, &sy) < 0)
        return false;
    const Kgrheader& b = vp->header;
    if (horizontal)
        *axis = {x1, x2, sx, vp->xleft, vp->xright, vp->xmode, pw, b.x2 - b.x1, vp->mleft};
    else
        *axis = {y1, y2, sy, vp->ybottom, vp->ytop, vp->ymode, ph, b.y2 - b.y1, vp->mbottom};
    return true;
}

void kgrqt_major_tics(KgrviewportItem* vp, bool horizontal, double incr_big, double incr_sml,
                      int minspacing, std::vector<double>* values, std::vector<double>* fractions)
{
    values->clear();
    fractions->clear();
    AxisRange axis;
    if (!vp || !axisRange(vp, horizontal, &axis))
        return;
    AxisFractions f = fractionsOf(axis, incr_big, incr_sml, minspacing);
    for (size_t i = 0; i < f.big.size(); ++i)
        if (f.big[i] >= kLowFraction && f.big[i] <= kHighFraction) {
            values->push_back(f.values[i]);
            fractions->push_back(f.big[i]);
        }
}

void kgrqt_draw_xaxis_stuff(QPainter& painter, KgrviewportItem* vp, QColor* color_big,
                            int width_big, int style_big, double incr_big, double start_big,
                            double end_big, QColor* color_sml, int width_sml, int style_sml,
                            double incr_sml, double start_sml, double end_sml, int mindx)
{
    drawAxisStuff(painter, vp, true,
                  {color_big, width_big, style_big, incr_big, start_big, end_big},
                  {color_sml, width_sml, style_sml, incr_sml, start_sml, end_sml}, mindx);
}

void kgrqt_draw_yaxis_stuff(QPainter& painter, KgrviewportItem* vp, QColor* color_big,
                            int width_big, int style_big, double incr_big, double start_big,
                            double end_big, QColor* color_sml, int width_sml, int style_sml,
                            double incr_sml, double start_sml, double end_sml, int mindy)
{
    drawAxisStuff(painter, vp, false,
                  {color_big, width_big, style_big, incr_big, start_big, end_big},
                  {color_sml, width_sml, style_sml, incr_sml, start_sml, end_sml}, mindy);
}

void kgrqt_make_xtime_axes(QPainter& painter, KgrviewportItem* vp, const QFont& font,
                           QColor* tic_color, int tic_width, int tic_style, QColor* label_color,
                           char* time_format, char* date_format)
{
    // The label formats follow the step; the configured ones are kept for
    // callers that format times themselves.
    (void)time_format;
    (void)date_format;
    AxisRange axis;
    if (!vp || !axisRange(vp, true, &axis) || axis.mode == KGR_MODE_LOG)
        return;
    KgrqtTimeTics tics;
    if (!kgrqt_time_tics(axis.p1, axis.p2, &tics))
        return;
    AxisFractions f;
    timeFractions(axis, &f);
    // Inward tics on the top and bottom edges, 10 and 5 pixels long.
    int ph = 0, pw = 0;
    double x1, x2, sx, y1, y2, sy;
    kgrqt_get_scales(vp, &pw, &ph, &x1, &x2, &sx, &y1, &y2, &sy);
    const double big = 10.0 / ph, sml = 5.0 / ph;
    for (double edge : {0.0, 1.0}) {
        const double dir = edge == 0.0 ? 1.0 : -1.0;
        drawLines(painter, vp, true, {tic_color, tic_width, tic_style, 0, edge, edge + dir * big},
                  f.big);
        drawLines(painter, vp, true, {tic_color, tic_width, tic_style, 0, edge, edge + dir * sml},
                  f.sml);
    }

    kgrqt_setup_text(painter, label_color ? *label_color : QColor(Qt::black), font);
    char position[64];
    for (double t : tics.big) {
        char* label = epoch2str(t, tics.label_format.c_str());
        snprintf(position, sizeof position, "%.3fv", (t - axis.p1) * axis.scale);
        double x = 0, y = 0;
        if (label && kgrqt_get_pixels(vp, position, "bottom-8", &x, &y, nullptr) == 0)
            kgrqt_draw_text(painter, vp, font, x, y, const_cast<char*>("n"), 0.0, label);
        free(label);
    }
    if (!tics.date_format)
        return;
    char* date = epoch2str(fmin(axis.p1, axis.p2), tics.date_format);
    double x = 0, y = 0;
    if (date && kgrqt_get_pixels(vp, "0.5v", "bottom-20", &x, &y, nullptr) == 0)
        kgrqt_draw_text(painter, vp, font, x, y, const_cast<char*>("n"), 0.0, date);
    free(date);
}
