#include "hx_mapdata.h"
#include "mapdata_files.h"
#include "register.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <thread>

namespace {

uint64_t get64(const std::vector<unsigned char>& b, size_t at)
{
    uint64_t v = 0;
    for (int i = 7; i >= 0; --i)
        v = v << 8 | b[at + size_t(i)];
    return v;
}

void put64(std::vector<unsigned char>& b, size_t at, uint64_t v)
{
    for (int i = 0; i < 8; ++i)
        b[at + size_t(i)] = (unsigned char)(v >> (8 * i));
}

void put32(std::vector<unsigned char>& b, size_t at, uint32_t v)
{
    for (int i = 0; i < 4; ++i)
        b[at + size_t(i)] = (unsigned char)(v >> (8 * i));
}

// Where the records of the first resolution are.
const size_t kRes = 64;
size_t dataOffset(const std::vector<unsigned char>& b)
{
    return size_t(get64(b, kRes + 848));
}

std::vector<unsigned char> gridFile(long compressed = 1)
{
    HXMapDataWriter w;
    HXMapDataGridInput g = elevationGrid(10, 6, 4);
    g.compressed = compressed;
    w.addGrid(g);
    return bytesOf(w);
}

std::vector<unsigned char> vectorFile(bool big_endian)
{
    HXMapDataWriter w;
    w.addVector(vectorOf({segment(1, 1, {10, 20, 20, 10}, {5, 5, 15, 15}),
                          segment(2, 1, {12.5, 13, 13}, {-7.25, 8, 9})},
                         big_endian));
    return bytesOf(w);
}

// Opens the bytes as a file; the register's text when it fails.
int open(HXMapData& md, const std::vector<unsigned char>& bytes, std::string* err = nullptr)
{
    takeRegister();
    int status = md.setInput(writeBytes("case.kmd", bytes).c_str(), 0);
    std::string text = takeRegister();
    if (err)
        *err = text;
    return status;
}

// The sample at (lat, lon) through the reader's three lookups.
bool sampleOf(HXMapData& md, int ires, double lat, double lon, int* z)
{
    HXMapDataResolution* res = &md.frame.resolutions[ires];
    int itile;
    long ilon, ilat, ix, iy, offset;
    if (md.findTile(res, lat, lon, &itile, &ilon, &ilat) < 0 || itile < 0)
        return false;
    unsigned char* buf;
    if (md.getTileGrid(ires, itile, &buf) < 0)
        return false;
    auto* grid = static_cast<HXMapDataGrid*>(res->data);
    if (md.findPixelWithinTile(res, grid, ilon, ilat, lat, lon, &ix, &iy, &offset) < 0)
        return false;
    *z = int16_t(buf[offset] | buf[offset + 1] << 8);
    return true;
}

// Every lookup over a whole resolution, to let the sanitizers see any stray
// read of an accepted file.
void touchEverything(HXMapData& md)
{
    for (long r = 0; r < md.frame.nresolutions; ++r) {
        HXMapDataResolution& res = md.frame.resolutions[r];
        if (res.map_type == HX_MAPDATA_GRID) {
            for (long t = 0; t < res.ntiles; ++t) {
                unsigned char* buf;
                if (md.getTileGrid(int(r), int(t), &buf) == 0) {
                    auto* g = static_cast<HXMapDataGrid*>(res.data);
                    volatile unsigned sum = 0;
                    for (unsigned long k = 0; k < g->tiles[t].nbytes; ++k)
                        sum = sum + buf[k];
                }
            }
            int z;
            for (double lat = -95; lat <= 95; lat += 7.3)
                for (double lon = -400; lon <= 400; lon += 11.1)
                    sampleOf(md, int(r), lat, lon, &z);
        } else {
            auto* v = static_cast<HXMapDataVector*>(res.data);
            volatile long sum = 0;
            for (long t = 0; t < res.ntiles; ++t)
                for (long s = 0; s < v->tiles[t].nsegments; ++s) {
                    HXMapDataVectorSegment& seg = v->tiles[t].segments[s];
                    for (long k = 0; k < seg.npts; ++k)
                        sum = sum + seg.pts[k].lon_microdegrees + seg.pts[k].lat_microdegrees;
                }
        }
    }
    takeRegister();
}

} // namespace

