// The plot view: what it draws, navigation through the pickers, channels
// stacked on one time axis, the buttons, and snapshots as vectors.
#include "PlotView.h"
#include "plot_trace.h"
#include "register.h"

#include "kgrqt.h"

#include <QApplication>
#include <QColor>
#include <QFile>
#include <QImage>
#include <QMouseEvent>
#include <QPainterPath>
#include <QTest>
#include <QWheelEvent>
#include <QWidget>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <string>

namespace {

const QRgb kNavy = qRgb(0, 0, 128);
const QRgb kWhite = qRgb(255, 255, 255);
const char* const kEnd = nullptr;

// A 400 x 271 view of a trace; margins 80 left, 20 right, 70 bottom, 40
// top leave a plotting area of 300 x 161 pixels from (80, 40).
class PlotViewTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        hx_clear_register(0);
        // A flat trace at y = 0 from 1000 to 1300: one second per pixel.
        trace.x = {1000, 1150, 1300};
        trace.y = {0, 0, 0};
        ASSERT_EQ(plot_publish(trace, "plot-view"), 0);
        view = new PlotView(400, 271);
        ASSERT_EQ(view->showTrace("plot-view", "flat", "navy"), 0) << takeRegister();
    }
    void TearDown() override
    {
        delete view;
        for (const char* name : {"plot-view", "plot-view-2", "plot-view-3"})
            hxvector_free(name);
        hx_clear_register(0);
    }

    QImage render() { return view->render().convertToFormat(QImage::Format_RGB32); }

    const KgrviewportItem& record(int i = 0) const { return view->viewport(i)->viewport; }

    // The world point under a pixel of channel i in the last drawing.
    double worldX(double px, int i = 0)
    {
        double wx = 0, wy = 0;
        EXPECT_EQ(view->viewport(i)->wcoords(px, 100, &wx, &wy, 0), 0);
        return wx;
    }

    void send(QEvent* event, int i = 0) { QApplication::sendEvent(view->picker(i), event); }

    void mouse(QEvent::Type type, QPoint at, Qt::MouseButton button, Qt::MouseButtons buttons,
               int i = 0)
    {
        QMouseEvent event(type, QPointF(at), QPointF(at), button, buttons, Qt::NoModifier);
        send(&event, i);
    }

    void wheel(QPoint at, int delta, int i = 0)
    {
        const QPointF where(at);
        QWheelEvent event(where, where, QPoint(), QPoint(0, delta), Qt::NoButton, Qt::NoModifier,
                          Qt::NoScrollPhase, false);
        send(&event, i);
    }

    // Two more channels: a ramp and a constant, published for the view.
    void addChannels()
    {
        PlotTrace ramp, level;
        ramp.x = {1000, 1300};
        ramp.y = {-5, 5};
        level.x = {1000, 1300};
        level.y = {100, 100};
        ASSERT_EQ(plot_publish(ramp, "plot-view-2"), 0);
        ASSERT_EQ(plot_publish(level, "plot-view-3"), 0);
        ASSERT_EQ(view->showTrace("plot-view-2", "ramp", "darkred"), 0) << takeRegister();
        ASSERT_EQ(view->showTrace("plot-view-3", "level", "darkgreen"), 0) << takeRegister();
        // Each channel gets the height the first had alone.
        view->window()->resize(400, 3 * 271);
    }

    // Clicks a button of the taskbar in the middle of its box.
    void clickButton(const char* name, Qt::KeyboardModifiers mods = Qt::NoModifier)
    {
        auto* button = static_cast<KGRTaskbarButtonParams*>(
            getarr(view->taskbar()->taskbar.buttons_definitions, name));
        ASSERT_NE(button, nullptr) << name;
        ASSERT_NE(button->kgr_text->text.path, nullptr) << name;
        const QPoint at = button->kgr_text->text.path->boundingRect().center().toPoint();
        QTest::mouseMove(view->picker(), at);
        QTest::mouseClick(view->picker(), Qt::LeftButton, mods, at);
        render();
    }

    PlotTrace trace;
    PlotView* view = nullptr;
};

std::string fileText(const char* path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll().toStdString() : std::string();
}

} // namespace

