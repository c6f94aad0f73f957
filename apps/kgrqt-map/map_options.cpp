#include "map_options.h"

#include "app_args.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <unistd.h>

const char* const kMapUsage =
    "usage: kgrqt-map [--snapshot FILE.png|.svg|.pdf] [--size WIDTHxHEIGHT] [--ratio R]\n"
    "                 [--projection edp|merc|geog] [--center LAT LON] [--zoom Z]\n"
    "                 [--layers NAME,...] [--mapdata DIR] [--plain]\n";

namespace {

// The most a view can be magnified: a few metres a pixel.
const double kMaxZoom = 1e6;

bool fail(const char* format, const char* value)
{
    fprintf(stderr, "kgrqt-map: ");
    fprintf(stderr, format, value);
    fprintf(stderr, "\n");
    return false;
}

bool parseCenter(const char* lat, const char* lon, MapHome* home)
{
    return app_parse_number(lat, &home->lat) && app_parse_number(lon, &home->lon) &&
           home->lat >= -90 && home->lat <= 90 && home->lon >= -360 && home->lon <= 360;
}

} // namespace

std::string map_default_mapdata()
{
    const char* dir = getenv("KGRQT_MAPDATA_DIR");
    return dir && *dir ? dir : "/opt/larkspur/data/maps/kmd";
}

bool map_mapdata_complete(const std::string& dir)
{
    for (const char* file :
         {"coasts.vector.kmd", "political.vector.kmd", "rivers.vector.kmd",
          "bluemarble.world.200407.v01.grid.kmd", "srtm30.dem.world.v01.grid.kmd"})
        if (access((dir + "/" + file).c_str(), R_OK) != 0)
            return false;
    return true;
}

bool map_parse_layer_list(const char* text, std::vector<std::string>* names)
{
    names->clear();
    std::string rest = text ? text : "";
    for (;;) {
        const size_t comma = rest.find(',');
        const std::string name = rest.substr(0, comma);
        if (name.empty())
            return false;
        names->push_back(name);
        if (comma == std::string::npos)
            return true;
        rest = rest.substr(comma + 1);
    }
}

bool map_parse_options(int argc, char** argv, MapOptions* o)
{
    o->setup.mapdata = map_default_mapdata();
    for (int i = 1; i < argc; ++i) {
        const char* arg = argv[i];
        const bool hasValue = i + 1 < argc;
        if (strcmp(arg, "--snapshot") == 0 && hasValue) {
            o->snapshot = argv[++i];
        } else if (strcmp(arg, "--size") == 0 && hasValue) {
            if (!app_parse_size(argv[++i], &o->width, &o->height))
                return fail("bad size '%s' (50x50 to 10000x10000)", argv[i]);
        } else if (strcmp(arg, "--ratio") == 0 && hasValue) {
            o->ratio = argv[++i];
            if (!app_parse_ratio(o->ratio))
                return fail("bad ratio '%s' (1 to 8)", o->ratio);
        } else if (strcmp(arg, "--projection") == 0 && hasValue) {
            if (!map_projection_of(argv[++i], &o->home.projection))
                return fail("bad projection '%s' (edp, merc or geog)", argv[i]);
        } else if (strcmp(arg, "--center") == 0 && i + 2 < argc) {
            if (!parseCenter(argv[i + 1], argv[i + 2], &o->home))
                return fail("bad centre '%s' (latitude -90 to 90, longitude -360 to 360)",
                            (std::string(argv[i + 1]) + " " + argv[i + 2]).c_str());
            i += 2;
        } else if (strcmp(arg, "--zoom") == 0 && hasValue) {
            if (!app_parse_number(argv[++i], &o->home.zoom) || o->home.zoom < 0.1 ||
                o->home.zoom > kMaxZoom)
                return fail("bad zoom '%s' (0.1 to 1000000)", argv[i]);
        } else if (strcmp(arg, "--layers") == 0 && hasValue) {
            o->setup.layersGiven = true;
            if (!map_parse_layer_list(argv[++i], &o->setup.layers))
                return fail("bad layer list '%s' (names separated by commas)", argv[i]);
        } else if (strcmp(arg, "--mapdata") == 0 && hasValue) {
            o->setup.mapdata = argv[++i];
        } else if (strcmp(arg, "--plain") == 0) {
            o->setup.decorations = false;
        } else {
            fprintf(stderr, "kgrqt-map: %s '%s'\n%s",
                    arg[0] == '-' ? "unknown option or missing value" : "unexpected argument", arg,
                    kMapUsage);
            return false;
        }
    }
    return true;
}
