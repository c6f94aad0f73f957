// Map data: grid images of the Blue Marble and of the relief into
// 1920 x 1080 under the equidistant projection on two row workers, the
// intermediate coastlines over the whole world under "geog", and opening
// each built file. Reads the files kgrqt-mapdata built
// ($KGRQT_MAPDATA_DIR, else /opt/larkspur/data/maps/kmd). Run by
// tools/run-bench.sh, which also times gdalwarp on the same image job. The
// grid cases report the CPU time of the whole process (both workers).
#include "kgrqt.h"

#include <benchmark/benchmark.h>

#include <QApplication>
#include <QImage>
#include <QPainter>

#include <cstdlib>
#include <string>

namespace {

const int kWidth = 1920, kHeight = 1080;

std::string mapFile(const char* name)
{
    const char* dir = getenv("KGRQT_MAPDATA_DIR");
    return std::string(dir && *dir ? dir : "/opt/larkspur/data/maps/kmd") + "/" + name;
}

// An equidistant view about (40 N, 10 E), 340 degrees of arc across.
void drawGridEdp(benchmark::State& state, const char* file)
{
    std::string path = mapFile(file);
    KGRMapData md(const_cast<char*>(path.c_str()), 2);
    const double half_w = 170, half_h = 170.0 * kHeight / kWidth;
    md.setResolution(2 * half_w / kWidth);
    for (auto _ : state) {
        QImage* image = md.drawImage(kWidth, kHeight, KGR_WTRAN_EDP, -half_w, half_w, -half_h,
                                     half_h, 10, 40, 1.0, 0);
        benchmark::DoNotOptimize(image);
    }
    state.counters["resolution"] = md.resolution;
    state.counters["cache_MB"] = md.cacheSize() / 1e6;
}

void BM_DrawImageBlueMarbleEdp(benchmark::State& state)
{
    drawGridEdp(state, "bluemarble.world.200407.v01.grid.kmd");
}

void BM_DrawImageReliefEdp(benchmark::State& state)
{
    drawGridEdp(state, "srtm30.dem.world.v01.grid.kmd");
}

// The coasts layer as the map draws it: land and water fills, black
// outline of level 1, whole world, one pixel per 0.1875 degrees.
void BM_DrawVectorCoastsGeog(benchmark::State& state)
{
    std::string path = mapFile("coasts.vector.kmd");
    KGRMapData md(const_cast<char*>(path.c_str()), 1);
    md.setResolution(int(state.range(0)));
    KgrviewportItem vp{};
    vp.w = kWidth;
    vp.h = kHeight;
    vp.header = Kgrheader{0, 0, kWidth, kHeight};
    vp.xleft = -180;
    vp.xright = 180;
    vp.ybottom = -90;
    vp.ytop = 90;
    vp.xgain = vp.ygain = 1;
    vp.wtran = KGR_WTRAN_GEOG;
    vp.bblatmin = -90;
    vp.bblatmax = 90;
    QColor land("#fff2e5"), water("#e0e0ff"), black(Qt::black);
    KGR_Color fill{nullptr, &land}, background{nullptr, &water};
    KGR_Color outline[KGRMAPDATA_NLEVELS]{};
    int widths[KGRMAPDATA_NLEVELS];
    for (int& w : widths)
        w = -1;
    outline[0].color = &black;
    widths[0] = 1;
    QImage image(kWidth, kHeight, QImage::Format_ARGB32_Premultiplied);
    for (auto _ : state) {
        state.PauseTiming();
        image.fill(water);
        state.ResumeTiming();
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing, true);
        md.drawVector(painter, &vp, 1u, outline, widths, nullptr, background, fill);
    }
}

// setInput of a file whose pages the system may already hold: mapping and
// checking the records, not reading the whole file.
void BM_SetInput(benchmark::State& state, const char* file)
{
    std::string path = mapFile(file);
    for (auto _ : state) {
        HXMapData md;
        if (md.setInput(path.c_str(), 0) < 0)
            state.SkipWithError("setInput failed");
    }
}

} // namespace

BENCHMARK(BM_DrawImageBlueMarbleEdp)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime();
BENCHMARK(BM_DrawImageReliefEdp)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime();
BENCHMARK(BM_DrawVectorCoastsGeog)->Arg(0)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_SetInput, coasts, "coasts.vector.kmd")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_SetInput, political, "political.vector.kmd")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_SetInput, rivers, "rivers.vector.kmd")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_SetInput, bluemarble, "bluemarble.world.200407.v01.grid.kmd")
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_SetInput, relief, "srtm30.dem.world.v01.grid.kmd")
    ->Unit(benchmark::kMillisecond);
