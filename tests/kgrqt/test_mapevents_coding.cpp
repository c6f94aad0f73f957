// Symbol coding strings of the map events, their scaling entries, and the
// great-circle paths from an origin to its stations (checked against a
// table from PROJ's geod).
#include "kgrqt_mapevents.h"
#include "reference_table.h"
#include "register.h"

#include <QColor>

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace {

// The option defaults of the map events, as the option table gives them.
const char* const kEventsCoding =
    "sy=circle,sz=5,szg=1.0,cl=depth,fd=1.0,fdg=1.0,ot=#60000000,fi=#a0a0a0,lw=0\n";
const char* const kEventCoding = "sy=bb,sz=15,szg=1.0,cl=depth,fd=1.0,fdg=1.0\n";
const char* const kStationsDefiningCoding =
    "sy=triangle,sz=8,szg=1.0,cl=constant,fd=1.0,fdg=1.0,ot=#60000000,fi=blue,lw=0\n";
const char* const kStationsAssociatedCoding =
    "sy=triangle,sz=8,szg=1.0,cl=constant,fd=1.0,fdg=1.0,ot=#60000000,fi=orange,lw=0\n";
const char* const kStationsOtherCoding =
    "sy=triangle,sz=8,szg=1.0,cl=constant,fd=1.0,fdg=1.0,ot=#60000000,fi=red,lw=0\n";
const char* const kEventsDetectionsCoding =
    "sy=triangle,sz=age:0:25:1800:12:12:25,szg=1.0,cl=constant,fd=age:0:1:7200:0:0:1,ot=#"
    "6000000,fdg=1.00,fi=magenta,lw=0\n";
const char* const kEventDetectionsCoding =
    "sy=triangle,sz=ageresid:5:16:5.001:12:12:16,szg=1.0,cl=constant,fd=ageresid:5:1:5.001:0.5:"
    "0.5:1,fdg=1.0,ot=#60000000,fi=cyan,lw=0\n";

// A record in a state no text produces, so that every field a text leaves
// alone is seen to stay.
struct Coding {
    Coding()
    {
        c.symbol = c.size = c.color = c.fader = KGR_CODING_UNSET;
        c.size_constant = 77;
        c.size_gain = 0.25;
        c.size_scaling = {-1, -2, -3, -4, -5, -6, -7};
        c.fader_constant = 0.75;
        c.fader_gain = 0.5;
        c.fader_scaling = {-11, -12, -13, -14, -15, -16, -17};
        c.linewidth = 42;
    }
    ~Coding()
    {
        KGR_ClearColor(&c.fi);
        KGR_ClearColor(&c.fin);
        KGR_ClearColor(&c.ot);
    }
    int parse(const char* text) { return mapevents_parse_coding(text, &c); }
    KgrpolypointCoding c{};
};

std::string name(const KGR_Color& color)
{
    return color.color_name ? color.color_name : "(none)";
}

void expectScaling(const KgrpolypointCodingScaling& s, double v1, double c1, double v2, double c2,
                   double cmin, double cmax)
{
    EXPECT_EQ(s.value1, v1);
    EXPECT_EQ(s.coding1, c1);
    EXPECT_EQ(s.value2, v2);
    EXPECT_EQ(s.coding2, c2);
    EXPECT_EQ(s.coding_min, cmin);
    EXPECT_EQ(s.coding_max, cmax);
    EXPECT_DOUBLE_EQ(s.scale, v2 == v1 ? 0.0 : (c2 - c1) / (v2 - v1));
}

bool sameScaling(const KgrpolypointCodingScaling& a, const KgrpolypointCodingScaling& b)
{
    return a.value1 == b.value1 && a.coding1 == b.coding1 && a.value2 == b.value2 &&
           a.coding2 == b.coding2 && a.coding_min == b.coding_min && a.coding_max == b.coding_max &&
           a.scale == b.scale;
}

bool sameColor(const KGR_Color& a, const KGR_Color& b)
{
    return a.color_name == b.color_name && a.color == b.color;
}

// Field by field; colours are the same objects.
bool sameCoding(const KgrpolypointCoding& a, const KgrpolypointCoding& b)
{
    return a.symbol == b.symbol && a.size == b.size && a.size_constant == b.size_constant &&
           a.size_gain == b.size_gain && sameScaling(a.size_scaling, b.size_scaling) &&
           a.color == b.color && a.fader == b.fader && a.fader_constant == b.fader_constant &&
           a.fader_gain == b.fader_gain && sameScaling(a.fader_scaling, b.fader_scaling) &&
           sameColor(a.fi, b.fi) && sameColor(a.fin, b.fin) && sameColor(a.ot, b.ot) &&
           a.linewidth == b.linewidth;
}

bool finite(const KgrpolypointCodingScaling& s)
{
    for (double v : {s.value1, s.coding1, s.value2, s.coding2, s.coding_min, s.coding_max, s.scale})
        if (!std::isfinite(v))
            return false;
    return true;
}

// What any text must leave: every mode one a text can set (or unset), every
// real finite, both colour fields of a colour set or clear together.
void expectSane(const KgrpolypointCoding& c)
{
    const std::vector<int> symbols = {KGR_CODING_UNSET, 0, 4, 5, 6, 7, 8, 9};
    const std::vector<int> modes = {KGR_CODING_UNSET, 0, 1, 3, 4, 5};
    EXPECT_NE(std::find(symbols.begin(), symbols.end(), c.symbol), symbols.end()) << c.symbol;
    EXPECT_NE(std::find(modes.begin(), modes.end(), c.size), modes.end()) << c.size;
    EXPECT_NE(std::find(modes.begin(), modes.end(), c.fader), modes.end()) << c.fader;
    EXPECT_TRUE(c.color == KGR_CODING_UNSET || (c.color >= 0 && c.color <= 2)) << c.color;
    EXPECT_TRUE(std::isfinite(c.size_gain));
    EXPECT_TRUE(std::isfinite(c.fader_gain));
    EXPECT_TRUE(std::isfinite(c.fader_constant));
    EXPECT_TRUE(finite(c.size_scaling));
    EXPECT_TRUE(finite(c.fader_scaling));
    for (const KGR_Color* color : {&c.fi, &c.fin, &c.ot})
        EXPECT_EQ(color->color_name == nullptr, color->color == nullptr);
    EXPECT_EQ(c.linewidth, 42);
}

} // namespace

