// kgrqt map data: the elevation palette and one opened map-data source
// turned into pixels.
#ifndef KGRMAPDATA_H
#define KGRMAPDATA_H

#include "KGR.h"
#include "hxutil.h"

#include <QWidget>

#include <cstddef>

class QImage;
class QPainter;
struct KgrviewportItem;

// One row of the elevation palette: elevation and colour 0..255.
struct CPT {
    int elev;
    int red;
    int green;
    int blue;
};

// Hierarchy levels that drawVector's per-level arrays describe.
#define KGRMAPDATA_NLEVELS 10

// The elevation palette, metres, ending with a row whose elev is -9999;
// kgrmapdata_make_cpt scales it in place to sample units.
extern CPT kgrmapdata_cpt_table[];
// The palette expanded to one entry per sample value from kgrmapdata_ecpt.
extern CPT* kgrmapdata_cpt;
extern int kgrmapdata_ncpt;
extern int kgrmapdata_ecpt;

void kgrmapdata_make_cpt();
double kgrmapdata_color_value(double p, double q, double hue);
int kgrmapdata_hls_to_rgb(double hue, double lightness, double saturation, double gamma,
                          double* red, double* green, double* blue);

struct Pmtcomp;

// One opened map-data source turned into pixels: grid resolutions into an
// image (on a pool of row workers), vector resolutions stroked and filled.
class KGRMapData : public HXMapData, public QWidget {
public:
    KGRMapData(char* fname, int nthreads);
    explicit KGRMapData(int nthreads);
    ~KGRMapData() override;

    int setResolution(int index);
    int setResolution(double degrees_per_pixel);
    QImage* drawImage(int width, int height, int tran, double xmin, double xmax, double ymin,
                      double ymax, double lonr, double latr, double gamma, double lightmin);
    int isInside(double lat, double lon, int n, double* lats, double* lons);
    void drawVector(QPainter& painter, KgrviewportItem* viewport, unsigned int levels,
                    KGR_Color* outline, int* linewidth, int* resolution, KGR_Color& fill_color,
                    KGR_Color& background_color);

    int resolution;
    int nthreads;
    unsigned char* image_buf;
    size_t image_buf_size;
    QImage* image;
    int width, height;
    double lightmin;
    double gamma;
    double xmin, xmax, ymin, ymax;
    double dx, dy;
    int tran;
    double latr, lonr;
    Pmtcomp* mtc;

private:
    void init(int nthreads);
};

#endif
