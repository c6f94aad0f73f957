// The polyline item: its data sources and options, and what it draws on a
// real viewport, with and without a layer.
#include "kgrqt.h"
#include "register.h"

#include <QColor>
#include <QGridLayout>
#include <QImage>
#include <QList>
#include <QPainter>
#include <QPixmap>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

const char* const kEnd = nullptr;

std::vector<double> xsOf(const KGRPolyline& p)
{
    return std::vector<double>(p.polyline.xpts, p.polyline.xpts + p.polyline.npts);
}

std::vector<double> ysOf(const KGRPolyline& p)
{
    return std::vector<double>(p.polyline.ypts, p.polyline.ypts + p.polyline.npts);
}

std::string printed(KGRPolyline& p, const char* option)
{
    char* s = p.printConfigValue(option);
    std::string out = s ? s : "(null)";
    free(s);
    return out;
}

HX_ConfigureSpec* row(const char* name)
{
    for (HX_ConfigureSpec* s = KGRPolyline::configSpecs; strcmp(s->type, "end") != 0; ++s)
        if (strcmp(s->name, name) == 0)
            return s;
    return nullptr;
}

// Vectors every source test reads: a plain vector with two sets, a
// second-generation vector with two sets and a time history.
class PolylineSourceTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        hx_clear_register(0);
        ASSERT_EQ(hxvector_read_text("plv", HXVECTOR_PLAIN, "1 10\n2 20\n3 30\n\n4 40\n", nullptr),
                  2);
        ASSERT_EQ(hxvector_read_text("plv2", HXVECTOR_SECOND, "5 50\n6 60\n\n7 70\n8 80\n9 90\n",
                                     nullptr),
                  2);
        ASSERT_EQ(hxvector_read_text("plh", HXVECTOR_HISTORY,
                                     "1970-01-01T00:01:00Z 1\n1970-01-01 00:02:00 2\n", nullptr),
                  1);
        line = new KGRPolyline(&vp);
    }
    void TearDown() override
    {
        delete line;
        for (const char* name : {"plv", "plv2", "plh"})
            hxvector_free(name);
        hx_clear_register(0);
    }

    KGRViewport vp{nullptr};
    KGRPolyline* line = nullptr;
};

} // namespace

TEST_F(PolylineSourceTest, ConstructionSetsTheRecordAndRegisters)
{
    EXPECT_STREQ(line->class_name, "KGRPolyline");
    EXPECT_EQ(line->debug, 0);
    EXPECT_EQ(line->parentWidget(), &vp);
    EXPECT_GE(vp.layout->indexOf(line), 0);
    EXPECT_FALSE(line->autoFillBackground());
    EXPECT_EQ(line->polyline.vp, &vp);
    EXPECT_EQ(line->polyline.viewport, &vp.viewport);
    EXPECT_EQ(line->polyline.linestyle, 1);
    EXPECT_EQ(line->polyline.linewidth, 1);
    EXPECT_EQ(line->polyline.tr.database, HX_DB_INVALID);
    EXPECT_EQ(line->polyline.tr.record, HX_DB_INVALID);
    EXPECT_EQ(line->polyline.npts, 0);
    EXPECT_EQ(line->polyline.fill.color, nullptr);
    EXPECT_EQ(line->polyline.outline.color, nullptr);
    EXPECT_STREQ(line->polyline.label, "");
    EXPECT_EQ(line->polyline.layer, nullptr);
    EXPECT_EQ(printed(*line, "vector"), "");
    EXPECT_EQ(printed(*line, "thistory"), "");
    EXPECT_EQ(printed(*line, "linewidth"), "1");
}

TEST_F(PolylineSourceTest, OptionsComeInTableOrder)
{
    Tbl* names = line->optionNames();
    std::vector<std::string> got;
    for (int i = 0; i < maxtbl(names); ++i)
        got.push_back(static_cast<const char*>(gettbl(names, i)));
    freetbl(names, nullptr);
    EXPECT_EQ(got, (std::vector<std::string>{"vector", "vector2", "thistory", "qlist", "test",
                                             "fill", "outline", "linewidth", "label"}));
}