// ------------------------------------------------------------ coding keys

TEST(MapeventsCoding, SymbolWords)
{
    const struct {
        const char* word;
        int symbol;
    } words[] = {{"default", 0}, {"circle", 6}, {"triangle", 4}, {"square", 5},
                 {"diamond", 8}, {"star", 7},   {"bb", 9}};
    for (const auto& w : words) {
        Coding k;
        EXPECT_EQ(k.parse((std::string("sy=") + w.word).c_str()), 0);
        EXPECT_EQ(k.c.symbol, w.symbol) << w.word;
    }
}

TEST(MapeventsCoding, UnknownSymbolLeavesTheSymbol)
{
    Coding k;
    ASSERT_EQ(k.parse("sy=star"), 0);
    for (const char* text :
         {"sy=hexagon", "sy=", "sy=point", "sy=Circle", "sy=6", "sy=beachball"}) {
        EXPECT_EQ(k.parse(text), 0) << text;
        EXPECT_EQ(k.c.symbol, KGR_SYMBOL_STAR) << text;
    }
}

TEST(MapeventsCoding, LinewidthAndUnknownKeysChangeNothing)
{
    Coding k;
    const KgrpolypointCoding before = k.c;
    for (const char* text : {"lw=3", "xx=1", "SY=circle", "sizes=5", "f=red", "o=blue"}) {
        EXPECT_EQ(k.parse(text), 0) << text;
        EXPECT_TRUE(sameCoding(k.c, before)) << text;
    }
}

TEST(MapeventsCoding, ConstantSize)
{
    Coding k;
    ASSERT_EQ(k.parse("sz=12"), 0);
    EXPECT_EQ(k.c.size, MAPEVENTS_MODE_CONSTANT);
    EXPECT_EQ(k.c.size_constant, 12);
    // The scaling keeps its reals; only the slope is worked out again.
    expectScaling(k.c.size_scaling, -1, -2, -3, -4, -5, -6);
    ASSERT_EQ(k.parse("sz=7.9"), 0);
    EXPECT_EQ(k.c.size_constant, 7);
    ASSERT_EQ(k.parse("sz=-2.5"), 0);
    EXPECT_EQ(k.c.size_constant, -2);
}

TEST(MapeventsCoding, ScaledSize)
{
    Coding k;
    ASSERT_EQ(k.parse("sz=age:0:25:1800:12:12:25"), 0);
    EXPECT_EQ(k.c.size, MAPEVENTS_MODE_AGE);
    EXPECT_EQ(k.c.size_constant, 77);
    expectScaling(k.c.size_scaling, 0, 25, 1800, 12, 12, 25);
    EXPECT_DOUBLE_EQ(k.c.size_scaling.scale, -13.0 / 1800.0);
    // The fader is another record.
    EXPECT_EQ(k.c.fader, KGR_CODING_UNSET);
    EXPECT_TRUE(sameScaling(k.c.fader_scaling, Coding().c.fader_scaling));
}

TEST(MapeventsCoding, Gains)
{
    Coding k;
    ASSERT_EQ(k.parse("szg=2.5,fdg=0.2"), 0);
    EXPECT_EQ(k.c.size_gain, 2.5);
    EXPECT_EQ(k.c.fader_gain, 0.2);
    ASSERT_EQ(k.parse("szg=default,fdg=default"), 0);
    EXPECT_EQ(k.c.size_gain, 1.0);
    EXPECT_EQ(k.c.fader_gain, 1.0);
    ASSERT_EQ(k.parse("fdg=0.0"), 0);
    EXPECT_EQ(k.c.fader_gain, 0.0);
    // A word that is no number leaves the gain.
    ASSERT_EQ(k.parse("szg=big,fdg="), 0);
    EXPECT_EQ(k.c.size_gain, 1.0);
    EXPECT_EQ(k.c.fader_gain, 0.0);
}

TEST(MapeventsCoding, ColourModes)
{
    Coding k;
    const struct {
        const char* text;
        int mode;
    } modes[] = {{"cl=depth", 2}, {"cl=constant", 1}, {"cl=default", 0}};
    for (const auto& m : modes) {
        EXPECT_EQ(k.parse(m.text), 0);
        EXPECT_EQ(k.c.color, m.mode) << m.text;
    }
    ASSERT_EQ(k.parse("cl=depth"), 0);
    for (const char* text : {"cl=red", "cl=", "cl=2"}) {
        EXPECT_EQ(k.parse(text), 0);
        EXPECT_EQ(k.c.color, MAPEVENTS_COLOR_DEPTH) << text;
    }
}

