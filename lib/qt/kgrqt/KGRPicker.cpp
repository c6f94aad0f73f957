#include "KGRPicker.h"
#include "KGRViewport.h"

#include <QColor>
#include <QCursor>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPen>
#include <QPixmap>
#include <QWheelEvent>

#include <cstddef>

HX_ConfigureSpec KGRPicker::configSpecs[] = {
    {"boolean", "crosshairs", "0", offsetof(KgrpickerItem, crosshairs), 0, nullptr},
    {"color", "crosshairs_color", "black", offsetof(KgrpickerItem, crosshairs_color),
     HX_CONFIGURE_NULL_OK, nullptr},
    {"color", "crosshairs2_color", "#80ffff00", offsetof(KgrpickerItem, crosshairs2_color),
     HX_CONFIGURE_NULL_OK, nullptr},
    {"end", nullptr, nullptr, 0, 0, nullptr},
};

namespace {

const char* const bindError = "KGRPicker::bind: KGR_bind() error.";

// The cross-shaped cursor: a half-transparent black cross with white
// outlines on both sides that leave the centre open, so that the pixel
// under the hot spot stays visible on any background.
QPixmap crossPixmap()
{
    QPixmap pixmap(31, 31);
    pixmap.fill(QColor(0, 0, 0, 0));
    QPainter painter(&pixmap);
    painter.setPen(QColor("#80000000"));
    painter.drawLine(0, 15, 30, 15);
    painter.drawLine(15, 0, 15, 30);
    painter.setPen(QColor("#80ffffff"));
    const int outlines[][4] = {{0, 14, 14, 14},  {16, 14, 30, 14}, {0, 16, 14, 16},
                               {16, 16, 30, 16}, {14, 0, 14, 13},  {14, 17, 14, 30},
                               {16, 0, 16, 13},  {16, 17, 16, 30}};
    for (const auto& l : outlines)
        painter.drawLine(l[0], l[1], l[2], l[3]);
    return pixmap;
}

// Built on first use and kept for the life of the process; the hot spot
// is the pixmap's centre.
const QCursor& crossCursor()
{
    static const QCursor* cursor = new QCursor(crossPixmap());
    return *cursor;
}

// How many times (proc, clientData) is bound to the named event.
int boundCount(const KGR_Binding* table, const char* event, KGR_EventCallbackProc* proc,
               void* clientData)
{
    for (const KGR_Binding* row = table; row && row->event != KGR_EVENT_END; ++row) {
        if (!event || strcmp(row->event_name, event) != 0)
            continue;
        int n = 0;
        for (int i = 0; i < row->n_callbacks; ++i)
            n += row->callbacks[i].callbackProc == proc &&
                 row->callbacks[i].clientData == clientData;
        return n;
    }
    return 0;
}

// Crosshairs show only while the pointer is in the widget and strictly
// inside the plot frame.
bool crosshairsShown(const KgrpickerItem& p)
{
    const KgrviewportItem* vp = p.viewport;
    return vp && p.crosshairs && p.left_window != 1 && vp->mleft < p.last_mouse_x &&
           p.last_mouse_x < vp->w - vp->mright && vp->mtop < p.last_mouse_y &&
           p.last_mouse_y < vp->h - vp->mbottom;
}

void drawCross(QPainter& painter, QPen& pen, const QColor& color, const KgrpickerItem& p)
{
    const KgrviewportItem* vp = p.viewport;
    pen.setColor(color);
    painter.setPen(pen);
    painter.drawLine(vp->mleft, p.last_mouse_y, vp->w - vp->mright, p.last_mouse_y);
    painter.drawLine(p.last_mouse_x, vp->mtop, p.last_mouse_x, vp->h - vp->mbottom);
}

void releaseOwned(KGRPicker* p)
{
    KGR_free_bindings(p->bindings);
    p->bindings = nullptr;
    delete p->picker.crosshairs_pen;
    p->picker.crosshairs_pen = nullptr;
    KGR_ClearColor(&p->picker.crosshairs_color);
    KGR_ClearColor(&p->picker.crosshairs2_color);
    free(p->class_name);
    p->class_name = nullptr;
}

// Hands an event to the bindings, then, unless one consumed it, to the
// picker's own hook.
int dispatch(KGRPicker* p, int kind, QEvent* event)
{
    int result = KGR_process_event(p->bindings, kind, event);
    if (result != KGR_EVENT_CONSUMED)
        p->eventCallback(event);
    return result;
}

void updateCrosshairs(KGRPicker* p)
{
    if (p->picker.crosshairs)
        p->update();
}

} // namespace

// The record is value-initialised so that a failed init can release it.
KGRPicker::KGRPicker(KGRViewport* viewport) : picker()
{
    try {
        init(viewport);
    } catch (const char*) {
        releaseOwned(this);
        throw "KGRPicker::KGRPicker: init() error.";
    }
}

