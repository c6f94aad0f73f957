// The polypoint item: options, point sources, labels, codings and the
// searches over what it drew.
#include "kgrqt.h"
#include "register.h"

#include <QColor>
#include <QList>
#include <QPainterPath>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

const char* const kEnd = nullptr;

std::string printed(KGRConfigure& item, const char* option)
{
    char* s = item.printConfigValue(option);
    std::string out = s ? s : "(null)";
    free(s);
    return out;
}

std::string colorName(const KGR_Color& c)
{
    return c.color ? c.color->name().toStdString() : "none";
}

// A point as the sources start it, for label and coding tests.
struct Point {
    Point()
    {
        memset(static_cast<void*>(&p), 0, sizeof p);
        p.visibility = 1;
        p.opacity = 1.0;
    }
    ~Point() { polypoint_free_point(&p); }
    KgrpolypointPoint p;
};

// A coding that changes nothing.
KgrpolypointCoding unsetCoding()
{
    KgrpolypointCoding c{};
    c.symbol = c.size = c.color = c.fader = KGR_CODING_UNSET;
    c.size_gain = c.fader_gain = 1.0;
    c.size_scaling = c.fader_scaling = {0, 0, 0, 0, KGR_UNSET, KGR_UNSET, 1.0};
    return c;
}

} // namespace

TEST(PolypointOptions, Defaults)
{
    KGRViewport vp(nullptr);
    KGRPolypoint pp(&vp);
    EXPECT_STREQ(pp.class_name, "KGRPolypoint");
    EXPECT_EQ(printed(pp, "symbol"), "square");
    EXPECT_EQ(pp.polypoint.symbol, KGR_SYMBOL_SQUARE);
    EXPECT_EQ(colorName(pp.polypoint.fill), "none");
    EXPECT_EQ(colorName(pp.polypoint.fill_path), "none");
    EXPECT_EQ(colorName(pp.polypoint.outline_path), "none");
    EXPECT_EQ(colorName(pp.polypoint.outline_DC), "none");
    EXPECT_EQ(colorName(pp.polypoint.fill_nodes), "#ff0000");
    EXPECT_EQ(colorName(pp.polypoint.outline), "#000000");
    EXPECT_EQ(colorName(pp.polypoint.text_foreground), "#000000");
    EXPECT_EQ(printed(pp, "font"), "Helvetica 12");
    EXPECT_EQ(pp.polypoint.show_symbols, 1);
    EXPECT_EQ(pp.polypoint.show_text, 0);
    EXPECT_EQ(pp.polypoint.linewidth, 1);
    EXPECT_EQ(pp.polypoint.linewidth_path, 1);
    EXPECT_EQ(pp.polypoint.size, 5);
    EXPECT_EQ(pp.polypoint.opacity, 1.0);
    EXPECT_EQ(pp.polypoint.npts, 0);
    EXPECT_EQ(pp.polypoint.viewport, &vp.viewport);
}

TEST(PolypointOptions, SymbolNames)
{
    KGRViewport vp(nullptr);
    KGRPolypoint pp(&vp);
    const char* names[] = {"point",  "cross",  "x",    "triangle",
                           "square", "circle", "star", "diamond"};
    for (int i = 0; i < 8; ++i) {
        ASSERT_EQ(pp.configure("symbol", names[i], kEnd), 0) << names[i];
        EXPECT_EQ(pp.polypoint.symbol, i + 1);
        EXPECT_EQ(printed(pp, "symbol"), names[i]);
    }
    // The beach ball is printed but never accepted by name.
    EXPECT_EQ(pp.configure("symbol", "beachball", kEnd), -1);
    EXPECT_EQ(pp.configure("symbol", "bogus", kEnd), -1);
    hx_clear_register(0);
    pp.polypoint.symbol = KGR_SYMBOL_BEACHBALL;
    EXPECT_EQ(printed(pp, "symbol"), "beachball");
}

