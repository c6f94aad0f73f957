// The polyline item: one line of points taken from a point vector, a time
// history, an in-memory list or a built-in test curve.
#include "KGRPolyline.h"
#include "KGRLayer.h"
#include "KGRViewport.h"
#include "kgrqt_engine.h"
#include "kgrqt_trace.h"

#include <QColor>
#include <QList>
#include <QPainter>
#include <QPainterPath>
#include <QPixmap>

#include <cmath>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

KgrpolylineItem* itemOf(char* record)
{
    return reinterpret_cast<KgrpolylineItem*>(record);
}

bool isEmpty(const char* value)
{
    return !value || !*value;
}

const char* nameOf(const void* object)
{
    const char* name = HX_GetName(object, nullptr);
    return name ? name : "(null)";
}

// ------------------------------------------------------------ point data

bool sameValues(const double* a, const double* b, int n)
{
    return n == 0 || (a && b && memcmp(a, b, static_cast<size_t>(n) * sizeof(double)) == 0);
}

// A malloc'd copy of n values, or null (also when n is 0).
double* copyValues(const double* values, int n)
{
    if (n <= 0 || !values)
        return nullptr;
    double* copy = static_cast<double*>(malloc(static_cast<size_t>(n) * sizeof(double)));
    if (copy)
        memcpy(copy, values, static_cast<size_t>(n) * sizeof(double));
    return copy;
}

// Marks the row changed when the new points differ from the item's.
void markIfChanged(HX_ConfigureSpec* spec, const KgrpolylineItem* item, int npts, const double* x,
                   const double* y)
{
    if (npts != item->npts || !sameValues(x, item->xpts, npts) || !sameValues(y, item->ypts, npts))
        spec->specFlags |= HX_CONFIGURE_CHANGED;
}

// A long trace is summarised as soon as it is loaded, so that every view,
// the first one too, reads the summary and not the samples.
void summarizeLongTrace(const KgrpolylineItem* item)
{
    if (item->npts >= kgrqt_trace_tuning().min_points && item->xpts && item->ypts)
        kgrqt_trace_summary(item);
}

// Frees the item's arrays and takes over new ones; the capacities follow,
// so a later in-place refill sees what was really allocated.
void replacePoints(KgrpolylineItem* item, int npts, double* x, double* y)
{
    kgrqt_trace_forget(item);
    free(item->xpts);
    free(item->ypts);
    item->npts = npts;
    item->xpts = x;
    item->ypts = y;
    item->xpts_size = x ? npts : 0;
    item->ypts_size = y ? npts : 0;
    summarizeLongTrace(item);
}

// Takes new points from a source, marking the row when they differ.
void takePoints(HX_ConfigureSpec* spec, KgrpolylineItem* item, int npts, double* x, double* y)
{
    markIfChanged(spec, item, npts, x, y);
    replacePoints(item, npts, x, y);
}

void replaceString(char** field, char* copy)
{
    free(*field);
    *field = copy;
}

char* printString(const char* s)
{
    return strdup(s ? s : "");
}

// --------------------------------------------------------------- sources

// The name part of a "name:index" handle as a malloc'd string, with the
// index (atoi, 0 when absent) in *index; null when memory ran out.
char* cutHandle(const char* value, int* index)
{
    char* handle = strdup(value);
    char* colon = handle ? strchr(handle, ':') : nullptr;
    *index = colon ? atoi(colon + 1) : 0;
    if (colon)
        *colon = '\0';
    return handle;
}

