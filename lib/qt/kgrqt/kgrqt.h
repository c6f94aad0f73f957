// kgrqt: plotting and mapping widgets. Classes and engine functions.
#ifndef KGRQT_H
#define KGRQT_H

#include "KGR.h"

#include <QList>
#include <QPointF>
#include <QWidget>
#include <QtGlobal>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

class QFont;
class QGridLayout;
class QImage;
class QPainter;
class QPainterPath;
class QPen;
class QPixmap;
class QResizeEvent;
class KGRLayer;
class KGRViewport;

// Marks of the library: an unset bound or missing coordinate (also a break
// in a line), and the point mapper's empty value.
#define KGR_UNSET 2e30
#define KGR_EMPTY (-900000000.0)

// The option engine with the library's own option types "color" and "font".
class KGRConfigure : public HXConfigure {
public:
    KGRConfigure();
};

// Type parser of "color" and "font"; HX_TYPE_NOT_MINE (3) for other types.
int KGRConfigure_ParseConfigValue(HX_ConfigureSpec* spec, char* value, char* record);
// Type printer of "color" and "font": a malloc'd string that the parser
// accepts, or null for other types.
char* KGRConfigure_PrintConfigValue(HX_ConfigureSpec* spec, char* record);

// Releases what the string, colour and font rows of a table own in record
// (a destructor's first step); custom and pointer fields are the class's.
void KGRConfigure_FreeRecord(HX_ConfigureSpec* specs, char* record);

// Construction of a widget class: the steps that every class takes, in
// order. A class's init calls kgrqt_init_item with its record, its
// start-value step (fields that must not start at zero, links to the
// viewport) and its registration step (registering with the viewport, for
// items that live inside one). Widget must have the members configSpecs,
// debug and class_name.
//
//   void KGRLogo::init(QWidget* parent)
//   {
//       kgrqt_init_item(this, parent, &logo, "KGRLogo", "KGRLogo::init: setParent() error.",
//                       [&](KgrlogoItem&) { ... }, [&] { vp->registerItem(this); });
//   }
//
// Throws setParentError when QWidget::setParent throws a character string;
// throws "kgrqt_init_item: setConfigureSpecs() error." when the defaults of
// the table could not be applied (the register says which).
template <class Widget, class Record, class StartValues, class Register>
void kgrqt_init_item(Widget* self, QWidget* parent, Record* record, const char* className,
                     const char* setParentError, StartValues&& startValues, Register&& registerItem)
{
    try {
        self->setParent(parent);
    } catch (const char*) {
        throw setParentError;
    }
    std::memset(static_cast<void*>(record), 0, sizeof *record);
    startValues(*record);
    self->debug = 0;
    if (self->setConfigureSpecs(Widget::configSpecs, reinterpret_cast<char*>(record), className) <
        0)
        throw "kgrqt_init_item: setConfigureSpecs() error.";
    registerItem();
    self->setAutoFillBackground(false);
    free(self->class_name);
    self->class_name = strdup(className);
}

// Runs a constructor's init, turning its character-string exception into
// the constructor's own.
template <class Init> void kgrqt_construct(Init&& init, const char* initError)
{
    try {
        init();
    } catch (const char*) {
        throw initError;
    }
}

// ------------------------------------------------------------- viewport

// The pixel box of an item in its parent: left, top, right, bottom.
struct Kgrheader {
    int x1;
    int y1;
    int x2;
    int y2;
};

// World-coordinate transforms of a viewport plane.
enum { KGR_WTRAN_NONE = 0, KGR_WTRAN_EDP = 1, KGR_WTRAN_MERC = 2, KGR_WTRAN_GEOG = 3 };
// Axis modes.
enum { KGR_MODE_LIN = 0, KGR_MODE_LOG = 1, KGR_MODE_TIME = 2 };

struct KgrviewportItem {
    Kgrheader header;
    int x, y;
    int w, h;
    int spc_w, spc_h;
    int last_w, last_h;
    int mleft, mright, mbottom, mtop;
    int xoffset, yoffset;
    int xgain_anchor, ygain_anchor;
    double xgain, ygain;
    KGR_EventCallbackProc* paint_callback_proc;
    HX_ClientData paint_callback_clientdata;
    int paint_stale;
    QResizeEvent* resize_event;
    KGR_Anchor anchor;
    KGR_Color background;
    KGR_Color background_frame;
    double opacity;
    double x0, y0;
    double latr, lonr;
    double bblatmin, bblatmax, bblonmin, bblonmax;
    double xleft, xright, ybottom, ytop;
    double spc_xleft, spc_xright, spc_ybottom, spc_ytop;
    int preserve_xscale, preserve_yscale;
    double constant_aspect;
    int center_yscale;
    int xmode, ymode;
    int wtran;
    double xmin, xmax, ymin, ymax;
    char* name;
    QWidget* parent;
    KGRLayer* layer;
};

