// The map of seismic events: the database, the update timer and cycle, and
// the event and detection symbols. The selection of one event with its
// stations is in kgrqt_mapevents_select.cpp, the options in
// kgrqt_mapevents_options.cpp, the navigation map in kgrqt_mapevents_nav.cpp.
#include "hx_eventview.h"
#include "kgrqt_mapevents.h"
#include "kgrqt_mapevents_item.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QTimer>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>
#include <vector>

namespace {

const char* const kEnd = nullptr;

// Each map events item names its vectors and objects after a number of
// its own, so that several maps live side by side.
int mapeventsCount = 0;

// The data value that a size or fader mode scales: the age for age, the
// value v for mode 2, v less the time for agerel; ageresid becomes mode 2
// with v.
void mapevents_set_value(int* mode, double* value, double now, double time, double v)
{
    switch (*mode) {
    case MAPEVENTS_MODE_AGE:
        *value = now - time;
        break;
    case MAPEVENTS_MODE_VALUE:
        *value = v;
        break;
    case MAPEVENTS_MODE_AGEREL:
        *value = v - time;
        break;
    case MAPEVENTS_MODE_AGERESID:
        *mode = MAPEVENTS_MODE_VALUE;
        *value = v;
        break;
    default:
        break;
    }
}

// The points of a table of detections, at their stations; a detection of
// an unknown station is a hidden point at (0, 0).
int mapevents_add_detection_points(const char* vec, Tbl* detections)
{
    std::vector<double> x, y;
    for (int i = 0; i < maxtbl(detections); ++i) {
        auto* d = static_cast<HXEVDetectionStachan*>(gettbl(detections, i));
        bool known = mapevents_known_position(d->lat, d->lon);
        x.push_back(known ? d->lon : 0.0);
        y.push_back(known ? d->lat : 0.0);
    }
    return hxvector_add_points(vec, static_cast<int>(x.size()), x.data(), y.data(), nullptr);
}

void mapevents_hide_unknown_detections(KGRPolypoint* pp, Tbl* detections)
{
    for (int i = 0; i < maxtbl(detections) && i < pp->polypoint.npts; ++i) {
        auto* d = static_cast<HXEVDetectionStachan*>(gettbl(detections, i));
        if (!mapevents_known_position(d->lat, d->lon))
            pp->polypoint.point[i].visibility = 0;
    }
}

// An item goes under the layer it paints into: painters must paint before
// their layer shows the pixmap.
void mapevents_put_on_layer(KGRPolypoint* pp, KGRLayer* layer)
{
    if (!pp || !layer)
        return;
    pp->setLayer(layer);
    pp->stackUnder(layer);
}

} // namespace

bool mapevents_known_position(double lat, double lon)
{
    return lat != HXEV_NULL && lon != HXEV_NULL;
}

// The points of a vector into a polypoint. No points empty it: the vector
// option would ask for the extent of an empty vector, an error.
void mapevents_take_vector(KGRPolypoint* pp, const char* vec, int npts)
{
    if (!pp)
        return;
    if (npts > 0)
        pp->configure("vector", vec, kEnd);
    else
        pp->configure("points_free", "", kEnd);
}

void mapevents_set_visible(QWidget* widget, bool visible)
{
    if (widget)
        widget->setVisible(visible);
}

void mapevents_set_stale(KGRLayer* layer)
{
    if (layer)
        layer->setStale();
}

int mapevents_create_vector(KgrmapeventsItem* item, char* name, const char* suffix)
{
    auto* me = mapevents_of(item);
    snprintf(name, 32, "mapevents%d%s", me->instance, suffix);
    if (hxvector_create(name, HXVECTOR_PLAIN) < 0) {
        name[0] = '\0';
        return -1;
    }
    return 0;
}

void mapevents_free_vector(char* name)
{
    if (*name)
        hxvector_free(name);
    name[0] = '\0';
}

KGRPolypoint* mapevents_make_polypoint(KGRViewport* vp, const char* const* options)
{
    if (!vp)
        return nullptr;
    KGRPolypoint* pp = nullptr;
    try {
        pp = new KGRPolypoint(vp);
    } catch (const char* e) {
        hx_register_error(0, "mapevents_make_polypoint: new KGRPolypoint error: %s.\n", e);
        return nullptr;
    }
    for (int i = 0; options[i]; i += 2)
        if (pp->configure(options[i], options[i + 1], kEnd) < 0)
            hx_complain(0, "mapevents_make_polypoint: configure(%s) error.\n", options[i]);
    return pp;
}

