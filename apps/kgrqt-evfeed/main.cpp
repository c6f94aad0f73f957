// Replays a catalogue into an event database as a network's processing
// would: at each event's time (shifted so that the replay starts now, and
// sped up by --speed) it inserts the event and its origin, then detections
// at the nearest stations of a real network, then their associations,
// each step its own transaction.
//
//   kgrqt-evfeed [--speed N] [--limit N] [--stations N] [--station-file FILE]
//                [--quiet] DATABASE CATALOGUE
//
// --speed 60 replays an hour in a minute; --speed 0 as fast as it can.
// The stations come from FILE, FDSN station text (the latest epoch of each
// station), by default the Global Seismographic Network of
// data/stations-gsn.txt, looked for in share/kgrqt next to the program's
// bin directory and then in the source tree it was built from; they are
// entered in the site table. When the default list is found in neither
// place the program says so on stderr and falls back to a synthetic network
// with a station every 10 degrees of latitude and longitude (network SY,
// named S<lat><lon>). A FILE given but unreadable or malformed is an error.
//
// Each event is detected at its --stations (default 6) nearest stations.
// The P arrival times come from a table of first-arriving P travel times
// against distance for a surface focus in the iasp91 model (Kennett and
// Engdahl 1991), computed by tools/gen_p_traveltimes.py; beyond 98 degrees,
// where P grazes the core, the time grows by 4.439 s a degree (diffracted
// P). The focal depth and the station elevation are ignored. Each
// association gets a small made-up residual that varies from station to
// station and is defining. Event identifiers get the prefix "feed:" and the
// replay start time, so that a database can take several replays.
#include "hx_catalog.h"
#include "hx_error.h"
#include "hx_eventdb.h"
#include "hx_eventdb_writer.h"
#include "hx_geodesy.h"
#include "hx_stations.h"
#include "hx_time.h"

#include <QCoreApplication>
#include <QFileInfo>

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
    std::string net, sta;
    double lat, lon;
};

struct Options {
    double speed = 1;
    long limit = -1;
    int stations = 6;
    bool quiet = false;
    std::string station_file; // empty: the default list
    const char* dbname = nullptr;
    const char* catalogue = nullptr;
};

// First-arriving P travel times (s) of a surface focus in iasp91 at every
// degree from 0 to 98 (tools/gen_p_traveltimes.py; at 23 to 28 degrees
// within 0.02 s of the printed IASP91 tables).
const double P_TIMES[] = {
    0.0,   19.2,  35.0,  48.8,  62.5,  76.3,  90.0,  103.7, 117.5, 131.2, 144.9, 158.6, 172.3,
    185.9, 199.6, 213.2, 226.4, 239.1, 251.6, 263.2, 274.1, 284.9, 295.7, 306.3, 316.3, 325.4,
    334.5, 343.5, 352.5, 361.4, 370.3, 379.1, 387.9, 396.6, 405.3, 414.0, 422.6, 431.1, 439.5,
    448.0, 456.3, 464.6, 472.8, 480.9, 489.0, 497.0, 504.9, 512.7, 520.5, 528.2, 535.9, 543.4,
    550.9, 558.4, 565.7, 573.0, 580.2, 587.3, 594.4, 601.4, 608.3, 615.1, 621.9, 628.6, 635.2,
    641.8, 648.2, 654.6, 661.0, 667.2, 673.4, 679.5, 685.6, 691.5, 697.4, 703.2, 709.0, 714.6,
    720.2, 725.8, 731.2, 736.6, 741.9, 747.1, 752.2, 757.3, 762.2, 767.1, 771.9, 776.7, 781.3,
    786.0, 790.6, 795.2, 799.8, 804.4, 808.9, 813.4, 817.9,
};
const int P_LAST = (int)(sizeof P_TIMES / sizeof P_TIMES[0]) - 1;
// Beyond the last degree: the slope of the ray grazing the core (s/degree).
const double P_DIFFRACTED = 4.439;

