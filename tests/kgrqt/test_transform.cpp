#include "kgrqt.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

// A plain record of a 200 x 100 viewport with 10-pixel margins all round.
KgrviewportItem record(double xl, double xr, double yb, double yt)
{
    KgrviewportItem vp{};
    vp.w = 200;
    vp.h = 100;
    vp.mleft = vp.mright = vp.mtop = vp.mbottom = 10;
    vp.xleft = vp.spc_xleft = xl;
    vp.xright = vp.spc_xright = xr;
    vp.ybottom = vp.spc_ybottom = yb;
    vp.ytop = vp.spc_ytop = yt;
    vp.xmin = vp.xmax = vp.ymin = vp.ymax = KGR_UNSET;
    vp.xgain = vp.ygain = 1.0;
    return vp;
}

} // namespace

TEST(Transform, ScalesOfALinearBox)
{
    KgrviewportItem vp = record(0, 90, -10, 10);
    int pw = 0, ph = 0;
    double x1, x2, sx, y1, y2, sy;
    ASSERT_EQ(kgrqt_get_scales(&vp, &pw, &ph, &x1, &x2, &sx, &y1, &y2, &sy), 0);
    EXPECT_EQ(pw, 180);
    EXPECT_EQ(ph, 80);
    EXPECT_EQ(x1, 0);
    EXPECT_EQ(x2, 90);
    EXPECT_DOUBLE_EQ(sx, 1.0 / 90);
    EXPECT_DOUBLE_EQ(sy, 1.0 / 20);
}

TEST(Transform, InnerAreaOfTwoPixelsOrLessFails)
{
    KgrviewportItem vp = record(0, 1, 0, 1);
    vp.w = 22; // 22 - 20 = 2 pixels
    int pw = -7, ph = -7;
    double x1 = -7, x2, sx, y1, y2, sy;
    EXPECT_EQ(kgrqt_get_scales(&vp, &pw, &ph, &x1, &x2, &sx, &y1, &y2, &sy), -1);
    EXPECT_EQ(pw, -7);
    double px = -7, py = -7;
    EXPECT_EQ(kgrqt_get_pcoords(&vp, 0.5, 0.5, &px, &py, 0, 0), -1);
    EXPECT_EQ(px, -7); // outputs unwritten
    EXPECT_EQ(kgrqt_get_wcoords(&vp, 50, 50, &px, &py, 0, 0), -1);
    vp.w = 23;
    vp.h = 22;
    EXPECT_EQ(kgrqt_get_scales(&vp, &pw, &ph, &x1, &x2, &sx, &y1, &y2, &sy), -1);
}

TEST(Transform, LogAxisWithNonPositiveBoundGivesNoScales)
{
    KgrviewportItem vp = record(0, 100, 1, 10);
    vp.xmode = KGR_MODE_LOG;
    vp.ymode = KGR_MODE_LOG;
    int pw = 0, ph = 0;
    double x1 = -7, x2 = -7, sx = -7, y1 = -7, y2 = -7, sy = -7;
    EXPECT_EQ(kgrqt_get_scales(&vp, &pw, &ph, &x1, &x2, &sx, &y1, &y2, &sy), 0);
    EXPECT_EQ(x1, -7);
    EXPECT_EQ(sx, -7);
    EXPECT_EQ(y1, -7); // the y outputs are left unset too
    vp.xleft = 1;
    ASSERT_EQ(kgrqt_get_scales(&vp, &pw, &ph, &x1, &x2, &sx, &y1, &y2, &sy), 0);
    EXPECT_DOUBLE_EQ(x2, 2.0);
    EXPECT_DOUBLE_EQ(y2, 1.0);
}

TEST(Transform, WorldToPixelsAndBack)
{
    KgrviewportItem vp = record(0, 90, -10, 10);
    vp.x = 5;
    vp.y = 7;
    double px, py;
    ASSERT_EQ(kgrqt_get_pcoords(&vp, 45, 0, &px, &py, 0, 0), 0);
    EXPECT_DOUBLE_EQ(px, 5 + 10 + 90);
    EXPECT_DOUBLE_EQ(py, 7 + 10 + 40);
    ASSERT_EQ(kgrqt_get_pcoords(&vp, 0, 10, &px, &py, 0, 0), 0);
    EXPECT_DOUBLE_EQ(px, 15);
    EXPECT_DOUBLE_EQ(py, 17); // the top of the plot area
    double wx, wy;
    ASSERT_EQ(kgrqt_get_wcoords(&vp, 105, 57, &wx, &wy, 0, 0), 0);
    EXPECT_DOUBLE_EQ(wx, 45);
    EXPECT_DOUBLE_EQ(wy, 0);
}

