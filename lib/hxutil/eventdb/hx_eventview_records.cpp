// HXEventView: reading events, origins, detections and associations into
// records, and the moment-tensor rows behind Dbptrs.
#include "hx_eventdb.h"
#include "hx_eventview_impl.h"

#include "hx_error.h"

#include <QSqlError>
#include <QVariant>

#include <cstdlib>
#include <cstring>

namespace {

// Origin columns, in the order hxev_read_origin reads them, followed by the
// moment-tensor columns that cacheMt reads.
#define ORIGIN_COLUMNS                                                                             \
    "o.orid, o.evid, o.time, o.lat, o.lon, o.depth, o.ndef, o.nass, o.ml, o.mb, o.ms, o.mw, "      \
    "o.auth, o.review, m.mtid, m.orid, m.tmrr, m.tmtt, m.tmpp, m.tmrt, m.tmrp, m.tmtp, m.scm, "    \
    "m.auth "
#define MT_JOIN "LEFT JOIN mt m ON m.mtid = (SELECT max(mtid) FROM mt WHERE mt.orid = o.orid) "
enum { ORIGIN_NCOLUMNS = 14 };

// An event with its preferred origin (the latest origin when none is named).
const char* const EVENT_SELECT =
    "SELECT e.evid, e.prefor, e.evname, e.auth, " ORIGIN_COLUMNS "FROM event e "
    "LEFT JOIN origin o ON o.orid = COALESCE(e.prefor, "
    "(SELECT max(orid) FROM origin WHERE origin.evid = e.evid)) " MT_JOIN;
enum { EVENT_NCOLUMNS = 4 };

const char* const DETECTION_COLUMNS =
    "d.arid, d.net, d.sta, d.chan, d.phase, d.state, d.time, s.lat, s.lon, s.elev ";

double realOr(const QVariant& v, double missing)
{
    return v.isNull() ? missing : v.toDouble();
}

void readDetection(QSqlQuery& q, HXEVDetectionStachan* d)
{
    d->arid = q.value(0).toLongLong();
    hxev_copy_text(d->net, sizeof d->net, q.value(1));
    hxev_copy_text(d->sta, sizeof d->sta, q.value(2));
    hxev_copy_text(d->chan, sizeof d->chan, q.value(3));
    hxev_copy_text(d->phase, sizeof d->phase, q.value(4));
    hxev_copy_text(d->state, sizeof d->state, q.value(5));
    d->time = q.value(6).toDouble();
    d->lat = realOr(q.value(7), HXEV_NULL);
    d->lon = realOr(q.value(8), HXEV_NULL);
    d->elev = realOr(q.value(9), HXEV_NULL);
    d->orid = -1;
    d->residual = HXEV_NULL;
    d->defining = 0;
    d->delta = HXEV_NULL;
}

// Runs a prepared query inside the view's read; -1 with a registered error.
int run(QSqlQuery& q, const char* func, const char* what)
{
    if (!q.exec())
        return hxevdb_query_error(func, what, q);
    return 0;
}

int compareEvents(void* a, void* b, void* key)
{
    auto* ea = (HXEVEvent*)a;
    auto* eb = (HXEVEvent*)b;
    long k = *(long*)key;
    if (k != HXEV_SORT_EVID && (!ea->preferred || !eb->preferred))
        return (ea->preferred != nullptr) - (eb->preferred != nullptr);
    double va, vb;
    if (k == HXEV_SORT_TIME) {
        va = ea->preferred->time;
        vb = eb->preferred->time;
    } else if (k == HXEV_SORT_MAGNITUDE) {
        const HXEVOrigin* o[2] = {ea->preferred, eb->preferred};
        double m[2];
        for (int i = 0; i < 2; i++)
            m[i] = o[i]->mw > -999   ? o[i]->mw
                   : o[i]->ms > -999 ? o[i]->ms
                   : o[i]->mb > -999 ? o[i]->mb
                                     : o[i]->ml;
        va = m[0];
        vb = m[1];
    } else {
        va = ea->evid;
        vb = eb->evid;
    }
    return va < vb ? -1 : va > vb ? 1 : 0;
}

} // namespace