// ------------------------------------------------------------------ timer

MapeventsTimer::MapeventsTimer(KGRMapEvents* mapevents, double interval)
    : mapevents(mapevents), maptimer(this), interval(interval)
{
}

void MapeventsTimer::operator()() const
{
    MapeventsTimer* record = maptimer;
    KGRMapEvents* me = record->mapevents;
    if (record->interval >= 0 && me->animatorCallback() == 0 && record->interval > 0) {
        QTimer::singleShot(static_cast<int>(record->interval * 1000), me, MapeventsTimer(*record));
        return;
    }
    me->timerEnded(record);
    delete record;
}

void MapeventsTimer::setInterval(double interval)
{
    maptimer->interval = interval;
}

// ------------------------------------------------------------------ class

KGRMapEvents::KGRMapEvents(KGRViewport* viewport, int nav) : KGRMap(viewport)
{
    kgrqt_construct([&] { init(nav); }, "KGRMapEvents::KGRMapEvents: init() error.");
}

KGRMapEvents::~KGRMapEvents()
{
    KgrmapeventsItem& m = mapevents;
    for (MapeventsTimer* record : timers)
        delete record;
    timers.clear();
    m.timer = nullptr;
    // A viewport that deletes its children, this map among them, is a plain
    // QWidget by then and its record is gone: only a live viewport still has
    // a paint callback to drop.
    auto* vp = dynamic_cast<KGRViewport*>(parentWidget());
    if (vp && vp == map.vp && vp->viewport.paint_callback_clientdata == this)
        vp->registerPaintCallback(nullptr, nullptr);
    for (KGRPolypoint** pp : {&m.ppe, &m.ppd_events, &m.ppd_event, &m.pps, &m.ppo, &m.ppp})
        delete *pp;
    delete m.events_taskbar;
    delete m.map_taskbar;
    delete m.nav_vp;
    delete resizeWatcher;
    delete m.evv;
    for (char* vec : {m.vec, m.vecd_events, m.vecd_event})
        mapevents_free_vector(vec);
    for (HX_ConfigureSpec* s = configSpecs; strcmp(s->type, "end") != 0; ++s)
        if (strcmp(s->type, "coding") == 0)
            mapevents_free_coding(mapevents_coding_of(&m, s->name));
    freearr(m.coding_templates, nullptr);
    free(m.dbname);
    free(m.map_taskbar_buttons_definitions_string);
    free(m.map_taskbar_buttons_string);
    free(m.events_taskbar_buttons_definitions_string);
    free(m.events_taskbar_buttons_string);
    free(class_name);
}

// A widget field that forgets its widget when the widget goes.
template <class Widget> static void mapevents_watch(KGRMapEvents* me, Widget** field)
{
    if (*field)
        QObject::connect(*field, &QObject::destroyed, me, [field] { *field = nullptr; });
}

void KGRMapEvents::watchItems()
{
    KgrmapeventsItem& m = mapevents;
    for (KGRPolypoint** pp :
         {&m.ppe, &m.ppd_events, &m.ppd_event, &m.pps, &m.ppo, &m.ppsn, &m.ppp, &m.pppn, &m.ppb})
        if (*pp && !watched.count(*pp)) {
            watched.insert(*pp);
            mapevents_watch(this, pp);
        }
}

