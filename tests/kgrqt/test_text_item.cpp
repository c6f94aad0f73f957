#include "kgrqt.h"
#include "register.h"
#include "render.h"

#include <QApplication>
#include <QColor>
#include <QFont>
#include <QFontInfo>
#include <QFontMetrics>
#include <QGridLayout>
#include <QImage>
#include <QPaintEvent>
#include <QPainter>
#include <QPainterPath>
#include <QPixmap>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <string>

namespace {

const QRgb white = qRgb(255, 255, 255);
const QRgb blue = qRgb(0, 0, 255);
const QRgb yellow = qRgb(255, 255, 0);

char* str(const char* s)
{
    return const_cast<char*>(s);
}

std::string printed(KGRConfigure& item, const char* option)
{
    char* value = item.printConfigValue(option);
    std::string s = value ? value : "(null)";
    free(value);
    return s;
}

// A 300 x 200 viewport, white all over, margins left 40, right 20, top 10,
// bottom 30. Texts use DejaVu Sans, which the bootstrap installs.
struct TextItemTest : ::testing::Test {
    void SetUp() override
    {
        hx_clear_register(0);
        vp.resize(300, 200);
        ASSERT_EQ(vp.configure("mleft", "40", "mright", "20", "mtop", "10", "mbottom", "30", "fill",
                               "white", "fill_frame", "white", static_cast<char*>(nullptr)),
                  0);
    }
    void TearDown() override { hx_clear_register(0); }

    // A text at (x, y) in the fixed font, with further options.
    KGRText* makeText(const char* x, const char* y, const char* label)
    {
        auto* t = new KGRText(&vp, nullptr, str(x), str(y));
        EXPECT_EQ(
            t->configure("font", "\"DejaVu Sans\" 16", "text", label, static_cast<char*>(nullptr)),
            0);
        return t;
    }

    QImage shot() { return vp.grab().toImage().convertToFormat(QImage::Format_RGB32); }

    // Frame pixels as the drawing turns them into widget pixels.
    QPoint widgetPoint(double x, double y) const
    {
        const KgrviewportItem& v = vp.viewport;
        return {static_cast<int>(v.header.x1 + x + v.mleft),
                static_cast<int>(v.header.y2 - y - v.mbottom)};
    }

    KGRViewport vp{nullptr};
};

int boxWidth(KGRText& t)
{
    QFontMetrics fm(*t.text.font.font);
    return static_cast<int>(10 + fm.boundingRect(QString::fromLocal8Bit(t.text.text)).width());
}

int boxHeight(KGRText& t)
{
    return 10 + QFontMetrics(*t.text.font.font).ascent();
}

// Draws the text once into an image of the viewport's size, after the
// viewport has laid out its frame.
QImage drawOnce(KGRText& t, double opacity = 1.0, double* painterOpacity = nullptr)
{
    t.text.vp->grab();
    QImage image(300, 200, QImage::Format_RGB32);
    image.fill(white);
    QPainter painter(&image);
    painter.setOpacity(opacity);
    t.draw(painter);
    if (painterOpacity)
        *painterOpacity = painter.opacity();
    return image;
}

bool reddish(QRgb p)
{
    return qRed(p) > 200 && qGreen(p) < 140 && qBlue(p) < 140;
}

} // namespace

TEST(KgrqtTextFont, DejaVuSansIsInstalled)
{
    QFont font("DejaVu Sans", 16);
    EXPECT_EQ(QFontInfo(font).family(), "DejaVu Sans");
}

TEST_F(TextItemTest, ConstructionFollowsTheItemPattern)
{
    KGRText t(&vp, str("title"), str("0.5v"), str("top+5"));
    EXPECT_EQ(t.parentWidget(), &vp);
    EXPECT_GE(vp.layout->indexOf(&t), 0);
    EXPECT_FALSE(t.autoFillBackground());
    EXPECT_EQ(t.debug, 0);
    EXPECT_STREQ(t.class_name, "KGRText");
    EXPECT_EQ(t.text.vp, &vp);
    EXPECT_EQ(t.text.viewport, &vp.viewport);
    EXPECT_EQ(t.text.parent, &vp);
    EXPECT_EQ(t.text.layer, nullptr);
    EXPECT_EQ(t.text.path, nullptr);
    EXPECT_EQ(t.text.select, 0);
    EXPECT_EQ(t.text.header.x1, 0);
    EXPECT_EQ(t.text.header.y1, 0);
    EXPECT_EQ(t.text.header.x2, 5000);
    EXPECT_EQ(t.text.header.y2, 5000);
    EXPECT_STREQ(t.text.xpos, "0.5v");
    EXPECT_STREQ(t.text.ypos, "top+5");
    // Found by its name.
    EXPECT_EQ(HX_GetObject("title", "KGRText"), &t);
    // A text never takes the pointer: items below it, such as a picker, do.
    EXPECT_TRUE(t.testAttribute(Qt::WA_TransparentForMouseEvents));
}

