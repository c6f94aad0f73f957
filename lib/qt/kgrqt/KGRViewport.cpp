#include "KGRViewport.h"
#include "KGRLayer.h"
#include "kgrqt_engine.h"

#include <QGridLayout>
#include <QPainter>
#include <QPainterPath>
#include <QResizeEvent>

#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdarg>
#include <cstddef>
#include <cstdio>

namespace {

KgrviewportItem* itemOf(char* record)
{
    return reinterpret_cast<KgrviewportItem*>(record);
}

template <typename T> T* fieldOf(char* record, int offset)
{
    return reinterpret_cast<T*>(record + offset);
}

// Stores value into a field and marks the row changed when it differs.
template <typename T> void storeOption(HX_ConfigureSpec* spec, T* field, T value)
{
    if (*field != value)
        spec->specFlags |= HX_CONFIGURE_CHANGED;
    *field = value;
}

bool isEmpty(const char* value)
{
    return !value || !*value;
}

char* printf_dup(const char* format, ...) __attribute__((format(printf, 1, 2)));
char* printf_dup(const char* format, ...)
{
    char buf[128];
    va_list args;
    va_start(args, format);
    vsnprintf(buf, sizeof buf, format, args);
    va_end(args);
    return strdup(buf);
}

// --------------------------------------------------------- word options

const char* const modeWords[] = {"lin", "log", "time", nullptr};
const char* const tranWords[] = {"none", "edp", "merc", "geog", nullptr};

int wordIndex(const char* const* words, const char* value)
{
    for (int i = 0; value && words[i]; ++i)
        if (strcmp(words[i], value) == 0)
            return i;
    return -1;
}

int viewport_parse_mode(HX_ConfigureSpec* spec, HX_ClientData, char* value, char* record,
                        int offset)
{
    int mode = wordIndex(modeWords, value);
    if (mode < 0) {
        hx_register_error(0, "viewport_parse_mode: illegal value for mode: '%s'\n",
                          value ? value : "");
        return -1;
    }
    storeOption(spec, fieldOf<int>(record, offset), mode);
    return 0;
}

char* viewport_print_mode(HX_ConfigureSpec*, HX_ClientData, char* record, int offset)
{
    int mode = *fieldOf<int>(record, offset);
    return strdup(mode >= 0 && mode <= 2 ? modeWords[mode] : "");
}

int viewport_parse_tran(HX_ConfigureSpec* spec, HX_ClientData, char* value, char* record,
                        int offset)
{
    int tran = wordIndex(tranWords, value);
    if (tran < 0) {
        hx_register_error(0, "viewport_parse_tran: illegal value for tran: '%s'\n",
                          value ? value : "");
        return -1;
    }
    storeOption(spec, fieldOf<int>(record, offset), tran);
    return 0;
}

char* viewport_print_tran(HX_ConfigureSpec*, HX_ClientData, char* record, int offset)
{
    int tran = *fieldOf<int>(record, offset);
    return strdup(tran >= 0 && tran <= 3 ? tranWords[tran] : "");
}

char* viewport_print_int(HX_ConfigureSpec*, HX_ClientData, char* record, int offset)
{
    return printf_dup("%d", *fieldOf<int>(record, offset));
}

// ------------------------------------------------------------- bounds

double timeOrNumber(int mode, const char* value)
{
    return mode == KGR_MODE_TIME ? str2epoch(value) : atof(value);
}

int viewport_parse_xbb(HX_ConfigureSpec* spec, HX_ClientData, char* value, char* record, int offset)
{
    double v = isEmpty(value) ? KGR_UNSET : timeOrNumber(itemOf(record)->xmode, value);
    storeOption(spec, fieldOf<double>(record, offset), v);
    return 0;
}

char* viewport_print_xbb(HX_ConfigureSpec*, HX_ClientData, char* record, int offset)
{
    return printf_dup("%.15e", *fieldOf<double>(record, offset));
}

int viewport_parse_ybb(HX_ConfigureSpec* spec, HX_ClientData, char* value, char* record, int offset)
{
    KgrviewportItem* vp = itemOf(record);
    double v = KGR_UNSET;
    if (!isEmpty(value)) {
        if (vp->ymode == KGR_MODE_TIME)
            v = str2epoch(value);
        else if (vp->wtran == KGR_WTRAN_MERC)
            v = kgrqt_mercator_y(atof(value));
        else
            v = atof(value);
    }
    storeOption(spec, fieldOf<double>(record, offset), v);
    return 0;
}

char* viewport_print_ybb(HX_ConfigureSpec*, HX_ClientData, char* record, int offset)
{
    double v = *fieldOf<double>(record, offset);
    if (itemOf(record)->wtran == KGR_WTRAN_MERC)
        v = kgrqt_mercator_lat(v);
    return printf_dup("%.15e", v);
}

// --------------------------------------------------- pan and zoom gains

bool isApply(const char* value)
{
    return value && strcmp(value, "apply") == 0;
}

// Makes the shown box of one axis the specified one.
void applyShownBox(KgrviewportItem* vp, bool xAxis)
{
    if (xAxis) {
        vp->spc_xleft = vp->xleft;
        vp->spc_xright = vp->xright;
    } else {
        vp->spc_ybottom = vp->ybottom;
        vp->spc_ytop = vp->ytop;
    }
}

int parseOffset(HX_ConfigureSpec* spec, char* value, char* record, int offset, bool xAxis)
{
    KgrviewportItem* vp = itemOf(record);
    int* field = fieldOf<int>(record, offset);
    int v = 0;
    if (isApply(value))
        applyShownBox(vp, xAxis);
    else if (!isEmpty(value))
        v = atoi(value);
    if (*field == v)
        return 0;
    storeOption(spec, field, v);
    kgrqt_translate_and_gain(vp, vp->xoffset, vp->yoffset, vp->xgain_anchor, vp->ygain_anchor,
                             vp->xgain, vp->ygain);
    return 0;
}

int viewport_parse_xoff(HX_ConfigureSpec* spec, HX_ClientData, char* value, char* record,
                        int offset)
{
    return parseOffset(spec, value, record, offset, true);
}

int viewport_parse_yoff(HX_ConfigureSpec* spec, HX_ClientData, char* value, char* record,
                        int offset)
{
    return parseOffset(spec, value, record, offset, false);
}

int parseGain(HX_ConfigureSpec* spec, char* value, char* record, int offset, bool xAxis)
{
    double v = 1.0;
    if (isApply(value))
        applyShownBox(itemOf(record), xAxis);
    else if (!isEmpty(value))
        v = atof(value);
    // The shown box follows at the next draw.
    storeOption(spec, fieldOf<double>(record, offset), v);
    return 0;
}

int viewport_parse_xgain(HX_ConfigureSpec* spec, HX_ClientData, char* value, char* record,
                         int offset)
{
    return parseGain(spec, value, record, offset, true);
}

int viewport_parse_ygain(HX_ConfigureSpec* spec, HX_ClientData, char* value, char* record,
                         int offset)
{
    return parseGain(spec, value, record, offset, false);
}

char* viewport_print_gain(HX_ConfigureSpec*, HX_ClientData, char* record, int offset)
{
    return printf_dup("%.3f", *fieldOf<double>(record, offset));
}

// ------------------------------------------------------------ margins

// Reads a whole list element as an integer (strtol base 0).
bool readInteger(const char* word, int* out)
{
    char* end = nullptr;
    errno = 0;
    long v = strtol(word, &end, 0);
    if (end == word || *end || errno == ERANGE || v < INT_MIN || v > INT_MAX)
        return false;
    *out = static_cast<int>(v);
    return true;
}

bool readNumber(const char* word, double* out)
{
    char* end = nullptr;
    *out = fix_strtod(word, &end);
    return end != word && !*end;
}

int viewport_parse_margin(HX_ConfigureSpec* spec, HX_ClientData, char* value, char* record, int)
{
    static const char* const names[] = {"mleft", "mright", "mbottom", "mtop"};
    int argc = 0;
    char** argv = nullptr;
    if (splitlist(value ? value : "", &argc, &argv) < 0) {
        hx_register_error(0, "viewport_parse_margin: Cannot parse margin '%s'\n",
                          value ? value : "");
        return -1;
    }
    if (argc > 4) {
        hx_register_error(0, "viewport_parse_margin: Unable to parse '%s' - too many arguments.\n",
                          value);
        freeargs(argc, argv);
        return -1;
    }
    int margins[4] = {0, 0, 0, 0};
    for (int i = 0; i < argc; ++i) {
        if (!readInteger(argv[i], &margins[i])) {
            hx_register_error(0, "viewport_parse_margin: Unable to parse '%s' for %s.\n", argv[i],
                              names[i]);
            freeargs(argc, argv);
            return -1;
        }
    }
    freeargs(argc, argv);
    KgrviewportItem* vp = itemOf(record);
    storeOption(spec, &vp->mleft, margins[0]);
    storeOption(spec, &vp->mright, margins[1]);
    storeOption(spec, &vp->mbottom, margins[2]);
    storeOption(spec, &vp->mtop, margins[3]);
    return 0;
}

char* viewport_print_margin(HX_ConfigureSpec*, HX_ClientData, char* record, int)
{
    KgrviewportItem* vp = itemOf(record);
    return printf_dup("%d %d %d %d", vp->mleft, vp->mright, vp->mbottom, vp->mtop);
}

// Splits value into exactly count numbers. The messages name the option's
// procedure, its usage text and the element names.
bool readNumbers(const char* proc, const char* option, const char* usage, const char* const* names,
                 int count, const char* value, double* out)
{
    int argc = 0;
    char** argv = nullptr;
    if (splitlist(value, &argc, &argv) < 0) {
        hx_register_error(0, "%s: Cannot parse %s '%s'\n", proc, option, value);
        return false;
    }
    bool ok = argc == count;
    if (!ok)
        hx_register_error(0, "%s: Unable to parse '%s' - Need %d arguments (%s).\n", proc, value,
                          count, usage);
    for (int i = 0; ok && i < count; ++i) {
        ok = readNumber(argv[i], &out[i]);
        if (!ok)
            hx_register_error(0, "%s: Unable to parse '%s' for %s.\n", proc, argv[i], names[i]);
    }
    freeargs(argc, argv);
    return ok;
}

void zoomAxis(double w, double factor, double lo, double hi, double* spcLo, double* spcHi)
{
    double f = (w - lo) / (hi - lo);
    double d = (hi - lo) * factor;
    *spcLo = w - f * d;
    *spcHi = w + (1.0 - f) * d;
}

int viewport_parse_zoom(HX_ConfigureSpec* spec, HX_ClientData, char* value, char* record, int)
{
    static const char* const names[] = {"xw", "yw", "factor", "factor"};
    if (isEmpty(value))
        return 0;
    double v[4];
    if (!readNumbers("viewport_parse_zoom", "zoom", "xw, yw, xfactor, yfactor", names, 4, value, v))
        return -1;
    KgrviewportItem* vp = itemOf(record);
    // Normalise the point the way the plane stores it.
    double px = 0, py = 0, xw = v[0], yw = v[1];
    if (kgrqt_get_pcoords(vp, v[0], v[1], &px, &py, 0, 0) == 0)
        kgrqt_get_wcoords(vp, px, py, &xw, &yw, 1, 0);
    zoomAxis(xw, v[2], vp->xleft, vp->xright, &vp->spc_xleft, &vp->spc_xright);
    zoomAxis(yw, v[3], vp->ybottom, vp->ytop, &vp->spc_ybottom, &vp->spc_ytop);
    spec->specFlags |= HX_CONFIGURE_CHANGED;
    return 0;
}

int viewport_parse_center(HX_ConfigureSpec* spec, HX_ClientData, char* value, char* record, int)
{
    static const char* const names[] = {"xwc", "ywc"};
    if (isEmpty(value))
        return 0;
    double c[2];
    if (!readNumbers("viewport_parse_center", "center", "xwc, ywc", names, 2, value, c))
        return -1;
    KgrviewportItem* vp = itemOf(record);
    double dx = vp->xright - vp->xleft, dy = vp->ytop - vp->ybottom;
    if (vp->wtran == KGR_WTRAN_EDP) {
        vp->latr = c[1];
        vp->lonr = c[0];
        c[0] = c[1] = 0.0;
    }
    vp->spc_xleft = c[0] - dx / 2;
    vp->spc_xright = c[0] + dx / 2;
    vp->spc_ybottom = c[1] - dy / 2;
    vp->spc_ytop = c[1] + dy / 2;
    spec->specFlags |= HX_CONFIGURE_CHANGED;
    return 0;
}

HX_CustomOption printInt = {nullptr, viewport_print_int, nullptr};
HX_CustomOption xoffOption = {viewport_parse_xoff, viewport_print_int, nullptr};
HX_CustomOption yoffOption = {viewport_parse_yoff, viewport_print_int, nullptr};
HX_CustomOption xgainOption = {viewport_parse_xgain, viewport_print_gain, nullptr};
HX_CustomOption ygainOption = {viewport_parse_ygain, viewport_print_gain, nullptr};
HX_CustomOption tranOption = {viewport_parse_tran, viewport_print_tran, nullptr};
HX_CustomOption modeOption = {viewport_parse_mode, viewport_print_mode, nullptr};
HX_CustomOption marginOption = {viewport_parse_margin, viewport_print_margin, nullptr};
HX_CustomOption xbbOption = {viewport_parse_xbb, viewport_print_xbb, nullptr};
HX_CustomOption ybbOption = {viewport_parse_ybb, viewport_print_ybb, nullptr};
HX_CustomOption zoomOption = {viewport_parse_zoom, nullptr, nullptr};
HX_CustomOption centerOption = {viewport_parse_center, nullptr, nullptr};

#define VP_FIELD(f) static_cast<int>(offsetof(KgrviewportItem, f))

} // namespace

