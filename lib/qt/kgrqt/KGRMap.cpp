// The map: a stack of named map layers, each painting one map-data source
// into an off-screen layer of the viewport. Layer definitions and lists are
// read in kgrqt_map_parse.cpp, navigation in kgrqt_map_navigate.cpp.
#include "KGRMap.h"
#include "KGRLayer.h"
#include "KGRMapData.h"
#include "KGRPicker.h"
#include "KGRTaskbar.h"
#include "KGRViewport.h"
#include "kgrqt_engine.h"
#include "kgrqt_map.h"

#include <QColor>
#include <QImage>
#include <QMessageBox>
#include <QMouseEvent>
#include <QPainter>
#include <QPixmap>
#include <QString>

#include <cmath>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace {

HX_CustomOption definitionsOption = {map_parse_maplayer_definitions, map_print_maplayer_definitions,
                                     nullptr};
HX_CustomOption maplayersOption = {map_parse_maplayers, map_print_maplayers, nullptr};
HX_CustomOption defineTemplateOption = {map_parse_define_maplayers_template, nullptr, nullptr};
HX_CustomOption templateOption = {map_parse_maplayers_template, nullptr, nullptr};
HX_CustomOption showOption = {map_parse_maplayer_show, nullptr, nullptr};
HX_CustomOption hideOption = {map_parse_maplayer_hide, nullptr, nullptr};
HX_CustomOption toggleOption = {map_parse_maplayer_visibility_toggle, nullptr, nullptr};
HX_CustomOption buttonsDefinitionsOption = {map_parse_buttons_definitions,
                                            map_print_buttons_definitions, nullptr};
HX_CustomOption buttonsOption = {map_parse_buttons, map_print_buttons, nullptr};
HX_CustomOption mouseOption = {map_process_mouse_events, nullptr, nullptr};
HX_CustomOption projectionOption = {map_parse_set_projection, nullptr, nullptr};
HX_CustomOption zoomOption = {map_parse_zoom, nullptr, nullptr};

#define MAP_FIELD(f) static_cast<int>(offsetof(KgrmapItem, f))
#define MAP_COMMAND(name, option)                                                                  \
    {                                                                                              \
        "custom", name, nullptr, 0, HX_CONFIGURE_NULL_OK, &option                                  \
    }

// The commands of the map, installed on its taskbar as well so that button
// actions ("configure maplayer_visibility_toggle coasts") reach the map.
HX_ConfigureSpec commandSpecs[] = {
    MAP_COMMAND("define_maplayers_template", defineTemplateOption),
    MAP_COMMAND("maplayers_template", templateOption),
    MAP_COMMAND("maplayer_show", showOption),
    MAP_COMMAND("maplayer_hide", hideOption),
    MAP_COMMAND("maplayer_visibility_toggle", toggleOption),
    MAP_COMMAND("process_mouse_events", mouseOption),
    MAP_COMMAND("set_projection", projectionOption),
    MAP_COMMAND("zoom", zoomOption),
    {"end", nullptr, nullptr, 0, 0, nullptr},
};

} // namespace

