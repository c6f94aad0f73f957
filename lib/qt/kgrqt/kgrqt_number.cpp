// Number labels and "nice" tic values of axes and grids.
#include "hxutil.h"
#include "kgrqt_engine.h"
#include "kgrqt_round.h"

#include <cctype>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstring>

namespace {

// Digits of an "auto" label that are kept; later ones print as 0.
const int kSignificantDigits = 13;

// The conversion a user's label format makes of its one argument.
enum class Conversion { Invalid, Integer, Floating };

// Steps over the digits of a field width or precision. False when the
// count is wider than a label can be: the C library would otherwise build
// the whole conversion in memory before truncating it.
bool skipCount(const char** p)
{
    int count = 0;
    for (; isdigit(static_cast<unsigned char>(**p)); ++*p) {
        count = count * 10 + (**p - '0');
        if (count >= KGRQT_NUMBER_MAX)
            return false;
    }
    return true;
}

// Checks that a format has exactly one conversion and that it takes a
// number of the kind its last letter says: "%d"-style formats an int, the
// floating-point letters a double. Anything else (a "%s", a "%n", two
// conversions, a "*" width) would read arguments that are not there.
Conversion classifyFormat(const char* format)
{
    int conversions = 0;
    char letter = 0;
    for (const char* p = format; *p; ++p) {
        if (*p != '%')
            continue;
        if (p[1] == '%') {
            ++p;
            continue;
        }
        ++p;
        while (*p && strchr("-+ #0", *p))
            ++p;
        if (!skipCount(&p))
            return Conversion::Invalid;
        if (*p == '.') {
            ++p;
            if (!skipCount(&p))
                return Conversion::Invalid;
        }
        if (*p == 'l')
            ++p;
        if (!*p || !strchr("dieEfFgGaA", *p))
            return Conversion::Invalid;
        letter = *p;
        ++conversions;
    }
    if (conversions != 1)
        return Conversion::Invalid;
    return letter == 'd' || letter == 'i' ? Conversion::Integer : Conversion::Floating;
}

// The number of steps from first, by incr, that stay on the near side of
// last (ascending when incr > 0), computed rather than counted so that a
// tiny increment cannot stall the caller.
int countSteps(double first, double incr, double last)
{
    auto inside = [&](double n) {
        double v = first + n * incr;
        return incr > 0.0 ? v <= last : v >= last;
    };
    double n = floor((last - first) / incr);
    if (!(n >= 0.0))
        return inside(0.0) ? 1 : 0;
    if (n > INT_MAX - 2.0)
        return INT_MAX - 1;
    // The quotient is off by at most a step or two through rounding; when
    // the values are too large to tell steps apart, it stands.
    for (int i = 0; i < 4 && n >= 0.0 && !inside(n); ++i)
        n -= 1.0;
    for (int i = 0; i < 4 && n + 1.0 <= INT_MAX - 2.0 && inside(n + 1.0); ++i)
        n += 1.0;
    if (n < 0.0)
        return 0;
    return static_cast<int>(n) + 1;
}

// First tic index at or after start in the direction of travel; the
// fudge (0.99999 ascending, 1e-5 descending) takes a start a hair past a
// tic as that tic.
double firstTic(double start, double incr, bool ascending)
{
    double index = floor(start / incr + (ascending ? 0.99999 : 1e-5));
    if (start < 0.0) {
        if (ascending) {
            index -= 1.0;
            if (index * incr < start)
                index += 1.0;
        } else {
            index += 1.0;
            if (index * incr > start)
                index -= 1.0;
        }
    }
    return index * incr;
}

// The major increment for a spacing of refincr: 0.5, 0.25 or 0.1 of the
// power of ten above it. kind receives 5, 2 or 1. False when no finite
// power can be found.
bool chooseIncrement(double refincr, double* incr, int* kind)
{
    double exp = 1.0;
    for (int i = 0; exp > refincr && i < 400; ++i)
        exp *= 0.1;
    for (int i = 0; refincr >= exp && i < 400; ++i)
        exp *= 10.0;
    if (!(exp > 0.0) || !std::isfinite(exp))
        return false;
    *incr = 0.5 * exp;
    *kind = 5;
    if (*incr >= refincr) {
        *incr = 0.25 * exp;
        *kind = 2;
        if (*incr >= refincr) {
            *incr = 0.1 * exp;
            *kind = 1;
        }
    }
    return true;
}

} // namespace