TEST(MapeventsCoding, ConstantFaderKeepsItsFraction)
{
    Coding k;
    ASSERT_EQ(k.parse("fd=0.35"), 0);
    EXPECT_EQ(k.c.fader, MAPEVENTS_MODE_CONSTANT);
    EXPECT_EQ(k.c.fader_constant, 0.35);
    expectScaling(k.c.fader_scaling, -11, -12, -13, -14, -15, -16);
}

TEST(MapeventsCoding, ScaledFader)
{
    Coding k;
    ASSERT_EQ(k.parse("fd=agerel:10:1:110:0:0.1:0.9"), 0);
    EXPECT_EQ(k.c.fader, MAPEVENTS_MODE_AGEREL);
    EXPECT_EQ(k.c.fader_constant, 0.75);
    expectScaling(k.c.fader_scaling, 10, 1, 110, 0, 0.1, 0.9);
    EXPECT_EQ(k.c.size, KGR_CODING_UNSET);
}

TEST(MapeventsCoding, Colours)
{
    Coding k;
    ASSERT_EQ(k.parse("ot=#60000000,fi=blue,fin=#ff8000"), 0);
    EXPECT_EQ(name(k.c.ot), "#60000000");
    ASSERT_TRUE(k.c.ot.color);
    EXPECT_EQ(k.c.ot.color->alpha(), 0x60);
    EXPECT_EQ(name(k.c.fi), "blue");
    EXPECT_EQ(k.c.fi.color->name().toStdString(), "#0000ff");
    EXPECT_EQ(name(k.c.fin), "#ff8000");
    // An empty colour clears it: no outline.
    ASSERT_EQ(k.parse("ot="), 0);
    EXPECT_EQ(k.c.ot.color_name, nullptr);
    EXPECT_EQ(k.c.ot.color, nullptr);
    // The same colour again keeps the colour object.
    const QColor* fill = k.c.fi.color;
    ASSERT_EQ(k.parse("fi=blue"), 0);
    EXPECT_EQ(k.c.fi.color, fill);
}

TEST(MapeventsCoding, UnknownColourNamesAreKeptAndRaiseNoError)
{
    hx_clear_register(0);
    hx_register_error(HX_ERROR_INPUT, "earlier: unrelated.\n");
    Coding k;
    ASSERT_EQ(k.parse("fi=nosuchcolour,ot=#6000000,fin=#12"), 0);
    // As every colour string: stored, with a colour Qt calls invalid.
    EXPECT_EQ(name(k.c.fi), "nosuchcolour");
    ASSERT_TRUE(k.c.fi.color);
    EXPECT_FALSE(k.c.fi.color->isValid());
    EXPECT_EQ(name(k.c.ot), "#6000000");
    EXPECT_FALSE(k.c.ot.color->isValid());
    EXPECT_EQ(takeRegister(), "earlier: unrelated.\n");
}

TEST(MapeventsCoding, EntriesApplyInOrder)
{
    Coding k;
    ASSERT_EQ(k.parse("sy=star,sz=4,sy=square,sz=age:1:2:3:4:5:6,fi=red,fi=green"), 0);
    EXPECT_EQ(k.c.symbol, KGR_SYMBOL_SQUARE);
    EXPECT_EQ(k.c.size, MAPEVENTS_MODE_AGE);
    EXPECT_EQ(k.c.size_constant, 4);
    EXPECT_EQ(name(k.c.fi), "green");
}

TEST(MapeventsCoding, BlanksAroundKeysAndValues)
{
    Coding k;
    ASSERT_EQ(k.parse(" sy = star ,\tsz=age : 1 : 2 : 3 : 4\n, fi = red \r\n"), 0);
    EXPECT_EQ(k.c.symbol, KGR_SYMBOL_STAR);
    EXPECT_EQ(k.c.size, MAPEVENTS_MODE_AGE);
    expectScaling(k.c.size_scaling, 1, 2, 3, 4, -5, -6);
    EXPECT_EQ(name(k.c.fi), "red");
}

// ------------------------------------------------------------ defaults

TEST(MapeventsCoding, EventsDefault)
{
    Coding k;
    ASSERT_EQ(k.parse(kEventsCoding), 0);
    EXPECT_EQ(k.c.symbol, KGR_SYMBOL_CIRCLE);
    EXPECT_EQ(k.c.size, MAPEVENTS_MODE_CONSTANT);
    EXPECT_EQ(k.c.size_constant, 5);
    EXPECT_EQ(k.c.size_gain, 1.0);
    EXPECT_EQ(k.c.color, MAPEVENTS_COLOR_DEPTH);
    EXPECT_EQ(k.c.fader, MAPEVENTS_MODE_CONSTANT);
    EXPECT_EQ(k.c.fader_constant, 1.0);
    EXPECT_EQ(k.c.fader_gain, 1.0);
    EXPECT_EQ(name(k.c.ot), "#60000000");
    EXPECT_EQ(name(k.c.fi), "#a0a0a0");
    EXPECT_EQ(name(k.c.fin), "(none)");
    expectSane(k.c);
}