TEST(MapData, N2H4SwapsNetworkOrder)
{
    unsigned char be[4] = {0x12, 0x34, 0x56, 0x78};
    int raw;
    std::memcpy(&raw, be, 4);
    EXPECT_EQ(N2H4(raw), 0x12345678);
    unsigned char neg[4] = {0xff, 0xff, 0xff, 0xfe};
    std::memcpy(&raw, neg, 4);
    EXPECT_EQ(N2H4(raw), -2);
}

TEST(MapData, GridRecordsAndEverySample)
{
    for (long compressed : {0L, 1L}) {
        HXMapData md;
        ASSERT_EQ(open(md, gridFile(compressed)), 0);
        EXPECT_EQ(std::string(md.frame.magic, 8), HX_MAPDATA_MAGIC);
        ASSERT_EQ(md.frame.nresolutions, 1);
        HXMapDataResolution& res = md.frame.resolutions[0];
        EXPECT_STREQ(res.name, "elevation");
        EXPECT_STREQ(res.resolution, "test");
        EXPECT_EQ(res.map_type, HX_MAPDATA_GRID);
        EXPECT_EQ(res.nlon_tiles, 3);
        EXPECT_EQ(res.nlat_tiles, 2);
        EXPECT_EQ(res.ntiles, 6);
        EXPECT_DOUBLE_EQ(res.degrees_per_pixel, 1.0);
        auto* g = static_cast<HXMapDataGrid*>(res.data);
        EXPECT_EQ(g->content, 1);
        EXPECT_EQ(g->compressed, compressed);
        EXPECT_EQ(g->zmin, sampleAt(0, 0));
        EXPECT_EQ(g->zmax, sampleAt(9, 5));
        EXPECT_EQ(g->tiles[2].nlon, 2u); // the eastern edge tile is narrower
        EXPECT_EQ(g->tiles[5].nlat, 2u);
        for (long j = 0; j < 6; ++j)
            for (long i = 0; i < 10; ++i) {
                int z = 0;
                ASSERT_TRUE(sampleOf(md, 0, -90 + j + 0.5, -180 + i + 0.5, &z)) << i << " " << j;
                EXPECT_EQ(z, sampleAt(i, j)) << i << " " << j;
            }
    }
}

TEST(MapData, GridEdgesAndOutside)
{
    HXMapData md;
    ASSERT_EQ(open(md, gridFile()), 0);
    HXMapDataResolution* res = &md.frame.resolutions[0];
    int itile, z;
    long ilon, ilat;
    // The far edge belongs to the last cell; beyond it there is no tile.
    ASSERT_TRUE(sampleOf(md, 0, -84.0, -170.0, &z));
    EXPECT_EQ(z, sampleAt(9, 5));
    EXPECT_EQ(md.findTile(res, -83.9, -175, &itile, &ilon, &ilat), -1);
    EXPECT_LT(itile, 0);
    EXPECT_EQ(md.findTile(res, -90.1, -175, &itile, &ilon, &ilat), -1);
    EXPECT_EQ(md.findTile(res, -85, -180.5, &itile, &ilon, &ilat), -1);
    EXPECT_EQ(md.findTile(res, NAN, -175, &itile, &ilon, &ilat), -1);
    // A pixel asked of the wrong tile is refused.
    long ix, iy, off;
    auto* g = static_cast<HXMapDataGrid*>(res->data);
    ASSERT_EQ(md.findTile(res, -89.5, -179.5, &itile, &ilon, &ilat), 0);
    EXPECT_EQ(md.findPixelWithinTile(res, g, ilon + 1, ilat, -89.5, -179.5, &ix, &iy, &off), -1);
    EXPECT_LT(off, 0);
    EXPECT_EQ(md.findPixelWithinTile(res, g, 7, 0, -89.5, -179.5, &ix, &iy, &off), -1);
}

