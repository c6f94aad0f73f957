#include "hx_eventdb.h"

#include "hx_error.h"

#include <QAtomicInt>
#include <QFile>
#include <QFileInfo>
#include <QSqlDatabase>
#include <QSqlDriver>
#include <QSqlError>
#include <QSqlQuery>
#include <QUrl>
#include <QVariant>

namespace {

QAtomicInt connection_serial;

QString newConnectionName()
{
    return QString("hxevdb-%1").arg(connection_serial.fetchAndAddOrdered(1));
}

int openSqlite(const HXEvdbTarget& t, int flags, int busy_ms, QSqlDatabase& db)
{
    QByteArray path = t.path.toLocal8Bit();
    if (!(flags & HXEVDB_CREATE) && !QFileInfo::exists(t.path)) {
        hx_register_error(0, "hxevdb_open: database '%s' does not exist\n", path.constData());
        return -1;
    }
    db.setDatabaseName(t.path);
    db.setConnectOptions(QString("QSQLITE_BUSY_TIMEOUT=%1").arg(busy_ms));
    if (!db.open()) {
        hx_register_error(0, "hxevdb_open: cannot open '%s': %s\n", path.constData(),
                          db.lastError().text().toLocal8Bit().constData());
        return -1;
    }
    // SQLite opens lazily: the first read tells whether this is a database.
    QSqlQuery q(db);
    if (!q.exec("SELECT count(*) FROM sqlite_master")) {
        hx_register_error(0, "hxevdb_open: '%s' is not a readable database: %s\n", path.constData(),
                          q.lastError().text().toLocal8Bit().constData());
        return -1;
    }
    q.finish();
    if (flags & HXEVDB_WRITER) {
        // Readers keep reading while a writer commits; a commit waits for
        // the disk only at checkpoints.
        q.exec("PRAGMA journal_mode=WAL");
        q.finish();
        q.exec("PRAGMA synchronous=NORMAL");
    }
    return 0;
}

int openPostgresql(const HXEvdbTarget& t, QSqlDatabase& db, const char* dbname)
{
    db.setHostName(t.host);
    db.setDatabaseName(t.database);
    db.setUserName(t.user);
    db.setPassword(t.password);
    if (t.port > 0)
        db.setPort(t.port);
    db.setConnectOptions("connect_timeout=2");
    if (!db.open()) {
        hx_register_error(0, "hxevdb_open: cannot connect to '%s': %s\n", dbname,
                          db.lastError().text().toLocal8Bit().constData());
        return -1;
    }
    QSqlQuery q(db);
    q.exec("SET client_min_messages = warning");
    return 0;
}

// Executes one migration script in a transaction.
int applyScript(QSqlDatabase& db, const QString& resource, int version)
{
    QFile file(resource);
    if (!file.open(QIODevice::ReadOnly)) {
        hx_register_error(0, "hxevdb_migrate: no script for version %d\n", version);
        return -1;
    }
    QStringList statements = hxevdb_split_sql(QString::fromUtf8(file.readAll()));
    if (!db.transaction()) {
        hx_register_error(0, "hxevdb_migrate: cannot begin a transaction: %s\n",
                          db.lastError().text().toLocal8Bit().constData());
        return -1;
    }
    QSqlQuery q(db);
    for (const QString& s : statements) {
        if (!q.exec(s)) {
            QByteArray head = s.left(60).toLocal8Bit();
            hx_register_error(0, "hxevdb_migrate: version %d: '%s': %s\n", version,
                              head.constData(), q.lastError().text().toLocal8Bit().constData());
            db.rollback();
            return -1;
        }
    }
    if (hxevdb_kind(db) == HXEVDB_POSTGRESQL)
        q.exec("SELECT pg_notify('hx_change', 'hx_schema')");
    if (!db.commit()) {
        hx_register_error(0, "hxevdb_migrate: commit of version %d failed: %s\n", version,
                          db.lastError().text().toLocal8Bit().constData());
        db.rollback();
        return -1;
    }
    return 0;
}

bool lineOpensBody(const QString& line)
{
    return line.trimmed().endsWith("BEGIN", Qt::CaseInsensitive);
}

} // namespace

int hxevdb_parse_name(const char* dbname, HXEvdbTarget* target)
{
    *target =
        HXEvdbTarget{HXEVDB_SQLITE, QString(), QString(), QString(), QString(), QString(), -1};
    if (!dbname || !*dbname) {
        hx_register_error(0, "hxevdb_parse_name: empty database name\n");
        return -1;
    }
    QString name = QString::fromLocal8Bit(dbname);
    if (name.startsWith("postgresql://") || name.startsWith("postgres://")) {
        QUrl url(name, QUrl::StrictMode);
        QString db = url.path().mid(1);
        if (!url.isValid() || url.host().isEmpty() || db.isEmpty() || db.contains('/')) {
            hx_register_error(0, "hxevdb_parse_name: malformed database URI '%s'\n", dbname);
            return -1;
        }
        target->kind = HXEVDB_POSTGRESQL;
        target->host = url.host();
        target->user = url.userName();
        target->password = url.password();
        target->database = db;
        target->port = url.port(-1);
        return 0;
    }
    if (name.startsWith("sqlite:"))
        name = name.mid(7);
    if (name.isEmpty()) {
        hx_register_error(0, "hxevdb_parse_name: no file in '%s'\n", dbname);
        return -1;
    }
    target->path = name;
    return 0;
}