void KGRMapEvents::init(int nav)
{
    instance = ++mapeventsCount;
    addTypeParser("coding", mapevents_parse_coding_option);
    addTypePrinter("coding", mapevents_print_coding_option);
    kgrqt_init_item(
        this, map.vp, &mapevents, "KGRMapEvents", "KGRMapEvents::init: setParent() error.",
        [this](KgrmapeventsItem& m) {
            m.object_ptr = this;
            m.events_ipt = -1;
            for (HX_ConfigureSpec* s = configSpecs; strcmp(s->type, "end") != 0; ++s)
                if (strcmp(s->type, "coding") == 0)
                    mapevents_clear_coding(mapevents_coding_of(&m, s->name));
        },
        [] {});
    const std::string prefix = "mapevents" + std::to_string(instance);
    if (configure("picker_name", (prefix + "picker").c_str(), "process_mouse_events", "yes",
                  "layer_events", (prefix + "_events").c_str(), "layer_event",
                  (prefix + "_event").c_str(), kEnd) < 0)
        throw "KGRMapEvents::init: configure() error.";
    mapevents_watch(this, &mapevents.layer_events);
    mapevents_watch(this, &mapevents.layer_event);
    mapevents.layer_event->hide();
    if (map.vp)
        map.vp->registerPaintCallback(mapevents_paint_callback, this);
    if (nav && createNav() < 0) {
        hx_register_error(0, "KGRMapEvents::init: createNav() error.\n");
        throw "KGRMapEvents::init: createNav() error.";
    }
    if (mapevents_install_defaults(this) < 0)
        throw "KGRMapEvents::init: mapevents_install_defaults() error.";
    raisePickers();
}

int KGRMapEvents::setDatabase(char* name)
{
    KgrmapeventsItem& m = mapevents;
    if (!name)
        return 0;
    HXEventView* evv = nullptr;
    try {
        evv = new HXEventView();
    } catch (const char* e) {
        hx_register_error(0, "KGRMapEvents::setDatabase: new HXEventView(%s) error: %s.\n", name,
                          e);
        return -1;
    }
    if (evv->configure("dbname", name, kEnd) < 0) {
        hx_register_error(0, "KGRMapEvents::setDatabase: configure(dbname='%s') error.\n", name);
        delete evv;
        return -1;
    }
    stopTimer();
    resetDisplay();
    delete m.evv;
    m.evv = evv;
    free(m.dbname);
    m.dbname = strdup(name);
    // A new view reports no change for what the database already holds:
    // the display is filled from it first.
    showNewest();
    startTimer();
    return 0;
}

// What the display held belongs to the old view.
void KGRMapEvents::resetDisplay()
{
    KgrmapeventsItem& m = mapevents;
    if (m.display_mode)
        hideEvent();
    m.events = m.events_detections = m.event_detections = nullptr;
    m.event = nullptr;
    m.mouse_state = KGRMAPEVENTS_MOUSE_NONE;
}

void KGRMapEvents::stopTimer()
{
    if (mapevents.timer)
        mapevents.timer->setInterval(-1);
    mapevents.timer = nullptr;
}

void KGRMapEvents::startTimer()
{
    auto* record = new MapeventsTimer(this, mapevents.update_interval);
    mapevents.timer = record;
    timerStarted(record);
    (*record)();
}

void KGRMapEvents::restartTimer()
{
    if (!mapevents.evv)
        return;
    stopTimer();
    startTimer();
}

void KGRMapEvents::timerStarted(MapeventsTimer* record)
{
    timers.insert(record);
}

void KGRMapEvents::timerEnded(MapeventsTimer* record)
{
    timers.erase(record);
    if (mapevents.timer == record)
        mapevents.timer = nullptr;
}

// ----------------------------------------------------------- update cycle

int KGRMapEvents::animatorCallback()
{
    KgrmapeventsItem& m = mapevents;
    if (!m.evv)
        return 0;
    Arr* changes = nullptr;
    if (m.evv->checkChanges(&changes) < 0)
        hx_complain(0, "KGRMapEvents::animatorCallback: HXEventView::checkChanges() error.\n");
    bool reset = false;
    for (int i = 0; i < HXEV_NTABLES; ++i)
        reset = reset || hxev_change_code(changes, hxev_tables[i]) == HXEV_CHANGE_RESET;
    const bool events = hxev_change_code(changes, "event") || hxev_change_code(changes, "origin") ||
                        hxev_change_code(changes, "mt");
    const bool detections = hxev_change_code(changes, "detection") != 0;
    freearr(changes, free);
    if (reset) {
        if (m.evv->reset() < 0) {
            hx_complain(0, "KGRMapEvents::animatorCallback: Unable to reset event views.\n");
            return -1;
        }
        showNewest();
        return 0;
    }
    if (events)
        showNewest();
    if (detections)
        refreshDetectionsShown();
    return 0;
}

void KGRMapEvents::showNewest()
{
    refreshEvents();
    refreshEventsDetections();
    hideEvent();
    showEvent(-1, 3, 0);
}

