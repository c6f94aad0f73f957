// Shows a map of the world from the standard map-data files: the Blue
// Marble image with borders and rivers by default, under the azimuthal
// equidistant projection.
//
//   kgrqt-map [--snapshot FILE] [--size WIDTHxHEIGHT] [--ratio R]
//             [--projection edp|merc|geog] [--center LAT LON] [--zoom Z]
//             [--layers NAME,...] [--mapdata DIR] [--plain]
//
// By default the map is 1200 x 700 pixels, equidistant about (20 N, 0 E),
// 360 degrees across. --zoom Z shows 360/Z degrees across the width;
// --layers names the map layers to show (bluemarble, dem_srtm30,
// water_mask, coasts, political, rivers), the others are hidden;
// --mapdata is the directory of the map-data files ($KGRQT_MAPDATA_DIR,
// else /opt/larkspur/data/maps/kmd); --plain leaves out the graticule,
// the logo and the buttons.
// With a display the map opens in a window: dragging pans, Shift-dragging
// recentres, the wheel and the keys + - i o I O zoom, c centres on the
// pointer, and the buttons choose the projection, the layers and the zoom.
// Without one (or with --snapshot) it is rendered into a file whose path
// is printed: SVG or PDF when its name ends so, PNG otherwise.
#include "MapView.h"
#include "app_args.h"
#include "map_options.h"

#include "kgrqt.h"

#include <QApplication>
#include <QWidget>

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

void reportFailure(const char* what)
{
    char* text = hx_register_text();
    fprintf(stderr, "kgrqt-map: %s\n%s", what, text ? text : "");
    free(text);
    hx_clear_register(0);
}

std::string joined(const std::vector<std::string>& names)
{
    std::string text;
    for (const std::string& name : names)
        text += (text.empty() ? "" : ", ") + name;
    return text;
}

// What the map shows, and a warning for each shown layer without its file.
void describe(const MapView& view, const MapOptions& o)
{
    std::vector<std::string> shown;
    for (const std::string& name : view.layerNames())
        if (view.layerShown(name.c_str()))
            shown.push_back(name);
    printf("Map: %s about %g %g, %g degrees across, layers %s\n",
           map_projection_word(o.home.projection), o.home.lat, o.home.lon, 360 / o.home.zoom,
           shown.empty() ? "none" : joined(shown).c_str());
    for (const std::string& name : shown) {
        const char* file = view.layerFile(name.c_str());
        if (file && access(file, R_OK) != 0)
            fprintf(stderr,
                    "kgrqt-map: layer %s: no file %s (tools/install-mapdata.sh builds the map "
                    "data)\n",
                    name.c_str(), file);
    }
}

int showMap(MapView& view, const MapOptions& o)
{
    if (view.setHome(o.home) < 0) {
        reportFailure("cannot show the map");
        return -1;
    }
    describe(view, o);
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    MapOptions options;
    if (!map_parse_options(argc, argv, &options))
        return 2;
    // Without a display, render off screen into a file.
    if (!app_has_display())
        setenv("QT_QPA_PLATFORM", "offscreen", 1);
    // A snapshot at R device pixels a pixel is what a screen of that
    // density shows.
    if (options.ratio)
        setenv("QT_SCALE_FACTOR", options.ratio, 1);
    QApplication app(argc, argv);
    if (!options.snapshot && app_is_headless())
        options.snapshot = "kgrqt-map.png";
    try {
        MapView view(options.width, options.height, options.setup);
        if (showMap(view, options) < 0)
            return 2;
        if (options.snapshot)
            return map_write_snapshot(view, options.snapshot) < 0 ? 2 : 0;
        view.window()->show();
        return app.exec();
    } catch (const char* message) {
        reportFailure(message);
        return 2;
    }
}
