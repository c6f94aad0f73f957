// KGRMapData: one opened map-data source; choosing a resolution and
// rendering grid resolutions into an image on a pool of row workers.
// Vector drawing is in kgrmapdata_vector.cpp, the palette in
// kgrmapdata_palette.cpp.
#include "KGRMapData.h"
#include "kgrqt_engine.h"

#include <QImage>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>

namespace {

const double kPi = 3.14159265358979323846;

// The colour of one grid pixel, or false when the palette is missing.
inline bool pixelColor(const HXMapDataGrid* grid, const unsigned char* p, int* r, int* g, int* b)
{
    if (grid->content != HX_MAPDATA_ELEVATION) {
        *r = p[0];
        *g = p[1];
        *b = p[2];
        return true;
    }
    if (!kgrmapdata_cpt)
        return false;
    int z = int16_t(p[0] | p[1] << 8);
    int k = std::min(std::max(z - kgrmapdata_ecpt, 0), kgrmapdata_ncpt - 1);
    const CPT& c = kgrmapdata_cpt[k];
    *r = c.red;
    *g = c.green;
    *b = c.blue;
    return true;
}

// Lightness shading: each component keeps its distance from the middle of
// the lightest and darkest one, and that middle moves.
inline void shade(double gamma, double lightmin, int* r, int* g, int* b)
{
    int lo = std::min(*r, std::min(*g, *b)), hi = std::max(*r, std::max(*g, *b));
    int mid = (hi + lo) / 2;
    double l = ((hi + lo) * 0.5) / 255.0;
    if (gamma > 0)
        l = std::pow(l, gamma);
    l = (1.0 - lightmin) * l + lightmin;
    int newmid = int(l * 255.0);
    auto apply = [&](int c) { return std::min(std::max(c - mid + newmid, 0), 255); };
    *r = apply(*r);
    *g = apply(*g);
    *b = apply(*b);
}

// The row worker: fills its band of rows of the image.
void fill_image(long worker, long, void* clientdata)
{
    KGRMapData* md = static_cast<KGRMapData*>(clientdata);
    if (!md->image || md->resolution == -1 || md->height <= 0 || md->nthreads <= 0)
        return;
    HXMapDataResolution* res = &md->frame.resolutions[md->resolution];
    if (res->map_type != HX_MAPDATA_GRID)
        return;
    auto* grid = static_cast<HXMapDataGrid*>(res->data);
    int rows = std::max(md->height / md->nthreads, 1);
    int r0 = int(worker) * rows;
    int r1 = worker == md->nthreads - 1 ? md->height : std::min(r0 + rows, md->height);
    HXMapTransform* transform = md->tran == 1 ? new HXMapTransform(md->latr, md->lonr) : nullptr;
    const bool shading = md->lightmin != 0 || md->gamma != 1;
    int last_tile = -1;
    unsigned char* tile_buf = nullptr;
    for (int r = r0; r < r1; r++) {
        double y = md->ymax - r * md->dy;
        if (md->tran == 2)
            y = (2 * std::atan(std::exp(y * kPi / 180)) - kPi / 2) * 180 / kPi;
        unsigned char* out = md->image_buf + size_t(md->width) * size_t(r) * 4;
        for (int c = 0; c < md->width; c++, out += 4) {
            double x = md->xmin + c * md->dx, lat = y, lon = x;
            if (transform)
                transform->edpDelxy2latlon(x, y, &lat, &lon);
            int itile;
            long ilon, ilat, ix, iy, offset;
            if (md->findTile(res, lat, lon, &itile, &ilon, &ilat) < 0 || itile < 0)
                continue;
            if (itile != last_tile) {
                if (md->getTileGrid(md->resolution, itile, &tile_buf) < 0) {
                    hx_complain(0, "fill_image: getTileGrid() error.\n");
                    last_tile = -1; // the failed call cleared tile_buf
                    continue;
                }
                last_tile = itile;
            }
            if (md->findPixelWithinTile(res, grid, ilon, ilat, lat, lon, &ix, &iy, &offset) < 0 ||
                offset < 0)
                continue;
            int red, green, blue;
            if (!pixelColor(grid, tile_buf + offset, &red, &green, &blue))
                continue;
            if (shading)
                shade(md->gamma, md->lightmin, &red, &green, &blue);
            out[0] = (unsigned char)blue;
            out[1] = (unsigned char)green;
            out[2] = (unsigned char)red;
            out[3] = 255;
        }
    }
    delete transform;
}

} // namespace

