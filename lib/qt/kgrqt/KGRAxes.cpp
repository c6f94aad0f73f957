#include "KGRAxes.h"
#include "KGRLayer.h"
#include "KGRViewport.h"
#include "kgrqt_engine.h"
#include "kgrqt_tics.h"

#include <QPainter>

#include <cerrno>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <vector>

namespace {

int axes_parse_linewidth(HX_ConfigureSpec* spec, HX_ClientData, char* value, char* record, int);
char* axes_print_linewidth(HX_ConfigureSpec* spec, HX_ClientData, char* record, int);
int axes_parse_ticlength(HX_ConfigureSpec* spec, HX_ClientData, char* value, char* record, int);
char* axes_print_ticlength(HX_ConfigureSpec* spec, HX_ClientData, char* record, int);

HX_CustomOption linewidthOption = {axes_parse_linewidth, axes_print_linewidth, nullptr};
HX_CustomOption ticlengthOption = {axes_parse_ticlength, axes_print_ticlength, nullptr};

// Selectors of the custom options: both axes, their minor tics, then each
// axis alone.
enum { kBoth = 0, kBothSmall, kX, kXSmall, kY, kYSmall };

// The one or two fields a selector of a width or length option sets.
template <class T> struct SelectorFields {
    T* first = nullptr;
    T* second = nullptr;
};

// Fields by selector: both axes' major, both minor, then x and y alone.
template <class T> using AxisField = T KgraxesItem::*;
template <class T> struct SelectorTable {
    AxisField<T> first, second;
};

const SelectorTable<int> linewidthTable[] = {
    {&KgraxesItem::xwidth_big, &KgraxesItem::ywidth_big},
    {&KgraxesItem::xwidth_sml, &KgraxesItem::ywidth_sml},
    {&KgraxesItem::xwidth_big, nullptr},
    {&KgraxesItem::xwidth_sml, nullptr},
    {&KgraxesItem::ywidth_big, nullptr},
    {&KgraxesItem::ywidth_sml, nullptr},
};

const SelectorTable<double> ticlengthTable[] = {
    {&KgraxesItem::xticlength_big, &KgraxesItem::yticlength_big},
    {&KgraxesItem::xticlength_sml, &KgraxesItem::yticlength_sml},
    {&KgraxesItem::xticlength_big, nullptr},
    {&KgraxesItem::xticlength_sml, nullptr},
    {&KgraxesItem::yticlength_big, nullptr},
    {&KgraxesItem::yticlength_sml, nullptr},
};

template <class T>
SelectorFields<T> selectorFields(KgraxesItem* a, int selector, const SelectorTable<T> (&table)[6])
{
    if (selector < kBoth || selector > kYSmall)
        return {};
    const SelectorTable<T>& row = table[selector];
    return {&(a->*row.first), row.second ? &(a->*row.second) : nullptr};
}

SelectorFields<int> linewidthFields(KgraxesItem* a, int selector)
{
    return selectorFields(a, selector, linewidthTable);
}

SelectorFields<double> ticlengthFields(KgraxesItem* a, int selector)
{
    return selectorFields(a, selector, ticlengthTable);
}

// Stores a parsed value in the selector's fields, marking the option
// changed when it differs. The first field takes the value even when the
// text was not read whole, as the failure leaves it.
template <class T> void storeSelected(HX_ConfigureSpec* spec, SelectorFields<T> f, T value, bool ok)
{
    bool changed = *f.first != value;
    *f.first = value;
    if (ok && f.second) {
        changed = changed || *f.second != value;
        *f.second = value;
    }
    if (ok && changed)
        spec->specFlags |= HX_CONFIGURE_CHANGED;
}

int axes_parse_linewidth(HX_ConfigureSpec* spec, HX_ClientData, char* value, char* record, int)
{
    auto* axes = reinterpret_cast<KgraxesItem*>(record);
    if (!value || !*value)
        return 0;
    SelectorFields<int> fields = linewidthFields(axes, spec->offset);
    if (!fields.first) {
        hx_register_error(0, "axes_parse_linewidth: Illegal offset value\n");
        return -1;
    }
    char* end = nullptr;
    errno = 0;
    long width = strtol(value, &end, 0);
    const bool ok = *end == '\0' && errno == 0 && width >= INT_MIN && width <= INT_MAX;
    storeSelected(spec, fields, static_cast<int>(width), ok);
    if (!ok) {
        hx_register_error(0, "axes_parse_linewidth: Illegal linewidth value %s\n", value);
        return -1;
    }
    return 0;
}

int axes_parse_ticlength(HX_ConfigureSpec* spec, HX_ClientData, char* value, char* record, int)
{
    auto* axes = reinterpret_cast<KgraxesItem*>(record);
    if (!value || !*value)
        return 0;
    SelectorFields<double> fields = ticlengthFields(axes, spec->offset);
    if (!fields.first) {
        hx_register_error(0, "Illegal offset value");
        return -1;
    }
    char* end = nullptr;
    double length = fix_strtod(value, &end);
    const bool ok = end != value && *end == '\0';
    storeSelected(spec, fields, length, ok);
    if (!ok) {
        // The small-tic message is spelled so on purpose: scripts match it.
        if (spec->offset == kBothSmall)
            hx_register_error(0, "Illegal ticlengthidth value %s\n", value);
        else
            hx_register_error(0, "Illegal ticlength value %s\n", value);
        return -1;
    }
    return 0;
}

template <class T> char* printSelected(SelectorFields<T> f, const char* one, const char* two)
{
    if (!f.first)
        return nullptr;
    char text[128];
    if (f.second)
        snprintf(text, sizeof text, two, *f.first, *f.second);
    else
        snprintf(text, sizeof text, one, *f.first);
    return strdup(text);
}

char* axes_print_linewidth(HX_ConfigureSpec* spec, HX_ClientData, char* record, int)
{
    return printSelected(linewidthFields(reinterpret_cast<KgraxesItem*>(record), spec->offset),
                         "%d", "%d %d");
}

char* axes_print_ticlength(HX_ConfigureSpec* spec, HX_ClientData, char* record, int)
{
    return printSelected(ticlengthFields(reinterpret_cast<KgraxesItem*>(record), spec->offset),
                         "%lf", "%lf %lf");
}

bool hasLetter(const char* style, char letter)
{
    return style && strchr(style, letter);
}

bool isTimeFormat(const char* format)
{
    return format && !strcmp(format, "time");
}

// Label gap below or left of the frame for the direction of the tics there.
int labelGap(char direction, double ticlength)
{
    if (direction == 'c')
        return static_cast<int>(0.5 * ticlength + 5.5);
    if (direction == 'o')
        return static_cast<int>(ticlength + 5.5);
    return 8;
}

// Extent across the axis of tics on one side: from the side's edge (0 or
// 1) inward, outward or centred on it.
void ticExtent(double edge, char direction, double length, double* start, double* end)
{
    const double inward = edge == 0.0 ? length : -length;
    switch (direction) {
    case 'o':
        *start = edge;
        *end = edge - inward;
        break;
    case 'c':
        *start = edge - 0.5 * inward;
        *end = edge + 0.5 * inward;
        break;
    default:
        *start = edge;
        *end = edge + inward;
        break;
    }
}

} // namespace