int polyline_parse_vector2(HX_ConfigureSpec* spec, HX_ClientData, char* value, char* record, int)
{
    if (isEmpty(value))
        return 0;
    KgrpolylineItem* item = itemOf(record);
    int index = 0;
    char* copy = strdup(value);
    char* handle = cutHandle(value, &index);
    if (!copy || !handle) {
        free(copy);
        free(handle);
        hx_register_error(1, "polyline_parse_vector2: Cannot copy handle '%s'\n", value);
        return -1;
    }
    // The arrays are refilled in place; the old points are kept aside only
    // to tell whether anything changed.
    const int oldN = item->npts;
    double* oldX = copyValues(item->xpts, oldN);
    double* oldY = copyValues(item->ypts, oldN);
    int npts = 0, spare = 0;
    kgrqt_trace_forget(item);
    int result = hxvector2_get_points(handle, index, &npts, &spare, &item->xpts, &item->xpts_size,
                                      &item->ypts, &item->ypts_size, 0);
    if (result < 0) {
        hx_register_error(0, "polyline_parse_vector2: hxvector2_get_points(%s) error.", handle);
        free(copy);
    } else {
        markIfChanged(spec, item, npts, oldX, oldY); // item->npts is still the old count
        replaceString(&item->vechandle, copy);
        item->npts = npts;
        summarizeLongTrace(item);
    }
    free(oldX);
    free(oldY);
    free(handle);
    return result < 0 ? -1 : 0;
}

int polyline_parse_vector(HX_ConfigureSpec* spec, HX_ClientData clientData, char* value,
                          char* record, int offset)
{
    if (isEmpty(value))
        return 0;
    KgrpolylineItem* item = itemOf(record);
    if (hxvector_get_vector(value)) {
        char* copy = strdup(value);
        int npts = 0, index = 0;
        double *x = nullptr, *y = nullptr;
        if (!copy || hxvector_get_points(value, &npts, &index, &x, &y, 0) < 0) {
            hx_register_error(0, "polyline_parse_vector: hxvector_get_points(%s) error.", value);
            free(copy);
            return -1;
        }
        takePoints(spec, item, npts, x, y);
        replaceString(&item->vechandle, copy);
        return 0;
    }
    if (hxvector2_get_vector(value)) {
        hx_clear_register(0);
        return polyline_parse_vector2(spec, clientData, value, record, offset);
    }
    hx_register_error(
        0, "polyline_parse_vector: Cannot find hxvector or hxvector2 corresponding to handle '%s'.",
        value);
    return -1;
}

int polyline_parse_thistory(HX_ConfigureSpec* spec, HX_ClientData, char* value, char* record, int)
{
    if (isEmpty(value))
        return 0;
    KgrpolylineItem* item = itemOf(record);
    char* copy = strdup(value);
    int npts = 0;
    double *x = nullptr, *y = nullptr;
    if (!copy || hxhistory_get_points(value, &npts, &x, &y) < 0) {
        hx_register_error(0, "polyline_parse_thistory: hxhistory_get_points(%s) error.", value);
        free(copy);
        return -1;
    }
    takePoints(spec, item, npts, x, y);
    replaceString(&item->thandle, copy);
    return 0;
}

// The value is the address of a QList<KGR_XY>, handed through configure as
// a pointer; null reads as an empty list.
int polyline_parse_qlist(HX_ConfigureSpec* spec, HX_ClientData, char* value, char* record, int)
{
    KgrpolylineItem* item = itemOf(record);
    const auto* list = reinterpret_cast<const QList<KGR_XY>*>(value);
    const int n = list ? list->size() : 0;
    if (item->npts || n)
        spec->specFlags |= HX_CONFIGURE_CHANGED;
    replacePoints(item, 0, nullptr, nullptr);
    if (n == 0)
        return 0;
    double* x = static_cast<double*>(malloc(n * sizeof(double)));
    double* y = static_cast<double*>(malloc(n * sizeof(double)));
    if (!x || !y) {
        free(x);
        free(y);
        return -1;
    }
    for (int i = 0; i < n; ++i) {
        x[i] = list->at(i).x;
        y[i] = list->at(i).y;
    }
    replacePoints(item, n, x, y);
    return 0;
}

