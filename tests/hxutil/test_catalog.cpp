// Catalogue readers (QuakeML 1.2, FDSN text) and storing a catalogue: the
// values read, errors with their lines, one transaction per catalogue and
// idempotent imports; the bundled sample catalogues.
#include "eventdb.h"
#include "hx_catalog.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace {

std::string quakeml(const std::string& events)
{
    return "<?xml version=\"1.0\"?>\n<q:quakeml xmlns:q=\"http://quakeml.org/xmlns/quakeml/1.2\" "
           "xmlns=\"http://quakeml.org/xmlns/bed/1.2\">\n<eventParameters publicID=\"p\">\n" +
           events + "</eventParameters>\n</q:quakeml>\n";
}

const char* const EVENT_WITH_ARRIVALS = R"(<event publicID="ev/1">
<preferredOriginID>or/2</preferredOriginID>
<description><text>Test region</text></description>
<pick publicID="pk/1"><time><value>2020-01-01T00:00:10Z</value></time>
 <waveformID networkCode="XX" stationCode="AAA" channelCode="HHZ"/><phaseHint>P</phaseHint>
 <evaluationMode>manual</evaluationMode></pick>
<pick publicID="pk/2"><time><value>2020-01-01T00:00:20Z</value></time>
 <waveformID networkCode="XX" stationCode="BBB" channelCode="HHN"/><phaseHint>S</phaseHint></pick>
<origin publicID="or/1"><time><value>2020-01-01T00:00:00Z</value></time>
 <latitude><value>10</value></latitude><longitude><value>20</value></longitude></origin>
<origin publicID="or/2"><time><value>2020-01-01T00:00:01.5Z</value></time>
 <latitude><value>10.5</value></latitude><longitude><value>-20.25</value></longitude>
 <depth><value>12500</value></depth><evaluationMode>manual</evaluationMode>
 <arrival publicID="ar/1"><pickID>pk/1</pickID><phase>P</phase><distance>0.5</distance>
  <timeResidual>-0.25</timeResidual><timeWeight>1</timeWeight></arrival>
 <arrival publicID="ar/2"><pickID>pk/2</pickID><phase>S</phase><distance>1.5</distance>
  <timeResidual>0.75</timeResidual><timeWeight>0</timeWeight></arrival>
</origin>
<magnitude publicID="mg/1"><mag><value>4.2</value></mag><type>ML</type><originID>or/2</originID></magnitude>
<magnitude publicID="mg/2"><mag><value>4.0</value></mag><type>mb</type><originID>or/2</originID></magnitude>
</event>
)";

class CatalogTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        hx_clear_register(0);
        db.reset(new TestDb("sqlite:" + dir.filePath("c.db").toStdString()));
        ASSERT_TRUE(db->ok()) << takeRegister();
    }
    void TearDown() override { hx_clear_register(0); }

    int readXml(const std::string& text, HXCatalog* cat)
    {
        return hxcat_read_quakeml(text.data(), text.size(), "t.xml", cat);
    }
    int readText(const std::string& text, HXCatalog* cat)
    {
        return hxcat_read_fdsntext(text.data(), text.size(), "t.txt", cat);
    }

    QTemporaryDir dir;
    std::unique_ptr<TestDb> db;
};

