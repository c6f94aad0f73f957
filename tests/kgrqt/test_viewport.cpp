#include "capture.h"
#include "kgrqt.h"
#include "register.h"
#include "render.h"

#include <QColor>
#include <QCoreApplication>
#include <QGridLayout>
#include <QPainter>
#include <QPainterPath>
#include <QResizeEvent>

#include <gtest/gtest.h>

#include <string>

namespace {

const QRgb kBackground = qRgb(0xe0, 0xe0, 0xff);
const QRgb kFrame = qRgb(0x40, 0x40, 0x40);

struct ViewportTest : ::testing::Test {
    void SetUp() override
    {
        hx_clear_register(0);
        vp = new KGRViewport(nullptr);
        vp->resize(200, 100);
        // Shown once, so that the initial resize is delivered here and not
        // in the middle of a test.
        vp->show();
        QCoreApplication::processEvents();
    }
    void TearDown() override
    {
        delete vp;
        hx_clear_register(0);
    }
    int set(const char* name, const char* value)
    {
        return vp->configure(name, value, static_cast<char*>(nullptr));
    }
    std::string print(const char* name)
    {
        char* s = vp->printConfigValue(name);
        std::string out = s ? s : "<null>";
        free(s);
        return out;
    }
    // Paints once, as the screen would.
    QImage paint() { return renderWidget(*vp); }
    KgrviewportItem& rec() { return vp->viewport; }
    KGRViewport* vp = nullptr;
};

int paintCalls = 0;
int lastPaintCode = 0;
QEvent* lastPaintEvent = nullptr;
int countPaint(int code, void*, QEvent* event)
{
    ++paintCalls;
    lastPaintCode = code;
    lastPaintEvent = event;
    return 0;
}

} // namespace

TEST_F(ViewportTest, ConstructionSetsUnsetBoundsAndDefaults)
{
    delete vp;
    vp = new KGRViewport(nullptr);
    EXPECT_STREQ(vp->class_name, "KGRViewport");
    EXPECT_EQ(rec().anchor, KGR_ANCHOR_NW);
    EXPECT_EQ(rec().xleft, KGR_UNSET);
    EXPECT_EQ(rec().spc_ytop, KGR_UNSET);
    EXPECT_EQ(rec().xmin, KGR_UNSET);
    EXPECT_EQ(rec().xgain, 1.0);
    EXPECT_EQ(rec().opacity, 1.0);
    EXPECT_EQ(rec().background.color, nullptr);
    ASSERT_NE(vp->layout, nullptr);
    EXPECT_EQ(vp->layout->spacing(), 0);
    EXPECT_FALSE(vp->autoFillBackground());
    EXPECT_EQ(print("wtran"), "none");
    EXPECT_EQ(print("xmode"), "lin");
    EXPECT_EQ(print("xgain"), "1.000");
}

TEST_F(ViewportTest, WordOptionsRefuseUnknownWords)
{
    EXPECT_EQ(set("xmode", "linear"), -1);
    EXPECT_EQ(takeRegister(), "viewport_parse_mode: illegal value for mode: 'linear'\n");
    EXPECT_EQ(set("wtran", "utm"), -1);
    EXPECT_EQ(takeRegister(), "viewport_parse_tran: illegal value for tran: 'utm'\n");
    ASSERT_EQ(set("ymode", "log"), 0);
    EXPECT_EQ(rec().ymode, KGR_MODE_LOG);
    ASSERT_EQ(set("wtran", "geog"), 0);
    EXPECT_EQ(print("wtran"), "geog");
}

TEST_F(ViewportTest, MarginSetsAllFourInOrder)
{
    ASSERT_EQ(set("margin", "10 20"), 0);
    EXPECT_EQ(rec().mleft, 10);
    EXPECT_EQ(rec().mright, 20);
    EXPECT_EQ(rec().mbottom, 0);
    EXPECT_EQ(rec().mtop, 0);
    ASSERT_EQ(set("margin", "1 2 0x10 4"), 0);
    EXPECT_EQ(print("margin"), "1 2 16 4");
}