TEST(Transform, LogarithmicAxesRoundTrip)
{
    KgrviewportItem vp = record(1, 1000, 0.01, 100);
    vp.xmode = vp.ymode = KGR_MODE_LOG;
    double px, py, wx, wy;
    ASSERT_EQ(kgrqt_get_pcoords(&vp, 10, 1, &px, &py, 0, 0), 0);
    EXPECT_NEAR(px, 10 + 180.0 / 3, 1e-9);
    EXPECT_NEAR(py, 10 + 40, 1e-9);
    ASSERT_EQ(kgrqt_get_wcoords(&vp, px, py, &wx, &wy, 0, 0), 0);
    EXPECT_NEAR(wx, 10, 1e-9);
    EXPECT_NEAR(wy, 1, 1e-9);
}

TEST(Transform, LogStepIsTakenWithoutScalingButPowersOnlyWithScaling)
{
    KgrviewportItem vp = record(1, 1000, 1, 1000);
    vp.xmode = KGR_MODE_LOG;
    double px, py, wx, wy;
    ASSERT_EQ(kgrqt_get_pcoords(&vp, 100, 100, &px, &py, 1, 1), 0);
    EXPECT_DOUBLE_EQ(px, 2.0); // log10 even with noscale
    EXPECT_DOUBLE_EQ(py, 100.0);
    ASSERT_EQ(kgrqt_get_wcoords(&vp, 2.0, 100, &wx, &wy, 1, 1), 0);
    EXPECT_DOUBLE_EQ(wx, 2.0); // no power of ten with noscale
    // A non-positive value on a log axis is left as it is.
    ASSERT_EQ(kgrqt_get_pcoords(&vp, -3, 0, &px, &py, 1, 1), 0);
    EXPECT_EQ(px, -3);
}

TEST(Transform, TimeAxisIsLinearInEpochSeconds)
{
    KgrviewportItem vp = record(1.7e9, 1.7e9 + 180, 0, 1);
    vp.xmode = KGR_MODE_TIME;
    double px, py;
    ASSERT_EQ(kgrqt_get_pcoords(&vp, 1.7e9 + 90, 0, &px, &py, 0, 0), 0);
    EXPECT_NEAR(px, 100, 1e-6);
}

TEST(Transform, MercatorLatitudeBeyondThePoleIsClamped)
{
    KgrviewportItem vp = record(-180, 180, -100, 100);
    vp.wtran = KGR_WTRAN_MERC;
    double x, y;
    ASSERT_EQ(kgrqt_get_pcoords(&vp, 10, 95, &x, &y, 0, 1), 0);
    EXPECT_EQ(y, 100000.0);
    ASSERT_EQ(kgrqt_get_pcoords(&vp, 10, -95, &x, &y, 0, 1), 0);
    EXPECT_EQ(y, -100000.0);
    ASSERT_EQ(kgrqt_get_pcoords(&vp, 10, 45, &x, &y, 0, 1), 0);
    EXPECT_NEAR(y, 50.4987, 1e-3);
    double wx, wy;
    ASSERT_EQ(kgrqt_get_wcoords(&vp, x, y, &wx, &wy, 0, 1), 0);
    EXPECT_NEAR(wy, 45, 1e-12);
    EXPECT_EQ(wx, 10);
}

TEST(Transform, EquidistantPlaneAboutTheReference)
{
    KgrviewportItem vp = record(-100, 100, -100, 100);
    vp.wtran = KGR_WTRAN_EDP;
    vp.latr = 0;
    vp.lonr = 0;
    double x, y, lon, lat;
    ASSERT_EQ(kgrqt_get_pcoords(&vp, 90, 0, &x, &y, 0, 1), 0);
    EXPECT_NEAR(x, 90, 1e-9);
    EXPECT_NEAR(y, 0, 1e-9);
    ASSERT_EQ(kgrqt_get_wcoords(&vp, 0, 30, &lon, &lat, 0, 1), 0);
    EXPECT_NEAR(lat, 30, 1e-9);
    EXPECT_NEAR(lon, 0, 1e-9);
}

TEST(Transform, UnsetBoxShowsDefaultRanges)
{
    KgrviewportItem vp = record(KGR_UNSET, KGR_UNSET, KGR_UNSET, KGR_UNSET);
    ASSERT_EQ(kgrqt_translate_and_gain(&vp, 0, 0, 0, 0, 1.0, 1.0), 0);
    EXPECT_EQ(vp.xleft, -10);
    EXPECT_EQ(vp.xright, 10);
    vp.ymode = KGR_MODE_LOG;
    vp.ybottom = 1;
    vp.ytop = 10;
    ASSERT_EQ(kgrqt_translate_and_gain(&vp, 0, 0, 0, 0, 1.0, 1.0), 0);
    EXPECT_DOUBLE_EQ(vp.ybottom, 0.1);
    EXPECT_DOUBLE_EQ(vp.ytop, 10);
}

