// KGRMap: layer definitions, lists and templates, drawing of grid, vector
// and filled layers, navigation by options, mouse, wheel and keys.
#include "capture.h"
#include "kgrqt.h"
#include "kgrqt_map.h"
#include "mapdata_files.h"
#include "register.h"
#include "render.h"

#include <QApplication>
#include <QColor>
#include <QImage>
#include <QKeyEvent>
#include <QMessageBox>
#include <QMouseEvent>
#include <QPainterPath>
#include <QTest>
#include <QWheelEvent>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <unistd.h>

namespace {

// Whether text ends with the message (the register holds the messages of
// the procedures below the failing one first).
bool endsWith(const std::string& text, const std::string& message)
{
    return text.size() >= message.size() &&
           text.compare(text.size() - message.size(), message.size(), message) == 0;
}

const QRgb kLand = qRgb(0xff, 0xf2, 0xe5);
const QRgb kWater = qRgb(0xe0, 0xe0, 0xff);
const QRgb kBlack = qRgb(0, 0, 0);
const QRgb kRed = qRgb(255, 0, 0);

// A land square of 120 by 60 degrees about (0, 0) and a northern island
// from (100, 40) to (140, 70), level 1 and filled.
std::string landFile()
{
    static std::string path = [] {
        HXMapDataWriter w;
        w.addVector(vectorOf({segment(1, 1, {-60, 60, 60, -60, -60}, {-30, -30, 30, 30, -30}),
                              segment(1, 1, {100, 140, 140, 100, 100}, {40, 40, 70, 70, 40})}));
        return writeBytes("land.vector.kmd", bytesOf(w));
    }();
    return path;
}

// One red pixel a degree over the world.
std::string redGridFile()
{
    static std::string path = [] {
        HXMapDataWriter w;
        w.addGrid(constantGrid(2, 0, 255, 0, 0, 360, 180));
        return writeBytes("red.grid.kmd", bytesOf(w));
    }();
    return path;
}

std::string corruptFile()
{
    static std::string path =
        writeBytes("corrupt.vector.kmd", {'K', 'G', 'R', 'K', 'M', 'D', 1, 2});
    return path;
}

// A definition text of one layer with the given keys.
std::string definition(const std::string& name, const std::string& keys)
{
    return "maplayer_definitions &Arr{\n" + name + " &Arr{\n" + keys + "}\n}\n";
}

std::string fillLayer(const std::string& file, const std::string& layer = "map_test_fill")
{
    return "type vector_fill\nmapdata_source_file " + file + "\nkgr_layer " + layer +
           "\noutline_linewidth -1\nbackground_color $FILL_WATER\nfill_color $FILL_LAND\n";
}

std::string lineLayer(const std::string& file, const std::string& levels)
{
    return "type vector\nmapdata_source_file " + file +
           "\nkgr_layer map_test_lines\nantialias 0\n" + levels;
}

std::string gridLayer(const std::string& file)
{
    return "type grid\nmapdata_source_file " + file + "\nkgr_layer map_test_image\nantialias 0\n";
}

std::string listOf(const std::string& names)
{
    return "maplayers &Tbl{\n" + names + "\n}\n";
}

// A map over a geographic viewport of one pixel a degree, the world from
// (-180, -90) at the lower left to (180, 90) at the upper right.
struct MapTest : ::testing::Test {
    std::unique_ptr<KGRViewport> vp;
    KGRMap* map = nullptr;

    void SetUp() override
    {
        hx_clear_register(0);
        vp = std::make_unique<KGRViewport>(nullptr);
        vp->resize(360, 180);
        vp->configure("wtran", "geog", "xleft", "-180", "xright", "180", "ybottom", "-90", "ytop",
                      "90", static_cast<char*>(nullptr));
        map = makeMap();
    }
    void TearDown() override
    {
        vp.reset();
        hx_clear_register(0);
    }
    virtual KGRMap* makeMap() { return new KGRMap(vp.get()); }
    KGRMapLayerParams* params(const char* name)
    {
        return static_cast<KGRMapLayerParams*>(getarr(map->map.maplayer_definitions, name));
    }
    int set(const char* option, const std::string& value)
    {
        return map->configure(option, value.c_str(), static_cast<char*>(nullptr));
    }
    // Defines one layer and draws only it.
    void only(const std::string& name, const std::string& keys)
    {
        ASSERT_EQ(set("maplayer_definitions", definition(name, keys)), 0) << takeRegister();
        ASSERT_EQ(set("maplayers", listOf(name)), 0) << takeRegister();
    }
    QImage render() { return renderWidget(*vp); }
    std::string print(const char* option)
    {
        char* text = map->printConfigValue(option);
        std::string s = text ? text : "";
        free(text);
        return s;
    }
    // The pixel of a world point and the world point of a pixel.
    QPointF pixelOf(double lon, double lat)
    {
        double x = 0, y = 0;
        vp->pcoords(lon, lat, &x, &y, 0);
        return {x, y};
    }
    QPointF worldOf(double x, double y)
    {
        double lon = 0, lat = 0;
        vp->wcoords(x, y, &lon, &lat, 0);
        return {lon, lat};
    }
    KGRPicker* mousePicker()
    {
        EXPECT_EQ(set("process_mouse_events", "yes"), 0) << takeRegister();
        return map->map.picker;
    }
    double xrange() const { return vp->viewport.spc_xright - vp->viewport.spc_xleft; }

