// The events of a catalogue on a map: a geographic viewport with a
// graticule, one symbol per event coded by depth (colour: blue at the
// surface through to red at 650 km) and magnitude (size), and a beach ball
// for every event with a moment tensor, sized by its magnitude and drawn
// over the others. Moving the mouse over an event shows its time, position,
// depth and magnitude in a tool tip; a key in a corner explains the codings.
#ifndef KGRQT_CATALOGUE_MAP_H
#define KGRQT_CATALOGUE_MAP_H

#include "CatalogueLegend.h"
#include "catalogue_text.h"
#include "plot_scene.h"

#include <QObject>
#include <QPoint>
#include <QString>

#include <vector>

class KGRAxes;
class KGRGrid;
class KGRPicker;
class KGRPolypoint;
class KGRText;
class KGRViewport;
struct KgrpolypointPoint;

class CatalogueMap : public QObject, public PlotScene {
public:
    // Builds the items on vp, which owns them and this map. Throws a
    // character string when a widget cannot be made.
    explicit CatalogueMap(KGRViewport* vp);

    // Shows the events under a projection: "geog" (the world, plain
    // longitude and latitude), "merc" (Mercator, 75 S to 80 N) or "edp"
    // (equidistant about the largest event, 90 degrees either side).
    // 0, or -1 with the reason in the error register.
    int show(const std::vector<CatalogueEvent>& events, const char* projection);

    // The tool-tip text for pixel (x, y) of the viewport: the event whose
    // symbol is under it or within a few pixels, or an empty text.
    QString textAt(int x, int y) const;
    // Shows (or hides) the tool tip for a pointer position.
    void showToolTip(QPoint at);
    // What the tool tip last showed.
    const QString& toolTipText() const { return tip; }

    // Text describing event i: time, position, depth, magnitude.
    QString describe(int i) const;
    // The event that point ipt of the symbol item shows, or -1.
    int eventOfPoint(int ipt) const;

    QWidget* window() const override;
    QImage render() override;
    void paintItems(QPainter& painter) override;

    KGRViewport* viewport() const { return vp; }
    KGRPolypoint* symbols() const { return points; }
    KGRGrid* graticule() const { return grid; }
    KGRPicker* picker() const { return pick; }
    CatalogueLegend* legend() const { return key; }

private:
    int setProjection(const char* projection);
    int showWorld();
    int showAroundLargest();
    int loadPoints();
    void codePoint(KgrpolypointPoint* point, const CatalogueEvent& e);
    int setTitle();
    CatalogueLegend::Swatch swatch(double depth, double magnitude, double value);
    void setLegend();

    KGRViewport* vp;
    KGRGrid* grid;
    KGRAxes* axes;
    KGRPolypoint* points;
    KGRText* title;
    CatalogueLegend* key;
    KGRPicker* pick;
    std::vector<CatalogueEvent> events;
    std::vector<int> order; // event index of each point: small on top, beach balls last
    QString tip;
};

#endif
