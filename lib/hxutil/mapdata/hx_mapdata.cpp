// HXMapData: opening map-data files and finding grid pixels.
#include "hx_error.h"
#include "hx_mapdata_store.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>

int N2H4(int value)
{
    return int(ntohl(uint32_t(value)));
}

HXMapDataStore::~HXMapDataStore()
{
    unmapAll();
}

void HXMapDataStore::unmapAll()
{
    for (HXMapDataMapping& m : mappings)
        munmap(m.base, m.size);
    mappings.clear();
}

HXMapData::HXMapData()
    : frame(), src_arr(nullptr), append(0), file_stream(nullptr), file_size(0), fname(nullptr),
      fd(-1), nresolutions_offset(0), store(new HXMapDataStore)
{
}

HXMapData::~HXMapData()
{
    close();
    delete store;
}

void HXMapData::close()
{
    std::lock_guard<std::mutex> guard(store->cache_lock);
    store->cache.clear();
    store->cache_bytes = 0;
    store->parts.clear();
    store->resolutions.clear();
    store->unmapAll();
    frame = HXMapDataFrame();
    free(fname);
    fname = nullptr;
    file_size = 0;
}

namespace {

// Maps the whole file read-only. 0, or -1 with a registered error.
int mapFile(const char* fname, HXMapDataMapping* m)
{
    int fd = open(fname, O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        hx_register_error(0, "HXMapData::setInput: cannot open '%s': %s.\n", fname,
                          strerror(errno));
        return -1;
    }
    struct stat st;
    if (fstat(fd, &st) < 0 || !S_ISREG(st.st_mode)) {
        hx_register_error(0, "HXMapData::setInput: '%s' is not a regular file.\n", fname);
        ::close(fd);
        return -1;
    }
    if (st.st_size == 0) {
        hx_register_error(0, "HXMapData::setInput: '%s' is empty.\n", fname);
        ::close(fd);
        return -1;
    }
    void* base = mmap(nullptr, size_t(st.st_size), PROT_READ, MAP_PRIVATE, fd, 0);
    ::close(fd);
    if (base == MAP_FAILED) {
        hx_register_error(1, "HXMapData::setInput: mmap('%s') error: %s.\n", fname,
                          strerror(errno));
        return -1;
    }
    m->base = static_cast<unsigned char*>(base);
    m->size = size_t(st.st_size);
    return 0;
}

// The cell index of v on an axis of n cells of size d from start; a point
// on the far edge belongs to the last cell. -1 outside.
long cellIndex(double v, double start, double d, long n)
{
    double f = (v - start) / d;
    if (!(f >= 0) || !(f <= double(n)))
        return -1;
    long i = long(f);
    return i < n ? i : n - 1;
}

// A longitude brought into the grid's range when the grid goes round the
// world.
double gridLongitude(const HXMapDataGrid* g, double lon)
{
    if (g->dlon * double(g->nlon) < 360.0 - 1e-9 || !std::isfinite(lon))
        return lon;
    // One turn either way covers every longitude a projection gives,
    // without the cost of fmod.
    if (lon >= g->lon_start && lon < g->lon_start + 360.0)
        return lon;
    if (lon < g->lon_start && lon + 360.0 >= g->lon_start && lon + 360.0 < g->lon_start + 360.0)
        return lon + 360.0;
    if (lon >= g->lon_start + 360.0 && lon - 360.0 >= g->lon_start &&
        lon - 360.0 < g->lon_start + 360.0)
        return lon - 360.0;
    double d = std::fmod(lon - g->lon_start, 360.0);
    if (d < 0)
        d += 360.0;
    return g->lon_start + d;
}

} // namespace

int HXMapData::setInput(const char* name, int append_flag)
{
    if (!name) {
        hx_register_error(0, "HXMapData::setInput: no file name.\n");
        return -1;
    }
    HXMapDataMapping m;
    if (mapFile(name, &m) < 0)
        return -1;
    std::vector<HXMapDataResolution> res;
    std::vector<std::unique_ptr<HXMapDataParts>> parts;
    if (hx_mapdata_parse(m.base, m.size, name, res, parts) < 0) {
        munmap(m.base, m.size);
        return -1;
    }
    if (!append_flag)
        close();
    std::lock_guard<std::mutex> guard(store->cache_lock);
    store->mappings.push_back(m);
    store->resolutions.insert(store->resolutions.end(), res.begin(), res.end());
    for (auto& p : parts)
        store->parts.push_back(std::move(p));
    std::memcpy(frame.magic, m.base, sizeof frame.magic);
    frame.nresolutions = long(store->resolutions.size());
    frame.resolutions = store->resolutions.data();
    append = append_flag;
    free(fname);
    fname = strdup(name);
    file_size = long(m.size);
    nresolutions_offset = 24;
    return 0;
}

int HXMapData::findTile(HXMapDataResolution* res, double lat, double lon, int* itile, long* ilon,
                        long* ilat)
{
    *itile = -1;
    *ilon = *ilat = 0;
    if (!res || !res->data)
        return -1;
    if (res->map_type == HX_MAPDATA_VECTOR) {
        const HXMapDataVector* v = static_cast<HXMapDataVector*>(res->data);
        for (long t = 0; t < res->ntiles; ++t) {
            const HXMapDataVectorTile& tile = v->tiles[t];
            if (lat >= tile.latmin && lat <= tile.latmax && lon >= tile.lonmin &&
                lon <= tile.lonmax) {
                *itile = int(t);
                return 0;
            }
        }
        return -1;
    }
    const HXMapDataGrid* g = static_cast<HXMapDataGrid*>(res->data);
    long ix = cellIndex(gridLongitude(g, lon), g->lon_start, g->dlon, g->nlon);
    long iy = cellIndex(lat, g->lat_start, g->dlat, g->nlat);
    if (ix < 0 || iy < 0)
        return -1;
    *ilon = ix / g->nlon_per_tile;
    *ilat = iy / g->nlat_per_tile;
    *itile = int(*ilat * res->nlon_tiles + *ilon);
    return 0;
}

int HXMapData::findPixelWithinTile(HXMapDataResolution* res, HXMapDataGrid* grid, long ilon,
                                   long ilat, double lat, double lon, long* ix, long* iy,
                                   long* offset)
{
    *ix = *iy = -1;
    *offset = -1;
    if (!res || !grid || ilon < 0 || ilat < 0 || ilon >= res->nlon_tiles || ilat >= res->nlat_tiles)
        return -1;
    long gx = cellIndex(gridLongitude(grid, lon), grid->lon_start, grid->dlon, grid->nlon);
    long gy = cellIndex(lat, grid->lat_start, grid->dlat, grid->nlat);
    long x = gx - ilon * grid->nlon_per_tile, y = gy - ilat * grid->nlat_per_tile;
    if (gx < 0 || gy < 0 || x < 0 || y < 0 || x >= grid->nlon_per_tile || y >= grid->nlat_per_tile)
        return -1;
    const HXMapDataGridTile& tile = grid->tiles[ilat * res->nlon_tiles + ilon];
    long bpp = grid->content == HX_MAPDATA_ELEVATION ? 2 : 3;
    *ix = x;
    *iy = y;
    *offset = (y * long(tile.nlon) + x) * bpp;
    return 0;
}