// New detections: those of all events, and the selected event shown again.
void KGRMapEvents::refreshDetectionsShown()
{
    KgrmapeventsItem& m = mapevents;
    refreshEventsDetections();
    if (!m.event || m.display_mode != KGRMAPEVENTS_DISPLAY_EVENT)
        return;
    const int ipt = m.events_ipt;
    hideEvent();
    showEvent(ipt, 3, 1);
}

// ---------------------------------------------------------------- refresh

int KGRMapEvents::refreshEvents()
{
    KgrmapeventsItem& m = mapevents;
    if (!m.evv)
        return 0;
    int result = m.evv->refreshEvents(&m.events);
    if (result < 0) {
        hx_register_error(0, "KGRMapEvents::refreshEvents: evv->refreshEvents() error.\n");
        return result;
    }
    m.evv->sortEvents(m.events, HXEV_SORT_TIME);
    mapevents_free_vector(m.vec);
    std::vector<double> x, y;
    for (int i = 0; i < maxtbl(m.events); ++i) {
        const HXEVOrigin* o = static_cast<HXEVEvent*>(gettbl(m.events, i))->preferred;
        x.push_back(o ? o->lon : 0.0);
        y.push_back(o ? o->lat : 0.0);
    }
    if (mapevents_create_vector(&m, m.vec, "e") < 0 ||
        hxvector_add_points(m.vec, static_cast<int>(x.size()), x.data(), y.data(), nullptr) < 0) {
        hx_register_error(0, "KGRMapEvents::refreshEvents: hxvector_create(vec) error.\n");
        return -1;
    }
    if (!m.ppe)
        makeEventItems();
    mapevents_take_vector(m.ppe, m.vec, static_cast<int>(x.size()));
    setEventsCoding();
    placeEventItems();
    return 0;
}

void KGRMapEvents::makeEventItems()
{
    KgrmapeventsItem& m = mapevents;
    KGRViewport* vp = map.vp;
    const char* const ppp[] = {"outline_path", "#a0ff0000", "linewidth_path", "2", nullptr};
    const char* const pppn[] = {"outline_path", "#80ff0000", "linewidth_path", "1", nullptr};
    const char* const ppdEvent[] = {"symbol", "triangle",  "size", "4",    "fill",
                                    "yellow", "linewidth", "-1",   nullptr};
    const char* const pps[] = {"symbol", "triangle", "outline",   "#60000000", "fill", "yellow",
                               "size",   "8",        "linewidth", "0",         nullptr};
    const char* const ppo[] = {"symbol",  "circle",    "outline", "#60000000", "fill",
                               "#a0a0a0", "linewidth", "0",       nullptr};
    const char* const ppsn[] = {"symbol", "triangle", "outline",   "#60000000", "fill", "yellow",
                                "size",   "4",        "linewidth", "0",         nullptr};
    const char* const ppe[] = {"symbol",  "circle",    "outline", "#60000000", "fill",
                               "#a0a0a0", "linewidth", "0",       nullptr};
    m.ppp = mapevents_make_polypoint(vp, ppp);
    m.pppn = mapevents_make_polypoint(m.nav_vp, pppn);
    if (!m.ppd_event)
        m.ppd_event = mapevents_make_polypoint(vp, ppdEvent);
    m.pps = mapevents_make_polypoint(vp, pps);
    m.ppo = mapevents_make_polypoint(vp, ppo);
    m.ppsn = mapevents_make_polypoint(m.nav_vp, ppsn);
    m.ppe = mapevents_make_polypoint(vp, ppe);
    watchItems();
    if (m.display_mode == KGRMAPEVENTS_DISPLAY_NONE) {
        for (QWidget* w :
             std::initializer_list<QWidget*>{m.pps, m.ppp, m.ppd_event, m.ppsn, m.pppn})
            mapevents_set_visible(w, false);
    }
}

void KGRMapEvents::placeEventItems()
{
    KgrmapeventsItem& m = mapevents;
    for (KGRPolypoint* pp : {m.ppp, m.ppd_event, m.pps, m.ppo})
        mapevents_put_on_layer(pp, m.layer_event);
    mapevents_put_on_layer(m.ppe, m.layer_events);
    for (KGRPolypoint* pp : {m.pppn, m.ppsn})
        mapevents_put_on_layer(pp, m.layer_nav);
    if (m.layer_nav)
        m.layer_nav->raise();
    if (m.pickern)
        m.pickern->raise();
    raisePickers();
}

