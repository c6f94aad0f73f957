// The map of events (KGRMapEvents) over a large SQLite event database:
// 100,000 events with 1,000,000 detections at 500 stations over 100 days,
// as bench_eventdb builds it, one of the events with 200 associated
// stations. A whole-world map of 1920 x 1080 with no map layers and no
// navigation map, so that only the events are drawn; the default codings.
//
//  - a poll with no change (animatorCallback);
//  - one new event: the update cycle that follows it (animatorCallback:
//    the check, refreshEvents, the detections and the newest event shown),
//    the redraw into a QImage, both together, and their parts;
//  - showEvent of the origin with 200 stations, alone, with the redraw, and
//    its parts.
//
// The database is built once into bench-mapevents.db in the working
// directory and reused; the events the benchmarks add are deleted again.
#include "bench_eventdb_data.h"
#include "hx_error.h"
#include "hx_eventdb.h"
#include "hx_eventdb_writer.h"
#include "hx_eventview.h"
#include "kgrqt.h"

#include <benchmark/benchmark.h>

#include <QFile>
#include <QGridLayout>
#include <QImage>
#include <QSqlQuery>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace {

const char* const kEnd = nullptr;
const int kWidth = 1920, kHeight = 1080;
using benchdb::EVENTS; // the event with 200 stations among them
using benchdb::siteLat;
using benchdb::siteLon;
using benchdb::SITES;
using benchdb::SPAN;
using benchdb::T0;
const int SHOWN_STATIONS = 200, SHOWN_DEFINING = 150;
const double SHOWN_LAT = 10, SHOWN_LON = 20;
const char* const kFile = "bench-mapevents.db";
const char* const kName = "sqlite:bench-mapevents.db";

// Great-circle distance in degrees.
double distanceDeg(double lat1, double lon1, double lat2, double lon2)
{
    const double r = M_PI / 180;
    double c = std::sin(lat1 * r) * std::sin(lat2 * r) +
               std::cos(lat1 * r) * std::cos(lat2 * r) * std::cos((lon2 - lon1) * r);
    return std::acos(std::max(-1.0, std::min(1.0, c))) / r;
}

// The event with 200 stations: a detection at each of the first 200
// sites, associated with its origin, 150 of them defining.
bool addShownEvent(HXEvdbWriter& w)
{
    long evid = w.event(nullptr, "shown", "bench");
    HXEVOrigin o{};
    o.evid = evid;
    o.time = T0 + SPAN / 2 + 0.5;
    o.lat = SHOWN_LAT;
    o.lon = SHOWN_LON;
    o.depth = 33;
    o.ml = 5.5;
    o.ndef = SHOWN_DEFINING;
    o.nass = SHOWN_STATIONS;
    o.mb = o.ms = o.mw = -999;
    long orid = evid > 0 ? w.origin(nullptr, o) : -1;
    bool ok = orid > 0 && w.setPreferred(evid, orid) == 0;
    for (int s = 0; ok && s < SHOWN_STATIONS; s++) {
        // Every other site of the 25 x 20 grid, so that they surround it.
        const int site = (s * 5 / 2) % SITES;
        const double delta = distanceDeg(SHOWN_LAT, SHOWN_LON, siteLat(site), siteLon(site));
        HXEVDetectionStachan d{};
        snprintf(d.net, sizeof d.net, "BN");
        snprintf(d.sta, sizeof d.sta, "S%03d", site);
        snprintf(d.chan, sizeof d.chan, "HHZ");
        snprintf(d.phase, sizeof d.phase, "P");
        d.time = o.time + 10 * std::sqrt(delta + 1);
        long arid = w.detection(nullptr, d);
        ok = arid > 0 &&
             w.assoc(arid, orid, d.sta, "P", delta, 0.1 * (s % 7 - 3), s < SHOWN_DEFINING) >= 0;
    }
    return ok;
}