TEST_F(PolylineSourceTest, VectorLoadsTheSetOfItsHandle)
{
    ASSERT_EQ(line->configure("vector", "plv", kEnd), 0) << takeRegister();
    EXPECT_EQ(xsOf(*line), (std::vector<double>{1, 2, 3}));
    EXPECT_EQ(ysOf(*line), (std::vector<double>{10, 20, 30}));
    ASSERT_EQ(line->configure("vector", "plv:1", kEnd), 0) << takeRegister();
    EXPECT_EQ(xsOf(*line), (std::vector<double>{4}));
    EXPECT_EQ(printed(*line, "vector"), "plv:1");
    EXPECT_EQ(printed(*line, "vector2"), "plv:1");
}

TEST_F(PolylineSourceTest, EmptyVectorValueChangesNothing)
{
    ASSERT_EQ(line->configure("vector", "plv", kEnd), 0);
    EXPECT_EQ(line->configure("vector", static_cast<char*>(nullptr), kEnd), 0);
    EXPECT_EQ(line->configure("vector", "", kEnd), 0);
    EXPECT_EQ(xsOf(*line), (std::vector<double>{1, 2, 3}));
    EXPECT_EQ(printed(*line, "vector"), "plv");
    EXPECT_EQ(hx_register_count(), 0);
}

TEST_F(PolylineSourceTest, VectorNamingASecondGenerationVectorActsAsVector2)
{
    // Whatever was registered before is cleared on the way to "vector2".
    hx_register_error(0, "an earlier message\n");
    ASSERT_EQ(line->configure("vector", "plv2:1", kEnd), 0);
    EXPECT_EQ(hx_register_count(), 0);
    EXPECT_EQ(xsOf(*line), (std::vector<double>{7, 8, 9}));
    EXPECT_EQ(ysOf(*line), (std::vector<double>{70, 80, 90}));
    EXPECT_EQ(printed(*line, "vector"), "plv2:1");
}

TEST_F(PolylineSourceTest, UnknownVectorHandleFailsAndKeepsThePoints)
{
    ASSERT_EQ(line->configure("vector", "plv", kEnd), 0);
    EXPECT_EQ(line->configure("vector", "nosuch", kEnd), -1);
    EXPECT_EQ(takeRegister(), "polyline_parse_vector: Cannot find hxvector or hxvector2 "
                              "corresponding to handle 'nosuch'.");
    // A plain vector's set that does not exist is not a vector either.
    EXPECT_EQ(line->configure("vector", "plv:2", kEnd), -1);
    EXPECT_EQ(takeRegister(), "polyline_parse_vector: Cannot find hxvector or hxvector2 "
                              "corresponding to handle 'plv:2'.");
    EXPECT_EQ(xsOf(*line), (std::vector<double>{1, 2, 3}));
    EXPECT_EQ(printed(*line, "vector"), "plv");
}

TEST_F(PolylineSourceTest, Vector2RefillsTheItemsArraysInPlace)
{
    ASSERT_EQ(line->configure("vector2", "plv2:1", kEnd), 0) << takeRegister();
    EXPECT_EQ(xsOf(*line), (std::vector<double>{7, 8, 9}));
    EXPECT_GE(line->polyline.xpts_size, 3);
    EXPECT_GE(line->polyline.ypts_size, 3);
    const double* x = line->polyline.xpts;
    ASSERT_EQ(line->configure("vector2", "plv2", kEnd), 0) << takeRegister();
    EXPECT_EQ(line->polyline.xpts, x); // large enough already: reused
    EXPECT_EQ(xsOf(*line), (std::vector<double>{5, 6}));
    EXPECT_EQ(ysOf(*line), (std::vector<double>{50, 60}));
    EXPECT_EQ(printed(*line, "vector2"), "plv2");
}

TEST_F(PolylineSourceTest, Vector2AfterAnotherSourceGrowsTheRightArrays)
{
    // Arrays of another source are exactly as long as their points; a
    // larger second-generation set must grow them, not overrun them.
    ASSERT_EQ(line->configure("vector", "plv:1", kEnd), 0);
    EXPECT_EQ(line->polyline.xpts_size, 1);
    ASSERT_EQ(line->configure("vector2", "plv2:1", kEnd), 0) << takeRegister();
    EXPECT_EQ(xsOf(*line), (std::vector<double>{7, 8, 9}));
    EXPECT_GE(line->polyline.xpts_size, 3);
}

