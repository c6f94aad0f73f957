// The polypoint item: points drawn as symbols, beach balls or painter
// paths, with labels, codings and the searches for the symbol under the
// mouse.
#include "KGRPolypoint.h"
#include "KGRLayer.h"
#include "KGRViewport.h"
#include "kgrqt_engine.h"

#include <QColor>
#include <QList>
#include <QPainter>
#include <QPainterPath>

#include <cmath>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>

Arr* KGRPolypoint::beachball_arr = nullptr;

namespace {

KgrpolypointItem* itemOf(char* record)
{
    return reinterpret_cast<KgrpolypointItem*>(record);
}

const char* const symbolNames[] = {"",       "point", "cross",   "x",         "triangle", "square",
                                   "circle", "star",  "diamond", "beachball", "path"};

void freePoints(KgrpolypointItem* item)
{
    for (int i = 0; i < item->npts; ++i)
        polypoint_free_point(&item->point[i]);
    free(item->point);
    item->point = nullptr;
    item->npts = 0;
}

void freePaths(KgrpolypointItem* item)
{
    if (!item->paths)
        return;
    for (KgrpolypointPointPath& p : *item->paths)
        delete p.path;
    delete item->paths;
    item->paths = nullptr;
}

// A point as every source starts it: visible, opaque, item symbol and size.
void startPoint(KgrpolypointPoint* point, double x, double y)
{
    memset(static_cast<void*>(point), 0, sizeof *point);
    point->x = static_cast<float>(x);
    point->y = static_cast<float>(y);
    point->visibility = 1;
    point->opacity = 1.0;
}

// The name part of a "name:index" handle (malloc'd) and its index.
char* cutHandle(const char* value, int* index)
{
    char* handle = strdup(value);
    char* colon = handle ? strchr(handle, ':') : nullptr;
    *index = colon ? atoi(colon + 1) : 0;
    if (colon)
        *colon = '\0';
    return handle;
}

// Replaces the item's points by npts new ones at x, y, with labels from the
// handle's vector when it has them.
int takePoints(KgrpolypointItem* item, const char* value, int npts, const double* x,
               const double* y, const char* mallocError)
{
    char* copy = strdup(value);
    KgrpolypointPoint* points = nullptr;
    if (npts > 0)
        points = static_cast<KgrpolypointPoint*>(calloc(npts, sizeof(KgrpolypointPoint)));
    if (!copy || (npts > 0 && !points)) {
        free(copy);
        free(points);
        hx_register_error(1, "%s", mallocError);
        return -1;
    }
    free(item->vechandle);
    item->vechandle = copy;
    freePoints(item);
    item->point = points;
    item->npts = npts;
    hxvector_extent(value, &item->xmin, &item->xmax, &item->ymin, &item->ymax);
    for (int i = 0; i < npts; ++i) {
        startPoint(&points[i], x[i], y[i]);
        const char* label = hxvector_get_label(value, i);
        if (label)
            polypoint_parse_label(&points[i], label);
    }
    return 0;
}

int polypoint_parse_vector2(HX_ConfigureSpec*, HX_ClientData, char* value, char* record, int)
{
    if (!value || !*value)
        return 0;
    int index = 0;
    char* handle = cutHandle(value, &index);
    if (!handle) {
        hx_register_error(1, "polypoint_parse_vector2: malloc() error.\n");
        return -1;
    }
    int npts = 0, spare = 0, xsize = 0, ysize = 0;
    double *x = nullptr, *y = nullptr;
    int result = hxvector2_get_points(handle, index, &npts, &spare, &x, &xsize, &y, &ysize, 0);
    if (result < 0)
        hx_register_error(0, "polypoint_parse_vector2: hxvector2_get_points(%s) error.", value);
    else
        result = takePoints(itemOf(record), value, npts, x, y,
                            "polypoint_parse_vector2: malloc() error.\n");
    free(x);
    free(y);
    free(handle);
    return result < 0 ? -1 : 0;
}

int polypoint_parse_vector(HX_ConfigureSpec* spec, HX_ClientData clientData, char* value,
                           char* record, int offset)
{
    if (!value || !*value)
        return 0;
    if (!hxvector_get_vector(value)) {
        if (hxvector2_get_vector(value)) {
            hx_clear_register(0);
            return polypoint_parse_vector2(spec, clientData, value, record, offset);
        }
        hx_register_error(
            0,
            "polypoint_parse_vector: Cannot find hxvector or hxvector2 corresponding to handle "
            "'%s'.",
            value);
        return -1;
    }
    int npts = 0, index = 0;
    double *x = nullptr, *y = nullptr;
    if (hxvector_get_points(value, &npts, &index, &x, &y, 0) < 0) {
        hx_register_error(0, "polypoint_parse_vector: hxvector_get_points(%s) error.", value);
        return -1;
    }
    int result =
        takePoints(itemOf(record), value, npts, x, y, "polypoint_parse_vector: malloc() error.\n");
    free(x);
    free(y);
    return result;
}

char* polypoint_print_vector(HX_ConfigureSpec*, HX_ClientData, char* record, int)
{
    const char* h = itemOf(record)->vechandle;
    return strdup(h ? h : "");
}

int polypoint_parse_symbol(HX_ConfigureSpec*, HX_ClientData, char* value, char* record, int)
{
    // The beach ball and the path are made by their own means, never named.
    for (int code = KGR_SYMBOL_POINT; code <= KGR_SYMBOL_DIAMOND; ++code)
        if (value && strcmp(value, symbolNames[code]) == 0) {
            itemOf(record)->symbol = code;
            return 0;
        }
    hx_register_error(0, "polypoint_parse_symbol: unknown symbol '%s'.", value ? value : "");
    return -1;
}

char* polypoint_print_symbol(HX_ConfigureSpec*, HX_ClientData, char* record, int)
{
    const int code = itemOf(record)->symbol;
    return strdup(code >= 0 && code <= KGR_SYMBOL_PATH ? symbolNames[code] : "");
}

// One more point at the end of the array, started as a path point.
KgrpolypointPoint* appendPathPoint(KgrpolypointItem* item)
{
    void* grown = realloc(item->point, (item->npts + 1) * sizeof(KgrpolypointPoint));
    if (!grown) {
        hx_register_error(1, "polypoint_parse_vector2: malloc() error.\n");
        return nullptr;
    }
    item->point = static_cast<KgrpolypointPoint*>(grown);
    KgrpolypointPoint* point = &item->point[item->npts++];
    startPoint(point, 0.0, 0.0);
    point->symbol = KGR_SYMBOL_PATH;
    // Copies rather than shared records, so that the item may change its
    // path colours while the point keeps its own.
    KGR_CopyColor(&item->fill_path, &point->fill);
    KGR_CopyColor(&item->outline_path, &point->outline);
    return point;
}

int polypoint_parse_path_add(HX_ConfigureSpec*, HX_ClientData, char* value, char* record, int)
{
    const auto* from = reinterpret_cast<const KGRPolypointPath*>(value);
    if (!from)
        return 0;
    KgrpolypointPoint* point = appendPathPoint(itemOf(record));
    if (!point)
        return -1;
    // The point keeps its own copy of the path; the caller keeps its record.
    point->ppath = *from;
    point->ppath.path = from->path ? new QPainterPath(*from->path) : nullptr;
    return 0;
}

int polypoint_parse_path(HX_ConfigureSpec* spec, HX_ClientData clientData, char* value,
                         char* record, int offset)
{
    freePoints(itemOf(record));
    return polypoint_parse_path_add(spec, clientData, value, record, offset);
}

int polypoint_parse_path_qlist(HX_ConfigureSpec*, HX_ClientData, char* value, char* record, int)
{
    const auto* list = reinterpret_cast<const QList<KGR_XY>*>(value);
    if (!list)
        return 0;
    KgrpolypointPoint* point = appendPathPoint(itemOf(record));
    if (!point)
        return -1;
    auto* path = new QPainterPath;
    for (int i = 0; i < list->size(); ++i)
        if (i == 0)
            path->moveTo(list->at(i).x, list->at(i).y);
        else
            path->lineTo(list->at(i).x, list->at(i).y);
    point->ppath.path = path;
    return 0;
}

int polypoint_parse_points_free(HX_ConfigureSpec*, HX_ClientData, char*, char* record, int)
{
    freePoints(itemOf(record));
    freePaths(itemOf(record));
    return 0;
}

HX_CustomOption vectorOption = {polypoint_parse_vector, polypoint_print_vector, nullptr};
HX_CustomOption vector2Option = {polypoint_parse_vector2, polypoint_print_vector, nullptr};
HX_CustomOption symbolOption = {polypoint_parse_symbol, polypoint_print_symbol, nullptr};
HX_CustomOption pathOption = {polypoint_parse_path, nullptr, nullptr};
HX_CustomOption pathAddOption = {polypoint_parse_path_add, nullptr, nullptr};
HX_CustomOption pathQlistOption = {polypoint_parse_path_qlist, nullptr, nullptr};
HX_CustomOption pointsFreeOption = {polypoint_parse_points_free, nullptr, nullptr};

// Sets a colour from a coding's HSL values, ignoring a failure.
void setHslColor(KGR_Color* color, double hue, double saturation, double lightness)
{
    char text[64];
    snprintf(text, sizeof text, "%.1f,%.2f,%.2f", hue, saturation, lightness);
    if (KGR_ParseColor(text, color) < 0)
        hx_clear_register(0);
}

// A double truncated towards zero into an int, 0 when it does not fit.
int truncated(double v)
{
    return std::isfinite(v) && std::fabs(v) < 2147483647.0 ? static_cast<int>(v) : 0;
}

} // namespace