HX_ConfigureSpec KGRViewport::configSpecs[] = {
    {"int", "x", "0", VP_FIELD(x), 0, nullptr},
    {"int", "y", "0", VP_FIELD(y), 0, nullptr},
    {"int", "width", "0", VP_FIELD(spc_w), 0, nullptr},
    {"int", "height", "0", VP_FIELD(spc_h), 0, nullptr},
    {"custom", "display_width", nullptr, VP_FIELD(w), 8, &printInt},
    {"custom", "display_height", nullptr, VP_FIELD(h), 8, &printInt},
    {"int", "mleft", "0", VP_FIELD(mleft), 0, nullptr},
    {"int", "mright", "0", VP_FIELD(mright), 0, nullptr},
    {"int", "mbottom", "0", VP_FIELD(mbottom), 0, nullptr},
    {"int", "mtop", "0", VP_FIELD(mtop), 0, nullptr},
    {"custom", "xtranslate", "0", VP_FIELD(xoffset), 1, &xoffOption},
    {"custom", "ytranslate", "0", VP_FIELD(yoffset), 1, &yoffOption},
    {"custom", "xgain", "1.0", VP_FIELD(xgain), 1, &xgainOption},
    {"custom", "ygain", "1.0", VP_FIELD(ygain), 1, &ygainOption},
    {"int", "xgain_anchor", "0", VP_FIELD(xgain_anchor), 0, nullptr},
    {"int", "ygain_anchor", "0", VP_FIELD(ygain_anchor), 0, nullptr},
    {"custom", "wtran", "none", VP_FIELD(wtran), 0, &tranOption},
    {"double", "latr", "0.0", VP_FIELD(latr), 0, nullptr},
    {"double", "lonr", "0.0", VP_FIELD(lonr), 0, nullptr},
    {"double", "opacity", "1.0", VP_FIELD(opacity), 0, nullptr},
    {"custom", "xmode", "lin", VP_FIELD(xmode), 0, &modeOption},
    {"custom", "ymode", "lin", VP_FIELD(ymode), 0, &modeOption},
    {"custom", "margin", nullptr, 0, 8, &marginOption},
    {"custom", "xright", nullptr, VP_FIELD(spc_xright), 1, &xbbOption},
    {"custom", "xleft", nullptr, VP_FIELD(spc_xleft), 1, &xbbOption},
    {"custom", "x0", "0.0", VP_FIELD(x0), 0, &xbbOption},
    {"boolean", "preserve_xscale", "0", VP_FIELD(preserve_xscale), 0, nullptr},
    {"custom", "ybottom", nullptr, VP_FIELD(spc_ybottom), 1, &ybbOption},
    {"custom", "ytop", nullptr, VP_FIELD(spc_ytop), 1, &ybbOption},
    {"custom", "y0", "0.0", VP_FIELD(y0), 0, &ybbOption},
    {"custom", "zoom", nullptr, 0, 1, &zoomOption},
    {"custom", "center", nullptr, 0, 1, &centerOption},
    {"boolean", "preserve_yscale", "0", VP_FIELD(preserve_yscale), 0, nullptr},
    {"double", "constant_aspect", "0.0", VP_FIELD(constant_aspect), 0, nullptr},
    {"boolean", "center_yscale", "0", VP_FIELD(center_yscale), 0, nullptr},
    {"color", "fill", nullptr, VP_FIELD(background), 1, nullptr},
    {"color", "fill_frame", nullptr, VP_FIELD(background_frame), 1, nullptr},
    {"end", nullptr, nullptr, 0, 0, nullptr},
};

