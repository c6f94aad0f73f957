// What the polypoint item draws: symbol shapes, sizes and colours, labels,
// opacity, wrapped copies, the frame rule, path points, and the hit-test
// records behind the searches.
#include "kgrqt.h"
#include "register.h"
#include "render.h"

#include <QColor>
#include <QGridLayout>
#include <QImage>
#include <QList>
#include <QPainter>
#include <QPainterPath>
#include <QPen>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

const char* const kEnd = nullptr;
const QRgb white = qRgb(255, 255, 255);
const QRgb red = qRgb(255, 0, 0);
const QRgb blue = qRgb(0, 0, 255);

// A 440 x 340 viewport with margins of 20: the frame is 400 x 300, world
// 0..10 both ways, so world (x, y) is pixel (20 + 40 x, 320 - 30 y).
class PolypointDrawTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        hx_clear_register(0);
        ASSERT_EQ(setUpTenByTenPlot(vp), 0);
        pp = new KGRPolypoint(&vp);
    }
    void TearDown() override
    {
        delete pp;
        hxvector_free("ppd");
        hx_clear_register(0);
    }

    // Loads points "x y [label]" a line.
    void load(const char* text)
    {
        ASSERT_GE(hxvector_read_text("ppd", HXVECTOR_PLAIN, text, nullptr), 1) << takeRegister();
        ASSERT_EQ(pp->configure("vector", "ppd", kEnd), 0) << takeRegister();
    }

    QImage render()
    {
        vp.layout->activate();
        return vp.grab().toImage().convertToFormat(QImage::Format_RGB32);
    }

    int records() const { return pp->polypoint.paths ? pp->polypoint.paths->size() : 0; }
    const QPainterPath& recordPath(int i) const { return *pp->polypoint.paths->at(i).path; }

    KGRViewport vp{nullptr};
    KGRPolypoint* pp = nullptr;
};

bool reddish(QRgb c)
{
    return qRed(c) > 200 && qGreen(c) < 80 && qBlue(c) < 80;
}

int countRed(const QImage& image)
{
    int n = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            n += reddish(image.pixel(x, y));
    return n;
}

// The polygon vertices of a hit-test path.
std::vector<QPointF> vertices(const QPainterPath& path)
{
    std::vector<QPointF> v;
    for (int i = 0; i < path.elementCount(); ++i)
        v.emplace_back(path.elementAt(i).x, path.elementAt(i).y);
    return v;
}

void expectTemplate(const QPainterPath& path, const std::vector<QPointF>& unit, QPointF c,
                    double size, const char* what)
{
    std::vector<QPointF> got = vertices(path);
    ASSERT_EQ(got.size(), unit.size()) << what;
    for (size_t i = 0; i < unit.size(); ++i) {
        EXPECT_NEAR(got[i].x(), c.x() + size * unit[i].x(), 1e-9) << what << " vertex " << i;
        EXPECT_NEAR(got[i].y(), c.y() - size * unit[i].y(), 1e-9) << what << " vertex " << i;
    }
}

} // namespace

TEST_F(PolypointDrawTest, TemplatesAtTheirVertices)
{
    load("5 5 a {sy=triangle}\n5 5 b {sy=square}\n5 5 c {sy=diamond}\n5 5 d {sy=star}\n");
    ASSERT_EQ(pp->configure("size", "20", kEnd), 0);
    render();
    ASSERT_EQ(records(), 4);
    const QPointF c(220, 170);
    expectTemplate(recordPath(0), {{0, 1}, {0.866025, -0.5}, {-0.866025, -0.5}, {0, 1}}, c, 20,
                   "triangle");
    expectTemplate(recordPath(1), {{1, 1}, {-1, 1}, {-1, -1}, {1, -1}, {1, 1}}, c, 20, "square");
    expectTemplate(recordPath(2), {{0, 1}, {-1, 0}, {0, -1}, {1, 0}, {0, 1}}, c, 20, "diamond");
    expectTemplate(recordPath(3),
                   {{0, 1},
                    {0.22451, 0.30902},
                    {0.95106, 0.30902},
                    {0.36327, -0.11803},
                    {0.58779, -0.80902},
                    {0, -0.38197},
                    {-0.58779, -0.80902},
                    {-0.36327, -0.11803},
                    {-0.95106, 0.30902},
                    {-0.22451, 0.30902},
                    {0, 1}},
                   c, 20, "star");
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(pp->polypoint.paths->at(i).ipt, i);
        EXPECT_EQ(pp->polypoint.paths->at(i).xpixel, 220);
        EXPECT_EQ(pp->polypoint.paths->at(i).ypixel, 170);
    }
}

