// The plot of one trace: a time viewport with the trace as a polyline, the
// library's logo and a picker with crosshairs that zooms with the wheel
// and pans by dragging.
#ifndef KGRQT_PLOT_VIEW_H
#define KGRQT_PLOT_VIEW_H

#include <QImage>
#include <QPoint>

class KGRLogo;
class KGRPicker;
class KGRPolyline;
class KGRViewport;

class PlotView {
public:
    // Throws a character string when a widget cannot be made.
    PlotView(int width, int height);
    ~PlotView();
    PlotView(const PlotView&) = delete;
    PlotView& operator=(const PlotView&) = delete;

    // Shows the time history handle, outlined in colour, over its whole
    // extent. 0, or -1 with the reason in the error register.
    int showTrace(const char* handle, const char* label, const char* colour);

    // Zooms both axes by factor about a pixel of the viewport (below 1 in).
    void zoomAt(double px, double py, double factor);

    // A drag that pans the plot: the data follow the pointer, and the new
    // box is kept when the drag ends.
    void beginDrag(QPoint at);
    void dragTo(QPoint at);
    void endDrag();

    // The plot as an image, rendered off screen.
    QImage render();

    KGRViewport* viewport() const { return vp; }
    KGRPicker* picker() const { return pick; }
    KGRPolyline* polyline() const { return line; }

private:
    void bindNavigation();

    KGRViewport* vp = nullptr; // owns the items
    KGRPolyline* line = nullptr;
    KGRLogo* logo = nullptr;
    KGRPicker* pick = nullptr;
    bool dragging = false;
    QPoint dragStart;
};

#endif
