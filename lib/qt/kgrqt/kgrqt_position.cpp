// Position expressions: sums of terms such as "0.5v", "fbottom+10" or
// "12.5d" that place decorations in pixels from the lower-left corner of a
// viewport's plot frame, x to the right and y upwards.
#include "KGRText.h"
#include "KGRViewport.h"
#include "kgrqt_engine.h"
#include "kgrqt_round.h"
#include "kgrqt_tics.h"

#include <cmath>
#include <cstring>
#include <string>

namespace {

// The keywords of one axis: far inner and frame edges, near ones.
struct EdgeWords {
    const char *high, *fhigh, *low, *flow;
};

const EdgeWords xWords = {"right", "fright", "left", "fleft"};
const EdgeWords yWords = {"top", "ftop", "bottom", "fbottom"};

// A term of the form <number><unit>: true with the number when the whole
// term is that.
bool numberWithUnit(const char* term, char unit, double* value)
{
    size_t n = strlen(term);
    if (n < 2 || term[n - 1] != unit)
        return false;
    std::string number(term, n - 1);
    char* end = nullptr;
    *value = fix_strtod(number.c_str(), &end);
    return end != number.c_str() && *end == '\0';
}

int evaluateTerm(KgrviewportItem* vp, bool horizontal, const char* term, double* sum, KGRText* text)
{
    KgrqtAxis axis;
    if (!kgrqt_axis_of(vp, horizontal, &axis))
        return -1;
    const EdgeWords& words = horizontal ? xWords : yWords;
    double value = 0.0;
    if (!strcmp(term, words.high)) {
        *sum += axis.pixels;
    } else if (!strcmp(term, words.fhigh)) {
        *sum += axis.frame - axis.margin;
    } else if (!strcmp(term, words.low)) {
        // The inner edge is the origin.
    } else if (!strcmp(term, words.flow)) {
        *sum -= axis.margin;
    } else if (numberWithUnit(term, 'd', &value)) {
        if (axis.mode == KGR_MODE_LOG) {
            if (value <= 0.0)
                return -1;
            value = log10(value);
        }
        *sum += (value - axis.p1) * axis.scale * axis.pixels;
    } else if (numberWithUnit(term, 'v', &value)) {
        *sum += value * axis.pixels;
    } else if (numberWithUnit(term, 'r', &value)) {
        // Relative to a text item's last box: replaces what was summed.
        if (text) {
            const KgrtextItem& t = text->text;
            *sum = horizontal ? t.fxbb + value * t.wbb : t.fybb + value * t.hbb;
        }
    } else {
        int pixels = 0;
        if (kgrqt_GetPixels(const_cast<char*>(term), &pixels) < 0)
            return -1;
        *sum += pixels;
    }
    return 0;
}

// Splits an expression into signed terms and sums them; blanks are
// skipped and an empty term counts as 0.
int evaluateExpression(KgrviewportItem* vp, bool horizontal, const char* expr, double* sum,
                       KGRText* text)
{
    *sum = 0.0;
    if (!expr)
        return 0;
    std::string term;
    for (const char* p = expr; *p; ++p) {
        if (*p == ' ' || *p == '\t')
            continue;
        if (*p == '+' || *p == '-') {
            if (evaluateTerm(vp, horizontal, term.empty() ? "0" : term.c_str(), sum, text) < 0)
                return -1;
            term.assign(1, *p);
            continue;
        }
        term += *p;
    }
    if (!term.empty() && evaluateTerm(vp, horizontal, term.c_str(), sum, text) < 0)
        return -1;
    return 0;
}

} // namespace

int kgrqt_get_pixels(KgrviewportItem* vp, const char* xexpr, const char* yexpr, double* x,
                     double* y, KGRText* text)
{
    *x = 0.0;
    *y = 0.0;
    if (!vp)
        return -1;
    if (evaluateExpression(vp, true, xexpr, x, text) < 0)
        return -1;
    return evaluateExpression(vp, false, yexpr, y, text);
}

int kgrqt_get_xpixel(KgrviewportItem* vp, const char* term, double* x, KGRText* text)
{
    return vp && term ? evaluateTerm(vp, true, term, x, text) : -1;
}

int kgrqt_get_ypixel(KgrviewportItem* vp, const char* term, double* y, KGRText* text)
{
    return vp && term ? evaluateTerm(vp, false, term, y, text) : -1;
}

int kgrqt_GetPixels(char* text, int* pixels)
{
    *pixels = 0;
    if (!text || !*text)
        return 0;
    if (strchr("cimp", text[strlen(text) - 1])) {
        hx_complain(0, "kgrqt_GetPixels: %s not implemented\n", text);
        return -1;
    }
    char* end = nullptr;
    // Pixel counts are single precision.
    const float value = static_cast<float>(fix_strtod(text, &end));
    if (end == text || *end != '\0' || !std::isfinite(value)) {
        hx_register_error(0, "kgrqt_GetPixels: Cannot recognize %s\n", text);
        return -1;
    }
    *pixels = kgrqt_round(value);
    return 0;
}