TEST_F(PlotViewTest, ShowsTheTraceOnATimeAxisOverItsExtent)
{
    view->setGridVisible(false);
    const QImage image = render();
    EXPECT_EQ(image.size(), QSize(400, 271));
    EXPECT_EQ(record().xmode, KGR_MODE_TIME);
    EXPECT_EQ(record().xleft, 1000);
    EXPECT_EQ(record().xright, 1300);
    EXPECT_EQ(view->picker()->picker.crosshairs, 1);
    // A flat trace at 0 is shown from -1 to 1, so y = 0 lies half-way
    // down the 161 rows, at 40 + 80.5: row 120.
    for (int x = 91; x < 370; ++x) { // clear of the tics at both ends
        ASSERT_EQ(image.pixel(x, 120), kNavy) << x;
        ASSERT_EQ(image.pixel(x, 117), kWhite) << x;
        ASSERT_EQ(image.pixel(x, 123), kWhite) << x;
    }
    // White plotting area, light grey frame.
    EXPECT_EQ(image.pixel(200, 60), kWhite);
    EXPECT_EQ(image.pixel(60, 250), qRgb(0xf4, 0xf4, 0xf4));
}

TEST_F(PlotViewTest, EveryChannelIsAnnotated)
{
    render();
    KGRAxes* axes = view->axes();
    ASSERT_NE(axes, nullptr);
    EXPECT_STREQ(axes->axes.x_format, "time");
    EXPECT_STREQ(axes->axes.x_label, "Time (UTC)");
    EXPECT_STREQ(view->title()->text.text, "flat");
    EXPECT_FALSE(view->grid()->isHidden());
    ASSERT_NE(view->taskbar(), nullptr);
    EXPECT_EQ(cntarr(view->taskbar()->taskbar.buttons_definitions), 3);
    // The title stands above the frame at its left edge.
    double x = 0, y = 0;
    int w = 0, h = 0;
    view->title()->getBB(&x, &y, &w, &h);
    EXPECT_EQ(x, 0);
    EXPECT_EQ(y, 161 + 8);
}

TEST_F(PlotViewTest, WheelZoomsAboutThePointer)
{
    render();
    const double before = worldX(100);
    const double width = record().xright - record().xleft;
    wheel(QPoint(100, 100), 120);
    render();
    EXPECT_NEAR(record().xright - record().xleft, 0.8 * width, 1e-6);
    EXPECT_NEAR(worldX(100), before, 1e-6); // the point under the pointer stays
    // Turning back zooms out by the same factor.
    wheel(QPoint(100, 100), -120);
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
    // 30 pixels down of 161 rows spanning 2 units: the box moved up.
    EXPECT_NEAR(record().spc_ytop, 1 + 30 * 2.0 / 161, 1e-9);
    EXPECT_NEAR(record().spc_ybottom, -1 + 30 * 2.0 / 161, 1e-9);
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

TEST_F(PlotViewTest, ChannelsStackOnOneTimeAxis)
{
    addChannels();
    ASSERT_EQ(view->channels(), 3);
    render();
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(record(i).xleft, 1000) << i;
        EXPECT_EQ(record(i).xright, 1300) << i;
        EXPECT_EQ(view->viewport(i)->width(), 400) << i;
    }
    // One above the other, in the order added.
    EXPECT_LT(view->viewport(0)->y(), view->viewport(1)->y());
    EXPECT_LT(view->viewport(1)->y(), view->viewport(2)->y());
    EXPECT_EQ(record(2).ybottom, 100 - 0.1 * 100 * 1.0); // a constant gets a range of its own
}

TEST_F(PlotViewTest, ZoomingOneChannelZoomsTheTimeOfAll)
{
    addChannels();
    render();
    const double ybottom0 = record(0).ybottom, ytop0 = record(0).ytop;
    const double ybottom2 = record(2).ybottom, ytop2 = record(2).ytop;
    const double yrange1 = record(1).ytop - record(1).ybottom;
    const double under = worldX(150, 1);
    wheel(QPoint(150, 60), 240, 1); // two notches on the middle channel
    render();
    for (int i = 0; i < 3; ++i) {
        EXPECT_NEAR(record(i).xright - record(i).xleft, 300 * 0.64, 1e-6) << i;
        EXPECT_NEAR(worldX(150, i), under, 1e-6) << i;
    }
    // Amplitudes zoom only where the pointer is.
    EXPECT_NEAR(record(1).ytop - record(1).ybottom, 0.64 * yrange1, 1e-9);
    EXPECT_NEAR(record(0).ybottom, ybottom0, 1e-9);
    EXPECT_NEAR(record(0).ytop, ytop0, 1e-9);
    EXPECT_NEAR(record(2).ybottom, ybottom2, 1e-9);
    EXPECT_NEAR(record(2).ytop, ytop2, 1e-9);
}