TEST(MapeventsCoding, EventDefault)
{
    Coding k;
    ASSERT_EQ(k.parse(kEventCoding), 0);
    EXPECT_EQ(k.c.symbol, KGR_SYMBOL_BEACHBALL);
    EXPECT_EQ(k.c.size, MAPEVENTS_MODE_CONSTANT);
    EXPECT_EQ(k.c.size_constant, 15);
    EXPECT_EQ(k.c.size_gain, 1.0);
    EXPECT_EQ(k.c.color, MAPEVENTS_COLOR_DEPTH);
    EXPECT_EQ(k.c.fader, MAPEVENTS_MODE_CONSTANT);
    EXPECT_EQ(k.c.fader_constant, 1.0);
    EXPECT_EQ(k.c.fader_gain, 1.0);
    EXPECT_EQ(name(k.c.ot), "(none)");
    EXPECT_EQ(name(k.c.fi), "(none)");
    expectSane(k.c);
}

TEST(MapeventsCoding, StationDefaults)
{
    const struct {
        const char* text;
        const char* fill;
    } codings[] = {{kStationsDefiningCoding, "blue"},
                   {kStationsAssociatedCoding, "orange"},
                   {kStationsOtherCoding, "red"}};
    for (const auto& coding : codings) {
        Coding k;
        ASSERT_EQ(k.parse(coding.text), 0);
        EXPECT_EQ(k.c.symbol, KGR_SYMBOL_TRIANGLE);
        EXPECT_EQ(k.c.size, MAPEVENTS_MODE_CONSTANT);
        EXPECT_EQ(k.c.size_constant, 8);
        EXPECT_EQ(k.c.color, MAPEVENTS_COLOR_CONSTANT);
        EXPECT_EQ(k.c.fader, MAPEVENTS_MODE_CONSTANT);
        EXPECT_EQ(k.c.fader_constant, 1.0);
        EXPECT_EQ(name(k.c.ot), "#60000000");
        EXPECT_EQ(name(k.c.fi), coding.fill);
        EXPECT_TRUE(k.c.fi.color->isValid()) << coding.fill;
        expectSane(k.c);
    }
}

TEST(MapeventsCoding, EventsDetectionsDefault)
{
    Coding k;
    ASSERT_EQ(k.parse(kEventsDetectionsCoding), 0);
    EXPECT_EQ(k.c.symbol, KGR_SYMBOL_TRIANGLE);
    EXPECT_EQ(k.c.size, MAPEVENTS_MODE_AGE);
    EXPECT_EQ(k.c.size_constant, 77);
    expectScaling(k.c.size_scaling, 0, 25, 1800, 12, 12, 25);
    EXPECT_EQ(k.c.size_gain, 1.0);
    EXPECT_EQ(k.c.color, MAPEVENTS_COLOR_CONSTANT);
    EXPECT_EQ(k.c.fader, MAPEVENTS_MODE_AGE);
    EXPECT_EQ(k.c.fader_constant, 0.75);
    expectScaling(k.c.fader_scaling, 0, 1, 7200, 0, 0, 1);
    EXPECT_EQ(k.c.fader_gain, 1.0);
    // Seven hex digits, kept as written.
    EXPECT_EQ(name(k.c.ot), "#6000000");
    EXPECT_EQ(name(k.c.fi), "magenta");
    expectSane(k.c);
}

TEST(MapeventsCoding, EventDetectionsDefault)
{
    Coding k;
    ASSERT_EQ(k.parse(kEventDetectionsCoding), 0);
    EXPECT_EQ(k.c.symbol, KGR_SYMBOL_TRIANGLE);
    EXPECT_EQ(k.c.size, MAPEVENTS_MODE_AGERESID);
    expectScaling(k.c.size_scaling, 5, 16, 5.001, 12, 12, 16);
    EXPECT_NEAR(k.c.size_scaling.scale, -4000, 1e-6);
    EXPECT_EQ(k.c.color, MAPEVENTS_COLOR_CONSTANT);
    EXPECT_EQ(k.c.fader, MAPEVENTS_MODE_AGERESID);
    expectScaling(k.c.fader_scaling, 5, 1, 5.001, 0.5, 0.5, 1);
    EXPECT_NEAR(k.c.fader_scaling.scale, -500, 1e-6);
    EXPECT_EQ(name(k.c.ot), "#60000000");
    EXPECT_EQ(name(k.c.fi), "cyan");
    expectSane(k.c);
}

TEST(MapeventsCoding, TextOverlaysTheDefault)
{
    Coding k;
    ASSERT_EQ(k.parse(kEventsDetectionsCoding), 0);
    KgrpolypointCoding before = k.c;
    ASSERT_EQ(k.parse("fdg=0.2"), 0);
    EXPECT_EQ(k.c.fader_gain, 0.2);
    before.fader_gain = 0.2;
    EXPECT_TRUE(sameCoding(k.c, before));

    // A shorter entry replaces the reals it names and keeps the rest.
    ASSERT_EQ(k.parse("sz=agerel:60:30,fi=red,cl=depth\n"), 0);
    EXPECT_EQ(k.c.size, MAPEVENTS_MODE_AGEREL);
    expectScaling(k.c.size_scaling, 60, 30, 1800, 12, 12, 25);
    EXPECT_EQ(k.c.color, MAPEVENTS_COLOR_DEPTH);
    EXPECT_EQ(name(k.c.fi), "red");
    EXPECT_EQ(name(k.c.ot), "#6000000");
    EXPECT_EQ(k.c.symbol, KGR_SYMBOL_TRIANGLE);
    EXPECT_EQ(k.c.fader, MAPEVENTS_MODE_AGE);
}

