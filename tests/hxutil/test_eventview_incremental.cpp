// The event view follows the database by reading only what changed: after
// seeded random sequences of inserts, updates and deletes of events,
// origins, magnitudes, moment tensors, detections and stations (through the
// writer and through SQL), interleaved with polls, a view that has followed
// them holds the same events and the same window of detections as a view
// opened afresh, every field of every record, in order. SQLite always;
// PostgreSQL when KGRQT_PG_URI names a database.
#include "eventdb.h"
#include "hx_eventview.h"

#include <gtest/gtest.h>

#include <QSqlError>

#include <cstdio>
#include <random>
#include <sstream>
#include <vector>

namespace {

// Every field that refreshEvents fills, of one event, as text.
std::string describeEvent(const HXEVEvent* e)
{
    std::ostringstream s;
    s.precision(17);
    s << "evid=" << e->evid << " prefor=" << e->prefor << " evname=" << e->evname
      << " auth=" << e->auth;
    const HXEVOrigin* o = e->preferred;
    if (!o)
        return s.str() + " preferred=none";
    s << " orid=" << o->orid << " oevid=" << o->evid << " time=" << o->time << " lat=" << o->lat
      << " lon=" << o->lon << " depth=" << o->depth << " ndef=" << o->ndef << " nass=" << o->nass
      << " ml=" << o->ml << " mb=" << o->mb << " ms=" << o->ms << " mw=" << o->mw
      << " oauth=" << o->auth << " review=" << o->review;
    if (o->mt.database == HX_DB_INVALID)
        return s.str() + " mt=none";
    long mtid = 0, orid = 0;
    double t[7];
    char auth[HX_DB_STRING_MAX] = "";
    if (dbgetv(o->mt, "mt", "mtid", &mtid, "orid", &orid, "tmrr", &t[0], "tmtt", &t[1], "tmpp",
               &t[2], "tmrt", &t[3], "tmrp", &t[4], "tmtp", &t[5], "scm", &t[6], "auth", auth,
               (char*)0) < 0)
        return s.str() + " mt=unreadable: " + takeRegister();
    s << " mtid=" << mtid << " mtorid=" << orid << " mtauth=" << auth << " tensor=";
    for (double v : t)
        s << v << ",";
    return s.str();
}

// Every field of one detection of a time window, as text.
std::string describeDetection(const HXEVDetectionStachan* d)
{
    std::ostringstream s;
    s.precision(17);
    s << "arid=" << d->arid << " net=" << d->net << " sta=" << d->sta << " chan=" << d->chan
      << " phase=" << d->phase << " state=" << d->state << " time=" << d->time << " lat=" << d->lat
      << " lon=" << d->lon << " elev=" << d->elev << " orid=" << d->orid
      << " residual=" << d->residual << " defining=" << d->defining << " delta=" << d->delta;
    return s.str();
}

class EventViewIncremental : public ::testing::TestWithParam<const char*> {
protected:
    void SetUp() override
    {
        hx_clear_register(0);
        if (std::string(GetParam()) == "postgresql") {
            name = testPostgresUri();
            if (name.empty())
                GTEST_SKIP() << "KGRQT_PG_URI is not set";
        } else {
            ASSERT_TRUE(dir.isValid());
        }
    }
    void TearDown() override
    {
        view.reset();
        if (changes)
            freearr(changes, free);
        db.reset();
        hx_clear_register(0);
    }

    // A new database (emptied on PostgreSQL) for one seed.
    void start(unsigned seed)
    {
        view.reset();
        db.reset();
        if (std::string(GetParam()) != "postgresql")
            name = "sqlite:" + dir.filePath(QString("events-%1.db").arg(seed)).toStdString();
        db.reset(new TestDb(name));
        ASSERT_TRUE(db->ok()) << takeRegister();
        rng.seed(seed);
    }

    int pick(int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng); }
    double real(double lo, double hi)
    {
        return std::uniform_real_distribution<double>(lo, hi)(rng);
    }
    bool chance(double p) { return std::bernoulli_distribution(p)(rng); }

    // The keys a query lists.
    std::vector<long> keys(const char* sql)
    {
        std::vector<long> out;
        QSqlQuery q(db->db());
        EXPECT_TRUE(q.exec(sql)) << sql;
        while (q.next())
            out.push_back(q.value(0).toLongLong());
        return out;
    }
    // One of them at random, or -1 when there is none.
    long any(const char* sql)
    {
        std::vector<long> k = keys(sql);
        return k.empty() ? -1 : k[pick(0, (int)k.size() - 1)];
    }

