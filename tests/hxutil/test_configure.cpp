#include "HXConfigure.h"
#include "register.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

struct Record {
    int count;
    double scale;
    double bound;
    int visible;
    char* title;
    void* relative;
    int derived;
    int mleft, mright;
};

int customParseCalls = 0;

// Writes two fields at once, as composite options do.
int parseMargin(HX_ConfigureSpec* spec, HX_ClientData, char* value, char* record, int)
{
    ++customParseCalls;
    int l = 0, r = 0;
    if (!value || sscanf(value, "%d %d", &l, &r) != 2) {
        hx_register_error(0, "test_parse_margin: Cannot parse margin '%s'\n", value ? value : "");
        return -1;
    }
    auto* rec = reinterpret_cast<Record*>(record);
    if (rec->mleft != l || rec->mright != r)
        spec->specFlags |= HX_CONFIGURE_CHANGED;
    rec->mleft = l;
    rec->mright = r;
    return 0;
}

char* printMargin(HX_ConfigureSpec*, HX_ClientData, char* record, int)
{
    auto* rec = reinterpret_cast<Record*>(record);
    char buf[32];
    snprintf(buf, sizeof buf, "%d %d", rec->mleft, rec->mright);
    return strdup(buf);
}

char* printDerived(HX_ConfigureSpec*, HX_ClientData, char* record, int offset)
{
    char buf[32];
    snprintf(buf, sizeof buf, "%d", *reinterpret_cast<int*>(record + offset) * 2);
    return strdup(buf);
}

HX_CustomOption marginOption = {parseMargin, printMargin, nullptr};
HX_CustomOption writeOnlyOption = {parseMargin, nullptr, nullptr};
HX_CustomOption printOnlyOption = {nullptr, printDerived, nullptr};

// Each test works on a fresh copy: flag bits are written into tables.
struct Table {
    HX_ConfigureSpec rows[12] = {
        {"int", "count", "200", offsetof(Record, count), 0, nullptr},
        {"double", "scale", "1.0", offsetof(Record, scale), 0, nullptr},
        {"double", "bound", nullptr, offsetof(Record, bound), HX_CONFIGURE_NULL_OK, nullptr},
        {"boolean", "visible", "yes", offsetof(Record, visible), 0, nullptr},
        {"string", "title", "", offsetof(Record, title), HX_CONFIGURE_NULL_OK, nullptr},
        {"ptr", "relative", nullptr, offsetof(Record, relative), HX_CONFIGURE_NULL_OK, nullptr},
        {"custom", "margin", "10 20", offsetof(Record, mleft), HX_CONFIGURE_NO_DEFAULT,
         &marginOption},
        {"custom", "zoom", nullptr, 0, 0, &writeOnlyOption},
        {"custom", "display_width", nullptr, offsetof(Record, derived), HX_CONFIGURE_NO_DEFAULT,
         &printOnlyOption},
        {"end", nullptr, nullptr, 0, 0, nullptr},
    };
    HX_ConfigureSpec* find(const char* name)
    {
        for (auto& r : rows)
            if (r.name && strcmp(r.name, name) == 0)
                return &r;
        return nullptr;
    }
};

class ConfigureTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        hx_clear_register(0);
        memset(&rec, 0, sizeof rec);
        rec.bound = HX_UNSET_DOUBLE;
        rec.derived = 21;
        ASSERT_EQ(cfg.setConfigureSpecs(table.rows, reinterpret_cast<char*>(&rec), "KGRTest"), 0);
    }
    void TearDown() override
    {
        free(rec.title);
        hx_clear_register(0);
    }
    std::string print(const char* name)
    {
        char* s = cfg.printConfigValue(name);
        std::string out = s ? s : "<null>";
        free(s);
        return out;
    }
    Table table;
    Record rec;
    HXConfigure cfg;
};

} // namespace

TEST_F(ConfigureTest, DefaultsAreAppliedExceptBitEight)
{
    EXPECT_EQ(rec.count, 200);
    EXPECT_EQ(rec.scale, 1.0);
    EXPECT_EQ(rec.bound, HX_UNSET_DOUBLE); // no default: init's value stays
    EXPECT_EQ(rec.visible, 1);
    ASSERT_NE(rec.title, nullptr);
    EXPECT_STREQ(rec.title, "");
    EXPECT_EQ(rec.mleft, 0); // "margin" carries bit 8
    EXPECT_EQ(rec.mright, 0);
}