// P travel time (s) at delta degrees, interpolated linearly.
double pTravelTime(double delta)
{
    if (delta <= 0)
        return 0;
    if (delta >= P_LAST)
        return P_TIMES[P_LAST] + (delta - P_LAST) * P_DIFFRACTED;
    int i = (int)delta;
    return P_TIMES[i] + (P_TIMES[i + 1] - P_TIMES[i]) * (delta - i);
}

int usage()
{
    fprintf(stderr, "usage: kgrqt-evfeed [--speed N] [--limit N] [--stations N] "
                    "[--station-file FILE] [--quiet] DATABASE CATALOGUE\n");
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
        if (strcmp(argv[i], "--station-file") == 0) {
            if (i + 1 >= argc || !*argv[i + 1]) {
                fprintf(stderr, "kgrqt-evfeed: --station-file needs a file\n");
                return -1;
            }
            o->station_file = argv[++i];
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

// The synthetic network of the fallback.
std::vector<Station> syntheticNetwork()
{
    std::vector<Station> net;
    char name[16];
    for (int lat = -80; lat <= 80; lat += 10)
        for (int lon = -180; lon < 180; lon += 10) {
            snprintf(name, sizeof name, "S%c%02d%c%03d", lat < 0 ? 'S' : 'N', abs(lat),
                     lon < 0 ? 'W' : 'E', abs(lon));
            net.push_back(Station{"SY", name, (double)lat, (double)lon});
        }
    return net;
}

// The default station list: installed next to the program, else in the
// source tree it was built from. Empty when neither exists.
std::string defaultStationFile(std::vector<std::string>* tried)
{
    std::string bin = QCoreApplication::applicationDirPath().toStdString();
    for (const std::string& path : {bin + "/../" KGRQT_INSTALL_DATA_DIR "/stations-gsn.txt",
                                    std::string(KGRQT_DATA_DIR "/stations-gsn.txt")}) {
        tried->push_back(path);
        if (QFileInfo(QString::fromStdString(path)).isFile())
            return path;
    }
    return "";
}

// The stations of the replay, entered in the site table: those of the
// station list, or the synthetic network when the default list is missing.
int network(HXEvdbWriter& w, const Options& opt, std::vector<Station>* net)
{
    std::string file = opt.station_file;
    if (file.empty()) {
        std::vector<std::string> tried;
        file = defaultStationFile(&tried);
        if (file.empty()) {
            fprintf(stderr,
                    "kgrqt-evfeed: no station list (looked for %s and %s); using a "
                    "synthetic network of a station every 10 degrees\n",
                    tried[0].c_str(), tried[1].c_str());
            *net = syntheticNetwork();
            if (w.begin() < 0)
                return -1;
            for (const Station& s : *net)
                if (w.site(s.sta.c_str(), s.net.c_str(), s.lat, s.lon, 0) < 0)
                    return w.rollback(), -1;
            return w.commit();
        }
    }
    std::vector<HXStation> list;
    HXStaStoreStats st{};
    if (hxsta_read_file(file.c_str(), &list) < 0 || hxsta_store(list, w, &st) < 0)
        return -1;
    net->clear();
    for (const HXStation& s : hxsta_latest(list))
        net->push_back(Station{s.net, s.sta, s.lat, s.lon});
    if (net->empty()) {
        hx_register_error(0, "kgrqt-evfeed: no stations in '%s'\n", file.c_str());
        return -1;
    }
    if (!opt.quiet)
        printf("kgrqt-evfeed: %zu stations from %s (%ld added to the site table, %ld changed)\n",
               net->size(), file.c_str(), st.added, st.changed);
    return 0;
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
        snprintf(d.net, sizeof d.net, "%s", near[i].second->net.c_str());
        strcpy(d.chan, "BHZ");
        strcpy(d.phase, "P");
        strcpy(d.state, "automatic");
        d.time = o.time + pTravelTime(near[i].first);
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
    std::vector<Station> net;
    if (network(w, opt, &net) < 0)
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