KGRViewport::KGRViewport(QWidget* parent)
{
    kgrqt_construct([&] { init(parent); }, "KGRViewport::KGRViewport: init() error");
}

KGRViewport::~KGRViewport()
{
    KGR_ClearColor(&viewport.background);
    KGR_ClearColor(&viewport.background_frame);
    delete viewport.resize_event;
    free(class_name);
}

void KGRViewport::init(QWidget* parent)
{
    kgrqt_init_item(
        this, parent, &viewport, "KGRViewport", "KGRViewport::init: setParent() error",
        [parent](KgrviewportItem& vp) {
            vp.anchor = KGR_ANCHOR_NW;
            vp.parent = parent;
            for (double* bound :
                 {&vp.xleft, &vp.xright, &vp.ybottom, &vp.ytop, &vp.spc_xleft, &vp.spc_xright,
                  &vp.spc_ybottom, &vp.spc_ytop, &vp.xmin, &vp.xmax, &vp.ymin, &vp.ymax})
                *bound = KGR_UNSET;
            vp.xmode = vp.ymode = KGR_MODE_LIN;
        },
        [this] {
            layout = new QGridLayout;
            layout->setSpacing(0);
            layout->setContentsMargins(0, 0, 0, 0);
            setLayout(layout);
            raise();
        });
}

