#include "hx_eventdb_writer.h"

#include "hx_error.h"
#include "hx_eventdb.h"

#include <QSqlError>
#include <QSqlQuery>
#include <QVariant>

namespace {

QVariant text(const char* s)
{
    return QString::fromUtf8(s ? s : "");
}

QVariant publicId(const char* s)
{
    return s && *s ? QVariant(QString::fromUtf8(s)) : QVariant(QVariant::String);
}

} // namespace

HXEvdbWriter::HXEvdbWriter(const QString& connection) : connection_(connection) {}

HXEvdbWriter::~HXEvdbWriter() = default;

int HXEvdbWriter::begin()
{
    QSqlDatabase d = db();
    if (!d.transaction()) {
        hx_register_error(0, "HXEvdbWriter::begin: %s\n",
                          d.lastError().text().toLocal8Bit().constData());
        return -1;
    }
    return 0;
}

int HXEvdbWriter::commit()
{
    QSqlDatabase d = db();
    for (auto& kv : queries_)
        kv.second->finish();
    if (!d.commit()) {
        hx_register_error(0, "HXEvdbWriter::commit: %s\n",
                          d.lastError().text().toLocal8Bit().constData());
        d.rollback();
        return -1;
    }
    return 0;
}

void HXEvdbWriter::rollback()
{
    for (auto& kv : queries_)
        kv.second->finish();
    db().rollback();
}

QSqlQuery& HXEvdbWriter::prepared(const char* sql)
{
    std::unique_ptr<QSqlQuery>& q = queries_[sql];
    if (!q) {
        q.reset(new QSqlQuery(db()));
        q->setForwardOnly(true);
        q->prepare(sql);
    }
    return *q;
}

long HXEvdbWriter::findOrInsert(const char* table, const char* key, const char* publicid,
                                QSqlQuery& insert, bool* created)
{
    if (created)
        *created = false;
    if (publicid && *publicid) {
        // Table and key names come from this file, never from input.
        std::string sql = std::string("SELECT ") + key + " FROM " + table + " WHERE publicid = ?";
        QSqlQuery& find = prepared(sql.c_str());
        find.bindValue(0, publicId(publicid));
        if (!find.exec())
            return hxevdb_query_error("HXEvdbWriter", table, find);
        if (find.next()) {
            long id = find.value(0).toLongLong();
            find.finish();
            return id;
        }
    }
    if (!insert.exec() || !insert.next())
        return hxevdb_query_error("HXEvdbWriter", table, insert);
    long id = insert.value(0).toLongLong();
    insert.finish();
    if (created)
        *created = true;
    return id;
}

long HXEvdbWriter::event(const char* publicid, const char* evname, const char* auth, bool* created)
{
    QSqlQuery& q =
        prepared("INSERT INTO event (publicid, evname, auth) VALUES (?, ?, ?) RETURNING evid");
    q.bindValue(0, publicId(publicid));
    q.bindValue(1, text(evname));
    q.bindValue(2, text(auth));
    return findOrInsert("event", "evid", publicid, q, created);
}

long HXEvdbWriter::origin(const char* publicid, const HXEVOrigin& o, bool* created)
{
    QSqlQuery& q = prepared("INSERT INTO origin (publicid, evid, time, lat, lon, depth, ndef, "
                            "nass, ml, mb, ms, mw, auth, review) "
                            "VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?) RETURNING orid");
    QVariant values[] = {publicId(publicid),
                         (qlonglong)o.evid,
                         o.time,
                         o.lat,
                         o.lon,
                         o.depth,
                         o.ndef,
                         o.nass,
                         o.ml,
                         o.mb,
                         o.ms,
                         o.mw,
                         text(o.auth),
                         text(o.review)};
    for (int i = 0; i < 14; i++)
        q.bindValue(i, values[i]);
    return findOrInsert("origin", "orid", publicid, q, created);
}

long HXEvdbWriter::netmag(const char* publicid, long orid, long evid, const char* magtype,
                          double magnitude, int nsta, double uncertainty, const char* auth,
                          bool* created)
{
    QSqlQuery& q = prepared("INSERT INTO netmag (publicid, orid, evid, magtype, magnitude, nsta, "
                            "uncertainty, auth) VALUES (?, ?, ?, ?, ?, ?, ?, ?) RETURNING magid");
    QVariant values[] = {publicId(publicid), (qlonglong)orid, (qlonglong)evid,
                         text(magtype),      magnitude,       nsta,
                         uncertainty,        text(auth)};
    for (int i = 0; i < 8; i++)
        q.bindValue(i, values[i]);
    return findOrInsert("netmag", "magid", publicid, q, created);
}

