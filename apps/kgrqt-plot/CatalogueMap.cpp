#include "CatalogueMap.h"

#include "kgrqt.h"

#include <QGridLayout>
#include <QMouseEvent>
#include <QPainter>
#include <QToolTip>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

const char* const kEnd = nullptr;
// Margins (left right bottom top) with the longitude and latitude axes of
// the plain geographic map, and without axes.
const char* const kMarginAxes = "56 24 48 34";
const char* const kMarginBare = "16 16 16 34";
const int kBareSide = 16, kBareTop = 34;
// A symbol this close to the pointer (pixels from its centre) counts as
// under it, so that the smallest ones can be found.
const double kTipReach = 6.0;
// Half the width of the equidistant map, degrees of arc.
const double kEdpHalfWidth = 90.0;

std::string number(double v)
{
    char text[64];
    snprintf(text, sizeof text, "%.17g", v);
    return text;
}

// Sizes from magnitude: radius = (magnitude - value1) * scale + coding1
// pixels, clamped to lo..hi. The outline is dark grey.
KgrpolypointCoding makeCoding(int symbol, double value1, double coding1, double scale, double lo,
                              double hi)
{
    KgrpolypointCoding c{};
    c.symbol = symbol;
    c.size = 2;
    c.size_gain = 1.0;
    c.size_scaling = {value1, coding1, 0, 0, lo, hi, scale};
    c.color = KGR_CODING_UNSET;
    c.fader = KGR_CODING_UNSET;
    c.fader_gain = 1.0;
    c.fader_scaling = {0, 0, 0, 0, KGR_UNSET, KGR_UNSET, 1.0};
    KGR_ParseColor("#303030", &c.ot);
    return c;
}

// Dots: the library's depth colouring (blue at the surface through green
// and yellow to red at 650 km), 2 pixels at magnitude 0 to 12.
KgrpolypointCoding dotCoding()
{
    KgrpolypointCoding c = makeCoding(KGR_SYMBOL_CIRCLE, 0.0, 2.0, 1.25, 2.0, 12.0);
    c.color = 2;
    return c;
}

// Beach balls: white, with the compressional quadrants in the depth's hue
// at full strength (the library's pale depth fill would hide them), 10
// pixels at magnitude 5 to 40.
KgrpolypointCoding ballCoding(double depth)
{
    KgrpolypointCoding c = makeCoding(KGR_CODING_UNSET, 5.0, 10.0, 4.0, 8.0, 40.0);
    c.color = 1;
    double hue = std::fmod((1.0 - depth / 650.0) * 240.0, 360.0);
    if (hue < 0)
        hue += 360.0;
    KGR_ParseColor("white", &c.fi);
    KGR_ParseColor(QString::asprintf("%.1f,1.00,0.45", hue).toLatin1().constData(), &c.fin);
    return c;
}

void clearCoding(KgrpolypointCoding* c)
{
    KGR_ClearColor(&c->fi);
    KGR_ClearColor(&c->fin);
    KGR_ClearColor(&c->ot);
}

int catalogue_mouse_move(int, void* clientData, QEvent* event)
{
    static_cast<CatalogueMap*>(clientData)->showToolTip(static_cast<QMouseEvent*>(event)->pos());
    return 0;
}

int catalogue_leave(int, void* clientData, QEvent*)
{
    static_cast<CatalogueMap*>(clientData)->showToolTip(QPoint(-100000, -100000));
    return 0;
}

QString degrees(double v, char positive, char negative)
{
    return QString::asprintf("%.2f\xc2\xb0%c", std::fabs(v), v < 0 ? negative : positive);
}

// Events without tensors first, larger before smaller so that small
// symbols stay visible; beach balls last, on top.
std::vector<int> drawingOrder(const std::vector<CatalogueEvent>& events)
{
    std::vector<int> order(events.size());
    for (size_t i = 0; i < order.size(); ++i)
        order[i] = static_cast<int>(i);
    std::stable_sort(order.begin(), order.end(), [&](int a, int b) {
        const CatalogueEvent &ea = events[a], &eb = events[b];
        if (ea.hasTensor != eb.hasTensor)
            return eb.hasTensor;
        return ea.magnitude > eb.magnitude;
    });
    return order;
}

} // namespace

CatalogueMap::CatalogueMap(KGRViewport* viewport) : QObject(viewport), vp(viewport)
{
    grid = new KGRGrid(vp);
    axes = new KGRAxes(vp);
    points = new KGRPolypoint(vp);
    title = new KGRText(vp, const_cast<char*>("title"), const_cast<char*>("left"),
                        const_cast<char*>("top+24"));
    key = new CatalogueLegend(vp);
    pick = new KGRPicker(vp); // last, so that it lies on top and gets the input
    pick->bind("mouseMoveEvent", catalogue_mouse_move, this);
    pick->bind("Leave", catalogue_leave, this);
}

