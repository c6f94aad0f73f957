// Drawing 100000 point symbols (circles, triangles, stars) into a
// 1920 x 1080 image with the polypoint item, side by side with a QCustomPlot
// scatter graph of the same points and symbol size, both antialiased; and
// the two symbol searches over the 100000 hit-test records of one drawing;
// and 10000 beach balls whose outlines come from the tensor cache.
// Run by tools/run-bench.sh.
#include "kgrqt.h"

#include <benchmark/benchmark.h>
#include <qcustomplot.h>

#include <QApplication>
#include <QGridLayout>
#include <QImage>
#include <QPainter>

#include <cstdlib>
#include <random>
#include <string>
#include <vector>

namespace {

const int kWidth = 1920, kHeight = 1080, kPoints = 100000, kSize = 4;
const char* const kEndArgs = nullptr;

QImage& target()
{
    static QImage image(kWidth, kHeight, QImage::Format_ARGB32_Premultiplied);
    return image;
}

// The same points for every case: uniform over the unit square.
struct Points {
    Points() : x(kPoints), y(kPoints)
    {
        std::mt19937 random(12345);
        std::uniform_real_distribution<double> u(0.0, 1.0);
        for (int i = 0; i < kPoints; ++i) {
            x[i] = u(random);
            y[i] = u(random);
        }
    }
    std::vector<double> x, y;
};

const Points& points()
{
    static Points p;
    return p;
}

const char* const kSymbolNames[] = {"circle", "triangle", "star"};

struct KgrqtScatter {
    explicit KgrqtScatter(int symbol)
    {
        vp.resize(kWidth, kHeight);
        vp.configure("margin", "0 0 0 0", "xleft", "0", "xright", "1", "ybottom", "0", "ytop", "1",
                     kEndArgs);
        vp.layout->activate();
        hxvector_create("bench_points", HXVECTOR_PLAIN);
        hxvector_add_points("bench_points", kPoints, points().x.data(), points().y.data(), nullptr);
        pp = new KGRPolypoint(&vp);
        char size[16];
        snprintf(size, sizeof size, "%d", kSize);
        pp->configure("vector", "bench_points", "symbol", kSymbolNames[symbol], "fill", "#ff8000",
                      "outline", "#000000", "size", size, kEndArgs);
        // A hidden widget learns its size when it is first rendered.
        QImage once(kWidth, kHeight, QImage::Format_ARGB32_Premultiplied);
        vp.render(&once);
        if (pp->polypoint.npts != kPoints || vp.viewport.w != kWidth)
            abort();
    }
    ~KgrqtScatter() { hxvector_free("bench_points"); }
    void draw(QImage& image)
    {
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        pp->draw(painter);
    }

    KGRViewport vp{nullptr};
    KGRPolypoint* pp = nullptr;
};

struct CustomPlotScatter {
    explicit CustomPlotScatter(int symbol)
    {
        static const QCPScatterStyle::ScatterShape shapes[] = {
            QCPScatterStyle::ssCircle, QCPScatterStyle::ssTriangle, QCPScatterStyle::ssStar};
        plot.resize(kWidth, kHeight);
        plot.plotLayout()->setMargins(QMargins(0, 0, 0, 0));
        plot.axisRect()->setAutoMargins(QCP::msNone);
        plot.axisRect()->setMargins(QMargins(0, 0, 0, 0));
        plot.xAxis->setVisible(false);
        plot.yAxis->setVisible(false);
        plot.xAxis->setRange(0, 1);
        plot.yAxis->setRange(0, 1);
        QCPGraph* graph = plot.addGraph();
        graph->setLineStyle(QCPGraph::lsNone);
        // Its size is the symbol's diameter; ours is the half-width.
        graph->setScatterStyle(QCPScatterStyle(shapes[symbol], QPen(Qt::black),
                                               QBrush(QColor(255, 128, 0)), 2 * kSize));
        QVector<double> x(points().x.begin(), points().x.end());
        QVector<double> y(points().y.begin(), points().y.end());
        graph->setData(x, y);
    }
    void draw(QImage& image)
    {
        plot.replot(QCustomPlot::rpImmediateRefresh);
        QCPPainter painter(&image);
        plot.toPainter(&painter, kWidth, kHeight);
    }