    // Runs a statement with bound values.
    void exec(const char* sql, const QVariantList& values)
    {
        QSqlQuery q(db->db());
        ASSERT_TRUE(q.prepare(sql)) << sql;
        for (int i = 0; i < values.size(); i++)
            q.bindValue(i, values[i]);
        ASSERT_TRUE(q.exec()) << sql << ": " << q.lastError().text().toStdString();
    }

    long addOrigin(long evid)
    {
        HXEVOrigin o{};
        o.evid = evid;
        o.time = pick(0, 10000);
        o.lat = real(-80, 80);
        o.lon = real(-180, 180);
        o.depth = pick(0, 700);
        o.ndef = pick(-1, 40);
        o.nass = pick(-1, 60);
        o.ml = chance(0.8) ? pick(10, 70) / 10.0 : -999;
        o.mb = chance(0.3) ? pick(30, 70) / 10.0 : -999;
        o.ms = -999;
        o.mw = chance(0.2) ? pick(40, 90) / 10.0 : -999;
        snprintf(o.auth, sizeof o.auth, "auth%d", pick(0, 3));
        strcpy(o.review, chance(0.5) ? "automatic" : "manual");
        long orid = db->w().origin(nullptr, o);
        EXPECT_GT(orid, 0) << takeRegister();
        return orid;
    }

    long addEvent()
    {
        char evname[32];
        snprintf(evname, sizeof evname, "region %d", pick(0, 99));
        long evid = db->w().event(nullptr, evname, chance(0.5) ? "net" : "");
        EXPECT_GT(evid, 0) << takeRegister();
        int n = pick(0, 3);
        std::vector<long> orids;
        for (int i = 0; i < n; i++)
            orids.push_back(addOrigin(evid));
        // Sometimes no preferred origin is named: the latest one is shown.
        if (!orids.empty() && chance(0.7))
            db->w().setPreferred(evid, orids[pick(0, n - 1)]);
        return evid;
    }

    void addMt(long orid, long evid)
    {
        double t[6];
        for (double& v : t)
            v = real(-1e20, 1e20);
        EXPECT_GT(db->w().mt(nullptr, orid, evid, t, real(1e17, 1e21), chance(0.5) ? "GCMT" : "x"),
                  0)
            << takeRegister();
    }

    long addDetection()
    {
        HXEVDetectionStachan d{};
        strcpy(d.net, "XX");
        snprintf(d.sta, sizeof d.sta, "S%02d", pick(0, 14));
        strcpy(d.chan, chance(0.5) ? "HHZ" : "BHZ");
        strcpy(d.phase, chance(0.7) ? "P" : "S");
        strcpy(d.state, chance(0.5) ? "auto" : "manual");
        d.time = chance(0.7) ? pick(0, 10000) : real(0, 10000); // many ties
        long arid = db->w().detection(nullptr, d);
        EXPECT_GT(arid, 0) << takeRegister();
        return arid;
    }

    void addSite(int i)
    {
        char sta[8];
        snprintf(sta, sizeof sta, "S%02d", i);
        EXPECT_GE(db->w().site(sta, "XX", real(-60, 60), real(-170, 170), real(0, 3)), 0)
            << takeRegister();
    }

