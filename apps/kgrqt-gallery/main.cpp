// Writes the gallery: one PNG picture per scene into a directory.
//
//   kgrqt-gallery [DIRECTORY [SCENE ...]]   (docs/gallery, every scene by default)
//
// Naming scenes (file names without ".png") renders only those.
#include "gallery_scenes.h"
#include "map_options.h"

#include "kgrqt.h"

#include <QApplication>
#include <QDir>
#include <QFont>

#include <cstdio>
#include <cstdlib>
#include <cstring>

int main(int argc, char** argv)
{
    setenv("QT_QPA_PLATFORM", "offscreen", 1);
    QApplication app(argc, argv);
    // The same pictures on every machine: the fonts the tests use.
    for (const char* family : {"Helvetica", "Arial", "Sans"})
        QFont::insertSubstitution(family, "DejaVu Sans");
    const QString directory = argc > 1 ? argv[1] : "docs/gallery";
    if (!QDir().mkpath(directory)) {
        fprintf(stderr, "kgrqt-gallery: cannot make '%s'\n", directory.toLocal8Bit().constData());
        return 2;
    }
    const bool mapdata = map_mapdata_complete(map_default_mapdata());
    if (!mapdata)
        fprintf(stderr,
                "kgrqt-gallery: no map data in %s; the maps are left out "
                "(tools/install-mapdata.sh builds it)\n",
                map_default_mapdata().c_str());
    // The scenes named on the command line, or all.
    auto wanted = [argc, argv](const char* name) {
        for (int i = 2; i < argc; ++i)
            if (!strcmp(argv[i], name))
                return true;
        return argc <= 2;
    };
    for (int i = 2; i < argc; ++i) {
        bool known = false;
        for (const GalleryScene& scene : gallery_scenes())
            known = known || !strcmp(scene.name, argv[i]);
        if (!known) {
            fprintf(stderr, "kgrqt-gallery: no scene '%s'\n", argv[i]);
            return 2;
        }
    }
    for (const GalleryScene& scene : gallery_scenes()) {
        if (!wanted(scene.name) || (scene.mapdata && !mapdata))
            continue;
        const QString path = directory + "/" + scene.name + ".png";
        QImage image = gallery_render(scene);
        if (image.isNull() || !image.save(path, "PNG")) {
            fprintf(stderr, "kgrqt-gallery: cannot write '%s'\n", path.toLocal8Bit().constData());
            hx_clear_register(1);
            return 2;
        }
        printf("%s\n", path.toLocal8Bit().constData());
    }
    return 0;
}
