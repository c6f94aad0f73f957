#include "gallery_scenes.h"

#include "kgrqt.h"
#include "map_box.h"
#include "map_make.h"
#include "map_options.h"

#include <QGridLayout>
#include <QList>

#include <cmath>
#include <string>

namespace {

const char* const kEnd = nullptr;

// A white plot area in a light frame; x and y from lo to hi.
KGRViewport* frame(int width, int height, const char* margin = "70 20 60 30")
{
    auto* vp = new KGRViewport(nullptr);
    vp->resize(width, height);
    vp->configure("fill", "white", "fill_frame", "#f4f4f4", "margin", margin, kEnd);
    return vp;
}

// A damped wave across the x range, for something to annotate.
void addWave(KGRViewport* vp, double x0, double x1, double amplitude, double offset = 0)
{
    auto* points = new QList<KGR_XY>;
    for (int i = 0; i <= 400; ++i) {
        const double t = i / 400.0;
        points->append(
            KGR_XY{x0 + t * (x1 - x0), offset + amplitude * std::exp(-2 * t) * std::sin(40 * t)});
    }
    auto* line = new KGRPolyline(vp);
    line->configure("qlist", reinterpret_cast<char*>(points), "outline", "navy", kEnd);
    // The points are read at configure time; the list can go.
    delete points;
}

KGRAxes* axes(KGRViewport* vp, const char* xlabel, const char* ylabel)
{
    auto* a = new KGRAxes(vp);
    a->configure("xlabel", xlabel, "ylabel", ylabel, kEnd);
    return a;
}

KGRViewport* axesDefault(int w, int h)
{
    KGRViewport* vp = frame(w, h);
    vp->configure("xleft", "0", "xright", "10", "ybottom", "-1", "ytop", "1", kEnd);
    addWave(vp, 0, 10, 0.9);
    axes(vp, "Distance (km)", "Amplitude");
    return vp;
}

KGRViewport* axesOutward(int w, int h)
{
    KGRViewport* vp = frame(w, h);
    vp->configure("xleft", "-250", "xright", "250", "ybottom", "0", "ytop", "45", kEnd);
    addWave(vp, -250, 250, 15, 22);
    KGRAxes* a = axes(vp, "Offset (m)", "Depth (km)");
    a->configure("axis_style", "sw", "tic_style", "sowo", "linewidth_box", "2", "linewidth", "2",
                 "fill_axes", "#303060", kEnd);
    return vp;
}

KGRViewport* axesCentred(int w, int h)
{
    KGRViewport* vp = frame(w, h, "90 30 60 30");
    vp->configure("xleft", "0", "xright", "1", "ybottom", "0", "ytop", "100", kEnd);
    addWave(vp, 0, 1, 40, 50);
    KGRAxes* a = axes(vp, "Fraction", "Percent");
    a->configure("tic_style", "ncscecwc", "ticlength", "12", "ticlength_small", "6", "yformat",
                 "%.0f%%", "xformat", "%.2f", "mindx", "90", kEnd);
    return vp;
}

KGRViewport* axesLog(int w, int h)
{
    KGRViewport* vp = frame(w, h);
    vp->configure("xmode", "log", "ymode", "log", "xleft", "0.01", "xright", "100", "ybottom", "1",
                  "ytop", "100000", kEnd);
    auto* points = new QList<KGR_XY>;
    for (int i = 0; i <= 200; ++i) {
        const double f = std::pow(10.0, -2 + 4 * i / 200.0);
        points->append(KGR_XY{f, 5e4 / (1 + std::pow(f / 1.5, 2))});
    }
    auto* line = new KGRPolyline(vp);
    line->configure("qlist", reinterpret_cast<char*>(points), "outline", "darkred", kEnd);
    delete points;
    new KGRGrid(vp);
    axes(vp, "Frequency (Hz)", "Power");
    return vp;
}

// A time axis of the given span from 2026-02-25.
KGRViewport* timeAxis(int w, int h, double span)
{
    KGRViewport* vp = frame(w, h, "70 20 66 20");
    const double start = 1771977600.0 + (span < 86400 ? 12 * 3600 + 7 * 60 : 0);
    const std::string left = std::to_string(start), right = std::to_string(start + span);
    vp->configure("xmode", "time", "xleft", left.c_str(), "xright", right.c_str(), "ybottom", "-1",
                  "ytop", "1", kEnd);
    addWave(vp, start, start + span, 0.8);
    new KGRGrid(vp);
    KGRAxes* a = axes(vp, "Time (UTC)", "");
    a->configure("xformat", "time", kEnd);
    return vp;
}

KGRViewport* time10s(int w, int h)
{
    return timeAxis(w, h, 10);
}
KGRViewport* time1h(int w, int h)
{
    return timeAxis(w, h, 3600);
}
KGRViewport* time10days(int w, int h)
{
    return timeAxis(w, h, 864000);
}
KGRViewport* time200days(int w, int h)
{
    return timeAxis(w, h, 200 * 86400.0);
}
KGRViewport* time20years(int w, int h)
{
    return timeAxis(w, h, 7305 * 86400.0);
}

KGRViewport* grid(int w, int h)
{
    KGRViewport* vp = frame(w, h);
    vp->configure("xleft", "0", "xright", "10", "ybottom", "-1", "ytop", "1", kEnd);
    KGRGrid* g = new KGRGrid(vp);
    g->configure("fill", "#8080c0", "fill_small", "#e0e0f0", "mindx", "100", "mindy", "60", kEnd);
    addWave(vp, 0, 10, 0.9);
    axes(vp, "Distance (km)", "Amplitude")->configure("mindx", "100", "mindy", "60", kEnd);
    return vp;
}

KGRViewport* graticule(int w, int h)
{
    KGRViewport* vp = frame(w, h, "20 20 40 20");
    vp->configure("wtran", "edp", "latr", "40", "lonr", "-100", "xleft", "-60", "xright", "60",
                  "ybottom", "-40", "ytop", "40", kEnd);
    KGRGrid* g = new KGRGrid(vp);
    g->configure("fill", "#4060a0", "fill_small", "#c0d0e8", kEnd);
    axes(vp, "Equidistant about 40N 100W", "");
    return vp;
}

// The nine compass codes of boxed text, each at a cross marking its anchor.
KGRViewport* textJustification(int w, int h)
{
    KGRViewport* vp = frame(w, h, "20 20 20 20");
    vp->configure("xleft", "0", "xright", "3", "ybottom", "0", "ytop", "3", kEnd);
    new KGRGrid(vp);
    const char* codes[3][3] = {{"nw", "n", "ne"}, {"w", "c", "e"}, {"sw", "s", "se"}};
    for (int row = 0; row < 3; ++row)
        for (int col = 0; col < 3; ++col) {
            const std::string x = std::to_string(col + 0.5) + "d";
            const std::string y = std::to_string(2.5 - row) + "d";
            auto* t = new KGRText(vp, const_cast<char*>(codes[row][col]),
                                  const_cast<char*>(x.c_str()), const_cast<char*>(y.c_str()));
            t->configure("text", codes[row][col], "justification", codes[row][col], "background",
                         "#fff2b0", "outline", "#a08000", "font", "Helvetica 14", kEnd);
            auto* mark = new KGRText(vp, const_cast<char*>("+"), const_cast<char*>(x.c_str()),
                                     const_cast<char*>(y.c_str()));
            mark->configure("text", "+", "justification", "c", "fill", "red", kEnd);
        }
    return vp;
}

KGRViewport* textStyles(int w, int h)
{
    KGRViewport* vp = frame(w, h, "20 20 20 20");
    vp->configure("xleft", "0", "xright", "1", "ybottom", "0", "ytop", "1", kEnd);
    auto text = [vp](const char* x, const char* y, const char* label) {
        auto* t =
            new KGRText(vp, const_cast<char*>(label), const_cast<char*>(x), const_cast<char*>(y));
        t->configure("text", label, kEnd);
        return t;
    };
    text("0.05v", "1v", "Boxed, with background and outline")
        ->configure("background", "#d8ecff", "outline", "navy", "justification", "swb", kEnd);
    text("0.05v", "0.55v", "Not a symbol")
        ->configure("background", "white", "outline", "gray", "show_not_symbol", "yes", kEnd);
    text("0.05v", "0.3v", "Half transparent")
        ->configure("opacity", "0.5", "font", "Helvetica 18 Bold", kEnd);
    text("0.97v", "0.55v", "Rotated 20 degrees")->configure("angle", "-20", kEnd);
    return vp;
}

const char* const kButtons = R"(buttons_definitions &Arr{
    grid &Arr{
        kgr_layer  gallery_grid
        states &Arr{
            on &Arr{
                label   Grid
                order   0
                action  configure taskbar_debug on
            }
            off &Arr{
                label            Grid
                order            1
                show_not_symbol  yes
                action           configure taskbar_debug off
            }
        }
    }
    scale &Arr{
        kgr_layer   gallery_scale
        label       Log scale
        action      configure taskbar_debug log
        fill_color  white
        background_color  \#4060a0
    }
    filter &Arr{
        kgr_layer  gallery_filter
        label      Filter 1-5 Hz
        action     configure taskbar_debug filter
        opacity    0.5
    }
}
)";

