// Writing map-data files: records are appended to one byte buffer, each
// block aligned to 8 bytes, offsets patched in as blocks are placed.
#include "hx_mapdata_write.h"

#include "hx_error.h"
#include "hx_mapdata_store.h"

#include <zlib.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstring>

namespace {

class Buffer {
public:
    std::vector<unsigned char>& b;
    explicit Buffer(std::vector<unsigned char>& out) : b(out) {}

    size_t reserve(size_t n)
    {
        while (b.size() % 8)
            b.push_back(0);
        size_t at = b.size();
        b.resize(at + n, 0);
        return at;
    }
    void put64(size_t at, uint64_t v)
    {
        for (int i = 0; i < 8; ++i)
            b[at + i] = (unsigned char)(v >> (8 * i));
    }
    void put32(size_t at, uint32_t v)
    {
        for (int i = 0; i < 4; ++i)
            b[at + i] = (unsigned char)(v >> (8 * i));
    }
    void putd(size_t at, double v)
    {
        uint64_t bits;
        std::memcpy(&bits, &v, sizeof bits);
        put64(at, bits);
    }
    void puttext(size_t at, const std::string& s, size_t n)
    {
        std::memcpy(&b[at], s.data(), std::min(s.size(), n - 1));
    }
};

void putResolutionCommon(Buffer& out, size_t at, const std::string& name, const std::string& res,
                         double dpp, long data_type, long map_type)
{
    out.puttext(at, name, 512); // the source is named after the resolution
    out.put64(at + 512, uint64_t(data_type));
    out.put64(at + 520, uint64_t(map_type));
    out.put64(at + 576, uint64_t(data_type));
    out.put64(at + 584, uint64_t(map_type));
    out.puttext(at + 592, name, 128);
    out.puttext(at + 720, res, 64);
    out.putd(at + 784, dpp);
}

int writeGrid(Buffer& out, size_t at, const HXMapDataGridInput& g)
{
    long bpp = g.content == HX_MAPDATA_ELEVATION ? 2 : 3;
    if (g.nlon < 1 || g.nlat < 1 || g.nlon_per_tile < 1 || g.nlat_per_tile < 1 ||
        g.pixels.size() != size_t(g.nlon * g.nlat * bpp)) {
        hx_register_error(0, "HXMapDataWriter: grid '%s': pixels do not match its size.\n",
                          g.name.c_str());
        return -1;
    }
    long ntx = (g.nlon + g.nlon_per_tile - 1) / g.nlon_per_tile;
    long nty = (g.nlat + g.nlat_per_tile - 1) / g.nlat_per_tile;
    putResolutionCommon(out, at, g.name, g.resolution, g.degrees_per_pixel, 0, HX_MAPDATA_GRID);
    out.putd(at + 528, g.lon_start);
    out.putd(at + 536, g.dlon);
    out.putd(at + 544, g.lat_start);
    out.putd(at + 552, g.dlat);
    out.put64(at + 560, uint64_t(g.nlon));
    out.put64(at + 568, uint64_t(g.nlat));
    out.putd(at + 792, g.lon_start);
    out.putd(at + 800, g.lat_start);
    out.putd(at + 808, g.dlon * double(g.nlon_per_tile));
    out.putd(at + 816, g.dlat * double(g.nlat_per_tile));
    out.put64(at + 824, uint64_t(ntx));
    out.put64(at + 832, uint64_t(nty));
    out.put64(at + 840, uint64_t(ntx * nty));

    size_t grid = out.reserve(KMD_GRID_SIZE);
    out.put64(at + 848, grid);
    out.put64(grid, uint64_t(g.decimation_factor));
    out.put64(grid + 8, uint64_t(g.compressed));
    out.put64(grid + 16, uint64_t(g.content));
    out.putd(grid + 40, g.lon_start);
    out.putd(grid + 48, g.dlon);
    out.putd(grid + 56, g.lat_start);
    out.putd(grid + 64, g.dlat);
    out.put64(grid + 72, uint64_t(g.nlon));
    out.put64(grid + 80, uint64_t(g.nlat));
    out.put64(grid + 88, uint64_t(g.nlon_per_tile));
    out.put64(grid + 96, uint64_t(g.nlat_per_tile));
    size_t tiles = out.reserve(size_t(ntx * nty) * KMD_GRID_TILE_SIZE);
    out.put64(grid + 104, tiles);

    long gzmin = LONG_MAX, gzmax = LONG_MIN;
    std::vector<unsigned char> raw, packed;
    for (long ty = 0; ty < nty; ++ty) {
        for (long tx = 0; tx < ntx; ++tx) {
            long w = std::min(g.nlon_per_tile, g.nlon - tx * g.nlon_per_tile);
            long h = std::min(g.nlat_per_tile, g.nlat - ty * g.nlat_per_tile);
            raw.clear();
            long zmin = LONG_MAX, zmax = LONG_MIN;
            for (long y = 0; y < h; ++y) {
                size_t row =
                    size_t(((ty * g.nlat_per_tile + y) * g.nlon + tx * g.nlon_per_tile) * bpp);
                raw.insert(raw.end(), g.pixels.begin() + long(row),
                           g.pixels.begin() + long(row) + w * bpp);
            }
            if (bpp == 2)
                for (size_t i = 0; i < raw.size(); i += 2) {
                    long z = int16_t(raw[i] | raw[i + 1] << 8);
                    zmin = std::min(zmin, z);
                    zmax = std::max(zmax, z);
                }
            else
                zmin = zmax = 0;
            gzmin = std::min(gzmin, zmin);
            gzmax = std::max(gzmax, zmax);
            const std::vector<unsigned char>* data = &raw;
            if (g.compressed == HX_MAPDATA_ZLIB) {
                uLongf n = compressBound(uLong(raw.size()));
                packed.resize(n);
                if (compress2(packed.data(), &n, raw.data(), uLong(raw.size()), 6) != Z_OK) {
                    hx_register_error(1, "HXMapDataWriter: compress2 error.\n");
                    return -1;
                }
                packed.resize(n);
                data = &packed;
            }
            size_t rec = tiles + size_t(ty * ntx + tx) * KMD_GRID_TILE_SIZE;
            size_t pos = out.reserve(data->size());
            std::copy(data->begin(), data->end(), out.b.begin() + long(pos));
            out.put64(rec, uint64_t(zmin));
            out.put64(rec + 8, uint64_t(zmax));
            out.put64(rec + 16, data->size());
            out.put64(rec + 24, pos);
            out.put64(rec + 32, raw.size());
        }
    }
    out.put64(grid + 24, uint64_t(gzmin));
    out.put64(grid + 32, uint64_t(gzmax));
    return 0;
}

void putPoint(Buffer& out, size_t at, int v, bool big_endian)
{
    uint32_t u = uint32_t(v);
    for (int i = 0; i < 4; ++i)
        out.b[at + i] = (unsigned char)(big_endian ? u >> (24 - 8 * i) : u >> (8 * i));
}

int writeVector(Buffer& out, size_t at, const HXMapDataVectorInput& v)
{
    putResolutionCommon(out, at, v.name, v.resolution, v.degrees_per_pixel,
                        v.big_endian ? HX_MAPDATA_BIG_ENDIAN : 0, HX_MAPDATA_VECTOR);
    long ntiles = long(v.tiles.size());
    out.putd(at + 792, -180);
    out.putd(at + 800, -90);
    out.putd(at + 808, 360);
    out.putd(at + 816, 180);
    out.put64(at + 824, uint64_t(ntiles));
    out.put64(at + 832, 1);
    out.put64(at + 840, uint64_t(ntiles));
    size_t vec = out.reserve(KMD_VECTOR_SIZE);
    out.put64(at + 848, vec);
    size_t tiles = out.reserve(size_t(ntiles) * KMD_VECTOR_TILE_SIZE);
    out.put64(vec + 32, tiles);
    double vlonmin = 1e9, vlonmax = -1e9, vlatmin = 1e9, vlatmax = -1e9;
    for (long t = 0; t < ntiles; ++t) {
        const HXMapDataVectorTileInput& tile = v.tiles[size_t(t)];
        size_t rec = tiles + size_t(t) * KMD_VECTOR_TILE_SIZE;
        size_t segs = out.reserve(tile.segments.size() * KMD_SEGMENT_SIZE);
        double tlonmin = 1e9, tlonmax = -1e9, tlatmin = 1e9, tlatmax = -1e9;
        for (size_t s = 0; s < tile.segments.size(); ++s) {
            const HXMapDataSegmentInput& seg = tile.segments[s];
            if (seg.lons.size() != seg.lats.size() || seg.lons.size() > UINT32_MAX) {
                hx_register_error(0, "HXMapDataWriter: vector '%s': bad segment.\n",
                                  v.name.c_str());
                return -1;
            }
            int lonmin = 0, lonmax = 0, latmin = 0, latmax = 0;
            if (!seg.lons.empty()) {
                auto lo = std::minmax_element(seg.lons.begin(), seg.lons.end());
                auto la = std::minmax_element(seg.lats.begin(), seg.lats.end());
                lonmin = *lo.first, lonmax = *lo.second, latmin = *la.first, latmax = *la.second;
                tlonmin = std::min(tlonmin, lonmin * 1e-6);
                tlonmax = std::max(tlonmax, lonmax * 1e-6);
                tlatmin = std::min(tlatmin, latmin * 1e-6);
                tlatmax = std::max(tlatmax, latmax * 1e-6);
            }
            size_t pts = out.reserve(seg.lons.size() * KMD_POINT_SIZE);
            for (size_t i = 0; i < seg.lons.size(); ++i) {
                putPoint(out, pts + 8 * i, seg.lons[i], v.big_endian);
                putPoint(out, pts + 8 * i + 4, seg.lats[i], v.big_endian);
            }
            size_t r = segs + s * KMD_SEGMENT_SIZE;
            out.put32(r, uint32_t(seg.level));
            out.put32(r + 4, uint32_t(seg.fill));
            out.put32(r + 8, uint32_t(lonmin));
            out.put32(r + 12, uint32_t(lonmax));
            out.put32(r + 16, uint32_t(latmin));
            out.put32(r + 20, uint32_t(latmax));
            out.put32(r + 24, uint32_t(seg.lons.size()));
            out.put64(r + 32, pts);
        }
        if (tile.segments.empty())
            tlonmin = tlonmax = tlatmin = tlatmax = 0;
        out.putd(rec, tlonmin);
        out.putd(rec + 8, tlonmax);
        out.putd(rec + 16, tlatmin);
        out.putd(rec + 24, tlatmax);
        out.put64(rec + 32, uint64_t(tile.fill));
        out.put64(rec + 40, tile.segments.size());
        out.put64(rec + 48, segs);
        vlonmin = std::min(vlonmin, tlonmin);
        vlonmax = std::max(vlonmax, tlonmax);
        vlatmin = std::min(vlatmin, tlatmin);
        vlatmax = std::max(vlatmax, tlatmax);
    }
    if (ntiles == 0)
        vlonmin = vlonmax = vlatmin = vlatmax = 0;
    out.putd(vec, vlonmin);
    out.putd(vec + 8, vlonmax);
    out.putd(vec + 16, vlatmin);
    out.putd(vec + 24, vlatmax);
    return 0;
}

} // namespace

