// The axes item: options and their messages, box sides, tic styles, tic
// labels on linear, logarithmic and time axes, and maps.
#include "capture.h"
#include "kgrqt.h"
#include "register.h"
#include "render.h"

#include <QFontMetrics>
#include <QGridLayout>
#include <QImage>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <string>

namespace {

const char* const kEnd = nullptr;
const QRgb kWhite = qRgb(255, 255, 255);
const QRgb kRed = qRgb(255, 0, 0);

std::string printed(KGRConfigure& item, const char* option)
{
    char* s = item.printConfigValue(option);
    std::string out = s ? s : "(null)";
    free(s);
    return out;
}

bool isRed(QRgb p)
{
    return p == kRed;
}

bool isGreenish(QRgb p)
{
    return qGreen(p) > qRed(p) + 40 && qGreen(p) > qBlue(p) + 40;
}

bool isBluish(QRgb p)
{
    return qBlue(p) > qRed(p) + 40 && qBlue(p) > qGreen(p) + 40;
}

template <class Pred> int countWhere(const QImage& image, Pred pred, QRect rect = QRect())
{
    if (rect.isNull())
        rect = image.rect();
    int n = 0;
    for (int y = rect.top(); y <= rect.bottom(); ++y)
        for (int x = rect.left(); x <= rect.right(); ++x)
            n += image.valid(x, y) && pred(image.pixel(x, y));
    return n;
}

template <class Pred> QRect boxWhere(const QImage& image, Pred pred, QRect rect)
{
    QRect box;
    for (int y = rect.top(); y <= rect.bottom(); ++y)
        for (int x = rect.left(); x <= rect.right(); ++x)
            if (image.valid(x, y) && pred(image.pixel(x, y)))
                box |= QRect(x, y, 1, 1);
    return box;
}

// A 480 x 370 viewport with margins left 60, right 20, bottom 50, top 20:
// the plot frame is 400 x 300, its lower-left corner at widget (60, 320).
// World 0..10 both ways. Box and tics red, tic labels green, axis labels
// blue, so that each part can be told apart.
class AxesTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        hx_clear_register(0);
        vp.resize(480, 370);
        ASSERT_EQ(vp.configure("fill", "white", "fill_frame", "white", "margin", "60 20 50 20",
                               "xleft", "0", "xright", "10", "ybottom", "0", "ytop", "10", kEnd),
                  0)
            << takeRegister();
        axes = new KGRAxes(&vp);
        ASSERT_EQ(axes->configure("fill_axes", "red", "fill_numbers", "#00c000", "fill_labels",
                                  "blue", "xfill_time_axes", "red", kEnd),
                  0);
    }
    void TearDown() override
    {
        delete axes;
        hx_clear_register(0);
    }

    QImage render()
    {
        vp.layout->activate();
        return vp.grab().toImage().convertToFormat(QImage::Format_RGB32);
    }

    // Widget pixel of frame fractions.
    static int px(double fx) { return static_cast<int>(std::lround(60 + 400 * fx)); }
    static int py(double fy) { return static_cast<int>(std::lround(320 - 300 * fy)); }

    KGRViewport vp{nullptr};
    KGRAxes* axes = nullptr;
};

} // namespace

TEST_F(AxesTest, Defaults)
{
    EXPECT_EQ(axes->axes.xvisible, 1);
    EXPECT_EQ(axes->axes.yvisible, 1);
    EXPECT_EQ(axes->axes.style, 1);
    EXPECT_EQ(printed(*axes, "linewidth"), "1 1");
    EXPECT_EQ(printed(*axes, "linewidth_small"), "0 0");
    EXPECT_EQ(printed(*axes, "ticlength"), "10.000000 10.000000");
    EXPECT_EQ(printed(*axes, "ticlength_small"), "5.000000 5.000000");
    EXPECT_EQ(printed(*axes, "xticlength"), "10.000000");
    EXPECT_EQ(printed(*axes, "yticlength_small"), "5.000000");
    EXPECT_EQ(printed(*axes, "linewidth_box"), "1");
    EXPECT_EQ(printed(*axes, "mindx"), "200");
    EXPECT_EQ(printed(*axes, "mindy"), "100");
    EXPECT_EQ(printed(*axes, "xformat"), "auto");
    EXPECT_EQ(printed(*axes, "yformat"), "auto");
    EXPECT_EQ(printed(*axes, "axis_style"), "nsew");
    EXPECT_EQ(printed(*axes, "tic_style"), "nisieiwi");
    EXPECT_EQ(printed(*axes, "xtime_format"), "%T");
    EXPECT_EQ(printed(*axes, "xdate_format"), "%G");
    EXPECT_EQ(printed(*axes, "font_labels").rfind("Helvetica 16", 0), 0u);
    EXPECT_EQ(printed(*axes, "font_numbers").rfind("Helvetica 12", 0), 0u);
    EXPECT_EQ(printed(*axes, "font_numbers_superscripts").rfind("Helvetica 8", 0), 0u);
    EXPECT_EQ(axes->axes.x_label, nullptr);
    EXPECT_STREQ(axes->class_name, "KGRAxes");
}

