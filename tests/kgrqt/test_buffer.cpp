#include "kgrqt.h"
#include "plot_record.h"
#include "register.h"
#include "render.h"

#include <QImage>
#include <QPaintDevice>
#include <QPaintEngine>
#include <QPainter>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <limits>
#include <string>
#include <vector>

namespace {

// One painter call as the paint engine received it.
struct Call {
    enum Kind { Lines, Polyline, OddEvenPolygon, OtherPolygon } kind;
    std::vector<QPointF> points;
};

// A paint engine that keeps the calls instead of painting.
class RecordingEngine : public QPaintEngine {
public:
    RecordingEngine() : QPaintEngine(QPaintEngine::AllFeatures) {}
    bool begin(QPaintDevice*) override { return true; }
    bool end() override { return true; }
    void updateState(const QPaintEngineState&) override {}
    void drawPixmap(const QRectF&, const QPixmap&, const QRectF&) override {}
    Type type() const override { return QPaintEngine::User; }

    void drawLines(const QLineF* lines, int n) override
    {
        Call call{Call::Lines, {}};
        for (int i = 0; i < n; i++) {
            call.points.push_back(lines[i].p1());
            call.points.push_back(lines[i].p2());
        }
        calls.push_back(call);
    }
    void drawPolygon(const QPointF* points, int n, PolygonDrawMode mode) override
    {
        Call::Kind kind = mode == PolylineMode  ? Call::Polyline
                          : mode == OddEvenMode ? Call::OddEvenPolygon
                                                : Call::OtherPolygon;
        calls.push_back(Call{kind, std::vector<QPointF>(points, points + n)});
    }

    std::vector<Call> calls;
};

class RecordingDevice : public QPaintDevice {
public:
    QPaintEngine* paintEngine() const override { return &engine; }
    int metric(PaintDeviceMetric m) const override
    {
        switch (m) {
        case PdmWidth:
        case PdmHeight:
            return 400;
        case PdmDepth:
            return 32;
        case PdmDpiX:
        case PdmDpiY:
        case PdmPhysicalDpiX:
        case PdmPhysicalDpiY:
            return 96;
        case PdmDevicePixelRatio:
            return 1;
        case PdmDevicePixelRatioScaled:
            return int(QPaintDevice::devicePixelRatioFScale());
        default:
            return 100;
        }
    }

    mutable RecordingEngine engine;
};

// A 100 x 100 plot at (0, 0) with no margins: fractions map to pixels as
// x = 100 fx, y = 100 - 100 fy.
KgrviewportItem plot100()
{
    return plotRecord(100, 100, 0, 1, 0, 1);
}

void expectPoints(const Call& call, const std::vector<QPointF>& points)
{
    ASSERT_EQ(call.points.size(), points.size());
    for (size_t i = 0; i < points.size(); i++) {
        EXPECT_NEAR(call.points[i].x(), points[i].x(), 1e-9) << "point " << i;
        EXPECT_NEAR(call.points[i].y(), points[i].y(), 1e-9) << "point " << i;
    }
}

// Each test leaves the process-wide buffer empty.
class Buffer : public ::testing::Test {
protected:
    void TearDown() override
    {
        QPainter painter(&device);
        kgrqt_buffer_qtdraws(painter, 0, 1, &vp, 0, 0, 0, 0, 0);
        kgrqt_buffer_qtdraws(painter, 1, 1, &vp, 0, 0, 0, 0, 0);
    }

    void line(QPainter& p, double fx1, double fy1, double fx2, double fy2, int fill = 0)
    {
        kgrqt_buffer_draws(p, fill, 0, &vp, 0, 0, fx1, fy1, fx2, fy2, 0);
    }
    void flush(QPainter& p, int fill = 0)
    {
        kgrqt_buffer_draws(p, fill, 1, &vp, 0, 0, 0, 0, 0, 0, 0);
    }
    std::vector<Call>& calls() { return device.engine.calls; }

    RecordingDevice device;
    KgrviewportItem vp = plot100();
};

QImage whiteImage(int w, int h)
{
    QImage image(w, h, QImage::Format_ARGB32);
    image.fill(Qt::white);
    return image;
}

// Whether a black pixel lies within one pixel of (x, y): aliased lines land
// on either side of a pixel boundary.
bool blackNear(const QImage& image, int x, int y)
{
    QRect around(x - 1, y - 1, 3, 3);
    return countPixels(image, qRgb(0, 0, 0), around) > 0;
}

} // namespace