TEST_F(CatalogTest, QuakemlEventWithPicksArrivalsAndMagnitudes)
{
    HXCatalog cat;
    ASSERT_EQ(readXml(quakeml(EVENT_WITH_ARRIVALS), &cat), 0) << takeRegister();
    ASSERT_EQ(cat.events.size(), 1u);
    const HXCatEvent& e = cat.events[0];
    EXPECT_EQ(e.name, "Test region");
    ASSERT_EQ(e.origins.size(), 2u);
    EXPECT_DOUBLE_EQ(e.origins[1].time, 1577836801.5);
    EXPECT_DOUBLE_EQ(e.origins[1].lon, -20.25);
    EXPECT_DOUBLE_EQ(e.origins[1].depth, 12.5); // metres become km
    ASSERT_EQ(e.origins[1].arrivals.size(), 2u);
    EXPECT_EQ(e.picks[1].chan, "HHN");

    HXCatStoreStats st{};
    ASSERT_EQ(hxcat_store(cat, db->w(), &st), 0) << takeRegister();
    EXPECT_EQ(st.events, 1);
    EXPECT_EQ(st.origins, 2);
    EXPECT_EQ(st.detections, 2);
    EXPECT_EQ(st.associations, 2);
    EXPECT_EQ(st.magnitudes, 2);

    HXEventView view;
    ASSERT_EQ(view.configure("dbname", db->name().c_str(), (char*)0), 0) << takeRegister();
    Tbl* events = nullptr;
    ASSERT_EQ(view.refreshEvents(&events), 0);
    auto* ev = (HXEVEvent*)gettbl(events, 0);
    ASSERT_NE(ev->preferred, nullptr);
    EXPECT_DOUBLE_EQ(ev->preferred->lat, 10.5); // the preferred one, not the first
    EXPECT_DOUBLE_EQ(ev->preferred->ml, 4.2);
    EXPECT_DOUBLE_EQ(ev->preferred->mb, 4.0);
    EXPECT_EQ(ev->preferred->ndef, 1);
    EXPECT_STREQ(ev->preferred->review, "manual");
    ASSERT_EQ(view.refreshDetections(ev->preferred), 0);
    ASSERT_EQ(maxtbl(ev->preferred->detections), 2);
    auto* d1 = (HXEVDetectionStachan*)gettbl(ev->preferred->detections, 1);
    EXPECT_STREQ(d1->sta, "BBB");
    EXPECT_DOUBLE_EQ(d1->residual, 0.75);
    EXPECT_EQ(d1->defining, 0);

    // The same catalogue again adds nothing.
    ASSERT_EQ(hxcat_store(cat, db->w(), &st), 0);
    EXPECT_EQ(st.events + st.origins + st.detections + st.associations + st.magnitudes, 0);
    EXPECT_EQ(db->count("origin"), 2);
    EXPECT_EQ(db->count("assoc"), 2);
}

TEST_F(CatalogTest, MalformedQuakemlNamesTheLine)
{
    struct Case {
        std::string text;
        const char* message;
    } cases[] = {
        {quakeml("<event publicID=\"e\"><origin publicID=\"o\">\n<time><value>2020-01-01</value>"
                 "</time>\n<longitude><value>1</value></longitude></origin></event>\n"),
         "line 6: origin without latitude"},
        {quakeml("<event publicID=\"e\"><origin publicID=\"o\"><time><value>x</value></time>\n"
                 "</origin></event>\n"),
         "line 4: bad time 'x'"},
        {quakeml("<event publicID=\"e\"><origin publicID=\"o\"><time><value>2020-01-01</value>"
                 "</time>\n<latitude><value>north</value></latitude>"),
         "line 5: bad number 'north'"},
        {quakeml("<event publicID=\"e\"><origin publicID=\"o\"><time><value>2020-01-01</value>"
                 "</time>\n<latitude><value>91</value></latitude>"),
         "line 5: latitude '91' out of range"},
        {quakeml("<event publicID=\"e\"><pick publicID=\"p\"><time><value>2020-01-01</value>"
                 "</time></pick></event>\n"),
         "line 4: pick without waveformID"},
        {quakeml("<event><unclosed></event>\n"), "line 4: "},
        {"<html/>", "root element is 'html'"},
        {"<!DOCTYPE q [<!ENTITY a \"aaaa\">]><quakeml/>", "document type"},
        {"", "line 1: Premature end of document"},
        {"<?xml version=\"1.0\"?>\n<!-- nothing -->\n", "line 3: Premature end"},
    };
    for (const Case& c : cases) {
        HXCatalog cat;
        EXPECT_EQ(readXml(c.text, &cat), -1) << c.text;
        std::string err = takeRegister();
        EXPECT_NE(err.find("hxcat_read_quakeml: t.xml: "), std::string::npos) << err;
        EXPECT_NE(err.find(c.message), std::string::npos) << err;
    }
}

