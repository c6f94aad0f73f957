#include "kgrqt.h"
#include "plot_record.h"

#include <QPainterPath>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <vector>

namespace {

// The whole globe at one pixel per degree: (lon, lat) lies at the pixel
// (lon + 180, 90 - lat).
KgrviewportItem globe()
{
    return plotRecord(360, 180, -180, 180, -90, 90, KGR_WTRAN_GEOG);
}

std::unique_ptr<QPainterPath> wrap(KgrviewportItem& vp, std::vector<double>& lons,
                                   std::vector<double>& lats, int np, int sp)
{
    return std::unique_ptr<QPainterPath>(
        kgrqt_wrap_longitudes(&vp, int(lons.size()), lons.data(), lats.data(), np, sp));
}

int moveCount(const QPainterPath& path)
{
    int n = 0;
    for (int i = 0; i < path.elementCount(); i++)
        n += path.elementAt(i).type == QPainterPath::MoveToElement;
    return n;
}

// A ring round the north pole along latitude 60, eastwards.
void northRing(std::vector<double>* lons, std::vector<double>* lats)
{
    for (int lon = -180; lon <= 180; lon += 30) {
        lons->push_back(lon);
        lats->push_back(60);
    }
}

} // namespace

TEST(WrapLongitudes, OutlineAcrossTheDateLineIsUnwrappedAndDrawnAtBothEdges)
{
    KgrviewportItem vp = globe();
    std::vector<double> lons = {170, -170, -170, 170, 170}, lats = {-10, -10, 10, 10, -10};
    auto path = wrap(vp, lons, lats, 0, 0);
    ASSERT_NE(path, nullptr);
    // Unwrapped in place, and left at the last copy drawn.
    EXPECT_EQ(lons, (std::vector<double>{170, 190, 190, 170, 170}));
    EXPECT_EQ(moveCount(*path), 2);
    QImage image = fillPath(*path, 360, 180);
    EXPECT_TRUE(isBlack(image, 355, 90)); // 175 E
    EXPECT_TRUE(isBlack(image, 5, 90));   // 175 W
    EXPECT_TRUE(isWhite(image, 180, 90));
    EXPECT_TRUE(isWhite(image, 355, 105)); // 15 S
}

TEST(WrapLongitudes, BothPolesGiveThePlotMinusTheOutline)
{
    KgrviewportItem vp = globe();
    std::vector<double> lons = {-20, 20, 20, -20, -20}, lats = {-10, -10, 10, 10, -10};
    auto path = wrap(vp, lons, lats, 1, 1);
    ASSERT_NE(path, nullptr);
    QImage image = fillPath(*path, 360, 180);
    EXPECT_TRUE(isWhite(image, 180, 90)); // inside the outline
    EXPECT_TRUE(isBlack(image, 10, 10));
    EXPECT_TRUE(isBlack(image, 350, 170));
    EXPECT_TRUE(isBlack(image, 180, 50));
    EXPECT_TRUE(path->contains(QPointF(100, 100)));
    EXPECT_FALSE(path->contains(QPointF(180, 90)));
}

TEST(WrapLongitudes, RingAroundTheNorthPoleGetsACap)
{
    KgrviewportItem vp = globe();
    std::vector<double> lons, lats;
    northRing(&lons, &lats);
    auto path = wrap(vp, lons, lats, 1, 0);
    ASSERT_NE(path, nullptr);
    bool capped = false;
    for (int i = 0; i < path->elementCount(); i++)
        capped = capped || std::fabs(path->elementAt(i).y - 180 * (0.0001 / 180)) < 1e-7;
    EXPECT_TRUE(capped) << "an element at latitude 89.9999";
    QImage image = fillPath(*path, 360, 180);
    EXPECT_TRUE(isBlack(image, 180, 15)); // 75 N
    EXPECT_TRUE(isBlack(image, 5, 5));
    EXPECT_TRUE(isBlack(image, 355, 25));
    EXPECT_TRUE(isWhite(image, 180, 45)); // 45 N
    EXPECT_TRUE(isWhite(image, 180, 170));
}

TEST(WrapLongitudes, RingAroundTheSouthPoleGetsACapThere)
{
    KgrviewportItem vp = globe();
    std::vector<double> lons, lats;
    for (int lon = -180; lon <= 180; lon += 30) {
        lons.push_back(lon);
        lats.push_back(-60);
    }
    auto path = wrap(vp, lons, lats, 0, 1);
    ASSERT_NE(path, nullptr);
    QImage image = fillPath(*path, 360, 180);
    EXPECT_TRUE(isBlack(image, 180, 165)); // 75 S
    EXPECT_TRUE(isWhite(image, 180, 15));
    EXPECT_TRUE(isWhite(image, 180, 135)); // 45 S
}

TEST(WrapLongitudes, PolarRingWithBothOrNeitherPoleGetsNoCap)
{
    for (int both : {0, 1}) {
        KgrviewportItem vp = globe();
        std::vector<double> lons, lats;
        northRing(&lons, &lats);
        auto path = wrap(vp, lons, lats, both, both);
        ASSERT_NE(path, nullptr);
        for (int i = 0; i < path->elementCount(); i++)
            EXPECT_NEAR(path->elementAt(i).y, 30, 1e-9) << "no cap, no rectangle";
    }
}