HX_ConfigureSpec KGRPolypoint::configSpecs[] = {
    {"custom", "vector", nullptr, offsetof(KgrpolypointItem, vechandle), HX_CONFIGURE_NULL_OK,
     &vectorOption},
    {"custom", "vector2", nullptr, offsetof(KgrpolypointItem, vechandle), HX_CONFIGURE_NULL_OK,
     &vector2Option},
    {"custom", "symbol", "square", offsetof(KgrpolypointItem, symbol), 0, &symbolOption},
    {"color", "fill_path", nullptr, offsetof(KgrpolypointItem, fill_path), HX_CONFIGURE_NULL_OK,
     nullptr},
    {"color", "outline_path", nullptr, offsetof(KgrpolypointItem, outline_path),
     HX_CONFIGURE_NULL_OK, nullptr},
    {"int", "linewidth_path", "1", offsetof(KgrpolypointItem, linewidth_path), 0, nullptr},
    {"custom", "path", nullptr, offsetof(KgrpolypointItem, point), HX_CONFIGURE_NULL_OK,
     &pathOption},
    {"custom", "path_add<KGRPolypointPath>", nullptr, offsetof(KgrpolypointItem, point),
     HX_CONFIGURE_NULL_OK, &pathAddOption},
    {"custom", "path_add<QList<KGR_XY>>", nullptr, offsetof(KgrpolypointItem, point),
     HX_CONFIGURE_NULL_OK, &pathQlistOption},
    {"custom", "path_add<QList>", nullptr, offsetof(KgrpolypointItem, point), HX_CONFIGURE_NULL_OK,
     &pathQlistOption},
    {"custom", "points_free", nullptr, offsetof(KgrpolypointItem, point), HX_CONFIGURE_NULL_OK,
     &pointsFreeOption},
    {"color", "fill", nullptr, offsetof(KgrpolypointItem, fill), HX_CONFIGURE_NULL_OK, nullptr},
    {"color", "fill_nodes", "#ff0000", offsetof(KgrpolypointItem, fill_nodes), HX_CONFIGURE_NULL_OK,
     nullptr},
    {"color", "outline", "#000000", offsetof(KgrpolypointItem, outline), HX_CONFIGURE_NULL_OK,
     nullptr},
    {"color", "outline_DC", nullptr, offsetof(KgrpolypointItem, outline_DC), HX_CONFIGURE_NULL_OK,
     nullptr},
    {"color", "textforeground", "#000000", offsetof(KgrpolypointItem, text_foreground),
     HX_CONFIGURE_NULL_OK, nullptr},
    {"font", "font", "Helvetica 12", offsetof(KgrpolypointItem, font), 0, nullptr},
    {"int", "showsymbols", "1", offsetof(KgrpolypointItem, show_symbols), 0, nullptr},
    {"int", "showtext", "0", offsetof(KgrpolypointItem, show_text), 0, nullptr},
    {"int", "linewidth", "1", offsetof(KgrpolypointItem, linewidth), 0, nullptr},
    {"int", "size", "5", offsetof(KgrpolypointItem, size), 0, nullptr},
    {"double", "opacity", "1.0", offsetof(KgrpolypointItem, opacity), 0, nullptr},
    {"end", nullptr, nullptr, 0, 0, nullptr},
};