void KGRViewport::registerItem(QWidget* item)
{
    layout->addWidget(item, 0, 0, 1, 1);
    item->raise();
}

void KGRViewport::setLayer(KGRLayer* layer)
{
    viewport.layer = layer;
}

int KGRViewport::wcoords(double x, double y, double* wx, double* wy, int flag)
{
    return kgrqt_get_wcoords(&viewport, x, y, wx, wy, flag, 0);
}

int KGRViewport::pcoords(double wx, double wy, double* px, double* py, int flag)
{
    return kgrqt_get_pcoords(&viewport, wx, wy, px, py, flag, 0);
}

int KGRViewport::isInsideViewport(int x, int y)
{
    const KgrviewportItem& vp = viewport;
    return vp.mleft <= x && x <= vp.w - vp.mright && vp.mtop <= y && y <= vp.h - vp.mbottom;
}

void KGRViewport::registerPaintCallback(KGR_EventCallbackProc* proc, void* clientdata)
{
    viewport.paint_callback_proc = proc;
    viewport.paint_callback_clientdata = clientdata;
}

void KGRViewport::setPaintStale()
{
    viewport.paint_stale = KGR_EVENT_PAINT_STALE;
}

void KGRViewport::paintCallback()
{
    if (viewport.paint_callback_proc && viewport.paint_stale)
        viewport.paint_callback_proc(viewport.paint_stale, viewport.paint_callback_clientdata,
                                     viewport.resize_event);
    viewport.paint_stale = 0;
}