int HXMapDataWriter::toBytes(std::vector<unsigned char>& bytes) const
{
    bytes.clear();
    if (grids.empty()) {
        hx_register_error(0, "HXMapDataWriter: no resolutions.\n");
        return -1;
    }
    Buffer out(bytes);
    size_t header = out.reserve(KMD_HEADER_SIZE);
    std::memcpy(&bytes[header], HX_MAPDATA_MAGIC, 8);
    out.put32(8, HX_MAPDATA_VERSION);
    out.put32(12, KMD_HEADER_SIZE);
    out.put32(24, uint32_t(grids.size()));
    size_t res = out.reserve(grids.size() * KMD_RESOLUTION_SIZE);
    out.put64(32, res);
    for (size_t i = 0; i < grids.size(); ++i) {
        size_t at = res + i * KMD_RESOLUTION_SIZE;
        int status = grids[i].is_grid ? writeGrid(out, at, grids[i].grid)
                                      : writeVector(out, at, grids[i].vec);
        if (status < 0)
            return -1;
    }
    out.put64(16, bytes.size());
    return 0;
}

int HXMapDataWriter::write(const char* fname) const
{
    std::vector<unsigned char> bytes;
    if (toBytes(bytes) < 0)
        return -1;
    std::string tmp = std::string(fname) + ".tmp";
    FILE* f = fopen(tmp.c_str(), "wb");
    if (!f) {
        hx_register_error(0, "HXMapDataWriter::write: cannot create '%s'.\n", tmp.c_str());
        return -1;
    }
    bool ok = fwrite(bytes.data(), 1, bytes.size(), f) == bytes.size();
    ok = (fclose(f) == 0) && ok;
    if (!ok || rename(tmp.c_str(), fname) != 0) {
        hx_register_error(0, "HXMapDataWriter::write: cannot write '%s'.\n", fname);
        remove(tmp.c_str());
        return -1;
    }
    return 0;
}