TEST(MapData, GlobalGridWrapsLongitudes)
{
    HXMapDataWriter w;
    w.addGrid(elevationGrid(36, 18, 8, 0, -90, 10)); // 0 to 360, as a grid from 0 east
    HXMapData md;
    ASSERT_EQ(open(md, bytesOf(w)), 0);
    int z1 = 0, z2 = 0, z3 = 0;
    ASSERT_TRUE(sampleOf(md, 0, 5, -5, &z1)); // -5 is 355
    ASSERT_TRUE(sampleOf(md, 0, 5, 355, &z2));
    ASSERT_TRUE(sampleOf(md, 0, 5, 715, &z3));
    int z4 = 0, z5 = 0;
    ASSERT_TRUE(sampleOf(md, 0, 5, 1075, &z4)); // three turns away
    ASSERT_TRUE(sampleOf(md, 0, 5, 360, &z5));  // the start, one turn on
    EXPECT_EQ(z4, z1);
    EXPECT_EQ(z5, sampleAt(0, 9));
    EXPECT_EQ(z1, sampleAt(35, 9));
    EXPECT_EQ(z2, z1);
    EXPECT_EQ(z3, z1);
}

TEST(MapData, VectorRecordsInBothByteOrders)
{
    for (bool big : {true, false}) {
        HXMapData md;
        ASSERT_EQ(open(md, vectorFile(big)), 0);
        HXMapDataResolution& res = md.frame.resolutions[0];
        EXPECT_EQ(res.map_type, HX_MAPDATA_VECTOR);
        EXPECT_EQ(res.data_type, big ? 4 : 0);
        ASSERT_EQ(res.ntiles, 1);
        auto* v = static_cast<HXMapDataVector*>(res.data);
        EXPECT_DOUBLE_EQ(v->lonmin, 10);
        EXPECT_DOUBLE_EQ(v->latmin, -7.25);
        ASSERT_EQ(v->tiles[0].nsegments, 2);
        HXMapDataVectorSegment& s = v->tiles[0].segments[1];
        EXPECT_EQ(s.level, 2);
        EXPECT_EQ(s.fill, 1);
        EXPECT_EQ(s.lonmin, 12500000);
        EXPECT_EQ(s.latmin, -7250000);
        EXPECT_EQ(s.latmax, 9000000);
        ASSERT_EQ(s.npts, 3);
        int lat0 = s.pts[0].lat_microdegrees;
        EXPECT_EQ(big ? N2H4(lat0) : lat0, -7250000);
        int itile;
        long a, b;
        EXPECT_EQ(md.findTile(&res, 10, 15, &itile, &a, &b), 0);
        EXPECT_EQ(itile, 0);
        EXPECT_EQ(md.findTile(&res, 50, 15, &itile, &a, &b), -1);
    }
}

TEST(MapData, AppendAddsResolutions)
{
    HXMapData md;
    ASSERT_EQ(md.setInput(writeBytes("a.kmd", gridFile()).c_str(), 0), 0);
    ASSERT_EQ(md.setInput(writeBytes("b.kmd", vectorFile(true)).c_str(), 1), 0);
    ASSERT_EQ(md.frame.nresolutions, 2);
    EXPECT_EQ(md.frame.resolutions[0].map_type, HX_MAPDATA_GRID);
    EXPECT_EQ(md.frame.resolutions[1].map_type, HX_MAPDATA_VECTOR);
    int z;
    EXPECT_TRUE(sampleOf(md, 0, -89.5, -179.5, &z));
    ASSERT_EQ(md.setInput(writeBytes("c.kmd", vectorFile(false)).c_str(), 0), 0);
    EXPECT_EQ(md.frame.nresolutions, 1);
}

TEST(MapData, MissingEmptyAndNotAFile)
{
    HXMapData md;
    takeRegister();
    EXPECT_EQ(md.setInput("/nonexistent/dir/coasts.kmd", 0), -1);
    EXPECT_NE(takeRegister().find("HXMapData::setInput: cannot open '/nonexistent/dir/coasts.kmd'"),
              std::string::npos);
    EXPECT_EQ(md.setInput(writeBytes("empty.kmd", {}).c_str(), 0), -1);
    EXPECT_NE(takeRegister().find("is empty"), std::string::npos);
    EXPECT_EQ(md.setInput("/tmp", 0), -1);
    EXPECT_NE(takeRegister().find("not a regular file"), std::string::npos);
    EXPECT_EQ(md.setInput(nullptr, 0), -1);
    EXPECT_EQ(md.frame.nresolutions, 0);
    takeRegister();
}

