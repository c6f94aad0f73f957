// Imports earthquake catalogues (QuakeML 1.2 or FDSN text) into an event
// database, one transaction per file. Importing a file again adds nothing.
//
//   kgrqt-evimport [--migrate] DATABASE [FILE ...]
//
// DATABASE is a file path, sqlite:PATH or postgresql://user@host:port/db;
// a missing SQLite file is created. --migrate only brings the schema of
// DATABASE forward. Exit code 2 when a file or the database cannot be used.
#include "hx_catalog.h"
#include "hx_error.h"
#include "hx_eventdb.h"
#include "hx_eventdb_writer.h"

#include <QCoreApplication>
#include <QSqlDatabase>

#include <cstdio>
#include <cstring>

namespace {

int usage()
{
    fprintf(stderr, "usage: kgrqt-evimport [--migrate] DATABASE [FILE ...]\n");
    return 2;
}

int importFile(const char* path, HXEvdbWriter& writer)
{
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
