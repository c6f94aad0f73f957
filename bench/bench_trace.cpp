// Drawing a long noisy trace into a 1920 x 1080 image: the polyline item of
// this library (a first drawing, and redrawing after zoom and pan), side by
// side with QPainter::drawPolyline, Qwt's QwtPlotCurve and QCustomPlot's
// QCPGraph, with and without antialiasing, and one plain read of the
// samples, the floor that memory bandwidth sets. Each case is one drawing;
// the image is refilled outside the timed part. Run by tools/run-bench.sh.
//
// bench_trace --fidelity instead compares the drawings of every kind of
// test trace with the full drawing of every point, at 1M and 10M samples,
// and QCustomPlot's at 1M.
#include "kgrqt.h"
#include "kgrqt_trace.h"
#include "trace_compare.h"

#include <benchmark/benchmark.h>
#include <qcustomplot.h>
#include <qwt_plot_curve.h>
#include <qwt_scale_map.h>

#include <QApplication>
#include <QImage>
#include <QPainter>
#include <QPolygonF>

#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace {

const int kWidth = 1920, kHeight = 1080;
const QColor kInk(0xc0, 0x30, 0x10);

// White noise on a slow random walk, sampled at 100 Hz from an epoch time
// in 2023, as a seismometer channel would be.
struct Trace {
    std::vector<double> x, y;
    double x0, x1, y0, y1; // the whole trace, with a little room in y
};

const Trace& traceOf(int n)
{
    static std::map<int, std::unique_ptr<Trace>> traces;
    std::unique_ptr<Trace>& t = traces[n];
    if (!t) {
        t = std::make_unique<Trace>();
        std::mt19937 rng(20240601);
        std::normal_distribution<double> normal(0, 1);
        t->x.resize(n);
        t->y.resize(n);
        double walk = 0, lo = 0, hi = 0;
        for (int i = 0; i < n; ++i) {
            walk += 0.002 * normal(rng);
            t->x[i] = 1.7e9 + i * 0.01;
            t->y[i] = walk + 0.015 * normal(rng);
            lo = std::min(lo, t->y[i]);
            hi = std::max(hi, t->y[i]);
        }
        t->x0 = t->x.front();
        t->x1 = t->x.back();
        t->y0 = lo - 0.05 * (hi - lo);
        t->y1 = hi + 0.05 * (hi - lo);
    }
    return *t;
}

// Views of a redraw: parts of the whole x range, zoomed and panned.
const double kViews[][2] = {{0.25, 0.75}, {0.30, 0.80}, {0.10, 0.35}, {0.05, 0.95},
                            {0.40, 0.60}, {0.45, 0.65}, {0.00, 1.00}, {0.20, 0.95}};
const int kViewCount = sizeof kViews / sizeof kViews[0];

// The item on a viewport with no margins, on a time axis.
struct KgrqtScene {
    explicit KgrqtScene(const Trace& t) : trace(t)
    {
        KgrviewportItem& r = vp.viewport;
        r.w = kWidth;
        r.h = kHeight;
        r.xmode = KGR_MODE_TIME;
        show(0, 1);
        line = std::make_unique<KGRPolyline>(&vp);
        line->configure("outline", kInk.name().toLatin1().constData(), static_cast<char*>(nullptr));
        // The points as the item keeps them; the item frees them.
        const size_t bytes = t.x.size() * sizeof(double);
        line->polyline.npts = static_cast<int>(t.x.size());
        line->polyline.xpts = static_cast<double*>(malloc(bytes));
        line->polyline.ypts = static_cast<double*>(malloc(bytes));
        memcpy(line->polyline.xpts, t.x.data(), bytes);
        memcpy(line->polyline.ypts, t.y.data(), bytes);
    }
    void show(double from, double to)
    {
        KgrviewportItem& r = vp.viewport;
        r.xleft = trace.x0 + from * (trace.x1 - trace.x0);
        r.xright = trace.x0 + to * (trace.x1 - trace.x0);
        r.ybottom = trace.y0;
        r.ytop = trace.y1;
    }
    const Trace& trace;
    KGRViewport vp{nullptr};
    std::unique_ptr<KGRPolyline> line;
};