// The detections of a table into the vector (made already) and its
// polypoint, made on first use on the map's viewport and put on the events
// layer.
void KGRMapEvents::refreshDetectionVector(const char* vec, KGRPolypoint** pp, Tbl* detections)
{
    mapevents_add_detection_points(vec, detections);
    if (!*pp) {
        const char* const options[] = {"symbol", "triangle",  "size", "4",    "fill",
                                       "yellow", "linewidth", "-1",   nullptr};
        *pp = mapevents_make_polypoint(map.vp, options);
        watchItems();
        mapevents_put_on_layer(*pp, mapevents.layer_events);
        raisePickers();
    }
    mapevents_take_vector(*pp, vec, maxtbl(detections));
    if (*pp)
        mapevents_hide_unknown_detections(*pp, detections);
}

int KGRMapEvents::refreshEventsDetections()
{
    KgrmapeventsItem& m = mapevents;
    if (!m.evv || !m.show_detections)
        return 0;
    mapevents_free_vector(m.vecd_events);
    if (mapevents_create_vector(&m, m.vecd_events, "da") < 0) {
        hx_register_error(
            0, "KGRMapEvents::refreshEventsDetections: hxvector_create(vecd_events) error.\n");
        return -1;
    }
    const double now = std_now();
    if (m.evv->refreshDetections(now - m.max_age_detections, now, &m.events_detections) < 0)
        hx_register_error(
            0, "KGRMapEvents::refreshEventsDetections: evv->refreshDetections() error.\n");
    const bool created = !m.ppd_events;
    refreshDetectionVector(m.vecd_events, &m.ppd_events, m.events_detections);
    if (created)
        mapevents_set_visible(m.ppd_events, m.display_mode == KGRMAPEVENTS_DISPLAY_NONE);
    setEventsDetectionsCoding();
    return 0;
}

int KGRMapEvents::refreshEventDetections()
{
    KgrmapeventsItem& m = mapevents;
    if (!m.evv || !m.show_detections || !m.event || m.display_mode == KGRMAPEVENTS_DISPLAY_NONE)
        return 0;
    mapevents_free_vector(m.vecd_event);
    if (mapevents_create_vector(&m, m.vecd_event, "ds") < 0) {
        hx_register_error(
            0, "KGRMapEvents::refreshEventDetections: hxvector_create(vecd_event) error.\n");
        return -1;
    }
    HXEVOrigin* origin = m.event->preferred;
    if (origin && m.evv->refreshDetections(origin) < 0)
        hx_register_error(0, "KGRMapEvents::refreshDetections: evv->refreshDetections() error.\n");
    m.event_detections = origin ? origin->detections : nullptr;
    refreshDetectionVector(m.vecd_event, &m.ppd_event, m.event_detections);
    setEventDetectionsCoding(nullptr);
    return 0;
}

// ----------------------------------------------------------------- coding

int KGRMapEvents::makeSymbols(KGRPolypoint* pp, KgrpolypointCoding* coding, HXEVOrigin* origin,
                              const Dbptr* mt, double v, KgrpolypointPoint* point)
{
    KgrmapeventsItem& m = mapevents;
    bool tensor = mt && mt->record != HX_DB_INVALID && mt->database != HX_DB_INVALID;
    if (tensor) {
        double tmpp = 0, tmrp = 0, tmrr = 0, tmrt = 0, tmtp = 0, tmtt = 0;
        tensor = dbgetv(*mt, "mt", "tmpp", &tmpp, "tmrp", &tmrp, "tmrr", &tmrr, "tmrt", &tmrt,
                        "tmtp", &tmtp, "tmtt", &tmtt, kEnd) == 0;
        if (tensor) {
            const double values[6] = {tmpp, tmtt, tmrr, -tmtp, -tmrp, tmrt};
            memcpy(point->m, values, sizeof values);
        } else {
            hx_clear_register(0);
        }
    }
    KgrpolypointCoding copy = *coding;
    const KgrpolypointCoding* fallback = coding == &m.events_coding  ? &m.events_fallback_coding
                                         : coding == &m.event_coding ? &m.event_fallback_coding
                                                                     : nullptr;
    if (copy.symbol == KGR_SYMBOL_BEACHBALL && !tensor && fallback) {
        copy.symbol = fallback->symbol;
        copy.size = fallback->size;
        copy.size_constant = fallback->size_constant;
    }
    if (copy.color == MAPEVENTS_COLOR_DEPTH && origin)
        point->color_value = origin->depth;
    const double now = std_now(), time = origin ? origin->time : 0.0;
    mapevents_set_value(&copy.size, &point->size_value, now, time, v);
    mapevents_set_value(&copy.fader, &point->fader_value, now, time, v);
    return pp->makeSymbol(&copy, point);
}

