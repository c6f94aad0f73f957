// Writing map-data files (.kmd, docs/mapdata.md): collect resolutions, then
// write them as one file. The output depends only on what was added, so the
// same input always gives the same bytes.
#ifndef HX_MAPDATA_WRITE_H
#define HX_MAPDATA_WRITE_H

#include <string>
#include <vector>

// A grid resolution: nlon x nlat pixels, row 0 the southern one, each pixel
// 2 bytes (a little-endian signed sample, content 1) or 3 bytes (red,
// green, blue, content 2).
struct HXMapDataGridInput {
    std::string name;
    std::string resolution;
    double degrees_per_pixel = 0;
    long content = 1;
    long compressed = 1; // 0 raw, 1 zlib
    long decimation_factor = 1;
    double lon_start = -180, dlon = 1;
    double lat_start = -90, dlat = 1;
    long nlon = 0, nlat = 0;
    long nlon_per_tile = 256, nlat_per_tile = 256;
    std::vector<unsigned char> pixels;
};

// One polygon or polyline, microdegrees.
struct HXMapDataSegmentInput {
    int level = 1;
    int fill = 0;
    std::vector<int> lons;
    std::vector<int> lats;
};

struct HXMapDataVectorTileInput {
    long fill = 0;
    std::vector<HXMapDataSegmentInput> segments;
};

struct HXMapDataVectorInput {
    std::string name;
    std::string resolution;
    double degrees_per_pixel = 0;
    bool big_endian = true; // data_type 4
    std::vector<HXMapDataVectorTileInput> tiles;
};

class HXMapDataWriter {
public:
    void addGrid(const HXMapDataGridInput& grid) { grids.push_back({true, grid, {}}); }
    void addVector(const HXMapDataVectorInput& vec) { grids.push_back({false, {}, vec}); }
    // The file's bytes. 0, or -1 with a registered error (bad sizes).
    int toBytes(std::vector<unsigned char>& out) const;
    // Writes the file (through a temporary name, then renamed). 0 or -1.
    int write(const char* fname) const;

private:
    struct Entry {
        bool is_grid;
        HXMapDataGridInput grid;
        HXMapDataVectorInput vec;
    };
    std::vector<Entry> grids;
};

#endif
