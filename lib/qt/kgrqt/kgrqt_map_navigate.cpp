// Map navigation: zooming, recentring, switching the projection, and the
// picker callback that pans, zooms and recentres with mouse, wheel and keys.
#include "KGRMap.h"
#include "KGRPicker.h"
#include "KGRViewport.h"
#include "kgrqt_engine.h"
#include "kgrqt_map.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QWheelEvent>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>

namespace {

const double kPi = 3.14159265358979323846;

std::string format(const char* fmt, double a)
{
    char text[128];
    snprintf(text, sizeof text, fmt, a);
    return text;
}

// Asks for a repaint with every map layer redrawn.
void redraw(KGRMap* map)
{
    map->setMaplayersStale();
    if (map->map.vp)
        map->map.vp->update();
}

// The world point under a pixel (longitude and latitude on a map).
bool worldPoint(KGRMap* map, int x, int y, double* wx, double* wy)
{
    return map->map.vp && map->map.vp->wcoords(x, y, wx, wy, 0) == 0;
}

// Configures the viewport with name and value pairs; 0 or -1.
int configureViewport(KGRMap* map, const std::vector<std::string>& pairs)
{
    std::vector<char*> argv;
    for (const std::string& s : pairs)
        argv.push_back(const_cast<char*>(s.c_str()));
    return map->map.vp->configure(static_cast<int>(argv.size()), argv.data());
}

void setCursor(KGRMap* map, bool closedHand)
{
    KGRPicker* picker = map->map.picker;
    if (!picker)
        return;
    if (closedHand)
        picker->setCursor(Qt::ClosedHandCursor);
    else
        picker->setDefaultCursor();
}

void translate(KGRMap* map, const char* x, const char* y)
{
    map->map.vp->configure("xtranslate", x, "ytranslate", y, static_cast<char*>(nullptr));
}

void press(KGRMap* map, QMouseEvent* event)
{
    KgrmapItem& m = map->map;
    m.mouse_last_x = event->x();
    m.mouse_last_y = event->y();
    if (m.mouse_state != KGRMAP_MOUSE_IDLE || event->button() != Qt::LeftButton)
        return;
    map->setLatrLonr(event);
    map->setMaplayersStale();
    if (event->modifiers() & Qt::ShiftModifier) {
        m.mouse_state = KGRMAP_MOUSE_RECENTRING;
    } else {
        m.mouse_state = KGRMAP_MOUSE_PANNING;
        m.mouse_xstart = event->x();
        m.mouse_ystart = event->y();
    }
    setCursor(map, true);
    m.vp->update();
}

void move(KGRMap* map, QMouseEvent* event)
{
    KgrmapItem& m = map->map;
    m.mouse_last_x = event->x();
    m.mouse_last_y = event->y();
    if (m.mouse_state == KGRMAP_MOUSE_PANNING) {
        std::string dx = std::to_string(m.mouse_xstart - event->x());
        std::string dy = std::to_string(m.mouse_ystart - event->y());
        translate(map, dx.c_str(), dy.c_str());
        redraw(map);
    } else if (m.mouse_state == KGRMAP_MOUSE_RECENTRING) {
        map->setLatrLonr(event);
        redraw(map);
    }
}

void release(KGRMap* map, QMouseEvent* event)
{
    KgrmapItem& m = map->map;
    m.mouse_last_x = event->x();
    m.mouse_last_y = event->y();
    if (m.mouse_state == KGRMAP_MOUSE_IDLE)
        return;
    if (m.mouse_state == KGRMAP_MOUSE_PANNING)
        translate(map, "apply", "apply");
    m.mouse_state = KGRMAP_MOUSE_IDLE;
    setCursor(map, false);
    redraw(map);
}

// One wheel step of 120 eighths of a degree zooms by 0.88 or 1.12.
void wheel(KGRMap* map, QWheelEvent* event)
{
    double f = 1.0 - 0.001 * event->angleDelta().y();
    if (f == 1.0)
        return;
    if (f < 0)
        f = 0.1;
    map_zoom(map, event, f, f);
    redraw(map);
}

void key(KGRMap* map, QKeyEvent* event)
{
    KgrmapItem& m = map->map;
    const std::string text = event->text().toStdString();
    double f = 0;
    if (text == "+" || text == "i")
        f = 0.8333333333333334;
    else if (text == "-" || text == "o")
        f = 1.2;
    else if (text == "I")
        f = 0.5;
    else if (text == "O")
        f = 2.0;
    else if (text != "c")
        return;
    if (f != 0)
        map_zoom(map, m.mouse_last_x, m.mouse_last_y, f, f);
    else
        map_center(map, m.mouse_last_x, m.mouse_last_y);
    redraw(map);
}

// Latitude of a Mercator ordinate, degrees.
double mercatorLatitude(double y)
{
    return (2 * std::atan(std::exp(y * kPi / 180)) - kPi / 2) * 180 / kPi;
}

// The options that turn a Mercator plane into an equidistant one over the
// same latitudes.
std::vector<std::string> toEquidistant(const KgrviewportItem* vp, double aspect)
{
    double b = mercatorLatitude(vp->ybottom), t = mercatorLatitude(vp->ytop);
    double d = t - b;
    return {"wtran",   "edp",
            "lonr",    format("%f", (vp->xleft + vp->xright) / 2),
            "latr",    format("%f", (b + t) / 2),
            "xleft",   format("%f", -d * aspect / 2),
            "xright",  format("%f", d * aspect / 2),
            "ybottom", format("%f", -d / 2),
            "ytop",    format("%f", d / 2)};
}

// The options that turn an equidistant plane into a Mercator one over the
// latitudes it spans about its centre; the width keeps the aspect with the
// plane stretched as Mercator stretches it there.
std::vector<std::string> toMercator(const KgrviewportItem* vp, double aspect)
{
    double b = vp->latr + vp->ybottom, t = vp->latr + vp->ytop;
    if (t > 85)
        t = 85;
    if (b < -85)
        b = -85;
    if (t == b)
        t = b + 1;
    double k = (kgrqt_mercator_y(t) - kgrqt_mercator_y(b)) / (t - b);
    double half = (t - b) * aspect * k / 2;
    // wtran first: the bounds that follow are read as latitudes of it.
    return {"wtran",   "merc",
            "xleft",   format("%f", vp->lonr - half),
            "xright",  format("%f", vp->lonr + half),
            "ybottom", format("%f", b),
            "ytop",    format("%f", t)};
}

} // namespace

