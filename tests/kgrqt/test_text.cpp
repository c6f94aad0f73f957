// Text drawing: justification codes, measuring, anchored, boxed, rotated and
// world-point text. Positions are checked against boxes worked out from
// QFontMetrics, never against glyph shapes.
#include "kgrqt.h"
#include "register.h"
#include "render.h"
#include "viewport_record.h"

#include <QFontInfo>
#include <QFontMetrics>
#include <QImage>
#include <QPainter>
#include <QPainterPath>

#include <gtest/gtest.h>

#include <cmath>
#include <memory>

namespace {

// A plain record of a 300 x 200 viewport with margins left 40, right 10,
// top 20, bottom 30: the plot frame is 250 x 150 pixels from (40, 20).
KgrviewportItem frameRecord()
{
    return viewportRecord(300, 200, 40, 10, 30, 20, 0.0, 10.0, 0.0, 100.0);
}

QImage blankImage()
{
    QImage image(300, 200, QImage::Format_RGB32);
    image.fill(Qt::white);
    return image;
}

// Smallest rectangle holding every pixel darker than mid-grey in any
// channel sense (text ink); a null rectangle when there is none.
QRect inkBox(const QImage& image, QRgb ignore = qRgb(255, 255, 255))
{
    QRect box;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x) {
            QRgb p = image.pixel(x, y);
            if (p != ignore && qGray(p) < 128)
                box |= QRect(x, y, 1, 1);
        }
    return box;
}

QFont testFont()
{
    QFont font("Helvetica");
    font.setPixelSize(20);
    return font;
}

// Where text drawn with its baseline starting at (x, y) puts its ink.
QRect expectedInk(const QFont& font, const char* text, int x, int y)
{
    return QFontMetrics(font).tightBoundingRect(QString::fromUtf8(text)).translated(x, y);
}

void expectNear(const QRect& got, const QRect& want, int tolerance = 1)
{
    EXPECT_NEAR(got.left(), want.left(), tolerance) << "left";
    EXPECT_NEAR(got.top(), want.top(), tolerance) << "top";
    EXPECT_NEAR(got.right(), want.right(), tolerance) << "right";
    EXPECT_NEAR(got.bottom(), want.bottom(), tolerance) << "bottom";
}

} // namespace

TEST(Fonts, HelveticaResolvesToDejaVuSans)
{
    EXPECT_EQ(QFontInfo(QFont("Helvetica")).family(), "DejaVu Sans");
}

TEST(Justification, CompassCodes)
{
    struct Case {
        const char* code;
        double jx, jy;
    } cases[] = {
        {"ne", 1.0, 1.0}, {"n", 0.5, 1.0},  {"nw", 0.0, 1.0},  {"c", 0.5, 0.5},  {"e", 1.0, 0.5},
        {"w", 0.0, 0.5},  {"se", 1.0, 0.0}, {"s", 0.5, 0.0},   {"sw", 0.0, 0.0}, {"x", 0.0, 0.0},
        {"", 0.0, 0.0},   {"cb", 0.5, 0.5}, {"swb", 0.0, 0.0}, {"nx", 0.5, 1.0}, {"ew", 1.0, 0.5},
    };
    for (const Case& c : cases) {
        double jx = -1, jy = -1;
        EXPECT_EQ(kgrqt_parse_justification(const_cast<char*>(c.code), &jx, &jy), 0);
        EXPECT_EQ(jx, c.jx) << c.code;
        EXPECT_EQ(jy, c.jy) << c.code;
    }
    double jx = -1, jy = -1;
    kgrqt_parse_justification(nullptr, &jx, &jy);
    EXPECT_EQ(jx, 0.0);
    EXPECT_EQ(jy, 0.0);
}

TEST(TextMetrics, WidthAndAscent)
{
    QFont font = testFont();
    QFontMetrics fm(font);
    int w = 0, h = 0;
    char text[] = "Tgy 12";
    kgrqt_get_metrics(font, text, &w, &h);
    EXPECT_EQ(w, fm.boundingRect("Tgy 12").width());
    EXPECT_EQ(h, fm.ascent());
    int sw = 0, sh = 0, asc = 0, desc = 0;
    kgrqt_fontmetrics(font, text, &sw, &sh, &asc, &desc);
    EXPECT_EQ(sw, fm.boundingRect("Tgy 12").width());
    EXPECT_EQ(sh, fm.boundingRect("Tgy 12").height());
    EXPECT_EQ(asc, fm.ascent());
    EXPECT_EQ(desc, fm.descent());
}