// Fills an empty database as bench_eventdb does, with the shown event in
// the middle; false on failure.
bool populate()
{
    return benchdb::populate(kName, EVENTS - 1, [](HXEvdbWriter& w, int i) {
        return i != EVENTS / 2 || addShownEvent(w);
    });
}

// A writer on the database; the events it adds go when it does.
class BenchWriter : public benchdb::Writer {
public:
    BenchWriter() : benchdb::Writer(kName) {}

    // One event with its preferred origin after every other, in one
    // transaction.
    bool addEvent()
    {
        HXEVOrigin o{};
        bool ok = w_->begin() == 0;
        o.evid = ok ? w_->event(nullptr, "new", "bench-new") : -1;
        o.time = T0 + SPAN + 60 * ++added_;
        o.lat = -30 + added_ % 60;
        o.lon = -45.25 + added_ % 90;
        o.depth = 10;
        o.ml = 3.1;
        o.mb = o.ms = o.mw = -999;
        strcpy(o.auth, "bench-new");
        long orid = o.evid > 0 ? w_->origin(nullptr, o) : -1;
        ok = orid > 0 && w_->setPreferred(o.evid, orid) == 0 && w_->commit() == 0;
        if (!ok)
            hx_clear_register(1);
        return ok;
    }

private:
    int added_ = 0;
};

// The map over the database, made once: 1920 x 1080, the whole world, no
// margins, no map layers, no navigation map, no update timer.
struct Map {
    Map() : image(kWidth, kHeight, QImage::Format_ARGB32_Premultiplied)
    {
        const bool present = QFile::exists(kFile);
        if (present ? !benchdb::migrate(kName) : !populate())
            return;
        vp.resize(kWidth, kHeight);
        if (vp.configure("wtran", "geog", "xleft", "-180", "xright", "180", "ybottom", "-90",
                         "ytop", "90", "margin", "0 0 0 0", "fill", "white", kEnd) < 0)
            return;
        me = new KGRMapEvents(&vp, 0);
        if (me->configure("maplayers", "maplayers &Tbl{\n}\n", "update_interval", "0", kEnd) < 0 ||
            me->setDatabase(const_cast<char*>(kName)) < 0) {
            hx_clear_register(1);
            me = nullptr;
            return;
        }
        vp.layout->activate();
        render();
    }
    void render() { vp.render(&image); }
    int events() const { return me && me->mapevents.ppe ? me->mapevents.ppe->polypoint.npts : -1; }
    // The index of the event with 200 stations.
    int shown() const
    {
        for (int i = 0; me && i < maxtbl(me->mapevents.events); i++)
            if (strcmp(static_cast<HXEVEvent*>(gettbl(me->mapevents.events, i))->evname, "shown") ==
                0)
                return i;
        return -1;
    }

    KGRViewport vp{nullptr};
    KGRMapEvents* me = nullptr;
    QImage image;
};

Map* theMap(benchmark::State& state)
{
    static Map* map = new Map();
    if (!map->me) {
        state.SkipWithError("cannot build or open bench-mapevents.db");
        return nullptr;
    }
    // Whatever an earlier benchmark changed is read first.
    map->me->animatorCallback();
    map->render();
    return map;
}

// ------------------------------------------------------ poll, no change

void BM_PollNoChange(benchmark::State& state)
{
    Map* map = theMap(state);
    if (!map)
        return;
    KGRPolypoint* ppe = map->me->mapevents.ppe;
    for (auto _ : state)
        if (map->me->animatorCallback() != 0)
            state.SkipWithError("animatorCallback failed");
    if (map->me->mapevents.ppe != ppe || map->events() != EVENTS)
        state.SkipWithError("the poll read something");
    state.counters["events"] = map->events();
}

