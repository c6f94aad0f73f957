// kgrqt picker: the mouse and keyboard of a viewport, with crosshairs and
// callbacks bound to events.
#ifndef KGRPICKER_H
#define KGRPICKER_H

#include "KGR.h"
#include "KGRConfigure.h"
#include "KGRViewport.h"
#include "hxutil.h"

#include <QWidget>

class QEvent;
class QKeyEvent;
class QMouseEvent;
class QPaintEvent;
class QPainter;
class QPen;
class QWheelEvent;
class KGRLayer;

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

#endif
