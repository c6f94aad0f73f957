// HXEventView: opening the database, its baseline, and what a poll compares.
#include "hx_eventdb.h"
#include "hx_eventview_impl.h"

#include "hx_error.h"

#include <QSqlDriver>
#include <QSqlError>
#include <QVariant>

#include <cstdlib>
#include <libpq-fe.h>
#include <sys/stat.h>

namespace {

bool isBusy(const QSqlError& e)
{
    // SQLITE_BUSY and SQLITE_LOCKED: a writer holds the lock.
    return e.nativeErrorCode() == "5" || e.nativeErrorCode() == "6";
}

int tableIndex(const QString& name)
{
    for (int i = 0; i < HXEV_NTABLES; i++)
        if (name == hxev_tables[i])
            return i;
    return -1;
}

} // namespace

HXEventView::Impl::Impl(HXEventView* v) : view(v)
{
    dbindex = hx_db_attach(this);
}

HXEventView::Impl::~Impl()
{
    hx_db_detach(dbindex);
    closeDatabase();
    freeRecords();
}

int HXEventView::Impl::openDatabase(const char* func)
{
    const char* name = view->eventview.dbname;
    HXEvdbTarget target;
    if (hxevdb_parse_name(name, &target) < 0)
        return -1;
    kind = target.kind;
    path = target.path;
    if (hxevdb_open(name, 0, view->eventview.busy_timeout, &connection) < 0)
        return -1;
    QSqlDatabase database = db();
    int version = hxevdb_schema_version(database);
    if (version != HXEVDB_SCHEMA_VERSION) {
        if (version == 0)
            hx_register_error(0, "%s: '%s' is not an event database\n", func, name);
        else if (version > 0)
            hx_register_error(0,
                              "%s: '%s' has schema version %d, this library reads %d "
                              "(kgrqt-evimport --migrate brings it forward)\n",
                              func, name, version, HXEVDB_SCHEMA_VERSION);
        closeDatabase();
        return -1;
    }
    if (kind == HXEVDB_SQLITE) {
        struct stat st;
        if (stat(path.toLocal8Bit().constData(), &st) == 0) {
            dev = st.st_dev;
            ino = st.st_ino;
        }
        q_data_version.reset(new QSqlQuery(database));
        q_data_version->prepare("PRAGMA data_version");
        q_cookie.reset(new QSqlQuery(database));
        q_cookie->prepare("PRAGMA schema_version");
    } else {
        QSqlQuery listen(database);
        if (!listen.exec("LISTEN hx_change")) {
            hxevdb_query_error(func, "LISTEN", listen);
            closeDatabase();
            return -1;
        }
        QVariant handle = database.driver()->handle();
        if (handle.isValid() && qstrcmp(handle.typeName(), "PGconn*") == 0)
            pg = *static_cast<PGconn* const*>(handle.data());
    }
    q_counters.reset(new QSqlQuery(database));
    q_counters->setForwardOnly(true);
    // PostgreSQL has no counters: its notices say what changed.
    q_counters->prepare(kind == HXEVDB_SQLITE
                            ? "SELECT tbl, inserts, changes FROM hx_counter "
                              "UNION ALL SELECT 'hx_schema', version, 0 FROM hx_schema"
                            : "SELECT 'hx_schema', version, 0 FROM hx_schema");
    open = true;
    if (readBaseline(func) < 0) {
        closeDatabase();
        return -1;
    }
    return 0;
}

int HXEventView::Impl::readBaseline(const char* func)
{
    bool busy = false;
    if (kind == HXEVDB_SQLITE) {
        const char* why = nullptr;
        data_version = -1;
        if (checkFile(&why) < 0 || why) {
            if (why)
                hx_register_error(0, "%s: database '%s' %s\n", func, view->eventview.dbname, why);
            return -1;
        }
    }
    if (readCounters(&counters, &busy) < 0) {
        hx_register_error(0, "%s: cannot read the change counters of '%s'\n", func,
                          view->eventview.dbname);
        return -1;
    }
    return 0;
}

void HXEventView::Impl::closeDatabase()
{
    q_data_version.reset();
    q_counters.reset();
    q_cookie.reset();
    pg = nullptr;
    if (!connection.isEmpty())
        hxevdb_close(connection);
    connection.clear();
    open = false;
    data_version = -1;
}