    // Runs one zoom step and checks that the visible width changed by
    // factor (to tolerance) while the world point under pixel (x, y) stayed
    // under it.
    template <typename Step>
    void expectZoomAbout(int x, int y, double factor, double tolerance, Step step,
                         const std::string& what)
    {
        render();
        QPointF w0 = worldOf(x, y);
        double before = vp->viewport.xright - vp->viewport.xleft;
        step();
        EXPECT_NEAR(xrange(), before * factor, tolerance * before) << what;
        render();
        QPointF p = pixelOf(w0.x(), w0.y());
        EXPECT_NEAR(p.x(), x, 0.5) << what;
        EXPECT_NEAR(p.y(), y, 0.5) << what;
    }
};

// --------------------------------------------------------------- defaults

TEST_F(MapTest, ConstructsWithTheOptionDefaults)
{
    EXPECT_STREQ(map->class_name, "KGRMap");
    EXPECT_EQ(map->map.object_ptr, map);
    EXPECT_EQ(map->map.nthreads, 16);
    EXPECT_EQ(map->map.cache_maxsize, 500000000);
    EXPECT_STREQ(map->map.picker_name, "mappicker");
    EXPECT_STREQ(map->map.debug, "");
    EXPECT_STREQ(map->map.fill_land.color_name, "#fff2e5");
    EXPECT_STREQ(map->map.fill_water.color_name, "#e0e0ff");
    ASSERT_NE(map->map.fill_black.color, nullptr);
    EXPECT_EQ(map->map.fill_black.color->rgb(), kBlack);
    EXPECT_EQ(vp->viewport.constant_aspect, 1.0);
    EXPECT_EQ(map->map.picker, nullptr);
    EXPECT_EQ(map->map.taskbar, nullptr);
    EXPECT_EQ(map->map.mouse_state, KGRMAP_MOUSE_IDLE);
}

TEST_F(MapTest, DefaultDefinitionsHoldSixLayersInListOrder)
{
    EXPECT_EQ(cntarr(map->map.maplayer_definitions), 6);
    const char* order[] = {"bluemarble", "dem_srtm30", "water_mask",
                           "coasts",     "political",  "rivers"};
    ASSERT_EQ(maxtbl(map->map.maplayers), 6);
    for (int i = 0; i < 6; ++i)
        EXPECT_STREQ(static_cast<const char*>(gettbl(map->map.maplayers, i)), order[i]);
    EXPECT_EQ(print("maplayer_definitions"), kgrmap_default_maplayer_definitions);
    EXPECT_EQ(print("maplayers"), std::string("maplayers &Tbl{\n    bluemarble\n    dem_srtm30\n"
                                              "    water_mask\n    coasts\n    political\n"
                                              "    rivers\n}\n"));
    for (const char* name : order) {
        KGRMapLayerParams* p = params(name);
        ASSERT_NE(p, nullptr) << name;
        EXPECT_EQ(p->map, map);
        EXPECT_EQ(p->opacity, 1.0);
        EXPECT_EQ(p->mapdata, nullptr);
        EXPECT_EQ(p->nodata, 0);
    }
}

TEST_F(MapTest, DefaultGridLayers)
{
    KGRMapLayerParams* b = params("bluemarble");
    EXPECT_EQ(b->type, KGRMAP_TYPE_GRID);
    EXPECT_STREQ(b->mapdata_source,
                 "/opt/larkspur/data/maps/kmd/bluemarble.world.200407.v01.grid.kmd");
    EXPECT_EQ(b->visibility, 1);
    EXPECT_EQ(b->antialias, 0);
    EXPECT_EQ(b->levels, 0u);
    EXPECT_EQ(b->kgr_layer, HX_GetObject("image", "KGRLayer"));
    KGRMapLayerParams* d = params("dem_srtm30");
    EXPECT_STREQ(d->mapdata_source, "/opt/larkspur/data/maps/kmd/srtm30.dem.world.v01.grid.kmd");
    EXPECT_EQ(d->visibility, 0);
    EXPECT_EQ(d->kgr_layer, b->kgr_layer);
}

TEST_F(MapTest, DefaultFilledLayersTakeTheMapColours)
{
    KGRMapLayerParams* w = params("water_mask");
    EXPECT_EQ(w->type, KGRMAP_TYPE_VECTOR_FILL);
    EXPECT_STREQ(w->mapdata_source, "coasts.vector.kmd");
    EXPECT_EQ(w->visibility, 0);
    EXPECT_EQ(w->antialias, 0);
    EXPECT_EQ(w->levels, 1u);
    EXPECT_EQ(w->linewidth[0], -1);
    EXPECT_EQ(w->background_color.color->rgb(), kWater);
    EXPECT_EQ(w->fill_color.color->rgb(), kLand);
    EXPECT_EQ(w->transparent_color.color->rgb(), kLand);
    EXPECT_EQ(w->outline[0].color, nullptr);
    EXPECT_EQ(w->kgr_layer, HX_GetObject("water", "KGRLayer"));
    EXPECT_EQ(w->kgr_layer->layer.mask_color, w->transparent_color.color);

    KGRMapLayerParams* c = params("coasts");
    EXPECT_EQ(c->type, KGRMAP_TYPE_VECTOR_FILL);
    EXPECT_EQ(c->antialias, 1);
    EXPECT_EQ(c->linewidth[0], 1);
    EXPECT_EQ(c->outline[0].color->rgb(), kBlack);
    EXPECT_EQ(c->background_color.color->rgb(), kWater);
    EXPECT_EQ(c->fill_color.color->rgb(), kLand);
    EXPECT_EQ(c->transparent_color.color, nullptr);
    EXPECT_EQ(c->kgr_layer, HX_GetObject("vector", "KGRLayer"));
    for (int k = 1; k < KGRMAPDATA_NLEVELS; ++k) {
        EXPECT_EQ(c->linewidth[k], -1);
        EXPECT_EQ(c->resolution[k], -1);
        EXPECT_EQ(c->outline[k].color, nullptr);
    }
}

TEST_F(MapTest, DefaultLevelRowsReadWidthColourAndResolution)
{
    KGRMapLayerParams* p = params("political");
    EXPECT_EQ(p->type, KGRMAP_TYPE_VECTOR);
    EXPECT_STREQ(p->mapdata_source, "political.vector.kmd");
    ASSERT_EQ(p->levels, 3u);
    EXPECT_EQ(p->linewidth[0], 1);
    EXPECT_EQ(p->linewidth[1], 0);
    EXPECT_EQ(p->linewidth[2], 0);
    EXPECT_EQ(p->linewidth[3], -1);
    EXPECT_EQ(p->resolution[0], -1);
    EXPECT_EQ(p->resolution[1], 3);
    EXPECT_EQ(p->resolution[2], -1);
    EXPECT_EQ(p->outline[0].color->rgba(), qRgba(255, 0, 0, 255));
    EXPECT_EQ(p->outline[1].color->rgba(), qRgba(0, 0xa0, 0, 0x80));
    EXPECT_EQ(p->outline[2].color->rgba(), qRgba(0xff, 0, 0xff, 0x80));
    EXPECT_EQ(p->fill_color.color, nullptr);
    KGRMapLayerParams* r = params("rivers");
    ASSERT_EQ(r->levels, 1u);
    EXPECT_EQ(r->linewidth[0], 1);
    EXPECT_EQ(r->outline[0].color->rgb(), qRgb(0xc0, 0xc0, 0xff));
    EXPECT_EQ(r->kgr_layer, p->kgr_layer);
}

TEST(MapDataPath, BareNamesResolveInTheMapDataDirectory)
{
    const char* saved = getenv("KGRQT_MAPDATA_DIR");
    std::string keep = saved ? saved : "";
    unsetenv("KGRQT_MAPDATA_DIR");
    EXPECT_STREQ(kgrqt_mapdata_dir(), "/opt/larkspur/data/maps/kmd");
    EXPECT_EQ(kgrqt_mapdata_path("coasts.vector.kmd"),
              "/opt/larkspur/data/maps/kmd/coasts.vector.kmd");
    setenv("KGRQT_MAPDATA_DIR", "/tmp/maps", 1);
    EXPECT_EQ(kgrqt_mapdata_path("coasts.vector.kmd"), "/tmp/maps/coasts.vector.kmd");
    EXPECT_EQ(kgrqt_mapdata_path("/abs/x.kmd"), "/abs/x.kmd");
    EXPECT_EQ(kgrqt_mapdata_path("sub/x.kmd"), "sub/x.kmd");
    if (saved)
        setenv("KGRQT_MAPDATA_DIR", keep.c_str(), 1);
    else
        unsetenv("KGRQT_MAPDATA_DIR");
}

// ------------------------------------------------------------ definitions

TEST_F(MapTest, FillWordsTakeTheMapColoursAtDefinitionTime)
{
    ASSERT_EQ(
        map->configure("fill_land", "green", "fill_water", "navy", static_cast<char*>(nullptr)), 0);
    only("sea", fillLayer(landFile()));
    EXPECT_EQ(params("sea")->fill_color.color->rgb(), QColor("green").rgb());
    EXPECT_EQ(params("sea")->background_color.color->rgb(), QColor("navy").rgb());
}

TEST_F(MapTest, ColoursOfDefinitions)
{
    KGR_Color c{};
    EXPECT_EQ(map_get_color(&map->map, "red", &c), 0);
    EXPECT_EQ(c.color->rgb(), kRed);
    EXPECT_EQ(map_get_color(&map->map, "", &c), 0);
    EXPECT_EQ(c.color, nullptr);
    EXPECT_EQ(map_get_color(&map->map, "$FILL_LAND", &c), 0);
    EXPECT_EQ(c.color->rgb(), kLand);
    EXPECT_NE(c.color, map->map.fill_land.color);
    EXPECT_EQ(map_get_color(&map->map, "$FILL_WATER", &c), 0);
    EXPECT_EQ(c.color->rgb(), kWater);
    EXPECT_EQ(map_get_color(&map->map, "sky,x", &c), -1);
    EXPECT_EQ(c.color, nullptr);
    EXPECT_TRUE(endsWith(takeRegister(), "map_get_color: Illegal color specification \"sky,x\"\n"));
    KGR_ClearColor(&c);
    only("plain", "type vector_fill\nmapdata_source_file x\nkgr_layer map_test_x\n"
                  "background_color \\#123456\n");
    EXPECT_EQ(params("plain")->fill_color.color, nullptr);
    EXPECT_EQ(params("plain")->background_color.color->rgb(), qRgb(0x12, 0x34, 0x56));
    EXPECT_EQ(params("plain")->linewidth[0], -1);
}

TEST_F(MapTest, OptionalKeysTakeTheirDefaults)
{
    only("bare", "type vector\nmapdata_source_file f.kmd\nkgr_layer map_test_x\n");
    KGRMapLayerParams* p = params("bare");
    EXPECT_EQ(p->visibility, 1);
    EXPECT_EQ(p->opacity, 1.0);
    EXPECT_EQ(p->antialias, 1);
    EXPECT_EQ(p->levels, 0u);
    EXPECT_EQ(p->fill_color.color, nullptr);
}

TEST_F(MapTest, ExistingLayerObjectsAreReusedByName)
{
    auto* mine = new KGRLayer(vp.get());
    HX_SetName("map_test_mine", "KGRLayer", mine);
    only("a", "type vector\nmapdata_source_file f\nkgr_layer map_test_mine\n");
    EXPECT_EQ(params("a")->kgr_layer, mine);
    HX_UnsetObject(mine);
}

TEST_F(MapTest, RedefiningALayerReplacesItsRecord)
{
    only("a", "type vector\nmapdata_source_file one\nkgr_layer map_test_x\n");
    only("a", "type grid\nmapdata_source_file two\nkgr_layer map_test_x\nopacity 0.5\n");
    EXPECT_EQ(params("a")->type, KGRMAP_TYPE_GRID);
    EXPECT_STREQ(params("a")->mapdata_source, "two");
    EXPECT_EQ(params("a")->opacity, 0.5);
    EXPECT_EQ(cntarr(map->map.maplayer_definitions), 7);
}

TEST_F(MapTest, ReplacingAMaskLayerDropsItsMaskColour)
{
    only("m", "type vector_fill\nmapdata_source_file f\nkgr_layer map_test_mask\n"
              "transparent_color red\n");
    KGRLayer* layer = params("m")->kgr_layer;
    EXPECT_EQ(layer->layer.mask_color, params("m")->transparent_color.color);
    only("m", "type vector_fill\nmapdata_source_file f\nkgr_layer map_test_mask\n");
    EXPECT_EQ(layer->layer.mask_color, nullptr);
}

TEST_F(MapTest, EmptyDefinitionArrayChangesNothing)
{
    std::string before = print("maplayer_definitions");
    EXPECT_EQ(set("maplayer_definitions", "maplayer_definitions &Arr{\n}\n"), 0);
    EXPECT_EQ(cntarr(map->map.maplayer_definitions), 6);
    EXPECT_EQ(print("maplayer_definitions"), before);
    EXPECT_EQ(takeRegister(), "");
}

// Each malformed definition is refused with its message, and the layers
// defined before stay.
struct BadDefinition {
    const char* keys;
    const char* message;
};

TEST_F(MapTest, MalformedDefinitionsAreRefusedWithTheirMessages)
{
    const std::string base = "mapdata_source_file f\nkgr_layer map_test_x\n";
    const BadDefinition cases[] = {
        {"", "map_parse_maplayer_definitions: parse_param(bad->type) error.\n"},
        {"type mesh\n", "map_parse_maplayer_definitions: bad->type = mesh not recognized.\n"},
        {"type grid\nkgr_layer x\n",
         "map_parse_maplayer_definitions: parse_param(bad->mapdata_source_file) error.\n"},
        {"type grid\nmapdata_source_file f\n",
         "map_parse_maplayer_definitions: parse_param(bad->kgr_layer) error.\n"},
        {"type grid\nvisibility many\nmapdata_source_file f\nkgr_layer x\n",
         "map_parse_maplayer_definitions: parse_param(bad->visibility) error.\n"},
        {"type grid\nopacity dim\nmapdata_source_file f\nkgr_layer x\n",
         "map_parse_maplayer_definitions: parse_param(bad->opacity) error.\n"},
        {"type grid\nantialias 1.5\nmapdata_source_file f\nkgr_layer x\n",
         "map_parse_maplayer_definitions: parse_param(bad->antialias) error.\n"},
        {"type vector\nlevels 3\nmapdata_source_file f\nkgr_layer x\n",
         "map_parse_maplayer_definitions: parse_param(bad->levels) error.\n"},
        {"type vector\nlevels &Tbl{\nwide red\n}\nmapdata_source_file f\nkgr_layer x\n",
         "map_parse_maplayer_definitions: Unable to scan wide red.\n"},
        {"type vector\nlevels &Tbl{\n1\n}\nmapdata_source_file f\nkgr_layer x\n",
         "map_parse_maplayer_definitions: Unable to scan 1.\n"},
        {"type vector\nlevels &Tbl{\n1 hue,x\n}\nmapdata_source_file f\nkgr_layer x\n",
         "map_get_color: Illegal color specification \"hue,x\"\n"
         "map_parse_maplayer_definitions: map_get_color(hue,x) error.\n"},
        {"type vector_fill\nfill_color &Arr{\n}\nmapdata_source_file f\nkgr_layer x\n",
         "map_parse_maplayer_definitions: parse_param(bad->fill_color) error.\n"},
        {"type vector_fill\nbackground_color hue,x\nmapdata_source_file f\nkgr_layer x\n",
         "map_get_color: Illegal color specification \"hue,x\"\n"
         "map_parse_maplayer_definitions: map_get_color(hue,x) error.\n"},
        {"type vector_fill\ntransparent_color &Tbl{\n}\nmapdata_source_file f\nkgr_layer x\n",
         "map_parse_maplayer_definitions: parse_param(bad->transparent_color) error.\n"},
        {"type vector_fill\noutline_color &Tbl{\n}\nmapdata_source_file f\nkgr_layer x\n",
         "map_parse_maplayer_definitions: parse_param(bad->outline_color) error.\n"},
        {"type vector_fill\noutline_linewidth thick\nmapdata_source_file f\nkgr_layer x\n",
         "map_parse_maplayer_definitions: parse_param(bad->outline_linewidth) error.\n"},
    };
    for (const BadDefinition& c : cases) {
        hx_clear_register(0);
        // "a" sorts before "bad" and is defined before the failure.
        std::string text = "maplayer_definitions &Arr{\na &Arr{\ntype vector\n" + base +
                           "}\nbad &Arr{\n" + c.keys + "}\n}\n";
        EXPECT_EQ(set("maplayer_definitions", text), -1) << c.keys;
        std::string reg = takeRegister();
        EXPECT_TRUE(endsWith(reg, c.message)) << c.keys << reg;
        EXPECT_NE(params("a"), nullptr) << c.keys;
        EXPECT_EQ(params("bad"), nullptr) << c.keys;
        EXPECT_NE(params("coasts"), nullptr) << c.keys;
    }
    EXPECT_EQ(print("maplayer_definitions"), kgrmap_default_maplayer_definitions);
}

TEST_F(MapTest, MoreThanTenLevelsAreRefused)
{
    std::string rows = "levels &Tbl{\n";
    for (int i = 0; i < 11; ++i)
        rows += "1 red\n";
    EXPECT_EQ(
        set("maplayer_definitions",
            definition("many", "type vector\nmapdata_source_file f\nkgr_layer x\n" + rows + "}\n")),
        -1);
    EXPECT_EQ(takeRegister(), "map_parse_maplayer_definitions: many: more than 10 levels.\n");
}

TEST_F(MapTest, DefinitionTextsThatAreNotDefinitionsAreRefused)
{
    EXPECT_EQ(set("maplayer_definitions", "maplayer_definitions &Arr{\n"), -1);
    std::string reg = takeRegister();
    EXPECT_NE(reg.find("pfcompile(maplayer_definitions &Arr{\n) error.\n"), std::string::npos)
        << reg;
    EXPECT_EQ(set("maplayer_definitions", "layers &Arr{\n}\n"), -1);
    EXPECT_TRUE(endsWith(takeRegister(),
                         "map_parse_maplayer_definitions: parse_param(maplayer_definitions) "
                         "error.\n"));
    EXPECT_EQ(set("maplayer_definitions", "maplayer_definitions plain\n"), -1);
    EXPECT_TRUE(endsWith(takeRegister(),
                         "map_parse_maplayer_definitions: parse_param(maplayer_definitions) "
                         "error.\n"));
    EXPECT_EQ(set("maplayer_definitions", "maplayer_definitions &Arr{\nlone word\n}\n"), -1);
    EXPECT_EQ(takeRegister(), "map_parse_maplayer_definitions: parse_param(lone) error.\n");
    EXPECT_EQ(cntarr(map->map.maplayer_definitions), 6);
}

// ------------------------------------------------------ lists, templates

TEST_F(MapTest, LayerListsAreRefusedWhenMalformed)
{
    EXPECT_EQ(set("maplayers", "maplayers &Tbl{\n"), -1);
    EXPECT_NE(takeRegister().find("pfcompile("), std::string::npos);
    EXPECT_EQ(set("maplayers", "layers &Tbl{\na\n}\n"), -1);
    EXPECT_TRUE(endsWith(takeRegister(), "map_parse_maplayers: parse_param(maplayers) error.\n"));
    EXPECT_EQ(maxtbl(map->map.maplayers), 6);
}

TEST_F(MapTest, TemplatesStoreAndSelectLayerLists)
{
    EXPECT_EQ(set("maplayers_template", "plain"), -1);
    EXPECT_EQ(takeRegister(), "map_parse_maplayers_template: No maplayers templates defined.\n");
    ASSERT_EQ(set("define_maplayers_template", "name plain\nmaplayers &Tbl{\ncoasts\nrivers\n}\n"),
              0);
    ASSERT_EQ(set("define_maplayers_template", "name sat\nmaplayers &Tbl{\nbluemarble\n}\n"), 0);
    EXPECT_EQ(set("maplayers_template", "topo"), -1);
    EXPECT_EQ(takeRegister(),
              "map_parse_maplayers_template: Cannot find maplayers template for 'topo'.\n");
    ASSERT_EQ(set("maplayers_template", "plain"), 0);
    ASSERT_EQ(maxtbl(map->map.maplayers), 2);
    EXPECT_STREQ(static_cast<const char*>(gettbl(map->map.maplayers, 0)), "coasts");
    EXPECT_STREQ(static_cast<const char*>(gettbl(map->map.maplayers, 1)), "rivers");
    EXPECT_EQ(print("maplayers"), "maplayers &Tbl{\n    coasts\n    rivers\n}\n");
    // A redefinition replaces the stored list.
    ASSERT_EQ(set("define_maplayers_template", "name plain\nmaplayers &Tbl{\npolitical\n}\n"), 0);
    ASSERT_EQ(set("maplayers_template", "plain"), 0);
    ASSERT_EQ(maxtbl(map->map.maplayers), 1);
    EXPECT_STREQ(static_cast<const char*>(gettbl(map->map.maplayers, 0)), "political");
}

TEST_F(MapTest, MalformedTemplatesAreRefused)
{
    EXPECT_EQ(set("define_maplayers_template", "name x\nmaplayers &Tbl{\n"), -1);
    EXPECT_TRUE(endsWith(takeRegister(), "map_parse_define_maplayers_template: pfcompile(name "
                                         "x\nmaplayers &Tbl{\n) error.\n"));
    EXPECT_EQ(set("define_maplayers_template", "maplayers &Tbl{\na\n}\n"), -1);
    EXPECT_TRUE(endsWith(takeRegister(),
                         "map_parse_define_maplayers_template: parse_param(name) error.\n"));
    EXPECT_EQ(set("define_maplayers_template", "name x\n"), -1);
    EXPECT_TRUE(endsWith(takeRegister(),
                         "map_parse_define_maplayers_template: parse_param(maplayers) error.\n"));
    EXPECT_EQ(map->map.maplayers_templates, nullptr);
}

// ------------------------------------------------------- visibility

TEST_F(MapTest, ShowHideAndToggleSetTheVisibility)
{
    EXPECT_EQ(set("maplayer_show", "coasts"), 0);
    EXPECT_EQ(params("coasts")->visibility, 1);
    EXPECT_EQ(set("maplayer_hide", "coasts"), 0);
    EXPECT_EQ(params("coasts")->visibility, 0);
    EXPECT_EQ(set("maplayer_visibility_toggle", "coasts"), 0);
    EXPECT_EQ(params("coasts")->visibility, 1);
    EXPECT_EQ(set("maplayer_visibility_toggle", "coasts"), 0);
    EXPECT_EQ(params("coasts")->visibility, 0);
}

TEST_F(MapTest, ShowHideAndToggleRefuseUnknownLayers)
{
    const char* options[] = {"maplayer_show", "maplayer_hide", "maplayer_visibility_toggle"};
    for (const char* option : options) {
        EXPECT_EQ(set(option, "moon"), -1);
        EXPECT_EQ(takeRegister(), "map_parse_" + std::string(option) +
                                      ": Cannot find maplayer definition for 'moon'.\n");
    }
    Arr* defs = map->map.maplayer_definitions;
    map->map.maplayer_definitions = nullptr;
    for (const char* option : options) {
        EXPECT_EQ(set(option, "coasts"), -1);
        EXPECT_EQ(takeRegister(),
                  "map_parse_" + std::string(option) + ": No maplayer definitions defined.\n");
    }
    map->map.maplayer_definitions = defs;
}

// ----------------------------------------------------------------- drawing

TEST_F(MapTest, FilledLayerPaintsLandWhereLandIsAndWaterElsewhere)
{
    only("land", fillLayer(landFile()));
    render();
    QImage image = render();
    auto at = [&](double lon, double lat) {
        QPointF p = pixelOf(lon, lat);
        return image.pixel(int(p.x()), int(p.y()));
    };
    EXPECT_EQ(at(0, 0), kLand);
    EXPECT_EQ(at(50, 20), kLand);
    EXPECT_EQ(at(-50, -20), kLand);
    EXPECT_EQ(at(120, 55), kLand);
    EXPECT_EQ(at(90, 55), kWater);
    EXPECT_EQ(at(-160, 70), kWater);
    EXPECT_EQ(at(70, 0), kWater);
    EXPECT_EQ(at(0, -40), kWater);
    EXPECT_EQ(at(170, -80), kWater);
    EXPECT_NE(params("land")->mapdata, nullptr);
}

TEST_F(MapTest, HiddenLayersAreNotDrawn)
{
    only("land", fillLayer(landFile()));
    QImage shown = render();
    EXPECT_EQ(shown.pixel(180, 90), kLand);
    ASSERT_EQ(set("maplayer_hide", "land"), 0);
    QImage hidden = render();
    EXPECT_EQ(countPixels(hidden, kLand), 0);
    EXPECT_EQ(countPixels(hidden, kWater), 0);
    ASSERT_EQ(set("maplayer_visibility_toggle", "land"), 0);
    EXPECT_EQ(render().pixel(180, 90), kLand);
}

TEST_F(MapTest, GridLayerDrawsItsImageOverThePlot)
{
    ASSERT_EQ(set("nthreads", "2"), 0);
    only("red", gridLayer(redGridFile()));
    QImage image = render();
    EXPECT_EQ(image.pixel(180, 90), kRed);
    EXPECT_EQ(image.pixel(10, 10), kRed);
    EXPECT_EQ(image.pixel(350, 170), kRed);
    ASSERT_NE(params("red")->mapdata, nullptr);
    EXPECT_EQ(params("red")->mapdata->nthreads, 2);
    // The decompressed tiles stay cached up to cache_maxsize.
    EXPECT_GT(params("red")->mapdata->cacheSize(), 0);
    ASSERT_EQ(set("cache_maxsize", "0"), 0);
    map->setMaplayersStale();
    EXPECT_EQ(render().pixel(180, 90), kRed);
    EXPECT_EQ(params("red")->mapdata->cacheSize(), 0);
}

TEST_F(MapTest, VectorLayerWithoutLevelsDrawsNothing)
{
    only("lines", lineLayer(landFile(), ""));
    QImage image = render();
    EXPECT_EQ(params("lines")->levels, 0u);
    EXPECT_EQ(params("lines")->mapdata, nullptr);
    EXPECT_EQ(countPixels(image, kRed), 0);
    ASSERT_EQ(set("maplayer_hide", "lines"), 0);
    EXPECT_EQ(render(), image);
}

TEST_F(MapTest, VectorLayerStrokesItsLevels)
{
    only("lines", lineLayer(landFile(), "levels &Tbl{\n1 red\n}\n"));
    QImage image = render();
    QPointF west = pixelOf(-60, 0), inside = pixelOf(0, 0);
    EXPECT_EQ(image.pixel(int(std::lround(west.x())), int(west.y())), kRed);
    EXPECT_NE(image.pixel(int(inside.x()), int(inside.y())), kRed);
    EXPECT_GT(countPixels(image, kRed), 300);
}

TEST_F(MapTest, NegativeLevelWidthIsNotStroked)
{
    only("lines", lineLayer(landFile(), "levels &Tbl{\n-1 red\n}\n"));
    EXPECT_EQ(countPixels(render(), kRed), 0);
}

// A layer whose source cannot be opened: one message, a transparent draw,
// then hidden for good; the other layers draw as before.
void expectUnopened(MapTest& t, const std::string& file)
{
    ASSERT_EQ(t.set("maplayer_definitions", "maplayer_definitions &Arr{\ngone &Arr{\n" +
                                                lineLayer(file, "levels &Tbl{\n1 red\n}\n") +
                                                "}\nland &Arr{\n" + fillLayer(landFile()) +
                                                "}\n}\n"),
              0)
        << takeRegister();
    ASSERT_EQ(t.set("maplayers", listOf("land\ngone")), 0);
    QImage image = t.render();
    KGRMapLayerParams* gone = t.params("gone");
    EXPECT_EQ(gone->nodata, 1);
    EXPECT_EQ(gone->visibility, 0);
    EXPECT_EQ(gone->mapdata, nullptr);
    EXPECT_EQ(image.pixel(180, 90), kLand);
    EXPECT_EQ(countPixels(image, kRed), 0);
    QImage pixels = gone->kgr_layer->layer.pixmap->toImage();
    EXPECT_EQ(countPixels(pixels, qRgba(0, 0, 0, 0)), pixels.width() * pixels.height());
    QList<QMessageBox*> boxes = t.map->findChildren<QMessageBox*>();
    ASSERT_EQ(boxes.size(), 1);
    EXPECT_EQ(boxes[0]->text().toStdString(),
              "Cannot find layer gone map file " + file + "\nDownload using ...");
    EXPECT_FALSE(boxes[0]->isModal());
    QCoreApplication::processEvents();
    EXPECT_TRUE(boxes[0]->isVisible());
    t.map->setMaplayersStale();
    EXPECT_EQ(t.render().pixel(180, 90), kLand);
    EXPECT_EQ(t.map->findChildren<QMessageBox*>().size(), 1);
    EXPECT_EQ(gone->visibility, 0);
}

TEST_F(MapTest, MissingFileIsDrawnTransparentOnceThenHidden)
{
    expectUnopened(*this, tempPath("missing.vector.kmd"));
}

TEST_F(MapTest, CorruptFileIsDrawnTransparentOnceThenHidden)
{
    expectUnopened(*this, corruptFile());
}

TEST_F(MapTest, EquidistantMapIsBlackBeyondTheWorld)
{
    vp->configure("wtran", "edp", "latr", "0", "lonr", "0", "xleft", "-270", "xright", "270",
                  "ybottom", "-135", "ytop", "135", static_cast<char*>(nullptr));
    only("land", fillLayer(landFile()));
    render();
    QImage image = render();
    EXPECT_EQ(image.pixel(180, 90), kLand);
    EXPECT_EQ(image.pixel(2, 2), kBlack);
    EXPECT_EQ(image.pixel(357, 177), kBlack);
    EXPECT_EQ(image.pixel(180 + 133, 90), kBlack); // 200 degrees east of the centre
    EXPECT_EQ(image.pixel(180 + 113, 90), kWater); // 170 degrees
    EXPECT_EQ(image.pixel(180, 10), kWater);       // 120 degrees north
    QPointF island = pixelOf(120, 55);
    EXPECT_EQ(image.pixel(int(island.x()), int(island.y())), kLand);
}

TEST_F(MapTest, MercatorMapFillsLandAwayFromTheEquator)
{
    vp->configure("wtran", "merc", "xleft", "-100", "xright", "140", "ybottom", "-10", "ytop", "60",
                  static_cast<char*>(nullptr));
    only("land", fillLayer(landFile()));
    render();
    QImage image = render();
    auto at = [&](double lon, double lat) {
        QPointF p = pixelOf(lon, lat);
        return image.pixel(int(p.x()), int(p.y()));
    };
    EXPECT_EQ(at(0, 0), kLand);
    EXPECT_EQ(at(120, 55), kLand);
    EXPECT_EQ(at(120, 35), kWater);
    EXPECT_EQ(at(80, 55), kWater);
}

TEST_F(MapTest, DrawDebugWordPrintsTheLayerSize)
{
    only("land", fillLayer(landFile()));
    ASSERT_EQ(set("debug", "draw"), 0);
    std::string out = captureFd(1, [&] { render(); });
    EXPECT_NE(out.find("map: draw: 360 180\n"), std::string::npos) << out;
    ASSERT_EQ(set("debug", ""), 0);
    map->setMaplayersStale();
    EXPECT_EQ(captureFd(1, [&] { render(); }).find("map: draw:"), std::string::npos);
}

TEST_F(MapTest, ListOrderStacksTheLayers)
{
    std::string text = "maplayer_definitions &Arr{\nred &Arr{\n" + gridLayer(redGridFile()) +
                       "}\nland &Arr{\n" + fillLayer(landFile(), "map_test_land") + "}\n}\n";
    ASSERT_EQ(set("maplayer_definitions", text), 0) << takeRegister();
    ASSERT_EQ(set("maplayers", listOf("red\nland")), 0);
    EXPECT_EQ(render().pixel(180, 90), kLand);
    ASSERT_EQ(set("maplayers", listOf("land\nred")), 0);
    EXPECT_EQ(render().pixel(180, 90), kRed);
}

TEST_F(MapTest, StaleMarksListedAndExtraLayers)
{
    only("land", fillLayer(landFile()));
    auto* extra = new KGRLayer(vp.get());
    ASSERT_EQ(map->extraMaplayer(extra), 0);
    render();
    EXPECT_EQ(params("land")->kgr_layer->layer.stale, 0);
    EXPECT_EQ(extra->layer.stale, 0);
    map->setMaplayersStale();
    EXPECT_EQ(params("land")->kgr_layer->layer.stale, 1);
    EXPECT_EQ(extra->layer.stale, 1);
    delete extra;
    EXPECT_EQ(gettbl(map->map.maplayers_extra, 0), nullptr);
    map->setMaplayersStale();
}

// ---------------------------------------------------------- zoom option

TEST_F(MapTest, ZoomOfOneChangesNothing)
{
    render();
    const KgrviewportItem before = vp->viewport;
    for (const char* f : {"1", "1.0"}) {
        EXPECT_EQ(set("zoom", f), 0);
        EXPECT_EQ(vp->viewport.spc_xleft, before.spc_xleft);
        EXPECT_EQ(vp->viewport.spc_xright, before.spc_xright);
        EXPECT_EQ(vp->viewport.spc_ybottom, before.spc_ybottom);
        EXPECT_EQ(vp->viewport.spc_ytop, before.spc_ytop);
    }
}

TEST_F(MapTest, ZoomNarrowsAboutThePlotCentre)
{
    render();
    QPointF c = worldOf(180, 90);
    ASSERT_EQ(set("zoom", "2"), 0);
    EXPECT_NEAR(xrange(), 180, 1e-6);
    EXPECT_NEAR((vp->viewport.spc_xleft + vp->viewport.spc_xright) / 2, c.x(), 1e-6);
    EXPECT_NEAR((vp->viewport.spc_ybottom + vp->viewport.spc_ytop) / 2, c.y(), 1e-6);
}

TEST_F(MapTest, ZoomRefusesTextThatIsNotANumber)
{
    render();
    for (const char* bad : {"abc", "", "2x", "0", "-1"}) {
        EXPECT_EQ(set("zoom", bad), -1);
        EXPECT_EQ(takeRegister(), std::string("map_parse_zoom: Error parsing '") + bad + "'\n");
    }
    EXPECT_NEAR(xrange(), 360, 1e-9);
}

// ------------------------------------------------------------ projection

// Latitude of a Mercator ordinate and back, written out independently.
double latOf(double y)
{
    return (2 * std::atan(std::exp(y * M_PI / 180)) - M_PI / 2) * 180 / M_PI;
}
double mercOf(double lat)
{
    return std::log(std::tan(lat * (M_PI / 2) / 180 + M_PI / 4)) * 180 / M_PI;
}

TEST_F(MapTest, SetProjectionFromMercatorToEquidistant)
{
    vp->configure("wtran", "merc", "xleft", "-60", "xright", "60", "ybottom", "-30", "ytop", "50",
                  static_cast<char*>(nullptr));
    render();
    const KgrviewportItem m = vp->viewport;
    double b = latOf(m.ybottom), t = latOf(m.ytop), d = t - b;
    ASSERT_EQ(set("set_projection", "edp"), 0) << takeRegister();
    const KgrviewportItem& e = vp->viewport;
    EXPECT_EQ(e.wtran, KGR_WTRAN_EDP);
    EXPECT_NEAR(e.lonr, (m.xleft + m.xright) / 2, 1e-6);
    EXPECT_NEAR(e.latr, (b + t) / 2, 1e-6);
    EXPECT_NEAR(e.spc_xleft, -d * 2 / 2, 1e-6);
    EXPECT_NEAR(e.spc_xright, d * 2 / 2, 1e-6);
    EXPECT_NEAR(e.spc_ybottom, -d / 2, 1e-6);
    EXPECT_NEAR(e.spc_ytop, d / 2, 1e-6);
    // Already equidistant: nothing changes.
    const KgrviewportItem again = vp->viewport;
    ASSERT_EQ(set("set_projection", "edp"), 0);
    EXPECT_EQ(vp->viewport.spc_xleft, again.spc_xleft);
    EXPECT_EQ(vp->viewport.latr, again.latr);
}

TEST_F(MapTest, SetProjectionFromEquidistantToMercator)
{
    vp->configure("wtran", "edp", "latr", "20", "lonr", "30", "xleft", "-40", "xright", "40",
                  "ybottom", "-20", "ytop", "20", static_cast<char*>(nullptr));
    render();
    const KgrviewportItem e = vp->viewport;
    double b = 20 + e.ybottom, t = 20 + e.ytop;
    ASSERT_LT(t, 85);
    double k = (mercOf(t) - mercOf(b)) / (t - b), half = (t - b) * 2 * k / 2;
    ASSERT_EQ(set("set_projection", "merc"), 0) << takeRegister();
    const KgrviewportItem& m = vp->viewport;
    EXPECT_EQ(m.wtran, KGR_WTRAN_MERC);
    EXPECT_NEAR(m.spc_xleft, 30 - half, 1e-5);
    EXPECT_NEAR(m.spc_xright, 30 + half, 1e-5);
    EXPECT_NEAR(m.spc_ybottom, mercOf(b), 1e-5);
    EXPECT_NEAR(m.spc_ytop, mercOf(t), 1e-5);
    const KgrviewportItem again = vp->viewport;
    ASSERT_EQ(set("set_projection", "merc"), 0);
    EXPECT_EQ(vp->viewport.spc_xleft, again.spc_xleft);
}

TEST_F(MapTest, SetProjectionCapsMercatorLatitudes)
{
    vp->configure("wtran", "edp", "latr", "0", "lonr", "0", "xleft", "-270", "xright", "270",
                  "ybottom", "-135", "ytop", "135", static_cast<char*>(nullptr));
    render();
    ASSERT_EQ(set("set_projection", "merc"), 0);
    EXPECT_NEAR(vp->viewport.spc_ybottom, mercOf(-85), 1e-5);
    EXPECT_NEAR(vp->viewport.spc_ytop, mercOf(85), 1e-5);
    double half = 170 * 2 * (2 * mercOf(85) / 170) / 2;
    EXPECT_NEAR(vp->viewport.spc_xright, half, 1e-5);
}

TEST_F(MapTest, SetProjectionRefusesOtherWords)
{
    EXPECT_EQ(set("set_projection", "geog"), -1);
    EXPECT_EQ(takeRegister(), "map_parse_set_projection: projection 'geog' not recognized.\n");
    EXPECT_EQ(vp->viewport.wtran, KGR_WTRAN_GEOG);
}

// ------------------------------------------------------------ the mouse

void sendMove(KGRPicker* picker, int x, int y, Qt::MouseButtons buttons,
              Qt::KeyboardModifiers mods = Qt::NoModifier)
{
    QMouseEvent move(QEvent::MouseMove, QPointF(x, y), Qt::NoButton, buttons, mods);
    QApplication::sendEvent(picker, &move);
}

void sendWheel(KGRPicker* picker, int x, int y, int delta)
{
    QWheelEvent wheel(QPointF(x, y), QPointF(x, y), QPoint(), QPoint(0, delta), Qt::NoButton,
                      Qt::NoModifier, Qt::NoScrollPhase, false);
    QApplication::sendEvent(picker, &wheel);
}

TEST_F(MapTest, ProcessMouseEventsMakesOneNamedPicker)
{
    KGRPicker* picker = mousePicker();
    ASSERT_NE(picker, nullptr);
    EXPECT_EQ(HX_GetObject("mappicker", "KGRPicker"), picker);
    EXPECT_EQ(picker->picker.crosshairs, 0);
    EXPECT_STREQ(picker->picker.crosshairs_color.color_name, "#80004000");
    EXPECT_EQ(set("process_mouse_events", "on"), 0);
    EXPECT_EQ(map->map.picker, picker);
    for (int row : {KGR_EVENT_MOUSE_PRESS, KGR_EVENT_MOUSE_MOVE, KGR_EVENT_MOUSE_RELEASE,
                    KGR_EVENT_KEY_PRESS, KGR_EVENT_WHEEL})
        EXPECT_EQ(picker->bindings[row - 1].n_callbacks, 1) << row;
    EXPECT_EQ(set("process_mouse_events", "maybe"), -1);
    EXPECT_EQ(takeRegister(), "map_process_mouse_events: KGR_ParseBoolean(maybe) error.\n");
    EXPECT_EQ(set("process_mouse_events", "no"), 0);
    for (int row : {KGR_EVENT_MOUSE_PRESS, KGR_EVENT_WHEEL})
        EXPECT_EQ(picker->bindings[row - 1].n_callbacks, 0) << row;
    render();
    QTest::mousePress(picker, Qt::LeftButton, Qt::NoModifier, QPoint(100, 100));
    EXPECT_EQ(map->map.mouse_state, KGRMAP_MOUSE_IDLE);
}

TEST_F(MapTest, DragPansByThePointerDistance)
{
    render();
    KGRPicker* picker = mousePicker();
    QPointF w0 = worldOf(100, 100);
    QTest::mousePress(picker, Qt::LeftButton, Qt::NoModifier, QPoint(100, 100));
    EXPECT_EQ(map->map.mouse_state, KGRMAP_MOUSE_PANNING);
    EXPECT_EQ(map->map.mouse_xstart, 100);
    EXPECT_EQ(picker->cursor().shape(), Qt::ClosedHandCursor);
    sendMove(picker, 120, 90, Qt::LeftButton);
    sendMove(picker, 137, 81, Qt::LeftButton);
    EXPECT_EQ(vp->viewport.xoffset, -37);
    EXPECT_EQ(vp->viewport.yoffset, 19);
    QTest::mouseRelease(picker, Qt::LeftButton, Qt::NoModifier, QPoint(137, 81));
    EXPECT_EQ(map->map.mouse_state, KGRMAP_MOUSE_IDLE);
    EXPECT_NE(picker->cursor().shape(), Qt::ClosedHandCursor);
    render();
    QPointF p = pixelOf(w0.x(), w0.y());
    EXPECT_NEAR(p.x(), 137, 0.5);
    EXPECT_NEAR(p.y(), 81, 0.5);
}

TEST_F(MapTest, WheelStepsZoomAboutThePointer)
{
    struct Step {
        int delta;
        double factor;
    };
    for (Step step : {Step{120, 0.88}, Step{-120, 1.12}, Step{1200, 0.1}}) {
        render();
        KGRPicker* picker = mousePicker();
        const double width = vp->viewport.xright - vp->viewport.xleft;
        expectZoomAbout(
            90, 60, step.factor, 1e-6 / width, [&] { sendWheel(picker, 90, 60, step.delta); },
            std::to_string(step.delta));
    }
}

TEST_F(MapTest, WheelDeltaOfOneThousandZoomsByZero)
{
    render();
    KGRPicker* picker = mousePicker();
    QPointF w0 = worldOf(90, 60);
    sendWheel(picker, 90, 60, 1000);
    EXPECT_NEAR(xrange(), 0, 1e-9);
    EXPECT_NEAR(vp->viewport.spc_xleft, w0.x(), 1e-5);
    render();
}

TEST_F(MapTest, KeysZoomAboutTheLastPointer)
{
    render();
    KGRPicker* picker = mousePicker();
    sendMove(picker, 120, 60, Qt::NoButton);
    EXPECT_EQ(map->map.mouse_last_x, 120);
    EXPECT_EQ(map->map.mouse_last_y, 60);
    const std::pair<char, double> keys[] = {{'+', 0.8333333333333334},
                                            {'i', 0.8333333333333334},
                                            {'-', 1.2},
                                            {'o', 1.2},
                                            {'I', 0.5},
                                            {'O', 2.0},
                                            {'x', 1.0}};
    for (const auto& k : keys) {
        // The factor travels as "%f": six decimals.
        expectZoomAbout(
            120, 60, k.second, 1e-6, [&] { QTest::keyClick(picker, k.first); },
            std::string(1, k.first));
    }
}

TEST_F(MapTest, CKeyRecentresOnThePointer)
{
    render();
    KGRPicker* picker = mousePicker();
    sendMove(picker, 120, 60, Qt::NoButton);
    QPointF w = worldOf(120, 60);
    QTest::keyClick(picker, 'c');
    EXPECT_NEAR((vp->viewport.spc_xleft + vp->viewport.spc_xright) / 2, w.x(), 1e-5);
    EXPECT_NEAR((vp->viewport.spc_ybottom + vp->viewport.spc_ytop) / 2, w.y(), 1e-5);
    EXPECT_NEAR(xrange(), 360, 1e-6);
}

TEST_F(MapTest, ShiftDragRecentresTheEquidistantProjection)
{
    vp->configure("wtran", "edp", "latr", "0", "lonr", "0", "xleft", "-90", "xright", "90",
                  "ybottom", "-45", "ytop", "45", static_cast<char*>(nullptr));
    render();
    KGRPicker* picker = mousePicker();
    QPointF w0 = worldOf(250, 50);
    QTest::mousePress(picker, Qt::LeftButton, Qt::ShiftModifier, QPoint(250, 50));
    EXPECT_EQ(map->map.mouse_state, KGRMAP_MOUSE_RECENTRING);
    EXPECT_NEAR(vp->viewport.latr, w0.y(), 5e-5);
    EXPECT_NEAR(vp->viewport.lonr, w0.x(), 5e-5);
    render();
    QPointF p = pixelOf(w0.x(), w0.y());
    EXPECT_NEAR(p.x(), 250, 1.0);
    EXPECT_NEAR(p.y(), 50, 1.0);
    QPointF w1 = worldOf(200, 100);
    sendMove(picker, 200, 100, Qt::LeftButton, Qt::ShiftModifier);
    EXPECT_NEAR(vp->viewport.latr, w1.y(), 5e-5);
    EXPECT_NEAR(vp->viewport.lonr, w1.x(), 5e-5);
    render();
    p = pixelOf(w1.x(), w1.y());
    EXPECT_NEAR(p.x(), 200, 1.0);
    EXPECT_NEAR(p.y(), 100, 1.0);
    QTest::mouseRelease(picker, Qt::LeftButton, Qt::ShiftModifier, QPoint(200, 100));
    EXPECT_EQ(map->map.mouse_state, KGRMAP_MOUSE_IDLE);
}

// A map whose hooks count the events and may take them.
struct HookedMap : KGRMap {
    using KGRMap::KGRMap;
    int consume = 0, pre = 0, post = 0;
    int mouseCallback(int, void*, QEvent*) override
    {
        ++pre;
        return consume ? KGR_EVENT_CONSUMED : 0;
    }
    int postmouseCallback(int, void*, QEvent*) override
    {
        ++post;
        return 0;
    }
};

struct HookedMapTest : MapTest {
    KGRMap* makeMap() override { return new HookedMap(vp.get()); }
    HookedMap* hooked() { return static_cast<HookedMap*>(map); }
};

TEST_F(HookedMapTest, HooksRunAroundTheMapsHandling)
{
    render();
    KGRPicker* picker = mousePicker();
    QTest::mousePress(picker, Qt::LeftButton, Qt::NoModifier, QPoint(100, 100));
    EXPECT_EQ(hooked()->pre, 1);
    EXPECT_EQ(hooked()->post, 1);
    EXPECT_EQ(map->map.mouse_state, KGRMAP_MOUSE_PANNING);
    QTest::mouseRelease(picker, Qt::LeftButton, Qt::NoModifier, QPoint(100, 100));
    hooked()->consume = 1;
    QTest::mousePress(picker, Qt::LeftButton, Qt::NoModifier, QPoint(100, 100));
    EXPECT_EQ(hooked()->pre, 3);
    EXPECT_EQ(hooked()->post, 2);
    EXPECT_EQ(map->map.mouse_state, KGRMAP_MOUSE_IDLE);
}

// --------------------------------------------------------------- taskbar

const char* const buttonDefinitions = R"(
buttons_definitions &Arr{
    borders &Arr{
        kgr_layer    map_test_button
        description  Borders
        states &Arr{
            on &Arr{
                label   Borders
                order   0
                action  configure maplayer_visibility_toggle political
            }
        }
    }
}
)";

