// Snapshots of the plot through the programs' shared writer: the buttons
// are left out of the vector formats.
#include "PlotView.h"
#include "app_snapshot.h"

#include <QPainter>
#include <QWidget>

int plot_write_snapshot(PlotView& view, const char* path)
{
    AppSnapshotSource source{"kgrqt-plot", view.window()->size(), [&view] { return view.render(); },
                             [&view](QPainter& painter) { view.paintItems(painter); }};
    return app_write_snapshot(source, path);
}
