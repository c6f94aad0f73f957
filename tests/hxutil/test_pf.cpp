// Parameter files: compiling text and reading typed values.
#include "hx_containers.h"
#include "hx_error.h"
#include "hx_pf.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

namespace {

class PfTest : public ::testing::Test {
protected:
    void SetUp() override { hx_clear_register(0); }
    void TearDown() override
    {
        pffree(pf_);
        hx_clear_register(0);
    }

    // Compiles text into pf_, expecting success.
    void compile(const std::string& text)
    {
        pffree(pf_);
        pf_ = nullptr;
        ASSERT_EQ(pfcompile(text.c_str(), &pf_), 0) << register_text();
        ASSERT_NE(pf_, nullptr);
        EXPECT_EQ(hx_register_count(), 0);
    }

    // Compiles text expecting failure; returns the registered messages.
    std::string compile_error(const std::string& text)
    {
        Pf* pf = reinterpret_cast<Pf*>(&pf_); // anything not null
        hx_clear_register(0);
        EXPECT_EQ(pfcompile(text.c_str(), &pf), -1);
        EXPECT_EQ(pf, nullptr);
        EXPECT_EQ(hx_register_count(), 1);
        return register_text();
    }

    static std::string register_text()
    {
        char* text = hx_register_text();
        std::string result = text ? text : "";
        std::free(text);
        return result;
    }

    // The string stored under a chain of keys.
    std::string string_at(Pf* pf, std::initializer_list<const char*> path)
    {
        for (const char* key : path)
            if (pfget(pf, key, &pf) < 0)
                return "<absent>";
        const char* s = pfstring(pf);
        return s ? s : "<not a string>";
    }
    std::string string_at(std::initializer_list<const char*> path) { return string_at(pf_, path); }

    Pf* pf_ = nullptr;
};

std::vector<std::string> keys_of(Pf* pf)
{
    std::vector<std::string> keys;
    Tbl* list = pfkeys(pf);
    for (int i = 0; i < maxtbl(list); i++)
        keys.push_back(static_cast<const char*>(gettbl(list, i)));
    freetbl(list, nullptr);
    return keys;
}

std::string nested(int depth)
{
    std::string text;
    for (int i = 0; i < depth; i++)
        text += "k &Arr{\n";
    text += "leaf value\n";
    for (int i = 0; i < depth; i++)
        text += "}\n";
    return text;
}

} // namespace

TEST_F(PfTest, SimpleValues)
{
    compile("name value\nother   several words  of text  \n");
    EXPECT_EQ(string_at({"name"}), "value");
    EXPECT_EQ(string_at({"other"}), "several words  of text");
    EXPECT_EQ(pftype(pf_), PFARR);
}

TEST_F(PfTest, TabsSeparateKeyAndValue)
{
    compile("\tkey\t\tvalue\twith tab\t\n");
    EXPECT_EQ(string_at({"key"}), "value\twith tab");
}

TEST_F(PfTest, CommentsAndBlankLinesAreSkipped)
{
    compile("# heading\n\n   \n\t# indented\nkey value # trailing\nempty_comment x#\n");
    EXPECT_EQ(keys_of(pf_), (std::vector<std::string>{"empty_comment", "key"}));
    EXPECT_EQ(string_at({"key"}), "value");
    EXPECT_EQ(string_at({"empty_comment"}), "x");
}

TEST_F(PfTest, EscapedHashIsLiteral)
{
    compile("hash a literal \\# inside # comment\nslash a\\b\\\\#c\nkey\\#x v\n");
    EXPECT_EQ(string_at({"hash"}), "a literal # inside");
    EXPECT_EQ(string_at({"slash"}), "a\\b\\#c");
    EXPECT_EQ(string_at({"key#x"}), "v");
}

TEST_F(PfTest, CrLfLineEndings)
{
    compile("a 1\r\nb &Tbl{\r\n  x y\r\n}\r\nc 3");
    EXPECT_EQ(string_at({"a"}), "1");
    EXPECT_EQ(string_at({"c"}), "3");
    Pf* list = nullptr;
    ASSERT_EQ(pfget(pf_, "b", &list), PFTBL);
    Tbl* tbl = nullptr;
    ASSERT_EQ(parse_param(pf_, "b", 't', 1, &tbl), 0);
    ASSERT_EQ(maxtbl(tbl), 1);
    EXPECT_STREQ(pfstring(static_cast<Pf*>(gettbl(tbl, 0))), "x y");
}

