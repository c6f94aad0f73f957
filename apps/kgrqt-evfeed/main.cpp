// Replays a catalogue into an event database as a network's processing
// would: at each event's time (shifted so that the replay starts now, and
// sped up by --speed) it inserts the event and its origin, then detections
// at the nearest stations of a synthetic network, then their associations,
// each step its own transaction.
//
//   kgrqt-evfeed [--speed N] [--limit N] [--stations N] [--quiet] DATABASE CATALOGUE
//
// --speed 60 replays an hour in a minute; --speed 0 as fast as it can.
// The synthetic network has a station every 10 degrees of latitude and
// longitude (named S<lat><lon>), entered in the site table; each event is
// detected at its --stations (default 6) nearest stations with P arrivals
// at 8 km/s. Event identifiers get the prefix "feed:" and the replay start
// time, so that a database can take several replays.
#include "hx_catalog.h"
#include "hx_error.h"
#include "hx_eventdb.h"
#include "hx_eventdb_writer.h"
#include "hx_geodesy.h"
#include "hx_time.h"

#include <QCoreApplication>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

namespace {

const double DEG = 0.017453292519943295;

struct Station {
    std::string sta;
    double lat, lon;
};

struct Options {
    double speed = 1;
    long limit = -1;
    int stations = 6;
    bool quiet = false;
    const char* dbname = nullptr;
    const char* catalogue = nullptr;
};

int usage()
{
    fprintf(stderr, "usage: kgrqt-evfeed [--speed N] [--limit N] [--stations N] [--quiet] "
                    "DATABASE CATALOGUE\n");
    return 2;
}

bool parseNumber(const char* s, double* v)
{
    char* end = nullptr;
    *v = strtod(s, &end);
    return end != s && *end == 0 && std::isfinite(*v) && *v >= 0;
}

int parseOptions(int argc, char** argv, Options* o)
{
    int i = 1;
    for (; i < argc && argv[i][0] == '-'; i++) {
        double v;
        if (strcmp(argv[i], "--quiet") == 0) {
            o->quiet = true;
            continue;
        }
        if (i + 1 >= argc || !parseNumber(argv[i + 1], &v)) {
            fprintf(stderr, "kgrqt-evfeed: %s needs a number not below 0\n", argv[i]);
            return -1;
        }
        if (strcmp(argv[i], "--speed") == 0)
            o->speed = v;
        else if (strcmp(argv[i], "--limit") == 0)
            o->limit = (long)v;
        else if (strcmp(argv[i], "--stations") == 0)
            o->stations = std::max(1, (int)v);
        else {
            fprintf(stderr, "kgrqt-evfeed: unknown option '%s'\n", argv[i]);
            return -1;
        }
        i++;
    }
    if (argc - i != 2)
        return -1;
    o->dbname = argv[i];
    o->catalogue = argv[i + 1];
    return 0;
}

std::vector<Station> network()
{
    std::vector<Station> net;
    char name[16];
    for (int lat = -80; lat <= 80; lat += 10)
        for (int lon = -180; lon < 180; lon += 10) {
            snprintf(name, sizeof name, "S%c%02d%c%03d", lat < 0 ? 'S' : 'N', abs(lat),
                     lon < 0 ? 'W' : 'E', abs(lon));
            net.push_back(Station{name, (double)lat, (double)lon});
        }
    return net;
}

// Detections and associations of one origin at its nearest stations.
int detect(HXEvdbWriter& w, const std::vector<Station>& net, const HXCatOrigin& o, long orid,
           int nsta)
{
    std::vector<std::pair<double, const Station*>> near;
    for (const Station& s : net) {
        double del, az;
        dist(o.lat * DEG, o.lon * DEG, s.lat * DEG, s.lon * DEG, &del, &az);
        near.emplace_back(del / DEG, &s);
    }
    std::partial_sort(near.begin(), near.begin() + nsta, near.end());
    std::vector<long> arids;
    if (w.begin() < 0)
        return -1;
    for (int i = 0; i < nsta; i++) {
        HXEVDetectionStachan d{};
        snprintf(d.sta, sizeof d.sta, "%s", near[i].second->sta.c_str());
        strcpy(d.net, "SY");
        strcpy(d.chan, "BHZ");
        strcpy(d.phase, "P");
        strcpy(d.state, "automatic");
        d.time = o.time + near[i].first * 111.19 / 8.0;
        long arid = w.detection(nullptr, d);
        if (arid < 0)
            return w.rollback(), -1;
        arids.push_back(arid);
    }
    if (w.commit() < 0 || w.begin() < 0)
        return -1;
    for (int i = 0; i < nsta; i++) {
        // A small residual that varies from station to station.
        double residual = std::fmod(near[i].first * 7.31, 2.0) - 1.0;
        if (w.assoc(arids[i], orid, near[i].second->sta.c_str(), "P", near[i].first, residual, 1) <
            0)
            return w.rollback(), -1;
    }
    return w.commit();
}

int replay(HXEvdbWriter& w, const HXCatalog& cat, const Options& opt)
{
    std::vector<Station> net = network();
    if (w.begin() < 0)
        return -1;
    for (const Station& s : net)
        if (w.site(s.sta.c_str(), "SY", s.lat, s.lon, 0) < 0)
            return w.rollback(), -1;
    if (w.commit() < 0)
        return -1;
    std::vector<const HXCatEvent*> order;
    for (const HXCatEvent& e : cat.events)
        if (!e.origins.empty())
            order.push_back(&e);
    std::stable_sort(order.begin(), order.end(), [](const HXCatEvent* a, const HXCatEvent* b) {
        return a->origins[0].time < b->origins[0].time;
    });
    if (order.empty())
        return 0;
    const double first = order[0]->origins[0].time;
    const double start = std_now();
    const auto wall0 = std::chrono::steady_clock::now();
    char prefix[64];
    snprintf(prefix, sizeof prefix, "feed:%.0f:", start);
    long n = 0;
    for (const HXCatEvent* e : order) {
        if (opt.limit >= 0 && n >= opt.limit)
            break;
        HXCatOrigin o = e->origins[0];
        double offset = o.time - first;
        if (opt.speed > 0)
            std::this_thread::sleep_until(wall0 +
                                          std::chrono::duration<double>(offset / opt.speed));
        o.time = start + (opt.speed > 0 ? offset / opt.speed : 0);
        HXCatEvent one;
        one.publicid = prefix + e->publicid;
        one.name = e->name;
        one.auth = e->auth;
        o.publicid = prefix + o.publicid;
        one.preferred_origin = o.publicid;
        for (HXCatMagnitude m : e->magnitudes) {
            m.publicid = prefix + m.publicid;
            m.originid = o.publicid;
            one.magnitudes.push_back(m);
        }
        one.origins.push_back(o);
        HXCatalog single;
        single.events.push_back(one);
        if (hxcat_store(single, w, nullptr) < 0)
            return -1;
        long orid = -1;
        HXEVOrigin rec{};
        rec.time = o.time;
        if ((orid = w.origin(o.publicid.c_str(), rec)) < 0 ||
            detect(w, net, o, orid, std::min(opt.stations, (int)net.size())) < 0)
            return -1;
        if (++n % 1000 == 0)
            w.pruneChangelog(100000);
        if (!opt.quiet)
            printf("%s M%.1f %s\n", one.publicid.c_str(),
                   e->magnitudes.empty() ? 0.0 : e->magnitudes[0].mag, e->name.c_str());
    }
    if (!opt.quiet)
        printf("kgrqt-evfeed: %ld events replayed\n", n);
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    Options opt;
    if (parseOptions(argc, argv, &opt) < 0)
        return usage();
    setvbuf(stdout, nullptr, _IOLBF, 0);
    HXCatalog cat;
    if (hxcat_read_file(opt.catalogue, &cat) < 0) {
        hx_clear_register(1);
        return 2;
    }
    QString conn;
    if (hxevdb_open(opt.dbname, HXEVDB_CREATE | HXEVDB_WRITER, 5000, &conn) < 0) {
        hx_clear_register(1);
        return 2;
    }
    int status = 0;
    {
        QSqlDatabase db = QSqlDatabase::database(conn);
        HXEvdbWriter w(conn);
        if (hxevdb_migrate(db) < 0 || replay(w, cat, opt) < 0) {
            hx_clear_register(1);
            status = 2;
        }
    }
    hxevdb_close(conn);
    return status;
}
