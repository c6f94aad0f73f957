// kgrqt text: one string placed by two position expressions, optionally
// boxed, outlined, rotated, translucent or struck through; and the shared
// cache of small special-symbol pixmaps.
#ifndef KGRTEXT_H
#define KGRTEXT_H

#include "KGR.h"
#include "KGRConfigure.h"
#include "KGRViewport.h"
#include "hxutil.h"

#include <QWidget>

class QPaintEvent;
class QPainter;
class QPainterPath;
class QPixmap;
class KGRLayer;

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

#endif