TEST_F(AxesTest, LinewidthSetsBothMajorWidths)
{
    ASSERT_EQ(axes->configure("linewidth", "2", kEnd), 0);
    EXPECT_EQ(axes->axes.xwidth_big, 2);
    EXPECT_EQ(axes->axes.ywidth_big, 2);
    ASSERT_EQ(axes->configure("xlinewidth_small", "3", "ylinewidth", "4", kEnd), 0);
    EXPECT_EQ(axes->axes.xwidth_sml, 3);
    EXPECT_EQ(axes->axes.ywidth_big, 4);
    EXPECT_EQ(axes->axes.xwidth_big, 2);
}

TEST_F(AxesTest, LinewidthReadsAnyIntegerBase)
{
    ASSERT_EQ(axes->configure("linewidth", "0x3", kEnd), 0);
    EXPECT_EQ(axes->axes.xwidth_big, 3);
    ASSERT_EQ(axes->configure("linewidth_small", "010", kEnd), 0);
    EXPECT_EQ(axes->axes.ywidth_sml, 8);
}

TEST_F(AxesTest, BadLinewidthKeepsTheNumberReadInTheFirstField)
{
    ASSERT_EQ(axes->configure("linewidth", "5", kEnd), 0);
    EXPECT_EQ(axes->configure("linewidth", "2x", kEnd), -1);
    EXPECT_NE(takeRegister().find("axes_parse_linewidth: Illegal linewidth value 2x\n"),
              std::string::npos);
    EXPECT_EQ(axes->axes.xwidth_big, 2);
    EXPECT_EQ(axes->axes.ywidth_big, 5);
}

TEST_F(AxesTest, EmptyValuesChangeNothing)
{
    ASSERT_EQ(axes->configure("linewidth", "", "ticlength", "", kEnd), 0);
    EXPECT_EQ(axes->axes.xwidth_big, 1);
    EXPECT_EQ(axes->axes.xticlength_big, 10.0);
}

TEST_F(AxesTest, TiclengthMessagesKeepTheirSpelling)
{
    EXPECT_EQ(axes->configure("ticlength", "long", kEnd), -1);
    EXPECT_NE(takeRegister().find("Illegal ticlength value long\n"), std::string::npos);
    EXPECT_EQ(axes->configure("ticlength_small", "7q", kEnd), -1);
    EXPECT_NE(takeRegister().find("Illegal ticlengthidth value 7q\n"), std::string::npos);
    EXPECT_EQ(axes->configure("yticlength", "abc", kEnd), -1);
    EXPECT_NE(takeRegister().find("Illegal ticlength value abc\n"), std::string::npos);
    ASSERT_EQ(axes->configure("ticlength_small", "2.5", kEnd), 0);
    EXPECT_EQ(axes->axes.xticlength_sml, 2.5);
    EXPECT_EQ(axes->axes.yticlength_sml, 2.5);
}

TEST_F(AxesTest, ChangedValuesMarkTheOption)
{
    HX_ConfigureSpec* spec = axes->findSpec("xticlength");
    ASSERT_NE(spec, nullptr);
    spec->specFlags &= ~HX_CONFIGURE_CHANGED;
    ASSERT_EQ(axes->configure("xticlength", "10", kEnd), 0);
    EXPECT_FALSE(spec->specFlags & HX_CONFIGURE_CHANGED);
    ASSERT_EQ(axes->configure("xticlength", "12", kEnd), 0);
    EXPECT_TRUE(spec->specFlags & HX_CONFIGURE_CHANGED);
    spec->specFlags &= ~HX_CONFIGURE_CHANGED;
}