    // One random change.
    void change()
    {
        long evid, orid, arid;
        switch (pick(0, 21)) {
        case 0:
        case 1:
            addEvent();
            break;
        case 2: // another origin for an event, sometimes preferred
            if ((evid = any("SELECT evid FROM event")) > 0) {
                orid = addOrigin(evid);
                if (chance(0.5))
                    db->w().setPreferred(evid, orid);
            }
            break;
        case 3: // an origin moved
            if ((orid = any("SELECT orid FROM origin")) > 0)
                exec("UPDATE origin SET lat = ?, lon = ?, depth = ?, time = ? WHERE orid = ?",
                     {real(-80, 80), real(-180, 180), pick(0, 700), pick(0, 10000),
                      (qlonglong)orid});
            break;
        case 4: // a magnitude changed
            if ((orid = any("SELECT orid FROM origin")) > 0)
                exec(chance(0.5) ? "UPDATE origin SET ml = ? WHERE orid = ?"
                                 : "UPDATE origin SET mw = ? WHERE orid = ?",
                     {pick(10, 90) / 10.0, (qlonglong)orid});
            break;
        case 5: // a network magnitude
            if ((orid = any("SELECT orid FROM origin")) > 0) {
                QSqlQuery q(db->db());
                q.exec(QString("SELECT evid FROM origin WHERE orid = %1").arg(orid));
                evid = q.next() ? q.value(0).toLongLong() : -1;
                EXPECT_GT(
                    db->w().netmag(nullptr, orid, evid, "ML", pick(10, 70) / 10.0, 5, 0.2, "net"),
                    0)
                    << takeRegister();
            }
            break;
        case 6: // the preferred origin switched to another of the event's
            if ((orid = any("SELECT orid FROM origin WHERE evid IS NOT NULL")) > 0) {
                QSqlQuery q(db->db());
                q.exec(QString("SELECT evid FROM origin WHERE orid = %1").arg(orid));
                if (q.next())
                    ASSERT_EQ(db->w().setPreferred(q.value(0).toLongLong(), orid), 0);
            }
            break;
        case 7: // no preferred origin named any more
            if ((evid = any("SELECT evid FROM event")) > 0)
                exec("UPDATE event SET prefor = NULL WHERE evid = ?", {(qlonglong)evid});
            break;
        case 8: // a moment tensor added to an origin
        case 9:
            if ((orid = any("SELECT orid FROM origin")) > 0) {
                QSqlQuery q(db->db());
                q.exec(QString("SELECT evid FROM origin WHERE orid = %1").arg(orid));
                evid = q.next() && !q.value(0).isNull() ? q.value(0).toLongLong() : 0;
                addMt(orid, evid);
            }
            break;
        case 10: // a moment tensor changed or deleted
            if ((arid = any("SELECT mtid FROM mt")) > 0) {
                if (chance(0.5))
                    exec("UPDATE mt SET tmrr = ?, scm = ? WHERE mtid = ?",
                         {real(-1e20, 1e20), real(1e17, 1e21), (qlonglong)arid});
                else
                    exec("DELETE FROM mt WHERE mtid = ?", {(qlonglong)arid});
            }
            break;
        case 11: // an event renamed
            if ((evid = any("SELECT evid FROM event")) > 0)
                exec("UPDATE event SET evname = ?, auth = ? WHERE evid = ?",
                     {QString("renamed %1").arg(pick(0, 99)), "analyst", (qlonglong)evid});
            break;
        case 12: // an event deleted, with its origins or without
            if ((evid = any("SELECT evid FROM event")) > 0) {
                if (chance(0.5))
                    exec("DELETE FROM origin WHERE evid = ?", {(qlonglong)evid});
                exec("DELETE FROM event WHERE evid = ?", {(qlonglong)evid});
            }
            break;
        case 13: // an origin deleted, maybe the preferred one
            if ((orid = any("SELECT orid FROM origin")) > 0)
                exec("DELETE FROM origin WHERE orid = ?", {(qlonglong)orid});
            break;
        case 14: // an origin given to another event, which may keep preferring it
            if ((orid = any("SELECT orid FROM origin")) > 0 &&
                (evid = any("SELECT evid FROM event")) > 0)
                exec("UPDATE origin SET evid = ? WHERE orid = ?",
                     {(qlonglong)evid, (qlonglong)orid});
            break;
        case 15:
        case 16:
        case 17:
            addDetection();
            break;
        case 18: // a detection moved in time (into or out of the window)
            if ((arid = any("SELECT arid FROM detection")) > 0)
                exec("UPDATE detection SET time = ? WHERE arid = ?",
                     {(double)pick(0, 10000), (qlonglong)arid});
            break;
        case 19: // a detection reviewed
            if ((arid = any("SELECT arid FROM detection")) > 0)
                exec("UPDATE detection SET state = ?, phase = ?, sta = ? WHERE arid = ?",
                     {"reviewed", chance(0.5) ? "Pn" : "Sg",
                      QString("S%1").arg(pick(0, 14), 2, 10, QChar('0')), (qlonglong)arid});
            break;
        case 20: // a detection deleted, or one put back under an old number
            if (chance(0.7)) {
                if ((arid = any("SELECT arid FROM detection")) > 0)
                    exec("DELETE FROM detection WHERE arid = ?", {(qlonglong)arid});
            } else {
                exec("INSERT INTO detection (arid, sta, time, state) VALUES (?, 'S01', ?, "
                     "'again') ON CONFLICT DO NOTHING",
                     {pick(1, 50), (double)pick(0, 10000)});
            }
            break;
        case 21: // a station added or moved
            if (chance(0.5))
                addSite(pick(0, 14));
            else
                exec("UPDATE site SET lat = ?, elev = ? WHERE sta = ?",
                     {real(-60, 60), real(0, 3),
                      QString("S%1").arg(pick(0, 14), 2, 10, QChar('0'))});
            break;
        }
    }

