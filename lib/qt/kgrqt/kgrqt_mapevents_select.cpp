// The map of seismic events: the selection of one event, shown with its
// origin, its stations and their paths, by the pointer or by the program.
#include "hx_eventview.h"
#include "kgrqt_mapevents.h"
#include "kgrqt_mapevents_item.h"

#include <QKeyEvent>
#include <QMouseEvent>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>

namespace {

const char* const kEnd = nullptr;

// Seconds after an origin time within which a detection of a station that
// is not associated makes it an "other" station of the origin.
const double kOtherStationWindow = 1200.0;

// The symbol whose outline holds the pixel, nearest last; -1 for none.
int mapevents_find_symbol(KGRPolypoint* pp, int x, int y)
{
    if (!pp || pp->isHidden())
        return -1;
    QList<int>* inside = pp->findInside(x, y);
    int ipt = -1;
    if (!inside->isEmpty() && pp->polypoint.paths)
        ipt = pp->polypoint.paths->at(inside->last()).ipt;
    delete inside;
    return ipt;
}

int mapevents_distance_compare(const void* a, const void* b)
{
    const auto* s1 = static_cast<const KgrmapeventsOriginStation*>(a);
    const auto* s2 = static_cast<const KgrmapeventsOriginStation*>(b);
    return s1->distance < s2->distance ? -1 : s1->distance > s2->distance ? 1 : 0;
}

// The station of the selected origin: defining when one of its arrivals
// is, associated otherwise.
void mapevents_add_assoc(std::map<std::string, KgrmapeventsOriginStation>& stations,
                         const HXEVAssoc* a, const HXEVOrigin* origin)
{
    if (!mapevents_known_position(a->lat, a->lon))
        return;
    KgrmapeventsOriginStation& s = stations[a->sta];
    if (!*s.sta) {
        snprintf(s.sta, sizeof s.sta, "%s", a->sta);
        s.lat = a->lat;
        s.lon = a->lon;
        double del = 0, az = 0;
        dist(origin->lat * 0.017453292519943295, origin->lon * 0.017453292519943295,
             a->lat * 0.017453292519943295, a->lon * 0.017453292519943295, &del, &az);
        // The association's distance when it holds one (a null or
        // negative one, such as -999, does not), else the distance of the
        // positions.
        const bool known =
            a->delta != HXEV_NULL && std::isfinite(a->delta) && a->delta >= 0 && a->delta <= 180;
        s.distance = known ? a->delta : del * 57.29577951308232;
    }
    s.defining = s.defining == 1 || a->defining == 1 ? 1 : 0;
}

} // namespace

// -------------------------------------------------------------- selection

void KGRMapEvents::setEventsBackground(int level)
{
    KgrmapeventsItem& m = mapevents;
    static const char* const gains[] = {nullptr, "fdg=1.0", "fdg=0.0", "fdg=0.2"};
    if (!m.ppe || level < 1 || level > 3 || level == m.events_background)
        return;
    configure("events_coding", gains[level], kEnd);
    mapevents_set_stale(m.layer_events);
    update();
    if (map.vp)
        map.vp->update();
    m.events_background = level;
}

// Repaints the map after the selected event was shown or hidden, with the
// event's stations and paths on the navigation map when it is shown.
static void mapevents_show_selection_change(KGRMapEvents* me, bool shown)
{
    KgrmapeventsItem& m = me->mapevents;
    me->update();
    if (me->map.vp)
        me->map.vp->update();
    if (me->navShown()) {
        mapevents_set_visible(m.ppsn, shown);
        mapevents_set_visible(m.pppn, shown);
        mapevents_set_stale(m.layer_nav);
        m.nav_vp->update();
    }
}

