// Pens and brushes from colour options, and the searches that find the
// symbol of a point item under the mouse.
#include "kgrqt_engine.h"

#include <QBrush>
#include <QPainter>
#include <QPainterPath>
#include <QPen>

#include <algorithm>
#include <cmath>

int kgrqt_setup_line(QPainter* painter, QColor* color, int linewidth, int linestyle, int joinstyle)
{
    if (!painter || !color)
        return 0;
    QPen pen(*color);
    pen.setWidth(linewidth);
    pen.setStyle(static_cast<Qt::PenStyle>(linestyle));
    // Handed to Qt as given: callers that do not care pass -1.
    pen.setJoinStyle(static_cast<Qt::PenJoinStyle>(joinstyle));
    painter->setPen(pen);
    return 0;
}

// Clears the pen, so a caller that wants an outline too sets it up after.
int kgrqt_setup_fill(QPainter* painter, QColor* color)
{
    if (!painter || !color)
        return 0;
    painter->setPen(Qt::NoPen);
    painter->setBrush(QBrush(*color, Qt::SolidPattern));
    return 0;
}

KgrqtPolypointDistance::KgrqtPolypointDistance(QList<KgrpolypointPointPath>* paths, int x, int y)
    : paths(paths), xc(x), yc(y)
{
}

// Squared pixel distance of the symbol at list position ipt from the query.
double KgrqtPolypointDistance::distance(int ipt)
{
    const KgrpolypointPointPath& p = paths->at(ipt);
    double dx = p.xpixel - xc, dy = p.ypixel - yc;
    return dx * dx + dy * dy;
}

KgrqtPolypointDistanceCompare::KgrqtPolypointDistanceCompare(KgrqtPolypointDistance* ppdist)
    : ppdist(ppdist)
{
}

// Farther first.
bool KgrqtPolypointDistanceCompare::operator()(int ipt1, int ipt2)
{
    return ppdist->distance(ipt1) > ppdist->distance(ipt2);
}

namespace {

bool symbolContains(const KgrpolypointPointPath& p, int x, int y)
{
    return p.path && p.path->contains(QPointF(x, y));
}

} // namespace

// Ties keep the earlier list position. An empty list leaves *dmin alone.
int kgrqt_findclosest_polypoint(QList<KgrpolypointPointPath>* paths, int x, int y, int* imin,
                                double* dmin, int* inside)
{
    KgrqtPolypointDistance ppdist(paths, x, y);
    *imin = -1;
    for (int i = 0; paths && i < paths->size(); i++) {
        double d = ppdist.distance(i);
        if (*imin == -1 || d < *dmin) {
            *dmin = d;
            *imin = i;
        }
    }
    if (*imin >= 0)
        *dmin = std::sqrt(*dmin);
    if (inside)
        *inside = *imin >= 0 && symbolContains(paths->at(*imin), x, y);
    return 0;
}

// The positions of the symbols that contain the pixel, the symbol whose
// centre is farthest first and the nearest last.
QList<int>* kgrqt_findinside_polypoint(QList<KgrpolypointPointPath>* paths, int x, int y)
{
    QList<int>* found = new QList<int>;
    for (int i = 0; paths && i < paths->size(); i++) {
        if (symbolContains(paths->at(i), x, y))
            found->append(i);
    }
    KgrqtPolypointDistance ppdist(paths, x, y);
    std::sort(found->begin(), found->end(), KgrqtPolypointDistanceCompare(&ppdist));
    return found;
}
