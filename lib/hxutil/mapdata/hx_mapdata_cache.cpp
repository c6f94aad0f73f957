// The tile cache of HXMapData: decompressed grid tiles shared by every
// thread that renders from the same file.
#include "hx_error.h"
#include "hx_mapdata_store.h"

#include <zlib.h>

#include <algorithm>

namespace {

uint64_t cacheKey(int ires, int itile)
{
    return uint64_t(uint32_t(ires)) << 32 | uint32_t(itile);
}

// The pixels of a tile into out. 0, or -1 when the data is corrupt.
int decompress(const HXMapDataGrid* grid, const HXMapDataGridTile& tile,
               std::vector<unsigned char>& out)
{
    out.resize(tile.nbytes);
    if (grid->compressed == HX_MAPDATA_RAW) {
        std::copy(tile.buf, tile.buf + tile.nbytes, out.begin());
        return 0;
    }
    uLongf n = uLongf(tile.nbytes);
    int status = uncompress(out.data(), &n, tile.buf, uLong(tile.nbuf));
    if (status != Z_OK || n != tile.nbytes) {
        out.clear();
        return -1;
    }
    return 0;
}

} // namespace

int HXMapData::getTileGrid(int ires, int itile, unsigned char** buf)
{
    *buf = nullptr;
    if (ires < 0 || ires >= frame.nresolutions) {
        hx_register_error(0, "HXMapData::getTileGrid: resolution %d outside of range.\n", ires);
        return -1;
    }
    HXMapDataResolution* res = &frame.resolutions[ires];
    if (res->map_type != HX_MAPDATA_GRID || itile < 0 || itile >= res->ntiles) {
        hx_register_error(0, "HXMapData::getTileGrid: no grid tile %d in resolution %d.\n", itile,
                          ires);
        return -1;
    }
    HXMapDataCacheEntry* entry;
    {
        std::lock_guard<std::mutex> guard(store->cache_lock);
        auto& slot = store->cache[cacheKey(ires, itile)];
        if (!slot)
            slot = std::make_unique<HXMapDataCacheEntry>();
        entry = slot.get();
        entry->last_use = ++store->use_counter;
    }
    // The entry stays in the map until cleanCache, which never overlaps
    // with readers, so it can be filled outside the cache lock.
    if (!entry->ready.load(std::memory_order_acquire)) {
        std::lock_guard<std::mutex> guard(entry->lock);
        if (!entry->ready.load(std::memory_order_relaxed)) {
            const HXMapDataGrid* grid = static_cast<HXMapDataGrid*>(res->data);
            if (decompress(grid, grid->tiles[itile], entry->pixels) < 0) {
                hx_register_error(0,
                                  "HXMapData::getTileGrid: tile %d of resolution %d is corrupt.\n",
                                  itile, ires);
                return -1;
            }
            {
                std::lock_guard<std::mutex> sizes(store->cache_lock);
                store->cache_bytes += long(entry->pixels.size());
            }
            entry->ready.store(true, std::memory_order_release);
        }
    }
    *buf = entry->pixels.data();
    return 0;
}

long HXMapData::cleanCache(long maxsize, int verbose)
{
    std::lock_guard<std::mutex> guard(store->cache_lock);
    if (store->cache_bytes <= maxsize)
        return store->cache_bytes;
    // Oldest use first.
    std::vector<std::pair<uint64_t, uint64_t>> order;
    for (auto& kv : store->cache)
        order.emplace_back(kv.second->last_use, kv.first);
    std::sort(order.begin(), order.end());
    long freed = 0, ntiles = 0;
    for (auto& o : order) {
        if (store->cache_bytes <= maxsize)
            break;
        auto it = store->cache.find(o.second);
        long n = long(it->second->pixels.size());
        store->cache_bytes -= n;
        freed += n;
        ++ntiles;
        store->cache.erase(it);
    }
    if (verbose)
        printf("HXMapData::cleanCache: freed %ld tiles, %ld bytes; %ld bytes kept.\n", ntiles,
               freed, store->cache_bytes);
    return store->cache_bytes;
}

long HXMapData::cacheSize()
{
    std::lock_guard<std::mutex> guard(store->cache_lock);
    return store->cache_bytes;
}