void KGRViewport::computeBB()
{
    KgrviewportItem& vp = viewport;
    int w = vp.w ? vp.w : 2000;
    int h = vp.h ? vp.h : 2000;
    int x = vp.x, y = vp.y;
    switch (vp.anchor) {
    case KGR_ANCHOR_N:
        x -= w / 2;
        break;
    case KGR_ANCHOR_NE:
        x -= w;
        break;
    case KGR_ANCHOR_E:
        x -= w;
        y -= h / 2;
        break;
    case KGR_ANCHOR_SE:
        x -= w;
        y -= h;
        break;
    case KGR_ANCHOR_S:
        x -= w / 2;
        y -= h;
        break;
    case KGR_ANCHOR_SW:
        y -= h;
        break;
    case KGR_ANCHOR_W:
        y -= h / 2;
        break;
    case KGR_ANCHOR_NW:
        break;
    case KGR_ANCHOR_CENTER:
        x -= w / 2;
        y -= h / 2;
        break;
    }
    vp.header = Kgrheader{x, y, x + w, y + h};
    if (debug)
        printf("KGRViewport::computeBB: %d %d %d %d\n", x, y, x + w, y + h);
}

void KGRViewport::computeMapBB()
{
    KgrviewportItem& vp = viewport;
    if (vp.wtran == KGR_WTRAN_EDP) {
        kgrqt_delbox2llbox(vp.latr, vp.lonr, vp.xleft, vp.xright, vp.ybottom, vp.ytop, &vp.bblatmin,
                           &vp.bblatmax, &vp.bblonmin, &vp.bblonmax);
        return;
    }
    vp.bblatmin = vp.ybottom;
    vp.bblatmax = vp.ytop;
    vp.bblonmin = vp.xleft;
    vp.bblonmax = vp.xright;
}

