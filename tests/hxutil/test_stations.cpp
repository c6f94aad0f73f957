// Station lists in FDSN station text: the values read, each kind of
// malformed line with its line number, telling station text from event
// text, several epochs of a station, and storing into the site table
// (SQLite and, when KGRQT_PG_URI names a server, PostgreSQL) so that a
// second import changes nothing; the bundled GSN list against its own text.
#include "eventdb.h"
#include "hx_catalog.h"
#include "hx_stations.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QStringList>

#include <cmath>
#include <map>
#include <vector>

namespace {

const char* const HEADER = "#Network|Station|Latitude|Longitude|Elevation|SiteName|StartTime|"
                           "EndTime\n";

int readText(const std::string& text, std::vector<HXStation>* stations)
{
    return hxsta_read_stationtext(text.data(), text.size(), "t.txt", stations);
}

HXStation station(const char* net, const char* sta, double lat, double lon, double start)
{
    HXStation s;
    s.net = net;
    s.sta = sta;
    s.lat = lat;
    s.lon = lon;
    s.start = start;
    s.end = HUGE_VAL;
    return s;
}

TEST(StationText, GoodLinesAndTheirUnits)
{
    hx_clear_register(0);
    // The header as web services write it (blanks around the bars), a
    // comment, a blank line, "\r\n" endings and empty optional fields.
    std::string text = "#Network | Station | Latitude | Longitude | Elevation | SiteName | "
                       "StartTime | EndTime\r\n"
                       "# a comment\n"
                       "IU|ANMO|34.9459|-106.4572|1850.0|Albuquerque, New Mexico, USA|"
                       "1989-08-29T00:00:00|1995-07-14T00:00:00\r\n"
                       "\n"
                       "II| KDAK |57.7828|-152.5835||Kodiak Island, Alaska, USA||\n"
                       "XX|TST1|-77.849|166.757|-1.5|Chã de Macela, São Miguel|1998-10-28|";
    std::vector<HXStation> s;
    ASSERT_EQ(readText(text, &s), 0) << takeRegister();
    ASSERT_EQ(s.size(), 3u);
    EXPECT_EQ(s[0].net, "IU");
    EXPECT_EQ(s[0].sta, "ANMO");
    EXPECT_DOUBLE_EQ(s[0].lat, 34.9459);
    EXPECT_DOUBLE_EQ(s[0].lon, -106.4572);
    EXPECT_DOUBLE_EQ(s[0].elev, 1.85); // metres become km
    EXPECT_EQ(s[0].name, "Albuquerque, New Mexico, USA");
    EXPECT_DOUBLE_EQ(s[0].start, 620352000);
    EXPECT_DOUBLE_EQ(s[0].end, 805680000);
    EXPECT_EQ(s[1].sta, "KDAK");                           // fields are trimmed
    EXPECT_EQ(s[1].elev, 0);                               // empty elevation
    EXPECT_TRUE(std::isinf(s[1].start) && s[1].start < 0); // unknown start
    EXPECT_TRUE(std::isinf(s[1].end) && s[1].end > 0);     // still open
    EXPECT_DOUBLE_EQ(s[2].elev, -0.0015);
    EXPECT_EQ(s[2].name, "Chã de Macela, São Miguel");
    EXPECT_DOUBLE_EQ(s[2].start, 909532800);

    // Only headers, comments and blank lines: no stations, no error.
    EXPECT_EQ(readText(std::string(HEADER) + "\n# none\n", &s), 0);
    EXPECT_TRUE(s.empty());
    EXPECT_EQ(readText("", &s), 0);
}

TEST(StationText, MalformedLinesNameTheLineAndRefuseTheFile)
{
    hx_clear_register(0);
    struct Case {
        const char* line;
        const char* message;
    } cases[] = {
        // too few fields, and too many (the channel level of the format)
        {"IU|ANMO|34.9|-106.4", "line 3: 4 fields, expected 8"},
        {"IU|ANMO|00|BHZ|34.9|-106.4|1850|100|0|-90|STS-1|1e9|0.05|M/S|20|2000-01-01|",
         "line 3: 17 fields, expected 8"},
        // empty line content where a value is required
        {"|||||||", "line 3: no Network in '|||||||'"},
        {"IU||34.9|-106.4|1850|x|2000-01-01|", "line 3: no Station in"},
        {"IU|ANMO||-106.4|1850|x|2000-01-01|", "line 3: bad latitude ''"},
        {"IU|ANMO|34.9||1850|x|2000-01-01|", "line 3: bad longitude ''"},
        // bad latitude and longitude
        {"IU|ANMO|north|-106.4|1850|x|2000-01-01|", "line 3: bad latitude 'north'"},
        {"IU|ANMO|91|-106.4|1850|x|2000-01-01|", "line 3: latitude out of range '91'"},
        {"IU|ANMO|nan|-106.4|1850|x|2000-01-01|", "line 3: bad latitude 'nan'"},
        {"IU|ANMO|34.9|400|1850|x|2000-01-01|", "line 3: longitude out of range '400'"},
        // bad numbers and times
        {"IU|ANMO|34.9|-106.4|1850 m|x|2000-01-01|", "line 3: bad elevation '1850 m'"},
        {"IU|ANMO|34.9|-106.4|inf|x|2000-01-01|", "line 3: bad elevation 'inf'"},
        {"IU|ANMO|34.9|-106.4|1850|x|yesterday|", "line 3: bad start time 'yesterday'"},
        {"IU|ANMO|34.9|-106.4|1850|x|2000-01-01|never", "line 3: bad end time 'never'"},
        {"IU|ANMO|34.9|-106.4|1850|x|2000-01-01|1999-01-01",
         "line 3: end time before start time in"},
    };
    for (const Case& c : cases) {
        // A good line before the bad one: one bad line refuses the whole
        // text, and what the caller held stays as it was.
        std::string text =
            std::string(HEADER) + "IU|COLA|64.87|-147.86|200|x|1996-06-14|\n" + c.line + "\n";
        std::vector<HXStation> s = {station("XX", "KEEP", 1, 2, 0)};
        EXPECT_EQ(readText(text, &s), -1) << c.line;
        std::string err = takeRegister();
        EXPECT_NE(err.find(std::string("hxsta_read_stationtext: t.txt: ") + c.message),
                  std::string::npos)
            << err;
        ASSERT_EQ(s.size(), 1u);
        EXPECT_EQ(s[0].sta, "KEEP");
    }
}

TEST(StationText, ErrorAtTheEndOfUnterminatedInput)
{
    // The input is not null-terminated: the message must not read past it.
    const std::string line = "IU||34.9|-106.4|1850|x|2000-01-01|";
    std::vector<char> exact(line.begin(), line.end());
    std::vector<HXStation> s;
    EXPECT_EQ(hxsta_read_stationtext(exact.data(), exact.size(), "t.txt", &s), -1);
    EXPECT_NE(takeRegister().find("line 1: no Station in '" + line + "'"), std::string::npos);
}

TEST(StationText, HeaderTellsStationTextFromEventText)
{
    auto is = [](const std::string& s) { return hxsta_is_stationtext(s.data(), s.size()); };
    EXPECT_TRUE(is(HEADER));
    EXPECT_TRUE(is(" \n#Network | Station | Latitude | Longitude\n"));
    EXPECT_TRUE(is("#network|station|location|channel|latitude\n")); // the channel level
    EXPECT_FALSE(is("#EventID|Time|Latitude|Longitude|Depth/km\n"));
    EXPECT_FALSE(is("IU|ANMO|34.9|-106.4|1850|x|2000-01-01|\n")); // no header
    EXPECT_FALSE(is("<?xml version=\"1.0\"?>"));
    EXPECT_FALSE(is("#Network"));
    EXPECT_FALSE(is(""));

    // A station list given as a catalogue is refused by name.
    QTemporaryDir dir;
    QString path = dir.filePath("stations.txt");
    QFile f(path);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly));
    f.write(HEADER);
    f.close();
    HXCatalog cat;
    EXPECT_EQ(hxcat_read_file(path.toLocal8Bit().constData(), &cat), -1);
    EXPECT_NE(takeRegister().find("is FDSN station text, not events"), std::string::npos);
}

