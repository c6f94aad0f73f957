#include "kgrqt.h"
#include "plot_record.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

namespace {

struct Mapped {
    int disposition;
    double fx, fy;
};

// Pushes one point and drains the mapper; a final 0 (break) is kept, a
// final -1 (nothing pending) is not.
std::vector<Mapped> push(KGRScalemap& map, double x, double y)
{
    map.pushPoint(x, y);
    std::vector<Mapped> out;
    double fx = 0, fy = 0;
    int d;
    while ((d = map.popPoint(&fx, &fy)) > 0)
        out.push_back({d, fx, fy});
    if (d == 0)
        out.push_back({0, 0, 0});
    return out;
}

const double kPi = 3.141592653589793;

} // namespace

TEST(Scalemap, StartsEmpty)
{
    KgrviewportItem vp = plotRecord(100, 50, 0, 10, 0, 5);
    KGRScalemap map(&vp, 0);
    double fx, fy;
    EXPECT_EQ(map.popPoint(&fx, &fy), KGRScalemap::disposition_noInput);
    EXPECT_EQ(map.xinput, KGR_EMPTY);
    EXPECT_EQ(map.yinput, KGR_EMPTY);
    EXPECT_EQ(map.xp_last, KGR_EMPTY);
    EXPECT_EQ(map.start, 1);
    EXPECT_EQ(map.tran, nullptr);
}

TEST(Scalemap, MapsToFractionsFromTheTopLeft)
{
    KgrviewportItem vp = plotRecord(110, 60, 0, 10, 0, 5, KGR_WTRAN_NONE, 5);
    KGRScalemap map(&vp, 0);
    EXPECT_EQ(map.w, 100);
    EXPECT_EQ(map.h, 50);
    // ystart is the top and the y scale is negative: fractions grow down.
    EXPECT_EQ(map.ystart, 5);
    EXPECT_EQ(map.yend, 0);
    EXPECT_DOUBLE_EQ(map.yscale, -0.2);

    std::vector<Mapped> a = push(map, 2.5, 1);
    ASSERT_EQ(a.size(), 1u);
    EXPECT_EQ(a[0].disposition, KGRScalemap::disposition_moveTo);
    EXPECT_DOUBLE_EQ(a[0].fx, 0.25);
    EXPECT_DOUBLE_EQ(a[0].fy, 0.8);
    std::vector<Mapped> b = push(map, 10, 5);
    ASSERT_EQ(b.size(), 1u);
    EXPECT_EQ(b[0].disposition, KGRScalemap::disposition_lineTo);
    EXPECT_DOUBLE_EQ(b[0].fx, 1.0);
    EXPECT_DOUBLE_EQ(b[0].fy, 0.0);
    double fx, fy;
    EXPECT_EQ(map.popPoint(&fx, &fy), KGRScalemap::disposition_noInput);
}

TEST(Scalemap, BreakMarkerYieldsNothingAndRestartsTheLine)
{
    KgrviewportItem vp = plotRecord(100, 100, 0, 10, 0, 10);
    KGRScalemap map(&vp, 0);
    push(map, 1, 1);
    std::vector<Mapped> brk = push(map, KGR_UNSET, 1);
    ASSERT_EQ(brk.size(), 1u);
    EXPECT_EQ(brk[0].disposition, KGRScalemap::disposition_notUsed);
    EXPECT_EQ(push(map, 2, 2)[0].disposition, KGRScalemap::disposition_moveTo);
    EXPECT_EQ(push(map, 3, 3)[0].disposition, KGRScalemap::disposition_lineTo);
    EXPECT_EQ(push(map, 4, KGR_UNSET)[0].disposition, KGRScalemap::disposition_notUsed);
    EXPECT_EQ(push(map, 5, 5)[0].disposition, KGRScalemap::disposition_moveTo);
}

TEST(Scalemap, PointsWithoutAPlaceBreakTheLine)
{
    KgrviewportItem vp = plotRecord(100, 100, 0, 10, 0, 10);
    KGRScalemap map(&vp, 0);
    push(map, 1, 1);
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    EXPECT_EQ(push(map, nan, 1)[0].disposition, KGRScalemap::disposition_notUsed);
    EXPECT_EQ(push(map, 2, 2)[0].disposition, KGRScalemap::disposition_moveTo);
    EXPECT_EQ(push(map, 2, inf)[0].disposition, KGRScalemap::disposition_notUsed);
    EXPECT_EQ(push(map, 3, 3)[0].disposition, KGRScalemap::disposition_moveTo);
}

