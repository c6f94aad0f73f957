#include <kgrqt.h>

#include <QColor>
#include <QGuiApplication>

#include <cstdio>

int main(int argc, char** argv)
{
    QGuiApplication app(argc, argv);
    KGR_Color color = {nullptr, nullptr};
    if (KGR_ParseColor("#80ffff00", &color) != 1 || color.color->alpha() != 0x80) {
        fprintf(stderr, "consumer: colour not parsed\n");
        return 1;
    }
    KGR_ClearColor(&color);
    printf("consumer: linked against kgrqt\n");
    return 0;
}
