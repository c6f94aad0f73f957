// Drawing of the polypoint item: symbols by template, beach balls, path
// points and labels, with the hit-test records of what was drawn.
#include "KGRPolypoint.h"
#include "KGRViewport.h"
#include "kgrqt_engine.h"

#include <QColor>
#include <QFont>
#include <QList>
#include <QPainter>
#include <QPainterPath>
#include <QPen>

#include <cmath>
#include <vector>

namespace {

struct Template {
    int n;
    const double (*xy)[2];
};

const double triangleXY[][2] = {{0, 1}, {0.866025, -0.5}, {-0.866025, -0.5}, {0, 1}};
const double squareXY[][2] = {{1, 1}, {-1, 1}, {-1, -1}, {1, -1}, {1, 1}};
const double diamondXY[][2] = {{0, 1}, {-1, 0}, {0, -1}, {1, 0}, {0, 1}};
const double starXY[][2] = {{0, 1},
                            {0.22451, 0.30902},
                            {0.95106, 0.30902},
                            {0.36327, -0.11803},
                            {0.58779, -0.80902},
                            {0, -0.38197},
                            {-0.58779, -0.80902},
                            {-0.36327, -0.11803},
                            {-0.95106, 0.30902},
                            {-0.22451, 0.30902},
                            {0, 1}};

// Copies of a point wrapped 360 degrees apart are bounded, so that an
// absurd world box cannot make a drawing endless.
const int maxWraps = 1000;

void addTemplate(QPainterPath* path, const Template& t, double cx, double cy, double size)
{
    // Templates have y up; pixels have y down.
    path->moveTo(cx + size * t.xy[0][0], cy - size * t.xy[0][1]);
    for (int i = 1; i < t.n; ++i)
        path->lineTo(cx + size * t.xy[i][0], cy - size * t.xy[i][1]);
}

// Adds a symbol's outline to path and sets the label shift that goes with
// it (when shift is given). False for codes that have no shape.
bool addSymbol(QPainterPath* path, int symbol, double cx, double cy, int size, int* xshift,
               int* yshift)
{
    int xs = 0, ys = 0;
    switch (symbol) {
    case KGR_SYMBOL_POINT:
    case KGR_SYMBOL_CROSS:
    case KGR_SYMBOL_X:
        addTemplate(path, {5, diamondXY}, cx, cy, 2);
        xs = ys = 1;
        break;
    case KGR_SYMBOL_TRIANGLE:
        addTemplate(path, {4, triangleXY}, cx, cy, size);
        xs = ys = static_cast<int>(size * 0.5);
        break;
    case KGR_SYMBOL_SQUARE:
        addTemplate(path, {5, squareXY}, cx, cy, size);
        ys = size + 5;
        break;
    case KGR_SYMBOL_CIRCLE:
        path->addEllipse(QPointF(cx, cy), size, size);
        xs = ys = static_cast<int>(size * 0.8);
        break;
    case KGR_SYMBOL_STAR:
        addTemplate(path, {11, starXY}, cx, cy, size);
        xs = ys = static_cast<int>(size * 0.5);
        break;
    case KGR_SYMBOL_DIAMOND:
        addTemplate(path, {5, diamondXY}, cx, cy, size);
        xs = ys = static_cast<int>(size * 0.5);
        break;
    default:
        return false;
    }
    if (xshift) {
        *xshift = xs;
        *yshift = ys;
    }
    return true;
}

QColor* colorOf(const KGR_Color& own, const KGR_Color& item)
{
    return own.color ? own.color : item.color;
}

// The path point's outline in pixels of the plotting area, or null.
QPainterPath* polypoint_make_path(KgrviewportItem* vp, const KgrpolypointPoint* point)
{
    const QPainterPath* from = point->ppath.path;
    if (!from || from->elementCount() < 1)
        return nullptr;
    std::vector<double> x(from->elementCount()), y(from->elementCount());
    for (int i = 0; i < from->elementCount(); ++i) {
        x[i] = from->elementAt(i).x;
        y[i] = from->elementAt(i).y;
    }
    if (vp->wtran != KGR_WTRAN_NONE && vp->wtran != KGR_WTRAN_EDP)
        return kgrqt_wrap_longitudes(vp, static_cast<int>(x.size()), x.data(), y.data(),
                                     point->ppath.np, point->ppath.sp);
    KGRPolyDraw draw(vp, 0);
    return draw.addPoints(new QPainterPath, static_cast<int>(x.size()), x.data(), y.data(), 0, 0);
}

void drawPathPoint(QPainter& painter, KgrpolypointItem* item, KgrpolypointPoint* point,
                   double opacity)
{
    KgrviewportItem* vp = item->viewport;
    QPainterPath* path = polypoint_make_path(vp, point);
    if (!path)
        return;
    QColor* fill = colorOf(point->fill_path, item->fill_path);
    QColor* outline = colorOf(point->outline_path, item->outline_path);
    painter.save();
    painter.setOpacity(opacity);
    painter.setClipRect(vp->mleft, vp->mtop, vp->w - vp->mleft - vp->mright,
                        vp->h - vp->mtop - vp->mbottom, Qt::IntersectClip);
    painter.translate(vp->mleft, vp->mtop);
    painter.setBrush(fill ? QBrush(*fill) : QBrush(Qt::NoBrush));
    painter.setPen(outline ? QPen(*outline, item->linewidth_path) : QPen(Qt::NoPen));
    painter.drawPath(*path);
    painter.restore();
    delete path;
}

// The plane position of a point for its shape (edp offsets, Mercator
// ordinate, decades on logarithmic axes) and the direction of north there.
void shapePosition(KgrviewportItem* vp, bool beachball, double lon, double lat, double mercY,
                   double* x, double* y, double* north)
{
    *x = lon;
    *y = lat;
    *north = 0.0;
    if (vp->wtran == KGR_WTRAN_EDP) {
        if (beachball)
            kgrqt_latlon2edp2(vp->latr, vp->lonr, lat, lon, x, y, north);
        else
            kgrqt_latlon2edp(vp->latr, vp->lonr, lat, lon, x, y);
    } else if (vp->wtran == KGR_WTRAN_MERC) {
        *y = mercY;
    }
    if (vp->xmode == KGR_MODE_LOG)
        *x = log10(*x);
    if (vp->ymode == KGR_MODE_LOG)
        *y = log10(*y);
}

// True when a symbol of that size about the pixel lies wholly outside the
// plotting area.
bool outsideFrame(const KgrviewportItem* vp, double px, double py, double size)
{
    const double cx = std::round(px), cy = std::round(py);
    return cx + size < vp->mleft || cx - size > vp->w - vp->mright || cy + size < vp->mtop ||
           cy - size > vp->h - vp->mbottom;
}

// The longitude brought into the x range by steps of 360, and the number
// of further copies that still fit.
double wrapLongitude(const KgrviewportItem* vp, double lon, int* nwrap)
{
    const double lo = std::min(vp->xleft, vp->xright), hi = std::max(vp->xleft, vp->xright);
    if (lon < lo)
        lon += std::ceil((lo - lon) / 360.0) * 360.0;
    if (lon > hi)
        lon -= std::ceil((lon - hi) / 360.0) * 360.0;
    const double copies = std::floor((hi - lon) / 360.0);
    *nwrap = copies > 0 ? static_cast<int>(std::min<double>(copies, maxWraps)) : 0;
    return lon;
}

struct Scale {
    double xonepixel, yonepixel;
};

// The pen, brush and opacity of the last symbol drawn: a run of symbols of
// one style sets the painter up once, which leaves every pixel as it was but
// spares the raster engine a state change per symbol.
class SymbolStyle {
public:
    void apply(QPainter& painter, const QColor* outline, int linewidth, const QColor* fill,
               double opacity)
    {
        if (known && same(outlineColor, outline) && same(fillColor, fill) && linewidth == width &&
            opacity == alpha)
            return;
        painter.setOpacity(opacity);
        painter.setPen(
            outline ? QPen(QBrush(*outline), linewidth, Qt::SolidLine, Qt::SquareCap, Qt::BevelJoin)
                    : QPen(Qt::NoPen));
        painter.setBrush(fill ? QBrush(*fill) : QBrush(Qt::NoBrush));
        known = true;
        outlineColor = outline ? *outline : QColor();
        fillColor = fill ? *fill : QColor();
        width = linewidth;
        alpha = opacity;
    }
    // After someone else set the painter up.
    void forget() { known = false; }

private:
    // An invalid colour stands for none.
    static bool same(const QColor& kept, const QColor* c)
    {
        return c ? c->isValid() && kept == *c : !kept.isValid();
    }