TEST_F(PfTest, EmptyTextGivesAnEmptyArray)
{
    compile("");
    EXPECT_EQ(pftype(pf_), PFARR);
    EXPECT_TRUE(keys_of(pf_).empty());
}

TEST_F(PfTest, NestedArraysAndLists)
{
    compile("layers &Arr{\n"
            "    coast &Arr{\n"
            "        type  vector\n"
            "        width 2\n"
            "    }\n"
            "    grid &Arr{ # comment after the opener\n"
            "        type raster\n"
            "    } # comment after the closer\n"
            "}\n"
            "buttons &Tbl{\n"
            "    zoom_in  c 10 10\n"
            "    zoom_out c 30 10\n"
            "    &Arr{\n"
            "        anonymous yes\n"
            "    }\n"
            "    &Tbl{\n"
            "        inner\n"
            "    }\n"
            "}\n"
            "after done\n");
    EXPECT_EQ(string_at({"layers", "coast", "type"}), "vector");
    EXPECT_EQ(string_at({"layers", "coast", "width"}), "2");
    EXPECT_EQ(string_at({"layers", "grid", "type"}), "raster");
    EXPECT_EQ(string_at({"after"}), "done");
    EXPECT_EQ(keys_of(pf_), (std::vector<std::string>{"after", "buttons", "layers"}));

    Tbl* buttons = nullptr;
    ASSERT_EQ(parse_param(pf_, "buttons", 't', 1, &buttons), 0);
    ASSERT_EQ(maxtbl(buttons), 4);
    EXPECT_STREQ(pfstring(static_cast<Pf*>(gettbl(buttons, 0))), "zoom_in  c 10 10");
    EXPECT_STREQ(pfstring(static_cast<Pf*>(gettbl(buttons, 1))), "zoom_out c 30 10");
    Pf* anonymous = static_cast<Pf*>(gettbl(buttons, 2));
    ASSERT_EQ(pftype(anonymous), PFARR);
    EXPECT_EQ(string_at(anonymous, {"anonymous"}), "yes");
    Pf* inner = static_cast<Pf*>(gettbl(buttons, 3));
    EXPECT_EQ(pftype(inner), PFTBL);
    EXPECT_EQ(pfstring(inner), nullptr);
    EXPECT_EQ(pfkeys(inner), nullptr);
}

TEST_F(PfTest, EmptyNestedContainers)
{
    compile("a &Arr{\n}\nt &Tbl{\n}\n");
    Arr* arr = nullptr;
    Tbl* tbl = nullptr;
    ASSERT_EQ(parse_param(pf_, "a", 'a', 1, &arr), 0);
    ASSERT_EQ(parse_param(pf_, "t", 't', 1, &tbl), 0);
    EXPECT_EQ(cntarr(arr), 0);
    EXPECT_EQ(maxtbl(tbl), 0);
}

TEST_F(PfTest, LaterDuplicateReplacesEarlier)
{
    compile("k first\nk &Arr{\n x 1\n}\nk &Tbl{\n a\n}\nk last\nj &Arr{\n x 1\n x 2\n}\n");
    EXPECT_EQ(string_at({"k"}), "last");
    EXPECT_EQ(string_at({"j", "x"}), "2");
    EXPECT_EQ(keys_of(pf_), (std::vector<std::string>{"j", "k"}));
}

TEST_F(PfTest, KeysAreSorted)
{
    compile("zeta 1\nalpha 2\nMu 3\nbeta 4\n");
    EXPECT_EQ(keys_of(pf_), (std::vector<std::string>{"Mu", "alpha", "beta", "zeta"}));
}

TEST_F(PfTest, AmpersandTextIsAString)
{
    compile("a &amp; co\nb &\nc &Arrow\nd x &Arr{\n");
    EXPECT_EQ(string_at({"a"}), "&amp; co");
    EXPECT_EQ(string_at({"b"}), "&");
    EXPECT_EQ(string_at({"c"}), "&Arrow");
    EXPECT_EQ(string_at({"d"}), "x &Arr{");
}

TEST_F(PfTest, BytesAbove127AreKept)
{
    compile("city Zürich\nraw \xff\xfe\n");
    EXPECT_EQ(string_at({"city"}), "Zürich");
    EXPECT_EQ(string_at({"raw"}), "\xff\xfe");
}

