// The view of kgrqt-map: its layers, buttons, projections and snapshots.
// The pictures of real places need the installed map data and are skipped
// without it.
#include "map_test_view.h"

#include "kgrqt.h"

#include <QApplication>
#include <QColor>
#include <QFile>
#include <QMouseEvent>
#include <QPainter>
#include <QTemporaryDir>
#include <QWheelEvent>

#include <gtest/gtest.h>

namespace {

bool isBluish(QRgb c)
{
    return qBlue(c) > qRed(c) + 20;
}

bool isEarthy(QRgb c)
{
    return qRed(c) > qBlue(c) + 20;
}

// Within a few units of a colour on every channel.
bool near(QRgb c, const char* name)
{
    const QColor want(name);
    return std::abs(qRed(c) - want.red()) <= 3 && std::abs(qGreen(c) - want.green()) <= 3 &&
           std::abs(qBlue(c) - want.blue()) <= 3;
}

KGRTaskbarButtonParams* button(MapView& view, const char* name)
{
    KGRTaskbar* taskbar = view.map()->map.taskbar;
    return taskbar ? static_cast<KGRTaskbarButtonParams*>(
                         getarr(taskbar->taskbar.buttons_definitions, name))
                   : nullptr;
}

const char* const kLayers[] = {"bluemarble", "dem_srtm30", "water_mask",
                               "coasts",     "political",  "rivers"};

} // namespace

TEST(MapView, DefinesTheStandardLayersShowingBlueMarbleBordersAndRivers)
{
    MapView view(400, 300, MapSetup{"/no/such/dir", false, false, {}});
    std::vector<std::string> names = view.layerNames();
    ASSERT_EQ(names.size(), 6u);
    for (size_t i = 0; i < names.size(); ++i)
        EXPECT_EQ(names[i], kLayers[i]);
    EXPECT_TRUE(view.layerShown("bluemarble"));
    EXPECT_FALSE(view.layerShown("dem_srtm30"));
    EXPECT_FALSE(view.layerShown("water_mask"));
    EXPECT_FALSE(view.layerShown("coasts"));
    EXPECT_TRUE(view.layerShown("political"));
    EXPECT_TRUE(view.layerShown("rivers"));
    EXPECT_STREQ(view.layerFile("coasts"), "/no/such/dir/coasts.vector.kmd");
    EXPECT_EQ(view.layerFile("nothing"), nullptr);
    EXPECT_FALSE(view.layerShown("nothing"));
}

TEST(MapView, SetupLayersAreTheOnlyOnesShown)
{
    MapView view(400, 300, MapSetup{"/no/such/dir", false, true, {"coasts", "rivers"}});
    for (const char* name : kLayers)
        EXPECT_EQ(view.layerShown(name), !strcmp(name, "coasts") || !strcmp(name, "rivers"))
            << name;
}

TEST(MapView, AnUnknownLayerIsRefusedNamingTheDefinedOnes)
{
    hx_clear_register(0);
    EXPECT_THROW(MapView(400, 300, MapSetup{"/no/such/dir", false, true, {"coasts", "roads"}}),
                 const char*);
    char* text = hx_register_text();
    ASSERT_NE(text, nullptr);
    EXPECT_NE(std::string(text).find("no map layer 'roads' (defined: bluemarble, dem_srtm30, "
                                     "water_mask, coasts, political, rivers)"),
              std::string::npos)
        << text;
    free(text);
    hx_clear_register(0);
    // And later, through the view, nothing changes.
    MapView view(400, 300, MapSetup{"/no/such/dir", false, false, {}});
    EXPECT_EQ(view.setLayers({"coasts", "roads"}), -1);
    EXPECT_FALSE(view.layerShown("coasts"));
    EXPECT_TRUE(view.layerShown("bluemarble"));
    hx_clear_register(0);
}

// Layers whose files are missing draw nothing and are hidden after.
TEST(MapView, MissingMapDataLeavesTheBackground)
{
    MapView view(200, 100, MapSetup{"/no/such/dir", false, false, {}});
    view.setHome(homeAt(MapProjection::Geog, 0, 0));
    QImage image = view.render().convertToFormat(QImage::Format_RGB32);
    EXPECT_EQ(image.pixel(100, 50), QColor("white").rgb());
    EXPECT_FALSE(view.layerShown("bluemarble"));
    EXPECT_FALSE(view.layerShown("political"));
    hx_clear_register(0);
}

