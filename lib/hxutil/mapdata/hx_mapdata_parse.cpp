// Checking a mapped .kmd file and building its records. Every count, offset
// and size is checked against the file before it is used, with overflow-safe
// arithmetic, so that nothing outside the mapping is ever read.
#include "hx_error.h"
#include "hx_mapdata_store.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

// Little-endian readers of the fixed records.
uint64_t le64(const unsigned char* p)
{
    uint64_t v = 0;
    for (int i = 7; i >= 0; --i)
        v = (v << 8) | p[i];
    return v;
}

uint32_t le32(const unsigned char* p)
{
    return uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16 | uint32_t(p[3]) << 24;
}

int64_t i64(const unsigned char* p)
{
    return int64_t(le64(p));
}

int32_t i32(const unsigned char* p)
{
    return int32_t(le32(p));
}

double f64(const unsigned char* p)
{
    uint64_t bits = le64(p);
    double v;
    std::memcpy(&v, &bits, sizeof v);
    return v;
}

// The parse of one file: the mapping and the name for messages.
struct Reader {
    const unsigned char* base;
    uint64_t size;
    const char* fname;

    // count records of recsize bytes at offset lie inside the file.
    bool fits(uint64_t offset, uint64_t count, uint64_t recsize) const
    {
        if (offset > size)
            return false;
        if (recsize && count > (size - offset) / recsize)
            return false;
        return true;
    }

    int fail(const char* what) const
    {
        hx_register_error(0, "HXMapData::setInput: %s: %s.\n", fname, what);
        return -1;
    }
};

// A fixed-size text field must end inside the field.
bool copyText(char* dst, const unsigned char* src, size_t n)
{
    if (!std::memchr(src, 0, n))
        return false;
    std::memcpy(dst, src, n);
    return true;
}

bool finite(double v)
{
    return std::isfinite(v);
}

int parseGrid(const Reader& r, uint64_t offset, HXMapDataResolution& res, HXMapDataParts& parts)
{
    if (!r.fits(offset, 1, KMD_GRID_SIZE))
        return r.fail("grid record outside the file");
    const unsigned char* p = r.base + offset;
    HXMapDataGrid& g = parts.grid;
    g.decimation_factor = i64(p);
    g.compressed = i64(p + 8);
    g.content = i64(p + 16);
    g.zmin = i64(p + 24);
    g.zmax = i64(p + 32);
    g.lon_start = f64(p + 40);
    g.dlon = f64(p + 48);
    g.lat_start = f64(p + 56);
    g.dlat = f64(p + 64);
    g.nlon = i64(p + 72);
    g.nlat = i64(p + 80);
    g.nlon_per_tile = i64(p + 88);
    g.nlat_per_tile = i64(p + 96);
    uint64_t tiles_offset = le64(p + 104);

    if (g.compressed != HX_MAPDATA_RAW && g.compressed != HX_MAPDATA_ZLIB)
        return r.fail("unknown grid compression");
    if (g.content != HX_MAPDATA_ELEVATION && g.content != HX_MAPDATA_RGB)
        return r.fail("unknown grid content");
    if (!finite(g.lon_start) || !finite(g.lat_start) || !(g.dlon > 0) || !(g.dlat > 0) ||
        !finite(g.dlon) || !finite(g.dlat))
        return r.fail("bad grid extent");
    // Sizes are kept small enough that no product below can overflow.
    const long kMaxCells = 1L << 24, kMaxTile = 1L << 13;
    if (g.nlon < 1 || g.nlat < 1 || g.nlon > kMaxCells || g.nlat > kMaxCells ||
        g.nlon_per_tile < 1 || g.nlat_per_tile < 1 || g.nlon_per_tile > kMaxTile ||
        g.nlat_per_tile > kMaxTile)
        return r.fail("bad grid size");
    long nlon_tiles = (g.nlon + g.nlon_per_tile - 1) / g.nlon_per_tile;
    long nlat_tiles = (g.nlat + g.nlat_per_tile - 1) / g.nlat_per_tile;
    if (res.nlon_tiles != nlon_tiles || res.nlat_tiles != nlat_tiles ||
        res.ntiles != nlon_tiles * nlat_tiles)
        return r.fail("tile counts do not match the grid");
    if (!r.fits(tiles_offset, uint64_t(res.ntiles), KMD_GRID_TILE_SIZE))
        return r.fail("grid tiles outside the file");

    const unsigned long bpp = g.content == HX_MAPDATA_ELEVATION ? 2 : 3;
    parts.grid_tiles.resize(size_t(res.ntiles));
    for (long t = 0; t < res.ntiles; ++t) {
        const unsigned char* q = r.base + tiles_offset + uint64_t(t) * KMD_GRID_TILE_SIZE;
        HXMapDataGridTile& tile = parts.grid_tiles[size_t(t)];
        long tx = t % nlon_tiles, ty = t / nlon_tiles;
        tile.zmin = i64(q);
        tile.zmax = i64(q + 8);
        tile.nbuf = le64(q + 16);
        uint64_t buf_offset = le64(q + 24);
        tile.nbytes = le64(q + 32);
        tile.nlon = (unsigned long)std::min(g.nlon_per_tile, g.nlon - tx * g.nlon_per_tile);
        tile.nlat = (unsigned long)std::min(g.nlat_per_tile, g.nlat - ty * g.nlat_per_tile);
        if (tile.nbytes != tile.nlon * tile.nlat * bpp)
            return r.fail("grid tile size does not match its pixels");
        if (g.compressed == HX_MAPDATA_RAW && tile.nbuf != tile.nbytes)
            return r.fail("raw grid tile size does not match its pixels");
        if (!r.fits(buf_offset, tile.nbuf, 1))
            return r.fail("grid tile data outside the file");
        tile.buf = const_cast<unsigned char*>(r.base) + buf_offset;
    }
    g.tiles = parts.grid_tiles.data();
    res.data = &g;
    return 0;
}