TEST(TextSetup, FontAndPen)
{
    QImage image = blankImage();
    QPainter painter(&image);
    QFont font = testFont();
    kgrqt_setup_text(painter, QColor(Qt::red), font);
    EXPECT_EQ(painter.font().pixelSize(), 20);
    EXPECT_EQ(painter.pen().color(), QColor(Qt::red));
}

// kgrqt_draw_text: the anchor at frame (100, 50) is widget pixel
// (40 + 100, 200 - 50 - 30) = (140, 120).
class DrawTextTest : public ::testing::Test {
protected:
    QRect draw(const char* just, double angle = 0.0, const char* text = "HEH")
    {
        QImage image = blankImage();
        {
            QPainter painter(&image);
            kgrqt_setup_text(painter, Qt::black, font);
            kgrqt_draw_text(painter, &vp, font, 100, 50, const_cast<char*>(just), angle,
                            const_cast<char*>(text));
        }
        last = image;
        return inkBox(image);
    }
    // Baseline start for a justification, from the metrics.
    QRect expected(double jx, double jy, const char* text = "HEH")
    {
        QFontMetrics fm(font);
        double w = fm.boundingRect(text).width() * jx, h = fm.ascent() * jy;
        int x = static_cast<int>(std::floor(140 - w + 0.5));
        int y = static_cast<int>(std::floor(120 + h + 0.5));
        return expectedInk(font, text, x, y);
    }

    KgrviewportItem vp = frameRecord();
    QFont font = testFont();
    QImage last;
};

TEST_F(DrawTextTest, EveryJustificationAnchorsAsItsFractionsSay)
{
    struct Case {
        const char* code;
        double jx, jy;
    } cases[] = {{"sw", 0, 0},  {"s", 0.5, 0}, {"se", 1, 0},  {"w", 0, 0.5}, {"c", 0.5, 0.5},
                 {"e", 1, 0.5}, {"nw", 0, 1},  {"n", 0.5, 1}, {"ne", 1, 1},  {"zz", 0, 0}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.code);
        expectNear(draw(c.code), expected(c.jx, c.jy));
    }
}

TEST_F(DrawTextTest, NorthHangsTheCapitalsFromTheAnchor)
{
    // The baseline lies one ascent below the anchor, so the capitals hang
    // from it, never above.
    QRect ink = draw("nw");
    EXPECT_NEAR(ink.bottom(), 119 + QFontMetrics(font).ascent(), 1);
    EXPECT_GE(ink.top(), 120);
    EXPECT_NEAR(ink.left(), 140, 2);
    ink = draw("sw");
    EXPECT_NEAR(ink.bottom(), 119, 1); // baseline on the anchor row
}

TEST_F(DrawTextTest, EmptyOrNullTextDrawsNothing)
{
    EXPECT_TRUE(draw("c", 0.0, "").isNull());
    EXPECT_TRUE(draw("c", 0.0, nullptr).isNull());
}

TEST_F(DrawTextTest, RotatedQuarterTurnRunsDownwards)
{
    // Rotated 90 degrees clockwise the text runs down the screen from the
    // anchor moved by (h s - w c, h c + w s) with s = -1, c = 0.
    QFontMetrics fm(font);
    QRect ink = draw("sw", 90.0);
    ASSERT_FALSE(ink.isNull());
    EXPECT_GT(ink.height(), ink.width());
    QRect tight = fm.tightBoundingRect("HEH");
    // Glyph x (along the baseline) becomes screen y, glyph y becomes -x.
    EXPECT_NEAR(ink.top(), 120 + tight.left(), 1);
    EXPECT_NEAR(ink.bottom(), 120 + tight.right(), 1);
    EXPECT_NEAR(ink.right(), 140 - tight.top() - 1, 1);
    // "ne" moves the anchor by the whole width along the rotated baseline
    // and the ascent across it.
    QRect ne = draw("ne", 90.0);
    int w = fm.boundingRect("HEH").width(), h = fm.ascent();
    EXPECT_NEAR(ne.top(), ink.top() - w, 1);
    EXPECT_NEAR(ne.left(), ink.left() - h, 1);
}