TEST_F(PolylineSourceTest, Vector2FailureKeepsThePoints)
{
    ASSERT_EQ(line->configure("vector2", "plv2", kEnd), 0);
    EXPECT_EQ(line->configure("vector2", "plv2:2", kEnd), -1);
    EXPECT_EQ(takeRegister(), "hxvector2_get_points: No set 2 in vector 'plv2'\n"
                              "polyline_parse_vector2: hxvector2_get_points(plv2) error.");
    EXPECT_EQ(line->configure("vector2", "plv", kEnd), -1);
    EXPECT_EQ(takeRegister(), "hxvector2_get_points: Vector 'plv' is of another kind\n"
                              "polyline_parse_vector2: hxvector2_get_points(plv) error.");
    EXPECT_EQ(xsOf(*line), (std::vector<double>{5, 6}));
    EXPECT_EQ(printed(*line, "vector2"), "plv2");
}

TEST_F(PolylineSourceTest, ThistoryLoadsTimesAsX)
{
    ASSERT_EQ(line->configure("thistory", "plh", kEnd), 0) << takeRegister();
    EXPECT_EQ(xsOf(*line), (std::vector<double>{60, 120}));
    EXPECT_EQ(ysOf(*line), (std::vector<double>{1, 2}));
    EXPECT_EQ(printed(*line, "thistory"), "plh");
    EXPECT_EQ(line->configure("thistory", "plv", kEnd), -1);
    EXPECT_EQ(takeRegister(), "hxhistory_get_points: Vector 'plv' is of another kind\n"
                              "polyline_parse_thistory: hxhistory_get_points(plv) error.");
    EXPECT_EQ(xsOf(*line), (std::vector<double>{60, 120}));
    EXPECT_EQ(printed(*line, "thistory"), "plh");
}

TEST_F(PolylineSourceTest, DataStaysUntilAnotherSourceSucceeds)
{
    ASSERT_EQ(line->configure("thistory", "plh", kEnd), 0);
    EXPECT_EQ(line->configure("vector", "nosuch", kEnd), -1);
    EXPECT_EQ(line->configure("vector2", "nosuch", kEnd), -1);
    EXPECT_EQ(line->configure("thistory", "nosuch", kEnd), -1);
    takeRegister();
    EXPECT_EQ(xsOf(*line), (std::vector<double>{60, 120}));
    ASSERT_EQ(line->configure("vector", "plv", kEnd), 0);
    EXPECT_EQ(xsOf(*line), (std::vector<double>{1, 2, 3}));
    EXPECT_EQ(printed(*line, "thistory"), "plh"); // each source keeps its own handle
}

TEST_F(PolylineSourceTest, QlistCopiesTheListInOrder)
{
    QList<KGR_XY> list = {{1.5, -2}, {3, 4}, {-5, 6.25}};
    ASSERT_EQ(line->configure("qlist", reinterpret_cast<char*>(&list), kEnd), 0);
    EXPECT_EQ(xsOf(*line), (std::vector<double>{1.5, 3, -5}));
    EXPECT_EQ(ysOf(*line), (std::vector<double>{-2, 4, 6.25}));
    list[0].x = 99; // the item holds its own copy
    EXPECT_EQ(line->polyline.xpts[0], 1.5);
    // Write-only.
    EXPECT_EQ(line->printConfigValue("qlist"), nullptr);
    EXPECT_EQ(takeRegister(), "HXConfigure::printConfigValue: option 'qlist' cannot be printed.\n");
}

TEST_F(PolylineSourceTest, EmptyQlistEmptiesTheItem)
{
    ASSERT_EQ(line->configure("vector", "plv", kEnd), 0);
    QList<KGR_XY> empty;
    ASSERT_EQ(line->configure("qlist", reinterpret_cast<char*>(&empty), kEnd), 0);
    EXPECT_EQ(line->polyline.npts, 0);
    EXPECT_EQ(line->polyline.xpts, nullptr);
    EXPECT_EQ(line->polyline.ypts, nullptr);
    ASSERT_EQ(line->configure("vector", "plv", kEnd), 0);
    ASSERT_EQ(line->configure("qlist", static_cast<char*>(nullptr), kEnd), 0);
    EXPECT_EQ(line->polyline.npts, 0);
}