TEST(Transform, ExtentLimitsStandInForAnUnsetBox)
{
    KgrviewportItem vp = record(0, 1, 0, 1);
    vp.spc_xleft = vp.spc_xright = KGR_UNSET;
    vp.xmin = 3;
    vp.xmax = 8;
    ASSERT_EQ(kgrqt_translate_and_gain(&vp, 0, 0, 0, 0, 1.0, 1.0), 0);
    EXPECT_EQ(vp.xleft, 3);
    EXPECT_EQ(vp.xright, 8);
    vp.xmax = 3; // equal limits widen by 10
    ASSERT_EQ(kgrqt_translate_and_gain(&vp, 0, 0, 0, 0, 1.0, 1.0), 0);
    EXPECT_EQ(vp.xleft, -7);
    EXPECT_EQ(vp.xright, 13);
}

TEST(Transform, PanBeforeTheFirstDrawIsZero)
{
    KgrviewportItem vp = record(0, 100, 0, 100);
    vp.xleft = vp.xright = vp.ybottom = vp.ytop = KGR_UNSET;
    vp.w = 200;
    ASSERT_EQ(kgrqt_translate_and_gain(&vp, 50, 50, 0, 0, 1.0, 1.0), 0);
    EXPECT_EQ(vp.xleft, 0);
    EXPECT_EQ(vp.xright, 100);
    EXPECT_EQ(vp.ybottom, 0);
    EXPECT_EQ(vp.ytop, 100);
}

TEST(Transform, PanMovesTheBoxRightAndDown)
{
    KgrviewportItem vp = record(0, 180, 0, 80); // one unit per pixel
    ASSERT_EQ(kgrqt_translate_and_gain(&vp, 18, 8, 0, 0, 1.0, 1.0), 0);
    EXPECT_DOUBLE_EQ(vp.xleft, 18);
    EXPECT_DOUBLE_EQ(vp.xright, 198);
    EXPECT_DOUBLE_EQ(vp.ybottom, -8);
    EXPECT_DOUBLE_EQ(vp.ytop, 72);
}

TEST(Transform, LogPanIsAFactor)
{
    KgrviewportItem vp = record(1, 1000, 0, 80);
    vp.xmode = KGR_MODE_LOG;
    ASSERT_EQ(kgrqt_translate_and_gain(&vp, 60, 0, 0, 0, 1.0, 1.0), 0); // a decade
    EXPECT_NEAR(vp.xleft, 10, 1e-9);
    EXPECT_NEAR(vp.xright, 10000, 1e-6);
}

TEST(Transform, GainZoomsAboutTheAnchor)
{
    KgrviewportItem vp = record(0, 180, 0, 80);
    // Anchor pixel at world (90, 40): the centre.
    ASSERT_EQ(kgrqt_translate_and_gain(&vp, 0, 0, 100, 50, 0.5, 2.0), 0);
    EXPECT_DOUBLE_EQ(vp.xleft, 45);
    EXPECT_DOUBLE_EQ(vp.xright, 135);
    EXPECT_DOUBLE_EQ(vp.ybottom, -40);
    EXPECT_DOUBLE_EQ(vp.ytop, 120);
}

TEST(Transform, LogGainActsOnDecades)
{
    KgrviewportItem vp = record(1, 10000, 0, 80);
    vp.xmode = KGR_MODE_LOG;
    ASSERT_EQ(kgrqt_translate_and_gain(&vp, 0, 0, 100, 50, 0.5, 1.0), 0);
    EXPECT_NEAR(vp.xleft, 10, 1e-9);
    EXPECT_NEAR(vp.xright, 1000, 1e-9);
}

TEST(Transform, GainPairOneZeroSkipsTheAnchor)
{
    KgrviewportItem vp = record(0, 180, 0, 80);
    ASSERT_EQ(kgrqt_translate_and_gain(&vp, 0, 0, 100, 50, 1.0, 0.0), 0);
    EXPECT_EQ(vp.xleft, 0);
    EXPECT_EQ(vp.xright, 180);
    // The y range collapses onto the anchor ordinate left at the origin.
    EXPECT_EQ(vp.ybottom, vp.ytop);
    EXPECT_EQ(vp.ytop, 0.0);
}

TEST(Transform, OffsetsBeyondIntegersAreHandledAsNumbers)
{
    KgrviewportItem vp = record(1, 1000, 0, 80);
    vp.xmode = KGR_MODE_LOG;
    // A pan of 0.5 pixel is still a pan on a logarithmic axis.
    ASSERT_EQ(kgrqt_translate_and_gain(&vp, 0.5, 0, 0, 0, 1.0, 1.0), 0);
    EXPECT_GT(vp.xleft, 1.0);
    ASSERT_EQ(kgrqt_translate_and_gain(&vp, 2e30, -2e30, 0, 0, 1.0, 1.0), 0);
    EXPECT_FALSE(std::isnan(vp.ybottom));
}
