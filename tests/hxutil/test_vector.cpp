// Named point vectors: the registry, handles, the three kinds and the text
// reader.
#include "hx_error.h"
#include "hx_vector.h"
#include "register.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

class VectorTest : public ::testing::Test {
protected:
    void SetUp() override { hx_clear_register(0); }
    void TearDown() override
    {
        for (const char* name : {"v", "w", "h", "t"})
            if (hxvector_kind(name))
                hxvector_free(name);
        hx_clear_register(0);
    }

    // Reads text into name, expecting success; returns the set count.
    int read(const char* name, int kind, const std::string& text)
    {
        int n = hxvector_read_text(name, kind, text.c_str(), "t.txt");
        EXPECT_GE(n, 0) << takeRegister();
        return n;
    }

    // Reads text expecting failure; returns the registered messages.
    std::string readError(const std::string& text, int kind = HXVECTOR_PLAIN)
    {
        EXPECT_EQ(hxvector_read_text("t", kind, text.c_str(), "t.txt"), -1);
        return takeRegister();
    }

    // The points of a plain handle, expecting success.
    std::vector<double> points(const char* handle, bool wantX = true)
    {
        int n = -1, index = -1;
        double *x = nullptr, *y = nullptr;
        EXPECT_EQ(hxvector_get_points(handle, &n, &index, &x, &y, 0), 0) << takeRegister();
        std::vector<double> out;
        for (int i = 0; i < n; ++i)
            out.push_back(wantX ? x[i] : y[i]);
        free(x);
        free(y);
        return out;
    }
};

void makePlain(const char* name, std::initializer_list<std::vector<double>> sets)
{
    ASSERT_EQ(hxvector_create(name, HXVECTOR_PLAIN), 0);
    for (const auto& set : sets) {
        std::vector<double> y(set.size());
        for (size_t i = 0; i < set.size(); ++i)
            y[i] = -set[i];
        hxvector_add_points(name, static_cast<int>(set.size()), set.data(), y.data(), nullptr);
    }
}

} // namespace

TEST_F(VectorTest, PointsAreCopiedOutWithTheSetIndex)
{
    makePlain("v", {{1, 2, 3}, {10, 20}});
    int n = 0, index = -1;
    double *x = nullptr, *y = nullptr;
    ASSERT_EQ(hxvector_get_points("v:1", &n, &index, &x, &y, 0), 0);
    EXPECT_EQ(n, 2);
    EXPECT_EQ(index, 1);
    EXPECT_EQ(x[0], 10);
    EXPECT_EQ(x[1], 20);
    EXPECT_EQ(y[1], -20);
    x[0] = 99; // the caller's copy, not the vector's
    free(x);
    free(y);
    EXPECT_EQ(points("v:1"), (std::vector<double>{10, 20}));
    EXPECT_EQ(points("v"), (std::vector<double>{1, 2, 3}));
    EXPECT_EQ(points("v:0"), (std::vector<double>{1, 2, 3}));
    EXPECT_EQ(points("v:01", false), (std::vector<double>{-10, -20}));
}

TEST_F(VectorTest, BadHandlesAreClearErrors)
{
    makePlain("v", {{1}});
    int n = 0, index = 0;
    double *x = nullptr, *y = nullptr;
    for (const char* bad : {"", ":1", "v:", "v:x", "v:-1", "v:1x", "v: 1", "v:99999999999"}) {
        EXPECT_EQ(hxvector_get_points(bad, &n, &index, &x, &y, 0), -1) << bad;
        EXPECT_EQ(takeRegister(),
                  std::string("hxvector_get_points: Bad vector handle '") + bad + "'\n");
        EXPECT_EQ(hxvector_get_vector(bad), 0) << bad;
        EXPECT_EQ(hxvector_kind(bad), 0) << bad;
    }
    EXPECT_EQ(hxvector_get_points(nullptr, &n, &index, &x, &y, 0), -1);
    EXPECT_EQ(takeRegister(), "hxvector_get_points: Bad vector handle '(null)'\n");
    EXPECT_EQ(x, nullptr);
}

TEST_F(VectorTest, UnknownNamesAndMissingSetsAreClearErrors)
{
    makePlain("v", {{1}, {2}});
    int n = 0, index = 0;
    double *x = nullptr, *y = nullptr;
    EXPECT_EQ(hxvector_get_points("nosuch:1", &n, &index, &x, &y, 0), -1);
    EXPECT_EQ(takeRegister(), "hxvector_get_points: Cannot find vector 'nosuch'\n");
    EXPECT_EQ(hxvector_get_points("v:2", &n, &index, &x, &y, 0), -1);
    EXPECT_EQ(takeRegister(), "hxvector_get_points: No set 2 in vector 'v'\n");
    EXPECT_NE(hxvector_get_vector("v:1"), 0);
    EXPECT_EQ(hxvector_get_vector("v:2"), 0);
    EXPECT_EQ(hxvector_get_vector("nosuch"), 0);
    // The queries register nothing.
    EXPECT_EQ(hx_register_count(), 0);
}