TEST_F(ConfigureTest, ConvertsEngineTypes)
{
    int target = 0;
    ASSERT_EQ(cfg.configure("count", "0x10", "scale", "2.5e1", "visible", "off", "title", "P waves",
                            "relative", reinterpret_cast<char*>(&target),
                            static_cast<char*>(nullptr)),
              0);
    EXPECT_EQ(rec.count, 16);
    EXPECT_EQ(rec.scale, 25.0);
    EXPECT_EQ(rec.visible, 0);
    EXPECT_STREQ(rec.title, "P waves");
    EXPECT_EQ(rec.relative, &target);
    EXPECT_EQ(takeRegister(), "");
}

TEST_F(ConfigureTest, NullValuesStoreUnsetValuesWhenAllowed)
{
    ASSERT_EQ(cfg.configure("bound", "3.5", static_cast<char*>(nullptr)), 0);
    EXPECT_EQ(rec.bound, 3.5);
    ASSERT_EQ(cfg.configure("bound", "", "title", static_cast<char*>(nullptr), "relative",
                            static_cast<char*>(nullptr), static_cast<char*>(nullptr)),
              0);
    EXPECT_EQ(rec.bound, HX_UNSET_DOUBLE);
    EXPECT_EQ(rec.title, nullptr);
    EXPECT_EQ(rec.relative, nullptr);
}

TEST_F(ConfigureTest, EmptyNumbersAreRefusedWithoutBitOne)
{
    EXPECT_EQ(cfg.configure("count", "", static_cast<char*>(nullptr)), -1);
    EXPECT_EQ(takeRegister(), "HXConfigure::configure: Cannot read '' as an int for count.\n");
    EXPECT_EQ(rec.count, 200);
}

TEST_F(ConfigureTest, BadNumbersAreReportedWithTheValueQuoted)
{
    EXPECT_EQ(cfg.configure("count", "12pt", static_cast<char*>(nullptr)), -1);
    EXPECT_EQ(takeRegister(), "HXConfigure::configure: Cannot read '12pt' as an int for count.\n");
    EXPECT_EQ(cfg.configure("count", "99999999999", static_cast<char*>(nullptr)), -1);
    EXPECT_NE(takeRegister().find("'99999999999'"), std::string::npos);
    EXPECT_EQ(cfg.configure("scale", "1,5", static_cast<char*>(nullptr)), -1);
    EXPECT_EQ(takeRegister(), "HXConfigure::configure: Cannot read '1,5' as a double for scale.\n");
    EXPECT_EQ(cfg.configure("visible", "maybe", static_cast<char*>(nullptr)), -1);
    EXPECT_EQ(takeRegister(),
              "HXConfigure::configure: Cannot read 'maybe' as a boolean for visible.\n");
    EXPECT_EQ(rec.count, 200);
    EXPECT_EQ(rec.scale, 1.0);
    EXPECT_EQ(rec.visible, 1);
}

TEST_F(ConfigureTest, UnknownOptionStopsTheList)
{
    EXPECT_EQ(cfg.configure("count", "5", "nosuch", "1", "scale", "9", static_cast<char*>(nullptr)),
              -1);
    EXPECT_EQ(takeRegister(), "HXConfigure::configure: unknown option 'nosuch'.\n");
    EXPECT_EQ(rec.count, 5);   // before the failure: applied
    EXPECT_EQ(rec.scale, 1.0); // after it: not
}

TEST_F(ConfigureTest, ArgumentVectorForm)
{
    char* args[] = {const_cast<char*>("count"), const_cast<char*>("7"), const_cast<char*>("title"),
                    const_cast<char*>("x y")};
    EXPECT_EQ(cfg.configure(4, args), 0);
    EXPECT_EQ(rec.count, 7);
    EXPECT_STREQ(rec.title, "x y");
    EXPECT_EQ(cfg.configure(3, args), -1);
    EXPECT_EQ(takeRegister(), "HXConfigure::configure: no value for 'title'.\n");
}

