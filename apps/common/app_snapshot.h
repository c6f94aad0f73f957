// Snapshots of a program's window: PNG at the screen's pixel density, SVG
// and PDF as vectors, with the items drawn straight onto the vector device.
#ifndef KGRQT_APP_SNAPSHOT_H
#define KGRQT_APP_SNAPSHOT_H

#include <QImage>
#include <QSize>

#include <functional>

class QPainter;

struct AppSnapshotSource {
    const char* program;                  // for messages and the documents' creator
    QSize size;                           // of the window, pixels
    std::function<QImage()> render;       // the window as an image
    std::function<void(QPainter&)> paint; // the items onto a vector device
};

// Writes a file chosen by its name: ".svg" and ".pdf" as vectors, anything
// else as PNG, and prints where. 0, or -1 after printing why not.
int app_write_snapshot(const AppSnapshotSource& source, const char* path);

#endif
