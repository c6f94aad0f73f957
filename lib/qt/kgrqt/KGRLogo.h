// kgrqt logo: the library's logo in a corner of a viewport.
#ifndef KGRLOGO_H
#define KGRLOGO_H

#include "KGRConfigure.h"
#include "KGRViewport.h"
#include "hxutil.h"

#include <QWidget>

class QImage;
class QPaintEvent;
class QPainter;
class KGRLayer;

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

#endif
