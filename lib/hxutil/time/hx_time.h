// Epoch times: seconds since 1970-01-01 00:00:00 UTC, as doubles.
// All conversions are in UTC on the proleptic Gregorian calendar; leap
// seconds are not counted (as POSIX time does).
#ifndef HX_TIME_H
#define HX_TIME_H

// The current time.
double std_now();

// Formats epoch as strftime does in UTC, returning a malloc'd string.
// Conversions: %Y %y %m %d %e %j %H %M %S %b %B %a %A %D (%m/%d/%y)
// %T (%H:%M:%S) %F (%Y-%m-%d) %%, %n, %t, plus
//   %s  milliseconds, three digits
//   %G  the calendar date, %Y-%m-%d
// The time is first rounded to the millisecond, so 59.9996 s prints as the
// next minute. Unknown conversions are copied as they stand. A non-finite
// epoch or a null format gives null.
char* epoch2str(double epoch, const char* format);

// Reads a date and time; returns 0 and stores the epoch, or -1 after
// registering "hx_str2epoch: Cannot parse time '%s'\n". Accepted forms:
//   2026-11-21T23:16:55.25Z, with T or a blank, fraction and Z optional,
//   also the date alone (2026-11-21)
//   11/21/2026 [23:16[:55.25]]
//   2026-325 and 2026325 (year and day of year) [ 23:16[:55.25]]
//   a plain epoch number (1763767015.25, -86400)
int hx_str2epoch(const char* s, double* epoch);

// hx_str2epoch that returns the epoch, or 2e30 (the library's unset value)
// after registering the error.
double str2epoch(const char* s);

#endif
