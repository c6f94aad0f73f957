// Map-data files (.kmd): resolutions of tiled raster grids or tiled vector
// segments, read through a memory mapping. docs/mapdata.md describes the
// file layout.
//
// setInput maps a file and checks every record, offset and size against the
// file before any record is handed out, so that a corrupt or hostile file is
// refused with a registered error instead of being read out of bounds.
// Grid tiles are stored compressed; getTileGrid decompresses them into a
// cache that any number of threads may use at the same time.
#ifndef HX_MAPDATA_H
#define HX_MAPDATA_H

#include <cstddef>
#include <cstdint>
#include <cstdio>

struct Arr;

// Version of the file layout this reader understands.
#define HX_MAPDATA_VERSION 1
// The first eight bytes of every file.
#define HX_MAPDATA_MAGIC "KGRKMD\r\n"

// data_type of a vector resolution whose points are stored big-endian.
#define HX_MAPDATA_BIG_ENDIAN 4
// map_type of a resolution.
enum { HX_MAPDATA_GRID = 1, HX_MAPDATA_VECTOR = 2 };
// content of a grid: 16-bit signed samples, or 3 bytes red, green, blue.
enum { HX_MAPDATA_ELEVATION = 1, HX_MAPDATA_RGB = 2 };
// compressed of a grid: how its tiles are stored.
enum { HX_MAPDATA_RAW = 0, HX_MAPDATA_ZLIB = 1 };

// A big-endian (network order) 32-bit integer in host order.
int N2H4(int value);

struct HXMapDataSource {
    char fname[512];
    long data_type;
    long map_type;
    double lon_start, dlon;
    double lat_start, dlat;
    long nlon, nlat;
};

struct HXMapDataGridTile {
    long zmin, zmax;
    unsigned long nbuf;   // bytes of buf (compressed)
    unsigned char* buf;   // inside the mapping
    unsigned long nlon;   // pixels across this tile (edge tiles are narrower)
    unsigned long nlat;   // pixels down this tile
    unsigned long nbytes; // bytes once decompressed
};

// Cell (i, j) of a grid covers longitudes lon_start + i dlon to
// lon_start + (i + 1) dlon and latitudes lat_start + j dlat to
// lat_start + (j + 1) dlat; row 0 is the southern one.
struct HXMapDataGrid {
    long decimation_factor;
    long compressed;
    long content;
    long zmin, zmax;
    double lon_start, dlon;
    double lat_start, dlat;
    long nlon, nlat;
    long nlon_per_tile, nlat_per_tile;
    HXMapDataGridTile* tiles;
};

struct HXMapDataXY {
    int lon_microdegrees;
    int lat_microdegrees;
};

// One closed polygon or polyline. Bounds are microdegrees, in host order.
struct HXMapDataVectorSegment {
    int level;
    int fill;
    int lonmin, lonmax, latmin, latmax;
    long npts;
    HXMapDataXY* pts; // inside the mapping, in the resolution's byte order
};

struct HXMapDataVectorTile {
    double lonmin, lonmax, latmin, latmax;
    long fill;
    long nsegments;
    HXMapDataVectorSegment* segments;
};

struct HXMapDataVector {
    double lonmin, lonmax, latmin, latmax;
    HXMapDataVectorTile* tiles;
};

struct HXMapDataResolution {
    HXMapDataSource source;
    long data_type;
    long map_type;
    char name[128];
    char resolution[64];
    double degrees_per_pixel;
    double lon_start_tiles, lat_start_tiles;
    double dlon_tiles, dlat_tiles;
    long nlon_tiles, nlat_tiles;
    long ntiles;
    void* data; // HXMapDataGrid* or HXMapDataVector*
};

struct HXMapDataFrame {
    char magic[8];
    long nresolutions;
    HXMapDataResolution* resolutions;
};

class HXMapDataStore;

class HXMapData {
public:
    HXMapData();
    virtual ~HXMapData();
    HXMapData(const HXMapData&) = delete;
    HXMapData& operator=(const HXMapData&) = delete;

    // Maps and checks a file. With append clear the file replaces what was
    // open; with it set its resolutions follow the ones already open.
    // 0, or -1 with a registered error (nothing changes then).
    int setInput(const char* fname, int append);
    // The tile of res holding (lat, lon): its index (negative when none)
    // and its column and row among the tiles.
    int findTile(HXMapDataResolution* res, double lat, double lon, int* itile, long* ilon,
                 long* ilat);
    // The decompressed pixels of a grid tile. They stay valid until
    // cleanCache or setInput runs, which must not overlap with readers.
    // Any number of threads may call it at once. 0, or -1 on failure.
    int getTileGrid(int ires, int itile, unsigned char** buf);
    // The pixel (ix, iy) of (lat, lon) within the tile (ilon, ilat) that
    // findTile gave, and its byte offset in the tile's pixels; -1 and a
    // negative offset when the point is outside the tile.
    int findPixelWithinTile(HXMapDataResolution* res, HXMapDataGrid* grid, long ilon, long ilat,
                            double lat, double lon, long* ix, long* iy, long* offset);
    // Frees least recently used tiles until the cache holds at most maxsize
    // bytes; with verbose set prints what it freed. Returns the bytes held.
    long cleanCache(long maxsize, int verbose);
    // Bytes of decompressed tiles held.
    long cacheSize();

    HXMapDataFrame frame;
    Arr* src_arr;
    int append;
    FILE* file_stream;
    long file_size;
    char* fname;
    int fd;
    long nresolutions_offset;

private:
    void close();
    HXMapDataStore* store;
};

#endif
