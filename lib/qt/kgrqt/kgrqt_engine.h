// kgrqt engine: the functions and helper classes that the widget classes
// draw with: transforms, projections, point mapping, the segment buffer,
// pens and hit tests, item painting, text and numbers, position
// expressions and axis tics.
#ifndef KGRQT_ENGINE_H
#define KGRQT_ENGINE_H

#include <QList>
#include <QPointF>

#include <vector>

class QColor;
class QFont;
class QPainter;
class QPainterPath;
class QWidget;
class KGRLayer;
class KGRText;
struct KgrviewportItem;

// Marks of the library: an unset bound or missing coordinate (also a break
// in a line), and the point mapper's empty value.
#define KGR_UNSET 2e30
#define KGR_EMPTY (-900000000.0)

// ----------------------------------------------------------- transforms

int kgrqt_get_scales(KgrviewportItem* vp, int* pw, int* ph, double* x1, double* x2, double* sx,
                     double* y1, double* y2, double* sy);
int kgrqt_get_pcoords(KgrviewportItem* vp, double wx, double wy, double* px, double* py, int noproj,
                      int noscale);
int kgrqt_get_wcoords(KgrviewportItem* vp, double px, double py, double* wx, double* wy, int noproj,
                      int noscale);
int kgrqt_translate_and_gain(KgrviewportItem* vp, double xoffset, double yoffset, int xanchor,
                             int yanchor, double xgain, double ygain);

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

int kgrqt_get_pixels(KgrviewportItem* vp, const char* xexpr, const char* yexpr, double* x,
                     double* y, KGRText* text);
int kgrqt_get_xpixel(KgrviewportItem* vp, const char* term, double* x, KGRText* text);
int kgrqt_get_ypixel(KgrviewportItem* vp, const char* term, double* y, KGRText* text);
int kgrqt_GetPixels(char* text, int* pixels);

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

#endif
