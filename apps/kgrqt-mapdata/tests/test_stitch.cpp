#include "stitch.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace {

const long kDeg = 1000000;

Line line(int level, std::vector<std::pair<double, double>> pts)
{
    Line l;
    l.level = level;
    for (auto& p : pts) {
        l.lons.push_back(long(p.first * kDeg));
        l.lats.push_back(long(p.second * kDeg));
    }
    return l;
}

bool closed(const Line& l)
{
    return l.lons.front() == l.lons.back() && l.lats.front() == l.lats.back();
}

} // namespace

TEST(MapdataStitch, PiecesJoinEitherWayRound)
{
    // A square cut into three pieces, the middle one stored backwards.
    std::vector<Line> pieces = {line(1, {{0, 0}, {10, 0}}), line(1, {{10, 10}, {10, 0}}),
                                line(1, {{10, 10}, {0, 10}, {0, 0}})};
    StitchReport rep;
    std::vector<Line> rings = stitch(pieces, true, &rep);
    ASSERT_EQ(rings.size(), 1u);
    EXPECT_TRUE(closed(rings[0]));
    EXPECT_EQ(rings[0].lons.size(), 5u);
    EXPECT_EQ(rep.closed, 1);
    EXPECT_EQ(rep.open, 0);
    EXPECT_EQ(rep.points_in, 7);
    EXPECT_EQ(rep.points_out, 5); // two junctions counted once
    EXPECT_DOUBLE_EQ(std::fabs(ringArea(rings[0])), 100.0);
}

TEST(MapdataStitch, LevelsAreStitchedApart)
{
    std::vector<Line> pieces = {line(1, {{0, 0}, {1, 0}}), line(2, {{1, 0}, {1, 1}}),
                                line(1, {{1, 0}, {0, 1}, {0, 0}})};
    StitchReport rep;
    std::vector<Line> out = stitch(pieces, true, &rep);
    ASSERT_EQ(out.size(), 2u);
    EXPECT_EQ(out[0].level, 1);
    EXPECT_TRUE(closed(out[0]));
    EXPECT_EQ(out[1].level, 2);
    EXPECT_FALSE(closed(out[1]));
    EXPECT_EQ(rep.open, 1);
}

TEST(MapdataStitch, DateLineIsCrossedContinuously)
{
    // An island across the date line, cut at 180 / -180.
    std::vector<Line> pieces = {line(1, {{175, -5}, {180, -5}}),
                                line(1, {{-180, -5}, {-175, -5}, {-175, 5}, {-180, 5}}),
                                line(1, {{180, 5}, {175, 5}, {175, -5}})};
    StitchReport rep;
    std::vector<Line> rings = stitch(pieces, true, &rep);
    ASSERT_EQ(rings.size(), 1u);
    const Line& r = rings[0];
    EXPECT_TRUE(closed(r));
    for (size_t i = 1; i < r.lons.size(); ++i)
        EXPECT_LE(std::labs(r.lons[i] - r.lons[i - 1]), 10 * kDeg) << i;
    EXPECT_EQ(*std::max_element(r.lons.begin(), r.lons.end()), 185 * kDeg);
    EXPECT_DOUBLE_EQ(std::fabs(ringArea(r)), 100.0);
}

TEST(MapdataStitch, RingRoundTheWorldClosesThroughThePole)
{
    // Antarctica-like: once round at -70, cut at 0 and at the date line.
    std::vector<Line> pieces = {line(1, {{0, -70}, {90, -72}, {180, -70}}),
                                line(1, {{-180, -70}, {-90, -68}, {0, -70}})};
    StitchReport rep;
    std::vector<Line> rings = stitch(pieces, true, &rep);
    ASSERT_EQ(rings.size(), 1u);
    const Line& r = rings[0];
    EXPECT_TRUE(closed(r));
    EXPECT_EQ(rep.polar, 1);
    EXPECT_EQ(rep.closed, 1);
    // It starts on the date line, and the closure runs along the pole.
    EXPECT_EQ(r.lons.front() % (360 * kDeg), 180 * kDeg);
    int at_pole = 0;
    for (long lat : r.lats)
        at_pole += lat == -90 * kDeg;
    EXPECT_EQ(at_pole, 2);
    EXPECT_EQ(selfCrossings(r), 0);
    // Without ring closing it stays open.
    StitchReport rep2;
    std::vector<Line> open = stitch(pieces, false, &rep2);
    EXPECT_FALSE(closed(open[0]));
    EXPECT_EQ(rep2.polar, 0);
}

TEST(MapdataStitch, SelfCrossings)
{
    EXPECT_EQ(selfCrossings(line(1, {{0, 0}, {10, 0}, {10, 10}, {0, 10}, {0, 0}})), 0);
    // A figure of eight crosses itself once.
    EXPECT_EQ(selfCrossings(line(1, {{0, 0}, {10, 10}, {10, 0}, {0, 10}, {0, 0}})), 1);
    // Touching at a shared vertex is not a crossing.
    EXPECT_EQ(selfCrossings(line(1, {{0, 0}, {5, 5}, {10, 0}, {10, 10}, {5, 5}, {0, 10}})), 0);
}

TEST(MapdataStitch, ReadDumpTakesLevelsFromHeaders)
{
    std::vector<Line> lines;
    ASSERT_TRUE(readDump("printf '> Shore Bin # 0, Level 2\\n1.5 2\\n3 4.25\\n"
                         "> River Bin # 1, Level 0\\n5 6\\n7 8\\n> single\\n9 9\\n'",
                         1, &lines));
    ASSERT_EQ(lines.size(), 2u); // the one-point line is dropped
    EXPECT_EQ(lines[0].level, 3);
    EXPECT_EQ(lines[0].lons[0], 1500000);
    EXPECT_EQ(lines[0].lats[1], 4250000);
    EXPECT_EQ(lines[1].level, 1);
    std::vector<Line> none;
    EXPECT_FALSE(readDump("false", 0, &none));
}