KGRViewport* taskbar(int w, int h)
{
    KGRViewport* vp = frame(w, h, "20 20 20 50");
    vp->configure("xleft", "0", "xright", "10", "ybottom", "-1", "ytop", "1", kEnd);
    addWave(vp, 0, 10, 0.9);
    auto* bar = new KGRTaskbar(vp);
    if (bar->configure("taskbar_background", "white", "taskbar_buttons_definitions", kButtons,
                       "taskbar_buttons",
                       "buttons &Tbl{\n grid nwb left top+40 1\n scale nwb left+80 top+40\n"
                       " filter nwb left+210 top+40\n}\n",
                       kEnd) < 0) {
        delete vp;
        return nullptr;
    }
    return vp;
}

// Graticule colours over the Blue Marble and the relief, and over the
// light fills of the coastlines.
const char* const kOverImage = "#b0ffffff";
const char* const kOverFills = "#80405080";

// A map of the installed map data as kgrqt-map makes it, filling the
// scene, with the named layers, 360/zoom degrees across about (lat, lon)
// and a graticule.
KGRViewport* mapScene(int w, int h, MapProjection projection, double lat, double lon, double zoom,
                      std::vector<std::string> layers, const char* graticule = kOverImage)
{
    auto* vp = new KGRViewport(nullptr);
    vp->resize(w, h);
    MapSetup setup;
    setup.mapdata = map_default_mapdata();
    setup.layersGiven = true;
    setup.layers = std::move(layers);
    try {
        map_make(vp, setup, map_next_view_name());
    } catch (const char*) {
        delete vp;
        return nullptr;
    }
    KGRGrid* g = new KGRGrid(vp);
    g->configure("fill", graticule, "visible_xsmall", "0", "visible_ysmall", "0", kEnd);
    map_show_box(vp, map_home_box(projection, lat, lon, zoom, w, h));
    return vp;
}