void hxev_copy_text(char* dst, int size, const QVariant& v)
{
    QByteArray b = v.toString().toUtf8();
    int n = b.size() < size - 1 ? b.size() : size - 1;
    memcpy(dst, b.constData(), n);
    dst[n] = 0;
}

void hxev_read_origin(QSqlQuery& q, int c, HXEVOrigin* o)
{
    o->orid = q.value(c).toLongLong();
    o->evid = q.value(c + 1).isNull() ? -1 : q.value(c + 1).toLongLong();
    o->time = q.value(c + 2).toDouble();
    o->lat = q.value(c + 3).toDouble();
    o->lon = q.value(c + 4).toDouble();
    o->depth = q.value(c + 5).toDouble();
    o->ndef = q.value(c + 6).toInt();
    o->nass = q.value(c + 7).toInt();
    o->ml = q.value(c + 8).toDouble();
    o->mb = q.value(c + 9).toDouble();
    o->ms = q.value(c + 10).toDouble();
    o->mw = q.value(c + 11).toDouble();
    hxev_copy_text(o->auth, sizeof o->auth, q.value(c + 12));
    hxev_copy_text(o->review, sizeof o->review, q.value(c + 13));
}

void hxev_free_origin(void* origin)
{
    auto* o = (HXEVOrigin*)origin;
    if (!o)
        return;
    freetbl(o->assocs, free);
    freetbl(o->detections, free);
    free(o);
}

void hxev_free_event(void* event)
{
    auto* e = (HXEVEvent*)event;
    if (!e)
        return;
    hxev_free_origin(e->preferred);
    freetbl(e->origins, hxev_free_origin);
    free(e);
}

Dbptr HXEventView::Impl::cacheMt(QSqlQuery& q, int c)
{
    if (q.value(c).isNull())
        return dbinvalid();
    long mtid = q.value(c).toLongLong();
    auto it = mt_index.find(mtid);
    int index;
    if (it == mt_index.end()) {
        index = (int)mts.size();
        mts.push_back(HXEVMtRow{});
        mt_index[mtid] = index;
    } else {
        index = it->second;
    }
    HXEVMtRow& m = mts[index];
    m.mtid = mtid;
    m.orid = q.value(c + 1).toLongLong();
    double* fields[] = {&m.tmrr, &m.tmtt, &m.tmpp, &m.tmrt, &m.tmrp, &m.tmtp, &m.scm};
    for (int i = 0; i < 7; i++)
        *fields[i] = q.value(c + 2 + i).toDouble();
    hxev_copy_text(m.auth, sizeof m.auth, q.value(c + 9));
    return Dbptr{dbindex, HXEV_TABLE_MT, HX_DB_INVALID, index};
}

void HXEventView::Impl::upsertEvent(QSqlQuery& q)
{
    long evid = q.value(0).toLongLong();
    HXEVEvent*& e = events[evid];
    if (!e) {
        e = (HXEVEvent*)calloc(1, sizeof(HXEVEvent));
        if (!e) {
            events.erase(evid);
            return;
        }
    }
    e->evid = evid;
    e->prefor = q.value(1).isNull() ? -1 : q.value(1).toLongLong();
    hxev_copy_text(e->evname, sizeof e->evname, q.value(2));
    hxev_copy_text(e->auth, sizeof e->auth, q.value(3));
    const int oc = EVENT_NCOLUMNS;
    if (q.value(oc).isNull()) {
        hxev_free_origin(e->preferred);
        e->preferred = nullptr;
        return;
    }
    long orid = q.value(oc).toLongLong();
    if (e->preferred && e->preferred->orid != orid) {
        // Another origin became preferred: what was read for the old one goes.
        hxev_free_origin(e->preferred);
        e->preferred = nullptr;
    }
    if (!e->preferred && !(e->preferred = (HXEVOrigin*)calloc(1, sizeof(HXEVOrigin))))
        return;
    hxev_read_origin(q, oc, e->preferred);
    e->preferred->mt = cacheMt(q, oc + ORIGIN_NCOLUMNS);
}