TEST_F(ConfigureTest, ChangedBitIsSetOnlyByAChangeAndNeverCleared)
{
    HX_ConfigureSpec* bound = table.find("bound");
    ASSERT_EQ(bound->specFlags & HX_CONFIGURE_CHANGED, 0);
    ASSERT_EQ(cfg.configure("bound", "", static_cast<char*>(nullptr)), 0); // same unset value
    EXPECT_EQ(bound->specFlags & HX_CONFIGURE_CHANGED, 0);
    ASSERT_EQ(cfg.configure("bound", "4", static_cast<char*>(nullptr)), 0);
    EXPECT_NE(bound->specFlags & HX_CONFIGURE_CHANGED, 0);
    ASSERT_EQ(cfg.configure("bound", "4", static_cast<char*>(nullptr)), 0);
    EXPECT_NE(bound->specFlags & HX_CONFIGURE_CHANGED, 0);
    EXPECT_EQ(bound->specFlags & ~HX_CONFIGURE_CHANGED, HX_CONFIGURE_NULL_OK);
}

TEST_F(ConfigureTest, CustomProceduresAreDispatched)
{
    customParseCalls = 0;
    ASSERT_EQ(cfg.configure("margin", "3 4", static_cast<char*>(nullptr)), 0);
    EXPECT_EQ(customParseCalls, 1);
    EXPECT_EQ(rec.mleft, 3);
    EXPECT_EQ(rec.mright, 4);
    EXPECT_EQ(print("margin"), "3 4");
    EXPECT_EQ(cfg.configure("margin", "3", static_cast<char*>(nullptr)), -1);
    EXPECT_EQ(takeRegister(), "test_parse_margin: Cannot parse margin '3'\n");
}

TEST_F(ConfigureTest, PrintOnlyAndWriteOnlyOptions)
{
    EXPECT_EQ(print("display_width"), "42");
    EXPECT_EQ(cfg.configure("display_width", "5", static_cast<char*>(nullptr)), -1);
    EXPECT_EQ(takeRegister(), "HXConfigure::configure: option 'display_width' cannot be set.\n");
    EXPECT_EQ(cfg.configure("zoom", "1 2", static_cast<char*>(nullptr)), 0);
    EXPECT_EQ(print("zoom"), "<null>");
    EXPECT_EQ(takeRegister(), "HXConfigure::printConfigValue: option 'zoom' cannot be printed.\n");
}

TEST_F(ConfigureTest, PrintsEveryTypeBackInAReadableForm)
{
    ASSERT_EQ(cfg.configure("scale", "0.1", "title", "Z", static_cast<char*>(nullptr)), 0);
    EXPECT_EQ(print("count"), "200");
    EXPECT_EQ(print("scale"), "0.1");
    EXPECT_EQ(print("bound"), "");
    EXPECT_EQ(print("visible"), "yes");
    EXPECT_EQ(print("title"), "Z");
    EXPECT_EQ(print("relative"), "");
    EXPECT_EQ(print("nosuch"), "<null>");
    EXPECT_EQ(takeRegister(), "HXConfigure::printConfigValue: unknown option 'nosuch'.\n");
    // Each print is a fresh string.
    char* a = cfg.printConfigValue("count");
    char* b = cfg.printConfigValue("count");
    EXPECT_NE(a, b);
    free(a);
    free(b);
}

TEST_F(ConfigureTest, PrintedValuesReadBackToTheSameState)
{
    ASSERT_EQ(cfg.configure("scale", "0.30000000000000004", static_cast<char*>(nullptr)), 0);
    std::string s = print("scale");
    rec.scale = 0;
    ASSERT_EQ(cfg.configure("scale", s.c_str(), static_cast<char*>(nullptr)), 0);
    EXPECT_EQ(rec.scale, 0.30000000000000004);
}

namespace {
int typeParserCalls = 0;
int upperParser(HX_ConfigureSpec* spec, char* value, char* record)
{
    ++typeParserCalls;
    if (strcmp(spec->type, "upper") != 0)
        return HX_TYPE_NOT_MINE;
    if (!value)
        return -1;
    char** field = reinterpret_cast<char**>(record + spec->offset);
    free(*field);
    *field = strdup(value);
    for (char* p = *field; *p; ++p)
        *p = static_cast<char>(toupper(static_cast<unsigned char>(*p)));
    return 0;
}
} // namespace

TEST(ConfigureEngine, TypeParsersAnswerThreeForForeignTypes)
{
    struct R {
        char* name;
        int n;
    } r = {nullptr, 0};
    HX_ConfigureSpec rows[] = {
        {"upper", "name", "abc", offsetof(R, name), 0, nullptr},
        {"int", "n", "4", offsetof(R, n), 0, nullptr},
        {"end", nullptr, nullptr, 0, 0, nullptr},
    };
    HXConfigure cfg;
    typeParserCalls = 0;
    cfg.addTypeParser("upper", upperParser);
    // A parser registered for "int" that declines hands the value back.
    cfg.addTypeParser("int", upperParser);
    ASSERT_EQ(cfg.setConfigureSpecs(rows, reinterpret_cast<char*>(&r), "R"), 0);
    EXPECT_STREQ(r.name, "ABC");
    EXPECT_EQ(r.n, 4);
    EXPECT_EQ(typeParserCalls, 2);
    free(r.name);
}

