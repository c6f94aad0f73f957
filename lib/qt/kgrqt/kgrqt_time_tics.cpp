// Time axes: the choice of a major and minor step from a table of calendar
// divisions, the label format for a step, and tic times that follow the
// calendar (months and years of varying length) for long steps.
#include "KGRAxes.h"
#include "kgrqt_engine.h"
#include "kgrqt_tics.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>

double Time_divisions[] = {
    31536000.0,                                       // 365 days
    15552000.0,                                       // 180 days
    7776000.0,                                        // 90 days
    2592000.0,                                        // 30 days
    1209600.0,                                        // 14 days
    604800.0,                                         // 7 days
    432000.0,                                         // 5 days
    172800.0,                                         // 2 days
    86400.0,                                          // 1 day
    43200.0,    21600.0, 10800.0,                     // 12, 6, 3 hours
    3600.0,     1800.0,  900.0,   300.0, 120.0, 60.0, // 1 hour to 1 minute
    30.0,       15.0,    5.0,     2.0,   1.0,         // seconds
};
int NTime_divisions = 23;

namespace {

const double kDay = 86400.0;
const double kMonth = 2592000.0; // 30 days
const double kYear = 31536000.0; // 365 days
// Safety bound on minor tics: one per pixel of the widest screens.
const int kMaxMinorTics = 4000;

// An epoch formatted with one of the calendar's formats, as a number.
int calendarField(double epoch, const char* format)
{
    char* text = epoch2str(epoch, format);
    int value = text ? atoi(text) : 0;
    free(text);
    return value;
}

double firstOfMonth(int month, int year)
{
    char date[64];
    snprintf(date, sizeof date, "%d/1/%d", month, year);
    double epoch = KGR_UNSET;
    return hx_str2epoch(date, &epoch) == 0 ? epoch : KGR_UNSET;
}

void keepInside(double t, double lo, double hi, std::vector<double>* out)
{
    if (t >= lo && t <= hi)
        out->push_back(t);
}

// Tics every step seconds at whole multiples of the step.
void secondTics(double lo, double hi, double step, int maxTics, std::vector<double>* out)
{
    double first = ceil(lo / step - 1e-9);
    for (int k = 0; (int)out->size() < maxTics && k <= maxTics * 4; ++k) {
        double t = (first + k) * step;
        if (t > hi)
            break;
        keepInside(t, lo, hi, out);
    }
}

// Tics on the first of every months-th month, from the month of lo or,
// for whole years, from January of its year.
void monthTics(double lo, double hi, int months, bool fromJanuary, int maxTics,
               std::vector<double>* out)
{
    const int month0 = fromJanuary ? 0 : calendarField(lo, "%m") - 1;
    const int year0 = calendarField(lo, "%Y");
    for (int k = 0; (int)out->size() < maxTics && k <= maxTics * 4; ++k) {
        int index = month0 + k * months;
        double t = firstOfMonth(index % 12 + 1, year0 + index / 12);
        if (t == KGR_UNSET || t > hi)
            break;
        keepInside(t, lo, hi, out);
    }
}

// Steps of a month or more follow the calendar; shorter ones are exact.
void calendarTics(double lo, double hi, double step, int maxTics, std::vector<double>* out)
{
    if (!(step > 0.0))
        return;
    if (step >= kYear)
        monthTics(lo, hi, 12 * (int)lround(step / kYear), true, maxTics, out);
    else if (step >= kMonth)
        monthTics(lo, hi, (int)lround(step / kMonth), false, maxTics, out);
    else
        secondTics(lo, hi, step, maxTics, out);
}

} // namespace

void KGRAxes::choose_scale(double span, int least, int greatest, double* divisions, int ndivisions,
                           double* major, double* minor, int* power)
{
    *major = 0.0;
    *minor = 0.0;
    *power = 0;
    if (ndivisions < 1 || !(span > 0.0) || !std::isfinite(span) || least < 1 || greatest < least)
        return;
    int i = 0;
    while (i < ndivisions && !(span / divisions[i] > least))
        ++i;
    double d = divisions[ndivisions - 1];
    double sml = 0.0;
    if (i < ndivisions) {
        d = divisions[i];
        // The next smaller division when it divides this one exactly.
        sml = (i + 1 < ndivisions && fmod(d, divisions[i + 1]) == 0.0) ? divisions[i + 1] : d / 5.0;
    }
    const double count = span / d;
    if (count >= least && count <= greatest) {
        *major = d;
        *minor = sml;
        return;
    }
    double p = 1.0;
    int pw = 0;
    while (count / p > greatest && pw < 400) {
        p *= 10.0;
        ++pw;
    }
    while (count / p < least && pw > -400) {
        p /= 10.0;
        --pw;
    }
    const double r = count / p;
    double big = p, small = p / 5.0;
    if (r > 12) {
        big = 5.0 * p;
        small = p;
    } else if (r > 5) {
        big = 2.0 * p;
        small = p;
    }
    *major = big * d;
    *minor = small * d;
    *power = pw;
}

char* KGRAxes::choose_time_format(double increment)
{
    const char* format = "%H:%M:%S.%s";
    if (increment > 31536000.0)
        format = "%y";
    else if (increment > 2592000.0)
        format = "%b-%y";
    else if (increment > 86400.0)
        format = "%b-%d";
    else if (increment > 60.0)
        format = "%H:%M";
    else if (increment > 1.0)
        format = "%H:%M:%S";
    return strdup(format);
}

bool kgrqt_time_tics(double t1, double t2, KgrqtTimeTics* tics)
{
    const double lo = fmin(t1, t2), hi = fmax(t1, t2);
    if (!(hi > lo) || !std::isfinite(lo) || !std::isfinite(hi))
        return false;
    int power = 0;
    KGRAxes::choose_scale(hi - lo, 2, 19, Time_divisions, NTime_divisions, &tics->major,
                          &tics->minor, &power);
    if (!(tics->major > 0.0))
        return false;
    tics->big.clear();
    tics->sml.clear();
    calendarTics(lo, hi, tics->major, kgrqt_max_time_tics, &tics->big);
    calendarTics(lo, hi, tics->minor, kMaxMinorTics, &tics->sml);

    char* format = KGRAxes::choose_time_format(tics->major);
    tics->label_format = format;
    free(format);
    // Labels that show only the time of day get the date beneath them,
    // labels of days the year; month and year labels need nothing.
    tics->date_format = tics->major < kDay ? "%D" : tics->major < kMonth ? "%Y" : nullptr;
    return true;
}
