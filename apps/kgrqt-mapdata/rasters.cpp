// Rasters: the full-resolution grid is read once, then each coarser level
// averages 2 x 2 blocks of the one below, in integers, so the output is
// the same on every machine.
#include "rasters.h"

#include <QImage>

#include <gdal.h>

#include <algorithm>
#include <cmath>

namespace {

// Halves a grid of bpp channels (2 = int16 samples) by averaging blocks;
// an odd last row or column is averaged with itself.
HXMapDataGridInput halve(const HXMapDataGridInput& g)
{
    HXMapDataGridInput h = g;
    h.nlon = (g.nlon + 1) / 2;
    h.nlat = (g.nlat + 1) / 2;
    h.dlon = g.dlon * 2;
    h.dlat = g.dlat * 2;
    h.degrees_per_pixel = g.degrees_per_pixel * 2;
    h.decimation_factor = g.decimation_factor * 2;
    const bool samples = g.content == 1;
    const long bpp = samples ? 2 : 3;
    h.pixels.assign(size_t(h.nlon * h.nlat * bpp), 0);
    auto value = [&](long i, long j, long k) -> long {
        i = std::min(i, g.nlon - 1);
        j = std::min(j, g.nlat - 1);
        const unsigned char* p = &g.pixels[size_t((j * g.nlon + i) * bpp)];
        return samples ? long(int16_t(p[0] | p[1] << 8)) : long(p[k]);
    };
    for (long j = 0; j < h.nlat; ++j)
        for (long i = 0; i < h.nlon; ++i) {
            unsigned char* out = &h.pixels[size_t((j * h.nlon + i) * bpp)];
            for (long k = 0; k < (samples ? 1 : 3); ++k) {
                long sum = value(2 * i, 2 * j, k) + value(2 * i + 1, 2 * j, k) +
                           value(2 * i, 2 * j + 1, k) + value(2 * i + 1, 2 * j + 1, k);
                long avg = sum >= 0 ? (sum + 2) / 4 : -((-sum + 2) / 4);
                if (samples) {
                    out[0] = (unsigned char)(avg & 0xff);
                    out[1] = (unsigned char)((avg >> 8) & 0xff);
                } else {
                    out[k] = (unsigned char)avg;
                }
            }
        }
    return h;
}

// The pyramid, coarsest first, from a full-resolution grid.
std::vector<HXMapDataGridInput> pyramid(HXMapDataGridInput full, int levels)
{
    std::vector<HXMapDataGridInput> out{full};
    for (int k = 1; k < levels; ++k)
        out.push_back(halve(out.back()));
    std::reverse(out.begin(), out.end());
    const char* names[] = {"full", "half", "quarter", "eighth", "sixteenth"};
    for (size_t k = 0; k < out.size(); ++k)
        out[k].resolution = names[std::min<size_t>(out.size() - 1 - k, 4)];
    return out;
}

} // namespace

std::vector<HXMapDataGridInput> imagePyramid(const std::string& path, int levels)
{
    QImage image(QString::fromStdString(path));
    if (image.isNull())
        return {};
    image = image.convertToFormat(QImage::Format_RGB888);
    HXMapDataGridInput g;
    g.name = "bluemarble";
    g.content = 2;
    g.nlon = image.width();
    g.nlat = image.height();
    g.lon_start = -180;
    g.lat_start = -90;
    g.dlon = 360.0 / double(g.nlon);
    g.dlat = 180.0 / double(g.nlat);
    g.degrees_per_pixel = g.dlon;
    g.pixels.resize(size_t(g.nlon * g.nlat * 3));
    // Image rows run from the north; grid rows from the south.
    for (long j = 0; j < g.nlat; ++j) {
        const uchar* row = image.constScanLine(int(g.nlat - 1 - j));
        std::copy(row, row + g.nlon * 3, g.pixels.begin() + long(j * g.nlon * 3));
    }
    return pyramid(std::move(g), levels);
}

std::vector<HXMapDataGridInput> reliefPyramid(const std::string& dataset, int levels,
                                              std::string* error)
{
    GDALAllRegister();
    CPLPushErrorHandler(CPLQuietErrorHandler);
    GDALDatasetH ds = GDALOpen(dataset.c_str(), GA_ReadOnly);
    CPLPopErrorHandler();
    if (!ds) {
        *error = "cannot open " + dataset;
        return {};
    }
    double gt[6];
    int nx = GDALGetRasterXSize(ds), ny = GDALGetRasterYSize(ds);
    if (GDALGetGeoTransform(ds, gt) != CE_None || GDALGetRasterCount(ds) < 1 || gt[2] != 0 ||
        gt[4] != 0) {
        GDALClose(ds);
        *error = "no plain geotransform in " + dataset;
        return {};
    }
    std::vector<float> metres(size_t(nx) * size_t(ny));
    CPLErr status = GDALRasterIO(GDALGetRasterBand(ds, 1), GF_Read, 0, 0, nx, ny, metres.data(), nx,
                                 ny, GDT_Float32, 0, 0);
    GDALClose(ds);
    if (status != CE_None) {
        *error = "cannot read " + dataset;
        return {};
    }
    HXMapDataGridInput g;
    g.name = "relief";
    g.content = 1;
    g.nlon = nx;
    g.nlat = ny;
    g.dlon = gt[1];
    g.dlat = std::fabs(gt[5]);
    g.lon_start = gt[0];
    // The south edge of the southern row, whichever way GDAL hands rows.
    g.lat_start = gt[5] < 0 ? gt[3] + gt[5] * ny : gt[3];
    g.degrees_per_pixel = g.dlon;
    g.pixels.resize(size_t(nx) * size_t(ny) * 2);
    for (long j = 0; j < ny; ++j) {
        long src = gt[5] < 0 ? ny - 1 - j : j;
        for (long i = 0; i < nx; ++i) {
            double m = metres[size_t(src * nx + i)];
            long z = std::isfinite(m) ? std::lround(m * 0.625) : 0;
            z = std::min(std::max(z, -32768L), 32767L);
            unsigned char* out = &g.pixels[size_t((j * nx + i) * 2)];
            out[0] = (unsigned char)(z & 0xff);
            out[1] = (unsigned char)((z >> 8) & 0xff);
        }
    }
    return pyramid(std::move(g), levels);
}
