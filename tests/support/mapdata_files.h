// Small map-data files for the reader and renderer tests, written through
// HXMapDataWriter into a temporary directory.
#ifndef KGRQT_TEST_MAPDATA_FILES_H
#define KGRQT_TEST_MAPDATA_FILES_H

#include "hx_mapdata_write.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <unistd.h>
#include <vector>

// A path in a per-process temporary directory.
inline std::string tempPath(const std::string& name)
{
    static std::string dir = [] {
        char tmpl[] = "/tmp/kgrqt-mapdata-XXXXXX";
        char* d = mkdtemp(tmpl);
        return std::string(d ? d : "/tmp");
    }();
    return dir + "/" + name;
}

inline std::string writeBytes(const std::string& name, const std::vector<unsigned char>& bytes)
{
    std::string path = tempPath(name);
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()), std::streamsize(bytes.size()));
    return path;
}

// The sample of an elevation test grid at cell (i, j): distinct per cell.
inline int sampleAt(long i, long j)
{
    return int(j * 100 + i - 500);
}

// An elevation grid of nlon x nlat one-degree cells from (lon0, lat0).
inline HXMapDataGridInput elevationGrid(long nlon, long nlat, long tile, double lon0 = -180,
                                        double lat0 = -90, double d = 1.0)
{
    HXMapDataGridInput g;
    g.name = "elevation";
    g.resolution = "test";
    g.degrees_per_pixel = d;
    g.content = 1;
    g.lon_start = lon0;
    g.lat_start = lat0;
    g.dlon = g.dlat = d;
    g.nlon = nlon;
    g.nlat = nlat;
    g.nlon_per_tile = g.nlat_per_tile = tile;
    for (long j = 0; j < nlat; ++j)
        for (long i = 0; i < nlon; ++i) {
            int z = sampleAt(i, j);
            g.pixels.push_back((unsigned char)(z & 0xff));
            g.pixels.push_back((unsigned char)((z >> 8) & 0xff));
        }
    return g;
}

// A grid of one value everywhere (content 1) or one colour (content 2).
inline HXMapDataGridInput constantGrid(int content, int value, int r, int g_, int b, long nlon = 36,
                                       long nlat = 18)
{
    HXMapDataGridInput g;
    g.name = content == 1 ? "elevation" : "image";
    g.resolution = "constant";
    g.degrees_per_pixel = 360.0 / double(nlon);
    g.content = content;
    g.dlon = 360.0 / double(nlon);
    g.dlat = 180.0 / double(nlat);
    g.nlon = nlon;
    g.nlat = nlat;
    g.nlon_per_tile = g.nlat_per_tile = 8;
    for (long k = 0; k < nlon * nlat; ++k) {
        if (content == 1) {
            g.pixels.push_back((unsigned char)(value & 0xff));
            g.pixels.push_back((unsigned char)((value >> 8) & 0xff));
        } else {
            g.pixels.push_back((unsigned char)r);
            g.pixels.push_back((unsigned char)g_);
            g.pixels.push_back((unsigned char)b);
        }
    }
    return g;
}

// A segment from degree corners.
inline HXMapDataSegmentInput segment(int level, int fill, const std::vector<double>& lons,
                                     const std::vector<double>& lats)
{
    HXMapDataSegmentInput s;
    s.level = level;
    s.fill = fill;
    for (size_t i = 0; i < lons.size(); ++i) {
        s.lons.push_back(int(lons[i] * 1e6 + (lons[i] < 0 ? -0.5 : 0.5)));
        s.lats.push_back(int(lats[i] * 1e6 + (lats[i] < 0 ? -0.5 : 0.5)));
    }
    return s;
}

inline HXMapDataVectorInput vectorOf(const std::vector<HXMapDataSegmentInput>& segs,
                                     bool big_endian = true, double dpp = 0.1)
{
    HXMapDataVectorInput v;
    v.name = "coasts";
    v.resolution = "test";
    v.degrees_per_pixel = dpp;
    v.big_endian = big_endian;
    v.tiles.resize(1);
    v.tiles[0].segments = segs;
    return v;
}

inline std::vector<unsigned char> bytesOf(const HXMapDataWriter& w)
{
    std::vector<unsigned char> b;
    w.toBytes(b);
    return b;
}

#endif