HX_ConfigureSpec KGRMap::configSpecs[] = {
    {"color", "fill_land", "#fff2e5", MAP_FIELD(fill_land), HX_CONFIGURE_NULL_OK, nullptr},
    {"color", "fill_water", "#e0e0ff", MAP_FIELD(fill_water), HX_CONFIGURE_NULL_OK, nullptr},
    {"custom", "maplayer_definitions", kgrmap_default_maplayer_definitions,
     MAP_FIELD(maplayer_definitions_string), HX_CONFIGURE_NULL_OK, &definitionsOption},
    {"custom", "maplayers", kgrmap_default_maplayers, MAP_FIELD(maplayers_string),
     HX_CONFIGURE_NULL_OK, &maplayersOption},
    MAP_COMMAND("define_maplayers_template", defineTemplateOption),
    MAP_COMMAND("maplayers_template", templateOption),
    MAP_COMMAND("maplayer_show", showOption),
    MAP_COMMAND("maplayer_hide", hideOption),
    MAP_COMMAND("maplayer_visibility_toggle", toggleOption),
    {"custom", "maptaskbar_buttons_definitions", nullptr,
     MAP_FIELD(taskbar_buttons_definitions_string), HX_CONFIGURE_NULL_OK,
     &buttonsDefinitionsOption},
    {"custom", "maptaskbar_buttons", nullptr, MAP_FIELD(taskbar_buttons_string),
     HX_CONFIGURE_NULL_OK, &buttonsOption},
    MAP_COMMAND("process_mouse_events", mouseOption),
    MAP_COMMAND("set_projection", projectionOption),
    MAP_COMMAND("zoom", zoomOption),
    {"int", "nthreads", "16", MAP_FIELD(nthreads), 0, nullptr},
    {"int", "cache_maxsize", "500000000", MAP_FIELD(cache_maxsize), 0, nullptr},
    {"string", "picker_name", "mappicker", MAP_FIELD(picker_name), HX_CONFIGURE_NULL_OK, nullptr},
    {"string", "debug", "", MAP_FIELD(debug), HX_CONFIGURE_NULL_OK, nullptr},
    {"end", nullptr, nullptr, 0, 0, nullptr},
};

