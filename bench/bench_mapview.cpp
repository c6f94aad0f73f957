// kgrqt-map's view at 1920 x 1080: a full redraw of the default map (the
// Blue Marble under "edp" about (20 N, 0 E) with borders and rivers, the
// graticule, the logo and the buttons), at the default 360 degrees of arc
// across and at the 288 degrees that GMT can draw too
// (tools/time_gmt_map.sh), and a pan of the vector layers alone (borders
// and rivers, undecorated): each frame moves the view by a few pixels and
// redraws every map layer. The parts of the default map are timed alone
// too. Reads the files kgrqt-mapdata built
// ($KGRQT_MAPDATA_DIR, else /opt/larkspur/data/maps/kmd). Real time is
// what a user waits for; the process CPU time (all workers) is reported
// beside it.
#include "MapView.h"
#include "map_options.h"

#include "kgrqt.h"

#include <benchmark/benchmark.h>

#include <QApplication>
#include <QImage>

#include <cstdlib>
#include <ctime>
#include <string>

namespace {

const int kWidth = 1920, kHeight = 1080;

double processSeconds()
{
    timespec t;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
    return t.tv_sec + t.tv_nsec * 1e-9;
}

// Runs frames of a view, each with the map layers made stale first, and
// reports the CPU time of the process per frame.
template <class Step> void frames(benchmark::State& state, MapView& view, Step step)
{
    view.render(); // opens the files and fills the tile cache
    const double cpu0 = processSeconds();
    for (auto _ : state) {
        step();
        view.map()->setMaplayersStale();
        QImage image = view.render();
        benchmark::DoNotOptimize(image.bits());
    }
    state.counters["cpu_ms"] =
        benchmark::Counter((processSeconds() - cpu0) * 1e3 / state.iterations());
}

MapSetup setupOf(bool decorations, std::vector<std::string> layers)
{
    MapSetup setup;
    setup.mapdata = map_default_mapdata();
    setup.decorations = decorations;
    setup.layersGiven = !layers.empty();
    setup.layers = std::move(layers);
    return setup;
}

// The default map; range(0) is the zoom in hundredths.
void BM_MapFullRedraw(benchmark::State& state)
{
    MapView view(kWidth, kHeight, setupOf(true, {}));
    MapHome home;
    home.zoom = state.range(0) / 100.0;
    view.setHome(home);
    frames(state, view, [] {});
}

// One part of the default map alone, undecorated: range(0) 0 the Blue
// Marble, 1 borders and rivers.
void BM_MapPartRedraw(benchmark::State& state)
{
    const bool image = state.range(0) == 0;
    MapView view(kWidth, kHeight,
                 setupOf(false, image ? std::vector<std::string>{"bluemarble"}
                                      : std::vector<std::string>{"political", "rivers"}));
    frames(state, view, [] {});
}

// A drag of the vector layers: the view follows the pointer by 7 pixels a
// frame, back and forth across 140 pixels.
void BM_MapVectorPan(benchmark::State& state)
{
    MapView view(kWidth, kHeight, setupOf(false, {"political", "rivers"}));
    int frame = 0;
    frames(state, view, [&] {
        const int phase = frame++ % 40;
        const int dx = 7 * (phase < 20 ? phase : 40 - phase);
        view.viewport()->configure("xtranslate", std::to_string(dx).c_str(),
                                   static_cast<char*>(nullptr));
    });
}

} // namespace

BENCHMARK(BM_MapFullRedraw)->Arg(100)->Arg(125)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_MapPartRedraw)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_MapVectorPan)->Unit(benchmark::kMillisecond)->UseRealTime();