TEST_F(Buffer, TouchingSegmentsBecomeOnePolyline)
{
    QPainter p(&device);
    line(p, 0.1, 0.1, 0.5, 0.1);
    line(p, 0.5, 0.1, 0.9, 0.1);
    EXPECT_TRUE(calls().empty());
    flush(p);
    ASSERT_EQ(calls().size(), 1u);
    EXPECT_EQ(calls()[0].kind, Call::Polyline);
    expectPoints(calls()[0], {{10, 90}, {50, 90}, {90, 90}});
}

TEST_F(Buffer, GapDrawsTheFirstSegmentAtOnce)
{
    QPainter p(&device);
    line(p, 0.1, 0.1, 0.5, 0.1);
    line(p, 0.6, 0.1, 0.9, 0.1);
    ASSERT_EQ(calls().size(), 1u);
    EXPECT_EQ(calls()[0].kind, Call::Lines);
    expectPoints(calls()[0], {{10, 90}, {50, 90}});
    flush(p);
    ASSERT_EQ(calls().size(), 2u);
    expectPoints(calls()[1], {{60, 90}, {90, 90}});
}

TEST_F(Buffer, ThousandthPointDrawsAndTheNextRunStartsThere)
{
    QPainter p(&device);
    for (int i = 0; i < 999; i++)
        line(p, i / 1000.0, 0.5, (i + 1) / 1000.0, 0.5);
    // 999 segments hold 1000 points: drawn as they fill the buffer.
    ASSERT_EQ(calls().size(), 1u);
    EXPECT_EQ(calls()[0].kind, Call::Polyline);
    ASSERT_EQ(calls()[0].points.size(), 1000u);
    EXPECT_NEAR(calls()[0].points[999].x(), 99.9, 1e-9);
    line(p, 0.999, 0.5, 1.0, 0.5);
    flush(p);
    ASSERT_EQ(calls().size(), 2u);
    expectPoints(calls()[1], {{99.9, 50}, {100, 50}});
}

TEST_F(Buffer, FlushWithOnePointDrawsNothing)
{
    QPainter p(&device);
    for (int i = 0; i < 999; i++)
        line(p, i / 1000.0, 0.5, (i + 1) / 1000.0, 0.5);
    ASSERT_EQ(calls().size(), 1u);
    flush(p); // one point left: the start of the next run
    EXPECT_EQ(calls().size(), 1u);
    flush(p);
    EXPECT_EQ(calls().size(), 1u);
}

TEST_F(Buffer, ZeroLengthSegmentIsIgnored)
{
    QPainter p(&device);
    line(p, 0.2, 0.2, 0.2, 0.2);
    flush(p);
    EXPECT_TRUE(calls().empty());
    line(p, 0.1, 0.1, 0.2, 0.1);
    line(p, 0.3, 0.3, 0.3, 0.3); // neither drawn nor a gap
    line(p, 0.2, 0.1, 0.3, 0.1);
    flush(p);
    ASSERT_EQ(calls().size(), 1u);
    EXPECT_EQ(calls()[0].points.size(), 3u);
}

TEST_F(Buffer, FractionsMapIntoTheViewportFrame)
{
    vp = plotRecord(140, 120, 0, 1, 0, 1);
    vp.header = Kgrheader{5, 7, 145, 127};
    vp.mleft = 10;
    vp.mright = 30;
    vp.mtop = 4;
    vp.mbottom = 16;
    QPainter p(&device);
    // w = 140 - 40 = 100, h = 120 - 20 = 100; x = 10 + 5 + 100 fx,
    // y = 127 - 100 fy - 16.
    line(p, 0, 0, 1, 1);
    flush(p);
    ASSERT_EQ(calls().size(), 1u);
    expectPoints(calls()[0], {{15, 111}, {115, 11}});
    // A size given by the caller is used as it is.
    kgrqt_buffer_draws(p, 0, 0, &vp, 50, 10, 0, 0, 1, 1, 0);
    flush(p);
    ASSERT_EQ(calls().size(), 2u);
    expectPoints(calls()[1], {{15, 111}, {65, 101}});
}

