// The event view over SQLite and, when KGRQT_PG_URI names a server,
// PostgreSQL: reading events, following changes, detections, associations
// and moment-tensor rows.
#include "eventdb.h"
#include "hx_eventview.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>

namespace {

class EventViewTest : public ::testing::TestWithParam<const char*> {
protected:
    void SetUp() override
    {
        hx_clear_register(0);
        ASSERT_TRUE(dir.isValid());
        const std::string name = testDatabaseName(GetParam(), dir, "events.db");
        if (name.empty())
            GTEST_SKIP() << "KGRQT_PG_URI is not set";
        db.reset(new TestDb(name));
        ASSERT_TRUE(db->ok()) << takeRegister();
    }
    void TearDown() override
    {
        view.reset();
        if (changes)
            freearr(changes, free);
        db.reset();
        hx_clear_register(0);
    }

    void openView()
    {
        view.reset(new HXEventView());
        ASSERT_EQ(view->configure("dbname", db->name().c_str(), (char*)0), 0) << takeRegister();
    }

    // Polls until a change is reported (PostgreSQL notices may take a moment).
    int poll()
    {
        int n = 0;
        for (int i = 0; i < 200 && (n = view->checkChanges(&changes)) == 0; i++)
            usleep(5000);
        return n;
    }

    QTemporaryDir dir;
    std::unique_ptr<TestDb> db;
    std::unique_ptr<HXEventView> view;
    Arr* changes = nullptr;
};

TEST_P(EventViewTest, ReadsEventsWithPreferredOriginsAndSortsThem)
{
    long orid = 0;
    db->addEvent("ev1", 1000, 10, 20, 5, 4.5);
    db->addEvent("ev2", 500, -10, -20, 33, 2.0);
    long ev3 = db->addEvent("ev3", 2000, 45, 7, 12, 3.0, &orid);
    long late = db->w().origin(
        "ev3/late",
        HXEVOrigin{
            0, ev3, 2001, 46, 8, 13, -1, -1, -999, -999, -999, -999, "", "", {}, nullptr, nullptr});
    ASSERT_GT(late, 0);
    openView();
    Tbl* events = nullptr;
    ASSERT_EQ(view->refreshEvents(&events), 0) << takeRegister();
    ASSERT_EQ(maxtbl(events), 3);
    ASSERT_EQ(view->sortEvents(events, HXEV_SORT_TIME), 0);
    auto* first = (HXEVEvent*)gettbl(events, 0);
    auto* last = (HXEVEvent*)gettbl(events, 2);
    EXPECT_STREQ(first->evname, "ev2");
    EXPECT_DOUBLE_EQ(first->preferred->time, 500);
    EXPECT_DOUBLE_EQ(first->preferred->lat, -10);
    EXPECT_DOUBLE_EQ(first->preferred->depth, 33);
    // The named preferred origin, not the later one.
    EXPECT_EQ(last->evid, ev3);
    EXPECT_EQ(last->preferred->orid, orid);
    EXPECT_DOUBLE_EQ(last->preferred->lon, 7);
    ASSERT_EQ(view->sortEvents(events, HXEV_SORT_MAGNITUDE), 0);
    EXPECT_STREQ(((HXEVEvent*)gettbl(events, 2))->evname, "ev1");
    EXPECT_EQ(view->sortEvents(events, 42), -1);
    EXPECT_NE(takeRegister().find("unknown key 42"), std::string::npos);
}

TEST_P(EventViewTest, MomentTensorRowReadsThroughDbgetv)
{
    long orid = 0;
    long evid = db->addEvent("mt1", 100, 38.3, 142.4, 29, 9.0, &orid);
    const double t[6] = {1.73e22, -2.81e21, -1.45e22, 2.12e22, 4.55e22, -6.57e21};
    ASSERT_GT(db->w().mt("mt1/mt", orid, evid, t, 5.3e22, "GCMT"), 0) << takeRegister();
    db->addEvent("nomt", 200, 0, 0);
    openView();
    Tbl* events = nullptr;
    ASSERT_EQ(view->refreshEvents(&events), 0) << takeRegister();
    view->sortEvents(events, HXEV_SORT_TIME);
    HXEVOrigin* o = ((HXEVEvent*)gettbl(events, 0))->preferred;
    double rr, tt, pp, rt, rp, tp;
    ASSERT_EQ(dbgetv(o->mt, "mt", "tmpp", &pp, "tmrp", &rp, "tmrr", &rr, "tmrt", &rt, "tmtp", &tp,
                     "tmtt", &tt, (char*)0),
              0)
        << takeRegister();
    EXPECT_DOUBLE_EQ(rr, t[0]);
    EXPECT_DOUBLE_EQ(tt, t[1]);
    EXPECT_DOUBLE_EQ(pp, t[2]);
    EXPECT_DOUBLE_EQ(rt, t[3]);
    EXPECT_DOUBLE_EQ(rp, t[4]);
    EXPECT_DOUBLE_EQ(tp, t[5]);
    char auth[HX_DB_STRING_MAX];
    ASSERT_EQ(dbgetv(o->mt, nullptr, "auth", auth, (char*)0), 0);
    EXPECT_STREQ(auth, "GCMT");
    EXPECT_EQ(dbgetv(o->mt, "mt", "tmzz", &rr, (char*)0), -1);
    EXPECT_NE(takeRegister().find("unknown field 'tmzz'"), std::string::npos);
    // The event without a tensor has an invalid pointer.
    HXEVOrigin* o2 = ((HXEVEvent*)gettbl(events, 1))->preferred;
    EXPECT_EQ(o2->mt.database, HX_DB_INVALID);
    EXPECT_EQ(dbgetv(o2->mt, "mt", "tmrr", &rr, (char*)0), -1);
    takeRegister();
}

TEST_P(EventViewTest, FollowsInsertsUpdatesAndDeletes)
{
    long orid1 = 0;
    long ev1 = db->addEvent("a", 100, 1, 1, 10, 3, &orid1);
    long ev2 = db->addEvent("b", 200, 2, 2);
    openView();
    Tbl* events = nullptr;
    ASSERT_EQ(view->refreshEvents(&events), 0);
    ASSERT_EQ(maxtbl(events), 2);
    auto* rec1 = (HXEVEvent*)gettbl(events, 0);
    EXPECT_EQ(view->checkChanges(&changes), 0);

    // One transaction: its notices arrive together.
    db->w().begin();
    db->addEvent("c", 300, 3, 3);
    db->w().commit();
    ASSERT_GT(poll(), 0);
    EXPECT_EQ(hxev_change_code(changes, "event"), HXEV_CHANGE_MODIFIED); // insert, then prefor set
    EXPECT_EQ(hxev_change_code(changes, "origin"), HXEV_CHANGE_INSERTED);
    EXPECT_EQ(hxev_change_code(changes, "detection"), 0);
    ASSERT_EQ(view->refreshEvents(&events), 0);
    ASSERT_EQ(maxtbl(events), 3);
    EXPECT_EQ(gettbl(events, 0), rec1); // unchanged records stay where they were

    QSqlQuery q(db->db());
    q.prepare("UPDATE origin SET lat = 50 WHERE orid = ?");
    q.bindValue(0, (qlonglong)orid1);
    ASSERT_TRUE(q.exec());
    ASSERT_GT(poll(), 0);
    EXPECT_EQ(hxev_change_code(changes, "origin"), HXEV_CHANGE_MODIFIED);
    ASSERT_EQ(view->refreshEvents(&events), 0);
    EXPECT_DOUBLE_EQ(rec1->preferred->lat, 50);

    q.prepare("DELETE FROM event WHERE evid = ?");
    q.bindValue(0, (qlonglong)ev2);
    ASSERT_TRUE(q.exec());
    ASSERT_GT(poll(), 0);
    EXPECT_EQ(hxev_change_code(changes, "event"), HXEV_CHANGE_MODIFIED);
    ASSERT_EQ(view->refreshEvents(&events), 0);
    ASSERT_EQ(maxtbl(events), 2);
    for (int i = 0; i < 2; i++)
        EXPECT_NE(((HXEVEvent*)gettbl(events, i))->evid, ev2);
    EXPECT_EQ(((HXEVEvent*)gettbl(events, 0))->evid, ev1);
}

TEST_P(EventViewTest, PrunedChangeLogMakesTheNextRefreshReadEverything)
{
    db->addEvent("a", 100, 1, 1);
    openView();
    Tbl* events = nullptr;
    ASSERT_EQ(view->refreshEvents(&events), 0);
    for (int i = 0; i < 5; i++)
        db->addEvent(("p" + std::to_string(i)).c_str(), 200 + i, 0, 0);
    ASSERT_EQ(db->w().pruneChangelog(1), 0);
    ASSERT_EQ(db->count("hx_changelog"), 1);
    ASSERT_EQ(view->refreshEvents(&events), 0) << takeRegister();
    EXPECT_EQ(maxtbl(events), 6);
}

TEST_P(EventViewTest, PollWithoutChangeIsCheap)
{
    db->addEvent("a", 100, 1, 1);
    openView();
    view->checkChanges(&changes);
    const int n = 2000;
    auto t0 = std::chrono::steady_clock::now();
    for (int i = 0; i < n; i++)
        ASSERT_EQ(view->checkChanges(&changes), 0) << takeRegister();
    double us =
        std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - t0).count() /
        n;
    EXPECT_LT(us, 1000.0);
    RecordProperty("poll_microseconds", std::to_string(us));
}