TEST_F(ViewportTest, MarginRefusesBadElements)
{
    ASSERT_EQ(set("margin", "1 2 3 4"), 0);
    EXPECT_EQ(set("margin", "10 2x"), -1);
    EXPECT_EQ(takeRegister(), "viewport_parse_margin: Unable to parse '2x' for mright.\n");
    EXPECT_EQ(set("margin", "1 2 3 4 5"), -1);
    EXPECT_EQ(takeRegister(),
              "viewport_parse_margin: Unable to parse '1 2 3 4 5' - too many arguments.\n");
    EXPECT_EQ(set("margin", "\"1 2"), -1);
    EXPECT_EQ(takeRegister(), "viewport_parse_margin: Cannot parse margin '\"1 2'\n");
    EXPECT_EQ(print("margin"), "1 2 3 4"); // unchanged
}

TEST_F(ViewportTest, MercatorTopIsStoredAsOrdinate)
{
    ASSERT_EQ(set("wtran", "merc"), 0);
    ASSERT_EQ(set("ytop", "95"), 0);
    EXPECT_EQ(rec().spc_ytop, 100000.0);
    double printed = atof(print("ytop").c_str());
    EXPECT_NE(printed, 95.0);
    EXPECT_NEAR(printed, kgrqt_mercator_lat(100000.0), 1e-12);
    ASSERT_EQ(set("ybottom", "45"), 0);
    EXPECT_NEAR(rec().spc_ybottom, 50.4987, 1e-3);
    EXPECT_NEAR(atof(print("ybottom").c_str()), 45.0, 1e-12);
}

TEST_F(ViewportTest, TimeBoundsAreReadAsDates)
{
    ASSERT_EQ(vp->configure("xmode", "time", "xleft", "2026-11-21T00:00:00", "xright", "1795305600",
                            static_cast<char*>(nullptr)),
              0);
    EXPECT_EQ(rec().spc_xleft, 1795219200.0);
    EXPECT_EQ(rec().spc_xright, 1795305600.0);
    EXPECT_EQ(print("xleft"), "1.795219200000000e+09");
    ASSERT_EQ(set("xleft", ""), 0);
    EXPECT_EQ(rec().spc_xleft, KGR_UNSET);
}

TEST_F(ViewportTest, DisplaySizeIsPrintOnlyAndZoomWriteOnly)
{
    EXPECT_EQ(set("display_width", "5"), -1);
    takeRegister();
    paint();
    EXPECT_EQ(print("display_width"), "200");
    EXPECT_EQ(print("display_height"), "100");
    EXPECT_EQ(print("zoom"), "<null>");
    EXPECT_EQ(print("center"), "<null>");
    takeRegister();
}

TEST_F(ViewportTest, ComputeBBCountsAZeroSizeAs2000)
{
    rec().w = rec().h = 0;
    ASSERT_EQ(vp->configure("x", "100", "y", "50", static_cast<char*>(nullptr)), 0);
    vp->computeBB();
    EXPECT_EQ(rec().header.x1, 100);
    EXPECT_EQ(rec().header.x2, 2100);
    EXPECT_EQ(rec().header.y2, 2050);
    rec().anchor = KGR_ANCHOR_CENTER;
    rec().w = 10;
    rec().h = 7;
    vp->computeBB();
    EXPECT_EQ(rec().header.x1, 95);
    EXPECT_EQ(rec().header.y1, 47); // 7/2 truncates to 3
    rec().anchor = KGR_ANCHOR_SE;
    vp->computeBB();
    EXPECT_EQ(rec().header.x1, 90);
    EXPECT_EQ(rec().header.y1, 43);
}

TEST_F(ViewportTest, PaintUsesTheWidgetSizeWhenWidthIsZero)
{
    vp->resize(120, 80);
    paint();
    EXPECT_EQ(rec().w, 120);
    EXPECT_EQ(rec().h, 80);
    ASSERT_EQ(vp->configure("width", "60", "height", "40", static_cast<char*>(nullptr)), 0);
    paint();
    EXPECT_EQ(rec().w, 60);
    EXPECT_EQ(rec().h, 40);
}

