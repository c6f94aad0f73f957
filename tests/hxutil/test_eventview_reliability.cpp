// The event view when its SQLite database is missing, locked, corrupt,
// replaced or deleted while followed, and when its schema changes: a
// registered error, the last records kept, code 3 and recovery.
#include "eventdb.h"
#include "hx_eventview.h"

#include <gtest/gtest.h>

#include <QFile>

#include <cstdio>
#include <unistd.h>

namespace {

class EventViewReliability : public ::testing::Test {
protected:
    void SetUp() override
    {
        hx_clear_register(0);
        ASSERT_TRUE(dir.isValid());
        path = dir.filePath("events.db").toStdString();
    }
    void TearDown() override
    {
        view.reset();
        if (changes)
            freearr(changes, free);
        hx_clear_register(0);
    }

    // A database at file with n events, written and closed.
    void build(const std::string& file, int n, const char* journal = "WAL")
    {
        TestDb db(file);
        ASSERT_TRUE(db.ok()) << takeRegister();
        db.exec((std::string("PRAGMA journal_mode=") + journal).c_str());
        for (int i = 0; i < n; i++)
            db.addEvent(("e" + std::to_string(i)).c_str(), 100 + i, i, i);
    }

    void openView(int expect = 0)
    {
        view.reset(new HXEventView());
        view->configure("busy_timeout", "20", (char*)0);
        ASSERT_EQ(view->configure("dbname", path.c_str(), (char*)0), expect) << takeRegister();
    }

    // Expects every table to carry code 3.
    void expectAllReset(int n)
    {
        ASSERT_EQ(n, HXEV_NTABLES) << takeRegister();
        for (int i = 0; i < HXEV_NTABLES; i++)
            EXPECT_EQ(hxev_change_code(changes, hxev_tables[i]), HXEV_CHANGE_RESET)
                << hxev_tables[i];
    }

    // Polls until something is reported (the view retries a closed
    // database about once a second).
    int pollUntilReported()
    {
        int n = 0;
        for (int i = 0; i < 40 && (n = view->checkChanges(&changes)) == 0; i++)
            usleep(100000);
        return n;
    }