TEST_P(EventViewTest, DetectionsByTimeAndByOriginWithStations)
{
    long orid = 0;
    db->addEvent("q", 1000, 0, 0, 10, 3, &orid);
    ASSERT_EQ(db->w().site("AAA", "XX", 1.5, 2.5, 0.1), 1);
    EXPECT_EQ(db->w().site("AAA", "XX", 9, 9, 9), 0); // kept as it was
    HXEVDetectionStachan d{};
    strcpy(d.sta, "AAA");
    strcpy(d.chan, "HHZ");
    strcpy(d.phase, "P");
    strcpy(d.state, "auto");
    long arids[3];
    double times[3] = {1010, 1020, 5000};
    const char* stas[3] = {"AAA", "BBB", "AAA"};
    for (int i = 0; i < 3; i++) {
        d.time = times[i];
        strcpy(d.sta, stas[i]);
        arids[i] = db->w().detection(nullptr, d);
        ASSERT_GT(arids[i], 0) << takeRegister();
    }
    EXPECT_EQ(db->w().assoc(arids[0], orid, "AAA", "P", 1.2, -0.5, 1), 1);
    EXPECT_EQ(db->w().assoc(arids[0], orid, "AAA", "P", 1.2, -0.5, 1), 0);
    EXPECT_EQ(db->w().assoc(arids[1], orid, "BBB", "S", 3.4, 2.25, 0), 1);
    openView();
    Tbl* dets = nullptr;
    ASSERT_EQ(view->refreshDetections(1000, 2000, &dets), 0) << takeRegister();
    ASSERT_EQ(maxtbl(dets), 2);
    auto* d0 = (HXEVDetectionStachan*)gettbl(dets, 0);
    auto* d1 = (HXEVDetectionStachan*)gettbl(dets, 1);
    EXPECT_STREQ(d0->sta, "AAA");
    EXPECT_DOUBLE_EQ(d0->lat, 1.5);
    EXPECT_DOUBLE_EQ(d0->lon, 2.5);
    EXPECT_EQ(d1->lat, HXEV_NULL); // BBB is not in the site table
    ASSERT_EQ(view->refreshDetections(0, 1e10, &dets), 0);
    EXPECT_EQ(maxtbl(dets), 3);

    Tbl* events = nullptr;
    ASSERT_EQ(view->refreshEvents(&events), 0);
    auto* ev = (HXEVEvent*)gettbl(events, 0);
    ASSERT_EQ(view->refreshDetections(ev->preferred), 0) << takeRegister();
    ASSERT_EQ(maxtbl(ev->preferred->detections), 2);
    auto* a0 = (HXEVDetectionStachan*)gettbl(ev->preferred->detections, 0);
    auto* a1 = (HXEVDetectionStachan*)gettbl(ev->preferred->detections, 1);
    EXPECT_DOUBLE_EQ(a0->residual, -0.5);
    EXPECT_EQ(a0->defining, 1);
    EXPECT_EQ(a0->orid, orid);
    EXPECT_DOUBLE_EQ(a1->residual, 2.25);
    EXPECT_STREQ(a1->phase, "S");
    EXPECT_EQ(a1->defining, 0);

    ASSERT_EQ(view->refreshAssociations(ev), 0) << takeRegister();
    ASSERT_EQ(maxtbl(ev->origins), 1);
    ASSERT_EQ(maxtbl(ev->preferred->assocs), 2);
    auto* s0 = (HXEVAssoc*)gettbl(ev->preferred->assocs, 0);
    auto* s1 = (HXEVAssoc*)gettbl(ev->preferred->assocs, 1);
    EXPECT_STREQ(s0->sta, "AAA"); // nearest first
    EXPECT_DOUBLE_EQ(s0->delta, 1.2);
    EXPECT_DOUBLE_EQ(s0->lat, 1.5);
    EXPECT_DOUBLE_EQ(s0->time, 1010);
    EXPECT_STREQ(s1->sta, "BBB");
    EXPECT_EQ(s1->lat, HXEV_NULL);
}

