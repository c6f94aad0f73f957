// The catalogue on a map: where and in which colour the symbols and beach
// balls land, the tool tip under the pointer, the projections, and the
// program's snapshot of the shipped catalogue.
#include "CatalogueMap.h"
#include "catalogue_text.h"
#include "register.h"

#include "kgrqt.h"

#include <QColor>
#include <QFileInfo>
#include <QImage>
#include <QTemporaryDir>
#include <QTest>
#include <QToolTip>

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

namespace {

const QRgb kWhite = qRgb(255, 255, 255);

// A 600 x 340 world map: margins 56 left, 24 right, 48 bottom and 34 top
// leave a frame of 520 x 258 pixels for 360 x 180 degrees.
QPointF pixelOf(double lon, double lat)
{
    return QPointF(56 + (lon + 180) / 360 * 520, 34 + (90 - lat) / 180 * 258);
}

CatalogueEvent event(double lat, double lon, double depth, double magnitude)
{
    CatalogueEvent e;
    e.time = 1517932242.4; // 2018-02-06 15:50:42.4
    e.lat = lat;
    e.lon = lon;
    e.depth = depth;
    e.magnitude = magnitude;
    return e;
}

bool near(QRgb a, QRgb b, int tolerance = 24)
{
    return std::abs(qRed(a) - qRed(b)) <= tolerance &&
           std::abs(qGreen(a) - qGreen(b)) <= tolerance &&
           std::abs(qBlue(a) - qBlue(b)) <= tolerance;
}

class CatalogueMapTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        hx_clear_register(0);
        vp = new KGRViewport(nullptr);
        vp->resize(600, 340);
        map = new CatalogueMap(vp);
        // A deep dot, and a beach ball of a couple in the vertical
        // east-west plane: T axis east, 45 degrees down, P west (Global CMT
        // Mrp = -1).
        events.push_back(event(-30, 100, 650, 6.0));
        CatalogueEvent ball = event(20, -60, 0, 7.0);
        const double cmt[6] = {0, 0, 0, 0, -1, 0};
        plot_catalogue_tensor(cmt, 25, ball.m);
        ball.hasTensor = true;
        events.push_back(ball);
    }
    void TearDown() override
    {
        delete vp;
        hx_clear_register(0);
    }
    QImage render() { return map->render().convertToFormat(QImage::Format_RGB32); }
    QRgb at(const QImage& image, QPointF p)
    {
        return image.pixel(static_cast<int>(std::lround(p.x())),
                           static_cast<int>(std::lround(p.y())));
    }

    KGRViewport* vp = nullptr;
    CatalogueMap* map = nullptr;
    std::vector<CatalogueEvent> events;
};

} // namespace

TEST_F(CatalogueMapTest, DeepEventIsARedDotWhereItBelongs)
{
    ASSERT_EQ(map->show(events, "geog"), 0) << takeRegister();
    QImage image = render();
    // Drawn first (no tensor), sized 6 * 1.25 + 2 = 9 pixels; 650 km is
    // the red end of the depth colours.
    ASSERT_EQ(map->symbols()->polypoint.npts, 2);
    EXPECT_EQ(map->eventOfPoint(0), 0);
    EXPECT_EQ(map->eventOfPoint(1), 1);
    EXPECT_EQ(map->eventOfPoint(2), -1);
    EXPECT_EQ(map->symbols()->polypoint.point[0].size, 9);
    const QPointF dot = pixelOf(100, -30);
    EXPECT_TRUE(near(at(image, dot), qRgb(255, 0, 0))) << std::hex << at(image, dot);
    EXPECT_TRUE(near(at(image, dot + QPointF(5, 0)), qRgb(255, 0, 0)));
    // Beyond its radius the map shows through.
    EXPECT_FALSE(near(at(image, dot + QPointF(14, 0)), qRgb(255, 0, 0)));
    EXPECT_FALSE(near(at(image, dot - QPointF(0, 14)), qRgb(255, 0, 0)));
}

TEST_F(CatalogueMapTest, BeachBallCompressionalColourAtItsTAxis)
{
    ASSERT_EQ(map->show(events, "geog"), 0) << takeRegister();
    QImage image = render();
    const KgrpolypointPoint& p = map->symbols()->polypoint.point[1];
    EXPECT_EQ(p.symbol, KGR_SYMBOL_BEACHBALL);
    EXPECT_EQ(p.size, 18); // (7 - 5) * 4 + 10
    // The T axis projects sqrt(2) sin(22.5 degrees) of the radius east of
    // the centre (lower-hemisphere equal area), the P axis as far west.
    const double r = std::sqrt(2.0) * std::sin(22.5 * M_PI / 180) * 18;
    const QPointF centre = pixelOf(-60, 20);
    const QRgb compressional = QColor::fromHslF(240 / 360.0, 1.0, 0.45).rgb();
    EXPECT_TRUE(near(at(image, centre + QPointF(r, 0)), compressional))
        << std::hex << at(image, centre + QPointF(r, 0));
    EXPECT_EQ(at(image, centre - QPointF(r, 0)), kWhite);
}

