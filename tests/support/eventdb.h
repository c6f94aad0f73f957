// Test helpers around event databases: a scratch SQLite file or the
// PostgreSQL database named by KGRQT_PG_URI, with rows written through
// HXEvdbWriter.
#ifndef KGRQT_TEST_EVENTDB_H
#define KGRQT_TEST_EVENTDB_H

#include "hx_eventdb.h"
#include "hx_eventdb_writer.h"
#include "register.h"

#include <QSqlQuery>
#include <QTemporaryDir>
#include <QVariant>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

// The PostgreSQL database for tests, or "" when none is configured.
inline std::string testPostgresUri()
{
    const char* uri = getenv("KGRQT_PG_URI");
    return uri ? uri : "";
}

// The database a test of a backend ("sqlite" or "postgresql") runs on: a
// SQLite file of that name in dir, or the PostgreSQL test database ("" when
// none is configured: the test skips).
inline std::string testDatabaseName(const std::string& backend, const QTemporaryDir& dir,
                                    const char* file)
{
    if (backend == "postgresql")
        return testPostgresUri();
    return "sqlite:" + dir.filePath(file).toStdString();
}

// A writer connection on a database with the current schema.
class TestDb {
public:
    // Opens (creating and migrating) name; for PostgreSQL the database is
    // emptied first unless keep is set.
    explicit TestDb(const std::string& name, bool keep = false) : name_(name)
    {
        ok_ = hxevdb_open(name.c_str(), HXEVDB_CREATE | HXEVDB_WRITER, 2000, &conn_) == 0;
        if (!ok_)
            return;
        QSqlDatabase db = QSqlDatabase::database(conn_, false);
        if (!keep && hxevdb_kind(db) == HXEVDB_POSTGRESQL) {
            QSqlQuery q(db);
            q.exec("DROP SCHEMA public CASCADE");
            q.exec("CREATE SCHEMA public");
        }
        ok_ = hxevdb_migrate(db) >= 0;
        writer_.reset(new HXEvdbWriter(conn_));
    }
    ~TestDb() { close(); }

    void close()
    {
        writer_.reset();
        if (!conn_.isEmpty())
            hxevdb_close(conn_);
        conn_.clear();
    }

    bool ok() const { return ok_; }
    HXEvdbWriter& w() { return *writer_; }
    QSqlDatabase db() const { return QSqlDatabase::database(conn_, false); }
    const std::string& name() const { return name_; }

    // Runs a statement; false when it fails.
    bool exec(const char* sql)
    {
        QSqlQuery q(db());
        return q.exec(sql);
    }

    // An event with one preferred origin at time, lat, lon, depth; returns
    // the evid (the orid through *orid).
    long addEvent(const char* publicid, double time, double lat, double lon, double depth = 10,
                  double ml = 3.0, long* orid = nullptr)
    {
        long evid = w().event(publicid, publicid, "test");
        HXEVOrigin o{};
        o.evid = evid;
        o.time = time;
        o.lat = lat;
        o.lon = lon;
        o.depth = depth;
        o.ndef = o.nass = -1;
        o.ml = ml;
        o.mb = o.ms = o.mw = -999;
        strcpy(o.auth, "test");
        std::string opid = std::string(publicid) + "/origin";
        long id = w().origin(opid.c_str(), o);
        w().setPreferred(evid, id);
        if (orid)
            *orid = id;
        return evid;
    }

    // Counts rows of a table named in the test.
    long count(const char* table)
    {
        QSqlQuery q(db());
        q.exec(QString("SELECT count(*) FROM ") + table);
        return q.next() ? q.value(0).toLongLong() : -1;
    }

private:
    std::string name_;
    QString conn_;
    bool ok_ = false;
    std::unique_ptr<HXEvdbWriter> writer_;
};

#endif
