// The gallery's scenes, rendered as the gallery writes them: each has its
// size, draws into its plot area and annotates its margins, and the
// features each picture shows are there.
#include "gallery_scenes.h"
#include "map_options.h"
#include "register.h"

#include "hx_eventview.h"
#include "kgrqt.h"

#include <QImage>
#include <QLayout>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace {

const QRgb kFrame = qRgb(0xf4, 0xf4, 0xf4);
const QRgb kWhite = qRgb(255, 255, 255);

int inked(const QImage& image, QRect rect, QRgb background)
{
    int n = 0;
    rect &= image.rect();
    for (int y = rect.top(); y <= rect.bottom(); ++y)
        for (int x = rect.left(); x <= rect.right(); ++x)
            n += image.pixel(x, y) != background;
    return n;
}

const GalleryScene& scene(const char* name)
{
    for (const GalleryScene& s : gallery_scenes())
        if (!strcmp(s.name, name))
            return s;
    ADD_FAILURE() << "no scene " << name;
    return gallery_scenes().front();
}

QImage rendered(const char* name)
{
    return gallery_render(scene(name)).convertToFormat(QImage::Format_RGB32);
}

class EveryScene : public ::testing::TestWithParam<size_t> {};

} // namespace

TEST_P(EveryScene, RendersAtItsSizeWithInkInsideAndOut)
{
    hx_clear_register(0);
    const GalleryScene& s = gallery_scenes()[GetParam()];
    if (s.mapdata && !map_mapdata_complete(map_default_mapdata()))
        GTEST_SKIP() << "no map data in " << map_default_mapdata();
    QImage image = gallery_render(s).convertToFormat(QImage::Format_RGB32);
    ASSERT_FALSE(image.isNull()) << s.name << ": " << takeRegister();
    EXPECT_EQ(image.size(), QSize(s.width, s.height)) << s.name;
    // Something drawn in the middle of the plot area, and the register
    // clean: every option of the scene was taken.
    EXPECT_GT(inked(image, QRect(s.width / 4, s.height / 4, s.width / 2, s.height / 2), kWhite), 0)
        << s.name;
    EXPECT_EQ(takeRegister(), "") << s.name;
    EXPECT_GT(strlen(s.description), 10u);
}

INSTANTIATE_TEST_SUITE_P(Gallery, EveryScene, ::testing::Range<size_t>(0, gallery_scenes().size()));

TEST(GalleryScenes, NamesAreUniqueFileNames)
{
    for (size_t i = 0; i < gallery_scenes().size(); ++i) {
        const char* name = gallery_scenes()[i].name;
        EXPECT_EQ(strspn(name, "abcdefghijklmnopqrstuvwxyz0123456789-"), strlen(name)) << name;
        for (size_t j = 0; j < i; ++j)
            EXPECT_STRNE(name, gallery_scenes()[j].name);
    }
}

TEST(GalleryScenes, TimeAxesAreLabelledBeneath)
{
    for (const char* name :
         {"time-10s", "time-1h", "time-10days", "time-200days", "time-20years"}) {
        QImage image = rendered(name);
        const int bottom = image.height() - 66; // the frame's lower edge
        EXPECT_GT(inked(image, QRect(70, bottom + 4, image.width() - 90, 20), kFrame), 20) << name;
    }
}

TEST(GalleryScenes, TaskbarButtonsStandAboveThePlot)
{
    QImage image = rendered("taskbar");
    // Three boxes in the top margin: the struck-through one has red ink,
    // the coloured one its blue background.
    int red = 0, blue = 0;
    for (int y = 0; y < 50; ++y)
        for (int x = 0; x < image.width(); ++x) {
            QRgb p = image.pixel(x, y);
            red += qRed(p) > 200 && qGreen(p) < 150 && qBlue(p) < 150;
            blue += p == qRgb(0x40, 0x60, 0xa0);
        }
    EXPECT_GT(red, 10);
    EXPECT_GT(blue, 200);
}

TEST(GalleryScenes, JustificationSceneHasNineBoxes)
{
    QImage image = rendered("text-justification");
    // A box's left side: an outline pixel with the yellow fill on its
    // right. Distinct left sides, per band of rows.
    const QRgb outline = qRgb(0xa0, 0x80, 0x00), fill = qRgb(0xff, 0xf2, 0xb0);
    std::set<std::pair<int, int>> sides;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 1; x + 1 < image.width(); ++x)
            if (image.pixel(x, y) == outline && image.pixel(x + 1, y) == fill &&
                image.pixel(x - 1, y) != outline)
                sides.insert({x, y * 3 / image.height()});
    EXPECT_EQ(sides.size(), 9u);
}