TEST_F(TextItemTest, NameIsDroppedWithTheItem)
{
    {
        KGRText t(&vp, str("gone"), str("0"), str("0"));
        ASSERT_EQ(HX_GetObject("gone", "KGRText"), &t);
    }
    EXPECT_EQ(HX_GetObject("gone", "KGRText"), nullptr);
}

TEST_F(TextItemTest, OptionDefaults)
{
    KGRText t(&vp, nullptr, str("0"), str("0"));
    EXPECT_EQ(printed(t, "fill"), "black");
    EXPECT_EQ(printed(t, "background"), "");
    EXPECT_EQ(printed(t, "outline"), "");
    EXPECT_EQ(printed(t, "font"), "Helvetica 16");
    EXPECT_EQ(t.text.angle, 0.0);
    EXPECT_EQ(printed(t, "justification"), "sw");
    EXPECT_EQ(t.text.relative, nullptr);
    EXPECT_EQ(printed(t, "width"), "0");
    EXPECT_EQ(printed(t, "height"), "0");
    EXPECT_EQ(printed(t, "show_not_symbol"), "no");
    EXPECT_EQ(printed(t, "text"), "");
    EXPECT_EQ(t.text.opacity, 1.0);
    EXPECT_EQ(t.text.background.color, nullptr);
    EXPECT_EQ(t.text.outline.color, nullptr);
    ASSERT_NE(t.text.foreground.color, nullptr);
    EXPECT_EQ(t.text.foreground.color->rgb(), qRgb(0, 0, 0));

    ASSERT_EQ(t.configure("angle", "30", "relative", reinterpret_cast<char*>(&vp), "width", "80",
                          "height", "20", "show_not_symbol", "yes", "opacity", "0.25",
                          static_cast<char*>(nullptr)),
              0);
    EXPECT_EQ(t.text.angle, 30.0);
    EXPECT_EQ(t.text.relative, &vp);
    EXPECT_EQ(t.text.width, 80);
    EXPECT_EQ(t.text.height, 20);
    EXPECT_EQ(t.text.show_not_symbol, 1);
    EXPECT_EQ(t.text.opacity, 0.25);
}

TEST_F(TextItemTest, BoxedTextFillsAndOutlinesTheBoxThatGetBBReports)
{
    KGRText* t = makeText("20", "50", "Station KGR1");
    ASSERT_EQ(t->configure("justification", "nwb", "background", "yellow", "outline", "blue",
                           static_cast<char*>(nullptr)),
              0);
    QImage image = shot();
    double x = -1, y = -1;
    int w = -1, h = -1;
    t->getBB(&x, &y, &w, &h);
    EXPECT_EQ(x, 20.0);
    EXPECT_EQ(y, 50.0);
    EXPECT_EQ(t->text.x, 20.0);
    EXPECT_EQ(t->text.y, 50.0);
    // The box is the text's measure plus 10 pixels of padding.
    EXPECT_EQ(w, boxWidth(*t));
    EXPECT_EQ(h, boxHeight(*t));
    // Box mode with a north-west code hangs the box from the anchor.
    QPoint c = widgetPoint(20, 50);
    ASSERT_NE(t->text.path, nullptr);
    EXPECT_EQ(t->text.path->boundingRect(), QRectF(c.x(), c.y(), w, h));

    // Outline along the four sides, fill inside the padding, white outside.
    EXPECT_EQ(image.pixel(c.x() + w / 2, c.y()), blue);
    EXPECT_EQ(image.pixel(c.x() + w / 2, c.y() + h), blue);
    EXPECT_EQ(image.pixel(c.x(), c.y() + h / 2), blue);
    EXPECT_EQ(image.pixel(c.x() + w, c.y() + h / 2), blue);
    EXPECT_EQ(image.pixel(c.x() + 2, c.y() + 2), yellow);
    EXPECT_EQ(image.pixel(c.x() + w - 2, c.y() + h - 2), yellow);
    EXPECT_EQ(image.pixel(c.x() - 2, c.y() - 2), white);
    EXPECT_EQ(image.pixel(c.x() + w + 2, c.y() + h + 2), white);
    // The text itself is inside the box: no ink outside it.
    QRect outside(0, 0, 300, c.y() - 1);
    EXPECT_EQ(countPixels(image, white, outside), outside.width() * outside.height());
}

