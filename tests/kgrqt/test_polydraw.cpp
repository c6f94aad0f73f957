#include "kgrqt.h"
#include "plot_record.h"

#include <QPainterPath>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <set>
#include <vector>

namespace {

// A 100 x 100 plot showing the unit square, so that a world point (x, y)
// lies at the fractions (x, 1 - y) and the pixel (100 x, 100 (1 - y)).
KgrviewportItem unitPlot()
{
    return plotRecord(100, 100, 0, 1, 0, 1);
}

struct Pt {
    double x, y;
};

QPainterPath* add(KGRPolyDraw& draw, QPainterPath* path, const std::vector<Pt>& pts, int start = 0,
                  int subtract = 0)
{
    std::vector<double> x, y;
    for (const Pt& p : pts) {
        x.push_back(p.x);
        y.push_back(p.y);
    }
    return draw.addPoints(path, int(pts.size()), x.data(), y.data(), start, subtract);
}

// The world point of a plot fraction on the unit plot.
Pt atFraction(double fx, double fy)
{
    return {fx, 1 - fy};
}

void expectElement(const QPainterPath& path, int i, QPainterPath::ElementType type, double x,
                   double y)
{
    ASSERT_LT(i, path.elementCount());
    QPainterPath::Element e = path.elementAt(i);
    EXPECT_EQ(e.type, type) << "element " << i;
    EXPECT_NEAR(e.x, x, 1e-9) << "element " << i;
    EXPECT_NEAR(e.y, y, 1e-9) << "element " << i;
}

const QPainterPath::ElementType M = QPainterPath::MoveToElement;
const QPainterPath::ElementType L = QPainterPath::LineToElement;

// A representative fraction for each of the nine zones, and a second one.
Pt zonePoint(int zone, int which)
{
    const double band[3] = {-0.5, 0.5, 1.5};
    double d = 0.1 * which;
    return atFraction(band[zone % 3] + d, band[zone / 3] + d);
}

enum Outcome { Skip, Current, PreviousAndCurrent };

// The drawing decision for a point in zone z after one in zone last, as
// tabulated for the drawing engine.
Outcome tabulated(int last, int z)
{
    struct Row {
        std::set<int> skip, current;
    };
    static const Row rows[9] = {
        {{0}, {1, 2, 3, 6}}, {{1}, {0, 2}}, {{2}, {0, 1, 5, 8}},
        {{3}, {0, 6}},       {{}, {}},      {{5}, {2, 8}},
        {{6}, {0, 3, 7, 8}}, {{7}, {6, 8}}, {{8}, {2, 5, 6, 7}},
    };
    if (last == 4)
        return Current;
    if (rows[last].skip.count(z))
        return Skip;
    return rows[last].current.count(z) ? Current : PreviousAndCurrent;
}

} // namespace

TEST(PolyDraw, PointsInsideBecomeAPathInPixels)
{
    KgrviewportItem vp = plotRecord(220, 120, 0, 10, 0, 5, KGR_WTRAN_NONE, 10);
    KGRPolyDraw draw(&vp, 0);
    EXPECT_EQ(draw.w, 200);
    EXPECT_EQ(draw.h, 100);
    QPainterPath path;
    EXPECT_EQ(add(draw, &path, {{0, 5}, {5, 2.5}, {10, 0}}), &path);
    ASSERT_EQ(path.elementCount(), 3);
    expectElement(path, 0, M, 0, 0);
    expectElement(path, 1, L, 100, 50);
    expectElement(path, 2, L, 200, 100);
}

TEST(PolyDraw, RunOutsideCollapsesToItsEnds)
{
    KgrviewportItem vp = plotRecord(100, 100, 0, 11, 0, 1);
    KGRPolyDraw draw(&vp, 0);
    // Points 1 to 12 at x = 0 .. 11; points 5 to 9 above the view.
    std::vector<Pt> pts;
    for (int i = 0; i < 12; i++)
        pts.push_back({double(i), i >= 4 && i <= 8 ? 2.0 + i : 0.5});
    QPainterPath path;
    add(draw, &path, pts);
    ASSERT_EQ(path.elementCount(), 9);
    double px = 100.0 / 11;
    for (int i = 0; i < 4; i++)
        expectElement(path, i, i == 0 ? M : L, i * px, 50);
    expectElement(path, 4, L, 4 * px, -100.0 * 5); // point 5, y = 6
    expectElement(path, 5, L, 8 * px, -100.0 * 9); // point 9, y = 10
    for (int i = 9; i < 12; i++)
        expectElement(path, i - 3, L, i * px, 50);
}