// The built-in test curve: flat up to x = 1, then a wave decaying as 1/x.
int test_get_points(int* npts, double** x, double** y)
{
    const int n = 1000;
    *x = static_cast<double*>(malloc(n * sizeof(double)));
    *y = static_cast<double*>(malloc(n * sizeof(double)));
    if (!*x || !*y) {
        free(*x);
        free(*y);
        return -1;
    }
    for (int i = 0; i < n; ++i) {
        double xi = i * 0.01;
        (*x)[i] = xi;
        (*y)[i] = xi <= 1.0 ? 0.0 : sin(2.0 * 3.141592653589793 * (xi - 1.0)) / xi;
    }
    *npts = n;
    return 0;
}

int polyline_parse_test(HX_ConfigureSpec* spec, HX_ClientData, char* value, char* record, int)
{
    if (!value)
        return 0;
    int npts = 0;
    double *x = nullptr, *y = nullptr;
    if (test_get_points(&npts, &x, &y) < 0) {
        hx_register_error(1, "polyline_parse_test: test_get_points() error.\n");
        return -1;
    }
    takePoints(spec, itemOf(record), npts, x, y);
    return 0;
}

char* polyline_print_vector(HX_ConfigureSpec*, HX_ClientData, char* record, int)
{
    return printString(itemOf(record)->vechandle);
}

char* polyline_print_thistory(HX_ConfigureSpec*, HX_ClientData, char* record, int)
{
    return printString(itemOf(record)->thandle);
}

char* polyline_print_test(HX_ConfigureSpec*, HX_ClientData, char*, int)
{
    return strdup("test");
}

HX_CustomOption vectorOption = {polyline_parse_vector, polyline_print_vector, nullptr};
HX_CustomOption vector2Option = {polyline_parse_vector2, polyline_print_vector, nullptr};
HX_CustomOption thistoryOption = {polyline_parse_thistory, polyline_print_thistory, nullptr};
HX_CustomOption qlistOption = {polyline_parse_qlist, nullptr, nullptr};
HX_CustomOption testOption = {polyline_parse_test, polyline_print_test, nullptr};

// --------------------------------------------------------------- drawing

// The item's points as a path in pixels of the plotting area, or null. The
// wrapping of geographic modes shifts the item's own longitudes in place.
QPainterPath* polyline_build_path(KgrpolylineItem* item)
{
    KgrviewportItem* vp = item->viewport;
    if (vp->wtran == KGR_WTRAN_MERC || vp->wtran == KGR_WTRAN_GEOG)
        return kgrqt_wrap_longitudes(vp, item->npts, item->xpts, item->ypts, 0, 0);
    KGRPolyDraw draw(vp, 0);
    return draw.addPoints(new QPainterPath, item->npts, item->xpts, item->ypts, 0, 0);
}

// Draws a path of the plotting area, kept inside that area. Only an
// outlined item draws: a fill colour alone sets the brush and nothing more.
void polyline_draw_path(QPainter& painter, KgrpolylineItem* item, int pw, int ph,
                        const QPainterPath& path)
{
    if (item->fill.color)
        kgrqt_setup_fill(&painter, item->fill.color);
    if (!item->outline.color)
        return;
    kgrqt_setup_line(&painter, item->outline.color, item->linewidth, item->linestyle, -1);
    const KgrviewportItem* vp = item->viewport;
    painter.save();
    painter.setClipRect(vp->mleft, vp->mtop, pw, ph, Qt::IntersectClip);
    painter.translate(vp->mleft, vp->mtop);
    painter.drawPath(path);
    painter.restore();
}

} // namespace

