// Beach balls of the polypoint item: the tensor cache, and where the
// compressional regions land on the screen, turned to north on maps.
#include "kgrqt.h"
#include "register.h"
#include "render.h"

#include <QColor>
#include <QGridLayout>
#include <QImage>
#include <QPainterPath>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>

namespace {

const char* const kEnd = nullptr;
const QRgb white = qRgb(255, 255, 255);
const QRgb red = qRgb(255, 0, 0);
const QRgb blue = qRgb(0, 0, 255);

// Components in the order (xx, yy, zz, xy, xz, yz), x east, y north, z
// down. A pure xz couple has its T axis east and 45 degrees down, its P
// axis west and 45 degrees down (lower hemisphere); both project at radius
// sqrt(2) sin(22.5 degrees) on the equal-area disc.
const double eastDipCouple[6] = {0, 0, 0, 0, 1, 0};
const double axisRadius = std::sqrt(2.0) * std::sin(22.5 * M_PI / 180.0);

struct Point {
    Point(const double* m)
    {
        memset(static_cast<void*>(&p), 0, sizeof p);
        p.visibility = 1;
        p.opacity = 1.0;
        p.symbol = KGR_SYMBOL_SQUARE;
        memcpy(p.m, m, sizeof p.m);
    }
    ~Point() { polypoint_free_point(&p); }
    KgrpolypointPoint p;
};

std::string label(const char* text, const double* m)
{
    char buffer[256];
    snprintf(buffer, sizeof buffer, "%s {sy=bb,%g,%g,%g,%g,%g,%g}", text, m[0], m[1], m[2], m[3],
             m[4], m[5]);
    return buffer;
}

class BeachballDrawTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        hx_clear_register(0);
        ASSERT_EQ(setUpTenByTenPlot(vp), 0);
        pp = new KGRPolypoint(&vp);
        ASSERT_EQ(
            pp->configure("fill", "blue", "fill_nodes", "red", "outline", "", "size", "60", kEnd),
            0);
    }
    void TearDown() override
    {
        delete pp;
        hxvector_free("bbd");
        hx_clear_register(0);
    }
    void load(const std::string& text)
    {
        ASSERT_GE(hxvector_read_text("bbd", HXVECTOR_PLAIN, text.c_str(), nullptr), 1);
        ASSERT_EQ(pp->configure("vector", "bbd", kEnd), 0) << takeRegister();
    }
    QImage render()
    {
        vp.layout->activate();
        return vp.grab().toImage().convertToFormat(QImage::Format_RGB32);
    }
    QRgb at(const QImage& image, double x, double y)
    {
        return image.pixel(static_cast<int>(std::lround(x)), static_cast<int>(std::lround(y)));
    }

    KGRViewport vp{nullptr};
    KGRPolypoint* pp = nullptr;
};

} // namespace

TEST(BeachballCache, SameTensorSharesOnePath)
{
    Point a(eastDipCouple), b(eastDipCouple);
    ASSERT_EQ(polypoint_make_beachball_point(&a.p), 0);
    ASSERT_EQ(polypoint_make_beachball_point(&b.p), 0);
    EXPECT_EQ(a.p.symbol, KGR_SYMBOL_BEACHBALL);
    ASSERT_NE(a.p.P_nodes, nullptr);
    EXPECT_FALSE(a.p.P_nodes->isEmpty());
    EXPECT_EQ(a.p.P_nodes, b.p.P_nodes);
    EXPECT_EQ(getarr(KGRPolypoint::beachball_arr, "0 0 0 0 1 0"), a.p.P_nodes);
}

