// The grid behind the polypoint item's searches gives exactly the answers of
// the linear searches: same position, distance and inside flag, the same
// list in the same order, ties and nesting included.
#include "kgrqt.h"

#include <QList>
#include <QPainterPath>

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <vector>

namespace {

// Hit-test records with owned paths: squares, circles and triangles of
// varying size about integer centres, some sharing a centre.
class Records {
public:
    void add(int x, int y, int shape, double r)
    {
        paths.emplace_back(new QPainterPath);
        QPainterPath* p = paths.back().get();
        if (shape == 0)
            p->addRect(x - r, y - r, 2 * r, 2 * r);
        else if (shape == 1)
            p->addEllipse(QPointF(x + 0.3, y - 0.2), r, r);
        else {
            p->moveTo(x, y - r);
            p->lineTo(x + 0.866 * r, y + 0.5 * r);
            p->lineTo(x - 0.866 * r, y + 0.5 * r);
            p->lineTo(x, y - r);
        }
        list.append(KgrpolypointPointPath{list.size(), x, y, p});
    }
    void addWithoutPath(int x, int y)
    {
        list.append(KgrpolypointPointPath{list.size(), x, y, nullptr});
    }

    QList<KgrpolypointPointPath> list;

private:
    std::vector<std::unique_ptr<QPainterPath>> paths;
};

struct Closest {
    int imin = -7, inside = -7;
    double dmin = -7;
};

Closest linearClosest(QList<KgrpolypointPointPath>* list, int x, int y)
{
    Closest c;
    kgrqt_findclosest_polypoint(list, x, y, &c.imin, &c.dmin, &c.inside);
    return c;
}

Closest gridClosest(const KgrqtSymbolGrid& grid, int x, int y)
{
    Closest c;
    grid.findClosest(x, y, &c.imin, &c.dmin, &c.inside);
    return c;
}

// Compares both searches at every pixel of the box.
void expectSameAnswers(Records& r, int x1, int y1, int x2, int y2)
{
    KgrqtSymbolGrid grid(&r.list);
    ASSERT_TRUE(grid.indexes(&r.list));
    for (int y = y1; y <= y2; ++y)
        for (int x = x1; x <= x2; ++x) {
            const Closest want = linearClosest(&r.list, x, y), got = gridClosest(grid, x, y);
            ASSERT_EQ(got.imin, want.imin) << x << "," << y;
            ASSERT_EQ(got.dmin, want.dmin) << x << "," << y;
            ASSERT_EQ(got.inside, want.inside) << x << "," << y;
            std::unique_ptr<QList<int>> in(kgrqt_findinside_polypoint(&r.list, x, y));
            std::unique_ptr<QList<int>> gin(grid.findInside(x, y));
            ASSERT_EQ(*gin, *in) << x << "," << y;
        }
}

} // namespace

TEST(SymbolGrid, RandomSymbolsAnswerAsTheLinearSearch)
{
    std::mt19937 random(7);
    std::uniform_int_distribution<int> px(0, 199), py(0, 149), shape(0, 2), size(1, 12);
    Records r;
    for (int i = 0; i < 600; ++i) {
        const int x = px(random), y = py(random);
        r.add(x, y, shape(random), size(random));
        if (i % 10 == 0) // same centre, later in the list: ties
            r.add(x, y, shape(random), size(random));
    }
    // Queries also well outside the symbols, on every side.
    expectSameAnswers(r, -30, -30, 230, 180);
}

TEST(SymbolGrid, TiesKeepTheEarlierPosition)
{
    Records r;
    // Equal distances from (50, 50) in cells far apart and in list order
    // against the cell order.
    r.add(80, 50, 0, 2);
    r.add(50, 20, 0, 2);
    r.add(20, 50, 0, 2);
    r.add(50, 80, 0, 2);
    for (int i = 0; i < 50; ++i)
        r.add(150 + i, 150, 0, 1); // spread the grid
    KgrqtSymbolGrid grid(&r.list);
    const Closest c = gridClosest(grid, 50, 50);
    EXPECT_EQ(c.imin, 0);
    EXPECT_EQ(c.dmin, 30.0);
    EXPECT_EQ(c.inside, 0);
    expectSameAnswers(r, 0, 0, 210, 160);
}

TEST(SymbolGrid, NestedSymbolsFarthestCentreFirst)
{
    Records r;
    r.add(20, 21, 0, 10); // centre 1 pixel from (20, 20)
    r.add(25, 20, 0, 10); // 5
    r.add(20, 23, 0, 10); // 3
    KgrqtSymbolGrid grid(&r.list);
    std::unique_ptr<QList<int>> found(grid.findInside(20, 20));
    EXPECT_EQ(*found, (QList<int>{1, 2, 0}));
}

TEST(SymbolGrid, EmptyListAndQueriesOutside)
{
    QList<KgrpolypointPointPath> empty;
    KgrqtSymbolGrid grid(&empty);
    ASSERT_TRUE(grid.indexes(&empty));
    Closest c;
    c.dmin = 3.5;
    grid.findClosest(1, 1, &c.imin, &c.dmin, &c.inside);
    EXPECT_EQ(c.imin, -1);
    EXPECT_EQ(c.dmin, 3.5);
    EXPECT_EQ(c.inside, 0);
    std::unique_ptr<QList<int>> found(grid.findInside(1, 1));
    EXPECT_TRUE(found->isEmpty());

    Records r;
    r.add(10, 10, 1, 4);
    r.addWithoutPath(12, 10);
    KgrqtSymbolGrid one(&r.list);
    c = gridClosest(one, 1000000, -1000000);
    EXPECT_EQ(c.imin, 1);
    EXPECT_EQ(c.inside, 0);
    expectSameAnswers(r, 0, 0, 25, 20);
}

TEST(SymbolGrid, ForgetsAChangedList)
{
    Records r;
    r.add(10, 10, 0, 3);
    KgrqtSymbolGrid grid(&r.list);
    EXPECT_TRUE(grid.indexes(&r.list));
    r.add(30, 10, 0, 3);
    EXPECT_FALSE(grid.indexes(&r.list));
    QList<KgrpolypointPointPath> other = r.list;
    EXPECT_FALSE(grid.indexes(&other));
    EXPECT_FALSE(grid.indexes(nullptr));
}

TEST(SymbolGrid, AbsurdOutlinesFallBackToTheLinearSearch)
{
    Records r;
    r.add(10, 10, 0, 1e100);
    KgrqtSymbolGrid grid(&r.list);
    EXPECT_FALSE(grid.indexes(&r.list));
}
