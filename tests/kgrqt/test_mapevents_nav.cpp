// The navigation map of KGRMapEvents: shown, hidden, toggled and shown by
// itself ("auto") while the map spans fewer than 90 degrees of longitude;
// the selected event's stations and paths on it; a press on it centres the
// map. Drawn off screen over a small coast-line file of one continent.
#include "eventdb.h"
#include "hx_eventview.h"
#include "kgrqt.h"
#include "kgrqt_mapevents_item.h"
#include "mapdata_files.h"
#include "register.h"
#include "render.h"

#include <QApplication>
#include <QGridLayout>
#include <QMouseEvent>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <memory>
#include <string>

namespace {

const char* const kEnd = nullptr;
const QRgb kWhite = qRgb(255, 255, 255);
const QRgb kOutline = qRgb(255, 0, 0); // the nav map's outline of the view

// Size and place of the navigation map: 240 x 120, 10 pixels inside the
// lower left corner of a map without margins.
const int kNavWidth = 240;
const int kNavHeight = 120;
const int kNavInset = 10;

bool reddish(QRgb p)
{
    return qRed(p) > 180 && qGreen(p) < 150 && qBlue(p) < 170 && qRed(p) > qBlue(p) + 40;
}

bool yellowish(QRgb p)
{
    return qRed(p) > 200 && qGreen(p) > 200 && qBlue(p) < 100;
}

// Pixels within radius of at for which test holds.
template <class Test> int around(const QImage& image, QPoint at, int radius, Test test)
{
    int n = 0;
    for (int dy = -radius; dy <= radius; ++dy)
        for (int dx = -radius; dx <= radius; ++dx)
            n += image.valid(at + QPoint(dx, dy)) && test(image.pixel(at + QPoint(dx, dy)));
    return n;
}

// A map of the world (720 x 360, two pixels a degree, no margins, no map
// layers) with its navigation map, over a SQLite event database; the
// navigation map's coast lines are one continent, 0..50 E and 0..40 N.
struct MapEventsNavTest : ::testing::Test {
    QTemporaryDir dir;
    std::unique_ptr<TestDb> db;
    std::unique_ptr<KGRViewport> vp;
    KGRMapEvents* me = nullptr;
    std::string dbname;
    std::string savedMapdata;
    bool hadMapdata = false;
    double now = 0;