namespace {

KGRMapLayerParams* paramsOf(const KgrmapItem& item, const char* name)
{
    return static_cast<KGRMapLayerParams*>(getarr(item.maplayer_definitions, name));
}

// The events of the picker that drive navigation. The wheel is among them:
// without it the picker would hand wheel steps to the parent instead.
const char* const navigationEvents[] = {"mousePressEvent", "mouseMoveEvent", "mouseReleaseEvent",
                                        "keyPressEvent", "wheelEvent"};

void unbindNavigation(KGRPicker* picker, KGRMap* map)
{
    for (const char* event : navigationEvents)
        kgrqt_unbind_entries(picker->bindings, event, map_mouse_callback, map);
}

bool navigationBound(KGRPicker* picker, KGRMap* map)
{
    for (KGR_Binding* row = picker->bindings; row && row->event != KGR_EVENT_END; ++row)
        if (row->event == KGR_EVENT_MOUSE_PRESS)
            for (int i = 0; i < row->n_callbacks; ++i)
                if (row->callbacks[i].callbackProc == map_mouse_callback &&
                    row->callbacks[i].clientData == map)
                    return true;
    return false;
}

// Binds the navigation once, after every callback bound so far: buttons
// on the same picker see a press first and may take it. 0 or -1.
int bindNavigation(KGRPicker* picker, KGRMap* map)
{
    unbindNavigation(picker, map);
    try {
        for (const char* event : navigationEvents)
            picker->bind(event, map_mouse_callback, map);
    } catch (const char* e) {
        unbindNavigation(picker, map);
        hx_register_error(1, "map_process_mouse_events: %s\n", e);
        return -1;
    }
    return 0;
}

// Opens a layer's source on its first draw. A source that cannot be opened
// is reported once, without blocking, and never tried again.
void openSource(KGRMap* map, KGRMapLayerParams* params, const char* name, int nthreads)
{
    if (params->mapdata || params->nodata)
        return;
    std::string path = kgrqt_mapdata_path(params->mapdata_source);
    try {
        params->mapdata = new KGRMapData(const_cast<char*>(path.c_str()), nthreads);
    } catch (const char*) {
        params->nodata = 1;
        auto* box = new QMessageBox(map);
        box->setAttribute(Qt::WA_DeleteOnClose);
        box->setText(QString::asprintf("Cannot find layer %s map file %s\nDownload using ...", name,
                                       path.c_str()));
        box->setModal(false);
        // Shown from the event loop: this runs inside a paint event.
        QMetaObject::invokeMethod(box, "show", Qt::QueuedConnection);
    }
}

// The resolution whose pixels best match the plot's degrees per pixel.
void chooseResolution(KGRMapData* mapdata, const KgrviewportItem* vp, int w)
{
    mapdata->setResolution((vp->xright - vp->xleft) / w);
}

void drawGrid(QPainter& painter, const KgrmapItem& item, KGRMapLayerParams* params, int w, int h)
{
    KgrviewportItem* vp = item.viewport;
    KGRMapData* md = params->mapdata;
    chooseResolution(md, vp, w);
    QImage* image = md->drawImage(w, h, vp->wtran, vp->xleft, vp->xright, vp->ybottom, vp->ytop,
                                  vp->lonr, vp->latr, 1.0, 0.0);
    if (image)
        painter.drawImage(vp->mleft, vp->mtop, *image);
    md->cleanCache(item.cache_maxsize, 0);
}

// Runs draw with the viewport's plane untransformed, so that world
// coordinates are the plane's own (equidistant offsets in degrees).
template <class Draw> void withoutTransform(KgrviewportItem* vp, Draw&& draw)
{
    int wtran = vp->wtran;
    vp->wtran = KGR_WTRAN_NONE;
    draw();
    vp->wtran = wtran;
}

// The whole plot area in the layer's background colour, under the fills.
void fillBackground(QPainter& painter, const KgrmapItem& item, KGRMapLayerParams* params)
{
    KgrviewportItem* vp = item.viewport;
    if (!item.fill_water.color || !params->background_color.color)
        return;
    double xs[] = {vp->xleft, vp->xleft, vp->xright, vp->xright, vp->xleft};
    double ys[] = {vp->ybottom, vp->ytop, vp->ytop, vp->ybottom, vp->ybottom};
    kgrqt_setup_fill(&painter, params->background_color.color);
    withoutTransform(vp, [&] { kgrqt_poly_draw(painter, vp, 5, xs, ys, 1, 1, 0); });
}

void drawVectors(QPainter& painter, const KgrmapItem& item, KGRMapLayerParams* params, int w)
{
    KgrviewportItem* vp = item.viewport;
    if (params->type == KGRMAP_TYPE_VECTOR_FILL)
        fillBackground(painter, item, params);
    chooseResolution(params->mapdata, vp, w);
    unsigned int mask = 0;
    for (unsigned int k = 0; k < params->levels && k < KGRMAPDATA_NLEVELS; ++k)
        if (params->linewidth[k] >= 0)
            mask |= 1u << k;
    int* resolution = params->type == KGRMAP_TYPE_VECTOR ? params->resolution : nullptr;
    // Odd levels are land (fill_color), even ones water within the land.
    params->mapdata->drawVector(painter, vp, mask, params->outline, params->linewidth, resolution,
                                params->background_color, params->fill_color);
}

// Beyond the antipode an equidistant plane holds no world: the plot frame
// less the disc of radius 180 degrees, filled under the odd-even rule.
void fillBeyondWorld(QPainter& painter, const KgrmapItem& item)
{
    KgrviewportItem* vp = item.viewport;
    if (vp->wtran != KGR_WTRAN_EDP || !item.fill_black.color)
        return;
    std::vector<double> xs = {vp->xleft, vp->xleft, vp->xright, vp->xright, vp->xleft, KGR_UNSET};
    std::vector<double> ys = {vp->ybottom, vp->ytop, vp->ytop, vp->ybottom, vp->ybottom, KGR_UNSET};
    for (int a = 0; a <= 360; ++a) {
        double r = (a % 360) * 0.017453292519943295;
        xs.push_back(180.0 * std::sin(r));
        ys.push_back(180.0 * std::cos(r));
    }
    painter.setOpacity(1.0);
    kgrqt_setup_fill(&painter, item.fill_black.color);
    withoutTransform(vp, [&] {
        kgrqt_poly_draw(painter, vp, static_cast<int>(xs.size()), xs.data(), ys.data(), 2, 1, 0);
    });
}

} // namespace

