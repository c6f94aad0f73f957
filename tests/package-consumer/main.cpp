// Uses the installed library as any application would: a viewport with a
// polyline, drawn off screen.
#include <kgrqt.h>

#include <QApplication>
#include <QColor>
#include <QImage>

#include <cstdio>

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    KGRViewport viewport(nullptr);
    viewport.resize(100, 60);
    KGRPolyline line(&viewport);
    QList<KGR_XY> list{{0, 0}, {10, 0}};
    if (viewport.configure("fill", "#e0e0ff", "xleft", "0", "xright", "10", "ybottom", "-1", "ytop",
                           "1", static_cast<char*>(nullptr)) < 0 ||
        line.configure("qlist", reinterpret_cast<char*>(&list), "outline", "black",
                       static_cast<char*>(nullptr)) < 0) {
        hx_clear_register(1);
        return 1;
    }
    QImage image = viewport.grab().toImage();
    if (image.pixelColor(5, 5) != QColor("#e0e0ff")) {
        fprintf(stderr, "consumer: the viewport was not drawn\n");
        return 1;
    }
    printf("consumer: linked against kgrqt and drew a viewport\n");
    return 0;
}