TEST_F(Buffer, PlotNarrowerThanThreePixelsDrawsNothing)
{
    vp = plotRecord(22, 100, 0, 1, 0, 1, KGR_WTRAN_NONE, 10);
    QPainter p(&device);
    line(p, 0.1, 0.1, 0.9, 0.9);
    line(p, 0.9, 0.9, 0.1, 0.5, 1);
    kgrqt_buffer_draws(p, 0, 0, &vp, 2, 100, 0.1, 0.1, 0.9, 0.9, 0);
    flush(p);
    flush(p, 1);
    EXPECT_TRUE(calls().empty());
}

TEST_F(Buffer, DebugPrintsPixelsAndTheFlushedPoints)
{
    QPainter p(&device);
    testing::internal::CaptureStdout();
    kgrqt_buffer_draws(p, 0, 0, &vp, 0, 0, 0.1, 0.2, 0.3, 0.4, 1);
    kgrqt_buffer_draws(p, 0, 1, &vp, 0, 0, 0, 0, 0, 0, 1);
    fflush(stdout);
    std::string out = testing::internal::GetCapturedStdout();
    EXPECT_EQ(out, "kgrqt_buffer_draws: 10.000000 80.000000 30.000000 60.000000\n"
                   "kgrqt_buffer_qtdraws: 10.000000 80.000000 30.000000 60.000000\n");
}

TEST_F(Buffer, FillCutByTheRightEdgeIsClosedAlongTheFrame)
{
    QPainter p(&device);
    // Leaves through the right edge, comes back through the top edge.
    line(p, 0.5, 0.5, 1.0, 0.5, 1);
    line(p, 0.8, 1.0, 0.5, 0.5, 1);
    EXPECT_TRUE(calls().empty());
    flush(p, 1);
    ASSERT_EQ(calls().size(), 1u);
    EXPECT_EQ(calls()[0].kind, Call::OddEvenPolygon);
    // The top-right corner closes the shape along the frame.
    expectPoints(calls()[0], {{50, 50}, {100, 50}, {100, 0}, {80, 0}, {50, 50}});
}

TEST_F(Buffer, FillCornerShowsInThePicture)
{
    QImage image = whiteImage(100, 100);
    {
        QPainter p(&image);
        p.setPen(Qt::NoPen);
        p.setBrush(Qt::black);
        line(p, 0.5, 0.5, 1.0, 0.5, 1);
        line(p, 0.8, 1.0, 0.5, 0.5, 1);
        flush(p, 1);
    }
    EXPECT_TRUE(isBlack(image, 97, 3));  // the corner
    EXPECT_TRUE(isBlack(image, 90, 40)); // inside
    EXPECT_TRUE(isWhite(image, 60, 10)); // left of the return edge
    EXPECT_TRUE(isWhite(image, 90, 60)); // below the cut
}

TEST_F(Buffer, FillWalksTheShorterWayRoundTheFrame)
{
    QPainter p(&device);
    // Out through the bottom, back through the left: the bottom-left corner.
    line(p, 0.5, 0.5, 0.3, 0.0, 1);
    line(p, 0.0, 0.4, 0.5, 0.5, 1);
    // Out and back through the same edge: no corner.
    line(p, 0.5, 0.5, 0.6, 0.0, 1);
    line(p, 0.7, 0.0, 0.5, 0.5, 1);
    flush(p, 1);
    ASSERT_EQ(calls().size(), 1u);
    expectPoints(
        calls()[0],
        {{50, 50}, {30, 100}, {0, 100}, {0, 60}, {50, 50}, {60, 100}, {70, 100}, {50, 50}});
}

TEST_F(Buffer, FillPointsGrowByDoubling)
{
    QPointF* points = nullptr;
    int size = 0;
    ASSERT_EQ(kgrqt_set_fpoints(0, &size, &points), 0);
    ASSERT_NE(points, nullptr);
    EXPECT_EQ(size, 1000);
    EXPECT_EQ(kgrqt_set_fpoints(999, &size, &points), 0);
    EXPECT_EQ(size, 1000);
    EXPECT_EQ(kgrqt_set_fpoints(1000, &size, &points), 0);
    EXPECT_EQ(size, 2000);
    EXPECT_EQ(kgrqt_set_fpoints(5000, &size, &points), 0);
    EXPECT_EQ(size, 8000);
    points[7999] = QPointF(1, 2);
    EXPECT_EQ(points[7999], QPointF(1, 2));
    free(points);
    EXPECT_EQ(takeRegister(), "");
}