TEST_F(MapTest, TaskbarTextsPassThroughAndReachTheMap)
{
    EXPECT_EQ(set("maptaskbar_buttons", "buttons &Tbl{\nborders c 40 20\n}\n"), -1);
    EXPECT_EQ(takeRegister(), "map_parse_buttons: Must define taskbar object with "
                              "taskbar_buttons_definitions configuration first\n");
    ASSERT_EQ(set("maptaskbar_buttons_definitions", buttonDefinitions), 0) << takeRegister();
    ASSERT_NE(map->map.taskbar, nullptr);
    EXPECT_STREQ(map->map.taskbar->taskbar.picker_name, "mappicker");
    EXPECT_EQ(print("maptaskbar_buttons_definitions"), buttonDefinitions);
    ASSERT_EQ(set("maptaskbar_buttons", "buttons &Tbl{\nborders c 40 20\n}\n"), 0)
        << takeRegister();
    EXPECT_EQ(print("maptaskbar_buttons"), "buttons &Tbl{\nborders c 40 20\n}\n");
    EXPECT_EQ(map->map.taskbar->configure("maplayer_visibility_toggle", "political",
                                          static_cast<char*>(nullptr)),
              0);
    EXPECT_EQ(params("political")->visibility, 0);
    EXPECT_EQ(set("maptaskbar_buttons", "buttons &Tbl{\nnone c 40 20\n}\n"), -1);
    EXPECT_TRUE(endsWith(takeRegister(), "map_parse_buttons: item->taskbar->configure() error.\n"));
    EXPECT_EQ(set("maptaskbar_buttons_definitions", "buttons_definitions &Arr{\n"), -1);
    EXPECT_TRUE(endsWith(takeRegister(),
                         "map_parse_buttons_definitions: item->taskbar->configure() error.\n"));
}

