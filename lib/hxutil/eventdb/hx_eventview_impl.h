// The inside of HXEventView, shared by its source files.
#ifndef HX_EVENTVIEW_IMPL_H
#define HX_EVENTVIEW_IMPL_H

#include "hx_eventview.h"

#include <QSet>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QString>

#include <map>
#include <memory>
#include <sys/types.h>
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

    // Records.
    std::map<long, HXEVEvent*> events; // by evid
    Tbl* events_tbl = nullptr;
    Tbl* detections_tbl = nullptr;
    std::vector<HXEVMtRow> mts;
    std::map<long, int> mt_index; // mtid -> index in mts
    long long last_seq = -1;      // last change-log entry read; -1: read everything
    QSet<long long> seen_seqs;    // entries read inside the PostgreSQL window

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
    int readEvents(bool everything, const QSet<long>& evids);
    void upsertEvent(QSqlQuery& q);
    void removeEvent(long evid);
    void rebuildEventsTable();
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
