// Point labels with their {key=value ...} keys, and the "bb," lists of
// moment components inside them: parsing and then drawing the point must
// never crash or hang, whatever the text.
#include "kgrqt.h"

#include <QApplication>
#include <QImage>
#include <QPainter>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

QApplication* application()
{
    static int argc = 1;
    static char name[] = "fuzz_polypoint_label";
    static char* argv[] = {name, nullptr};
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    static QApplication* app = new QApplication(argc, argv);
    return app;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    application();
    std::string text(reinterpret_cast<const char*>(data), size);

    // The list parser on its own, over a writable copy.
    std::string list = text;
    double m[6] = {0, 0, 0, 0, 0, 0};
    polypoint_parse_bb(&list[0], m);

    // The label drawn as the only point of a small geographic map, with
    // its own symbol, size and colours, and its text shown.
    KGRViewport viewport(nullptr);
    viewport.resize(120, 90);
    viewport.configure("wtran", "merc", "xleft", "-180", "xright", "540", "ybottom", "-60", "ytop",
                       "60", static_cast<char*>(nullptr));
    KGRPolypoint points(&viewport);
    points.configure("showtext", "1", "fill", "blue", static_cast<char*>(nullptr));
    QList<KGR_XY> path{{0, 0}, {10, 10}};
    points.configure("path_add<QList>", reinterpret_cast<char*>(&path),
                     static_cast<char*>(nullptr));
    KgrpolypointPoint* point = &points.polypoint.point[0];
    point->symbol = 0;
    point->x = 10.0f;
    point->y = 20.0f;
    polypoint_parse_label(point, text.c_str());
    QImage image(120, 90, QImage::Format_ARGB32);
    QPainter painter(&image);
    points.draw(painter);
    hx_clear_register(0);
    return 0;
}
