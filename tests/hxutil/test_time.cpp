// Time conversion: the reference table made with GNU date by
// tools/gen_time_reference.sh, malformed input, rounding and round trips.
#include "hx_error.h"
#include "hx_time.h"
#include "reference_table.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace {

// epoch2str as a std::string; "<null>" for a null result.
std::string format(double epoch, const char* fmt)
{
    char* text = epoch2str(epoch, fmt);
    if (text == nullptr)
        return "<null>";
    std::string result(text);
    std::free(text);
    return result;
}

std::string register_text()
{
    char* text = hx_register_text();
    std::string result(text != nullptr ? text : "");
    std::free(text);
    return result;
}

// A double resolves only about 3e-5 s near year 9999, so the tolerance
// widens to two units in the last place where 1e-6 s is finer than that.
double tolerance(double expected)
{
    const double magnitude = std::fabs(expected);
    return std::max(1e-6, 2 * (std::nextafter(magnitude, INFINITY) - magnitude));
}

std::vector<std::vector<std::string>> reference_rows()
{
    std::vector<std::vector<std::string>> rows;
    for (ReferenceLine& r : readReferenceTable("time_reference.tsv"))
        rows.push_back(std::move(r.fields));
    return rows;
}

class TimeTest : public ::testing::Test {
protected:
    void SetUp() override { hx_clear_register(0); }
    void TearDown() override { hx_clear_register(0); }

    // Asserts that s is refused with the documented message.
    void expect_rejected(const char* s)
    {
        hx_clear_register(0);
        double epoch = 12345;
        EXPECT_EQ(hx_str2epoch(s, &epoch), -1) << "accepted '" << s << "'";
        EXPECT_EQ(epoch, 12345) << "changed the result for '" << s << "'";
        EXPECT_EQ(hx_register_count(), 1);
        EXPECT_EQ(register_text(), std::string("hx_str2epoch: Cannot parse time '") +
                                       (s != nullptr ? s : "(null)") + "'\n");
        hx_clear_register(0);
    }
};

TEST_F(TimeTest, ReferenceTableFromGnuDate)
{
    const auto rows = reference_rows();
    ASSERT_GE(rows.size(), 150u) << "missing or short " KGRQT_TEST_DATA "/time_reference.tsv";
    int formats = 0, parses = 0;
    for (const auto& row : rows) {
        if (row[0] == "F") {
            ASSERT_EQ(row.size(), 4u);
            const double epoch = std::strtod(row[1].c_str(), nullptr);
            EXPECT_EQ(format(epoch, row[2].c_str()), row[3])
                << "epoch " << row[1] << " format '" << row[2] << "'";
            ++formats;
        } else {
            ASSERT_EQ(row[0], "P");
            ASSERT_EQ(row.size(), 3u);
            const double expected = std::strtod(row[2].c_str(), nullptr);
            double epoch = 0;
            EXPECT_EQ(hx_str2epoch(row[1].c_str(), &epoch), 0) << "'" << row[1] << "'";
            EXPECT_NEAR(epoch, expected, tolerance(expected)) << "'" << row[1] << "'";
            ++parses;
        }
    }
    EXPECT_GT(formats, 100);
    EXPECT_GT(parses, 300);
    EXPECT_EQ(hx_register_count(), 0);
}

TEST_F(TimeTest, FormatsEveryConversion)
{
    const double t = 1795303015.25; // 2026-11-21 23:16:55.250, a Saturday
    EXPECT_EQ(format(t, "%Y %y %m %d %e %j"), "2026 26 11 21 21 325");
    EXPECT_EQ(format(t, "%H %M %S %s"), "23 16 55 250");
    EXPECT_EQ(format(t, "%b %B %a %A"), "Nov November Sat Saturday");
    EXPECT_EQ(format(t, "%D|%T|%F|%G"), "11/21/26|23:16:55|2026-11-21|2026-11-21");
    EXPECT_EQ(format(t, "a%%b%nc%td"), "a%b\nc\td");
    EXPECT_EQ(format(86400 * 4, "%e"), " 5");
    EXPECT_EQ(format(t, ""), "");
    EXPECT_EQ(format(t, "no conversions"), "no conversions");
}

TEST_F(TimeTest, CopiesUnknownConversions)
{
    EXPECT_EQ(format(0, "%Q %c %E%Y"), "%Q %c %E1970");
    EXPECT_EQ(format(0, "100%"), "100%");
    EXPECT_EQ(format(0, "%"), "%");
    EXPECT_EQ(format(0, "%%%"), "%%");
}

