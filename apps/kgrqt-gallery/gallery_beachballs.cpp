// Gallery scenes of focal mechanisms: beach balls of the basic source
// types, and the catalogue of kgrqt-plot on a world map.
#include "gallery_scenes.h"

#include "CatalogueMap.h"
#include "catalogue_text.h"
#include "kgrqt.h"

#include <cmath>
#include <cstdio>
#include <string>

namespace {

const char* const kEnd = nullptr;
const double kRadians = 0.017453292519943295;

// Global CMT components (Mrr Mtt Mpp Mrt Mrp Mtp) of a unit double couple
// from strike, dip and rake in degrees (Aki and Richards' convention).
void doubleCouple(double strike, double dip, double rake, double cmt[6])
{
    const double s = strike * kRadians, d = dip * kRadians, r = rake * kRadians;
    cmt[0] = std::sin(2 * d) * std::sin(r);
    cmt[1] = -(std::sin(d) * std::cos(r) * std::sin(2 * s) +
               std::sin(2 * d) * std::sin(r) * std::sin(s) * std::sin(s));
    cmt[2] = std::sin(d) * std::cos(r) * std::sin(2 * s) -
             std::sin(2 * d) * std::sin(r) * std::cos(s) * std::cos(s);
    cmt[3] =
        -(std::cos(d) * std::cos(r) * std::cos(s) + std::cos(2 * d) * std::sin(r) * std::sin(s));
    cmt[4] = std::cos(d) * std::cos(r) * std::sin(s) - std::cos(2 * d) * std::sin(r) * std::cos(s);
    cmt[5] = -(std::sin(d) * std::cos(r) * std::cos(2 * s) +
               0.5 * std::sin(2 * d) * std::sin(r) * std::sin(2 * s));
}

struct Mechanism {
    const char* name;
    const char* detail;
    double cmt[6];
};

// A point label that makes a beach ball: "{sy=bb,m1,...,m6}" in the order
// of the moment routines.
std::string ballLabel(const double cmt[6])
{
    double m[6];
    plot_catalogue_tensor(cmt, 7, m); // unit components in N m
    char text[256];
    snprintf(text, sizeof text, "{sy=bb,%g,%g,%g,%g,%g,%g}", m[0], m[1], m[2], m[3], m[4], m[5]);
    return text;
}

void caption(KGRViewport* vp, double x, double y, const char* text, const char* font)
{
    const std::string xs = std::to_string(x) + "d", ys = std::to_string(y) + "d";
    auto* t = new KGRText(vp, const_cast<char*>(text), const_cast<char*>(xs.c_str()),
                          const_cast<char*>(ys.c_str()));
    t->configure("text", text, "justification", "n", "font", font, kEnd);
}

KGRViewport* beachballs(int w, int h)
{
    std::vector<Mechanism> kinds = {
        {"Thrust", "30/40/90", {}},
        {"Normal", "30/50/-90", {}},
        {"Strike-slip", "30/90/0", {}},
        {"CLVD", "T vertical", {2, -1, -1, 0, 0, 0}},
        {"Explosion", "isotropic", {1, 1, 1, 0, 0, 0}},
    };
    doubleCouple(30, 40, 90, kinds[0].cmt);
    doubleCouple(30, 50, -90, kinds[1].cmt);
    doubleCouple(30, 90, 0, kinds[2].cmt);
    auto* vp = new KGRViewport(nullptr);
    vp->resize(w, h);
    vp->configure("fill", "white", "fill_frame", "white", "margin", "0 0 0 0", "xleft", "0",
                  "xright", std::to_string(kinds.size()).c_str(), "ybottom", "0", "ytop", "1",
                  kEnd);
    std::vector<double> x, y;
    std::vector<std::string> labels;
    for (size_t i = 0; i < kinds.size(); ++i) {
        x.push_back(i + 0.5);
        y.push_back(0.6);
        labels.push_back(ballLabel(kinds[i].cmt));
        caption(vp, i + 0.5, 0.24, kinds[i].name, "Helvetica 12 DemiBold");
        caption(vp, i + 0.5, 0.13, kinds[i].detail, "Helvetica 10");
    }
    std::vector<const char*> texts;
    for (const std::string& l : labels)
        texts.push_back(l.c_str());
    auto* balls = new KGRPolypoint(vp);
    const char* handle = "gallery-beachballs";
    if (hxvector_create(handle, HXVECTOR_PLAIN) < 0 ||
        hxvector_add_points(handle, static_cast<int>(x.size()), x.data(), y.data(), texts.data()) <
            0 ||
        balls->configure("vector", handle, "fill", "white", "fill_nodes", "#c8102e", "outline",
                         "black", "size", "40", kEnd) < 0) {
        hxvector_free(handle);
        delete vp;
        return nullptr;
    }
    hxvector_free(handle);
    return vp;
}

KGRViewport* catalogueWorld(int w, int h)
{
    std::vector<CatalogueEvent> events;
    if (plot_read_catalogue(KGRQT_DATA_DIR "/catalogue.txt", &events) < 0)
        return nullptr;
    auto* vp = new KGRViewport(nullptr);
    vp->resize(w, h);
    auto* map = new CatalogueMap(vp);
    if (map->show(events, "geog") < 0) {
        delete vp;
        return nullptr;
    }
    return vp;
}

} // namespace

std::vector<GalleryScene> gallery_beachball_scenes()
{
    return {
        {"beachballs",
         "Beach balls: thrust, normal and strike-slip double couples (strike/dip/rake), a CLVD "
         "and an explosion",
         640, 220, beachballs},
        {"catalogue-world",
         "kgrqt-plot --catalogue: a USGS week of events by depth and magnitude, with Global CMT "
         "beach balls",
         720, 400, catalogueWorld},
    };
}