TEST(MapData, FailedOpenKeepsThePreviousFile)
{
    HXMapData md;
    ASSERT_EQ(open(md, gridFile()), 0);
    EXPECT_EQ(md.setInput("/nonexistent.kmd", 0), -1);
    EXPECT_EQ(md.frame.nresolutions, 1);
    int z;
    EXPECT_TRUE(sampleOf(md, 0, -89.5, -179.5, &z));
    takeRegister();
}

// Offsets in the vector records of vectorFile().
size_t tiles(const std::vector<unsigned char>& b)
{
    return size_t(get64(b, dataOffset(b) + 32));
}

size_t seg(const std::vector<unsigned char>& b)
{
    return size_t(get64(b, tiles(b) + 48));
}

struct Corruption {
    const char* name;
    void (*apply)(std::vector<unsigned char>&);
    const char* message;
};

TEST(MapData, MalformedFilesAreRefusedWithAReason)
{
    const Corruption cases[] = {
        {"magic", [](auto& b) { b[0] = 'X'; }, "bad magic"},
        {"version", [](auto& b) { put32(b, 8, 2); }, "file version 2, this reader reads 1"},
        {"header size", [](auto& b) { put32(b, 12, 32); }, "bad header size"},
        {"size", [](auto& b) { put64(b, 16, b.size() + 1); }, "truncated"},
        {"no resolutions", [](auto& b) { put32(b, 24, 0); }, "resolution records outside"},
        {"many resolutions", [](auto& b) { put32(b, 24, 0xffffffff); },
         "resolution records outside"},
        {"resolution offset", [](auto& b) { put64(b, 32, b.size() - 10); },
         "resolution records outside"},
        {"huge offset", [](auto& b) { put64(b, 32, UINT64_MAX - 4); },
         "resolution records outside"},
        {"name", [](auto& b) { std::memset(&b[kRes + 592], 'a', 128); }, "unterminated"},
        {"map type", [](auto& b) { put64(b, kRes + 584, 7); }, "unknown map type"},
        {"dpp", [](auto& b) { put64(b, kRes + 784, 0x7ff8000000000000ull); },
         "bad resolution numbers"},
        {"grid offset", [](auto& b) { put64(b, kRes + 848, b.size() - 8); }, "grid record outside"},
        {"tile counts", [](auto& b) { put64(b, kRes + 840, 7); }, "tile counts"},
        {"compression", [](auto& b) { put64(b, dataOffset(b) + 8, 9); }, "compression"},
        {"content", [](auto& b) { put64(b, dataOffset(b) + 16, 0); }, "content"},
        {"grid step", [](auto& b) { put64(b, dataOffset(b) + 48, 0); }, "bad grid extent"},
        {"grid size", [](auto& b) { put64(b, dataOffset(b) + 72, uint64_t(-5)); }, "bad grid size"},
        {"tile size", [](auto& b) { put64(b, dataOffset(b) + 88, 0); }, "bad grid size"},
        {"tiles offset", [](auto& b) { put64(b, dataOffset(b) + 104, b.size() - 40); },
         "grid tiles outside"},
        {"tile bytes", [](auto& b) { put64(b, get64(b, dataOffset(b) + 104) + 32, 1000); },
         "grid tile size"},
        {"tile data", [](auto& b) { put64(b, get64(b, dataOffset(b) + 104) + 24, b.size() - 2); },
         "grid tile data outside"},
    };
    for (const Corruption& c : cases) {
        std::vector<unsigned char> b = gridFile();
        c.apply(b);
        HXMapData md;
        std::string err;
        EXPECT_EQ(open(md, b, &err), -1) << c.name;
        EXPECT_NE(err.find(c.message), std::string::npos) << c.name << ": " << err;
        EXPECT_EQ(err.rfind("HXMapData::setInput: ", 0), 0u) << c.name;
        EXPECT_EQ(md.frame.nresolutions, 0) << c.name;
    }
}

