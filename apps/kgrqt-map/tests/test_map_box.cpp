// The boxes of the map's views: home views under each projection and the
// same place under another projection.
#include "map_box.h"

#include "kgrqt.h"

#include <gtest/gtest.h>

#include <memory>

TEST(MapBox, ProjectionWordsRoundTrip)
{
    for (const char* word : {"edp", "merc", "geog"}) {
        MapProjection p;
        ASSERT_TRUE(map_projection_of(word, &p)) << word;
        EXPECT_STREQ(map_projection_word(p), word);
    }
    MapProjection p = MapProjection::Geog;
    EXPECT_FALSE(map_projection_of("utm", &p));
    EXPECT_FALSE(map_projection_of("", &p));
    EXPECT_FALSE(map_projection_of(nullptr, &p));
    EXPECT_EQ(p, MapProjection::Geog); // untouched by a refused word
}

TEST(MapBox, HomeUnderGeogIsTheWorldAtTwoToOne)
{
    MapBox b = map_home_box(MapProjection::Geog, 0, 0, 1, 720, 360);
    EXPECT_EQ(b.projection, MapProjection::Geog);
    EXPECT_DOUBLE_EQ(b.xleft, -180);
    EXPECT_DOUBLE_EQ(b.xright, 180);
    EXPECT_DOUBLE_EQ(b.ybottom, -90);
    EXPECT_DOUBLE_EQ(b.ytop, 90);
}

TEST(MapBox, HomeZoomAndCentre)
{
    MapBox b = map_home_box(MapProjection::Geog, 50, 10, 5, 600, 400);
    EXPECT_DOUBLE_EQ(b.xleft, -26);
    EXPECT_DOUBLE_EQ(b.xright, 46);
    EXPECT_DOUBLE_EQ(b.ybottom, 26);
    EXPECT_DOUBLE_EQ(b.ytop, 74);
}

// Under Mercator the centre is the middle of the ordinates and the
// ordinates span as many degrees a pixel as the longitudes.
TEST(MapBox, HomeUnderMercIsCentredOnTheOrdinate)
{
    MapBox b = map_home_box(MapProjection::Merc, 50, 10, 5, 600, 400);
    EXPECT_DOUBLE_EQ(b.xleft, -26);
    EXPECT_DOUBLE_EQ(b.xright, 46);
    const double yb = kgrqt_mercator_y(b.ybottom), yt = kgrqt_mercator_y(b.ytop);
    EXPECT_NEAR((yb + yt) / 2, kgrqt_mercator_y(50), 1e-9);
    EXPECT_NEAR(yt - yb, 72.0 * 400 / 600, 1e-9);
    EXPECT_LT(b.ybottom, 50);
    EXPECT_GT(b.ytop, 50);
    // The world at 720 x 560 reaches 80.07 degrees, as GMT's -JM frame of
    // the same size does.
    MapBox w = map_home_box(MapProjection::Merc, 0, 0, 1, 720, 560);
    EXPECT_NEAR(w.ytop, 80.0715288149, 1e-8);
    EXPECT_NEAR(w.ybottom, -80.0715288149, 1e-8);
}

TEST(MapBox, HomeUnderEdpIsAboutTheCentre)
{
    MapBox b = map_home_box(MapProjection::Edp, -30, 150, 2, 800, 400);
    EXPECT_DOUBLE_EQ(b.latr, -30);
    EXPECT_DOUBLE_EQ(b.lonr, 150);
    EXPECT_DOUBLE_EQ(b.xleft, -90);
    EXPECT_DOUBLE_EQ(b.xright, 90);
    EXPECT_DOUBLE_EQ(b.ybottom, -45);
    EXPECT_DOUBLE_EQ(b.ytop, 45);
}

