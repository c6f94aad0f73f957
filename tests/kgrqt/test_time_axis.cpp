// Time axes: the step table, the label formats, and calendar tics checked
// against GNU date (tests/data/time_axis_reference.tsv, made by
// tools/gen_time_axis_reference.sh).
#include "kgrqt.h"
#include "kgrqt_tics.h"
#include "reference_table.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <map>
#include <string>
#include <vector>

namespace {

struct Scale {
    double major, minor;
    int power;
};

Scale scaleOf(double span)
{
    Scale s{-1, -1, -99};
    KGRAxes::choose_scale(span, 2, 19, Time_divisions, NTime_divisions, &s.major, &s.minor,
                          &s.power);
    return s;
}

std::string formatOf(double increment)
{
    char* f = KGRAxes::choose_time_format(increment);
    std::string s = f;
    free(f);
    return s;
}

struct ReferenceCase {
    double start = 0, end = 0;
    std::vector<double> tics;
    std::vector<std::string> labels;
};

std::map<std::string, ReferenceCase> referenceCases()
{
    std::map<std::string, ReferenceCase> cases;
    for (const ReferenceLine& row : readReferenceTable("time_axis_reference.tsv")) {
        EXPECT_EQ(row.fields.size(), 5u) << "line " << row.line;
        if (row.fields.size() != 5)
            continue;
        ReferenceCase& c = cases[row.fields[0]];
        c.start = std::stod(row.fields[1]);
        c.end = std::stod(row.fields[2]);
        c.tics.push_back(std::stod(row.fields[3]));
        c.labels.push_back(row.fields[4]);
    }
    return cases;
}

} // namespace

TEST(TimeDivisions, TwentyThreeLargestFirst)
{
    ASSERT_EQ(NTime_divisions, 23);
    const double expected[] = {31536000, 15552000, 7776000, 2592000, 1209600, 604800,
                               432000,   172800,   86400,   43200,   21600,   10800,
                               3600,     1800,     900,     300,     120,     60,
                               30,       15,       5,       2,       1};
    for (int i = 0; i < 23; ++i)
        EXPECT_EQ(Time_divisions[i], expected[i]) << i;
}

TEST(TimeScale, TenDaysGiveTwoDayStepsWithDailyMinors)
{
    Scale s = scaleOf(864000);
    EXPECT_EQ(s.major, 172800);
    EXPECT_EQ(s.minor, 86400);
    EXPECT_EQ(s.power, 0);
}

TEST(TimeScale, MinorIsTheNextDivisionOnlyWhenItDividesExactly)
{
    // 90 days split in three 30-day steps; 14 days does not divide 30, so
    // the minor step is a fifth of it.
    Scale month = scaleOf(3 * 2592000.0);
    EXPECT_EQ(month.major, 2592000);
    EXPECT_EQ(month.minor, 518400);
    Scale s = scaleOf(60 * 86400.0); // 14 days, 7 divides it
    EXPECT_EQ(s.major, 1209600);
    EXPECT_EQ(s.minor, 604800);
    Scale y = scaleOf(3 * 31536000.0); // 365 days; 180 does not divide
    EXPECT_EQ(y.major, 31536000);
    EXPECT_EQ(y.minor, 31536000 / 5.0);
}

TEST(TimeScale, LongSpansScaleByPowersOfTen)
{
    // 20.01 "years" of 365 days: count/10 = 2.001, so p = 10, step p.
    Scale s = scaleOf(7305 * 86400.0);
    EXPECT_EQ(s.power, 1);
    EXPECT_DOUBLE_EQ(s.major, 10 * 31536000.0);
    EXPECT_DOUBLE_EQ(s.minor, 2 * 31536000.0);
    // 300 years: count 300.x, p = 100, r = 3 -> step p.
    Scale c = scaleOf(300 * 31536000.0 + 1);
    EXPECT_EQ(c.power, 2);
    EXPECT_DOUBLE_EQ(c.major, 100 * 31536000.0);
    // 150 years: p = 10, r = 15 > 12 -> 5p.
    Scale f = scaleOf(150 * 31536000.0 + 1);
    EXPECT_DOUBLE_EQ(f.major, 50 * 31536000.0);
    EXPECT_DOUBLE_EQ(f.minor, 10 * 31536000.0);
}

TEST(TimeScale, ShortSpansScaleDown)
{
    // One second: no division gives more than 2, count 1, p = 0.1, r = 10.
    Scale s = scaleOf(1.0);
    EXPECT_EQ(s.power, -1);
    EXPECT_NEAR(s.major, 0.2, 1e-15);
    EXPECT_NEAR(s.minor, 0.1, 1e-15);
    Scale ms = scaleOf(0.01); // count 0.01, p = 0.001, r = 10
    EXPECT_NEAR(ms.major, 0.002, 1e-15);
}