TEST_F(PfTest, MaximumDepthIsAccepted)
{
    compile(nested(HX_PF_MAX_DEPTH));
    Pf* node = pf_;
    for (int i = 0; i < HX_PF_MAX_DEPTH; i++)
        ASSERT_EQ(pfget(node, "k", &node), PFARR) << i;
    EXPECT_EQ(string_at(node, {"leaf"}), "value");
}

TEST_F(PfTest, OneLevelTooDeepIsRefused)
{
    const std::string message = compile_error(nested(HX_PF_MAX_DEPTH + 1));
    EXPECT_EQ(message, "pfcompile: line " + std::to_string(HX_PF_MAX_DEPTH + 1) +
                           ": nesting deeper than " + std::to_string(HX_PF_MAX_DEPTH) +
                           " levels\n");
}

TEST_F(PfTest, ListsCountTowardsTheDepth)
{
    std::string text;
    for (int i = 0; i < HX_PF_MAX_DEPTH + 1; i++)
        text += i == 0 ? "t &Tbl{\n" : "&Tbl{\n";
    EXPECT_NE(compile_error(text).find("nesting deeper"), std::string::npos);
}

TEST_F(PfTest, HugeNestingIsRefusedWithoutCrash)
{
    std::string text;
    for (int i = 0; i < 100000; i++)
        text += "k &Arr{\n";
    EXPECT_NE(compile_error(text).find("line 65: nesting deeper"), std::string::npos);
}

TEST_F(PfTest, MissingValue)
{
    EXPECT_EQ(compile_error("a 1\nlonely\n"), "pfcompile: line 2: missing value for 'lonely'\n");
    EXPECT_EQ(compile_error("a 1\n\nkey    # only a comment\n"),
              "pfcompile: line 3: missing value for 'key'\n");
}

TEST_F(PfTest, CloseWithNothingOpen)
{
    EXPECT_EQ(compile_error("a 1\n}\n"), "pfcompile: line 2: '}' with nothing open\n");
    EXPECT_EQ(compile_error("a &Arr{\n}\n} # extra\n"),
              "pfcompile: line 3: '}' with nothing open\n");
}

TEST_F(PfTest, TextAfterClose)
{
    EXPECT_EQ(compile_error("a &Arr{\nb 1\n} c\n"), "pfcompile: line 3: text after '}': '} c'\n");
    EXPECT_NE(compile_error("t &Tbl{\n} more\n").find("line 2: text after '}'"), std::string::npos);
}

TEST_F(PfTest, UnclosedReportsWhereItWasOpened)
{
    EXPECT_EQ(compile_error("a 1\nb &Arr{\nc 2\n"), "pfcompile: line 2: '&Arr{' is never closed\n");
    EXPECT_EQ(compile_error("t &Tbl{\nx\n"), "pfcompile: line 1: '&Tbl{' is never closed\n");
    EXPECT_EQ(compile_error("a &Arr{\n\nb &Tbl{\n}\nc &Arr{\n"),
              "pfcompile: line 5: '&Arr{' is never closed\n");
    EXPECT_EQ(compile_error("t &Tbl{\n  &Arr{\n  x 1\n}\n"),
              "pfcompile: line 1: '&Tbl{' is never closed\n");
}

TEST_F(PfTest, MalformedOpeners)
{
    EXPECT_EQ(compile_error("a &Arr{ x\n"),
              "pfcompile: line 1: malformed value '&Arr{ x': write '&Arr{' or '&Tbl{' alone at "
              "the end of the line\n");
    for (const char* value : {"&Foo{", "&Arr{}", "&Tbl", "&Arr {", "&arr{", "&{"}) {
        const std::string message = compile_error(std::string("x 1\nkey ") + value + "\n");
        EXPECT_NE(message.find(std::string("line 2: malformed value '") + value + "'"),
                  std::string::npos)
            << message;
    }
    EXPECT_NE(compile_error("t &Tbl{\n  ok\n  &Tbl{ x\n}\n").find("line 3: malformed value"),
              std::string::npos);
}

TEST_F(PfTest, ControlCharactersAreRefused)
{
    EXPECT_EQ(compile_error("a 1\nb x\x01y\n"), "pfcompile: line 2: control character '\\x01'\n");
    EXPECT_NE(compile_error("a \x1b[0m\n").find("line 1: control character '\\x1b'"),
              std::string::npos);
    EXPECT_NE(compile_error("# comment \x7f\n").find("line 1: control character '\\x7f'"),
              std::string::npos);
    EXPECT_NE(compile_error("a 1\n\n\n\f\n").find("line 4"), std::string::npos);
}