TEST_F(ViewportTest, BackgroundAndFrameFills)
{
    ASSERT_EQ(vp->configure("margin", "20 10 15 5", "fill", "#e0e0ff", "fill_frame", "#404040",
                            "xleft", "0", "xright", "1", "ybottom", "0", "ytop", "1",
                            static_cast<char*>(nullptr)),
              0);
    QImage image = paint();
    ASSERT_EQ(image.size(), QSize(200, 100));
    // Inner rectangle: x 20..189, y 5..84.
    EXPECT_EQ(image.pixel(20, 5), kBackground);
    EXPECT_EQ(image.pixel(189, 84), kBackground);
    EXPECT_EQ(image.pixel(19, 50), kFrame);
    EXPECT_EQ(image.pixel(190, 50), kFrame);
    EXPECT_EQ(image.pixel(100, 4), kFrame);
    EXPECT_EQ(image.pixel(100, 85), kFrame);
    EXPECT_EQ(countPixels(image, kBackground), 170 * 80);
}

TEST_F(ViewportTest, OpacityAppliesToTheFills)
{
    ASSERT_EQ(vp->configure("fill", "#ff0000", "opacity", "0.5", "xleft", "0", "xright", "1",
                            "ybottom", "0", "ytop", "1", static_cast<char*>(nullptr)),
              0);
    QImage image(200, 100, QImage::Format_ARGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    vp->viewport.w = 200;
    vp->viewport.h = 100;
    vp->draw(painter);
    painter.end();
    QColor c = image.pixelColor(100, 50);
    EXPECT_EQ(c.red(), 255);
    EXPECT_NEAR(c.green(), 128, 2);
}

TEST_F(ViewportTest, DegenerateRangesAreWidened)
{
    const struct {
        const char* value;
        double lo, hi;
    } cases[] = {{"3", 2.7, 3.3}, {"0", -10, 10}, {"-5", -4.5, -5.5}};
    for (const auto& c : cases) {
        ASSERT_EQ(vp->configure("xleft", c.value, "xright", c.value, "ybottom", c.value, "ytop",
                                c.value, static_cast<char*>(nullptr)),
                  0);
        paint();
        EXPECT_DOUBLE_EQ(rec().xleft, c.lo) << c.value;
        EXPECT_DOUBLE_EQ(rec().xright, c.hi) << c.value;
        EXPECT_DOUBLE_EQ(rec().ybottom, c.lo) << c.value;
        EXPECT_DOUBLE_EQ(rec().ytop, c.hi) << c.value;
    }
}

TEST_F(ViewportTest, NoInnerAreaSkipsBackgroundTransformAndCallback)
{
    paintCalls = 0;
    vp->registerPaintCallback(countPaint, nullptr);
    ASSERT_EQ(vp->configure("margin", "100 100", "fill", "red", "xleft", "0", "xright", "1",
                            static_cast<char*>(nullptr)),
              0);
    vp->setPaintStale();
    QImage image = paint();
    EXPECT_EQ(paintCalls, 0);
    EXPECT_EQ(rec().paint_stale, 12); // still pending
    EXPECT_EQ(rec().xleft, -10);      // no transform: still the box of the first paint
    EXPECT_EQ(countPixels(image, qRgb(255, 0, 0)), 0);
    ASSERT_EQ(vp->configure("margin", "10 10", static_cast<char*>(nullptr)), 0);
    paint();
    EXPECT_EQ(paintCalls, 1);
    EXPECT_EQ(lastPaintCode, 12);
    EXPECT_EQ(rec().paint_stale, 0);
}

TEST_F(ViewportTest, ResizeIsReportedToThePaintCallbackOnce)
{
    paintCalls = 0;
    vp->registerPaintCallback(countPaint, nullptr);
    QResizeEvent event(QSize(300, 150), QSize(200, 100));
    QCoreApplication::sendEvent(vp, &event);
    EXPECT_EQ(rec().paint_stale, 9);
    ASSERT_NE(rec().resize_event, nullptr);
    EXPECT_NE(rec().resize_event, &event);
    EXPECT_EQ(rec().resize_event->size(), QSize(300, 150));
    paint();
    EXPECT_EQ(paintCalls, 1);
    EXPECT_EQ(lastPaintCode, 9);
    EXPECT_EQ(lastPaintEvent, rec().resize_event);
    paint();
    EXPECT_EQ(paintCalls, 1); // nothing pending any more
}

TEST_F(ViewportTest, ANewPaintCallbackReplacesTheOld)
{
    paintCalls = 0;
    vp->registerPaintCallback(countPaint, nullptr);
    vp->registerPaintCallback(nullptr, nullptr);
    vp->setPaintStale();
    paint();
    EXPECT_EQ(paintCalls, 0);
    EXPECT_EQ(rec().paint_stale, 0);
}

TEST_F(ViewportTest, ZoomHalvesTheRangesAboutTheCentre)
{
    ASSERT_EQ(vp->configure("xleft", "0", "xright", "100", "ybottom", "-10", "ytop", "10",
                            static_cast<char*>(nullptr)),
              0);
    paint();
    ASSERT_EQ(set("zoom", "50 0 0.5 0.5"), 0);
    EXPECT_DOUBLE_EQ(rec().spc_xleft, 25);
    EXPECT_DOUBLE_EQ(rec().spc_xright, 75);
    EXPECT_DOUBLE_EQ(rec().spc_ybottom, -5);
    EXPECT_DOUBLE_EQ(rec().spc_ytop, 5);
    paint();
    EXPECT_DOUBLE_EQ(rec().xleft, 25);
}

TEST_F(ViewportTest, ZoomAndCenterRefuseBadLists)
{
    paint();
    EXPECT_EQ(set("zoom", "1 2 3"), -1);
    EXPECT_EQ(takeRegister(), "viewport_parse_zoom: Unable to parse '1 2 3' - Need 4 arguments "
                              "(xw, yw, xfactor, yfactor).\n");
    EXPECT_EQ(set("zoom", "1 y 3 4"), -1);
    EXPECT_EQ(takeRegister(), "viewport_parse_zoom: Unable to parse 'y' for yw.\n");
    EXPECT_EQ(set("zoom", "1 2 3 4z"), -1);
    EXPECT_EQ(takeRegister(), "viewport_parse_zoom: Unable to parse '4z' for factor.\n");
    EXPECT_EQ(set("center", "1"), -1);
    EXPECT_EQ(takeRegister(),
              "viewport_parse_center: Unable to parse '1' - Need 2 arguments (xwc, ywc).\n");
    EXPECT_EQ(set("center", "x 1"), -1);
    EXPECT_EQ(takeRegister(), "viewport_parse_center: Unable to parse 'x' for xwc.\n");
    EXPECT_EQ(set("zoom", ""), 0);
    EXPECT_EQ(set("center", ""), 0);
}

TEST_F(ViewportTest, CenterMovesTheBoxOrTheProjectionCentre)
{
    ASSERT_EQ(vp->configure("xleft", "0", "xright", "100", "ybottom", "-10", "ytop", "10",
                            static_cast<char*>(nullptr)),
              0);
    paint();
    ASSERT_EQ(set("center", "500 30"), 0);
    EXPECT_EQ(rec().spc_xleft, 450);
    EXPECT_EQ(rec().spc_xright, 550);
    EXPECT_EQ(rec().spc_ybottom, 20);
    EXPECT_EQ(rec().spc_ytop, 40);
    rec().wtran = KGR_WTRAN_EDP;
    ASSERT_EQ(set("center", "-120 45"), 0);
    EXPECT_EQ(rec().lonr, -120);
    EXPECT_EQ(rec().latr, 45);
    EXPECT_EQ(rec().spc_xleft, -50);
    EXPECT_EQ(rec().spc_ytop, 10);
}

TEST_F(ViewportTest, TranslateApplyKeepsThePictureAndZeroesThePan)
{
    ASSERT_EQ(vp->configure("xleft", "0", "xright", "200", "ybottom", "0", "ytop", "100",
                            static_cast<char*>(nullptr)),
              0);
    paint();
    ASSERT_EQ(vp->configure("xtranslate", "20", "ytranslate", "10", static_cast<char*>(nullptr)),
              0);
    EXPECT_DOUBLE_EQ(rec().xleft, 20); // recomputed at once
    EXPECT_DOUBLE_EQ(rec().ybottom, -10);
    double before = rec().xleft;
    ASSERT_EQ(
        vp->configure("xtranslate", "apply", "ytranslate", "apply", static_cast<char*>(nullptr)),
        0);
    EXPECT_EQ(rec().xoffset, 0);
    EXPECT_EQ(rec().yoffset, 0);
    EXPECT_DOUBLE_EQ(rec().spc_xleft, 20);
    EXPECT_DOUBLE_EQ(rec().spc_ybottom, -10);
    paint();
    EXPECT_DOUBLE_EQ(rec().xleft, before);
    EXPECT_EQ(print("xtranslate"), "0");
}

TEST_F(ViewportTest, GainWaitsForTheNextDraw)
{
    ASSERT_EQ(vp->configure("xleft", "0", "xright", "200", "ybottom", "0", "ytop", "100",
                            "xgain_anchor", "100", static_cast<char*>(nullptr)),
              0);
    paint();
    ASSERT_EQ(set("xgain", "2"), 0);
    EXPECT_DOUBLE_EQ(rec().xright, 200);
    paint();
    EXPECT_GT(rec().xright, 200);
    ASSERT_EQ(set("xgain", "apply"), 0);
    EXPECT_EQ(rec().xgain, 1.0);
    EXPECT_DOUBLE_EQ(rec().spc_xright, rec().xright);
}

TEST_F(ViewportTest, PreserveScaleKeepsUnitsPerPixel)
{
    ASSERT_EQ(vp->configure("xleft", "0", "xright", "200", "ybottom", "0", "ytop", "100",
                            "preserve_xscale", "yes", static_cast<char*>(nullptr)),
              0);
    paint();
    vp->resize(400, 100);
    paint();
    EXPECT_DOUBLE_EQ(rec().xleft, -100);
    EXPECT_DOUBLE_EQ(rec().xright, 300);
}

TEST_F(ViewportTest, ConstantAspectSetsTheTop)
{
    ASSERT_EQ(vp->configure("xleft", "0", "xright", "200", "ybottom", "0", "ytop", "7",
                            "constant_aspect", "1.0", static_cast<char*>(nullptr)),
              0);
    paint();
    EXPECT_DOUBLE_EQ(rec().ytop, 100);
    ASSERT_EQ(vp->configure("center_yscale", "yes", "ytop", "20", static_cast<char*>(nullptr)), 0);
    paint();
    EXPECT_DOUBLE_EQ(rec().ybottom, -40);
    EXPECT_DOUBLE_EQ(rec().ytop, 60);
}

TEST_F(ViewportTest, IsInsideViewportIncludesTheBounds)
{
    ASSERT_EQ(set("margin", "10 20 30 40"), 0);
    paint();
    EXPECT_TRUE(vp->isInsideViewport(10, 40));
    EXPECT_TRUE(vp->isInsideViewport(180, 70));
    EXPECT_FALSE(vp->isInsideViewport(9, 50));
    EXPECT_FALSE(vp->isInsideViewport(181, 50));
    EXPECT_FALSE(vp->isInsideViewport(50, 71));
}

TEST_F(ViewportTest, RegisteredItemsCoverTheViewportLastOnTop)
{
    QWidget* a = new QWidget;
    QWidget* b = new QWidget;
    vp->registerItem(a);
    vp->registerItem(b);
    QCoreApplication::processEvents();
    EXPECT_EQ(a->parentWidget(), vp);
    EXPECT_EQ(a->geometry(), vp->rect());
    EXPECT_EQ(b->geometry(), vp->rect());
    EXPECT_EQ(vp->childAt(50, 50), b);
}

TEST_F(ViewportTest, OutlineOfTheShownBox)
{
    ASSERT_EQ(vp->configure("xleft", "0", "xright", "4", "ybottom", "0", "ytop", "2",
                            static_cast<char*>(nullptr)),
              0);
    paint();
    KGRPolypointPath* outline = vp->getWcoordsBB(4);
    ASSERT_NE(outline, nullptr);
    ASSERT_EQ(outline->path->elementCount(), 16);
    EXPECT_TRUE(outline->path->elementAt(0).isMoveTo());
    EXPECT_EQ(QPointF(outline->path->elementAt(4)), QPointF(4, 0));
    EXPECT_EQ(QPointF(outline->path->elementAt(8)), QPointF(4, 2));
    EXPECT_EQ(QPointF(outline->path->elementAt(12)), QPointF(0, 2));
    EXPECT_EQ(outline->np, 0);
    delete outline->path;
    delete outline;
    rec().xright = rec().xleft;
    EXPECT_EQ(vp->getWcoordsBB(4), nullptr);
}

TEST_F(ViewportTest, OutlineKnowsThePolesOfAnEquidistantPlane)
{
    ASSERT_EQ(vp->configure("wtran", "edp", "latr", "80", "lonr", "0", "xleft", "-30", "xright",
                            "30", "ybottom", "-20", "ytop", "20", static_cast<char*>(nullptr)),
              0);
    paint();
    KGRPolypointPath* outline = vp->getWcoordsBB(100);
    ASSERT_NE(outline, nullptr);
    EXPECT_EQ(outline->np, 1);
    EXPECT_EQ(outline->sp, 0);
    EXPECT_EQ(outline->wtran, KGR_WTRAN_EDP);
    delete outline->path;
    delete outline;
}

TEST_F(ViewportTest, MapBoxOfPlainAndEquidistantPlanes)
{
    ASSERT_EQ(vp->configure("wtran", "geog", "xleft", "-10", "xright", "30", "ybottom", "5", "ytop",
                            "45", static_cast<char*>(nullptr)),
              0);
    paint();
    vp->computeMapBB();
    EXPECT_EQ(rec().bblonmin, -10);
    EXPECT_EQ(rec().bblatmax, 45);
    ASSERT_EQ(vp->configure("wtran", "edp", "latr", "0", "lonr", "0", "xleft", "-10", "xright",
                            "10", "ybottom", "80", "ytop", "95", static_cast<char*>(nullptr)),
              0);
    paint();
    vp->computeMapBB();
    EXPECT_EQ(rec().bblatmax, 90);
    EXPECT_EQ(rec().bblonmin, 0);
    EXPECT_EQ(rec().bblonmax, 360);
}

TEST(ViewportModule, NamedViewportArray)
{
    KgrviewportItem item{};
    EXPECT_EQ(kgrqt_viewport_set_viewport("main", &item), 0);
}

TEST_F(ViewportTest, DebugOutputNamesTheViewport)
{
    HX_SetName("waveforms", "KGRViewport", vp);
    vp->debug = 1;
    ASSERT_EQ(vp->configure("xleft", "0", "xright", "1", static_cast<char*>(nullptr)), 0);
    std::string out = captureFd(1, [&] { paint(); });
    EXPECT_NE(out.find("Painting viewport waveforms.\n"), std::string::npos) << out;
    EXPECT_NE(out.find("KGRViewport::computeBB: 0 0 200 100\n"), std::string::npos) << out;
    QResizeEvent event(QSize(30, 20), QSize(200, 100));
    out = captureFd(1, [&] { QCoreApplication::sendEvent(vp, &event); });
    EXPECT_EQ(out, "Resize 30 x 20\n");
    vp->debug = 0;
    HX_UnsetObject(vp);
}

TEST(ViewportModule, MessageHandlerWritesDebugAndCriticalButDropsWarnings)
{
    QMessageLogContext context("plot.cpp", 42, "void draw()", "default");
    std::string out = captureFd(2, [&] {
        kgrqt_MessageOutput(QtDebugMsg, context, "hello");
        kgrqt_MessageOutput(QtWarningMsg, context, "ignored");
        kgrqt_MessageOutput(QtCriticalMsg, context, "bad");
    });
    EXPECT_EQ(out, "Debug: hello (plot.cpp:42, void draw())\n"
                   "Critical: bad (plot.cpp:42, void draw())\n");
}

TEST(ViewportModule, FatalMessagesAbort)
{
    QMessageLogContext context("f.cpp", 1, "g", "default");
    EXPECT_DEATH(kgrqt_MessageOutput(QtFatalMsg, context, "stop"), "Fatal: stop \\(f.cpp:1, g\\)");
}

TEST(ViewportModule, LineageIsSilentByDefault)
{
    KGRViewport vp(nullptr);
    std::string out = captureFd(1, [&] { kgrqt_print_lineage(&vp, "viewport_draw: "); });
    EXPECT_EQ(out, "");
}