int hxevdb_open(const char* dbname, int flags, int busy_ms, QString* connection)
{
    HXEvdbTarget t;
    if (hxevdb_parse_name(dbname, &t) < 0)
        return -1;
    const char* driver = t.kind == HXEVDB_SQLITE ? "QSQLITE" : "QPSQL";
    if (!QSqlDatabase::isDriverAvailable(driver)) {
        hx_register_error(0, "hxevdb_open: the Qt SQL driver %s is not installed\n", driver);
        return -1;
    }
    QString name = newConnectionName();
    int status;
    {
        QSqlDatabase db = QSqlDatabase::addDatabase(driver, name);
        status = t.kind == HXEVDB_SQLITE ? openSqlite(t, flags, busy_ms, db)
                                         : openPostgresql(t, db, dbname);
    }
    if (status < 0) {
        hxevdb_close(name);
        return -1;
    }
    *connection = name;
    return 0;
}

void hxevdb_close(const QString& connection)
{
    {
        QSqlDatabase db = QSqlDatabase::database(connection, false);
        if (db.isOpen())
            db.close();
    }
    QSqlDatabase::removeDatabase(connection);
}

int hxevdb_kind(const QSqlDatabase& db)
{
    return db.driverName() == "QPSQL" ? HXEVDB_POSTGRESQL : HXEVDB_SQLITE;
}

int hxevdb_schema_version(QSqlDatabase& db)
{
    QSqlQuery q(db);
    bool has_table;
    if (hxevdb_kind(db) == HXEVDB_SQLITE)
        has_table =
            q.exec("SELECT 1 FROM sqlite_master WHERE type = 'table' AND name = 'hx_schema'");
    else
        has_table = q.exec("SELECT 1 FROM pg_tables WHERE schemaname = current_schema() AND "
                           "tablename = 'hx_schema'");
    if (!has_table)
        return hxevdb_query_error("hxevdb_schema_version", "catalogue", q);
    if (!q.next())
        return 0;
    if (!q.exec("SELECT version FROM hx_schema"))
        return hxevdb_query_error("hxevdb_schema_version", "hx_schema", q);
    return q.next() ? q.value(0).toInt() : 0;
}

int hxevdb_migrate(QSqlDatabase& db)
{
    int start = hxevdb_schema_version(db);
    if (start < 0)
        return -1;
    if (start > HXEVDB_SCHEMA_VERSION) {
        hx_register_error(0,
                          "hxevdb_migrate: the database has schema version %d; this library "
                          "knows versions up to %d\n",
                          start, HXEVDB_SCHEMA_VERSION);
        return -1;
    }
    static const char* const scripts[] = {"001_initial.sql", "002_review.sql",
                                          "003_changelog_rows.sql"};
    static_assert(sizeof scripts / sizeof *scripts == HXEVDB_SCHEMA_VERSION,
                  "one script per schema version");
    QString dir =
        hxevdb_kind(db) == HXEVDB_SQLITE ? ":/hxutil/sql/sqlite/" : ":/hxutil/sql/postgresql/";
    for (int v = start + 1; v <= HXEVDB_SCHEMA_VERSION; v++)
        if (applyScript(db, dir + scripts[v - 1], v) < 0)
            return -1;
    return start;
}

QStringList hxevdb_split_sql(const QString& script)
{
    QStringList statements;
    QString current;
    bool in_body = false;   // inside BEGIN ... END; of a trigger
    bool in_dollar = false; // inside $$ ... $$
    for (const QString& line : script.split('\n')) {
        QString trimmed = line.trimmed();
        if (current.isEmpty() && (trimmed.isEmpty() || trimmed.startsWith("--")))
            continue;
        current += line + '\n';
        if (line.count("$$") % 2)
            in_dollar = !in_dollar;
        if (!in_dollar && lineOpensBody(line))
            in_body = true;
        if (in_dollar || !trimmed.endsWith(';'))
            continue;
        if (in_body && trimmed.compare("END;", Qt::CaseInsensitive) != 0)
            continue;
        in_body = false;
        statements << current.trimmed();
        current.clear();
    }
    if (!current.trimmed().isEmpty())
        statements << current.trimmed();
    return statements;
}

int hxevdb_query_error(const char* func, const char* what, const QSqlQuery& query)
{
    hx_register_error(0, "%s: %s: %s\n", func, what,
                      query.lastError().text().toLocal8Bit().constData());
    return -1;
}