TEST_F(TimeTest, FormatGivesNullForNonFiniteEpochOrNullFormat)
{
    EXPECT_EQ(epoch2str(NAN, "%Y"), nullptr);
    EXPECT_EQ(epoch2str(INFINITY, "%Y"), nullptr);
    EXPECT_EQ(epoch2str(-INFINITY, "%Y"), nullptr);
    EXPECT_EQ(epoch2str(0, nullptr), nullptr);
    EXPECT_EQ(epoch2str(2e30, "%Y"), nullptr); // the unset value
    EXPECT_EQ(epoch2str(-1e300, "%Y"), nullptr);
}

TEST_F(TimeTest, RoundsToTheMillisecondBeforeSplitting)
{
    EXPECT_EQ(format(59.9996, "%T.%s"), "00:01:00.000");
    EXPECT_EQ(format(59.9994, "%T.%s"), "00:00:59.999");
    EXPECT_EQ(format(1704067199.9996, "%F %T.%s %j %a"), "2024-01-01 00:00:00.000 001 Mon");
    // Half a millisecond rounds up, also below zero: floor(-0.5 + 0.5) = 0.
    EXPECT_EQ(format(0.0015, "%F %T.%s"), "1970-01-01 00:00:00.002");
    EXPECT_EQ(format(-0.0005, "%F %T.%s"), "1970-01-01 00:00:00.000");
    EXPECT_EQ(format(-0.0006, "%F %T.%s"), "1969-12-31 23:59:59.999");
    EXPECT_EQ(format(-1e-9, "%F %T.%s"), "1970-01-01 00:00:00.000");
}

TEST_F(TimeTest, FormatsYearsOutsideOneToNineThousand)
{
    EXPECT_EQ(format(-62167219200.0, "%F %j %a"), "0000-01-01 001 Sat");
    EXPECT_EQ(format(-62167219200.0 - 86400, "%F %y"), "-0001-12-31 99");
    EXPECT_EQ(format(253402300800.0, "%F %y %A"), "10000-01-01 00 Saturday");
    // Far out the calendar still holds: 400 Gregorian years are 146097 days.
    const double era = 146097.0 * 86400;
    EXPECT_EQ(format(1000 * era, "%F %T"), "401970-01-01 00:00:00");
    EXPECT_EQ(format(-1000 * era, "%F %T"), "-398030-01-01 00:00:00");
}

TEST_F(TimeTest, WeekdaysAndDayOfYearOverAWholeLeapYear)
{
    const double jan1 = 1704067200; // 2024-01-01, a Monday
    const char* weekdays[] = {"Mon", "Tue", "Wed", "Thu", "Fri", "Sat", "Sun"};
    for (int i = 0; i < 366; ++i) {
        char expected[16];
        std::snprintf(expected, sizeof expected, "%03d %s", i + 1, weekdays[i % 7]);
        EXPECT_EQ(format(jan1 + i * 86400.0, "%j %a"), expected);
    }
    EXPECT_EQ(format(jan1 + 366 * 86400.0, "%F %j"), "2025-01-01 001");
}

TEST_F(TimeTest, ParsesTheDocumentedForms)
{
    const double t = 1795303015.25;
    const char* forms[] = {
        "2026-11-21T23:16:55.25Z",       "2026-11-21T23:16:55.25", "2026-11-21 23:16:55.25",
        "2026-11-21\t23:16:55.250000Z",  "11/21/2026 23:16:55.25", "2026-325 23:16:55.25",
        "2026-325T23:16:55.25Z",         "2026325 23:16:55.25",    "1795303015.25",
        " \t2026-11-21T23:16:55.25Z \n", "1.79530301525e9",        "179530301525E-2"};
    for (const char* s : forms) {
        double epoch = 0;
        ASSERT_EQ(hx_str2epoch(s, &epoch), 0) << "'" << s << "'";
        EXPECT_NEAR(epoch, t, 1e-6) << "'" << s << "'";
    }
    EXPECT_EQ(str2epoch("2026-11-21"), 1795219200);
    EXPECT_EQ(str2epoch("2026-11-21T23:16"), 1795302960);
    EXPECT_EQ(str2epoch("2026-11-21T23:16Z"), 1795302960);
    EXPECT_EQ(str2epoch("11/21/2026"), 1795219200);
    EXPECT_EQ(str2epoch("1/2/2026"), 1767312000);
    EXPECT_EQ(str2epoch("11/21/2026 23:16"), 1795302960);
    EXPECT_EQ(str2epoch("2026325"), 1795219200);
    EXPECT_EQ(str2epoch("2026-325"), 1795219200);
    EXPECT_EQ(str2epoch("-86400"), -86400);
    EXPECT_EQ(str2epoch("-.5"), -0.5);
    EXPECT_EQ(str2epoch("5."), 5);
    EXPECT_EQ(str2epoch("0000-01-01"), -62167219200.0);
    EXPECT_EQ(hx_register_count(), 0);
}

