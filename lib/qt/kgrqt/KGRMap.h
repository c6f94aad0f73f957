// kgrqt map: a stack of named map layers, each painting one map-data source
// into an off-screen layer of the viewport.
#ifndef KGRMAP_H
#define KGRMAP_H

#include "KGR.h"
#include "KGRConfigure.h"
#include "KGRMapData.h"
#include "KGRViewport.h"
#include "hxutil.h"

#include <QWidget>

#include <string>

class QEvent;
class QMouseEvent;
class QPaintEvent;
class QPainter;
class QWheelEvent;
class KGRLayer;
class KGRMap;
class KGRPicker;
class KGRTaskbar;

// Kinds of map layer.
enum { KGRMAP_TYPE_GRID = 0, KGRMAP_TYPE_VECTOR = 1, KGRMAP_TYPE_VECTOR_FILL = 2 };

// Mouse navigation of a map.
enum { KGRMAP_MOUSE_IDLE = 0, KGRMAP_MOUSE_PANNING = 1, KGRMAP_MOUSE_RECENTRING = 2 };

// Where map-data files named without a directory are looked for:
// $KGRQT_MAPDATA_DIR, else /opt/larkspur/data/maps/kmd.
const char* kgrqt_mapdata_dir();
// A map-data file name as opened: absolute names as they are, bare ones
// inside kgrqt_mapdata_dir().
std::string kgrqt_mapdata_path(const char* name);

struct KgrmapItem {
    QWidget* parent;
    HX_ConfigureSpec* configSpecs;
    int linestyle;
    int nthreads;
    int cache_maxsize;
    KGR_Color fill_land;
    KGR_Color fill_water;
    KGR_Color fill_black;
    char* maplayer_definitions_string;
    Arr* maplayer_definitions;
    char* maplayers_string;
    Tbl* maplayers;
    Tbl* maplayers_extra;
    Arr* maplayers_templates;
    KGRTaskbar* taskbar;
    char* taskbar_buttons_definitions_string;
    char* taskbar_buttons_string;
    char* debug;
    void* object_ptr;
    char* picker_name;
    KGRPicker* picker;
    int mouse_state;
    int mouse_last_x, mouse_last_y;
    int mouse_xstart, mouse_ystart;
    KGRViewport* vp;
    KgrviewportItem* viewport;
    KGRLayer* layer;
};

// One defined map layer; per-level arrays are indexed by level - 1.
struct KGRMapLayerParams {
    KGRMap* map;
    int type;
    int visibility;
    double opacity;
    int antialias;
    char* mapdata_source;
    KGRMapData* mapdata;
    int nodata;
    KGR_Color fill_color;
    KGR_Color background_color;
    KGR_Color transparent_color;
    unsigned int levels;
    KGR_Color outline[KGRMAPDATA_NLEVELS];
    int linewidth[KGRMAPDATA_NLEVELS];
    int resolution[KGRMAPDATA_NLEVELS];
    KGRLayer* kgr_layer;
};

class KGRMap : public KGRConfigure, public QWidget {
public:
    explicit KGRMap(KGRViewport* viewport);
    ~KGRMap() override;

    void init(KGRViewport* viewport);
    // Paints the map layer of that name (its record's kgr_layer pixmap is
    // the usual target).
    void draw(QPainter& painter, char* layer_name, void* clientdata);
    void setMaplayersStale();
    int extraMaplayer(KGRLayer* layer);
    int createPicker();
    // Puts the picker back on top; called whenever the map makes or
    // restacks its layers, so that a derived map can restack its own
    // layers too.
    virtual void raisePicker();
    void setLatrLonr(QMouseEvent* event);
    // Hooks around the map's own handling of a picker event; a return of 2
    // from mouseCallback skips that handling.
    virtual int mouseCallback(int kind, void* clientdata, QEvent* event);
    virtual int postmouseCallback(int kind, void* clientdata, QEvent* event);

    KgrmapItem map;
    int debug = 0;
    char* class_name = nullptr;
    static HX_ConfigureSpec configSpecs[];

protected:
    void paintEvent(QPaintEvent* event) override;
};

int map_mouse_callback(int kind, void* clientdata, QEvent* event);
// Zooms the viewport by the factors about the world point under a pixel
// (or under the wheel event's position); 0 or -1.
int map_zoom(KGRMap* map, int x, int y, double xfactor, double yfactor);
int map_zoom(KGRMap* map, QWheelEvent* event, double xfactor, double yfactor);
// Centres the viewport on the world point under a pixel; 0 or -1.
int map_center(KGRMap* map, int x, int y);
// The map-layer definitions installed by default.
extern const char* const kgrmap_default_maplayer_definitions;
extern const char* const kgrmap_default_maplayers;
// Frees a map layer's record (Arr value destructor).
void map_free_maplayer_params(void* params);

#endif