TEST(PolypointSource, VectorWithLabels)
{
    hx_clear_register(0);
    ASSERT_EQ(hxvector_read_text("ppv", HXVECTOR_PLAIN,
                                 "1 2 EQ1 {sy=star sz=9 f=red}\n3 4\n5 6 text {sy=bogus}\n",
                                 nullptr),
              1);
    KGRViewport vp(nullptr);
    KGRPolypoint pp(&vp);
    ASSERT_EQ(pp.configure("vector", "ppv", kEnd), 0) << takeRegister();
    ASSERT_EQ(pp.polypoint.npts, 3);
    EXPECT_EQ(printed(pp, "vector"), "ppv");
    const KgrpolypointPoint& p0 = pp.polypoint.point[0];
    EXPECT_FLOAT_EQ(p0.x, 1.0f);
    EXPECT_FLOAT_EQ(p0.y, 2.0f);
    EXPECT_STREQ(p0.label, "EQ1");
    EXPECT_EQ(p0.symbol, KGR_SYMBOL_STAR);
    EXPECT_EQ(p0.size, 9);
    EXPECT_EQ(colorName(p0.fill), "#ff0000");
    EXPECT_EQ(pp.polypoint.point[1].label, nullptr);
    EXPECT_EQ(pp.polypoint.point[1].visibility, 1);
    EXPECT_EQ(pp.polypoint.point[1].opacity, 1.0);
    EXPECT_STREQ(pp.polypoint.point[2].label, "text");
    EXPECT_EQ(pp.polypoint.point[2].symbol, 0);
    EXPECT_DOUBLE_EQ(pp.polypoint.xmin, 1.0);
    EXPECT_DOUBLE_EQ(pp.polypoint.ymax, 6.0);
    hxvector_free("ppv");
}

TEST(PolypointSource, SecondKindAndErrors)
{
    hx_clear_register(0);
    ASSERT_EQ(hxvector_read_text("ppv2", HXVECTOR_SECOND, "1 1\n\n7 8\n9 10\n", nullptr), 2);
    KGRViewport vp(nullptr);
    KGRPolypoint pp(&vp);
    // "vector" hands a second-kind handle over to "vector2".
    ASSERT_EQ(pp.configure("vector", "ppv2:1", kEnd), 0) << takeRegister();
    ASSERT_EQ(pp.polypoint.npts, 2);
    EXPECT_FLOAT_EQ(pp.polypoint.point[1].y, 10.0f);
    EXPECT_EQ(takeRegister(), "");
    EXPECT_EQ(pp.configure("vector", "nosuch", kEnd), -1);
    EXPECT_NE(takeRegister().find("polypoint_parse_vector: Cannot find hxvector or hxvector2 "
                                  "corresponding to handle 'nosuch'."),
              std::string::npos);
    EXPECT_EQ(pp.configure("vector2", "ppv2:5", kEnd), -1);
    EXPECT_NE(takeRegister().find("polypoint_parse_vector2: hxvector2_get_points(ppv2:5) error."),
              std::string::npos);
    // A failed load keeps the points.
    EXPECT_EQ(pp.polypoint.npts, 2);
    EXPECT_EQ(pp.configure("vector", static_cast<char*>(nullptr), kEnd), 0);
    EXPECT_EQ(pp.polypoint.npts, 2);
    ASSERT_EQ(pp.configure("points_free", "", kEnd), 0);
    EXPECT_EQ(pp.polypoint.npts, 0);
    hxvector_free("ppv2");
}

TEST(PolypointSource, PathOptions)
{
    KGRViewport vp(nullptr);
    KGRPolypoint pp(&vp);
    ASSERT_EQ(pp.configure("fill_path", "blue", "outline_path", "green", kEnd), 0);
    QList<KGR_XY> list{{0, 0}, {1, 0}, {1, 1}};
    ASSERT_EQ(pp.configure("path_add<QList<KGR_XY>>", reinterpret_cast<char*>(&list), kEnd), 0);
    ASSERT_EQ(pp.configure("path_add<QList>", reinterpret_cast<char*>(&list), kEnd), 0);
    QPainterPath own;
    own.moveTo(2, 2);
    own.lineTo(3, 3);
    KGRPolypointPath record{KGR_WTRAN_GEOG, 1, 0, &own};
    ASSERT_EQ(pp.configure("path_add<KGRPolypointPath>", reinterpret_cast<char*>(&record), kEnd),
              0);
    ASSERT_EQ(pp.polypoint.npts, 3);
    const KgrpolypointPoint& p0 = pp.polypoint.point[0];
    EXPECT_EQ(p0.symbol, KGR_SYMBOL_PATH);
    EXPECT_EQ(p0.visibility, 1);
    EXPECT_EQ(p0.opacity, 1.0);
    EXPECT_EQ(colorName(p0.fill), "#0000ff");
    EXPECT_EQ(colorName(p0.outline), "#008000");
    ASSERT_NE(p0.ppath.path, nullptr);
    ASSERT_EQ(p0.ppath.path->elementCount(), 3);
    EXPECT_TRUE(p0.ppath.path->elementAt(0).isMoveTo());
    EXPECT_EQ(p0.ppath.path->elementAt(2).x, 1.0);
    const KgrpolypointPoint& p2 = pp.polypoint.point[2];
    EXPECT_EQ(p2.ppath.wtran, KGR_WTRAN_GEOG);
    EXPECT_EQ(p2.ppath.np, 1);
    EXPECT_EQ(*p2.ppath.path, own);
    // "path" starts over with one path point.
    ASSERT_EQ(pp.configure("path", reinterpret_cast<char*>(&record), kEnd), 0);
    EXPECT_EQ(pp.polypoint.npts, 1);
}

