#include "map_box.h"

#include "kgrqt.h"

#include <cstdio>
#include <cstring>
#include <string>

namespace {

const char* const kWords[] = {"edp", "merc", "geog"};

} // namespace

bool map_projection_of(const char* word, MapProjection* projection)
{
    for (int i = 0; i < 3; ++i)
        if (word && strcmp(word, kWords[i]) == 0) {
            *projection = static_cast<MapProjection>(i);
            return true;
        }
    return false;
}

const char* map_projection_word(MapProjection projection)
{
    return kWords[static_cast<int>(projection)];
}

MapBox map_home_box(MapProjection projection, double lat, double lon, double zoom, int width,
                    int height)
{
    MapBox box;
    box.projection = projection;
    const double span = 360.0 / zoom;
    const double yspan = span * height / width;
    if (projection == MapProjection::Edp) {
        box.latr = lat;
        box.lonr = lon;
        box.xleft = -span / 2;
        box.xright = span / 2;
        box.ybottom = -yspan / 2;
        box.ytop = yspan / 2;
        return box;
    }
    box.xleft = lon - span / 2;
    box.xright = lon + span / 2;
    if (projection == MapProjection::Merc) {
        // Centred on the ordinate, so that the centre stays in the middle.
        const double y = kgrqt_mercator_y(lat);
        box.ybottom = kgrqt_mercator_lat(y - yspan / 2);
        box.ytop = kgrqt_mercator_lat(y + yspan / 2);
    } else {
        box.ybottom = lat - yspan / 2;
        box.ytop = lat + yspan / 2;
    }
    return box;
}

MapBox map_geog_box(const KgrviewportItem& vp)
{
    MapBox box;
    box.projection = MapProjection::Geog;
    double xmid = (vp.xleft + vp.xright) / 2;
    if (vp.wtran == KGR_WTRAN_EDP) {
        xmid += vp.lonr;
        box.ybottom = vp.latr + vp.ybottom;
        box.ytop = vp.latr + vp.ytop;
    } else if (vp.wtran == KGR_WTRAN_MERC) {
        box.ybottom = kgrqt_mercator_lat(vp.ybottom);
        box.ytop = kgrqt_mercator_lat(vp.ytop);
    } else {
        box.ybottom = vp.ybottom;
        box.ytop = vp.ytop;
    }
    // The width that keeps the window's shape at one degree a degree.
    const double half =
        (box.ytop - box.ybottom) / 2 * (vp.xright - vp.xleft) / (vp.ytop - vp.ybottom);
    box.xleft = xmid - half;
    box.xright = xmid + half;
    return box;
}

MapBox map_edp_box(const MapBox& geog)
{
    MapBox box;
    box.projection = MapProjection::Edp;
    box.lonr = (geog.xleft + geog.xright) / 2;
    box.latr = (geog.ybottom + geog.ytop) / 2;
    box.xleft = geog.xleft - box.lonr;
    box.xright = geog.xright - box.lonr;
    box.ybottom = geog.ybottom - box.latr;
    box.ytop = geog.ytop - box.latr;
    return box;
}

int map_show_box(KGRViewport* vp, const MapBox& box)
{
    auto number = [](double v) {
        char text[64];
        snprintf(text, sizeof text, "%.10f", v);
        return std::string(text);
    };
    // The transform first: it decides how the bounds are read.
    return vp->configure("wtran", map_projection_word(box.projection), "latr",
                         number(box.latr).c_str(), "lonr", number(box.lonr).c_str(), "xleft",
                         number(box.xleft).c_str(), "xright", number(box.xright).c_str(), "ybottom",
                         number(box.ybottom).c_str(), "ytop", number(box.ytop).c_str(),
                         static_cast<char*>(nullptr));
}
