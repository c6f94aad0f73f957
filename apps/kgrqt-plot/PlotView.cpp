#include "PlotView.h"

#include "kgrqt.h"

#include <QColor>
#include <QGridLayout>
#include <QMouseEvent>
#include <QPixmap>
#include <QWheelEvent>

#include <cmath>
#include <cstdio>
#include <string>

namespace {

const char* const kEnd = nullptr;

// One wheel notch (120 units) zooms in or out by a fifth.
double wheelFactor(const QWheelEvent* event)
{
    return std::pow(0.8, event->angleDelta().y() / 120.0);
}

int plot_wheel(int, void* clientData, QEvent* event)
{
    auto* wheel = static_cast<QWheelEvent*>(event);
    if (wheel->angleDelta().y() == 0)
        return 0;
    static_cast<PlotView*>(clientData)
        ->zoomAt(wheel->position().x(), wheel->position().y(), wheelFactor(wheel));
    return KGR_EVENT_CONSUMED;
}

int plot_press(int, void* clientData, QEvent* event)
{
    auto* mouse = static_cast<QMouseEvent*>(event);
    if (mouse->button() != Qt::LeftButton)
        return 0;
    static_cast<PlotView*>(clientData)->beginDrag(mouse->pos());
    return 0;
}

int plot_move(int, void* clientData, QEvent* event)
{
    static_cast<PlotView*>(clientData)->dragTo(static_cast<QMouseEvent*>(event)->pos());
    return 0;
}

int plot_release(int, void* clientData, QEvent* event)
{
    if (static_cast<QMouseEvent*>(event)->button() == Qt::LeftButton)
        static_cast<PlotView*>(clientData)->endDrag();
    return 0;
}

std::string number(double v)
{
    char text[64];
    snprintf(text, sizeof text, "%.17g", v);
    return text;
}

// Pads a range by a fraction of its length on both sides. A single value
// gets a range of its own, so that zooming and panning have something to
// scale.
void widenRange(double* lo, double* hi, double fraction)
{
    double pad = fraction * (*hi - *lo);
    if (*lo == *hi)
        pad = *lo != 0 ? 0.1 * std::fabs(*lo) : 1.0;
    *lo -= pad;
    *hi += pad;
}

// Configures the viewport, printing and clearing the register on failure:
// navigation goes on with what it had.
void configureViewport(KGRViewport* vp, const char* name, const std::string& value)
{
    if (vp->configure(name, value.c_str(), kEnd) < 0)
        hx_clear_register(1);
}

} // namespace

PlotView::PlotView(int width, int height)
{
    vp = new KGRViewport(nullptr);
    vp->resize(width, height);
    vp->setWindowTitle("kgrqt-plot");
    line = new KGRPolyline(vp);
    logo = new KGRLogo(vp);
    pick = new KGRPicker(vp); // last, so that it lies on top and gets the input
    bindNavigation();
}

PlotView::~PlotView()
{
    delete vp;
}

void PlotView::bindNavigation()
{
    pick->bind("wheelEvent", plot_wheel, this);
    pick->bind("mousePressEvent", plot_press, this);
    pick->bind("mouseMoveEvent", plot_move, this);
    pick->bind("mouseReleaseEvent", plot_release, this);
}

int PlotView::showTrace(const char* handle, const char* label, const char* colour)
{
    double xmin, xmax, ymin, ymax;
    if (hxvector_extent(handle, &xmin, &xmax, &ymin, &ymax) < 0)
        return -1;
    widenRange(&xmin, &xmax, 0.0);
    widenRange(&ymin, &ymax, 0.05);
    if (vp->configure("xmode", "time", "margin", "70 20 40 20", "fill", "white", "fill_frame",
                      "#e8e8e8", "xleft", number(xmin).c_str(), "xright", number(xmax).c_str(),
                      "ybottom", number(ymin).c_str(), "ytop", number(ymax).c_str(), kEnd) < 0)
        return -1;
    if (line->configure("outline", colour, kEnd) < 0)
        return -1;
    // The colour parser keeps names that Qt does not know.
    if (!line->polyline.outline.color || !line->polyline.outline.color->isValid()) {
        hx_register_error(0, "PlotView::showTrace: Unknown colour '%s'\n", colour ? colour : "");
        return -1;
    }
    if (line->configure("thistory", handle, "label", label, kEnd) < 0)
        return -1;
    if (pick->configure("crosshairs", "yes", kEnd) < 0)
        return -1;
    vp->update();
    return 0;
}

void PlotView::zoomAt(double px, double py, double factor)
{
    double wx = 0, wy = 0;
    if (!std::isfinite(factor) || factor <= 0 || vp->wcoords(px, py, &wx, &wy, 0) < 0)
        return;
    configureViewport(vp, "zoom",
                      number(wx) + " " + number(wy) + " " + number(factor) + " " + number(factor));
    vp->update();
}

void PlotView::beginDrag(QPoint at)
{
    dragging = true;
    dragStart = at;
}

// A positive translation moves the shown box right and down, so the data
// follow the pointer when the box moves against it.
void PlotView::dragTo(QPoint at)
{
    if (!dragging)
        return;
    configureViewport(vp, "xtranslate", std::to_string(dragStart.x() - at.x()));
    configureViewport(vp, "ytranslate", std::to_string(dragStart.y() - at.y()));
    vp->update();
}

void PlotView::endDrag()
{
    if (!dragging)
        return;
    dragging = false;
    configureViewport(vp, "xtranslate", "apply");
    configureViewport(vp, "ytranslate", "apply");
    vp->update();
}

QImage PlotView::render()
{
    vp->layout->activate();
    return vp->grab().toImage();
}
