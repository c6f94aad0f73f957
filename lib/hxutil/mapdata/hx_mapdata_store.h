// Private state of HXMapData: the file mappings, the records built from
// them and the tile cache. Shared by hx_mapdata.cpp and
// hx_mapdata_cache.cpp; not installed.
#ifndef HX_MAPDATA_STORE_H
#define HX_MAPDATA_STORE_H

#include "hx_mapdata.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <vector>

// Sizes of the fixed records of the file (docs/mapdata.md).
enum {
    KMD_HEADER_SIZE = 64,
    KMD_RESOLUTION_SIZE = 896,
    KMD_GRID_SIZE = 128,
    KMD_GRID_TILE_SIZE = 40,
    KMD_VECTOR_SIZE = 48,
    KMD_VECTOR_TILE_SIZE = 64,
    KMD_SEGMENT_SIZE = 40,
    KMD_POINT_SIZE = 8,
};

// One mapped file.
struct HXMapDataMapping {
    unsigned char* base = nullptr;
    size_t size = 0;
};

// The records of one resolution, owned here; the resolution's data and
// tiles point into them.
struct HXMapDataParts {
    HXMapDataGrid grid{};
    std::vector<HXMapDataGridTile> grid_tiles;
    HXMapDataVector vector{};
    std::vector<HXMapDataVectorTile> vector_tiles;
    std::vector<HXMapDataVectorSegment> segments;
};

// One decompressed tile. Its pixels are written once, under its own lock,
// by the first thread that asks for it; ready is set after that.
struct HXMapDataCacheEntry {
    std::mutex lock;
    std::atomic<bool> ready{false};
    std::vector<unsigned char> pixels;
    uint64_t last_use = 0;
};

class HXMapDataStore {
public:
    ~HXMapDataStore();
    void unmapAll();

    std::vector<HXMapDataMapping> mappings;
    std::vector<HXMapDataResolution> resolutions;
    std::vector<std::unique_ptr<HXMapDataParts>> parts; // one per resolution

    std::mutex cache_lock; // guards the map, use counter and total below
    std::unordered_map<uint64_t, std::unique_ptr<HXMapDataCacheEntry>> cache;
    uint64_t use_counter = 0;
    long cache_bytes = 0;
};

// Checks a mapped file and appends its resolutions to res and parts.
// 0, or -1 with a registered error naming fname.
int hx_mapdata_parse(const unsigned char* base, size_t size, const char* fname,
                     std::vector<HXMapDataResolution>& res,
                     std::vector<std::unique_ptr<HXMapDataParts>>& parts);

#endif