// A painter path with the transform its coordinates are in; np and sp say
// whether the outline holds the north or south pole.
struct KGRPolypointPath {
    int wtran;
    int np;
    int sp;
    QPainterPath* path;
};

class KGRViewport : public KGRConfigure, public QWidget {
public:
    explicit KGRViewport(QWidget* parent);
    ~KGRViewport() override;

    void init(QWidget* parent);
    void registerItem(QWidget* item);
    void setLayer(KGRLayer* layer);
    int wcoords(double x, double y, double* wx, double* wy, int flag);
    int pcoords(double wx, double wy, double* px, double* py, int flag);
    int isInsideViewport(int x, int y);
    void registerPaintCallback(KGR_EventCallbackProc* proc, void* clientdata);
    void setPaintStale();
    virtual void paintCallback();
    void computeBB();
    void computeMapBB();
    void draw(QPainter& painter);
    KGRPolypointPath* getWcoordsBB(int n);

    KgrviewportItem viewport;
    int debug = 0;
    QGridLayout* layout = nullptr;
    char* class_name = nullptr;
    static HX_ConfigureSpec configSpecs[];

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
};

int kgrqt_viewport_set_viewport(const char* key, KgrviewportItem* item);
void kgrqt_print_lineage(KGRViewport* vp, const char* prefix);
void kgrqt_MessageOutput(QtMsgType type, const QMessageLogContext& context, const QString& msg);

// ----------------------------------------------------------- transforms

int kgrqt_get_scales(KgrviewportItem* vp, int* pw, int* ph, double* x1, double* x2, double* sx,
                     double* y1, double* y2, double* sy);
int kgrqt_get_pcoords(KgrviewportItem* vp, double wx, double wy, double* px, double* py, int noproj,
                      int noscale);
int kgrqt_get_wcoords(KgrviewportItem* vp, double px, double py, double* wx, double* wy, int noproj,
                      int noscale);
int kgrqt_translate_and_gain(KgrviewportItem* vp, double xoffset, double yoffset, int xanchor,
                             int yanchor, double xgain, double ygain);

// ---------------------------------------------------------------- layer

struct KgrlayerItem {
    QWidget* parent;
    int stale;
    double opacity;
    QPixmap* pixmap;
    QColor* mask_color;
    KGRViewport* vp;
    KgrviewportItem* viewport;
};

class KGRLayer : public KGRConfigure, public QWidget {
public:
    explicit KGRLayer(KGRViewport* vp);
    ~KGRLayer() override;

    void init(KGRViewport* vp);
    void setSize(int w, int h);
    void setStale();
    void maskColorTransparent();
    void maskColorTransparent(QColor* color);
    void draw(QPainter& painter);

    KgrlayerItem layer;
    int debug = 0;
    char* class_name = nullptr;
    static HX_ConfigureSpec configSpecs[];

protected:
    void paintEvent(QPaintEvent* event) override;
};

// ---------------------------------------------------------- projections

// The Mercator ordinate of a latitude, degrees, clamped to +-100000 at the
// poles, and its inverse.
double kgrqt_mercator_y(double lat);
double kgrqt_mercator_lat(double y);

// The equidistant projection about one reference point.
class HXMapTransform {
public:
    HXMapTransform(double latr, double lonr);
    void edpLatlon2delxy(double lat, double lon, double* delx, double* dely);
    void edpDelxy2latlon(double delx, double dely, double* lat, double* lon);

    double latr;
    double lonr;
    double clat;
    double slat;
};

// Running state of longitude unwrapping along a sequence of points.
class ViewportWrapLongitude {
public:
    explicit ViewportWrapLongitude(double lon);
    double wrapLongitude(double lon);

    double lon_last;
    double offset;
};

void kgrqt_latlon2edp(double latr, double lonr, double lat, double lon, double* delx, double* dely);
void kgrqt_latlon2edp2(double latr, double lonr, double lat, double lon, double* delx, double* dely,
                       double* north);
void kgrqt_edp2latlon(double latr, double lonr, double delx, double dely, double* lat, double* lon);
void kgrqt_delbox2llbox(double xlatc, double xlonc, double xdelmn, double xdelmx, double ydelmn,
                        double ydelmx, double* xlatmn, double* xlatmx, double* xlonmn,
                        double* xlonmx);
