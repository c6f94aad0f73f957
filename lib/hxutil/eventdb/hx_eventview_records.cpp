// HXEventView: reading events, origins, detections and associations into
// records, and the moment-tensor rows behind Dbptrs.
#include "hx_eventdb.h"
#include "hx_eventview_impl.h"

#include "hx_error.h"

#include <QSqlError>
#include <QVariant>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>

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

namespace {

// The orid of the origin an event shows: its prefor, else the origin read
// as preferred; -1 when neither.
long refOrid(const HXEVEvent* e)
{
    return e->prefor >= 0 ? e->prefor : e->preferred ? e->preferred->orid : -1;
}

bool detectionLess(const HXEVDetectionStachan* a, const HXEVDetectionStachan* b)
{
    return a->time < b->time || (a->time == b->time && a->arid < b->arid);
}

// Whole numbers for an IN list (they come from the database or the log,
// never from text).
template <typename It> QString numberList(It begin, It end)
{
    QStringList numbers;
    for (It it = begin; it != end; ++it)
        numbers << QString::number(*it);
    return numbers.join(',');
}

// Rows named by an IN list are read this many at a time.
const int IN_LIST_MAX = 500;

} // namespace

HXEVEvent* HXEventView::Impl::upsertEvent(QSqlQuery& q, HXEVEvent* e)
{
    long old_ref = e ? refOrid(e) : -1;
    bool is_new = !e;
    if (is_new && !(e = (HXEVEvent*)calloc(1, sizeof(HXEVEvent))))
        return nullptr;
    e->evid = q.value(0).toLongLong();
    e->prefor = q.value(1).isNull() ? -1 : q.value(1).toLongLong();
    hxev_copy_text(e->evname, sizeof e->evname, q.value(2));
    hxev_copy_text(e->auth, sizeof e->auth, q.value(3));
    const int oc = EVENT_NCOLUMNS;
    if (q.value(oc).isNull()) {
        hxev_free_origin(e->preferred);
        e->preferred = nullptr;
    } else {
        long orid = q.value(oc).toLongLong();
        if (e->preferred && e->preferred->orid != orid) {
            // Another origin became preferred: what was read for the old one goes.
            hxev_free_origin(e->preferred);
            e->preferred = nullptr;
        }
        if (!e->preferred)
            e->preferred = (HXEVOrigin*)calloc(1, sizeof(HXEVOrigin));
        if (e->preferred) {
            hxev_read_origin(q, oc, e->preferred);
            e->preferred->mt = cacheMt(q, oc + ORIGIN_NCOLUMNS);
        }
    }
    long ref = refOrid(e);
    if (is_new || ref != old_ref) {
        if (!is_new && old_ref >= 0) {
            auto range = orid_refs.equal_range(old_ref);
            for (auto it = range.first; it != range.second; ++it)
                if (it->second == e->evid) {
                    orid_refs.erase(it);
                    break;
                }
        }
        if (ref >= 0)
            orid_refs.emplace(ref, e->evid);
    }
    return e;
}

void HXEventView::Impl::dropEvent(HXEVEvent* e)
{
    long ref = refOrid(e);
    auto range = orid_refs.equal_range(ref);
    for (auto it = range.first; it != range.second; ++it)
        if (it->second == e->evid) {
            orid_refs.erase(it);
            break;
        }
    hxev_free_event(e);
}

void HXEventView::Impl::rebuildEventsTable()
{
    Tbl* t = newtbl((int)events.size());
    if (!t)
        return;
    for (const EventSlot& slot : events)
        settbl(t, -1, slot.event);
    freetbl(events_tbl, nullptr);
    events_tbl = t;
}

int HXEventView::Impl::readAllEvents(const char* func)
{
    QSqlQuery q(db());
    q.setForwardOnly(true);
    if (!q.prepare(QString(EVENT_SELECT) + "ORDER BY e.evid") || run(q, func, "events") < 0)
        return -1;
    // Merged with the records held, which stay where the event still is.
    std::vector<EventSlot> next, gone;
    next.reserve(events.size());
    size_t i = 0;
    while (q.next()) {
        long evid = q.value(0).toLongLong();
        for (; i < events.size() && events[i].evid < evid; i++)
            gone.push_back(events[i]);
        HXEVEvent* e = i < events.size() && events[i].evid == evid ? events[i++].event : nullptr;
        if (HXEVEvent* u = upsertEvent(q, e))
            next.push_back(EventSlot{evid, u});
    }
    if (q.lastError().isValid()) {
        // Keep every record: those not reached yet and those found gone.
        next.insert(next.end(), gone.begin(), gone.end());
        next.insert(next.end(), events.begin() + i, events.end());
        std::sort(next.begin(), next.end(),
                  [](const EventSlot& a, const EventSlot& b) { return a.evid < b.evid; });
        events.swap(next);
        return hxevdb_query_error(func, "events", q);
    }
    gone.insert(gone.end(), events.begin() + i, events.end());
    for (const EventSlot& slot : gone)
        dropEvent(slot.event);
    events.swap(next);
    return 0;
}

