// The plot of the channels of one file: one time viewport per channel,
// stacked in a window and sharing one time axis. Each channel has a grid,
// its trace, axes with a time axis and a title; the first also carries the
// logo and a taskbar whose buttons toggle the grid, the crosshairs and a
// logarithmic y scale. The wheel zooms about the pointer and dragging pans:
// in time for every channel at once, in amplitude for the one under the
// pointer.
#ifndef KGRQT_PLOT_VIEW_H
#define KGRQT_PLOT_VIEW_H

#include "plot_scene.h"

#include <QImage>
#include <QPoint>

#include <vector>

class KGRAxes;
class KGRGrid;
class KGRLogo;
class KGRPicker;
class KGRPolyline;
class KGRTaskbar;
class KGRText;
class KGRViewport;
class QPaintDevice;
class QPainter;
class QWidget;
class PlotView;

// The settings that the taskbar's buttons reach: its action lines
// configure "grid", "crosshairs" and "yscale" on the taskbar, whose option
// table includes these rows.
struct PlotControls {
    PlotView* view;
    int grid;       // grid lines shown
    int crosshairs; // crosshairs follow the pointer
    int ylog;       // logarithmic amplitude axes
};

class PlotView : public PlotScene {
public:
    // The margins of every channel's viewport, pixels.
    static const int kMarginLeft = 80, kMarginRight = 20, kMarginBottom = 70, kMarginTop = 40;

    // Throws a character string when a widget cannot be made.
    PlotView(int width, int height);
    ~PlotView() override;
    PlotView(const PlotView&) = delete;
    PlotView& operator=(const PlotView&) = delete;

    // Adds a channel below the others: the time history handle, outlined in
    // colour, over its whole extent, titled with label. All channels share
    // the time range of the first ones. 0, or -1 with the reason in the
    // error register.
    int showTrace(const char* handle, const char* label, const char* colour);

    // Zooms about a pixel of channel i's viewport (a factor below 1 zooms
    // in): time for all channels, amplitude for channel i.
    void zoomAt(double px, double py, double factor, int i = 0);

    // A drag that pans: the data follow the pointer, in time for all
    // channels and in amplitude for channel i; the new boxes are kept when
    // the drag ends.
    void beginDrag(QPoint at, int i = 0);
    void dragTo(QPoint at);
    void endDrag();

    // What the buttons do.
    void setGridVisible(bool on);
    void setCrosshairs(bool on);
    int setLogarithmic(bool on);

    // The window as an image at the screen's pixel density.
    QImage render() override;
    // Draws every channel's items straight onto a painter (a vector device
    // keeps text and lines as vectors); the buttons are left out.
    void paintItems(QPainter& painter) override;

    int channels() const { return static_cast<int>(channelList.size()); }
    QWidget* window() const override { return top; }
    KGRViewport* viewport(int i = 0) const { return part(i).vp; }
    KGRPicker* picker(int i = 0) const { return part(i).pick; }
    KGRPolyline* polyline(int i = 0) const { return part(i).line; }
    KGRAxes* axes(int i = 0) const { return part(i).axes; }
    KGRGrid* grid(int i = 0) const { return part(i).grid; }
    KGRText* title(int i = 0) const { return part(i).title; }
    KGRTaskbar* taskbar() const { return buttons; }
    const PlotControls& controls() const { return state; }

private:
    struct Channel {
        KGRViewport* vp = nullptr; // owns the items
        KGRGrid* grid = nullptr;
        KGRPolyline* line = nullptr;
        KGRAxes* axes = nullptr;
        KGRText* title = nullptr;
        KGRPicker* pick = nullptr;
        double ymin = 0, ymax = 0;       // amplitude range shown at first
        double yposmin = 0, yposmax = 0; // positive amplitudes, for log axes
    };

    const Channel& part(int i) const;
    Channel makeChannel();
    void bindNavigation(Channel& c);
    int addButtons(Channel& c);
    int showAmplitudes(Channel& c);
    void updateAll();

    QWidget* top = nullptr; // the window; owns the viewports
    std::vector<Channel> channelList;
    KGRLogo* logo = nullptr;
    KGRTaskbar* buttons = nullptr;
    PlotControls state;
    int width, height;
    bool dragging = false;
    bool dragMoved = false;
    int dragChannel = 0;
    QPoint dragStart;
};

#endif
