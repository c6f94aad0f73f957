#include "kgrqt.h"
#include "plot_record.h"
#include "render.h"

#include <QImage>
#include <QPainter>
#include <QPainterPath>
#include <QPen>

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <vector>

namespace {

// Symbols drawn as squares of half-size r about their centres.
class Symbols {
public:
    void add(int x, int y, int r)
    {
        paths.emplace_back(new QPainterPath);
        paths.back()->addRect(x - r, y - r, 2 * r, 2 * r);
        list.append(KgrpolypointPointPath{100 + list.size(), x, y, paths.back().get()});
    }

    QList<KgrpolypointPointPath> list;

private:
    std::vector<std::unique_ptr<QPainterPath>> paths;
};

QImage whiteImage()
{
    QImage image(40, 40, QImage::Format_ARGB32);
    image.fill(Qt::white);
    return image;
}

} // namespace

TEST(SymbolSearch, DistanceIsSquaredPixelsOfTheListPosition)
{
    Symbols s;
    s.add(10, 10, 2);
    s.add(13, 14, 2);
    KgrqtPolypointDistance d(&s.list, 10, 10);
    EXPECT_EQ(d.xc, 10.0);
    EXPECT_EQ(d.yc, 10.0);
    EXPECT_EQ(d.distance(0), 0.0);
    EXPECT_EQ(d.distance(1), 25.0);
    KgrqtPolypointDistanceCompare farther(&d);
    EXPECT_TRUE(farther(1, 0));
    EXPECT_FALSE(farther(0, 1));
    EXPECT_FALSE(farther(1, 1));
}

TEST(SymbolSearch, ClosestGivesPositionDistanceAndInside)
{
    Symbols s;
    s.add(50, 50, 3);
    s.add(13, 14, 3);
    s.add(30, 30, 3);
    int imin = 7, inside = 7;
    double dmin = 0;
    EXPECT_EQ(kgrqt_findclosest_polypoint(&s.list, 10, 10, &imin, &dmin, &inside), 0);
    EXPECT_EQ(imin, 1); // a list position, not the data index
    EXPECT_DOUBLE_EQ(dmin, 5.0);
    EXPECT_EQ(inside, 0);
    EXPECT_EQ(kgrqt_findclosest_polypoint(&s.list, 31, 29, &imin, &dmin, &inside), 0);
    EXPECT_EQ(imin, 2);
    EXPECT_DOUBLE_EQ(dmin, std::sqrt(2.0));
    EXPECT_EQ(inside, 1);
    // inside may be left out.
    EXPECT_EQ(kgrqt_findclosest_polypoint(&s.list, 49, 50, &imin, &dmin, nullptr), 0);
    EXPECT_EQ(imin, 0);
}

TEST(SymbolSearch, EqualDistancesKeepTheEarlierSymbol)
{
    Symbols s;
    s.add(20, 10, 2);
    s.add(10, 20, 2);
    s.add(0, 10, 2);
    int imin, inside;
    double dmin;
    kgrqt_findclosest_polypoint(&s.list, 10, 10, &imin, &dmin, &inside);
    EXPECT_EQ(imin, 0);
    EXPECT_DOUBLE_EQ(dmin, 10.0);
}

TEST(SymbolSearch, EmptyListFindsNothing)
{
    QList<KgrpolypointPointPath> empty;
    int imin = 3, inside = 3;
    double dmin = 42;
    kgrqt_findclosest_polypoint(&empty, 1, 1, &imin, &dmin, &inside);
    EXPECT_EQ(imin, -1);
    EXPECT_EQ(dmin, 42); // untouched
    EXPECT_EQ(inside, 0);
    QList<int>* found = kgrqt_findinside_polypoint(&empty, 1, 1);
    ASSERT_NE(found, nullptr);
    EXPECT_TRUE(found->isEmpty());
    delete found;
}

TEST(SymbolSearch, QueryOutsideEverySymbol)
{
    Symbols s;
    s.add(10, 10, 2);
    s.add(30, 30, 2);
    QList<int>* found = kgrqt_findinside_polypoint(&s.list, 20, 22);
    ASSERT_NE(found, nullptr);
    EXPECT_TRUE(found->isEmpty());
    delete found;
    int imin, inside = 7;
    double dmin;
    kgrqt_findclosest_polypoint(&s.list, 20, 22, &imin, &dmin, &inside);
    EXPECT_EQ(imin, 1);
    EXPECT_EQ(inside, 0);
}

TEST(SymbolSearch, InsideListsTheFarthestCentreFirst)
{
    // Three nested symbols around (20, 20) with centres 1, 5 and 3 pixels
    // away, and one that does not contain the point.
    Symbols s;
    s.add(21, 20, 4);
    s.add(1, 1, 2);
    s.add(23, 24, 10);
    s.add(17, 20, 6);
    QList<int>* found = kgrqt_findinside_polypoint(&s.list, 20, 20);
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(*found, (QList<int>{2, 3, 0}));
    delete found;
}

TEST(SymbolSearch, SetupLineGivesThePen)
{
    QImage image = whiteImage();
    QPainter painter(&image);
    QColor red(255, 0, 0);
    EXPECT_EQ(kgrqt_setup_line(&painter, &red, 5, Qt::DashLine, Qt::MiterJoin), 0);
    EXPECT_EQ(painter.pen().color(), red);
    EXPECT_EQ(painter.pen().width(), 5);
    EXPECT_EQ(painter.pen().style(), Qt::DashLine);
    EXPECT_EQ(painter.pen().joinStyle(), Qt::MiterJoin);
    kgrqt_setup_line(&painter, &red, 5, Qt::SolidLine, Qt::RoundJoin);
    painter.drawLine(5, 20, 35, 20);
    painter.end();
    // Five pixels thick.
    EXPECT_EQ(countPixels(image, qRgb(255, 0, 0), QRect(20, 0, 1, 40)), 5);
    EXPECT_EQ(image.pixel(20, 20), qRgb(255, 0, 0));
}

TEST(SymbolSearch, SetupFillGivesABrushAndNoPen)
{
    QImage image = whiteImage();
    QPainter painter(&image);
    painter.setPen(QPen(Qt::black, 3));
    QColor green(0, 200, 0);
    EXPECT_EQ(kgrqt_setup_fill(&painter, &green), 0);
    EXPECT_EQ(painter.pen().style(), Qt::NoPen);
    EXPECT_EQ(painter.brush().style(), Qt::SolidPattern);
    EXPECT_EQ(painter.brush().color(), green);
    painter.drawRect(10, 10, 20, 20);
    // Fill first, then line: both.
    QColor blue(0, 0, 255);
    kgrqt_setup_line(&painter, &blue, 1, Qt::SolidLine, Qt::MiterJoin);
    painter.drawRect(2, 2, 5, 5);
    painter.end();
    EXPECT_EQ(image.pixel(20, 20), qRgb(0, 200, 0));
    EXPECT_EQ(image.pixel(10, 20), qRgb(0, 200, 0)); // the edge: no outline
    EXPECT_EQ(image.pixel(2, 4), qRgb(0, 0, 255));
    EXPECT_EQ(image.pixel(4, 4), qRgb(0, 200, 0));
}
