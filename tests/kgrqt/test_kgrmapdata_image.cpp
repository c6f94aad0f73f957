// KGRMapData: palette, colour helpers, resolution choice and grid images.
#include "cpt_reference.h"
#include "kgrqt.h"
#include "mapdata_files.h"
#include "register.h"

#include <QImage>

#include <gtest/gtest.h>

#include <cmath>
#include <thread>

namespace {

std::string fileWith(const std::vector<HXMapDataGridInput>& grids, const char* name)
{
    HXMapDataWriter w;
    for (const auto& g : grids)
        w.addGrid(g);
    return writeBytes(name, bytesOf(w));
}

// The colour that a whole-world image of a constant grid shows.
QRgb constantColor(int sample, int nthreads = 1)
{
    std::string path = fileWith({constantGrid(1, sample, 0, 0, 0)}, "constant.kmd");
    KGRMapData md(const_cast<char*>(path.c_str()), nthreads);
    md.setResolution(0);
    QImage* image = md.drawImage(8, 6, KGR_WTRAN_GEOG, -170, 170, -80, 80, 0, 0, 1.0, 0);
    return image ? image->pixel(3, 3) : 0;
}

bool allTransparent(const QImage& image)
{
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            if (image.pixel(x, y) != 0)
                return false;
    return true;
}

} // namespace

TEST(KGRMapDataPalette, TableAndExpansion)
{
    kgrmapdata_make_cpt();
    int n = 0;
    while (kgrmapdata_cpt_table[n].elev != -9999)
        ++n;
    ASSERT_EQ(n, 57);
    for (int i = 0; i < 57; ++i) {
        EXPECT_EQ(kgrmapdata_cpt_table[i].elev, int(std::trunc(kTable[i][0] * 0.625))) << i;
        EXPECT_EQ(kgrmapdata_cpt_table[i].red, kTable[i][1]) << i;
        EXPECT_EQ(kgrmapdata_cpt_table[i].green, kTable[i][2]) << i;
        EXPECT_EQ(kgrmapdata_cpt_table[i].blue, kTable[i][3]) << i;
    }
    EXPECT_EQ(kgrmapdata_cpt_table[0].elev, -3125);
    EXPECT_EQ(kgrmapdata_cpt_table[56].elev, 4687);
    EXPECT_EQ(kgrmapdata_ncpt, 7813);
    EXPECT_EQ(kgrmapdata_ecpt, -3125);
    ASSERT_NE(kgrmapdata_cpt, nullptr);
    for (int k = 0; k < kgrmapdata_ncpt; ++k) {
        const CPT& c = kgrmapdata_cpt[k];
        ASSERT_EQ(c.elev, kgrmapdata_ecpt + k);
        ASSERT_EQ(qRgb(c.red, c.green, c.blue), expectedColor(c.elev)) << c.elev;
    }
    // A second call changes nothing (the table is not scaled twice).
    kgrmapdata_make_cpt();
    EXPECT_EQ(kgrmapdata_cpt_table[0].elev, -3125);
}

TEST(KGRMapDataPalette, ConcurrentFirstUseIsSafe)
{
    std::vector<std::thread> threads;
    for (int k = 0; k < 8; ++k)
        threads.emplace_back([] {
            kgrmapdata_make_cpt();
            EXPECT_EQ(kgrmapdata_ncpt, 7813);
            ASSERT_NE(kgrmapdata_cpt, nullptr);
            EXPECT_EQ(kgrmapdata_cpt[kgrmapdata_ncpt - 1].red, 255);
        });
    for (auto& t : threads)
        t.join();
}

TEST(KGRMapDataPalette, SamplesTakeTheirColours)
{
    EXPECT_EQ(constantColor(-3126), qRgb(44, 53, 99));
    EXPECT_EQ(constantColor(-32768), qRgb(44, 53, 99));
    EXPECT_EQ(constantColor(4688), qRgb(255, 255, 255));
    EXPECT_EQ(constantColor(32767), qRgb(255, 255, 255));
    EXPECT_EQ(constantColor(0), qRgb(197, 197, 206));
    EXPECT_EQ(constantColor(1), qRgb(0, 132, 53));
    EXPECT_EQ(constantColor(-3094), expectedColor(-3094)); // between two rows
    EXPECT_EQ(constantColor(2000, 4), expectedColor(2000));
}

