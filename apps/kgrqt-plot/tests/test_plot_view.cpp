// The plot view: what it draws, and navigation through the picker.
#include "PlotView.h"
#include "plot_trace.h"
#include "register.h"

#include "kgrqt.h"

#include <QApplication>
#include <QColor>
#include <QImage>
#include <QMouseEvent>
#include <QWheelEvent>

#include <gtest/gtest.h>

#include <cmath>

namespace {

const QRgb kNavy = qRgb(0, 0, 128);

// A 400 x 261 view of a trace; margins 70 left, 20 right, 40 bottom, 20
// top leave a plotting area of 310 x 201 pixels from (70, 20).
class PlotViewTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        hx_clear_register(0);
        // A flat trace at y = 0 from 1000 to 1310: one second per pixel.
        trace.x = {1000, 1155, 1310};
        trace.y = {0, 0, 0};
        ASSERT_EQ(plot_publish(trace, "plot-view"), 0);
        view = new PlotView(400, 261);
        ASSERT_EQ(view->showTrace("plot-view", "flat", "navy"), 0) << takeRegister();
    }
    void TearDown() override
    {
        delete view;
        hxvector_free("plot-view");
        hx_clear_register(0);
    }

    QImage render() { return view->render().convertToFormat(QImage::Format_RGB32); }

    const KgrviewportItem& record() const { return view->viewport()->viewport; }

    // The world x under a pixel column of the last drawing.
    double worldX(double px)
    {
        double wx = 0, wy = 0;
        EXPECT_EQ(view->viewport()->wcoords(px, 100, &wx, &wy, 0), 0);
        return wx;
    }

    void send(QEvent* event) { QApplication::sendEvent(view->picker(), event); }

    void mouse(QEvent::Type type, QPoint at, Qt::MouseButton button, Qt::MouseButtons buttons)
    {
        QMouseEvent event(type, QPointF(at), QPointF(at), button, buttons, Qt::NoModifier);
        send(&event);
    }

    PlotTrace trace;
    PlotView* view = nullptr;
};

} // namespace

TEST_F(PlotViewTest, ShowsTheTraceOnATimeAxisOverItsExtent)
{
    const QImage image = render();
    EXPECT_EQ(image.size(), QSize(400, 261));
    EXPECT_EQ(record().xmode, KGR_MODE_TIME);
    EXPECT_EQ(record().xleft, 1000);
    EXPECT_EQ(record().xright, 1310);
    EXPECT_EQ(view->picker()->picker.crosshairs, 1);
    EXPECT_STREQ(view->polyline()->polyline.label, "flat");
    // A flat trace at 0 is shown from -1 to 1, so y = 0 lies half-way
    // down the 201 rows, at 20 + 100.5: row 120 exactly.
    for (int x = 71; x < 379; ++x) {
        ASSERT_EQ(image.pixel(x, 120), kNavy) << x;
        ASSERT_EQ(image.pixel(x, 118), qRgb(255, 255, 255)) << x;
        ASSERT_EQ(image.pixel(x, 122), qRgb(255, 255, 255)) << x;
    }
    // White plotting area, grey frame.
    EXPECT_EQ(image.pixel(200, 60), qRgb(255, 255, 255));
    EXPECT_EQ(image.pixel(30, 120), qRgb(0xe8, 0xe8, 0xe8));
}

TEST_F(PlotViewTest, WheelZoomsAboutThePointer)
{
    render();
    const double before = worldX(100);
    const double width = record().xright - record().xleft;
    QWheelEvent wheel(QPointF(100, 100), QPointF(100, 100), QPoint(), QPoint(0, 120), Qt::NoButton,
                      Qt::NoModifier, Qt::NoScrollPhase, false);
    send(&wheel);
    render();
    EXPECT_NEAR(record().xright - record().xleft, 0.8 * width, 1e-6);
    EXPECT_NEAR(worldX(100), before, 1e-6); // the point under the pointer stays
    // Turning back zooms out by the same factor.
    QWheelEvent back(QPointF(100, 100), QPointF(100, 100), QPoint(), QPoint(0, -120), Qt::NoButton,
                     Qt::NoModifier, Qt::NoScrollPhase, false);
    send(&back);
    render();
    EXPECT_NEAR(record().xright - record().xleft, width, 1e-6);
}

TEST_F(PlotViewTest, DraggingPansWithThePointer)
{
    render();
    const double under = worldX(200);
    mouse(QEvent::MouseButtonPress, QPoint(200, 100), Qt::LeftButton, Qt::LeftButton);
    mouse(QEvent::MouseMove, QPoint(250, 130), Qt::NoButton, Qt::LeftButton);
    render();
    // The data moved right with the pointer: what was under 200 is at 250.
    EXPECT_NEAR(worldX(250), under, 1e-6);
    mouse(QEvent::MouseButtonRelease, QPoint(250, 130), Qt::LeftButton, Qt::NoButton);
    render();
    // Kept after the release, with the translations back at zero.
    EXPECT_NEAR(worldX(250), under, 1e-6);
    EXPECT_EQ(record().xoffset, 0);
    EXPECT_EQ(record().yoffset, 0);
    EXPECT_NEAR(record().spc_xleft, 1000 - 50, 1e-6);
    // 30 pixels down of 201 rows spanning 2 units: the box moved up.
    EXPECT_NEAR(record().spc_ytop, 1 + 30 * 2.0 / 201, 1e-9);
    EXPECT_NEAR(record().spc_ybottom, -1 + 30 * 2.0 / 201, 1e-9);
    // Moving without a pressed button pans nothing.
    mouse(QEvent::MouseMove, QPoint(10, 10), Qt::NoButton, Qt::NoButton);
    render();
    EXPECT_NEAR(worldX(250), under, 1e-6);
}

TEST_F(PlotViewTest, OtherButtonsDoNotDrag)
{
    render();
    const double left = record().xleft;
    mouse(QEvent::MouseButtonPress, QPoint(200, 100), Qt::RightButton, Qt::RightButton);
    mouse(QEvent::MouseMove, QPoint(250, 100), Qt::NoButton, Qt::RightButton);
    render();
    EXPECT_EQ(record().xleft, left);
}

TEST_F(PlotViewTest, BadColourIsReported)
{
    EXPECT_EQ(view->showTrace("plot-view", "flat", "no-such-colour"), -1);
    EXPECT_EQ(takeRegister(), "PlotView::showTrace: Unknown colour 'no-such-colour'\n");
    EXPECT_EQ(view->showTrace("plot-view", "flat", "1,2"), -1);
    EXPECT_NE(takeRegister().find("KGR_ParseColor() error for outline"), std::string::npos);
    EXPECT_EQ(view->showTrace("no-such-vector", "x", "navy"), -1);
    EXPECT_EQ(takeRegister(), "hxvector_extent: Cannot find vector 'no-such-vector'\n");
}