    bool known = false;
    QColor outlineColor, fillColor;
    int width = 0;
    double alpha = 0;
};

void drawSymbolPoint(KGRPolypoint* self, QPainter& painter, int i, const Scale& scale,
                     SymbolStyle* style)
{
    KgrpolypointItem* item = &self->polypoint;
    KgrviewportItem* vp = item->viewport;
    KgrpolypointPoint* point = &item->point[i];
    const int symbol = point->symbol ? point->symbol : item->symbol;
    double lon = point->x;
    const double lat = point->y;
    if (!std::isfinite(lon) || !std::isfinite(lat))
        return;
    point->nwrap = 0;
    if (vp->wtran == KGR_WTRAN_MERC || vp->wtran == KGR_WTRAN_GEOG)
        lon = wrapLongitude(vp, lon, &point->nwrap);
    const int size = point->size ? point->size : item->size;
    QColor* fill = point->color ? point->fill.color : item->fill.color;
    QColor* outline = point->color ? point->outline.color : item->outline.color;
    QColor* fillNodes = colorOf(point->fill_nodes, item->fill_nodes);
    const bool beachball = symbol == KGR_SYMBOL_BEACHBALL;
    const double mercY = vp->wtran == KGR_WTRAN_MERC ? kgrqt_mercator_y(lat) : lat;
    for (int k = 0; k <= point->nwrap; ++k, lon += 360.0) {
        double px = 0, py = 0;
        if (kgrqt_get_pcoords(vp, lon, lat, &px, &py, 0, 0) < 0 || !std::isfinite(px) ||
            !std::isfinite(py) || outsideFrame(vp, px, py, size))
            return;
        if (!beachball && !fill && !outline)
            return;
        auto* path = new QPainterPath;
        if (beachball) {
            double x, y, north;
            shapePosition(vp, true, lon, lat, mercY, &x, &y, &north);
            item->paths->append({i, static_cast<int>(px), static_cast<int>(py), path});
            painter.setOpacity(self->getOpacity(i));
            style->forget();
            polypoint_draw_beachball(item, painter, path, i, x, y, north, scale.xonepixel,
                                     scale.yonepixel, size, fill, fillNodes, outline);
            continue;
        }
        if (!addSymbol(path, symbol, px, py, size, k == 0 ? &point->xshift : nullptr,
                       &point->yshift)) {
            delete path;
            return;
        }
        item->paths->append({i, static_cast<int>(px), static_cast<int>(py), path});
        style->apply(painter, outline, item->linewidth, fill, self->getOpacity(i));
        painter.drawPath(*path);
    }
}

void drawLabels(QPainter& painter, KgrpolypointItem* item)
{
    if (!item->show_text || !item->text_foreground.color || !item->font.font)
        return;
    painter.setOpacity(1.0);
    kgrqt_setup_text(painter, *item->text_foreground.color, *item->font.font);
    char sw[] = "sw";
    for (int i = 0; i < item->npts; ++i) {
        KgrpolypointPoint* point = &item->point[i];
        if (point->label)
            kgrqt_scaletext_draw(painter, item->viewport, point->x, point->y, point->xshift,
                                 point->yshift, *item->font.font, sw, 0.0, point->label);
    }
}

void resetPaths(KgrpolypointItem* item)
{
    if (item->paths)
        for (KgrpolypointPointPath& p : *item->paths)
            delete p.path;
    delete item->paths;
    item->paths = new QList<KgrpolypointPointPath>;
}

} // namespace