TEST_F(VectorTest, KindsAreKeptApart)
{
    makePlain("v", {{1}});
    ASSERT_EQ(hxvector_read_text("w", HXVECTOR_SECOND, "1 2\n", nullptr), 1);
    ASSERT_EQ(hxvector_read_text("h", HXVECTOR_HISTORY, "1 2\n", nullptr), 1);
    EXPECT_EQ(hxvector_kind("v"), HXVECTOR_PLAIN);
    EXPECT_EQ(hxvector_kind("w:0"), HXVECTOR_SECOND);
    EXPECT_EQ(hxvector_kind("h"), HXVECTOR_HISTORY);
    EXPECT_NE(hxvector_get_vector("v"), 0);
    EXPECT_EQ(hxvector_get_vector("w"), 0);
    EXPECT_EQ(hxvector_get_vector("h"), 0);
    EXPECT_EQ(hxvector2_get_vector("v"), 0);
    EXPECT_NE(hxvector2_get_vector("w"), 0);
    EXPECT_NE(hxvector2_get_vector("w:5"), 0); // the name is what counts
    int n = 0, index = 0;
    double *x = nullptr, *y = nullptr;
    EXPECT_EQ(hxvector_get_points("w", &n, &index, &x, &y, 0), -1);
    EXPECT_EQ(takeRegister(), "hxvector_get_points: Vector 'w' is of another kind\n");
    EXPECT_EQ(hxhistory_get_points("v", &n, &x, &y), -1);
    EXPECT_EQ(takeRegister(), "hxhistory_get_points: Vector 'v' is of another kind\n");
    ASSERT_EQ(hxhistory_get_points("h", &n, &x, &y), 0);
    EXPECT_EQ(n, 1);
    EXPECT_EQ(y[0], 2);
    free(x);
    free(y);
}

TEST_F(VectorTest, SecondGenerationFillsAndGrowsTheCallersArrays)
{
    read("w", HXVECTOR_SECOND, "1 10\n2 20\n3 30\n\n4 40\n");
    int size = 1, ysize = 8, n = -1, spare = 7;
    double* x = static_cast<double*>(malloc(sizeof(double)));
    double* y = static_cast<double*>(malloc(8 * sizeof(double)));
    double* yBefore = y;
    ASSERT_EQ(hxvector2_get_points("w", 0, &n, &spare, &x, &size, &y, &ysize, 0), 0);
    EXPECT_EQ(n, 3);
    EXPECT_EQ(spare, 0);
    EXPECT_GE(size, 3);
    EXPECT_EQ(ysize, 8); // large enough already: kept
    EXPECT_EQ(y, yBefore);
    EXPECT_EQ(x[2], 3);
    EXPECT_EQ(y[2], 30);
    ASSERT_EQ(hxvector2_get_points("w", 1, &n, &spare, &x, &size, &y, &ysize, 0), 0);
    EXPECT_EQ(n, 1);
    EXPECT_EQ(x[0], 4);
    EXPECT_EQ(hxvector2_get_points("w", 2, &n, &spare, &x, &size, &y, &ysize, 0), -1);
    EXPECT_EQ(takeRegister(), "hxvector2_get_points: No set 2 in vector 'w'\n");
    EXPECT_EQ(hxvector2_get_points("w", -1, &n, &spare, &x, &size, &y, &ysize, 0), -1);
    EXPECT_EQ(takeRegister(), "hxvector2_get_points: Bad set index -1 for 'w'\n");
    EXPECT_EQ(n, 1); // failures leave the outputs alone
    free(x);
    free(y);
    // Null arrays with zero capacity are allocated.
    x = y = nullptr;
    size = ysize = 0;
    ASSERT_EQ(hxvector2_get_points("w", 0, &n, nullptr, &x, &size, &y, &ysize, 0), 0);
    ASSERT_NE(x, nullptr);
    EXPECT_EQ(y[1], 20);
    free(x);
    free(y);
}