KgrqtScene& sceneOf(int n)
{
    static std::map<int, std::unique_ptr<KgrqtScene>> scenes;
    std::unique_ptr<KgrqtScene>& s = scenes[n];
    if (!s)
        s = std::make_unique<KgrqtScene>(traceOf(n));
    return *s;
}

// Runs draw(painter) once per iteration on a freshly filled image;
// prepare() runs untimed before each drawing.
template <class Painter = QPainter, class Prepare, class Draw>
void timeDrawing(benchmark::State& state, bool antialias, Prepare prepare, Draw draw)
{
    QImage image(kWidth, kHeight, QImage::Format_ARGB32_Premultiplied);
    for (auto _ : state) {
        state.PauseTiming();
        image.fill(Qt::white);
        prepare();
        state.ResumeTiming();
        Painter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing, antialias);
        draw(painter);
        painter.end();
    }
}

void readFloor(benchmark::State& state, int n)
{
    const Trace& t = traceOf(n);
    for (auto _ : state) {
        // Independent sums, so that memory and not adding sets the pace.
        double s[8] = {};
        const double* x = t.x.data();
        const double* y = t.y.data();
        int i = 0;
        for (; i + 4 <= n; i += 4)
            for (int k = 0; k < 4; ++k) {
                s[k] += x[i + k];
                s[4 + k] += y[i + k];
            }
        for (; i < n; ++i)
            s[0] += x[i] + y[i];
        double total = 0;
        for (double v : s)
            total += v;
        benchmark::DoNotOptimize(total);
    }
}

void kgrqtFirst(benchmark::State& state, int n, bool antialias)
{
    KgrqtScene& scene = sceneOf(n);
    scene.show(0, 1);
    timeDrawing(
        state, antialias, [&] { kgrqt_trace_forget(&scene.line->polyline); },
        [&](QPainter& p) { scene.line->draw(p); });
    state.counters["reduced"] = kgrqt_trace_last_stats().reduced;
    state.counters["summary_built"] = kgrqt_trace_last_stats().summary_built;
}

// The summary alone: the one pass over the data that a first drawing makes.
void kgrqtSummary(benchmark::State& state, int n)
{
    const Trace& t = traceOf(n);
    KgrqtTraceSummary summary;
    for (auto _ : state) {
        kgrqt_trace_summarize(&summary, t.x.data(), t.y.data(), n);
        benchmark::DoNotOptimize(summary.lo.data());
    }
    state.counters["summary_percent"] = 100.0 * summary.bytes() / (2.0 * n * sizeof(double));
}

void kgrqtRedraw(benchmark::State& state, int n, bool antialias)
{
    KgrqtScene& scene = sceneOf(n);
    // The summary is made by a first drawing, outside the timing.
    QImage image(kWidth, kHeight, QImage::Format_ARGB32_Premultiplied);
    QPainter first(&image);
    scene.show(0, 1);
    scene.line->draw(first);
    first.end();
    int view = 0;
    timeDrawing(
        state, antialias,
        [&] {
            const double* v = kViews[view++ % kViewCount];
            scene.show(v[0], v[1]);
        },
        [&](QPainter& p) { scene.line->draw(p); });
    state.counters["reduced"] = kgrqt_trace_last_stats().reduced;
    state.counters["summary_built"] = kgrqt_trace_last_stats().summary_built;
    scene.show(0, 1);
}

void plainPolyline(benchmark::State& state, int n, bool antialias)
{
    const Trace& t = traceOf(n);
    QPolygonF points(n);
    const double sx = kWidth / (t.x1 - t.x0), sy = kHeight / (t.y1 - t.y0);
    timeDrawing(
        state, antialias, [] {},
        [&](QPainter& p) {
            for (int i = 0; i < n; ++i)
                points[i] = QPointF((t.x[i] - t.x0) * sx, (t.y1 - t.y[i]) * sy);
            p.setPen(QPen(kInk, 1));
            p.drawPolyline(points);
        });
}