TEST(StationText, LatestEpochOfEachStation)
{
    hx_clear_register(0);
    std::string text = std::string(HEADER) +
                       "IU|ANMO|34.9459|-106.4572|1850|x|1989-08-29|1995-07-14\n"
                       "IU|ANMO|34.94591|-106.4572|1820|x|2002-11-19T21:07:00|\n"
                       "IU|COLA|64.8736|-147.8616|200|x||\n"
                       "IU|ANMO|34.9502|-106.4602|1839|x|2000-10-19T16:00:00|2002-11-19\n"
                       "IU|COLA|64.874|-147.862|84|x|2012-09-14|\n"
                       "SR|ANMO|34.946201|-106.456703|1740|x|1974-08-28|1989-08-30\n";
    std::vector<HXStation> all;
    ASSERT_EQ(readText(text, &all), 0) << takeRegister();
    ASSERT_EQ(all.size(), 6u);
    std::vector<HXStation> latest = hxsta_latest(all);
    ASSERT_EQ(latest.size(), 2u); // in the order of first appearance
    EXPECT_EQ(latest[0].sta, "ANMO");
    EXPECT_EQ(latest[0].net, "IU"); // not the older SR epoch listed last
    EXPECT_DOUBLE_EQ(latest[0].lat, 34.94591);
    EXPECT_DOUBLE_EQ(latest[0].elev, 1.82);
    EXPECT_EQ(latest[1].sta, "COLA"); // a known start beats an unknown one
    EXPECT_DOUBLE_EQ(latest[1].elev, 0.084);

    // Of equal starts, the one listed last.
    std::vector<HXStation> tie = {station("XX", "A", 1, 1, 100), station("YY", "A", 2, 2, 100)};
    EXPECT_EQ(hxsta_latest(tie)[0].net, "YY");
}