TEST(PolyDraw, ZoneTableDecidesWhatIsDrawn)
{
    for (int last = 0; last < 9; last++) {
        for (int z = 0; z < 9; z++) {
            if (last == 4)
                continue;
            KgrviewportItem vp = unitPlot();
            KGRPolyDraw draw(&vp, 0);
            // An inside point, two in zone `last`, two in zone z. The second
            // point of `last` is dropped; what the third point does shows
            // the decision. The last point of a run is always drawn.
            Pt in = atFraction(0.5, 0.5);
            Pt p1 = zonePoint(last, 0), p2 = zonePoint(last, 1);
            Pt q1 = zonePoint(z, 2), q2 = zonePoint(z, 3);
            if (z == 4) {
                q1 = atFraction(0.3, 0.3);
                q2 = atFraction(0.7, 0.7);
            }
            QPainterPath path;
            add(draw, &path, {in, p1, p2, q1, q2});
            int expected;
            switch (tabulated(last, z)) {
            case Skip:
                expected = 3; // in, p1, q2 (the run's end)
                break;
            case Current:
                expected = 4; // in, p1, q1, q2
                break;
            default:
                expected = 5; // in, p1, p2, q1, q2
                break;
            }
            EXPECT_EQ(path.elementCount(), expected) << "zones " << last << " -> " << z;
            if (tabulated(last, z) == PreviousAndCurrent)
                expectElement(path, 2, L, 100 * (p2.x), 100 * (1 - p2.y));
        }
    }
}

TEST(PolyDraw, MoveAlongOneOutsideSideIsOneStraightMove)
{
    KgrviewportItem vp = unitPlot();
    KGRPolyDraw draw(&vp, 0);
    QPainterPath path;
    // Inside, two above-left, two above, inside.
    add(draw, &path,
        {atFraction(0.5, 0.5), atFraction(-0.5, -0.5), atFraction(-0.4, -0.6),
         atFraction(0.5, -0.5), atFraction(0.6, -0.6), atFraction(0.5, 0.6)});
    ASSERT_EQ(path.elementCount(), 5);
    expectElement(path, 1, L, -50, -50);
    expectElement(path, 2, L, 50, -50); // the second above-left point is gone
    expectElement(path, 3, L, 60, -60);
    expectElement(path, 4, L, 50, 60);
}

TEST(PolyDraw, BreakOutsideStillStartsANewLine)
{
    KgrviewportItem vp = unitPlot();
    KGRPolyDraw draw(&vp, 0);
    QPainterPath path;
    add(draw, &path,
        {atFraction(0.5, 0.5),
         atFraction(0.5, -0.5),
         {KGR_UNSET, 0},
         atFraction(0.6, -0.5),
         atFraction(0.6, 0.5)});
    ASSERT_EQ(path.elementCount(), 4);
    expectElement(path, 1, L, 50, -50);
    expectElement(path, 2, M, 60, -50);
    expectElement(path, 3, L, 60, 50);
}

TEST(PolyDraw, StartArgumentBeginsASubpathAndStateCarriesOver)
{
    KgrviewportItem vp = unitPlot();
    KGRPolyDraw draw(&vp, 0);
    QPainterPath path;
    add(draw, &path, {{0.1, 0.9}, {0.2, 0.9}}, 1);
    add(draw, &path, {{0.3, 0.9}}, 0); // continues the line
    add(draw, &path, {{0.1, 0.1}, {0.2, 0.1}}, 1);
    ASSERT_EQ(path.elementCount(), 5);
    expectElement(path, 0, M, 10, 10);
    expectElement(path, 2, L, 30, 10);
    expectElement(path, 3, M, 10, 90);
    expectElement(path, 4, L, 20, 90);
}