namespace {

// Widens a degenerate range by a tenth of each end (10 at zero); a negative
// value thereby reverses the axis.
void widenDegenerate(double* lo, double* hi)
{
    if (*lo != *hi)
        return;
    *lo -= *lo == 0.0 ? 10.0 : 0.1 * *lo;
    *hi += *hi == 0.0 ? 10.0 : 0.1 * *hi;
}

void fillWith(QPainter& painter, const KGR_Color& color, double opacity, const QRect& rect)
{
    painter.setOpacity(opacity);
    painter.fillRect(rect, *color.color);
}

} // namespace

void KGRViewport::draw(QPainter& painter)
{
    KgrviewportItem& vp = viewport;
    computeBB();
    const Kgrheader& b = vp.header;
    if (vp.background_frame.color) {
        kgrqt_print_lineage(this, "viewport_draw: background_frame: ");
        fillWith(painter, vp.background_frame, vp.opacity,
                 QRect(b.x1, b.y1, b.x2 - b.x1 + 1, b.y2 - b.y1 + 1));
    }
    int iw = vp.w - vp.mleft - vp.mright, ih = vp.h - vp.mbottom - vp.mtop;
    if (iw <= 0 || ih <= 0)
        return;
    kgrqt_translate_and_gain(&vp, vp.xoffset, vp.yoffset, vp.xgain_anchor, vp.ygain_anchor,
                             vp.xgain, vp.ygain);
    widenDegenerate(&vp.xleft, &vp.xright);
    widenDegenerate(&vp.ybottom, &vp.ytop);
    if (vp.background.color) {
        kgrqt_print_lineage(this, "viewport_draw: background: ");
        fillWith(painter, vp.background, vp.opacity,
                 QRect(b.x1 + vp.mleft, b.y1 + vp.mtop, iw, ih));
    }
    paintCallback();
}