TEST_F(PolypointDrawTest, FilledSquareAndTriangleInPixels)
{
    load("2 2\n7 7 {sy=triangle}\n");
    ASSERT_EQ(pp->configure("fill", "red", "outline", "", "size", "10", kEnd), 0);
    QImage image = render();
    // Square about (100, 260), half-width 10.
    EXPECT_EQ(image.pixel(100, 260), red);
    EXPECT_EQ(image.pixel(108, 252), red);
    EXPECT_EQ(image.pixel(113, 260), white);
    EXPECT_EQ(image.pixel(100, 247), white);
    // Triangle about (300, 110): apex 10 up, base 5 down.
    EXPECT_EQ(image.pixel(300, 102), red);
    EXPECT_EQ(image.pixel(300, 97), white);
    EXPECT_EQ(image.pixel(300, 114), red);
    EXPECT_EQ(image.pixel(300, 117), white);
    EXPECT_EQ(image.pixel(309, 103), white); // outside the slanted side
}

TEST_F(PolypointDrawTest, CircleHasRadiusSize)
{
    load("5 5 {sy=circle}\n");
    ASSERT_EQ(pp->configure("fill", "red", "outline", "", "size", "12", kEnd), 0);
    QImage image = render();
    EXPECT_EQ(image.pixel(220 + 10, 170), red);
    EXPECT_EQ(image.pixel(220 + 14, 170), white);
    EXPECT_EQ(image.pixel(220, 170 - 10), red);
    EXPECT_EQ(image.pixel(220 + 9, 170 - 9), white); // a circle, not a square
    EXPECT_TRUE(recordPath(0).contains(QPointF(220, 181)));
}

TEST_F(PolypointDrawTest, PointCrossAndXAreTheSameSmallDiamond)
{
    load("5 5 {sy=point}\n5 5 {sy=cross}\n5 5 {sy=x}\n");
    ASSERT_EQ(pp->configure("size", "15", "fill", "red", kEnd), 0);
    render();
    ASSERT_EQ(records(), 3);
    for (int i = 0; i < 3; ++i) {
        expectTemplate(recordPath(i), {{0, 1}, {-1, 0}, {0, -1}, {1, 0}, {0, 1}}, {220, 170}, 2,
                       "small diamond");
        EXPECT_EQ(pp->polypoint.point[i].xshift, 1);
        EXPECT_EQ(pp->polypoint.point[i].yshift, 1);
    }
    // Each alone draws the same pixels.
    std::vector<QImage> images;
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j)
            pp->polypoint.point[j].visibility = j == i;
        images.push_back(render());
    }
    EXPECT_EQ(images[0], images[1]);
    EXPECT_EQ(images[0], images[2]);
    EXPECT_NE(images[0].pixel(220, 170), white);
}

TEST_F(PolypointDrawTest, LabelShiftsBySymbol)
{
    load("1 1 a {sy=triangle sz=10}\n2 2 b {sy=star sz=10}\n3 3 c {sy=diamond sz=10}\n"
         "4 4 d {sy=square sz=10}\n5 5 e {sy=circle sz=10}\n6 6 f {sy=point sz=10}\n");
    render();
    const int xs[] = {5, 5, 5, 0, 8, 1};
    const int ys[] = {5, 5, 5, 15, 8, 1};
    for (int i = 0; i < 6; ++i) {
        EXPECT_EQ(pp->polypoint.point[i].xshift, xs[i]) << i;
        EXPECT_EQ(pp->polypoint.point[i].yshift, ys[i]) << i;
    }
}

