// KGRMapEvents following a database while it is written: on SQLite and,
// when KGRQT_PG_URI names a server, PostgreSQL, with the update timer
// running; and a long run of update cycles in which nothing may grow.
#include "hx_eventview.h"
#include "hx_vector.h"
#include "kgrqt.h"
#include "kgrqt_mapevents_item.h"
#include "mapevents_world.h"
#include "register.h"
#include "render.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QGridLayout>
#include <QTest>

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <memory>
#include <string>

namespace {

const char* const kEnd = nullptr;
const QRgb kWhite = qRgb(255, 255, 255);
const QRgb kRed = qRgb(255, 0, 0);
const QRgb kGreen = qRgb(0, 255, 0);

long residentKilobytes()
{
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line))
        if (line.rfind("VmRSS:", 0) == 0)
            return std::stol(line.substr(6));
    return -1;
}

// A map events item without a navigation map.
class PlainMapEvents : public KGRMapEvents {
public:
    explicit PlainMapEvents(KGRViewport* vp) : KGRMapEvents(vp, 0) {}
};

// The world map over an event database of the backend named by the
// parameter: a scratch SQLite file, or the (emptied) PostgreSQL database of
// KGRQT_PG_URI.
class MapEventsFollowTest
    : public MapEventsWorld<::testing::TestWithParam<const char*>, PlainMapEvents> {
protected:
    void SetUp() override
    {
        hx_clear_register(0);
        ASSERT_TRUE(dir.isValid());
        const std::string name = testDatabaseName(GetParam(), dir, "events.db");
        if (name.empty())
            GTEST_SKIP() << "KGRQT_PG_URI is not set";
        makeWorld(name);
    }
    // The number of this item's named vectors that exist.
    int vectorsRegistered() const
    {
        int n = 0;
        for (const char* suffix : {"", "e", "da", "ds", "o", "s", "p", "n"}) {
            const std::string name = "mapevents" + std::to_string(me->instance) + suffix;
            n += hxvector_kind(name.c_str()) != 0;
        }
        return n;
    }
    // Polypoints and other objects under the map and its navigation map.
    int polypoints() const
    {
        int n = vp->findChildren<KGRPolypoint*>().size();
        if (me->mapevents.nav_vp && !vp->isAncestorOf(me->mapevents.nav_vp))
            n += me->mapevents.nav_vp->findChildren<KGRPolypoint*>().size();
        return n;
    }
    int objects() const { return vp->findChildren<QObject*>().size(); }
};

// The timer polls every 0.1 s: a new event shows as the selected origin
// at its place within about one interval, the one before it dimmed; a
// new detection shows at its station, as an "other" station of the shown
// event and, with no event shown, among the detections of all events.
TEST_P(MapEventsFollowTest, NewEventsAndDetectionsShowWhileThePollRuns)
{
    const int interval = 100; // ms
    // One interval, and slack for a machine slowed by sanitizers or load:
    // the time taken is printed, the timer's own tests check its period.
    const int limit = 10 * interval;
    db->addEvent("ev/a", now - 600, 20, 50);
    open("0.1");
    ASSERT_NE(me->mapevents.timer, nullptr);
    ASSERT_EQ(npts(me->mapevents.ppe), 1) << takeRegister();
    const QPoint a = pixelOf(50, 20), b = pixelOf(-50, -20);
    EXPECT_EQ(render().pixel(a), kGreen);
    EXPECT_EQ(render().pixel(b), kWhite);

    // A new event.
    db->addEvent("ev/b", now - 300, -20, -50);
    qint64 took = 0;
    ASSERT_TRUE(waitFor([&] { return npts(me->mapevents.ppe) == 2; }, limit, &took))
        << takeRegister();
    std::printf("[          ] %s: new event shown after %lld ms\n", GetParam(),
                static_cast<long long>(took));
    QImage image = render();
    EXPECT_EQ(image.pixel(b), kGreen) << std::hex << image.pixel(b);
    EXPECT_NE(image.pixel(a), kWhite); // dimmed behind the newest
    EXPECT_NE(image.pixel(a), kRed);
    EXPECT_EQ(me->mapevents.events_ipt, 1);

    // A new detection shortly after the shown origin, away from it: an
    // "other" station of the event (red).
    const QPoint sta1 = pixelOf(100, 40);
    EXPECT_EQ(image.pixel(sta1), kWhite);
    addDetection("AAA", 40, 100, now - 290);
    ASSERT_TRUE(waitFor([&] { return npts(me->mapevents.ppd_events) == 1; }, limit, &took))
        << takeRegister();
    std::printf("[          ] %s: new detection shown after %lld ms\n", GetParam(),
                static_cast<long long>(took));
    ASSERT_EQ(npts(me->mapevents.pps), 1);
    image = render();
    EXPECT_EQ(image.pixel(sta1), kRed) << std::hex << image.pixel(sta1);
    EXPECT_EQ(image.pixel(b), kGreen);

    // No event shown: a new detection among those of all events (magenta).
    me->hideEvent();
    const QPoint sta2 = pixelOf(-120, 60);
    EXPECT_EQ(render().pixel(sta2), kWhite);
    addDetection("BBB", 60, -120, now - 5);
    ASSERT_TRUE(waitFor([&] { return npts(me->mapevents.ppd_events) == 2; }, limit, &took))
        << takeRegister();
    std::printf("[          ] %s: new detection (no event shown) after %lld ms\n", GetParam(),
                static_cast<long long>(took));
    image = render();
    // Magenta, faded by the detection's few seconds of age.
    const QRgb d = image.pixel(sta2);
    EXPECT_TRUE(qRed(d) >= 250 && qGreen(d) <= 8 && qBlue(d) >= 250) << std::hex << d;
    // Both events alike now, neither the selected one.
    EXPECT_NE(image.pixel(a), kWhite);
    EXPECT_NE(image.pixel(a), kGreen);
    EXPECT_EQ(image.pixel(b), image.pixel(a));
    EXPECT_NE(me->mapevents.timer, nullptr);
    EXPECT_EQ(hx_register_count(), 0) << takeRegister();
}