TEST(PolyDraw, SubtractCutsTheOutlineOutOfTheGivenPath)
{
    KgrviewportItem vp = unitPlot();
    KGRPolyDraw draw(&vp, 0);
    QPainterPath* path = new QPainterPath;
    path->addRect(0, 0, 100, 100);
    QPainterPath* result =
        add(draw, path, {{0.2, 0.8}, {0.4, 0.8}, {0.4, 0.6}, {0.2, 0.6}, {0.2, 0.8}}, 1, 1);
    EXPECT_EQ(result, path);
    EXPECT_TRUE(result->contains(QPointF(50, 50)));
    EXPECT_FALSE(result->contains(QPointF(30, 30)));
    QImage image = fillPath(*result, 100, 100);
    EXPECT_TRUE(isBlack(image, 70, 70));
    EXPECT_TRUE(isWhite(image, 30, 30));
    EXPECT_TRUE(isBlack(image, 10, 10));
    delete result;
}

TEST(PolyDraw, SubtractedRunThatContinuesALineStartsAtItsFirstPoint)
{
    KgrviewportItem vp = unitPlot();
    KGRPolyDraw draw(&vp, 0);
    QPainterPath* path = new QPainterPath;
    path->addRect(0, 0, 100, 100);
    add(draw, path, {{0.5, 0.5}}, 1);
    // Continues with start 0 into the fresh path that is subtracted: it
    // must not begin with a line from the path's origin.
    path = add(draw, path, {{0.2, 0.8}, {0.4, 0.8}, {0.4, 0.6}, {0.2, 0.6}}, 0, 1);
    QImage image = fillPath(*path, 100, 100);
    EXPECT_TRUE(isWhite(image, 30, 30));
    EXPECT_TRUE(isBlack(image, 10, 15));
    EXPECT_TRUE(isBlack(image, 5, 30));
    delete path;
}

TEST(PolyDraw, EquidistantSegmentBecomesOneElementPerPixel)
{
    KgrviewportItem vp = plotRecord(100, 100, -50, 50, -50, 50, KGR_WTRAN_EDP);
    KGRPolyDraw draw(&vp, 0);
    QPainterPath path;
    add(draw, &path, {{-50, 0}, {50, 0}});
    ASSERT_EQ(path.elementCount(), 101);
    for (int i = 0; i <= 100; i++)
        expectElement(path, i, i == 0 ? M : L, i, 50);
}

TEST(PolyDraw, NarrowViewportAddsNothing)
{
    KgrviewportItem vp = plotRecord(22, 100, 0, 1, 0, 1, KGR_WTRAN_NONE, 10);
    KGRPolyDraw draw(&vp, 0);
    QPainterPath path;
    add(draw, &path, {{0.1, 0.1}, {0.5, 0.5}});
    EXPECT_EQ(path.elementCount(), 0);
    EXPECT_EQ(draw.addPoints(nullptr, 0, nullptr, nullptr, 0, 1), nullptr);
}

TEST(PolyDraw, BadPointsAreLeftOutAndBreakTheLine)
{
    KgrviewportItem vp = unitPlot();
    KGRPolyDraw draw(&vp, 0);
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    QPainterPath path;
    add(draw, &path,
        {{0.1, 0.9},
         {0.15, 0.9},
         {nan, 0.5},
         {0.2, 0.9},
         {0.25, 0.9},
         {inf, inf},
         {0.3, 0.9},
         {0.35, 0.9},
         {1e300, 0.5},
         {-1e300, -1e300},
         {0.4, 0.9},
         {0.45, 0.9}});
    ASSERT_EQ(path.elementCount(), 8);
    for (int i = 0; i < 8; i++)
        expectElement(path, i, i % 2 ? L : M, 10 + 5 * i, 10);
}

TEST(PolyDraw, RingAroundTheViewFillsIt)
{
    // Every point outside: the corners outside the view are kept where the
    // outline turns round them, so the view is filled.
    KgrviewportItem vp = unitPlot();
    KGRPolyDraw draw(&vp, 0);
    QPainterPath path;
    add(draw, &path, {{-1, -1}, {0.5, -1}, {2, -1}, {2, 0.5}, {2, 2}, {-1, 2}, {-1, -1}}, 1);
    QImage image = fillPath(path, 100, 100);
    EXPECT_TRUE(isBlack(image, 1, 1));
    EXPECT_TRUE(isBlack(image, 50, 50));
    EXPECT_TRUE(isBlack(image, 98, 98));
}
