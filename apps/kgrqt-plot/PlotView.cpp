#include "PlotView.h"
#include "app_taskbar.h"

#include "kgrqt.h"

#include <QColor>
#include <QFile>
#include <QMouseEvent>
#include <QPainter>
#include <QPixmap>
#include <QVBoxLayout>
#include <QWheelEvent>
#include <QWidget>

#include <cmath>
#include <cstddef>
#include <cstdio>
#include <string>

// The resources of a static library are linked in only when referred to.
static void initPlotResources()
{
    Q_INIT_RESOURCE(plot);
}

namespace {

const char* const kEnd = nullptr;

// One wheel notch (120 units) zooms in or out by a fifth.
double wheelFactor(const QWheelEvent* event)
{
    return std::pow(0.8, event->angleDelta().y() / 120.0);
}

// The channel a picker serves travels with the view in its client data.
struct ChannelRef {
    PlotView* view;
    int index;
};

int plot_wheel(int, void* clientData, QEvent* event)
{
    auto* ref = static_cast<ChannelRef*>(clientData);
    auto* wheel = static_cast<QWheelEvent*>(event);
    if (wheel->angleDelta().y() == 0)
        return 0;
    ref->view->zoomAt(wheel->position().x(), wheel->position().y(), wheelFactor(wheel), ref->index);
    return KGR_EVENT_CONSUMED;
}

int plot_press(int, void* clientData, QEvent* event)
{
    auto* ref = static_cast<ChannelRef*>(clientData);
    auto* mouse = static_cast<QMouseEvent*>(event);
    if (mouse->button() == Qt::LeftButton)
        ref->view->beginDrag(mouse->pos(), ref->index);
    return 0;
}

int plot_move(int, void* clientData, QEvent* event)
{
    static_cast<ChannelRef*>(clientData)->view->dragTo(static_cast<QMouseEvent*>(event)->pos());
    return 0;
}

int plot_release(int, void* clientData, QEvent* event)
{
    if (static_cast<QMouseEvent*>(event)->button() == Qt::LeftButton)
        static_cast<ChannelRef*>(clientData)->view->endDrag();
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

// Configures a viewport, printing and clearing the register on failure:
// navigation goes on with what it had.
void configureViewport(KGRViewport* vp, const char* name, const std::string& value)
{
    if (vp->configure(name, value.c_str(), kEnd) < 0)
        hx_clear_register(1);
}

// The smallest and largest positive values of a history, for a
// logarithmic axis; false when there are none.
bool positiveRange(const char* handle, double* lo, double* hi)
{
    int n = 0;
    double *x = nullptr, *y = nullptr;
    if (hxhistory_get_points(handle, &n, &x, &y) < 0)
        return false;
    *lo = HUGE_VAL;
    *hi = 0;
    for (int i = 0; i < n; ++i)
        if (y[i] > 0 && y[i] != KGR_UNSET) {
            *lo = std::fmin(*lo, y[i]);
            *hi = std::fmax(*hi, y[i]);
        }
    free(x);
    free(y);
    return *hi > 0;
}

// ------------------------------------------------------------- buttons

// The buttons' definitions, shipped with the program as a resource.
QByteArray buttonDefinitions()
{
    initPlotResources();
    QFile file(":/kgrqt-plot/plot_buttons.pf");
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// Where the buttons stand: boxes hanging from 28 pixels above the frame,
// right-aligned in a row along the top margin.
const char* const kButtonList = "buttons &Tbl{\n"
                                "    yscale     neb right     top+28\n"
                                "    crosshairs neb right-84  top+28\n"
                                "    grid       neb right-168 top+28\n"
                                "}\n";

PlotControls* controlsOf(char* record)
{
    return reinterpret_cast<PlotControls*>(record);
}

// Reads an on/off value into a control; 1 when it changed, -1 when bad.
int readSwitch(const char* proc, char* value, int* field)
{
    const int on = HX_ParseBoolean(value);
    if (on < 0) {
        hx_register_error(0, "%s: Illegal value '%s'\n", proc, value ? value : "");
        return -1;
    }
    const int changed = (on != 0) != (*field != 0);
    *field = on != 0;
    return changed;
}

int plot_parse_grid(HX_ConfigureSpec*, HX_ClientData, char* value, char* record, int)
{
    PlotControls* c = controlsOf(record);
    if (readSwitch("plot_parse_grid", value, &c->grid) < 0)
        return -1;
    c->view->setGridVisible(c->grid);
    return 0;
}

int plot_parse_crosshairs(HX_ConfigureSpec*, HX_ClientData, char* value, char* record, int)
{
    PlotControls* c = controlsOf(record);
    if (readSwitch("plot_parse_crosshairs", value, &c->crosshairs) < 0)
        return -1;
    c->view->setCrosshairs(c->crosshairs);
    return 0;
}

int plot_parse_yscale(HX_ConfigureSpec*, HX_ClientData, char* value, char* record, int)
{
    PlotControls* c = controlsOf(record);
    const bool log = value && !strcmp(value, "log");
    if (!log && !(value && !strcmp(value, "linear"))) {
        hx_register_error(0, "plot_parse_yscale: Illegal value '%s'\n", value ? value : "");
        return -1;
    }
    return c->view->setLogarithmic(log);
}

char* plot_print_switch(HX_ConfigureSpec* spec, HX_ClientData, char* record, int)
{
    PlotControls* c = controlsOf(record);
    const int on = spec->offset == offsetof(PlotControls, grid)         ? c->grid
                   : spec->offset == offsetof(PlotControls, crosshairs) ? c->crosshairs
                                                                        : c->ylog;
    if (spec->offset == offsetof(PlotControls, ylog))
        return strdup(on ? "log" : "linear");
    return strdup(on ? "yes" : "no");
}

HX_CustomOption gridOption = {plot_parse_grid, plot_print_switch, nullptr};
HX_CustomOption crosshairsOption = {plot_parse_crosshairs, plot_print_switch, nullptr};
HX_CustomOption yscaleOption = {plot_parse_yscale, plot_print_switch, nullptr};

HX_ConfigureSpec controlSpecs[] = {
    {"custom", "grid", nullptr, offsetof(PlotControls, grid), HX_CONFIGURE_NO_DEFAULT, &gridOption},
    {"custom", "crosshairs", nullptr, offsetof(PlotControls, crosshairs), HX_CONFIGURE_NO_DEFAULT,
     &crosshairsOption},
    {"custom", "yscale", nullptr, offsetof(PlotControls, ylog), HX_CONFIGURE_NO_DEFAULT,
     &yscaleOption},
    {"end", nullptr, nullptr, 0, 0, nullptr},
};

} // namespace

PlotView::PlotView(int width, int height) : width(width), height(height)
{
    state = PlotControls{this, 1, 1, 0};
    top = new QWidget;
    top->setWindowTitle("kgrqt-plot");
    auto* layout = new QVBoxLayout(top);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    top->resize(width, height);
}

PlotView::~PlotView()
{
    for (Channel& c : channelList)
        delete static_cast<ChannelRef*>(c.vp->property("plotChannel").value<void*>());
    delete top;
}

const PlotView::Channel& PlotView::part(int i) const
{
    static const Channel none;
    return i >= 0 && i < channels() ? channelList[i] : none;
}

PlotView::Channel PlotView::makeChannel()
{
    Channel c;
    c.vp = new KGRViewport(top);
    top->layout()->addWidget(c.vp);
    c.grid = new KGRGrid(c.vp);
    c.line = new KGRPolyline(c.vp);
    c.axes = new KGRAxes(c.vp);
    c.title = new KGRText(c.vp, const_cast<char*>("title"), const_cast<char*>("0"),
                          const_cast<char*>("top+8"));
    c.pick = new KGRPicker(c.vp); // last, so that it lies on top and gets the input
    return c;
}

void PlotView::bindNavigation(Channel& c)
{
    auto* ref = new ChannelRef{this, channels() - 1};
    c.vp->setProperty("plotChannel", QVariant::fromValue(static_cast<void*>(ref)));
    c.pick->bind("wheelEvent", plot_wheel, ref);
    c.pick->bind("mousePressEvent", plot_press, ref);
    c.pick->bind("mouseMoveEvent", plot_move, ref);
    c.pick->bind("mouseReleaseEvent", plot_release, ref);
}

int PlotView::addButtons(Channel& c)
{
    logo = new KGRLogo(c.vp);
    buttons = new KGRTaskbar(c.vp);
    // The buttons' actions configure the taskbar: give it our controls.
    if (buttons->setConfigureSpecs(controlSpecs, reinterpret_cast<char*>(&state), "PlotView") < 0)
        return -1;
    HX_SetName("kgrqt-plot-picker", "KGRPicker", c.pick);
    QByteArray definitions = buttonDefinitions();
    if (definitions.isEmpty()) {
        hx_register_error(0, "PlotView: the button definitions are missing\n");
        return -1;
    }
    if (buttons->configure("taskbar_background", "white", "taskbar_picker_name",
                           "kgrqt-plot-picker", "taskbar_buttons_definitions",
                           definitions.constData(), "taskbar_buttons", kButtonList, kEnd) < 0)
        return -1;
    // Button labels in the size of the tic labels, boxed.
    return app_style_buttons(buttons, "Helvetica 10", "#b0b0b0");
}

int PlotView::showTrace(const char* handle, const char* label, const char* colour)
{
    double xmin, xmax, ymin, ymax;
    if (hxvector_extent(handle, &xmin, &xmax, &ymin, &ymax) < 0)
        return -1;
    widenRange(&xmin, &xmax, 0.0);
    widenRange(&ymin, &ymax, 0.05);
    Channel c = makeChannel();
    c.ymin = ymin;
    c.ymax = ymax;
    if (!positiveRange(handle, &c.yposmin, &c.yposmax)) {
        c.yposmin = 1;
        c.yposmax = 10;
    }
    // Later channels share the time range of the first.
    if (!channelList.empty()) {
        xmin = channelList.front().vp->viewport.spc_xleft;
        xmax = channelList.front().vp->viewport.spc_xright;
    }
    char margin[64];
    snprintf(margin, sizeof margin, "%d %d %d %d", kMarginLeft, kMarginRight, kMarginBottom,
             kMarginTop);
    if (c.vp->configure("xmode", "time", "margin", margin, "fill", "white", "fill_frame", "#f4f4f4",
                        "xleft", number(xmin).c_str(), "xright", number(xmax).c_str(), kEnd) < 0 ||
        c.axes->configure("xformat", "time", "xlabel", "Time (UTC)", "ylabel", "counts",
                          "font_labels", "Helvetica 12", "font_numbers", "Helvetica 10",
                          kEnd) < 0 ||
        c.grid->configure("fill", "#d0d0d0", "fill_small", "#ececec", kEnd) < 0 ||
        c.line->configure("outline", colour, kEnd) < 0)
        return -1;
    // The colour parser keeps names that Qt does not know.
    if (!c.line->polyline.outline.color || !c.line->polyline.outline.color->isValid()) {
        hx_register_error(0, "PlotView::showTrace: Unknown colour '%s'\n", colour ? colour : "");
        return -1;
    }
    if (c.line->configure("thistory", handle, kEnd) < 0 ||
        c.title->configure("text", label, "justification", "nw", "font", "Helvetica 12 DemiBold",
                           kEnd) < 0 ||
        c.pick->configure("crosshairs", state.crosshairs ? "yes" : "no", kEnd) < 0)
        return -1;
    c.grid->setVisible(state.grid);
    channelList.push_back(c);
    Channel& added = channelList.back();
    if (showAmplitudes(added) < 0)
        return -1;
    // The buttons are bound to the first picker before the navigation, so
    // that a press on a button is theirs alone.
    if (channels() == 1 && addButtons(added) < 0)
        return -1;
    bindNavigation(added);
    updateAll();
    return 0;
}

int PlotView::showAmplitudes(Channel& c)
{
    const double lo = state.ylog ? c.yposmin : c.ymin;
    double hi = state.ylog ? c.yposmax : c.ymax;
    if (state.ylog && hi <= lo)
        hi = 10 * lo;
    // Bounds first: a logarithmic mode is refused while a bound is not
    // positive.
    return c.vp->configure("ybottom", number(lo).c_str(), "ytop", number(hi).c_str(), "ymode",
                           state.ylog ? "log" : "lin", kEnd);
}

void PlotView::updateAll()
{
    for (Channel& c : channelList)
        c.vp->update();
}

void PlotView::zoomAt(double px, double py, double factor, int i)
{
    if (i < 0 || i >= channels() || !std::isfinite(factor) || factor <= 0)
        return;
    double wx = 0, wy = 0;
    if (channelList[i].vp->wcoords(px, py, &wx, &wy, 0) < 0)
        return;
    for (int k = 0; k < channels(); ++k) {
        // Amplitudes change only where the pointer is; elsewhere the y
        // factor is 1 and the anchor does not matter.
        const KgrviewportItem& r = channelList[k].vp->viewport;
        const double y = k == i ? wy : r.ybottom;
        const double yfactor = k == i ? factor : 1.0;
        configureViewport(channelList[k].vp, "zoom",
                          number(wx) + " " + number(y) + " " + number(factor) + " " +
                              number(yfactor));
    }
    updateAll();
}

void PlotView::beginDrag(QPoint at, int i)
{
    dragging = true;
    dragMoved = false;
    dragChannel = i;
    dragStart = at;
}

// A positive translation moves the shown box right and down, so the data
// follow the pointer when the box moves against it.
void PlotView::dragTo(QPoint at)
{
    if (!dragging)
        return;
    dragMoved = true;
    for (int k = 0; k < channels(); ++k) {
        configureViewport(channelList[k].vp, "xtranslate", std::to_string(dragStart.x() - at.x()));
        if (k == dragChannel)
            configureViewport(channelList[k].vp, "ytranslate",
                              std::to_string(dragStart.y() - at.y()));
    }
    updateAll();
}

// A press without a move changes nothing: applying a zero translation
// would put back the box of the last drawing over what was configured since.
void PlotView::endDrag()
{
    if (!dragging)
        return;
    dragging = false;
    if (!dragMoved)
        return;
    for (int k = 0; k < channels(); ++k) {
        configureViewport(channelList[k].vp, "xtranslate", "apply");
        if (k == dragChannel)
            configureViewport(channelList[k].vp, "ytranslate", "apply");
    }
    updateAll();
}

void PlotView::setGridVisible(bool on)
{
    state.grid = on;
    for (Channel& c : channelList)
        c.grid->setVisible(on);
    updateAll();
}

void PlotView::setCrosshairs(bool on)
{
    state.crosshairs = on;
    for (Channel& c : channelList)
        if (c.pick->configure("crosshairs", on ? "yes" : "no", kEnd) < 0)
            hx_clear_register(1);
    updateAll();
}

int PlotView::setLogarithmic(bool on)
{
    state.ylog = on;
    int result = 0;
    for (Channel& c : channelList)
        if (showAmplitudes(c) < 0)
            result = -1;
    updateAll();
    return result;
}

QImage PlotView::render()
{
    top->layout()->activate();
    for (Channel& c : channelList)
        c.vp->layout->activate();
    return top->grab().toImage();
}

void PlotView::paintItems(QPainter& painter)
{
    render(); // lays the channels out and computes their boxes
    for (Channel& c : channelList) {
        painter.save();
        painter.translate(c.vp->pos());
        painter.setClipRect(QRect(QPoint(0, 0), c.vp->size()));
        c.vp->draw(painter);
        if (!c.grid->isHidden())
            c.grid->draw(painter);
        painter.setRenderHint(QPainter::Antialiasing);
        c.line->draw(painter);
        painter.setRenderHint(QPainter::Antialiasing, false);
        c.axes->draw(painter);
        c.title->draw(painter);
        painter.restore();
    }
}