int map_plot_width(const KgrviewportItem* vp)
{
    return vp->w - vp->mleft - vp->mright;
}

int map_plot_height(const KgrviewportItem* vp)
{
    return vp->h - vp->mbottom - vp->mtop;
}

// ------------------------------------------------------------------ class

KGRMap::KGRMap(KGRViewport* viewport)
{
    kgrqt_construct([&] { init(viewport); }, "KGRMap::KGRMap: init() error.");
}

KGRMap::~KGRMap()
{
    if (map.picker)
        unbindNavigation(map.picker, this);
    delete map.taskbar;
    // The off-screen layers may outlive the map: they lose its drawing and
    // the mask colours that its records own.
    Tbl* names = keysarr(map.maplayer_definitions);
    for (int i = 0; i < maxtbl(names); ++i) {
        KGRMapLayerParams* p = paramsOf(map, static_cast<const char*>(gettbl(names, i)));
        if (!p->kgr_layer)
            continue;
        if (p->transparent_color.color &&
            p->kgr_layer->layer.mask_color == p->transparent_color.color)
            p->kgr_layer->maskColorTransparent();
        p->kgr_layer->setStale();
    }
    freetbl(names, nullptr);
    freearr(map.maplayer_definitions, map_free_maplayer_params);
    map_free_names(map.maplayers);
    freetbl(map.maplayers_extra, nullptr);
    map_free_templates(&map);
    free(map.maplayer_definitions_string);
    free(map.maplayers_string);
    free(map.taskbar_buttons_definitions_string);
    free(map.taskbar_buttons_string);
    KGR_ClearColor(&map.fill_black);
    KGRConfigure_FreeRecord(configSpecs, reinterpret_cast<char*>(&map));
    free(class_name);
}

void KGRMap::init(KGRViewport* viewport)
{
    kgrqt_init_item(
        this, viewport, &map, "KGRMap", "KGRMap::init: setParent() error.",
        [this, viewport](KgrmapItem& m) {
            m.parent = viewport;
            m.configSpecs = configSpecs;
            m.object_ptr = this;
            m.vp = viewport;
            m.viewport = viewport ? &viewport->viewport : nullptr;
            if (KGR_ParseColor("black", &m.fill_black) < 0)
                throw "KGRMap::init: KGR_Color(fill_black) error.";
        },
        [this, viewport] {
            if (viewport)
                viewport->registerItem(this);
            // The map paints only into its layers, which must lie above it
            // to show in the same frame: it goes to the bottom.
            lower();
        });
    if (viewport)
        viewport->configure("constant_aspect", "1.0", static_cast<char*>(nullptr));
}

void KGRMap::paintEvent(QPaintEvent*)
{
    for (int i = 0; i < maxtbl(map.maplayers); ++i) {
        auto* name = static_cast<char*>(gettbl(map.maplayers, i));
        KGRMapLayerParams* params = paramsOf(map, name);
        if (!params || !params->visibility || !params->kgr_layer)
            continue;
        QPainter painter;
        if (!kgrqt_begin_item_paint(this, params->kgr_layer, map.viewport, debug, "map", painter))
            continue;
        draw(painter, name, nullptr);
    }
}

void KGRMap::draw(QPainter& painter, char* layer_name, void*)
{
    KGRMapLayerParams* params = paramsOf(map, layer_name ? layer_name : "");
    KgrviewportItem* vp = map.viewport;
    if (!params || !vp)
        return;
    // The vector cull needs the geographic box of what is shown now.
    map.vp->computeMapBB();
    if (map.debug && strstr(map.debug, "draw"))
        printf("map: draw: %d %d\n", vp->w, vp->h);
    // The image covers the plot area, which the map's plane spans.
    const int w = map_plot_width(vp), h = map_plot_height(vp);
    if (w < 1 || h < 1)
        return;
    painter.setRenderHint(QPainter::Antialiasing, params->antialias != 0);
    painter.setOpacity(params->opacity);
    bool grid = params->type == KGRMAP_TYPE_GRID;
    if (grid || params->levels != 0)
        openSource(this, params, layer_name, grid ? map.nthreads : 1);
    if (params->nodata) {
        QImage clear(w, h, QImage::Format_ARGB32);
        clear.fill(QColor("#00000000"));
        painter.drawImage(vp->mleft, vp->mtop, clear);
        params->visibility = 0;
    } else if (params->mapdata && grid) {
        drawGrid(painter, map, params, w, h);
    } else if (params->mapdata && params->levels != 0) {
        drawVectors(painter, map, params, w);
    }
    fillBeyondWorld(painter, map);
}