TEST_F(TimeTest, SevenDigitsAloneAreYearAndDayOtherNumbersAreEpochs)
{
    EXPECT_EQ(str2epoch("1970001"), 0);
    EXPECT_EQ(str2epoch("1970001 00:00:01"), 1);
    EXPECT_EQ(str2epoch("+1970001"), 1970001);
    EXPECT_EQ(str2epoch("1970001.0"), 1970001);
    EXPECT_EQ(str2epoch("1970001e0"), 1970001);
    EXPECT_EQ(str2epoch("197000"), 197000);
    EXPECT_EQ(str2epoch("19700010"), 19700010);
    EXPECT_EQ(str2epoch("2026"), 2026);
}

TEST_F(TimeTest, KeepsLongFractionsAndWholeEpochsExact)
{
    EXPECT_NEAR(str2epoch("1970-01-01T00:00:00.123456789012345678901234567890"), 0.123456789012345,
                1e-15);
    EXPECT_EQ(str2epoch("1970-01-01T00:00:00.999999999999999999"), 0.999999999999999);
    EXPECT_EQ(str2epoch("9999-12-31T23:59:59"), 253402300799.0);
    EXPECT_EQ(str2epoch("0001-01-01T00:00:00"), -62135596800.0);
}

TEST_F(TimeTest, ValidatesFieldRanges)
{
    // Leap days: 1900 and 2100 are not leap years, 2000 and 2024 are.
    EXPECT_EQ(str2epoch("2000-02-29"), 951782400);
    EXPECT_EQ(str2epoch("2024-02-29"), 1709164800);
    EXPECT_EQ(str2epoch("2024-366"), 1735603200);
    const char* bad[] = {"1900-02-29",
                         "2100-02-29",
                         "2023-02-29",
                         "2024-02-30",
                         "2024-04-31",
                         "2024-06-31",
                         "2024-09-31",
                         "2024-11-31",
                         "2024-01-32",
                         "2024-13-01",
                         "2024-00-10",
                         "2024-01-00",
                         "2023-366",
                         "1900-366",
                         "2024-367",
                         "2024-000",
                         "2023366",
                         "2024000",
                         "2/29/2023",
                         "13/01/2024",
                         "0/10/2024",
                         "1/0/2024",
                         "4/31/2024",
                         "2024-01-01T24:00",
                         "2024-01-01T23:60",
                         "2024-01-01T23:59:60",
                         "2024-01-01T23:59:99",
                         "2024-01-01 99:00:00"};
    for (const char* s : bad)
        expect_rejected(s);
}

TEST_F(TimeTest, RejectsMalformedText)
{
    const char* bad[] = {
        "",
        " ",
        " \t\n",
        "x",
        "now",
        "2024-",
        "2024-01",
        "2024-1-01",
        "2024-01-1",
        "2024-001-01",
        "24-01-01",
        "02024-01-01",
        "2024-01-011",
        "2024/01/01",
        "2024-01-01T",
        "2024-01-01T1",
        "2024-01-01T12",
        "2024-01-01T12:",
        "2024-01-01T12:3",
        "2024-01-01T12:30:",
        "2024-01-01T12:30:1",
        "2024-01-01T12:30:15.",
        "2024-01-01T12:30:15.x",
        "2024-01-01T12:30.5",
        "2024-01-01T2:30",
        "2024-01-01T12:30:15Zjunk",
        "2024-01-01T12:30:15ZZ",
        "2024-01-01T12:30:15z",
        "2024-01-01t12:30:15",
        "2024-01-01Z",
        "2024-01-01 12:30 junk",
        "2024-01-01T 12:30",
        "2024-01-01TT12:30",
        "2024-01-01 T12:30",
        "2024-01-01T12:30:15+01:00",
        "2024-01-01T12:30:15.5.5",
        "2024-01-01T12:30:15 Z",
        "2024-01- 01",
        "1/2/26",
        "1/2/02026",
        "1/2",
        "1/2/",
        "123/1/2024",
        "1//2024",
        "1/2/2024T12:00",
        "1/2/2024 12:00Z",
        "1/2/2024 12",
        "1/2/2024 1:00",
        "2024001T12:00",
        "2024001 12:00Z",
        "2024001 12:00 x",
        "2024001x",
        "2024-1",
        "2024-01",
        "2024-0001",
        "1e",
        "1e+",
        "1.5.",
        "--1",
        "+-1",
        "-",
        "+",
        ".",
        "-.",
        ".e5",
        "0x10",
        "inf",
        "-inf",
        "nan",
        "infinity",
        "1e400",
        "-1e400",
        "1 2",
        "12 34",
        "1,5",
        "12abc",
        "1e5x",
        "٣",
    };
    for (const char* s : bad)
        expect_rejected(s);
}

