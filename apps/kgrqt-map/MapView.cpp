#include "MapView.h"

#include "app_args.h"
#include "app_taskbar.h"
#include "kgrqt.h"

#include <QGridLayout>
#include <QPainter>

#include <cstddef>
#include <cstdio>
#include <cstring>
#include <string>

namespace {

const char* const kEnd = nullptr;

// ------------------------------------------------------------- buttons

MapControls* controlsOf(char* record)
{
    return reinterpret_cast<MapControls*>(record);
}

int map_parse_projection(HX_ConfigureSpec*, HX_ClientData, char* value, char* record, int)
{
    MapProjection projection;
    if (!map_projection_of(value, &projection)) {
        hx_register_error(0, "map_parse_projection: Illegal value '%s'\n", value ? value : "");
        return -1;
    }
    return controlsOf(record)->view->setProjection(projection);
}

char* map_print_projection(HX_ConfigureSpec*, HX_ClientData, char* record, int)
{
    return strdup(map_projection_word(static_cast<MapProjection>(controlsOf(record)->projection)));
}

int map_parse_layer_show(HX_ConfigureSpec*, HX_ClientData, char* value, char* record, int)
{
    return controlsOf(record)->view->showLayer(value, true);
}

int map_parse_layer_hide(HX_ConfigureSpec*, HX_ClientData, char* value, char* record, int)
{
    return controlsOf(record)->view->showLayer(value, false);
}

int map_parse_zoom_by(HX_ConfigureSpec*, HX_ClientData, char* value, char* record, int)
{
    double factor = 0;
    if (!app_parse_number(value, &factor) || factor <= 0) {
        hx_register_error(0, "map_parse_zoom_by: Illegal factor '%s'\n", value ? value : "");
        return -1;
    }
    return controlsOf(record)->view->zoomBy(factor);
}

int map_parse_home(HX_ConfigureSpec*, HX_ClientData, char*, char* record, int)
{
    return controlsOf(record)->view->goHome();
}

HX_CustomOption projectionOption = {map_parse_projection, map_print_projection, nullptr};
HX_CustomOption layerShowOption = {map_parse_layer_show, nullptr, nullptr};
HX_CustomOption layerHideOption = {map_parse_layer_hide, nullptr, nullptr};
HX_CustomOption zoomByOption = {map_parse_zoom_by, nullptr, nullptr};
HX_CustomOption homeOption = {map_parse_home, nullptr, nullptr};

HX_ConfigureSpec controlSpecs[] = {
    {"custom", "projection", nullptr, offsetof(MapControls, projection), HX_CONFIGURE_NO_DEFAULT,
     &projectionOption},
    {"custom", "layer_show", nullptr, 0, HX_CONFIGURE_NO_DEFAULT, &layerShowOption},
    {"custom", "layer_hide", nullptr, 0, HX_CONFIGURE_NO_DEFAULT, &layerHideOption},
    {"custom", "zoom_by", nullptr, 0, HX_CONFIGURE_NO_DEFAULT, &zoomByOption},
    {"custom", "home", nullptr, 0, HX_CONFIGURE_NO_DEFAULT, &homeOption},
    {"end", nullptr, nullptr, 0, 0, nullptr},
};

} // namespace

MapView::MapView(int width, int height, const MapSetup& setup)
{
    controls = MapControls{this, static_cast<int>(MapProjection::Edp)};
    vp = new KGRViewport(nullptr);
    vp->setWindowTitle("kgrqt-map");
    vp->resize(width, height);
    try {
        build(setup);
    } catch (const char*) {
        delete vp;
        throw;
    }
}

void MapView::build(const MapSetup& setup)
{
    mapItem = map_make(vp, setup, map_next_view_name());
    if (setup.decorations) {
        graticule = new KGRGrid(vp);
        graticule->configure("fill", "#90ffffff", "visible_xsmall", "0", "visible_ysmall", "0",
                             kEnd);
        logo = new KGRLogo(vp);
        if (addButtons() < 0)
            throw "MapView: the map buttons cannot be made";
    }
    if (mapItem->configure("process_mouse_events", "yes", kEnd) < 0)
        throw "MapView: the map navigation cannot be bound";
    setHome(home);
}

MapView::~MapView()
{
    delete vp;
}

QWidget* MapView::window() const
{
    return vp;
}

// The buttons are bound to the map's picker before the navigation, so that
// a press on a button is theirs alone.
int MapView::addButtons()
{
    const QByteArray definitions = map_resource_text("map_buttons.pf");
    if (definitions.isEmpty()) {
        hx_register_error(0, "MapView: the button definitions are missing\n");
        return -1;
    }
    if (mapItem->configure("maptaskbar_buttons_definitions", definitions.constData(), kEnd) < 0 ||
        !mapItem->map.taskbar)
        return -1;
    // The buttons' actions configure the taskbar: give it our controls.
    KGRTaskbar* taskbar = mapItem->map.taskbar;
    if (taskbar->setConfigureSpecs(controlSpecs, reinterpret_cast<char*>(&controls), "MapView") <
            0 ||
        taskbar->configure("taskbar_background", "white", kEnd) < 0)
        return -1;
    if (mapItem->configure("maptaskbar_buttons", buttonList().c_str(), kEnd) < 0)
        return -1;
    return app_style_buttons(taskbar, "Helvetica 10", "#808080");
}