void KGRMap::setMaplayersStale()
{
    for (int i = 0; i < maxtbl(map.maplayers); ++i) {
        KGRMapLayerParams* params =
            paramsOf(map, static_cast<const char*>(gettbl(map.maplayers, i)));
        if (params && params->kgr_layer)
            params->kgr_layer->setStale();
    }
    for (int i = 0; i < maxtbl(map.maplayers_extra); ++i)
        if (auto* layer = static_cast<KGRLayer*>(gettbl(map.maplayers_extra, i)))
            layer->setStale();
}

int KGRMap::extraMaplayer(KGRLayer* layer)
{
    if (!map.maplayers_extra && !(map.maplayers_extra = newtbl(4))) {
        hx_register_error(1, "KGRMap::extraMaplayer: newtbl() error.\n");
        return -1;
    }
    settbl(map.maplayers_extra, -1, layer);
    if (layer)
        QObject::connect(layer, &QObject::destroyed, this, [this, layer] {
            for (int i = 0; i < maxtbl(map.maplayers_extra); ++i)
                if (gettbl(map.maplayers_extra, i) == layer)
                    settbl(map.maplayers_extra, i, nullptr);
        });
    return 0;
}

// The picker registered under picker_name, else a new one registered under
// it, so that the map's taskbars and other items can share it.
int KGRMap::createPicker()
{
    if (map.picker)
        return 0;
    const char* name = map.picker_name ? map.picker_name : "";
    auto* picker = static_cast<KGRPicker*>(HX_GetObject(name, "KGRPicker"));
    if (!picker) {
        try {
            picker = new KGRPicker(map.vp);
        } catch (const char* e) {
            hx_register_error(0, "KGRMap::createPicker: new KGRPicker(main) error: %s.\n", e);
            return -1;
        }
        picker->configure("crosshairs", "off", "crosshairs_color", "#80004000",
                          static_cast<char*>(nullptr));
        if (*name)
            HX_SetName(name, "KGRPicker", picker);
    }
    QObject::connect(picker, &QObject::destroyed, this, [this] { map.picker = nullptr; });
    map.picker = picker;
    return 0;
}

// Layers made after the picker would lie over it and take its input.
void KGRMap::raisePicker()
{
    if (map.picker)
        map.picker->raise();
}

// The world point under the pointer becomes the projection's centre, and
// the plane moves so that the point stays under the pointer.
void KGRMap::setLatrLonr(QMouseEvent* event)
{
    KGRViewport* vp = map.vp;
    if (!vp || !event)
        return;
    const int x = event->x(), y = event->y();
    double lon = 0, lat = 0;
    if (vp->wcoords(x, y, &lon, &lat, 0) < 0)
        return;
    char latr[64], lonr[64];
    snprintf(latr, sizeof latr, "%.4f", lat);
    snprintf(lonr, sizeof lonr, "%.4f", lon);
    vp->configure("latr", latr, "lonr", lonr, static_cast<char*>(nullptr));
    double px = 0, py = 0;
    if (vp->pcoords(lon, lat, &px, &py, 0) < 0)
        return;
    char dx[32], dy[32];
    snprintf(dx, sizeof dx, "%d", static_cast<int>(std::lround(px - x)));
    snprintf(dy, sizeof dy, "%d", static_cast<int>(std::lround(py - y)));
    vp->configure("xtranslate", dx, "ytranslate", dy, static_cast<char*>(nullptr));
    vp->configure("xtranslate", "apply", "ytranslate", "apply", static_cast<char*>(nullptr));
}

