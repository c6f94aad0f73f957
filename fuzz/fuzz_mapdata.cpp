// Opens arbitrary bytes as a map-data file and, when they are accepted,
// looks up every tile, pixel and point of every resolution.
#include "hx_error.h"
#include "hx_mapdata.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>

namespace {

void readGrid(HXMapData& md, int ires)
{
    HXMapDataResolution* res = &md.frame.resolutions[ires];
    auto* grid = static_cast<HXMapDataGrid*>(res->data);
    for (double lat = -91; lat <= 91; lat += 4.5)
        for (double lon = -200; lon <= 380; lon += 9.5) {
            int itile;
            long ilon, ilat, ix, iy, offset;
            unsigned char* buf;
            if (md.findTile(res, lat, lon, &itile, &ilon, &ilat) < 0 || itile < 0 ||
                md.getTileGrid(ires, itile, &buf) < 0 ||
                md.findPixelWithinTile(res, grid, ilon, ilat, lat, lon, &ix, &iy, &offset) < 0)
                continue;
            volatile unsigned char last = buf[offset + (grid->content == 1 ? 1 : 2)];
            (void)last;
        }
}

void readVector(HXMapData& md, int ires)
{
    HXMapDataResolution* res = &md.frame.resolutions[ires];
    auto* v = static_cast<HXMapDataVector*>(res->data);
    volatile long sum = 0;
    for (long t = 0; t < res->ntiles; ++t)
        for (long s = 0; s < v->tiles[t].nsegments; ++s) {
            const HXMapDataVectorSegment& seg = v->tiles[t].segments[s];
            for (long k = 0; k < seg.npts; ++k)
                sum = sum + N2H4(seg.pts[k].lon_microdegrees) + seg.pts[k].lat_microdegrees;
        }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static int fd = memfd_create("fuzz.kmd", 0);
    static char path[64];
    snprintf(path, sizeof path, "/proc/self/fd/%d", fd);
    if (fd < 0 || ftruncate(fd, 0) < 0 || pwrite(fd, data, size, 0) != ssize_t(size))
        return 0;
    HXMapData md;
    if (md.setInput(path, 0) == 0)
        for (int r = 0; r < int(md.frame.nresolutions); ++r) {
            if (md.frame.resolutions[r].map_type == HX_MAPDATA_GRID)
                readGrid(md, r);
            else
                readVector(md, r);
        }
    md.cleanCache(0, 0);
    hx_clear_register(0);
    return 0;
}