TEST_F(PolypointDrawTest, LabelsDrawnAtTheirShift)
{
    load("5 5 EQ1\n");
    ASSERT_EQ(pp->configure("size", "10", "outline", "", "fill", "blue", "showtext", "1",
                            "textforeground", "red", kEnd),
              0);
    QImage image = render();
    // The square's label sits 15 pixels up: its baseline at y 155, its text
    // to the right of x 220.
    int above = 0, below = 0, left = 0;
    for (int y = 20; y < 320; ++y)
        for (int x = 20; x < 420; ++x) {
            if (!reddish(image.pixel(x, y)))
                continue;
            above += y <= 156;
            below += y > 157;
            left += x < 219;
        }
    EXPECT_GT(above, 20);
    EXPECT_EQ(below, 0);
    EXPECT_EQ(left, 0);
}

TEST_F(PolypointDrawTest, WithoutSymbolsLabelsHaveNoShift)
{
    load("5 5 EQ1 {sy=square sz=10}\n");
    ASSERT_EQ(pp->configure("showsymbols", "0", "showtext", "1", "textforeground", "red", kEnd), 0);
    pp->polypoint.point[0].yshift = 99;
    QImage image = render();
    EXPECT_EQ(records(), 0);
    EXPECT_EQ(pp->polypoint.point[0].xshift, 0);
    EXPECT_EQ(pp->polypoint.point[0].yshift, 0);
    // The label starts on the point: red pixels reach down to the baseline at 170.
    int nearBaseline = 0;
    for (int y = 160; y <= 170; ++y)
        for (int x = 220; x < 260; ++x)
            nearBaseline += reddish(image.pixel(x, y));
    EXPECT_GT(nearBaseline, 5);
    // No fill and no outline: likewise no symbols.
    ASSERT_EQ(pp->configure("showsymbols", "1", "outline", "", kEnd), 0);
    render();
    EXPECT_EQ(records(), 0);
}

TEST_F(PolypointDrawTest, SizesAndColoursFromCodings)
{
    load("2 5\n7 5\n");
    ASSERT_EQ(pp->configure("outline", "", "fill", "blue", kEnd), 0);
    KgrpolypointCoding c{};
    c.symbol = KGR_SYMBOL_SQUARE;
    c.size = 1;
    c.size_constant = 4;
    c.size_gain = 4.0;
    c.color = 1;
    c.fader = KGR_CODING_UNSET;
    ASSERT_EQ(KGR_ParseColor("red", &c.fi), 1);
    pp->makeSymbol(&c, &pp->polypoint.point[1]);
    QImage image = render();
    // The coded point: a red square of half-width 16 about (300, 170).
    EXPECT_EQ(image.pixel(300 + 14, 170), red);
    EXPECT_EQ(image.pixel(300 + 19, 170), white);
    // The other keeps the item's size 5 and fill.
    EXPECT_EQ(image.pixel(100 + 4, 170), blue);
    EXPECT_EQ(image.pixel(100 + 8, 170), white);
    KGR_ClearColor(&c.fi);
}

TEST_F(PolypointDrawTest, OpacityByFader)
{
    load("2 5\n7 5\n");
    ASSERT_EQ(pp->configure("outline", "", "fill", "red", "size", "10", kEnd), 0);
    pp->polypoint.point[0].fader = 1;
    pp->polypoint.point[0].opacity = 0.5;
    QImage image = render();
    const QRgb faded = image.pixel(100, 170);
    EXPECT_NEAR(qRed(faded), 255, 2);
    EXPECT_NEAR(qGreen(faded), 128, 3);
    EXPECT_EQ(image.pixel(300, 170), red);
    // Opacity 0 draws nothing and leaves no record; the item's opacity
    // serves points without a fader.
    pp->polypoint.point[0].opacity = 0.0;
    ASSERT_EQ(pp->configure("opacity", "0.25", kEnd), 0);
    image = render();
    EXPECT_EQ(image.pixel(100, 170), white);
    EXPECT_NEAR(qGreen(image.pixel(300, 170)), 191, 3);
    ASSERT_EQ(records(), 1);
    EXPECT_EQ(pp->polypoint.paths->at(0).ipt, 1);
}

