// Epoch time conversion. The calendar arithmetic is done here in 64-bit
// integers on the proleptic Gregorian calendar, so neither the process time
// zone nor the range of the C library's gmtime/timegm matters.
#include "hx_time.h"

#include "HXConfigure.h"
#include "hx_error.h"
#include "hx_strings.h"

#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>

namespace {

constexpr int64_t kSecondsPerDay = 86400;
constexpr int64_t kMillisecondsPerDay = 86400000;

// Days from 0000-03-01 to 1970-01-01, and the length of a 400-year era.
constexpr int64_t kEpochShift = 719468;
constexpr int64_t kDaysPerEra = 146097;

// Beyond this the millisecond count nears the int64 range. It still spans
// some thirty million years either side of 1970.
constexpr double kMaxFormattableEpoch = 1e15;

// ---- Calendar arithmetic ----

int64_t floor_div(int64_t a, int64_t b)
{
    int64_t q = a / b;
    if (a % b != 0 && (a < 0) != (b < 0))
        --q;
    return q;
}

int64_t floor_mod(int64_t a, int64_t b)
{
    return a - floor_div(a, b) * b;
}

bool is_leap_year(int64_t year)
{
    return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

int days_in_month(int64_t year, int month)
{
    static const int kDays[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return month == 2 && is_leap_year(year) ? 29 : kDays[month - 1];
}

int days_in_year(int64_t year)
{
    return is_leap_year(year) ? 366 : 365;
}

// Days since 1970-01-01 of a valid calendar date. Years are counted from
// March so that the leap day falls at the end of each computed year.
int64_t days_from_civil(int64_t year, int month, int day)
{
    const int64_t y = month <= 2 ? year - 1 : year;
    const int64_t era = floor_div(y, 400);
    const int64_t year_of_era = y - era * 400;
    const int64_t march_month = month > 2 ? month - 3 : month + 9;
    const int64_t day_of_year = (153 * march_month + 2) / 5 + day - 1;
    const int64_t day_of_era =
        year_of_era * 365 + year_of_era / 4 - year_of_era / 100 + day_of_year;
    return era * kDaysPerEra + day_of_era - kEpochShift;
}

struct CivilDate {
    int64_t year;
    int month; // 1-12
    int day;   // 1-31
};

// Inverse of days_from_civil.
CivilDate civil_from_days(int64_t days)
{
    const int64_t shifted = days + kEpochShift;
    const int64_t era = floor_div(shifted, kDaysPerEra);
    const int64_t day_of_era = shifted - era * kDaysPerEra;
    const int64_t year_of_era =
        (day_of_era - day_of_era / 1460 + day_of_era / 36524 - day_of_era / 146096) / 365;
    const int64_t day_of_year =
        day_of_era - (365 * year_of_era + year_of_era / 4 - year_of_era / 100);
    const int64_t march_month = (5 * day_of_year + 2) / 153;
    const int day = static_cast<int>(day_of_year - (153 * march_month + 2) / 5 + 1);
    const int month = static_cast<int>(march_month < 10 ? march_month + 3 : march_month - 9);
    const int64_t year = year_of_era + era * 400 + (month <= 2 ? 1 : 0);
    return {year, month, day};
}

// ---- Formatting ----

const char* const kMonthAbbreviations[12] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                             "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
const char* const kMonthNames[12] = {"January",   "February", "March",    "April",
                                     "May",       "June",     "July",     "August",
                                     "September", "October",  "November", "December"};
const char* const kWeekdayAbbreviations[7] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
const char* const kWeekdayNames[7] = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                      "Thursday", "Friday", "Saturday"};

struct BrokenDownTime {
    int64_t year;
    int month;       // 1-12
    int day;         // 1-31
    int day_of_year; // 1-366
    int weekday;     // 0 = Sunday
    int hour;
    int minute;
    int second;
    int millisecond;
};

BrokenDownTime broken_down_from_ms(int64_t ms)
{
    const int64_t days = floor_div(ms, kMillisecondsPerDay);
    const int64_t ms_of_day = ms - days * kMillisecondsPerDay;
    const CivilDate date = civil_from_days(days);

    BrokenDownTime t;
    t.year = date.year;
    t.month = date.month;
    t.day = date.day;
    t.day_of_year = static_cast<int>(days - days_from_civil(date.year, 1, 1) + 1);
    t.weekday = static_cast<int>(floor_mod(days + 4, 7)); // 1970-01-01 was a Thursday
    t.hour = static_cast<int>(ms_of_day / 3600000);
    t.minute = static_cast<int>(ms_of_day / 60000 % 60);
    t.second = static_cast<int>(ms_of_day / 1000 % 60);
    t.millisecond = static_cast<int>(ms_of_day % 1000);
    return t;
}

void append_padded(std::string& out, uint64_t value, int width, char pad)
{
    char digits[24];
    int n = 0;
    do {
        digits[n++] = static_cast<char>('0' + value % 10);
        value /= 10;
    } while (value != 0);
    for (int i = n; i < width; ++i)
        out += pad;
    while (n > 0)
        out += digits[--n];
}

// At least four digits, as %F requires, with a sign before years BC.
void append_year(std::string& out, int64_t year)
{
    if (year < 0)
        out += '-';
    append_padded(out, year < 0 ? 0 - static_cast<uint64_t>(year) : static_cast<uint64_t>(year), 4,
                  '0');
}

void append_formatted(std::string& out, const char* format, const BrokenDownTime& t);

// Appends one conversion; false when c is not one we know.
bool append_conversion(std::string& out, char c, const BrokenDownTime& t)
{
    switch (c) {
    case 'Y':
        append_year(out, t.year);
        return true;
    case 'y':
        append_padded(out, static_cast<uint64_t>(floor_mod(t.year, 100)), 2, '0');
        return true;
    case 'm':
        append_padded(out, t.month, 2, '0');
        return true;
    case 'd':
        append_padded(out, t.day, 2, '0');
        return true;
    case 'e':
        append_padded(out, t.day, 2, ' ');
        return true;
    case 'j':
        append_padded(out, t.day_of_year, 3, '0');
        return true;
    case 'H':
        append_padded(out, t.hour, 2, '0');
        return true;
    case 'M':
        append_padded(out, t.minute, 2, '0');
        return true;
    case 'S':
        append_padded(out, t.second, 2, '0');
        return true;
    case 's':
        append_padded(out, t.millisecond, 3, '0');
        return true;
    case 'b':
        out += kMonthAbbreviations[t.month - 1];
        return true;
    case 'B':
        out += kMonthNames[t.month - 1];
        return true;
    case 'a':
        out += kWeekdayAbbreviations[t.weekday];
        return true;
    case 'A':
        out += kWeekdayNames[t.weekday];
        return true;
    case 'D':
        append_formatted(out, "%m/%d/%y", t);
        return true;
    case 'T':
        append_formatted(out, "%H:%M:%S", t);
        return true;
    case 'F':
    case 'G':
        append_formatted(out, "%Y-%m-%d", t);
        return true;
    case 'n':
        out += '\n';
        return true;
    case 't':
        out += '\t';
        return true;
    case '%':
        out += '%';
        return true;
    default:
        return false;
    }
}

void append_formatted(std::string& out, const char* format, const BrokenDownTime& t)
{
    for (const char* p = format; *p != '\0'; ++p) {
        if (*p != '%') {
            out += *p;
            continue;
        }
        if (p[1] == '\0') { // a lone trailing '%'
            out += '%';
            break;
        }
        ++p;
        if (!append_conversion(out, *p, t)) {
            out += '%';
            out += *p;
        }
    }
}

char* malloc_copy(const std::string& text, const char* caller)
{
    char* copy = static_cast<char*>(std::malloc(text.size() + 1));
    if (copy == nullptr) {
        hx_register_error(HX_ERROR_ALLOC, "%s: Cannot allocate %zu bytes\n", caller,
                          text.size() + 1);
        return nullptr;
    }
    std::memcpy(copy, text.c_str(), text.size() + 1);
    return copy;
}

// ---- Parsing ----

bool is_blank(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}
bool is_digit(char c)
{
    return c >= '0' && c <= '9';
}

struct Cursor {
    const char* p;
    const char* end;

    bool at_end() const { return p == end; }
    char peek() const { return p < end ? *p : '\0'; }
};

bool accept(Cursor& c, char expected)
{
    if (c.peek() != expected)
        return false;
    ++c.p;
    return true;
}

// True when at least one blank was skipped.
bool skip_blanks(Cursor& c)
{
    const char* start = c.p;
    while (is_blank(c.peek()))
        ++c.p;
    return c.p != start;
}

int count_digits(const char* p, const char* end)
{
    int n = 0;
    while (p + n < end && is_digit(p[n]))
        ++n;
    return n;
}

// Reads a field of min_count to max_count digits (at most 9).
bool read_digits(Cursor& c, int min_count, int max_count, int* value)
{
    int n = 0;
    int v = 0;
    while (n < max_count && is_digit(c.peek())) {
        v = v * 10 + (*c.p++ - '0');
        ++n;
    }
    *value = v;
    return n >= min_count;
}

// Reads the digits after a decimal point, of any number. Only the first 15
// count: they fit a double exactly, and the rest lie below 1e-15 s.
bool read_fraction(Cursor& c, double* fraction)
{
    const int kMaxSignificant = 15;
    int64_t numerator = 0;
    double denominator = 1;
    int n = 0;
    for (; is_digit(c.peek()); ++c.p, ++n) {
        if (n < kMaxSignificant) {
            numerator = numerator * 10 + (*c.p - '0');
            denominator *= 10;
        }
    }
    *fraction = static_cast<double>(numerator) / denominator;
    return n > 0;
}

// Which extras of ISO 8601 a date form allows before and after its time.
enum class TimeStyle {
    Iso,  // 'T' or blanks before the time, an optional trailing 'Z'
    Plain // blanks only
};

struct TimeOfDay {
    int64_t seconds = 0;
    double fraction = 0;
};

// Reads the rest of the string after a date: nothing, or a separator then
// HH:MM[:SS[.fff]]. A leap second (SS = 60) is rejected since epochs do not
// count them.
bool parse_time_tail(Cursor& c, TimeStyle style, TimeOfDay* time)
{
    if (c.at_end())
        return true;
    const bool iso = style == TimeStyle::Iso;
    if (!(iso && accept(c, 'T')) && !skip_blanks(c))
        return false;
    int hour = 0, minute = 0, second = 0;
    if (!read_digits(c, 2, 2, &hour) || hour > 23 || !accept(c, ':') ||
        !read_digits(c, 2, 2, &minute) || minute > 59)
        return false;
    if (accept(c, ':')) {
        if (!read_digits(c, 2, 2, &second) || second > 59)
            return false;
        if (accept(c, '.') && !read_fraction(c, &time->fraction))
            return false;
    }
    if (iso)
        accept(c, 'Z');
    time->seconds = hour * 3600 + minute * 60 + second;
    return c.at_end();
}

bool day_number_of_date(int year, int month, int day, int64_t* days)
{
    if (month < 1 || month > 12 || day < 1 || day > days_in_month(year, month))
        return false;
    *days = days_from_civil(year, month, day);
    return true;
}

bool day_number_of_ordinal(int year, int day_of_year, int64_t* days)
{
    if (day_of_year < 1 || day_of_year > days_in_year(year))
        return false;
    *days = days_from_civil(year, 1, 1) + day_of_year - 1;
    return true;
}

// YYYY-MM-DD or YYYY-DDD.
bool parse_dashed_date(Cursor& c, int64_t* days)
{
    int year = 0, month = 0, day = 0;
    if (!read_digits(c, 4, 4, &year) || !accept(c, '-'))
        return false;
    const int width = count_digits(c.p, c.end);
    if (width == 3 && read_digits(c, 3, 3, &day))
        return day_number_of_ordinal(year, day, days);
    return read_digits(c, 2, 2, &month) && accept(c, '-') && read_digits(c, 2, 2, &day) &&
           !is_digit(c.peek()) && day_number_of_date(year, month, day, days);
}

// M/D/YYYY, month and day of one or two digits.
bool parse_us_date(Cursor& c, int64_t* days)
{
    int year = 0, month = 0, day = 0;
    return read_digits(c, 1, 2, &month) && accept(c, '/') && read_digits(c, 1, 2, &day) &&
           accept(c, '/') && read_digits(c, 4, 4, &year) && !is_digit(c.peek()) &&
           day_number_of_date(year, month, day, days);
}

// YYYYDDD.
bool parse_compact_ordinal(Cursor& c, int64_t* days)
{
    int year = 0, day = 0;
    return read_digits(c, 4, 4, &year) && read_digits(c, 3, 3, &day) &&
           day_number_of_ordinal(year, day, days);
}

bool parse_date_time(Cursor& c, bool (*parse_date)(Cursor&, int64_t*), TimeStyle style,
                     double* epoch)
{
    int64_t days = 0;
    TimeOfDay time;
    if (!parse_date(c, &days) || !parse_time_tail(c, style, &time))
        return false;
    *epoch = static_cast<double>(days * kSecondsPerDay + time.seconds) + time.fraction;
    return true;
}

// [+-] digits [. digits] [e [+-] digits], also with digits only after the
// point; no blanks, no hexadecimal, no inf or nan.
bool is_plain_number(const char* p, const char* end)
{
    Cursor c{p, end};
    if (!accept(c, '+'))
        accept(c, '-');
    int mantissa_digits = count_digits(c.p, c.end);
    c.p += mantissa_digits;
    if (accept(c, '.')) {
        const int n = count_digits(c.p, c.end);
        mantissa_digits += n;
        c.p += n;
    }
    if (mantissa_digits == 0)
        return false;
    if (accept(c, 'e') || accept(c, 'E')) {
        if (!accept(c, '+'))
            accept(c, '-');
        const int n = count_digits(c.p, c.end);
        if (n == 0)
            return false;
        c.p += n;
    }
    return c.at_end();
}

// The text ends at end with a blank or the terminating NUL, where strtod
// stops on its own.
bool parse_plain_number(const char* p, const char* end, double* epoch)
{
    if (!is_plain_number(p, end))
        return false;
    char* stop = nullptr;
    const double value = fix_strtod(p, &stop);
    if (stop != end || !std::isfinite(value))
        return false;
    *epoch = value;
    return true;
}

// Chooses the form by the leading digits: seven digits alone or followed
// by a blank are a year and day of year (2026325), four digits and a dash
// begin an ISO date (2026-11-21, 2026-325), one or two digits and a slash
// a US date. Anything else must be a plain epoch number, so a string of
// digits of any other length, or seven digits with a sign or a point, is
// a number of seconds.
bool parse_trimmed(const char* begin, const char* end, double* epoch)
{
    const int lead = count_digits(begin, end);
    const char after = begin + lead < end ? begin[lead] : '\0';
    Cursor c{begin, end};
    if (lead == 7 && (after == '\0' || is_blank(after)))
        return parse_date_time(c, parse_compact_ordinal, TimeStyle::Plain, epoch);
    if (lead == 4 && after == '-')
        return parse_date_time(c, parse_dashed_date, TimeStyle::Iso, epoch);
    if ((lead == 1 || lead == 2) && after == '/')
        return parse_date_time(c, parse_us_date, TimeStyle::Plain, epoch);
    return parse_plain_number(begin, end, epoch);
}

} // namespace

double std_now()
{
    const auto since_epoch = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration<double>(since_epoch).count();
}

// Epochs beyond kMaxFormattableEpoch (the unset value 2e30 among them) give
// null as non-finite ones do.
char* epoch2str(double epoch, const char* format)
{
    if (format == nullptr || !std::isfinite(epoch) || std::fabs(epoch) > kMaxFormattableEpoch)
        return nullptr;
    // Round half up to the millisecond before splitting into fields, so that
    // carries reach the minute, day and year.
    const int64_t ms = static_cast<int64_t>(std::floor(epoch * 1000.0 + 0.5));
    try {
        std::string text;
        append_formatted(text, format, broken_down_from_ms(ms));
        return malloc_copy(text, "epoch2str");
    } catch (const std::bad_alloc&) {
        hx_register_error(HX_ERROR_ALLOC, "epoch2str: Cannot allocate the text\n");
        return nullptr;
    }
}

// A null epoch pointer is allowed: the string is then only checked.
int hx_str2epoch(const char* s, double* epoch)
{
    double value = 0;
    bool ok = false;
    if (s != nullptr) {
        const char* begin = s;
        const char* end = s + std::strlen(s);
        while (begin < end && is_blank(*begin))
            ++begin;
        while (end > begin && is_blank(end[-1]))
            --end;
        ok = begin < end && parse_trimmed(begin, end, &value);
    }
    if (!ok) {
        hx_register_error(HX_ERROR_INPUT, "hx_str2epoch: Cannot parse time '%s'\n",
                          s != nullptr ? s : "(null)");
        return -1;
    }
    if (epoch != nullptr)
        *epoch = value;
    return 0;
}

double str2epoch(const char* s)
{
    double epoch = 0;
    return hx_str2epoch(s, &epoch) == 0 ? epoch : HX_UNSET_DOUBLE;
}
