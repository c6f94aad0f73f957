// Database names, the SQL script splitter and forward migrations.
#include "eventdb.h"

#include <gtest/gtest.h>

#include <QFile>

namespace {

TEST(EventDb, NamesSelectTheBackend)
{
    HXEvdbTarget t;
    ASSERT_EQ(hxevdb_parse_name("/tmp/x.db", &t), 0);
    EXPECT_EQ(t.kind, HXEVDB_SQLITE);
    EXPECT_EQ(t.path, "/tmp/x.db");
    ASSERT_EQ(hxevdb_parse_name("sqlite:rel/y.db", &t), 0);
    EXPECT_EQ(t.path, "rel/y.db");
    ASSERT_EQ(hxevdb_parse_name("postgresql://ana:pw@db.example:6543/quakes", &t), 0);
    EXPECT_EQ(t.kind, HXEVDB_POSTGRESQL);
    EXPECT_EQ(t.user, "ana");
    EXPECT_EQ(t.password, "pw");
    EXPECT_EQ(t.host, "db.example");
    EXPECT_EQ(t.port, 6543);
    EXPECT_EQ(t.database, "quakes");
    for (const char* bad :
         {"", "sqlite:", "postgresql://host", "postgresql:///db", "postgres://h/a/b"}) {
        EXPECT_EQ(hxevdb_parse_name(bad, &t), -1) << bad;
        EXPECT_FALSE(takeRegister().empty());
    }
}

TEST(EventDb, SplitterKeepsTriggerAndDollarBodiesWhole)
{
    QStringList s =
        hxevdb_split_sql("-- comment\nCREATE TABLE a (x);\n\n"
                         "CREATE TRIGGER t AFTER INSERT ON a BEGIN\n"
                         "    UPDATE b SET n = n + 1;\n    INSERT INTO c VALUES (1);\nEND;\n"
                         "CREATE FUNCTION f() RETURNS trigger AS $$\nBEGIN\n"
                         "    PERFORM 1;\n    RETURN NULL;\nEND;\n$$ LANGUAGE plpgsql;\n"
                         "SELECT 1");
    ASSERT_EQ(s.size(), 4);
    EXPECT_TRUE(s[0].startsWith("CREATE TABLE"));
    EXPECT_TRUE(s[1].endsWith("END;"));
    EXPECT_TRUE(s[1].contains("INSERT INTO c"));
    EXPECT_TRUE(s[2].endsWith("LANGUAGE plpgsql;"));
    EXPECT_EQ(s[3], "SELECT 1");
}

TEST(EventDb, MigratesForwardFromVersionOne)
{
    QTemporaryDir dir;
    std::string path = dir.filePath("v1.db").toStdString();
    QString conn;
    ASSERT_EQ(hxevdb_open(path.c_str(), HXEVDB_CREATE, 100, &conn), 0);
    {
        QSqlDatabase db = QSqlDatabase::database(conn);
        EXPECT_EQ(hxevdb_schema_version(db), 0);
        QFile f(":/hxutil/sql/sqlite/001_initial.sql");
        ASSERT_TRUE(f.open(QIODevice::ReadOnly));
        QSqlQuery q(db);
        for (const QString& s : hxevdb_split_sql(QString::fromUtf8(f.readAll())))
            ASSERT_TRUE(q.exec(s)) << s.toStdString();
        q.exec("INSERT INTO origin (time, lat, lon) VALUES (1, 2, 3)");
        EXPECT_EQ(hxevdb_schema_version(db), 1);
        EXPECT_EQ(hxevdb_migrate(db), 1);
        EXPECT_EQ(hxevdb_schema_version(db), HXEVDB_SCHEMA_VERSION);
        ASSERT_TRUE(q.exec("SELECT review FROM origin"));
        ASSERT_TRUE(q.next());
        EXPECT_EQ(q.value(0).toString(), "");                 // the old row got the new column
        EXPECT_EQ(hxevdb_migrate(db), HXEVDB_SCHEMA_VERSION); // nothing more to do
        q.exec("UPDATE hx_schema SET version = 99");
        EXPECT_EQ(hxevdb_migrate(db), -1);
        EXPECT_NE(takeRegister().find("schema version 99"), std::string::npos);
    }
    hxevdb_close(conn);
}

TEST(EventDb, ReaderDoesNotCreateMissingFiles)
{
    QTemporaryDir dir;
    QString conn;
    std::string path = dir.filePath("none.db").toStdString();
    EXPECT_EQ(hxevdb_open(path.c_str(), 0, 100, &conn), -1);
    EXPECT_NE(takeRegister().find("does not exist"), std::string::npos);
    EXPECT_FALSE(QFile::exists(QString::fromStdString(path)));
}

} // namespace
