// The navigation map of the map events: a small map of the whole world in
// the lower left corner of the map, with the outline of what the map shows
// and the selected origin's stations and paths. A click on it centres the
// map there. Shown, hidden, or ("auto") shown while the map shows less than
// a quarter of the world's longitudes.
#include "kgrqt_mapevents_item.h"

#include <QEvent>
#include <QMouseEvent>
#include <QPainterPath>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

namespace {

const char* const kEnd = nullptr;

// Size of the navigation map and its distance from the map's corner.
const int kNavWidth = 240;
const int kNavHeight = 120;
const int kNavInset = 10;
// "auto" shows the navigation map while the map spans fewer degrees of
// longitude than this.
const double kNavAutoSpan = 90.0;

// Keeps the navigation map in its corner when the map's viewport resizes,
// and has it follow every change of the view: the shown box is known only
// once the viewport draws, so each paint runs the viewport's paint callback
// (mapevents_paint_callback), which checks the navigation map after it.
class MapeventsResizeWatcher : public QObject {
public:
    explicit MapeventsResizeWatcher(KGRMapEvents* me) : QObject(nullptr), me(me) {}
    bool eventFilter(QObject*, QEvent* event) override
    {
        if (event->type() == QEvent::Resize)
            me->refreshNavVisibility();
        else if (event->type() == QEvent::Paint && me->map.vp && me->mapevents.nav_vp &&
                 !me->map.vp->viewport.paint_stale)
            me->map.vp->setPaintStale();
        return false;
    }
    KGRMapEvents* me;
};

bool mapevents_is_set(double v)
{
    return v != KGR_UNSET && std::isfinite(v);
}

// A press on the navigation map centres the map on that point.
int mapevents_nav_callback(int kind, void* clientdata, QEvent* event)
{
    auto* me = static_cast<KGRMapEvents*>(clientdata);
    KgrmapeventsItem& m = me->mapevents;
    if (kind != KGR_EVENT_MOUSE_PRESS || !m.nav_vp || !me->map.vp)
        return 0;
    auto* press = static_cast<QMouseEvent*>(event);
    double lon = 0, lat = 0;
    if (m.nav_vp->wcoords(press->x(), press->y(), &lon, &lat, 0) < 0)
        return 0;
    char center[128];
    snprintf(center, sizeof center, "%f %f", lon, lat);
    me->map.vp->configure("center", center, kEnd);
    me->setMaplayersStale();
    me->map.vp->update();
    me->refreshNav();
    return KGR_EVENT_CONSUMED;
}

// The navigation map's one map layer: land and water from the coast lines,
// in a layer of its own.
std::string mapevents_nav_definitions(const std::string& layer)
{
    return "maplayer_definitions &Arr{\n"
           "    nav_coasts &Arr{\n"
           "        type                vector_fill\n"
           "        mapdata_source_file coasts.vector.kmd\n"
           "        visibility          1\n"
           "        antialias           1\n"
           "        kgr_layer           " +
           layer +
           "\n"
           "        outline_linewidth   -1\n"
           "        background_color    $FILL_WATER\n"
           "        fill_color          $FILL_LAND\n"
           "    }\n"
           "}\n";
}

} // namespace

