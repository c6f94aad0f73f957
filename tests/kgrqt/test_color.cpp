#include "KGR.h"
#include "register.h"

#include <QColor>

#include <gtest/gtest.h>

namespace {

struct ColorTest : ::testing::Test {
    void SetUp() override { hx_clear_register(0); }
    void TearDown() override
    {
        KGR_ClearColor(&c);
        hx_clear_register(0);
    }
    KGR_Color c = {nullptr, nullptr};
};

} // namespace

TEST_F(ColorTest, SameStringTwiceKeepsTheSameObject)
{
    ASSERT_EQ(KGR_ParseColor("darkgray", &c), 1);
    QColor* first = c.color;
    EXPECT_EQ(KGR_ParseColor("darkgray", &c), 0);
    EXPECT_EQ(c.color, first);
    EXPECT_STREQ(c.color_name, "darkgray");
}

TEST_F(ColorTest, HslGreenWithDefaultAlpha)
{
    ASSERT_EQ(KGR_ParseColor("120,1,0.5", &c), 1);
    ASSERT_NE(c.color, nullptr);
    EXPECT_EQ(c.color->rgba(), qRgba(0, 255, 0, 255));
    EXPECT_DOUBLE_EQ(c.color->alphaF(), 1.0);
    EXPECT_STREQ(c.color_name, "120,1,0.5");
}

TEST_F(ColorTest, HslWithAlpha)
{
    ASSERT_EQ(KGR_ParseColor("240,1,0.5,0.5", &c), 1);
    EXPECT_EQ(c.color->blue(), 255);
    EXPECT_EQ(c.color->red(), 0);
    EXPECT_NEAR(c.color->alphaF(), 0.5, 1e-3);
}

TEST_F(ColorTest, LaterElementWithoutNumberCountsAsZero)
{
    ASSERT_EQ(KGR_ParseColor("120,x,0.5", &c), 1);
    EXPECT_EQ(takeRegister(), "");
    EXPECT_DOUBLE_EQ(c.color->hslSaturationF(), 0.0);
    EXPECT_EQ(c.color->red(), c.color->green()); // grey: no saturation
    ASSERT_EQ(KGR_ParseColor("120,1,", &c), 1);
    EXPECT_EQ(c.color->lightness(), 0);
}

TEST_F(ColorTest, FirstElementWithoutNumberIsRefused)
{
    ASSERT_EQ(KGR_ParseColor("blue", &c), 1);
    EXPECT_EQ(KGR_ParseColor("x,1,0.5", &c), -1);
    EXPECT_EQ(takeRegister(), "KGR_ParseColor: Cannot parse color 'x,1,0.5'\n");
    // A failed parse leaves the colour cleared.
    EXPECT_EQ(c.color, nullptr);
    EXPECT_EQ(c.color_name, nullptr);
}

TEST_F(ColorTest, WrongElementCountsAreRefusedWithTheObjectMessage)
{
    EXPECT_EQ(KGR_ParseColor("1,2", &c), -1);
    EXPECT_EQ(takeRegister(), "KGR_ParseColor: Cannot create new color object.\n");
    EXPECT_EQ(KGR_ParseColor("1,2,3,4,5", &c), -1);
    EXPECT_EQ(takeRegister(), "KGR_ParseColor: Cannot create new color object.\n");
    EXPECT_EQ(c.color, nullptr);
}

TEST_F(ColorTest, UnknownNameIsKeptAsInvalidColour)
{
    ASSERT_EQ(KGR_ParseColor("nosuchcolour", &c), 1);
    ASSERT_NE(c.color, nullptr);
    EXPECT_FALSE(c.color->isValid());
    EXPECT_STREQ(c.color_name, "nosuchcolour");
    EXPECT_EQ(takeRegister(), "");
}

TEST_F(ColorTest, QtSyntaxWithAlphaFirst)
{
    ASSERT_EQ(KGR_ParseColor("#80ffff00", &c), 1);
    EXPECT_EQ(c.color->alpha(), 0x80);
    EXPECT_EQ(c.color->red(), 0xff);
    EXPECT_EQ(c.color->green(), 0xff);
    EXPECT_EQ(c.color->blue(), 0);
    ASSERT_EQ(KGR_ParseColor("#fff2e5", &c), 1);
    EXPECT_EQ(c.color->rgb(), qRgb(0xff, 0xf2, 0xe5));
}

TEST_F(ColorTest, EmptyAndNullClear)
{
    ASSERT_EQ(KGR_ParseColor("black", &c), 1);
    EXPECT_EQ(KGR_ParseColor("", &c), 1);
    EXPECT_EQ(c.color, nullptr);
    EXPECT_EQ(c.color_name, nullptr);
    // Clearing an already clear colour changes nothing.
    EXPECT_EQ(KGR_ParseColor(nullptr, &c), 0);
    EXPECT_EQ(KGR_ParseColor("", &c), 0);
}

TEST_F(ColorTest, NonFiniteHslGivesInvalidColourWithoutCrash)
{
    ASSERT_EQ(KGR_ParseColor("nan,1,0.5", &c), 1);
    EXPECT_FALSE(c.color->isValid());
    ASSERT_EQ(KGR_ParseColor("1e300,inf,-inf", &c), 1);
    EXPECT_FALSE(c.color->isValid());
}

TEST_F(ColorTest, CopyIsIndependent)
{
    KGR_Color d = {nullptr, nullptr};
    ASSERT_EQ(KGR_ParseColor("red", &c), 1);
    KGR_CopyColor(&c, &d);
    EXPECT_STREQ(d.color_name, "red");
    EXPECT_NE(d.color_name, c.color_name);
    EXPECT_NE(d.color, c.color);
    EXPECT_EQ(*d.color, *c.color);
    // Equal names: nothing happens, the object stays.
    QColor* kept = d.color;
    KGR_CopyColor(&c, &d);
    EXPECT_EQ(d.color, kept);
    KGR_ClearColor(&c);
    EXPECT_EQ(d.color->red(), 255);
    // Copying a clear colour clears the target.
    KGR_CopyColor(&c, &d);
    EXPECT_EQ(d.color, nullptr);
    EXPECT_EQ(d.color_name, nullptr);
}