TEST_F(VectorTest, TextHoldsSetsCommentsAndLabels)
{
    const char* text = "# header comment\n"
                       "1 2 first point\n"
                       "3 4   # trailing comment\n"
                       "\n"
                       "\n"
                       "  5\t6\t  label with  blanks  \n"
                       "# a comment line does not end a set\n"
                       "7 8\r\n"
                       "\r\n"
                       "9 1e3";
    ASSERT_EQ(read("v", HXVECTOR_PLAIN, text), 3);
    EXPECT_EQ(points("v:0"), (std::vector<double>{1, 3}));
    EXPECT_EQ(points("v:1"), (std::vector<double>{5, 7}));
    EXPECT_EQ(points("v:1", false), (std::vector<double>{6, 8}));
    EXPECT_EQ(points("v:2", false), (std::vector<double>{1000}));
    EXPECT_STREQ(hxvector_get_label("v", 0), "first point");
    EXPECT_EQ(hxvector_get_label("v", 1), nullptr);
    EXPECT_STREQ(hxvector_get_label("v:1", 0), "label with  blanks");
    EXPECT_EQ(hxvector_get_label("v:1", 1), nullptr);
    EXPECT_EQ(hxvector_get_label("v:1", 2), nullptr);
    EXPECT_EQ(hxvector_get_label("v:1", -1), nullptr);
    EXPECT_EQ(hxvector_get_label("v:2", 0), nullptr);
    EXPECT_EQ(hxvector_get_label("v:3", 0), nullptr);
}

TEST_F(VectorTest, EmptyTextMakesAVectorWithoutSets)
{
    ASSERT_EQ(read("v", HXVECTOR_PLAIN, "\n# only a comment\n\n"), 0);
    EXPECT_EQ(hxvector_kind("v"), HXVECTOR_PLAIN);
    EXPECT_EQ(hxvector_get_vector("v"), 0); // set 0 does not exist
}

TEST_F(VectorTest, HistoryTimesTakeEveryFormStr2epochReads)
{
    const char* text = "2026-11-21T00:00:00Z 1\n"
                       "2026-11-21 00:00:01.5 2 with a label\n"
                       "11/21/2026 00:00:03 3\n"
                       "2026-325 00:00:04 4\n"
                       "1795219205 5\n";
    ASSERT_EQ(read("h", HXVECTOR_HISTORY, text), 1);
    int n = 0;
    double *x = nullptr, *y = nullptr;
    ASSERT_EQ(hxhistory_get_points("h", &n, &x, &y), 0);
    ASSERT_EQ(n, 5);
    // 2026-11-21 is day 20778 after 1970-01-01 (GNU date -d 2026-11-21 +%s).
    const double day = 20778 * 86400.0;
    EXPECT_EQ(x[0], day);
    EXPECT_EQ(x[1], day + 1.5);
    EXPECT_EQ(x[2], day + 3);
    EXPECT_EQ(x[3], day + 4);
    EXPECT_EQ(x[4], day + 5);
    EXPECT_EQ(y[4], 5);
    free(x);
    free(y);
    EXPECT_STREQ(hxvector_get_label("h", 1), "with a label");
    // A plain vector does not read times.
    EXPECT_EQ(readError("2026-11-21T00:00:00Z 1\n"),
              "hxvector_read_text: t.txt line 1: Cannot read x from '2026-11-21T00:00:00Z'\n");
}

TEST_F(VectorTest, MalformedLinesNameTheirLineNumber)
{
    EXPECT_EQ(readError("1 2\n\n# c\n3 abc\n"),
              "hxvector_read_text: t.txt line 4: Cannot read y from 'abc'\n");
    EXPECT_EQ(readError("1 2\n3\n"), "hxvector_read_text: t.txt line 2: Missing y in '3'\n");
    EXPECT_EQ(readError("x1 2\n"), "hxvector_read_text: t.txt line 1: Cannot read x from 'x1'\n");
    EXPECT_EQ(readError("1,5 2\n"), "hxvector_read_text: t.txt line 1: Cannot read x from '1,5'\n");
    EXPECT_EQ(readError("nan 2\n"), "hxvector_read_text: t.txt line 1: Cannot read x from 'nan'\n");
    EXPECT_EQ(readError("1 inf\n"), "hxvector_read_text: t.txt line 1: Cannot read y from 'inf'\n");
    EXPECT_EQ(readError("1 1e999\n"),
              "hxvector_read_text: t.txt line 1: Cannot read y from '1e999'\n");
    EXPECT_EQ(readError("1 2 3\nbad time 2\n", HXVECTOR_HISTORY),
              "hx_str2epoch: Cannot parse time 'bad'\n"
              "hxvector_read_text: t.txt line 2: Cannot read time from 'bad'\n");
    EXPECT_EQ(readError("2026-11-21 25:00:00 1\n", HXVECTOR_HISTORY),
              "hx_str2epoch: Cannot parse time '2026-11-21 25:00:00'\n"
              "hxvector_read_text: t.txt line 1: Cannot read time from '2026-11-21 25:00:00'\n");
}