TEST_F(AxesTest, FullBoxAndInwardTics)
{
    ASSERT_EQ(axes->configure("xformat", "none", "yformat", "none", kEnd), 0);
    QImage image = render();
    // The four sides.
    EXPECT_TRUE(isRed(image.pixel(px(0.125), py(0))));
    EXPECT_TRUE(isRed(image.pixel(px(0.125), py(1))));
    EXPECT_TRUE(isRed(image.pixel(px(0), py(0.1))));
    EXPECT_TRUE(isRed(image.pixel(px(1), py(0.1))));
    // x tics every 2.5 (at most two 200-pixel steps over 400 pixels: the
    // nice step is 2.5), 10 pixels in from the bottom and top.
    for (double f : {0.25, 0.5, 0.75}) {
        EXPECT_TRUE(isRed(image.pixel(px(f), py(0) - 5))) << f;
        EXPECT_TRUE(isRed(image.pixel(px(f), py(1) + 5))) << f;
        EXPECT_FALSE(isRed(image.pixel(px(f), py(0) - 15))) << f;
        EXPECT_FALSE(isRed(image.pixel(px(f), py(0) + 3))) << f;
    }
    // Minor tics every 0.5, 5 pixels long.
    EXPECT_TRUE(isRed(image.pixel(px(0.05), py(0) - 3)));
    EXPECT_FALSE(isRed(image.pixel(px(0.05), py(0) - 7)));
    // y tics at 2.5 on both sides.
    EXPECT_TRUE(isRed(image.pixel(px(0) + 5, py(0.25))));
    EXPECT_TRUE(isRed(image.pixel(px(1) - 5, py(0.25))));
    EXPECT_EQ(axes->axes.tic_style_south, 'i');
    EXPECT_EQ(axes->axes.tic_style_west, 'i');
}

TEST_F(AxesTest, EmptyAxisStyleDrawsNoBox)
{
    ASSERT_EQ(axes->configure("axis_style", "", "tic_style", "", "xformat", "none", "yformat",
                              "none", kEnd),
              0);
    EXPECT_EQ(countWhere(render(), isRed), 0);
}

TEST_F(AxesTest, SouthWestDrawsOnlyBottomAndLeftIgnoringOtherLetters)
{
    for (const char* style : {"sw", "wsq", "s?w"}) {
        SCOPED_TRACE(style);
        ASSERT_EQ(axes->configure("axis_style", style, "tic_style", "", "xformat", "none",
                                  "yformat", "none", kEnd),
                  0);
        QImage image = render();
        EXPECT_TRUE(isRed(image.pixel(px(0.4), py(0))));
        EXPECT_TRUE(isRed(image.pixel(px(0), py(0.4))));
        EXPECT_FALSE(isRed(image.pixel(px(0.4), py(1))));
        EXPECT_FALSE(isRed(image.pixel(px(1), py(0.4))));
    }
}

TEST_F(AxesTest, NegativeBoxWidthStillDrawsTics)
{
    ASSERT_EQ(axes->configure("linewidth_box", "-1", "xformat", "none", "yformat", "none", kEnd),
              0);
    QImage image = render();
    EXPECT_FALSE(isRed(image.pixel(px(0.125), py(0))));
    EXPECT_FALSE(isRed(image.pixel(px(0), py(0.125))));
    EXPECT_TRUE(isRed(image.pixel(px(0.25), py(0) - 5)));
    EXPECT_TRUE(isRed(image.pixel(px(0) + 5, py(0.25))));
}

TEST_F(AxesTest, OutwardNorthAndCentredSouthTics)
{
    ASSERT_EQ(axes->configure("tic_style", "nosc", "xformat", "none", "yformat", "none", kEnd), 0);
    QImage image = render();
    const int x = px(0.25);
    EXPECT_TRUE(isRed(image.pixel(x, py(1) - 5)));  // outward: above the top
    EXPECT_FALSE(isRed(image.pixel(x, py(1) + 5))); // not inward
    EXPECT_TRUE(isRed(image.pixel(x, py(0) + 4)));  // centred: both sides
    EXPECT_TRUE(isRed(image.pixel(x, py(0) - 4)));
    EXPECT_FALSE(isRed(image.pixel(x, py(0) - 7)));
    // No tics on east and west.
    EXPECT_FALSE(isRed(image.pixel(px(0) + 5, py(0.25))));
    EXPECT_FALSE(isRed(image.pixel(px(1) - 5, py(0.25))));
    EXPECT_EQ(axes->axes.tic_style_north, 'o');
    EXPECT_EQ(axes->axes.tic_style_south, 'c');
}

TEST_F(AxesTest, UnknownFirstDirectionDrawsNoTics)
{
    ASSERT_EQ(axes->configure("tic_style", "nxsiei", "xformat", "none", "yformat", "none", kEnd),
              0);
    QImage image = render();
    EXPECT_FALSE(isRed(image.pixel(px(0.25), py(0) - 5)));
    EXPECT_FALSE(isRed(image.pixel(px(0.25), py(1) + 5)));
    EXPECT_FALSE(isRed(image.pixel(px(1) - 5, py(0.25))));
    EXPECT_TRUE(isRed(image.pixel(px(0.125), py(0)))); // the box is there
}