TEST_F(PolypointDrawTest, RecordsRebuiltOnEveryDraw)
{
    load("2 5\n7 5\n");
    render();
    ASSERT_EQ(records(), 2);
    render();
    EXPECT_EQ(records(), 2);
    ASSERT_EQ(vp.configure("xleft", "5", "xright", "15", kEnd), 0);
    render();
    ASSERT_EQ(records(), 1);
    EXPECT_EQ(pp->polypoint.paths->at(0).xpixel, 20 + 40 * 2);
}

TEST_F(PolypointDrawTest, FindClosestAndInsideGiveDataIndexes)
{
    load("2 5\n5 5\n7 5\n7.1 5\n");
    ASSERT_EQ(pp->configure("size", "10", kEnd), 0);
    pp->polypoint.point[0].visibility = 0; // list positions differ from point indexes
    render();
    int ipt = -2, inside = -1;
    double d = -1;
    ASSERT_EQ(pp->findClosest(226, 170, &ipt, &d, &inside), 0);
    EXPECT_EQ(ipt, 1);
    EXPECT_DOUBLE_EQ(d, 6.0);
    EXPECT_EQ(inside, 1);
    QList<int>* in = pp->findInside(302, 170);
    ASSERT_EQ(in->size(), 2);
    // List positions, the farthest centre first.
    EXPECT_EQ(pp->polypoint.paths->at(in->at(0)).ipt, 2);
    EXPECT_EQ(pp->polypoint.paths->at(in->at(1)).ipt, 3);
    delete in;
    in = pp->findInside(30, 30);
    EXPECT_TRUE(in->isEmpty());
    delete in;
    ASSERT_EQ(pp->configure("points_free", "", kEnd), 0);
    ASSERT_EQ(pp->findClosest(0, 0, &ipt, &d, &inside), 0);
    EXPECT_EQ(ipt, -1);
}

TEST_F(PolypointDrawTest, BadPositionsAndSizesDoNotCrash)
{
    load("5 5 {sz=2000000000}\n5 5 {sz=-30}\n1e38 5\n5 -1e38\n");
    pp->polypoint.point[2].x = NAN;
    pp->polypoint.point[3].y = INFINITY;
    render();
    ASSERT_EQ(pp->configure("fill", "red", kEnd), 0);
    render();
    for (const char* wtran : {"merc", "geog", "edp"}) {
        ASSERT_EQ(vp.configure("wtran", wtran, "xleft", "-180", "xright", "180", "ybottom", "-80",
                               "ytop", "80", kEnd),
                  0)
            << wtran;
        pp->polypoint.point[2].x = 1e30f;
        render();
        pp->polypoint.point[2].x = NAN;
        render();
    }
    SUCCEED();
}

// Geographic viewports wrap symbols every 360 degrees.
class PolypointMapTest : public PolypointDrawTest {
protected:
    void SetUp() override
    {
        PolypointDrawTest::SetUp();
        ASSERT_EQ(pp->configure("fill", "red", "outline", "", "size", "6", kEnd), 0);
    }
    // A 720-degree-wide frame, 400 pixels: 1.8 degrees a pixel.
    void wide(const char* wtran)
    {
        ASSERT_EQ(vp.configure("wtran", wtran, "xleft", "-180", "xright", "540", "ybottom", "-60",
                               "ytop", "60", kEnd),
                  0);
    }
};