namespace {

// Keeps the world units per pixel of one axis when the size changes.
void preserveScale(int size, int lastSize, int m1, int m2, double lo, double hi, double* spcLo,
                   double* spcHi)
{
    double xc = (lo + hi) / 2;
    double s = (hi - lo) / (lastSize - m1 - m2);
    double r = (size - m1 - m2) * s;
    *spcLo = xc - r / 2;
    *spcHi = xc + r / 2;
}

} // namespace

void KGRViewport::paintEvent(QPaintEvent*)
{
    KgrviewportItem& vp = viewport;
    vp.w = vp.spc_w ? vp.spc_w : width();
    vp.h = vp.spc_h ? vp.spc_h : height();
    if (vp.preserve_xscale && vp.last_w && vp.w != vp.last_w)
        preserveScale(vp.w, vp.last_w, vp.mleft, vp.mright, vp.xleft, vp.xright, &vp.spc_xleft,
                      &vp.spc_xright);
    if (vp.preserve_yscale && vp.last_h && vp.h != vp.last_h)
        preserveScale(vp.h, vp.last_h, vp.mbottom, vp.mtop, vp.ybottom, vp.ytop, &vp.spc_ybottom,
                      &vp.spc_ytop);
    if (vp.constant_aspect > 0 && vp.spc_xleft != KGR_UNSET && vp.spc_xright != KGR_UNSET &&
        vp.spc_ybottom != KGR_UNSET && vp.spc_ytop != KGR_UNSET) {
        double pw = vp.w - vp.mleft - vp.mright, ph = vp.h - vp.mbottom - vp.mtop;
        double dy = (vp.spc_xright - vp.spc_xleft) / vp.constant_aspect / (pw / ph);
        if (vp.center_yscale) {
            double yc = (vp.spc_ybottom + vp.spc_ytop) / 2;
            vp.spc_ybottom = yc - dy / 2;
            vp.spc_ytop = yc + dy / 2;
        } else {
            vp.spc_ytop = vp.spc_ybottom + dy;
        }
    }
    vp.last_w = vp.w;
    vp.last_h = vp.h;

    const char* name = HX_GetName(this, nullptr);
    if (!vp.layer) {
        if (debug)
            printf("Painting viewport %s.\n", name ? name : "(null)");
        QPainter painter(this);
        draw(painter);
        return;
    }
    vp.layer->setSize(vp.w, vp.h);
    if (!vp.layer->layer.stale || !vp.layer->layer.pixmap)
        return;
    if (debug) {
        const char* layerName = HX_GetName(vp.layer, nullptr);
        printf("Painting viewport %s to layer %s.\n", name ? name : "(null)",
               layerName ? layerName : "(null)");
    }
    QPainter painter(vp.layer->layer.pixmap);
    draw(painter);
}

void KGRViewport::resizeEvent(QResizeEvent* event)
{
    if (debug)
        printf("Resize %d x %d\n", event->size().width(), event->size().height());
    viewport.paint_stale = KGR_EVENT_RESIZE;
    delete viewport.resize_event;
    viewport.resize_event = new QResizeEvent(event->size(), event->oldSize());
}

namespace {

// Appends one plane point of the outline, converted to the world.
struct OutlineWalker {
    KgrviewportItem* vp;
    QPainterPath* path;
    ViewportWrapLongitude* wrap = nullptr;
    bool first = true;