#define AX_FIELD(f) offsetof(KgraxesItem, f)

HX_ConfigureSpec KGRAxes::configSpecs[] = {
    {"color", "fill_labels", "black", AX_FIELD(foreground_labels), 0, nullptr},
    {"color", "fill_numbers", "black", AX_FIELD(foreground_numbers), 0, nullptr},
    {"color", "fill_axes", "black", AX_FIELD(foreground_axes), 0, nullptr},
    {"font", "font_labels", "Helvetica 16", AX_FIELD(font_labels), 0, nullptr},
    {"font", "font_numbers", "Helvetica 12", AX_FIELD(font_numbers), 0, nullptr},
    {"font", "font_numbers_superscripts", "Helvetica 8", AX_FIELD(font_supers), 0, nullptr},
    {"boolean", "xvisible", "1", AX_FIELD(xvisible), 0, nullptr},
    {"boolean", "yvisible", "1", AX_FIELD(yvisible), 0, nullptr},
    {"int", "linewidth_box", "1", AX_FIELD(boxwidth), 0, nullptr},
    {"int", "xlinewidth_time", "1", AX_FIELD(xtimewidth), 0, nullptr},
    {"color", "xfill_time_axes", "black", AX_FIELD(x_time_axes), 0, nullptr},
    {"custom", "linewidth", nullptr, kBoth, 0, &linewidthOption},
    {"custom", "linewidth_small", nullptr, kBothSmall, 0, &linewidthOption},
    {"custom", "xlinewidth", nullptr, kX, 0, &linewidthOption},
    {"custom", "xlinewidth_small", nullptr, kXSmall, 0, &linewidthOption},
    {"custom", "ylinewidth", nullptr, kY, 0, &linewidthOption},
    {"custom", "ylinewidth_small", nullptr, kYSmall, 0, &linewidthOption},
    {"custom", "ticlength", nullptr, kBoth, 0, &ticlengthOption},
    {"custom", "ticlength_small", nullptr, kBothSmall, 0, &ticlengthOption},
    {"custom", "xticlength", nullptr, kX, 0, &ticlengthOption},
    {"custom", "xticlength_small", nullptr, kXSmall, 0, &ticlengthOption},
    {"custom", "yticlength", nullptr, kY, 0, &ticlengthOption},
    {"custom", "yticlength_small", nullptr, kYSmall, 0, &ticlengthOption},
    {"int", "mindx", "200", AX_FIELD(mindx), 0, nullptr},
    {"int", "mindy", "100", AX_FIELD(mindy), 0, nullptr},
    {"double", "xincrement", "0.0", AX_FIELD(xincr_num), 0, nullptr},
    {"double", "xincrement_small", "0.0", AX_FIELD(xincr_sml), 0, nullptr},
    {"double", "yincrement", "0.0", AX_FIELD(yincr_num), 0, nullptr},
    {"double", "yincrement_small", "0.0", AX_FIELD(yincr_sml), 0, nullptr},
    {"string", "xlabel", nullptr, AX_FIELD(x_label), HX_CONFIGURE_NULL_OK, nullptr},
    {"string", "ylabel", nullptr, AX_FIELD(y_label), HX_CONFIGURE_NULL_OK, nullptr},
    {"string", "xformat", "auto", AX_FIELD(x_format), 0, nullptr},
    {"string", "yformat", "auto", AX_FIELD(y_format), 0, nullptr},
    {"string", "axis_style", "nsew", AX_FIELD(axis_style), HX_CONFIGURE_NULL_OK, nullptr},
    {"string", "tic_style", "nisieiwi", AX_FIELD(tic_style), HX_CONFIGURE_NULL_OK, nullptr},
    {"string", "xtime_format", "%T", AX_FIELD(x_time_format), 0, nullptr},
    {"string", "xdate_format", "%G", AX_FIELD(x_date_format), 0, nullptr},
    {"end", nullptr, nullptr, 0, 0, nullptr},
};

