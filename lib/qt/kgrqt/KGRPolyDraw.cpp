// Runs of world points into a painter path through a KGRScalemap. Points
// outside the plotting area are dropped where they cannot change what is
// drawn: a run inside one of the eight regions around the area collapses to
// its ends.
#include "KGRViewport.h"
#include "kgrqt_engine.h"

#include <QPainterPath>

namespace {

enum Outcome { Skip, Current, PreviousAndCurrent };

const int kInsideZone = 4;

int band(double f)
{
    return f < 0.0 ? 0 : f > 1.0 ? 2 : 1;
}

// 3 * row + column of the nine regions; 4 is the plotting area.
int zoneOf(double fx, double fy)
{
    return 3 * band(fy) + band(fx);
}

// Two outside regions on the same outside side (both above, both left, ...)
// can be joined by a straight move that never crosses the area.
bool shareOutsideSide(int zone1, int zone2)
{
    int row1 = zone1 / 3, col1 = zone1 % 3;
    int row2 = zone2 / 3, col2 = zone2 % 3;
    return (row1 == row2 && row1 != 1) || (col1 == col2 && col1 != 1);
}

Outcome decide(int zoneLast, int zone)
{
    if (zoneLast == kInsideZone)
        return Current;
    if (zone == zoneLast)
        return Skip;
    if (shareOutsideSide(zoneLast, zone))
        return Current;
    return PreviousAndCurrent;
}

// An empty path (a fresh one when subtracting) starts with a move, not with
// a line from the origin.
void addToPath(QPainterPath* path, int w, int h, double fx, double fy, int disposition)
{
    if (disposition == KGRScalemap::disposition_moveTo || path->elementCount() == 0)
        path->moveTo(w * fx, h * fy);
    else
        path->lineTo(w * fx, h * fy);
}

} // namespace

KGRPolyDraw::KGRPolyDraw(KgrviewportItem* viewport, int ignoretran)
    : smap(new KGRScalemap(viewport, ignoretran)), w(smap->w), h(smap->h), x_last(0.0), y_last(0.0),
      ret_last(KGRScalemap::disposition_moveTo), zone_last(kInsideZone), first(1)
{
}

KGRPolyDraw::~KGRPolyDraw()
{
    delete smap;
}

// Without scales (a plotting area under 3 pixels) nothing is added.
QPainterPath* KGRPolyDraw::addPoints(QPainterPath* path, int npts, double* xpts, double* ypts,
                                     int start, int subtract)
{
    if (!path || w < 3 || h < 3 || npts <= 0 || !xpts || !ypts)
        return path;
    QPainterPath* remembered = path;
    if (subtract)
        path = new QPainterPath;
    // Set while the previous point was dropped: it is drawn after all when
    // the line leaves its region, or when the line or this run ends, so that
    // a filled outline still closes from its true last point.
    bool skipped = false;
    auto addSkipped = [&] {
        if (skipped)
            addToPath(path, w, h, x_last, y_last, ret_last);
        skipped = false;
    };
    for (int i = 0; i < npts; i++) {
        smap->pushPoint(xpts[i], ypts[i]);
        double fx, fy;
        int d;
        while ((d = smap->popPoint(&fx, &fy)) > KGRScalemap::disposition_notUsed) {
            int zone = zoneOf(fx, fy);
            if (start)
                d = KGRScalemap::disposition_moveTo;
            Outcome outcome = decide(zone_last, zone);
            // A new line is never dropped, so that a break outside the area
            // still separates what comes before it from what follows.
            if (start || first || d == KGRScalemap::disposition_moveTo)
                outcome = d == KGRScalemap::disposition_moveTo ? PreviousAndCurrent : Current;
            start = first = 0;
            if (outcome == PreviousAndCurrent)
                addSkipped();
            skipped = outcome == Skip;
            if (!skipped)
                addToPath(path, w, h, fx, fy, d);
            x_last = fx;
            y_last = fy;
            zone_last = zone;
            ret_last = d;
        }
    }
    addSkipped();
    if (!subtract)
        return path;
    *remembered -= *path;
    delete path;
    return remembered;
}
