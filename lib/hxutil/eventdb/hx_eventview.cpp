// HXEventView: options, the connection, and change detection.
//
// A poll must be cheap when nothing changed. On SQLite that is one stat()
// of the file (deleted or replaced?) and PRAGMA data_version (did another
// connection commit?); only after a commit are the per-table counters that
// the triggers bump read. On PostgreSQL the triggers NOTIFY with the table
// and kind of change, and a poll reads pending notices from the socket
// without a round trip; a broken connection shows there too.
#include "hx_eventdb.h"
#include "hx_eventview_impl.h"

#include "hx_error.h"
#include "hx_time.h"

#include <QFileInfo>

#include <cstddef>
#include <cstdlib>
#include <cstring>

const char* const hxev_tables[] = {"event", "origin", "netmag", "detection", "assoc", "site", "mt"};

namespace {

// Seconds between attempts to reach a database that went away.
const double RECONNECT_SECONDS = 1.0;

int eventview_parse_dbname(HX_ConfigureSpec*, HX_ClientData, char* value, char* record, int)
{
    auto* item = (HxeventviewItem*)record;
    auto* view = (HXEventView*)item->self;
    if (!value || !*value) {
        hx_register_error(0, "eventview_parse_dbname: empty database name\n");
        return -1;
    }
    char* copy = strdup(value);
    if (!copy) {
        hx_register_error(1, "eventview_parse_dbname: out of memory\n");
        return -1;
    }
    free(item->dbname);
    item->dbname = copy;
    if (view->reset() < 0) {
        hx_register_error(0, "eventview_parse_dbname: cannot open '%s'\n", value);
        return -1;
    }
    return 0;
}

char* eventview_print_dbname(HX_ConfigureSpec*, HX_ClientData, char* record, int)
{
    auto* item = (HxeventviewItem*)record;
    return strdup(item->dbname ? item->dbname : "");
}

HX_CustomOption dbnameOption = {eventview_parse_dbname, eventview_print_dbname, nullptr};

} // namespace

HX_ConfigureSpec HXEventView::configSpecs[] = {
    {"custom", "dbname", nullptr, offsetof(HxeventviewItem, dbname), HX_CONFIGURE_NULL_OK,
     &dbnameOption},
    {"int", "busy_timeout", "100", offsetof(HxeventviewItem, busy_timeout), 0, nullptr},
    {"int", "full_refresh", "2000", offsetof(HxeventviewItem, full_refresh), 0, nullptr},
    {"int", "debug", "0", offsetof(HxeventviewItem, debug), 0, nullptr},
    {"end", nullptr, nullptr, 0, 0, nullptr},
};

HXEventView::HXEventView(Pf* pf)
{
    memset(&eventview, 0, sizeof eventview);
    eventview.self = this;
    class_name = strdup("HXEventView");
    d = new Impl(this);
    if (setConfigureSpecs(configSpecs, (char*)&eventview, "HXEventView") < 0)
        throw "HXEventView::HXEventView: setConfigureSpecs() error.";
    if (!pf)
        return;
    // Options from the parameter object; the database last, so that it opens
    // with the other settings in place.
    for (int pass = 0; pass < 2; pass++)
        for (HX_ConfigureSpec* s = configSpecs; strcmp(s->type, "end") != 0; s++) {
            Pf* value = nullptr;
            if ((strcmp(s->name, "dbname") == 0) != (pass == 1))
                continue;
            if (pfget(pf, s->name, &value) == PFSTRING)
                configure(s->name, pfstring(value), (char*)0);
        }
}

HXEventView::~HXEventView()
{
    delete d;
    free(eventview.dbname);
    free(class_name);
}

bool HXEventView::isOpen() const
{
    return d->open;
}

int HXEventView::reset()
{
    if (!eventview.dbname) {
        hx_register_error(0, "HXEventView::reset: no database name\n");
        return -1;
    }
    d->closeDatabase();
    if (d->openDatabase("HXEventView::reset") < 0)
        return -1;
    d->forgetChanges();
    return 0;
}

int HXEventView::checkChanges(Arr** changes)
{
    if (!*changes && !(*changes = newarr(nullptr))) {
        hx_register_error(1, "HXEventView::checkChanges: out of memory\n");
        return -1;
    }
    Tbl* keys = keysarr(*changes);
    for (int i = 0; i < maxtbl(keys); i++)
        free(delarr(*changes, (const char*)gettbl(keys, i)));
    freetbl(keys, nullptr);
    if (!eventview.dbname) {
        hx_register_error(0, "HXEventView::checkChanges: no database name\n");
        return -1;
    }
    const char* why = nullptr;
    if (!d->open) {
        // Closed after a failure: report its return once it opens again.
        double now = std_now();
        if (now < d->next_reconnect)
            return 0;
        d->next_reconnect = now + RECONNECT_SECONDS;
        if (d->kind == HXEVDB_SQLITE && !d->path.isEmpty() && !QFileInfo::exists(d->path))
            return 0;
        if (d->openDatabase("HXEventView::checkChanges") < 0) {
            hx_clear_register(0);
            return 0;
        }
        return d->reportAll(*changes, HXEV_CHANGE_RESET);
    }
    if (d->kind == HXEVDB_POSTGRESQL) {
        int codes[HXEV_NTABLES] = {0};
        bool notified = false;
        d->checkPostgresql(codes, &notified, &why);
        if (!why && !notified)
            return 0;
        if (!why)
            return d->reportCodes(codes, *changes);
    } else {
        int committed = d->checkFile(&why);
        if (committed <= 0)
            return committed;
    }
    HXEVCounters now{};
    bool busy = false;
    if (!why && d->readCounters(&now, &busy) < 0) {
        if (busy) {
            d->data_version = -1; // read again next time
            return -1;
        }
        why = "cannot be read";
    }
    if (!why && (now.schema_version != d->counters.schema_version ||
                 now.schema_cookie != d->counters.schema_cookie))
        why = "changed its schema";
    if (why) {
        hx_register_error(0, "HXEventView::checkChanges: database '%s' %s\n", eventview.dbname,
                          why);
        d->closeDatabase();
        return d->reportAll(*changes, HXEV_CHANGE_RESET);
    }
    return d->compareCounters(now, *changes);
}

int hxev_change_code(Arr* changes, const char* table)
{
    int* code = changes ? (int*)getarr(changes, table) : nullptr;
    return code ? *code : 0;
}