TEST(MapView, ButtonsStartInTheStateOfTheirLayers)
{
    MapView view(900, 400, MapSetup{"/no/such/dir", true, true, {"coasts"}});
    KGRTaskbar* taskbar = view.map()->map.taskbar;
    ASSERT_NE(taskbar, nullptr);
    EXPECT_EQ(maxtbl(taskbar->taskbar.buttons), 11);
    for (const char* name : {"edp", "merc", "geog", "zoom_in", "zoom_out", "home"})
        EXPECT_NE(button(view, name), nullptr) << name;
    ASSERT_NE(button(view, "coasts"), nullptr);
    EXPECT_EQ(button(view, "coasts")->current, 0);     // shown
    EXPECT_EQ(button(view, "bluemarble")->current, 1); // hidden
    EXPECT_EQ(button(view, "political")->current, 1);
    EXPECT_NE(view.grid(), nullptr);
}

TEST(MapView, PlainViewsHaveNoDecorations)
{
    MapView view(400, 300, MapSetup{"/no/such/dir", false, false, {}});
    EXPECT_EQ(view.map()->map.taskbar, nullptr);
    EXPECT_EQ(view.grid(), nullptr);
}

// The actions of the button definitions, as a press runs them.
TEST(MapView, ButtonActionsReachTheView)
{
    MapView view(600, 300, MapSetup{"/no/such/dir", true, false, {}});
    view.setHome(homeAt(MapProjection::Edp, 10, 20));
    view.render();
    KGRTaskbar* taskbar = view.map()->map.taskbar;
    ASSERT_NE(taskbar, nullptr);
    const char* end = nullptr;

    ASSERT_EQ(taskbar->configure("projection", "geog", end), 0);
    EXPECT_EQ(view.projection(), MapProjection::Geog);
    char* printed = taskbar->printConfigValue("projection");
    EXPECT_STREQ(printed, "geog");
    free(printed);

    ASSERT_EQ(taskbar->configure("layer_hide", "political", end), 0);
    EXPECT_FALSE(view.layerShown("political"));
    ASSERT_EQ(taskbar->configure("layer_show", "coasts", end), 0);
    EXPECT_TRUE(view.layerShown("coasts"));
    EXPECT_EQ(taskbar->configure("layer_show", "roads", end), -1);

    view.render();
    const double span = view.viewport()->viewport.xright - view.viewport()->viewport.xleft;
    ASSERT_EQ(taskbar->configure("zoom_by", "0.5", end), 0);
    view.render();
    EXPECT_NEAR(view.viewport()->viewport.xright - view.viewport()->viewport.xleft, span / 2,
                1e-6 * span);
    EXPECT_EQ(taskbar->configure("zoom_by", "-1", end), -1);
    EXPECT_EQ(taskbar->configure("projection", "utm", end), -1);

    ASSERT_EQ(taskbar->configure("home", "yes", end), 0);
    view.render();
    EXPECT_EQ(view.projection(), MapProjection::Edp);
    EXPECT_DOUBLE_EQ(view.viewport()->viewport.latr, 10);
    EXPECT_DOUBLE_EQ(view.viewport()->viewport.lonr, 20);
    EXPECT_NEAR(view.viewport()->viewport.xright - view.viewport()->viewport.xleft, 360, 1e-6);
    hx_clear_register(0);
}

// Switching projections keeps the latitudes at the top and the bottom of
// the window's middle column, and the longitude in the middle (under
// "merc" the middle latitude moves with the stretch of the ordinates).
TEST(MapView, ProjectionsKeepTheLatitudeSpanAndTheMiddleLongitude)
{
    MapView view(600, 400, MapSetup{"/no/such/dir", false, false, {}});
    view.setHome(homeAt(MapProjection::Edp, 35, 140, 4));
    view.render();
    double top = 0, bottom = 0, lat = 0, lon = 0;
    placeOf(view, 300, 0, &top, &lon);
    placeOf(view, 300, 400, &bottom, &lon);
    EXPECT_NEAR(top, 65, 1e-6);
    EXPECT_NEAR(bottom, 5, 1e-6);
    const MapProjection order[] = {MapProjection::Geog, MapProjection::Merc, MapProjection::Edp,
                                   MapProjection::Merc, MapProjection::Geog, MapProjection::Edp};
    for (MapProjection p : order) {
        const char* word = map_projection_word(p);
        ASSERT_EQ(view.setProjection(p), 0) << word;
        view.render();
        EXPECT_EQ(view.projection(), p);
        placeOf(view, 300, 0, &lat, &lon);
        EXPECT_NEAR(lat, top, 0.1) << word;
        placeOf(view, 300, 400, &lat, &lon);
        EXPECT_NEAR(lat, bottom, 0.1) << word;
        placeOf(view, 300, 200, &lat, &lon);
        EXPECT_NEAR(lon, 140, 1e-6) << word;
    }
    // The same projection again changes nothing.
    const double xleft = view.viewport()->viewport.xleft;
    ASSERT_EQ(view.setProjection(MapProjection::Edp), 0);
    view.render();
    EXPECT_DOUBLE_EQ(view.viewport()->viewport.xleft, xleft);
}