void viewport_limit_edp_bb(double* x, double* y);
QPainterPath* kgrqt_wrap_longitudes(KgrviewportItem* viewport, int npts, double* lons, double* lats,
                                    int np, int sp);

// ------------------------------------------------------ point mapping

class KGRScalemap {
public:
    static constexpr int disposition_noInput = -1;
    static constexpr int disposition_notUsed = 0;
    static constexpr int disposition_moveTo = 1;
    static constexpr int disposition_lineTo = 2;

    KGRScalemap(KgrviewportItem* viewport, int ignoretran);
    ~KGRScalemap();
    KGRScalemap(const KGRScalemap&) = delete;
    KGRScalemap& operator=(const KGRScalemap&) = delete;

    int pushPoint(double xpt, double ypt);
    int popPoint(double* xscaled, double* yscaled);

    KgrviewportItem* vp;
    int wtran;
    int w, h;
    double xstart, xend, xscale;
    double ystart, yend, yscale;
    HXMapTransform* tran;
    double xp_last, yp_last;
    double xpt, ypt;
    double xptp, yptp;
    double xinput, yinput;
    double xpts_last, ypts_last;
    int start;
    int ndelta;
    int idelta;
    double delx, dely;
};

class KGRPolyDraw {
public:
    KGRPolyDraw(KgrviewportItem* viewport, int ignoretran);
    ~KGRPolyDraw();
    KGRPolyDraw(const KGRPolyDraw&) = delete;
    KGRPolyDraw& operator=(const KGRPolyDraw&) = delete;

    QPainterPath* addPoints(QPainterPath* path, int npts, double* xpts, double* ypts, int start,
                            int subtract);

    KGRScalemap* smap;
    int w, h;
    double x_last, y_last;
    int ret_last;
    int zone_last;
    int first;
};

// ------------------------------------------------------- segment buffer

int kgrqt_buffer_draws(QPainter& painter, int fill, int flush, KgrviewportItem* vp, int w, int h,
                       double fx1, double fy1, double fx2, double fy2, int debug);
int kgrqt_buffer_qtdraws(QPainter& painter, int fill, int flush, KgrviewportItem* vp, double x1,
                         double y1, double x2, double y2, int debug);
int kgrqt_set_fpoints(int fnpts, int* fpoints_size, QPointF** fpoints);
int kgrqt_poly_draw(QPainter& painter, KgrviewportItem* viewport, int npts, double* xpts,
                    double* ypts, int fill, int complete, int ignoretran);

// ---------------------------------------------- pens, brushes, hit tests

int kgrqt_setup_line(QPainter* painter, QColor* color, int linewidth, int linestyle, int joinstyle);
int kgrqt_setup_fill(QPainter* painter, QColor* color);

// A symbol drawn by a point item, in pixels.
struct KgrpolypointPointPath {
    int ipt;
    int xpixel;
    int ypixel;
    QPainterPath* path;
};

class KgrqtPolypointDistance {
public:
    KgrqtPolypointDistance(QList<KgrpolypointPointPath>* paths, int x, int y);
    double distance(int ipt);

    QList<KgrpolypointPointPath>* paths;
    double xc, yc;
    int x = 0, y = 0;
};

class KgrqtPolypointDistanceCompare {
public:
    explicit KgrqtPolypointDistanceCompare(KgrqtPolypointDistance* ppdist);
    bool operator()(int ipt1, int ipt2);

    KgrqtPolypointDistance* ppdist;
};

int kgrqt_findclosest_polypoint(QList<KgrpolypointPointPath>* paths, int x, int y, int* imin,
                                double* dmin, int* inside);
QList<int>* kgrqt_findinside_polypoint(QList<KgrpolypointPointPath>* paths, int x, int y);

// The two symbol searches over a uniform grid of pixel cells, with the same
// answers as kgrqt_findclosest_polypoint and kgrqt_findinside_polypoint on
// the list it was built from. Built from the records of one drawing; the
// list must stay as it was (the item drops its grid when it redraws).
class KgrqtSymbolGrid {
public:
    explicit KgrqtSymbolGrid(QList<KgrpolypointPointPath>* paths);
    // False when the list is no longer the one indexed, or the records could
    // not be indexed (then the linear searches answer).
    bool indexes(const QList<KgrpolypointPointPath>* paths) const;
    void findClosest(int x, int y, int* imin, double* dmin, int* inside) const;
    QList<int>* findInside(int x, int y) const;