TEST_F(MapTest, ButtonPressTogglesAMapLayer)
{
    // Navigation first: the buttons still see presses before it.
    ASSERT_EQ(set("process_mouse_events", "on"), 0);
    ASSERT_EQ(set("maptaskbar_buttons_definitions", buttonDefinitions), 0) << takeRegister();
    ASSERT_EQ(set("maptaskbar_buttons", "buttons &Tbl{\nborders c 40 20\n}\n"), 0)
        << takeRegister();
    render();
    auto* borders = static_cast<KGRTaskbarButtonParams*>(
        getarr(map->map.taskbar->taskbar.buttons_definitions, "borders"));
    ASSERT_NE(borders, nullptr);
    ASSERT_NE(borders->kgr_text->text.path, nullptr);
    KGRPicker* picker = map->map.picker;
    ASSERT_EQ(map->map.taskbar->taskbar.picker, picker);
    QPoint inside = borders->kgr_text->text.path->boundingRect().center().toPoint();
    sendMove(picker, inside.x(), inside.y(), Qt::NoButton);
    ASSERT_EQ(borders->kgr_text->text.select, 1);
    QTest::mousePress(picker, Qt::LeftButton, Qt::NoModifier, inside);
    EXPECT_EQ(params("political")->visibility, 0);
    EXPECT_EQ(map->map.mouse_state, KGRMAP_MOUSE_IDLE);
    QTest::mouseRelease(picker, Qt::LeftButton, Qt::NoModifier, inside);
    QTest::mousePress(picker, Qt::LeftButton, Qt::NoModifier, inside);
    EXPECT_EQ(params("political")->visibility, 1);
    QTest::mouseRelease(picker, Qt::LeftButton, Qt::NoModifier, inside);
}

