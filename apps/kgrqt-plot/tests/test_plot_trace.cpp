// Reading traces for kgrqt-plot: the bundled miniSEED sample, miniSEED files
// of every sample type written here, text files, and bad input.
#include "plot_trace.h"
#include "register.h"

#include "hxutil.h"

#include <libmseed.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

std::string readBytes(const char* path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

unsigned bigEndian16(const std::string& bytes, size_t at)
{
    return (static_cast<unsigned char>(bytes[at]) << 8) | static_cast<unsigned char>(bytes[at + 1]);
}

int32_t bigEndian32(const std::string& bytes, size_t at)
{
    uint32_t v = 0;
    for (int i = 0; i < 4; ++i)
        v = (v << 8) | static_cast<unsigned char>(bytes[at + i]);
    return static_cast<int32_t>(v);
}

// A scratch file removed with the fixture.
class PlotTraceTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        hx_clear_register(0);
        char name[] = "/tmp/kgrqt-plotXXXXXX";
        int fd = mkstemp(name);
        ASSERT_GE(fd, 0);
        close(fd);
        path = name;
    }
    void TearDown() override
    {
        unlink(path.c_str());
        hx_clear_register(0);
    }

    void write(const std::string& bytes)
    {
        std::ofstream out(path, std::ios::binary | std::ios::trunc);
        out << bytes;
    }

    // Appends one channel segment to the scratch file through libmseed.
    void writeSegment(const char* station, double start, double rate, char type, const void* data,
                      int n, int encoding)
    {
        MSTrace* t = mst_init(nullptr);
        strcpy(t->network, "XX");
        strcpy(t->station, station);
        strcpy(t->channel, "BHZ");
        t->starttime = static_cast<hptime_t>(std::llround(start * HPTMODULUS));
        t->samprate = rate;
        t->sampletype = type;
        t->numsamples = n;
        t->samplecnt = n;
        const size_t size = static_cast<size_t>(n) * ms_samplesize(type);
        t->datasamples = malloc(size);
        memcpy(t->datasamples, data, size);
        ASSERT_GT(mst_writemseed(t, path.c_str(), 0, 512, encoding, 1, 0), 0);
        mst_free(&t);
    }

    std::string path;
};

} // namespace

TEST_F(PlotTraceTest, SampleFileIsReadWhole)
{
    PlotTrace trace;
    ASSERT_EQ(plot_read_trace(KGRQT_SAMPLE, &trace), 0) << takeRegister();
    EXPECT_EQ(trace.name, "IU_COLA_00_LHZ");
    EXPECT_EQ(trace.segments, 1);
    EXPECT_EQ(trace.otherChannels, 0);
    // The record headers, read here byte by byte: 512-byte records whose
    // sample counts (bytes 30-31) add up to the trace's length.
    const std::string bytes = readBytes(KGRQT_SAMPLE);
    ASSERT_EQ(bytes.size() % 512, 0u);
    size_t total = 0;
    for (size_t at = 0; at < bytes.size(); at += 512)
        total += bigEndian16(bytes, at + 30);
    ASSERT_EQ(trace.x.size(), total);
    EXPECT_EQ(total, 4200u);
    // The first record starts 2010-02-27 06:50:00.0695 (header time, in
    // 0.0001 s) plus 39 microseconds (blockette 1001); GNU date gives
    // 1267253400 for 2010-02-27 06:50:00 UTC. One sample a second.
    EXPECT_NEAR(trace.x[0], 1267253400.069539, 1e-6);
    EXPECT_NEAR(trace.x[1] - trace.x[0], 1.0, 1e-6);
    EXPECT_NEAR(trace.x.back() - trace.x[0], 4199.0, 1e-6);
    // Steim frames open with the record's first and last samples.
    const size_t data = bigEndian16(bytes, 44);
    const unsigned first = bigEndian16(bytes, 30);
    EXPECT_EQ(trace.y[0], bigEndian32(bytes, data + 4));
    EXPECT_EQ(trace.y[first - 1], bigEndian32(bytes, data + 8));
    EXPECT_EQ(trace.y[0], -231946);
}