TEST_F(PolylineSourceTest, TestCurveIsFlatUpToOneThenADecayingWave)
{
    ASSERT_EQ(line->configure("test", "yes", kEnd), 0);
    ASSERT_EQ(line->polyline.npts, 1000);
    const double pi = 3.141592653589793;
    for (int i = 0; i < 1000; ++i) {
        const double x = i * 0.01;
        ASSERT_EQ(line->polyline.xpts[i], x) << i;
        if (i <= 100)
            ASSERT_EQ(line->polyline.ypts[i], 0.0) << i;
        else
            ASSERT_DOUBLE_EQ(line->polyline.ypts[i], std::sin(2 * pi * (x - 1)) / x) << i;
    }
    // A quarter period after the start: sin(pi/2) / 1.25.
    EXPECT_NEAR(line->polyline.ypts[125], 0.8, 1e-12);
    EXPECT_NEAR(line->polyline.xpts[999], 9.99, 1e-12);
    EXPECT_EQ(printed(*line, "test"), "test");
    // Only a null value leaves the data alone.
    ASSERT_EQ(line->configure("vector", "plv", kEnd), 0);
    ASSERT_EQ(line->configure("test", static_cast<char*>(nullptr), kEnd), 0);
    EXPECT_EQ(line->polyline.npts, 3);
}

TEST_F(PolylineSourceTest, ChangedBitFollowsTheData)
{
    HX_ConfigureSpec* vector = row("vector");
    ASSERT_EQ(line->configure("vector", "plv", kEnd), 0);
    vector->specFlags &= ~HX_CONFIGURE_CHANGED; // shared table: only a test clears it
    ASSERT_EQ(line->configure("vector", "plv", kEnd), 0);
    EXPECT_EQ(vector->specFlags & HX_CONFIGURE_CHANGED, 0);
    ASSERT_EQ(line->configure("vector", "plv:1", kEnd), 0);
    EXPECT_NE(vector->specFlags & HX_CONFIGURE_CHANGED, 0);

    HX_ConfigureSpec* vector2 = row("vector2");
    ASSERT_EQ(line->configure("vector2", "plv2", kEnd), 0);
    vector2->specFlags &= ~HX_CONFIGURE_CHANGED;
    ASSERT_EQ(line->configure("vector2", "plv2", kEnd), 0);
    EXPECT_EQ(vector2->specFlags & HX_CONFIGURE_CHANGED, 0);
    ASSERT_EQ(line->configure("vector2", "plv2:1", kEnd), 0);
    EXPECT_NE(vector2->specFlags & HX_CONFIGURE_CHANGED, 0);

    HX_ConfigureSpec* test = row("test");
    ASSERT_EQ(line->configure("test", "1", kEnd), 0);
    test->specFlags &= ~HX_CONFIGURE_CHANGED;
    ASSERT_EQ(line->configure("test", "1", kEnd), 0);
    EXPECT_EQ(test->specFlags & HX_CONFIGURE_CHANGED, 0);
}

TEST_F(PolylineSourceTest, ColourAndStyleOptions)
{
    ASSERT_EQ(line->configure("outline", "red", "fill", "#8000ff00", "linewidth", "3", "label",
                              "Z trace", kEnd),
              0);
    EXPECT_EQ(line->polyline.outline.color->rgb(), qRgb(255, 0, 0));
    EXPECT_EQ(line->polyline.fill.color->alpha(), 0x80);
    EXPECT_EQ(line->polyline.linewidth, 3);
    EXPECT_STREQ(line->polyline.label, "Z trace");
    ASSERT_EQ(line->configure("outline", "", kEnd), 0);
    EXPECT_EQ(line->polyline.outline.color, nullptr);
    EXPECT_EQ(line->configure("linewidth", "wide", kEnd), -1);
    takeRegister();
    EXPECT_EQ(line->polyline.linewidth, 3);
}

// ------------------------------------------------------------- drawing