TEST(PolypointLabel, KeysAndLabel)
{
    Point pt;
    ASSERT_EQ(polypoint_parse_label(&pt.p, "EQ1 {sy=star sz=9 f=red}"), 0);
    EXPECT_STREQ(pt.p.label, "EQ1");
    EXPECT_EQ(pt.p.symbol, KGR_SYMBOL_STAR);
    EXPECT_EQ(pt.p.size, 9);
    EXPECT_EQ(colorName(pt.p.fill), "#ff0000");
    // Tabs separate too; words without "=" and unknown keys are skipped.
    ASSERT_EQ(polypoint_parse_label(&pt.p, "X {o=blue\tn=green junk zz=1 sz= sy=circle}"), 0);
    EXPECT_STREQ(pt.p.label, "X");
    EXPECT_EQ(colorName(pt.p.outline), "#0000ff");
    EXPECT_EQ(colorName(pt.p.fill_nodes), "#008000");
    EXPECT_EQ(pt.p.size, 0);
    EXPECT_EQ(pt.p.symbol, KGR_SYMBOL_CIRCLE);
}

TEST(PolypointLabel, SymbolWords)
{
    const char* names[] = {"",       "point", "cross",   "x",         "triangle", "square",
                           "circle", "star",  "diamond", "beachball", "bogus"};
    const int codes[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 0, 0};
    for (int i = 0; i < 11; ++i) {
        Point pt;
        pt.p.symbol = 5;
        std::string text = std::string("a {sy=") + names[i] + "}";
        polypoint_parse_label(&pt.p, text.c_str());
        EXPECT_EQ(pt.p.symbol, codes[i]) << text;
    }
}

TEST(PolypointLabel, Malformed)
{
    {
        Point pt;
        polypoint_parse_label(&pt.p, "abc {sy=star");
        EXPECT_STREQ(pt.p.label, "abc {sy=star");
        EXPECT_EQ(pt.p.symbol, 0);
    }
    {
        // No blank before the brace: the first "{" is taken.
        Point pt;
        polypoint_parse_label(&pt.p, "abc{sy=x}");
        EXPECT_STREQ(pt.p.label, "abc");
        EXPECT_EQ(pt.p.symbol, KGR_SYMBOL_X);
    }
    {
        // Only keys: no label.
        Point pt;
        polypoint_parse_label(&pt.p, "{sz=4}");
        EXPECT_EQ(pt.p.label, nullptr);
        EXPECT_EQ(pt.p.size, 4);
    }
    {
        // A colour that does not parse is ignored and its error cleared; an
        // unknown name is kept as an invalid colour, as colour options keep it.
        hx_clear_register(0);
        Point pt;
        polypoint_parse_label(&pt.p, "a {f=x,y,z n=1,2 o=notacolour}");
        EXPECT_EQ(pt.p.fill.color, nullptr);
        EXPECT_EQ(pt.p.fill_nodes.color, nullptr);
        ASSERT_NE(pt.p.outline.color, nullptr);
        EXPECT_FALSE(pt.p.outline.color->isValid());
        EXPECT_EQ(takeRegister(), "");
    }
    {
        // Labels longer than the buffer are cut at 8191 characters.
        Point pt;
        std::string longText(20000, 'q');
        polypoint_parse_label(&pt.p, longText.c_str());
        ASSERT_NE(pt.p.label, nullptr);
        EXPECT_EQ(strlen(pt.p.label), 8191u);
        std::string keysCut = std::string(8185, 'q') + " {sz=3}";
        polypoint_parse_label(&pt.p, keysCut.c_str());
        EXPECT_EQ(strlen(pt.p.label), 8191u); // the closing brace fell off
        EXPECT_EQ(pt.p.size, 0);
    }
    {
        Point pt;
        polypoint_parse_label(&pt.p, "}{ {}} {{=} {=}");
        polypoint_parse_label(&pt.p, "");
        polypoint_parse_label(&pt.p, nullptr);
        EXPECT_EQ(pt.p.symbol, 0);
    }
}

