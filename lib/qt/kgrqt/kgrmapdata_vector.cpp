// KGRMapData's vector resolutions: point in polygon and drawing segments
// with per-level pens and fills by level parity.
#include "KGRMapData.h"
#include "KGRViewport.h"
#include "kgrqt_engine.h"

#include <QPainter>
#include <QPainterPath>

#include <cmath>
#include <cstdlib>

namespace {

// Moves a longitude by whole turns until it lies within 180 of ref.
double nearLongitude(double lon, double ref)
{
    if (!std::isfinite(lon) || !std::isfinite(ref))
        return lon;
    if (std::fabs(lon - ref) > 1e6)
        lon = ref + std::fmod(lon - ref, 360.0);
    while (lon - ref > 180.0)
        lon -= 360.0;
    while (ref - lon > 180.0)
        lon += 360.0;
    return lon;
}

double normalizeLongitude(double lon)
{
    return nearLongitude(lon, 0.0);
}

// Segment latitudes in the viewport's y unit for the cull.
double cullLatitude(double lat, int wtran)
{
    return wtran == KGR_WTRAN_MERC ? kgrqt_mercator_y(lat) : lat;
}

// The reusable point buffers of one drawVector call.
struct PointBuffers {
    double* x = nullptr;
    double* y = nullptr;
    long size = 0;
    ~PointBuffers()
    {
        free(x);
        free(y);
    }
    // Room for n values in each; false (after complaining) when memory
    // runs out.
    bool reserve(long n)
    {
        if (n <= size)
            return true;
        size_t bytes = size_t(n) * sizeof(double);
        const char* verb = x ? "realloc" : "malloc";
        double* nx = static_cast<double*>(realloc(x, bytes));
        if (!nx) {
            hx_complain(1, "KGRMapData::KGRdrawVector: %s(xplt,%ld) error.\n", verb, long(bytes));
            return false;
        }
        x = nx;
        double* ny = static_cast<double*>(realloc(y, bytes));
        if (!ny) {
            hx_complain(1, "KGRMapData::KGRdrawVector: %s(yplt,%ld) error.\n", verb, long(bytes));
            return false;
        }
        y = ny;
        size = n;
        return true;
    }
};

// Draws one path in plot-area pixels, clipped to the plot area.
void drawInPlot(QPainter& painter, KgrviewportItem* vp, const QPainterPath& path)
{
    int w = vp->w - vp->mleft - vp->mright, h = vp->h - vp->mbottom - vp->mtop;
    painter.setClipRect(vp->mleft, vp->mtop, w, h, Qt::ReplaceClip);
    painter.translate(vp->mleft, vp->mtop);
    painter.drawPath(path);
    painter.translate(-vp->mleft, -vp->mtop);
}

// Sets the pen and brush of a segment; false when it has neither.
bool setupSegment(QPainter& painter, const HXMapDataVectorSegment& seg, unsigned int levels,
                  KGR_Color* outline, int* linewidth, KGR_Color& fill_color,
                  KGR_Color& background_color)
{
    int k = seg.level - 1;
    bool pen = (levels >> k & 1u) && outline && outline[k].color && linewidth && linewidth[k] >= 0;
    QColor* brush = nullptr;
    if (seg.fill)
        brush = seg.level % 2 == 0 ? fill_color.color : background_color.color;
    if (!pen && !brush)
        return false;
    // The fill is set first: it clears the pen.
    if (brush)
        kgrqt_setup_fill(&painter, brush);
    else
        painter.setBrush(Qt::NoBrush);
    if (pen)
        kgrqt_setup_line(&painter, outline[k].color, linewidth[k], Qt::SolidLine, Qt::RoundJoin);
    else
        painter.setPen(Qt::NoPen);
    return true;
}

} // namespace

int KGRMapData::isInside(double lat, double lon, int n, double* lats, double* lons)
{
    int count = 0;
    for (int k = 0; k < n; k++) {
        int k2 = k + 1 < n ? k + 1 : 0;
        double lat1 = lats[k], lon1 = lons[k], lat2 = lats[k2], lon2 = lons[k2];
        if (lat > lat1 && lat > lat2)
            continue;
        lon2 = nearLongitude(lon2, lon1);
        double shifted = nearLongitude(lon1, lon);
        lon2 += shifted - lon1;
        lon1 = shifted;
        if (lon1 == lon2)
            continue;
        if (lon1 > lon2) {
            std::swap(lon1, lon2);
            std::swap(lat1, lat2);
        }
        // Both ends inclusive: a vertex exactly on the meridian counts for
        // each of its edges.
        if (lon < lon1 || lon > lon2)
            continue;
        if (lat1 >= lat && lat2 >= lat)
            count++;
        else if ((lat2 - lat1) * (lon - lon1) / (lon2 - lon1) + lat1 >= lat)
            count++;
    }
    return count % 2;
}

