// kgrqt-map's coasts layer against GMT's drawing of the same crude
// shorelines for the same views (pictures made by
// tools/gen_map_reference.sh): every shoreline pixel of GMT's should have
// a dark pixel of ours within one pixel, and the other way round.
#include "map_test_view.h"
#include "reference_table.h"

#include <QImage>

#include <gtest/gtest.h>

#include <cstdio>

namespace {

// The share of the shoreline pixels that must agree, both ways. Measured:
// 0.9999 of GMT's pixels have one of ours within a pixel in the world
// views and all of them in Europe; every one of ours has one of GMT's.
const double kAgreement = 0.995;

struct View {
    std::string name, proj;
    int width, height;
    double lat, lon, zoom;
};

std::vector<View> views()
{
    std::vector<View> out;
    for (const ReferenceLine& row : readReferenceTable("gmt_map_reference.tsv")) {
        const auto& f = row.fields;
        out.push_back(View{f[0], f[1], std::stoi(f[2]), std::stoi(f[3]), std::stod(f[4]),
                           std::stod(f[5]), std::stod(f[6])});
    }
    return out;
}

using PixelTest = bool (*)(QRgb);

bool gmtShore(QRgb c)
{
    return qGray(c) < 128;
}

// Our shoreline: the black outline, antialiased over land and water.
bool ourShore(QRgb c)
{
    return qGray(c) < 160;
}

bool anyWithinOne(const QImage& image, PixelTest test, int x, int y)
{
    for (int dy = -1; dy <= 1; ++dy)
        for (int dx = -1; dx <= 1; ++dx)
            if (image.valid(x + dx, y + dy) && test(image.pixel(x + dx, y + dy)))
                return true;
    return false;
}

// The share of the pixels of a that have one of b within a pixel, away
// from the picture's edge; the number of such pixels of a in *count.
double agreement(const QImage& a, PixelTest isA, const QImage& b, PixelTest isB, int* count)
{
    int n = 0, near = 0;
    for (int y = 1; y < a.height() - 1; ++y)
        for (int x = 1; x < a.width() - 1; ++x)
            if (isA(a.pixel(x, y))) {
                ++n;
                near += anyWithinOne(b, isB, x, y);
            }
    *count = n;
    return n ? double(near) / n : 0;
}

} // namespace

TEST(MapGmt, ReferenceViewsArePresent)
{
    std::vector<View> all = views();
    ASSERT_EQ(all.size(), 4u);
    for (const View& v : all) {
        QImage gmt(QString(KGRQT_TEST_DATA) + "/gmt_map_" + v.name.c_str() + "_" + v.proj.c_str() +
                   ".png");
        ASSERT_FALSE(gmt.isNull()) << v.name << " " << v.proj;
        EXPECT_EQ(gmt.size(), QSize(v.width, v.height));
    }
}

TEST(MapGmt, CoastsLieWithinOnePixelOfGmts)
{
    SKIP_WITHOUT_MAPDATA();
    for (const View& v : views()) {
        const std::string what = v.name + " " + v.proj;
        QImage gmt(QString(KGRQT_TEST_DATA) + "/gmt_map_" + v.name.c_str() + "_" + v.proj.c_str() +
                   ".png");
        gmt = gmt.convertToFormat(QImage::Format_RGB32);
        MapProjection p;
        ASSERT_TRUE(map_projection_of(v.proj.c_str(), &p)) << what;
        auto view = plainView(v.width, v.height, {"coasts"}, homeAt(p, v.lat, v.lon, v.zoom));
        QImage ours = view->render().convertToFormat(QImage::Format_RGB32);
        ASSERT_EQ(ours.size(), gmt.size()) << what;
        int gmtPixels = 0, ourPixels = 0;
        const double found = agreement(gmt, gmtShore, ours, ourShore, &gmtPixels);
        const double kept = agreement(ours, ourShore, gmt, gmtShore, &ourPixels);
        printf("%-13s GMT %5d shoreline pixels, %.4f with ours within 1 px; ours %5d, %.4f "
               "with GMT's\n",
               what.c_str(), gmtPixels, found, ourPixels, kept);
        EXPECT_GT(gmtPixels, 3000) << what;
        EXPECT_GE(found, kAgreement) << what;
        EXPECT_GE(kept, kAgreement) << what;
    }
}
