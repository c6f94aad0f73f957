// What the FDSN text formats (events, stations) have in common, shared by
// their readers: one record a line of '|'-separated fields, '#' lines for
// headers and comments, blank lines skipped, "\r\n" endings allowed. Errors
// name the reader, the source and the line:
// "hxsta_read_stationtext: gsn.txt: line 3: bad latitude 'north'\n".
// Private to the library: not installed.
#ifndef HX_FDSNTEXT_IMPL_H
#define HX_FDSNTEXT_IMPL_H

#include <QByteArray>
#include <QList>

#include <cstddef>
#include <functional>

// Registers "READER: SOURCE: line LINE: WHAT 'VALUE'" (VALUE cut at 80
// bytes); returns -1.
int hxfdsn_line_error(const char* reader, const char* source, long line, const char* what,
                      const QByteArray& value);

// Reads field i of a record as a finite number into *out. An empty field
// leaves *out as it is, unless required. 0, or -1 with a registered error
// "WHAT 'FIELD'".
int hxfdsn_number(const QList<QByteArray>& fields, int i, double* out, bool required,
                  const char* reader, const char* what, const char* source, long line);

// Calls record(line number, text) for every line that is neither blank nor a
// '#' line, in order, until one returns a negative value. A line with a
// null byte is an error. 0, or -1 with a registered error.
int hxfdsn_each_record(const char* data, size_t size, const char* reader, const char* source,
                       const std::function<int(long, const QByteArray&)>& record);

// The trimmed fields of the first line that is not blank, when it is a '#'
// header ("#Network | Station | ..." gives "Network", "Station", ...); an
// empty list otherwise.
QList<QByteArray> hxfdsn_header(const char* data, size_t size);

#endif