TEST(WrapLongitudes, WestwardPolarRingIsReversed)
{
    KgrviewportItem vp = globe();
    std::vector<double> lons, lats;
    for (int i = 0; i <= 12; i++) {
        lons.push_back(180 - 30 * i);
        lats.push_back(60 + i);
    }
    auto path = wrap(vp, lons, lats, 1, 0);
    ASSERT_NE(path, nullptr);
    for (int i = 0; i <= 12; i++)
        EXPECT_EQ(lats[i], 72 - i);
    for (int i = 1; i <= 12; i++)
        EXPECT_DOUBLE_EQ(lons[i] - lons[i - 1], 30);
}

TEST(WrapLongitudes, EveryTurnThatTheViewShowsGetsACopy)
{
    KgrviewportItem vp = plotRecord(720, 180, 0, 720, -90, 90, KGR_WTRAN_GEOG);
    std::vector<double> lons = {10, 20, 20, 10, 10}, lats = {0, 0, 10, 10, 0};
    auto path = wrap(vp, lons, lats, 0, 0);
    ASSERT_NE(path, nullptr);
    EXPECT_EQ(moveCount(*path), 2);
    QImage image = fillPath(*path, 720, 180);
    EXPECT_TRUE(isBlack(image, 15, 85));
    EXPECT_TRUE(isBlack(image, 375, 85));
    EXPECT_TRUE(isWhite(image, 195, 85));
    EXPECT_TRUE(isWhite(image, 555, 85));
}

TEST(WrapLongitudes, NoVisibleCopyGivesNull)
{
    KgrviewportItem vp = plotRecord(100, 100, 0, 10, 0, 10, KGR_WTRAN_GEOG);
    std::vector<double> lons = {100, 110, 110, 100}, lats = {0, 0, 5, 5};
    EXPECT_EQ(wrap(vp, lons, lats, 0, 0), nullptr);
}

TEST(WrapLongitudes, OneOutlineCopyIsAFilledShape)
{
    KgrviewportItem vp = plotRecord(100, 100, 0, 10, 0, 10, KGR_WTRAN_GEOG);
    std::vector<double> lons = {2, 8, 8, 2, 2}, lats = {2, 2, 8, 8, 2};
    auto path = wrap(vp, lons, lats, 1, 0); // not polar: no cap
    ASSERT_NE(path, nullptr);
    EXPECT_EQ(path->elementCount(), 5);
    QImage image = fillPath(*path, 100, 100);
    EXPECT_TRUE(isBlack(image, 50, 50));
    EXPECT_TRUE(isWhite(image, 10, 10));
}

TEST(WrapLongitudes, MercatorOutlineIsProjected)
{
    KgrviewportItem vp = plotRecord(360, 200, -180, 180, -100, 100, KGR_WTRAN_MERC);
    std::vector<double> lons = {-10, 10, 10, -10, -10}, lats = {0, 0, 45, 45, 0};
    auto path = wrap(vp, lons, lats, 0, 0);
    ASSERT_NE(path, nullptr);
    double top = path->boundingRect().top();
    EXPECT_NEAR(top, 100 - std::asinh(1.0) * 180 / M_PI, 1e-9);
}

TEST(WrapLongitudes, CopiesAreBounded)
{
    KgrviewportItem vp = plotRecord(1000, 100, 0, 1e6, 0, 10, KGR_WTRAN_GEOG);
    std::vector<double> lons = {1, 2, 2, 1}, lats = {1, 1, 2, 2};
    auto path = wrap(vp, lons, lats, 0, 0);
    ASSERT_NE(path, nullptr);
    EXPECT_EQ(moveCount(*path), 64);
}

TEST(WrapLongitudes, BadInputGivesNullOrLess)
{
    KgrviewportItem vp = globe();
    std::vector<double> none;
    EXPECT_EQ(wrap(vp, none, none, 0, 0), nullptr);
    EXPECT_EQ(kgrqt_wrap_longitudes(nullptr, 0, nullptr, nullptr, 0, 0), nullptr);
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    for (double bad : {nan, inf, -inf, 1e300, KGR_UNSET}) {
        std::vector<double> lons = {bad, bad, bad}, lats = {0, 1, 2};
        EXPECT_EQ(wrap(vp, lons, lats, 1, 0), nullptr) << bad;
        lons = {0, bad, 10};
        lats = {0, 1, 2};
        auto path = wrap(vp, lons, lats, 0, 0);
        for (int i = 0; path && i < path->elementCount(); i++)
            EXPECT_TRUE(std::isfinite(path->elementAt(i).x));
        // View limits that cannot be placed against.
        KgrviewportItem unset = globe();
        unset.xleft = bad;
        lons = {0, 10, 10};
        EXPECT_EQ(wrap(unset, lons, lats, 0, 0), nullptr) << bad;
    }
    KgrviewportItem narrow = plotRecord(2, 180, -180, 180, -90, 90, KGR_WTRAN_GEOG);
    std::vector<double> lons = {0, 10, 10}, lats = {0, 0, 10};
    EXPECT_EQ(wrap(narrow, lons, lats, 1, 1), nullptr);
}