TEST_F(PolypointMapTest, WrappedCopiesUnderMercator)
{
    wide("merc");
    load("10 0\n-350 0\n");
    QImage image = render();
    ASSERT_EQ(records(), 4);
    EXPECT_EQ(pp->polypoint.point[0].nwrap, 1);
    // 10 and 370 degrees east; -350 is 10 degrees too.
    const int x10 = static_cast<int>(std::round(20 + (10.0 + 180.0) / 1.8));
    const int x370 = static_cast<int>(std::round(20 + (370.0 + 180.0) / 1.8));
    EXPECT_NEAR(pp->polypoint.paths->at(0).xpixel, x10, 1);
    EXPECT_NEAR(pp->polypoint.paths->at(1).xpixel, x370, 1);
    EXPECT_EQ(pp->polypoint.paths->at(2).xpixel, pp->polypoint.paths->at(0).xpixel);
    EXPECT_EQ(image.pixel(x10, 170), red);
    EXPECT_EQ(image.pixel(x370, 170), red);
    EXPECT_EQ(image.pixel((x10 + x370) / 2, 170), white);
}

TEST_F(PolypointMapTest, SymbolOffTheFrameDropsItsCopies)
{
    wide("merc");
    // Latitude 70 is above the top of the frame (60): the first copy falls
    // outside, and its copy 360 degrees east (inside the x range) is not tried.
    load("10 70\n");
    render();
    EXPECT_EQ(pp->polypoint.point[0].nwrap, 1);
    EXPECT_EQ(records(), 0);
    // A point just off the left edge of a narrower frame is not drawn, nor
    // any copy further east.
    ASSERT_EQ(vp.configure("xleft", "0", "xright", "100", kEnd), 0);
    pp->polypoint.point[0].x = -5.0f;
    pp->polypoint.point[0].y = 0.0f;
    QImage image = render();
    EXPECT_EQ(records(), 0);
    EXPECT_EQ(countRed(image), 0);
}

TEST_F(PolypointMapTest, PartlyInsideIsDrawn)
{
    ASSERT_EQ(vp.configure("wtran", "geog", "xleft", "0", "xright", "100", "ybottom", "-60", "ytop",
                           "60", kEnd),
              0);
    // 1 degree is 4 pixels: 1 degree off the edge, a symbol of 6 still shows.
    load("-1 0\n");
    render();
    EXPECT_EQ(records(), 1);
}

TEST_F(PolypointMapTest, PathPointsUnderGeogAndEdp)
{
    ASSERT_EQ(vp.configure("wtran", "geog", "xleft", "-50", "xright", "50", "ybottom", "-50",
                           "ytop", "50", kEnd),
              0);
    ASSERT_EQ(pp->configure("fill_path", "blue", "outline_path", "", kEnd), 0);
    QList<KGR_XY> square{{10, 10}, {30, 10}, {30, 30}, {10, 30}, {10, 10}};
    ASSERT_EQ(pp->configure("path_add<QList<KGR_XY>>", reinterpret_cast<char*>(&square), kEnd), 0);
    QImage image = render();
    // Degree 20, 20 is pixel (20 + 4 * 70, 320 - 3 * 70).
    EXPECT_EQ(image.pixel(300, 110), blue);
    EXPECT_EQ(image.pixel(220, 170), white);
    EXPECT_EQ(image.pixel(340, 110), white);
    // Under edp about (0, 0) the same square lies north-east of the centre.
    ASSERT_EQ(vp.configure("wtran", "edp", "latr", "0", "lonr", "0", kEnd), 0);
    image = render();
    double px = 0, py = 0;
    ASSERT_EQ(vp.pcoords(20, 20, &px, &py, 0), 0);
    EXPECT_EQ(image.pixel(static_cast<int>(px), static_cast<int>(py)), blue);
    EXPECT_EQ(image.pixel(220, 170), white);
    EXPECT_GT(px, 220);
    EXPECT_LT(py, 170);
}