TEST(KGRMapDataColour, ColorValueBringsHueIntoOneTurn)
{
    EXPECT_DOUBLE_EQ(kgrmapdata_color_value(0.2, 0.8, 30), 0.5);
    EXPECT_DOUBLE_EQ(kgrmapdata_color_value(0.2, 0.8, 390), 0.5);
    EXPECT_DOUBLE_EQ(kgrmapdata_color_value(0.2, 0.8, -330), 0.5);
    EXPECT_DOUBLE_EQ(kgrmapdata_color_value(0.2, 0.8, 100), 0.8);
    EXPECT_DOUBLE_EQ(kgrmapdata_color_value(0.2, 0.8, 210), 0.5);
    EXPECT_DOUBLE_EQ(kgrmapdata_color_value(0.2, 0.8, 300), 0.2);
    EXPECT_DOUBLE_EQ(kgrmapdata_color_value(0.2, 0.8, -30), 0.2);
    EXPECT_DOUBLE_EQ(kgrmapdata_color_value(0.2, 0.8, 1e300), 0.2);
}

TEST(KGRMapDataColour, HlsToRgb)
{
    double r, g, b;
    EXPECT_EQ(kgrmapdata_hls_to_rgb(0, 0.5, 1, 0, &r, &g, &b), 0);
    EXPECT_DOUBLE_EQ(r, 1);
    EXPECT_DOUBLE_EQ(g, 0);
    EXPECT_DOUBLE_EQ(b, 0);
    kgrmapdata_hls_to_rgb(120, 0.5, 1, 0, &r, &g, &b);
    EXPECT_DOUBLE_EQ(r, 0);
    EXPECT_DOUBLE_EQ(g, 1);
    EXPECT_DOUBLE_EQ(b, 0);
    // Grey, with the gamma lift above one half.
    kgrmapdata_hls_to_rgb(77, 0.75, 0, 2, &r, &g, &b);
    EXPECT_DOUBLE_EQ(r, 0.625);
    EXPECT_DOUBLE_EQ(g, 0.625);
    EXPECT_DOUBLE_EQ(b, 0.625);
    kgrmapdata_hls_to_rgb(77, 0.25, 0, 2, &r, &g, &b);
    EXPECT_DOUBLE_EQ(r, 0.25);
    // Clamped lightness and saturation.
    kgrmapdata_hls_to_rgb(0, 7, -1, 0, &r, &g, &b);
    EXPECT_DOUBLE_EQ(r, 1);
    EXPECT_DOUBLE_EQ(b, 1);
    // m2 above one half: l + s - l s.
    kgrmapdata_hls_to_rgb(240, 0.75, 0.5, 0, &r, &g, &b);
    EXPECT_DOUBLE_EQ(b, 0.875); // hue 120 for blue: q
    EXPECT_DOUBLE_EQ(r, 0.625); // hue 360: p = 2 l - m2
}

TEST(KGRMapDataResolution, IntegerForm)
{
    std::string path = fileWith({elevationGrid(4, 4, 2), elevationGrid(4, 4, 2)}, "two.kmd");
    KGRMapData md(const_cast<char*>(path.c_str()), 1);
    EXPECT_EQ(md.resolution, -1);
    takeRegister();
    EXPECT_EQ(md.setResolution(2), -1);
    EXPECT_EQ(takeRegister(), "KGRMapData::setResolution: resolution 2 outside of range.\n");
    EXPECT_EQ(md.setResolution(-1), -1);
    EXPECT_EQ(takeRegister(), "KGRMapData::setResolution: resolution -1 outside of range.\n");
    EXPECT_EQ(md.resolution, -1);
    EXPECT_EQ(md.setResolution(1), 0);
    EXPECT_EQ(md.setResolution(1), 0);
    EXPECT_EQ(md.resolution, 1);
    EXPECT_EQ(takeRegister(), "");
}

