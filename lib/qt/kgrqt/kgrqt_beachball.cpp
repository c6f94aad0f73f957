// Focal-mechanism beach balls of the polypoint item: the outlines of a
// moment tensor's compressional regions, cached per tensor for the whole
// process, and their drawing scaled, turned to north and moved onto a point.
#include "KGRPolypoint.h"
#include "KGRViewport.h"
#include "hx_moment.h"
#include "kgrqt_engine.h"

#include <QColor>
#include <QPainter>
#include <QPainterPath>
#include <QTransform>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

namespace {

// The cache holds at most this many tensors before it is emptied whole.
const int maxCachedTensors = 100000;

bool ensureCache()
{
    if (!KGRPolypoint::beachball_arr)
        KGRPolypoint::beachball_arr = newarr(nullptr);
    if (!KGRPolypoint::beachball_arr) {
        hx_clear_register(0);
        return false;
    }
    return true;
}

void freeHandle(char* handle)
{
    if (handle[0])
        hxvector_free(handle);
}

// The compressional outlines of a tensor as a new path, or null when the
// moment routines reject it. -1 when memory ran out.
int computeNodes(const double* m, QPainterPath** nodes)
{
    *nodes = nullptr;
    HXMoment* moment = nullptr;
    if (hxmoment_create(0, &moment, m[0], m[1], m[2], m[3], m[4], m[5]) < 0 || !moment) {
        hx_clear_register(0);
        return 0;
    }
    char nodal1[HXMOMENT_HANDLE_SIZE] = "", nodal2[HXMOMENT_HANDLE_SIZE] = "";
    char p1[HXMOMENT_HANDLE_SIZE] = "", p2[HXMOMENT_HANDLE_SIZE] = "";
    char taxis[HXMOMENT_HANDLE_SIZE] = "", paxis[HXMOMENT_HANDLE_SIZE] = "";
    int result = 0;
    if (hxmoment_compute_bb(moment, nodal1, nodal2, p1, p2, taxis, paxis) == 0) {
        freeHandle(nodal1);
        freeHandle(nodal2);
        freeHandle(taxis);
        freeHandle(paxis);
        *nodes = new (std::nothrow) QPainterPath;
        if (*nodes)
            polypoint_make_P_nodes(p1, p2, *nodes);
        else
            result = -1;
        freeHandle(p1);
        freeHandle(p2);
    }
    hx_clear_register(0);
    hxmoment_free_hxmoment(moment);
    return result;
}

} // namespace

void polypoint_free_beachball(void* path)
{
    delete static_cast<QPainterPath*>(path);
}

int polypoint_parse_bb(char* ptr, double* m)
{
    if (!ptr)
        return -1;
    int n = 0;
    char* save = nullptr;
    for (char* word = strtok_r(ptr, ",", &save); word && n < 6;
         word = strtok_r(nullptr, ",", &save))
        m[n++] = atof(word);
    return n == 6 ? 0 : -1;
}

int polypoint_make_beachball_point(KgrpolypointPoint* point)
{
    char key[256];
    snprintf(key, sizeof key, "%g %g %g %g %g %g", point->m[0], point->m[1], point->m[2],
             point->m[3], point->m[4], point->m[5]);
    if (!ensureCache())
        return -1;
    auto* cached = static_cast<QPainterPath*>(getarr(KGRPolypoint::beachball_arr, key));
    if (cached) {
        point->symbol = KGR_SYMBOL_BEACHBALL;
        point->P_nodes = cached;
        return 0;
    }
    if (cntarr(KGRPolypoint::beachball_arr) > maxCachedTensors) {
        // Points drawn from the old cache lose their borrowed outlines'
        // owner; the rule bounds memory in long-running applications.
        freearr(KGRPolypoint::beachball_arr, polypoint_free_beachball);
        KGRPolypoint::beachball_arr = nullptr;
        if (!ensureCache())
            return -1;
    }
    QPainterPath* nodes = nullptr;
    if (computeNodes(point->m, &nodes) < 0)
        return -1;
    if (nodes) {
        point->symbol = KGR_SYMBOL_BEACHBALL;
        point->P_nodes = nodes;
    }
    // A rejected tensor is kept as a null entry, and tried again next time.
    delete static_cast<QPainterPath*>(setarr(KGRPolypoint::beachball_arr, key, nodes));
    return 0;
}