int HXEventView::Impl::readSomeEvents(const char* func, const std::set<long>& evids)
{
    QSqlQuery q(db());
    q.setForwardOnly(true);
    std::vector<EventSlot> added;
    std::set<long> gone(evids);
    int status = 0;
    for (auto chunk = evids.begin(); chunk != evids.end();) {
        auto end = chunk;
        for (int n = 0; end != evids.end() && n < IN_LIST_MAX; n++)
            ++end;
        q.prepare(QString(EVENT_SELECT) + "WHERE e.evid IN (" + numberList(chunk, end) + ")");
        if (run(q, func, "events") < 0) {
            status = -1;
            break;
        }
        while (q.next()) {
            long evid = q.value(0).toLongLong();
            gone.erase(evid);
            auto it =
                std::lower_bound(events.begin(), events.end(), evid,
                                 [](const EventSlot& slot, long evid) { return slot.evid < evid; });
            if (it != events.end() && it->evid == evid)
                upsertEvent(q, it->event);
            else if (HXEVEvent* e = upsertEvent(q, nullptr))
                added.push_back(EventSlot{evid, e});
        }
        if (q.lastError().isValid()) {
            status = hxevdb_query_error(func, "events", q);
            break;
        }
        q.finish();
        chunk = end;
    }
    if (status < 0)
        gone.clear(); // not known: kept until the read is done again
    if (added.empty() && gone.empty())
        return status;
    std::sort(added.begin(), added.end(),
              [](const EventSlot& a, const EventSlot& b) { return a.evid < b.evid; });
    if (gone.empty() && (events.empty() || added.front().evid > events.back().evid)) {
        // New events, the newest of all.
        events.insert(events.end(), added.begin(), added.end());
        return status;
    }
    // One merge for every event added or deleted.
    std::vector<EventSlot> next;
    next.reserve(events.size() + added.size());
    auto a = added.begin();
    auto g = gone.begin();
    for (const EventSlot& slot : events) {
        for (; a != added.end() && a->evid < slot.evid; ++a)
            next.push_back(*a);
        for (; g != gone.end() && *g < slot.evid; ++g) {
        }
        if (g != gone.end() && *g == slot.evid)
            dropEvent(slot.event);
        else
            next.push_back(slot);
    }
    next.insert(next.end(), a, added.end());
    events.swap(next);
    return status;
}

void HXEventView::Impl::freeRecords()
{
    for (const EventSlot& slot : events)
        hxev_free_event(slot.event);
    events.clear();
    orid_refs.clear();
    freetbl(events_tbl, nullptr);
    events_tbl = nullptr;
    for (HXEVDetectionStachan* det : window)
        free(det);
    window.clear();
    freetbl(detections_tbl, nullptr);
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
    d->beginRead(database);
    if (d->followChangelog(func) < 0) {
        database.rollback();
        return -1;
    }
    bool everything = d->events_all;
    std::set<long> evids;
    if (!everything) {
        evids.swap(d->changed_evids);
        // The events that show a changed origin, whichever event it is of.
        for (long orid : d->changed_orids) {
            auto range = d->orid_refs.equal_range(orid);
            for (auto it = range.first; it != range.second; ++it)
                evids.insert(it->second);
        }
        d->changed_orids.clear();
    }
    int status = 0;
    if (everything)
        status = d->readAllEvents(func);
    else if (!evids.empty())
        status = d->readSomeEvents(func, evids);
    database.commit();
    if (status < 0) {
        // What was noted is read again next time.
        if (everything)
            d->events_all = true;
        else
            d->changed_evids.insert(evids.begin(), evids.end());
    } else {
        d->events_all = false;
    }
    if (everything || !evids.empty())
        d->rebuildEventsTable();
    *events = d->events_tbl;
    return status;
}

void HXEventView::Impl::rebuildWindowTable()
{
    Tbl* t = newtbl((int)window.size());
    if (!t)
        return;
    for (HXEVDetectionStachan* det : window)
        settbl(t, -1, det);
    freetbl(detections_tbl, nullptr);
    detections_tbl = t;
}