TEST_F(CatalogueMapTest, ToolTipUnderThePointer)
{
    ASSERT_EQ(map->show(events, "geog"), 0) << takeRegister();
    vp->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(vp));
    render();
    const QPoint dot = pixelOf(100, -30).toPoint();
    QTest::mouseMove(map->picker(), dot + QPoint(3, 2));
    EXPECT_EQ(map->toolTipText().toStdString(),
              "2018-02-06 15:50:42 UTC\n30.00\xc2\xb0S 100.00\xc2\xb0"
              "E, depth 650.0 km\nmagnitude 6.0");
    EXPECT_EQ(QToolTip::text(), map->toolTipText());
    QTest::mouseMove(map->picker(), pixelOf(-60, 20).toPoint());
    EXPECT_NE(map->toolTipText().indexOf("20.00\xc2\xb0N 60.00\xc2\xb0W"), -1);
    EXPECT_NE(map->toolTipText().indexOf("moment tensor"), -1);
    // Far from every symbol: no tip.
    QTest::mouseMove(map->picker(), pixelOf(0, 60).toPoint());
    EXPECT_TRUE(map->toolTipText().isEmpty());
    EXPECT_TRUE(map->textAt(-5, -5).isEmpty());
}

TEST_F(CatalogueMapTest, ProjectionsAndEmptyCatalogue)
{
    for (const char* projection : {"merc", "edp", "geog"}) {
        ASSERT_EQ(map->show(events, projection), 0) << projection << takeRegister();
        render();
        // The ball is drawn (last) and found again at its pixel; the deep
        // dot, 150 degrees away, lies off the equidistant map.
        const bool edp = std::string(projection) == "edp";
        const QList<KgrpolypointPointPath>& drawn = *map->symbols()->polypoint.paths;
        ASSERT_EQ(drawn.size(), edp ? 1 : 2) << projection;
        const KgrpolypointPointPath& ball = drawn.last();
        EXPECT_EQ(ball.ipt, 1);
        EXPECT_NE(map->textAt(ball.xpixel, ball.ypixel).indexOf("moment tensor"), -1);
        if (edp) {
            // Centred on the largest event: the middle of a frame of 568 x
            // 290 from (16, 34).
            EXPECT_NEAR(ball.xpixel, 300, 1);
            EXPECT_NEAR(ball.ypixel, 179, 1);
        }
    }
    EXPECT_EQ(vp->viewport.wtran, KGR_WTRAN_GEOG);
    EXPECT_EQ(map->show(events, "polar"), -1);
    EXPECT_NE(takeRegister().find("unknown projection 'polar'"), std::string::npos);
    ASSERT_EQ(map->show({}, "geog"), 0) << takeRegister();
    render();
    EXPECT_EQ(map->symbols()->polypoint.npts, 0);
    EXPECT_TRUE(map->textAt(300, 170).isEmpty());
}

TEST_F(CatalogueMapTest, LegendShowsTheCodingsColoursAndSizes)
{
    ASSERT_EQ(map->show(events, "geog"), 0) << takeRegister();
    QImage image = render();
    // In the frame's lower left corner, 8 pixels in; depths 0, 100, 300
    // and 650 km in a row of 46-pixel columns after a 74-pixel title,
    // magnitudes 2, 4 and 6 beneath, sized as the map sizes them.
    const QRect box = map->legend()->box();
    EXPECT_EQ(box.left(), 56 + 8);
    EXPECT_EQ(box.bottom() + 1, 340 - 48 - 8);
    EXPECT_EQ(box.width(), 6 + 74 + 4 * 46 + 6);
    const QPoint deepest(box.left() + 6 + 74 + 3 * 46 + 8, box.top() + 6 + 7 + 2);
    EXPECT_TRUE(near(image.pixel(deepest), qRgb(255, 0, 0))) << std::hex << image.pixel(deepest);
    const QPoint shallowest(box.left() + 6 + 74 + 8, deepest.y());
    const QRgb surface = QColor::fromHslF(240 / 360.0, 1.0, 0.8).rgb();
    EXPECT_TRUE(near(image.pixel(shallowest), surface)) << std::hex << image.pixel(shallowest);
    // The pointer goes through the key to the map beneath.
    EXPECT_TRUE(map->legend()->testAttribute(Qt::WA_TransparentForMouseEvents));
}

