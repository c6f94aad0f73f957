#include "hx_strings.h"

#include <gtest/gtest.h>

#include <clocale>
#include <string>
#include <vector>

namespace {

std::vector<std::string> words(int argc, char** argv)
{
    std::vector<std::string> w(argv, argv + argc);
    EXPECT_EQ(argv[argc], nullptr);
    freeargs(argc, argv);
    return w;
}

} // namespace

TEST(Strings, StrcmpAcceptsNulls)
{
    EXPECT_EQ(HX_Strcmp(nullptr, nullptr), 0);
    EXPECT_EQ(HX_Strcmp(nullptr, ""), 0);
    EXPECT_LT(HX_Strcmp(nullptr, "a"), 0);
    EXPECT_GT(HX_Strcmp("a", nullptr), 0);
    EXPECT_EQ(HX_Strcmp("abc", "abc"), 0);
    EXPECT_LT(HX_Strcmp("abc", "abd"), 0);
}

TEST(Strings, SplitlistSplitsAtBlanks)
{
    int argc = -1;
    char** argv = nullptr;
    ASSERT_EQ(splitlist("  Helvetica\t12 \n Bold  ", &argc, &argv), 0);
    EXPECT_EQ(words(argc, argv), (std::vector<std::string>{"Helvetica", "12", "Bold"}));
    ASSERT_EQ(splitlist("", &argc, &argv), 0);
    EXPECT_EQ(argc, 0);
    freeargs(argc, argv);
    ASSERT_EQ(splitlist("   ", &argc, &argv), 0);
    EXPECT_EQ(argc, 0);
    freeargs(argc, argv);
}

TEST(Strings, SplitlistKeepsQuotedWordsTogether)
{
    int argc = 0;
    char** argv = nullptr;
    ASSERT_EQ(splitlist("\"DejaVu Sans\" 12 \"\" a\"b c\"d \"q\\\"x\"", &argc, &argv), 0);
    EXPECT_EQ(words(argc, argv),
              (std::vector<std::string>{"DejaVu Sans", "12", "", "ab cd", "q\"x"}));
}

TEST(Strings, SplitlistRefusesBadInput)
{
    int argc = 5;
    char** argv = reinterpret_cast<char**>(1);
    EXPECT_LT(splitlist("\"open quote", &argc, &argv), 0);
    EXPECT_EQ(argc, 0);
    EXPECT_EQ(argv, nullptr);
    EXPECT_LT(splitlist(nullptr, &argc, &argv), 0);
}

TEST(Strings, SplitlistcKeepsEmptyFields)
{
    int argc = 0;
    char** argv = nullptr;
    ASSERT_EQ(splitlistc("120,,0.5,", &argc, &argv, ","), 0);
    EXPECT_EQ(words(argc, argv), (std::vector<std::string>{"120", "", "0.5", ""}));
    ASSERT_EQ(splitlistc("", &argc, &argv, ","), 0);
    EXPECT_EQ(words(argc, argv), (std::vector<std::string>{""}));
    ASSERT_EQ(splitlistc("a;b:c", &argc, &argv, ";:"), 0);
    EXPECT_EQ(words(argc, argv), (std::vector<std::string>{"a", "b", "c"}));
    EXPECT_LT(splitlistc("a", &argc, &argv, nullptr), 0);
}

TEST(Strings, FixStrtodIgnoresTheLocale)
{
    const char* oldLocale = setlocale(LC_NUMERIC, nullptr);
    std::string saved = oldLocale ? oldLocale : "C";
    // Any installed locale with a decimal comma shows the difference; the
    // C reading must hold either way.
    setlocale(LC_NUMERIC, "de_DE.UTF-8");
    char* end = nullptr;
    const char* s = "1.5e2xyz";
    EXPECT_DOUBLE_EQ(fix_strtod(s, &end), 150.0);
    EXPECT_EQ(end, s + 5);
    setlocale(LC_NUMERIC, saved.c_str());
    EXPECT_EQ(fix_strtod("abc", &end), 0.0);
    EXPECT_STREQ(end, "abc");
}

TEST(Strings, ParseBooleanWords)
{
    for (const char* t : {"1", "yes", "YES", "y", "on", "On", "true", "TRUE", "t", " yes "})
        EXPECT_EQ(HX_ParseBoolean(t), 1) << t;
    for (const char* f : {"0", "no", "No", "n", "off", "OFF", "false", "f", "\toff"})
        EXPECT_EQ(HX_ParseBoolean(f), 0) << f;
    for (const char* bad : {"", "2", "yess", "of", "maybe", "1 1"})
        EXPECT_LT(HX_ParseBoolean(bad), 0) << bad;
    EXPECT_LT(HX_ParseBoolean(nullptr), 0);
}
