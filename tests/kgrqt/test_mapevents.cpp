// KGRMapEvents: option defaults, the update timer, the update cycle on a
// SQLite event database, selection with the mouse, and a map that follows
// a database while it is written, deleted and replaced.
#include "hx_eventview.h"
#include "kgrqt.h"
#include "kgrqt_mapevents_item.h"
#include "mapevents_world.h"
#include "register.h"
#include "render.h"

#include <QApplication>
#include <QFile>
#include <QGridLayout>
#include <QMouseEvent>
#include <QSqlQuery>
#include <QTest>

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>

namespace {

const char* const kEnd = nullptr;
const QRgb kWhite = qRgb(255, 255, 255);
const QRgb kRed = qRgb(255, 0, 0);
const QRgb kGreen = qRgb(0, 255, 0);

// Counts the update cycles and answers with a chosen result.
class CountingMapEvents : public KGRMapEvents {
public:
    explicit CountingMapEvents(KGRViewport* vp) : KGRMapEvents(vp, 0) {}
    int animatorCallback() override
    {
        ++runs;
        if (failAfter >= 0 && runs >= failAfter)
            return -1;
        return KGRMapEvents::animatorCallback();
    }
    int runs = 0;
    int failAfter = -1;
};

// The world map over a SQLite event database in a temporary directory.
class MapEventsTest : public MapEventsWorld<::testing::Test, CountingMapEvents> {
protected:
    void SetUp() override
    {
        hx_clear_register(0);
        ASSERT_TRUE(dir.isValid());
        makeWorld(dir.filePath("events.db").toStdString());
    }
    void send(QEvent::Type type, QPoint at, Qt::KeyboardModifiers mods = Qt::NoModifier)
    {
        Qt::MouseButton button = type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton;
        Qt::MouseButtons buttons = type == QEvent::MouseButtonPress ? Qt::LeftButton : Qt::NoButton;
        QMouseEvent event(type, at, vp->mapToGlobal(at), button, buttons, mods);
        QApplication::sendEvent(me->map.picker, &event);
    }
};

// ---------------------------------------------------------------- options

TEST_F(MapEventsTest, OptionDefaultsAreTheTableText)
{
    const std::map<std::string, std::string> expected = {
        {"events_coding",
         "sy=circle,sz=5,szg=1.0,cl=depth,fd=1.0,fdg=1.0,ot=#60000000,fi=#a0a0a0,lw=0\n"},
        {"events_fallback_coding",
         "sy=circle,sz=5,szg=1.0,cl=depth,fd=1.0,fdg=1.0,ot=#60000000,fi=#a0a0a0,lw=0\n"},
        {"event_coding", "sy=bb,sz=15,szg=1.0,cl=depth,fd=1.0,fdg=1.0\n"},
        {"event_fallback_coding",
         "sy=circle,sz=5,szg=1.0,cl=depth,fd=1.0,fdg=1.0,ot=#60000000,fi=#a0a0a0,lw=0\n"},
        {"event_stations_coding_defining",
         "sy=triangle,sz=8,szg=1.0,cl=constant,fd=1.0,fdg=1.0,ot=#60000000,fi=blue,lw=0\n"},
        {"event_stations_coding_associated",
         "sy=triangle,sz=8,szg=1.0,cl=constant,fd=1.0,fdg=1.0,ot=#60000000,fi=orange,lw=0\n"},
        {"event_stations_coding_other",
         "sy=triangle,sz=8,szg=1.0,cl=constant,fd=1.0,fdg=1.0,ot=#60000000,fi=red,lw=0\n"},
        {"events_detections_coding",
         "sy=triangle,sz=age:0:25:1800:12:12:25,szg=1.0,cl=constant,fd=age:0:1:7200:0:0:1,ot=#"
         "6000000,fdg=1.00,fi=magenta,lw=0\n"},
        {"event_detections_coding",
         "sy=triangle,sz=ageresid:5:16:5.001:12:12:16,szg=1.0,cl=constant,fd=ageresid:5:1:5.001:"
         "0.5:0.5:1,fdg=1.0,ot=#60000000,fi=cyan,lw=0\n"},
        {"show_detections", "yes"},
        {"auto_center", "no"},
        {"show_nav", "auto"},
        {"update_interval", "10.0"},
        {"max_age_detections", "86400"},
    };
    std::map<std::string, std::string> table;
    for (HX_ConfigureSpec* s = KGRMapEvents::configSpecs; strcmp(s->type, "end") != 0; ++s)
        table[s->name] = s->defValue ? s->defValue : "(none)";
    for (const auto& e : expected)
        EXPECT_EQ(table[e.first], e.second) << e.first;
    for (const char* none :
         {"map_taskbar_buttons_definitions", "map_taskbar_buttons", "layer_events", "layer_event",
          "events_taskbar_buttons_definitions", "events_taskbar_buttons", "show_nav_refresh"})
        EXPECT_EQ(table[none], "(none)") << none;
    EXPECT_EQ(table.size(), 21u);

    // Printed back from a fresh item, byte for byte.
    auto fresh = std::make_unique<KGRViewport>(nullptr);
    auto* item = new KGRMapEvents(fresh.get(), 0);
    for (const char* name : {"events_fallback_coding", "event_coding", "event_fallback_coding",
                             "event_stations_coding_defining", "event_stations_coding_associated",
                             "event_stations_coding_other", "events_detections_coding",
                             "event_detections_coding", "show_nav", "update_interval"}) {
        char* text = item->printConfigValue(name);
        ASSERT_NE(text, nullptr) << name << takeRegister();
        EXPECT_EQ(std::string(text), expected.at(name)) << name;
        free(text);
    }
    EXPECT_EQ(item->mapevents.max_age_detections, 86400.0);
    EXPECT_EQ(item->mapevents.show_detections, 1);
    EXPECT_EQ(item->mapevents.auto_center, 0);
    // The default button bar of the events is installed.
    EXPECT_NE(item->mapevents.events_taskbar, nullptr);
    EXPECT_NE(getarr(item->mapevents.coding_templates, "depth"), nullptr);
}

TEST_F(MapEventsTest, UpdateIntervalIsARealNeverNegative)
{
    EXPECT_EQ(me->configure("update_interval", "-5", kEnd), 0);
    char* text = me->printConfigValue("update_interval");
    EXPECT_STREQ(text, "0.0");
    free(text);
    EXPECT_EQ(me->configure("update_interval", "2.5", kEnd), 0);
    text = me->printConfigValue("update_interval");
    EXPECT_STREQ(text, "2.5");
    free(text);
    EXPECT_EQ(me->configure("update_interval", "soon", kEnd), -1);
    takeRegister();
}

TEST_F(MapEventsTest, ShowNavTakesBooleansToggleAndAuto)
{
    EXPECT_EQ(me->configure("show_nav", "no", kEnd), 0);
    EXPECT_EQ(me->mapevents.show_nav, KGRMAPEVENTS_NAV_OFF);
    EXPECT_EQ(me->configure("show_nav", "toggle", kEnd), 0);
    EXPECT_EQ(me->mapevents.show_nav, KGRMAPEVENTS_NAV_ON);
    EXPECT_EQ(me->configure("show_nav", "maybe", kEnd), -1);
    EXPECT_NE(takeRegister().find("mapevents_parse_show_nav: KGR_ParseBoolean(maybe) error.\n"),
              std::string::npos);
}

// ------------------------------------------------------------------ timer

TEST_F(MapEventsTest, TimerRearmsUntilStoppedAtItsNextFiring)
{
    open("0.02");
    ASSERT_NE(me->mapevents.timer, nullptr);
    ASSERT_TRUE(waitFor([&] { return me->runs >= 4; }, 2000)) << me->runs;
    me->mapevents.timer->setInterval(-1);
    const int runs = me->runs;
    QTest::qWait(150);
    EXPECT_EQ(me->runs, runs); // the next firing ran nothing
    EXPECT_EQ(me->mapevents.timer, nullptr);
}

TEST_F(MapEventsTest, ZeroIntervalRunsOneCheck)
{
    open("0");
    EXPECT_EQ(me->runs, 1);
    EXPECT_EQ(me->mapevents.timer, nullptr);
    QTest::qWait(100);
    EXPECT_EQ(me->runs, 1);
}

TEST_F(MapEventsTest, NegativeIntervalRunsOneCheckAsZero)
{
    open("-5");
    EXPECT_EQ(me->runs, 1);
    QTest::qWait(100);
    EXPECT_EQ(me->runs, 1);
    // With the database open, a new interval restarts at once.
    EXPECT_EQ(me->configure("update_interval", "-5", kEnd), 0);
    EXPECT_EQ(me->runs, 2);
    QTest::qWait(100);
    EXPECT_EQ(me->runs, 2);
}

TEST_F(MapEventsTest, FailingCycleEndsTheTimer)
{
    me->failAfter = 3;
    open("0.02");
    ASSERT_TRUE(waitFor([&] { return me->runs >= 3; }, 2000));
    QTest::qWait(150);
    EXPECT_EQ(me->runs, 3);
    EXPECT_EQ(me->mapevents.timer, nullptr);
}

TEST_F(MapEventsTest, TimerCopiesShareTheRecord)
{
    auto* record = new MapeventsTimer(me, 0.02);
    me->timerStarted(record);
    MapeventsTimer copy(*record);
    EXPECT_EQ(record->maptimer, record);
    EXPECT_EQ(copy.maptimer, record);
    copy.setInterval(0); // through the copy, on the record
    EXPECT_EQ(record->interval, 0.0);
    copy(); // one check, then the record is gone
    EXPECT_EQ(me->runs, 1);
}

// ----------------------------------------------------------- update cycle

TEST_F(MapEventsTest, EventChangesRefreshAndShowTheNewest)
{
    db->addEvent("ev/1", now - 600, 10, 20);
    open();
    ASSERT_EQ(npts(me->mapevents.ppe), 1) << takeRegister() << me->runs;
    EXPECT_EQ(me->mapevents.display_mode, KGRMAPEVENTS_DISPLAY_EVENT);
    EXPECT_EQ(me->mapevents.events_ipt, 0);
    db->addEvent("ev/2", now - 60, -20, -40);
    EXPECT_EQ(me->animatorCallback(), 0);
    ASSERT_EQ(npts(me->mapevents.ppe), 2);
    EXPECT_EQ(me->mapevents.events_ipt, 1); // the newest
    EXPECT_FLOAT_EQ(me->mapevents.ppo->polypoint.point[0].x, -40);
    EXPECT_FLOAT_EQ(me->mapevents.ppo->polypoint.point[0].y, -20);
    // Nothing changed: nothing is read again.
    KGRPolypoint* ppe = me->mapevents.ppe;
    EXPECT_EQ(me->animatorCallback(), 0);
    EXPECT_EQ(me->mapevents.ppe, ppe);
    EXPECT_EQ(npts(ppe), 2);
}

TEST_F(MapEventsTest, DetectionChangesShowTheSelectedEventAgain)
{
    long orid = 0;
    db->addEvent("ev/1", now - 600, 10, 20, 10, 3.0, &orid);
    db->addEvent("ev/2", now - 300, 30, 40);
    open();
    me->hideEvent();
    me->showEvent(0, 3, 0); // the older one, pinned
    me->mapevents.mouse_state = KGRMAPEVENTS_MOUSE_PINNED;
    ASSERT_EQ(me->mapevents.events_ipt, 0);
    addDetection("AAA", 12, 22, now - 590);
    EXPECT_EQ(me->animatorCallback(), 0);
    EXPECT_EQ(npts(me->mapevents.ppd_events), 1);
    EXPECT_EQ(me->mapevents.events_ipt, 0);
    EXPECT_EQ(me->mapevents.display_mode, KGRMAPEVENTS_DISPLAY_EVENT);
    // The unassociated detection near the origin time is an "other" station.
    ASSERT_EQ(npts(me->mapevents.pps), 1);
    EXPECT_FLOAT_EQ(me->mapevents.pps->polypoint.point[0].x, 22);
    EXPECT_TRUE(me->mapevents.ppd_events->isHidden()); // while an event is shown
    const QImage image = render();
    const QPoint at = pixelOf(22, 12);
    EXPECT_EQ(image.pixel(at), kRed) << std::hex << image.pixel(at); // fi=red: other
}

// A change of the schema makes the view report 3 for every table and close
// until it is reset: the cycle must reopen it before reading, or the
// refresh would fail on the closed view and the new event stay unseen.
TEST_F(MapEventsTest, SchemaChangeResetsTheViewBeforeItIsRead)
{
    db->addEvent("ev/1", now - 600, 10, 20);
    open();
    ASSERT_EQ(npts(me->mapevents.ppe), 1);
    db->addEvent("ev/2", now - 300, -10, -60);
    {
        QSqlQuery q(db->w().db());
        ASSERT_TRUE(q.exec("CREATE TABLE local_notes (note TEXT)"));
    }
    EXPECT_EQ(me->animatorCallback(), 0) << takeRegister();
    hx_clear_register(0);
    ASSERT_EQ(npts(me->mapevents.ppe), 2);
    EXPECT_EQ(me->mapevents.events_ipt, 1);
    // The newest event is shown selected, the other dimmed but drawn.
    EXPECT_EQ(render().pixel(pixelOf(-60, -10)), kGreen);
    EXPECT_EQ(me->animatorCallback(), 0) << takeRegister();
}

// Disabled: after a replaced file is reset, HXEventView::refreshEvents
// answers with one event where the new file holds two (the view's own
// replacement test passes; under investigation with the view's owners).
TEST_F(MapEventsTest, DISABLED_ResetComesBeforeAnyRefresh)
{
    db->addEvent("ev/1", now - 600, 10, 20);
    open();
    ASSERT_EQ(npts(me->mapevents.ppe), 1);
    // Another database takes the file's place: every table reports 3, the
    // view is reopened and only then read.
    const std::string other = dir.filePath("other.db").toStdString();
    {
        TestDb replacement(other);
        ASSERT_TRUE(replacement.ok());
        replacement.addEvent("new/1", now - 30, -10, -60);
        replacement.addEvent("new/2", now - 20, -15, -65);
    }
    db.reset(); // the writer of the old file goes with it
    ASSERT_EQ(rename(other.c_str(), dbname.c_str()), 0);
    EXPECT_EQ(me->animatorCallback(), 0) << takeRegister();
    ASSERT_EQ(npts(me->mapevents.ppe), 2) << takeRegister();
    EXPECT_FLOAT_EQ(me->mapevents.ppe->polypoint.point[0].x, -60);
    EXPECT_EQ(me->mapevents.events_ipt, 1);
}

// -------------------------------------------------------------- selection

TEST_F(MapEventsTest, PressPinsAndPressOnTheOriginReleases)
{
    db->addEvent("ev/1", now - 600, 10, 20);
    db->addEvent("ev/2", now - 300, -30, -60);
    open();
    me->hideEvent();
    me->setEventsBackground(1);
    render();
    const QPoint first = pixelOf(20, 10);
    send(QEvent::MouseButtonPress, first);
    EXPECT_EQ(me->mapevents.mouse_state, KGRMAPEVENTS_MOUSE_PINNED);
    EXPECT_EQ(me->mapevents.events_ipt, 0);
    EXPECT_EQ(me->map.mouse_state, KGRMAP_MOUSE_IDLE); // consumed: no panning
    send(QEvent::MouseButtonRelease, first);
    QImage image = render();
    EXPECT_EQ(image.pixel(first), kGreen);
    // The other events are dimmed.
    EXPECT_NE(image.pixel(pixelOf(-60, -30)), kRed);
    EXPECT_NE(image.pixel(pixelOf(-60, -30)), kWhite);
    // A press on the shown origin lets the event go.
    send(QEvent::MouseButtonPress, first);
    EXPECT_EQ(me->mapevents.mouse_state, KGRMAPEVENTS_MOUSE_NONE);
    EXPECT_EQ(me->mapevents.display_mode, KGRMAPEVENTS_DISPLAY_NONE);
    EXPECT_EQ(me->map.mouse_state, KGRMAP_MOUSE_IDLE);
    send(QEvent::MouseButtonRelease, first);
    image = render();
    EXPECT_EQ(image.pixel(pixelOf(-60, -30)), kRed); // full opacity again
}

TEST_F(MapEventsTest, PressElsewhereReachesThePan)
{
    db->addEvent("ev/1", now - 600, 10, 20);
    open();
    me->hideEvent();
    render();
    send(QEvent::MouseButtonPress, pixelOf(-100, -40));
    EXPECT_EQ(me->mapevents.mouse_state, KGRMAPEVENTS_MOUSE_NONE);
    EXPECT_EQ(me->map.mouse_state, KGRMAP_MOUSE_PANNING);
    send(QEvent::MouseButtonRelease, pixelOf(-100, -40));
    EXPECT_EQ(me->map.mouse_state, KGRMAP_MOUSE_IDLE);
}

TEST_F(MapEventsTest, ShiftHoverShowsWithoutCentringAndLeavingHides)
{
    db->addEvent("ev/1", now - 600, 10, 20);
    db->addEvent("ev/2", now - 300, -30, -60);
    open();
    me->hideEvent();
    ASSERT_EQ(me->configure("auto_center", "yes", kEnd), 0);
    render();
    const double xleft = vp->viewport.xleft, xright = vp->viewport.xright;
    const QPoint first = pixelOf(20, 10);
    send(QEvent::MouseMove, first); // without Shift: nothing
    EXPECT_EQ(me->mapevents.display_mode, KGRMAPEVENTS_DISPLAY_NONE);
    send(QEvent::MouseMove, first, Qt::ShiftModifier);
    EXPECT_EQ(me->mapevents.mouse_state, KGRMAPEVENTS_MOUSE_HOVER);
    EXPECT_EQ(me->mapevents.events_ipt, 0);
    QImage image = render();
    EXPECT_EQ(vp->viewport.xleft, xleft);
    EXPECT_EQ(vp->viewport.xright, xright);
    EXPECT_EQ(image.pixel(first), kGreen);
    // Off the origin: hidden again.
    send(QEvent::MouseMove, pixelOf(100, -60));
    EXPECT_EQ(me->mapevents.mouse_state, KGRMAPEVENTS_MOUSE_NONE);
    EXPECT_EQ(me->mapevents.display_mode, KGRMAPEVENTS_DISPLAY_NONE);
    EXPECT_FALSE(me->mapevents.layer_event->isVisible());
}

// ------------------------------------------------------------ end to end

// Disabled: after a replaced file is reset, HXEventView::refreshEvents
// answers with one event where the new file holds two (the view's own
// replacement test passes; under investigation with the view's owners).
TEST_F(MapEventsTest, DISABLED_FollowsTheDatabaseThroughDeletionAndReplacement)
{
    open("0.05");
    render();
    const QPoint a = pixelOf(50, 20);
    EXPECT_EQ(render().pixel(a), kWhite);
    db->addEvent("ev/a", now - 100, 20, 50);
    ASSERT_TRUE(waitFor([&] { return npts(me->mapevents.ppe) == 1; }, 200));
    EXPECT_EQ(render().pixel(a), kGreen); // the newest is selected

    // Deleted: the view says so, the update stops with a clear message and
    // the map keeps what it has.
    QFile::copy(QString::fromStdString(dbname), dir.filePath("saved.db"));
    db.reset();
    ASSERT_TRUE(QFile::remove(QString::fromStdString(dbname)));
    ASSERT_TRUE(waitFor([&] { return me->mapevents.timer == nullptr; }, 500));
    const std::string messages = takeRegister();
    EXPECT_NE(messages.find("was deleted"), std::string::npos) << messages;
    EXPECT_NE(messages.find("KGRMapEvents::animatorCallback: Unable to reset event views.\n"),
              std::string::npos)
        << messages;
    EXPECT_EQ(render().pixel(a), kGreen);

    // Back again, with one more event: re-arming the update resets the
    // view and shows it.
    ASSERT_TRUE(QFile::copy(dir.filePath("saved.db"), QString::fromStdString(dbname)));
    db.reset(new TestDb(dbname, true));
    db->addEvent("ev/b", now - 50, -20, -50);
    ASSERT_EQ(me->configure("update_interval", "0.05", kEnd), 0);
    ASSERT_TRUE(waitFor([&] { return npts(me->mapevents.ppe) == 2; }, 500)) << takeRegister();
    QImage image = render();
    EXPECT_NE(image.pixel(a), kWhite); // dimmed behind the newest
    EXPECT_EQ(image.pixel(pixelOf(-50, -20)), kGreen);

    // Replaced between two checks: reset at the next check, no stop.
    const std::string other = dir.filePath("other.db").toStdString();
    {
        TestDb replacement(other);
        ASSERT_TRUE(replacement.ok());
        replacement.addEvent("new/1", now - 10, 40, 100);
    }
    db.reset();
    ASSERT_EQ(rename(other.c_str(), dbname.c_str()), 0);
    ASSERT_TRUE(waitFor([&] { return npts(me->mapevents.ppe) == 1; }, 500)) << takeRegister();
    EXPECT_NE(me->mapevents.timer, nullptr);
    image = render();
    EXPECT_EQ(image.pixel(pixelOf(100, 40)), kGreen);
    EXPECT_EQ(image.pixel(a), kWhite);
}

} // namespace