int KGRMapEvents::makeSymbols(KGRPolypoint* pp, KgrpolypointCoding* coding,
                              HXEVDetectionStachan* detection, double v, KgrpolypointPoint* point)
{
    KgrpolypointCoding copy = *coding;
    const double now = std_now();
    const double resid = std::fabs(detection->residual);
    for (auto field : {std::make_pair(&copy.size, &point->size_value),
                       std::make_pair(&copy.fader, &point->fader_value)})
        mapevents_set_value(field.first, field.second, now, detection->time,
                            *field.first == MAPEVENTS_MODE_AGERESID ? resid : v);
    return pp->makeSymbol(&copy, point);
}

// The time that agerel measures event symbols from: the newest origin's.
static double mapevents_newest_time(Tbl* events)
{
    for (int i = maxtbl(events); i-- > 0;)
        if (const HXEVOrigin* o = static_cast<HXEVEvent*>(gettbl(events, i))->preferred)
            return o->time;
    return std_now();
}

void KGRMapEvents::setEventsCoding()
{
    KgrmapeventsItem& m = mapevents;
    if (m.ppe && m.events) {
        const double newest = mapevents_newest_time(m.events);
        for (int i = 0; i < maxtbl(m.events) && i < m.ppe->polypoint.npts; ++i) {
            HXEVOrigin* o = static_cast<HXEVEvent*>(gettbl(m.events, i))->preferred;
            KgrpolypointPoint* point = &m.ppe->polypoint.point[i];
            if (o)
                makeSymbols(m.ppe, &m.events_coding, o, &o->mt, newest, point);
            else
                point->visibility = 0;
        }
    }
    mapevents_set_stale(m.layer_events);
}

void KGRMapEvents::setEventsDetectionsCoding()
{
    KgrmapeventsItem& m = mapevents;
    if (m.ppd_events) {
        const double now = std_now();
        for (int i = 0; i < maxtbl(m.events_detections) && i < m.ppd_events->polypoint.npts; ++i)
            makeSymbols(m.ppd_events, &m.events_detections_coding,
                        static_cast<HXEVDetectionStachan*>(gettbl(m.events_detections, i)), now,
                        &m.ppd_events->polypoint.point[i]);
    }
    mapevents_set_stale(m.layer_events);
}

void KGRMapEvents::setEventCoding(HXEVEvent* event)
{
    KgrmapeventsItem& m = mapevents;
    HXEVOrigin* o = event ? event->preferred : nullptr;
    if (m.ppo && o && m.ppo->polypoint.npts > 0)
        makeSymbols(m.ppo, &m.event_coding, o, &o->mt, o->time, &m.ppo->polypoint.point[0]);
    mapevents_set_stale(m.layer_event);
}

void KGRMapEvents::setEventDetectionsCoding(HXEVOrigin* origin)
{
    KgrmapeventsItem& m = mapevents;
    if (!origin && m.event)
        origin = m.event->preferred;
    if (m.ppd_event) {
        const double time = origin ? origin->time : std_now();
        for (int i = 0; i < maxtbl(m.event_detections) && i < m.ppd_event->polypoint.npts; ++i)
            makeSymbols(m.ppd_event, &m.event_detections_coding,
                        static_cast<HXEVDetectionStachan*>(gettbl(m.event_detections, i)), time,
                        &m.ppd_event->polypoint.point[i]);
    }
    mapevents_set_stale(m.layer_events);
    mapevents_set_stale(m.layer_event);
}

// After the map repaints: the navigation map follows what it shows.
int mapevents_paint_callback(int, void* clientdata, QEvent*)
{
    auto* me = static_cast<KGRMapEvents*>(clientdata);
    if (me)
        me->followView();
    return 0;
}