TEST(KGRMapDataResolution, DegreesPerPixelForm)
{
    std::vector<HXMapDataGridInput> g(3, elevationGrid(4, 4, 2));
    g[0].degrees_per_pixel = 0.5;
    g[1].degrees_per_pixel = -0.1; // the absolute value is compared
    g[2].degrees_per_pixel = 0.02;
    std::string path = fileWith(g, "three.kmd");
    KGRMapData md(const_cast<char*>(path.c_str()), 1);
    struct {
        double dpp;
        int expected;
    } cases[] = {{1.0, 0}, {0.5, 1}, {0.3, 1}, {0.1, 2}, {0.05, 2}, {0.02, 2}, {0.001, 2}, {0, 2}};
    for (auto c : cases) {
        EXPECT_EQ(md.setResolution(c.dpp), 0) << c.dpp;
        EXPECT_EQ(md.resolution, c.expected) << c.dpp;
    }
    KGRMapData empty(1);
    takeRegister();
    EXPECT_EQ(empty.setResolution(1.0), -1);
    EXPECT_EQ(takeRegister(), "KGRMapData::setResolution: resolution -1 outside of range.\n");
}

TEST(KGRMapDataConstruct, MissingFileThrows)
{
    takeRegister();
    try {
        KGRMapData md(const_cast<char*>("/nonexistent/srtm30.kmd"), 4);
        FAIL() << "no exception";
    } catch (const char* e) {
        EXPECT_STREQ(e, "KGRMapData::KGRMapData: error.");
    }
    std::string text = takeRegister();
    EXPECT_NE(text.find("KGRMapData::KGRMapData: setInput() error.\n"), std::string::npos);
}

TEST(KGRMapDataConstruct, FieldsAndPool)
{
    KGRMapData none(0);
    EXPECT_EQ(none.resolution, -1);
    EXPECT_EQ(none.image, nullptr);
    EXPECT_EQ(none.image_buf, nullptr);
    EXPECT_EQ(none.mtc, nullptr);
    KGRMapData one(1);
    EXPECT_EQ(one.mtc, nullptr);
    KGRMapData many(40);
    ASSERT_NE(many.mtc, nullptr);
    EXPECT_EQ(many.nthreads, 16);
    EXPECT_EQ(pmtcomp_nthreads(many.mtc), 16);
}

TEST(KGRMapDataImage, SizesBelowOneGiveNull)
{
    KGRMapData md(1);
    EXPECT_EQ(md.drawImage(0, 10, 3, 0, 1, 0, 1, 0, 0, 1, 0), nullptr);
    EXPECT_EQ(md.drawImage(10, -1, 3, 0, 1, 0, 1, 0, 0, 1, 0), nullptr);
}

TEST(KGRMapDataImage, EveryCellAcrossTiles)
{
    // 20 x 10 one-degree cells in tiles of 4, drawn one pixel per cell.
    std::string path = fileWith({elevationGrid(20, 10, 4, 10, 30)}, "cells.kmd");
    for (int nthreads : {1, 3, 16}) {
        KGRMapData md(const_cast<char*>(path.c_str()), nthreads);
        md.setResolution(0);
        QImage* image = md.drawImage(20, 10, KGR_WTRAN_GEOG, 10.5, 29.5, 30.5, 39.5, 0, 0, 1, 0);
        ASSERT_NE(image, nullptr);
        EXPECT_EQ(image->format(), QImage::Format_ARGB32);
        EXPECT_DOUBLE_EQ(md.dx, 1.0);
        EXPECT_DOUBLE_EQ(md.dy, 1.0);
        for (int r = 0; r < 10; ++r)
            for (int c = 0; c < 20; ++c)
                ASSERT_EQ(image->pixel(c, r), expectedColor(sampleAt(c, 9 - r)))
                    << nthreads << " " << c << " " << r;
    }
}

TEST(KGRMapDataImage, ColourPixelsAreOpaqueBgraBytes)
{
    std::string path = fileWith({constantGrid(2, 0, 10, 120, 250)}, "rgb.kmd");
    KGRMapData md(const_cast<char*>(path.c_str()), 1);
    md.setResolution(0);
    QImage* image = md.drawImage(4, 3, KGR_WTRAN_GEOG, -100, 100, -50, 50, 0, 0, 1, 0);
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(md.image_buf[0], 250);
    EXPECT_EQ(md.image_buf[1], 120);
    EXPECT_EQ(md.image_buf[2], 10);
    EXPECT_EQ(md.image_buf[3], 255);
    EXPECT_EQ(image->pixel(3, 2), qRgba(10, 120, 250, 255));
}