namespace {

const QRgb kFrame = qRgb(128, 128, 128);
const QRgb kPlot = qRgb(255, 255, 255);
const QRgb kRed = qRgb(255, 0, 0);

// A 220 x 141 viewport with margins left 10, right 10, top 20, bottom 20,
// so the plotting area is 200 x 101 pixels from (10, 20); a grey frame and
// a white plotting area.
class PolylineDrawTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        hx_clear_register(0);
        vp.resize(220, 141);
        ASSERT_EQ(vp.configure("fill_frame", "#808080", "fill", "white", "margin", "10 10 20 20",
                               "xleft", "0", "xright", "10", "ybottom", "-1", "ytop", "1", kEnd),
                  0)
            << takeRegister();
        line = new KGRPolyline(&vp);
    }
    void TearDown() override
    {
        delete line;
        hx_clear_register(0);
    }

    QImage render()
    {
        vp.layout->activate();
        return vp.grab().toImage().convertToFormat(QImage::Format_RGB32);
    }

    // Pixel of world point (x, y) in this viewport, worked out by hand.
    static double px(double x) { return 10 + (x - 0) * 200 / 10.0; }
    static double py(double y) { return 20 + (1 - y) * 101 / 2.0; }

    void setPoints(const QList<KGR_XY>& points)
    {
        ASSERT_EQ(line->configure(
                      "qlist", reinterpret_cast<char*>(const_cast<QList<KGR_XY>*>(&points)), kEnd),
                  0);
    }

    KGRViewport vp{nullptr};
    KGRPolyline* line = nullptr;
};

// Within a rounding step of a colour: long antialiased strokes may miss
// full coverage by a hair.
::testing::AssertionResult near(QRgb got, QRgb want)
{
    if (std::abs(qRed(got) - qRed(want)) <= 2 && std::abs(qGreen(got) - qGreen(want)) <= 2 &&
        std::abs(qBlue(got) - qBlue(want)) <= 2)
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << std::hex << got << " is not " << want;
}

int countColour(const QImage& image, QRgb colour)
{
    int n = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            n += image.pixel(x, y) == colour;
    return n;
}

} // namespace

TEST_F(PolylineDrawTest, HorizontalLineLightsItsPixelRow)
{
    ASSERT_EQ(line->configure("outline", "red", kEnd), 0);
    setPoints({{0, 0}, {10, 0}});
    const QImage image = render();
    // y = 0 lies at 20 + 50.5: a one-pixel line covers row 70 exactly.
    ASSERT_EQ(py(0), 70.5);
    for (int x = 11; x < 209; ++x) {
        ASSERT_EQ(image.pixel(x, 70), kRed) << x;
        ASSERT_EQ(image.pixel(x, 69), kPlot) << x;
        ASSERT_EQ(image.pixel(x, 71), kPlot) << x;
    }
    EXPECT_EQ(image.pixel(5, 70), kFrame);
    EXPECT_EQ(image.pixel(215, 70), kFrame);
}

TEST_F(PolylineDrawTest, LinesAreClippedToThePlottingArea)
{
    ASSERT_EQ(line->configure("outline", "red", "linewidth", "3", kEnd), 0);
    // Beyond both x limits at y = 0, and a vertical line beyond both y
    // limits at x = 5.125 (pixel column 112).
    setPoints({{-5, 0}, {15, 0}, {2e30, 2e30}, {5.125, -3}, {5.125, 3}});
    const QImage image = render();
    ASSERT_EQ(px(5.125), 112.5);
    EXPECT_TRUE(near(image.pixel(10, 70), kRed));
    EXPECT_TRUE(near(image.pixel(209, 70), kRed));
    EXPECT_TRUE(near(image.pixel(112, 20), kRed));
    EXPECT_TRUE(near(image.pixel(112, 120), kRed));
    for (int x = 0; x < 10; ++x) {
        EXPECT_EQ(image.pixel(x, 70), kFrame) << x;
        EXPECT_EQ(image.pixel(219 - x, 70), kFrame) << x;
    }
    for (int y = 0; y < 20; ++y) {
        EXPECT_EQ(image.pixel(112, y), kFrame) << y;
        EXPECT_EQ(image.pixel(112, 140 - y), kFrame) << y;
    }
}