TEST_F(PfTest, LongOffendingTextIsShortened)
{
    const std::string key(1000, 'k');
    const std::string message = compile_error(key + "\n");
    EXPECT_LT(message.size(), 200u);
    EXPECT_NE(message.find("missing value for 'kkk"), std::string::npos);
    EXPECT_NE(message.find("...'"), std::string::npos);
}

TEST_F(PfTest, NullArguments)
{
    Pf* pf = reinterpret_cast<Pf*>(&pf_);
    EXPECT_EQ(pfcompile(nullptr, &pf), -1);
    EXPECT_EQ(pf, nullptr);
    EXPECT_EQ(register_text(), "pfcompile: null text\n");
    hx_clear_register(0);
    EXPECT_EQ(pfcompile("a 1\n", nullptr), -1);
    EXPECT_EQ(hx_register_count(), 1);

    pffree(nullptr);
    EXPECT_EQ(pftype(nullptr), -1);
    EXPECT_EQ(pfstring(nullptr), nullptr);
    Pf* child = pf;
    EXPECT_EQ(pfget(nullptr, "a", &child), -1);
    EXPECT_EQ(child, nullptr);
    EXPECT_EQ(pfkeys(nullptr), nullptr);
}

TEST_F(PfTest, PfgetOnStringsAndMissingKeys)
{
    compile("a 1\n");
    Pf* child = nullptr;
    ASSERT_EQ(pfget(pf_, "a", &child), PFSTRING);
    EXPECT_STREQ(pfstring(child), "1");
    EXPECT_EQ(pfget(child, "x", nullptr), -1);
    EXPECT_EQ(pfkeys(child), nullptr);
    EXPECT_EQ(pfget(pf_, "b", &child), -1);
    EXPECT_EQ(child, nullptr);
    EXPECT_EQ(pfget(pf_, nullptr, &child), -1);
    EXPECT_EQ(pfget(pf_, "a", nullptr), PFSTRING);
}

TEST_F(PfTest, RandomBytesDoNotCrash)
{
    std::mt19937 random(12345);
    std::string text(1 << 20, '\0');
    for (char& c : text) {
        c = static_cast<char>(random() % 255 + 1); // no NUL: use the whole megabyte
    }
    Pf* pf = nullptr;
    const int status = pfcompile(text.c_str(), &pf);
    EXPECT_EQ(status, -1);
    EXPECT_EQ(pf, nullptr);
    EXPECT_EQ(hx_register_count(), 1);

    // Printable noise with newlines and braces gets further into the parser.
    const char alphabet[] = "ab &Arr{Tbl}#\\ \n\n\t\r";
    for (char& c : text)
        c = alphabet[random() % (sizeof alphabet - 1)];
    hx_clear_register(0);
    if (pfcompile(text.c_str(), &pf) == 0)
        EXPECT_EQ(pftype(pf), PFARR);
    else
        EXPECT_EQ(hx_register_count(), 1);
    pffree(pf);
}

// parse_param

class ParseParam : public PfTest {
protected:
    void SetUp() override
    {
        PfTest::SetUp();
        compile("name   a long  name\n"
                "count  42\n"
                "hex    0x1F\n"
                "octal  010\n"
                "neg    -7\n"
                "big    2147483648\n"
                "small  -2147483649\n"
                "huge   99999999999999999999999\n"
                "junk   12abc\n"
                "spaced 1 2\n"
                "ratio  2.5e-3\n"
                "over   1e999\n"
                "inf    inf\n"
                "word   maybe\n"
                "yes    Yes\n"
                "off    off\n"
                "arr &Arr{\n"
                "    x 1\n"
                "}\n"
                "tbl &Tbl{\n"
                "    one\n"
                "    two\n"
                "}\n");
    }

    // Runs parse_param expecting an error; returns its message.
    std::string failure(const char* name, int type, void* value)
    {
        hx_clear_register(0);
        EXPECT_EQ(parse_param(pf_, name, type, 1, value), -1) << name << " " << char(type);
        EXPECT_EQ(hx_register_count(), 1);
        return register_text();
    }
};

