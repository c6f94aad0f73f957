// The event view on a large database: 100,000 events with 1,000,000
// detections over 100 days. Reading every event, one day of detections, a
// poll with no change, the refreshes that follow one new event and one new
// detection, and importing 100,000 QuakeML events. SQLite always;
// PostgreSQL too when KGRQT_PG_URI names a database (which is emptied).
//
// The SQLite database is built once into bench-eventdb.db in the working
// directory and reused (brought to the current schema first); what the
// benchmarks add to it they delete again.
#include "bench_eventdb_data.h"
#include "hx_catalog.h"
#include "hx_error.h"
#include "hx_eventdb.h"
#include "hx_eventdb_writer.h"
#include "hx_eventview.h"

#include <benchmark/benchmark.h>

#include <QFile>
#include <QSqlQuery>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

namespace {

using benchdb::EVENTS;
using benchdb::SPAN;
using benchdb::T0;

std::string sqliteName()
{
    return "sqlite:bench-eventdb.db";
}

std::string pgName()
{
    const char* uri = getenv("KGRQT_PG_URI");
    return uri ? uri : "";
}

// The database of a backend, built on first use.
const std::string* database(int backend)
{
    static std::string names[2];
    static bool tried[2];
    if (!tried[backend]) {
        tried[backend] = true;
        std::string name = backend == 0 ? sqliteName() : pgName();
        bool present = backend == 0 && QFile::exists("bench-eventdb.db");
        if (!name.empty() &&
            (present ? benchdb::migrate(name)
                     : benchdb::populate(name, EVENTS, [](HXEvdbWriter&, int) { return true; })))
            names[backend] = name;
    }
    return names[backend].empty() ? nullptr : &names[backend];
}

std::unique_ptr<HXEventView> openView(benchmark::State& state)
{
    const std::string* name = database(state.range(0));
    if (!name) {
        state.SkipWithError("no database (set KGRQT_PG_URI for PostgreSQL)");
        return nullptr;
    }
    std::unique_ptr<HXEventView> view(new HXEventView());
    if (view->configure("dbname", name->c_str(), (char*)0) < 0) {
        hx_clear_register(1);
        state.SkipWithError("cannot open the database");
        return nullptr;
    }
    return view;
}

void BM_RefreshEventsEverything(benchmark::State& state)
{
    auto view = openView(state);
    if (!view)
        return;
    Tbl* events = nullptr;
    for (auto _ : state) {
        view->reset(); // the next refresh reads every event
        if (view->refreshEvents(&events) < 0 || maxtbl(events) != EVENTS)
            state.SkipWithError("refreshEvents failed");
    }
    state.counters["events"] = maxtbl(events);
}

// A writer on the benchmark database, for the benchmarks that add rows.
class BenchWriter : public benchdb::Writer {
public:
    explicit BenchWriter(const std::string& name) : benchdb::Writer(name) {}

    // One event with its preferred origin at time t, in one transaction.
    bool addEvent(double t)
    {
        HXEVOrigin o{};
        bool ok = w_->begin() == 0;
        o.evid = ok ? w_->event(nullptr, "new", "bench-new") : -1;
        o.time = t;
        o.lat = 12.5;
        o.lon = -45.25;
        o.depth = 10;
        o.ml = 3.1;
        o.mb = o.ms = o.mw = -999;
        strcpy(o.auth, "bench-new");
        long orid = o.evid > 0 ? w_->origin(nullptr, o) : -1;
        ok = orid > 0 && w_->setPreferred(o.evid, orid) == 0 && w_->commit() == 0;
        if (!ok)
            hx_clear_register(1);
        return ok;
    }