TEST_F(CatalogTest, FdsnTextLinesAndErrors)
{
    const char* header = "#EventID|Time|Latitude|Longitude|Depth/km|Author|Catalog|Contributor|"
                         "ContributorID|MagType|Magnitude|MagAuthor|EventLocationName\n";
    HXCatalog cat;
    std::string good = std::string(header) +
                       "a1|2018-02-01T00:00:01.5|10|20|5|us|us|us|a1|mb|4.5|us|Somewhere\r\n\n"
                       "a2|2018-02-02T00:00:00|-10|-20||ci|us|ci|a2|||ci|No magnitude\n";
    ASSERT_EQ(readText(good, &cat), 0) << takeRegister();
    ASSERT_EQ(cat.events.size(), 2u);
    EXPECT_EQ(cat.events[0].name, "Somewhere");
    EXPECT_DOUBLE_EQ(cat.events[0].origins[0].time, 1517443201.5);
    EXPECT_DOUBLE_EQ(cat.events[0].magnitudes[0].mag, 4.5);
    EXPECT_TRUE(cat.events[1].magnitudes.empty());
    EXPECT_DOUBLE_EQ(cat.events[1].origins[0].depth, 0);

    struct Case {
        const char* line;
        const char* message;
    } cases[] = {
        {"a|2018-02-01|10|20", "line 3: 4 fields, expected 13"},
        {"|2018-02-01|10|20|5|us|us|us|a1|mb|4.5|us|x", "line 3: no EventID"},
        {"a|yesterday|10|20|5|us|us|us|a1|mb|4.5|us|x", "line 3: bad time 'yesterday'"},
        {"a|2018-02-01|ten|20|5|us|us|us|a1|mb|4.5|us|x", "line 3: bad latitude 'ten'"},
        {"a|2018-02-01|10|400|5|us|us|us|a1|mb|4.5|us|x", "line 3: longitude out of range"},
        {"a|2018-02-01|10|20|5|us|us|us|a1|mb|big|us|x", "line 3: bad magnitude 'big'"},
        {"a|2018-02-01|10|20|nan|us|us|us|a1|mb|1|us|x", "line 3: bad depth 'nan'"},
    };
    for (const Case& c : cases) {
        std::string text = std::string(header) + "# comment\n" + c.line + "\n";
        EXPECT_EQ(readText(text, &cat), -1) << c.line;
        std::string err = takeRegister();
        EXPECT_NE(err.find(std::string("hxcat_read_fdsntext: t.txt: ") + c.message),
                  std::string::npos)
            << err;
    }
}

TEST_F(CatalogTest, FdsnErrorAtTheEndOfUnterminatedInput)
{
    // The input is not null-terminated: the message must not read past it.
    const std::string line = "|2018-02-01|10|20|5|us|us|us|a1|mb|4.5|us|x";
    std::vector<char> exact(line.begin(), line.end());
    HXCatalog cat;
    EXPECT_EQ(hxcat_read_fdsntext(exact.data(), exact.size(), "t.txt", &cat), -1);
    EXPECT_NE(takeRegister().find("line 1: no EventID in '" + line + "'"), std::string::npos);
}

TEST_F(CatalogTest, FailedStoreLeavesNothing)
{
    HXCatalog cat;
    ASSERT_EQ(readXml(quakeml(EVENT_WITH_ARRIVALS), &cat), 0);
    cat.events.push_back(cat.events[0]);
    HXCatEvent& bad = cat.events[1];
    bad.publicid = "ev/bad";
    for (HXCatOrigin& o : bad.origins)
        o.publicid += "/bad";
    bad.origins[1].arrivals[0].pickid = "pk/missing";
    EXPECT_EQ(hxcat_store(cat, db->w(), nullptr), -1);
    EXPECT_NE(takeRegister().find("unknown pick 'pk/missing'"), std::string::npos);
    EXPECT_EQ(db->count("event"), 0); // the good first event went too
    EXPECT_EQ(db->count("detection"), 0);
}

TEST_F(CatalogTest, BundledCataloguesImportOnceAndTensorsAreConsistent)
{
    HXCatalog usgs, mt;
    ASSERT_EQ(hxcat_read_file(KGRQT_SOURCE_DIR "/data/earthquakes.txt", &usgs), 0)
        << takeRegister();
    EXPECT_EQ(usgs.events.size(), 1707u);
    ASSERT_EQ(hxcat_read_file(KGRQT_SOURCE_DIR "/data/quakes-mt.xml", &mt), 0) << takeRegister();
    ASSERT_EQ(mt.events.size(), 2u);
    for (const HXCatEvent& e : mt.events) {
        ASSERT_EQ(e.tensors.size(), 1u);
        const double* m = e.tensors[0].m;
        // For a double couple the scalar moment is the tensor's norm / sqrt(2).
        double norm = sqrt((m[0] * m[0] + m[1] * m[1] + m[2] * m[2] +
                            2 * (m[3] * m[3] + m[4] * m[4] + m[5] * m[5])) /
                           2);
        EXPECT_NEAR(norm / e.tensors[0].scm, 1.0, 0.01) << e.publicid;
    }
    HXCatStoreStats st{};
    ASSERT_EQ(hxcat_store(usgs, db->w(), &st), 0) << takeRegister();
    EXPECT_EQ(st.events, 1707);
    ASSERT_EQ(hxcat_store(mt, db->w(), &st), 0);
    EXPECT_EQ(st.tensors, 2);
    ASSERT_EQ(hxcat_store(usgs, db->w(), &st), 0);
    EXPECT_EQ(st.events, 0);
    EXPECT_EQ(db->count("event"), 1709);
    EXPECT_EQ(db->count("mt"), 2);
}

} // namespace
