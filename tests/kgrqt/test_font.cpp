#include "KGR.h"
#include "register.h"

#include <QFont>

#include <gtest/gtest.h>

namespace {

struct FontTest : ::testing::Test {
    void SetUp() override { hx_clear_register(0); }
    void TearDown() override
    {
        KGR_ParseFont(nullptr, &f);
        hx_clear_register(0);
    }
    KGR_Font f = {nullptr, 0, 0, 0, nullptr};
};

} // namespace

TEST_F(FontTest, FamilyOnlyLeavesDefaults)
{
    ASSERT_EQ(KGR_ParseFont("Helvetica", &f), 1);
    EXPECT_STREQ(f.family, "Helvetica");
    EXPECT_EQ(f.size, -1);
    EXPECT_EQ(f.weight, -1);
    EXPECT_EQ(f.italic, 0);
    ASSERT_NE(f.font, nullptr);
    EXPECT_EQ(f.font->family(), "Helvetica");
}

TEST_F(FontTest, SizeWithoutDigitsIsZero)
{
    ASSERT_EQ(KGR_ParseFont("Helvetica abc", &f), 1);
    EXPECT_EQ(f.size, 0);
    EXPECT_EQ(takeRegister(), "");
}

TEST_F(FontTest, SizeWithTrailingCharactersIsRefused)
{
    ASSERT_EQ(KGR_ParseFont("Courier 8", &f), 1);
    QFont* before = f.font;
    EXPECT_EQ(KGR_ParseFont("Helvetica 12pt", &f), -1);
    EXPECT_EQ(takeRegister(), "KGR_ParseFont: Unable to parse size from '12pt'.\n");
    // The record is left as it was.
    EXPECT_STREQ(f.family, "Courier");
    EXPECT_EQ(f.size, 8);
    EXPECT_EQ(f.font, before);
}

TEST_F(FontTest, ItalicBoldTwelve)
{
    ASSERT_EQ(KGR_ParseFont("Helvetica 12 Bold 1", &f), 1);
    EXPECT_EQ(f.size, 12);
    EXPECT_EQ(f.weight, 75);
    EXPECT_EQ(f.italic, 1);
    EXPECT_EQ(f.font->pointSize(), 12);
    EXPECT_EQ(f.font->weight(), QFont::Bold);
    EXPECT_TRUE(f.font->italic());
}

TEST_F(FontTest, WeightNamesAndNumbers)
{
    const struct {
        const char* text;
        int weight;
    } cases[] = {{"a 1 Light", 25}, {"a 1 Normal", 50}, {"a 1 DemiBold", 63}, {"a 1 Bold", 75},
                 {"a 1 Black", 87}, {"a 1 0x10", 16},   {"a 1 010", 8},       {"a 1 bold", 0}};
    for (const auto& c : cases) {
        ASSERT_EQ(KGR_ParseFont(c.text, &f), 1) << c.text;
        EXPECT_EQ(f.weight, c.weight) << c.text;
    }
    EXPECT_EQ(KGR_ParseFont("a 1 75x", &f), -1);
    EXPECT_EQ(takeRegister(), "KGR_ParseFont: Unable to parse weight from '75x'.\n");
}

TEST_F(FontTest, SizeAcceptsHexAndOctal)
{
    ASSERT_EQ(KGR_ParseFont("a 0x10", &f), 1);
    EXPECT_EQ(f.size, 16);
    ASSERT_EQ(KGR_ParseFont("a 010", &f), 1);
    EXPECT_EQ(f.size, 8);
    EXPECT_EQ(KGR_ParseFont("a 99999999999999999999", &f), -1);
}

TEST_F(FontTest, BadItalicIsRefused)
{
    EXPECT_EQ(KGR_ParseFont("Helvetica 12 Bold maybe", &f), -1);
    EXPECT_EQ(takeRegister(), "KGR_ParseFont: Unable to parse italic from 'maybe'.\n");
    EXPECT_EQ(f.family, nullptr);
}

TEST_F(FontTest, TooManyFields)
{
    EXPECT_EQ(KGR_ParseFont("a b c d e", &f), -1);
    EXPECT_EQ(takeRegister(), "KGR_ParseFont: Too many fields in font 'a b c d e'\n");
}

TEST_F(FontTest, SplitFailure)
{
    EXPECT_EQ(KGR_ParseFont("\"Helvetica 12", &f), -1);
    EXPECT_EQ(takeRegister(), "KGR_ParseFont: Cannot parse font '\"Helvetica 12'\n");
}

TEST_F(FontTest, SameFontReturnsZeroAndKeepsObject)
{
    ASSERT_EQ(KGR_ParseFont("Helvetica 16", &f), 1);
    QFont* first = f.font;
    EXPECT_EQ(KGR_ParseFont("Helvetica  16", &f), 0);
    EXPECT_EQ(f.font, first);
    EXPECT_EQ(KGR_ParseFont("Helvetica 16 -1 no", &f), 0);
    EXPECT_EQ(KGR_ParseFont("Helvetica 8", &f), 1);
    EXPECT_EQ(f.font->pointSize(), 8);
}

TEST_F(FontTest, EmptyClearsAndReportsWhetherAFamilyWasSet)
{
    EXPECT_EQ(KGR_ParseFont("", &f), 0);
    EXPECT_EQ(KGR_ParseFont(nullptr, &f), 0);
    ASSERT_EQ(KGR_ParseFont("Helvetica 12 Bold 1", &f), 1);
    EXPECT_EQ(KGR_ParseFont("", &f), 1);
    EXPECT_EQ(f.family, nullptr);
    EXPECT_EQ(f.font, nullptr);
    EXPECT_EQ(f.size, 0);
    EXPECT_EQ(f.weight, 0);
    EXPECT_EQ(f.italic, 0);
    EXPECT_EQ(KGR_ParseFont("", &f), 0);
}

TEST_F(FontTest, QuotedFamilyWithBlanksAndEmptyFamily)
{
    ASSERT_EQ(KGR_ParseFont("\"DejaVu Sans\" 10", &f), 1);
    EXPECT_STREQ(f.family, "DejaVu Sans");
    EXPECT_EQ(f.font->family(), "DejaVu Sans");
    ASSERT_EQ(KGR_ParseFont("\"\" 10", &f), 1);
    EXPECT_STREQ(f.family, "");
    EXPECT_EQ(*f.font, QFont()); // an empty family gives the default font
}