    void add(double x, double y)
    {
        if (vp->wtran == KGR_WTRAN_EDP)
            viewport_limit_edp_bb(&x, &y);
        double wx = 0, wy = 0;
        kgrqt_get_wcoords(vp, x, y, &wx, &wy, 0, 1);
        if (vp->wtran == KGR_WTRAN_EDP) {
            if (!wrap)
                wrap = new ViewportWrapLongitude(wx);
            else
                wx = wrap->wrapLongitude(wx);
        }
        if (first)
            path->moveTo(wx, wy);
        else
            path->lineTo(wx, wy);
        first = false;
    }
    ~OutlineWalker() { delete wrap; }
};

// Whether a pole lies inside the shown plane box (bounds inclusive).
int poleInside(KgrviewportItem* vp, double lat)
{
    double px = 0, py = 0;
    kgrqt_get_pcoords(vp, 0.0, lat, &px, &py, 0, 1);
    return px >= vp->xleft && px <= vp->xright && py >= vp->ybottom && py <= vp->ytop;
}

} // namespace

KGRPolypointPath* KGRViewport::getWcoordsBB(int n)
{
    KgrviewportItem& vp = viewport;
    if (vp.xleft == vp.xright || vp.ybottom == vp.ytop || n <= 0)
        return nullptr;
    double dx = (vp.xright - vp.xleft) / n, dy = (vp.ytop - vp.ybottom) / n;
    auto* result = new KGRPolypointPath{vp.wtran, 0, 0, new QPainterPath};
    OutlineWalker walk{&vp, result->path};
    for (int i = 0; i < n; ++i)
        walk.add(vp.xleft + i * dx, vp.ybottom);
    for (int i = 0; i < n; ++i)
        walk.add(vp.xright, vp.ybottom + i * dy);
    for (int i = 0; i < n; ++i)
        walk.add(vp.xright - i * dx, vp.ytop);
    for (int i = 0; i < n; ++i)
        walk.add(vp.xleft, vp.ytop - i * dy);
    if (vp.wtran == KGR_WTRAN_EDP) {
        result->np = poleInside(&vp, 90.0);
        result->sp = poleInside(&vp, -90.0);
    }
    return result;
}

// ------------------------------------------------------- module helpers

namespace {
Arr* viewport_array = nullptr;
}

int kgrqt_viewport_set_viewport(const char* key, KgrviewportItem* item)
{
    if (!viewport_array)
        viewport_array = newarr(nullptr);
    if (!viewport_array) {
        hx_register_error(1, "kgrqt_viewport_set_viewport: newarr() error.");
        return -1;
    }
    setarr(viewport_array, key, item);
    return 0;
}

void kgrqt_print_lineage(KGRViewport* vp, const char* prefix)
{
    // Switched on by hand when tracing which viewport paints what.
    static int debug = 0;
    if (!debug || !vp)
        return;
    printf("%s%s", prefix ? prefix : "", vp->viewport.name ? vp->viewport.name : "");
    QWidget* parent = vp->parentWidget();
    if (parent)
        printf(", parent = %s\n", parent->accessibleName().toLocal8Bit().constData());
    else
        printf(", parent = NULL\n");
}

void kgrqt_MessageOutput(QtMsgType type, const QMessageLogContext& context, const QString& msg)
{
    QByteArray text = msg.toLocal8Bit();
    const char* file = context.file ? context.file : "";
    const char* function = context.function ? context.function : "";
    switch (type) {
    case QtDebugMsg:
        fprintf(stderr, "Debug: %s (%s:%u, %s)\n", text.constData(), file, context.line, function);
        break;
    case QtCriticalMsg:
        fprintf(stderr, "Critical: %s (%s:%u, %s)\n", text.constData(), file, context.line,
                function);
        break;
    case QtFatalMsg:
        fprintf(stderr, "Fatal: %s (%s:%u, %s)\n", text.constData(), file, context.line, function);
        abort();
    default:
        // Warnings (and informational messages) are dropped on purpose.
        break;
    }
}