TEST(BeachballCache, RejectedTensorKeepsSymbolAndIsCachedEmpty)
{
    hx_clear_register(0);
    const double zero[6] = {0, 0, 0, 0, 0, 0};
    Point a(zero);
    ASSERT_EQ(polypoint_make_beachball_point(&a.p), 0);
    EXPECT_EQ(a.p.symbol, KGR_SYMBOL_SQUARE);
    EXPECT_EQ(a.p.P_nodes, nullptr);
    const int n = cntarr(KGRPolypoint::beachball_arr);
    ASSERT_EQ(polypoint_make_beachball_point(&a.p), 0);
    EXPECT_EQ(cntarr(KGRPolypoint::beachball_arr), n); // tried again, stored again
    EXPECT_EQ(a.p.symbol, KGR_SYMBOL_SQUARE);
    const double bad[6] = {NAN, 1, 0, 0, 0, INFINITY};
    Point b(bad);
    ASSERT_EQ(polypoint_make_beachball_point(&b.p), 0);
    EXPECT_EQ(b.p.symbol, KGR_SYMBOL_SQUARE);
    EXPECT_EQ(takeRegister(), "");
}

TEST(BeachballCache, EmptiedWholeAbove100000Entries)
{
    Point a(eastDipCouple);
    ASSERT_EQ(polypoint_make_beachball_point(&a.p), 0);
    // Fill the cache up to its ceiling with rejected tensors.
    char key[64];
    for (int i = cntarr(KGRPolypoint::beachball_arr); i <= 100000; ++i) {
        snprintf(key, sizeof key, "filler %d", i);
        setarr(KGRPolypoint::beachball_arr, key, nullptr);
    }
    ASSERT_EQ(cntarr(KGRPolypoint::beachball_arr), 100001);
    // A cached tensor is still found without emptying.
    ASSERT_EQ(polypoint_make_beachball_point(&a.p), 0);
    EXPECT_EQ(cntarr(KGRPolypoint::beachball_arr), 100001);
    const double other[6] = {1, -1, 0, 0, 0, 0};
    Point b(other);
    ASSERT_EQ(polypoint_make_beachball_point(&b.p), 0);
    EXPECT_EQ(cntarr(KGRPolypoint::beachball_arr), 1);
    EXPECT_EQ(b.p.symbol, KGR_SYMBOL_BEACHBALL);
    EXPECT_EQ(getarr(KGRPolypoint::beachball_arr, "1 -1 0 0 0 0"), b.p.P_nodes);
}

TEST(BeachballCoding, SymbolNineAndDepthColours)
{
    KGRViewport vp(nullptr);
    KGRPolypoint pp(&vp);
    KgrpolypointCoding c{};
    c.symbol = KGR_SYMBOL_BEACHBALL;
    c.size = c.fader = KGR_CODING_UNSET;
    c.color = 2;
    Point pt(eastDipCouple);
    pt.p.color_value = 0.0;
    pp.makeSymbol(&c, &pt.p);
    EXPECT_EQ(pt.p.symbol, KGR_SYMBOL_BEACHBALL);
    ASSERT_NE(pt.p.fill.color, nullptr);
    ASSERT_NE(pt.p.fill_nodes.color, nullptr);
    // Pale ball (lightness 0.9), stronger nodes (0.8), both of hue 240.
    KGR_Color ball{}, nodes{};
    KGR_ParseColor("240.0,1.00,0.90", &ball);
    KGR_ParseColor("240.0,1.00,0.80", &nodes);
    EXPECT_EQ(pt.p.fill.color->rgb(), ball.color->rgb());
    EXPECT_EQ(pt.p.fill_nodes.color->rgb(), nodes.color->rgb());
    KGR_ClearColor(&ball);
    KGR_ClearColor(&nodes);
    KGR_ClearColor(&c.ot);
}

TEST_F(BeachballDrawTest, TAxisFilledWithNodesPAxisWithFill)
{
    load(label("5 5 E1", eastDipCouple) + "\n");
    ASSERT_EQ(pp->polypoint.point[0].symbol, KGR_SYMBOL_BEACHBALL);
    QImage image = render();
    const double r = 60 * axisRadius;
    EXPECT_EQ(at(image, 220 + r, 170), red);    // T: east
    EXPECT_EQ(at(image, 220 - r, 170), blue);   // P: west
    EXPECT_EQ(at(image, 220 + 75, 170), white); // outside the ball
    ASSERT_EQ(pp->polypoint.paths->size(), 1);
    EXPECT_EQ(pp->polypoint.paths->at(0).xpixel, 220);
    EXPECT_TRUE(pp->polypoint.paths->at(0).path->contains(QPointF(220 + 55, 170)));
    EXPECT_FALSE(pp->polypoint.paths->at(0).path->contains(QPointF(220 + 65, 170)));
}

