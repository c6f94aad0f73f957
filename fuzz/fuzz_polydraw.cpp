// The drawing engine on viewport records and points decoded from the input:
// path building, batched drawing and longitude wrapping must draw less on
// bad input (NaN, infinities, breaks, enormous values, degenerate views),
// never crash or hang, and never put a non-finite point into a path.
#include "kgrqt.h"

#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QPainterPath>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <vector>

namespace {

void app()
{
    static int argc = 1;
    static char name[] = "fuzz_polydraw";
    static char* argv[] = {name, nullptr};
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    static QGuiApplication* a = new QGuiApplication(argc, argv);
    (void)a;
}

// Reads the input as a stream of small decisions; past its end every read
// gives 0.
class Input {
public:
    Input(const uint8_t* data, size_t size) : data(data), size(size) {}

    uint8_t byte() { return pos < size ? data[pos++] : 0; }

    int16_t int16() { return int16_t(byte() | (byte() << 8)); }

    int choice(int n) { return byte() % n; }

    // A coordinate: mostly ordinary numbers, often one of the values that
    // drawing code must survive.
    double value()
    {
        const double inf = std::numeric_limits<double>::infinity();
        switch (byte() % 16) {
        case 0:
            return std::numeric_limits<double>::quiet_NaN();
        case 1:
            return inf;
        case 2:
            return -inf;
        case 3:
            return KGR_UNSET;
        case 4:
            return KGR_EMPTY;
        case 5:
            return 1e300;
        case 6:
            return -1e300;
        case 7:
            return 1e-300;
        case 8: {
            double d;
            uint8_t raw[8];
            for (uint8_t& b : raw)
                b = byte();
            memcpy(&d, raw, sizeof d);
            return d;
        }
        default:
            return int16() / 64.0;
        }
    }

    int dimension()
    {
        switch (byte() % 8) {
        case 0:
            return 1 << 24;
        case 1:
            return 0;
        default:
            return int16();
        }
    }

private:
    const uint8_t* data;
    size_t size;
    size_t pos = 0;
};

KgrviewportItem decodeViewport(Input& in)
{
    KgrviewportItem vp{};
    vp.w = in.dimension();
    vp.h = in.dimension();
    vp.mleft = in.choice(20);
    vp.mright = in.choice(20);
    vp.mbottom = in.choice(20);
    vp.mtop = in.choice(20);
    vp.header = Kgrheader{in.int16(), in.int16(), in.int16(), in.int16()};
    vp.xleft = in.value();
    vp.xright = in.value();
    vp.ybottom = in.value();
    vp.ytop = in.value();
    vp.xmode = in.choice(3);
    vp.ymode = in.choice(3);
    vp.wtran = in.choice(4);
    vp.latr = in.value();
    vp.lonr = in.value();
    return vp;
}

void checkFinite(const QPainterPath* path)
{
    for (int i = 0; path && i < path->elementCount(); i++) {
        QPainterPath::Element e = path->elementAt(i);
        if (!std::isfinite(e.x) || !std::isfinite(e.y))
            abort();
    }
}

void paint(QImage& image, const QPainterPath* path)
{
    if (!path)
        return;
    QPainter painter(&image);
    painter.setPen(QPen(Qt::black, 2));
    painter.setBrush(Qt::red);
    painter.drawPath(*path);
}

void buildPaths(Input& in, KgrviewportItem& vp, std::vector<double>& x, std::vector<double>& y,
                QImage& image)
{
    KGRPolyDraw draw(&vp, in.choice(2));
    QPainterPath* path = new QPainterPath;
    for (int run = in.choice(4); run >= 0; run--) {
        int from = x.empty() ? 0 : in.choice(int(x.size()));
        int n = int(x.size()) - from;
        path =
            draw.addPoints(path, n, x.data() + from, y.data() + from, in.choice(2), in.choice(2));
    }
    checkFinite(path);
    paint(image, path);
    delete path;
}

void drawBatched(Input& in, KgrviewportItem& vp, std::vector<double>& x, std::vector<double>& y,
                 QImage& image)
{
    QPainter painter(&image);
    kgrqt_poly_draw(painter, &vp, int(x.size()), x.data(), y.data(), in.choice(3), in.choice(2),
                    in.choice(2));
    // Segments given straight to the buffer, then the figure's flush.
    int fill = in.choice(2);
    for (int i = in.choice(8); i > 0; i--)
        kgrqt_buffer_draws(painter, fill, 0, &vp, in.choice(2) ? 0 : in.int16(),
                           in.choice(2) ? 0 : in.int16(), in.value(), in.value(), in.value(),
                           in.value(), 0);
    kgrqt_buffer_draws(painter, 0, 1, &vp, 0, 0, 0, 0, 0, 0, 0);
    kgrqt_buffer_draws(painter, 1, 1, &vp, 0, 0, 0, 0, 0, 0, 0);
}

void wrapLongitudes(Input& in, KgrviewportItem& vp, std::vector<double> x, std::vector<double> y,
                    QImage& image)
{
    QPainterPath* path =
        kgrqt_wrap_longitudes(&vp, int(x.size()), x.data(), y.data(), in.choice(2), in.choice(2));
    checkFinite(path);
    paint(image, path);
    delete path;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    app();
    Input in(data, size);
    KgrviewportItem vp = decodeViewport(in);
    std::vector<double> x, y;
    for (int n = in.choice(64); n > 0; n--) {
        x.push_back(in.value());
        y.push_back(in.value());
    }
    QImage image(32, 32, QImage::Format_ARGB32);
    image.fill(Qt::white);
    buildPaths(in, vp, x, y, image);
    drawBatched(in, vp, x, y, image);
    wrapLongitudes(in, vp, x, y, image);
    hx_clear_register(0);
    return 0;
}