int map_zoom(KGRMap* map, int x, int y, double xfactor, double yfactor)
{
    double wx = 0, wy = 0;
    if (!map || !worldPoint(map, x, y, &wx, &wy))
        return -1;
    char value[256];
    snprintf(value, sizeof value, "%f %f %f %f", wx, wy, xfactor, yfactor);
    return map->map.vp->configure("zoom", value, static_cast<char*>(nullptr));
}

int map_zoom(KGRMap* map, QWheelEvent* event, double xfactor, double yfactor)
{
    if (!event)
        return -1;
    QPoint at = event->position().toPoint();
    return map_zoom(map, at.x(), at.y(), xfactor, yfactor);
}

int map_center(KGRMap* map, int x, int y)
{
    double wx = 0, wy = 0;
    if (!map || !worldPoint(map, x, y, &wx, &wy))
        return -1;
    char value[256];
    snprintf(value, sizeof value, "%f %f", wx, wy);
    return map->map.vp->configure("center", value, static_cast<char*>(nullptr));
}

int map_mouse_callback(int kind, void* clientdata, QEvent* event)
{
    auto* map = static_cast<KGRMap*>(clientdata);
    if (!map || !event || !map->map.vp)
        return 0;
    if (map->mouseCallback(kind, clientdata, event) == KGR_EVENT_CONSUMED)
        return 0;
    switch (kind) {
    case KGR_EVENT_MOUSE_PRESS:
        press(map, static_cast<QMouseEvent*>(event));
        break;
    case KGR_EVENT_MOUSE_MOVE:
        move(map, static_cast<QMouseEvent*>(event));
        break;
    case KGR_EVENT_MOUSE_RELEASE:
        release(map, static_cast<QMouseEvent*>(event));
        break;
    case KGR_EVENT_WHEEL:
        wheel(map, static_cast<QWheelEvent*>(event));
        break;
    case KGR_EVENT_KEY_PRESS:
        key(map, static_cast<QKeyEvent*>(event));
        break;
    default:
        break;
    }
    map->postmouseCallback(kind, clientdata, event);
    return 0;
}

// ------------------------------------------------------------- options

int map_parse_zoom(HX_ConfigureSpec*, HX_ClientData, char* value, char* record, int)
{
    KgrmapItem* item = map_item_of(record);
    char* end = nullptr;
    double f = value ? fix_strtod(value, &end) : 0;
    while (end && (*end == ' ' || *end == '\t'))
        ++end;
    if (!value || end == value || *end || !std::isfinite(f) || f <= 0) {
        hx_register_error(0, "map_parse_zoom: Error parsing '%s'\n", value ? value : "");
        return -1;
    }
    if (f == 1.0)
        return 0;
    auto* map = static_cast<KGRMap*>(item->object_ptr);
    const KgrviewportItem* vp = item->viewport;
    int x = vp->mleft + map_plot_width(vp) / 2;
    int y = vp->mtop + map_plot_height(vp) / 2;
    map_zoom(map, x, y, 1.0 / f, 1.0 / f);
    redraw(map);
    return 0;
}

int map_parse_set_projection(HX_ConfigureSpec*, HX_ClientData, char* value, char* record, int)
{
    KgrmapItem* item = map_item_of(record);
    bool edp = value && strcmp(value, "edp") == 0;
    if (!edp && !(value && strcmp(value, "merc") == 0)) {
        hx_register_error(0, "map_parse_set_projection: projection '%s' not recognized.\n",
                          value ? value : "");
        return -1;
    }
    const KgrviewportItem* vp = item->viewport;
    if (vp->wtran == (edp ? KGR_WTRAN_EDP : KGR_WTRAN_MERC))
        return 0;
    int w = map_plot_width(vp), h = map_plot_height(vp);
    double aspect = w > 0 && h > 0 ? double(w) / h : 1.0;
    auto* map = static_cast<KGRMap*>(item->object_ptr);
    int result = configureViewport(map, edp ? toEquidistant(vp, aspect) : toMercator(vp, aspect));
    redraw(map);
    return result < 0 ? -1 : 0;
}