TEST(MapView, BlueMarbleOceanIsBlueAndDesertIsEarthy)
{
    SKIP_WITHOUT_MAPDATA();
    for (MapProjection p : {MapProjection::Edp, MapProjection::Merc, MapProjection::Geog}) {
        auto view = plainView(480, 240, {"bluemarble"}, homeAt(p, 0, 0));
        QImage image = view->render();
        EXPECT_TRUE(isBluish(pixelOf(*view, image, 0, -150))) << map_projection_word(p);
        EXPECT_TRUE(isBluish(pixelOf(*view, image, -30, -20))) << map_projection_word(p);
        EXPECT_TRUE(isEarthy(pixelOf(*view, image, 23, 10))) << map_projection_word(p);
        EXPECT_TRUE(isEarthy(pixelOf(*view, image, -25, 130))) << map_projection_word(p);
    }
}

// The coasts layer fills land and water with the map's two colours; lakes
// take the water's.
TEST(MapView, CoastsFillLandWaterAndLakes)
{
    SKIP_WITHOUT_MAPDATA();
    for (MapProjection p : {MapProjection::Edp, MapProjection::Merc, MapProjection::Geog}) {
        auto view = plainView(720, 360, {"coasts"}, homeAt(p, 20, 0));
        QImage image = view->render();
        const char* w = map_projection_word(p);
        EXPECT_TRUE(near(pixelOf(*view, image, 0, -30), "#e0e0ff")) << w << " Atlantic";
        EXPECT_TRUE(near(pixelOf(*view, image, 15, 20), "#fff2e5")) << w << " Chad";
        EXPECT_TRUE(near(pixelOf(*view, image, 42, 51), "#e0e0ff")) << w << " Caspian Sea";
        EXPECT_TRUE(near(pixelOf(*view, image, 50, 10), "#fff2e5")) << w << " Germany";
    }
}

// Outside the world disc the equidistant map is black.
TEST(MapView, EquidistantWorldDiscOnBlack)
{
    SKIP_WITHOUT_MAPDATA();
    auto view = plainView(400, 400, {"coasts"}, homeAt(MapProjection::Edp, 0, 0, 0.9));
    QImage image = view->render();
    EXPECT_EQ(image.pixel(2, 2), QColor("black").rgb());
    EXPECT_NE(image.pixel(200, 200), QColor("black").rgb());
}

TEST(MapView, BordersAndRiversDrawTheirColours)
{
    SKIP_WITHOUT_MAPDATA();
    auto view = plainView(720, 360, {"political", "rivers"}, homeAt(MapProjection::Geog, 0, 0));
    QImage image = view->render();
    int red = 0, river = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x) {
            const QRgb c = image.pixel(x, y);
            red += qRed(c) > 200 && qGreen(c) < 80 && qBlue(c) < 80;
            river += qBlue(c) > 230 && qRed(c) > 150 && qRed(c) < 225 && qGreen(c) < 225;
        }
    EXPECT_GT(red, 1000);
    EXPECT_GT(river, 200);
}

TEST(MapView, SnapshotsInEachFormat)
{
    SKIP_WITHOUT_MAPDATA();
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    MapSetup setup{map_default_mapdata(), true, true, {"coasts", "political"}};
    MapView view(320, 200, setup);
    testing::internal::CaptureStdout();
    for (const char* name : {"/map.png", "/map.svg", "/map.pdf"})
        EXPECT_EQ(map_write_snapshot(view, (dir.path() + name).toLocal8Bit().constData()), 0);
    const std::string out = testing::internal::GetCapturedStdout();
    EXPECT_NE(out.find("Snapshot written to"), std::string::npos);
    QImage png(dir.path() + "/map.png");
    EXPECT_EQ(png.size(), QSize(320, 200));
    QFile svg(dir.path() + "/map.svg");
    ASSERT_TRUE(svg.open(QIODevice::ReadOnly));
    EXPECT_TRUE(svg.readAll().contains("<path"));
    QFile pdf(dir.path() + "/map.pdf");
    ASSERT_TRUE(pdf.open(QIODevice::ReadOnly));
    EXPECT_TRUE(pdf.read(5) == "%PDF-");
    testing::internal::CaptureStderr();
    EXPECT_EQ(map_write_snapshot(view, "/no/such/dir/map.png"), -1);
    EXPECT_NE(testing::internal::GetCapturedStderr().find("kgrqt-map: cannot write"),
              std::string::npos);
}