TEST_P(EventViewTest, DetectionInsertsAreReportedOnTheirOwn)
{
    db->addEvent("a", 100, 1, 1);
    openView();
    view->checkChanges(&changes);
    HXEVDetectionStachan d{};
    strcpy(d.sta, "ZZZ");
    d.time = 123;
    ASSERT_GT(db->w().detection("det/1", d), 0);
    ASSERT_EQ(poll(), 1);
    EXPECT_EQ(hxev_change_code(changes, "detection"), HXEV_CHANGE_INSERTED);
    EXPECT_EQ(hxev_change_code(changes, "event"), 0);
}

TEST_P(EventViewTest, WritingTheSameRowsTwiceAddsNothing)
{
    db->addEvent("same", 100, 1, 1);
    db->addEvent("same", 100, 1, 1);
    EXPECT_EQ(db->count("event"), 1);
    EXPECT_EQ(db->count("origin"), 1);
    long log = db->count("hx_changelog");
    db->addEvent("same", 100, 1, 1);
    EXPECT_EQ(db->count("hx_changelog"), log); // nothing touched, nothing logged
}

TEST_P(EventViewTest, ResetReadsEverythingAgain)
{
    db->addEvent("a", 100, 1, 1);
    openView();
    Tbl* events = nullptr;
    ASSERT_EQ(view->refreshEvents(&events), 0);
    ASSERT_EQ(view->reset(), 0);
    ASSERT_EQ(view->refreshEvents(&events), 0);
    EXPECT_EQ(maxtbl(events), 1);
}

