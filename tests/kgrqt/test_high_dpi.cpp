// High-density screens: layers have the screen's pixels and lines keep
// their widths in device pixels. These tests run once more under
// QT_SCALE_FACTOR=2 (see tests/CMakeLists.txt); at ratio 1 they skip.
#include "kgrqt.h"

#include <QApplication>
#include <QGridLayout>
#include <QImage>
#include <QList>
#include <QPixmap>

#include <gtest/gtest.h>

namespace {

const char* const kEnd = nullptr;

// Length of the run of dark pixels across a horizontal line at column x,
// in device pixels.
int thicknessAt(const QImage& image, int x)
{
    int n = 0;
    for (int y = 0; y < image.height(); ++y)
        n += qGray(image.pixel(x, y)) < 128;
    return n;
}

class HighDpiTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ratio = qApp->devicePixelRatio();
        if (ratio < 2)
            GTEST_SKIP() << "run with QT_SCALE_FACTOR=2";
        vp.resize(200, 100);
        ASSERT_EQ(vp.configure("fill", "white", "fill_frame", "white", "margin", "0 0 0 0", "xleft",
                               "0", "xright", "10", "ybottom", "0", "ytop", "10", kEnd),
                  0);
        points = {{0, 5}, {10, 5}};
    }

    QImage render()
    {
        vp.layout->activate();
        QPixmap pixmap = vp.grab();
        EXPECT_EQ(pixmap.devicePixelRatio(), ratio);
        return pixmap.toImage().convertToFormat(QImage::Format_RGB32);
    }

    KGRPolyline* addLine()
    {
        auto* line = new KGRPolyline(&vp);
        EXPECT_EQ(line->configure("qlist", reinterpret_cast<char*>(&points), "outline", "black",
                                  "linewidth", "1", kEnd),
                  0);
        return line;
    }

    qreal ratio = 1;
    KGRViewport vp{nullptr};
    QList<KGR_XY> points;
};

} // namespace

TEST_F(HighDpiTest, LayersHaveTheScreensPixels)
{
    // Items come before the layer that shows them.
    KGRPolyline* line = addLine();
    KGRLayer layer(&vp);
    line->setLayer(&layer);
    QImage image = render();
    ASSERT_NE(layer.layer.pixmap, nullptr);
    EXPECT_EQ(layer.layer.pixmap->width(), 200 * ratio);
    EXPECT_EQ(layer.layer.pixmap->height(), 100 * ratio);
    EXPECT_EQ(layer.layer.pixmap->devicePixelRatio(), ratio);
    EXPECT_EQ(image.width(), 200 * ratio);
    // A one-pixel line is two device pixels thick, and sharp: no grey
    // fringe beyond them.
    EXPECT_EQ(thicknessAt(image, 100 * ratio), 2);
}

TEST_F(HighDpiTest, ItemsWithoutALayerAreSharpToo)
{
    addLine();
    QImage image = render();
    EXPECT_EQ(thicknessAt(image, 100 * ratio), 2);
}

TEST_F(HighDpiTest, AxesBoxIsTwoDevicePixelsWide)
{
    ASSERT_EQ(vp.configure("margin", "20 20 20 20", kEnd), 0);
    KGRAxes axes(&vp);
    ASSERT_EQ(axes.configure("xformat", "none", "yformat", "none", "tic_style", "", kEnd), 0);
    QImage image = render();
    EXPECT_EQ(thicknessAt(image, 50 * ratio), 4); // top and bottom sides
}