TEST(MapeventsCoding, EventsBackgroundLevels)
{
    // What the dimming of the other events writes over the events' coding.
    Coding k;
    ASSERT_EQ(k.parse(kEventsCoding), 0);
    for (const char* level : {"fdg=0.0", "fdg=0.2", "fdg=1.0"}) {
        ASSERT_EQ(k.parse(level), 0);
        EXPECT_EQ(k.c.fader_gain, atof(level + 4));
        EXPECT_EQ(k.c.fader, MAPEVENTS_MODE_CONSTANT);
        EXPECT_EQ(k.c.fader_constant, 1.0);
    }
}

// ------------------------------------------------------------ scaling entries

TEST(MapeventsCodingEntry, ModeWords)
{
    const struct {
        const char* text;
        int mode;
    } words[] = {{"default", 0}, {"age", 3}, {"agerel", 4}, {"ageresid", 5}};
    for (const auto& w : words) {
        int mode = -1;
        double constant = 9;
        KgrpolypointCodingScaling s = {1, 2, 3, 4, 5, 6, 7};
        EXPECT_EQ(mapevents_parse_coding_entry(w.text, &mode, &constant, &s), 0);
        EXPECT_EQ(mode, w.mode) << w.text;
        EXPECT_EQ(constant, 9);
        expectScaling(s, 1, 2, 3, 4, 5, 6);
    }
}

TEST(MapeventsCodingEntry, OtherWordsAreConstants)
{
    const struct {
        const char* text;
        double constant;
    } words[] = {{"1.5", 1.5}, {"-3", -3}, {"0", 0},   {"2e3", 2000},     {"0x10", 16},
                 {"7abc", 7},  {"abc", 9}, {"", 9},    {"nan", 9},        {"inf", 9},
                 {"1e999", 9}, {"Age", 9}, {" 4 ", 4}, {"-1e300", -1e300}};
    for (const auto& w : words) {
        int mode = -1;
        double constant = 9;
        KgrpolypointCodingScaling s = {1, 2, 3, 4, 5, 6, 7};
        EXPECT_EQ(mapevents_parse_coding_entry(w.text, &mode, &constant, &s), 0);
        EXPECT_EQ(mode, MAPEVENTS_MODE_CONSTANT) << w.text;
        EXPECT_EQ(constant, w.constant) << w.text;
    }
}

TEST(MapeventsCodingEntry, EqualValuesGiveScaleZero)
{
    Coding k;
    ASSERT_EQ(k.parse("sz=age:5:10:5:1:1:10"), 0);
    EXPECT_EQ(k.c.size, MAPEVENTS_MODE_AGE);
    EXPECT_EQ(k.c.size_scaling.scale, 0.0);
    expectScaling(k.c.size_scaling, 5, 10, 5, 1, 1, 10);
}

TEST(MapeventsCodingEntry, MissingTokensLeaveTheirFields)
{
    int mode = -1;
    double constant = 0;
    KgrpolypointCodingScaling s = {1, 2, 3, 4, 5, 6, 7};
    ASSERT_EQ(mapevents_parse_coding_entry("age:10", &mode, &constant, &s), 0);
    expectScaling(s, 10, 2, 3, 4, 5, 6);
    ASSERT_EQ(mapevents_parse_coding_entry("age:10:20:30", &mode, &constant, &s), 0);
    expectScaling(s, 10, 20, 30, 4, 5, 6);
    // Empty and unreadable tokens count as missing.
    ASSERT_EQ(mapevents_parse_coding_entry("age::x:40::nan:inf", &mode, &constant, &s), 0);
    expectScaling(s, 10, 20, 40, 4, 5, 6);
    // The mode alone still works the slope out again.
    s.scale = 123;
    ASSERT_EQ(mapevents_parse_coding_entry("agerel", &mode, &constant, &s), 0);
    EXPECT_EQ(mode, MAPEVENTS_MODE_AGEREL);
    expectScaling(s, 10, 20, 40, 4, 5, 6);
}

TEST(MapeventsCodingEntry, TokensAfterTheSeventhAreIgnored)
{
    int mode = -1;
    double constant = 0;
    KgrpolypointCodingScaling s = {0, 0, 0, 0, 0, 0, 0};
    ASSERT_EQ(mapevents_parse_coding_entry("ageresid:1:2:3:4:5:6:7:8:9", &mode, &constant, &s), 0);
    EXPECT_EQ(mode, MAPEVENTS_MODE_AGERESID);
    expectScaling(s, 1, 2, 3, 4, 5, 6);
    EXPECT_DOUBLE_EQ(s.scale, 1.0);
}

TEST(MapeventsCodingEntry, ConstantWithScalingTokens)
{
    // A number as the mode word is the constant, and the reals after it
    // still fill the scaling.
    int mode = -1;
    double constant = 0;
    KgrpolypointCodingScaling s = {0, 0, 0, 0, 0, 0, 0};
    ASSERT_EQ(mapevents_parse_coding_entry("3:0:1:10:2", &mode, &constant, &s), 0);
    EXPECT_EQ(mode, MAPEVENTS_MODE_CONSTANT);
    EXPECT_EQ(constant, 3);
    expectScaling(s, 0, 1, 10, 2, 0, 0);
}

