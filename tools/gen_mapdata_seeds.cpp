// Writes the seed files of fuzz/fuzz_mapdata.cpp. From the repository top,
// after a build in build/:
//   g++ -std=c++17 -Itests/support $(printf -- " -Ilib/hxutil/%s" core containers mapdata) tools/gen_mapdata_seeds.cpp -Lbuild/lib -lhxutil \
//       -Wl,-rpath,$PWD/build/lib -o /tmp/gen_mapdata_seeds && /tmp/gen_mapdata_seeds
#include "mapdata_files.h"
int main()
{
    {
        HXMapDataWriter w;
        w.addGrid(elevationGrid(6, 4, 4));
        w.write("fuzz/seeds/fuzz_mapdata/grid_zlib");
    }
    {
        HXMapDataWriter w;
        auto g = constantGrid(2, 0, 10, 20, 30, 8, 4);
        g.nlon_per_tile = 3;
        g.compressed = 0;
        w.addGrid(g);
        w.write("fuzz/seeds/fuzz_mapdata/rgb_raw");
    }
    {
        HXMapDataWriter w;
        w.addVector(vectorOf(
            {segment(1, 1, {10, 20, 20, 10}, {5, 5, 15, 15}), segment(2, 0, {0, 1}, {0, 1})},
            true));
        w.write("fuzz/seeds/fuzz_mapdata/vector_be");
    }
    {
        HXMapDataWriter w;
        w.addVector(vectorOf({segment(3, 1, {-10, 20, 5}, {5, -5, 15})}, false));
        w.addGrid(elevationGrid(2, 2, 1));
        w.write("fuzz/seeds/fuzz_mapdata/vector_le_and_grid");
    }
}