TEST_F(BeachballDrawTest, NorthDownTensorTurnsWithIt)
{
    // A yz couple: T north and down, P south and down.
    const double northDip[6] = {0, 0, 0, 0, 0, 1};
    load(label("5 5 N", northDip) + "\n");
    QImage image = render();
    const double r = 60 * axisRadius;
    EXPECT_EQ(at(image, 220, 170 - r), red);
    EXPECT_EQ(at(image, 220, 170 + r), blue);
}

TEST_F(BeachballDrawTest, WithoutNodeFillOnlyCircleAndOutline)
{
    load(label("5 5 E1", eastDipCouple) + "\n");
    ASSERT_EQ(pp->configure("fill_nodes", "", "outline", "red", kEnd), 0);
    QImage image = render();
    const double r = 60 * axisRadius;
    EXPECT_EQ(at(image, 220 + r, 170), blue);
    EXPECT_EQ(at(image, 220 - r, 170), blue);
    // The outline on the circle.
    int outlined = 0;
    for (int dx = 58; dx <= 62; ++dx)
        outlined +=
            qRed(image.pixel(220 + dx, 170)) > 128 && qGreen(image.pixel(220 + dx, 170)) < 128;
    EXPECT_GT(outlined, 0);
}

TEST_F(BeachballDrawTest, TurnedToNorthUnderEdp)
{
    ASSERT_EQ(vp.configure("wtran", "edp", "latr", "0", "lonr", "0", "xleft", "-100", "xright",
                           "100", "ybottom", "-75", "ytop", "75", kEnd),
              0);
    load(label("60 50 E1", eastDipCouple) + "\n");
    QImage image = render();
    double dx, dy, north;
    kgrqt_latlon2edp2(0, 0, 50, 60, &dx, &dy, &north);
    ASSERT_GT(std::fabs(north), 20.0); // the test needs a real turn
    double cx, cy;
    ASSERT_EQ(vp.pcoords(60, 50, &cx, &cy, 0), 0);
    const double t = north * M_PI / 180.0, r = 60 * axisRadius;
    // North lies north degrees clockwise from up, and east as far from right.
    EXPECT_EQ(at(image, cx + r * std::cos(t), cy + r * std::sin(t)), red);
    EXPECT_EQ(at(image, cx - r * std::cos(t), cy - r * std::sin(t)), blue);
    // The compressional half of this couple is the eastern one. A direction
    // inside it when unturned but outside once turned by north:
    const double phi = (north > 0 ? north / 2 - 90 : 90 + north / 2) * M_PI / 180.0;
    EXPECT_EQ(at(image, cx + r * std::cos(phi), cy + r * std::sin(phi)), blue);
}

TEST_F(BeachballDrawTest, WrappedUnderMercator)
{
    ASSERT_EQ(vp.configure("wtran", "merc", "xleft", "-180", "xright", "540", "ybottom", "-60",
                           "ytop", "60", kEnd),
              0);
    ASSERT_EQ(pp->configure("size", "20", kEnd), 0);
    load(label("10 0 E1", eastDipCouple) + "\n");
    QImage image = render();
    ASSERT_EQ(pp->polypoint.paths->size(), 2);
    for (int k = 0; k < 2; ++k) {
        const int x = pp->polypoint.paths->at(k).xpixel;
        EXPECT_EQ(image.pixel(x + 8, 170), red) << k;
        EXPECT_EQ(image.pixel(x - 8, 170), blue) << k;
    }
}