TEST_F(VectorTest, FailedReadLeavesThePreviousVector)
{
    read("t", HXVECTOR_PLAIN, "1 2\n");
    readError("5 6\n7 x\n", HXVECTOR_SECOND);
    EXPECT_EQ(hxvector_kind("t"), HXVECTOR_PLAIN);
    EXPECT_EQ(points("t"), (std::vector<double>{1}));
}

TEST_F(VectorTest, ReaderArgumentsAreChecked)
{
    EXPECT_EQ(hxvector_read_text("a:b", HXVECTOR_PLAIN, "1 2", nullptr), -1);
    EXPECT_EQ(takeRegister(), "hxvector_read_text: Bad vector name 'a:b'\n");
    EXPECT_EQ(hxvector_read_text("", HXVECTOR_PLAIN, "1 2", nullptr), -1);
    EXPECT_EQ(takeRegister(), "hxvector_read_text: Bad vector name ''\n");
    EXPECT_EQ(hxvector_read_text("v", 4, "1 2", nullptr), -1);
    EXPECT_EQ(takeRegister(), "hxvector_read_text: Bad vector kind '4'\n");
    EXPECT_EQ(hxvector_read_text("v", HXVECTOR_PLAIN, nullptr, nullptr), -1);
    EXPECT_EQ(takeRegister(), "hxvector_read_text: No text for vector 'v'\n");
    EXPECT_EQ(hxvector_read_text("v", HXVECTOR_PLAIN, "1\n", nullptr), -1);
    EXPECT_EQ(takeRegister(), "hxvector_read_text: text line 1: Missing y in '1'\n");
    EXPECT_EQ(hxvector_create(nullptr, HXVECTOR_PLAIN), -1);
    EXPECT_EQ(takeRegister(), "hxvector_create: Bad vector name '(null)'\n");
    EXPECT_EQ(hxvector_create("v", 0), -1);
    EXPECT_EQ(takeRegister(), "hxvector_create: Bad vector kind '0'\n");
}

TEST_F(VectorTest, FilesAreReadWithTheirPathInMessages)
{
    char path[] = "/tmp/hxvectorXXXXXX";
    int fd = mkstemp(path);
    ASSERT_GE(fd, 0);
    FILE* f = fdopen(fd, "w");
    fputs("0 1\n1 2\n\n2 oops\n", f);
    fclose(f);
    EXPECT_EQ(hxvector_read_file("v", HXVECTOR_PLAIN, path), -1);
    EXPECT_EQ(takeRegister(),
              std::string("hxvector_read_file: ") + path + " line 4: Cannot read y from 'oops'\n");
    f = fopen(path, "w");
    fputs("0 1\n1 2\n\n2 3\n", f);
    fclose(f);
    EXPECT_EQ(hxvector_read_file("v", HXVECTOR_PLAIN, path), 2);
    EXPECT_EQ(points("v:1"), (std::vector<double>{2}));
    f = fopen(path, "w");
    fwrite("0 1\n\0\n", 1, 6, f);
    fclose(f);
    EXPECT_EQ(hxvector_read_file("v", HXVECTOR_PLAIN, path), -1);
    EXPECT_EQ(takeRegister(),
              std::string("hxvector_read_file: '") + path + "' is not a text file\n");
    unlink(path);
    EXPECT_EQ(hxvector_read_file("v", HXVECTOR_PLAIN, path), -1);
    EXPECT_EQ(takeRegister(), std::string("hxvector_read_file: Cannot open '") + path +
                                  "': No such file or directory\n");
    EXPECT_EQ(hxvector_read_file("v", HXVECTOR_PLAIN, nullptr), -1);
    EXPECT_EQ(takeRegister(), "hxvector_read_file: No file for vector 'v'\n");
}