void qwtCurve(benchmark::State& state, int n, bool antialias)
{
    const Trace& t = traceOf(n);
    QwtPlotCurve curve;
    curve.setRawSamples(t.x.data(), t.y.data(), n);
    curve.setPen(QPen(kInk, 1));
    curve.setRenderHint(QwtPlotItem::RenderAntialiased, antialias);
    QwtScaleMap xMap, yMap;
    xMap.setScaleInterval(t.x0, t.x1);
    xMap.setPaintInterval(0, kWidth);
    yMap.setScaleInterval(t.y0, t.y1);
    yMap.setPaintInterval(kHeight, 0);
    timeDrawing(
        state, antialias, [] {},
        [&](QPainter& p) { curve.draw(&p, xMap, yMap, QRectF(0, 0, kWidth, kHeight)); });
}

// QCustomPlot's graph of a trace filling the whole image: no axes, no
// margins, one pen, the view given.
template <typename TraceData>
void setUpCustomPlotGraph(QCustomPlot& plot, const TraceData& t, bool antialias, double x0,
                          double x1, double y0, double y1)
{
    plot.resize(kWidth, kHeight);
    plot.axisRect()->setAutoMargins(QCP::msNone);
    plot.axisRect()->setMargins(QMargins(0, 0, 0, 0));
    plot.xAxis->setVisible(false);
    plot.yAxis->setVisible(false);
    plot.setAntialiasedElements(antialias ? QCP::aeAll : QCP::aeNone);
    plot.setNotAntialiasedElements(antialias ? QCP::aeNone : QCP::aeAll);
    QCPGraph* graph = plot.addGraph();
    graph->setPen(QPen(kInk, 1));
    graph->setAntialiased(antialias);
    graph->setData(QVector<double>(t.x.begin(), t.x.end()), QVector<double>(t.y.begin(), t.y.end()),
                   true);
    plot.xAxis->setRange(x0, x1);
    plot.yAxis->setRange(y0, y1);
}

void customPlotGraph(benchmark::State& state, int n, bool antialias)
{
    const Trace& t = traceOf(n);
    QCustomPlot plot;
    setUpCustomPlotGraph(plot, t, antialias, t.x0, t.x1, t.y0, t.y1);
    timeDrawing<QCPPainter>(
        state, antialias, [] {}, [&](QCPPainter& p) { plot.toPainter(&p, kWidth, kHeight); });
}

template <class... Args> void add(const std::string& name, Args&&... args)
{
    benchmark::RegisterBenchmark(name.c_str(), std::forward<Args>(args)...)
        ->Unit(benchmark::kMillisecond);
}

void registerAll()
{
    for (int n : {1000000, 10000000}) {
        const std::string size = n == 1000000 ? "1M" : "10M";
        add(size + "/read_floor", readFloor, n);
        add(size + "/kgrqt_summary_only", kgrqtSummary, n);
        for (bool aa : {false, true}) {
            const std::string prefix = size + (aa ? "/AA/" : "/noAA/");
            add(prefix + "kgrqt_first_draw", kgrqtFirst, n, aa);
            add(prefix + "kgrqt_redraw_zoom_pan", kgrqtRedraw, n, aa);
            add(prefix + "QPainter_drawPolyline", plainPolyline, n, aa);
            add(prefix + "Qwt_QwtPlotCurve", qwtCurve, n, aa);
            add(prefix + "QCustomPlot_QCPGraph", customPlotGraph, n, aa);
        }
    }
}

// ------------------------------------------------------------- fidelity

