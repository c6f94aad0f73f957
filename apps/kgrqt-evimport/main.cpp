// Imports earthquake catalogues (QuakeML 1.2 or FDSN event text) and
// station lists (FDSN station text) into an event database, one
// transaction per file. Importing a file again adds nothing.
//
//   kgrqt-evimport [--migrate] DATABASE [FILE ...]
//
// DATABASE is a file path, sqlite:PATH or postgresql://user@host:port/db;
// a missing SQLite file is created. --migrate only brings the schema of
// DATABASE forward. A file whose first line is the header of FDSN station
// text ("#Network|Station|...") is a station list: the latest epoch of each
// station goes into the site table. Any other file is a catalogue: QuakeML
// when it starts with '<', FDSN event text ("#EventID|...") otherwise. Exit
// code 2 when a file or the database cannot be used.
#include "hx_catalog.h"
#include "hx_error.h"
#include "hx_eventdb.h"
#include "hx_eventdb_writer.h"
#include "hx_stations.h"

#include <QCoreApplication>
#include <QFile>
#include <QSqlDatabase>

#include <cstdio>
#include <cstring>
#include <vector>

namespace {

int usage()
{
    fprintf(stderr, "usage: kgrqt-evimport [--migrate] DATABASE [FILE ...]\n");
    return 2;
}

// Whether the file starts with the header of FDSN station text; false when
// it cannot be read (the catalogue reader then says why).
bool isStationText(const char* path)
{
    QFile file(QString::fromLocal8Bit(path));
    if (!file.open(QIODevice::ReadOnly))
        return false;
    QByteArray head = file.read(65536);
    return hxsta_is_stationtext(head.constData(), head.size());
}

int importStations(const char* path, HXEvdbWriter& writer)
{
    std::vector<HXStation> stations;
    HXStaStoreStats st{};
    if (hxsta_read_file(path, &stations) < 0 || hxsta_store(stations, writer, &st) < 0) {
        hx_clear_register(1);
        fprintf(stderr, "kgrqt-evimport: %s: nothing imported\n", path);
        return -1;
    }
    printf("%s: %zu station epochs read, %zu stations; added %ld stations, changed %ld\n", path,
           stations.size(), hxsta_latest(stations).size(), st.added, st.changed);
    return 0;
}

int importFile(const char* path, HXEvdbWriter& writer)
{
    if (isStationText(path))
        return importStations(path, writer);
    HXCatalog catalog;
    HXCatStoreStats st{};
    if (hxcat_read_file(path, &catalog) < 0 || hxcat_store(catalog, writer, &st) < 0) {
        hx_clear_register(1);
        fprintf(stderr, "kgrqt-evimport: %s: nothing imported\n", path);
        return -1;
    }
    printf("%s: %zu events read; added %ld events, %ld origins, %ld magnitudes, %ld detections, "
           "%ld associations, %ld moment tensors\n",
           path, catalog.events.size(), st.events, st.origins, st.magnitudes, st.detections,
           st.associations, st.tensors);
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    int i = 1;
    bool migrate_only = false;
    if (i < argc && strcmp(argv[i], "--migrate") == 0) {
        migrate_only = true;
        i++;
    }
    if (i >= argc || argv[i][0] == '-')
        return usage();
    const char* dbname = argv[i++];
    QString conn;
    if (hxevdb_open(dbname, HXEVDB_CREATE | HXEVDB_WRITER, 5000, &conn) < 0) {
        hx_clear_register(1);
        return 2;
    }
    int status = 0;
    {
        QSqlDatabase db = QSqlDatabase::database(conn);
        int from = hxevdb_migrate(db);
        if (from < 0) {
            hx_clear_register(1);
            status = 2;
        } else if (from != HXEVDB_SCHEMA_VERSION) {
            printf("%s: schema version %d -> %d\n", dbname, from, HXEVDB_SCHEMA_VERSION);
        }
        if (status == 0 && !migrate_only) {
            HXEvdbWriter writer(conn);
            for (; i < argc; i++)
                if (importFile(argv[i], writer) < 0)
                    status = 2;
        }
    }
    hxevdb_close(conn);
    return status;
}
