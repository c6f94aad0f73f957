// The scenes of the gallery: one picture per widget class and feature,
// each a viewport with its items. The gallery program writes them to
// docs/gallery and the rendering tests check the same scenes.
#ifndef KGRQT_GALLERY_SCENES_H
#define KGRQT_GALLERY_SCENES_H

#include <QImage>

#include <memory>
#include <vector>

class KGRViewport;

struct GalleryScene {
    const char* name;        // file name without ".png"
    const char* description; // one line for the README
    int width, height;
    // Makes the viewport (a top-level widget) with its items, or null with
    // the reason in the error register.
    KGRViewport* (*build)(int width, int height);
    bool mapdata = false; // drawn from the installed map-data files
};

const std::vector<GalleryScene>& gallery_scenes();

// The focal-mechanism scenes (gallery_beachballs.cpp), part of the above.
std::vector<GalleryScene> gallery_beachball_scenes();

// The map of events over a scratch event database (gallery_mapevents.cpp),
// part of the above.
std::vector<GalleryScene> gallery_mapevents_scenes();

// The scene rendered off screen.
QImage gallery_render(const GalleryScene& scene);

#endif
