// The command line of kgrqt-map.
#ifndef KGRQT_MAP_OPTIONS_H
#define KGRQT_MAP_OPTIONS_H

#include "MapView.h"

#include <string>
#include <vector>

struct MapOptions {
    const char* snapshot = nullptr; // file to write instead of a window
    MapHome home;
    MapSetup setup; // --plain: without decorations
    int width = 1200, height = 700;
    const char* ratio = nullptr; // device pixels per pixel of a PNG snapshot
};

extern const char* const kMapUsage;

// The map-data directory when none is given: $KGRQT_MAPDATA_DIR, else
// /opt/larkspur/data/maps/kmd.
std::string map_default_mapdata();

// Whether a directory holds the five standard map-data files.
bool map_mapdata_complete(const std::string& dir);

// Reads the command line; false after printing what is wrong to stderr.
bool map_parse_options(int argc, char** argv, MapOptions* options);

// Splits "a,b,c" into names; false for an empty name.
bool map_parse_layer_list(const char* text, std::vector<std::string>* names);

#endif