// kgrqt_draw_text2 with the same anchor.
class DrawText2Test : public DrawTextTest {
protected:
    struct Result {
        QImage image;
        QPainterPath* path = nullptr;
        double xbb = -7, ybb = -7;
        int wbb = -7, hbb = -7;
    };

    Result draw2(const char* just, QColor* background, QColor* outline, int notSymbol = 0,
                 double angle = 0.0, int width = 0, int height = 0)
    {
        Result r;
        r.image = blankImage();
        QPainter painter(&r.image);
        QColor black(Qt::black);
        kgrqt_draw_text2(painter, &vp, font, &black, background, outline, 100, 50, width, height,
                         const_cast<char*>(just), angle, const_cast<char*>("HEH"), notSymbol,
                         &r.path, &r.xbb, &r.ybb, &r.wbb, &r.hbb);
        return r;
    }

    // The box and text origin as the layout rules give them.
    struct Layout {
        int ix, iy, ixb, iyb, wb, hb;
    };
    Layout layout(double jx, double jy, bool boxMode, int width = 0, int height = 0)
    {
        QFontMetrics fm(font);
        double w = fm.boundingRect("HEH").width();
        int wb = width > 0 ? width : int(10 + w);
        int hb = height > 0 ? height : int(10 + fm.ascent());
        double h = fm.tightBoundingRect("HEH").height();
        double shiftx = (wb - w) / 2, shifty = hb - (hb - h) / 2;
        auto rnd = [](double v) { return int(v < 0 ? v - 0.5 : v + 0.5); };
        Layout l{};
        l.wb = wb;
        l.hb = hb;
        if (boxMode) {
            l.ixb = rnd(140 - jx * wb);
            l.iyb = rnd(120 + (1 - jy) * hb);
            l.ix = int(l.ixb + shiftx);
            l.iy = int(l.iyb + shifty);
        } else {
            l.ix = rnd(140 - jx * w);
            l.iy = rnd(120 + (1 - jy) * h);
            l.ixb = int(l.ix - shiftx);
            l.iyb = int(l.iy - shifty);
        }
        return l;
    }

    QColor yellow{Qt::yellow};
    QColor blue{Qt::blue};
};

TEST_F(DrawText2Test, TextModeBoxesForEveryJustification)
{
    struct Case {
        const char* code;
        double jx, jy;
    } cases[] = {{"sw", 0, 0},  {"s", 0.5, 0}, {"se", 1, 0},  {"w", 0, 0.5}, {"c", 0.5, 0.5},
                 {"e", 1, 0.5}, {"nw", 0, 1},  {"n", 0.5, 1}, {"ne", 1, 1},  {"cb", 0.5, 0.5}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.code);
        Result r = draw2(c.code, &yellow, nullptr);
        Layout l = layout(c.jx, c.jy, false);
        ASSERT_NE(r.path, nullptr);
        EXPECT_EQ(r.path->boundingRect(), QRectF(l.ixb, l.iyb, l.wb, l.hb));
        // The yellow background fills exactly the box.
        EXPECT_EQ(r.image.pixel(l.ixb, l.iyb), QColor(Qt::yellow).rgb());
        EXPECT_EQ(r.image.pixel(l.ixb + l.wb - 1, l.iyb + l.hb - 1), QColor(Qt::yellow).rgb());
        EXPECT_EQ(r.image.pixel(l.ixb - 1, l.iyb), qRgb(255, 255, 255));
        EXPECT_EQ(r.image.pixel(l.ixb + l.wb, l.iyb + l.hb), qRgb(255, 255, 255));
        expectNear(inkBox(r.image, QColor(Qt::yellow).rgb()), expectedInk(font, "HEH", l.ix, l.iy));
        EXPECT_EQ(r.xbb, 100);
        EXPECT_EQ(r.ybb, 50);
        EXPECT_EQ(r.wbb, l.wb);
        EXPECT_EQ(r.hbb, l.hb);
        delete r.path;
    }
}

