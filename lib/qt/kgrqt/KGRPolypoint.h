// kgrqt polypoint: points drawn as symbols, beach balls or painter paths,
// with labels, codings and the searches for the symbol under the mouse.
#ifndef KGRPOLYPOINT_H
#define KGRPOLYPOINT_H

#include "KGR.h"
#include "KGRConfigure.h"
#include "KGRViewport.h"
#include "hxutil.h"
#include "kgrqt_engine.h"

#include <QList>
#include <QWidget>

#include <memory>

class QColor;
class QPaintEvent;
class QPainter;
class QPainterPath;
class KGRLayer;

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

#endif