// The button list of the resource, each layer's button starting in the
// state of its layer (0 shown, 1 hidden).
std::string MapView::buttonList() const
{
    const QByteArray text = map_resource_text("map_buttons.pf");
    Pf* pf = nullptr;
    Tbl* lines = nullptr;
    std::string list = "buttons &Tbl{\n";
    if (pfcompile(text.constData(), &pf) == 0 && parse_param(pf, "buttons", 't', 1, &lines) == 0)
        for (int i = 0; i < maxtbl(lines); ++i) {
            const char* line = pfstring(static_cast<Pf*>(gettbl(lines, i)));
            if (!line)
                continue;
            const std::string button(line, strcspn(line, " \t"));
            list += std::string(line);
            if (map_layer_params(mapItem, button.c_str()))
                list += layerShown(button.c_str()) ? " 0" : " 1";
            list += "\n";
        }
    pffree(pf);
    return list + "}\n";
}

// The map's projection switch and zoom start from the box the viewport
// shows, which the viewport sets when it paints: set it now from what was
// configured since.
void MapView::settleBox()
{
    KgrviewportItem& r = vp->viewport;
    vp->computeBB();
    kgrqt_translate_and_gain(&r, r.xoffset, r.yoffset, r.xgain_anchor, r.ygain_anchor, r.xgain,
                             r.ygain);
    vp->computeMapBB();
}

void MapView::redraw()
{
    mapItem->setMaplayersStale();
    vp->update();
}

int MapView::setHome(const MapHome& start)
{
    home = start;
    return goHome();
}

int MapView::goHome()
{
    const MapBox box =
        map_home_box(home.projection, home.lat, home.lon, home.zoom, vp->width(), vp->height());
    const int result = map_show_box(vp, box);
    controls.projection = static_cast<int>(box.projection);
    redraw();
    return result;
}

MapProjection MapView::projection() const
{
    switch (vp->viewport.wtran) {
    case KGR_WTRAN_MERC:
        return MapProjection::Merc;
    case KGR_WTRAN_GEOG:
        return MapProjection::Geog;
    default:
        return MapProjection::Edp;
    }
}

// The map switches between "edp" and "merc" itself; plain longitude and
// latitude is a viewport transform, reached from the box the view shows.
int MapView::setProjection(MapProjection target)
{
    settleBox();
    const MapProjection current = projection();
    if (target == current)
        return 0;
    int result = 0;
    if (target == MapProjection::Geog) {
        result = map_show_box(vp, map_geog_box(vp->viewport));
    } else {
        if (current == MapProjection::Geog) {
            result = map_show_box(vp, map_edp_box(map_geog_box(vp->viewport)));
            settleBox();
        }
        if (result == 0 && target != projection())
            result = mapItem->configure("set_projection", map_projection_word(target), kEnd);
    }
    controls.projection = static_cast<int>(projection());
    redraw();
    return result;
}

std::vector<std::string> MapView::layerNames() const
{
    return map_layer_names(mapItem);
}

int MapView::setLayers(const std::vector<std::string>& names)
{
    const int result = map_show_layers(mapItem, names);
    redraw();
    return result;
}

int MapView::showLayer(const char* name, bool on)
{
    if (mapItem->configure(on ? "maplayer_show" : "maplayer_hide", name, kEnd) < 0)
        return -1;
    redraw();
    return 0;
}

bool MapView::layerShown(const char* name) const
{
    const KGRMapLayerParams* params = map_layer_params(mapItem, name);
    return params && params->visibility;
}

const char* MapView::layerFile(const char* name) const
{
    const KGRMapLayerParams* params = map_layer_params(mapItem, name);
    return params ? params->mapdata_source : nullptr;
}

// The map's own zoom option magnifies by its value.
int MapView::zoomBy(double factor)
{
    char text[64];
    snprintf(text, sizeof text, "%.10g", 1 / factor);
    settleBox();
    const int result = mapItem->configure("zoom", text, kEnd);
    redraw();
    return result;
}

QImage MapView::render()
{
    vp->layout->activate();
    return vp->grab().toImage();
}

void MapView::paintItems(QPainter& painter)
{
    render(); // lays the view out and computes its box
    painter.save();
    painter.setClipRect(QRect(QPoint(0, 0), vp->size()));
    vp->draw(painter);
    for (const std::string& name : layerNames())
        if (layerShown(name.c_str()))
            mapItem->draw(painter, const_cast<char*>(name.c_str()), nullptr);
    if (graticule && !graticule->isHidden()) {
        painter.setRenderHint(QPainter::Antialiasing);
        graticule->draw(painter);
    }
    if (logo)
        logo->draw(painter);
    painter.restore();
}
