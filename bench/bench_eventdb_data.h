// The large event database that the event-view and map-events benchmarks
// read: 100,000 events with 1,000,000 detections at 500 stations over 100
// days, and a writer whose rows go again when it does.
#ifndef KGRQT_BENCH_EVENTDB_DATA_H
#define KGRQT_BENCH_EVENTDB_DATA_H

#include "hx_error.h"
#include "hx_eventdb.h"
#include "hx_eventdb_writer.h"
#include "hx_eventview.h"

#include <QSqlQuery>

#include <cstdio>
#include <memory>
#include <string>

namespace benchdb {

const int EVENTS = 100000;
const int DETECTIONS_PER_EVENT = 10;
const int SITES = 500;
const double T0 = 1700000000;
const double SPAN = 100 * 86400.0;

// The stations lie on a grid of 25 latitudes by 20 longitudes.
inline double siteLat(int s)
{
    return -60 + (s % 25) * 5.0;
}

inline double siteLon(int s)
{
    return -180 + (s / 25) * 18.0;
}

// Fills an empty database (a PostgreSQL one is emptied first) with the
// stations and events events, each with its preferred origin and
// detections; after(w, i) runs after event i and may add rows of its own.
// Commits every 10,000 events; false on failure.
template <class After> bool populate(const std::string& name, int events, After after)
{
    QString conn;
    if (hxevdb_open(name.c_str(), HXEVDB_CREATE | HXEVDB_WRITER, 5000, &conn) < 0)
        return false;
    bool ok = true;
    {
        QSqlDatabase db = QSqlDatabase::database(conn);
        if (hxevdb_kind(db) == HXEVDB_POSTGRESQL) {
            QSqlQuery q(db);
            q.exec("DROP SCHEMA public CASCADE");
            q.exec("CREATE SCHEMA public");
        }
        ok = hxevdb_migrate(db) >= 0;
        HXEvdbWriter w(conn);
        ok = ok && w.begin() == 0;
        char sta[16];
        for (int s = 0; ok && s < SITES; s++) {
            snprintf(sta, sizeof sta, "S%03d", s);
            ok = w.site(sta, "BN", siteLat(s), siteLon(s), 0) >= 0;
        }
        for (int i = 0; ok && i < events; i++) {
            double t = T0 + SPAN * i / EVENTS;
            long evid = w.event(nullptr, "bench", "bench");
            HXEVOrigin o{};
            o.evid = evid;
            o.time = t;
            o.lat = -60 + (i * 37 % 120);
            o.lon = -180 + (i * 53 % 360);
            o.depth = i % 600;
            o.ml = 1 + (i % 60) / 10.0;
            o.mb = o.ms = o.mw = -999;
            long orid = w.origin(nullptr, o);
            ok = evid > 0 && orid > 0 && w.setPreferred(evid, orid) == 0;
            for (int k = 0; ok && k < DETECTIONS_PER_EVENT; k++) {
                HXEVDetectionStachan d{};
                snprintf(d.sta, sizeof d.sta, "S%03d", (i * 7 + k * 13) % SITES);
                d.time = t + 5 + 10 * k;
                ok = w.detection(nullptr, d) > 0;
            }
            ok = ok && after(w, i);
            if (ok && i % 10000 == 9999)
                ok = w.commit() == 0 && w.begin() == 0;
        }
        ok = ok && w.pruneChangelog(1000) == 0 && w.commit() == 0;
    }
    hxevdb_close(conn);
    if (!ok)
        hx_clear_register(1);
    return ok;
}

// Brings a database built by an older version forward.
inline bool migrate(const std::string& name)
{
    QString conn;
    if (hxevdb_open(name.c_str(), HXEVDB_WRITER, 5000, &conn) < 0) {
        hx_clear_register(1);
        return false;
    }
    bool ok;
    {
        QSqlDatabase db = QSqlDatabase::database(conn);
        ok = hxevdb_migrate(db) >= 0;
    }
    hxevdb_close(conn);
    if (!ok)
        hx_clear_register(1);
    return ok;
}

// A writer on the benchmark database for the benchmarks that add rows:
// rows marked "bench-new" (origin and event authors, detection states) are
// deleted when it goes.
class Writer {
public:
    explicit Writer(const std::string& name)
    {
        if (hxevdb_open(name.c_str(), HXEVDB_WRITER, 5000, &conn_) < 0) {
            hx_clear_register(1);
            return;
        }
        w_.reset(new HXEvdbWriter(conn_));
    }
    ~Writer()
    {
        if (!w_)
            return;
        {
            QSqlQuery q(w_->db());
            q.exec("DELETE FROM origin WHERE auth = 'bench-new'");
            q.exec("DELETE FROM event WHERE auth = 'bench-new'");
            q.exec("DELETE FROM detection WHERE state = 'bench-new'");
            w_->pruneChangelog(1000);
            q.finish();
        }
        w_.reset();
        hxevdb_close(conn_);
    }
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;
    bool ok() const { return w_ != nullptr; }

protected:
    QString conn_;
    std::unique_ptr<HXEvdbWriter> w_;
};

} // namespace benchdb

#endif