int KGRMapEvents::createNav()
{
    KgrmapeventsItem& m = mapevents;
    if (m.nav_vp)
        return 0;
    if (!map.vp)
        return -1;
    const std::string prefix = "mapevents" + std::to_string(instance) + "_nav";
    try {
        m.nav_vp = new KGRViewport(map.vp);
        m.nav_vp->configure("wtran", "geog", "xleft", "-180", "xright", "180", "ybottom", "-90",
                            "ytop", "90", "margin", "1 1 1 1", "fill", "#e0e0ff", "fill_frame",
                            "#e0e0ff", kEnd);
        m.nav = new KGRMap(m.nav_vp);
        m.layer_nav = new KGRLayer(m.nav_vp);
        m.pickern = new KGRPicker(m.nav_vp);
    } catch (const char* e) {
        hx_register_error(0, "KGRMapEvents::createNav: %s\n", e);
        delete m.nav_vp;
        m.nav_vp = nullptr;
        return -1;
    }
    QObject::connect(m.nav_vp, &QObject::destroyed, this, [this] {
        KgrmapeventsItem& r = mapevents;
        r.nav_vp = nullptr;
        r.nav = nullptr;
        r.layer_nav = nullptr;
        r.pickern = nullptr;
        r.ppsn = r.pppn = r.ppb = nullptr;
    });
    HX_SetName((prefix + "_layer").c_str(), "KGRLayer", m.layer_nav);
    QObject::connect(m.layer_nav, &QObject::destroyed,
                     [layer = m.layer_nav] { HX_UnsetObject(layer); });
    const std::string definitions = mapevents_nav_definitions(prefix + "_coasts");
    m.nav->configure("maplayer_definitions", definitions.c_str(), "maplayers",
                     "maplayers &Tbl{\nnav_coasts\n}\n", kEnd);
    const char* const box[] = {"outline_path", "#ff0000", "linewidth_path", "2", nullptr};
    m.ppb = mapevents_make_polypoint(m.nav_vp, box);
    if (m.ppb) {
        m.ppb->setLayer(m.layer_nav);
        m.ppb->stackUnder(m.layer_nav);
    }
    m.pickern->configure("crosshairs", "off", kEnd);
    m.pickern->bind("mousePressEvent", mapevents_nav_callback, this);
    m.pickern->raise();
    resizeWatcher = new MapeventsResizeWatcher(this);
    map.vp->installEventFilter(resizeWatcher);
    m.nav_vp->hide();
    refreshNavVisibility();
    return 0;
}

bool KGRMapEvents::navShown() const
{
    return mapevents.nav_vp && !mapevents.nav_vp->isHidden();
}

// The navigation map in the lower left corner of the plot area.
void KGRMapEvents::placeNav()
{
    KgrmapeventsItem& m = mapevents;
    const KgrviewportItem& vp = map.vp->viewport;
    const int h = map.vp->height();
    const int y = h - vp.mbottom - kNavInset - kNavHeight;
    m.nav_vp->setGeometry(vp.mleft + kNavInset, y < 0 ? 0 : y, kNavWidth, kNavHeight);
}

void KGRMapEvents::refreshNavVisibility()
{
    KgrmapeventsItem& m = mapevents;
    if (!m.nav_vp || !map.vp)
        return;
    bool show = m.show_nav == KGRMAPEVENTS_NAV_ON;
    if (m.show_nav == KGRMAPEVENTS_NAV_AUTO) {
        KgrviewportItem& vp = map.vp->viewport;
        // The longitudes of the box the map shows, from its transform as
        // last drawn (a map layer's draw computes the same box, but the map
        // may have no layer).
        const bool known = vp.w > 0 && mapevents_is_set(vp.xleft) && mapevents_is_set(vp.xright) &&
                           mapevents_is_set(vp.ybottom) && mapevents_is_set(vp.ytop);
        if (known)
            map.vp->computeMapBB();
        const double span = vp.bblonmax - vp.bblonmin;
        show = known && span > 0 && span < kNavAutoSpan;
    }
    placeNav();
    if (show == navShown())
        return;
    m.nav_vp->setVisible(show);
    if (show) {
        m.nav_vp->raise();
        const bool selected = m.display_mode == KGRMAPEVENTS_DISPLAY_EVENT;
        if (m.ppsn)
            m.ppsn->setVisible(selected);
        if (m.pppn)
            m.pppn->setVisible(selected);
        refreshNav();
    }
}