void KGRPolypoint::draw(QPainter& painter)
{
    KgrviewportItem* vp = polypoint.viewport;
    int pw = 0, ph = 0;
    double x1, x2, sx = 0, y1, y2, sy = 0;
    if (!vp || kgrqt_get_scales(vp, &pw, &ph, &x1, &x2, &sx, &y1, &y2, &sy) != 0)
        return;
    const Scale scale{1.0 / (pw * sx), 1.0 / (ph * sy)};
    grid.reset();
    resetPaths(&polypoint);
    if (!polypoint.show_symbols || (!polypoint.fill.color && !polypoint.outline.color)) {
        for (int i = 0; i < polypoint.npts; ++i)
            polypoint.point[i].xshift = polypoint.point[i].yshift = 0;
    } else {
        painter.save();
        SymbolStyle style;
        for (int i = 0; i < polypoint.npts; ++i) {
            KgrpolypointPoint* point = &polypoint.point[i];
            const double opacity = getOpacity(i);
            if (!point->visibility || !(opacity > 0.0))
                continue;
            if ((point->symbol ? point->symbol : polypoint.symbol) == KGR_SYMBOL_PATH) {
                drawPathPoint(painter, &polypoint, point, opacity);
                style.forget();
            } else {
                drawSymbolPoint(this, painter, i, scale, &style);
            }
        }
        painter.restore();
    }
    drawLabels(painter, &polypoint);
}
