// Gallery scene of the map of events: a KGRMapEvents over an event
// database made in a temporary directory from the shipped catalogues, with
// one event selected.
//
// The database holds the USGS week of data/earthquakes.txt and the two
// great earthquakes of data/quakes-mt.xml (with their moment tensors). The
// map codes its symbols by age relative to now, so every time is moved:
// the week so that its end (the feed's time, 2018-02-07 01:49:14 UTC) is
// now, the 2011 Tohoku earthquake to 10 minutes ago (the newest event, the
// one selected: the week's last is 23 minutes old) and the 2004 Sumatra
// earthquake to two days ago.
//
// The selected event gets the stations of the Global Seismographic Network
// (data/stations-gsn.txt, open epochs) within 50 degrees of it, with a
// detection each: those within 30 degrees are defining, those to 40
// associated, the farther ones detected only. The arrival times come from a
// rough P travel-time curve with made-up residuals: they illustrate, they
// are no data.
#include "gallery_scenes.h"

#include "hx_catalog.h"
#include "hx_eventdb.h"
#include "hx_eventdb_writer.h"
#include "hx_stations.h"
#include "kgrqt.h"
#include "map_box.h"
#include "map_make.h"
#include "map_options.h"

#include <QSqlQuery>
#include <QTemporaryDir>
#include <QVariant>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