void KGRMapEvents::showEvent(int ipt, int background, int nocenter)
{
    KgrmapeventsItem& m = mapevents;
    if (!m.events)
        return;
    if (ipt == -2) {
        if (m.display_mode != KGRMAPEVENTS_DISPLAY_EVENT)
            return;
        ipt = m.events_ipt;
    }
    setEventsBackground(background);
    if (ipt == -1)
        ipt = maxtbl(m.events) - 1;
    m.events_ipt = -1;
    m.event = static_cast<HXEVEvent*>(gettbl(m.events, ipt));
    if (!m.event)
        return;
    m.display_mode = KGRMAPEVENTS_DISPLAY_EVENT;
    if (m.evv && m.evv->refreshAssociations(m.event) < 0)
        hx_complain(0, "KGRMapEvents::showEvent: evv->refreshAssociations() error.\n");
    HXEVOrigin* origin = m.event->preferred;
    if (origin && m.auto_center && !nocenter)
        centerOn(origin->lon, origin->lat);
    displayOriginStations(origin);
    if (origin && !showOrigin(origin))
        return;
    for (QWidget* w : std::initializer_list<QWidget*>{m.pps, m.ppp, m.ppd_event, m.layer_event})
        mapevents_set_visible(w, true);
    mapevents_set_visible(m.ppd_events, false);
    mapevents_set_stale(m.layer_event);
    mapevents_set_stale(m.layer_events);
    m.events_ipt = ipt;
    mapevents_show_selection_change(this, true);
}

void KGRMapEvents::centerOn(double lon, double lat)
{
    if (!map.vp)
        return;
    char center[128];
    snprintf(center, sizeof center, "%f %f", lon, lat);
    map.vp->configure("center", center, kEnd);
    setMaplayersStale();
    map.vp->update();
}

// The origin symbol of the selected event; false when its vector cannot be
// made.
bool KGRMapEvents::showOrigin(HXEVOrigin* origin)
{
    KgrmapeventsItem& m = mapevents;
    char vec[32];
    if (mapevents_create_vector(&m, vec, "o") < 0 ||
        hxvector_add_points(vec, 1, &origin->lon, &origin->lat, nullptr) < 0) {
        hx_complain(0, "KGRMapEvents::showEvent: hxvector_create() error.\n");
        return false;
    }
    if (m.ppo)
        m.ppo->configure("vector", vec, kEnd);
    mapevents_free_vector(vec);
    setEventCoding(m.event);
    mapevents_set_visible(m.ppo, true);
    return true;
}

void KGRMapEvents::hideEvent()
{
    KgrmapeventsItem& m = mapevents;
    for (QWidget* w : std::initializer_list<QWidget*>{m.pps, m.ppp, m.ppd_event})
        mapevents_set_visible(w, false);
    mapevents_set_visible(m.ppd_events, m.show_detections != 0);
    mapevents_set_stale(m.layer_events);
    mapevents_set_visible(m.layer_event, false);
    mapevents_set_stale(m.layer_event);
    m.events_ipt = -1;
    m.event = nullptr;
    m.display_mode = KGRMAPEVENTS_DISPLAY_NONE;
    mapevents_show_selection_change(this, false);
}

void KGRMapEvents::displayOriginStations(HXEVOrigin* origin)
{
    KgrmapeventsItem& m = mapevents;
    std::map<std::string, KgrmapeventsOriginStation> byStation;
    if (origin) {
        for (int i = 0; i < maxtbl(origin->assocs); ++i)
            mapevents_add_assoc(byStation, static_cast<HXEVAssoc*>(gettbl(origin->assocs, i)),
                                origin);
        addOtherStations(origin, byStation);
    }
    std::vector<KgrmapeventsOriginStation> stations;
    for (auto& entry : byStation)
        stations.push_back(entry.second);
    if (!stations.empty())
        qsort(stations.data(), stations.size(), sizeof stations[0], mapevents_distance_compare);
    for (KGRPolypoint* pp : {m.ppp, m.pppn})
        if (pp)
            pp->configure("points_free", "", kEnd);
    std::vector<double> x, y;
    for (const KgrmapeventsOriginStation& s : stations) {
        x.push_back(s.lon);
        y.push_back(s.lat);
        const int n = std::max(1, std::min(180, static_cast<int>(s.distance)));
        QList<KGR_XY>* path = make_great_circle_path(origin->lat, origin->lon, s.lat, s.lon, n);
        for (KGRPolypoint* pp : {m.ppp, m.pppn})
            if (pp && path)
                pp->configure("path_add<QList>", reinterpret_cast<char*>(path), kEnd);
        delete path;
    }
    char vec[32];
    if (mapevents_create_vector(&m, vec, "s") == 0 &&
        hxvector_add_points(vec, static_cast<int>(x.size()), x.data(), y.data(), nullptr) >= 0) {
        for (KGRPolypoint* pp : {m.pps, m.ppsn})
            mapevents_take_vector(pp, vec, static_cast<int>(x.size()));
        for (size_t i = 0; m.pps && i < stations.size(); ++i) {
            KgrpolypointCoding* coding =
                stations[i].defining == 1   ? &m.event_stations_coding_defining
                : stations[i].defining == 0 ? &m.event_stations_coding_associated
                                            : &m.event_stations_coding_other;
            makeSymbols(m.pps, coding, origin, nullptr, stations[i].distance,
                        &m.pps->polypoint.point[i]);
        }
    }
    mapevents_free_vector(vec);
    refreshEventDetections();
}