TEST(PolypointBB, ParseCounts)
{
    double m[6] = {0, 0, 0, 0, 0, 0};
    char five[] = "1,2,3,4,5";
    EXPECT_EQ(polypoint_parse_bb(five, m), -1);
    EXPECT_EQ(m[4], 5.0); // the ones read are kept
    char seven[] = "1,2,3,4,5,6,7";
    EXPECT_EQ(polypoint_parse_bb(seven, m), 0);
    EXPECT_EQ(m[5], 6.0);
    char junk[] = ",,,x,1e400,";
    EXPECT_EQ(polypoint_parse_bb(junk, m), -1);
    char empty[] = "";
    EXPECT_EQ(polypoint_parse_bb(empty, m), -1);
    EXPECT_EQ(polypoint_parse_bb(nullptr, m), -1);
}

TEST(PolypointBB, MalformedListInLabelKeepsSymbol)
{
    Point pt;
    pt.p.symbol = KGR_SYMBOL_STAR;
    polypoint_parse_label(&pt.p, "E {sy=bb,1,2,3}");
    EXPECT_EQ(pt.p.symbol, KGR_SYMBOL_STAR);
    EXPECT_EQ(pt.p.P_nodes, nullptr);
    polypoint_parse_label(&pt.p, "E {sy=bb,}");
    EXPECT_EQ(pt.p.symbol, KGR_SYMBOL_STAR);
}

TEST(PolypointCoding, Scale)
{
    KgrpolypointCodingScaling s{2.0, 10.0, 0, 0, KGR_UNSET, KGR_UNSET, 3.0};
    EXPECT_DOUBLE_EQ(polypoint_coding_scale(4.0, &s), 16.0);
    s.coding_max = 12.0;
    EXPECT_DOUBLE_EQ(polypoint_coding_scale(4.0, &s), 12.0);
    s.coding_min = 5.0;
    EXPECT_DOUBLE_EQ(polypoint_coding_scale(0.0, &s), 5.0);
}

TEST(PolypointCoding, SizeModes)
{
    KGRViewport vp(nullptr);
    KGRPolypoint pp(&vp);
    KgrpolypointCoding c = unsetCoding();
    c.size_constant = 7;
    c.size_gain = 1.5;
    c.size_scaling = {0.0, 1.0, 0, 0, KGR_UNSET, KGR_UNSET, 2.0};
    Point pt;
    pt.p.size_value = 3.0;
    c.size = 4; // no such mode: the constant size
    pp.makeSymbol(&c, &pt.p);
    EXPECT_EQ(pt.p.size, 10); // 7 * 1.5 truncated
    c.size = 2;
    pp.makeSymbol(&c, &pt.p);
    EXPECT_EQ(pt.p.size, 10); // (3 * 2 + 1) * 1.5 = 10.5
    c.size = 3;
    c.size_gain = -1.5;
    pp.makeSymbol(&c, &pt.p);
    EXPECT_EQ(pt.p.size, -10); // towards zero
    c.size = KGR_CODING_UNSET;
    pt.p.size = 42;
    pp.makeSymbol(&c, &pt.p);
    EXPECT_EQ(pt.p.size, 42);
    // Values that do not fit an int give no size, not undefined behaviour.
    c.size = 2;
    c.size_gain = 1.0;
    pt.p.size_value = NAN;
    pp.makeSymbol(&c, &pt.p);
    EXPECT_EQ(pt.p.size, 0);
    pt.p.size_value = 1e300;
    pp.makeSymbol(&c, &pt.p);
    EXPECT_EQ(pt.p.size, 0);
}