void HXEventView::Impl::removeEvent(long evid)
{
    auto it = events.find(evid);
    if (it == events.end())
        return;
    hxev_free_event(it->second);
    events.erase(it);
}

void HXEventView::Impl::rebuildEventsTable()
{
    Tbl* t = newtbl((int)events.size());
    if (!t)
        return;
    for (auto& kv : events)
        settbl(t, -1, kv.second);
    freetbl(events_tbl, nullptr);
    events_tbl = t;
}

int HXEventView::Impl::readEvents(bool everything, const QSet<long>& evids)
{
    const char* func = "HXEventView::refreshEvents";
    QSqlQuery q(db());
    q.setForwardOnly(true);
    if (everything) {
        if (!q.prepare(EVENT_SELECT) || run(q, func, "events") < 0)
            return -1;
        std::map<long, bool> present;
        while (q.next()) {
            present[q.value(0).toLongLong()] = true;
            upsertEvent(q);
        }
        if (q.lastError().isValid())
            return hxevdb_query_error(func, "events", q);
        for (auto it = events.begin(); it != events.end();) {
            if (present.count(it->first)) {
                ++it;
                continue;
            }
            hxev_free_event(it->second);
            it = events.erase(it);
        }
        return 0;
    }
    if (!q.prepare(QString(EVENT_SELECT) + "WHERE e.evid = ?"))
        return hxevdb_query_error(func, "prepare", q);
    for (long evid : evids) {
        q.bindValue(0, (qlonglong)evid);
        if (run(q, func, "event") < 0)
            return -1;
        if (q.next())
            upsertEvent(q);
        else
            removeEvent(evid);
        q.finish();
    }
    return 0;
}

void HXEventView::Impl::freeRecords()
{
    for (auto& kv : events)
        hxev_free_event(kv.second);
    events.clear();
    freetbl(events_tbl, nullptr);
    events_tbl = nullptr;
    freetbl(detections_tbl, free);
    detections_tbl = nullptr;
    mts.clear();
    mt_index.clear();
}

int HXEventView::Impl::dbvalue(const Dbptr& p, const char* table, const char* field,
                               HXDbValue* value)
{
    if ((table && strcmp(table, "mt") != 0) || p.table != HXEV_TABLE_MT || p.record < 0 ||
        p.record >= (int)mts.size()) {
        hx_register_error(0, "HXEventView::dbvalue: no such row of table '%s'\n",
                          table ? table : "");
        return -1;
    }
    const HXEVMtRow& m = mts[p.record];
    static const char* const reals[] = {"tmrr", "tmtt", "tmpp", "tmrt", "tmrp", "tmtp", "scm"};
    const double values[] = {m.tmrr, m.tmtt, m.tmpp, m.tmrt, m.tmrp, m.tmtp, m.scm};
    for (int i = 0; i < 7; i++)
        if (strcmp(field, reals[i]) == 0) {
            value->type = HX_DB_REAL;
            value->real = values[i];
            return 0;
        }
    if (strcmp(field, "mtid") == 0 || strcmp(field, "orid") == 0) {
        value->type = HX_DB_INTEGER;
        value->integer = field[0] == 'm' ? m.mtid : m.orid;
        return 0;
    }
    if (strcmp(field, "auth") == 0) {
        value->type = HX_DB_STRING;
        memcpy(value->string, m.auth, sizeof value->string);
        return 0;
    }
    hx_register_error(0, "HXEventView::dbvalue: unknown field '%s' of table 'mt'\n", field);
    return -1;
}

