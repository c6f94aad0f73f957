// kgrqt-mapdata: builds the standard map-data files from Debian's data
// packages (docs/mapdata-sources.md):
//
//   coasts.vector.kmd     GSHHG shorelines, levels 1 to 4, stitched rings
//   political.vector.kmd  borders, levels 1 to 3
//   rivers.vector.kmd     rivers, levels 1 to 10
//   bluemarble.world.200407.v01.grid.kmd   the Blue Marble image
//   srtm30.dem.world.v01.grid.kmd          ETOPO5 relief and bathymetry
//
//   kgrqt-mapdata [--out DIR] [--resolutions c,l,i] [--only NAME,...] [--check] [--force]
//
// DIR defaults to $KGRQT_MAPDATA_DIR, else /opt/larkspur/data/maps/kmd.
// Existing files are kept unless --force. --check verifies the stitching of
// the coastlines and fails when a ring is left open.
#include "hx_error.h"
#include "hx_mapdata_write.h"
#include "rasters.h"
#include "stitch.h"

#include <QGuiApplication>

#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <set>
#include <sstream>
#include <string>

namespace {

const char* kDefaultDir = "/opt/larkspur/data/maps/kmd";
const char* kBlueMarble = "/usr/share/marble/data/maps/earth/bluemarble/bluemarble.jpg";
const char* kEtopo5 = "NETCDF:\"/usr/share/ferret-vis/data/etopo5.cdf\":ROSE";

struct Options {
    std::string dir;
    std::vector<char> resolutions{'c', 'l', 'i'};
    std::set<std::string> only;
    bool check = false;
    bool force = false;
};

const char* resolutionName(char r)
{
    return r == 'c' ? "crude" : r == 'l' ? "low" : r == 'i' ? "intermediate" : "?";
}

// The degrees per pixel from which a resolution is used (the map takes the
// first, coarsest first, that is finer than its pixels).
double resolutionScale(char r)
{
    return r == 'c' ? 0.1 : r == 'l' ? 0.03 : 0.008;
}

double seconds(std::chrono::steady_clock::time_point since)
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - since).count();
}

bool exists(const std::string& path)
{
    struct stat st;
    return stat(path.c_str(), &st) == 0;
}

HXMapDataVectorInput vectorInput(const char* name, char r, const std::vector<Line>& lines,
                                 bool fill)
{
    HXMapDataVectorInput v;
    v.name = name;
    v.resolution = resolutionName(r);
    v.degrees_per_pixel = resolutionScale(r);
    v.big_endian = true;
    v.tiles.resize(1);
    for (const Line& l : lines) {
        HXMapDataSegmentInput s;
        s.level = l.level;
        bool closed =
            l.lons.size() > 3 && l.lons.front() == l.lons.back() && l.lats.front() == l.lats.back();
        s.fill = fill && closed;
        s.lons.assign(l.lons.begin(), l.lons.end());
        s.lats.assign(l.lats.begin(), l.lats.end());
        v.tiles[0].segments.push_back(std::move(s));
    }
    return v;
}

// One resolution of a vector layer: the dump, stitched.
bool vectorResolution(const Options& o, const char* name, char r, HXMapDataWriter& w)
{
    std::string base = std::string("gmt coast -Rd -D") + r + " -M ";
    std::vector<Line> pieces;
    bool ok = true;
    bool rings = !strcmp(name, "coasts");
    if (rings) {
        ok = readDump(base + "-W 2>/dev/null", 0, &pieces);
    } else if (!strcmp(name, "political")) {
        for (int level = 1; level <= 3 && ok; ++level) {
            std::vector<Line> part;
            ok = readDump(base + "-N" + std::to_string(level) + " 2>/dev/null", 0, &part);
            for (Line& l : part) {
                l.level = level;
                pieces.push_back(std::move(l));
            }
        }
    } else {
        // River classes 0 to 10 become levels 1 to 10; the two canal
        // classes 9 and 10 share level 10.
        ok = readDump(base + "-Ia 2>/dev/null", 1, &pieces);
        for (Line& l : pieces)
            l.level = std::min(l.level, 10);
    }
    if (!ok || pieces.empty()) {
        fprintf(stderr, "kgrqt-mapdata: gmt coast gave no %s at resolution %s\n", name,
                resolutionName(r));
        return false;
    }
    StitchReport rep;
    std::vector<Line> lines = stitch(pieces, rings, &rep);
    printf("  %s %s: %ld pieces, %ld points -> %zu lines (%ld closed, %ld open, %ld through a "
           "pole), %ld points\n",
           name, resolutionName(r), rep.pieces, rep.points_in, lines.size(), rep.closed, rep.open,
           rep.polar, rep.points_out);
    if (o.check && rings) {
        // Every piece is used once: the points out are the points in minus
        // one per junction, plus three per ring closed through a pole.
        long junctions = rep.pieces - long(lines.size());
        long expected = rep.points_in - junctions + 3 * rep.polar;
        double area[5] = {0, 0, 0, 0, 0};
        long count[5] = {0, 0, 0, 0, 0};
        for (const Line& l : lines)
            if (l.level >= 1 && l.level <= 4) {
                area[l.level] += std::fabs(ringArea(l));
                count[l.level]++;
            }
        long crossings_in = 0, crossings_out = 0;
        for (const Line& p : pieces)
            crossings_in += selfCrossings(p);
        for (const Line& l : lines)
            crossings_out += selfCrossings(l);
        for (int level = 1; level <= 4; ++level)
            printf("    level %d: %ld rings, %.1f square degrees\n", level, count[level],
                   area[level]);
        printf("    self-crossings: %ld in the pieces, %ld in the rings\n", crossings_in,
               crossings_out);
        // Joining pieces end to end adds no crossing of its own; only the
        // pieces' own may remain.
        if (crossings_out > crossings_in) {
            fprintf(stderr,
                    "kgrqt-mapdata: check failed: %ld self-crossings in the rings, %ld "
                    "in the pieces\n",
                    crossings_out, crossings_in);
            return false;
        }
        if (rep.open != 0 || rep.points_out != expected) {
            fprintf(stderr,
                    "kgrqt-mapdata: check failed: %ld open rings, %ld points (expected "
                    "%ld)\n",
                    rep.open, rep.points_out, expected);
            return false;
        }
    }
    w.addVector(vectorInput(name, r, lines, rings));
    return true;
}