TEST(PolypointCoding, SymbolColourOutlineFader)
{
    KGRViewport vp(nullptr);
    KGRPolypoint pp(&vp);
    KgrpolypointCoding c = unsetCoding();
    KGR_ParseColor("red", &c.fi);
    KGR_ParseColor("blue", &c.fin);
    KGR_ParseColor("green", &c.ot);
    c.symbol = KGR_SYMBOL_TRIANGLE;
    c.color = 1;
    c.fader = 1;
    c.fader_constant = 0.5;
    c.fader_gain = 0.8;
    Point pt;
    pp.makeSymbol(&c, &pt.p);
    EXPECT_EQ(pt.p.symbol, KGR_SYMBOL_TRIANGLE);
    EXPECT_EQ(pt.p.color, 1);
    EXPECT_EQ(colorName(pt.p.fill), "#ff0000");
    EXPECT_EQ(colorName(pt.p.fill_nodes), "#0000ff");
    EXPECT_EQ(colorName(pt.p.outline), "#008000");
    EXPECT_EQ(pt.p.fader, 1);
    EXPECT_DOUBLE_EQ(pt.p.opacity, 0.4);
    // Fader modes 2 and 3 scale the fader value; others are only stored.
    c.fader = 3;
    c.fader_gain = 1.0;
    c.fader_scaling = {0.0, 0.25, 0, 0, KGR_UNSET, 1.0, 0.5};
    pt.p.fader_value = 1.0;
    pp.makeSymbol(&c, &pt.p);
    EXPECT_EQ(pt.p.fader, 3);
    EXPECT_DOUBLE_EQ(pt.p.opacity, 0.75);
    c.fader = 77;
    pp.makeSymbol(&c, &pt.p);
    EXPECT_EQ(pt.p.fader, 77);
    EXPECT_DOUBLE_EQ(pt.p.opacity, 0.75);
    // Unset symbol and colour leave the point alone; an odd symbol is stored.
    c.symbol = KGR_CODING_UNSET;
    c.color = KGR_CODING_UNSET;
    pp.makeSymbol(&c, &pt.p);
    EXPECT_EQ(pt.p.symbol, KGR_SYMBOL_TRIANGLE);
    EXPECT_EQ(pt.p.color, 1);
    c.symbol = 1234;
    pp.makeSymbol(&c, &pt.p);
    EXPECT_EQ(pt.p.symbol, 1234);
    KGR_ClearColor(&c.fi);
    KGR_ClearColor(&c.fin);
    KGR_ClearColor(&c.ot);
}

TEST(PolypointCoding, DepthColour)
{
    KGRViewport vp(nullptr);
    KGRPolypoint pp(&vp);
    KgrpolypointCoding c = unsetCoding();
    c.color = 2;
    Point pt;
    // At the surface d = 0: hue 240, lightness 0.8.
    pt.p.color_value = 0.0;
    pp.makeSymbol(&c, &pt.p);
    ASSERT_NE(pt.p.fill.color, nullptr);
    KGR_Color expect{};
    ASSERT_GE(KGR_ParseColor("240.0,1.00,0.80", &expect), 0);
    EXPECT_EQ(pt.p.fill.color->rgb(), expect.color->rgb());
    EXPECT_EQ(pt.p.fill_nodes.color, nullptr);
    // At 650 km d = -1: hue 0 and lightness 0.5.
    pt.p.color_value = 650.0;
    pp.makeSymbol(&c, &pt.p);
    ASSERT_GE(KGR_ParseColor("0.0,1.00,0.50", &expect), 0);
    EXPECT_EQ(pt.p.fill.color->rgb(), expect.color->rgb());
    // Out-of-range depths still give a colour (hue brought into 0..360).
    pt.p.color_value = -5000.0;
    pp.makeSymbol(&c, &pt.p);
    pt.p.color_value = NAN;
    pp.makeSymbol(&c, &pt.p);
    KGR_ClearColor(&expect);
    hx_clear_register(0);
}

TEST(PolypointOpacity, FaderOrItem)
{
    KGRViewport vp(nullptr);
    KGRPolypoint pp(&vp);
    ASSERT_EQ(pp.configure("opacity", "0.3", kEnd), 0);
    QList<KGR_XY> list{{0, 0}};
    pp.configure("path_add<QList>", reinterpret_cast<char*>(&list), kEnd);
    pp.polypoint.point[0].opacity = 0.9;
    EXPECT_DOUBLE_EQ(pp.getOpacity(0), 0.3);
    pp.polypoint.point[0].fader = 1;
    EXPECT_DOUBLE_EQ(pp.getOpacity(0), 0.9);
    EXPECT_DOUBLE_EQ(pp.getOpacity(5), 0.3);
}
