// A first look at the option mechanism: a small swatch widget declared with
// a static option table, configured from the command line and printed back.
//
//   kgrqt-example [--snapshot FILE.png] [option value ...]
//   kgrqt-example fill "120,1,0.5" label "Station KGR1" font "Helvetica 16 Bold"
//
// With a display the swatch opens in a window; without one (or with
// --snapshot) it is rendered into a PNG file whose path is printed.
#include "kgrqt.h"

#include <QApplication>
#include <QDir>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>

struct KgrswatchItem {
    KGR_Color fill;
    KGR_Color foreground;
    KGR_Font font;
    char* label;
    int width;
    int height;
    int frame;
};

class KGRSwatch : public KGRConfigure, public QWidget {
public:
    explicit KGRSwatch(QWidget* parent = nullptr)
    {
        kgrqt_construct([&] { init(parent); }, "KGRSwatch::KGRSwatch: init() error.");
    }
    ~KGRSwatch() override
    {
        KGR_ClearColor(&swatch.fill);
        KGR_ClearColor(&swatch.foreground);
        KGR_ParseFont(nullptr, &swatch.font);
        free(swatch.label);
        free(class_name);
    }

    KgrswatchItem swatch;
    int debug = 0;
    char* class_name = nullptr;
    static HX_ConfigureSpec configSpecs[];

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        if (swatch.fill.color)
            painter.fillRect(rect(), *swatch.fill.color);
        if (swatch.frame)
            painter.drawRect(rect().adjusted(0, 0, -1, -1));
        if (swatch.font.font)
            painter.setFont(*swatch.font.font);
        if (swatch.foreground.color)
            painter.setPen(*swatch.foreground.color);
        if (swatch.label)
            painter.drawText(rect(), Qt::AlignCenter, QString::fromLocal8Bit(swatch.label));
    }

private:
    void init(QWidget* parent)
    {
        kgrqt_init_item(
            this, parent, &swatch, "KGRSwatch", "KGRSwatch::init: setParent() error.",
            [](KgrswatchItem&) {}, [] {});
        resize(swatch.width, swatch.height);
    }
};

HX_ConfigureSpec KGRSwatch::configSpecs[] = {
    {"color", "fill", "#e0e0ff", offsetof(KgrswatchItem, fill), HX_CONFIGURE_NULL_OK, nullptr},
    {"color", "foreground", "black", offsetof(KgrswatchItem, foreground), HX_CONFIGURE_NULL_OK,
     nullptr},
    {"font", "font", "Helvetica 16", offsetof(KgrswatchItem, font), 0, nullptr},
    {"string", "label", "kgrqt", offsetof(KgrswatchItem, label), HX_CONFIGURE_NULL_OK, nullptr},
    {"int", "width", "320", offsetof(KgrswatchItem, width), 0, nullptr},
    {"int", "height", "120", offsetof(KgrswatchItem, height), 0, nullptr},
    {"boolean", "frame", "yes", offsetof(KgrswatchItem, frame), 0, nullptr},
    {"end", nullptr, nullptr, 0, 0, nullptr},
};

static void printOptions(KGRSwatch& swatch)
{
    Tbl* names = swatch.optionNames();
    for (int i = 0; i < maxtbl(names); ++i) {
        const char* name = static_cast<const char*>(gettbl(names, i));
        char* value = swatch.printConfigValue(name);
        printf("%-12s %s\n", name, value ? value : "");
        free(value);
    }
    freetbl(names, nullptr);
}

static int snapshot(KGRSwatch& swatch, const char* path)
{
    QImage image(swatch.size(), QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    swatch.render(&image);
    if (!image.save(path)) {
        fprintf(stderr, "kgrqt-example: cannot write '%s'\n", path);
        return 2;
    }
    printf("Snapshot written to %s\n", QDir(path).absolutePath().toLocal8Bit().constData());
    return 0;
}

int main(int argc, char** argv)
{
    const char* snapshotPath = nullptr;
    int first = 1;
    if (argc > 2 && strcmp(argv[1], "--snapshot") == 0) {
        snapshotPath = argv[2];
        first = 3;
    }
    // Without a display, fall back to rendering off screen.
    if (!getenv("DISPLAY") && !getenv("WAYLAND_DISPLAY") && !getenv("QT_QPA_PLATFORM")) {
        setenv("QT_QPA_PLATFORM", "offscreen", 1);
        if (!snapshotPath)
            snapshotPath = "kgrqt-example.png";
    }
    QApplication app(argc, argv);
    KGRSwatch swatch;
    if (swatch.configure(argc - first, argv + first) < 0) {
        hx_clear_register(1);
        return 2;
    }
    swatch.resize(swatch.swatch.width, swatch.swatch.height);
    printOptions(swatch);
    if (snapshotPath)
        return snapshot(swatch, snapshotPath);
    swatch.show();
    return app.exec();
}