int HXEventView::refreshEvents(Tbl** events)
{
    const char* func = "HXEventView::refreshEvents";
    if (!d->events_tbl)
        d->events_tbl = newtbl(0);
    *events = d->events_tbl;
    if (!d->open)
        return d->notOpen(func);
    QSqlDatabase database = d->db();
    // One read transaction: the change log and the rows it names agree.
    database.transaction();
    QSqlQuery q(database);
    q.setForwardOnly(true);
    if (!q.exec("SELECT min(seq), max(seq) FROM hx_changelog") || !q.next()) {
        database.rollback();
        return hxevdb_query_error(func, "change log", q);
    }
    long long lo = q.value(0).isNull() ? 0 : q.value(0).toLongLong();
    long long hi = q.value(1).isNull() ? 0 : q.value(1).toLongLong();
    q.finish();
    // PostgreSQL assigns log numbers before commit, so a late commit may
    // land below the last number read: look back over a window, skipping
    // entries already seen.
    const long long window = d->kind == HXEVDB_POSTGRESQL ? 2000 : 0;
    bool everything = d->last_seq < 0 || hi < d->last_seq || lo > d->last_seq + 1;
    QSet<long> evids;
    if (!everything) {
        q.prepare("SELECT seq, evid FROM hx_changelog WHERE seq > ? ORDER BY seq");
        q.bindValue(0, d->last_seq - window);
        if (!q.exec()) {
            database.rollback();
            return hxevdb_query_error(func, "change log", q);
        }
        while (q.next()) {
            long long seq = q.value(0).toLongLong();
            if (seq <= d->last_seq && d->seen_seqs.contains(seq))
                continue;
            if (window)
                d->seen_seqs.insert(seq);
            if (!q.value(1).isNull())
                evids.insert((long)q.value(1).toLongLong());
        }
        q.finish();
        everything = evids.size() > eventview.full_refresh;
    }
    if (d->readEvents(everything, evids) < 0) {
        database.rollback();
        d->rebuildEventsTable();
        *events = d->events_tbl;
        return -1;
    }
    database.commit();
    if (everything)
        d->seen_seqs.clear();
    for (auto it = d->seen_seqs.begin(); it != d->seen_seqs.end();) {
        if (*it <= hi - window)
            it = d->seen_seqs.erase(it);
        else
            ++it;
    }
    d->last_seq = hi > d->last_seq || everything ? hi : d->last_seq;
    if (!everything && evids.isEmpty() && d->events_tbl) {
        *events = d->events_tbl;
        return 0;
    }
    d->rebuildEventsTable();
    *events = d->events_tbl;
    return 0;
}

int HXEventView::refreshDetections(double tstart, double tend, Tbl** detections)
{
    const char* func = "HXEventView::refreshDetections";
    if (!d->detections_tbl)
        d->detections_tbl = newtbl(0);
    *detections = d->detections_tbl;
    if (!d->open)
        return d->notOpen(func);
    QSqlQuery q(d->db());
    q.setForwardOnly(true);
    q.prepare(QString("SELECT ") + DETECTION_COLUMNS +
              "FROM detection d LEFT JOIN site s ON s.sta = d.sta "
              "WHERE d.time >= ? AND d.time <= ? ORDER BY d.time");
    q.bindValue(0, tstart);
    q.bindValue(1, tend);
    if (run(q, func, "detections") < 0)
        return -1;
    Tbl* t = newtbl(256);
    while (t && q.next()) {
        auto* det = (HXEVDetectionStachan*)malloc(sizeof(HXEVDetectionStachan));
        if (!det)
            break;
        readDetection(q, det);
        settbl(t, -1, det);
    }
    if (!t) {
        hx_register_error(1, "%s: out of memory\n", func);
        return -1;
    }
    if (q.lastError().isValid()) {
        freetbl(t, free);
        return hxevdb_query_error(func, "detections", q);
    }
    freetbl(d->detections_tbl, free);
    d->detections_tbl = t;
    *detections = t;
    return 0;
}