TEST_F(Buffer, FillOfManyPointsIsOnePolygon)
{
    QPainter p(&device);
    const int n = 2500;
    for (int i = 0; i < n; i++) {
        double a0 = 2 * M_PI * i / n, a1 = 2 * M_PI * (i + 1) / n;
        line(p, 0.5 + 0.4 * cos(a0), 0.5 + 0.4 * sin(a0), 0.5 + 0.4 * cos(a1), 0.5 + 0.4 * sin(a1),
             1);
    }
    flush(p, 1);
    ASSERT_EQ(calls().size(), 1u);
    EXPECT_EQ(calls()[0].points.size(), size_t(n + 1));
}

// ------------------------------------------------------ kgrqt_poly_draw

namespace {

// Draws world points with a black one-pixel pen (lines) or a black brush
// (fills) into a white image of the viewport's size.
QImage polyDraw(KgrviewportItem& vp, std::vector<double> x, std::vector<double> y, int fill,
                int complete = 0, int* result = nullptr)
{
    QImage image = whiteImage(vp.w, vp.h);
    QPainter p(&image);
    if (fill) {
        p.setPen(Qt::NoPen);
        p.setBrush(Qt::black);
    } else {
        p.setPen(QPen(Qt::black, 1));
    }
    int r = kgrqt_poly_draw(p, &vp, int(x.size()), x.data(), y.data(), fill, complete, 0);
    if (result)
        *result = r;
    return image;
}

std::vector<Call> polyDrawCalls(KgrviewportItem& vp, std::vector<double> x, std::vector<double> y,
                                int fill, int complete = 0)
{
    RecordingDevice device;
    QPainter p(&device);
    kgrqt_poly_draw(p, &vp, int(x.size()), x.data(), y.data(), fill, complete, 0);
    return device.engine.calls;
}

} // namespace

TEST(PolyDrawBuffer, LineIsClippedToThePlot)
{
    KgrviewportItem vp = plotRecord(120, 120, 0, 10, 0, 10, KGR_WTRAN_NONE, 10);
    std::vector<Call> calls = polyDrawCalls(vp, {-5, 15}, {5, 5}, 0);
    ASSERT_EQ(calls.size(), 1u);
    expectPoints(calls[0], {{10, 60}, {110, 60}});
    // A diagonal from outside the bottom-left corner to outside the top.
    calls = polyDrawCalls(vp, {-5, 7.5}, {-5, 20}, 0);
    ASSERT_EQ(calls.size(), 1u);
    expectPoints(calls[0], {{10, 60}, {35, 10}});
    // Entirely outside: nothing.
    EXPECT_TRUE(polyDrawCalls(vp, {11, 12}, {-5, 20}, 0).empty());
}

TEST(PolyDrawBuffer, LinePixelsStayInsideTheFrame)
{
    KgrviewportItem vp = plotRecord(120, 120, 0, 10, 0, 10, KGR_WTRAN_NONE, 10);
    QImage image = polyDraw(vp, {-5, 15}, {5, 5}, 0);
    EXPECT_TRUE(blackNear(image, 30, 60));
    EXPECT_TRUE(blackNear(image, 100, 60));
    EXPECT_TRUE(isWhite(image, 5, 60));
    EXPECT_TRUE(isWhite(image, 115, 60));
}