TEST_F(PolylineDrawTest, PointsLandWhereTheScalesPutThem)
{
    ASSERT_EQ(line->configure("outline", "red", kEnd), 0);
    // A short vertical stroke at x = 2.625, from y = 0.5 to y = -0.5.
    setPoints({{2.625, 0.5}, {2.625, -0.5}});
    const QImage image = render();
    const int column = static_cast<int>(px(2.625)); // 62.5: column 62
    EXPECT_EQ(image.pixel(column, static_cast<int>(py(0))), kRed);
    EXPECT_EQ(image.pixel(column, static_cast<int>(py(0.4))), kRed);
    EXPECT_EQ(image.pixel(column, static_cast<int>(py(0.7))), kPlot);
    EXPECT_EQ(image.pixel(column, static_cast<int>(py(-0.7))), kPlot);
    EXPECT_EQ(image.pixel(column - 2, static_cast<int>(py(0))), kPlot);
}

TEST_F(PolylineDrawTest, DrawsAntialiased)
{
    ASSERT_EQ(line->configure("outline", "red", kEnd), 0);
    setPoints({{0, -1}, {10, 0.7}});
    const QImage image = render();
    // A slanted antialiased line leaves pixels between red and white.
    int blended = 0;
    for (int y = 20; y < 121; ++y)
        for (int x = 10; x < 210; ++x) {
            QColor c = image.pixelColor(x, y);
            blended += c.red() == 255 && c.green() > 0 && c.green() < 255;
        }
    EXPECT_GT(blended, 100);
}

TEST_F(PolylineDrawTest, FillAloneDrawsNothing)
{
    const QImage blank = render();
    EXPECT_EQ(countColour(blank, kRed), 0);
    // Its west edge at x = 2.125 runs down pixel column 52.
    setPoints({{2.125, -0.5}, {7.875, -0.5}, {7.875, 0.5}, {2.125, 0.5}, {2.125, -0.5}});
    ASSERT_EQ(line->configure("fill", "red", kEnd), 0);
    EXPECT_EQ(render(), blank);
    // The same item with an outline draws, and fills inside it.
    ASSERT_EQ(line->configure("outline", "blue", kEnd), 0);
    const QImage drawn = render();
    EXPECT_EQ(drawn.pixel(static_cast<int>(px(5)), static_cast<int>(py(0))), kRed);
    ASSERT_EQ(px(2.125), 52.5);
    EXPECT_EQ(drawn.pixel(52, static_cast<int>(py(0))), qRgb(0, 0, 255));
}

TEST_F(PolylineDrawTest, EmptyQlistDrawsNothing)
{
    const QImage blank = render();
    ASSERT_EQ(line->configure("outline", "red", kEnd), 0);
    setPoints({{0, 0}, {10, 0}});
    EXPECT_NE(render(), blank);
    setPoints({});
    EXPECT_EQ(render(), blank);
}

TEST_F(PolylineDrawTest, NothingDrawsOnAViewportTooSmallToPlot)
{
    ASSERT_EQ(line->configure("outline", "red", "test", "1", kEnd), 0);
    ASSERT_EQ(vp.configure("margin", "10 10 69 70", kEnd), 0); // 2 pixels high
    EXPECT_EQ(countColour(render(), kRed), 0);
}

TEST_F(PolylineDrawTest, BadCoordinatesDrawLessWithoutCrashing)
{
    ASSERT_EQ(line->configure("outline", "red", kEnd), 0);
    const double inf = INFINITY;
    setPoints({{0, 0}, {NAN, 0}, {inf, -inf}, {1e300, -1e300}, {5, 2e30}, {5, 0}, {10, 0}});
    const QImage image = render();
    // The run after the break is still drawn.
    EXPECT_EQ(image.pixel(static_cast<int>(px(7.5)), 70), kRed);
}

