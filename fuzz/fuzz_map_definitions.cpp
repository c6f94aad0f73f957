// Maps with arbitrary layer definitions, layer lists, templates and
// commands, then drawn: parsing, replacing layers, lists that name unknown
// layers and sources that cannot be opened must never crash, leak or hang.
//
// Input: the definitions text, a line "%%", the layer-list text, a line
// "%%", a template text, a line "%%", then command lines "option value"
// (show, hide, toggle, template, zoom, set_projection, ...).
#include "fuzz_input.h"
#include "kgrqt.h"

#include <QApplication>
#include <QImage>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string>

namespace {

QApplication* application()
{
    static int argc = 1;
    static char name[] = "fuzz_map_definitions";
    static char* argv[] = {name, nullptr};
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    // Bare file names resolve in an empty directory: nothing large opens.
    static char dir[] = "/tmp/fuzz-map-XXXXXX";
    static const char* made = mkdtemp(dir);
    setenv("KGRQT_MAPDATA_DIR", made ? made : "/nonexistent", 1);
    static QApplication* app = new QApplication(argc, argv);
    return app;
}

void render(KGRViewport& vp)
{
    QImage image(vp.size(), QImage::Format_ARGB32);
    vp.render(&image);
}

// Options a command line may name; the rest are left alone so that the
// fuzzer cannot switch on grid workers or read real files by option.
bool isCommand(const std::string& option)
{
    static const char* const commands[] = {
        "maplayer_show",      "maplayer_hide", "maplayer_visibility_toggle",
        "maplayers_template", "zoom",          "set_projection",
        "maplayers",          "fill_land",     "fill_water"};
    for (const char* c : commands)
        if (option == c)
            return true;
    return false;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    application();
    std::string text(reinterpret_cast<const char*>(data), size);
    size_t at = 0;
    std::string definitions = fuzz_section(text, &at);
    std::string layers = fuzz_section(text, &at);
    std::string templ = fuzz_section(text, &at);
    std::string commands = fuzz_section(text, &at);
    {
        KGRViewport vp(nullptr);
        vp.resize(120, 80);
        vp.configure("wtran", size % 2 ? "edp" : "merc", "xleft", "-180", "xright", "180",
                     "ybottom", "-60", "ytop", "60", static_cast<char*>(nullptr));
        auto* map = new KGRMap(&vp);
        map->configure("nthreads", "1", "maplayers", "maplayers &Tbl{\n}\n",
                       static_cast<char*>(nullptr));
        map->configure("maplayer_definitions", definitions.c_str(), static_cast<char*>(nullptr));
        map->configure("maplayers", layers.c_str(), static_cast<char*>(nullptr));
        map->configure("define_maplayers_template", templ.c_str(), static_cast<char*>(nullptr));
        render(vp);
        std::istringstream lines(commands);
        std::string line;
        for (int n = 0; n < 16 && std::getline(lines, line); ++n) {
            size_t space = line.find(' ');
            std::string option = line.substr(0, space);
            std::string value = space == std::string::npos ? "" : line.substr(space + 1);
            if (isCommand(option))
                map->configure(option.c_str(), value.c_str(), static_cast<char*>(nullptr));
            render(vp);
        }
        // Half of the runs take the map away before its viewport.
        if (size % 3 == 0)
            delete map;
    }
    hx_clear_register(0);
    return 0;
}