TEST_F(DrawText2Test, BoxModeNeedsBAsThirdLetter)
{
    struct Case {
        const char* code;
        double jx, jy;
    } cases[] = {{"swb", 0, 0}, {"ncb", 0.5, 1}, {"neb", 1, 1}, {"cxb", 0.5, 0.5}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.code);
        Result r = draw2(c.code, &yellow, nullptr);
        Layout l = layout(c.jx, c.jy, true);
        ASSERT_NE(r.path, nullptr);
        EXPECT_EQ(r.path->boundingRect(), QRectF(l.ixb, l.iyb, l.wb, l.hb));
        expectNear(inkBox(r.image, QColor(Qt::yellow).rgb()), expectedInk(font, "HEH", l.ix, l.iy));
        delete r.path;
    }
}

TEST_F(DrawText2Test, VerticalSenseIsOppositeToDrawText)
{
    // "n" in boxed text puts the baseline on the anchor: the ink is above.
    Result r = draw2("n", nullptr, nullptr);
    QRect ink = inkBox(r.image);
    EXPECT_LE(ink.bottom(), 120);
    // The same code in kgrqt_draw_text hangs the text below the anchor.
    QRect plain = draw("n");
    EXPECT_GE(plain.top(), 119);
}

TEST_F(DrawText2Test, FixedWidthAndHeightReplaceTheBox)
{
    Result r = draw2("c", &yellow, nullptr, 0, 0.0, 120, 40);
    Layout l = layout(0.5, 0.5, false, 120, 40);
    EXPECT_EQ(r.wbb, 120);
    EXPECT_EQ(r.hbb, 40);
    EXPECT_EQ(r.path->boundingRect(), QRectF(l.ixb, l.iyb, 120, 40));
    delete r.path;
}

TEST_F(DrawText2Test, OutlineOnlyDrawsAFrameWithoutFill)
{
    Result r = draw2("c", nullptr, &blue);
    Layout l = layout(0.5, 0.5, false);
    ASSERT_NE(r.path, nullptr);
    // A one-pixel blue frame; the inside stays white apart from the text.
    EXPECT_EQ(r.image.pixel(l.ixb, l.iyb + l.hb / 2), QColor(Qt::blue).rgb());
    EXPECT_EQ(r.image.pixel(l.ixb + 2, l.iyb + 2), qRgb(255, 255, 255));
    delete r.path;
}

TEST_F(DrawText2Test, BackgroundAndOutline)
{
    Result r = draw2("c", &yellow, &blue);
    Layout l = layout(0.5, 0.5, false);
    EXPECT_EQ(r.image.pixel(l.ixb + l.wb / 2, l.iyb), QColor(Qt::blue).rgb());
    EXPECT_EQ(r.image.pixel(l.ixb + 2, l.iyb + 2), QColor(Qt::yellow).rgb());
    delete r.path;
}

TEST_F(DrawText2Test, NoBoxWithoutBackgroundOrOutline)
{
    Result r = draw2("c", nullptr, nullptr);
    EXPECT_EQ(r.path, nullptr);
    EXPECT_EQ(r.wbb, layout(0.5, 0.5, false).wb);
}

TEST_F(DrawText2Test, NotSymbolStrokeCrossesTheBoxInTranslucentRed)
{
    Result r = draw2("c", nullptr, nullptr, 1);
    Layout l = layout(0.5, 0.5, false);
    // A point on the diagonal away from the glyphs: a quarter of the way.
    int x = l.ixb + l.wb / 8, y = l.iyb + l.hb / 8;
    QColor c(r.image.pixel(x, y));
    EXPECT_GT(c.red(), 200);
    EXPECT_LT(c.green(), 140);
    EXPECT_LT(c.blue(), 140);
    // Translucent: not pure red at its centre.
    EXPECT_GT(c.green(), 0);
    // The opposite corner region off the diagonal stays white.
    EXPECT_EQ(r.image.pixel(l.ixb + l.wb - 3, l.iyb + 2), qRgb(255, 255, 255));
    delete r.path;
}

