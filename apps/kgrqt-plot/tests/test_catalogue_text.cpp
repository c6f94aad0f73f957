// The catalogue text of kgrqt-plot: events with and without tensors, the
// tensor's conversion from Global CMT order and units, and malformed lines
// refused with their line number.
#include "catalogue_text.h"
#include "register.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>
#include <vector>

namespace {

const char* const kTohoku =
    "2011-03-11T05:46:24.12Z 38.297 142.373 29 9.1 1.730 -0.281 -1.450 2.120 4.550 -0.657 29\n";

int parse(const std::string& text, std::vector<CatalogueEvent>* events)
{
    return plot_parse_catalogue(text.data(), text.size(), "cat", events);
}

// The register's message for a text that must be refused.
std::string refusal(const std::string& text)
{
    hx_clear_register(0);
    std::vector<CatalogueEvent> events;
    EXPECT_EQ(parse(text, &events), -1) << text;
    return takeRegister();
}

void expectRefused(const std::string& text, const std::string& wanted)
{
    const std::string message = refusal(text);
    EXPECT_NE(message.find(wanted), std::string::npos)
        << "text: " << text << "\nmessage: " << message;
}

} // namespace

TEST(CatalogueText, EventWithoutTensor)
{
    std::vector<CatalogueEvent> events;
    ASSERT_EQ(parse("2018-02-06T15:50:42.400Z 24.1737 121.653 10.64 6.4\n", &events), 0)
        << takeRegister();
    ASSERT_EQ(events.size(), 1u);
    const CatalogueEvent& e = events[0];
    EXPECT_DOUBLE_EQ(e.time, 1517932242.4);
    EXPECT_DOUBLE_EQ(e.lat, 24.1737);
    EXPECT_DOUBLE_EQ(e.lon, 121.653);
    EXPECT_DOUBLE_EQ(e.depth, 10.64);
    EXPECT_DOUBLE_EQ(e.magnitude, 6.4);
    EXPECT_FALSE(e.hasTensor);
}

TEST(CatalogueText, TensorInBeachBallOrderAndNewtonMetres)
{
    std::vector<CatalogueEvent> events;
    ASSERT_EQ(parse(kTohoku, &events), 0) << takeRegister();
    ASSERT_EQ(events.size(), 1u);
    const CatalogueEvent& e = events[0];
    ASSERT_TRUE(e.hasTensor);
    // (Mpp, Mtt, Mrr, -Mtp, -Mrp, Mrt), 1e29 dyne-cm = 1e22 N m.
    const double expected[6] = {-1.450e22, -0.281e22, 1.730e22, 0.657e22, -4.550e22, 2.120e22};
    for (int k = 0; k < 6; ++k)
        EXPECT_NEAR(e.m[k], expected[k], 1e-9 * 1e22) << k;
    EXPECT_DOUBLE_EQ(e.time, 1299822384.12);
}

TEST(CatalogueText, CommentsBlankLinesCarriageReturnsAndTimeForms)
{
    std::vector<CatalogueEvent> events;
    const std::string text = "# a comment\n\n   \t\n"
                             "2018-01-31T01:49:59 46.2 -122.2 -2.15 0.31\r\n"
                             "  2018-01-31T01:49:59.5Z\t-90 360 0 -0.8  # trailing words are not"
                             " comments\n";
    EXPECT_EQ(parse(text, &events), -1); // the trailing words make too many fields
    EXPECT_NE(takeRegister().find("cat line 5: expected 5 fields"), std::string::npos);
    ASSERT_EQ(events.size(), 1u); // the good line before is kept
    EXPECT_DOUBLE_EQ(events[0].depth, -2.15);
    events.clear();
    ASSERT_EQ(parse("2018-01-31T01:49:59.5Z\t-90 360 0 -0.8", &events), 0) << takeRegister();
    ASSERT_EQ(events.size(), 1u); // no newline at the end
    EXPECT_DOUBLE_EQ(events[0].time, 1517363399.5);
    EXPECT_DOUBLE_EQ(events[0].lat, -90);
}

