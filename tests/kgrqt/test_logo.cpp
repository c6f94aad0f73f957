#include "kgrqt.h"
#include "register.h"

#include <QApplication>
#include <QColor>
#include <QGridLayout>
#include <QImage>
#include <QPaintEvent>
#include <QPainter>
#include <QPixmap>

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>

namespace {

#include "kgrqt_logo_data.inc"

const QRgb white = qRgb(255, 255, 255);

// The logo's pixel as stored: alpha, red, green, blue bytes.
QRgb storedPixel(int x, int y)
{
    const unsigned char* p = kgrqt_logo_argb + 4 * (y * kgrqt_logo_width + x);
    return qRgba(p[1], p[2], p[3], p[0]);
}

// What the logo looks like on white at (x, y), drawn with an opacity.
QImage logoOnWhite(QSize size, int x, int y, double opacity = 1.0)
{
    QImage expected(size, QImage::Format_RGB32);
    expected.fill(white);
    QPainter painter(&expected);
    painter.setOpacity(opacity);
    painter.drawImage(x, y, *kgrqt_get_logo());
    return expected;
}

QImage whiteImage(int w, int h)
{
    QImage image(w, h, QImage::Format_RGB32);
    image.fill(white);
    return image;
}

// Largest difference of any channel over two images of one size.
int maxDifference(const QImage& a, const QImage& b)
{
    QImage ca = a.convertToFormat(QImage::Format_RGB32);
    QImage cb = b.convertToFormat(QImage::Format_RGB32);
    int worst = 0;
    for (int y = 0; y < ca.height(); ++y)
        for (int x = 0; x < ca.width(); ++x) {
            QRgb p = ca.pixel(x, y), q = cb.pixel(x, y);
            worst = std::max({worst, std::abs(qRed(p) - qRed(q)), std::abs(qGreen(p) - qGreen(q)),
                              std::abs(qBlue(p) - qBlue(q))});
        }
    return worst;
}

// The bounding box of pixels that are not white.
QRect inkBox(const QImage& image)
{
    QImage rgb = image.convertToFormat(QImage::Format_RGB32);
    QRect box;
    for (int y = 0; y < rgb.height(); ++y)
        for (int x = 0; x < rgb.width(); ++x)
            if (rgb.pixel(x, y) != white)
                box |= QRect(x, y, 1, 1);
    return box;
}

// Where the logo shows on white, relative to its origin (its white halo
// does not show).
QRect logoInkBox()
{
    return inkBox(logoOnWhite(kgrqt_get_logo()->size(), 0, 0));
}

// An opaque pixel of the letters, to test blending against.
QPoint opaqueLogoPixel()
{
    for (int y = 0; y < kgrqt_logo_height; ++y)
        for (int x = 0; x < kgrqt_logo_width; ++x)
            if (qAlpha(storedPixel(x, y)) == 255 && qRed(storedPixel(x, y)) < 128)
                return {x, y};
    return {-1, -1};
}

struct LogoTest : ::testing::Test {
    void SetUp() override
    {
        hx_clear_register(0);
        vp.resize(200, 120);
        EXPECT_EQ(vp.configure("fill", "white", static_cast<char*>(nullptr)), 0);
    }
    void TearDown() override { hx_clear_register(0); }

    // A header as the viewport's paint leaves it: inclusive pixel bounds.
    void setHeader(int x1, int y1, int x2, int y2) { vp.viewport.header = {x1, y1, x2, y2}; }

    KGRViewport vp{nullptr};
};

} // namespace

TEST(KgrqtLogoImage, Is75By19ARGB32AndMadeOnce)
{
    QImage* logo = kgrqt_get_logo();
    ASSERT_NE(logo, nullptr);
    EXPECT_EQ(logo->width(), 75);
    EXPECT_EQ(logo->height(), 19);
    EXPECT_EQ(logo->format(), QImage::Format_ARGB32);
    EXPECT_EQ(kgrqt_get_logo(), logo);
}

TEST(KgrqtLogoImage, PixelsAreTheStoredBytesAsNativeWords)
{
    QImage* logo = kgrqt_get_logo();
    int differing = 0;
    for (int y = 0; y < 19; ++y)
        for (int x = 0; x < 75; ++x)
            differing += logo->pixel(x, y) != storedPixel(x, y);
    EXPECT_EQ(differing, 0);

    // In memory each word holds the stored bytes in the machine's order:
    // reversed on a little-endian machine.
    const unsigned char* bits = logo->constBits();
    ASSERT_EQ(logo->bytesPerLine(), 75 * 4);
    int misplaced = 0;
    for (int i = 0; i < 75 * 19; ++i)
        for (int b = 0; b < 4; ++b) {
            int from = Q_BYTE_ORDER == Q_LITTLE_ENDIAN ? 3 - b : b;
            misplaced += bits[4 * i + b] != kgrqt_logo_argb[4 * i + from];
        }
    EXPECT_EQ(misplaced, 0);
}

