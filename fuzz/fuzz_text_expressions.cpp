// Position expressions, justification codes, number formats and nice tic
// values: any input must evaluate or fail cleanly, and results keep their
// invariants.
#include "kgrqt.h"
#include "viewport_record.h"

#include <QGuiApplication>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

// Pieces of the input separated by newlines.
std::string piece(const std::string& text, int index)
{
    size_t start = 0;
    for (int i = 0; i < index; ++i) {
        size_t nl = text.find('\n', start);
        if (nl == std::string::npos)
            return "";
        start = nl + 1;
    }
    return text.substr(start, text.find('\n', start) - start);
}

KgrviewportItem viewportFor(int mode)
{
    KgrviewportItem vp = viewportRecord(460, 300, 40, 20, 30, 30, 1, 1000, 1, 100);
    vp.xmode = vp.ymode = mode;
    return vp;
}

void checkPositions(const std::string& x, const std::string& y, int mode)
{
    KgrviewportItem vp = viewportFor(mode);
    double px = 0, py = 0;
    kgrqt_get_pixels(&vp, x.c_str(), y.c_str(), &px, &py, nullptr);
    int pixels = 0;
    std::string copy = x;
    kgrqt_GetPixels(&copy[0], &pixels);
}

void checkJustification(std::string just)
{
    double jx = -1, jy = -1;
    kgrqt_parse_justification(&just[0], &jx, &jy);
    if ((jx != 0.0 && jx != 0.5 && jx != 1.0) || (jy != 0.0 && jy != 0.5 && jy != 1.0))
        abort();
}

void checkNumber(std::string format, double value)
{
    char label[KGRQT_NUMBER_MAX];
    kgrqt_nice_number(value, &format[0], label);
    if (strlen(label) >= sizeof label)
        abort();
}

void checkNiceValues(const double* v)
{
    double start_big = 0, incr_big = v[4], start_sml = 0, incr_sml = v[5];
    int n_big = 0, n_sml = 0;
    if (kgrqt_get_nice_fvals(v[0], v[1], v[2], v[3], &start_big, &n_big, &incr_big, &start_sml,
                             &n_sml, &incr_sml) == 1 &&
        (n_big < 0 || n_sml < 0))
        abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static int argc = 1;
    static char name[] = "fuzz_text_expressions";
    static char* argv[] = {name, nullptr};
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    static QGuiApplication* app = new QGuiApplication(argc, argv);
    (void)app;

    std::string text(reinterpret_cast<const char*>(data), size);
    text = text.substr(0, strnlen(text.c_str(), text.size()));
    const int mode = size ? data[0] % 3 : 0;
    checkPositions(piece(text, 0), piece(text, 1), mode);
    checkJustification(piece(text, 2));
    double values[6] = {0, 0, 0, 0, 0, 0};
    if (size >= sizeof values)
        memcpy(values, data + size - sizeof values, sizeof values);
    checkNumber(piece(text, 3), values[0]);
    checkNiceValues(values);
    hx_clear_register(0);
    return 0;
}
