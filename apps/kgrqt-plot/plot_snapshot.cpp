// Snapshots of the plot: PNG at the screen's pixel density, SVG and PDF as
// vectors, the items drawn straight onto the vector device.
#include "plot_scene.h"

#include <QDir>
#include <QPageSize>
#include <QPainter>
#include <QPdfWriter>
#include <QString>
#include <QSvgGenerator>
#include <QWidget>

#include <cstdio>

namespace {

bool endsWith(const QString& path, const char* suffix)
{
    return path.endsWith(suffix, Qt::CaseInsensitive);
}

bool writeSvg(PlotScene& scene, const QString& path)
{
    const QSize size = scene.window()->size();
    QSvgGenerator svg;
    svg.setFileName(path);
    svg.setSize(size);
    svg.setViewBox(QRect(QPoint(0, 0), size));
    svg.setTitle("kgrqt-plot");
    QPainter painter;
    if (!painter.begin(&svg))
        return false;
    scene.paintItems(painter);
    return painter.end();
}

// One page the size of the window, one point a pixel.
bool writePdf(PlotScene& scene, const QString& path)
{
    const QSize size = scene.window()->size();
    QPdfWriter pdf(path);
    pdf.setCreator("kgrqt-plot");
    pdf.setResolution(72);
    pdf.setPageSize(QPageSize(QSizeF(size), QPageSize::Point, QString(), QPageSize::ExactMatch));
    pdf.setPageMargins(QMarginsF(0, 0, 0, 0));
    QPainter painter;
    if (!painter.begin(&pdf))
        return false;
    scene.paintItems(painter);
    return painter.end();
}

} // namespace

int plot_write_snapshot(PlotScene& scene, const char* path)
{
    const QString file = QString::fromLocal8Bit(path);
    bool ok = false;
    if (endsWith(file, ".svg"))
        ok = writeSvg(scene, file);
    else if (endsWith(file, ".pdf"))
        ok = writePdf(scene, file);
    else
        ok = scene.render().save(file, "PNG");
    if (!ok) {
        fprintf(stderr, "kgrqt-plot: cannot write '%s'\n", path);
        return -1;
    }
    printf("Snapshot written to %s\n", QDir(file).absolutePath().toLocal8Bit().constData());
    return 0;
}