INSTANTIATE_TEST_SUITE_P(Backends, EventViewTest, ::testing::Values("sqlite", "postgresql"),
                         [](const auto& info) { return std::string(info.param); });

} // namespace

namespace {

TEST(EventViewPostgresql, LostConnectionIsCode3AndResetRecovers)
{
    std::string uri = testPostgresUri();
    if (uri.empty())
        GTEST_SKIP() << "KGRQT_PG_URI is not set";
    hx_clear_register(0);
    TestDb db(uri);
    ASSERT_TRUE(db.ok()) << takeRegister();
    db.addEvent("a", 100, 1, 1);
    HXEventView view;
    ASSERT_EQ(view.configure("dbname", uri.c_str(), (char*)0), 0) << takeRegister();
    Arr* changes = nullptr;
    ASSERT_EQ(view.checkChanges(&changes), 0);
    // The server ends every other session on this database: the view's too.
    ASSERT_TRUE(db.exec("SELECT pg_terminate_backend(pid) FROM pg_stat_activity "
                        "WHERE datname = current_database() AND pid <> pg_backend_pid()"));
    int n = 0;
    for (int i = 0; i < 100 && (n = view.checkChanges(&changes)) == 0; i++)
        usleep(20000);
    ASSERT_EQ(n, HXEV_NTABLES);
    EXPECT_EQ(hxev_change_code(changes, "event"), HXEV_CHANGE_RESET);
    EXPECT_NE(takeRegister().find("lost its connection"), std::string::npos);
    ASSERT_EQ(view.reset(), 0) << takeRegister();
    Tbl* events = nullptr;
    ASSERT_EQ(view.refreshEvents(&events), 0) << takeRegister();
    EXPECT_EQ(maxtbl(events), 1);
    freearr(changes, free);
}

} // namespace
