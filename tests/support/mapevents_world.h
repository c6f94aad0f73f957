// The world that the map-events tests draw: a map of the whole earth, two
// pixels a degree (720 x 360, no margins), with no map layers, plain red
// event symbols and a green selected origin, over an event database written
// through TestDb. Base is the GoogleTest fixture class, Map the map-events
// class under test.
#ifndef KGRQT_TEST_MAPEVENTS_WORLD_H
#define KGRQT_TEST_MAPEVENTS_WORLD_H

#include "eventdb.h"
#include "kgrqt.h"
#include "register.h"
#include "render.h"

#include <QElapsedTimer>
#include <QGridLayout>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <string>

template <class Base, class Map> class MapEventsWorld : public Base {
protected:
    QTemporaryDir dir;
    std::unique_ptr<TestDb> db;
    std::unique_ptr<KGRViewport> vp;
    Map* me = nullptr;
    std::string dbname;
    double now = 0;

    // Opens the database name (emptied on PostgreSQL) and makes the map.
    void makeWorld(const std::string& name)
    {
        dbname = name;
        db.reset(new TestDb(dbname));
        ASSERT_TRUE(db->ok()) << takeRegister();
        vp = std::make_unique<KGRViewport>(nullptr);
        vp->resize(720, 360);
        ASSERT_NE(vp->configure("wtran", "geog", "xleft", "-180", "xright", "180", "ybottom", "-90",
                                "ytop", "90", "fill", "white", "fill_frame", "white",
                                kEndOfOptions),
                  -1);
        me = new Map(vp.get());
        ASSERT_EQ(me->configure("maplayers", "maplayers &Tbl{\n}\n", "events_coding",
                                "cl=constant,fi=#ff0000,ot=#ff0000", "event_coding",
                                "cl=constant,fi=#00ff00,ot=#00ff00", kEndOfOptions),
                  0)
            << takeRegister();
        now = std_now();
    }
    void TearDown() override
    {
        vp.reset();
        db.reset();
        hx_clear_register(0);
    }
    // The database opened with the given update interval.
    void open(const char* interval = "0")
    {
        ASSERT_EQ(me->configure("update_interval", interval, kEndOfOptions), 0) << takeRegister();
        ASSERT_EQ(me->setDatabase(const_cast<char*>(dbname.c_str())), 0) << takeRegister();
    }
    QImage render()
    {
        vp->layout->activate();
        return renderWidget(*vp);
    }
    static QPoint pixelOf(double lon, double lat)
    {
        return QPoint(static_cast<int>((lon + 180) * 2), static_cast<int>((90 - lat) * 2));
    }
    static int npts(KGRPolypoint* pp) { return pp ? pp->polypoint.npts : -1; }
    // Drives the event loop until cond holds or ms pass; the time taken
    // through *took.
    template <class Cond> bool waitFor(Cond cond, int ms, qint64* took = nullptr)
    {
        QElapsedTimer clock;
        clock.start();
        bool held = cond();
        while (!held && clock.elapsed() < ms) {
            QTest::qWait(5);
            held = cond();
        }
        if (took)
            *took = clock.elapsed();
        return held;
    }
    void addDetection(const char* sta, double lat, double lon, double time)
    {
        db->w().site(sta, "XX", lat, lon, 0);
        HXEVDetectionStachan d{};
        snprintf(d.net, sizeof d.net, "XX");
        snprintf(d.sta, sizeof d.sta, "%s", sta);
        snprintf(d.chan, sizeof d.chan, "HHZ");
        snprintf(d.phase, sizeof d.phase, "P");
        d.time = time;
        db->w().detection(nullptr, d);
    }

private:
    static constexpr const char* kEndOfOptions = nullptr;
};

#endif