TEST_F(AxesTest, XLabelsSitUnderTheirTics)
{
    QImage image = render();
    QFont font("Helvetica");
    font.setPointSize(12);
    QFontMetrics fm(font);
    // "5" at fraction 0.5: anchored "n" at 8 pixels below the frame.
    const int w = fm.boundingRect("5").width();
    const int x = static_cast<int>(std::floor(px(0.5) - 0.5 * w + 0.5));
    const int y = py(0) + 8 + fm.ascent();
    QRect want = fm.tightBoundingRect("5").translated(x, y);
    QRect got = boxWhere(image, isGreenish, want.adjusted(-6, -6, 6, 6));
    ASSERT_FALSE(got.isNull());
    EXPECT_NEAR(got.center().x(), want.center().x(), 1);
    EXPECT_NEAR(got.top(), want.top(), 1);
    // "2.5" and "7.5" too, and the y labels left of the frame.
    EXPECT_GT(countWhere(image, isGreenish, QRect(px(0.25) - 15, py(0) + 6, 30, 20)), 0);
    EXPECT_GT(countWhere(image, isGreenish, QRect(px(0) - 40, py(0.75) - 8, 32, 16)), 0);
}

TEST_F(AxesTest, OutwardTicsPushTheLabelsAway)
{
    ASSERT_EQ(axes->configure("tic_style", "sowo", kEnd), 0);
    QImage image = render();
    // The gap is trunc(10 + 5.5) = 15 pixels instead of 8.
    QRect below = boxWhere(image, isGreenish, QRect(px(0.5) - 10, py(0), 20, 40));
    ASSERT_FALSE(below.isNull());
    EXPECT_GE(below.top(), py(0) + 15);
}

TEST_F(AxesTest, AxisLabels)
{
    ASSERT_EQ(axes->configure("xlabel", "Time", "ylabel", "Counts", kEnd), 0);
    QImage image = render();
    // x label: "s" at 10 pixels above the bottom of the whole viewport.
    QRect x = boxWhere(image, isBluish, QRect(60, 330, 400, 40));
    ASSERT_FALSE(x.isNull());
    EXPECT_NEAR(x.center().x(), px(0.5), 3);
    EXPECT_LE(x.bottom(), 370 - 10);
    // y label: read upwards, 10 pixels from the left edge.
    QRect y = boxWhere(image, isBluish, QRect(0, 20, 40, 300));
    ASSERT_FALSE(y.isNull());
    EXPECT_GT(y.height(), y.width());
    EXPECT_NEAR(y.center().y(), py(0.5), 3);
    EXPECT_GE(y.left(), 9);
}

TEST_F(AxesTest, LogarithmicDecadesGetSuperscriptExponents)
{
    ASSERT_EQ(vp.configure("ymode", "log", "ybottom", "1", "ytop", "1000", kEnd), 0);
    QImage image = render();
    // Decades at fractions 0, 1/3, 2/3 and 1, each a "10" ending 18 pixels
    // left of the frame and a smaller exponent just right of it.
    for (double f : {1.0 / 3, 2.0 / 3}) {
        const int y = py(f);
        QRect ten = boxWhere(image, isGreenish, QRect(0, y - 12, px(0) - 18, 24));
        QRect power = boxWhere(image, isGreenish, QRect(px(0) - 17, y - 16, 17, 32));
        ASSERT_FALSE(ten.isNull()) << f;
        ASSERT_FALSE(power.isNull()) << f;
        EXPECT_LE(ten.right(), px(0) - 18);
        EXPECT_LT(power.top(), ten.top() + 3) << "superscript raised";
        EXPECT_LT(power.bottom(), ten.bottom() - 2) << "superscript raised";
    }
    // Minor tics at 2..9 times each decade: 2 is at log10(2)/3 of the frame.
    EXPECT_GT(countWhere(image, isRed, QRect(px(0) + 2, py(std::log10(2.0) / 3) - 1, 2, 3)), 0);
    EXPECT_EQ(countWhere(image, isRed, QRect(px(0) + 2, py(0.05) - 1, 2, 3)), 0);
}