    // One detection at time t.
    bool addDetection(double t)
    {
        HXEVDetectionStachan d{};
        strcpy(d.sta, "S007");
        strcpy(d.phase, "P");
        strcpy(d.state, "bench-new");
        d.time = t;
        bool ok = w_->detection(nullptr, d) > 0;
        if (!ok)
            hx_clear_register(1);
        return ok;
    }
};

// Refreshes after one new event: the view had read every event before.
void BM_RefreshEventsOneNew(benchmark::State& state)
{
    auto view = openView(state);
    if (!view)
        return;
    BenchWriter writer(*database(state.range(0)));
    Tbl* events = nullptr;
    if (!writer.ok() || view->refreshEvents(&events) < 0) {
        hx_clear_register(1);
        state.SkipWithError("cannot write or read the database");
        return;
    }
    int expect = maxtbl(events);
    for (auto _ : state) {
        state.PauseTiming();
        if (!writer.addEvent(T0 + SPAN + expect)) {
            state.SkipWithError("cannot add an event");
            break;
        }
        expect++;
        state.ResumeTiming();
        if (view->refreshEvents(&events) < 0 || maxtbl(events) != expect) {
            hx_clear_register(1);
            state.SkipWithError("refreshEvents failed");
            break;
        }
    }
    state.counters["events"] = maxtbl(events);
}

// Every detection of one day, read afresh: two days far apart in turn, so
// that nothing of the last table can be kept.
void BM_RefreshDetectionsOneDay(benchmark::State& state)
{
    auto view = openView(state);
    if (!view)
        return;
    Tbl* dets = nullptr;
    long n = 0;
    for (auto _ : state) {
        double t = T0 + (n++ % 2 ? 60 : 50) * 86400.0;
        if (view->refreshDetections(t, t + 86400, &dets) < 0)
            state.SkipWithError("refreshDetections failed");
    }
    state.counters["detections"] = maxtbl(dets);
}

// The map's poll of the last day of detections after one new detection:
// the day moves on by a second and the detection arrives at its end.
void BM_RefreshDetectionsOneNew(benchmark::State& state)
{
    auto view = openView(state);
    if (!view)
        return;
    BenchWriter writer(*database(state.range(0)));
    Tbl* dets = nullptr;
    double t = T0 + 50 * 86400.0;
    if (!writer.ok() || view->refreshDetections(t, t + 86400, &dets) < 0) {
        hx_clear_register(1);
        state.SkipWithError("cannot write or read the database");
        return;
    }
    for (auto _ : state) {
        state.PauseTiming();
        t += 1;
        if (!writer.addDetection(t + 86400 - 0.5)) {
            state.SkipWithError("cannot add a detection");
            break;
        }
        state.ResumeTiming();
        if (view->refreshDetections(t, t + 86400, &dets) < 0) {
            hx_clear_register(1);
            state.SkipWithError("refreshDetections failed");
            break;
        }
    }
    state.counters["detections"] = maxtbl(dets);
}

void BM_PollNoChange(benchmark::State& state)
{
    auto view = openView(state);
    if (!view)
        return;
    Arr* changes = nullptr;
    view->checkChanges(&changes);
    for (auto _ : state)
        if (view->checkChanges(&changes) != 0)
            state.SkipWithError("unexpected change");
    freearr(changes, free);
}

// A QuakeML document of n events, each with an origin and a magnitude.
std::string quakeml(int n)
{
    std::string s = "<?xml version=\"1.0\"?>\n<q:quakeml xmlns:q=\"http://quakeml.org/xmlns/"
                    "quakeml/1.2\" xmlns=\"http://quakeml.org/xmlns/bed/1.2\">\n"
                    "<eventParameters publicID=\"bench\">\n";
    char buf[1024];
    for (int i = 0; i < n; i++) {
        snprintf(buf, sizeof buf,
                 "<event publicID=\"ev/%d\"><preferredOriginID>or/%d</preferredOriginID>"
                 "<description><text>Bench region %d</text></description>\n"
                 "<origin publicID=\"or/%d\"><time><value>2023-01-01T00:00:%02d.%03dZ</value>"
                 "</time><latitude><value>%.3f</value></latitude><longitude><value>%.3f</value>"
                 "</longitude><depth><value>%d</value></depth></origin>\n"
                 "<magnitude publicID=\"mg/%d\"><mag><value>%.1f</value></mag><type>ML</type>"
                 "<originID>or/%d</originID></magnitude></event>\n",
                 i, i, i % 100, i, i % 60, i % 1000, -60 + (i * 37 % 120) + 0.5,
                 -180 + (i * 53 % 360) + 0.25, (i % 600) * 1000, i, 1 + (i % 60) / 10.0, i);
        s += buf;
    }
    return s + "</eventParameters>\n</q:quakeml>\n";
}

void BM_ImportQuakeml(benchmark::State& state)
{
    const int n = EVENTS;
    std::string text = quakeml(n);
    std::string name = state.range(0) == 0 ? "sqlite:bench-import.db" : pgName();
    if (name.empty()) {
        state.SkipWithError("set KGRQT_PG_URI for PostgreSQL");
        return;
    }
    for (auto _ : state) {
        state.PauseTiming();
        QFile::remove("bench-import.db");
        QFile::remove("bench-import.db-wal");
        QFile::remove("bench-import.db-shm");
        QString conn;
        bool ok = hxevdb_open(name.c_str(), HXEVDB_CREATE | HXEVDB_WRITER, 5000, &conn) == 0;
        if (ok) {
            QSqlDatabase db = QSqlDatabase::database(conn);
            if (hxevdb_kind(db) == HXEVDB_POSTGRESQL) {
                QSqlQuery q(db);
                q.exec("DROP SCHEMA public CASCADE");
                q.exec("CREATE SCHEMA public");
            }
            ok = hxevdb_migrate(db) >= 0;
        }
        state.ResumeTiming();
        HXCatalog cat;
        HXCatStoreStats st{};
        {
            HXEvdbWriter w(conn);
            ok = ok && hxcat_read_quakeml(text.data(), text.size(), "bench", &cat) == 0 &&
                 hxcat_store(cat, w, &st) == 0 && st.events == n;
        }
        hxevdb_close(conn);
        if (!ok) {
            hx_clear_register(1);
            state.SkipWithError("import failed");
        }
    }
    state.counters["events"] = n;
    state.counters["MB"] = text.size() / 1e6;
}

void backends(benchmark::internal::Benchmark* b)
{
    b->ArgName("postgresql")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
}

BENCHMARK(BM_RefreshEventsEverything)->Apply(backends)->MinTime(2);
BENCHMARK(BM_RefreshEventsOneNew)->Apply(backends);
BENCHMARK(BM_RefreshDetectionsOneDay)->Apply(backends);
BENCHMARK(BM_RefreshDetectionsOneNew)->Apply(backends);
BENCHMARK(BM_PollNoChange)->ArgName("postgresql")->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_ImportQuakeml)->Apply(backends)->Iterations(1);

} // namespace

BENCHMARK_MAIN();