// Stations that detected a phase soon after the origin time without an
// association with the origin.
void KGRMapEvents::addOtherStations(HXEVOrigin* origin,
                                    std::map<std::string, KgrmapeventsOriginStation>& stations)
{
    Tbl* detections = mapevents.events_detections;
    for (int i = 0; i < maxtbl(detections); ++i) {
        auto* d = static_cast<HXEVDetectionStachan*>(gettbl(detections, i));
        if (d->time < origin->time || d->time > origin->time + kOtherStationWindow ||
            !mapevents_known_position(d->lat, d->lon) || stations.count(d->sta))
            continue;
        KgrmapeventsOriginStation& s = stations[d->sta];
        snprintf(s.sta, sizeof s.sta, "%s", d->sta);
        s.lat = d->lat;
        s.lon = d->lon;
        double del = 0, az = 0;
        dist(origin->lat * 0.017453292519943295, origin->lon * 0.017453292519943295,
             d->lat * 0.017453292519943295, d->lon * 0.017453292519943295, &del, &az);
        s.distance = del * 57.29577951308232;
        s.defining = -1;
    }
}

// ------------------------------------------------------------------ mouse

int KGRMapEvents::mouseCallback(int kind, void*, QEvent* event)
{
    KgrmapeventsItem& m = mapevents;
    if (!m.evv || kind < 0 || kind > 10 || !event)
        return 0;
    if (kind == KGR_EVENT_MOUSE_PRESS)
        return mousePress(static_cast<QMouseEvent*>(event));
    if (kind == KGR_EVENT_MOUSE_MOVE)
        mouseMove(static_cast<QMouseEvent*>(event));
    return 0;
}

int KGRMapEvents::mousePress(QMouseEvent* event)
{
    KgrmapeventsItem& m = mapevents;
    const int x = event->x(), y = event->y();
    switch (m.mouse_state) {
    case KGRMAPEVENTS_MOUSE_HOVER:
        m.mouse_state = KGRMAPEVENTS_MOUSE_PINNED;
        return KGR_EVENT_CONSUMED;
    case KGRMAPEVENTS_MOUSE_PINNED:
        if (mapevents_find_symbol(m.ppo, x, y) < 0)
            return 0;
        setEventsBackground(1);
        m.mouse_state = KGRMAPEVENTS_MOUSE_NONE;
        hideEvent();
        return KGR_EVENT_CONSUMED;
    default: {
        const int ipt = mapevents_find_symbol(m.ppe, x, y);
        if (ipt < 0)
            return 0;
        showEvent(ipt, 3, 0);
        m.mouse_state = KGRMAPEVENTS_MOUSE_PINNED;
        return KGR_EVENT_CONSUMED;
    }
    }
}

void KGRMapEvents::mouseMove(QMouseEvent* event)
{
    KgrmapeventsItem& m = mapevents;
    const int x = event->x(), y = event->y();
    if (m.mouse_state == KGRMAPEVENTS_MOUSE_HOVER && mapevents_find_symbol(m.ppo, x, y) < 0) {
        setEventsBackground(1);
        hideEvent();
        m.mouse_state = KGRMAPEVENTS_MOUSE_NONE;
    }
    if (!(event->modifiers() & Qt::ShiftModifier) || m.mouse_state == KGRMAPEVENTS_MOUSE_PINNED)
        return;
    const int ipt = mapevents_find_symbol(m.ppe, x, y);
    if (ipt >= 0 && ipt != m.events_ipt) {
        showEvent(ipt, 3, 1);
        m.mouse_state = KGRMAPEVENTS_MOUSE_HOVER;
    }
}

int KGRMapEvents::postmouseCallback(int kind, void*, QEvent*)
{
    if ((kind == KGR_EVENT_MOUSE_PRESS || kind == KGR_EVENT_MOUSE_RELEASE ||
         kind == KGR_EVENT_MOUSE_MOVE || kind == KGR_EVENT_KEY_PRESS) &&
        map.vp)
        map.vp->setPaintStale();
    return 0;
}