TEST(GalleryScenes, BeachBallsShowTheirSourceTypes)
{
    QImage image = rendered("beachballs");
    // Five balls of radius 40 across 640 pixels, centres 128 apart at
    // y = 88; compressional parts red, the rest white.
    const QRgb red = qRgb(0xc8, 0x10, 0x2e);
    auto centre = [](int i) { return QPoint(64 + 128 * i, 88); };
    EXPECT_EQ(image.pixel(centre(0)), red);    // thrust: T axis steep
    EXPECT_EQ(image.pixel(centre(1)), kWhite); // normal: P axis steep
    EXPECT_EQ(image.pixel(centre(3)), red);    // CLVD with T vertical
    EXPECT_EQ(image.pixel(centre(3) + QPoint(34, 0)), kWhite);
    EXPECT_EQ(image.pixel(centre(4)), red); // explosion: all of it
    EXPECT_EQ(image.pixel(centre(4) + QPoint(34, 0)), red);
    // Strike-slip: four quadrants, two of each around the centre.
    int reds = 0;
    for (int k = 0; k < 8; ++k) {
        const double a = (k * 45 + 22.5) * M_PI / 180;
        reds +=
            image.pixel(centre(2) + QPoint(int(25 * std::cos(a)), int(25 * std::sin(a)))) == red;
    }
    EXPECT_EQ(reds, 4);
}

TEST(GalleryScenes, CatalogueWorldHasTheBeachBalls)
{
    QImage image = rendered("catalogue-world");
    // Tohoku (38.3 N, 142.4 E) on a frame of 640 x 318 from (56, 34):
    // the compressional colour of a 29 km deep event at the centre.
    const QPoint tohoku(static_cast<int>(56 + (142.373 + 180) / 360 * 640 + 0.5),
                        static_cast<int>(34 + (90 - 38.297) / 180 * 318 + 0.5));
    const QColor c(image.pixel(tohoku));
    EXPECT_LT(c.red(), 40);
    EXPECT_GT(c.blue(), 180);
}

// The maps show their places: Lake Victoria filled as water inside the
// land of East Africa, the world disc on black, the Tibetan plateau in the
// relief's high colours.
TEST(GalleryScenes, MapsShowTheirPlaces)
{
    if (!map_mapdata_complete(map_default_mapdata()))
        GTEST_SKIP() << "no map data in " << map_default_mapdata();
    // East Africa: 15 degrees across from 24.5 E, 1.625 N at the top, 32
    // pixels a degree.
    auto at = [](double lat, double lon) {
        return QPoint(int((lon - 24.5) * 32), int((1.625 - lat) * 32));
    };
    QImage lakes = rendered("map-lakes");
    EXPECT_EQ(lakes.pixel(at(-1, 33)), qRgb(0xe0, 0xe0, 0xff));     // Lake Victoria
    EXPECT_EQ(lakes.pixel(at(-6.5, 34.3)), qRgb(0xff, 0xf2, 0xe5)); // Tanzania
    QImage world = rendered("map-edp");
    EXPECT_EQ(world.pixel(2, 2), qRgb(0, 0, 0));
    EXPECT_NE(world.pixel(240, 240), qRgb(0, 0, 0));
    QImage relief = rendered("map-relief");
    const QRgb tibet = relief.pixel(240, 160);
    EXPECT_GT(qRed(tibet), qBlue(tibet) + 40);
}