long HXEvdbWriter::detection(const char* publicid, const HXEVDetectionStachan& d, bool* created)
{
    QSqlQuery& q = prepared("INSERT INTO detection (publicid, net, sta, chan, time, phase, state) "
                            "VALUES (?, ?, ?, ?, ?, ?, ?) RETURNING arid");
    QVariant values[] = {publicId(publicid), text(d.net),  text(d.sta), text(d.chan), d.time,
                         text(d.phase),      text(d.state)};
    for (int i = 0; i < 7; i++)
        q.bindValue(i, values[i]);
    return findOrInsert("detection", "arid", publicid, q, created);
}

long HXEvdbWriter::mt(const char* publicid, long orid, long evid, const double t[6], double scm,
                      const char* auth, bool* created)
{
    QSqlQuery& q = prepared("INSERT INTO mt (publicid, orid, evid, tmrr, tmtt, tmpp, tmrt, tmrp, "
                            "tmtp, scm, auth) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?) "
                            "RETURNING mtid");
    q.bindValue(0, publicId(publicid));
    q.bindValue(1, (qlonglong)orid);
    q.bindValue(2, (qlonglong)evid);
    for (int i = 0; i < 6; i++)
        q.bindValue(3 + i, t[i]);
    q.bindValue(9, scm);
    q.bindValue(10, text(auth));
    return findOrInsert("mt", "mtid", publicid, q, created);
}

int HXEvdbWriter::assoc(long arid, long orid, const char* sta, const char* phase, double delta,
                        double timeres, int defining)
{
    QSqlQuery& q = prepared("INSERT INTO assoc (arid, orid, sta, phase, delta, timeres, timedef) "
                            "VALUES (?, ?, ?, ?, ?, ?, ?) ON CONFLICT DO NOTHING");
    QVariant values[] = {(qlonglong)arid, (qlonglong)orid, text(sta),       text(phase),
                         delta,           timeres,         defining ? 1 : 0};
    for (int i = 0; i < 7; i++)
        q.bindValue(i, values[i]);
    if (!q.exec())
        return hxevdb_query_error("HXEvdbWriter::assoc", "insert", q);
    return q.numRowsAffected() > 0 ? 1 : 0;
}

int HXEvdbWriter::site(const char* sta, const char* net, double lat, double lon, double elev)
{
    QSqlQuery& q = prepared("INSERT INTO site (sta, net, lat, lon, elev) VALUES (?, ?, ?, ?, ?) "
                            "ON CONFLICT DO NOTHING");
    QVariant values[] = {text(sta), text(net), lat, lon, elev};
    for (int i = 0; i < 5; i++)
        q.bindValue(i, values[i]);
    if (!q.exec())
        return hxevdb_query_error("HXEvdbWriter::site", "insert", q);
    return q.numRowsAffected() > 0 ? 1 : 0;
}

int HXEvdbWriter::upsertSite(const char* sta, const char* net, double lat, double lon, double elev)
{
    // Looked up first, so that an unchanged row is not written at all (no
    // update, no change counted) on either backend.
    QSqlQuery& find = prepared("SELECT net, lat, lon, elev FROM site WHERE sta = ?");
    find.bindValue(0, text(sta));
    if (!find.exec())
        return hxevdb_query_error("HXEvdbWriter::upsertSite", "select", find);
    if (!find.next()) {
        find.finish();
        return site(sta, net, lat, lon, elev) < 0 ? -1 : 1;
    }
    bool same = find.value(0).toString() == text(net).toString() &&
                find.value(1).toDouble() == lat && find.value(2).toDouble() == lon &&
                find.value(3).toDouble() == elev;
    find.finish();
    if (same)
        return 0;
    QSqlQuery& q = prepared("UPDATE site SET net = ?, lat = ?, lon = ?, elev = ? WHERE sta = ?");
    QVariant values[] = {text(net), lat, lon, elev, text(sta)};
    for (int i = 0; i < 5; i++)
        q.bindValue(i, values[i]);
    if (!q.exec())
        return hxevdb_query_error("HXEvdbWriter::upsertSite", "update", q);
    return 2;
}

int HXEvdbWriter::setPreferred(long evid, long orid)
{
    QSqlQuery& q = prepared("UPDATE event SET prefor = ? WHERE evid = ? "
                            "AND (prefor IS NULL OR prefor <> ?)");
    q.bindValue(0, (qlonglong)orid);
    q.bindValue(1, (qlonglong)evid);
    q.bindValue(2, (qlonglong)orid);
    if (!q.exec())
        return hxevdb_query_error("HXEvdbWriter::setPreferred", "update", q);
    return 0;
}

int HXEvdbWriter::pruneChangelog(long keep)
{
    QSqlQuery& q =
        prepared("DELETE FROM hx_changelog WHERE seq <= (SELECT max(seq) FROM hx_changelog) - ?");
    q.bindValue(0, (qlonglong)keep);
    if (!q.exec())
        return hxevdb_query_error("HXEvdbWriter::pruneChangelog", "delete", q);
    return 0;
}