TEST_F(ParseParam, Node)
{
    Pf* node = nullptr;
    ASSERT_EQ(parse_param(pf_, "arr", 'P', 1, &node), 0);
    EXPECT_EQ(pftype(node), PFARR);
    ASSERT_EQ(parse_param(pf_, "name", 'P', 0, &node), 0);
    EXPECT_STREQ(pfstring(node), "a long  name");
}

TEST_F(ParseParam, String)
{
    char* s = nullptr;
    ASSERT_EQ(parse_param(pf_, "name", 's', 1, &s), 0);
    EXPECT_STREQ(s, "a long  name");
    Pf* node = nullptr;
    pfget(pf_, "name", &node);
    EXPECT_NE(s, pfstring(node)); // a copy
    std::free(s);
    s = nullptr;
    EXPECT_EQ(failure("arr", 's', &s), "parse_param: 'arr' is not a string\n");
    EXPECT_EQ(failure("tbl", 's', &s), "parse_param: 'tbl' is not a string\n");
    EXPECT_EQ(s, nullptr);
}

TEST_F(ParseParam, Integer)
{
    int value = 0;
    ASSERT_EQ(parse_param(pf_, "count", 'd', 1, &value), 0);
    EXPECT_EQ(value, 42);
    ASSERT_EQ(parse_param(pf_, "hex", 'd', 1, &value), 0);
    EXPECT_EQ(value, 31);
    ASSERT_EQ(parse_param(pf_, "octal", 'd', 1, &value), 0);
    EXPECT_EQ(value, 8);
    ASSERT_EQ(parse_param(pf_, "neg", 'd', 1, &value), 0);
    EXPECT_EQ(value, -7);

    value = 5;
    EXPECT_EQ(failure("junk", 'd', &value),
              "parse_param: cannot read '12abc' as an integer for 'junk'\n");
    EXPECT_EQ(failure("spaced", 'd', &value),
              "parse_param: cannot read '1 2' as an integer for 'spaced'\n");
    EXPECT_NE(failure("big", 'd', &value).find("'2147483648'"), std::string::npos);
    EXPECT_NE(failure("small", 'd', &value).find("'-2147483649'"), std::string::npos);
    EXPECT_NE(failure("huge", 'd', &value).find("as an integer"), std::string::npos);
    EXPECT_NE(failure("ratio", 'd', &value).find("as an integer"), std::string::npos);
    EXPECT_EQ(failure("arr", 'd', &value), "parse_param: 'arr' is not a string\n");
    EXPECT_EQ(value, 5);
}

TEST_F(ParseParam, Number)
{
    double value = 0;
    ASSERT_EQ(parse_param(pf_, "ratio", 'f', 1, &value), 0);
    EXPECT_DOUBLE_EQ(value, 2.5e-3);
    ASSERT_EQ(parse_param(pf_, "count", 'f', 1, &value), 0);
    EXPECT_DOUBLE_EQ(value, 42.0);
    ASSERT_EQ(parse_param(pf_, "inf", 'f', 1, &value), 0);
    EXPECT_TRUE(std::isinf(value));

    value = 1.5;
    EXPECT_EQ(failure("junk", 'f', &value),
              "parse_param: cannot read '12abc' as a number for 'junk'\n");
    EXPECT_EQ(failure("over", 'f', &value),
              "parse_param: cannot read '1e999' as a number for 'over'\n");
    EXPECT_NE(failure("name", 'f', &value).find("as a number"), std::string::npos);
    EXPECT_EQ(failure("tbl", 'f', &value), "parse_param: 'tbl' is not a string\n");
    EXPECT_EQ(value, 1.5);
}

TEST_F(ParseParam, Boolean)
{
    int value = -1;
    ASSERT_EQ(parse_param(pf_, "yes", 'b', 1, &value), 0);
    EXPECT_EQ(value, 1);
    ASSERT_EQ(parse_param(pf_, "off", 'b', 1, &value), 0);
    EXPECT_EQ(value, 0);
    value = 7;
    EXPECT_EQ(failure("word", 'b', &value),
              "parse_param: cannot read 'maybe' as a boolean for 'word'\n");
    EXPECT_EQ(failure("arr", 'b', &value), "parse_param: 'arr' is not a string\n");
    EXPECT_EQ(value, 7);
}