KGRAxes::KGRAxes(KGRViewport* viewport)
{
    kgrqt_construct([&] { init(viewport); }, "KGRAxes::KGRAxes: init() error.");
}

KGRAxes::~KGRAxes()
{
    KGRConfigure_FreeRecord(configSpecs, reinterpret_cast<char*>(&axes));
    free(class_name);
}

void KGRAxes::init(KGRViewport* viewport)
{
    kgrqt_init_item(
        this, viewport, &axes, "KGRAxes", "KGRAxes::KGRAxes: setParent() error.",
        [viewport](KgraxesItem& a) {
            a.vp = viewport;
            a.viewport = viewport ? &viewport->viewport : nullptr;
            a.xvisible = a.yvisible = 1;
            a.style = 1;
            a.xwidth_big = a.ywidth_big = 1;
            a.xwidth_sml = a.ywidth_sml = 0;
            a.xticlength_big = a.yticlength_big = 10.0;
            a.xticlength_sml = a.yticlength_sml = 5.0;
        },
        [this, viewport] {
            if (viewport)
                viewport->registerItem(this);
        });
}

void KGRAxes::setLayer(KGRLayer* layer)
{
    axes.layer = layer;
}

void KGRAxes::paintEvent(QPaintEvent*)
{
    QPainter painter;
    if (kgrqt_begin_item_paint(this, axes.layer, axes.viewport, debug, "axes", painter))
        draw(painter);
}

