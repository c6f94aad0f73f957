#include "app_snapshot.h"

#include <QDir>
#include <QPageSize>
#include <QPainter>
#include <QPdfWriter>
#include <QString>
#include <QSvgGenerator>

#include <cstdio>

namespace {

bool endsWith(const QString& path, const char* suffix)
{
    return path.endsWith(suffix, Qt::CaseInsensitive);
}

bool paintOn(QPaintDevice* device, const AppSnapshotSource& source)
{
    QPainter painter;
    if (!painter.begin(device))
        return false;
    source.paint(painter);
    return painter.end();
}

bool writeSvg(const AppSnapshotSource& source, const QString& path)
{
    QSvgGenerator svg;
    svg.setFileName(path);
    svg.setSize(source.size);
    svg.setViewBox(QRect(QPoint(0, 0), source.size));
    svg.setTitle(source.program);
    return paintOn(&svg, source);
}

// One page the size of the window, one point a pixel.
bool writePdf(const AppSnapshotSource& source, const QString& path)
{
    QPdfWriter pdf(path);
    pdf.setCreator(source.program);
    pdf.setResolution(72);
    pdf.setPageSize(
        QPageSize(QSizeF(source.size), QPageSize::Point, QString(), QPageSize::ExactMatch));
    pdf.setPageMargins(QMarginsF(0, 0, 0, 0));
    return paintOn(&pdf, source);
}

} // namespace

int app_write_snapshot(const AppSnapshotSource& source, const char* path)
{
    const QString file = QString::fromLocal8Bit(path);
    bool ok = false;
    if (endsWith(file, ".svg"))
        ok = writeSvg(source, file);
    else if (endsWith(file, ".pdf"))
        ok = writePdf(source, file);
    else
        ok = source.render().save(file, "PNG");
    if (!ok) {
        fprintf(stderr, "%s: cannot write '%s'\n", source.program, path);
        return -1;
    }
    printf("Snapshot written to %s\n", QDir(file).absolutePath().toLocal8Bit().constData());
    return 0;
}
