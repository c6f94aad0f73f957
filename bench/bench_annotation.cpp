// Drawing the annotation of a 1920 x 1080 plot: a box with tics and
// labels, a grid of major and minor lines and a time axis of one day, with
// no data, so that only axes, grid and text are timed. The viewport with
// its axes and grid items, side by side with QCustomPlot (a date-time
// ticker, its grid with sub-grid lines) and Qwt (a date scale engine and
// draw, QwtPlotGrid with minor lines), each rendered into the same image.
// Run by tools/run-bench.sh.
#include "kgrqt.h"

#include <benchmark/benchmark.h>
#include <qcustomplot.h>
#include <qwt_date.h>
#include <qwt_date_scale_draw.h>
#include <qwt_date_scale_engine.h>
#include <qwt_plot.h>
#include <qwt_plot_grid.h>
#include <qwt_plot_renderer.h>

#include <QApplication>
#include <QFont>
#include <QGridLayout>
#include <QImage>
#include <QPainter>

#include <cstdlib>

namespace {

const int kWidth = 1920, kHeight = 1080;
// One day from 2026-03-01 00:00 UTC.
const double kStart = 1772323200.0, kEnd = kStart + 86400.0;
const char* const kEndArgs = nullptr;

QImage& target()
{
    static QImage image(kWidth, kHeight, QImage::Format_ARGB32_Premultiplied);
    return image;
}

struct KgrqtFrame {
    KgrqtFrame()
    {
        vp.resize(kWidth, kHeight);
        vp.configure("fill", "white", "fill_frame", "white", "margin", "80 30 70 30", "xmode",
                     "time", "xleft", "1772323200", "xright", "1772409600", "ybottom", "-1", "ytop",
                     "1", kEndArgs);
        grid = new KGRGrid(&vp);
        grid->configure("mindx", "100", kEndArgs);
        axes = new KGRAxes(&vp);
        axes->configure("xformat", "time", "xlabel", "Time (UTC)", "ylabel", "Counts", kEndArgs);
        vp.layout->activate();
    }
    void draw(QImage& image) { vp.render(&image); }

    KGRViewport vp{nullptr};
    KGRGrid* grid = nullptr;
    KGRAxes* axes = nullptr;
};

struct CustomPlotFrame {
    CustomPlotFrame()
    {
        plot.resize(kWidth, kHeight);
        QSharedPointer<QCPAxisTickerDateTime> ticker(new QCPAxisTickerDateTime);
        ticker->setDateTimeSpec(Qt::UTC);
        ticker->setDateTimeFormat("hh:mm");
        plot.xAxis->setTicker(ticker);
        plot.xAxis->setRange(kStart, kEnd);
        plot.yAxis->setRange(-1, 1);
        plot.xAxis->setLabel("Time (UTC)");
        plot.yAxis->setLabel("Counts");
        plot.xAxis->grid()->setSubGridVisible(true);
        plot.yAxis->grid()->setSubGridVisible(true);
        plot.xAxis2->setVisible(true);
        plot.yAxis2->setVisible(true);
        plot.xAxis2->setTickLabels(false);
        plot.yAxis2->setTickLabels(false);
    }
    void draw(QImage& image)
    {
        plot.replot(QCustomPlot::rpImmediateRefresh);
        QCPPainter painter(&image);
        plot.toPainter(&painter, kWidth, kHeight);
    }

    QCustomPlot plot;
};

struct QwtFrame {
    QwtFrame()
    {
        plot.resize(kWidth, kHeight);
        plot.setCanvasBackground(Qt::white);
        auto* engine = new QwtDateScaleEngine(Qt::UTC);
        plot.setAxisScaleEngine(QwtPlot::xBottom, engine);
        plot.setAxisScaleDraw(QwtPlot::xBottom, new QwtDateScaleDraw(Qt::UTC));
        plot.setAxisScale(QwtPlot::xBottom, QwtDate::toDouble(QwtDate::toDateTime(kStart * 1000)),
                          QwtDate::toDouble(QwtDate::toDateTime(kEnd * 1000)));
        plot.setAxisScale(QwtPlot::yLeft, -1, 1);
        plot.setAxisTitle(QwtPlot::xBottom, "Time (UTC)");
        plot.setAxisTitle(QwtPlot::yLeft, "Counts");
        grid.enableXMin(true);
        grid.enableYMin(true);
        grid.setMajorPen(Qt::darkGray, 1);
        grid.setMinorPen(Qt::lightGray, 1);
        grid.attach(&plot);
        plot.replot();
    }
    ~QwtFrame() { grid.detach(); }
    void draw(QImage& image)
    {
        QPainter painter(&image);
        renderer.render(&plot, &painter, QRectF(0, 0, kWidth, kHeight));
    }

    QwtPlot plot;
    QwtPlotGrid grid;
    QwtPlotRenderer renderer;
};

template <class Frame> void drawFrame(benchmark::State& state)
{
    Frame frame;
    QImage& image = target();
    for (auto _ : state) {
        state.PauseTiming();
        image.fill(Qt::white);
        state.ResumeTiming();
        frame.draw(image);
        benchmark::DoNotOptimize(image.constBits());
    }
}

void BM_Annotation_kgrqt(benchmark::State& state)
{
    drawFrame<KgrqtFrame>(state);
}
void BM_Annotation_QCustomPlot(benchmark::State& state)
{
    drawFrame<CustomPlotFrame>(state);
}
void BM_Annotation_Qwt(benchmark::State& state)
{
    drawFrame<QwtFrame>(state);
}

BENCHMARK(BM_Annotation_kgrqt)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Annotation_QCustomPlot)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Annotation_Qwt)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv)
{
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    QApplication app(argc, argv);
    // The same font everywhere, whatever the machine has.
    QFont::insertSubstitution("Helvetica", "DejaVu Sans");
    QApplication::setFont(QFont("DejaVu Sans", 10));
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