TEST(KGRMapDataImage, OutsideTheGridIsTransparentAndBufferIsCleared)
{
    std::string path = fileWith({elevationGrid(10, 10, 5, 0, 0)}, "patch.kmd");
    KGRMapData md(const_cast<char*>(path.c_str()), 2);
    md.setResolution(0);
    QImage* image = md.drawImage(21, 21, KGR_WTRAN_GEOG, -10, 10, -10, 10, 0, 0, 1, 0);
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(image->pixel(0, 0), 0u);         // (-10, 10): no grid
    EXPECT_EQ(image->pixel(20, 20), 0u);       // (10, -10)
    EXPECT_NE(qAlpha(image->pixel(15, 5)), 0); // (5, 5)
    unsigned char* buf = md.image_buf;
    QImage* again = md.drawImage(21, 21, KGR_WTRAN_GEOG, 20, 40, 20, 40, 0, 0, 1, 0);
    EXPECT_EQ(again, image); // same size: same image over the same buffer
    EXPECT_EQ(md.image_buf, buf);
    EXPECT_TRUE(allTransparent(*again));
}

TEST(KGRMapDataImage, BufferGrowsAndIsNeverShrunk)
{
    KGRMapData md(1);
    md.drawImage(10, 10, 3, 0, 1, 0, 1, 0, 0, 1, 0);
    EXPECT_EQ(md.image_buf_size, 400u);
    md.drawImage(20, 10, 3, 0, 1, 0, 1, 0, 0, 1, 0);
    EXPECT_EQ(md.image_buf_size, 800u);
    QImage* small = md.drawImage(5, 5, 3, 0, 1, 0, 1, 0, 0, 1, 0);
    EXPECT_EQ(md.image_buf_size, 800u);
    EXPECT_EQ(small->width(), 5);
    EXPECT_EQ(md.width, 5);
    EXPECT_EQ(md.height, 5);
}

TEST(KGRMapDataImage, WithoutResolutionOrWorkersNothingIsDrawn)
{
    std::string path = fileWith({constantGrid(1, 100, 0, 0, 0)}, "c100.kmd");
    KGRMapData unset(const_cast<char*>(path.c_str()), 1);
    EXPECT_TRUE(allTransparent(*unset.drawImage(6, 4, 3, -170, 170, -80, 80, 0, 0, 1, 0)));
    KGRMapData zero(const_cast<char*>(path.c_str()), 0);
    zero.setResolution(0);
    QImage* image = zero.drawImage(6, 4, 3, -170, 170, -80, 80, 0, 0, 1, 0);
    ASSERT_NE(image, nullptr);
    EXPECT_TRUE(allTransparent(*image));
}

TEST(KGRMapDataImage, WidthOrHeightOneHasNoDefinedStep)
{
    std::string path = fileWith({constantGrid(1, 100, 0, 0, 0)}, "c100b.kmd");
    KGRMapData md(const_cast<char*>(path.c_str()), 1);
    md.setResolution(0);
    QImage* image = md.drawImage(1, 5, 3, -10, 10, -10, 10, 0, 0, 1, 0);
    ASSERT_NE(image, nullptr);
    EXPECT_FALSE(std::isfinite(md.dx));
    EXPECT_TRUE(allTransparent(*image)); // 0 times an infinite step is no place
    image = md.drawImage(5, 1, 3, -10, 10, -10, 10, 0, 0, 1, 0);
    EXPECT_FALSE(std::isfinite(md.dy));
    EXPECT_TRUE(allTransparent(*image));
}

TEST(KGRMapDataImage, ShadingMovesTheMiddleLightness)
{
    std::string path = fileWith({constantGrid(2, 0, 40, 100, 200)}, "shade.kmd");
    KGRMapData md(const_cast<char*>(path.c_str()), 1);
    md.setResolution(0);
    struct {
        double gamma, lightmin;
    } cases[] = {{1, 0.5}, {2, 0}, {0.5, 0.25}, {-3, 0.5}, {1, 7}};
    for (auto c : cases) {
        QImage* image = md.drawImage(4, 4, 3, -100, 100, -50, 50, 0, 0, c.gamma, c.lightmin);
        double gamma = c.gamma <= 0 ? 1.0 : c.gamma;
        double lightmin = std::min(std::max(c.lightmin, 0.0), 1.0);
        EXPECT_DOUBLE_EQ(md.gamma, gamma);
        EXPECT_DOUBLE_EQ(md.lightmin, lightmin);
        // lo 40, hi 200, mid 120; l = 0.47058...
        double l = std::pow(120.0 / 255.0, gamma) * (1 - lightmin) + lightmin;
        int mid = int(l * 255);
        auto clamp = [](int v) { return std::min(std::max(v, 0), 255); };
        EXPECT_EQ(image->pixel(1, 1),
                  qRgb(clamp(40 - 120 + mid), clamp(100 - 120 + mid), clamp(200 - 120 + mid)))
            << c.gamma << " " << c.lightmin;
    }
    // Without shading the colour is untouched.
    EXPECT_EQ(md.drawImage(4, 4, 3, -100, 100, -50, 50, 0, 0, 1, 0)->pixel(1, 1),
              qRgb(40, 100, 200));
}