TEST_F(AxesTest, TimeAxisTicsAndLabelsFollowTheCalendar)
{
    // The ten days from 2026-02-25: tics every two days at even epoch days.
    const double start = 1771977600, end = start + 864000;
    char left[32], right[32];
    snprintf(left, sizeof left, "%.0f", start);
    snprintf(right, sizeof right, "%.0f", end);
    ASSERT_EQ(vp.configure("xmode", "time", "xleft", left, "xright", right, kEnd), 0);
    ASSERT_EQ(axes->configure("xformat", "time", kEnd), 0);
    QImage image = render();
    for (double t : {1772064000.0, 1772236800.0, 1772409600.0, 1772582400.0, 1772755200.0}) {
        const int x = px((t - start) / 864000);
        EXPECT_TRUE(isRed(image.pixel(x, py(0) - 5))) << t;
        EXPECT_TRUE(isRed(image.pixel(x, py(1) + 5))) << t;
        EXPECT_GT(countWhere(image, isGreenish, QRect(x - 20, py(0) + 6, 40, 16)), 0) << t;
    }
    // Daily minor tics, 5 pixels long.
    const int minor = px((1772150400.0 - start) / 864000);
    EXPECT_TRUE(isRed(image.pixel(minor, py(0) - 3)));
    EXPECT_FALSE(isRed(image.pixel(minor, py(0) - 7)));
    // The year under the middle.
    EXPECT_GT(countWhere(image, isGreenish, QRect(px(0.5) - 20, py(0) + 20, 40, 16)), 0);
}

TEST_F(AxesTest, EquidistantMapsGetBoxAndLabelsOnly)
{
    ASSERT_EQ(vp.configure("wtran", "edp", "latr", "0", "lonr", "0", "xleft", "-90", "xright", "90",
                           "ybottom", "-90", "ytop", "90", kEnd),
              0);
    ASSERT_EQ(axes->configure("xlabel", "East", kEnd), 0);
    QImage image = render();
    EXPECT_EQ(countWhere(image, isGreenish), 0);
    EXPECT_GT(countWhere(image, isBluish), 0);
    // Only the box is red: rows of the top and bottom sides, columns of the
    // left and right ones.
    EXPECT_TRUE(isRed(image.pixel(px(0.3), py(0))));
    int off = countWhere(image, [&](QRgb p) { return isRed(p); });
    int onBox = countWhere(image, isRed, QRect(0, py(0), 480, 1)) +
                countWhere(image, isRed, QRect(0, py(1), 480, 1)) +
                countWhere(image, isRed, QRect(px(0), py(1) + 1, 1, 299)) +
                countWhere(image, isRed, QRect(px(1), py(1) + 1, 1, 299));
    EXPECT_EQ(off, onBox);
}

TEST_F(AxesTest, InvisibleAxesDrawNothing)
{
    ASSERT_EQ(axes->configure("xvisible", "0", "yvisible", "0", kEnd), 0);
    QImage image = render();
    EXPECT_EQ(countWhere(image, [](QRgb p) { return p != kWhite; }), 0);
}

TEST_F(AxesTest, DebugTracesNameTheAxes)
{
    HX_SetName("frame", "KGRAxes", axes);
    axes->debug = 1;
    std::string out = captureFd(1, [&] { render(); });
    EXPECT_NE(out.find("Painting axes frame.\n"), std::string::npos) << out;
    EXPECT_NE(out.find("KGRAxes::draw_box: 400 300 "), std::string::npos) << out;
    HX_UnsetObject(axes);
}

TEST_F(AxesTest, PaintsIntoALayer)
{
    KGRLayer layer(&vp);
    axes->setLayer(&layer);
    ASSERT_EQ(axes->configure("xformat", "none", "yformat", "none", kEnd), 0);
    QImage image = render();
    EXPECT_TRUE(isRed(image.pixel(px(0.125), py(0))));
    EXPECT_TRUE(isRed(layer.layer.pixmap->toImage().pixel(px(0.125), py(0))));
}

TEST_F(AxesTest, HiddenXAxisKeepsBoxAndYAxis)
{
    ASSERT_EQ(axes->configure("xvisible", "0", kEnd), 0);
    QImage image = render();
    EXPECT_TRUE(isRed(image.pixel(px(0.125), py(0))));     // the box
    EXPECT_FALSE(isRed(image.pixel(px(0.25), py(0) - 5))); // no x tics
    EXPECT_TRUE(isRed(image.pixel(px(0) + 5, py(0.25))));  // y tics
    EXPECT_EQ(countWhere(image, isGreenish, QRect(px(0) + 10, py(0) + 2, 400, 48)),
              0);                                                           // no x labels
    EXPECT_GT(countWhere(image, isGreenish, QRect(0, 0, px(0), py(0))), 0); // y labels
}