TEST(Scalemap, MercatorOrdinateAndIgnoretran)
{
    KgrviewportItem vp = plotRecord(100, 100, 0, 10, 0, 100, KGR_WTRAN_MERC);
    // The Mercator ordinate written as the inverse Gudermannian.
    double merc45 = std::asinh(std::tan(45 * kPi / 180)) * 180 / kPi;
    EXPECT_NEAR(merc45, 50.4987, 5e-4);
    KGRScalemap map(&vp, 0);
    EXPECT_EQ(map.wtran, KGR_WTRAN_MERC);
    std::vector<Mapped> a = push(map, 5, 45);
    EXPECT_DOUBLE_EQ(a[0].fx, 0.5);
    EXPECT_NEAR(a[0].fy, (100 - merc45) / 100, 1e-12);

    KGRScalemap plain(&vp, 1);
    EXPECT_EQ(plain.wtran, 0);
    EXPECT_DOUBLE_EQ(push(plain, 5, 45)[0].fy, 0.55);
}

TEST(Scalemap, LogarithmIsNotTakenOfTheInput)
{
    KgrviewportItem vp = plotRecord(100, 100, 1, 100, 1, 100);
    vp.xmode = KGR_MODE_LOG;
    KGRScalemap map(&vp, 0);
    EXPECT_DOUBLE_EQ(map.xstart, 0.0);
    EXPECT_DOUBLE_EQ(map.xend, 2.0);
    // A plane value of 1 (world 10) is halfway.
    EXPECT_DOUBLE_EQ(push(map, 1, 50)[0].fx, 0.5);
}

TEST(Scalemap, LogAxisWithoutScalesMapsNothing)
{
    KgrviewportItem vp = plotRecord(100, 100, 0, 100, 1, 100);
    vp.xmode = KGR_MODE_LOG;
    KGRScalemap map(&vp, 0);
    EXPECT_EQ(map.w, 0);
    EXPECT_EQ(push(map, 10, 10)[0].disposition, KGRScalemap::disposition_notUsed);
}

TEST(Scalemap, EquidistantSegmentIsCutIntoPixelSteps)
{
    // One plane degree per pixel; on the equator about (0, 0) the plane
    // x of a point is its longitude.
    KgrviewportItem vp = plotRecord(100, 100, -50, 50, -50, 50, KGR_WTRAN_EDP);
    KGRScalemap map(&vp, 0);
    ASSERT_NE(map.tran, nullptr);
    std::vector<Mapped> a = push(map, -50, 0);
    ASSERT_EQ(a.size(), 1u);
    EXPECT_EQ(a[0].disposition, KGRScalemap::disposition_moveTo);
    EXPECT_NEAR(a[0].fx, 0.0, 1e-9);

    std::vector<Mapped> b = push(map, 50, 0);
    ASSERT_EQ(b.size(), 100u); // 99 intermediate points and the real one
    for (size_t k = 0; k < b.size(); k++) {
        EXPECT_EQ(b[k].disposition, KGRScalemap::disposition_lineTo);
        EXPECT_NEAR(b[k].fx, (k + 1) / 100.0, 1e-9);
        EXPECT_NEAR(b[k].fy, 0.5, 1e-9);
    }
    EXPECT_EQ(map.xpts_last, 50);
    EXPECT_EQ(map.ndelta, 0);
}

TEST(Scalemap, EquidistantShortSegmentIsNotCut)
{
    KgrviewportItem vp = plotRecord(100, 100, -50, 50, -50, 50, KGR_WTRAN_EDP);
    KGRScalemap map(&vp, 0);
    push(map, 0, 0);
    EXPECT_EQ(push(map, 1, 0).size(), 1u); // one pixel: no step between
}