KGRPolypoint::KGRPolypoint(KGRViewport* parent)
{
    kgrqt_construct([&] { init(parent); }, "KGRPolypoint::KGRPolypoint: init() error.");
}

KGRPolypoint::~KGRPolypoint()
{
    freePoints(&polypoint);
    freePaths(&polypoint);
    KGRConfigure_FreeRecord(configSpecs, reinterpret_cast<char*>(&polypoint));
    free(polypoint.vechandle);
    free(class_name);
}

void KGRPolypoint::init(KGRViewport* parent)
{
    kgrqt_init_item(
        this, parent, &polypoint, "KGRPolypoint", "KGRPolypoint::init: setParent() error.",
        [parent](KgrpolypointItem& p) {
            p.parent = parent;
            p.vp = parent;
            p.viewport = parent ? &parent->viewport : nullptr;
            p.linestyle = 1;
            p.beachball_arr = KGRPolypoint::beachball_arr;
        },
        [this, parent] {
            if (parent)
                parent->registerItem(this);
        });
}

void KGRPolypoint::setLayer(KGRLayer* layer)
{
    polypoint.layer = layer;
}

KgrqtSymbolGrid* KGRPolypoint::searchGrid()
{
    if (!grid || !grid->indexes(polypoint.paths))
        grid.reset(new KgrqtSymbolGrid(polypoint.paths));
    return grid->indexes(polypoint.paths) ? grid.get() : nullptr;
}