TEST(MapData, MalformedVectorFilesAreRefused)
{
    const Corruption cases[] = {
        {"extent", [](auto& b) { put64(b, dataOffset(b), 0x7ff0000000000000ull); },
         "bad vector extent"},
        {"vector offset", [](auto& b) { put64(b, kRes + 848, b.size() - 4); },
         "vector record outside"},
        {"tile count", [](auto& b) { put64(b, kRes + 840, 1u << 30); }, "vector tiles outside"},
        {"negative tiles", [](auto& b) { put64(b, kRes + 840, uint64_t(-1)); },
         "negative tile count"},
        {"segments", [](auto& b) { put64(b, tiles(b) + 40, 1u << 28); }, "vector segments outside"},
        {"negative segments", [](auto& b) { put64(b, tiles(b) + 40, uint64_t(-3)); },
         "vector segments outside"},
        {"level", [](auto& b) { put32(b, seg(b), 0); }, "segment level"},
        {"bounds", [](auto& b) { put32(b, seg(b) + 8, 90000000); }, "bounds reversed"},
        {"npts", [](auto& b) { put32(b, seg(b) + 24, 0xfffffff0u); }, "segment points outside"},
        {"pts offset", [](auto& b) { put64(b, seg(b) + 32, b.size() - 8); },
         "segment points outside"},
        {"unaligned pts", [](auto& b) { put64(b, seg(b) + 32, get64(b, seg(b) + 32) + 2); },
         "segment points outside"},
    };
    for (const Corruption& c : cases) {
        std::vector<unsigned char> b = vectorFile(true);
        c.apply(b);
        HXMapData md;
        std::string err;
        EXPECT_EQ(open(md, b, &err), -1) << c.name;
        EXPECT_NE(err.find(c.message), std::string::npos) << c.name << ": " << err;
    }
}

TEST(MapData, SharedSegmentRecordsCannotMultiplyMemory)
{
    // Many tiles naming the same segment records: refused once their total
    // exceeds what the file could hold.
    HXMapDataWriter w;
    HXMapDataVectorInput v = vectorOf({segment(1, 0, {0, 1}, {0, 1})});
    v.tiles.resize(64, v.tiles[0]);
    w.addVector(v);
    std::vector<unsigned char> b = bytesOf(w);
    size_t at = tiles(b);
    uint64_t first = get64(b, at + 48);
    for (size_t t = 0; t < 64; ++t) {
        put64(b, at + t * 64 + 40, (b.size() - first) / 40);
        put64(b, at + t * 64 + 48, first);
    }
    HXMapData md;
    std::string err;
    EXPECT_EQ(open(md, b, &err), -1);
    EXPECT_NE(err.find("more segments than the file holds"), std::string::npos) << err;
}

TEST(MapData, CorruptTileDataFailsOnlyThatTile)
{
    std::vector<unsigned char> b = gridFile();
    size_t rec = size_t(get64(b, dataOffset(b) + 104));
    size_t data = size_t(get64(b, rec + 24));
    b[data + 2] ^= 0x55;
    b[data + 5] ^= 0x55;
    HXMapData md;
    ASSERT_EQ(open(md, b), 0);
    unsigned char* buf = reinterpret_cast<unsigned char*>(1);
    EXPECT_EQ(md.getTileGrid(0, 0, &buf), -1);
    EXPECT_EQ(buf, nullptr);
    EXPECT_NE(takeRegister().find("HXMapData::getTileGrid: tile 0 of resolution 0 is corrupt."),
              std::string::npos);
    EXPECT_EQ(md.getTileGrid(0, 1, &buf), 0);
    EXPECT_EQ(md.getTileGrid(0, 6, &buf), -1);
    EXPECT_EQ(md.getTileGrid(1, 0, &buf), -1);
    EXPECT_EQ(md.getTileGrid(-1, 0, &buf), -1);
    takeRegister();
}

