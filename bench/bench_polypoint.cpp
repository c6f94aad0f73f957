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

#include <algorithm>
#include <cmath>
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

// Pixels that differ between two images of one size.
int differing(const QImage& a, const QImage& b)
{
    int n = 0;
    for (int y = 0; y < a.height(); ++y) {
        const QRgb* pa = reinterpret_cast<const QRgb*>(a.constScanLine(y));
        const QRgb* pb = reinterpret_cast<const QRgb*>(b.constScanLine(y));
        for (int x = 0; x < a.width(); ++x)
            n += pa[x] != pb[x];
    }
    return n;
}

// The records' paths joined into one path per overlap level: a symbol's
// level is one above the highest level of the earlier symbols whose pixels
// it may touch (its outline's box grown by the pen and a pixel of
// antialiasing), so symbols of one level never touch and drawing level
// after level keeps every overlap in its order.
std::vector<QPainterPath> overlapLevels(const QList<KgrpolypointPointPath>& records)
{
    const int cell = 4, nx = kWidth / cell + 8, ny = kHeight / cell + 8;
    std::vector<int> top(nx * ny, 0);
    std::vector<QPainterPath> levels;
    for (const KgrpolypointPointPath& r : records) {
        const QRectF box = r.path->controlPointRect().adjusted(-3, -3, 3, 3);
        const int x1 = std::max(0, int(box.left()) / cell + 4),
                  x2 = std::min(nx - 1, int(box.right()) / cell + 4);
        const int y1 = std::max(0, int(box.top()) / cell + 4),
                  y2 = std::min(ny - 1, int(box.bottom()) / cell + 4);
        int level = 0;
        for (int y = y1; y <= y2; ++y)
            for (int x = x1; x <= x2; ++x)
                level = std::max(level, top[y * nx + x]);
        for (int y = y1; y <= y2; ++y)
            for (int x = x1; x <= x2; ++x)
                top[y * nx + x] = level + 1;
        if (level >= int(levels.size()))
            levels.resize(level + 1);
        levels[level].addPath(*r.path);
    }
    return levels;
}

// What Qt's raster engine alone takes for these pictures, after one kgrqt
// drawing of the symbols (same pen, brush and antialiasing):
//   /0 every hit-test path drawn on its own under one pen and brush, the
//      floor for drawing exactly these pixels symbol by symbol;
//   /1 the same paths joined into one path per overlap level (the same
//      picture; the label gives the differing pixels and the levels);
//   /2 a sprite of the symbol blitted at the centres rounded to pixels,
//      against drawing the symbol at those rounded centres (the label gives
//      the differing pixels: not the same picture).
void BM_Polypoint_rasterFloor(benchmark::State& state)
{
    const int symbol = static_cast<int>(state.range(0)), way = static_cast<int>(state.range(1));
    KgrqtScatter scatter(symbol);
    QImage reference(kWidth, kHeight, QImage::Format_ARGB32_Premultiplied);
    reference.fill(Qt::white);
    scatter.draw(reference);
    const QList<KgrpolypointPointPath>& records = *scatter.pp->polypoint.paths;
    const QPen pen(QBrush(QColor(0, 0, 0)), 1, Qt::SolidLine, Qt::SquareCap, Qt::BevelJoin);
    const QBrush brush(QColor(255, 128, 0));
    auto paint = [&](QImage& image, auto&& body) {
        image.fill(Qt::white);
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(pen);
        painter.setBrush(brush);
        body(painter);
    };
    // Anchors at whole pixels for the sprite: each path moved by less than
    // a pixel so that its box centre lands on one.
    std::vector<QPainterPath> aligned;
    std::vector<QPoint> corner;
    QImage sprite;
    if (way == 2) {
        const int m = kSize + 3;
        for (const KgrpolypointPointPath& r : records) {
            const QPointF a = r.path->controlPointRect().center();
            const QPoint whole(std::lround(a.x()), std::lround(a.y()));
            aligned.push_back(r.path->translated(QPointF(whole) - a));
            corner.push_back(whole - QPoint(m, m));
        }
        sprite = QImage(2 * m + 1, 2 * m + 1, QImage::Format_ARGB32_Premultiplied);
        sprite.fill(Qt::transparent);
        QPainter painter(&sprite);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(pen);
        painter.setBrush(brush);
        painter.drawPath(aligned[0].translated(QPointF(m, m) - QPointF(corner[0] + QPoint(m, m))));
        painter.end();
        paint(reference, [&](QPainter& p) {
            for (const QPainterPath& path : aligned)
                p.drawPath(path);
        });
    }
    QImage& image = target();
    size_t levels = 0;
    for (auto _ : state) {
        state.PauseTiming();
        image.fill(Qt::white);
        state.ResumeTiming();
        if (way == 0)
            paint(image, [&](QPainter& p) {
                for (const KgrpolypointPointPath& r : records)
                    p.drawPath(*r.path);
            });
        else if (way == 1)
            paint(image, [&](QPainter& p) {
                const std::vector<QPainterPath> joined = overlapLevels(records);
                levels = joined.size();
                for (const QPainterPath& path : joined)
                    p.drawPath(path);
            });
        else
            paint(image, [&](QPainter& p) {
                for (const QPoint& c : corner)
                    p.drawImage(c, sprite);
            });
        benchmark::DoNotOptimize(image.constBits());
    }
    const char* const ways[] = {"each path", "overlap levels", "sprite"};
    const std::string joined = levels ? ", " + std::to_string(levels) + " levels" : "";
    char label[128];
    snprintf(label, sizeof label, "%s, %s: %d pixels differ%s", kSymbolNames[symbol], ways[way],
             differing(image, reference), joined.c_str());
    state.SetLabel(label);
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
BENCHMARK(BM_Polypoint_rasterFloor)
    ->ArgsProduct({{0, 1, 2}, {0, 1, 2}})
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Polypoint_findClosest)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Polypoint_findInside)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Polypoint_searchGrid)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Polypoint_beachballs)->Unit(benchmark::kMillisecond);

} // namespace