    // List positions by cell, in list order within a cell.
    struct Cells {
        long long x0 = 0, y0 = 0, nx = 0, ny = 0, size = 1;
        std::vector<int> start, items;
        bool cellOf(long long x, long long y, long long* cx, long long* cy) const;
        const int* begin(long long cx, long long cy) const;
        const int* end(long long cx, long long cy) const;
    };

private:
    QList<KgrpolypointPointPath>* paths;
    int count;
    bool valid = false;
    Cells centres, outlines;
};

// ------------------------------------------------------------- polyline

struct KgrpolylineItem {
    Kgrheader header;
    QWidget* parent;
    KGR_Color fill;
    KGR_Color outline;
    int linewidth;
    int linestyle;
    double xmin, xmax, ymin, ymax;
    char* label;
    int npts;
    double* xpts;
    double* ypts;
    int xpts_size, ypts_size;
    char* vechandle;
    char* thandle;
    Dbptr tr;
    KGRViewport* vp;
    KgrviewportItem* viewport;
    KGRLayer* layer;
};

class KGRPolyline : public KGRConfigure, public QWidget {
public:
    explicit KGRPolyline(KGRViewport* viewport);
    ~KGRPolyline() override;

    void init(KGRViewport* viewport);
    void setLayer(KGRLayer* layer);
    void draw(QPainter& painter);

    KgrpolylineItem polyline;
    int debug = 0;
    char* class_name = nullptr;
    static HX_ConfigureSpec configSpecs[];

protected:
    void paintEvent(QPaintEvent* event) override;
};

// ------------------------------------------------------------ polypoint

// Symbol codes of point items ("symbol" option, label key "sy", codings).
enum {
    KGR_SYMBOL_NONE = 0,
    KGR_SYMBOL_POINT = 1,
    KGR_SYMBOL_CROSS = 2,
    KGR_SYMBOL_X = 3,
    KGR_SYMBOL_TRIANGLE = 4,
    KGR_SYMBOL_SQUARE = 5,
    KGR_SYMBOL_CIRCLE = 6,
    KGR_SYMBOL_STAR = 7,
    KGR_SYMBOL_DIAMOND = 8,
    KGR_SYMBOL_BEACHBALL = 9,
    KGR_SYMBOL_PATH = 10
};
// A coding's symbol, colour, size or fader mode that leaves the point as it is.
#define KGR_CODING_UNSET (-999999999)

struct KgrpolypointPoint {
    float x, y;
    char* label;
    int symbol;
    KGRPolypointPath ppath;
    int visibility;
    int size;
    int xshift, yshift;
    int nwrap;
    int color;
    double size_value;
    double color_value;
    KGR_Color fill;
    KGR_Color outline;
    KGR_Color text_foreground;
    int fader;
    double fader_value;
    double opacity;
    KGR_Font font;
    double m[6];
    QPainterPath* P_nodes;
    KGR_Color fill_nodes;
    KGR_Color fill_path;
    KGR_Color outline_DC;
    KGR_Color outline_path;
};

struct KgrpolypointItem {
    Kgrheader header;
    QWidget* parent;
    int symbol;
    int size;
    int show_symbols;
    int show_text;
    KGR_Color fill;
    KGR_Color fill_nodes;
    KGR_Color fill_path;
    KGR_Color outline;
    KGR_Color outline_DC;
    KGR_Color outline_path;
    KGR_Color text_foreground;
    KGR_Font font;
    Arr* beachball_arr;
    int linewidth;
    int linewidth_path;
    int linestyle;
    double opacity;
    double xmin, xmax, ymin, ymax;
    char* vechandle;
    int npts;
    KgrpolypointPoint* point;
    QList<KgrpolypointPointPath>* paths;
    KGRViewport* vp;
    KgrviewportItem* viewport;
    KGRLayer* layer;
};

// Maps a data value onto a size or opacity: a line through (value1,
// coding1) with slope scale, kept within coding_min and coding_max (2e30:
// no limit).
struct KgrpolypointCodingScaling {
    double value1;
    double coding1;
    double value2;
    double coding2;
    double coding_min;
    double coding_max;
    double scale;
};

// How a data value turns into a symbol; KGR_CODING_UNSET in symbol, color,
// size or fader leaves that part of the point alone.
struct KgrpolypointCoding {
    int symbol;
    int size;
    int size_constant;
    double size_gain;
    KgrpolypointCodingScaling size_scaling;
    int color;
    int fader;
    double fader_constant;
    double fader_gain;
    KgrpolypointCodingScaling fader_scaling;
    KGR_Color fi;
    KGR_Color fin;
    KGR_Color ot;
    int linewidth;
};

class KGRPolypoint : public KGRConfigure, public QWidget {
public:
    explicit KGRPolypoint(KGRViewport* parent);
    ~KGRPolypoint() override;