HX_ConfigureSpec KGRPolyline::configSpecs[] = {
    // The sources write several fields; each row names the one it prints.
    {"custom", "vector", nullptr, offsetof(KgrpolylineItem, vechandle), HX_CONFIGURE_NULL_OK,
     &vectorOption},
    {"custom", "vector2", nullptr, offsetof(KgrpolylineItem, vechandle), HX_CONFIGURE_NULL_OK,
     &vector2Option},
    {"custom", "thistory", nullptr, offsetof(KgrpolylineItem, thandle), HX_CONFIGURE_NULL_OK,
     &thistoryOption},
    {"custom", "qlist", nullptr, offsetof(KgrpolylineItem, npts), HX_CONFIGURE_NULL_OK,
     &qlistOption},
    {"custom", "test", nullptr, offsetof(KgrpolylineItem, npts), HX_CONFIGURE_NULL_OK, &testOption},
    {"color", "fill", nullptr, offsetof(KgrpolylineItem, fill), HX_CONFIGURE_NULL_OK, nullptr},
    {"color", "outline", nullptr, offsetof(KgrpolylineItem, outline), HX_CONFIGURE_NULL_OK,
     nullptr},
    {"int", "linewidth", "1", offsetof(KgrpolylineItem, linewidth), 0, nullptr},
    {"string", "label", "", offsetof(KgrpolylineItem, label), HX_CONFIGURE_NULL_OK, nullptr},
    {"end", nullptr, nullptr, 0, 0, nullptr},
};

KGRPolyline::KGRPolyline(KGRViewport* viewport)
{
    kgrqt_construct([&] { init(viewport); }, "KGRPolyline::KGRPolyline: init() error.");
}

KGRPolyline::~KGRPolyline()
{
    kgrqt_trace_forget(&polyline);
    KGR_ClearColor(&polyline.fill);
    KGR_ClearColor(&polyline.outline);
    free(polyline.label);
    free(polyline.xpts);
    free(polyline.ypts);
    free(polyline.vechandle);
    free(polyline.thandle);
    free(class_name);
}

void KGRPolyline::init(KGRViewport* viewport)
{
    kgrqt_init_item(
        this, viewport, &polyline, "KGRPolyline", "KGRPolyline::init: setParent() error.",
        [viewport](KgrpolylineItem& p) {
            p.parent = viewport;
            p.vp = viewport;
            p.viewport = viewport ? &viewport->viewport : nullptr;
            p.tr = dbinvalid();
            p.linestyle = 1;
        },
        [this, viewport] {
            if (viewport)
                viewport->registerItem(this);
        });
}

void KGRPolyline::setLayer(KGRLayer* layer)
{
    polyline.layer = layer;
}

void KGRPolyline::paintEvent(QPaintEvent*)
{
    KGRLayer* layer = polyline.layer;
    if (!layer) {
        if (debug)
            printf("Painting polyline %s.\n", nameOf(this));
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        draw(painter);
        return;
    }
    if (!polyline.viewport)
        return;
    layer->setSize(polyline.viewport->w, polyline.viewport->h);
    if (!layer->layer.stale || !layer->layer.pixmap || layer->layer.pixmap->isNull())
        return;
    if (debug)
        printf("Painting polyline %s to layer %s.\n", nameOf(this), nameOf(layer));
    QPainter painter(layer->layer.pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    draw(painter);
}

void KGRPolyline::draw(QPainter& painter)
{
    KgrviewportItem* vp = polyline.viewport;
    int pw = 0, ph = 0;
    double x1, x2, sx, y1, y2, sy;
    if (!vp || polyline.npts < 1 || !polyline.xpts || !polyline.ypts ||
        kgrqt_get_scales(vp, &pw, &ph, &x1, &x2, &sx, &y1, &y2, &sy) != 0)
        return;
    // A long trace sorted in x is drawn from its reduction to what each
    // pixel column shows; a filled one keeps its whole outline.
    QPainterPath* path = nullptr;
    if (!polyline.fill.color && polyline.outline.color)
        path = kgrqt_trace_path(&polyline, pw, ph, polyline.linewidth,
                                painter.testRenderHint(QPainter::Antialiasing));
    if (!path)
        path = polyline_build_path(&polyline);
    if (path)
        polyline_draw_path(painter, &polyline, pw, ph, *path);
    delete path;
}
