// The map of kgrqt-map: one geographic viewport filling the window with a
// KGRMap (its layers, button bar and mouse navigation), a graticule and
// the logo. The buttons choose the projection, show and hide layers, zoom
// and go home; dragging pans, Shift-dragging recentres, the wheel and the
// keys + - i o I O zoom and c centres on the pointer.
#ifndef KGRQT_MAP_VIEW_H
#define KGRQT_MAP_VIEW_H

#include "map_box.h"
#include "map_make.h"

#include <QImage>

#include <string>
#include <vector>

class KGRGrid;
class KGRLogo;
class KGRMap;
class KGRViewport;
class QPainter;
class QWidget;
class MapView;

// The settings that the buttons reach: their action lines configure
// "projection", "layer_show", "layer_hide", "zoom_by" and "home" on the
// map's taskbar, whose option table includes these rows.
struct MapControls {
    MapView* view;
    int projection; // a MapProjection
};

// What a view shows first, and where "home" goes back to.
struct MapHome {
    MapProjection projection = MapProjection::Edp;
    double lat = 20, lon = 0;
    double zoom = 1; // 360/zoom degrees across the width
};

class MapView {
public:
    // Throws a character string when a widget cannot be made or a layer
    // named in the setup is not defined (the register says which).
    MapView(int width, int height, const MapSetup& setup);
    ~MapView();
    MapView(const MapView&) = delete;
    MapView& operator=(const MapView&) = delete;

    // Shows the home view and keeps it for "home". 0, or -1 with the
    // reason in the error register.
    int setHome(const MapHome& home);
    int goHome();
    // The same place under another projection; 0 or -1.
    int setProjection(MapProjection projection);
    MapProjection projection() const;

    // The map layers that are defined, bottom first.
    std::vector<std::string> layerNames() const;
    // Shows exactly the named layers; -1 for a name that is not defined,
    // leaving the layers as they were. The buttons follow only their own
    // presses: the setup's layers are in place before they are made.
    int setLayers(const std::vector<std::string>& names);
    // Shows or hides one layer; -1 for a name that is not defined.
    int showLayer(const char* name, bool on);
    bool layerShown(const char* name) const;
    // The map-data file a layer reads, or null for a name not defined.
    const char* layerFile(const char* name) const;

    // Zooms about the centre of the map; a factor below 1 zooms in.
    int zoomBy(double factor);

    // The window as an image at the screen's pixel density.
    QImage render();
    // Draws the map layers, the graticule and the logo straight onto a
    // painter (a vector device keeps the vector layers as vectors); the
    // buttons are left out.
    void paintItems(QPainter& painter);

    QWidget* window() const;
    KGRViewport* viewport() const { return vp; }
    KGRMap* map() const { return mapItem; }
    KGRGrid* grid() const { return graticule; }

private:
    void build(const MapSetup& setup);
    int addButtons();
    std::string buttonList() const;
    void settleBox();
    void redraw();

    KGRViewport* vp = nullptr; // the window; owns the items
    KGRMap* mapItem = nullptr;
    KGRGrid* graticule = nullptr;
    KGRLogo* logo = nullptr;
    MapControls controls;
    MapHome home;
};

// Writes the view to a file chosen by its name: ".svg" and ".pdf" as
// vectors, anything else as PNG. 0, or -1 after printing why.
int map_write_snapshot(MapView& view, const char* path);

#endif