TEST(MapeventsCodingEntry, OverflowingSlopeIsFlat)
{
    int mode = -1;
    double constant = 0;
    KgrpolypointCodingScaling s = {0, 0, 0, 0, 0, 0, 0};
    ASSERT_EQ(mapevents_parse_coding_entry("age:0:-1e308:1e-300:1e308", &mode, &constant, &s), 0);
    EXPECT_EQ(s.scale, 0.0);
    ASSERT_EQ(mapevents_parse_coding_entry("age:-1e308:0:1e308:1", &mode, &constant, &s), 0);
    EXPECT_EQ(s.scale, 0.0);
    EXPECT_TRUE(finite(s));
}

TEST(MapeventsCodingEntry, NullArgumentsAreRefused)
{
    hx_clear_register(0);
    int mode = 0;
    double constant = 0;
    KgrpolypointCodingScaling s{};
    EXPECT_EQ(mapevents_parse_coding_entry(nullptr, &mode, &constant, &s), -1);
    EXPECT_EQ(mapevents_parse_coding_entry("age", nullptr, &constant, &s), -1);
    EXPECT_EQ(mapevents_parse_coding_entry("age", &mode, nullptr, &s), -1);
    EXPECT_EQ(mapevents_parse_coding_entry("age", &mode, &constant, nullptr), -1);
    const std::string text = takeRegister();
    EXPECT_EQ(text.rfind("mapevents_parse_coding_entry: ", 0), 0u) << text;
    EXPECT_EQ(text.back(), '\n');
}

// ------------------------------------------------------------ malformed text

TEST(MapeventsCoding, NullTextIsRefused)
{
    hx_clear_register(0);
    Coding k;
    const KgrpolypointCoding before = k.c;
    EXPECT_EQ(k.parse(nullptr), -1);
    EXPECT_EQ(mapevents_parse_coding("sy=star", nullptr), -1);
    EXPECT_TRUE(sameCoding(k.c, before));
    const std::string text = takeRegister();
    EXPECT_EQ(text.rfind("mapevents_parse_coding: ", 0), 0u) << text;
}

TEST(MapeventsCoding, EmptyEntriesChangeNothing)
{
    hx_clear_register(0);
    Coding k;
    const KgrpolypointCoding before = k.c;
    for (const char* text :
         {"", "=", ",,,", "\n", " , ,\n", "sy", "circle", "==", "=circle", "=,="}) {
        EXPECT_EQ(k.parse(text), 0) << text;
        EXPECT_TRUE(sameCoding(k.c, before)) << text;
    }
    EXPECT_EQ(takeRegister(), "");
}

TEST(MapeventsCoding, EmptySizeIsTheConstantModeWithItsSizeKept)
{
    Coding k;
    ASSERT_EQ(k.parse("sz="), 0);
    EXPECT_EQ(k.c.size, MAPEVENTS_MODE_CONSTANT);
    EXPECT_EQ(k.c.size_constant, 77);
    ASSERT_EQ(k.parse("sz=age:x:y"), 0);
    EXPECT_EQ(k.c.size, MAPEVENTS_MODE_AGE);
    expectScaling(k.c.size_scaling, -1, -2, -3, -4, -5, -6);
    expectSane(k.c);
}

TEST(MapeventsCoding, HugeAndNonFiniteNumbersLeaveASaneRecord)
{
    hx_clear_register(0);
    Coding k;
    ASSERT_EQ(k.parse("sz=1e300"), 0);
    EXPECT_EQ(k.c.size_constant, INT_MAX - 1);
    ASSERT_EQ(k.parse("sz=-1e300"), 0);
    EXPECT_EQ(k.c.size_constant, INT_MIN + 1);
    ASSERT_EQ(k.parse("sz=nan,fd=nan,szg=nan,fdg=-inf"), 0);
    EXPECT_EQ(k.c.size_constant, INT_MIN + 1);
    EXPECT_EQ(k.c.fader_constant, 0.75);
    EXPECT_EQ(k.c.size_gain, 0.25);
    EXPECT_EQ(k.c.fader_gain, 0.5);
    ASSERT_EQ(k.parse("fd=1e999:1e999:NAN:1e308:-1e308:1e-320:inf,szg=1e999"), 0);
    EXPECT_EQ(k.c.fader, MAPEVENTS_MODE_CONSTANT);
    EXPECT_EQ(k.c.fader_constant, 0.75);
    expectScaling(k.c.fader_scaling, -11, -12, 1e308, -1e308, 1e-320, -16);
    ASSERT_EQ(k.parse("sz=99999999999999999999999999999:1:2:3:4"), 0);
    EXPECT_EQ(k.c.size_constant, INT_MAX - 1);
    expectSane(k.c);
    EXPECT_EQ(takeRegister(), "");
}

TEST(MapeventsCoding, LongAndOddTextsNeverBreakTheRecord)
{
    Coding k;
    std::string long_text;
    for (int i = 0; i < 2000; ++i)
        long_text += "sz=age:" + std::to_string(i) + ":1:2:3,fi=#" + std::to_string(i % 10) + ",";
    EXPECT_EQ(k.parse(long_text.c_str()), 0);
    EXPECT_EQ(k.c.size_scaling.value1, 1999);
    for (const char* text : {"sz=:::::::::::", "fd=:", "sz=age:", "sy==circle", "sz==5", "fi==red",
                             "sz=5=6", "ot=#", "sz=age:1:2:1:2:3:4", "\xff\xfe=\x01"}) {
        EXPECT_EQ(k.parse(text), 0) << text;
        expectSane(k.c);
    }
    // The value is what follows the first "=".
    EXPECT_EQ(name(k.c.fi), "=red");
}

// ------------------------------------------------------------ great circles