int KGRPolypoint::makeBeachballPoint(KgrpolypointPoint* point)
{
    return polypoint_make_beachball_point(point);
}

int polypoint_make_P_nodes(char* vec1, char* vec2, QPainterPath* path)
{
    char* handles[2] = {vec1, vec2};
    for (char* handle : handles) {
        if (!handle || !handle[0])
            continue;
        int npts = 0, spare = 0, xsize = 0, ysize = 0;
        double *x = nullptr, *y = nullptr;
        if (hxvector2_get_points(handle, 0, &npts, &spare, &x, &xsize, &y, &ysize, 0) < 0) {
            hx_clear_register(0);
        } else if (npts >= 2) {
            // Both axes are negated: the drawing transform's negative
            // horizontal scale puts east back on the right, and its
            // positive vertical scale turns north up on the screen.
            path->moveTo(-x[0], -y[0]);
            for (int i = 1; i < npts; ++i)
                path->lineTo(-x[i], -y[i]);
        }
        free(x);
        free(y);
    }
    return 0;
}

void polypoint_make_circle(KgrviewportItem* vp, QPainterPath* path, int size, double x, double y,
                           double xonepixel, double yonepixel, double* xc, double* yc, double* xsc,
                           double* ysc)
{
    double xp = x + size * xonepixel, yp = y + size * yonepixel;
    double xm = x - size * xonepixel, ym = y - size * yonepixel;
    // Shapes are built in decades on logarithmic axes; the mapping wants values.
    if (vp->xmode == KGR_MODE_LOG) {
        xp = pow(10.0, xp);
        xm = pow(10.0, xm);
        x = pow(10.0, x);
    }
    if (vp->ymode == KGR_MODE_LOG) {
        yp = pow(10.0, yp);
        ym = pow(10.0, ym);
        y = pow(10.0, y);
    }
    double pxp = 0, pyp = 0, pxm = 0, pym = 0;
    kgrqt_get_pcoords(vp, xp, yp, &pxp, &pyp, 1, 0);
    kgrqt_get_pcoords(vp, xm, ym, &pxm, &pym, 1, 0);
    if (xc && yc)
        kgrqt_get_pcoords(vp, x, y, xc, yc, 1, 0);
    if (xsc && ysc) {
        *xsc = (pxm - pxp) * 0.5;
        *ysc = (pym - pyp) * 0.5;
    }
    const QRectF box(pxp, pyp, pxm - pxp, pym - pyp);
    path->arcMoveTo(box, 0.0);
    path->arcTo(box, 0.0, 360.0);
}

void polypoint_draw_beachball(KgrpolypointItem* poly, QPainter& painter, QPainterPath* path,
                              int ipt, double xpt, double ypt, double north, double xonepixel,
                              double yonepixel, int size, QColor* fill, QColor* fill_nodes,
                              QColor* outline)
{
    double xc = 0, yc = 0, xsc = 0, ysc = 0;
    polypoint_make_circle(poly->viewport, path, size, xpt, ypt, xonepixel, yonepixel, &xc, &yc,
                          &xsc, &ysc);
    painter.setPen(Qt::NoPen);
    if (fill) {
        painter.setBrush(QBrush(*fill));
        painter.drawPath(*path);
    }
    const QPainterPath* nodes = poly->point[ipt].P_nodes;
    if (fill_nodes && nodes) {
        // Applied right to left: turn to north, scale onto the circle, move.
        QTransform t;
        t.translate(xc, yc);
        t.scale(xsc, ysc);
        if (north != 0.0)
            t.rotate(-north);
        painter.setBrush(QBrush(*fill_nodes));
        painter.drawPath(t.map(*nodes));
    }
    if (outline) {
        painter.setPen(QPen(*outline));
        painter.setBrush(Qt::NoBrush);
        painter.drawPath(*path);
    }
}