TEST(MapData, EveryTruncationIsRefusedOrSafe)
{
    // Each prefix, with the header's size made to agree with it, so that the
    // checks past the header are the ones exercised.
    std::vector<unsigned char> whole = gridFile();
    for (size_t n = 1; n < whole.size(); n += 3) {
        std::vector<unsigned char> b(whole.begin(), whole.begin() + long(n));
        if (n >= 24)
            put64(b, 16, n);
        HXMapData md;
        if (open(md, b) == 0)
            touchEverything(md);
    }
}

TEST(MapData, RandomDamageNeverReadsOutside)
{
    std::mt19937 rng(12345);
    const std::vector<unsigned char> files[2] = {gridFile(), vectorFile(true)};
    int accepted = 0;
    for (int k = 0; k < 600; ++k) {
        std::vector<unsigned char> b = files[k % 2];
        int nflips = 1 + int(rng() % 4);
        for (int f = 0; f < nflips; ++f)
            b[rng() % b.size()] ^= (unsigned char)(1u << (rng() % 8));
        HXMapData md;
        if (open(md, b) == 0) {
            ++accepted;
            touchEverything(md);
        }
    }
    EXPECT_GT(accepted, 0); // flips in pixel data are legitimate files
}

TEST(MapData, CacheIsBoundedLeastRecentlyUsedFirst)
{
    HXMapData md;
    ASSERT_EQ(open(md, gridFile()), 0);
    auto* g = static_cast<HXMapDataGrid*>(md.frame.resolutions[0].data);
    unsigned char* buf;
    long total = 0;
    for (int t = 0; t < 6; ++t) {
        ASSERT_EQ(md.getTileGrid(0, t, &buf), 0);
        total += long(g->tiles[t].nbytes);
    }
    EXPECT_EQ(md.cacheSize(), total);
    ASSERT_EQ(md.getTileGrid(0, 0, &buf), 0); // tile 0 is now the newest
    long kept = md.cleanCache(long(g->tiles[0].nbytes + g->tiles[5].nbytes), 0);
    EXPECT_EQ(kept, long(g->tiles[0].nbytes + g->tiles[5].nbytes));
    EXPECT_EQ(md.cacheSize(), kept);
    EXPECT_EQ(md.cleanCache(0, 0), 0);
    int z;
    EXPECT_TRUE(sampleOf(md, 0, -89.5, -179.5, &z)); // decompressed again
    EXPECT_EQ(z, sampleAt(0, 0));
}

TEST(MapData, ConcurrentReadersShareTheCache)
{
    HXMapDataWriter w;
    w.addGrid(elevationGrid(64, 48, 8));
    HXMapData md;
    ASSERT_EQ(open(md, bytesOf(w)), 0);
    std::vector<std::thread> threads;
    std::vector<int> wrong(16, 0);
    for (int k = 0; k < 16; ++k)
        threads.emplace_back([&, k] {
            for (int pass = 0; pass < 3; ++pass)
                for (long j = 0; j < 48; ++j)
                    for (long i = 0; i < 64; ++i) {
                        long ii = (i + k * 5) % 64;
                        int z = 0;
                        if (!sampleOf(md, 0, -90 + j + 0.5, -180 + ii + 0.5, &z) ||
                            z != sampleAt(ii, j))
                            ++wrong[size_t(k)];
                    }
        });
    for (auto& t : threads)
        t.join();
    for (int k = 0; k < 16; ++k)
        EXPECT_EQ(wrong[size_t(k)], 0) << "thread " << k;
    EXPECT_EQ(md.cacheSize(), 64 * 48 * 2);
}

TEST(MapData, WriterIsDeterministicAndRefusesBadSizes)
{
    EXPECT_EQ(gridFile(), gridFile());
    HXMapDataWriter w;
    HXMapDataGridInput g = elevationGrid(10, 6, 4);
    g.pixels.pop_back();
    w.addGrid(g);
    std::vector<unsigned char> b;
    takeRegister();
    EXPECT_EQ(w.toBytes(b), -1);
    EXPECT_NE(takeRegister().find("pixels do not match"), std::string::npos);
    HXMapDataWriter empty;
    EXPECT_EQ(empty.toBytes(b), -1);
    takeRegister();
}