int HXEventView::Impl::readWindow(const char* func, double tstart, double tend)
{
    QSqlQuery q(db());
    q.setForwardOnly(true);
    // Read rows by arid; the rows that are no longer in the window (or no
    // longer anywhere) leave it.
    std::unordered_map<long, HXEVDetectionStachan*> fresh;
    std::set<long> gone;
    auto readRows = [&](const QString& where, const QVariantList& values, const char* what) {
        q.prepare(QString("SELECT ") + DETECTION_COLUMNS +
                  "FROM detection d LEFT JOIN site s ON s.sta = d.sta WHERE " + where);
        for (int i = 0; i < values.size(); i++)
            q.bindValue(i, values[i]);
        if (run(q, func, what) < 0)
            return -1;
        while (q.next()) {
            auto* det = (HXEVDetectionStachan*)malloc(sizeof(HXEVDetectionStachan));
            if (!det) {
                hx_register_error(1, "%s: out of memory\n", func);
                return -1;
            }
            readDetection(q, det);
            HXEVDetectionStachan*& slot = fresh[det->arid];
            free(slot);
            slot = det;
        }
        if (q.lastError().isValid())
            return hxevdb_query_error(func, what, q);
        q.finish();
        return 0;
    };
    bool whole = window_all || tstart > tend || window_start > window_end || tstart > window_end ||
                 tend < window_start;
    int status = 0;
    if (whole) {
        status = readRows("d.time >= ? AND d.time <= ?", {tstart, tend}, "detections");
    } else {
        // The parts of the window not read before, then the detections the
        // log names.
        if (tstart < window_start)
            status = readRows("d.time >= ? AND d.time < ?", {tstart, window_start}, "detections");
        if (status == 0 && tend > window_end)
            status = readRows("d.time > ? AND d.time <= ?", {window_end, tend}, "detections");
        for (auto chunk = changed_arids.begin(); status == 0 && chunk != changed_arids.end();) {
            auto end = chunk;
            for (int n = 0; end != changed_arids.end() && n < IN_LIST_MAX; n++)
                ++end;
            gone.insert(chunk, end);
            status =
                readRows("d.arid IN (" + numberList(chunk, end) + ")", {}, "changed detections");
            chunk = end;
        }
    }
    if (status < 0) {
        for (auto& kv : fresh)
            free(kv.second);
        return -1;
    }
    // The rows read replace what was held; those outside the window go.
    std::vector<HXEVDetectionStachan*> added;
    for (auto& kv : fresh) {
        gone.erase(kv.first);
        if (kv.second->time >= tstart && kv.second->time <= tend)
            added.push_back(kv.second);
        else
            free(kv.second);
    }
    // The window is in time order: what lies outside is at its ends.
    auto first =
        std::lower_bound(window.begin(), window.end(), tstart,
                         [](const HXEVDetectionStachan* det, double t) { return det->time < t; });
    auto last =
        std::upper_bound(first, window.end(), tend,
                         [](double t, const HXEVDetectionStachan* det) { return t < det->time; });
    if (whole)
        first = last = window.end();
    bool changed = whole || !added.empty() || first != window.begin() || last != window.end();
    std::vector<HXEVDetectionStachan*> kept;
    kept.reserve(last - first);
    for (auto it = window.begin(); it != window.end(); ++it) {
        HXEVDetectionStachan* det = *it;
        if (it < first || it >= last || (!fresh.empty() && fresh.count(det->arid)) ||
            (!gone.empty() && gone.count(det->arid))) {
            free(det);
            changed = true;
        } else {
            kept.push_back(det);
        }
    }
    if (!changed) {
        window_start = tstart;
        window_end = tend;
        return 0;
    }
    std::sort(added.begin(), added.end(), detectionLess);
    window.clear();
    window.reserve(kept.size() + added.size());
    std::merge(kept.begin(), kept.end(), added.begin(), added.end(), std::back_inserter(window),
               detectionLess);
    window_start = tstart;
    window_end = tend;
    return changed ? 1 : 0;
}

int HXEventView::refreshDetections(double tstart, double tend, Tbl** detections)
{
    const char* func = "HXEventView::refreshDetections";
    if (!d->detections_tbl)
        d->detections_tbl = newtbl(0);
    *detections = d->detections_tbl;
    if (!d->open)
        return d->notOpen(func);
    QSqlDatabase database = d->db();
    d->beginRead(database);
    int status = d->followChangelog(func);
    if (status == 0)
        status = d->readWindow(func, tstart, tend);
    database.commit();
    if (status < 0)
        return -1;
    d->window_all = false;
    d->changed_arids.clear();
    if (status > 0)
        d->rebuildWindowTable();
    *detections = d->detections_tbl;
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