TEST(MapBox, GeogBoxOfEachTransform)
{
    KgrviewportItem vp{};
    vp.wtran = KGR_WTRAN_EDP;
    vp.latr = 40;
    vp.lonr = -100;
    vp.xleft = -30;
    vp.xright = 30;
    vp.ybottom = -20;
    vp.ytop = 20;
    MapBox g = map_geog_box(vp);
    EXPECT_EQ(g.projection, MapProjection::Geog);
    EXPECT_DOUBLE_EQ(g.xleft, -130);
    EXPECT_DOUBLE_EQ(g.xright, -70);
    EXPECT_DOUBLE_EQ(g.ybottom, 20);
    EXPECT_DOUBLE_EQ(g.ytop, 60);

    // Under Mercator the latitudes are kept and the width shrinks with the
    // stretch of the ordinates.
    vp.wtran = KGR_WTRAN_MERC;
    vp.xleft = 0;
    vp.xright = 90;
    vp.ybottom = kgrqt_mercator_y(-45);
    vp.ytop = kgrqt_mercator_y(60);
    g = map_geog_box(vp);
    const double width = 105 * 90 / (vp.ytop - vp.ybottom);
    EXPECT_NEAR(g.xleft, 45 - width / 2, 1e-9);
    EXPECT_NEAR(g.xright, 45 + width / 2, 1e-9);
    EXPECT_NEAR(g.ybottom, -45, 1e-9);
    EXPECT_NEAR(g.ytop, 60, 1e-9);

    vp.wtran = KGR_WTRAN_GEOG;
    vp.ybottom = -10;
    vp.ytop = 5;
    g = map_geog_box(vp);
    EXPECT_DOUBLE_EQ(g.xleft, 0);
    EXPECT_DOUBLE_EQ(g.xright, 90);
    EXPECT_DOUBLE_EQ(g.ybottom, -10);
    EXPECT_DOUBLE_EQ(g.ytop, 5);
}

TEST(MapBox, EdpBoxIsCentredOnTheGeogBox)
{
    MapBox g;
    g.projection = MapProjection::Geog;
    g.xleft = 100;
    g.xright = 160;
    g.ybottom = -50;
    g.ytop = -10;
    MapBox e = map_edp_box(g);
    EXPECT_EQ(e.projection, MapProjection::Edp);
    EXPECT_DOUBLE_EQ(e.lonr, 130);
    EXPECT_DOUBLE_EQ(e.latr, -30);
    EXPECT_DOUBLE_EQ(e.xleft, -30);
    EXPECT_DOUBLE_EQ(e.xright, 30);
    EXPECT_DOUBLE_EQ(e.ybottom, -20);
    EXPECT_DOUBLE_EQ(e.ytop, 20);
}

// The viewport takes a Mercator box's bounds as latitudes.
TEST(MapBox, ShowBoxConfiguresTheViewport)
{
    std::unique_ptr<KGRViewport> vp(new KGRViewport(nullptr));
    MapBox b = map_home_box(MapProjection::Merc, 50, 10, 5, 600, 400);
    ASSERT_EQ(map_show_box(vp.get(), b), 0);
    EXPECT_EQ(vp->viewport.wtran, KGR_WTRAN_MERC);
    EXPECT_NEAR(vp->viewport.spc_xleft, -26, 1e-9);
    EXPECT_NEAR(vp->viewport.spc_xright, 46, 1e-9);
    EXPECT_NEAR(vp->viewport.spc_ybottom, kgrqt_mercator_y(b.ybottom), 1e-7);
    EXPECT_NEAR(vp->viewport.spc_ytop, kgrqt_mercator_y(b.ytop), 1e-7);

    b = map_home_box(MapProjection::Edp, -30, 150, 2, 800, 400);
    ASSERT_EQ(map_show_box(vp.get(), b), 0);
    EXPECT_EQ(vp->viewport.wtran, KGR_WTRAN_EDP);
    EXPECT_DOUBLE_EQ(vp->viewport.latr, -30);
    EXPECT_DOUBLE_EQ(vp->viewport.lonr, 150);
    EXPECT_NEAR(vp->viewport.spc_ytop, 45, 1e-9);
}