TEST(KGRMapDataImage, MercatorRowsAreLatitudes)
{
    // One-degree rows: the row of a pixel tells its latitude.
    std::string path = fileWith({elevationGrid(1, 180, 16, -180, -90, 1.0)}, "rows.kmd");
    HXMapDataGridInput g = elevationGrid(1, 180, 16, -180, -90, 1.0);
    g.dlon = 360;
    path = fileWith({g}, "rows360.kmd");
    KGRMapData md(const_cast<char*>(path.c_str()), 2);
    md.setResolution(0);
    double y60 = kgrqt_mercator_y(60.5), y10 = kgrqt_mercator_y(10.5);
    QImage* image = md.drawImage(2, 2, KGR_WTRAN_MERC, -10, 10, y10, y60, 0, 0, 1, 0);
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(image->pixel(0, 0), expectedColor(sampleAt(0, 150))); // latitude 60.5
    EXPECT_EQ(image->pixel(0, 1), expectedColor(sampleAt(0, 100))); // latitude 10.5
}

TEST(KGRMapDataImage, EquidistantPixelsComeFromTheInverseProjection)
{
    HXMapDataGridInput g = elevationGrid(360, 180, 64, -180, -90, 1.0);
    std::string path = fileWith({g}, "world.kmd");
    KGRMapData md(const_cast<char*>(path.c_str()), 4);
    md.setResolution(0);
    const double latr = 35, lonr = 140;
    QImage* image = md.drawImage(41, 41, KGR_WTRAN_EDP, -100, 100, -100, 100, lonr, latr, 1, 0);
    ASSERT_NE(image, nullptr);
    // Centre: the reference point itself.
    EXPECT_EQ(image->pixel(20, 20), expectedColor(sampleAt(180 + 140, 90 + 35)));
    HXMapTransform t(latr, lonr);
    for (int r = 0; r < 41; r += 5)
        for (int c = 0; c < 41; c += 5) {
            double lat, lon;
            t.edpDelxy2latlon(-100 + c * 5.0, 100 - r * 5.0, &lat, &lon);
            long i = long(std::floor(lon + 180)) % 360, j = std::min(long(lat + 90), 179L);
            EXPECT_EQ(image->pixel(c, r), expectedColor(sampleAt(i, j))) << c << " " << r;
        }
}

TEST(KGRMapDataImage, BadTileIsComplainedAboutAndLeftTransparent)
{
    HXMapDataWriter w;
    w.addGrid(elevationGrid(8, 4, 4, 0, 0));
    std::vector<unsigned char> b = bytesOf(w);
    // Damage the compressed bytes of the second tile (the last one written).
    b[b.size() - 6] ^= 0xff;
    b[b.size() - 5] ^= 0xff;
    std::string path = writeBytes("badtile.kmd", b);
    KGRMapData md(const_cast<char*>(path.c_str()), 1);
    md.setResolution(0);
    takeRegister();
    FILE* sink = tmpfile();
    hx_set_complaint_stream(sink);
    QImage* image = md.drawImage(8, 4, 3, 0.5, 7.5, 0.5, 3.5, 0, 0, 1, 0);
    hx_set_complaint_stream(nullptr);
    fclose(sink);
    EXPECT_NE(takeRegister().find("fill_image: getTileGrid() error.\n"), std::string::npos);
    EXPECT_NE(qAlpha(image->pixel(0, 0)), 0);
    EXPECT_EQ(image->pixel(7, 0), 0u);
}
