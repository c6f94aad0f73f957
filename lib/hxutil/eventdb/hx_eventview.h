// The event view: events, origins, detections and associations read from an
// event database (SQLite file or PostgreSQL server, see hx_eventdb.h),
// followed as writers change it.
//
// The view owns every record it hands out. A table returned by a refresh
// stays valid until the next refresh of the same kind; an event record stays
// valid until a refresh finds the event deleted (or the view is destroyed).
// All calls belong to the thread that made the view.
#ifndef HX_EVENTVIEW_H
#define HX_EVENTVIEW_H

#include "HXConfigure.h"
#include "hx_containers.h"
#include "hx_db.h"
#include "hx_pf.h"

enum { HXEV_NAME_MAX = 16, HXEV_TEXT_MAX = 64 };

// The marker of a missing coordinate or value.
#define HXEV_NULL 2e30

// One detection with the position of its station (HXEV_NULL when the
// station is not in the site table). Detections of an origin also carry the
// association: residual, defining flag, distance and associated phase.
struct HXEVDetectionStachan {
    long arid;
    char net[HXEV_NAME_MAX];
    char sta[HXEV_NAME_MAX];
    char chan[HXEV_NAME_MAX];
    char phase[HXEV_NAME_MAX];
    char state[HXEV_NAME_MAX];
    double time;
    double lat, lon, elev;
    long orid;       // -1 outside an origin's detections
    double residual; // time residual, s; HXEV_NULL when not associated
    int defining;    // 1 when the arrival is defining for the origin
    double delta;    // epicentral distance, degrees; HXEV_NULL when unknown
};

// The association of one arrival with an origin, with its station's position.
struct HXEVAssoc {
    long arid, orid;
    char sta[HXEV_NAME_MAX];
    char phase[HXEV_NAME_MAX];
    double time;     // arrival time
    double delta;    // degrees
    double residual; // s
    int defining;
    double lat, lon, elev; // HXEV_NULL when the station is unknown
};

struct HXEVOrigin {
    long orid, evid;
    double time, lat, lon, depth;
    int ndef, nass;
    double ml, mb, ms, mw; // -999 when not measured
    char auth[HXEV_TEXT_MAX];
    char review[HXEV_NAME_MAX];
    Dbptr mt;        // its moment-tensor row ("mt"), or dbinvalid()
    Tbl* assocs;     // HXEVAssoc*, filled by refreshAssociations
    Tbl* detections; // HXEVDetectionStachan*, filled by refreshDetections(origin)
};

struct HXEVEvent {
    long evid;
    long prefor; // the preferred origin's orid, -1 when there is none
    char evname[HXEV_TEXT_MAX];
    char auth[HXEV_TEXT_MAX];
    HXEVOrigin* preferred; // null when the event has no origin
    Tbl* origins;          // every origin (HXEVOrigin*), filled by refreshAssociations
};

// Keys of sortEvents.
enum { HXEV_SORT_EVID = 1, HXEV_SORT_TIME = 2, HXEV_SORT_MAGNITUDE = 3 };

// Change codes of checkChanges.
enum {
    HXEV_CHANGE_INSERTED = 1, // rows were added
    HXEV_CHANGE_MODIFIED = 2, // rows were changed or deleted (maybe added too)
    HXEV_CHANGE_RESET = 3     // the database was replaced, deleted, lost or its schema changed
};

// Tables of the event database, as checkChanges names them.
extern const char* const hxev_tables[];
enum { HXEV_NTABLES = 7 };

struct HxeventviewItem {
    char* dbname;
    int busy_timeout; // ms a read waits for a writer's lock
    int full_refresh; // changed rows of a kind beyond which a refresh reads them all
    int debug;
    void* self; // the view, for option parsers
};

class HXEventView : public HXConfigure {
public:
    // Options are read from pf when given (keys named after the options),
    // then from configure(). Throws a character string when the option
    // table cannot be installed.
    explicit HXEventView(Pf* pf = nullptr);
    ~HXEventView();

    // The events with their preferred origins and moment tensors. *events
    // becomes the view's table (do not free it). Reads only the events that
    // changed since the last call when it can. Returns 0, or -1 with a
    // registered error, *events then being the last table read.
    int refreshEvents(Tbl** events);

    // The detections associated with origin into origin->detections.
    int refreshDetections(HXEVOrigin* origin);
    // The detections with tstart <= time <= tend, in time order (then by
    // arid), into the view's table *detections. Keeps the window between
    // calls and reads only the detections that changed since the last call
    // and the parts of a moved window not read before, when it can.
    int refreshDetections(double tstart, double tend, Tbl** detections);

    // Every origin of event into event->origins, and the associations of its
    // preferred origin into preferred->assocs.
    int refreshAssociations(HXEVEvent* event);

    // Sorts a table of events by key (HXEV_SORT_*), ascending; events without
    // an origin come first. -1 with a registered error for an unknown key.
    int sortEvents(Tbl* events, long key);

    // Which tables changed since the last call. *changes (made when null,
    // emptied otherwise) receives one entry per changed table, keyed by table
    // name, whose value is an int* code (HXEV_CHANGE_*); free the array with
    // freearr(changes, free). Every table gets HXEV_CHANGE_RESET when the
    // database was replaced, deleted, became unreadable, came back, or its
    // schema changed: reset() then reopens it. Returns the number of changed
    // tables, or -1 with a registered error (a writer holding a lock: the
    // next call tries again).
    int checkChanges(Arr** changes);

    // Reopens the database; the records read so far stay until the next
    // refresh, which reads everything. Returns 0, or -1 with a registered
    // error (the view then keeps its records and checkChanges reports the
    // database's return).
    int reset();

    // The database name, and whether it is open now.
    const char* name() const { return eventview.dbname; }
    bool isOpen() const;

    HxeventviewItem eventview;
    int debug = 0;
    char* class_name = nullptr;
    static HX_ConfigureSpec configSpecs[];

    struct Impl;

private:
    Impl* d;
};

// The code of table in a checkChanges result, 0 when it did not change.
int hxev_change_code(Arr* changes, const char* table);

#endif
