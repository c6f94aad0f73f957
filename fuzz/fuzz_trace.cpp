// Long-trace reduction with arbitrary points and views: the summary's
// extremes of any range must be those of the samples, and the reduced
// drawing must never crash or hang, whatever the values (breaks, NaN,
// infinities, huge numbers), the order of x, the view and the pen.
#include "fuzz_input.h"
#include "kgrqt.h"
#include "kgrqt_trace.h"

#include <QApplication>
#include <QImage>
#include <QPainter>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

const double kSpecials[] = {KGR_UNSET, -KGR_UNSET, 0.0,    1e300, -1e300,
                            NAN,       INFINITY,   1e-300, 5.0,   -5.0};

// A double that is often a plain number and sometimes a special one.
struct Input : FuzzInput {
    double number() { return FuzzInput::number<int8_t>(kSpecials, 20, 200, 8.0); }
};

QApplication* application()
{
    static int argc = 1;
    static char name[] = "fuzz_trace";
    static char* argv[] = {name, nullptr};
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    static QApplication* app = new QApplication(argc, argv);
    return app;
}

// The summary against reading every sample.
void checkRanges(Input& in, const std::vector<double>& x, const std::vector<double>& y)
{
    const long n = static_cast<long>(y.size());
    KgrqtTraceSummary s;
    kgrqt_trace_summarize(&s, x.data(), y.data(), n);
    for (int k = 0; k < 8 && n > 0; ++k) {
        long from = in.take<uint16_t>() % n, to = in.take<uint16_t>() % (n + 1);
        if (from >= to)
            continue;
        KgrqtTraceExtremes e;
        bool plain = true;
        long lo = from, hi = from;
        for (long i = from; i < to; ++i) {
            plain = plain && std::fabs(y[i]) < KGR_UNSET;
            lo = y[i] < y[lo] ? i : lo;
            hi = y[i] > y[hi] ? i : hi;
        }
        const bool found = kgrqt_trace_range(s, from, to, &e);
        if (found != plain ||
            (found && (e.loAt != lo || e.hiAt != hi || e.lo != y[lo] || e.hi != y[hi])))
            abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    application();
    Input in{{data, size}};
    kgrqt_trace_tuning().min_points = 2;
    kgrqt_trace_tuning().dense_points = 2 + in.take<uint8_t>() % 8;

    // Mostly increasing x, as a time history is, with occasional steps back.
    const long n = 2 + in.take<uint16_t>() % 3000;
    std::vector<double> x(n), y(n);
    double t = in.number();
    const double step = in.take<uint8_t>() / 16.0;
    for (long i = 0; i < n; ++i) {
        const uint8_t kind = in.size ? in.take<uint8_t>() : 0;
        t = kind == 255 ? in.number() : t + step;
        x[i] = t;
        y[i] = kind == 254 ? in.number() : in.size ? in.take<int8_t>() / 4.0 : std::sin(i * 0.1);
    }
    checkRanges(in, x, y);

    KGRViewport viewport(nullptr);
    KgrviewportItem& r = viewport.viewport;
    r.w = 3 + in.take<uint16_t>() % 2000;
    r.h = 3 + in.take<uint8_t>();
    r.mleft = in.take<int8_t>() % 8;
    r.mtop = in.take<int8_t>() % 8;
    r.xleft = in.number();
    r.xright = in.number();
    r.ybottom = in.number();
    r.ytop = in.number();
    KGRPolyline line(&viewport);
    line.polyline.npts = static_cast<int>(n);
    line.polyline.xpts = static_cast<double*>(malloc(n * sizeof(double)));
    line.polyline.ypts = static_cast<double*>(malloc(n * sizeof(double)));
    memcpy(line.polyline.xpts, x.data(), n * sizeof(double));
    memcpy(line.polyline.ypts, y.data(), n * sizeof(double));
    char width[8];
    snprintf(width, sizeof width, "%d", in.take<uint8_t>() % 6);
    line.configure("outline", "black", "linewidth", width, static_cast<char*>(nullptr));

    QImage image(64, 48, QImage::Format_ARGB32_Premultiplied);
    for (bool antialias : {true, false}) {
        image.fill(Qt::white);
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing, antialias);
        line.draw(painter);
    }
    kgrqt_trace_tuning() = KgrqtTraceTuning();
    hx_clear_register(0);
    return 0;
}