TEST(ConfigureEngine, UnknownTypesAndBadDefaultsAreReported)
{
    hx_clear_register(0);
    struct R {
        int a;
        int b;
    } r = {0, 0};
    HX_ConfigureSpec rows[] = {
        {"int", "a", "oops", offsetof(R, a), 0, nullptr},
        {"mystery", "b", "1", offsetof(R, b), 0, nullptr},
        {"end", nullptr, nullptr, 0, 0, nullptr},
    };
    HXConfigure cfg;
    EXPECT_EQ(cfg.setConfigureSpecs(rows, reinterpret_cast<char*>(&r), "R"), -1);
    std::string text = takeRegister();
    EXPECT_NE(text.find("HXConfigure::configure: unknown type 'mystery' of b.\n"),
              std::string::npos);
    EXPECT_NE(text.find("HXConfigure::setConfigureSpecs: bad default 'oops' for a of R.\n"),
              std::string::npos);
}

TEST(ConfigureEngine, SeveralTablesAreSearchedInInstallationOrder)
{
    struct A {
        int shared;
        int onlyA;
    } a = {0, 0};
    struct B {
        int onlyB;
        int shared;
    } b = {0, 0};
    HX_ConfigureSpec rowsA[] = {
        {"int", "shared", "1", offsetof(A, shared), 0, nullptr},
        {"int", "onlyA", "2", offsetof(A, onlyA), 0, nullptr},
        {"end", nullptr, nullptr, 0, 0, nullptr},
    };
    HX_ConfigureSpec rowsB[] = {
        {"int", "onlyB", "3", offsetof(B, onlyB), 0, nullptr},
        {"int", "shared", "4", offsetof(B, shared), 0, nullptr},
        {"end", nullptr, nullptr, 0, 0, nullptr},
    };
    HXConfigure cfg;
    ASSERT_EQ(cfg.setConfigureSpecs(rowsA, reinterpret_cast<char*>(&a), "KGRTaskbar"), 0);
    ASSERT_EQ(cfg.setConfigureSpecs(rowsB, reinterpret_cast<char*>(&b), "KGRMap"), 0);
    EXPECT_EQ(b.shared, 4); // each table's defaults go to its own record
    ASSERT_EQ(cfg.configure("shared", "10", "onlyB", "30", static_cast<char*>(nullptr)), 0);
    EXPECT_EQ(a.shared, 10); // the first table answers for a shared name
    EXPECT_EQ(b.shared, 4);
    EXPECT_EQ(b.onlyB, 30);
    char* record = nullptr;
    EXPECT_EQ(cfg.findSpec("onlyB", &record), &rowsB[0]);
    EXPECT_EQ(record, reinterpret_cast<char*>(&b));
    Tbl* names = cfg.optionNames();
    ASSERT_EQ(maxtbl(names), 4);
    EXPECT_STREQ(static_cast<const char*>(gettbl(names, 0)), "shared");
    EXPECT_STREQ(static_cast<const char*>(gettbl(names, 2)), "onlyB");
    freetbl(names, nullptr);
}

TEST(ConfigureEngine, ManyTablesKeepTheirOrder)
{
    // Beyond ten tables a plain decimal key would sort "10" before "2".
    struct R {
        int v;
    } recs[12];
    HX_ConfigureSpec rows[12][2];
    HXConfigure cfg;
    for (int i = 0; i < 12; ++i) {
        recs[i].v = 0;
        rows[i][0] = {"int", "v", nullptr, 0, 0, nullptr};
        rows[i][1] = {"end", nullptr, nullptr, 0, 0, nullptr};
        ASSERT_EQ(cfg.setConfigureSpecs(rows[i], reinterpret_cast<char*>(&recs[i]), "R"), 0);
    }
    ASSERT_EQ(cfg.configure("v", "5", static_cast<char*>(nullptr)), 0);
    EXPECT_EQ(recs[0].v, 5);
    for (int i = 1; i < 12; ++i)
        EXPECT_EQ(recs[i].v, 0);
}