TEST_F(VectorTest, ExtentSkipsBreaksAndRefusesEmptySets)
{
    ASSERT_EQ(hxvector_create("v", HXVECTOR_PLAIN), 0);
    const double x[] = {3, 2e30, -1, 5, NAN};
    const double y[] = {7, 0, 2e30, -4, 100};
    ASSERT_EQ(hxvector_add_points("v", 5, x, y, nullptr), 0);
    ASSERT_EQ(hxvector_add_points("v", 0, nullptr, nullptr, nullptr), 1);
    double x0 = 0, x1 = 0, y0 = 0, y1 = 0;
    ASSERT_EQ(hxvector_extent("v", &x0, &x1, &y0, &y1), 0);
    EXPECT_EQ(x0, 3);
    EXPECT_EQ(x1, 5);
    EXPECT_EQ(y0, -4);
    EXPECT_EQ(y1, 7);
    EXPECT_EQ(hxvector_extent("v:1", &x0, &x1, &y0, &y1), -1);
    EXPECT_EQ(takeRegister(), "hxvector_extent: No points in 'v:1'\n");
    EXPECT_EQ(hxvector_extent("v:2", &x0, &x1, &y0, &y1), -1);
    EXPECT_EQ(takeRegister(), "hxvector_extent: No set 2 in vector 'v'\n");
    // An empty set reads as no points and no arrays.
    int n = -1, index = 0;
    double *px = &x0, *py = &y0; // overwritten with null
    ASSERT_EQ(hxvector_get_points("v:1", &n, &index, &px, &py, 0), 0);
    EXPECT_EQ(n, 0);
    EXPECT_EQ(px, nullptr);
    EXPECT_EQ(py, nullptr);
}

TEST_F(VectorTest, AddPointsChecksItsArguments)
{
    const double x[] = {1};
    EXPECT_EQ(hxvector_add_points("nosuch", 1, x, x, nullptr), -1);
    EXPECT_EQ(takeRegister(), "hxvector_add_points: Cannot find vector 'nosuch'\n");
    ASSERT_EQ(hxvector_create("v", HXVECTOR_PLAIN), 0);
    EXPECT_EQ(hxvector_add_points("v", -1, x, x, nullptr), -1);
    EXPECT_EQ(takeRegister(), "hxvector_add_points: Bad points for vector 'v'\n");
    EXPECT_EQ(hxvector_add_points("v", 1, nullptr, x, nullptr), -1);
    EXPECT_EQ(takeRegister(), "hxvector_add_points: Bad points for vector 'v'\n");
    const char* labels[] = {nullptr};
    EXPECT_EQ(hxvector_add_points("v", 1, x, x, labels), 0);
    EXPECT_EQ(hxvector_get_label("v", 0), nullptr);
}

TEST_F(VectorTest, CreateReplacesAndFreeReleases)
{
    makePlain("v", {{1}, {2}});
    ASSERT_EQ(hxvector_create("v", HXVECTOR_SECOND), 0);
    EXPECT_EQ(hxvector_kind("v"), HXVECTOR_SECOND);
    int n = 0, spare = 0, size = 0, ysize = 0;
    double *x = nullptr, *y = nullptr;
    EXPECT_EQ(hxvector2_get_points("v", 0, &n, &spare, &x, &size, &y, &ysize, 0), -1);
    EXPECT_EQ(takeRegister(), "hxvector2_get_points: No set 0 in vector 'v'\n");
    EXPECT_EQ(hxvector_free("v:0"), 0);
    EXPECT_EQ(hxvector_kind("v"), 0);
    EXPECT_EQ(hxvector_free("v"), -1);
    EXPECT_EQ(takeRegister(), "hxvector_free: Cannot find vector 'v'\n");
    EXPECT_EQ(hxvector_free(nullptr), -1);
    EXPECT_EQ(takeRegister(), "hxvector_free: Cannot find vector '(null)'\n");
}

TEST_F(VectorTest, ThreadsShareTheRegistry)
{
    // Writers replace a shared vector while readers copy it out; every copy
    // must be one whole version: n points whose x are all n.
    ASSERT_EQ(read("v", HXVECTOR_PLAIN, "1 1\n"), 1);
    std::vector<std::thread> threads;
    std::vector<int> failures(4, 0);
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([t, &failures] {
            for (int round = 1; round <= 200; ++round) {
                if (t % 2 == 0) {
                    std::string text;
                    int n = (round + t) % 7 + 1;
                    for (int i = 0; i < n; ++i)
                        text += std::to_string(n) + " 0\n";
                    if (hxvector_read_text("v", HXVECTOR_PLAIN, text.c_str(), nullptr) != 1)
                        ++failures[t];
                    continue;
                }
                int n = 0, index = 0;
                double *x = nullptr, *y = nullptr;
                if (hxvector_get_points("v", &n, &index, &x, &y, 0) != 0) {
                    ++failures[t];
                    continue;
                }
                for (int i = 0; i < n; ++i)
                    if (x[i] != n)
                        ++failures[t];
                free(x);
                free(y);
            }
        });
    }
    for (auto& th : threads)
        th.join();
    EXPECT_EQ(failures, (std::vector<int>{0, 0, 0, 0}));
}