// ------------------------------------------------------ installed data

bool installed(const char* name)
{
    return access(kgrqt_mapdata_path(name).c_str(), R_OK) == 0;
}

TEST_F(MapTest, DefaultLayersDrawFromTheInstalledFiles)
{
    if (!installed("coasts.vector.kmd") || !installed("political.vector.kmd") ||
        !installed("/opt/larkspur/data/maps/kmd/bluemarble.world.200407.v01.grid.kmd"))
        GTEST_SKIP() << "map data not installed";
    ASSERT_EQ(set("nthreads", "2"), 0);
    QImage image = render();
    if (getenv("KGRQT_MAP_SNAPSHOT"))
        image.save(getenv("KGRQT_MAP_SNAPSHOT"));
    EXPECT_NE(params("bluemarble")->mapdata, nullptr);
    EXPECT_NE(params("political")->mapdata, nullptr);
    EXPECT_EQ(params("political")->nodata, 0);
    EXPECT_EQ(params("rivers")->nodata, 0);
    // Mid-Pacific is deep blue in the satellite image.
    QPointF p = pixelOf(-150, 0);
    QColor sea = image.pixelColor(int(p.x()), int(p.y()));
    EXPECT_GT(sea.blue(), sea.red()) << sea.name().toStdString();
    // Borders are antialiased red lines over the image.
    int reddish = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x) {
            QColor c = image.pixelColor(x, y);
            reddish += c.red() > 150 && c.green() < 90 && c.blue() < 90;
        }
    EXPECT_GT(reddish, 20);
    ASSERT_EQ(set("maplayer_show", "coasts"), 0);
    ASSERT_EQ(set("maplayer_hide", "bluemarble"), 0);
    image = render();
    p = pixelOf(2, 28); // the Sahara, away from borders and rivers
    EXPECT_EQ(image.pixel(int(p.x()), int(p.y())), kLand);
    EXPECT_GT(countPixels(image, kLand), 10000);
    p = pixelOf(-30, 0); // Atlantic
    EXPECT_EQ(image.pixel(int(p.x()), int(p.y())), kWater);
}

} // namespace