int HXEventView::refreshDetections(HXEVOrigin* origin)
{
    const char* func = "HXEventView::refreshDetections";
    if (!origin) {
        hx_register_error(0, "%s: no origin\n", func);
        return -1;
    }
    if (!d->open)
        return d->notOpen(func);
    QSqlQuery q(d->db());
    q.setForwardOnly(true);
    q.prepare(QString("SELECT ") + DETECTION_COLUMNS +
              ", a.timeres, a.timedef, a.delta, a.phase FROM assoc a "
              "JOIN detection d ON d.arid = a.arid LEFT JOIN site s ON s.sta = d.sta "
              "WHERE a.orid = ? ORDER BY d.time");
    q.bindValue(0, (qlonglong)origin->orid);
    if (run(q, func, "detections of an origin") < 0)
        return -1;
    Tbl* t = newtbl(32);
    while (t && q.next()) {
        auto* det = (HXEVDetectionStachan*)malloc(sizeof(HXEVDetectionStachan));
        if (!det)
            break;
        readDetection(q, det);
        det->orid = origin->orid;
        det->residual = realOr(q.value(10), HXEV_NULL);
        det->defining = q.value(11).toInt();
        det->delta = realOr(q.value(12), HXEV_NULL);
        if (!q.value(13).toString().isEmpty())
            hxev_copy_text(det->phase, sizeof det->phase, q.value(13));
        settbl(t, -1, det);
    }
    if (!t) {
        hx_register_error(1, "%s: out of memory\n", func);
        return -1;
    }
    freetbl(origin->detections, free);
    origin->detections = t;
    return 0;
}

int HXEventView::refreshAssociations(HXEVEvent* event)
{
    const char* func = "HXEventView::refreshAssociations";
    if (!event) {
        hx_register_error(0, "%s: no event\n", func);
        return -1;
    }
    if (!d->open)
        return d->notOpen(func);
    QSqlQuery q(d->db());
    q.setForwardOnly(true);
    q.prepare("SELECT " ORIGIN_COLUMNS "FROM origin o " MT_JOIN "WHERE o.evid = ? ORDER BY o.orid");
    q.bindValue(0, (qlonglong)event->evid);
    if (run(q, func, "origins") < 0)
        return -1;
    Tbl* origins = newtbl(4);
    while (origins && q.next()) {
        auto* o = (HXEVOrigin*)calloc(1, sizeof(HXEVOrigin));
        if (!o)
            break;
        hxev_read_origin(q, 0, o);
        o->mt = d->cacheMt(q, ORIGIN_NCOLUMNS);
        settbl(origins, -1, o);
    }
    freetbl(event->origins, hxev_free_origin);
    event->origins = origins;
    HXEVOrigin* pref = event->preferred;
    if (!pref)
        return 0;
    q.prepare("SELECT a.arid, a.orid, a.sta, a.phase, d.time, a.delta, a.timeres, a.timedef, "
              "s.lat, s.lon, s.elev FROM assoc a LEFT JOIN detection d ON d.arid = a.arid "
              "LEFT JOIN site s ON s.sta = a.sta WHERE a.orid = ? ORDER BY a.delta, a.arid");
    q.bindValue(0, (qlonglong)pref->orid);
    if (run(q, func, "associations") < 0)
        return -1;
    Tbl* assocs = newtbl(32);
    while (assocs && q.next()) {
        auto* a = (HXEVAssoc*)malloc(sizeof(HXEVAssoc));
        if (!a)
            break;
        a->arid = q.value(0).toLongLong();
        a->orid = q.value(1).toLongLong();
        hxev_copy_text(a->sta, sizeof a->sta, q.value(2));
        hxev_copy_text(a->phase, sizeof a->phase, q.value(3));
        a->time = realOr(q.value(4), HXEV_NULL);
        a->delta = q.value(5).toDouble();
        a->residual = q.value(6).toDouble();
        a->defining = q.value(7).toInt();
        a->lat = realOr(q.value(8), HXEV_NULL);
        a->lon = realOr(q.value(9), HXEV_NULL);
        a->elev = realOr(q.value(10), HXEV_NULL);
        settbl(assocs, -1, a);
    }
    freetbl(pref->assocs, free);
    pref->assocs = assocs;
    return 0;
}

int HXEventView::sortEvents(Tbl* events, long key)
{
    if (key != HXEV_SORT_EVID && key != HXEV_SORT_TIME && key != HXEV_SORT_MAGNITUDE) {
        hx_register_error(0, "HXEventView::sortEvents: unknown key %ld\n", key);
        return -1;
    }
    if (events)
        sorttbl(events, compareEvents, &key);
    return 0;
}