TEST_F(TextItemTest, FixedWidthAndHeightReplaceTheMeasure)
{
    KGRText* t = makeText("10", "10", "A");
    ASSERT_EQ(t->configure("justification", "nwb", "background", "yellow", "width", "120", "height",
                           "40", static_cast<char*>(nullptr)),
              0);
    drawOnce(*t);
    double x, y;
    int w, h;
    t->getBB(&x, &y, &w, &h);
    EXPECT_EQ(w, 120);
    EXPECT_EQ(h, 40);
}

TEST_F(TextItemTest, NotSymbolStrokeIsARedDiagonalAcrossTheBox)
{
    KGRText* t = makeText("20", "50", "Grid");
    ASSERT_EQ(
        t->configure("justification", "nwb", "background", "white", static_cast<char*>(nullptr)),
        0);
    QImage plain = drawOnce(*t);
    ASSERT_EQ(t->configure("show_not_symbol", "yes", static_cast<char*>(nullptr)), 0);
    QImage struck = drawOnce(*t);
    double x, y;
    int w, h;
    t->getBB(&x, &y, &w, &h);
    QPoint c = widgetPoint(20, 50);
    // Points of the diagonal inside the padding, clear of the letters.
    int reds = 0, plainReds = 0;
    for (double f : {0.04, 0.08, 0.92, 0.96}) {
        int px = static_cast<int>(std::lround(c.x() + f * w));
        int py = static_cast<int>(std::lround(c.y() + f * h));
        reds += reddish(struck.pixel(px, py));
        plainReds += reddish(plain.pixel(px, py));
    }
    EXPECT_EQ(reds, 4);
    EXPECT_EQ(plainReds, 0);
    // Nothing red off the diagonal: the other diagonal's corner.
    EXPECT_FALSE(reddish(struck.pixel(c.x() + w - 3, c.y() + 3)));
}

TEST_F(TextItemTest, RotatedTextKeepsTheBoxOutputsButDropsThePath)
{
    KGRText* t = makeText("30", "40", "Rotated");
    ASSERT_EQ(t->configure("justification", "nwb", "outline", "blue", static_cast<char*>(nullptr)),
              0);
    drawOnce(*t);
    ASSERT_NE(t->text.path, nullptr);
    double x0, y0;
    int w0, h0;
    t->getBB(&x0, &y0, &w0, &h0);

    ASSERT_EQ(t->configure("angle", "30", static_cast<char*>(nullptr)), 0);
    free(t->text.xpos);
    t->text.xpos = strdup("100");
    QImage image = drawOnce(*t);
    EXPECT_EQ(t->text.path, nullptr);
    double x, y;
    int w, h;
    t->getBB(&x, &y, &w, &h);
    EXPECT_EQ(x, x0);
    EXPECT_EQ(y, y0);
    EXPECT_EQ(w, w0);
    EXPECT_EQ(h, h0);
    // The position itself was resolved anew, and the text drawn without a box.
    EXPECT_EQ(t->text.x, 100.0);
    EXPECT_EQ(countPixels(image, blue), 0);
    EXPECT_LT(countPixels(image, white), 300 * 200);
}

TEST_F(TextItemTest, OpacityAppliesUnlessSelected)
{
    KGRText* t = makeText("20", "50", "Dim");
    ASSERT_EQ(t->configure("justification", "nwb", "background", "black", "opacity", "0.5",
                           static_cast<char*>(nullptr)),
              0);
    double opacity = 0;
    QImage dim = drawOnce(*t, 1.0, &opacity);
    EXPECT_EQ(opacity, 0.5);
    QPoint c = widgetPoint(20, 50);
    QRgb p = dim.pixel(c.x() + 2, c.y() + 2);
    EXPECT_NEAR(qRed(p), 128, 2);

    t->text.select = 1;
    QImage bright = drawOnce(*t, 1.0, &opacity);
    EXPECT_EQ(opacity, 1.0);
    EXPECT_EQ(bright.pixel(c.x() + 2, c.y() + 2), qRgb(0, 0, 0));
}

