// A uniform grid over the hit-test records of one drawing of a point item:
// symbol centres for the closest-symbol search and outline bounds for the
// under-the-mouse search, so that neither has to walk every record.
#include "kgrqt_engine.h"

#include <QPainterPath>
#include <QRectF>

#include <algorithm>
#include <cmath>

namespace {

// Beyond this many cells per record the records are not worth a grid
// (degenerate or absurd coordinates); the linear searches answer then.
const long long maxCellsPerRecord = 16;
const long long minCells = 4096;

long long floorDiv(long long a, long long b)
{
    return a >= 0 ? a / b : -((-a + b - 1) / b);
}

// An integer box of pixels, both ends inclusive.
struct Box {
    long long x1, y1, x2, y2;
};

// Lays out cells over the union of the boxes, about perCell boxes to a
// cell and no cell narrower than the typical box, and lists every box in
// each cell it overlaps. False when the layout would be too large.
bool fillCells(KgrqtSymbolGrid::Cells* cells, const std::vector<Box>& boxes,
               const std::vector<int>& position)
{
    if (boxes.empty())
        return true;
    Box all = boxes[0];
    double side = 0;
    for (const Box& b : boxes) {
        all = {std::min(all.x1, b.x1), std::min(all.y1, b.y1), std::max(all.x2, b.x2),
               std::max(all.y2, b.y2)};
        side += std::max(b.x2 - b.x1, b.y2 - b.y1);
    }
    const double area = double(all.x2 - all.x1 + 1) * double(all.y2 - all.y1 + 1);
    const double perCell = 2.0;
    const double density = std::sqrt(area * perCell / boxes.size());
    const long long size =
        std::max<long long>(1, std::llround(std::min(std::max(density, side / boxes.size()), 1e9)));
    cells->size = size;
    cells->x0 = all.x1;
    cells->y0 = all.y1;
    cells->nx = floorDiv(all.x2 - all.x1, size) + 1;
    cells->ny = floorDiv(all.y2 - all.y1, size) + 1;
    const long long limit = std::max<long long>(minCells, maxCellsPerRecord * boxes.size());
    if (cells->nx > limit || cells->ny > limit || cells->nx * cells->ny > limit)
        return false;
    // Two passes: count per cell, then place (positions stay in list order).
    std::vector<int> count(cells->nx * cells->ny + 1, 0);
    long long entries = 0;
    auto forCells = [&](const Box& b, auto&& visit) {
        const long long cx1 = floorDiv(b.x1 - cells->x0, size),
                        cx2 = floorDiv(b.x2 - cells->x0, size);
        const long long cy1 = floorDiv(b.y1 - cells->y0, size),
                        cy2 = floorDiv(b.y2 - cells->y0, size);
        for (long long cy = cy1; cy <= cy2; ++cy)
            for (long long cx = cx1; cx <= cx2; ++cx)
                visit(cy * cells->nx + cx);
    };
    for (const Box& b : boxes) {
        entries += (floorDiv(b.x2 - cells->x0, size) - floorDiv(b.x1 - cells->x0, size) + 1) *
                   (floorDiv(b.y2 - cells->y0, size) - floorDiv(b.y1 - cells->y0, size) + 1);
        if (entries > limit)
            return false;
    }
    for (const Box& b : boxes)
        forCells(b, [&](long long c) { ++count[c + 1]; });
    for (size_t c = 1; c < count.size(); ++c)
        count[c] += count[c - 1];
    cells->start = count;
    cells->items.resize(entries);
    for (size_t k = 0; k < boxes.size(); ++k)
        forCells(boxes[k], [&](long long c) { cells->items[count[c]++] = position[k]; });
    return true;
}

bool finite(const QRectF& r)
{
    return std::isfinite(r.left()) && std::isfinite(r.right()) && std::isfinite(r.top()) &&
           std::isfinite(r.bottom());
}

const double maxCoordinate = 1e15;

} // namespace

bool KgrqtSymbolGrid::Cells::cellOf(long long x, long long y, long long* cx, long long* cy) const
{
    *cx = floorDiv(x - x0, size);
    *cy = floorDiv(y - y0, size);
    return *cx >= 0 && *cx < nx && *cy >= 0 && *cy < ny;
}

const int* KgrqtSymbolGrid::Cells::begin(long long cx, long long cy) const
{
    return items.data() + start[cy * nx + cx];
}