class StationStoreTest : public ::testing::TestWithParam<const char*> {
protected:
    void SetUp() override
    {
        hx_clear_register(0);
        ASSERT_TRUE(dir.isValid());
        const std::string name = testDatabaseName(GetParam(), dir, "stations.db");
        if (name.empty())
            GTEST_SKIP() << "KGRQT_PG_URI is not set";
        db.reset(new TestDb(name));
        ASSERT_TRUE(db->ok()) << takeRegister();
    }
    void TearDown() override
    {
        db.reset();
        hx_clear_register(0);
    }

    // The site row of sta: net, lat, lon, elev ("" when missing).
    std::string site(const char* sta)
    {
        QSqlQuery q(db->db());
        q.prepare("SELECT net, lat, lon, elev FROM site WHERE sta = ?");
        q.bindValue(0, QString(sta));
        if (!q.exec() || !q.next())
            return "";
        return QStringList{q.value(0).toString(), QString::number(q.value(1).toDouble(), 'g', 10),
                           QString::number(q.value(2).toDouble(), 'g', 10),
                           QString::number(q.value(3).toDouble(), 'g', 10)}
            .join(' ')
            .toStdString();
    }

    QTemporaryDir dir;
    std::unique_ptr<TestDb> db;
};

TEST_P(StationStoreTest, SecondImportChangesNothingAndMovesAreUpdated)
{
    std::string text = std::string(HEADER) +
                       "IU|ANMO|34.9502|-106.4602|1839|x|2000-10-19T16:00:00|2002-11-19\n"
                       "IU|ANMO|34.94591|-106.4572|1820|x|2002-11-19T21:07:00|\n"
                       "II|KDAK|57.7828|-152.5835|152|x|1997-06-09|\n";
    std::vector<HXStation> s;
    ASSERT_EQ(readText(text, &s), 0) << takeRegister();
    HXStaStoreStats st{};
    ASSERT_EQ(hxsta_store(s, db->w(), &st), 0) << takeRegister();
    EXPECT_EQ(st.added, 2);
    EXPECT_EQ(st.changed, 0);
    EXPECT_EQ(db->count("site"), 2);
    EXPECT_EQ(site("ANMO"), "IU 34.94591 -106.4572 1.82"); // the latest epoch
    EXPECT_EQ(site("KDAK"), "II 57.7828 -152.5835 0.152");

    // Again: nothing added, nothing written.
    long changelog = db->count("hx_changelog");
    ASSERT_EQ(hxsta_store(s, db->w(), &st), 0) << takeRegister();
    EXPECT_EQ(st.added, 0);
    EXPECT_EQ(st.changed, 0);
    EXPECT_EQ(db->count("site"), 2);
    EXPECT_EQ(db->count("hx_changelog"), changelog);
    if (std::string(GetParam()) == "sqlite") {
        QSqlQuery q(db->db());
        ASSERT_TRUE(q.exec("SELECT inserts, changes FROM hx_counter WHERE tbl = 'site'"));
        ASSERT_TRUE(q.next());
        EXPECT_EQ(q.value(0).toLongLong(), 2); // the first import's inserts
        EXPECT_EQ(q.value(1).toLongLong(), 0); // and no updates at all
    }

    // A new epoch that moves a station updates its row.
    s.push_back(station("IU", "ANMO", 34.95, -106.46, 2e9));
    ASSERT_EQ(hxsta_store(s, db->w(), &st), 0) << takeRegister();
    EXPECT_EQ(st.added, 0);
    EXPECT_EQ(st.changed, 1);
    EXPECT_EQ(site("ANMO"), "IU 34.95 -106.46 0");
}