// A whole trace of one kind on a scene of its own, as the fidelity tests
// draw it: every point in view, y with 5% room.
struct FidelityScene {
    FidelityScene(const TestTrace& t) : trace(t)
    {
        KgrviewportItem& r = vp.viewport;
        r.w = kWidth;
        r.h = kHeight;
        r.xmode = KGR_MODE_TIME;
        const double room = 0.05 * (t.yhi - t.ylo);
        r.xleft = t.x.front();
        r.xright = t.x.back();
        r.ybottom = t.ylo - room;
        r.ytop = t.yhi + room;
        line = std::make_unique<KGRPolyline>(&vp);
        line->configure("outline", kInk.name().toLatin1().constData(), static_cast<char*>(nullptr));
        const size_t bytes = t.x.size() * sizeof(double);
        line->polyline.npts = static_cast<int>(t.x.size());
        line->polyline.xpts = static_cast<double*>(malloc(bytes));
        line->polyline.ypts = static_cast<double*>(malloc(bytes));
        memcpy(line->polyline.xpts, t.x.data(), bytes);
        memcpy(line->polyline.ypts, t.y.data(), bytes);
    }
    QImage image() const
    {
        QImage image(kWidth, kHeight, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::white);
        return image;
    }
    template <class Draw> QImage draw(bool antialias, Draw how)
    {
        QImage i = image();
        QPainter painter(&i);
        painter.setRenderHint(QPainter::Antialiasing, antialias);
        how(painter);
        return i;
    }
    const TestTrace& trace;
    KGRViewport vp{nullptr};
    std::unique_ptr<KGRPolyline> line;
};

QImage customPlotImage(const TestTrace& t, const KgrviewportItem& r, bool antialias)
{
    QCustomPlot plot;
    setUpCustomPlotGraph(plot, t, antialias, r.xleft, r.xright, r.ybottom, r.ytop);
    QImage image(kWidth, kHeight, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::white);
    QCPPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing, antialias);
    plot.toPainter(&painter, kWidth, kHeight);
    return image;
}

void printDifference(const char* who, const char* kind, long n, bool aa, const TraceDifference& d)
{
    printf("%-11s %-11s %9ld %-4s over64 %7.4f%%  differ %7.4f%%  mean %6.3f  stray %ld\n", who,
           kind, n, aa ? "AA" : "noAA", 100 * d.over64, 100 * d.differ, d.mean, d.strayInk);
}

// The reduced drawing and QCustomPlot's against the full drawing of every
// point (QPainter::drawPolyline), for every kind of test trace: the 10M
// cases that the test suite leaves out for time, and QCustomPlot at 1M.
int checkFidelity()
{
    const QRect area(0, 0, kWidth, kHeight);
    const QRgb paper = qRgb(255, 255, 255);
    for (long n : {1000000L, 10000000L})
        for (TraceKind kind : {Walk, Noise, Spikes, Steps, Flat, Gaps}) {
            const TestTrace t = makeTrace(kind, n, 11 + kind);
            FidelityScene scene(t);
            for (bool aa : {true, false}) {
                const QImage full =
                    scene.draw(aa, [&](QPainter& p) { drawFullTrace(p, &scene.line->polyline); });
                const QImage reduced = scene.draw(aa, [&](QPainter& p) { scene.line->draw(p); });
                printDifference("kgrqt", kKindNames[kind], n, aa,
                                compareTraces(full, reduced, area, paper));
                if (!aa) {
                    kgrqt_trace_tuning().enabled = false;
                    const QImage whole = scene.draw(aa, [&](QPainter& p) { scene.line->draw(p); });
                    kgrqt_trace_tuning().enabled = true;
                    printDifference("kgrqt/whole", kKindNames[kind], n, aa,
                                    compareTraces(whole, reduced, area, paper));
                    printDifference("whole", kKindNames[kind], n, aa,
                                    compareTraces(full, whole, area, paper));
                }
                if (n == 1000000L)
                    printDifference("QCustomPlot", kKindNames[kind], n, aa,
                                    compareTraces(full, customPlotImage(t, scene.vp.viewport, aa),
                                                  area, paper));
            }
        }
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    QApplication app(argc, argv);
    if (argc > 1 && strcmp(argv[1], "--fidelity") == 0)
        return checkFidelity();
    registerAll();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
