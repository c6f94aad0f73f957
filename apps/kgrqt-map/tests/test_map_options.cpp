// The command line of kgrqt-map.
#include "map_options.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <deque>
#include <string>
#include <vector>

namespace {

// Parses a command line given without the program name; stderr is kept
// in *err. The options point into the command line, which lives on, as a
// program's argv does.
bool parse(std::vector<std::string> args, MapOptions* o, std::string* err = nullptr)
{
    static std::deque<std::vector<std::string>> lines;
    args.insert(args.begin(), "kgrqt-map");
    lines.push_back(std::move(args));
    std::vector<char*> argv;
    for (std::string& a : lines.back())
        argv.push_back(&a[0]);
    testing::internal::CaptureStderr();
    const bool ok = map_parse_options(int(argv.size()), argv.data(), o);
    const std::string text = testing::internal::GetCapturedStderr();
    if (err)
        *err = text;
    return ok;
}

} // namespace

TEST(MapOptions, Defaults)
{
    setenv("KGRQT_MAPDATA_DIR", "/data/maps", 1);
    MapOptions o;
    ASSERT_TRUE(parse({}, &o));
    EXPECT_EQ(o.snapshot, nullptr);
    EXPECT_EQ(o.home.projection, MapProjection::Edp);
    EXPECT_EQ(o.home.lat, 20);
    EXPECT_EQ(o.home.lon, 0);
    EXPECT_EQ(o.home.zoom, 1);
    EXPECT_EQ(o.width, 1200);
    EXPECT_EQ(o.height, 700);
    EXPECT_TRUE(o.setup.decorations);
    EXPECT_FALSE(o.setup.layersGiven);
    EXPECT_EQ(o.setup.mapdata, "/data/maps");
    unsetenv("KGRQT_MAPDATA_DIR");
    ASSERT_TRUE(parse({}, &o));
    EXPECT_EQ(o.setup.mapdata, "/opt/larkspur/data/maps/kmd");
}

TEST(MapOptions, EveryOption)
{
    MapOptions o;
    ASSERT_TRUE(parse({"--snapshot", "out.png", "--size", "640x480", "--ratio", "2", "--projection",
                       "merc", "--center", "-33.5", "151.25", "--zoom", "8", "--layers",
                       "coasts,rivers", "--mapdata", "/tmp/kmd", "--plain"},
                      &o));
    EXPECT_STREQ(o.snapshot, "out.png");
    EXPECT_EQ(o.width, 640);
    EXPECT_EQ(o.height, 480);
    EXPECT_STREQ(o.ratio, "2");
    EXPECT_EQ(o.home.projection, MapProjection::Merc);
    EXPECT_EQ(o.home.lat, -33.5);
    EXPECT_EQ(o.home.lon, 151.25);
    EXPECT_EQ(o.home.zoom, 8);
    EXPECT_TRUE(o.setup.layersGiven);
    EXPECT_EQ(o.setup.layers, (std::vector<std::string>{"coasts", "rivers"}));
    EXPECT_EQ(o.setup.mapdata, "/tmp/kmd");
    EXPECT_FALSE(o.setup.decorations);
}

TEST(MapOptions, BadValuesAreRefusedWithTheReason)
{
    struct Case {
        std::vector<std::string> args;
        const char* message;
    } cases[] = {
        {{"--projection", "utm"}, "kgrqt-map: bad projection 'utm' (edp, merc or geog)"},
        {{"--center", "95", "0"}, "kgrqt-map: bad centre '95 0'"},
        {{"--center", "10", "east"}, "kgrqt-map: bad centre '10 east'"},
        {{"--center", "10"}, "kgrqt-map: unknown option or missing value '--center'"},
        {{"--zoom", "0"}, "kgrqt-map: bad zoom '0' (0.1 to 1000000)"},
        {{"--zoom", "nan"}, "kgrqt-map: bad zoom 'nan'"},
        {{"--zoom", "2x"}, "kgrqt-map: bad zoom '2x'"},
        {{"--size", "10x10"}, "kgrqt-map: bad size '10x10'"},
        {{"--ratio", "0.5"}, "kgrqt-map: bad ratio '0.5' (1 to 8)"},
        {{"--layers", "coasts,,rivers"}, "kgrqt-map: bad layer list 'coasts,,rivers'"},
        {{"--layers", ""}, "kgrqt-map: bad layer list ''"},
        {{"--bogus"}, "kgrqt-map: unknown option or missing value '--bogus'"},
        {{"world.png"}, "kgrqt-map: unexpected argument 'world.png'"},
        {{"--snapshot"}, "kgrqt-map: unknown option or missing value '--snapshot'"},
    };
    for (const Case& c : cases) {
        MapOptions o;
        std::string err;
        EXPECT_FALSE(parse(c.args, &o, &err)) << c.message;
        EXPECT_NE(err.find(c.message), std::string::npos) << err;
    }
}

TEST(MapOptions, LayerLists)
{
    std::vector<std::string> names;
    ASSERT_TRUE(map_parse_layer_list("coasts", &names));
    EXPECT_EQ(names, std::vector<std::string>{"coasts"});
    ASSERT_TRUE(map_parse_layer_list("bluemarble,political,rivers", &names));
    EXPECT_EQ(names.size(), 3u);
    EXPECT_FALSE(map_parse_layer_list(",coasts", &names));
    EXPECT_FALSE(map_parse_layer_list("coasts,", &names));
    EXPECT_FALSE(map_parse_layer_list(nullptr, &names));
}
