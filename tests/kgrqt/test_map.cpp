// KGRMap: layer definitions, lists and templates, drawing of grid, vector
// and filled layers, navigation by options, mouse, wheel and keys.
#define QTEST_QPA_MOUSE_HANDLING

#include "kgrqt.h"
#include "mapdata_files.h"
#include "register.h"
#include "render.h"

#include <QApplication>
#include <QColor>
#include <QImage>
#include <QKeyEvent>
#include <QMessageBox>
#include <QMouseEvent>
#include <QTest>
#include <QWheelEvent>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

namespace {

// A map on a square viewport without margins.
struct MapFixture : ::testing::Test {
    std::unique_ptr<KGRViewport> vp;
    KGRMap* map = nullptr;

    void SetUp() override
    {
        hx_clear_register(0);
        vp = std::make_unique<KGRViewport>(nullptr);
        vp->resize(200, 200);
        vp->configure("wtran", "geog", "xleft", "-180", "xright", "180", "ybottom", "-90", "ytop",
                      "90", static_cast<char*>(nullptr));
        map = new KGRMap(vp.get());
    }
    void TearDown() override
    {
        vp.reset();
        hx_clear_register(0);
    }
    KGRMapLayerParams* params(const char* name)
    {
        return static_cast<KGRMapLayerParams*>(getarr(map->map.maplayer_definitions, name));
    }
};

TEST_F(MapFixture, ConstructsWithTheDefaultLayers)
{
    EXPECT_STREQ(map->class_name, "KGRMap");
    EXPECT_EQ(cntarr(map->map.maplayer_definitions), 6);
    EXPECT_EQ(maxtbl(map->map.maplayers), 6);
    EXPECT_EQ(map->map.nthreads, 16);
    EXPECT_EQ(map->map.cache_maxsize, 500000000);
    EXPECT_STREQ(map->map.picker_name, "mappicker");
    EXPECT_EQ(vp->viewport.constant_aspect, 1.0);
    ASSERT_NE(map->map.fill_black.color, nullptr);
    EXPECT_EQ(map->map.fill_black.color->rgb(), qRgb(0, 0, 0));
}

} // namespace