const int* KgrqtSymbolGrid::Cells::end(long long cx, long long cy) const
{
    return items.data() + start[cy * nx + cx + 1];
}

KgrqtSymbolGrid::KgrqtSymbolGrid(QList<KgrpolypointPointPath>* paths)
    : paths(paths), count(paths ? paths->size() : 0)
{
    std::vector<Box> centreBoxes, outlineBoxes;
    std::vector<int> centrePositions, outlinePositions;
    centreBoxes.reserve(count);
    centrePositions.reserve(count);
    for (int i = 0; i < count; ++i) {
        const KgrpolypointPointPath& p = paths->at(i);
        centreBoxes.push_back({p.xpixel, p.ypixel, p.xpixel, p.ypixel});
        centrePositions.push_back(i);
        if (!p.path || p.path->isEmpty())
            continue;
        // A path contains no point outside its control-point rectangle.
        const QRectF r = p.path->controlPointRect();
        if (!finite(r) || std::max({std::fabs(r.left()), std::fabs(r.right()), std::fabs(r.top()),
                                    std::fabs(r.bottom())}) > maxCoordinate)
            return;
        outlineBoxes.push_back({static_cast<long long>(std::floor(r.left())),
                                static_cast<long long>(std::floor(r.top())),
                                static_cast<long long>(std::ceil(r.right())),
                                static_cast<long long>(std::ceil(r.bottom()))});
        outlinePositions.push_back(i);
    }
    valid = fillCells(&centres, centreBoxes, centrePositions) &&
            fillCells(&outlines, outlineBoxes, outlinePositions);
}

bool KgrqtSymbolGrid::indexes(const QList<KgrpolypointPointPath>* list) const
{
    return valid && list == paths && list && list->size() == count;
}

// Rings of cells about the query's cell (brought into the grid), nearest
// first. A record in ring r lies at least (r - 1) cell sizes away, so the
// search ends when that bound exceeds the best distance; equal distances go
// on being searched so that the earlier list position wins as in the list.
void KgrqtSymbolGrid::findClosest(int x, int y, int* imin, double* dmin, int* inside) const
{
    KgrqtPolypointDistance ppdist(paths, x, y);
    *imin = -1;
    double best = 0;
    if (count > 0) {
        long long qx, qy;
        centres.cellOf(x, y, &qx, &qy);
        qx = std::min(std::max(qx, 0LL), centres.nx - 1);
        qy = std::min(std::max(qy, 0LL), centres.ny - 1);
        const long long rings = std::max({qx, centres.nx - 1 - qx, qy, centres.ny - 1 - qy});
        for (long long r = 0; r <= rings; ++r) {
            const double bound = double(r - 1) * double(centres.size);
            if (*imin >= 0 && r > 0 && bound * bound > best)
                break;
            for (long long cy = qy - r; cy <= qy + r; ++cy) {
                if (cy < 0 || cy >= centres.ny)
                    continue;
                const bool edgeRow = cy == qy - r || cy == qy + r;
                for (long long cx = qx - r; cx <= qx + r; cx += edgeRow ? 1 : 2 * r) {
                    if (cx >= 0 && cx < centres.nx)
                        for (const int* i = centres.begin(cx, cy); i != centres.end(cx, cy); ++i) {
                            const double d = ppdist.distance(*i);
                            if (*imin == -1 || d < best || (d == best && *i < *imin)) {
                                best = d;
                                *imin = *i;
                            }
                        }
                    if (r == 0)
                        break;
                }
            }
        }
    }
    if (*imin >= 0)
        *dmin = std::sqrt(best);
    if (inside) {
        const QPainterPath* path = *imin >= 0 ? paths->at(*imin).path : nullptr;
        *inside = path && path->contains(QPointF(x, y));
    }
}

QList<int>* KgrqtSymbolGrid::findInside(int x, int y) const
{
    QList<int>* found = new QList<int>;
    long long cx, cy;
    if (outlines.items.empty() || !outlines.cellOf(x, y, &cx, &cy))
        return found;
    for (const int* i = outlines.begin(cx, cy); i != outlines.end(cx, cy); ++i)
        if (paths->at(*i).path->contains(QPointF(x, y)))
            found->append(*i);
    // The same list in the same order as the linear search's, sorted alike.
    KgrqtPolypointDistance ppdist(paths, x, y);
    std::sort(found->begin(), found->end(), KgrqtPolypointDistanceCompare(&ppdist));
    return found;
}