int KGRMap::mouseCallback(int, void*, QEvent*)
{
    return 0;
}

int KGRMap::postmouseCallback(int, void*, QEvent*)
{
    return 0;
}

// ---------------------------------------------------------- mouse option

int map_process_mouse_events(HX_ConfigureSpec*, HX_ClientData, char* value, char* record, int)
{
    KgrmapItem* item = map_item_of(record);
    int on = HX_ParseBoolean(value);
    if (on < 0) {
        hx_register_error(0, "map_process_mouse_events: KGR_ParseBoolean(%s) error.\n",
                          value ? value : "");
        return -1;
    }
    auto* map = static_cast<KGRMap*>(item->object_ptr);
    if (!on) {
        if (item->picker)
            unbindNavigation(item->picker, map);
        return 0;
    }
    if (map->createPicker() < 0) {
        hx_register_error(0, "map_process_mouse_events: createPicker(main) error.\n");
        return -1;
    }
    if (bindNavigation(item->picker, map) < 0)
        return -1;
    map->raisePicker();
    return 0;
}

// --------------------------------------------------------------- taskbar

int map_parse_buttons_definitions(HX_ConfigureSpec*, HX_ClientData, char* value, char* record, int)
{
    static const char* const func = "map_parse_buttons_definitions";
    KgrmapItem* item = map_item_of(record);
    if (!item->taskbar) {
        try {
            item->taskbar = new KGRTaskbar(item->vp);
        } catch (const char* e) {
            hx_register_error(0, "%s: new KGRTaskbar error: %s.\n", func, e);
            return -1;
        }
        item->taskbar->setConfigureSpecs(commandSpecs, record, "KGRMap");
        QObject::connect(item->taskbar, &QObject::destroyed, static_cast<KGRMap*>(item->object_ptr),
                         [item] { item->taskbar = nullptr; });
    }
    map_replace_string(&item->taskbar_buttons_definitions_string, value);
    if (item->taskbar->configure("taskbar_picker_name", item->picker_name,
                                 "taskbar_buttons_definitions", value ? value : "",
                                 static_cast<char*>(nullptr)) < 0) {
        hx_register_error(0, "%s: item->taskbar->configure() error.\n", func);
        return -1;
    }
    return 0;
}

char* map_print_buttons_definitions(HX_ConfigureSpec*, HX_ClientData, char* record, int)
{
    const char* text = map_item_of(record)->taskbar_buttons_definitions_string;
    return strdup(text ? text : "");
}

int map_parse_buttons(HX_ConfigureSpec*, HX_ClientData, char* value, char* record, int)
{
    KgrmapItem* item = map_item_of(record);
    if (!item->taskbar) {
        if (map_value_is_empty(value))
            return 0;
        hx_register_error(0, "map_parse_buttons: Must define taskbar object with "
                             "taskbar_buttons_definitions configuration first\n");
        return -1;
    }
    map_replace_string(&item->taskbar_buttons_string, value);
    if (item->taskbar->configure("taskbar_buttons", value ? value : "",
                                 static_cast<char*>(nullptr)) < 0) {
        hx_register_error(0, "map_parse_buttons: item->taskbar->configure() error.\n");
        return -1;
    }
    auto* map = static_cast<KGRMap*>(item->object_ptr);
    // New buttons bound after the navigation: it moves behind them again.
    if (item->picker && navigationBound(item->picker, map))
        bindNavigation(item->picker, map);
    map->raisePicker();
    return 0;
}

char* map_print_buttons(HX_ConfigureSpec*, HX_ClientData, char* record, int)
{
    const char* text = map_item_of(record)->taskbar_buttons_string;
    return strdup(text ? text : "");
}