void kgrqt_number(double value, char* format, char* string)
{
    (void)format;
    char printed[400];
    snprintf(printed, sizeof printed, "%20.10lf", value * 1.00000000000001);
    int n = 0, digits = 0;
    for (const char* p = printed; *p && n < KGRQT_NUMBER_MAX - 1; ++p) {
        if (*p == ' ')
            continue;
        if (*p == '-' || *p == '.') {
            string[n++] = *p;
        } else if (isdigit(static_cast<unsigned char>(*p))) {
            string[n++] = digits < kSignificantDigits ? *p : '0';
            ++digits;
        } else {
            hx_complain(0, "Got char '%c'\n", *p);
        }
    }
    string[n] = '\0';
    // Trailing zeros go only after a decimal point, which the format
    // always prints.
    if (strchr(string, '.')) {
        while (n > 0 && string[n - 1] == '0')
            string[--n] = '\0';
        if (n > 0 && string[n - 1] == '.')
            string[--n] = '\0';
    }
    if (n == 0)
        strcpy(string, "0");
}

int kgrqt_nice_number(double number, char* format, char* string)
{
    string[0] = '\0';
    if (!format || !strcmp(format, "none"))
        return 0;
    Conversion conversion = strcmp(format, "auto") ? classifyFormat(format) : Conversion::Invalid;
    switch (conversion) {
    case Conversion::Integer:
        snprintf(string, KGRQT_NUMBER_MAX, format, kgrqt_round(number));
        break;
    case Conversion::Floating:
        snprintf(string, KGRQT_NUMBER_MAX, format, number);
        break;
    case Conversion::Invalid:
        // "auto", and formats that could not print one number safely.
        kgrqt_number(number, format, string);
        break;
    }
    return 0;
}

int kgrqt_get_nice_fvals(double start, double end, double width, double minbigwidth,
                         double* start_big, int* n_big, double* incr_big, double* start_sml,
                         int* n_sml, double* incr_sml)
{
    const double window = fabs(end - start);
    if (window == 0.0 || !std::isfinite(window))
        return 0;
    if (minbigwidth <= 0.0)
        minbigwidth = width / 10.0;
    if (minbigwidth > 0.0) {
        const double maxvals = trunc(width / minbigwidth);
        if (!(maxvals > 0.0))
            return 0;
        double candidate = 0.0;
        int kind = 0;
        if (!chooseIncrement(window / maxvals, &candidate, &kind))
            return 0;
        if (candidate > *incr_big) {
            *incr_big = candidate;
            *incr_sml = (kind == 1 ? 0.1 : 0.2) * candidate;
        } else if (*incr_sml == 0.0) {
            *incr_sml = 0.1 * *incr_big;
        }
    }
    const double big = fabs(*incr_big), sml = fabs(*incr_sml);
    if (!(big > 0.0) || !std::isfinite(big))
        return 0;
    // Presets without a minor increment give major tics only.
    const bool minor = sml > 0.0 && std::isfinite(sml);

    const bool ascending = end > start;
    const double sign = ascending ? 1.0 : -1.0;
    *start_big = firstTic(start, big, ascending);
    *n_big = countSteps(*start_big, sign * big, end);
    *start_sml = minor ? firstTic(start, sml, ascending) : *start_big;
    *n_sml = minor ? countSteps(*start_sml, sign * sml, end) : 0;
    // Callers always step by start + i * incr.
    *incr_big = sign * big;
    *incr_sml = sign * sml;
    return 1;
}
