// Helpers of the kgrqt-map tests: views on the installed map data and the
// pixels of places on them.
#ifndef KGRQT_MAP_TEST_VIEW_H
#define KGRQT_MAP_TEST_VIEW_H

#include "MapView.h"
#include "map_options.h"

#include "kgrqt.h"

#include <QImage>

#include <cmath>
#include <memory>
#include <string>
#include <vector>

// Whether the standard map-data files are installed (tools/install-mapdata.sh).
inline bool mapdataInstalled()
{
    return map_mapdata_complete(map_default_mapdata());
}

#define SKIP_WITHOUT_MAPDATA()                                                                     \
    if (!mapdataInstalled())                                                                       \
    GTEST_SKIP() << "no map data in " << map_default_mapdata()                                     \
                 << " (tools/install-mapdata.sh builds it)"

// A view of the installed data showing the given layers, undecorated
// unless asked, at its home.
inline std::unique_ptr<MapView> plainView(int w, int h, std::vector<std::string> layers,
                                          const MapHome& home, bool decorations = false)
{
    MapSetup setup;
    setup.mapdata = map_default_mapdata();
    setup.decorations = decorations;
    setup.layersGiven = true;
    setup.layers = std::move(layers);
    std::unique_ptr<MapView> view(new MapView(w, h, setup));
    view->setHome(home);
    return view;
}

inline MapHome homeAt(MapProjection p, double lat, double lon, double zoom = 1)
{
    MapHome home;
    home.projection = p;
    home.lat = lat;
    home.lon = lon;
    home.zoom = zoom;
    return home;
}

// The pixel of the rendered view where a place lies (the view must have
// been rendered, so that its box is computed).
inline QRgb pixelOf(MapView& view, const QImage& image, double lat, double lon)
{
    KgrviewportItem* vp = &view.viewport()->viewport;
    double px = 0, py = 0;
    kgrqt_get_pcoords(vp, lon, lat, &px, &py, 0, 0);
    return image.pixel(int(std::lround(px)), int(std::lround(py)));
}

// The place under a pixel of the view.
inline void placeOf(MapView& view, double px, double py, double* lat, double* lon)
{
    kgrqt_get_wcoords(&view.viewport()->viewport, px, py, lon, lat, 0, 0);
}

#endif
