// A map on a viewport as kgrqt-map makes it: the layer definitions shipped
// with the program, reading the map data from a directory, and the layers
// of a setup shown. Shared by the program's view and the gallery.
#ifndef KGRQT_MAP_MAKE_H
#define KGRQT_MAP_MAKE_H

#include <QByteArray>

#include <string>
#include <vector>

class KGRMap;
class KGRViewport;
struct KGRMapLayerParams;

// How a map is made.
struct MapSetup {
    std::string mapdata;     // directory of the map-data files, read when first drawn
    bool decorations = true; // the graticule, the logo and the buttons (kgrqt-map's view)
    bool layersGiven = false;
    std::vector<std::string> layers; // shown when given, the others hidden
};

// A text shipped with the program ("map_layers.pf", "map_buttons.pf"), or
// empty.
QByteArray map_resource_text(const char* name);

// The layer definitions with the map-data directory filled in; each
// distinct view name gets off-screen layers of its own.
std::string map_layer_definitions(const std::string& mapdata, const std::string& view);

// A name for the next view: "kgrqt-map-1", "kgrqt-map-2", ...
std::string map_next_view_name();

// Makes the map of a viewport that it fills (no margins; the centre stays
// in the middle when the map keeps its aspect), with the setup's layers
// shown. Throws a character string when the map cannot be made or a layer
// of the setup is not defined (the register says which).
KGRMap* map_make(KGRViewport* vp, const MapSetup& setup, const std::string& view);

// A defined layer's record, or null.
KGRMapLayerParams* map_layer_params(const KGRMap* map, const char* name);

// The defined layers, bottom first.
std::vector<std::string> map_layer_names(const KGRMap* map);

// Shows exactly the named layers; -1 for a name that is not defined
// (registered with the names that are), leaving the layers as they were.
int map_show_layers(KGRMap* map, const std::vector<std::string>& names);

#endif
