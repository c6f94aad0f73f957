// kgrqt layer: an off-screen pixmap of a viewport that items paint into.
#ifndef KGRLAYER_H
#define KGRLAYER_H

#include "KGRConfigure.h"
#include "KGRViewport.h"
#include "hxutil.h"

#include <QWidget>

class QColor;
class QPaintEvent;
class QPainter;
class QPixmap;

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

#endif
