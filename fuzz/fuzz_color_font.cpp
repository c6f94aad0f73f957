// Colour and font strings: any text must parse or fail cleanly, leaving a
// consistent record behind.
#include "KGR.h"

#include <QColor>
#include <QFont>
#include <QGuiApplication>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

QGuiApplication* app()
{
    static int argc = 1;
    static char name[] = "fuzz_color_font";
    static char* argv[] = {name, nullptr};
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    static QGuiApplication* a = new QGuiApplication(argc, argv);
    return a;
}

void checkColor(const std::string& text)
{
    KGR_Color color = {nullptr, nullptr};
    int r = KGR_ParseColor(text.c_str(), &color);
    if ((color.color == nullptr) != (color.color_name == nullptr))
        abort();
    if (r == 1 && !text.empty() && strcmp(color.color_name, text.c_str()) != 0)
        abort();
    if (r == 1 && KGR_ParseColor(text.c_str(), &color) != 0)
        abort();
    KGR_Color copy = {nullptr, nullptr};
    KGR_CopyColor(&color, &copy);
    KGR_ClearColor(&copy);
    KGR_ClearColor(&color);
}

void checkFont(const std::string& text)
{
    KGR_Font font = {nullptr, 0, 0, 0, nullptr};
    int r = KGR_ParseFont(text.c_str(), &font);
    // Either a font was built, or (a text without words) the record is clear.
    if ((font.font == nullptr) != (font.family == nullptr))
        abort();
    if (r == 1 && font.font && KGR_ParseFont(text.c_str(), &font) != 0)
        abort();
    KGR_ParseFont(nullptr, &font);
    if (font.family || font.font)
        abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    app();
    std::string text(reinterpret_cast<const char*>(data), size);
    text = text.c_str(); // stop at the first NUL, as a C string would
    checkColor(text);
    checkFont(text);
    hx_clear_register(0);
    return 0;
}