int parseSegments(const Reader& r, const HXMapDataResolution& res, HXMapDataVectorTile& tile,
                  uint64_t offset, HXMapDataVectorSegment* out)
{
    for (long s = 0; s < tile.nsegments; ++s) {
        const unsigned char* q = r.base + offset + uint64_t(s) * KMD_SEGMENT_SIZE;
        HXMapDataVectorSegment& seg = out[s];
        seg.level = i32(q);
        seg.fill = i32(q + 4);
        seg.lonmin = i32(q + 8);
        seg.lonmax = i32(q + 12);
        seg.latmin = i32(q + 16);
        seg.latmax = i32(q + 20);
        seg.npts = long(le32(q + 24));
        uint64_t pts_offset = le64(q + 32);
        if (seg.level < 1 || seg.level > 32)
            return r.fail("segment level outside 1 to 32");
        if (seg.lonmin > seg.lonmax || seg.latmin > seg.latmax)
            return r.fail("segment bounds reversed");
        if (pts_offset % 4 != 0 || !r.fits(pts_offset, uint64_t(seg.npts), KMD_POINT_SIZE))
            return r.fail("segment points outside the file");
        seg.pts = reinterpret_cast<HXMapDataXY*>(const_cast<unsigned char*>(r.base) + pts_offset);
    }
    (void)res;
    tile.segments = out;
    return 0;
}

int parseVector(const Reader& r, uint64_t offset, HXMapDataResolution& res, HXMapDataParts& parts)
{
    if (!r.fits(offset, 1, KMD_VECTOR_SIZE))
        return r.fail("vector record outside the file");
    const unsigned char* p = r.base + offset;
    HXMapDataVector& v = parts.vector;
    v.lonmin = f64(p);
    v.lonmax = f64(p + 8);
    v.latmin = f64(p + 16);
    v.latmax = f64(p + 24);
    uint64_t tiles_offset = le64(p + 32);
    if (!finite(v.lonmin) || !finite(v.lonmax) || !finite(v.latmin) || !finite(v.latmax))
        return r.fail("bad vector extent");
    if (res.ntiles < 0 || !r.fits(tiles_offset, uint64_t(res.ntiles), KMD_VECTOR_TILE_SIZE))
        return r.fail("vector tiles outside the file");

    // Segment records may not be shared between tiles, so their total is
    // bounded by the file size and a hostile file cannot make us allocate
    // more than the file holds.
    parts.vector_tiles.resize(size_t(res.ntiles));
    std::vector<uint64_t> seg_offsets(size_t(res.ntiles));
    uint64_t total = 0;
    for (long t = 0; t < res.ntiles; ++t) {
        const unsigned char* q = r.base + tiles_offset + uint64_t(t) * KMD_VECTOR_TILE_SIZE;
        HXMapDataVectorTile& tile = parts.vector_tiles[size_t(t)];
        tile.lonmin = f64(q);
        tile.lonmax = f64(q + 8);
        tile.latmin = f64(q + 16);
        tile.latmax = f64(q + 24);
        tile.fill = i64(q + 32);
        tile.nsegments = i64(q + 40);
        seg_offsets[size_t(t)] = le64(q + 48);
        if (tile.nsegments < 0 ||
            !r.fits(seg_offsets[size_t(t)], uint64_t(tile.nsegments), KMD_SEGMENT_SIZE))
            return r.fail("vector segments outside the file");
        total += uint64_t(tile.nsegments);
        if (total > r.size / KMD_SEGMENT_SIZE)
            return r.fail("more segments than the file holds");
    }
    parts.segments.resize(size_t(total));
    uint64_t next = 0;
    for (long t = 0; t < res.ntiles; ++t) {
        HXMapDataVectorTile& tile = parts.vector_tiles[size_t(t)];
        if (parseSegments(r, res, tile, seg_offsets[size_t(t)], parts.segments.data() + next) < 0)
            return -1;
        next += uint64_t(tile.nsegments);
    }
    v.tiles = parts.vector_tiles.data();
    res.data = &v;
    return 0;
}

