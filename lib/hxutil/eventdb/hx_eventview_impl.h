// The inside of HXEventView, shared by its source files.
#ifndef HX_EVENTVIEW_IMPL_H
#define HX_EVENTVIEW_IMPL_H

#include "hx_eventview.h"

#include <QSqlDatabase>
#include <QSqlQuery>
#include <QString>
#include <QVariant>

#include <map>
#include <memory>
#include <set>
#include <sys/types.h>
#include <unordered_map>
#include <vector>

struct pg_conn;

// Index of the moment-tensor table in hxev_tables, used as Dbptr.table.
enum { HXEV_TABLE_MT = 6 };

// One cached moment-tensor row; Dbptr.record indexes these.
struct HXEVMtRow {
    long mtid, orid;
    double tmrr, tmtt, tmpp, tmrt, tmrp, tmtp, scm;
    char auth[HX_DB_STRING_MAX];
};

// The counters a poll compares.
struct HXEVCounters {
    long long inserts[HXEV_NTABLES];
    long long changes[HXEV_NTABLES];
    int schema_version;
    long long schema_cookie; // SQLite's own schema counter; 0 elsewhere
};

struct HXEventView::Impl : HXDbSource {
    explicit Impl(HXEventView* view);
    ~Impl() override;

    HXEventView* view;
    int dbindex = -1; // index for Dbptrs into this view

    // The connection.
    QString connection;
    bool open = false;
    int kind = 0;
    QString path;  // SQLite file
    dev_t dev = 0; // identity of the file when opened
    ino_t ino = 0;
    long long data_version = -1;
    HXEVCounters counters{};
    pg_conn* pg = nullptr; // libpq handle, for notifications
    double next_reconnect = 0;
    std::unique_ptr<QSqlQuery> q_data_version, q_counters, q_cookie;

    // Records. Events in evid order, each with the orid of the origin it
    // shows (its prefor, else its preferred origin) in orid_refs, so that a
    // change of that origin or of its moment tensor refreshes it.
    struct EventSlot {
        long evid; // beside the record: a merge need not visit every record
        HXEVEvent* event;
    };
    std::vector<EventSlot> events;
    std::unordered_multimap<long, long> orid_refs; // orid -> evid
    Tbl* events_tbl = nullptr;
    // The detections of the last time window read, in (time, arid) order.
    std::vector<HXEVDetectionStachan*> window;
    double window_start = 0, window_end = -1;
    Tbl* detections_tbl = nullptr;
    std::vector<HXEVMtRow> mts;
    std::map<long, int> mt_index; // mtid -> index in mts

    // Following the change log (hx_eventview_changelog.cpp). Each refresh
    // reads the entries added since the last read of either kind and notes
    // what they name; each kind then reads what was noted for it.
    long long last_seq = -1;  // last change-log entry read; -1: read everything
    std::set<long long> gaps; // PostgreSQL: numbers not yet seen below last_seq
    bool events_all = true;   // the next refreshEvents reads every event
    bool window_all = true;   // the next window refresh reads it whole
    std::set<long> changed_evids, changed_orids, changed_arids;

    int beginRead(QSqlDatabase& database);
    int followChangelog(const char* func);
    void noteChange(const QString& tbl, const QVariant& evid, const QVariant& orid,
                    const QVariant& arid);
    void forgetChanges();

    int openDatabase(const char* func);
    void closeDatabase();
    int readBaseline(const char* func);
    int readCounters(HXEVCounters* c, bool* busy);
    int checkFile(const char** why);
    int checkPostgresql(int* codes, bool* notified, const char** why);
    int reportCodes(const int* codes, Arr* changes);
    int reportAll(Arr* changes, int code);
    int compareCounters(const HXEVCounters& now, Arr* changes);

    QSqlDatabase db() const { return QSqlDatabase::database(connection, false); }
    int notOpen(const char* func);

    // Records (hx_eventview_records.cpp).
    int readAllEvents(const char* func);
    int readSomeEvents(const char* func, const std::set<long>& evids);
    HXEVEvent* upsertEvent(QSqlQuery& q, HXEVEvent* e);
    void dropEvent(HXEVEvent* e);
    void rebuildEventsTable();
    int readWindow(const char* func, double tstart, double tend);
    void rebuildWindowTable();
    Dbptr cacheMt(QSqlQuery& q, int col);
    void freeRecords();

    int dbvalue(const Dbptr& db, const char* table, const char* field, HXDbValue* value) override;
};

// Reads the origin columns of the record queries starting at col.
void hxev_read_origin(QSqlQuery& q, int col, HXEVOrigin* o);
void hxev_free_origin(void* origin);
void hxev_free_event(void* event);
// Copies a query value into a fixed text field.
void hxev_copy_text(char* dst, int size, const QVariant& v);

#endif
