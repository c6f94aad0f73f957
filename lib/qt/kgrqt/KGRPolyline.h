// kgrqt polyline: one line of points taken from a point vector, a time
// history, an in-memory list or a built-in test curve.
#ifndef KGRPOLYLINE_H
#define KGRPOLYLINE_H

#include "KGR.h"
#include "KGRConfigure.h"
#include "KGRViewport.h"
#include "hxutil.h"

#include <QWidget>

class QPaintEvent;
class QPainter;
class KGRLayer;

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

#endif