void KGRAxes::draw(QPainter& painter)
{
    KgrviewportItem* vp = axes.viewport;
    if (!vp || (!axes.xvisible && !axes.yvisible))
        return;
    int w = 0, h = 0;
    double x1, x2, sx, y1, y2, sy;
    if (kgrqt_get_scales(vp, &w, &h, &x1, &x2, &sx, &y1, &y2, &sy) < 0)
        return;
    const bool map = vp->wtran == KGR_WTRAN_EDP;
    // The raster engine draws long aliased lines far faster when clipped.
    painter.save();
    if (!painter.hasClipping())
        painter.setClipRect(QRect(vp->header.x1, vp->header.y1, vp->header.x2 - vp->header.x1 + 1,
                                  vp->header.y2 - vp->header.y1 + 1));
    draw_annotation(painter, w, h, x1, x2, y1, y2, map);
    painter.restore();
}

void KGRAxes::draw_annotation(QPainter& painter, int w, int h, double x1, double x2, double y1,
                              double y2, bool map)
{
    draw_box(w, h, painter);
    if (!map)
        draw_tics(w, h, painter);
    if (isTimeFormat(axes.x_format)) {
        if (map)
            draw_x_label(painter);
        else
            draw_xtime_axis(painter, x1, x2);
    } else {
        draw_x_label(painter);
        if (!map)
            draw_x_tic_labels(painter, w, x1, x2);
    }
    draw_y_label(painter);
    if (!map)
        draw_y_tic_labels(painter, h, y1, y2);
}

void KGRAxes::draw_box(int w, int h, QPainter& painter)
{
    KgrviewportItem* vp = axes.viewport;
    if (axes.boxwidth < 0 || w <= 0 || h <= 0)
        return;
    kgrqt_setup_line(&painter, axes.foreground_axes.color, axes.boxwidth, axes.style,
                     Qt::MiterJoin);
    // Each side runs half a line width (in whole pixels) past the corners,
    // so that wide lines close them.
    const double dx = double(axes.boxwidth / 2) / w, dy = double(axes.boxwidth / 2) / h;
    const double left = -dx, right = 1.0 + dx, bottom = -dy, top = 1.0 + dy;
    if (debug)
        printf("KGRAxes::draw_box: %d %d %f %f %f %f\n", w, h, left, right, bottom, top);
    auto side = [&](double fx1, double fy1, double fx2, double fy2) {
        kgrqt_buffer_draws(painter, 0, 0, vp, 0, 0, fx1, fy1, fx2, fy2, debug);
        kgrqt_buffer_draws(painter, 0, 1, vp, 0, 0, 0, 0, 0, 0, debug);
    };
    if (hasLetter(axes.axis_style, 'n'))
        side(left, 1.0, right, 1.0);
    if (hasLetter(axes.axis_style, 's'))
        side(left, 0.0, right, 0.0);
    if (hasLetter(axes.axis_style, 'e'))
        side(1.0, bottom, 1.0, top);
    if (hasLetter(axes.axis_style, 'w'))
        side(0.0, bottom, 0.0, top);
}

