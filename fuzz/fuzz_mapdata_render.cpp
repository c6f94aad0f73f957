// Opens arbitrary bytes as a map-data file through KGRMapData and renders
// every accepted resolution: grids into small images under the three
// geographic transforms, vectors with every level stroked and filled.
#include "kgrqt.h"

#include <QApplication>
#include <QImage>
#include <QPainter>

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

QApplication* application()
{
    static int argc = 1;
    static char name[] = "fuzz_mapdata_render";
    static char* argv[] = {name, nullptr};
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    static QApplication* app = new QApplication(argc, argv);
    return app;
}

KgrviewportItem plot(int wtran, double xl, double xr, double yb, double yt)
{
    KgrviewportItem vp{};
    vp.w = 64;
    vp.h = 48;
    vp.header = Kgrheader{0, 0, 64, 48};
    vp.mleft = vp.mtop = 2;
    vp.xleft = xl;
    vp.xright = xr;
    vp.ybottom = yb;
    vp.ytop = yt;
    vp.xgain = vp.ygain = 1;
    vp.wtran = wtran;
    vp.latr = 35;
    vp.lonr = 140;
    vp.bblatmin = wtran == KGR_WTRAN_MERC ? yb : -90;
    vp.bblatmax = wtran == KGR_WTRAN_MERC ? yt : 90;
    return vp;
}

void drawVectors(KGRMapData& md)
{
    static QColor red(Qt::red), blue(Qt::blue), green(Qt::green);
    KGR_Color outline[KGRMAPDATA_NLEVELS];
    int widths[KGRMAPDATA_NLEVELS], from[KGRMAPDATA_NLEVELS];
    for (int k = 0; k < KGRMAPDATA_NLEVELS; ++k) {
        outline[k] = KGR_Color{nullptr, &green};
        widths[k] = k % 3;
        from[k] = k % 2 - 1;
    }
    KGR_Color fill{nullptr, &red}, background{nullptr, &blue};
    KgrviewportItem views[] = {plot(KGR_WTRAN_GEOG, -540, 540, -90, 90),
                               plot(KGR_WTRAN_MERC, 100, 200, -50, 80),
                               plot(KGR_WTRAN_EDP, -180, 180, -180, 180)};
    QImage image(64, 48, QImage::Format_ARGB32);
    for (KgrviewportItem& vp : views) {
        QPainter painter(&image);
        md.drawVector(painter, &vp, ~0u, outline, widths, from, fill, background);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    application();
    static int fd = memfd_create("fuzz_render.kmd", 0);
    static char path[64];
    snprintf(path, sizeof path, "/proc/self/fd/%d", fd);
    if (fd < 0 || ftruncate(fd, 0) < 0 || pwrite(fd, data, size, 0) != ssize_t(size))
        return 0;
    static FILE* sink = fopen("/dev/null", "w");
    hx_set_complaint_stream(sink);
    try {
        KGRMapData md(path, 2);
        for (int r = 0; r < int(md.frame.nresolutions); ++r) {
            md.setResolution(r);
            if (md.frame.resolutions[r].map_type == HX_MAPDATA_GRID) {
                md.drawImage(24, 16, KGR_WTRAN_GEOG, -200, 200, -95, 95, 0, 0, 1, 0);
                md.drawImage(24, 16, KGR_WTRAN_MERC, -180, 180, -150, 150, 0, 0, 0.5, 0.2);
                md.drawImage(16, 24, KGR_WTRAN_EDP, -180, 180, -180, 180, 140, 35, 1, 0);
            } else {
                drawVectors(md);
            }
        }
    } catch (const char*) {
    }
    hx_clear_register(0);
    return 0;
}