TEST(PolyDrawBuffer, BreaksAndUntransformablePointsAreNotJoined)
{
    KgrviewportItem vp = plotRecord(100, 100, 0, 10, 0, 10);
    std::vector<Call> calls = polyDrawCalls(vp, {1, 2, KGR_UNSET, 3, 4}, {1, 2, 0, 3, 4}, 0);
    ASSERT_EQ(calls.size(), 2u);
    expectPoints(calls[0], {{10, 90}, {20, 80}});
    expectPoints(calls[1], {{30, 70}, {40, 60}});

    const double nan = std::numeric_limits<double>::quiet_NaN();
    calls = polyDrawCalls(vp, {1, 2, nan, 3, 4}, {1, 2, 5, 3, 4}, 0);
    ASSERT_EQ(calls.size(), 2u);

    // On a logarithmic axis a value of 0 or less cannot be transformed.
    vp = plotRecord(100, 100, 1, 100, 0, 10);
    vp.xmode = KGR_MODE_LOG;
    calls = polyDrawCalls(vp, {1, 10, 0, 10, 100}, {1, 2, 3, 3, 4}, 0);
    ASSERT_EQ(calls.size(), 2u);
    expectPoints(calls[0], {{0, 90}, {50, 80}});
    expectPoints(calls[1], {{50, 70}, {100, 60}});
    // A point marked as not transformable is a break too.
    vp = plotRecord(100, 100, 0, 10, 0, 10);
    calls = polyDrawCalls(vp, {1, 2, 3, 4, 5}, {1, 2, KGR_EMPTY, 4, 5}, 0);
    ASSERT_EQ(calls.size(), 2u);
    expectPoints(calls[1], {{40, 60}, {50, 50}});
}

TEST(PolyDrawBuffer, CompleteClosesEachRun)
{
    KgrviewportItem vp = plotRecord(100, 100, 0, 10, 0, 10);
    std::vector<double> x = {2, 8, 8}, y = {2, 2, 8};
    QImage open = polyDraw(vp, x, y, 0, 0);
    QImage closed = polyDraw(vp, x, y, 0, 1);
    EXPECT_FALSE(blackNear(open, 50, 50)); // on the diagonal back to the start
    EXPECT_TRUE(blackNear(closed, 50, 50));
    EXPECT_TRUE(blackNear(open, 80, 50));
    std::vector<Call> calls = polyDrawCalls(vp, x, y, 0, 1);
    ASSERT_EQ(calls.size(), 1u);
    expectPoints(calls[0], {{20, 80}, {80, 80}, {80, 20}, {20, 80}});
}

TEST(PolyDrawBuffer, FillLargerThanThePlotFillsAllOfIt)
{
    KgrviewportItem vp = plotRecord(120, 120, 0, 10, 0, 10, KGR_WTRAN_NONE, 10);
    std::vector<double> x = {-50, 60, 60, -50}, y = {-50, -50, 60, 60};
    QImage image = polyDraw(vp, x, y, 1);
    for (int px : {11, 60, 108})
        for (int py : {11, 60, 108})
            EXPECT_TRUE(isBlack(image, px, py)) << px << "," << py;
    EXPECT_TRUE(isWhite(image, 5, 60)); // the margins stay clear
    EXPECT_TRUE(isWhite(image, 60, 115));
    std::vector<Call> calls = polyDrawCalls(vp, x, y, 1);
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].kind, Call::OddEvenPolygon);
    for (const QPointF& q : calls[0].points) {
        EXPECT_TRUE(q.x() == 10 || q.x() == 110) << q.x();
        EXPECT_TRUE(q.y() == 10 || q.y() == 110) << q.y();
    }
}

TEST(PolyDrawBuffer, FillCutByTheFrameIsAClosedRegion)
{
    KgrviewportItem vp = plotRecord(120, 120, 0, 10, 0, 10, KGR_WTRAN_NONE, 10);
    // A triangle reaching out through the right edge and the top.
    QImage image = polyDraw(vp, {5, 20, 5}, {2, 5, 20}, 1);
    EXPECT_TRUE(isBlack(image, 80, 50));
    EXPECT_TRUE(isBlack(image, 108, 12)); // the top-right corner is inside
    EXPECT_TRUE(isWhite(image, 40, 50));  // left of the triangle
    EXPECT_TRUE(isWhite(image, 115, 50)); // the margin
    EXPECT_TRUE(isWhite(image, 80, 5));
}