TEST_P(StationStoreTest, UpsertSiteReportsWhatItDid)
{
    EXPECT_EQ(db->w().upsertSite("AAA", "XX", 1.5, 2.5, 0.1), 1);
    EXPECT_EQ(db->w().upsertSite("AAA", "XX", 1.5, 2.5, 0.1), 0);
    EXPECT_EQ(db->w().upsertSite("AAA", "YY", 1.5, 2.5, 0.1), 2); // the network alone
    EXPECT_EQ(db->w().upsertSite("AAA", "YY", 1.5, 2.5, 0.2), 2); // the elevation alone
    EXPECT_EQ(site("AAA"), "YY 1.5 2.5 0.2");
    EXPECT_EQ(db->w().site("AAA", "ZZ", 9, 9, 9), 0); // site() still keeps a row as it is
    EXPECT_EQ(site("AAA"), "YY 1.5 2.5 0.2");
}

TEST_P(StationStoreTest, BundledGsnListMatchesItsText)
{
    const char* path = KGRQT_SOURCE_DIR "/data/stations-gsn.txt";
    std::vector<HXStation> s;
    ASSERT_EQ(hxsta_read_file(path, &s), 0) << takeRegister();
    ASSERT_EQ(s.size(), 122u);
    std::map<std::string, int> per_net;
    for (const HXStation& x : s)
        per_net[x.net]++;
    EXPECT_EQ(per_net["II"], 41);
    EXPECT_EQ(per_net["IU"], 81);
    EXPECT_EQ(per_net.size(), 2u);
    EXPECT_EQ(hxsta_latest(s).size(), 122u); // one epoch per station

    HXStaStoreStats st{};
    ASSERT_EQ(hxsta_store(s, db->w(), &st), 0) << takeRegister();
    EXPECT_EQ(st.added, 122);
    EXPECT_EQ(db->count("site"), 122);
    ASSERT_EQ(hxsta_store(s, db->w(), &st), 0);
    EXPECT_EQ(st.added + st.changed, 0);

    // A few rows against the lines of the file, read here without the reader.
    QFile f(path);
    ASSERT_TRUE(f.open(QIODevice::ReadOnly));
    std::map<std::string, QStringList> lines;
    for (const QByteArray& l : f.readAll().split('\n'))
        if (!l.startsWith('#') && !l.isEmpty()) {
            QStringList parts = QString::fromUtf8(l).split('|');
            lines[parts[1].toStdString()] = parts;
        }
    EXPECT_EQ(lines.size(), 122u);
    for (const char* sta : {"ANMO", "KDAK", "QSPA", "MSVF", "HKT", "TARA"}) {
        ASSERT_TRUE(lines.count(sta)) << sta;
        const QStringList& p = lines[sta];
        std::string want = QStringList{p[0], QString::number(p[2].toDouble(), 'g', 10),
                                       QString::number(p[3].toDouble(), 'g', 10),
                                       QString::number(p[4].toDouble() / 1000, 'g', 10)}
                               .join(' ')
                               .toStdString();
        EXPECT_EQ(site(sta), want) << sta;
    }
    EXPECT_EQ(site("ANMO"), "IU 34.946 -106.457 1.82");
    EXPECT_EQ(site("MSVF"), "II -17.745 178.053 0.8011");
    EXPECT_EQ(site("HKT"), "IU 29.962 -95.838 -0.413"); // a borehole below sea level
}

INSTANTIATE_TEST_SUITE_P(Backends, StationStoreTest, ::testing::Values("sqlite", "postgresql"),
                         [](const auto& info) { return std::string(info.param); });

} // namespace