TEST(PolylineWithoutViewport, DrawsNothing)
{
    KGRPolyline orphan(nullptr);
    ASSERT_EQ(orphan.configure("outline", "red", "test", "1", kEnd), 0);
    EXPECT_EQ(orphan.polyline.npts, 1000);
    QImage image(50, 50, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    orphan.draw(painter);
    painter.end();
    EXPECT_EQ(countColour(image, qRgb(255, 255, 255)), 50 * 50);
}

TEST_F(PolylineDrawTest, DebugNamesTheItem)
{
    ASSERT_EQ(HX_SetName("trace", "KGRPolyline", line), 0);
    line->debug = 1;
    testing::internal::CaptureStdout();
    render();
    const std::string out = testing::internal::GetCapturedStdout();
    line->debug = 0;
    HX_UnsetObject(line);
    EXPECT_NE(out.find("Painting polyline trace.\n"), std::string::npos) << out;
}

TEST_F(PolylineDrawTest, WithALayerPaintsOnlyWhileItIsStale)
{
    ASSERT_EQ(line->configure("outline", "red", kEnd), 0);
    setPoints({{0, 0}, {10, 0}});
    // Made after the item, the layer lies above it and shows what it drew.
    KGRLayer* layer = new KGRLayer(&vp);
    vp.setLayer(layer);
    line->setLayer(layer);
    ASSERT_EQ(HX_SetName("trace", "KGRPolyline", line), 0);
    ASSERT_EQ(HX_SetName("overlay", "KGRLayer", layer), 0);
    line->debug = 1;
    testing::internal::CaptureStdout();
    QImage image = render();
    std::string out = testing::internal::GetCapturedStdout();
    EXPECT_NE(out.find("Painting polyline trace to layer overlay.\n"), std::string::npos) << out;
    EXPECT_EQ(image.pixel(100, 70), kRed);
    EXPECT_EQ(layer->layer.stale, 0);

    // Not stale: the item draws nothing, the layer shows the old picture.
    ASSERT_EQ(line->configure("outline", "blue", kEnd), 0);
    testing::internal::CaptureStdout();
    image = render();
    out = testing::internal::GetCapturedStdout();
    EXPECT_EQ(out.find("Painting polyline"), std::string::npos) << out;
    EXPECT_EQ(image.pixel(100, 70), kRed);
    EXPECT_EQ(countColour(image, qRgb(0, 0, 255)), 0);

    layer->setStale();
    image = render();
    EXPECT_EQ(image.pixel(100, 70), qRgb(0, 0, 255));
    EXPECT_EQ(countColour(image, kRed), 0);
    line->debug = 0;
    HX_UnsetObject(line);
    HX_UnsetObject(layer);
}

// A 740 x 200 geographic viewport showing longitudes 0 to 720 and the
// whole latitude range at one pixel per degree from (10, 10).
class PolylineGeogTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        hx_clear_register(0);
        vp.resize(740, 200);
        ASSERT_EQ(vp.configure("fill", "white", "margin", "10 10 10 10", "wtran", "geog", "xleft",
                               "0", "xright", "720", "ybottom", "-90", "ytop", "90", kEnd),
                  0)
            << takeRegister();
        line = new KGRPolyline(&vp);
        ASSERT_EQ(line->configure("outline", "red", kEnd), 0);
    }
    void TearDown() override
    {
        delete line;
        hx_clear_register(0);
    }
    QImage render()
    {
        vp.layout->activate();
        return vp.grab().toImage().convertToFormat(QImage::Format_RGB32);
    }

    KGRViewport vp{nullptr};
    KGRPolyline* line = nullptr;
};

TEST_F(PolylineGeogTest, OutlineRepeatsAtEveryShownCopy)
{
    // A square from 10.5 to 20.5 east and north, given one turn west.
    QList<KGR_XY> square = {
        {-349.5, 10.5}, {-339.5, 10.5}, {-339.5, 20.5}, {-349.5, 20.5}, {-349.5, 10.5}};
    ASSERT_EQ(line->configure("qlist", reinterpret_cast<char*>(&square), kEnd), 0);
    const QImage image = render();
    // Its west edge at longitude 10.5 and 370.5, latitude 15 (row 10 + 75).
    EXPECT_EQ(image.pixel(10 + 10, 85), kRed);
    EXPECT_EQ(image.pixel(10 + 370, 85), kRed);
    EXPECT_EQ(image.pixel(10 + 20, 85), kRed);
    EXPECT_EQ(image.pixel(10 + 380, 85), kRed);
    // Nothing between the copies, nor where the unshifted data would be.
    for (int x = 40; x < 370; ++x)
        ASSERT_EQ(image.pixel(x, 85), kPlot) << x;
    // The item's own longitudes were shifted in place, to the last copy.
    EXPECT_EQ(line->polyline.xpts[0], 370.5);
}