void KGRAxes::draw_tics(int w, int h, QPainter& painter)
{
    KgrviewportItem* vp = axes.viewport;
    const char* style = axes.tic_style;
    if (!style || w <= 0 || h <= 0)
        return;
    QColor* color = axes.foreground_axes.color;
    for (const char* p = style; p[0] && p[1]; p += 2) {
        const char side = p[0], direction = p[1];
        if (!strchr("ioc", direction) || !strchr("nsew", side))
            return;
        const bool xside = side == 'n' || side == 's';
        const double edge = side == 'n' || side == 'e' ? 1.0 : 0.0;
        const double size = xside ? h : w;
        double b1, b2, s1, s2;
        ticExtent(edge, direction, (xside ? axes.xticlength_big : axes.yticlength_big) / size, &b1,
                  &b2);
        ticExtent(edge, direction, (xside ? axes.xticlength_sml : axes.yticlength_sml) / size, &s1,
                  &s2);
        switch (side) {
        case 'n':
            axes.tic_style_north = direction;
            break;
        case 's':
            axes.tic_style_south = direction;
            break;
        case 'e':
            axes.tic_style_east = direction;
            break;
        default:
            axes.tic_style_west = direction;
            break;
        }
        if (xside) {
            // A time axis draws its own calendar tics.
            if (axes.xvisible && !isTimeFormat(axes.x_format))
                kgrqt_draw_xaxis_stuff(painter, vp, color, axes.xwidth_big, axes.style,
                                       axes.xincr_num, b1, b2, color, axes.xwidth_sml, axes.style,
                                       axes.xincr_sml, s1, s2, axes.mindx);
        } else if (axes.yvisible) {
            kgrqt_draw_yaxis_stuff(painter, vp, color, axes.ywidth_big, axes.style, axes.yincr_num,
                                   b1, b2, color, axes.ywidth_sml, axes.style, axes.yincr_sml, s1,
                                   s2, axes.mindy);
        }
    }
}

// Draws text at a position expression in the given font and colour.
static void drawAt(QPainter& painter, KgrviewportItem* vp, const KGR_Font& font,
                   const KGR_Color& color, const char* xpos, const char* ypos, const char* just,
                   const char* text)
{
    double x = 0, y = 0;
    if (!text || !*text || !font.font || kgrqt_get_pixels(vp, xpos, ypos, &x, &y, nullptr) < 0)
        return;
    kgrqt_setup_text(painter, color.color ? *color.color : QColor(Qt::black), *font.font);
    kgrqt_draw_text(painter, vp, *font.font, x, y, const_cast<char*>(just), 0.0,
                    const_cast<char*>(text));
}

void KGRAxes::draw_x_label(QPainter& painter)
{
    if (axes.xvisible)
        drawAt(painter, axes.viewport, axes.font_labels, axes.foreground_labels, "0.5v",
               "fbottom+10", "s", axes.x_label);
}

void KGRAxes::draw_y_label(QPainter& painter)
{
    if (!axes.yvisible || !axes.y_label || !*axes.y_label || !axes.font_labels.font)
        return;
    // Read upwards along the left edge of the frame.
    double x = 0, y = 0;
    if (kgrqt_get_pixels(axes.viewport, "fleft+10", "0.5v", &x, &y, nullptr) < 0)
        return;
    QColor* color = axes.foreground_labels.color;
    kgrqt_setup_text(painter, color ? *color : QColor(Qt::black), *axes.font_labels.font);
    kgrqt_draw_text(painter, axes.viewport, *axes.font_labels.font, x, y, const_cast<char*>("n"),
                    -90.0, axes.y_label);
}

void KGRAxes::label_x_tic(QPainter& painter, char* label, double fraction, double value)
{
    (void)value;
    char xpos[64], ypos[64];
    snprintf(xpos, sizeof xpos, "%.3fv", fraction);
    snprintf(ypos, sizeof ypos, "bottom-%d", labelGap(axes.tic_style_south, axes.xticlength_big));
    drawAt(painter, axes.viewport, axes.font_numbers, axes.foreground_numbers, xpos, ypos, "n",
           label);
}

void KGRAxes::draw_xtime_axis(QPainter& painter, double tstart, double tend)
{
    (void)tstart;
    (void)tend;
    draw_x_label(painter);
    if (!axes.xvisible || !axes.font_numbers.font)
        return;
    kgrqt_make_xtime_axes(painter, axes.viewport, *axes.font_numbers.font, axes.x_time_axes.color,
                          axes.xtimewidth, 1, axes.foreground_numbers.color, axes.x_time_format,
                          axes.x_date_format);
}

namespace {

// Pixel gap text keeps from the frame, as a position term.
void gapTerm(char* term, size_t size, const char* edge, int gap)
{
    snprintf(term, size, "%s-%d", edge, gap);
}

} // namespace