TEST_F(DrawText2Test, RotatedTextWritesNoOutputsAndNoBox)
{
    QImage image = blankImage();
    QPainter painter(&image);
    painter.setPen(Qt::black);
    painter.setFont(font);
    QColor black(Qt::black);
    QPainterPath* path = reinterpret_cast<QPainterPath*>(0x1);
    double xbb = -7, ybb = -7;
    int wbb = -7, hbb = -7;
    kgrqt_draw_text2(painter, &vp, font, &black, &yellow, &blue, 100, 50, 0, 0,
                     const_cast<char*>("c"), 30.0, const_cast<char*>("HEH"), 1, &path, &xbb, &ybb,
                     &wbb, &hbb);
    painter.end();
    EXPECT_EQ(path, reinterpret_cast<QPainterPath*>(0x1));
    EXPECT_EQ(xbb, -7);
    EXPECT_EQ(ybb, -7);
    EXPECT_EQ(wbb, -7);
    EXPECT_EQ(hbb, -7);
    EXPECT_EQ(countPixels(image, QColor(Qt::yellow).rgb()), 0);
    EXPECT_FALSE(inkBox(image).isNull());
}

TEST_F(DrawText2Test, EmptyTextWritesNothing)
{
    QImage image = blankImage();
    QPainter painter(&image);
    QPainterPath* path = nullptr;
    int wbb = -7;
    kgrqt_draw_text2(painter, &vp, font, nullptr, &yellow, nullptr, 100, 50, 0, 0,
                     const_cast<char*>("c"), 0.0, const_cast<char*>(""), 0, &path, nullptr, nullptr,
                     &wbb, nullptr);
    painter.end();
    EXPECT_EQ(path, nullptr);
    EXPECT_EQ(wbb, -7);
    EXPECT_TRUE(inkBox(image).isNull());
}

// kgrqt_scaletext_draw: world point (2, 40) of a 0..10 x 0..100 frame of
// 250 x 150 is frame pixel (50, 60).
TEST_F(DrawTextTest, WorldPointTextLandsAtTheScaledFrameOffset)
{
    QImage image = blankImage();
    {
        QPainter painter(&image);
        kgrqt_setup_text(painter, Qt::black, font);
        kgrqt_scaletext_draw(painter, &vp, 2.0, 40.0, 5.0, -3.0, font, const_cast<char*>("sw"), 0.0,
                             const_cast<char*>("HEH"));
    }
    // Frame (55, 57) is widget (95, 113).
    expectNear(inkBox(image), expectedInk(font, "HEH", 95, 113));
}

TEST_F(DrawTextTest, WorldPointTextOutsideOrUnsetDrawsNothing)
{
    for (auto pt : {std::pair<double, double>{11.0, 40.0},
                    {2.0, -1.0},
                    {KGR_UNSET, 40.0},
                    {2.0, KGR_UNSET}}) {
        QImage image = blankImage();
        {
            QPainter painter(&image);
            kgrqt_scaletext_draw(painter, &vp, pt.first, pt.second, 0, 0, font,
                                 const_cast<char*>("sw"), 0.0, const_cast<char*>("HEH"));
        }
        EXPECT_TRUE(inkBox(image).isNull()) << pt.first << " " << pt.second;
    }
}

TEST_F(DrawTextTest, WorldPointTextOnALogarithmicAxis)
{
    vp.xmode = KGR_MODE_LOG;
    vp.xleft = 1.0;
    vp.xright = 100.0;
    QImage image = blankImage();
    {
        QPainter painter(&image);
        kgrqt_setup_text(painter, Qt::black, font);
        kgrqt_scaletext_draw(painter, &vp, 10.0, 0.0, 0, 0, font, const_cast<char*>("sw"), 0.0,
                             const_cast<char*>("HEH"));
    }
    // 10 is half-way: frame x 125, widget 165; y at the frame bottom, 170.
    expectNear(inkBox(image), expectedInk(font, "HEH", 165, 170));
}

TEST_F(DrawTextTest, WorldPointTextWithoutScalesDrawsNothing)
{
    vp.w = 40; // narrower than its margins
    QImage image = blankImage();
    {
        QPainter painter(&image);
        kgrqt_scaletext_draw(painter, &vp, 2.0, 40.0, 0, 0, font, const_cast<char*>("sw"), 0.0,
                             const_cast<char*>("HEH"));
    }
    EXPECT_TRUE(inkBox(image).isNull());
}