void KGRMapEvents::followView()
{
    if (!map.vp)
        return;
    refreshNavVisibility();
    if (!navShown())
        return;
    const KgrviewportItem& v = map.vp->viewport;
    const std::array<double, 9> view = {v.xleft,
                                        v.xright,
                                        v.ybottom,
                                        v.ytop,
                                        v.latr,
                                        v.lonr,
                                        static_cast<double>(v.w),
                                        static_cast<double>(v.h),
                                        static_cast<double>(v.wtran)};
    if (view == navView)
        return;
    navView = view;
    refreshNav();
}

// The outline of what the map shows, on the navigation map.
void KGRMapEvents::refreshNav()
{
    KgrmapeventsItem& m = mapevents;
    if (!navShown() || !m.ppb || !map.vp)
        return;
    KGRPolypointPath* outline = map.vp->getWcoordsBB(64);
    if (outline) {
        m.ppb->configure("path", reinterpret_cast<char*>(outline), kEnd);
        delete outline->path;
        delete outline;
    }
    if (m.nav)
        m.nav->setMaplayersStale();
    if (m.layer_nav)
        m.layer_nav->setStale();
    m.nav_vp->update();
}

void KGRMapEvents::raiseEventLayers()
{
    KgrmapeventsItem& m = mapevents;
    if (!map.vp)
        return;
    // Ours, bottom to top: each layer over the items that paint into it.
    std::vector<QWidget*> ours;
    for (KGRLayer* layer : {m.layer_events, m.layer_event}) {
        if (!layer || layer->parentWidget() != map.vp)
            continue;
        for (KGRPolypoint* pp : {m.ppe, m.ppd_events, m.ppd_event, m.ppp, m.pps, m.ppo})
            if (pp && pp->polypoint.layer == layer && pp->parentWidget() == map.vp)
                ours.push_back(pp);
        ours.push_back(layer);
    }
    if (ours.empty())
        return;
    const QObjectList children = map.vp->children();
    auto isOurs = [&ours](QObject* o) {
        return std::find(ours.begin(), ours.end(), o) != ours.end();
    };
    // The highest of the map's own layers.
    int top = -1;
    auto consider = [&](KGRLayer* layer) {
        if (layer && !isOurs(layer))
            top = std::max(top, static_cast<int>(children.indexOf(layer)));
    };
    if (map.maplayer_definitions) {
        Tbl* names = keysarr(map.maplayer_definitions);
        for (int i = 0; i < maxtbl(names); ++i)
            if (auto* params = static_cast<KGRMapLayerParams*>(
                    getarr(map.maplayer_definitions, static_cast<const char*>(gettbl(names, i)))))
                consider(params->kgr_layer);
        freetbl(names, nullptr);
    }
    for (int i = 0; i < maxtbl(map.maplayers_extra); ++i)
        consider(static_cast<KGRLayer*>(gettbl(map.maplayers_extra, i)));
    int lowest = children.size();
    for (QWidget* w : ours)
        lowest = std::min(lowest, static_cast<int>(children.indexOf(w)));
    if (top < 0 || lowest > top)
        return;
    // What lay just above the highest map layer (a taskbar, the pickers)
    // stays above ours.
    QWidget* above = nullptr;
    for (int i = top + 1; i < children.size() && !above; ++i)
        if (children[i]->isWidgetType() && !isOurs(children[i]))
            above = static_cast<QWidget*>(children[i]);
    for (QWidget* w : ours) {
        if (above)
            w->stackUnder(above);
        else
            w->raise();
    }
}

void KGRMapEvents::raisePicker()
{
    raisePickers();
}

// Layers made after a picker lie over it and would take its input: the
// event layers go over the map's layers and their items, the pickers over
// everything.
void KGRMapEvents::raisePickers()
{
    KgrmapeventsItem& m = mapevents;
    raiseEventLayers();
    if (m.nav_vp && navShown())
        m.nav_vp->raise();
    if (m.layer_nav)
        m.layer_nav->raise();
    if (m.pickern)
        m.pickern->raise();
    KGRMap::raisePicker();
    if (m.nav_vp && navShown())
        m.nav_vp->raise();
}