int CatalogueMap::show(const std::vector<CatalogueEvent>& shown, const char* projection)
{
    events = shown;
    order = drawingOrder(events);
    if (vp->configure("fill", "white", "fill_frame", "#f2f6fa", kEnd) < 0 ||
        grid->configure("fill", "#a8b8c8", "fill_small", "#dde4ec", "xincrement", "30",
                        "yincrement", "30", "mindx", "20", "mindy", "20", "xincrement_small", "10",
                        "yincrement_small", "10", kEnd) < 0 ||
        points->configure("showtext", "0", kEnd) < 0 || setProjection(projection) < 0 ||
        loadPoints() < 0 || setTitle() < 0)
        return -1;
    setLegend();
    vp->update();
    return 0;
}

int CatalogueMap::setProjection(const char* projection)
{
    const std::string p = projection ? projection : "";
    axes->setVisible(p == "geog");
    if (p == "geog")
        return showWorld();
    if (p == "merc")
        return vp->configure("margin", kMarginBare, "wtran", "merc", "xleft", "-180", "xright",
                             "180", "ybottom", "-75", "ytop", "80", kEnd);
    if (p == "edp")
        return showAroundLargest();
    hx_register_error(0, "CatalogueMap::show: unknown projection '%s' (geog, merc or edp)\n",
                      p.c_str());
    return -1;
}

// The whole world in plain longitude and latitude, with axes.
int CatalogueMap::showWorld()
{
    if (vp->configure("margin", kMarginAxes, "wtran", "geog", "xleft", "-180", "xright", "180",
                      "ybottom", "-90", "ytop", "90", kEnd) < 0)
        return -1;
    return axes->configure("xlabel", "Longitude (degrees)", "ylabel", "Latitude (degrees)",
                           "xincrement", "60", "yincrement", "30", "mindx", "40", "mindy", "30",
                           "font_labels", "Helvetica 11", "font_numbers", "Helvetica 10", kEnd);
}

// Equidistant about the largest event, half the globe wide, as high as the
// frame's shape allows.
int CatalogueMap::showAroundLargest()
{
    const auto largest = std::max_element(
        events.begin(), events.end(),
        [](const CatalogueEvent& a, const CatalogueEvent& b) { return a.magnitude < b.magnitude; });
    const double lat = largest == events.end() ? 0 : largest->lat;
    const double lon = largest == events.end() ? 0 : largest->lon;
    const int frameWidth = vp->width() - 2 * kBareSide;
    const int frameHeight = vp->height() - kBareSide - kBareTop;
    const double aspect =
        frameWidth > 0 && frameHeight > 0 ? double(frameHeight) / frameWidth : 0.5;
    const double half = kEdpHalfWidth * aspect;
    return vp->configure("margin", kMarginBare, "wtran", "edp", "latr", number(lat).c_str(), "lonr",
                         number(lon).c_str(), "xleft", number(-kEdpHalfWidth).c_str(), "xright",
                         number(kEdpHalfWidth).c_str(), "ybottom", number(-half).c_str(), "ytop",
                         number(half).c_str(), kEnd);
}

int CatalogueMap::loadPoints()
{
    static int serial = 0;
    const std::string name = "kgrqt-catalogue-" + std::to_string(++serial);
    std::vector<double> x, y;
    for (int i : order) {
        x.push_back(events[i].lon);
        y.push_back(events[i].lat);
    }
    // The item copies the points; the vector is only the way in.
    if (points->configure("points_free", "", kEnd) < 0 ||
        hxvector_create(name.c_str(), HXVECTOR_PLAIN) < 0)
        return -1;
    int result = 0;
    if (!events.empty() && (hxvector_add_points(name.c_str(), static_cast<int>(x.size()), x.data(),
                                                y.data(), nullptr) < 0 ||
                            points->configure("vector", name.c_str(), kEnd) < 0))
        result = -1;
    hxvector_free(name.c_str());
    for (int i = 0; result == 0 && i < points->polypoint.npts; ++i)
        codePoint(&points->polypoint.point[i], events[order[i]]);
    return result;
}