namespace {

const char* const kEnd = nullptr;
const double kRadians = 0.017453292519943295;

// The end of the USGS week: the time of the feed (its header line).
const double kWeekEnd = 1517968154.0; // 2018-02-07T01:49:14Z

double greatCircleDegrees(double lat1, double lon1, double lat2, double lon2)
{
    const double c =
        std::sin(lat1 * kRadians) * std::sin(lat2 * kRadians) +
        std::cos(lat1 * kRadians) * std::cos(lat2 * kRadians) * std::cos((lon2 - lon1) * kRadians);
    return std::acos(std::max(-1.0, std::min(1.0, c))) / kRadians;
}

// A rough P travel time (s) for a surface focus, linear between a few
// distances (degrees) of a standard Earth model.
double roughPTime(double delta)
{
    static const double table[][2] = {{0, 0},    {10, 142}, {20, 275},  {30, 370},
                                      {40, 462}, {50, 545}, {60, 620},  {70, 685},
                                      {80, 745}, {90, 780}, {100, 830}, {180, 1200}};
    const size_t n = sizeof table / sizeof table[0];
    for (size_t i = 1; i < n; ++i)
        if (delta <= table[i][0]) {
            const double f = (delta - table[i - 1][0]) / (table[i][0] - table[i - 1][0]);
            return table[i - 1][1] + f * (table[i][1] - table[i - 1][1]);
        }
    return table[n - 1][1];
}

// Reads a shipped catalogue and moves its times by shift seconds.
bool readShifted(const char* path, double shift, HXCatalog* catalog)
{
    if (hxcat_read_file(path, catalog) < 0)
        return false;
    for (HXCatEvent& e : catalog->events) {
        for (HXCatOrigin& o : e.origins)
            o.time += shift;
        for (HXCatPick& p : e.picks)
            p.time += shift;
    }
    return true;
}

long originId(HXEvdbWriter& writer, const char* publicid)
{
    QSqlQuery q(writer.db());
    q.prepare("SELECT orid FROM origin WHERE publicid = ?");
    q.addBindValue(QString(publicid));
    return q.exec() && q.next() ? q.value(0).toLongLong() : -1;
}

// Stations of the selected origin: within these distances (degrees)
// defining, associated, detected only.
const double kDefiningWithin = 30.0;
const double kAssociatedWithin = 40.0;
const double kDetectedWithin = 50.0;

struct SceneStation {
    HXStation station;
    double delta;
};

// The open GSN stations within kDetectedWithin of the origin, nearest
// first.
bool nearbyStations(double lat, double lon, std::vector<SceneStation>* out)
{
    std::vector<HXStation> all;
    if (hxsta_read_file(KGRQT_DATA_DIR "/stations-gsn.txt", &all) < 0)
        return false;
    for (const HXStation& s : hxsta_latest(all)) {
        const double delta = greatCircleDegrees(lat, lon, s.lat, s.lon);
        if (s.end == std::numeric_limits<double>::infinity() && delta <= kDetectedWithin)
            out->push_back({s, delta});
    }
    std::sort(out->begin(), out->end(),
              [](const SceneStation& a, const SceneStation& b) { return a.delta < b.delta; });
    return !out->empty();
}

// The stations, detections and associations of the selected origin.
bool writeStations(HXEvdbWriter& writer, long orid, double time, double lat, double lon)
{
    std::vector<SceneStation> stations;
    if (!nearbyStations(lat, lon, &stations) || writer.begin() < 0)
        return false;
    // Made-up residuals (s): small for defining arrivals, larger for the
    // associated ones.
    static const double residuals[] = {-0.4, 0.3, 1.1, -0.8, 0.6, -0.2, 0.9, -1.2};
    const size_t nresiduals = sizeof residuals / sizeof residuals[0];
    for (size_t i = 0; i < stations.size(); ++i) {
        const HXStation& s = stations[i].station;
        const double delta = stations[i].delta;
        const int defining = delta <= kDefiningWithin ? 1 : delta <= kAssociatedWithin ? 0 : -1;
        const double residual = residuals[i % nresiduals] * (defining == 1 ? 1.0 : 4.0);
        HXEVDetectionStachan d{};
        snprintf(d.net, sizeof d.net, "%s", s.net.c_str());
        snprintf(d.sta, sizeof d.sta, "%s", s.sta.c_str());
        snprintf(d.chan, sizeof d.chan, "BHZ");
        snprintf(d.phase, sizeof d.phase, "P");
        d.time = time + roughPTime(delta) + residual;
        if (writer.upsertSite(s.sta.c_str(), s.net.c_str(), s.lat, s.lon, s.elev) < 0)
            return writer.rollback(), false;
        const long arid = writer.detection(nullptr, d);
        if (arid < 0)
            return writer.rollback(), false;
        if (defining >= 0 &&
            writer.assoc(arid, orid, s.sta.c_str(), "P", delta, residual, defining) < 0)
            return writer.rollback(), false;
    }
    return writer.commit() == 0;
}

// The event database of the scene: the catalogues with their times moved,
// and the stations of the Tohoku origin, whose key goes to *selected.
bool makeDatabase(const std::string& dbname, long* selected)
{
    QString conn;
    if (hxevdb_open(dbname.c_str(), HXEVDB_CREATE | HXEVDB_WRITER, 2000, &conn) < 0)
        return false;
    bool ok = false;
    {
        QSqlDatabase db = QSqlDatabase::database(conn, false);
        HXEvdbWriter writer(conn);
        const double now = std_now();
        HXCatalog week, great;
        ok = hxevdb_migrate(db) >= 0 &&
             readShifted(KGRQT_DATA_DIR "/earthquakes.txt", now - kWeekEnd, &week) &&
             readShifted(KGRQT_DATA_DIR "/quakes-mt.xml", 0, &great) && great.events.size() == 2;
        if (ok) {
            for (HXCatEvent& e : great.events) {
                // Tohoku 10 minutes ago (the newest), Sumatra two days ago.
                const bool tohoku = e.publicid.find("tohoku") != std::string::npos;
                for (HXCatOrigin& o : e.origins)
                    o.time = tohoku ? now - 600 : now - 2 * 86400 + 3600;
            }
            ok =
                hxcat_store(week, writer, nullptr) == 0 && hxcat_store(great, writer, nullptr) == 0;
        }
        const HXCatOrigin* tohoku = nullptr;
        for (const HXCatEvent& e : great.events)
            if (e.publicid.find("tohoku") != std::string::npos && !e.origins.empty())
                tohoku = &e.origins.front();
        const long orid = ok && tohoku ? originId(writer, tohoku->publicid.c_str()) : -1;
        ok = ok && orid >= 0 && writeStations(writer, orid, tohoku->time, tohoku->lat, tohoku->lon);
        *selected = orid;
    }
    hxevdb_close(conn);
    return ok;
}

// The North Pacific, equidistant about 40 N 170 E, with the Tohoku
// earthquake selected: its beach ball, its stations (blue defining, orange
// associated, red detected only) with their paths, its detections, and the
// navigation map in the lower left corner.
KGRViewport* mapeventsLive(int w, int h)
{
    auto* files = new QTemporaryDir;
    if (!files->isValid()) {
        hx_register_error(0, "mapeventsLive: no temporary directory\n");
        delete files;
        return nullptr;
    }
    const std::string dbname = files->filePath("events.db").toStdString();
    long orid = -1;
    if (!makeDatabase(dbname, &orid)) {
        delete files;
        return nullptr;
    }
    auto* vp = new KGRViewport(nullptr);
    vp->resize(w, h);
    // The database goes with the viewport, after the map that reads it.
    QObject::connect(vp, &QObject::destroyed, [files] { delete files; });
    const std::string layers = map_layer_definitions(map_default_mapdata(), map_next_view_name());
    if (vp->configure("margin", "0 0 0 0", "fill", "white", "center_yscale", "yes", kEnd) < 0) {
        delete vp;
        return nullptr;
    }
    auto* me = new KGRMapEvents(vp);
    if (me->configure("maplayer_definitions", layers.c_str(), "maplayers", layers.c_str(), kEnd) <
            0 ||
        map_show_layers(me, {"coasts", "political"}) < 0 ||
        map_show_box(vp, map_home_box(MapProjection::Edp, 34, 160, 360.0 / 130, w, h)) < 0) {
        delete vp;
        return nullptr;
    }
    auto* graticule = new KGRGrid(vp);
    graticule->configure("fill", "#80405080", "visible_xsmall", "0", "visible_ysmall", "0", kEnd);
    // A larger ball; the navigation map always; one check of the database
    // and no timer.
    if (me->configure("event_coding", "sz=26,cl=constant,fi=white,fin=#c8102e,ot=black", "show_nav",
                      "yes", "update_interval", "0", kEnd) < 0 ||
        me->setDatabase(const_cast<char*>(dbname.c_str())) < 0) {
        delete vp;
        return nullptr;
    }
    // The newest event is selected already; select it by its origin all
    // the same.
    for (int i = 0; i < maxtbl(me->mapevents.events); ++i) {
        auto* e = static_cast<HXEVEvent*>(gettbl(me->mapevents.events, i));
        if (e->preferred && e->preferred->orid == orid) {
            me->hideEvent();
            me->showEvent(i, 3, 1);
        }
    }
    return vp;
}

} // namespace

std::vector<GalleryScene> gallery_mapevents_scenes()
{
    return {
        {"mapevents-live",
         "The live map of events: the USGS week moved to end now, the Tohoku earthquake selected "
         "as the newest with its beach ball, GSN stations within 50 degrees and their paths",
         720, 480, mapeventsLive, true},
    };
}
