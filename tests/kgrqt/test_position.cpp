// Position expressions: pixels, fractions, world values, named edges and
// positions relative to a text item's box.
#include "kgrqt.h"
#include "register.h"
#include "viewport_record.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <string>

namespace {

// A 460 x 300 viewport with margins left 40, right 20, top 30, bottom 30:
// the inner area is 400 x 240; x runs 0..10 and y 1..100 (logarithmic
// when asked).
class PositionTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        hx_clear_register(0);
        vp = viewportRecord(460, 300, 40, 20, 30, 30, 0, 10, 1, 100);
    }
    void TearDown() override { hx_clear_register(0); }

    double x(const char* expr, KGRText* text = nullptr)
    {
        double px = -1, py = -1;
        ret = kgrqt_get_pixels(&vp, expr, "", &px, &py, text);
        EXPECT_EQ(py, 0.0);
        return px;
    }
    double y(const char* expr)
    {
        double px = -1, py = -1;
        ret = kgrqt_get_pixels(&vp, "", expr, &px, &py, nullptr);
        return py;
    }

    KgrviewportItem vp{};
    int ret = 0;
};

} // namespace

TEST_F(PositionTest, FractionsOfTheInnerArea)
{
    EXPECT_EQ(x("0.5v"), 200);
    EXPECT_EQ(ret, 0);
    EXPECT_EQ(y("0.5v"), 120);
    EXPECT_EQ(x("0.25v+10"), 110);
}

TEST_F(PositionTest, NamedEdges)
{
    EXPECT_EQ(x("right"), 400);
    EXPECT_EQ(x("left"), 0);
    EXPECT_EQ(x("fleft"), -40);
    EXPECT_EQ(x("fright"), 460 - 40);
    EXPECT_EQ(y("top"), 240);
    EXPECT_EQ(y("bottom"), 0);
    EXPECT_EQ(y("fbottom"), -30);
    EXPECT_EQ(y("ftop"), 300 - 30);
}

TEST_F(PositionTest, FrameBottomPlusTen)
{
    EXPECT_EQ(y("fbottom+10"), -20);
    EXPECT_EQ(ret, 0);
    EXPECT_EQ(x("fleft+10"), -30);
}

TEST_F(PositionTest, RightMinusTwenty)
{
    EXPECT_EQ(x("right-20"), 380);
    EXPECT_EQ(x("right - 20"), 380);
    EXPECT_EQ(y("bottom-5"), -5);
    EXPECT_EQ(y("bottom-20"), -20);
}

TEST_F(PositionTest, KeywordsOnlyAsFirstTerm)
{
    x("10+right");
    EXPECT_EQ(ret, -1);
    EXPECT_NE(takeRegister().find("kgrqt_GetPixels: Cannot recognize +right\n"), std::string::npos);
}

TEST_F(PositionTest, WorldValues)
{
    EXPECT_EQ(x("2.5d"), 100);
    EXPECT_EQ(x("-2.5d"), -100);
}

TEST_F(PositionTest, WorldValuesOnALogarithmicAxis)
{
    vp.ymode = KGR_MODE_LOG;
    vp.h = 460; // inner height 400, y from 1 to 100
    EXPECT_DOUBLE_EQ(y("10d"), 200);
    EXPECT_EQ(ret, 0);
    y("0d");
    EXPECT_EQ(ret, -1);
    y("-5d");
    EXPECT_EQ(ret, -1);
}

TEST_F(PositionTest, SignedPixelsRoundHalfAwayFromZero)
{
    EXPECT_EQ(x("-2.5"), -3);
    EXPECT_EQ(x("2.5"), 3);
    EXPECT_EQ(x("+2.4"), 2);
    EXPECT_EQ(x(""), 0);
    EXPECT_EQ(ret, 0);
}

TEST_F(PositionTest, RelativeToATextBox)
{
    KGRViewport viewport(nullptr);
    KGRText text(&viewport, const_cast<char*>("t"), const_cast<char*>("0"), const_cast<char*>("0"));
    text.text.fxbb = 50;
    text.text.fybb = 20;
    text.text.wbb = 80;
    text.text.hbb = 30;
    // "r" replaces the running sum, later terms add to it.
    EXPECT_EQ(x("100+1r+5", &text), 135);
    double px = 0, py = 0;
    EXPECT_EQ(kgrqt_get_pixels(&vp, "0.5r", "1r", &px, &py, &text), 0);
    EXPECT_EQ(px, 90);
    EXPECT_EQ(py, 50);
    // Without a text item an "r" term does nothing.
    EXPECT_EQ(x("7+0.5r"), 7);
}

TEST_F(PositionTest, FailedScalesFail)
{
    vp.w = 50; // narrower than the margins
    x("10");
    EXPECT_EQ(ret, -1);
}

TEST(GetPixels, UnitsAreNotImplemented)
{
    hx_clear_register(0);
    int pixels = 7;
    EXPECT_EQ(kgrqt_GetPixels(const_cast<char*>("3mm"), &pixels), -1);
    EXPECT_EQ(pixels, 0);
    EXPECT_EQ(kgrqt_GetPixels(const_cast<char*>("2i"), &pixels), -1);
    EXPECT_EQ(kgrqt_GetPixels(const_cast<char*>("1c"), &pixels), -1);
    EXPECT_EQ(kgrqt_GetPixels(const_cast<char*>("12p"), &pixels), -1);
    EXPECT_EQ(takeRegister(), "kgrqt_GetPixels: 3mm not implemented\n"
                              "kgrqt_GetPixels: 2i not implemented\n"
                              "kgrqt_GetPixels: 1c not implemented\n"
                              "kgrqt_GetPixels: 12p not implemented\n");
}

TEST(GetPixels, TrailingTextIsNotRecognised)
{
    hx_clear_register(0);
    int pixels = 7;
    EXPECT_EQ(kgrqt_GetPixels(const_cast<char*>("12px"), &pixels), -1);
    EXPECT_EQ(takeRegister(), "kgrqt_GetPixels: Cannot recognize 12px\n");
    EXPECT_EQ(kgrqt_GetPixels(const_cast<char*>("abc"), &pixels), -1);
    EXPECT_EQ(kgrqt_GetPixels(const_cast<char*>("nan"), &pixels), -1);
    EXPECT_EQ(kgrqt_GetPixels(const_cast<char*>("inf"), &pixels), -1);
    hx_clear_register(0);
}

TEST(GetPixels, NumbersAndEmptyText)
{
    int pixels = 7;
    EXPECT_EQ(kgrqt_GetPixels(nullptr, &pixels), 0);
    EXPECT_EQ(pixels, 0);
    EXPECT_EQ(kgrqt_GetPixels(const_cast<char*>(""), &pixels), 0);
    EXPECT_EQ(kgrqt_GetPixels(const_cast<char*>("-2.5"), &pixels), 0);
    EXPECT_EQ(pixels, -3);
    EXPECT_EQ(kgrqt_GetPixels(const_cast<char*>("1e12"), &pixels), 0);
    EXPECT_EQ(pixels, INT_MAX - 1);
}