TEST(KgrqtLogoImage, HasOpaqueTranslucentAndClearPixels)
{
    int opaque = 0, translucent = 0, clear = 0;
    for (int y = 0; y < 19; ++y)
        for (int x = 0; x < 75; ++x) {
            int a = qAlpha(storedPixel(x, y));
            opaque += a == 255;
            translucent += a > 0 && a < 255;
            clear += a == 0;
        }
    EXPECT_GT(opaque, 100);
    EXPECT_GT(translucent, 50);
    EXPECT_GT(clear, 100);
}

TEST_F(LogoTest, ConstructionFollowsTheItemPattern)
{
    KGRLogo logo(&vp);
    EXPECT_EQ(logo.parentWidget(), &vp);
    EXPECT_FALSE(logo.autoFillBackground());
    EXPECT_EQ(logo.debug, 0);
    EXPECT_STREQ(logo.class_name, "KGRLogo");
    EXPECT_EQ(logo.logo.vp, &vp);
    EXPECT_EQ(logo.logo.viewport, &vp.viewport);
    EXPECT_EQ(logo.logo.layer, nullptr);
    EXPECT_EQ(logo.logo.stale, 0);
    EXPECT_EQ(logo.logo.opacity, 1.0);
    EXPECT_EQ(logo.logo.logo_image, kgrqt_get_logo());
    // Registered with the viewport: one grid cell covering it.
    EXPECT_GE(vp.layout->indexOf(&logo), 0);
    ASSERT_EQ(logo.configure("opacity", "0.25", static_cast<char*>(nullptr)), 0);
    EXPECT_EQ(logo.logo.opacity, 0.25);
}

TEST_F(LogoTest, SitsTenPixelsInFromTheLowerRightCornerOfTheViewport)
{
    // Margins frame the plot, not the logo.
    ASSERT_EQ(vp.configure("mleft", "30", "mright", "40", "mbottom", "25", "mtop", "5",
                           static_cast<char*>(nullptr)),
              0);
    KGRLogo logo(&vp);
    QImage shot = vp.grab().toImage();
    ASSERT_EQ(shot.size(), QSize(200, 120));
    // The header spans x 0..200 and y 0..120 inclusive: 201 by 121 pixels.
    Kgrheader h = vp.viewport.header;
    ASSERT_EQ(h.x2 - h.x1 + 1, 201);
    ASSERT_EQ(h.y2 - h.y1 + 1, 121);
    int x = 201 - 75 - 10, y = 121 - 19 - 10;
    // Outside the margins the viewport's fill is white too.
    ASSERT_EQ(vp.configure("fill_frame", "white", static_cast<char*>(nullptr)), 0);
    shot = vp.grab().toImage();
    EXPECT_LE(maxDifference(shot, logoOnWhite(shot.size(), x, y)), 1);
    EXPECT_EQ(inkBox(shot), logoInkBox().translated(x, y));
}

TEST_F(LogoTest, DrawPlacesTheImageFromTheHeaderBox)
{
    KGRLogo logo(&vp);
    setHeader(20, 10, 139, 89); // 120 by 80 pixels
    QImage image = whiteImage(200, 120);
    {
        QPainter painter(&image);
        logo.draw(painter);
    }
    EXPECT_LE(maxDifference(image, logoOnWhite(image.size(), 20 + 120 - 85, 10 + 80 - 29)), 1);
}

TEST_F(LogoTest, HalfOpacityDrawsAHalfTransparentLogo)
{
    KGRLogo logo(&vp);
    ASSERT_EQ(logo.configure("opacity", "0.5", static_cast<char*>(nullptr)), 0);
    setHeader(0, 0, 99, 49);
    QImage image = whiteImage(100, 50);
    QPainter painter(&image);
    logo.draw(painter);
    EXPECT_EQ(painter.opacity(), 0.5);
    painter.end();
    int x = 100 - 85, y = 50 - 29;
    EXPECT_LE(maxDifference(image, logoOnWhite(image.size(), x, y, 0.5)), 1);
    // An opaque ink pixel comes out halfway between ink and white.
    QPoint p = opaqueLogoPixel();
    ASSERT_GE(p.x(), 0);
    QRgb ink = storedPixel(p.x(), p.y());
    QRgb got = image.pixel(x + p.x(), y + p.y());
    EXPECT_NEAR(qRed(got), (qRed(ink) + 255) / 2, 1);
    EXPECT_NEAR(qGreen(got), (qGreen(ink) + 255) / 2, 1);
    EXPECT_NEAR(qBlue(got), (qBlue(ink) + 255) / 2, 1);
}

