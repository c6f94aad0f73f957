// Number labels and nice tic values.
#include "kgrqt.h"
#include "register.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <string>

namespace {

std::string nice(double value, const char* format)
{
    char s[KGRQT_NUMBER_MAX];
    EXPECT_EQ(kgrqt_nice_number(value, const_cast<char*>(format), s), 0);
    return s;
}

// Outputs of kgrqt_get_nice_fvals, preset to marks that show what was
// written.
struct Nice {
    double start_big = -77, incr_big = 0, start_sml = -77, incr_sml = 0;
    int n_big = -77, n_sml = -77;
    int ret = -1;

    Nice& run(double start, double end, double width, double minbigwidth)
    {
        ret = kgrqt_get_nice_fvals(start, end, width, minbigwidth, &start_big, &n_big, &incr_big,
                                   &start_sml, &n_sml, &incr_sml);
        return *this;
    }
};

} // namespace

TEST(NiceNumber, IntegerFormatsRoundHalfAwayFromZero)
{
    EXPECT_EQ(nice(2.5, "%d"), "3");
    EXPECT_EQ(nice(-2.5, "%d"), "-3");
    EXPECT_EQ(nice(2.4999, "%d"), "2");
    EXPECT_EQ(nice(7, "%03d"), "007");
    EXPECT_EQ(nice(1e30, "%d"), std::to_string(INT_MAX - 1));
}

TEST(NiceNumber, NoneIsEmpty)
{
    EXPECT_EQ(nice(12.0, "none"), "");
}

TEST(NiceNumber, FloatingFormats)
{
    EXPECT_EQ(nice(3.14159, "%.2f"), "3.14");
    EXPECT_EQ(nice(1234567.0, "%g"), "1.23457e+06");
    EXPECT_EQ(nice(0.5, "%.1f km"), "0.5 km");
    EXPECT_EQ(nice(50, "%.0f%%"), "50%");
}

TEST(NiceNumber, AutoIsTheShortestExactLabel)
{
    EXPECT_EQ(nice(0.5, "auto"), "0.5");
    EXPECT_EQ(nice(2, "auto"), "2");
    EXPECT_EQ(nice(0, "auto"), "0");
    EXPECT_EQ(nice(-1.25, "auto"), "-1.25");
    EXPECT_EQ(nice(0.29999999999, "auto"), "0.3");
    EXPECT_EQ(nice(100, "auto"), "100");
    EXPECT_EQ(nice(-0.001, "auto"), "-0.001");
}

TEST(NiceNumber, AutoKeepsThirteenDigitsWithoutRounding)
{
    EXPECT_EQ(nice(123456789.123456, "auto"), "123456789.1234");
    EXPECT_EQ(nice(123456789012345678.0, "auto"), "123456789012300000");
}

TEST(NiceNumber, UnsafeFormatsFallBackToAuto)
{
    hx_clear_register(0);
    for (const char* format : {"%s", "%n", "%d %d", "%*d", "%p", "%x", "no conversion", "%", "%l"})
        EXPECT_EQ(nice(0.5, format), "0.5") << format;
    EXPECT_EQ(takeRegister(), "");
}

TEST(NiceNumber, NonFiniteAutoValuesComplainAndGiveZero)
{
    hx_clear_register(0);
    EXPECT_EQ(nice(INFINITY, "auto"), "0");
    std::string reg = takeRegister();
    EXPECT_NE(reg.find("Got char 'i'\n"), std::string::npos) << reg;
}

TEST(NiceNumber, HugeValuesStayWithinTheBuffer)
{
    EXPECT_EQ(nice(1e300, "auto").size(), 301u);
    EXPECT_LT(nice(1e300, "%f").size(), size_t(KGRQT_NUMBER_MAX));
    EXPECT_EQ(nice(1.0, "%500.1f").size(), 500u);
}

// A width or precision no label can hold is refused before the C library
// tries to build the conversion (a fuzzer found "%.2111100200e" asking for
// gigabytes).
TEST(NiceNumber, WidthsAndPrecisionsBeyondALabelFallBackToAuto)
{
    EXPECT_EQ(nice(0.5, "%600.1f"), "0.5");
    EXPECT_EQ(nice(0.5, "%.2111100200e"), "0.5");
    EXPECT_EQ(nice(0.5, "%99999999999999999999d"), "0.5");
    EXPECT_EQ(nice(0.5, "%.3f"), "0.500");
}

TEST(NiceValues, TenUnitsOverFiveHundredPixels)
{
    Nice n;
    n.run(0, 10, 500, 50);
    EXPECT_EQ(n.ret, 1);
    EXPECT_DOUBLE_EQ(n.incr_big, 1.0);
    EXPECT_DOUBLE_EQ(n.incr_sml, 0.1);
    EXPECT_DOUBLE_EQ(n.start_big, 0.0);
    EXPECT_EQ(n.n_big, 11);
    EXPECT_EQ(n.n_sml, 101);
}