TEST_F(CatalogueMapTest, RejectedTensorFallsBackToADot)
{
    events[1].m[0] = events[1].m[1] = events[1].m[2] = 0;
    events[1].m[3] = events[1].m[4] = events[1].m[5] = 0;
    ASSERT_EQ(map->show(events, "geog"), 0) << takeRegister();
    render();
    EXPECT_EQ(map->symbols()->polypoint.point[1].symbol, KGR_SYMBOL_CIRCLE);
}

TEST(CatalogueSnapshot, ShippedCatalogueAsPngSvgAndPdf)
{
    hx_clear_register(0);
    std::vector<CatalogueEvent> events;
    ASSERT_EQ(plot_read_catalogue(KGRQT_CATALOGUE, &events), 0) << takeRegister();
    auto* vp = new KGRViewport(nullptr);
    vp->resize(1000, 560);
    auto* map = new CatalogueMap(vp);
    ASSERT_EQ(map->show(events, "geog"), 0) << takeRegister();
    QTemporaryDir dir;
    const std::string png = dir.filePath("map.png").toStdString();
    ASSERT_EQ(plot_write_snapshot(*map, png.c_str()), 0);
    QImage image(QString::fromStdString(png));
    ASSERT_EQ(image.size(), QSize(1000, 560));
    // Every event with a tensor is a beach ball. The Tohoku one (the
    // first of magnitude 9.1, 29 km deep) is compressional at its centre,
    // where the near-vertical rays of a thrust land, and dilatational (the
    // white fill) towards its east edge, beyond the steep nodal plane.
    int balls = 0, tohoku = -1;
    const KgrpolypointItem& item = map->symbols()->polypoint;
    for (int i = 0; i < item.npts; ++i) {
        balls += item.point[i].symbol == KGR_SYMBOL_BEACHBALL;
        if (tohoku < 0 && map->describe(map->eventOfPoint(i)).startsWith("2011-03-11 05:46:24"))
            tohoku = i;
    }
    EXPECT_EQ(balls, 3);
    ASSERT_GE(tohoku, 0);
    EXPECT_EQ(item.point[tohoku].size, 26); // (9.1 - 5) * 4 + 10
    const KgrpolypointPointPath* drawn = nullptr;
    for (const KgrpolypointPointPath& p : *item.paths)
        if (p.ipt == tohoku)
            drawn = &p;
    ASSERT_NE(drawn, nullptr);
    const QPoint centre(drawn->xpixel, drawn->ypixel);
    EXPECT_NEAR(centre.x(), 56 + (142.373 + 180) / 360 * 920, 1.5);
    EXPECT_NEAR(centre.y(), 34 + (90 - 38.297) / 180 * 478, 1.5);
    const QRgb compressional = QColor::fromHslF((1 - 29 / 650.0) * 240 / 360, 1.0, 0.45).rgb();
    image = image.convertToFormat(QImage::Format_RGB32);
    EXPECT_TRUE(near(image.pixel(centre), compressional)) << std::hex << image.pixel(centre);
    EXPECT_EQ(image.pixel(centre + QPoint(23, 0)), kWhite);
    // Its published principal axes: T plunging 55 degrees towards azimuth
    // 295, P 35 degrees towards 115. Lower-hemisphere equal area puts an
    // axis of plunge p at sqrt(2) sin((90 - p) / 2) of the radius, along
    // its azimuth (north up, east right).
    auto axisPixel = [&](double plunge, double azimuth) {
        const double r = 26 * std::sqrt(2.0) * std::sin((90 - plunge) / 2 * M_PI / 180);
        const double a = azimuth * M_PI / 180;
        return QPoint(static_cast<int>(std::lround(centre.x() + r * std::sin(a))),
                      static_cast<int>(std::lround(centre.y() - r * std::cos(a))));
    };
    EXPECT_TRUE(near(image.pixel(axisPixel(55, 295)), compressional))
        << std::hex << image.pixel(axisPixel(55, 295));
    EXPECT_EQ(image.pixel(axisPixel(35, 115)), kWhite);
    for (const char* name : {"map.svg", "map.pdf"}) {
        const std::string path = dir.filePath(name).toStdString();
        ASSERT_EQ(plot_write_snapshot(*map, path.c_str()), 0);
        EXPECT_GT(QFileInfo(QString::fromStdString(path)).size(), 10000) << name;
    }
    delete vp;
}
