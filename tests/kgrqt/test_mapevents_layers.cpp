// KGRMapEvents over map layers: the layers of the events and of the
// selected event stay above the map's own layers whether these are
// configured before or after the map events, with the picker on top; an
// event without detections or stations leaves no error behind.
#include "eventdb.h"
#include "hx_eventview.h"
#include "kgrqt.h"
#include "kgrqt_mapevents_item.h"
#include "mapdata_files.h"
#include "register.h"
#include "render.h"

#include <QGridLayout>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace {

const char* const kEnd = nullptr;

bool greenish(QRgb p)
{
    return qGreen(p) > 200 && qRed(p) < 80 && qBlue(p) < 80;
}

// A map of the world (720 x 360, two pixels a degree, no margins) over a
// SQLite event database; its map layers fill the land (0..50 E, 0..40 N)
// and the water, so that they cover the whole map.
struct MapEventsLayersTest : ::testing::Test {
    QTemporaryDir dir;
    std::unique_ptr<TestDb> db;
    std::unique_ptr<KGRViewport> vp;
    KGRMapEvents* me = nullptr;
    std::string dbname;
    std::string coasts;
    double now = 0;

    void SetUp() override
    {
        hx_clear_register(0);
        ASSERT_TRUE(dir.isValid());
        HXMapDataWriter writer;
        writer.addVector(vectorOf({segment(1, 1, {0, 50, 50, 0, 0}, {0, 0, 40, 40, 0})}));
        coasts = dir.filePath("coasts.vector.kmd").toStdString();
        ASSERT_EQ(writer.write(coasts.c_str()), 0) << takeRegister();
        dbname = dir.filePath("events.db").toStdString();
        db.reset(new TestDb(dbname));
        ASSERT_TRUE(db->ok()) << takeRegister();
        vp = std::make_unique<KGRViewport>(nullptr);
        vp->resize(720, 360);
        ASSERT_NE(vp->configure("wtran", "geog", "xleft", "-180", "xright", "180", "ybottom", "-90",
                                "ytop", "90", "fill", "white", "fill_frame", "white", kEnd),
                  -1);
        now = std_now();
    }
    void TearDown() override
    {
        vp.reset();
        db.reset();
        EXPECT_EQ(takeRegister(), "");
    }
    void makeMapEvents()
    {
        me = new KGRMapEvents(vp.get(), 0);
        // A green selected origin; no timer.
        ASSERT_EQ(me->configure("event_coding", "cl=constant,fi=#00ff00,ot=#00ff00", "maplayers",
                                "maplayers &Tbl{\n}\n", "update_interval", "0", kEnd),
                  0)
            << takeRegister();
    }
    // Map layers named name, filling water and land, drawn into a layer
    // of that name.
    void defineLayers(const std::string& name)
    {
        const std::string definitions = "maplayer_definitions &Arr{\n    " + name +
                                        " &Arr{\n"
                                        "        type vector_fill\n"
                                        "        mapdata_source_file " +
                                        coasts + "\n        kgr_layer " + name +
                                        "\n"
                                        "        outline_linewidth -1\n"
                                        "        background_color \\#0000ff\n"
                                        "        fill_color \\#ffff00\n"
                                        "    }\n}\n";
        const std::string list = "maplayers &Tbl{\n" + name + "\n}\n";
        ASSERT_EQ(me->configure("maplayer_definitions", definitions.c_str(), "maplayers",
                                list.c_str(), kEnd),
                  0)
            << takeRegister();
    }
    void open()
    {
        ASSERT_EQ(me->setDatabase(const_cast<char*>(dbname.c_str())), 0) << takeRegister();
        ASSERT_EQ(me->mapevents.display_mode, KGRMAPEVENTS_DISPLAY_EVENT);
    }
    QImage render()
    {
        vp->layout->activate();
        renderWidget(*vp);
        return renderWidget(*vp);
    }
    static QPoint pixelOf(double lon, double lat)
    {
        return QPoint(static_cast<int>((lon + 180) * 2), static_cast<int>((90 - lat) * 2));
    }
    int greenAround(const QImage& image, QPoint at, int radius)
    {
        int n = 0;
        for (int dy = -radius; dy <= radius; ++dy)
            for (int dx = -radius; dx <= radius; ++dx)
                n += image.valid(at + QPoint(dx, dy)) && greenish(image.pixel(at + QPoint(dx, dy)));
        return n;
    }
    int stackIndex(QWidget* w) { return vp->children().indexOf(w); }
    void expectEventsOnTop(const KGRLayer* mapLayer)
    {
        ASSERT_NE(mapLayer, nullptr);
        const int map = stackIndex(const_cast<KGRLayer*>(mapLayer));
        EXPECT_GT(stackIndex(me->mapevents.layer_events), map);
        EXPECT_GT(stackIndex(me->mapevents.layer_event), stackIndex(me->mapevents.layer_events));
        EXPECT_GT(stackIndex(me->map.picker), stackIndex(me->mapevents.layer_event));
    }
    KGRLayer* layerNamed(const std::string& name)
    {
        return static_cast<KGRLayer*>(HX_GetObject(name.c_str(), "KGRLayer"));
    }
};