int HXEventView::Impl::readCounters(HXEVCounters* c, bool* busy)
{
    *c = HXEVCounters{};
    QSqlQuery& q = *q_counters;
    if (!q.exec()) {
        *busy = isBusy(q.lastError());
        if (*busy)
            hx_register_error(
                0, "HXEventView::checkChanges: database '%s' is locked by a writer: %s\n",
                view->eventview.dbname, q.lastError().text().toLocal8Bit().constData());
        else
            hxevdb_query_error("HXEventView::checkChanges", "counters", q);
        return -1;
    }
    while (q.next()) {
        QString name = q.value(0).toString();
        if (name == "hx_schema") {
            c->schema_version = q.value(1).toInt();
            continue;
        }
        int i = tableIndex(name);
        if (i >= 0) {
            c->inserts[i] = q.value(1).toLongLong();
            c->changes[i] = q.value(2).toLongLong();
        }
    }
    q.finish();
    if (q_cookie) {
        if (!q_cookie->exec() || !q_cookie->next()) {
            *busy = isBusy(q_cookie->lastError());
            return hxevdb_query_error("HXEventView::checkChanges", "schema_version", *q_cookie);
        }
        c->schema_cookie = q_cookie->value(0).toLongLong();
        q_cookie->finish();
    }
    return 0;
}

int HXEventView::Impl::checkFile(const char** why)
{
    struct stat st;
    if (stat(path.toLocal8Bit().constData(), &st) != 0) {
        *why = "was deleted";
        return 1;
    }
    if (st.st_dev != dev || st.st_ino != ino) {
        *why = "was replaced";
        return 1;
    }
    QSqlQuery& q = *q_data_version;
    if (!q.exec() || !q.next()) {
        if (isBusy(q.lastError())) {
            hx_register_error(0, "HXEventView::checkChanges: database '%s' is locked by a writer\n",
                              view->eventview.dbname);
            return -1;
        }
        *why = "cannot be read";
        return 1;
    }
    long long v = q.value(0).toLongLong();
    q.finish();
    if (v == data_version)
        return 0;
    data_version = v;
    return 1;
}

int HXEventView::Impl::checkPostgresql(int* codes, bool* notified, const char** why)
{
    if (!pg) {
        *why = "gave no connection handle";
        return 0;
    }
    if (!PQconsumeInput(pg) || PQstatus(pg) == CONNECTION_BAD) {
        *why = "lost its connection";
        return 0;
    }
    while (PGnotify* n = PQnotifies(pg)) {
        *notified = true;
        QString payload = QString::fromUtf8(n->extra);
        PQfreemem(n);
        if (payload == "hx_schema") {
            *why = "changed its schema";
            continue;
        }
        int i = tableIndex(payload.section(':', 0, 0));
        if (i < 0)
            continue;
        int code = payload.endsWith(":i") ? HXEV_CHANGE_INSERTED : HXEV_CHANGE_MODIFIED;
        if (code > codes[i])
            codes[i] = code;
    }
    return 0;
}

int HXEventView::Impl::reportCodes(const int* codes, Arr* changes)
{
    int n = 0;
    for (int i = 0; i < HXEV_NTABLES; i++) {
        if (!codes[i])
            continue;
        int* value = (int*)malloc(sizeof(int));
        if (!value) {
            hx_register_error(1, "HXEventView::checkChanges: out of memory\n");
            return -1;
        }
        *value = codes[i];
        free(setarr(changes, hxev_tables[i], value));
        n++;
    }
    return n;
}

int HXEventView::Impl::reportAll(Arr* changes, int code)
{
    for (int i = 0; i < HXEV_NTABLES; i++) {
        int* value = (int*)malloc(sizeof(int));
        if (!value) {
            hx_register_error(1, "HXEventView::checkChanges: out of memory\n");
            return -1;
        }
        *value = code;
        free(setarr(changes, hxev_tables[i], value));
    }
    return HXEV_NTABLES;
}

int HXEventView::Impl::compareCounters(const HXEVCounters& now, Arr* changes)
{
    int codes[HXEV_NTABLES];
    for (int i = 0; i < HXEV_NTABLES; i++)
        codes[i] = now.changes[i] != counters.changes[i]   ? HXEV_CHANGE_MODIFIED
                   : now.inserts[i] != counters.inserts[i] ? HXEV_CHANGE_INSERTED
                                                           : 0;
    counters = now;
    return reportCodes(codes, changes);
}

int HXEventView::Impl::notOpen(const char* func)
{
    hx_register_error(0, "%s: database '%s' is not open\n", func,
                      view->eventview.dbname ? view->eventview.dbname : "");
    return -1;
}