KGRMapData::KGRMapData(char* fname, int nthreads) : QWidget(nullptr)
{
    kgrmapdata_make_cpt();
    resolution = -1;
    this->nthreads = nthreads;
    image_buf = nullptr;
    image_buf_size = 0;
    image = nullptr;
    width = height = 0;
    mtc = nullptr;
    if (setInput(fname, 0) < 0) {
        hx_register_error(0, "KGRMapData::KGRMapData: setInput() error.\n");
        throw "KGRMapData::KGRMapData: error.";
    }
    init(nthreads);
}

KGRMapData::KGRMapData(int nthreads) : QWidget(nullptr)
{
    kgrmapdata_make_cpt();
    resolution = -1;
    this->nthreads = nthreads;
    image_buf = nullptr;
    image_buf_size = 0;
    image = nullptr;
    width = height = 0;
    mtc = nullptr;
    init(nthreads);
}

// The rendering parameters at rest, and the worker pool for two or more
// workers.
void KGRMapData::init(int n)
{
    lightmin = 0;
    gamma = 1;
    xmin = xmax = ymin = ymax = 0;
    dx = dy = 0;
    tran = 0;
    latr = lonr = 0;
    if (n < 2)
        return;
    mtc = pmtcomp_create("KGRMapData");
    if (!mtc) {
        hx_register_error(0, "KGRMapData::KGRMapData: pmtcomp_create() error.\n");
        throw "KGRMapData::KGRMapData: error.";
    }
    nthreads = std::min(n, 16);
    for (long k = 0; k < nthreads; k++)
        if (pmtcomp_addthread(mtc, fill_image, k, 0, this) < 0) {
            hx_register_error(0, "KGRMapData::KGRMapData: pmtcomp_addthread() error.\n");
            throw "KGRMapData::KGRMapData: error.";
        }
}

// The workers hold a pointer to this object, so the pool goes first.
KGRMapData::~KGRMapData()
{
    pmtcomp_free(mtc);
    delete image;
    free(image_buf);
}

int KGRMapData::setResolution(int index)
{
    if (index < 0 || index >= frame.nresolutions) {
        hx_register_error(0, "KGRMapData::setResolution: resolution %d outside of range.\n", index);
        return -1;
    }
    resolution = index;
    return 0;
}

int KGRMapData::setResolution(double degrees_per_pixel)
{
    int index = int(frame.nresolutions) - 1;
    for (long i = 0; i < frame.nresolutions; i++)
        if (std::fabs(frame.resolutions[i].degrees_per_pixel) < degrees_per_pixel) {
            index = int(i);
            break;
        }
    return setResolution(index);
}

QImage* KGRMapData::drawImage(int w, int h, int tran_, double xmin_, double xmax_, double ymin_,
                              double ymax_, double lonr_, double latr_, double gamma_,
                              double lightmin_)
{
    if (w < 1 || h < 1)
        return nullptr;
    size_t need = size_t(w) * size_t(h) * 4;
    if (!image || w != width || h != height) {
        if (!image_buf || image_buf_size < need) {
            auto* buf = static_cast<unsigned char*>(realloc(image_buf, need));
            if (!buf)
                return nullptr;
            image_buf = buf;
            image_buf_size = need;
        }
        delete image;
        width = w;
        height = h;
        image = new QImage(image_buf, w, h, QImage::Format_ARGB32);
    }
    memset(image_buf, 0, need);
    gamma = gamma_ <= 0 ? 1.0 : gamma_;
    lightmin = std::min(std::max(lightmin_, 0.0), 1.0);
    xmin = xmin_;
    xmax = xmax_;
    ymin = ymin_;
    ymax = ymax_;
    tran = tran_;
    latr = latr_;
    lonr = lonr_;
    dx = (xmax - xmin) / (w - 1);
    dy = (ymax - ymin) / (h - 1);
    if (mtc)
        pmtcomp_processthreads(mtc);
    else
        fill_image(0, 0, this);
    return image;
}