// The live map of events: the selected origin's beach ball in both its
// fill colours about the origin, the red path to a station, and the
// navigation map in the lower left corner.
TEST(GalleryScenes, LiveMapOfEventsShowsTheSelectedEvent)
{
    if (!map_mapdata_complete(map_default_mapdata()))
        GTEST_SKIP() << "no map data in " << map_default_mapdata();
    hx_clear_register(0);
    const GalleryScene& s = scene("mapevents-live");
    std::unique_ptr<KGRViewport> vp(s.build(s.width, s.height));
    ASSERT_NE(vp, nullptr) << takeRegister();
    vp->layout->activate();
    const QImage image = vp->grab().toImage().convertToFormat(QImage::Format_RGB32);
    auto* me = vp->findChild<KGRMapEvents*>();
    ASSERT_NE(me, nullptr);
    KgrmapeventsItem& m = me->mapevents;
    ASSERT_EQ(m.display_mode, KGRMAPEVENTS_DISPLAY_EVENT);
    ASSERT_NE(m.event, nullptr);
    const HXEVOrigin* origin = m.event->preferred;
    ASSERT_NE(origin, nullptr);
    EXPECT_NEAR(origin->lat, 38.297, 1e-6); // Tohoku, from quakes-mt.xml
    EXPECT_NEAR(origin->time, std_now() - 600, 300);
    auto pixel = [&](double lon, double lat) {
        double px = 0, py = 0;
        EXPECT_GE(vp->pcoords(lon, lat, &px, &py, 0), 0);
        return QPoint(int(std::lround(px)), int(std::lround(py)));
    };
    auto near = [](QRgb a, QRgb b) {
        return std::abs(qRed(a) - qRed(b)) <= 2 && std::abs(qGreen(a) - qGreen(b)) <= 2 &&
               std::abs(qBlue(a) - qBlue(b)) <= 2;
    };
    auto around = [&](QPoint at, int radius, auto test) {
        int n = 0;
        for (int dy = -radius; dy <= radius; ++dy)
            for (int dx = -radius; dx <= radius; ++dx)
                n += image.valid(at + QPoint(dx, dy)) && test(image.pixel(at + QPoint(dx, dy)));
        return n;
    };
    // The ball: its two fills (light and darker blue of a 29 km depth),
    // each over a good part of the disc about the origin.
    ASSERT_NE(m.ppo, nullptr);
    const KgrpolypointPoint& ball = m.ppo->polypoint.point[0];
    EXPECT_EQ(ball.symbol, KGR_SYMBOL_BEACHBALL);
    ASSERT_TRUE(ball.fill.color && ball.fill_nodes.color);
    const QRgb fill = ball.fill.color->rgb(), nodes = ball.fill_nodes.color->rgb();
    EXPECT_FALSE(near(fill, nodes));
    const QPoint at = pixel(origin->lon, origin->lat);
    EXPECT_GT(around(at, 16, [&](QRgb p) { return near(p, fill); }), 60) << std::hex << fill;
    EXPECT_GT(around(at, 16, [&](QRgb p) { return near(p, nodes); }), 60) << std::hex << nodes;
    // Stations: the 28 GSN stations of data/stations-gsn.txt within 50
    // degrees; the path to IU ADK (Adak, Aleutian Islands) red half way
    // along the great circle.
    ASSERT_NE(m.pps, nullptr);
    EXPECT_EQ(m.pps->polypoint.npts, 28);
    const double r = M_PI / 180;
    auto unit = [r](double lat, double lon) {
        return std::vector<double>{std::cos(lat * r) * std::cos(lon * r),
                                   std::cos(lat * r) * std::sin(lon * r), std::sin(lat * r)};
    };
    const std::vector<double> a = unit(origin->lat, origin->lon), b = unit(51.882, -176.684);
    const double mx = a[0] + b[0], my = a[1] + b[1], mz = a[2] + b[2];
    const QPoint half = pixel(std::atan2(my, mx) / r, std::atan2(mz, std::hypot(mx, my)) / r);
    EXPECT_GT(around(half, 2,
                     [](QRgb p) {
                         return qRed(p) > 180 && qGreen(p) < 150 && qBlue(p) < 170 &&
                                qRed(p) > qBlue(p) + 40;
                     }),
              0)
        << half.x() << " " << half.y();
    // The navigation map, 240 x 120 in the lower left corner, with the red
    // outline of the view.
    EXPECT_TRUE(me->navShown());
    const QRect nav(10, s.height - 130, 240, 120);
    EXPECT_EQ(m.nav_vp->geometry(), nav);
    int outline = 0;
    for (int y = nav.top(); y <= nav.bottom(); ++y)
        for (int x = nav.left(); x <= nav.right(); ++x)
            outline += image.pixel(x, y) == qRgb(255, 0, 0);
    EXPECT_GT(outline, 50);
    EXPECT_EQ(takeRegister(), "");
}
