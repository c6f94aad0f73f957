// The grid item: options, which sets of lines are drawn, where they fall
// (on the axes' tics), the equidistant graticule and a viewport without
// scales.
#include "kgrqt.h"
#include "register.h"
#include "render.h"

#include <QGridLayout>
#include <QImage>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <set>
#include <string>
#include <vector>

namespace {

const char* const kEnd = nullptr;

// Antialiased red (major) and blue (minor) lines on white.
bool reddish(QRgb p)
{
    return qRed(p) > qGreen(p) + 60;
}

bool bluish(QRgb p)
{
    return qBlue(p) > qGreen(p) + 60 && qRed(p) < qBlue(p) - 30;
}

// Columns of a row, or rows of a column, where pred holds, with runs of
// neighbours (an antialiased line covers two) merged to their first.
template <class Pred> std::vector<int> linesAlong(const QImage& image, bool row, int at, Pred pred)
{
    std::vector<int> found;
    const int n = row ? image.width() : image.height();
    bool inside = false;
    for (int i = 0; i < n; ++i) {
        QRgb p = row ? image.pixel(i, at) : image.pixel(at, i);
        if (pred(p) && !inside)
            found.push_back(i);
        inside = pred(p);
    }
    return found;
}

// A 440 x 340 viewport with margins of 20: the frame is 400 x 300 with its
// lower-left corner at widget (20, 320); world 0..10 both ways.
class GridTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        hx_clear_register(0);
        ASSERT_EQ(setUpTenByTenPlot(vp), 0);
        grid = new KGRGrid(&vp);
        ASSERT_EQ(grid->configure("fill", "red", "fill_small", "blue", kEnd), 0);
    }
    void TearDown() override
    {
        delete grid;
        hx_clear_register(0);
    }

    QImage render()
    {
        vp.layout->activate();
        return vp.grab().toImage().convertToFormat(QImage::Format_RGB32);
    }

    KGRViewport vp{nullptr};
    KGRGrid* grid = nullptr;
};

std::string printed(KGRConfigure& item, const char* option)
{
    char* s = item.printConfigValue(option);
    std::string out = s ? s : "(null)";
    free(s);
    return out;
}

} // namespace

TEST(GridDefaults, Options)
{
    KGRViewport vp(nullptr);
    KGRGrid grid(&vp);
    EXPECT_EQ(printed(grid, "fill"), "darkgray");
    EXPECT_EQ(printed(grid, "fill_small"), "lightgray");
    for (const char* option : {"visible_xsmall", "visible_x", "visible_ysmall", "visible_y",
                               "linewidth", "linewidth_small"})
        EXPECT_EQ(printed(grid, option), "1") << option;
    EXPECT_EQ(printed(grid, "mindx"), "200");
    EXPECT_EQ(printed(grid, "mindy"), "100");
    EXPECT_EQ(grid.grid.xincr_big, 0.0);
    EXPECT_EQ(grid.grid.style, 1);
    EXPECT_EQ(grid.grid.style_small, 1);
    EXPECT_EQ(grid.grid.header.x2, 5000);
    EXPECT_STREQ(grid.class_name, "KGRGrid");
}

TEST_F(GridTest, MajorAndMinorLinesBothWays)
{
    QImage image = render();
    // Major lines every 2.5 (x: 400 pixels, at least 200 apart; y: 300
    // pixels, at least 100 apart), minor every 0.5, in a row and a column
    // that no horizontal or vertical line crosses.
    std::vector<int> major = linesAlong(image, true, 317, reddish);
    EXPECT_EQ(major.size(), 5u);
    std::vector<int> minor = linesAlong(image, true, 317, bluish);
    EXPECT_EQ(minor.size(), 21u - 5u);
    std::vector<int> rows = linesAlong(image, false, 23, reddish);
    EXPECT_EQ(rows.size(), 5u);
}

TEST_F(GridTest, HidingMinorVerticalLinesLeavesTheMajorOnes)
{
    ASSERT_EQ(grid->configure("visible_xsmall", "0", kEnd), 0);
    QImage image = render();
    EXPECT_EQ(linesAlong(image, true, 317, bluish).size(), 0u);
    EXPECT_EQ(linesAlong(image, true, 317, reddish).size(), 5u);
    // Horizontal minor lines are still there.
    EXPECT_GT(linesAlong(image, false, 23, bluish).size(), 0u);
}

TEST_F(GridTest, AllSwitchesOffDrawNothing)
{
    ASSERT_EQ(grid->configure("visible_xsmall", "0", "visible_x", "0", "visible_ysmall", "0",
                              "visible_y", "0", kEnd),
              0);
    QImage image = render();
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            ASSERT_EQ(image.pixel(x, y), qRgb(255, 255, 255)) << x << " " << y;
}

TEST_F(GridTest, SpacingFollowsMindxOverAThousandPixels)
{
    // Frame 1000 pixels wide from 0 to 1: at most 5 steps of 200 pixels,
    // a spacing of 0.2 whose nice value below is 0.1: 11 lines 100 apart.
    vp.resize(1040, 340);
    ASSERT_EQ(vp.configure("xright", "1", kEnd), 0);
    ASSERT_EQ(grid->configure("visible_xsmall", "0", kEnd), 0);
    std::vector<int> lines = linesAlong(render(), true, 317, reddish);
    ASSERT_EQ(lines.size(), 11u);
    for (size_t i = 1; i < lines.size(); ++i)
        EXPECT_NEAR(lines[i] - lines[i - 1], 100, 1);
}