    void init(KGRViewport* parent);
    void setLayer(KGRLayer* layer);
    int findClosest(int x, int y, int* ipt, double* distance, int* nearest);
    QList<int>* findInside(int x, int y);
    double getOpacity(int i);
    int makeSymbol(KgrpolypointCoding* coding, KgrpolypointPoint* point);
    int makeBeachballPoint(KgrpolypointPoint* point);
    void draw(QPainter& painter);

    KgrpolypointItem polypoint;
    int debug = 0;
    char* class_name = nullptr;
    static HX_ConfigureSpec configSpecs[];
    // The beach-ball outlines of the process, keyed by their six components.
    static Arr* beachball_arr;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    // The search grid of the last drawing's records, made on the first
    // search after it.
    std::unique_ptr<KgrqtSymbolGrid> grid;
    KgrqtSymbolGrid* searchGrid();
};

double polypoint_coding_scale(double value, KgrpolypointCodingScaling* scaling);
// Parses a point label "text {key=value ...}" into the point (label, colours,
// size, symbol, moment tensor).
int polypoint_parse_label(KgrpolypointPoint* point, const char* text);
// Frees what a point owns: label, colours, font, path.
void polypoint_free_point(KgrpolypointPoint* point);
int polypoint_parse_bb(char* ptr, double* m);
// KGRPolypoint::makeBeachballPoint for code without an item at hand.
int polypoint_make_beachball_point(KgrpolypointPoint* point);
int polypoint_make_P_nodes(char* vec1, char* vec2, QPainterPath* path);
void polypoint_make_circle(KgrviewportItem* vp, QPainterPath* path, int size, double x, double y,
                           double xonepixel, double yonepixel, double* xc, double* yc, double* xsc,
                           double* ysc);
void polypoint_draw_beachball(KgrpolypointItem* poly, QPainter& painter, QPainterPath* path,
                              int ipt, double xpt, double ypt, double north, double xonepixel,
                              double yonepixel, int size, QColor* fill, QColor* fill_nodes,
                              QColor* outline);
// Deletes a cached beach-ball path (the cache's value destructor).
void polypoint_free_beachball(void* path);

// --------------------------------------------------------------- picker

struct KgrpickerItem {
    QWidget* parent;
    int crosshairs;
    KGR_Color crosshairs_color;
    KGR_Color crosshairs2_color;
    int last_mouse_x;
    int last_mouse_y;
    int left_window;
    QPen* crosshairs_pen;
    KGRViewport* vp;
    KgrviewportItem* viewport;
    KGRLayer* layer;
};

class KGRPicker : public KGRConfigure, public QWidget {
public:
    explicit KGRPicker(KGRViewport* viewport);
    ~KGRPicker() override;

    void init(KGRViewport* viewport);
    void bind(const char* event, KGR_EventCallbackProc* proc, void* clientdata);
    void unbind(const char* event, KGR_EventCallbackProc* proc, void* clientdata);
    void setDefaultCursor();
    void draw(QPainter& painter);
    virtual int eventCallback(QEvent* event);

    KgrpickerItem picker;
    int debug = 0;
    char* class_name = nullptr;
    KGR_Binding* bindings = nullptr;
    static HX_ConfigureSpec configSpecs[];

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void enterEvent(QEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void keyReleaseEvent(QKeyEvent* event) override;
};

// Removes every entry (proc, clientData) from the named row of a bindings
// table, keeping the order of the others. Items that share a picker take
// their callbacks out with it: KGR_unbind moves bytes rather than entries
// and would garble the entries behind one taken from the middle of a row.
void kgrqt_unbind_entries(KGR_Binding* table, const char* event, KGR_EventCallbackProc* proc,
                          void* clientData);

// ----------------------------------------------------------------- logo

struct KgrlogoItem {
    QWidget* parent;
    int stale;
    double opacity;
    QImage* logo_image;
    KGRViewport* vp;
    KgrviewportItem* viewport;
    KGRLayer* layer;
};

class KGRLogo : public KGRConfigure, public QWidget {
public:
    explicit KGRLogo(KGRViewport* viewport);
    ~KGRLogo() override;

    void init(KGRViewport* viewport);
    void setLayer(KGRLayer* layer);
    void draw(QPainter& painter);