int KGRPolypoint::findClosest(int x, int y, int* ipt, double* distance, int* nearest)
{
    int imin = -1;
    *ipt = -1;
    if (!polypoint.paths)
        return 0;
    if (KgrqtSymbolGrid* g = searchGrid())
        g->findClosest(x, y, &imin, distance, nearest);
    else
        kgrqt_findclosest_polypoint(polypoint.paths, x, y, &imin, distance, nearest);
    if (imin >= 0)
        *ipt = polypoint.paths->at(imin).ipt;
    return 0;
}

QList<int>* KGRPolypoint::findInside(int x, int y)
{
    if (!polypoint.paths)
        return new QList<int>;
    if (KgrqtSymbolGrid* g = searchGrid())
        return g->findInside(x, y);
    return kgrqt_findinside_polypoint(polypoint.paths, x, y);
}

double KGRPolypoint::getOpacity(int i)
{
    if (i >= 0 && i < polypoint.npts && polypoint.point[i].fader)
        return polypoint.point[i].opacity;
    return polypoint.opacity;
}

double polypoint_coding_scale(double value, KgrpolypointCodingScaling* s)
{
    double v = (value - s->value1) * s->scale + s->coding1;
    if (s->coding_min != KGR_UNSET && v < s->coding_min)
        v = s->coding_min;
    if (s->coding_max != KGR_UNSET && v > s->coding_max)
        v = s->coding_max;
    return v;
}

int KGRPolypoint::makeSymbol(KgrpolypointCoding* coding, KgrpolypointPoint* point)
{
    if (coding->symbol != KGR_CODING_UNSET) {
        if (coding->symbol == KGR_SYMBOL_BEACHBALL)
            polypoint_make_beachball_point(point);
        else
            point->symbol = coding->symbol;
    }
    // The point takes its own copy of the coding's outline, so that neither
    // outlives a colour the other frees.
    KGR_CopyColor(&coding->ot, &point->outline);
    if (coding->color != KGR_CODING_UNSET) {
        point->color = coding->color;
        if (coding->color != 2) {
            KGR_CopyColor(&coding->fi, &point->fill);
            KGR_CopyColor(&coding->fin, &point->fill_nodes);
        } else {
            // Depth colouring: blue deep, through green, to red shallow.
            const double d = point->color_value / -650.0;
            double hue = (d + 1.0) * 240.0;
            while (hue < 0.0)
                hue += 360.0;
            while (hue > 360.0)
                hue -= 360.0;
            if (!std::isfinite(hue))
                hue = 0.0;
            if (point->symbol == KGR_SYMBOL_BEACHBALL && point->P_nodes) {
                setHslColor(&point->fill, hue, 1.0, 0.05 * d + 0.9);
                setHslColor(&point->fill_nodes, hue, 1.0, 0.3 * d + 0.8);
            } else {
                setHslColor(&point->fill, hue, 1.0, 0.3 * d + 0.8);
            }
        }
    }
    if (coding->size != KGR_CODING_UNSET) {
        if (coding->size == 2 || coding->size == 3)
            point->size =
                truncated(polypoint_coding_scale(point->size_value, &coding->size_scaling) *
                          coding->size_gain);
        else
            point->size = truncated(coding->size_constant * coding->size_gain);
    }
    if (coding->fader == 1) {
        point->fader = 1;
        point->opacity = coding->fader_constant * coding->fader_gain;
    } else if (coding->fader == 2 || coding->fader == 3) {
        point->fader = coding->fader;
        point->opacity =
            polypoint_coding_scale(point->fader_value, &coding->fader_scaling) * coding->fader_gain;
    } else if (coding->fader != KGR_CODING_UNSET) {
        point->fader = coding->fader;
    }
    return 0;
}

void KGRPolypoint::paintEvent(QPaintEvent*)
{
    QPainter painter;
    if (!kgrqt_begin_item_paint(this, polypoint.layer, polypoint.viewport, debug, "polypoint",
                                painter))
        return;
    if (!polypoint.layer && polypoint.viewport) {
        const KgrviewportItem* vp = polypoint.viewport;
        painter.setClipRect(vp->mleft, vp->mtop, vp->w - vp->mleft - vp->mright,
                            vp->h - vp->mtop - vp->mbottom);
        painter.setRenderHint(QPainter::Antialiasing);
    }
    draw(painter);
}