namespace {

constexpr double kDeg = M_PI / 180;

// Sine and cosine of the angle between two points given in degrees, from
// their Cartesian vectors, sharing no formula with the code tested.
void separation(double lat1, double lon1, double lat2, double lon2, double* sin_sep,
                double* cos_sep)
{
    lat1 *= kDeg, lon1 *= kDeg, lat2 *= kDeg, lon2 *= kDeg;
    const double a[3] = {std::cos(lat1) * std::cos(lon1), std::cos(lat1) * std::sin(lon1),
                         std::sin(lat1)};
    const double b[3] = {std::cos(lat2) * std::cos(lon2), std::cos(lat2) * std::sin(lon2),
                         std::sin(lat2)};
    *sin_sep =
        std::hypot(a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]);
    *cos_sep = a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

double separation_deg(double lat1, double lon1, double lat2, double lon2)
{
    double s, c;
    separation(lat1, lon1, lat2, lon2, &s, &c);
    return std::atan2(s, c) / kDeg;
}

std::unique_ptr<QList<KGR_XY>> path(double lat1, double lon1, double lat2, double lon2, int n)
{
    return std::unique_ptr<QList<KGR_XY>>(make_great_circle_path(lat1, lon1, lat2, lon2, n));
}

struct GeodPath {
    std::string label;
    double lat1, lon1, lat2, lon2;
    int n;
    std::vector<KGR_XY> points; // x = lon, y = lat, as geod printed them
    int line;
};

std::vector<GeodPath> load_paths()
{
    std::vector<GeodPath> paths;
    for (const ReferenceLine& r : readReferenceTable("great_circle_reference.tsv")) {
        if (r.fields.size() != 9) {
            ADD_FAILURE() << "unreadable reference line " << r.line;
            continue;
        }
        const int i = std::stoi(r.fields[6]);
        if (i == 0)
            paths.push_back({r.fields[0],
                             std::stod(r.fields[1]),
                             std::stod(r.fields[2]),
                             std::stod(r.fields[3]),
                             std::stod(r.fields[4]),
                             std::stoi(r.fields[5]),
                             {},
                             r.line});
        if (paths.empty() || static_cast<int>(paths.back().points.size()) != i) {
            ADD_FAILURE() << "point out of order at line " << r.line;
            continue;
        }
        paths.back().points.push_back({std::stod(r.fields[8]), std::stod(r.fields[7])});
    }
    return paths;
}

const std::vector<GeodPath>& geod_paths()
{
    static const std::vector<GeodPath> paths = load_paths();
    return paths;
}

// Tolerance against geod, in degrees of arc.
constexpr double kGeodTol = 1e-9;

// Near antipodes the direction of the circle, and with it every point
// between the ends, moves by a point's position error divided by the sine
// of the separation. dist and latlon take radians, and a coordinate turned
// into radians is rounded by up to half a unit in the last place of pi
// (2.2e-16); geod reduces its angles exactly in degrees and has no such
// error. Four coordinates are rounded, so closer to the antipode than
// about 1e-3 degrees no computation in radians can stay within kGeodTol of
// geod; there the rounding bound below applies instead.
constexpr double kRadianRounding = 4 * 2.220446049250313e-16;

double tolerance_deg(const GeodPath& g)
{
    if (g.label != "near_antipode_limit")
        return kGeodTol;
    double sin_sep, cos_sep;
    separation(g.lat1, g.lon1, g.lat2, g.lon2, &sin_sep, &cos_sep);
    return kGeodTol + kRadianRounding / sin_sep / kDeg;
}

struct PointError {
    double lat;     // latitude difference
    double lon;     // longitude difference modulo 360, as east-west arc
    double lon_deg; // longitude difference modulo 360, raw (off the poles)
};

PointError point_error(const KGR_XY& ours, const KGR_XY& geod)
{
    const double dlon = std::fabs(std::remainder(ours.x - geod.x, 360.0));
    // On a pole every longitude names the same point; near it the longitude
    // is ill-conditioned, so the longitude error counts as the arc it moves
    // the point by.
    const double off_pole = std::fabs(geod.y) < 89.9 ? dlon : 0.0;
    return {std::fabs(ours.y - geod.y), dlon * std::cos(geod.y * kDeg), off_pole};
}

} // namespace

TEST(GreatCircle, StepsBelowOneCountAsOne)
{
    for (int n : {0, -1, -1000, INT_MIN}) {
        auto p = path(10, 20, 30, 40, n);
        ASSERT_EQ(p->size(), 2) << n;
        EXPECT_NEAR(p->at(0).y, 10, 1e-12);
        EXPECT_NEAR(p->at(0).x, 20, 1e-12);
        EXPECT_NEAR(p->at(1).y, 30, 1e-12);
        EXPECT_NEAR(p->at(1).x, 40, 1e-12);
    }
}

TEST(GreatCircle, PointsAreEquallySpacedFromEndToEnd)
{
    for (int n : {1, 2, 7, 100}) {
        auto p = path(-33.9, 18.4, 35.7, 139.7, n);
        ASSERT_EQ(p->size(), n + 1);
        const double total = separation_deg(-33.9, 18.4, 35.7, 139.7);
        EXPECT_NEAR(p->back().y, 35.7, 1e-12);
        EXPECT_NEAR(p->back().x, 139.7, 1e-12);
        for (int i = 0; i <= n; ++i) {
            const KGR_XY& q = p->at(i);
            EXPECT_NEAR(separation_deg(-33.9, 18.4, q.y, q.x), total * i / n, 1e-11) << i;
            EXPECT_NEAR(separation_deg(q.y, q.x, 35.7, 139.7), total * (n - i) / n, 1e-11) << i;
        }
    }
}