int parseResolution(const Reader& r, const unsigned char* p, HXMapDataResolution& res,
                    HXMapDataParts& parts)
{
    std::memset(&res, 0, sizeof res);
    if (!copyText(res.source.fname, p, sizeof res.source.fname) ||
        !copyText(res.name, p + 592, sizeof res.name) ||
        !copyText(res.resolution, p + 720, sizeof res.resolution))
        return r.fail("unterminated text field");
    res.source.data_type = i64(p + 512);
    res.source.map_type = i64(p + 520);
    res.source.lon_start = f64(p + 528);
    res.source.dlon = f64(p + 536);
    res.source.lat_start = f64(p + 544);
    res.source.dlat = f64(p + 552);
    res.source.nlon = i64(p + 560);
    res.source.nlat = i64(p + 568);
    res.data_type = i64(p + 576);
    res.map_type = i64(p + 584);
    res.degrees_per_pixel = f64(p + 784);
    res.lon_start_tiles = f64(p + 792);
    res.lat_start_tiles = f64(p + 800);
    res.dlon_tiles = f64(p + 808);
    res.dlat_tiles = f64(p + 816);
    res.nlon_tiles = i64(p + 824);
    res.nlat_tiles = i64(p + 832);
    res.ntiles = i64(p + 840);
    uint64_t data_offset = le64(p + 848);

    if (!finite(res.degrees_per_pixel) || !finite(res.lon_start_tiles) ||
        !finite(res.lat_start_tiles) || !finite(res.dlon_tiles) || !finite(res.dlat_tiles))
        return r.fail("bad resolution numbers");
    if (res.ntiles < 0 || res.nlon_tiles < 0 || res.nlat_tiles < 0)
        return r.fail("negative tile count");
    if (res.map_type == HX_MAPDATA_GRID)
        return parseGrid(r, data_offset, res, parts);
    if (res.map_type == HX_MAPDATA_VECTOR)
        return parseVector(r, data_offset, res, parts);
    return r.fail("unknown map type");
}

} // namespace

int hx_mapdata_parse(const unsigned char* base, size_t size, const char* fname,
                     std::vector<HXMapDataResolution>& res,
                     std::vector<std::unique_ptr<HXMapDataParts>>& parts)
{
    Reader r{base, size, fname};
    if (size < KMD_HEADER_SIZE)
        return r.fail("shorter than the file header");
    if (std::memcmp(base, HX_MAPDATA_MAGIC, 8) != 0)
        return r.fail("not a map-data file (bad magic)");
    uint32_t version = le32(base + 8);
    if (version != HX_MAPDATA_VERSION) {
        hx_register_error(0, "HXMapData::setInput: %s: file version %u, this reader reads %d.\n",
                          fname, version, HX_MAPDATA_VERSION);
        return -1;
    }
    if (le32(base + 12) != KMD_HEADER_SIZE)
        return r.fail("bad header size");
    if (le64(base + 16) != size)
        return r.fail("size in the header differs from the file's (truncated?)");
    uint32_t nres = le32(base + 24);
    uint64_t res_offset = le64(base + 32);
    if (nres < 1 || !r.fits(res_offset, nres, KMD_RESOLUTION_SIZE))
        return r.fail("resolution records outside the file");

    std::vector<HXMapDataResolution> new_res(nres);
    std::vector<std::unique_ptr<HXMapDataParts>> new_parts;
    for (uint32_t i = 0; i < nres; ++i) {
        new_parts.push_back(std::make_unique<HXMapDataParts>());
        if (parseResolution(r, base + res_offset + uint64_t(i) * KMD_RESOLUTION_SIZE, new_res[i],
                            *new_parts.back()) < 0)
            return -1;
    }
    res.insert(res.end(), new_res.begin(), new_res.end());
    for (auto& p : new_parts)
        parts.push_back(std::move(p));
    return 0;
}