// ----------------------------------------------------- one new event
//
// What is timed after one event is inserted (the insertion is never timed):
enum {
    NEW_CYCLE_AND_REDRAW = 0, // animatorCallback, then the viewport rendered
    NEW_CYCLE = 1,            // animatorCallback
    NEW_REDRAW = 2,           // the render after animatorCallback
    NEW_MAP_REFRESH = 3,      // KGRMapEvents::refreshEvents (view, vector, coding)
    NEW_VIEW_REFRESH = 4,     // HXEventView::refreshEvents alone
    NEW_SHOW_NEWEST = 5,      // the rest of the cycle: detections, hide, show newest
    NEW_CODING = 6,           // setEventsCoding of the 100,001 symbols (part of 3)
    NEW_SORT = 7,             // HXEventView::sortEvents by time (part of 3)
    NEW_LOAD = 8,             // the events' polypoint loading its vector (part of 3)
    NEW_VECTOR = 9            // a vector of the 100,001 positions made and freed (part of 3)
};

void BM_NewEvent(benchmark::State& state)
{
    Map* map = theMap(state);
    if (!map)
        return;
    const int step = static_cast<int>(state.range(0));
    KGRMapEvents* me = map->me;
    BenchWriter writer;
    if (!writer.ok()) {
        state.SkipWithError("cannot write the database");
        return;
    }
    int expect = map->events();
    for (auto _ : state) {
        state.PauseTiming();
        bool ok = writer.addEvent();
        expect++;
        Arr* changes = nullptr;
        if (ok && (step == NEW_MAP_REFRESH || step == NEW_VIEW_REFRESH))
            me->mapevents.evv->checkChanges(&changes); // the part of the poll before
        freearr(changes, free);
        if (ok && step >= NEW_REDRAW && step != NEW_MAP_REFRESH && step != NEW_VIEW_REFRESH)
            ok = me->animatorCallback() == 0;
        state.ResumeTiming();
        switch (step) {
        case NEW_CYCLE_AND_REDRAW:
            ok = ok && me->animatorCallback() == 0;
            map->render();
            break;
        case NEW_CYCLE:
            ok = ok && me->animatorCallback() == 0;
            break;
        case NEW_REDRAW:
            map->render();
            break;
        case NEW_MAP_REFRESH:
            ok = ok && me->refreshEvents() == 0;
            break;
        case NEW_VIEW_REFRESH:
            ok = ok && me->mapevents.evv->refreshEvents(&me->mapevents.events) == 0;
            break;
        case NEW_SHOW_NEWEST:
            // As the cycle does after refreshEvents (the view has read
            // the event already).
            me->refreshEventsDetections();
            me->hideEvent();
            me->showEvent(-1, 3, 0);
            break;
        case NEW_CODING:
            me->setEventsCoding();
            break;
        case NEW_SORT:
            me->mapevents.evv->sortEvents(me->mapevents.events, HXEV_SORT_TIME);
            break;
        case NEW_LOAD:
            me->mapevents.ppe->configure("vector", me->mapevents.vec, kEnd);
            break;
        case NEW_VECTOR: {
            std::vector<double> x, y;
            for (int i = 0; i < maxtbl(me->mapevents.events); ++i) {
                const HXEVOrigin* o =
                    static_cast<HXEVEvent*>(gettbl(me->mapevents.events, i))->preferred;
                x.push_back(o ? o->lon : 0.0);
                y.push_back(o ? o->lat : 0.0);
            }
            ok = ok && hxvector_create("bench_mapevents_e", HXVECTOR_PLAIN) >= 0 &&
                 hxvector_add_points("bench_mapevents_e", static_cast<int>(x.size()), x.data(),
                                     y.data(), nullptr) >= 0;
            hxvector_free("bench_mapevents_e");
            break;
        }
        }
        state.PauseTiming();
        if (step == NEW_MAP_REFRESH || step == NEW_VIEW_REFRESH) {
            me->refreshEvents(); // the map follows the view again
            me->hideEvent();
            me->showEvent(-1, 3, 0);
        }
        if (step == NEW_LOAD)
            me->setEventsCoding();
        if (!ok || map->events() != expect) {
            hx_clear_register(1);
            state.SkipWithError("the new event was not read");
            state.ResumeTiming();
            break;
        }
        state.ResumeTiming();
    }
    state.counters["events"] = map->events();
}