namespace {

void sendMouse(QWidget* to, QEvent::Type type, QPoint at, Qt::MouseButton button)
{
    QMouseEvent event(type, at, to->mapToGlobal(at), button,
                      type == QEvent::MouseButtonRelease ? Qt::NoButton : button, Qt::NoModifier);
    QApplication::sendEvent(to, &event);
}

} // namespace

// A press on a button is the button's: the projection changes and the map
// does not start a pan.
TEST(MapView, PressingAButtonRunsItsAction)
{
    MapView view(900, 400, MapSetup{"/no/such/dir", true, false, {}});
    view.window()->show();
    view.render();
    KGRPicker* picker = view.map()->map.picker;
    ASSERT_NE(picker, nullptr);
    const QPoint lonLat(246, 18); // inside the "Lon/Lat" button
    sendMouse(picker, QEvent::MouseMove, lonLat, Qt::NoButton);
    sendMouse(picker, QEvent::MouseButtonPress, lonLat, Qt::LeftButton);
    EXPECT_EQ(view.projection(), MapProjection::Geog);
    EXPECT_EQ(view.map()->map.mouse_state, KGRMAP_MOUSE_IDLE);
    sendMouse(picker, QEvent::MouseButtonRelease, lonLat, Qt::LeftButton);
    hx_clear_register(0);
}

// Dragging on the map pans it; the wheel zooms.
TEST(MapView, DragPansAndWheelZooms)
{
    MapView view(600, 300, MapSetup{"/no/such/dir", false, false, {}});
    view.setHome(homeAt(MapProjection::Geog, 0, 0));
    view.window()->show();
    view.render();
    KGRPicker* picker = view.map()->map.picker;
    ASSERT_NE(picker, nullptr);
    sendMouse(picker, QEvent::MouseButtonPress, QPoint(300, 150), Qt::LeftButton);
    sendMouse(picker, QEvent::MouseMove, QPoint(200, 150), Qt::LeftButton);
    sendMouse(picker, QEvent::MouseButtonRelease, QPoint(200, 150), Qt::LeftButton);
    view.render();
    double lat = 0, lon = 0;
    placeOf(view, 300, 150, &lat, &lon);
    EXPECT_NEAR(lon, 60, 1.5); // 100 pixels of 600 across 360 degrees
    const double span = view.viewport()->viewport.xright - view.viewport()->viewport.xleft;
    QWheelEvent wheel(QPointF(300, 150), QPointF(picker->mapToGlobal(QPoint(300, 150))), QPoint(),
                      QPoint(0, 120), Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
    QApplication::sendEvent(picker, &wheel);
    view.render();
    EXPECT_NEAR(view.viewport()->viewport.xright - view.viewport()->viewport.xleft, 0.88 * span,
                0.01 * span);
    hx_clear_register(0);
}

// The shipped definitions read every file from the map-data directory and
// give each view off-screen layers of its own.
TEST(MapView, LayerDefinitionsTakeTheDirectoryAndTheViewName)
{
    const std::string a = map_layer_definitions("/data/kmd", "view-a");
    EXPECT_EQ(a.find('@'), std::string::npos);
    EXPECT_NE(a.find("/data/kmd/bluemarble.world.200407.v01.grid.kmd"), std::string::npos);
    EXPECT_NE(a.find("/data/kmd/coasts.vector.kmd"), std::string::npos);
    EXPECT_NE(a.find("view-a-vector"), std::string::npos);
    const std::string b = map_layer_definitions("/data/kmd", "view-b");
    EXPECT_EQ(b.find("view-a"), std::string::npos);
    EXPECT_NE(map_next_view_name(), map_next_view_name());
    // Two views at once paint into layers of their own.
    MapView one(200, 100, MapSetup{"/no/such/dir", false, false, {}});
    MapView two(200, 100, MapSetup{"/no/such/dir", false, false, {}});
    const KGRMapLayerParams* p1 = map_layer_params(one.map(), "coasts");
    const KGRMapLayerParams* p2 = map_layer_params(two.map(), "coasts");
    ASSERT_TRUE(p1 && p2);
    EXPECT_NE(p1->kgr_layer, p2->kgr_layer);
    EXPECT_EQ(p1->kgr_layer->parentWidget(), one.viewport());
}