    // The incremental view's tables against a fresh view's full read.
    void compare(Tbl* events, Tbl* dets, double tstart, double tend, const std::string& where)
    {
        HXEventView fresh;
        ASSERT_EQ(fresh.configure("dbname", name.c_str(), (char*)0), 0) << takeRegister();
        Tbl* all = nullptr;
        Tbl* window = nullptr;
        ASSERT_EQ(fresh.refreshEvents(&all), 0) << takeRegister();
        ASSERT_EQ(fresh.refreshDetections(tstart, tend, &window), 0) << takeRegister();
        ASSERT_EQ(maxtbl(events), maxtbl(all)) << where;
        for (int i = 0; i < maxtbl(all); i++)
            ASSERT_EQ(describeEvent((HXEVEvent*)gettbl(events, i)),
                      describeEvent((HXEVEvent*)gettbl(all, i)))
                << where << ", event " << i;
        ASSERT_EQ(maxtbl(dets), maxtbl(window)) << where;
        for (int i = 0; i < maxtbl(window); i++)
            ASSERT_EQ(describeDetection((HXEVDetectionStachan*)gettbl(dets, i)),
                      describeDetection((HXEVDetectionStachan*)gettbl(window, i)))
                << where << ", detection " << i;
    }

    void run(unsigned seed, int rounds)
    {
        start(seed);
        if (HasFatalFailure())
            return;
        for (int i = 0; i < 10; i++)
            addSite(i);
        for (int i = 0; i < 30; i++)
            addEvent();
        for (int i = 0; i < 100; i++)
            addDetection();
        view.reset(new HXEventView());
        // A small limit sends some refreshes down the read-everything path.
        view->configure("full_refresh", seed % 2 ? "6" : "2000", (char*)0);
        ASSERT_EQ(view->configure("dbname", name.c_str(), (char*)0), 0) << takeRegister();
        Tbl* events = nullptr;
        Tbl* dets = nullptr;
        double tstart = 2000, tend = 5000;
        ASSERT_EQ(view->refreshEvents(&events), 0) << takeRegister();
        ASSERT_EQ(view->refreshDetections(tstart, tend, &dets), 0) << takeRegister();
        for (int round = 0; round < rounds; round++) {
            std::string where = "seed " + std::to_string(seed) + ", round " + std::to_string(round);
            // A few changes, sometimes in one transaction.
            bool txn = chance(0.4);
            if (txn)
                ASSERT_EQ(db->w().begin(), 0) << takeRegister();
            for (int n = pick(1, 6); n > 0; n--) {
                change();
                if (HasFatalFailure())
                    return;
            }
            if (txn)
                ASSERT_EQ(db->w().commit(), 0) << takeRegister();
            if (chance(0.05))
                ASSERT_EQ(db->w().pruneChangelog(pick(0, 3)), 0) << takeRegister();
            // The map's poll: what changed, then the refreshes; now and then
            // one kind is left out for a round or two.
            ASSERT_GE(view->checkChanges(&changes), 0) << takeRegister();
            if (chance(0.15))
                continue;
            // The window mostly moves on a little; sometimes it jumps,
            // grows or shrinks.
            double step = pick(0, 300);
            if (chance(0.1)) {
                tstart = pick(0, 8000);
                tend = tstart + pick(500, 4000);
            } else if (chance(0.1)) {
                tstart -= pick(0, 500);
                tend += pick(-500, 500);
            } else {
                tstart += step;
                tend += step;
            }
            if (tstart > 9000) {
                tstart = pick(0, 2000);
                tend = tstart + 3000;
            }
            bool both = chance(0.8);
            bool events_first = chance(0.5);
            if (both || events_first)
                ASSERT_EQ(view->refreshEvents(&events), 0) << where << ": " << takeRegister();
            if (both || !events_first)
                ASSERT_EQ(view->refreshDetections(tstart, tend, &dets), 0)
                    << where << ": " << takeRegister();
            if (!both)
                continue;
            compare(events, dets, tstart, tend, where);
            if (HasFatalFailure())
                return;
        }
        ASSERT_EQ(view->refreshEvents(&events), 0) << takeRegister();
        ASSERT_EQ(view->refreshDetections(tstart, tend, &dets), 0) << takeRegister();
        compare(events, dets, tstart, tend, "seed " + std::to_string(seed) + ", end");
    }

    QTemporaryDir dir;
    std::string name;
    std::unique_ptr<TestDb> db;
    std::unique_ptr<HXEventView> view;
    Arr* changes = nullptr;
    std::mt19937 rng;
};