// 10,000 update cycles, one event or one detection written every 100 and
// nothing otherwise: the counts shown follow the database, and neither the
// vectors, the items nor the error register grow (AddressSanitizer's leak
// check on this test would show a leak per cycle).
TEST_P(MapEventsFollowTest, TenThousandCyclesGrowNothing)
{
    const int cycles = 10000, every = 100;
    open("0");
    ASSERT_EQ(me->mapevents.timer, nullptr);
    QElapsedTimer clock;
    clock.start();
    const bool sqlite = std::string(GetParam()) == "sqlite";
    int events = 0, detections = 0, extra = 0;
    // A PostgreSQL server's notice of a commit may come after the next
    // hundred cycles (a few milliseconds): there the cycles go on, with the
    // event loop running, until it is in.
    auto catchUp = [&] {
        QElapsedTimer wait;
        wait.start();
        while (!sqlite &&
               (npts(me->mapevents.ppe) != events ||
                (detections > 0 && npts(me->mapevents.ppd_events) != detections)) &&
               wait.elapsed() < 2000) {
            QTest::qWait(1);
            if (me->animatorCallback() != 0)
                return;
            ++extra;
        }
    };
    int vectors0 = -1, polypoints0 = -1, objects0 = -1;
    long rss0 = -1;
    for (int i = 1; i <= cycles; ++i) {
        if (i % every == 0) {
            const int k = i / every;
            if (k % 2) {
                db->addEvent(("soak/" + std::to_string(k)).c_str(), now - 3000 + k, (k % 160) - 80,
                             (k * 7 % 360) - 180);
                ++events;
            } else {
                addDetection(("S" + std::to_string(k)).c_str(), (k % 120) - 60,
                             (k * 11 % 360) - 180, now - 2000 + k);
                ++detections;
            }
        }
        ASSERT_EQ(me->animatorCallback(), 0) << "cycle " << i << ": " << takeRegister();
        // Just before the next write, everything written is shown.
        if (i % every == every - 1) {
            catchUp();
            if (events > 0)
                ASSERT_EQ(npts(me->mapevents.ppe), events) << "cycle " << i;
            if (detections > 0)
                ASSERT_EQ(npts(me->mapevents.ppd_events), detections) << "cycle " << i;
            ASSERT_EQ(hx_register_count(), 0) << "cycle " << i << ": " << takeRegister();
            if (events > 0 && detections > 0 && vectors0 < 0) {
                render();
                vectors0 = vectorsRegistered();
                polypoints0 = polypoints();
                objects0 = objects();
                rss0 = residentKilobytes();
            } else if (vectors0 >= 0) {
                ASSERT_EQ(vectorsRegistered(), vectors0) << "cycle " << i;
                ASSERT_EQ(polypoints(), polypoints0) << "cycle " << i;
                ASSERT_EQ(objects(), objects0) << "cycle " << i;
            }
        }
    }
    catchUp();
    const qint64 ms = clock.elapsed();
    std::printf("[          ] %s: %d cycles (%d more awaiting notices) in %lld ms; %d vectors, "
                "%d polypoints, %d objects throughout\n",
                GetParam(), cycles, extra, static_cast<long long>(ms), vectors0, polypoints0,
                objects0);
    EXPECT_EQ(events, cycles / every / 2);
    EXPECT_EQ(detections, cycles / every / 2);
    EXPECT_EQ(npts(me->mapevents.ppe), events);
    EXPECT_EQ(npts(me->mapevents.ppd_events), detections);
    EXPECT_GT(vectors0, 0);
    EXPECT_EQ(vectorsRegistered(), vectors0);
    EXPECT_EQ(polypoints(), polypoints0);
    EXPECT_EQ(objects(), objects0);
    EXPECT_EQ(hx_register_count(), 0) << takeRegister();
    // The newest event is shown, at its place.
    const int k = 2 * events - 1;
    const QImage image = render();
    const QPoint newest = pixelOf((k * 7 % 360) - 180, (k % 160) - 80);
    EXPECT_EQ(image.pixel(newest), kGreen) << std::hex << image.pixel(newest);
// (AddressSanitizer keeps freed memory in quarantine and checks leaks
// itself, so there the resident size says nothing.)
#if !defined(__SANITIZE_ADDRESS__)
    const long growth = residentKilobytes() - rss0;
    EXPECT_LT(growth, 8192) << growth << " kB";
#endif
}

INSTANTIATE_TEST_SUITE_P(MapEventsBackends, MapEventsFollowTest,
                         ::testing::Values("sqlite", "postgresql"),
                         [](const auto& info) { return std::string(info.param); });

} // namespace