// ------------------------------------------- an origin with 200 stations
//
// What is timed, the event with 200 stations having been hidden first:
enum {
    SHOW = 0,                 // showEvent
    SHOW_AND_REDRAW = 1,      // showEvent, then the viewport rendered
    SHOW_REDRAW = 2,          // the render after showEvent (both layers stale)
    SHOW_REDRAW_EVENT = 3,    // the render with only the selected event's layer stale
    SHOW_ASSOCIATIONS = 4,    // HXEventView::refreshAssociations
    SHOW_STATIONS = 5,        // displayOriginStations (paths, stations, detections)
    SHOW_DETECTIONS = 6,      // refreshEventDetections (part of displayOriginStations)
    SHOW_VIEW_DETECTIONS = 7, // HXEventView::refreshDetections(origin) alone
    SHOW_STALE = 8,           // both layers made stale once (their pixmaps cleared)
    SHOW_REDRAW_NONE = 9      // the render with nothing stale (copying the layers)
};

void BM_ShowEvent(benchmark::State& state)
{
    Map* map = theMap(state);
    if (!map)
        return;
    const int step = static_cast<int>(state.range(0));
    KGRMapEvents* me = map->me;
    KgrmapeventsItem& m = me->mapevents;
    const int ipt = map->shown();
    if (ipt < 0) {
        state.SkipWithError("no event with 200 stations");
        return;
    }
    // Selected as a click does, once, so that the background is dimmed.
    me->hideEvent();
    me->showEvent(ipt, 3, 1);
    map->render();
    HXEVEvent* event = m.event;
    HXEVOrigin* origin = event ? event->preferred : nullptr;
    if (!origin) {
        state.SkipWithError("the event has no origin");
        return;
    }
    for (auto _ : state) {
        state.PauseTiming();
        if (step <= SHOW_REDRAW)
            me->hideEvent();
        if (step == SHOW_REDRAW)
            me->showEvent(ipt, 3, 1);
        if (step == SHOW_REDRAW_EVENT)
            m.layer_event->setStale();
        state.ResumeTiming();
        switch (step) {
        case SHOW:
            me->showEvent(ipt, 3, 1);
            break;
        case SHOW_AND_REDRAW:
            me->showEvent(ipt, 3, 1);
            map->render();
            break;
        case SHOW_REDRAW:
        case SHOW_REDRAW_EVENT:
            map->render();
            break;
        case SHOW_ASSOCIATIONS:
            m.evv->refreshAssociations(event);
            break;
        case SHOW_STATIONS:
            me->displayOriginStations(origin);
            break;
        case SHOW_DETECTIONS:
            me->refreshEventDetections();
            break;
        case SHOW_VIEW_DETECTIONS:
            m.evv->refreshDetections(origin);
            break;
        case SHOW_STALE:
            m.layer_events->setStale();
            m.layer_event->setStale();
            break;
        case SHOW_REDRAW_NONE:
            map->render();
            break;
        }
    }
    const int stations = m.pps ? m.pps->polypoint.npts : -1;
    if (m.events_ipt != ipt || stations != SHOWN_STATIONS ||
        maxtbl(origin->detections) != SHOWN_STATIONS) {
        hx_clear_register(1);
        state.SkipWithError("the event was not shown with its 200 stations");
    }
    state.counters["stations"] = stations;
    state.counters["detections"] = maxtbl(origin->detections);
    me->hideEvent();
}

} // namespace

BENCHMARK(BM_PollNoChange)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_NewEvent)
    ->ArgName("step")
    ->DenseRange(NEW_CYCLE_AND_REDRAW, NEW_VECTOR)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(10);
BENCHMARK(BM_ShowEvent)
    ->ArgName("step")
    ->DenseRange(SHOW, SHOW_REDRAW_NONE)
    ->Unit(benchmark::kMillisecond);