KGRPicker::~KGRPicker()
{
    // The map and the taskbar share pickers by name; a dead one must not be
    // found again.
    HX_UnsetObject(this);
    releaseOwned(this);
}

void KGRPicker::init(KGRViewport* viewport)
{
    kgrqt_init_item(
        this, viewport, &picker, "KGRPicker", "KGRPicker::init: setParent() error.",
        [this, viewport](KgrpickerItem& p) {
            p.parent = viewport;
            p.vp = viewport;
            p.viewport = viewport ? &viewport->viewport : nullptr;
            p.crosshairs_pen = new QPen(QColor("#000000"));
            bindings = KGR_new_bindings();
            if (!bindings)
                throw "KGRPicker::KGRPicker: KGR_new_bindings() error.";
        },
        [this, viewport] {
            if (viewport)
                viewport->registerItem(this);
        });
    // Motion must arrive without a pressed button for the crosshairs.
    setMouseTracking(true);
    setDefaultCursor();
}

void KGRPicker::bind(const char* event, KGR_EventCallbackProc* proc, void* clientdata)
{
    if (KGR_bind(bindings, event, proc, clientdata) < 0)
        throw bindError;
}

// Unbinding what is not bound is an error of the caller, reported with the
// same text as a failed bind.
void KGRPicker::unbind(const char* event, KGR_EventCallbackProc* proc, void* clientdata)
{
    int bound = boundCount(bindings, event, proc, clientdata);
    if (KGR_unbind(bindings, event, proc, clientdata) < 0 || bound == 0)
        throw bindError;
}

// Entering the picker takes the keyboard focus, so key bindings work
// without a click.
void KGRPicker::setDefaultCursor()
{
    activateWindow();
    setFocus();
    setCursor(crossCursor());
}

int KGRPicker::eventCallback(QEvent*)
{
    return 0;
}

void KGRPicker::mousePressEvent(QMouseEvent* event)
{
    dispatch(this, KGR_EVENT_MOUSE_PRESS, event);
}

void KGRPicker::mouseReleaseEvent(QMouseEvent* event)
{
    dispatch(this, KGR_EVENT_MOUSE_RELEASE, event);
}

void KGRPicker::mouseMoveEvent(QMouseEvent* event)
{
    picker.last_mouse_x = event->x();
    picker.last_mouse_y = event->y();
    dispatch(this, KGR_EVENT_MOUSE_MOVE, event);
    updateCrosshairs(this);
}

// A wheel event that no binding handled (result 1) goes on to the parent,
// which may scroll or zoom with it.
void KGRPicker::wheelEvent(QWheelEvent* event)
{
    QPoint at = event->position().toPoint();
    picker.last_mouse_x = at.x();
    picker.last_mouse_y = at.y();
    event->setAccepted(dispatch(this, KGR_EVENT_WHEEL, event) == 1);
}

void KGRPicker::enterEvent(QEvent* event)
{
    setDefaultCursor();
    picker.left_window = 0;
    dispatch(this, KGR_EVENT_ENTER, event);
    updateCrosshairs(this);
}

void KGRPicker::leaveEvent(QEvent* event)
{
    releaseKeyboard();
    picker.left_window = 1;
    dispatch(this, KGR_EVENT_LEAVE, event);
    updateCrosshairs(this);
}

void KGRPicker::keyPressEvent(QKeyEvent* event)
{
    dispatch(this, KGR_EVENT_KEY_PRESS, event);
}

void KGRPicker::keyReleaseEvent(QKeyEvent* event)
{
    dispatch(this, KGR_EVENT_KEY_RELEASE, event);
}

void KGRPicker::paintEvent(QPaintEvent*)
{
    if (!crosshairsShown(picker))
        return;
    QPainter painter(this);
    painter.setClipping(false);
    painter.setRenderHint(QPainter::Antialiasing);
    draw(painter);
}

// Two passes: an opaque line and a translucent one over it, so the
// crosshairs stay visible on dark and light plots alike.
void KGRPicker::draw(QPainter& painter)
{
    if (!picker.viewport || !picker.crosshairs_color.color || !picker.crosshairs_pen)
        return;
    drawCross(painter, *picker.crosshairs_pen, *picker.crosshairs_color.color, picker);
    if (picker.crosshairs2_color.color)
        drawCross(painter, *picker.crosshairs_pen, *picker.crosshairs2_color.color, picker);
}

void kgrqt_unbind_entries(KGR_Binding* table, const char* event, KGR_EventCallbackProc* proc,
                          void* clientData)
{
    for (KGR_Binding* row = table; row && row->event != KGR_EVENT_END; ++row) {
        if (!event || strcmp(row->event_name, event) != 0)
            continue;
        int kept = 0;
        for (int i = 0; i < row->n_callbacks; ++i) {
            const KGR_Event_Callback& c = row->callbacks[i];
            if (c.callbackProc != proc || c.clientData != clientData)
                row->callbacks[kept++] = c;
        }
        row->n_callbacks = kept;
    }
}