    QCustomPlot plot;
};

template <class Scatter> void drawScatter(benchmark::State& state)
{
    Scatter scatter(static_cast<int>(state.range(0)));
    QImage& image = target();
    for (auto _ : state) {
        state.PauseTiming();
        image.fill(Qt::white);
        state.ResumeTiming();
        scatter.draw(image);
        benchmark::DoNotOptimize(image.constBits());
    }
    state.SetLabel(kSymbolNames[state.range(0)]);
}

void BM_Polypoint_kgrqt(benchmark::State& state)
{
    drawScatter<KgrqtScatter>(state);
}
void BM_Polypoint_QCustomPlot(benchmark::State& state)
{
    drawScatter<CustomPlotScatter>(state);
}

// The searches after one drawing of 100000 circles, at query pixels spread
// over the image.
void BM_Polypoint_findClosest(benchmark::State& state)
{
    KgrqtScatter scatter(0);
    scatter.draw(target());
    int i = 0, ipt = -1, inside = 0;
    double d = 0;
    // The first search after a drawing builds the grid (timed below).
    scatter.pp->findClosest(0, 0, &ipt, &d, &inside);
    for (auto _ : state) {
        scatter.pp->findClosest((i * 37) % kWidth, (i * 53) % kHeight, &ipt, &d, &inside);
        benchmark::DoNotOptimize(ipt);
        ++i;
    }
}

void BM_Polypoint_findInside(benchmark::State& state)
{
    KgrqtScatter scatter(0);
    scatter.draw(target());
    delete scatter.pp->findInside(0, 0); // builds the grid
    int i = 0;
    for (auto _ : state) {
        QList<int>* in = scatter.pp->findInside((i * 37) % kWidth, (i * 53) % kHeight);
        benchmark::DoNotOptimize(in->size());
        delete in;
        ++i;
    }
}

// 10000 beach balls of size 8 (100 distinct tensors, so every one after
// the first load comes from the cache), fill, node fill and outline.
void BM_Polypoint_beachballs(benchmark::State& state)
{
    const int n = 10000, tensors = 100;
    std::vector<std::string> text(n);
    std::vector<const char*> labels(n);
    for (int i = 0; i < n; ++i) {
        const int k = i % tensors;
        char buffer[128];
        snprintf(buffer, sizeof buffer, "{sy=bb,%d,%d,%d,%d,%d,%d}", k % 7 - 3, k % 5 - 2,
                 (k % 7 - 3) - (k % 5 - 2), 1 + k % 3, k % 4 - 1, 2 - k % 6);
        text[i] = buffer;
        labels[i] = text[i].c_str();
    }
    KGRViewport vp{nullptr};
    vp.resize(kWidth, kHeight);
    vp.configure("margin", "0 0 0 0", "xleft", "0", "xright", "1", "ybottom", "0", "ytop", "1",
                 kEndArgs);
    vp.layout->activate();
    hxvector_create("bench_balls", HXVECTOR_PLAIN);
    hxvector_add_points("bench_balls", n, points().x.data(), points().y.data(), labels.data());
    auto* pp = new KGRPolypoint(&vp);
    pp->configure("vector", "bench_balls", "fill", "#ffffff", "fill_nodes", "#ff0000", "outline",
                  "#000000", "size", "8", kEndArgs);
    QImage& image = target();
    {
        // A hidden widget learns its size when it is first rendered.
        QImage once(kWidth, kHeight, QImage::Format_ARGB32_Premultiplied);
        vp.render(&once);
    }
    if (pp->polypoint.npts != n || pp->polypoint.point[0].symbol != KGR_SYMBOL_BEACHBALL)
        abort();
    for (auto _ : state) {
        state.PauseTiming();
        image.fill(Qt::white);
        state.ResumeTiming();
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        pp->draw(painter);
        benchmark::DoNotOptimize(image.constBits());
    }
    hxvector_free("bench_balls");
}

// Building the search grid over the 100000 records of one drawing, which
// the first search after each drawing pays.
void BM_Polypoint_searchGrid(benchmark::State& state)
{
    KgrqtScatter scatter(0);
    scatter.draw(target());
    for (auto _ : state) {
        KgrqtSymbolGrid grid(scatter.pp->polypoint.paths);
        benchmark::DoNotOptimize(grid.indexes(scatter.pp->polypoint.paths));
    }
}

BENCHMARK(BM_Polypoint_kgrqt)->DenseRange(0, 2)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Polypoint_QCustomPlot)->DenseRange(0, 2)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Polypoint_findClosest)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Polypoint_findInside)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Polypoint_searchGrid)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Polypoint_beachballs)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv)
{
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    QApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