TEST_F(TextItemTest, OpacityOfOneLeavesThePaintersOpacity)
{
    KGRText* t = makeText("20", "50", "Plain");
    double opacity = 0;
    drawOnce(*t, 0.3, &opacity);
    EXPECT_EQ(opacity, 0.3);
}

TEST_F(TextItemTest, AFailingPositionDrawsNothingAndKeepsThePath)
{
    KGRText* t = makeText("20", "50", "Kept");
    ASSERT_EQ(
        t->configure("justification", "nwb", "background", "yellow", static_cast<char*>(nullptr)),
        0);
    drawOnce(*t);
    QPainterPath* before = t->text.path;
    ASSERT_NE(before, nullptr);
    free(t->text.ypos);
    t->text.ypos = strdup("12px");
    QImage image = drawOnce(*t);
    EXPECT_EQ(t->text.path, before);
    EXPECT_EQ(countPixels(image, white), 300 * 200);
    hx_clear_register(0);
}

TEST_F(TextItemTest, RelativePositionsReadTheOtherTextsBox)
{
    KGRText* first = makeText("20", "50", "First");
    ASSERT_EQ(first->configure("justification", "nwb", static_cast<char*>(nullptr)), 0);
    drawOnce(*first);
    double bx, by;
    int bw, bh;
    first->getBB(&bx, &by, &bw, &bh);
    KGRText* second = makeText("1r", "0r", "Second");
    ASSERT_EQ(
        second->configure("relative", reinterpret_cast<char*>(first), static_cast<char*>(nullptr)),
        0);
    drawOnce(*second);
    EXPECT_EQ(second->text.x, bx + bw);
    EXPECT_EQ(second->text.y, by);
}

TEST_F(TextItemTest, EmptyTextWritesNoBox)
{
    KGRText* t = makeText("20", "50", "");
    ASSERT_EQ(t->configure("background", "yellow", static_cast<char*>(nullptr)), 0);
    QImage image = drawOnce(*t);
    EXPECT_EQ(t->text.path, nullptr);
    EXPECT_EQ(countPixels(image, white), 300 * 200);
}

TEST_F(TextItemTest, PaintsIntoItsLayerOnlyWhenStale)
{
    // Items first: the layer lies above the items that paint into it.
    KGRText* t = makeText("20", "50", "Layered");
    KGRLayer layer(&vp);
    ASSERT_EQ(
        t->configure("justification", "nwb", "background", "yellow", static_cast<char*>(nullptr)),
        0);
    t->setLayer(&layer);
    EXPECT_EQ(t->text.layer, &layer);
    // The text sizes the layer and paints into it; the layer shows it in
    // the same frame.
    QImage first = shot();
    ASSERT_NE(layer.layer.pixmap, nullptr);
    EXPECT_EQ(layer.layer.stale, 0);
    QImage buffer = layer.layer.pixmap->toImage().convertToFormat(QImage::Format_ARGB32);
    QPoint c = widgetPoint(20, 50);
    EXPECT_EQ(buffer.pixel(c.x() + 2, c.y() + 2), qRgba(255, 255, 0, 255));
    EXPECT_EQ(first.pixel(c.x() + 2, c.y() + 2), yellow);
    // Shown again without painting.
    QPainterPath* path = t->text.path;
    QImage second = shot();
    EXPECT_EQ(t->text.path, path);
    EXPECT_EQ(second.pixel(c.x() + 2, c.y() + 2), yellow);

    // Not stale: the buffer is left alone.
    layer.layer.stale = 0;
    layer.layer.pixmap->fill(Qt::transparent);
    QPaintEvent paint(QRect(0, 0, 300, 200));
    QApplication::sendEvent(t, &paint);
    buffer = layer.layer.pixmap->toImage().convertToFormat(QImage::Format_ARGB32);
    EXPECT_EQ(qAlpha(buffer.pixel(c.x() + 2, c.y() + 2)), 0);
}

