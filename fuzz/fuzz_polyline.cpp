// Viewports and polylines with arbitrary records and points: the
// transforms and the drawing must never crash or hang, whatever the sizes,
// margins, modes, bounds, pans, gains and coordinates.
#include "fuzz_input.h"
#include "kgrqt.h"

#include <QApplication>
#include <QImage>
#include <QList>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

const double kSpecials[] = {KGR_UNSET, -KGR_UNSET, 0.0,       1e300, -1e300,
                            NAN,       INFINITY,   -INFINITY, 90.0,  -90.0};

// A double that is often a plain number and sometimes a special one.
struct Input : FuzzInput {
    double number() { return FuzzInput::number<int16_t>(kSpecials, 40, 160, 16.0); }
};

QApplication* application()
{
    static int argc = 1;
    static char name[] = "fuzz_polyline";
    static char* argv[] = {name, nullptr};
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    static QApplication* app = new QApplication(argc, argv);
    return app;
}

void setNumber(KGRConfigure* object, const char* option, double value)
{
    char text[64];
    snprintf(text, sizeof text, "%.17g", value);
    object->configure(option, text, static_cast<char*>(nullptr));
}

// The module-level conversions straight on a record.
void exerciseTransforms(Input& in, KgrviewportItem vp)
{
    double a = 0, b = 0;
    for (int i = 0; i < 4; ++i) {
        double wx = in.number(), wy = in.number();
        int noproj = in.take<uint8_t>() & 1, noscale = in.take<uint8_t>() & 1;
        kgrqt_get_pcoords(&vp, wx, wy, &a, &b, noproj, noscale);
        kgrqt_get_wcoords(&vp, wx, wy, &a, &b, noproj, noscale);
    }
    kgrqt_translate_and_gain(&vp, in.number(), in.number(), in.take<int16_t>(), in.take<int16_t>(),
                             in.number(), in.number());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    application();
    Input in{{data, size}};
    static const char* const modes[] = {"lin", "log", "time"};
    static const char* const trans[] = {"none", "edp", "merc", "geog"};

    KGRViewport viewport(nullptr);
    KGRPolyline line(&viewport);
    viewport.resize(64, 48);
    // Sizes from 0 to 100000 pixels wide, margins possibly negative.
    char text[64];
    snprintf(text, sizeof text, "%d", in.take<uint16_t>() % 100001);
    viewport.configure("width", text, static_cast<char*>(nullptr));
    snprintf(text, sizeof text, "%d", in.take<uint8_t>() % 64);
    viewport.configure("height", text, static_cast<char*>(nullptr));
    snprintf(text, sizeof text, "%d %d %d %d", in.take<int8_t>(), in.take<int8_t>(),
             in.take<int8_t>(), in.take<int8_t>());
    viewport.configure("margin", text, "xmode", modes[in.take<uint8_t>() % 3], "ymode",
                       modes[in.take<uint8_t>() % 3], "wtran", trans[in.take<uint8_t>() % 4],
                       static_cast<char*>(nullptr));
    for (const char* option : {"xleft", "xright", "ybottom", "ytop", "latr", "lonr", "xgain",
                               "ygain", "xtranslate", "ytranslate"})
        setNumber(&viewport, option, in.number());

    QList<KGR_XY> points;
    int n = in.take<uint8_t>() * 8;
    for (int i = 0; i < n && in.size > 0; ++i)
        points.append(KGR_XY{in.number(), in.number()});
    line.configure("qlist", reinterpret_cast<char*>(&points), "outline", "black", "fill",
                   in.take<uint8_t>() & 1 ? "red" : "", static_cast<char*>(nullptr));

    QImage image(64, 48, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::white);
    viewport.render(&image);
    exerciseTransforms(in, viewport.viewport);
    hx_clear_register(0);
    return 0;
}