    KgrlogoItem logo;
    int debug = 0;
    char* class_name = nullptr;
    static HX_ConfigureSpec configSpecs[];

protected:
    void paintEvent(QPaintEvent* event) override;
};

// The library's logo, 75 x 19 pixels, made once and shared.
QImage* kgrqt_get_logo();

// ------------------------------------------------------- item painting

// The name an object was registered under, or "(null)".
const char* kgrqt_name_of(const void* object);
// Opens painter on what an item paints: its layer's pixmap (resized to the
// viewport; only when the layer is stale) or the item's own widget, with
// the debug trace "Painting <kind> <name>[ to layer <name>].". False when
// there is nothing to paint now.
bool kgrqt_begin_item_paint(QWidget* item, KGRLayer* layer, KgrviewportItem* viewport, int debug,
                            const char* kind, QPainter& painter);

// ------------------------------------------------------ text and numbers

// A compass justification ("c", "e", "w", "n", "ne", "nw", "s", "se", "sw")
// as horizontal and vertical fractions of the text; unknown codes anchor at
// the lower left.
int kgrqt_parse_justification(char* just, double* jx, double* jy);
int kgrqt_setup_text(const QPainter& painter, const QColor& color, const QFont& font);
int kgrqt_get_metrics(const QFont& font, char* text, int* w, int* h);
int kgrqt_fontmetrics(const QFont& font, char* string, int* str_w, int* str_h, int* ascent,
                      int* descent);
// Text anchored at (x, y), pixels from the lower-left corner of the plot
// frame; the vertical fraction of just puts the top of the capitals (1) or
// the baseline (0) on the anchor.
void kgrqt_draw_text(const QPainter& painter, KgrviewportItem* vp, const QFont& font, double x,
                     double y, char* just, double angle, char* text);
// Boxed text: the vertical fraction runs the other way, and a third letter
// "b" anchors the box instead of the text.
void kgrqt_draw_text2(const QPainter& painter, KgrviewportItem* vp, const QFont& font,
                      QColor* text_color, QColor* background, QColor* outline, double x, double y,
                      int width, int height, char* just, double angle, char* text,
                      int show_not_symbol, QPainterPath** path, double* xbb, double* ybb, int* wbb,
                      int* hbb);
void kgrqt_scaletext_draw(const QPainter& painter, KgrviewportItem* viewport, double xpt,
                          double ypt, double xsh, double ysh, const QFont& font,
                          char* justification, double angle, char* text);
// The shortest exact label of a value (at most 13 significant digits);
// string must hold KGRQT_NUMBER_MAX characters.
void kgrqt_number(double value, char* format, char* string);
// A value's label by format: "none", "auto", a "%...d" format (rounded) or
// a floating-point format; a format that does not print exactly one number,
// or asks for a width or precision wider than a label, is taken as "auto". string must hold
// KGRQT_NUMBER_MAX characters.
#define KGRQT_NUMBER_MAX 512
int kgrqt_nice_number(double number, char* format, char* string);
int kgrqt_get_nice_fvals(double start, double end, double width, double minbigwidth,
                         double* start_big, int* n_big, double* incr_big, double* start_sml,
                         int* n_sml, double* incr_sml);

// ------------------------------------------------- position expressions

class KGRText;

int kgrqt_get_pixels(KgrviewportItem* vp, const char* xexpr, const char* yexpr, double* x,
                     double* y, KGRText* text);
int kgrqt_get_xpixel(KgrviewportItem* vp, const char* term, double* x, KGRText* text);
int kgrqt_get_ypixel(KgrviewportItem* vp, const char* term, double* y, KGRText* text);
int kgrqt_GetPixels(char* text, int* pixels);

// ------------------------------------------------------------ text item

struct KgrtextItem {
    Kgrheader header;
    QWidget* parent;
    KGR_Color foreground;
    KGR_Color outline;
    KGR_Color background;
    double opacity;
    int select;
    char* text;
    KGR_Font font;
    double fxbb;
    double fybb;
    int wbb;
    int hbb;
    double x;
    double y;
    double angle;
    char* justification;
    void* relative;
    char* xpos;
    char* ypos;
    int width;
    int height;
    int show_not_symbol;
    QPainterPath* path;
    KGRViewport* vp;
    KgrviewportItem* viewport;
    KGRLayer* layer;
};

struct KGRTextSpecialSymbol {
    char* name;
    int size;
    int width;
    int height;
    QPixmap* pixmap;
};

class KGRText : public KGRConfigure, public QWidget {
public:
    KGRText(KGRViewport* viewport, char* name, char* xpos, char* ypos);
    ~KGRText() override;

    void init(KGRViewport* viewport, char* name, char* xpos, char* ypos);
    void setLayer(KGRLayer* layer);
    void getBB(double* x, double* y, int* w, int* h);
    void draw(QPainter& painter);
    static QPixmap* specialSymbol(char* name, int size);
    static KGRTextSpecialSymbol* makeSpecialSymbol(char* name, int size);

