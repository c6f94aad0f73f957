// kgrqt viewport: the frame that holds the items of a plot, with its world
// coordinates, margins, pan and zoom.
#ifndef KGRVIEWPORT_H
#define KGRVIEWPORT_H

#include "KGR.h"
#include "KGRConfigure.h"
#include "hxutil.h"

#include <QWidget>
#include <QtGlobal>

class QGridLayout;
class QPaintEvent;
class QPainter;
class QPainterPath;
class QResizeEvent;
class KGRLayer;

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

#endif