TEST_F(TextItemTest, DebugTracesNameTheTextAndItsLayer)
{
    KGRLayer layer(&vp);
    KGRText* t = makeText("20", "50", "Traced");
    HX_SetName("label", "KGRText", t);
    HX_SetName("labels", "KGRLayer", &layer);
    t->debug = 1;
    t->resize(300, 200);
    QImage sink(300, 200, QImage::Format_ARGB32);
    testing::internal::CaptureStdout();
    t->render(&sink);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Painting text label.\n");

    vp.viewport.w = 300;
    vp.viewport.h = 200;
    t->setLayer(&layer);
    QPaintEvent paint(QRect(0, 0, 300, 200));
    testing::internal::CaptureStdout();
    QApplication::sendEvent(t, &paint);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Painting text label to layer labels.\n");
    HX_UnsetObject(&layer);
}

// ------------------------------------------------------- special symbols

TEST(KgrqtSpecialSymbol, SameNameAndSizeGiveTheSamePixmap)
{
    hx_clear_register(0);
    QPixmap* first = KGRText::specialSymbol(str("not_symbol"), 20);
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(KGRText::specialSymbol(str("not_symbol"), 20), first);
    QPixmap* other = KGRText::specialSymbol(str("not_symbol"), 21);
    ASSERT_NE(other, nullptr);
    EXPECT_NE(other, first);
    EXPECT_EQ(first->size(), QSize(20, 20));
    EXPECT_EQ(other->size(), QSize(21, 21));
    EXPECT_EQ(takeRegister(), "");
}

TEST(KgrqtSpecialSymbol, UnknownNameRegistersBothMessages)
{
    hx_clear_register(0);
    EXPECT_EQ(KGRText::specialSymbol(str("star"), 12), nullptr);
    EXPECT_EQ(takeRegister(), "KGRText::makeSpecialSymbol: unrecognized name 'star'.\n"
                              "KGRText::specialSymbol: makeSpecialSymbol(star,12) error.\n");
    // Not cached: asking again fails again.
    EXPECT_EQ(KGRText::specialSymbol(str("star"), 12), nullptr);
    EXPECT_EQ(hx_register_count(), 2);
    hx_clear_register(0);
}

TEST(KgrqtSpecialSymbol, MakeFillsTheRecord)
{
    KGRTextSpecialSymbol* s = KGRText::makeSpecialSymbol(str("not_symbol"), 30);
    ASSERT_NE(s, nullptr);
    EXPECT_STREQ(s->name, "not_symbol");
    EXPECT_EQ(s->size, 30);
    EXPECT_EQ(s->width, 30);
    EXPECT_EQ(s->height, 30);
    ASSERT_NE(s->pixmap, nullptr);
    EXPECT_EQ(s->pixmap->size(), QSize(30, 30));
    delete s->pixmap;
    free(s->name);
    free(s);
}

TEST(KgrqtSpecialSymbol, NotSymbolIsARedProhibitionSign)
{
    const int size = 40;
    QImage image = KGRText::specialSymbol(str("not_symbol"), size)
                       ->toImage()
                       .convertToFormat(QImage::Format_ARGB32);
    auto redAt = [&](double x, double y) {
        QRgb p = image.pixel(static_cast<int>(x), static_cast<int>(y));
        return qAlpha(p) > 60 && qRed(p) > 200 && qGreen(p) < 60 && qBlue(p) < 60;
    };
    // The corners and the other diagonal are transparent.
    for (QPoint p : {QPoint(0, 0), QPoint(39, 0), QPoint(0, 39), QPoint(39, 39), QPoint(28, 12),
                     QPoint(12, 28)})
        EXPECT_EQ(qAlpha(image.pixel(p)), 0) << p.x() << "," << p.y();
    // The circle, sampled at its left, right, top and bottom.
    EXPECT_TRUE(redAt(0.5, size / 2.0));
    EXPECT_TRUE(redAt(size - 1, size / 2.0));
    EXPECT_TRUE(redAt(size / 2.0, 0.5));
    EXPECT_TRUE(redAt(size / 2.0, size - 1));
    // The diagonal through the centre, ending on the circle.
    const double d = size * (1 - std::cos(M_PI / 4)) / 2;
    for (double f : {0.1, 0.3, 0.5, 0.7, 0.9}) {
        double t = d + f * (size - 2 * d);
        EXPECT_TRUE(redAt(t, t)) << f;
    }
    // The diagonal stops at the circle: nothing beyond it near the corner.
    EXPECT_EQ(qAlpha(image.pixel(2, 2)), 0);
}