TEST_F(LogoTest, OpacityOfExactlyOneLeavesThePaintersOpacity)
{
    KGRLogo logo(&vp);
    setHeader(0, 0, 99, 49);
    QImage image = whiteImage(100, 50);
    QPainter painter(&image);
    painter.setOpacity(0.3);
    logo.draw(painter);
    EXPECT_EQ(painter.opacity(), 0.3);
    painter.end();
    EXPECT_LE(maxDifference(image, logoOnWhite(image.size(), 15, 21, 0.3)), 1);

    // Any other value, however close, is set.
    ASSERT_EQ(logo.configure("opacity", "0.999", static_cast<char*>(nullptr)), 0);
    QImage other = whiteImage(100, 50);
    QPainter again(&other);
    again.setOpacity(0.3);
    logo.draw(again);
    EXPECT_EQ(again.opacity(), 0.999);
}

TEST_F(LogoTest, NarrowViewportPutsTheImageLeftOfItUnclipped)
{
    KGRLogo logo(&vp);
    setHeader(0, 0, 59, 39); // 60 wide: less than the image and its inset
    QImage image = whiteImage(300, 100);
    {
        QPainter painter(&image);
        painter.translate(100, 30);
        logo.draw(painter);
    }
    // Origin x = 60 - 75 - 10 = -25: the whole image lies from 75 on.
    EXPECT_EQ(inkBox(image), logoInkBox().translated(100 - 25, 30 + 40 - 29));
    EXPECT_LE(maxDifference(image, logoOnWhite(image.size(), 75, 41)), 1);
}

TEST_F(LogoTest, ItemsShareOneImageThatOutlivesThem)
{
    QImage* shared = kgrqt_get_logo();
    QImage before = shared->copy();
    {
        auto first = std::make_unique<KGRLogo>(&vp);
        auto second = std::make_unique<KGRLogo>(&vp);
        EXPECT_EQ(first->logo.logo_image, shared);
        EXPECT_EQ(second->logo.logo_image, shared);
    }
    KGRLogo third(&vp);
    EXPECT_EQ(third.logo.logo_image, shared);
    EXPECT_EQ(kgrqt_get_logo(), shared);
    EXPECT_EQ(shared->size(), QSize(75, 19));
    EXPECT_EQ(*shared, before);
}

TEST_F(LogoTest, WithALayerPaintsIntoItOnlyWhenStale)
{
    KGRLayer layer(&vp);
    KGRLogo logo(&vp);
    logo.setLayer(&layer);
    EXPECT_EQ(logo.logo.layer, &layer);
    vp.viewport.w = 160;
    vp.viewport.h = 90;
    setHeader(0, 0, 159, 89);

    QPaintEvent paint(QRect(0, 0, 200, 120));
    QApplication::sendEvent(&logo, &paint);
    // The layer took the viewport's size, which made it stale.
    ASSERT_NE(layer.layer.pixmap, nullptr);
    EXPECT_EQ(layer.layer.pixmap->size(), QSize(160, 90));
    QImage painted(160, 90, QImage::Format_RGB32);
    painted.fill(white);
    {
        QPainter p(&painted);
        p.drawPixmap(0, 0, *layer.layer.pixmap);
    }
    EXPECT_LE(maxDifference(painted, logoOnWhite(painted.size(), 160 - 85, 90 - 29)), 1);

    // Not stale: the buffer is left alone.
    layer.layer.stale = 0;
    layer.layer.pixmap->fill(Qt::transparent);
    QApplication::sendEvent(&logo, &paint);
    QImage untouched = layer.layer.pixmap->toImage().convertToFormat(QImage::Format_ARGB32);
    EXPECT_EQ(untouched.pixel(160 - 85 + opaqueLogoPixel().x(), 90 - 29 + opaqueLogoPixel().y()),
              0u);
}

TEST_F(LogoTest, DebugTracesNameTheLogoAndItsLayer)
{
    KGRLayer layer(&vp);
    KGRLogo logo(&vp);
    HX_SetName("corner", "KGRLogo", &logo);
    HX_SetName("top", "KGRLayer", &layer);
    logo.debug = 1;
    vp.viewport.w = 200;
    vp.viewport.h = 120;
    setHeader(0, 0, 199, 119);

    logo.resize(200, 120);
    QImage sink(200, 120, QImage::Format_ARGB32);
    testing::internal::CaptureStdout();
    logo.render(&sink);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Painting logo corner.\n");

    logo.setLayer(&layer);
    QPaintEvent paint(QRect(0, 0, 200, 120));
    testing::internal::CaptureStdout();
    QApplication::sendEvent(&logo, &paint);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Painting logo corner to layer top.\n");
    HX_UnsetObject(&logo);
    HX_UnsetObject(&layer);
}