TEST_F(ParseParam, Array)
{
    Arr* arr = nullptr;
    ASSERT_EQ(parse_param(pf_, "arr", 'a', 1, &arr), 0);
    ASSERT_EQ(cntarr(arr), 1);
    EXPECT_STREQ(pfstring(static_cast<Pf*>(getarr(arr, "x"))), "1");
    arr = nullptr;
    EXPECT_EQ(failure("tbl", 'a', &arr), "parse_param: 'tbl' is not an array\n");
    EXPECT_EQ(failure("name", 'a', &arr), "parse_param: 'name' is not an array\n");
    EXPECT_EQ(arr, nullptr);
}

TEST_F(ParseParam, List)
{
    Tbl* tbl = nullptr;
    ASSERT_EQ(parse_param(pf_, "tbl", 't', 1, &tbl), 0);
    ASSERT_EQ(maxtbl(tbl), 2);
    EXPECT_STREQ(pfstring(static_cast<Pf*>(gettbl(tbl, 1))), "two");
    tbl = nullptr;
    EXPECT_EQ(failure("arr", 't', &tbl), "parse_param: 'arr' is not a list\n");
    EXPECT_EQ(failure("count", 't', &tbl), "parse_param: 'count' is not a list\n");
    EXPECT_EQ(tbl, nullptr);
}

TEST_F(ParseParam, AbsentValues)
{
    int value = 99;
    EXPECT_EQ(parse_param(pf_, "missing", 'd', 0, &value), 1);
    EXPECT_EQ(value, 99);
    EXPECT_EQ(hx_register_count(), 0);
    EXPECT_EQ(failure("missing", 'd', &value), "parse_param: 'missing' not found\n");
    EXPECT_EQ(value, 99);
    for (int type : {'P', 's', 'f', 'b', 'a', 't'}) {
        void* untouched = &value;
        EXPECT_EQ(parse_param(pf_, "missing", type, 0, &untouched), 1);
        EXPECT_EQ(untouched, &value);
        EXPECT_EQ(failure("missing", type, &untouched), "parse_param: 'missing' not found\n");
    }
}

TEST_F(ParseParam, UnknownTypeCode)
{
    int value = 0;
    EXPECT_NE(failure("count", 'x', &value).find("unknown type code"), std::string::npos);
    EXPECT_NE(failure("count", 0, &value).find("unknown type code"), std::string::npos);
    EXPECT_NE(failure("count", 1000, &value).find("unknown type code"), std::string::npos);
    EXPECT_NE(failure("missing", 'x', &value).find("unknown type code"), std::string::npos);
}

TEST_F(ParseParam, NullArguments)
{
    int value = 0;
    EXPECT_NE(failure(nullptr, 'd', &value).find("parse_param"), std::string::npos);
    EXPECT_NE(failure("count", 'd', nullptr).find("parse_param"), std::string::npos);
    hx_clear_register(0);
    EXPECT_EQ(parse_param(nullptr, "count", 'd', 0, &value), 1);
    EXPECT_EQ(parse_param(nullptr, "count", 'd', 1, &value), -1);
    Pf* leaf = nullptr;
    pfget(pf_, "count", &leaf);
    EXPECT_EQ(parse_param(leaf, "count", 'd', 0, &value), 1);
}

TEST(PfNested, ListsInsideListsAreReachable)
{
    Pf* pf = nullptr;
    ASSERT_EQ(pfcompile("rows &Tbl{\n&Tbl{\na b\n}\n&Arr{\nk v\n}\nplain\n}\n", &pf), 0);
    Tbl* rows = nullptr;
    ASSERT_EQ(parse_param(pf, "rows", 't', 1, &rows), 0);
    ASSERT_EQ(maxtbl(rows), 3);
    Tbl* inner = pftbl(static_cast<Pf*>(gettbl(rows, 0)));
    ASSERT_NE(inner, nullptr);
    ASSERT_EQ(maxtbl(inner), 1);
    EXPECT_STREQ(pfstring(static_cast<Pf*>(gettbl(inner, 0))), "a b");
    Arr* arr = pfarr(static_cast<Pf*>(gettbl(rows, 1)));
    ASSERT_NE(arr, nullptr);
    EXPECT_STREQ(pfstring(static_cast<Pf*>(getarr(arr, "k"))), "v");
    EXPECT_EQ(pfarr(static_cast<Pf*>(gettbl(rows, 2))), nullptr);
    EXPECT_EQ(pftbl(static_cast<Pf*>(gettbl(rows, 2))), nullptr);
    EXPECT_EQ(pftbl(nullptr), nullptr);
    pffree(pf);
}