    QTemporaryDir dir;
    std::string path;
    std::unique_ptr<HXEventView> view;
    Arr* changes = nullptr;
    Tbl* events = nullptr;
};

TEST_F(EventViewReliability, MissingDatabaseIsReportedAndFollowedWhenItAppears)
{
    openView(-1);
    std::string err = takeRegister();
    EXPECT_NE(err.find("does not exist"), std::string::npos) << err;
    EXPECT_FALSE(view->isOpen());
    EXPECT_FALSE(QFile::exists(QString::fromStdString(path))); // a reader never creates it
    EXPECT_EQ(view->refreshEvents(&events), -1);
    EXPECT_NE(takeRegister().find("is not open"), std::string::npos);
    EXPECT_EQ(maxtbl(events), 0);
    EXPECT_EQ(view->checkChanges(&changes), 0);
    build(path, 2);
    expectAllReset(pollUntilReported());
    ASSERT_EQ(view->reset(), 0) << takeRegister();
    ASSERT_EQ(view->refreshEvents(&events), 0);
    EXPECT_EQ(maxtbl(events), 2);
}

TEST_F(EventViewReliability, FileThatIsNotADatabaseIsRefused)
{
    FILE* f = fopen(path.c_str(), "w");
    fputs("this is not a database, just text that is long enough to have a header\n", f);
    fclose(f);
    openView(-1);
    std::string err = takeRegister();
    EXPECT_NE(err.find("not a readable database"), std::string::npos) << err;
}

TEST_F(EventViewReliability, DatabaseWithoutOurSchemaIsRefused)
{
    {
        QString conn;
        ASSERT_EQ(hxevdb_open(path.c_str(), HXEVDB_CREATE, 100, &conn), 0);
        QSqlQuery(QSqlDatabase::database(conn)).exec("CREATE TABLE other (x)");
        hxevdb_close(conn);
    }
    openView(-1);
    EXPECT_NE(takeRegister().find("is not an event database"), std::string::npos);
}

TEST_F(EventViewReliability, WriterHoldingTheLockDelaysButDoesNotBreak)
{
    build(path, 3, "DELETE");
    openView();
    ASSERT_EQ(view->refreshEvents(&events), 0);
    ASSERT_EQ(maxtbl(events), 3);
    TestDb writer(path);
    // With a write-ahead log readers never wait; with a rollback journal a
    // writer's exclusive lock shuts them out until it commits.
    ASSERT_TRUE(writer.exec("PRAGMA journal_mode=DELETE"));
    ASSERT_TRUE(writer.exec("BEGIN EXCLUSIVE"));
    writer.addEvent("locked", 500, 1, 1);
    EXPECT_EQ(view->checkChanges(&changes), -1);
    EXPECT_NE(takeRegister().find("locked"), std::string::npos);
    EXPECT_EQ(view->refreshEvents(&events), -1);
    takeRegister();
    EXPECT_EQ(maxtbl(events), 3); // the last results
    ASSERT_TRUE(writer.exec("COMMIT"));
    int n = view->checkChanges(&changes);
    ASSERT_GT(n, 0) << takeRegister();
    EXPECT_EQ(hxev_change_code(changes, "origin"), HXEV_CHANGE_INSERTED);
    ASSERT_EQ(view->refreshEvents(&events), 0);
    EXPECT_EQ(maxtbl(events), 4);
}

TEST_F(EventViewReliability, ReplacedFileIsReportedAndResetReadsTheNewOne)
{
    build(path, 2);
    openView();
    ASSERT_EQ(view->refreshEvents(&events), 0);
    std::string other = dir.filePath("new.db").toStdString();
    build(other, 5);
    ASSERT_EQ(rename(other.c_str(), path.c_str()), 0);
    expectAllReset(view->checkChanges(&changes));
    EXPECT_NE(takeRegister().find("was replaced"), std::string::npos);
    ASSERT_EQ(view->reset(), 0) << takeRegister();
    ASSERT_EQ(view->refreshEvents(&events), 0);
    EXPECT_EQ(maxtbl(events), 5);
}

TEST_F(EventViewReliability, DeletedWhileFollowedKeepsResultsAndRecovers)
{
    build(path, 2);
    std::string copy = dir.filePath("copy.db").toStdString();
    openView();
    ASSERT_EQ(view->refreshEvents(&events), 0);
    ASSERT_TRUE(QFile::copy(QString::fromStdString(path), QString::fromStdString(copy)));
    ASSERT_EQ(unlink(path.c_str()), 0);
    expectAllReset(view->checkChanges(&changes));
    EXPECT_NE(takeRegister().find("was deleted"), std::string::npos);
    EXPECT_EQ(view->reset(), -1);
    EXPECT_NE(takeRegister().find("does not exist"), std::string::npos);
    EXPECT_EQ(view->refreshEvents(&events), -1);
    takeRegister();
    EXPECT_EQ(maxtbl(events), 2); // kept
    EXPECT_EQ(((HXEVEvent*)gettbl(events, 1))->preferred->time, 101);
    EXPECT_EQ(view->checkChanges(&changes), 0); // still gone: nothing new to say
    ASSERT_EQ(rename(copy.c_str(), path.c_str()), 0);
    expectAllReset(pollUntilReported());
    ASSERT_EQ(view->reset(), 0) << takeRegister();
    ASSERT_EQ(view->refreshEvents(&events), 0);
    EXPECT_EQ(maxtbl(events), 2);
}

TEST_F(EventViewReliability, CorruptedWhileFollowedIsReportedAndRecovers)
{
    build(path, 2, "DELETE");
    openView();
    ASSERT_EQ(view->refreshEvents(&events), 0);
    QFile file(QString::fromStdString(path));
    ASSERT_TRUE(file.open(QIODevice::ReadWrite));
    QByteArray good = file.readAll();
    file.seek(0);
    file.write(QByteArray(good.size(), '\x5a'));
    file.close();
    expectAllReset(view->checkChanges(&changes));
    EXPECT_NE(takeRegister().find("cannot be read"), std::string::npos);
    EXPECT_EQ(view->reset(), -1);
    EXPECT_NE(takeRegister().find("not a readable database"), std::string::npos);
    EXPECT_EQ(maxtbl(events), 2);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(good);
    file.close();
    expectAllReset(pollUntilReported());
    ASSERT_EQ(view->reset(), 0) << takeRegister();
    ASSERT_EQ(view->refreshEvents(&events), 0);
    EXPECT_EQ(maxtbl(events), 2);
}

TEST_F(EventViewReliability, SchemaChangeIsCode3)
{
    build(path, 1);
    openView();
    EXPECT_EQ(view->checkChanges(&changes), 0);
    {
        TestDb writer(path);
        ASSERT_TRUE(writer.exec("CREATE INDEX extra ON origin (depth)"));
    }
    expectAllReset(view->checkChanges(&changes));
    EXPECT_NE(takeRegister().find("changed its schema"), std::string::npos);
    ASSERT_EQ(view->reset(), 0);
    {
        TestDb writer(path);
        ASSERT_TRUE(writer.exec(
            ("UPDATE hx_schema SET version = " + std::to_string(HXEVDB_SCHEMA_VERSION + 1))
                .c_str()));
    }
    expectAllReset(view->checkChanges(&changes));
    takeRegister();
    EXPECT_EQ(view->reset(), -1);
    EXPECT_NE(takeRegister().find("schema version " + std::to_string(HXEVDB_SCHEMA_VERSION + 1)),
              std::string::npos);
}

TEST_F(EventViewReliability, OptionsComeFromAParameterObject)
{
    build(path, 1);
    Pf* pf = nullptr;
    std::string text = "busy_timeout 7\ndbname " + path + "\n";
    ASSERT_EQ(pfcompile(text.c_str(), &pf), 0);
    HXEventView v(pf);
    pffree(pf);
    EXPECT_TRUE(v.isOpen()) << takeRegister();
    EXPECT_EQ(v.eventview.busy_timeout, 7);
    char* name = v.printConfigValue("dbname");
    EXPECT_EQ(std::string(name), path);
    free(name);
}

} // namespace
