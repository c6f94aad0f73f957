// HXEventView: following the change log, so that a refresh reads only the
// rows that changed since the last one.
//
// The writers' triggers add an entry to hx_changelog for every row of
// event, origin, netmag and mt (naming its event and, for origins and
// moment tensors, its origin), of detection (naming it) and of site. Each
// refresh, of events or of the detections of a time window, first reads the
// entries added since the last read of either and notes what they name; it
// then reads the rows noted for its own kind and forgets them. Everything is
// read again after a reset, when the log was pruned past the last entry
// read, or when more than full_refresh rows of a kind were noted.
//
// SQLite numbers entries in commit order. PostgreSQL numbers them before
// commit, so a transaction that commits late lands below entries already
// read: the numbers skipped over (within a window of GAP_WINDOW below the
// newest) are kept as gaps and looked for again at each read.
#include "hx_eventdb.h"
#include "hx_eventview_impl.h"

#include "hx_error.h"

#include <QSqlError>
#include <QStringList>

#include <algorithm>

namespace {

// How far below the newest entry a late PostgreSQL commit is looked for.
const long long GAP_WINDOW = 2000;

} // namespace

int HXEventView::Impl::beginRead(QSqlDatabase& database)
{
    // One transaction, so that the change log and the rows it names agree;
    // on PostgreSQL one snapshot for all its statements.
    if (kind != HXEVDB_POSTGRESQL)
        return database.transaction() ? 0 : -1;
    QSqlQuery q(database);
    return q.exec("BEGIN ISOLATION LEVEL REPEATABLE READ") ? 0 : -1;
}

void HXEventView::Impl::forgetChanges()
{
    last_seq = -1;
    gaps.clear();
    events_all = window_all = true;
    changed_evids.clear();
    changed_orids.clear();
    changed_arids.clear();
}

void HXEventView::Impl::noteChange(const QString& tbl, const QVariant& evid, const QVariant& orid,
                                   const QVariant& arid)
{
    const long limit = view->eventview.full_refresh;
    if (tbl == QLatin1String("detection")) {
        if (window_all || arid.isNull())
            return;
        changed_arids.insert((long)arid.toLongLong());
        if ((long)changed_arids.size() > limit) {
            window_all = true;
            changed_arids.clear();
        }
        return;
    }
    if (tbl == QLatin1String("site")) {
        // Stations give detections their positions.
        window_all = true;
        changed_arids.clear();
        return;
    }
    if (events_all)
        return;
    if (!evid.isNull())
        changed_evids.insert((long)evid.toLongLong());
    if (!orid.isNull())
        changed_orids.insert((long)orid.toLongLong());
    if ((long)(changed_evids.size() + changed_orids.size()) > limit) {
        events_all = true;
        changed_evids.clear();
        changed_orids.clear();
    }
}

int HXEventView::Impl::followChangelog(const char* func)
{
    QSqlQuery q(db());
    q.setForwardOnly(true);
    if (!q.exec("SELECT min(seq), max(seq) FROM hx_changelog") || !q.next())
        return hxevdb_query_error(func, "change log", q);
    long long lo = q.value(0).isNull() ? 0 : q.value(0).toLongLong();
    long long hi = q.value(1).isNull() ? 0 : q.value(1).toLongLong();
    q.finish();
    const long long window = kind == HXEVDB_POSTGRESQL ? GAP_WINDOW : 0;
    const long long floor = hi - window; // gaps at or below are given up

    if (last_seq < 0 || hi < last_seq || lo > last_seq + 1) {
        // First read, a log emptied or replaced, or entries pruned unread.
        forgetChanges();
        std::set<long long> missing;
        if (window > 0 && hi > 0) {
            for (long long s = std::max(floor + 1, 1LL); s <= hi; s++)
                missing.insert(s);
            q.prepare("SELECT seq FROM hx_changelog WHERE seq > ?");
            q.bindValue(0, floor);
            if (!q.exec())
                return hxevdb_query_error(func, "change log", q);
            while (q.next())
                missing.erase(q.value(0).toLongLong());
            q.finish();
        }
        gaps.swap(missing);
        last_seq = hi;
        return 0;
    }
    if (hi == last_seq && gaps.empty())
        return 0;

    QString sql = "SELECT seq, tbl, evid, orid, arid FROM hx_changelog WHERE seq > ?";
    if (!gaps.empty()) {
        QStringList numbers;
        for (long long g : gaps)
            numbers << QString::number(g);
        sql += " OR seq IN (" + numbers.join(',') + ")";
    }
    q.prepare(sql + " ORDER BY seq");
    q.bindValue(0, last_seq);
    if (!q.exec())
        return hxevdb_query_error(func, "change log", q);
    std::set<long long> next_gaps = gaps;
    long long prev = last_seq;
    while (q.next()) {
        long long seq = q.value(0).toLongLong();
        if (seq <= last_seq) {
            next_gaps.erase(seq); // a late commit
        } else {
            for (long long s = std::max(prev + 1, floor + 1); s < seq && window > 0; s++)
                next_gaps.insert(s);
            prev = seq;
        }
        noteChange(q.value(1).toString(), q.value(2), q.value(3), q.value(4));
    }
    if (q.lastError().isValid())
        return hxevdb_query_error(func, "change log", q);
    q.finish();
    next_gaps.erase(next_gaps.begin(), next_gaps.upper_bound(floor));
    gaps.swap(next_gaps);
    last_seq = hi;
    return 0;
}
