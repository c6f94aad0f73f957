// The map item with its default layers (Blue Marble, borders, rivers; and
// with the filled coastlines instead of the image) redrawn into
// 1920 x 1080 after a navigation step: every map layer stale, the viewport
// rendered. Grid images on two row workers. Reads the files kgrqt-mapdata
// built ($KGRQT_MAPDATA_DIR, else /opt/larkspur/data/maps/kmd).
#include "kgrqt.h"

#include <benchmark/benchmark.h>

#include <QApplication>
#include <QImage>

#include <cstdlib>

namespace {

const int kWidth = 1920, kHeight = 1080;

// wtran "geog" shows the whole world, "edp" 340 degrees of arc about
// (40 N, 10 E); coasts replaces the image by the filled coastlines.
void redraw(benchmark::State& state, const char* wtran, bool coasts)
{
    KGRViewport vp(nullptr);
    vp.resize(kWidth, kHeight);
    const bool edp = wtran[0] == 'e';
    vp.configure("wtran", wtran, "latr", "40", "lonr", "10", "xleft", edp ? "-170" : "-180",
                 "xright", edp ? "170" : "180", "ybottom", "-90", "ytop", "90",
                 static_cast<char*>(nullptr));
    auto* map = new KGRMap(&vp);
    map->configure("nthreads", "2", static_cast<char*>(nullptr));
    if (coasts)
        map->configure("maplayer_hide", "bluemarble", "maplayer_show", "coasts",
                       static_cast<char*>(nullptr));
    QImage image(kWidth, kHeight, QImage::Format_ARGB32_Premultiplied);
    vp.render(&image);
    for (auto _ : state) {
        map->setMaplayersStale();
        vp.render(&image);
    }
}

void BM_MapRedrawGeog(benchmark::State& state)
{
    redraw(state, "geog", false);
}

void BM_MapRedrawEdp(benchmark::State& state)
{
    redraw(state, "edp", false);
}

void BM_MapRedrawCoastsGeog(benchmark::State& state)
{
    redraw(state, "geog", true);
}

void BM_MapRedrawCoastsEdp(benchmark::State& state)
{
    redraw(state, "edp", true);
}

} // namespace

BENCHMARK(BM_MapRedrawGeog)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime();
BENCHMARK(BM_MapRedrawEdp)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime();
BENCHMARK(BM_MapRedrawCoastsGeog)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MapRedrawCoastsEdp)->Unit(benchmark::kMillisecond);
