// Symbol coding strings of the map events, their scaling entries and the
// great-circle paths to stations: whatever the text, parsing must not
// crash, leak or hang, and must leave a record that a symbol can be made
// from (known modes, finite reals, colours whole).
//
// Input: a coding text, a line "%%", a scaling entry, a line "%%", then
// bytes for one great circle (four coordinates and a step count).
#include "fuzz_input.h"
#include "kgrqt_mapevents.h"

#include <QApplication>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

QApplication* application()
{
    static int argc = 1;
    static char name[] = "fuzz_mapevents_coding";
    static char* argv[] = {name, nullptr};
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    static QApplication* app = new QApplication(argc, argv);
    return app;
}

// The item whose makeSymbol applies a coding to a point.
KGRPolypoint* polypoint()
{
    static KGRViewport* viewport = new KGRViewport(nullptr);
    static KGRPolypoint* item = new KGRPolypoint(viewport);
    return item;
}

void check(bool ok)
{
    if (!ok)
        abort();
}

void checkScaling(const KgrpolypointCodingScaling& s)
{
    for (double v : {s.value1, s.coding1, s.value2, s.coding2, s.coding_min, s.coding_max, s.scale})
        check(std::isfinite(v));
}

bool isMode(int mode)
{
    return mode == KGR_CODING_UNSET || mode == 0 || mode == 1 || (mode >= 3 && mode <= 5);
}

void checkCoding(const KgrpolypointCoding& c)
{
    check(c.symbol == KGR_CODING_UNSET || (c.symbol >= 0 && c.symbol <= 9));
    check(isMode(c.size) && isMode(c.fader));
    check(c.color == KGR_CODING_UNSET || (c.color >= 0 && c.color <= 2));
    check(std::isfinite(c.size_gain) && std::isfinite(c.fader_gain));
    check(std::isfinite(c.fader_constant));
    checkScaling(c.size_scaling);
    checkScaling(c.fader_scaling);
    for (const KGR_Color* color : {&c.fi, &c.fin, &c.ot})
        check((color->color_name == nullptr) == (color->color == nullptr));
}

KgrpolypointCoding unsetCoding()
{
    KgrpolypointCoding c{};
    c.symbol = c.size = c.color = c.fader = KGR_CODING_UNSET;
    c.size_gain = c.fader_gain = 1.0;
    c.size_scaling = c.fader_scaling = {0, 0, 0, 0, KGR_UNSET, KGR_UNSET, 0};
    return c;
}

void freeCoding(KgrpolypointCoding* c)
{
    KGR_ClearColor(&c->fi);
    KGR_ClearColor(&c->fin);
    KGR_ClearColor(&c->ot);
}

// A coding parsed over the events' default, then made into a symbol.
void codeSymbol(const std::string& text)
{
    KgrpolypointCoding c = unsetCoding();
    check(mapevents_parse_coding("sy=circle,sz=5,szg=1.0,cl=depth,fd=1.0,fdg=1.0,ot=#60000000,"
                                 "fi=#a0a0a0,lw=0\n",
                                 &c) == 0);
    check(mapevents_parse_coding(text.c_str(), &c) == 0);
    checkCoding(c);
    // Nothing in a coding text is an error.
    check(hx_register_count() == 0);
    KgrpolypointPoint point;
    memset(static_cast<void*>(&point), 0, sizeof point);
    point.visibility = 1;
    point.opacity = 1.0;
    point.size_value = 100;
    point.fader_value = 100;
    point.color_value = 33;
    polypoint()->makeSymbol(&c, &point);
    polypoint_free_point(&point);
    freeCoding(&c);
}

void scaleEntry(const std::string& text)
{
    int mode = KGR_CODING_UNSET;
    double constant = 0;
    KgrpolypointCodingScaling s = {0, 0, 0, 0, KGR_UNSET, KGR_UNSET, 0};
    check(mapevents_parse_coding_entry(text.c_str(), &mode, &constant, &s) == 0);
    check(isMode(mode) && mode != KGR_CODING_UNSET && std::isfinite(constant));
    checkScaling(s);
    check(hx_register_count() == 0);
}

void greatCircle(FuzzInput& in)
{
    static const double specials[] = {0, 90, -90, 180, -180, 45, 1e-7, 179.999, NAN, INFINITY};
    double v[4];
    for (double& x : v)
        x = in.number<int16_t>(specials, 64, 160, 100.0);
    // Station paths are short lists; a bounded count keeps runs fast.
    const int n = in.take<int16_t>() % 200;
    QList<KGR_XY>* path = make_great_circle_path(v[0], v[1], v[2], v[3], n);
    check(path && path->size() == (n < 1 ? 1 : n) + 1);
    delete path;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    application();
    hx_clear_register(0);
    std::string text(reinterpret_cast<const char*>(data), size);
    size_t at = 0;
    const std::string coding = fuzz_section(text, &at);
    const std::string entry = fuzz_section(text, &at);
    FuzzInput rest{data + at, size - at};

    codeSymbol(coding);
    scaleEntry(entry);
    // The entry as both scaled keys of a coding.
    codeSymbol("sz=" + entry + ",fd=" + entry);
    greatCircle(rest);
    hx_clear_register(0);
    return 0;
}
