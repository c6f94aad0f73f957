// Position expressions: sums of terms such as "0.5v", "fbottom+10" or
// "12.5d" that place decorations in pixels from the lower-left corner of a
// viewport's plot frame, x to the right and y upwards.
#include "kgrqt.h"
#include "kgrqt_round.h"

#include <cmath>
#include <cstring>
#include <string>

namespace {

// One axis of the frame as position terms see it.
struct PositionAxis {
    int size;          // inner size, pixels
    int frameSize;     // whole frame, pixels
    int margin;        // margin before the inner area
    double start;      // plane value at the inner edge
    double scale;      // 1 / plane range
    int mode;          // linear, logarithmic or time
    const char* high;  // keyword of the far inner edge ("right", "top")
    const char* fhigh; // ... of the far frame edge
    const char* low;   // ... of the near inner edge
    const char* flow;  // ... of the near frame edge
    bool horizontal;
};

bool axisOf(KgrviewportItem* vp, bool horizontal, PositionAxis* axis)
{
    int pw = 0, ph = 0;
    double x1 = 0, x2 = 0, sx = 0, y1 = 0, y2 = 0, sy = 0;
    if (kgrqt_get_scales(vp, &pw, &ph, &x1, &x2, &sx, &y1, &y2, &sy) < 0)
        return false;
    if (horizontal)
        *axis = {pw,        vp->header.x2 - vp->header.x1,
                 vp->mleft, x1,
                 sx,        vp->xmode,
                 "right",   "fright",
                 "left",    "fleft",
                 true};
    else
        *axis = {ph,          vp->header.y2 - vp->header.y1,
                 vp->mbottom, y1,
                 sy,          vp->ymode,
                 "top",       "ftop",
                 "bottom",    "fbottom",
                 false};
    return true;
}

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
    PositionAxis axis;
    if (!axisOf(vp, horizontal, &axis))
        return -1;
    double value = 0.0;
    if (!strcmp(term, axis.high)) {
        *sum += axis.size;
    } else if (!strcmp(term, axis.fhigh)) {
        *sum += axis.frameSize - axis.margin;
    } else if (!strcmp(term, axis.low)) {
        // The inner edge is the origin.
    } else if (!strcmp(term, axis.flow)) {
        *sum -= axis.margin;
    } else if (numberWithUnit(term, 'd', &value)) {
        if (axis.mode == KGR_MODE_LOG) {
            if (value <= 0.0)
                return -1;
            value = log10(value);
        }
        *sum += (value - axis.start) * axis.scale * axis.size;
    } else if (numberWithUnit(term, 'v', &value)) {
        *sum += value * axis.size;
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
