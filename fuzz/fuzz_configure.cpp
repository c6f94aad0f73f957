// The option engine's conversions: the input is split into name and value
// lines and configured into a record of every type.
#include "kgrqt.h"

#include <QGuiApplication>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

struct Record {
    int i;
    double d;
    int b;
    char* s;
    void* p;
    KGR_Color c;
    KGR_Font f;
};

HX_ConfigureSpec specs[] = {
    {"int", "i", "0", offsetof(Record, i), HX_CONFIGURE_NULL_OK, nullptr},
    {"double", "d", "1.0", offsetof(Record, d), HX_CONFIGURE_NULL_OK, nullptr},
    {"boolean", "b", "yes", offsetof(Record, b), 0, nullptr},
    {"string", "s", "", offsetof(Record, s), 0, nullptr},
    {"color", "c", "black", offsetof(Record, c), HX_CONFIGURE_NULL_OK, nullptr},
    {"font", "f", "Helvetica 12", offsetof(Record, f), 0, nullptr},
    {"end", nullptr, nullptr, 0, 0, nullptr},
};

void app()
{
    static int argc = 1;
    static char name[] = "fuzz_configure";
    static char* argv[] = {name, nullptr};
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    static QGuiApplication* a = new QGuiApplication(argc, argv);
    (void)a;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    app();
    // "name value" per line; the first blank separates them.
    std::vector<std::string> words;
    std::string text(reinterpret_cast<const char*>(data), size);
    size_t start = 0;
    while (start <= text.size()) {
        size_t end = text.find('\n', start);
        if (end == std::string::npos)
            end = text.size();
        std::string line = text.substr(start, end - start).c_str();
        size_t blank = line.find(' ');
        words.push_back(line.substr(0, blank));
        words.push_back(blank == std::string::npos ? "" : line.substr(blank + 1));
        start = end + 1;
    }
    std::vector<char*> argv;
    for (auto& w : words)
        argv.push_back(&w[0]);

    Record rec = {};
    {
        KGRConfigure cfg;
        cfg.setConfigureSpecs(specs, reinterpret_cast<char*>(&rec), "Fuzz");
        cfg.configure(static_cast<int>(argv.size()), argv.data());
        for (const HX_ConfigureSpec* s = specs; s->name; ++s)
            free(cfg.printConfigValue(s->name));
    }
    free(rec.s);
    KGR_ClearColor(&rec.c);
    KGR_ParseFont(nullptr, &rec.f);
    hx_clear_register(0);
    return 0;
}
