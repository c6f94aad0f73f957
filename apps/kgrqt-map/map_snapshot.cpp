// Snapshots of the map through the programs' shared writer: the buttons
// are left out of the vector formats.
#include "MapView.h"
#include "app_snapshot.h"

#include <QPainter>
#include <QWidget>

int map_write_snapshot(MapView& view, const char* path)
{
    AppSnapshotSource source{"kgrqt-map", view.window()->size(), [&view] { return view.render(); },
                             [&view](QPainter& painter) { view.paintItems(painter); }};
    return app_write_snapshot(source, path);
}