TEST_F(PolypointDrawTest, SearchesFollowEveryDrawAndMatchTheLinearSearch)
{
    load("2 5\n5 5\n5 5.1\n7 5 {sy=circle}\n7.1 5 {sy=star}\n3 8 {sy=triangle}\n");
    ASSERT_EQ(pp->configure("size", "10", kEnd), 0);
    for (const char* xright : {"10", "8"}) {
        ASSERT_EQ(vp.configure("xright", xright, kEnd), 0);
        render();
        for (int y = 0; y < 340; y += 3)
            for (int x = 0; x < 440; x += 3) {
                int ipt = -2, inside = -2, imin = -2, linside = -2;
                double d = -1, ld = -1;
                ASSERT_EQ(pp->findClosest(x, y, &ipt, &d, &inside), 0);
                kgrqt_findclosest_polypoint(pp->polypoint.paths, x, y, &imin, &ld, &linside);
                ASSERT_EQ(ipt, pp->polypoint.paths->at(imin).ipt) << x << "," << y;
                ASSERT_EQ(d, ld);
                ASSERT_EQ(inside, linside);
                QList<int>* in = pp->findInside(x, y);
                QList<int>* lin = kgrqt_findinside_polypoint(pp->polypoint.paths, x, y);
                ASSERT_EQ(*in, *lin) << x << "," << y;
                delete in;
                delete lin;
            }
    }
}

namespace {

// Every record drawn on its own, with a pen, brush and opacity made for it:
// what the item drew before runs of one style shared their set-up.
QImage drawEachRecord(KGRPolypoint* pp, QSize size)
{
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::white);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    KgrpolypointItem* item = &pp->polypoint;
    for (const KgrpolypointPointPath& r : *item->paths) {
        const KgrpolypointPoint& point = item->point[r.ipt];
        QColor* fill = point.color ? point.fill.color : item->fill.color;
        QColor* outline = point.color ? point.outline.color : item->outline.color;
        painter.setOpacity(pp->getOpacity(r.ipt));
        painter.setPen(outline ? QPen(QBrush(*outline), item->linewidth, Qt::SolidLine,
                                      Qt::SquareCap, Qt::BevelJoin)
                               : QPen(Qt::NoPen));
        painter.setBrush(fill ? QBrush(*fill) : QBrush(Qt::NoBrush));
        painter.drawPath(*r.path);
    }
    return image;
}

QImage drawItem(KGRPolypoint* pp, QSize size)
{
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::white);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    pp->draw(painter);
    return image;
}

} // namespace

// Overlapping symbols at fractional pixel positions, in runs of one style
// broken by points of their own colours, opacity or outline width.
TEST_F(PolypointDrawTest, RunsOfOneStyleDrawTheSamePixelsAsSymbolByItself)
{
    std::string text;
    for (int i = 0; i < 400; ++i) {
        char line[96];
        snprintf(line, sizeof line, "%.4f %.4f%s\n", 1 + (i * 37 % 800) / 100.0,
                 1 + (i * 53 % 790) / 100.0, i % 7 == 0 ? " {f=blue o=green}" : "");
        text += line;
    }
    load(text.c_str());
    ASSERT_EQ(pp->polypoint.npts, 400);
    for (int i = 0; i < 400; ++i) {
        KgrpolypointPoint* point = &pp->polypoint.point[i];
        point->color = i % 7 == 0;
        if (i % 5 == 0) {
            point->fader = 1;
            point->opacity = 0.5;
        }
        point->size = i % 9 == 0 ? 9 : 0;
    }
    render();
    for (const char* symbol : {"point", "triangle", "square", "circle", "star", "diamond"})
        for (const char* width : {"1", "3"}) {
            ASSERT_EQ(pp->configure("symbol", symbol, "fill", "#ff8000", "outline", "#000000",
                                    "size", "6", "linewidth", width, kEnd),
                      0);
            const QImage runs = drawItem(pp, vp.size());
            ASSERT_EQ(records(), 400) << symbol;
            const QImage each = drawEachRecord(pp, vp.size());
            int differ = 0, drawn = 0;
            for (int y = 0; y < runs.height(); ++y)
                for (int x = 0; x < runs.width(); ++x) {
                    differ += runs.pixel(x, y) != each.pixel(x, y);
                    drawn += runs.pixel(x, y) != qRgb(255, 255, 255);
                }
            EXPECT_EQ(differ, 0) << symbol << " width " << width;
            EXPECT_GT(drawn, 1000) << symbol;
        }
}