TEST(GreatCircle, LongitudesStayWithinOneTurn)
{
    auto p = path(10, 170, -10, -170, 8);
    ASSERT_EQ(p->size(), 9);
    for (const KGR_XY& q : *p)
        EXPECT_LE(std::fabs(q.x), 180.0);
    // The mid-point lies on the date line, which either sign names.
    EXPECT_NEAR(std::fabs(p->at(4).x), 180, 1e-9);
    auto q = path(0, 540, 0, 550, 2);
    EXPECT_NEAR(std::fabs(q->at(0).x), 180, 1e-9);
    EXPECT_NEAR(q->at(2).x, -170, 1e-9);
}

TEST(GreatCircle, CoincidentPointsRepeat)
{
    auto p = path(45, -120, 45, -120, 4);
    ASSERT_EQ(p->size(), 5);
    for (const KGR_XY& q : *p) {
        EXPECT_NEAR(q.y, 45, 1e-12);
        EXPECT_NEAR(q.x, -120, 1e-12);
    }
}

TEST(GreatCircle, NonFiniteInputGivesPointsWithoutCrashing)
{
    for (double bad : {std::nan(""), HUGE_VAL, -HUGE_VAL}) {
        auto p = path(bad, 0, 10, 10, 3);
        EXPECT_EQ(p->size(), 4);
        auto q = path(0, 0, 10, bad, 3);
        EXPECT_EQ(q->size(), 4);
    }
}

TEST(GreatCircle, ReferenceTableIsComplete)
{
    const auto& paths = geod_paths();
    EXPECT_GE(paths.size(), 200u);
    for (const char* label :
         {"coincident", "equator", "meridian", "pole_crossing", "from_pole", "to_pole", "date_line",
          "antipode", "near_antipode", "near_antipode_limit", "short", "steps", "random"})
        EXPECT_TRUE(std::any_of(paths.begin(), paths.end(), [&](const GeodPath& p) {
            return p.label == label;
        })) << label;
    for (const GeodPath& p : paths)
        EXPECT_EQ(static_cast<int>(p.points.size()), p.n + 1) << "line " << p.line;
}

TEST(GreatCircle, PointsMatchGeod)
{
    // Worst errors in degrees away from antipodes and near them, and near
    // them closer than 1e-3 degrees as a fraction of the rounding bound.
    double worst_lat = 0, worst_lon = 0, worst_lon_deg = 0, worst_near = 0, worst_limit = 0;
    int compared = 0;
    for (const GeodPath& g : geod_paths()) {
        SCOPED_TRACE("line " + std::to_string(g.line) + " (" + g.label + ")");
        auto p = path(g.lat1, g.lon1, g.lat2, g.lon2, g.n);
        ASSERT_EQ(p->size(), static_cast<int>(g.points.size()));
        // Between antipodes every great circle fits, and the two programs
        // choose different ones (ours heads north): only the end points and
        // the spacing are the same.
        const bool direction_free = g.label == "antipode";
        const double tol = tolerance_deg(g);
        for (int i = 0; i <= g.n; ++i) {
            const KGR_XY& ours = p->at(i);
            const KGR_XY& geod = g.points[static_cast<size_t>(i)];
            if (direction_free && i != 0 && i != g.n) {
                EXPECT_NEAR(separation_deg(g.lat1, g.lon1, ours.y, ours.x), 180.0 * i / g.n,
                            kGeodTol);
                EXPECT_NEAR(separation_deg(ours.y, ours.x, g.lat2, g.lon2), 180.0 * (g.n - i) / g.n,
                            kGeodTol);
                continue;
            }
            const PointError e = point_error(ours, geod);
            EXPECT_LE(e.lat, tol) << "point " << i << ": lat " << ours.y << " vs " << geod.y;
            EXPECT_LE(e.lon, tol) << "point " << i << ": lon " << ours.x << " vs " << geod.x;
            ++compared;
            if (g.label == "near_antipode_limit") {
                worst_limit = std::max({worst_limit, e.lat / tol, e.lon / tol});
            } else if (g.label == "near_antipode") {
                worst_near = std::max({worst_near, e.lat, e.lon});
            } else {
                worst_lat = std::max(worst_lat, e.lat);
                worst_lon = std::max(worst_lon, e.lon);
                worst_lon_deg = std::max(worst_lon_deg, e.lon_deg);
            }
        }
    }
    EXPECT_GT(compared, 2000);
    RecordProperty("worst_latitude_error_deg", std::to_string(worst_lat));
    RecordProperty("worst_longitude_arc_error_deg", std::to_string(worst_lon));
    RecordProperty("worst_longitude_error_deg_off_poles", std::to_string(worst_lon_deg));
    RecordProperty("worst_near_antipode_error_deg", std::to_string(worst_near));
    RecordProperty("worst_near_antipode_limit_error_over_bound", std::to_string(worst_limit));
    printf("great circles against geod, %d points: away from antipodes worst latitude %.3g, "
           "longitude arc %.3g, longitude off the poles %.3g degrees; near antipodes %.3g "
           "degrees; closer than 1e-3 degrees to one %.3g of the rounding bound\n",
           compared, worst_lat, worst_lon, worst_lon_deg, worst_near, worst_limit);
}