TEST(Scalemap, EquidistantStepAcrossTheDateLineTakesTheShortWay)
{
    // 0.1 plane degree per pixel about longitude 180.
    KgrviewportItem vp = plotRecord(100, 100, -5, 5, -5, 5, KGR_WTRAN_EDP);
    vp.lonr = 180;
    KGRScalemap map(&vp, 0);
    push(map, 179, 0);
    std::vector<Mapped> b = push(map, -179, 0);
    ASSERT_EQ(b.size(), 20u); // 2 degrees = 20 pixels, not 358 degrees
    EXPECT_NEAR(map.delx, 0.1, 1e-12);
    for (size_t k = 0; k < b.size(); k++) {
        EXPECT_NEAR(b[k].fx, 0.41 + 0.01 * k, 1e-9);
        EXPECT_NEAR(b[k].fy, 0.5, 1e-9);
    }
}

TEST(Scalemap, EquidistantBreakJoinsTheNextPoint)
{
    KgrviewportItem vp = plotRecord(100, 100, -50, 50, -50, 50, KGR_WTRAN_EDP);
    KGRScalemap map(&vp, 0);
    push(map, 0, 0);
    EXPECT_EQ(push(map, KGR_UNSET, 0)[0].disposition, KGRScalemap::disposition_notUsed);
    std::vector<Mapped> b = push(map, 10, 0);
    ASSERT_EQ(b.size(), 10u); // joined to (0, 0) and cut into steps
    EXPECT_EQ(b[0].disposition, KGRScalemap::disposition_lineTo);
    EXPECT_NEAR(b[0].fx, 0.51, 1e-9);
}

TEST(Scalemap, EquidistantStepOffTheSphereIsNotCut)
{
    KgrviewportItem vp = plotRecord(100, 100, -50, 50, -50, 50, KGR_WTRAN_EDP);
    KGRScalemap map(&vp, 0);
    push(map, 0, 0);
    EXPECT_EQ(push(map, 1000, 0).size(), 1u); // 1000 degrees: more than a turn
    push(map, 0, 0);
    EXPECT_EQ(push(map, 0, 200).size(), 1u);
    push(map, 0, 0);
    EXPECT_EQ(push(map, 400, 0).size(), 40u); // 40 degrees east, the short way
}

TEST(Scalemap, EquidistantReversedAxisIsCutToo)
{
    KgrviewportItem vp = plotRecord(100, 100, 50, -50, -50, 50, KGR_WTRAN_EDP);
    KGRScalemap map(&vp, 0);
    push(map, -50, 0);
    std::vector<Mapped> b = push(map, 50, 0);
    ASSERT_EQ(b.size(), 100u);
    EXPECT_NEAR(b[0].fx, 0.99, 1e-9);
}

TEST(Scalemap, EquidistantStepCountIsBounded)
{
    // A billionth of a degree across 100 pixels: 90 degrees would be
    // 9e12 pixels. The segment is cut into at most 4096 steps.
    KgrviewportItem vp = plotRecord(100, 100, -5e-10, 5e-10, -5e-10, 5e-10, KGR_WTRAN_EDP);
    KGRScalemap map(&vp, 0);
    push(map, 0, 0);
    std::vector<Mapped> b = push(map, 90, 0);
    EXPECT_EQ(b.size(), 4096u);
    // Distances that are not numbers are not stepped through.
    push(map, std::numeric_limits<double>::infinity(), 0);
    push(map, 0, 0);
    EXPECT_LE(push(map, 1e300, 1e300).size(), 4096u);
}

TEST(Scalemap, NarrowViewportHasNoScales)
{
    KgrviewportItem vp = plotRecord(22, 100, 0, 1, 0, 1, KGR_WTRAN_NONE, 10);
    int pw, ph;
    double x1, x2, sx, y1, y2, sy;
    EXPECT_EQ(kgrqt_get_scales(&vp, &pw, &ph, &x1, &x2, &sx, &y1, &y2, &sy), -1);
    KGRScalemap map(&vp, 0);
    EXPECT_EQ(map.w, 0);
    EXPECT_EQ(map.h, 0);
    vp = plotRecord(100, 22, 0, 1, 0, 1, KGR_WTRAN_NONE, 10);
    EXPECT_EQ(kgrqt_get_scales(&vp, &pw, &ph, &x1, &x2, &sx, &y1, &y2, &sy), -1);
}