TEST_P(EventViewIncremental, RandomChangesReadAsAFreshViewReadsThem)
{
    for (unsigned seed = 1; seed <= 4; seed++) {
        run(seed, 60);
        if (HasFatalFailure())
            return;
    }
}

// The view that never reads the window still notes detections only up to a
// limit, and reads it whole afterwards.
TEST_P(EventViewIncremental, ManyChangesBetweenRefreshesReadEverything)
{
    start(99);
    if (HasFatalFailure())
        return;
    for (int i = 0; i < 20; i++)
        addEvent();
    view.reset(new HXEventView());
    view->configure("full_refresh", "10", (char*)0);
    ASSERT_EQ(view->configure("dbname", name.c_str(), (char*)0), 0) << takeRegister();
    Tbl* events = nullptr;
    Tbl* dets = nullptr;
    ASSERT_EQ(view->refreshEvents(&events), 0) << takeRegister();
    ASSERT_EQ(view->refreshDetections(0, 10000, &dets), 0) << takeRegister();
    db->w().begin();
    for (int i = 0; i < 50; i++) {
        addDetection();
        change();
    }
    db->w().commit();
    ASSERT_EQ(view->refreshEvents(&events), 0) << takeRegister();
    for (int i = 0; i < 30; i++)
        addDetection();
    ASSERT_EQ(view->refreshEvents(&events), 0) << takeRegister();
    ASSERT_EQ(view->refreshDetections(0, 10000, &dets), 0) << takeRegister();
    compare(events, dets, 0, 10000, "after 50 changes");
}

// PostgreSQL numbers change-log entries before commit: a transaction that
// commits after a later one was read lands below what the view has read,
// and the view still finds it.
TEST(EventViewPostgresql, LateCommitBelowEntriesReadIsFollowed)
{
    std::string uri = testPostgresUri();
    if (uri.empty())
        GTEST_SKIP() << "KGRQT_PG_URI is not set";
    hx_clear_register(0);
    TestDb early(uri);
    ASSERT_TRUE(early.ok()) << takeRegister();
    early.addEvent("first", 100, 1, 1);
    HXEventView view;
    ASSERT_EQ(view.configure("dbname", uri.c_str(), (char*)0), 0) << takeRegister();
    Tbl* events = nullptr;
    Tbl* dets = nullptr;
    ASSERT_EQ(view.refreshEvents(&events), 0) << takeRegister();
    ASSERT_EQ(view.refreshDetections(0, 1000, &dets), 0) << takeRegister();
    ASSERT_EQ(maxtbl(events), 1);

    // The early transaction takes its log numbers first and commits last.
    HXEVDetectionStachan d{};
    strcpy(d.sta, "AAA");
    d.time = 500;
    ASSERT_EQ(early.w().begin(), 0);
    early.addEvent("early", 200, 2, 2);
    ASSERT_GT(early.w().detection("det/early", d), 0) << takeRegister();
    {
        TestDb late(uri, true);
        ASSERT_TRUE(late.ok()) << takeRegister();
        late.addEvent("late", 300, 3, 3);
        d.time = 600;
        ASSERT_GT(late.w().detection("det/late", d), 0) << takeRegister();
    }
    ASSERT_EQ(view.refreshEvents(&events), 0) << takeRegister();
    ASSERT_EQ(view.refreshDetections(0, 1000, &dets), 0) << takeRegister();
    ASSERT_EQ(maxtbl(events), 2);
    EXPECT_STREQ(((HXEVEvent*)gettbl(events, 1))->evname, "late");
    ASSERT_EQ(maxtbl(dets), 1);
    ASSERT_EQ(early.w().commit(), 0) << takeRegister();

    ASSERT_EQ(view.refreshEvents(&events), 0) << takeRegister();
    ASSERT_EQ(view.refreshDetections(0, 1000, &dets), 0) << takeRegister();
    ASSERT_EQ(maxtbl(events), 3);
    EXPECT_STREQ(((HXEVEvent*)gettbl(events, 1))->evname, "early");
    ASSERT_EQ(maxtbl(dets), 2);
    EXPECT_EQ(((HXEVDetectionStachan*)gettbl(dets, 0))->time, 500);
    // Found once: the next refresh reads nothing more.
    Tbl* before = events;
    ASSERT_EQ(view.refreshEvents(&events), 0) << takeRegister();
    EXPECT_EQ(events, before);
}

INSTANTIATE_TEST_SUITE_P(Backends, EventViewIncremental, ::testing::Values("sqlite", "postgresql"),
                         [](const auto& info) { return std::string(info.param); });

} // namespace