TEST(TimeScale, EmptyOrBadSpansGiveNoStep)
{
    for (double span : {0.0, -5.0, double(NAN), double(INFINITY)})
        EXPECT_EQ(scaleOf(span).major, 0.0) << span;
}

TEST(TimeFormat, ByIncrement)
{
    EXPECT_EQ(formatOf(31536001), "%y");
    EXPECT_EQ(formatOf(31536000), "%b-%y");
    EXPECT_EQ(formatOf(2592001), "%b-%y");
    EXPECT_EQ(formatOf(2592000), "%b-%d");
    EXPECT_EQ(formatOf(86401), "%b-%d");
    EXPECT_EQ(formatOf(86400), "%H:%M");
    EXPECT_EQ(formatOf(61), "%H:%M");
    EXPECT_EQ(formatOf(60), "%H:%M:%S");
    EXPECT_EQ(formatOf(2), "%H:%M:%S");
    EXPECT_EQ(formatOf(1), "%H:%M:%S.%s");
    EXPECT_EQ(formatOf(0.2), "%H:%M:%S.%s");
}

TEST(TimeTics, MatchTheCalendarOfGnuDate)
{
    auto cases = referenceCases();
    ASSERT_GE(cases.size(), 13u);
    for (const auto& entry : cases) {
        SCOPED_TRACE(entry.first);
        const ReferenceCase& c = entry.second;
        KgrqtTimeTics tics;
        ASSERT_TRUE(kgrqt_time_tics(c.start, c.end, &tics));
        ASSERT_EQ(tics.big.size(), c.tics.size());
        for (size_t i = 0; i < c.tics.size(); ++i) {
            EXPECT_NEAR(tics.big[i], c.tics[i], 1e-6) << i;
            char* label = epoch2str(tics.big[i], tics.label_format.c_str());
            EXPECT_EQ(label, c.labels[i]) << i;
            free(label);
        }
        // Reversed axes get the same tics.
        KgrqtTimeTics reversed;
        ASSERT_TRUE(kgrqt_time_tics(c.end, c.start, &reversed));
        EXPECT_EQ(reversed.big.size(), tics.big.size());
    }
}

TEST(TimeTics, MinorTicsLieInsideAndIncludeTheMajorOnes)
{
    KgrqtTimeTics tics;
    const double start = 1771977600, end = start + 864000; // the 10-day span
    ASSERT_TRUE(kgrqt_time_tics(start, end, &tics));
    EXPECT_EQ(tics.minor, 86400);
    EXPECT_EQ(tics.sml.size(), 11u);
    for (double t : tics.sml) {
        EXPECT_GE(t, start);
        EXPECT_LE(t, end);
        EXPECT_EQ(std::fmod(t, 86400.0), 0.0);
    }
}

TEST(TimeTics, ReferenceDateFormatFollowsTheStep)
{
    KgrqtTimeTics hour, days, months;
    ASSERT_TRUE(kgrqt_time_tics(0, 3600, &hour));
    EXPECT_STREQ(hour.date_format, "%D");
    ASSERT_TRUE(kgrqt_time_tics(0, 864000, &days));
    EXPECT_STREQ(days.date_format, "%Y");
    ASSERT_TRUE(kgrqt_time_tics(0, 400 * 86400.0, &months));
    EXPECT_EQ(months.date_format, nullptr);
}

TEST(TimeTics, AtMostAHundredMajorTics)
{
    KgrqtTimeTics tics;
    // Epochs far apart in the calendar's range: still bounded and finite.
    ASSERT_TRUE(kgrqt_time_tics(-62135596800.0 + 86400, 253402214400.0 - 86400, &tics));
    EXPECT_LE(tics.big.size(), 100u);
    EXPECT_FALSE(kgrqt_time_tics(5, 5, &tics));
    EXPECT_FALSE(kgrqt_time_tics(0, INFINITY, &tics));
}

TEST(TimeTics, EpochsStayInDoublePrecision)
{
    // A millisecond step late in this century: tics land on whole
    // milliseconds, which single precision could not even represent.
    KgrqtTimeTics tics;
    const double start = 4102444800.0; // 2100-01-01
    ASSERT_TRUE(kgrqt_time_tics(start, start + 0.01, &tics));
    ASSERT_GE(tics.big.size(), 5u);
    for (size_t i = 1; i < tics.big.size(); ++i)
        EXPECT_NEAR(tics.big[i] - tics.big[i - 1], 0.002, 1e-6);
    char* label = epoch2str(tics.big[1], tics.label_format.c_str());
    EXPECT_STREQ(label, "00:00:00.002");
    free(label);
}