TEST(CatalogueText, MalformedLinesNameTheirLine)
{
    const std::string good = "2018-01-31T01:49:59Z 46.2 -122.2 3 1.0\n";
    expectRefused(good + "2018-01-31T01:49:59Z 46.2 -122.2 3\n", "cat line 2: expected 5 fields");
    expectRefused(good + good + "2018-01-31T01:49:59Z 1 2 3 4 1 2 3 4 5 6\n",
                  "cat line 3: expected 5 fields, or 12 with a moment tensor, found 11");
    expectRefused("1517363399 46.2 -122.2 3 1.0\n", "cat line 1: bad time '1517363399'");
    expectRefused("2018-13-31T01:49:59Z 46.2 -122.2 3 1.0\n", "line 1: bad time");
    expectRefused("2018-01-31 46.2 -122.2 3 1.0\n", "bad time '2018-01-31'");
    expectRefused("2018-01-31T01:49:59ZZ 46.2 -122.2 3 1.0\n", "bad time");
    expectRefused("2018-01-31T01:49:59Z 91 -122.2 3 1.0\n", "bad latitude '91' (-90 to 90)");
    expectRefused("2018-01-31T01:49:59Z 46.2 -400 3 1.0\n", "bad longitude '-400'");
    expectRefused("2018-01-31T01:49:59Z 46.2 -122.2 3km 1.0\n", "bad depth '3km'");
    expectRefused("2018-01-31T01:49:59Z 46.2 -122.2 3 nan\n", "bad magnitude 'nan'");
    expectRefused("2018-01-31T01:49:59Z 46.2 -122.2 3 inf\n", "bad magnitude 'inf'");
    expectRefused("2018-01-31T01:49:59Z 46.2 -122.2 3 1.0 1 2 3 x 5 6 29\n",
                  "bad tensor component 'x'");
    expectRefused("2018-01-31T01:49:59Z 46.2 -122.2 3 1.0 1 2 3 4 5 6 29.5\n",
                  "bad tensor exponent '29.5'");
    expectRefused("2018-01-31T01:49:59Z 46.2 -122.2 3 1.0 1 2 3 4 5 6 -3\n",
                  "bad tensor exponent '-3'");
    expectRefused(std::string("2018-01-31T01:49:59Z 46.2\0 -122.2 3 1.0\n", 40),
                  "cat line 1: NUL byte");
}

TEST(CatalogueText, OddBytesAreRefusedNotFatal)
{
    std::vector<CatalogueEvent> events;
    const std::string cases[] = {std::string(100000, 'x'), std::string(5000, ' ') + "\n",
                                 "\xff\xfe\n", "-", "#"};
    for (const std::string& text : cases) {
        hx_clear_register(0);
        const int r = parse(text, &events);
        EXPECT_TRUE(r == 0 || r == -1);
    }
    EXPECT_EQ(plot_parse_catalogue(nullptr, 10, nullptr, &events), 0);
    hx_clear_register(0);
}

TEST(CatalogueText, FilesMissingEmptyAndShipped)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    std::vector<CatalogueEvent> events;
    const std::string missing = dir.filePath("none.txt").toStdString();
    EXPECT_EQ(plot_read_catalogue(missing.c_str(), &events), -1);
    EXPECT_NE(takeRegister().find("cannot open '" + missing + "'"), std::string::npos);
    const QString empty = dir.filePath("empty.txt");
    QFile file(empty);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("# nothing but a comment\n");
    file.close();
    EXPECT_EQ(plot_read_catalogue(empty.toLocal8Bit().constData(), &events), -1);
    EXPECT_NE(takeRegister().find("holds no events"), std::string::npos);
    // The shipped sample: the USGS week and three large earthquakes with
    // tensors.
    ASSERT_EQ(plot_read_catalogue(KGRQT_CATALOGUE, &events), 0) << takeRegister();
    int tensors = 0;
    for (const CatalogueEvent& e : events)
        tensors += e.hasTensor;
    EXPECT_EQ(events.size(), 1710u);
    EXPECT_EQ(tensors, 3);
    // The typed-in tensors agree with the magnitudes listed: their scalar
    // moments give Mw within 0.15 (Global CMT's 9.0 for Sumatra against
    // the USGS 9.1), so an exponent or a component typed wrong shows.
    for (const CatalogueEvent& e : events) {
        if (!e.hasTensor)
            continue;
        const double* m = e.m;
        const double m0 = std::sqrt((m[0] * m[0] + m[1] * m[1] + m[2] * m[2] +
                                     2 * (m[3] * m[3] + m[4] * m[4] + m[5] * m[5])) /
                                    2);
        EXPECT_NEAR(2.0 / 3.0 * (std::log10(m0) - 9.1), e.magnitude, 0.15) << e.time;
    }
}
