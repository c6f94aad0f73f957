// The boxes a map shows: the home view of a projection about a centre at
// a zoom, and the same place under another projection. Every box is what
// the viewport is configured with: "wtran", "latr" and "lonr" (the
// equidistant centre), and the plane's bounds, where y under "merc" is a
// latitude (the viewport turns it into the Mercator ordinate).
#ifndef KGRQT_MAP_BOX_H
#define KGRQT_MAP_BOX_H

class KGRViewport;
struct KgrviewportItem;

enum class MapProjection { Edp, Merc, Geog };

struct MapBox {
    MapProjection projection = MapProjection::Edp;
    double latr = 0, lonr = 0; // the equidistant centre; unused otherwise
    double xleft = 0, xright = 0, ybottom = 0, ytop = 0;
};

// "edp", "merc" and "geog"; false for another word.
bool map_projection_of(const char* word, MapProjection* projection);
const char* map_projection_word(MapProjection projection);

// The home view: 360/zoom degrees across the width (of arc under "edp",
// of longitude otherwise) centred on (lat, lon); the height follows at the
// same scale for a plot area of width x height pixels.
MapBox map_home_box(MapProjection projection, double lat, double lon, double zoom, int width,
                    int height);

// The place a viewport shows as a box of longitude and latitude: the
// latitudes of the shown box (under "edp" its extent about the centre read
// as degrees), the longitude in its middle, and as many degrees across as
// keep the box's shape.
MapBox map_geog_box(const KgrviewportItem& vp);

// A longitude-latitude box as an equidistant one about its centre.
MapBox map_edp_box(const MapBox& geog);

// Configures a viewport to show a box; 0, or -1 with the reason in the
// error register.
int map_show_box(KGRViewport* vp, const MapBox& box);

#endif