void CatalogueMap::codePoint(KgrpolypointPoint* point, const CatalogueEvent& e)
{
    point->color_value = e.depth;
    point->size_value = e.magnitude;
    if (e.hasTensor) {
        memcpy(point->m, e.m, sizeof point->m);
        points->makeBeachballPoint(point);
        hx_clear_register(0);
    }
    KgrpolypointCoding c =
        point->symbol == KGR_SYMBOL_BEACHBALL ? ballCoding(e.depth) : dotCoding();
    points->makeSymbol(&c, point);
    clearCoding(&c);
}

int CatalogueMap::setTitle()
{
    int tensors = 0;
    for (const CatalogueEvent& e : events)
        tensors += e.hasTensor;
    const QString text = QString("%1 event%2, %3 with a moment tensor; colour: depth, "
                                 "size: magnitude")
                             .arg(events.size())
                             .arg(events.size() == 1 ? "" : "s")
                             .arg(tensors);
    return title->configure("text", text.toUtf8().constData(), "justification", "sw", "font",
                            "Helvetica 11", kEnd);
}

// What the symbols' coding makes of a depth and a magnitude: a scratch
// point run through it, so that the key shows what the map draws.
CatalogueLegend::Swatch CatalogueMap::swatch(double depth, double magnitude, double value)
{
    KgrpolypointPoint p;
    memset(static_cast<void*>(&p), 0, sizeof p);
    p.visibility = 1;
    p.opacity = 1.0;
    p.color_value = depth;
    p.size_value = magnitude;
    KgrpolypointCoding c = dotCoding();
    points->makeSymbol(&c, &p);
    clearCoding(&c);
    hx_clear_register(0);
    CatalogueLegend::Swatch s{value, p.fill.color ? *p.fill.color : QColor(Qt::gray), p.size};
    polypoint_free_point(&p);
    return s;
}

void CatalogueMap::setLegend()
{
    std::vector<CatalogueLegend::Swatch> depths, magnitudes;
    for (double depth : {0.0, 100.0, 300.0, 650.0}) {
        depths.push_back(swatch(depth, 0, depth));
        depths.back().radius = 6;
    }
    for (double magnitude : {2.0, 4.0, 6.0}) {
        magnitudes.push_back(swatch(0, magnitude, magnitude));
        magnitudes.back().colour = QColor("#d0d0d0");
    }
    key->setEntries(depths, magnitudes);
}

int CatalogueMap::eventOfPoint(int ipt) const
{
    return ipt >= 0 && ipt < static_cast<int>(order.size()) ? order[ipt] : -1;
}

QString CatalogueMap::describe(int i) const
{
    if (i < 0 || i >= static_cast<int>(events.size()))
        return QString();
    const CatalogueEvent& e = events[i];
    char* time = epoch2str(e.time, "%Y-%m-%d %H:%M:%S");
    QString text = QString("%1 UTC\n%2 %3, depth %4 km\nmagnitude %5")
                       .arg(time ? time : "?")
                       .arg(degrees(e.lat, 'N', 'S'), degrees(e.lon, 'E', 'W'))
                       .arg(e.depth, 0, 'f', 1)
                       .arg(e.magnitude, 0, 'f', 1);
    free(time);
    if (e.hasTensor)
        text += "\nmoment tensor shown as a beach ball";
    return text;
}

QString CatalogueMap::textAt(int x, int y) const
{
    // A symbol under the pointer first (the nearest centre of those), else
    // the nearest one within reach.
    QList<int>* inside = points->findInside(x, y);
    int ipt = -1;
    if (!inside->isEmpty())
        ipt = points->polypoint.paths->at(inside->last()).ipt;
    delete inside;
    if (ipt < 0) {
        double distance = HUGE_VAL;
        points->findClosest(x, y, &ipt, &distance, nullptr);
        if (distance > kTipReach)
            ipt = -1;
    }
    return describe(eventOfPoint(ipt));
}

void CatalogueMap::showToolTip(QPoint at)
{
    tip = textAt(at.x(), at.y());
    if (tip.isEmpty())
        QToolTip::hideText();
    else
        QToolTip::showText(vp->mapToGlobal(at), tip, vp);
}

QWidget* CatalogueMap::window() const
{
    return vp;
}

QImage CatalogueMap::render()
{
    vp->layout->activate();
    return vp->grab().toImage();
}

void CatalogueMap::paintItems(QPainter& painter)
{
    render(); // lays the items out and computes the boxes
    painter.save();
    painter.setClipRect(QRect(QPoint(0, 0), vp->size()));
    vp->draw(painter);
    painter.setRenderHint(QPainter::Antialiasing);
    grid->draw(painter);
    points->draw(painter);
    key->draw(painter);
    painter.setRenderHint(QPainter::Antialiasing, false);
    if (!axes->isHidden())
        axes->draw(painter);
    title->draw(painter);
    painter.restore();
}