TEST_F(TimeTest, RejectsNullAndReportsIt)
{
    expect_rejected(nullptr);
    EXPECT_EQ(str2epoch(nullptr), 2e30);
    EXPECT_EQ(register_text(), "hx_str2epoch: Cannot parse time '(null)'\n");
}

TEST_F(TimeTest, Str2epochGivesTheUnsetValueOnError)
{
    EXPECT_EQ(str2epoch("2024-02-30"), 2e30);
    EXPECT_EQ(str2epoch("junk"), 2e30);
    EXPECT_EQ(hx_register_count(), 2);
    EXPECT_EQ(register_text(), "hx_str2epoch: Cannot parse time '2024-02-30'\n"
                               "hx_str2epoch: Cannot parse time 'junk'\n");
}

TEST_F(TimeTest, NullResultPointerOnlyChecks)
{
    EXPECT_EQ(hx_str2epoch("2024-02-29", nullptr), 0);
    EXPECT_EQ(hx_str2epoch("2024-02-30", nullptr), -1);
    EXPECT_EQ(hx_register_count(), 1);
}

TEST_F(TimeTest, RoundTripsRandomEpochsOverYearsOneToNineThousand)
{
    const double first = -62135596800.0;  // 0001-01-01
    const double last = 253402300799.999; // 9999-12-31 23:59:59.999
    std::mt19937_64 random(20261121);
    std::uniform_real_distribution<double> anywhere(first, last);
    const char* formats[] = {"%Y-%m-%dT%H:%M:%S.%s", "%G %T.%sZ", "%m/%d/%Y %T.%s", "%Y-%j %T.%s",
                             "%Y%j %H:%M:%S.%s"};
    for (int i = 0; i < 20000; ++i) {
        const double epoch = std::round(anywhere(random) * 1000) / 1000;
        const char* fmt = formats[i % 5];
        const std::string text = format(epoch, fmt);
        double back = 0;
        ASSERT_EQ(hx_str2epoch(text.c_str(), &back), 0) << text;
        ASSERT_NEAR(back, epoch, 1e-3) << text;
    }
}

TEST_F(TimeTest, RoundTripsEveryDayOfTheCalendarEnds)
{
    // Every day of years 1, 1600, 1900, 2000 and 9999, in calendar and
    // year-day form.
    for (int year : {1, 1600, 1900, 2000, 9999}) {
        char start[16];
        std::snprintf(start, sizeof start, "%04d-01-01", year);
        const double jan1 = str2epoch(start);
        const int days = (year % 4 == 0 && (year % 100 != 0 || year % 400 == 0)) ? 366 : 365;
        for (int d = 0; d < days; ++d) {
            const double epoch = jan1 + d * 86400.0 + 43200.5;
            for (const char* fmt : {"%FT%T.%s", "%Y-%j %T.%s"}) {
                const std::string text = format(epoch, fmt);
                EXPECT_EQ(str2epoch(text.c_str()), epoch) << text;
            }
        }
        EXPECT_EQ(format(jan1 + days * 86400.0, "%m-%d"), "01-01");
        EXPECT_EQ(format(jan1 + (days - 1) * 86400.0, "%m-%d %j"),
                  days == 366 ? "12-31 366" : "12-31 365");
    }
}

TEST_F(TimeTest, NowIsAfterThisCodeWasWritten)
{
    const double now = std_now();
    EXPECT_GT(now, 1.7e9);
    EXPECT_LT(now, 1e10);
    EXPECT_GE(std_now(), now);
}

} // namespace