void KGRMapData::drawVector(QPainter& painter, KgrviewportItem* viewport, unsigned int levels,
                            KGR_Color* outline, int* linewidth, int* resolution_from,
                            KGR_Color& fill_color, KGR_Color& background_color)
{
    if (!viewport || resolution < 0 || resolution >= frame.nresolutions)
        return;
    HXMapDataResolution* res = &frame.resolutions[resolution];
    if (res->map_type != HX_MAPDATA_VECTOR)
        return;
    auto* vec = static_cast<HXMapDataVector*>(res->data);
    const bool big_endian = res->data_type == HX_MAPDATA_BIG_ENDIAN;
    const int wtran = viewport->wtran;
    const double xleft = viewport->xleft, xright = viewport->xright;
    // Copies are counted in whole turns; a view without finite longitudes
    // has none.
    const bool copies_ok = std::isfinite(xleft) && std::isfinite(xright) &&
                           std::fabs(xleft) < 1e6 && std::fabs(xright) < 1e6;
    PointBuffers buf;
    for (long t = 0; t < res->ntiles; t++) {
        const HXMapDataVectorTile& tile = vec->tiles[t];
        for (long s = 0; s < tile.nsegments; s++) {
            const HXMapDataVectorSegment& seg = tile.segments[s];
            if (seg.level < 1 || seg.level > KGRMAPDATA_NLEVELS)
                continue;
            if (resolution_from && resolution_from[seg.level - 1] > resolution)
                continue;
            double latmin = cullLatitude(seg.latmin * 1e-6, wtran);
            double latmax = cullLatitude(seg.latmax * 1e-6, wtran);
            if (!(latmin <= viewport->bblatmax && viewport->bblatmin <= latmax))
                continue;
            if (!setupSegment(painter, seg, levels, outline, linewidth, fill_color,
                              background_color))
                continue;
            if (!buf.reserve(std::max(seg.npts + 2, 10L)))
                return;
            long n = seg.npts;
            double* xs = buf.x;
            double* ys = buf.y;
            if (wtran == KGR_WTRAN_EDP) {
                for (long i = 0; i < n; i++) {
                    int lon = seg.pts[i].lon_microdegrees, lat = seg.pts[i].lat_microdegrees;
                    if (big_endian) {
                        lon = N2H4(lon);
                        lat = N2H4(lat);
                    }
                    xs[i] = normalizeLongitude(lon * 1e-6);
                    ys[i] = lat * 1e-6;
                }
                if (n < 1)
                    continue;
                QPainterPath path;
                int start = 0;
                double alat = -viewport->latr;
                double alon = normalizeLongitude(viewport->lonr + 180.0);
                if (isInside(alat, alon, int(n), ys, xs)) {
                    // The projected outline then encloses the rest of the
                    // world: odd-even filling paints outside it.
                    double w = viewport->w - viewport->mleft - viewport->mright;
                    double h = viewport->h - viewport->mbottom - viewport->mtop;
                    path.moveTo(0, 0);
                    path.lineTo(w, 0);
                    path.lineTo(w, h);
                    path.lineTo(0, h);
                    path.lineTo(0, 0);
                    start = 1;
                }
                KGRPolyDraw draw(viewport, 0);
                draw.addPoints(&path, int(n), xs, ys, start, 0);
                drawInPlot(painter, viewport, path);
                continue;
            }
            double lonmin, lonmax;
            if (big_endian) {
                long prev = 0;
                for (long i = 0; i < n; i++) {
                    long lon = N2H4(seg.pts[i].lon_microdegrees);
                    if (i > 0) {
                        while (lon - prev > 180000000L)
                            lon -= 360000000L;
                        while (prev - lon > 180000000L)
                            lon += 360000000L;
                    }
                    prev = lon;
                    xs[i] = lon * 1e-6;
                    ys[i] = N2H4(seg.pts[i].lat_microdegrees) * 1e-6;
                    lonmin = i == 0 ? xs[i] : std::min(lonmin, xs[i]);
                    lonmax = i == 0 ? xs[i] : std::max(lonmax, xs[i]);
                }
                if (n < 1)
                    lonmin = lonmax = 0;
            } else {
                for (long i = 0; i < n; i++) {
                    xs[i] = seg.pts[i].lon_microdegrees * 1e-6;
                    ys[i] = seg.pts[i].lat_microdegrees * 1e-6;
                }
                lonmin = seg.lonmin * 1e-6;
                lonmax = seg.lonmax * 1e-6;
            }
            if (n < 1 || !copies_ok)
                continue;
            double shift = 0;
            while (lonmin + shift <= xright)
                shift += 360;
            while (xleft <= lonmax + shift)
                shift -= 360;
            while (xright <= lonmin + shift)
                shift -= 360;
            while (lonmax + shift <= xleft)
                shift += 360;
            for (long i = 0; i < n; i++)
                xs[i] += shift;
            lonmin += shift;
            lonmax += shift;
            // Every copy that overlaps the longitudes in view, once.
            for (; lonmax >= xleft && lonmin <= xright; lonmin += 360, lonmax += 360) {
                QPainterPath path;
                KGRPolyDraw draw(viewport, 0);
                draw.addPoints(&path, int(n), xs, ys, 0, 0);
                drawInPlot(painter, viewport, path);
                for (long i = 0; i < n; i++)
                    xs[i] += 360;
            }
        }
    }
}