    void SetUp() override
    {
        hx_clear_register(0);
        ASSERT_TRUE(dir.isValid());
        HXMapDataWriter coasts;
        coasts.addVector(vectorOf({segment(1, 1, {0, 50, 50, 0, 0}, {0, 0, 40, 40, 0})}));
        ASSERT_EQ(coasts.write(dir.filePath("coasts.vector.kmd").toLocal8Bit().constData()), 0)
            << takeRegister();
        const char* saved = getenv("KGRQT_MAPDATA_DIR");
        hadMapdata = saved != nullptr;
        savedMapdata = saved ? saved : "";
        setenv("KGRQT_MAPDATA_DIR", dir.path().toLocal8Bit().constData(), 1);
        dbname = dir.filePath("events.db").toStdString();
        db.reset(new TestDb(dbname));
        ASSERT_TRUE(db->ok()) << takeRegister();
        vp = std::make_unique<KGRViewport>(nullptr);
        vp->resize(720, 360);
        ASSERT_NE(vp->configure("wtran", "geog", "xleft", "-180", "xright", "180", "ybottom", "-90",
                                "ytop", "90", "fill", "white", "fill_frame", "white", kEnd),
                  -1);
        me = new KGRMapEvents(vp.get());
        ASSERT_EQ(me->configure("maplayers", "maplayers &Tbl{\n}\n", "update_interval", "0", kEnd),
                  0)
            << takeRegister();
        ASSERT_NE(me->mapevents.nav_vp, nullptr);
        now = std_now();
    }
    void TearDown() override
    {
        vp.reset();
        db.reset();
        if (hadMapdata)
            setenv("KGRQT_MAPDATA_DIR", savedMapdata.c_str(), 1);
        else
            unsetenv("KGRQT_MAPDATA_DIR");
        EXPECT_EQ(takeRegister(), "");
    }
    // Two paints: the first decides (after the map's repaint) whether the
    // navigation map shows, the second draws it so.
    QImage render()
    {
        vp->layout->activate();
        renderWidget(*vp);
        return renderWidget(*vp);
    }
    KGRViewport* nav() { return me->mapevents.nav_vp; }
    QRect navRect() const
    {
        return QRect(kNavInset, 360 - kNavInset - kNavHeight, kNavWidth, kNavHeight);
    }
    // The pixel of a place on the navigation map, in the map's image.
    QPoint onNav(double lon, double lat)
    {
        double px = 0, py = 0;
        EXPECT_GE(nav()->pcoords(lon, lat, &px, &py, 0), 0);
        return nav()->geometry().topLeft() + QPoint(int(std::lround(px)), int(std::lround(py)));
    }
    // The same in the navigation map's own coordinates.
    QPoint inNav(double lon, double lat) { return onNav(lon, lat) - nav()->geometry().topLeft(); }
    // The place at a pixel of the main map.
    QPointF placeAt(int x, int y)
    {
        double lon = 0, lat = 0;
        EXPECT_GE(vp->wcoords(x, y, &lon, &lat, 0), 0);
        return QPointF(lon, lat);
    }
    void showView(double lon0, double lon1, double lat0, double lat1)
    {
        ASSERT_NE(vp->configure("xleft", std::to_string(lon0).c_str(), "xright",
                                std::to_string(lon1).c_str(), "ybottom",
                                std::to_string(lat0).c_str(), "ytop", std::to_string(lat1).c_str(),
                                kEnd),
                  -1);
        // A view changed by configure alone: the map has no layer to
        // compute the box of the view, and no mouse marks the paint stale.
    }
    QRgb water() { return me->mapevents.nav->map.fill_water.color->rgb(); }
    QRgb land() { return me->mapevents.nav->map.fill_land.color->rgb(); }
    // A station with a detection and an association with orid.
    void addStation(const char* sta, double lat, double lon, long orid, double time, int defining)
    {
        ASSERT_EQ(db->w().site(sta, "XX", lat, lon, 0), 1) << takeRegister();
        HXEVDetectionStachan d{};
        snprintf(d.net, sizeof d.net, "XX");
        snprintf(d.sta, sizeof d.sta, "%s", sta);
        snprintf(d.chan, sizeof d.chan, "HHZ");
        snprintf(d.phase, sizeof d.phase, "P");
        d.time = time;
        const long arid = db->w().detection(nullptr, d);
        ASSERT_GE(arid, 0) << takeRegister();
        ASSERT_EQ(db->w().assoc(arid, orid, sta, "P", -999, 0.5, defining), 1) << takeRegister();
    }
};

TEST_F(MapEventsNavTest, YesAndNoShowAndHideItInTheLowerLeftCorner)
{
    ASSERT_EQ(me->configure("show_nav", "yes", kEnd), 0);
    QImage image = render();
    EXPECT_TRUE(me->navShown());
    EXPECT_EQ(nav()->geometry(), navRect());
    // The world in its corner: water, the one continent as land, and the
    // outline of what the map shows (all of it) in red.
    EXPECT_EQ(image.pixel(onNav(-120, -40)), water());
    EXPECT_EQ(image.pixel(onNav(25, 20)), land());
    EXPECT_GT(countPixels(image, kOutline, navRect()), 200);
    // The map outside it keeps its own white.
    EXPECT_EQ(image.pixel(navRect().topRight() + QPoint(5, 0)), kWhite);

    ASSERT_EQ(me->configure("show_nav", "no", kEnd), 0);
    image = render();
    EXPECT_FALSE(me->navShown());
    EXPECT_EQ(countPixels(image, kWhite, navRect()), kNavWidth * kNavHeight);
}

TEST_F(MapEventsNavTest, ToggleFlipsWhatIsShownNow)
{
    ASSERT_EQ(me->configure("show_nav", "no", kEnd), 0);
    render();
    ASSERT_FALSE(me->navShown());
    ASSERT_EQ(me->configure("show_nav", "toggle", kEnd), 0);
    QImage image = render();
    EXPECT_TRUE(me->navShown());
    EXPECT_EQ(image.pixel(onNav(25, 20)), land());
    ASSERT_EQ(me->configure("show_nav", "toggle", kEnd), 0);
    image = render();
    EXPECT_FALSE(me->navShown());
    EXPECT_EQ(countPixels(image, kWhite, navRect()), kNavWidth * kNavHeight);
}

TEST_F(MapEventsNavTest, AutoShowsItWhileTheMapSpansFewerThan90Degrees)
{
    ASSERT_EQ(me->configure("show_nav", "auto", kEnd), 0);
    QImage image = render(); // the world: 360 degrees
    EXPECT_FALSE(me->navShown());
    EXPECT_EQ(countPixels(image, kWhite, navRect()), kNavWidth * kNavHeight);

    showView(-40, 40, -20, 20); // 80 degrees
    image = render();
    EXPECT_TRUE(me->navShown());
    EXPECT_EQ(nav()->geometry(), navRect());
    EXPECT_EQ(image.pixel(onNav(-120, -40)), water());
    // The outline of the view: its left side at 40 W, on the equator.
    EXPECT_GT(around(image, onNav(-40, 0), 2, [](QRgb p) { return p == kOutline; }), 0);

    showView(-60, 60, -30, 30); // 120 degrees
    image = render();
    EXPECT_FALSE(me->navShown());
    EXPECT_EQ(countPixels(image, kWhite, navRect()), kNavWidth * kNavHeight);
}

TEST_F(MapEventsNavTest, ItShowsTheSelectedEventsStationsAndPaths)
{
    long orid = 0;
    db->addEvent("ev/1", now - 600, 10, 20, 10, 3.0, &orid);
    addStation("AAA", 50, 120, orid, now - 300, 1);
    addStation("BBB", -30, -60, orid, now - 200, 0);
    ASSERT_EQ(me->configure("show_nav", "yes", kEnd), 0);
    ASSERT_EQ(me->setDatabase(const_cast<char*>(dbname.c_str())), 0) << takeRegister();
    ASSERT_EQ(me->mapevents.display_mode, KGRMAPEVENTS_DISPLAY_EVENT);
    QImage image = render();
    ASSERT_TRUE(me->navShown());
    ASSERT_NE(me->mapevents.ppsn, nullptr);
    EXPECT_EQ(me->mapevents.ppsn->polypoint.npts, 2);
    EXPECT_FALSE(me->mapevents.ppsn->isHidden());
    // Each station as a small yellow triangle at its place on the nav map.
    for (QPointF s : {QPointF(120, 50), QPointF(-60, -30)})
        EXPECT_GT(around(image, onNav(s.x(), s.y()), 2, yellowish), 0) << s.x() << " " << s.y();
    // Its path: red half way along the great circle from the origin (10 N
    // 20 E) to BBB (30 S 60 W), over the water of the nav map.
    const double r = 0.017453292519943295;
    auto unit = [r](double lat, double lon) {
        return std::vector<double>{std::cos(lat * r) * std::cos(lon * r),
                                   std::cos(lat * r) * std::sin(lon * r), std::sin(lat * r)};
    };
    std::vector<double> a = unit(10, 20), b = unit(-30, -60);
    const double mx = a[0] + b[0], my = a[1] + b[1], mz = a[2] + b[2];
    const double midLat = std::atan2(mz, std::hypot(mx, my)) / r, midLon = std::atan2(my, mx) / r;
    EXPECT_GT(around(image, onNav(midLon, midLat), 2, reddish), 0) << midLon << " " << midLat;

    // Nothing selected: the stations and paths leave the nav map.
    me->hideEvent();
    image = render();
    EXPECT_TRUE(me->mapevents.ppsn->isHidden());
    EXPECT_EQ(around(image, onNav(-60, -30), 2, yellowish), 0);
    EXPECT_EQ(around(image, onNav(midLon, midLat), 2, reddish), 0);
}

TEST_F(MapEventsNavTest, APressOnItCentresTheMap)
{
    showView(-30, 30, -15, 15); // 60 degrees about (0, 0): shown by "auto"
    QImage image = render();
    ASSERT_TRUE(me->navShown());
    QPointF centre = placeAt(360, 180);
    EXPECT_NEAR(centre.x(), 0, 0.5);
    EXPECT_NEAR(centre.y(), 0, 0.5);
    EXPECT_GT(around(image, onNav(-30, 0), 2, [](QRgb p) { return p == kOutline; }), 0);

    const QPoint at = inNav(100, 30);
    QMouseEvent press(QEvent::MouseButtonPress, at, nav()->mapToGlobal(at), Qt::LeftButton,
                      Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(me->mapevents.pickern, &press);
    QMouseEvent release(QEvent::MouseButtonRelease, at, nav()->mapToGlobal(at), Qt::LeftButton,
                        Qt::NoButton, Qt::NoModifier);
    QApplication::sendEvent(me->mapevents.pickern, &release);

    image = render();
    // The map now shows the same 60 degrees about the place pressed (to
    // the nav map's resolution: 1.5 degrees a pixel).
    centre = placeAt(360, 180);
    EXPECT_NEAR(centre.x(), 100, 2);
    EXPECT_NEAR(centre.y(), 30, 2);
    EXPECT_NEAR(vp->viewport.xright - vp->viewport.xleft, 60, 1e-6);
    // The outline followed: its left side at 70 E, none at 30 W.
    EXPECT_GT(around(image, onNav(70, 30), 2, [](QRgb p) { return p == kOutline; }), 0);
    EXPECT_EQ(around(image, onNav(-30, 0), 2, [](QRgb p) { return p == kOutline; }), 0);
    // Still shown: the map spans fewer than 90 degrees.
    EXPECT_TRUE(me->navShown());
}

} // namespace