TEST(PolyDrawBuffer, FillRingsLeaveHoles)
{
    KgrviewportItem vp = plotRecord(100, 100, 0, 10, 0, 10);
    QImage image =
        polyDraw(vp, {1, 9, 9, 1, KGR_UNSET, 3, 7, 7, 3}, {1, 1, 9, 9, 0, 3, 3, 7, 7}, 1);
    EXPECT_TRUE(isBlack(image, 20, 50));
    EXPECT_TRUE(isBlack(image, 50, 15));
    EXPECT_TRUE(isWhite(image, 50, 50)); // the hole
    EXPECT_TRUE(isWhite(image, 5, 5));
    // A second ring beside the first is filled too, and nothing between.
    image = polyDraw(vp, {1, 4, 4, 1, KGR_UNSET, 6, 9, 9, 6}, {1, 1, 9, 9, 0, 6, 6, 9, 9}, 1);
    EXPECT_TRUE(isBlack(image, 25, 50));
    EXPECT_TRUE(isBlack(image, 75, 25));
    EXPECT_TRUE(isWhite(image, 50, 50));
    EXPECT_TRUE(isWhite(image, 75, 60));
}

TEST(PolyDrawBuffer, EquidistantSegmentBendsWithTheProjection)
{
    // About (0, 0), one plane degree per pixel: the parallel at 60 N is an
    // arc through the plane point (0, 60) of (60 N, 0 E).
    KgrviewportItem vp = plotRecord(200, 200, -100, 100, -100, 100, KGR_WTRAN_EDP);
    std::vector<Call> calls = polyDrawCalls(vp, {-60, 60}, {60, 60}, 0);
    ASSERT_EQ(calls.size(), 1u);
    ASSERT_GT(calls[0].points.size(), 20u);
    // The parallel sags to the plane point (0, 60), pixel (100, 40), below
    // the chord between its ends at the plane ordinate of about 67.5.
    QPointF lowest = calls[0].points.front();
    for (const QPointF& q : calls[0].points)
        if (q.y() > lowest.y())
            lowest = q;
    EXPECT_NEAR(lowest.x(), 100, 1e-6);
    EXPECT_NEAR(lowest.y(), 40, 1e-6);
    EXPECT_NEAR(calls[0].points.front().y(), 100 - 67.55, 0.01);
    EXPECT_NEAR(calls[0].points.back().y(), 100 - 67.55, 0.01);
}

TEST(PolyDrawBuffer, MercatorLatitudesAreProjected)
{
    KgrviewportItem vp = plotRecord(100, 100, 0, 10, 0, 100, KGR_WTRAN_MERC);
    std::vector<Call> calls = polyDrawCalls(vp, {0, 10}, {45, 45}, 0);
    ASSERT_EQ(calls.size(), 1u);
    double merc45 = std::asinh(1.0) * 180 / M_PI;
    EXPECT_NEAR(calls[0].points[0].y(), 100 - merc45, 1e-9);
}

TEST(PolyDrawBuffer, NoScalesDrawsNothing)
{
    KgrviewportItem vp = plotRecord(22, 100, 0, 10, 0, 10, KGR_WTRAN_NONE, 10);
    int r = 0;
    QImage image = polyDraw(vp, {0, 10}, {0, 10}, 0, 0, &r);
    EXPECT_EQ(r, -1);
    EXPECT_EQ(countPixels(image, qRgb(0, 0, 0)), 0);
}

TEST(PolyDrawBuffer, BadInputDrawsOnlyWhatIsValid)
{
    KgrviewportItem vp = plotRecord(100, 100, 0, 10, 0, 10);
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    std::vector<double> x = {nan, 1, 9, inf, 1e300, -1e300, 5};
    std::vector<double> y = {1, 5, 5, 2, 1e300, 3, nan};
    // Only (1, 5) to (9, 5): the enormous segment passes far above the plot.
    std::vector<Call> calls = polyDrawCalls(vp, x, y, 0);
    ASSERT_EQ(calls.size(), 1u);
    expectPoints(calls[0], {{10, 50}, {90, 50}});
    EXPECT_EQ(polyDrawCalls(vp, {}, {}, 0).size(), 0u);
    EXPECT_EQ(polyDrawCalls(vp, {5}, {5}, 1).size(), 0u);
    // Fills of such points stay closed and inside the frame.
    for (const Call& c : polyDrawCalls(vp, x, y, 1))
        for (const QPointF& q : c.points)
            EXPECT_TRUE(q.x() >= 0 && q.x() <= 100 && q.y() >= 0 && q.y() <= 100);
    KgrviewportItem nullScale = plotRecord(100, 100, 5, 5, 0, 10);
    EXPECT_EQ(polyDrawCalls(nullScale, {1, 9}, {1, 9}, 0).size(), 0u);
}