TEST_F(PlotTraceTest, EverySampleTypeBecomesDoubles)
{
    const int32_t ints[] = {-7, 0, 2147483647};
    const float floats[] = {1.5f, -2.25f, NAN};
    const double doubles[] = {1e-300, -3.125, INFINITY};
    const double start = 1e9;
    writeSegment("INT", start, 2.0, 'i', ints, 3, DE_INT32);
    PlotTrace trace;
    ASSERT_EQ(plot_read_mseed(path.c_str(), &trace), 0) << takeRegister();
    EXPECT_EQ(trace.y, (std::vector<double>{-7, 0, 2147483647}));
    EXPECT_EQ(trace.x, (std::vector<double>{start, start + 0.5, start + 1}));

    unlink(path.c_str());
    writeSegment("FLT", start, 1.0, 'f', floats, 3, DE_FLOAT32);
    ASSERT_EQ(plot_read_mseed(path.c_str(), &trace), 0) << takeRegister();
    // A sample that is not a number becomes a break.
    EXPECT_EQ(trace.y, (std::vector<double>{1.5, -2.25, 2e30}));
    EXPECT_EQ(trace.x, (std::vector<double>{start, start + 1, 2e30}));

    unlink(path.c_str());
    writeSegment("DBL", start, 1.0, 'd', doubles, 3, DE_FLOAT64);
    ASSERT_EQ(plot_read_mseed(path.c_str(), &trace), 0) << takeRegister();
    EXPECT_EQ(trace.y, (std::vector<double>{1e-300, -3.125, 2e30}));
    EXPECT_EQ(trace.name, "XX_DBL__BHZ");
}

TEST_F(PlotTraceTest, TextSamplesAreRefused)
{
    writeSegment("TXT", 1e9, 1.0, 'a', "hello", 5, DE_ASCII);
    PlotTrace trace;
    trace.name = "untouched";
    EXPECT_EQ(plot_read_mseed(path.c_str(), &trace), -1);
    EXPECT_EQ(takeRegister(),
              "plot_read_mseed: " + path + ": XX_TXT__BHZ holds no numeric samples (type 'a')\n");
    EXPECT_EQ(trace.name, "untouched");
}

TEST_F(PlotTraceTest, SegmentsComeInTimeOrderWithBreaks)
{
    const int32_t later[] = {5, 6};
    const int32_t earlier[] = {1, 2};
    const int32_t other[] = {9};
    writeSegment("STA", 2000, 1.0, 'i', later, 2, DE_INT32);
    writeSegment("OTH", 1000, 1.0, 'i', other, 1, DE_INT32);
    writeSegment("STA", 1000, 1.0, 'i', earlier, 2, DE_INT32);
    PlotTrace trace;
    ASSERT_EQ(plot_read_mseed(path.c_str(), &trace), 0) << takeRegister();
    EXPECT_EQ(trace.name, "XX_STA__BHZ");
    EXPECT_EQ(trace.segments, 2);
    EXPECT_EQ(trace.otherChannels, 1);
    EXPECT_EQ(trace.x, (std::vector<double>{1000, 1001, 2e30, 2000, 2001}));
    EXPECT_EQ(trace.y, (std::vector<double>{1, 2, 2e30, 5, 6}));
}

TEST_F(PlotTraceTest, TruncatedMiniseedKeepsItsWholeRecords)
{
    const std::string sample = readBytes(KGRQT_SAMPLE);
    // Cut inside the third record: the first two are read.
    write(sample.substr(0, 1200));
    PlotTrace trace;
    ASSERT_EQ(plot_read_trace(path.c_str(), &trace), 0) << takeRegister();
    EXPECT_EQ(trace.x.size(), bigEndian16(sample, 30) + bigEndian16(sample, 512 + 30));
    // Cut inside the first record: nothing to show.
    write(sample.substr(0, 300));
    ASSERT_TRUE(plot_is_mseed(path.c_str()));
    EXPECT_EQ(plot_read_trace(path.c_str(), &trace), -1);
    EXPECT_EQ(takeRegister(), "plot_read_mseed: " + path + ": no data records\n");
}