KGRViewport* mapEdp(int w, int h)
{
    return mapScene(w, h, MapProjection::Edp, 20, 0, 360.0 / 370,
                    {"bluemarble", "political", "rivers"});
}

KGRViewport* mapMerc(int w, int h)
{
    return mapScene(w, h, MapProjection::Merc, 0, 0, 1, {"bluemarble", "political"});
}

KGRViewport* mapGeog(int w, int h)
{
    return mapScene(w, h, MapProjection::Geog, 0, 0, 1, {"bluemarble", "political", "rivers"});
}

KGRViewport* mapRegional(int w, int h)
{
    return mapScene(w, h, MapProjection::Edp, 37, 138, 12, {"coasts", "political", "rivers"},
                    kOverFills);
}

KGRViewport* mapRelief(int w, int h)
{
    return mapScene(w, h, MapProjection::Edp, 32, 85, 6, {"dem_srtm30", "political"});
}

KGRViewport* mapLakes(int w, int h)
{
    return mapScene(w, h, MapProjection::Geog, -4, 32, 24, {"coasts"}, kOverFills);
}

} // namespace

const std::vector<GalleryScene>& gallery_scenes()
{
    static const std::vector<GalleryScene> scenes = {
        {"axes-default", "Axes with the default styles: a box, inward tics, labels", 480, 300,
         axesDefault},
        {"axes-outward", "Bottom and left sides only, outward tics, wide lines", 480, 300,
         axesOutward},
        {"axes-centred", "Centred tics of set lengths, label formats \"%.2f\" and \"%.0f%%\"", 480,
         300, axesCentred},
        {"axes-log", "Logarithmic axes: decades with exponents, minor tics at 2 to 9", 480, 300,
         axesLog},
        {"time-10s", "Time axis over 10 seconds, with the date beneath", 480, 220, time10s},
        {"time-1h", "Time axis over an hour", 480, 220, time1h},
        {"time-10days", "Time axis over 10 days: two-day steps, the year beneath", 480, 220,
         time10days},
        {"time-200days", "Time axis over 200 days: calendar months", 480, 220, time200days},
        {"time-20years", "Time axis over 20 years: decades", 480, 220, time20years},
        {"grid", "A grid on the axes' tics, major and minor lines", 480, 300, grid},
        {"graticule", "The grid of an equidistant map: meridians and parallels", 480, 360,
         graticule},
        {"text-justification",
         "Boxed text at each compass justification; red crosses mark "
         "the anchors",
         480, 300, textJustification},
        {"text-styles", "Text boxed, struck as not a symbol, translucent and rotated", 480, 260,
         textStyles},
        {"taskbar", "A taskbar: a button struck through, a coloured one, a faded one", 480, 200,
         taskbar},
        {"map-edp", "The world about 20N 0E, equidistant: Blue Marble, borders, rivers", 480, 480,
         mapEdp, true},
        {"map-merc", "The world under Mercator: Blue Marble and borders", 480, 400, mapMerc, true},
        {"map-geog", "The world in plain longitude and latitude", 480, 240, mapGeog, true},
        {"map-regional", "Japan, equidistant, 30 degrees across: coasts, borders, rivers", 480, 360,
         mapRegional, true},
        {"map-relief", "The relief layer about the Himalaya, with borders", 480, 320, mapRelief,
         true},
        {"map-lakes", "Filled coastlines with their lakes: East Africa", 480, 360, mapLakes, true},
    };
    static const std::vector<GalleryScene> all = [] {
        std::vector<GalleryScene> v = scenes;
        for (const GalleryScene& s : gallery_beachball_scenes())
            v.push_back(s);
        for (const GalleryScene& s : gallery_mapevents_scenes())
            v.push_back(s);
        return v;
    }();
    return all;
}

QImage gallery_render(const GalleryScene& scene)
{
    std::unique_ptr<KGRViewport> vp(scene.build(scene.width, scene.height));
    if (!vp)
        return QImage();
    vp->layout->activate();
    return vp->grab().toImage();
}
