// What a snapshot needs of a plot: its window, the window as an image, and
// its items drawn straight onto a painter (for vector files).
#ifndef KGRQT_PLOT_SCENE_H
#define KGRQT_PLOT_SCENE_H

#include <QImage>

class QPainter;
class QWidget;

class PlotScene {
public:
    virtual ~PlotScene() = default;
    virtual QWidget* window() const = 0;
    // The window as an image at the screen's pixel density.
    virtual QImage render() = 0;
    // Draws the items onto a painter the size of the window; buttons are
    // left out.
    virtual void paintItems(QPainter& painter) = 0;
};

// Writes a scene to a file chosen by its name: ".svg" and ".pdf" as
// vectors, anything else as PNG. 0, or -1 after printing why.
int plot_write_snapshot(PlotScene& scene, const char* path);

#endif