void KGRAxes::draw_x_tic_labels(QPainter& painter, int w, double x1, double x2)
{
    (void)w;
    (void)x1;
    (void)x2;
    KgrviewportItem* vp = axes.viewport;
    if (!axes.xvisible || !axes.x_format || !strcmp(axes.x_format, "none"))
        return;
    std::vector<double> values, fractions;
    kgrqt_major_tics(vp, true, axes.xincr_num, axes.xincr_sml, axes.mindx, &values, &fractions);
    if (vp->xmode == KGR_MODE_LOG) {
        char ypos[32];
        gapTerm(ypos, sizeof ypos, "bottom", 10);
        for (size_t i = 0; i < values.size(); ++i)
            draw_power_of_ten(painter, fractions[i], values[i], true, ypos);
        return;
    }
    char label[KGRQT_NUMBER_MAX];
    for (size_t i = 0; i < values.size(); ++i) {
        kgrqt_nice_number(values[i], axes.x_format, label);
        label_x_tic(painter, label, fractions[i], values[i]);
    }
}

void KGRAxes::draw_y_tic_labels(QPainter& painter, int h, double y1, double y2)
{
    (void)h;
    (void)y1;
    (void)y2;
    KgrviewportItem* vp = axes.viewport;
    if (!axes.yvisible || !axes.y_format || !strcmp(axes.y_format, "none"))
        return;
    std::vector<double> values, fractions;
    kgrqt_major_tics(vp, false, axes.yincr_num, axes.yincr_sml, axes.mindy, &values, &fractions);
    char xpos[32], ypos[64], label[KGRQT_NUMBER_MAX];
    if (vp->ymode == KGR_MODE_LOG) {
        gapTerm(xpos, sizeof xpos, "left", 18);
        for (size_t i = 0; i < values.size(); ++i)
            draw_power_of_ten(painter, fractions[i], values[i], false, xpos);
        return;
    }
    gapTerm(xpos, sizeof xpos, "left", labelGap(axes.tic_style_west, axes.yticlength_big));
    for (size_t i = 0; i < values.size(); ++i) {
        kgrqt_nice_number(values[i], axes.y_format, label);
        snprintf(ypos, sizeof ypos, "%.3fv", fractions[i]);
        drawAt(painter, vp, axes.font_numbers, axes.foreground_numbers, xpos, ypos, "e", label);
    }
}

void KGRAxes::draw_power_of_ten(QPainter& painter, double fraction, double exponent, bool xaxis,
                                const char* gap)
{
    KgrviewportItem* vp = axes.viewport;
    if (!axes.font_numbers.font || !axes.font_supers.font)
        return;
    char along[64];
    snprintf(along, sizeof along, "%.3fv", fraction);
    const char* xpos = xaxis ? along : gap;
    const char* ypos = xaxis ? gap : along;
    const char* just = xaxis ? "n" : "e";
    drawAt(painter, vp, axes.font_numbers, axes.foreground_numbers, xpos, ypos, just, "10");

    // The exponent starts at the right edge of the "10", its baseline a
    // little below the top of the digits.
    double x = 0, y = 0;
    if (kgrqt_get_pixels(vp, xpos, ypos, &x, &y, nullptr) < 0)
        return;
    int w10 = 0, ascent = 0;
    kgrqt_get_metrics(*axes.font_numbers.font, const_cast<char*>("10"), &w10, &ascent);
    double jx = 0, jy = 0;
    kgrqt_parse_justification(const_cast<char*>(just), &jx, &jy);
    x += (1.0 - jx) * w10;
    y += -jy * ascent + 0.6 * ascent;
    char power[32];
    snprintf(power, sizeof power, "%d", static_cast<int>(lround(exponent)));
    kgrqt_setup_text(
        painter, axes.foreground_numbers.color ? *axes.foreground_numbers.color : QColor(Qt::black),
        *axes.font_supers.font);
    kgrqt_draw_text(painter, vp, *axes.font_supers.font, x, y, const_cast<char*>("sw"), 0.0, power);
}