TEST_F(MapEventsLayersTest, MapLayersConfiguredAfterTheMapEventsStayUnderTheEvents)
{
    makeMapEvents();
    defineLayers("mapevents_test_after");
    db->addEvent("ev/1", now - 600, 20, 25, 10, 3.0);
    open();
    QImage image = render();
    expectEventsOnTop(layerNamed("mapevents_test_after"));
    // The map layers are drawn (water blue) and the selected origin shows
    // over the land.
    EXPECT_EQ(image.pixel(pixelOf(-120, -40)), qRgb(0, 0, 255));
    EXPECT_GT(greenAround(image, pixelOf(25, 20), 3), 0);
}

TEST_F(MapEventsLayersTest, MapLayersAddedAfterTheDatabaseStayUnderTheEvents)
{
    makeMapEvents();
    db->addEvent("ev/1", now - 600, 20, 25, 10, 3.0);
    open();
    ASSERT_GT(greenAround(render(), pixelOf(25, 20), 3), 0);
    // New map layers, made after all the items of the events.
    defineLayers("mapevents_test_later");
    QImage image = render();
    expectEventsOnTop(layerNamed("mapevents_test_later"));
    EXPECT_EQ(image.pixel(pixelOf(-120, -40)), qRgb(0, 0, 255));
    EXPECT_GT(greenAround(image, pixelOf(25, 20), 3), 0);
}

TEST_F(MapEventsLayersTest, MapLayersConfiguredBeforeStayUnderTheEventsToo)
{
    makeMapEvents();
    defineLayers("mapevents_test_before");
    db->addEvent("ev/1", now - 600, 20, 25, 10, 3.0);
    open();
    // Listing the layers again restacks them.
    ASSERT_EQ(me->configure("maplayers", "maplayers &Tbl{\nmapevents_test_before\n}\n", kEnd), 0);
    QImage image = render();
    expectEventsOnTop(layerNamed("mapevents_test_before"));
    EXPECT_GT(greenAround(image, pixelOf(25, 20), 3), 0);
}

// An event without detections nor stations is a normal state: selecting it
// leaves nothing in the error register.
TEST_F(MapEventsLayersTest, AnEventWithoutDetectionsLeavesNoError)
{
    makeMapEvents();
    db->addEvent("ev/1", now - 600, 20, 25, 10, 3.0);
    open();
    EXPECT_EQ(takeRegister(), "");
    ASSERT_NE(me->mapevents.ppd_event, nullptr);
    EXPECT_EQ(me->mapevents.ppd_event->polypoint.npts, 0);
    ASSERT_NE(me->mapevents.pps, nullptr);
    EXPECT_EQ(me->mapevents.pps->polypoint.npts, 0);
    QImage image = render();
    EXPECT_GT(greenAround(image, pixelOf(25, 20), 3), 0);
    EXPECT_EQ(takeRegister(), "");
    // Shown again and hidden: still no error.
    me->hideEvent();
    me->showEvent(-1, 3, 0);
    render();
    EXPECT_EQ(takeRegister(), "");
}

} // namespace
