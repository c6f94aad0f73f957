// kgrqt grid: grid lines across a viewport at the major and minor tics.
#ifndef KGRGRID_H
#define KGRGRID_H

#include "KGR.h"
#include "KGRConfigure.h"
#include "KGRViewport.h"
#include "hxutil.h"

#include <QWidget>

class QPaintEvent;
class QPainter;
class KGRLayer;

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

#endif