TEST_F(PlotViewTest, DraggingOneChannelPansTheTimeOfAll)
{
    addChannels();
    render();
    const double ytop0 = record(0).ytop, ytop2 = record(2).ytop;
    const double under = worldX(200, 2);
    mouse(QEvent::MouseButtonPress, QPoint(200, 80), Qt::LeftButton, Qt::LeftButton, 2);
    mouse(QEvent::MouseMove, QPoint(240, 100), Qt::NoButton, Qt::LeftButton, 2);
    mouse(QEvent::MouseButtonRelease, QPoint(240, 100), Qt::LeftButton, Qt::NoButton, 2);
    render();
    for (int i = 0; i < 3; ++i)
        EXPECT_NEAR(worldX(240, i), under, 1e-6) << i;
    EXPECT_NE(record(2).ytop, ytop2);
    EXPECT_EQ(record(0).ytop, ytop0);
}

TEST_F(PlotViewTest, GridButtonTogglesTheGrid)
{
    view->window()->show();
    render();
    clickButton("grid");
    EXPECT_FALSE(view->grid()->isVisible());
    EXPECT_EQ(view->controls().grid, 0);
    clickButton("grid");
    EXPECT_TRUE(view->grid()->isVisible());
}

TEST_F(PlotViewTest, CrosshairsButtonTogglesEveryChannel)
{
    addChannels();
    view->window()->show();
    render();
    clickButton("crosshairs");
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(view->picker(i)->picker.crosshairs, 0) << i;
    // Shift with the grid button turns the crosshairs back on and leaves
    // the grid shown.
    clickButton("grid", Qt::ShiftModifier);
    EXPECT_TRUE(view->grid()->isVisible());
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(view->picker(i)->picker.crosshairs, 1) << i;
}

TEST_F(PlotViewTest, ScaleButtonSwitchesToLogarithmicAmplitudes)
{
    addChannels();
    view->window()->show();
    render();
    clickButton("yscale");
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(record(i).ymode, KGR_MODE_LOG) << i;
        EXPECT_GT(record(i).ybottom, 0) << i;
    }
    // The ramp's positive part, the constant around its value.
    EXPECT_EQ(record(1).ybottom, 5);
    EXPECT_EQ(record(2).ybottom, 100);
    clickButton("yscale");
    EXPECT_EQ(record(1).ymode, KGR_MODE_LIN);
    EXPECT_LT(record(1).ybottom, 0);
}

TEST_F(PlotViewTest, ButtonControlsAreOptionsOfTheTaskbar)
{
    ASSERT_EQ(view->taskbar()->configure("grid", "no", kEnd), 0);
    EXPECT_TRUE(view->grid()->isHidden());
    char* printed = view->taskbar()->printConfigValue("yscale");
    EXPECT_STREQ(printed, "linear");
    free(printed);
    EXPECT_EQ(view->taskbar()->configure("yscale", "cubic", kEnd), -1);
    EXPECT_NE(takeRegister().find("plot_parse_yscale: Illegal value 'cubic'"), std::string::npos);
    EXPECT_EQ(view->taskbar()->configure("grid", "maybe", kEnd), -1);
    EXPECT_NE(takeRegister().find("plot_parse_grid: Illegal value 'maybe'"), std::string::npos);
}

TEST_F(PlotViewTest, SvgSnapshotKeepsTextAndLinesAsVectors)
{
    const std::string path = testing::TempDir() + "plot-view.svg";
    ASSERT_EQ(plot_write_snapshot(*view, path.c_str()), 0);
    const std::string svg = fileText(path.c_str());
    EXPECT_NE(svg.find("<svg"), std::string::npos);
    EXPECT_NE(svg.find(">flat<"), std::string::npos);       // the title as text
    EXPECT_NE(svg.find(">Time (UTC)<"), std::string::npos); // the axis label
    EXPECT_NE(svg.find("<path"), std::string::npos);
    EXPECT_EQ(svg.find("<image"), std::string::npos); // nothing rasterised
    remove(path.c_str());
}

TEST_F(PlotViewTest, PdfSnapshotIsOnePageOfTheWindowsSize)
{
    const std::string path = testing::TempDir() + "plot-view.pdf";
    ASSERT_EQ(plot_write_snapshot(*view, path.c_str()), 0);
    const std::string pdf = fileText(path.c_str());
    EXPECT_EQ(pdf.rfind("%PDF-", 0), 0u);
    EXPECT_NE(pdf.find("/MediaBox [0 0 400.000000 271.000000]"), std::string::npos);
    EXPECT_EQ(pdf.find("/Subtype /Image"), std::string::npos);
    remove(path.c_str());
}

TEST_F(PlotViewTest, UnwritableSnapshotFails)
{
    EXPECT_EQ(plot_write_snapshot(*view, "/no-such-directory/plot.png"), -1);
    EXPECT_EQ(plot_write_snapshot(*view, "/no-such-directory/plot.svg"), -1);
}