    KgrtextItem text;
    int debug = 0;
    char* class_name = nullptr;
    static HX_ConfigureSpec configSpecs[];

protected:
    void paintEvent(QPaintEvent* event) override;
};

// ----------------------------------------------------------------- axes

// Tics (or grid lines) across one axis: a major and a minor set, each from
// frame fraction start to end across the axis; a negative width skips a set.
void kgrqt_draw_xaxis_stuff(QPainter& painter, KgrviewportItem* vp, QColor* color_big,
                            int width_big, int style_big, double incr_big, double start_big,
                            double end_big, QColor* color_sml, int width_sml, int style_sml,
                            double incr_sml, double start_sml, double end_sml, int mindx);
void kgrqt_draw_yaxis_stuff(QPainter& painter, KgrviewportItem* vp, QColor* color_big,
                            int width_big, int style_big, double incr_big, double start_big,
                            double end_big, QColor* color_sml, int width_sml, int style_sml,
                            double incr_sml, double start_sml, double end_sml, int mindy);
// Calendar tics and date labels of a time axis along the bottom of the frame.
void kgrqt_make_xtime_axes(QPainter& painter, KgrviewportItem* vp, const QFont& font,
                           QColor* tic_color, int tic_width, int tic_style, QColor* label_color,
                           char* time_format, char* date_format);

// The divisions of a time axis, seconds, largest first.
extern double Time_divisions[];
extern int NTime_divisions;

struct KgraxesItem {
    int xvisible;
    int yvisible;
    KGR_Color foreground_labels;
    KGR_Color foreground_numbers;
    KGR_Color foreground_axes;
    KGR_Color x_time_axes;
    char* x_label;
    char* y_label;
    char* x_format;
    char* y_format;
    char* x_time_format;
    char* x_date_format;
    char* axis_style;
    char* tic_style;
    char tic_style_west;
    char tic_style_north;
    char tic_style_east;
    char tic_style_south;
    KGR_Font font_labels;
    KGR_Font font_numbers;
    KGR_Font font_supers;
    double xincr_num;
    double xincr_sml;
    double yincr_num;
    double yincr_sml;
    int boxwidth;
    int xtimewidth;
    int xwidth_big;
    int xwidth_sml;
    double xticlength_sml;
    double xticlength_big;
    int ywidth_big;
    int ywidth_sml;
    double yticlength_sml;
    double yticlength_big;
    int mindx;
    int mindy;
    int style;
    KGRViewport* vp;
    KgrviewportItem* viewport;
    KGRLayer* layer;
};

class KGRAxes : public KGRConfigure, public QWidget {
public:
    explicit KGRAxes(KGRViewport* viewport);
    ~KGRAxes() override;

    void init(KGRViewport* viewport);
    void setLayer(KGRLayer* layer);
    void draw_box(int w, int h, QPainter& painter);
    void draw_tics(int w, int h, QPainter& painter);
    void draw_x_label(QPainter& painter);
    void draw_y_label(QPainter& painter);
    // Major and minor steps of a time axis spanning span seconds; power
    // receives the power of ten the count was scaled by.
    static void choose_scale(double span, int least, int greatest, double* divisions,
                             int ndivisions, double* major, double* minor, int* power);
    // A newly allocated time-label format for a major step in seconds.
    static char* choose_time_format(double increment);
    void label_x_tic(QPainter& painter, char* label, double fraction, double value);
    void draw_xtime_axis(QPainter& painter, double tstart, double tend);
    void draw_x_tic_labels(QPainter& painter, int w, double x1, double x2);
    void draw_y_tic_labels(QPainter& painter, int h, double y1, double y2);
    // A decade's label: "10" at the tic, its exponent as a superscript.
    void draw_power_of_ten(QPainter& painter, double fraction, double exponent, bool xaxis,
                           const char* gap);
    void draw(QPainter& painter);
    // The parts of draw, in order, once the scales are known.
    void draw_annotation(QPainter& painter, int w, int h, double x1, double x2, double y1,
                         double y2, bool map);

    KgraxesItem axes;
    int debug = 0;
    char* class_name = nullptr;
    static HX_ConfigureSpec configSpecs[];

protected:
    void paintEvent(QPaintEvent* event) override;
};

// ----------------------------------------------------------------- grid

struct KgrgridItem {
    Kgrheader header;
    QWidget* parent;
    int xsml_visible;
    int xbig_visible;
    int ysml_visible;
    int ybig_visible;
    KGR_Color foreground;
    KGR_Color foreground_small;
    int width;
    int width_small;
    int style;
    int style_small;
    int mindx;
    int mindy;
    double xincr_big;
    double xincr_sml;
    double yincr_big;
    double yincr_sml;
    KGRViewport* vp;
    KgrviewportItem* viewport;
    KGRLayer* layer;
};

class KGRGrid : public KGRConfigure, public QWidget {
public:
    explicit KGRGrid(KGRViewport* viewport);
    ~KGRGrid() override;

