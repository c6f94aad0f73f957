// Snapshots of a plot scene through the programs' shared writer: the
// buttons are left out of the vector formats.
#include "app_snapshot.h"
#include "plot_scene.h"

#include <QPainter>
#include <QWidget>

int plot_write_snapshot(PlotScene& scene, const char* path)
{
    AppSnapshotSource source{"kgrqt-plot", scene.window()->size(),
                             [&scene] { return scene.render(); },
                             [&scene](QPainter& painter) { scene.paintItems(painter); }};
    return app_write_snapshot(source, path);
}