TEST_F(GridTest, IncrementsArePresets)
{
    ASSERT_EQ(grid->configure("xincrement", "5", "xincrement_small", "1", kEnd), 0);
    QImage image = render();
    EXPECT_EQ(linesAlong(image, true, 317, reddish).size(), 3u);
    EXPECT_EQ(linesAlong(image, true, 317, bluish).size(), 11u - 3u);
}

TEST_F(GridTest, LinesFallOnTheAxesTics)
{
    // Awkward numbers so that lines fall between pixels.
    ASSERT_EQ(
        vp.configure("xleft", "-0.37", "xright", "7.91", "ybottom", "3.3", "ytop", "9.1", kEnd), 0);
    QImage gridImage = render();
    grid->hide();
    KGRAxes axes(&vp);
    ASSERT_EQ(axes.configure("fill_axes", "red", "xformat", "none", "yformat", "none", "axis_style",
                             "", "linewidth_small", "-1", kEnd),
              0);
    QImage ticImage = render();
    // Every major tic (3 pixels in from the bottom and left edges) lies on
    // exactly the pixels of its grid line.
    std::vector<int> tics = linesAlong(ticImage, true, 317, reddish);
    std::vector<int> lines = linesAlong(gridImage, true, 200, reddish);
    ASSERT_GE(tics.size(), 3u);
    EXPECT_EQ(tics, lines);
    std::vector<int> ticRows = linesAlong(ticImage, false, 23, reddish);
    std::vector<int> lineRows = linesAlong(gridImage, false, 200, reddish);
    ASSERT_GE(ticRows.size(), 3u);
    EXPECT_EQ(ticRows, lineRows);
    // Crisp one-pixel lines: the pixel beside a line is untouched.
    for (int x : lines)
        EXPECT_EQ(gridImage.pixel(x + 1, 200), qRgb(255, 255, 255)) << x;
}

TEST_F(GridTest, ViewportWithoutScalesDrawsNothingAndSaysNothing)
{
    vp.resize(30, 30); // narrower than its margins
    QImage image = render();
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            ASSERT_FALSE(reddish(image.pixel(x, y)) || bluish(image.pixel(x, y)));
    EXPECT_EQ(takeRegister(), "");
}

TEST_F(GridTest, EquidistantViewportsGetAGraticule)
{
    ASSERT_EQ(vp.configure("wtran", "edp", "latr", "0", "lonr", "0", "xleft", "-90", "xright", "90",
                           "ybottom", "-90", "ytop", "90", kEnd),
              0);
    QImage image = render();
    // The central meridian and the equator are major lines through the
    // centre.
    auto pixelOf = [&](double lat, double lon) {
        double x = 0, y = 0;
        kgrqt_latlon2edp(0, 0, lat, lon, &x, &y);
        return QPoint(static_cast<int>(std::lround(20 + 400 * (x + 90) / 180)),
                      static_cast<int>(std::lround(320 - 300 * (y + 90) / 180)));
    };
    auto nearRed = [&](QPoint p) {
        for (int dy = -1; dy <= 1; ++dy)
            for (int dx = -1; dx <= 1; ++dx)
                if (reddish(image.pixel(p.x() + dx, p.y() + dy)))
                    return true;
        return false;
    };
    for (double lat : {-40.0, -10.0, 20.0, 35.0})
        EXPECT_TRUE(nearRed(pixelOf(lat, 0))) << "meridian 0 at " << lat;
    // Major meridians are the nice values over the shown longitudes (0 to
    // 360 here: 0, 100, 200 and 300, of which 0 and 300 = -60 face us), and
    // major parallels over the shown latitudes (-50, 0, 50). Along the
    // equator distance is longitude, along the central meridian latitude.
    double latmin, latmax, lonmin, lonmax;
    kgrqt_delbox2llbox(0, 0, -90, 90, -90, 90, &latmin, &latmax, &lonmin, &lonmax);
    auto expected = [](double lo, double hi, int pixels, int spacing) {
        double start = 0, incr = 0, ss = 0, is = 0;
        int n = 0, ns = 0;
        std::set<double> v;
        kgrqt_get_nice_fvals(lo, hi, pixels, spacing, &start, &n, &incr, &ss, &ns, &is);
        for (int i = 0; i < n; ++i) {
            double d = std::remainder(start + i * incr, 360.0);
            if (std::fabs(d) < 89)
                v.insert(d);
        }
        return v;
    };
    // Crossings away from the limb and the poles, where lines converge.
    auto found = [&](bool row, int at, int origin, double degreesPerPixel) {
        std::set<double> degrees;
        for (int i : linesAlong(image, row, at, reddish)) {
            double d = std::round((i + 0.5 - origin) * degreesPerPixel);
            if (std::fabs(d) < 89)
                degrees.insert(d);
        }
        return degrees;
    };
    std::set<double> meridians = expected(lonmin, lonmax, 400, 200);
    EXPECT_EQ(meridians, (std::set<double>{-60.0, 0.0}));
    EXPECT_EQ(found(true, 170 - 3, 220, 180.0 / 400), meridians);
    std::set<double> parallels = expected(latmin, latmax, 300, 100);
    EXPECT_EQ(parallels, (std::set<double>{-50.0, 0.0, 50.0}));
    EXPECT_EQ(found(false, 220 - 3, 170, -180.0 / 300), parallels);
    // A point on no line is left alone.
    QPoint off = pixelOf(25, 25);
    EXPECT_FALSE(reddish(image.pixel(off)));
}