TEST_F(PlotTraceTest, DamagedMiniseedIsAnErrorNotACrash)
{
    const std::string sample = readBytes(KGRQT_SAMPLE);
    // A valid first header over garbage: libmseed's complaint is passed on.
    std::string garbage = sample.substr(0, 64);
    for (int i = 0; i < 4000; ++i)
        garbage += static_cast<char>((i * 7919) & 0xff);
    write(garbage);
    PlotTrace trace;
    EXPECT_EQ(plot_read_trace(path.c_str(), &trace), -1);
    const std::string messages = takeRegister();
    EXPECT_NE(messages.find("plot_read_mseed: " + path + ": libmseed: "), std::string::npos)
        << messages;
    EXPECT_NE(messages.find("plot_read_mseed: Cannot read '" + path + "'"), std::string::npos)
        << messages;
    EXPECT_TRUE(trace.x.empty());
    // Every header field byte flipped in turn: the reader returns, with a
    // trace or a reason.
    for (size_t at = 0; at < 64; ++at) {
        std::string damaged = sample.substr(0, 2048);
        damaged[at] = static_cast<char>(~damaged[at]);
        write(damaged);
        const int result = plot_read_trace(path.c_str(), &trace);
        EXPECT_TRUE(result == 0 || hx_register_count() > 0) << at;
        hx_clear_register(0);
    }
}

TEST_F(PlotTraceTest, DetectionLooksAtTheFirstHeader)
{
    EXPECT_TRUE(plot_is_mseed(KGRQT_SAMPLE));
    write("2010-02-27T06:50:00Z 1\n");
    EXPECT_FALSE(plot_is_mseed(path.c_str()));
    write(readBytes(KGRQT_SAMPLE).substr(0, 40)); // shorter than a fixed header
    EXPECT_FALSE(plot_is_mseed(path.c_str()));
    EXPECT_FALSE(plot_is_mseed("/nonexistent/file"));
    EXPECT_FALSE(plot_is_mseed(nullptr));
}

TEST_F(PlotTraceTest, TextFilesHoldTimesOrNumbersAndSegments)
{
    write("# a station's trace\n"
          "2010-02-27T06:50:00Z 1\n"
          "2010-02-27 06:50:01.5 -2\n"
          "\n"
          "1267253410 3\n");
    PlotTrace trace;
    ASSERT_EQ(plot_read_trace(path.c_str(), &trace), 0) << takeRegister();
    EXPECT_EQ(trace.name, path.substr(path.rfind('/') + 1));
    EXPECT_EQ(trace.segments, 2);
    EXPECT_EQ(trace.x, (std::vector<double>{1267253400, 1267253401.5, 2e30, 1267253410}));
    EXPECT_EQ(trace.y, (std::vector<double>{1, -2, 2e30, 3}));
    // The reader's own vector is gone again.
    EXPECT_EQ(hxvector_kind("kgrqt-plot-text"), 0);
}

TEST_F(PlotTraceTest, BadTextNamesTheLine)
{
    write("0 1\n1 2\nthree 3\n");
    PlotTrace trace;
    EXPECT_EQ(plot_read_trace(path.c_str(), &trace), -1);
    EXPECT_EQ(takeRegister(), "hx_str2epoch: Cannot parse time 'three'\n"
                              "hxvector_read_file: " +
                                  path + " line 3: Cannot read time from 'three'\n");
    write("# nothing but a comment\n\n");
    EXPECT_EQ(plot_read_trace(path.c_str(), &trace), -1);
    EXPECT_EQ(takeRegister(), "plot_read_text: '" + path + "' holds no points\n");
    write(std::string("\x01\x02\0\x03", 4));
    EXPECT_EQ(plot_read_trace(path.c_str(), &trace), -1);
    EXPECT_EQ(takeRegister(), "hxvector_read_file: '" + path + "' is not a text file\n");
    EXPECT_TRUE(trace.x.empty());
}