TEST(NiceValues, KindsFiveAndTwoTakeAFifthAsMinor)
{
    Nice five;
    five.run(0, 40, 500, 50); // refincr 4: exp 10, 5 < 4? no: 5 >= 4 -> 2.5 < 4
    EXPECT_DOUBLE_EQ(five.incr_big, 2.5);
    EXPECT_DOUBLE_EQ(five.incr_sml, 0.5);
    Nice two;
    two.run(0, 70, 500, 50); // refincr 7: 5 < 7 -> kind 5
    EXPECT_DOUBLE_EQ(two.incr_big, 5.0);
    EXPECT_DOUBLE_EQ(two.incr_sml, 1.0);
}

TEST(NiceValues, ZeroLengthIntervalWritesNothing)
{
    Nice n;
    n.incr_big = 3;
    n.incr_sml = 4;
    n.run(5, 5, 500, 50);
    EXPECT_EQ(n.ret, 0);
    EXPECT_EQ(n.start_big, -77);
    EXPECT_EQ(n.n_big, -77);
    EXPECT_EQ(n.start_sml, -77);
    EXPECT_EQ(n.n_sml, -77);
    EXPECT_EQ(n.incr_big, 3);
    EXPECT_EQ(n.incr_sml, 4);
}

TEST(NiceValues, DescendingIntervalGivesNegativeIncrements)
{
    Nice n;
    n.run(10, 0, 500, 50);
    EXPECT_EQ(n.ret, 1);
    EXPECT_DOUBLE_EQ(n.incr_big, -1.0);
    EXPECT_DOUBLE_EQ(n.incr_sml, -0.1);
    EXPECT_DOUBLE_EQ(n.start_big, 10.0);
    EXPECT_EQ(n.n_big, 11);
    EXPECT_EQ(n.n_sml, 101);
}

TEST(NiceValues, NegativeStartsTakeTheFirstTicInside)
{
    Nice up;
    up.run(-3.5, 6.5, 500, 50);
    EXPECT_DOUBLE_EQ(up.incr_big, 1.0);
    EXPECT_DOUBLE_EQ(up.start_big, -3.0);
    EXPECT_EQ(up.n_big, 10);
    EXPECT_NEAR(up.start_sml, -3.5, 1e-12);
    EXPECT_EQ(up.n_sml, 101);
    Nice down;
    down.run(-3.5, -13.5, 500, 50);
    EXPECT_DOUBLE_EQ(down.incr_big, -1.0);
    EXPECT_DOUBLE_EQ(down.start_big, -4.0);
    EXPECT_EQ(down.n_big, 10);
    EXPECT_NEAR(down.start_sml, -3.5, 1e-12);
}

TEST(NiceValues, ZeroWidthUsesThePresets)
{
    Nice n;
    n.incr_big = 2;
    n.incr_sml = 0.5;
    n.run(0, 10, 0, 0);
    EXPECT_EQ(n.ret, 1);
    EXPECT_EQ(n.incr_big, 2);
    EXPECT_EQ(n.incr_sml, 0.5);
    EXPECT_EQ(n.n_big, 6);
    EXPECT_EQ(n.n_sml, 21);
    // Without a minor preset only major values come back.
    Nice major;
    major.incr_big = 2;
    major.run(0, 10, 0, 0);
    EXPECT_EQ(major.ret, 1);
    EXPECT_EQ(major.n_big, 6);
    EXPECT_EQ(major.n_sml, 0);
}

TEST(NiceValues, APresetLargerThanTheCandidateStays)
{
    Nice n;
    n.incr_big = 5;
    n.run(0, 10, 500, 50); // candidate 1 < 5
    EXPECT_EQ(n.incr_big, 5);
    EXPECT_DOUBLE_EQ(n.incr_sml, 0.5);
    Nice m;
    m.incr_big = 5;
    m.incr_sml = 2.5;
    m.run(0, 10, 500, 50);
    EXPECT_EQ(m.incr_sml, 2.5);
}

TEST(NiceValues, NoRoomForAMajorTic)
{
    Nice n;
    n.run(0, 10, 40, 50);
    EXPECT_EQ(n.ret, 0);
}

TEST(NiceValues, ThousandPixelsWithTwoHundredSpacingAllowsFiveSteps)
{
    Nice n;
    n.run(0, 1, 1000, 200); // maxvals 5, refincr 0.2: exp 1, 0.5 >= 0.2, 0.25 >= 0.2 -> 0.1
    EXPECT_DOUBLE_EQ(n.incr_big, 0.1);
    EXPECT_EQ(n.n_big, 11);
}

TEST(NiceValues, AbsurdInputsReturnPromptly)
{
    Nice a;
    a.run(0, INFINITY, 500, 50);
    EXPECT_EQ(a.ret, 0);
    Nice b;
    b.run(0, 1e-320, 500, 50);
    EXPECT_GE(b.ret, 0);
    Nice c;
    c.incr_big = 1e-300;
    c.run(0, 1e300, 0, 0);
    EXPECT_EQ(c.ret, 1);
    EXPECT_GT(c.n_big, 1000000);
    Nice d;
    d.run(NAN, 1, 500, 50);
    EXPECT_GE(d.ret, 0);
}