bool writeFile(const Options& o, const std::string& file, const HXMapDataWriter& w)
{
    std::string path = o.dir + "/" + file;
    if (w.write(path.c_str()) < 0) {
        hx_clear_register(1);
        return false;
    }
    struct stat st;
    stat(path.c_str(), &st);
    printf("  wrote %s (%ld bytes)\n", path.c_str(), long(st.st_size));
    return true;
}

bool wanted(const Options& o, const std::string& name, const std::string& file)
{
    if (!o.only.empty() && !o.only.count(name))
        return false;
    if (!o.force && exists(o.dir + "/" + file)) {
        printf("  %s exists; kept\n", file.c_str());
        return false;
    }
    return true;
}

int build(const Options& o)
{
    bool ok = true;
    const struct {
        const char* name;
        const char* file;
    } vectors[] = {{"coasts", "coasts.vector.kmd"},
                   {"political", "political.vector.kmd"},
                   {"rivers", "rivers.vector.kmd"}};
    for (const auto& v : vectors) {
        if (!wanted(o, v.name, v.file))
            continue;
        auto t0 = std::chrono::steady_clock::now();
        HXMapDataWriter w;
        bool good = true;
        for (char r : o.resolutions)
            good = good && vectorResolution(o, v.name, r, w);
        good = good && writeFile(o, v.file, w);
        printf("  %s: %.1f s\n", v.name, seconds(t0));
        ok = ok && good;
    }
    if (wanted(o, "bluemarble", "bluemarble.world.200407.v01.grid.kmd")) {
        auto t0 = std::chrono::steady_clock::now();
        HXMapDataWriter w;
        auto levels = imagePyramid(kBlueMarble, 4);
        for (auto& g : levels)
            w.addGrid(g);
        bool good = !levels.empty() && writeFile(o, "bluemarble.world.200407.v01.grid.kmd", w);
        if (levels.empty())
            fprintf(stderr, "kgrqt-mapdata: cannot read %s\n", kBlueMarble);
        printf("  bluemarble: %.1f s\n", seconds(t0));
        ok = ok && good;
    }
    if (wanted(o, "relief", "srtm30.dem.world.v01.grid.kmd")) {
        auto t0 = std::chrono::steady_clock::now();
        std::string error;
        HXMapDataWriter w;
        auto levels = reliefPyramid(kEtopo5, 4, &error);
        for (auto& g : levels)
            w.addGrid(g);
        bool good = !levels.empty() && writeFile(o, "srtm30.dem.world.v01.grid.kmd", w);
        if (levels.empty())
            fprintf(stderr, "kgrqt-mapdata: %s\n", error.c_str());
        printf("  relief: %.1f s\n", seconds(t0));
        ok = ok && good;
    }
    return ok ? 0 : 1;
}

int usage()
{
    fprintf(stderr, "usage: kgrqt-mapdata [--out DIR] [--resolutions c,l,i] [--only NAME,...] "
                    "[--check] [--force]\n");
    return 2;
}

} // namespace

int main(int argc, char** argv)
{
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    QGuiApplication app(argc, argv); // Qt's image readers
    Options o;
    const char* env = getenv("KGRQT_MAPDATA_DIR");
    o.dir = env && *env ? env : kDefaultDir;
    for (int i = 1; i < argc; ++i) {
        std::string a = argv[i];
        if (a == "--out" && i + 1 < argc) {
            o.dir = argv[++i];
        } else if (a == "--resolutions" && i + 1 < argc) {
            o.resolutions.clear();
            for (const char* p = argv[++i]; *p; ++p)
                if (*p == 'c' || *p == 'l' || *p == 'i')
                    o.resolutions.push_back(*p);
                else if (*p != ',')
                    return usage();
        } else if (a == "--only" && i + 1 < argc) {
            std::stringstream list(argv[++i]);
            for (std::string name; std::getline(list, name, ',');)
                o.only.insert(name);
        } else if (a == "--check") {
            o.check = true;
        } else if (a == "--force") {
            o.force = true;
        } else {
            return usage();
        }
    }
    if (o.resolutions.empty())
        return usage();
    std::string mk = "mkdir -p '" + o.dir + "'";
    if (system(mk.c_str()) != 0) {
        fprintf(stderr, "kgrqt-mapdata: cannot create %s\n", o.dir.c_str());
        return 1;
    }
    auto t0 = std::chrono::steady_clock::now();
    printf("kgrqt-mapdata: building into %s\n", o.dir.c_str());
    int status = build(o);
    printf("kgrqt-mapdata: %s in %.1f s\n", status ? "FAILED" : "done", seconds(t0));
    return status;
}