    void init(KGRViewport* viewport);
    void setLayer(KGRLayer* layer);
    void draw(QPainter& painter);

    KgrgridItem grid;
    int debug = 0;
    char* class_name = nullptr;
    static HX_ConfigureSpec configSpecs[];

protected:
    void paintEvent(QPaintEvent* event) override;
};

// -------------------------------------------------------------- taskbar

class KGRTaskbar;

struct KGRTaskbarButtonParams {
    KGRTaskbar* taskbar;
    char* description;
    int width;
    int height;
    char* kgr_layer_name;
    KGRLayer* kgr_layer;
    KGRText* kgr_text;
    int current;
    Tbl* states;
};

struct KGRTaskbarButtonStateParams {
    KGRTaskbarButtonParams* buttonparams;
    char* label;
    char* description;
    Tbl* action;
    double opacity;
    KGR_Color fill_color;
    KGR_Color background_color;
    int show_not_symbol;
    int order;
};

struct KgrtaskbarItem {
    QWidget* parent;
    KGR_Color background;
    char* buttons_definitions_string;
    Arr* buttons_definitions;
    char* buttons_string;
    Tbl* buttons;
    char* debug;
    void* object_ptr;
    char* picker_name;
    KGRPicker* picker;
    KGRViewport* vp;
    KgrviewportItem* viewport;
};

class KGRTaskbar : public KGRConfigure, public QWidget {
public:
    explicit KGRTaskbar(KGRViewport* viewport);
    ~KGRTaskbar() override;

    void init(KGRViewport* viewport);

    KgrtaskbarItem taskbar;
    int debug = 0;
    char* class_name = nullptr;
    static HX_ConfigureSpec configSpecs[];
};

int taskbar_button_callback(int kind, void* clientdata, QEvent* event);
void taskbar_free_buttons_definition(void* params);
void taskbar_free_buttons_state_definition(void* params);

// ------------------------------------------------------------- map data

// One row of the elevation palette: elevation and colour 0..255.
struct CPT {
    int elev;
    int red;
    int green;
    int blue;
};

// Hierarchy levels that drawVector's per-level arrays describe.
#define KGRMAPDATA_NLEVELS 10

// The elevation palette, metres, ending with a row whose elev is -9999;
// kgrmapdata_make_cpt scales it in place to sample units.
extern CPT kgrmapdata_cpt_table[];
// The palette expanded to one entry per sample value from kgrmapdata_ecpt.
extern CPT* kgrmapdata_cpt;
extern int kgrmapdata_ncpt;
extern int kgrmapdata_ecpt;

void kgrmapdata_make_cpt();
double kgrmapdata_color_value(double p, double q, double hue);
int kgrmapdata_hls_to_rgb(double hue, double lightness, double saturation, double gamma,
                          double* red, double* green, double* blue);

struct Pmtcomp;

// One opened map-data source turned into pixels: grid resolutions into an
// image (on a pool of row workers), vector resolutions stroked and filled.
class KGRMapData : public HXMapData, public QWidget {
public:
    KGRMapData(char* fname, int nthreads);
    explicit KGRMapData(int nthreads);
    ~KGRMapData() override;

    int setResolution(int index);
    int setResolution(double degrees_per_pixel);
    QImage* drawImage(int width, int height, int tran, double xmin, double xmax, double ymin,
                      double ymax, double lonr, double latr, double gamma, double lightmin);
    int isInside(double lat, double lon, int n, double* lats, double* lons);
    void drawVector(QPainter& painter, KgrviewportItem* viewport, unsigned int levels,
                    KGR_Color* outline, int* linewidth, int* resolution, KGR_Color& fill_color,
                    KGR_Color& background_color);

    int resolution;
    int nthreads;
    unsigned char* image_buf;
    size_t image_buf_size;
    QImage* image;
    int width, height;
    double lightmin;
    double gamma;
    double xmin, xmax, ymin, ymax;
    double dx, dy;
    int tran;
    double latr, lonr;
    Pmtcomp* mtc;

private:
    void init(int nthreads);
};

// ------------------------------------------------------------------ map

class KGRMap;
class QMouseEvent;
class QWheelEvent;

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
    void raisePicker();
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
#include "KGRMapEvents.h"
