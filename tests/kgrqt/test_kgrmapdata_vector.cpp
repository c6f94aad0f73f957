// KGRMapData: point in polygon and vector drawing into images.
#include "kgrqt.h"
#include "mapdata_files.h"
#include "plot_record.h"
#include "register.h"
#include "render.h"

#include <QColor>
#include <QImage>
#include <QPainter>

#include <gtest/gtest.h>

#include <cmath>
#include <memory>

namespace {

const QRgb kWhite = qRgb(255, 255, 255);
const QRgb kRed = qRgb(255, 0, 0);
const QRgb kBlue = qRgb(0, 0, 255);
const QRgb kGreen = qRgb(0, 255, 0);

// Colours for drawVector: per-level outlines, the two fills.
struct Style {
    QColor red{Qt::red}, blue{Qt::blue}, green{Qt::green};
    KGR_Color outline[KGRMAPDATA_NLEVELS]{};
    int linewidth[KGRMAPDATA_NLEVELS];
    KGR_Color fill{nullptr, &red};
    KGR_Color background{nullptr, &blue};
    KGR_Color none{nullptr, nullptr};
    Style()
    {
        for (int k = 0; k < KGRMAPDATA_NLEVELS; ++k) {
            outline[k].color = &green;
            linewidth[k] = -1;
        }
    }
};

std::unique_ptr<KGRMapData> open(const HXMapDataVectorInput& v, const char* name)
{
    HXMapDataWriter w;
    w.addVector(v);
    std::string path = writeBytes(name, bytesOf(w));
    auto md = std::make_unique<KGRMapData>(const_cast<char*>(path.c_str()), 1);
    md->setResolution(0);
    return md;
}

// A geographic plot of 360 x 180 pixels, one pixel a degree, by default
// the whole world; bblat as the viewport would compute it.
KgrviewportItem geogPlot(double xl = -180, double xr = 180, int wtran = KGR_WTRAN_GEOG)
{
    KgrviewportItem vp = plotRecord(361, 181, xl, xr, -90, 90, wtran);
    vp.bblatmin = -90;
    vp.bblatmax = 90;
    return vp;
}

QImage draw(KGRMapData& md, KgrviewportItem& vp, Style& st, unsigned int levels = 0,
            int* resolution = nullptr, bool fills = true)
{
    QImage image(vp.w, vp.h, QImage::Format_ARGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    md.drawVector(painter, &vp, levels, st.outline, st.linewidth, resolution,
                  fills ? st.fill : st.none, fills ? st.background : st.none);
    return image;
}

// The pixel of a geographic point on geogPlot(xl, ...).
QRgb at(const QImage& image, double lon, double lat, double xl = -180)
{
    return image.pixel(int(lon - xl + 0.5), int(90 - lat + 0.5));
}

HXMapDataSegmentInput square(int level, int fill, double lon0, double lat0, double size)
{
    return segment(level, fill, {lon0, lon0 + size, lon0 + size, lon0, lon0},
                   {lat0, lat0, lat0 + size, lat0 + size, lat0});
}

} // namespace

TEST(KGRMapDataInside, SquareAndOutside)
{
    KGRMapData md(1);
    double lats[] = {0, 0, 10, 10}, lons[] = {0, 10, 10, 0};
    EXPECT_EQ(md.isInside(5, 5, 4, lats, lons), 1);
    EXPECT_EQ(md.isInside(5, 15, 4, lats, lons), 0);
    EXPECT_EQ(md.isInside(15, 5, 4, lats, lons), 0);  // north of every edge
    EXPECT_EQ(md.isInside(-5, 5, 4, lats, lons), 0);  // two crossings
    EXPECT_EQ(md.isInside(5, 365, 4, lats, lons), 1); // a turn away
}

TEST(KGRMapDataInside, EndsAreInclusiveSoASharedVertexCountsTwice)
{
    KGRMapData md(1);
    // A diamond whose top vertex is on the point's meridian: both edges
    // meeting there count, and the centre comes out as outside.
    double lats[] = {-5, 0, 5, 0}, lons[] = {0, 5, 0, -5};
    EXPECT_EQ(md.isInside(0, 0, 4, lats, lons), 0);
    EXPECT_EQ(md.isInside(0, 0.1, 4, lats, lons), 1);
    EXPECT_EQ(md.isInside(0, -0.1, 4, lats, lons), 1);
}

TEST(KGRMapDataInside, AcrossTheDateLine)
{
    KGRMapData md(1);
    double lats[] = {-10, -10, 10, 10}, lons[] = {170, -170, -170, 170};
    EXPECT_EQ(md.isInside(0, 180, 4, lats, lons), 1);
    EXPECT_EQ(md.isInside(0, -175, 4, lats, lons), 1);
    EXPECT_EQ(md.isInside(0, 175, 4, lats, lons), 1);
    EXPECT_EQ(md.isInside(0, 0, 4, lats, lons), 0);
    EXPECT_EQ(md.isInside(0, 160, 4, lats, lons), 0);
}

TEST(KGRMapDataVector, FillsByLevelParity)
{
    for (bool big : {true, false}) {
        auto md = open(vectorOf({square(1, 1, -60, -30, 60), square(2, 1, -40, -10, 20),
                                 square(3, 1, -35, -5, 10), square(2, 0, 60, 0, 20)},
                                big),
                       big ? "parity_be.kmd" : "parity_le.kmd");
        KgrviewportItem vp = geogPlot();
        Style st;
        QImage image = draw(*md, vp, st);
        EXPECT_EQ(at(image, -55, -25), kBlue) << big; // level 1: background colour
        EXPECT_EQ(at(image, -38, -8), kRed) << big;   // level 2: fill colour
        EXPECT_EQ(at(image, -30, 0), kBlue) << big;   // level 3: background again
        EXPECT_EQ(at(image, 70, 10), kWhite) << big;  // fill flag clear: no brush
        EXPECT_EQ(at(image, 100, 10), kWhite) << big;
    }
}

TEST(KGRMapDataVector, UnsetFillColoursDrawNothing)
{
    auto md = open(vectorOf({square(1, 1, -60, -30, 60)}), "nofill.kmd");
    KgrviewportItem vp = geogPlot();
    Style st;
    QImage image = draw(*md, vp, st, 0, nullptr, false);
    EXPECT_EQ(countPixels(image, kWhite), image.width() * image.height());
}

TEST(KGRMapDataVector, LevelMaskChoosesOutlines)
{
    auto md = open(vectorOf({square(1, 0, -60, -30, 60), square(2, 0, 60, 0, 40)}), "mask.kmd");
    KgrviewportItem vp = geogPlot();
    Style st;
    st.linewidth[0] = st.linewidth[1] = 1;
    // Bit 1 only: level 2 is stroked, level 1 not.
    QImage image = draw(*md, vp, st, 2u);
    EXPECT_EQ(at(image, 80, 0), kGreen);
    EXPECT_EQ(at(image, -30, -30), kWhite);
    EXPECT_EQ(at(image, 80, 20), kWhite); // outline only
    image = draw(*md, vp, st, 3u);
    EXPECT_EQ(at(image, -30, -30), kGreen);
    // A negative width or a missing colour stroke nothing.
    st.linewidth[1] = -1;
    st.outline[0].color = nullptr;
    image = draw(*md, vp, st, 3u);
    EXPECT_EQ(countPixels(image, kWhite), image.width() * image.height());
}

TEST(KGRMapDataVector, OutlineOverFill)
{
    auto md = open(vectorOf({square(1, 1, -60, -30, 60)}), "both.kmd");
    KgrviewportItem vp = geogPlot();
    Style st;
    st.linewidth[0] = 1;
    QImage image = draw(*md, vp, st, 1u);
    EXPECT_EQ(at(image, -30, -30), kGreen);
    EXPECT_EQ(at(image, -30, 0), kBlue);
}

TEST(KGRMapDataVector, LevelsStartAtTheirResolution)
{
    auto md = open(vectorOf({square(1, 1, -60, -30, 60), square(2, 1, 60, 0, 40)}), "from.kmd");
    KgrviewportItem vp = geogPlot();
    Style st;
    int from[KGRMAPDATA_NLEVELS] = {0, 1, -1, -1, -1, -1, -1, -1, -1, -1};
    QImage image = draw(*md, vp, st, 0, from);
    EXPECT_EQ(at(image, -30, 0), kBlue);  // level 1 from resolution 0
    EXPECT_EQ(at(image, 80, 20), kWhite); // level 2 only from resolution 1
    from[1] = 0;
    image = draw(*md, vp, st, 0, from);
    EXPECT_EQ(at(image, 80, 20), kRed);
}

TEST(KGRMapDataVector, LevelsBeyondTheArraysAreSkipped)
{
    auto md = open(vectorOf({square(11, 1, -60, -30, 60)}), "level11.kmd");
    KgrviewportItem vp = geogPlot();
    Style st;
    QImage image = draw(*md, vp, st, ~0u);
    EXPECT_EQ(at(image, -30, 0), kWhite);
}

TEST(KGRMapDataVector, LatitudeCull)
{
    auto md = open(vectorOf({square(1, 1, -60, 60, 10)}), "cull.kmd");
    KgrviewportItem vp = geogPlot();
    Style st;
    vp.bblatmin = 71; // the square (60 to 70) would be in view, but is culled
    vp.bblatmax = 80;
    EXPECT_EQ(at(draw(*md, vp, st), -55, 65), kWhite);
    vp.bblatmin = 70; // touching counts
    EXPECT_EQ(at(draw(*md, vp, st), -55, 65), kBlue);
}

TEST(KGRMapDataVector, MercatorCullUsesOrdinates)
{
    auto md = open(vectorOf({square(1, 1, -60, 60, 10)}), "cullm.kmd");
    // The square spans ordinates 75.5 to 99.4: inside [72, 80] as ordinates,
    // though 60 to 70 as latitudes would not be.
    KgrviewportItem vp = plotRecord(361, 181, -180, 180, -100, 120, KGR_WTRAN_MERC);
    vp.bblatmin = 72;
    vp.bblatmax = 80;
    Style st;
    QImage image = draw(*md, vp, st);
    EXPECT_GT(countPixels(image, kBlue), 100);
    vp.bblatmin = 100; // above the square's top ordinate
    vp.bblatmax = 120;
    EXPECT_EQ(countPixels(draw(*md, vp, st), kBlue), 0);
}

TEST(KGRMapDataVector, GeographicCopiesEveryTurnInView)
{
    for (bool big : {true, false}) {
        auto md =
            open(vectorOf({square(1, 1, 10, 0, 10)}, big), big ? "copies_be.kmd" : "copies_le.kmd");
        // 1080 degrees across 1081 pixels.
        KgrviewportItem vp = plotRecord(1081, 181, -540, 540, -90, 90, KGR_WTRAN_GEOG);
        vp.bblatmin = -90;
        vp.bblatmax = 90;
        Style st;
        QImage image = draw(*md, vp, st);
        for (double lon : {-345.0, 15.0, 375.0})
            EXPECT_EQ(at(image, lon, 5, -540), kBlue) << big << " " << lon;
        EXPECT_EQ(countPixels(image, kBlue), 3 * countPixels(image, kBlue, QRect(540, 0, 200, 181)))
            << big;
    }
}

TEST(KGRMapDataVector, PolygonsStoredOffTheFirstTurnAreShiftedIn)
{
    auto md = open(vectorOf({square(1, 1, 370, 0, 10)}, false), "offturn.kmd");
    KgrviewportItem vp = geogPlot();
    Style st;
    EXPECT_EQ(at(draw(*md, vp, st), 15, 5), kBlue);
}

TEST(KGRMapDataVector, BigEndianLongitudesAreUnwrapped)
{
    // Stored as 170 ... -170: drawn continuous across the date line.
    auto md =
        open(vectorOf({segment(1, 1, {170, -170, -170, 170, 170}, {-10, -10, 10, 10, -10})}, true),
             "dateline.kmd");
    KgrviewportItem vp = geogPlot(0, 360);
    Style st;
    QImage image = draw(*md, vp, st);
    EXPECT_EQ(at(image, 180, 0, 0), kBlue);
    EXPECT_EQ(at(image, 175, 0, 0), kBlue);
    EXPECT_EQ(at(image, 185, 0, 0), kBlue);
    EXPECT_EQ(at(image, 90, 0, 0), kWhite);
}

TEST(KGRMapDataVector, AntipodePolygonPaintsTheOutside)
{
    // An equidistant map about (0, 0): 180 degrees of arc to each side.
    KgrviewportItem vp = plotRecord(361, 361, -180, 180, -180, 180, KGR_WTRAN_EDP);
    vp.latr = 0;
    vp.lonr = 0;
    vp.bblatmin = -90;
    vp.bblatmax = 90;
    Style st;
    auto pixel = [](const QImage& im, double x, double y) {
        return im.pixel(int(x + 180.5), int(180.5 - y));
    };
    // Around the antipode (0, 180): painted as the plot minus the outline.
    auto md = open(vectorOf({segment(1, 1, {170, -170, -170, 170, 170}, {-10, -10, 10, 10, -10})}),
                   "antipode.kmd");
    QImage image = draw(*md, vp, st);
    EXPECT_EQ(pixel(image, 175, 0), kBlue); // 175 degrees east: inside the polygon
    EXPECT_EQ(pixel(image, 0, 175), kBlue); // over the pole, also near the antipode
    EXPECT_EQ(pixel(image, 0, 0), kWhite);  // the centre is outside the polygon
    EXPECT_EQ(pixel(image, 90, 30), kWhite);
    EXPECT_EQ(pixel(image, 179, 179), kBlue); // the plot's corner, beyond the world
    // An ordinary polygon around the centre fills its inside only.
    auto md2 = open(vectorOf({square(1, 1, -10, -10, 20)}), "centre.kmd");
    image = draw(*md2, vp, st);
    EXPECT_EQ(pixel(image, 0, 0), kBlue);
    EXPECT_EQ(pixel(image, 175, 0), kWhite);
    EXPECT_EQ(pixel(image, 179, 179), kWhite);
}

TEST(KGRMapDataVector, EquidistantPathIsClippedToThePlotArea)
{
    // With margins, nothing is painted outside the plot area.
    KgrviewportItem vp = plotRecord(200, 200, -90, 90, -90, 90, KGR_WTRAN_EDP, 20);
    vp.bblatmin = -90;
    vp.bblatmax = 90;
    auto md = open(vectorOf({square(1, 1, -170, -80, 340)}), "big.kmd");
    Style st;
    QImage image = draw(*md, vp, st);
    EXPECT_EQ(countPixels(image, kWhite, QRect(0, 0, 200, 20)), 200 * 20);
    EXPECT_EQ(countPixels(image, kWhite, QRect(0, 0, 20, 200)), 20 * 200);
    EXPECT_GT(countPixels(image, kBlue, QRect(20, 20, 160, 160)), 100);
}

TEST(KGRMapDataVector, LongSegmentsGrowTheBuffers)
{
    std::vector<double> lons, lats;
    for (int i = 0; i <= 400; ++i) {
        double a = i * 2 * 3.141592653589793 / 400;
        lons.push_back(30 * std::cos(a));
        lats.push_back(30 * std::sin(a));
    }
    auto md = open(vectorOf({segment(1, 1, {0, 1, 1}, {0, 0, 1}), segment(1, 1, lons, lats)}),
                   "circle.kmd");
    KgrviewportItem vp = geogPlot();
    Style st;
    QImage image = draw(*md, vp, st);
    EXPECT_EQ(at(image, 0, 0), kBlue);
    EXPECT_EQ(at(image, 25, 0), kBlue);
    EXPECT_EQ(at(image, 25, 25), kWhite);
}

TEST(KGRMapDataVector, NothingWithoutAVectorResolution)
{
    HXMapDataWriter w;
    w.addGrid(elevationGrid(4, 4, 2));
    std::string path = writeBytes("gridonly.kmd", bytesOf(w));
    KGRMapData md(const_cast<char*>(path.c_str()), 1);
    KgrviewportItem vp = geogPlot();
    Style st;
    EXPECT_EQ(countPixels(draw(md, vp, st), kWhite), 361 * 181); // no resolution yet
    md.setResolution(0);
    EXPECT_EQ(countPixels(draw(md, vp, st), kWhite), 361 * 181); // a grid one
}