TEST_F(PlotTraceTest, MissingFilesAreClearErrors)
{
    PlotTrace trace;
    EXPECT_EQ(plot_read_trace("/nonexistent/trace.mseed", &trace), -1);
    EXPECT_EQ(takeRegister(), "hxvector_read_file: Cannot open '/nonexistent/trace.mseed': No "
                              "such file or directory\n");
    EXPECT_EQ(plot_read_mseed("/nonexistent/trace.mseed", &trace), -1);
    const std::string messages = takeRegister();
    EXPECT_NE(messages.find("plot_read_mseed: Cannot read '/nonexistent/trace.mseed'"),
              std::string::npos)
        << messages;
    EXPECT_NE(messages.find("No such file or directory"), std::string::npos) << messages;
}

TEST_F(PlotTraceTest, PublishingMakesATimeHistory)
{
    PlotTrace trace;
    trace.x = {10, 11, 2e30, 20};
    trace.y = {-1, 4, 2e30, 2};
    ASSERT_EQ(plot_publish(trace, "plot-test"), 0);
    EXPECT_EQ(hxvector_kind("plot-test"), HXVECTOR_HISTORY);
    double x0, x1, y0, y1;
    ASSERT_EQ(hxvector_extent("plot-test", &x0, &x1, &y0, &y1), 0);
    EXPECT_EQ(x0, 10);
    EXPECT_EQ(x1, 20);
    EXPECT_EQ(y0, -1);
    EXPECT_EQ(y1, 4);
    hxvector_free("plot-test");
}

TEST_F(PlotTraceTest, EveryChannelIsReadInTheOrderOfTheFile)
{
    const int32_t z[] = {1, 2, 3};
    const int32_t n[] = {4, 5};
    const int32_t e[] = {6};
    writeSegment("STZ", 1000, 1.0, 'i', z, 3, DE_INT32);
    writeSegment("STN", 1000, 1.0, 'i', n, 2, DE_INT32);
    writeSegment("STE", 1000, 1.0, 'i', e, 1, DE_INT32);
    writeSegment("STZ", 2000, 1.0, 'i', e, 1, DE_INT32);
    std::vector<PlotTrace> traces;
    ASSERT_EQ(plot_read_channels(path.c_str(), 12, &traces), 0) << takeRegister();
    ASSERT_EQ(traces.size(), 3u);
    EXPECT_EQ(traces[0].name, "XX_STZ__BHZ");
    EXPECT_EQ(traces[0].segments, 2);
    EXPECT_EQ(traces[0].y, (std::vector<double>{1, 2, 3, 2e30, 6}));
    EXPECT_EQ(traces[1].name, "XX_STN__BHZ");
    EXPECT_EQ(traces[1].y, (std::vector<double>{4, 5}));
    EXPECT_EQ(traces[2].name, "XX_STE__BHZ");
    EXPECT_EQ(traces[2].otherChannels, 0);
    // At most as many as asked; the others are counted.
    ASSERT_EQ(plot_read_channels(path.c_str(), 2, &traces), 0);
    ASSERT_EQ(traces.size(), 2u);
    EXPECT_EQ(traces[0].otherChannels, 1);
}

TEST_F(PlotTraceTest, ATextFileIsOneChannel)
{
    write("1000 1\n1001 2\n");
    std::vector<PlotTrace> traces;
    ASSERT_EQ(plot_read_channels(path.c_str(), 12, &traces), 0) << takeRegister();
    ASSERT_EQ(traces.size(), 1u);
    EXPECT_EQ(traces[0].y, (std::vector<double>{1, 2}));
}

TEST_F(PlotTraceTest, ABadChannelFailsTheWholeFile)
{
    const int32_t z[] = {1, 2};
    writeSegment("STZ", 1000, 1.0, 'i', z, 2, DE_INT32);
    writeSegment("TXT", 1000, 1.0, 'a', "ab", 2, DE_ASCII);
    std::vector<PlotTrace> traces(1);
    traces[0].name = "untouched";
    EXPECT_EQ(plot_read_channels(path.c_str(), 12, &traces), -1);
    EXPECT_NE(takeRegister().find("holds no numeric samples"), std::string::npos);
    ASSERT_EQ(traces.size(), 1u);
    EXPECT_EQ(traces[0].name, "untouched");
}
