// Map-events internals shared by its source files (private to the library
// and its tests): the symbol coding strings of the event, station and
// detection symbols, and the great-circle paths from an origin to its
// stations.
#ifndef KGRQT_MAPEVENTS_H
#define KGRQT_MAPEVENTS_H

#include "kgrqt.h"

#include <QList>

// Size and fader modes of a coding. MAPEVENTS_MODE_VALUE is never written by
// a coding string: it is what ageresid becomes once a symbol's value is the
// residual itself.
enum {
    MAPEVENTS_MODE_DEFAULT = 0,
    MAPEVENTS_MODE_CONSTANT = 1,
    MAPEVENTS_MODE_VALUE = 2,
    MAPEVENTS_MODE_AGE = 3,
    MAPEVENTS_MODE_AGEREL = 4,
    MAPEVENTS_MODE_AGERESID = 5
};

// Colour modes of a coding.
enum { MAPEVENTS_COLOR_DEFAULT = 0, MAPEVENTS_COLOR_CONSTANT = 1, MAPEVENTS_COLOR_DEPTH = 2 };

// Applies a coding string, "key=value,key=value,...", entry by entry over
// *coding; keys not in the text leave their fields alone. Keys: sy, sz, szg,
// cl, fd, fdg, ot, fi, fin; unknown keys, unknown words and colours that do
// not parse are ignored. Returns 0, or -1 (registered) for a null text or
// record, or when memory runs out (entries before that point stay applied).
int mapevents_parse_coding(const char* text, KgrpolypointCoding* coding);

// Applies a scaling entry, "mode[:value1[:coding1[:value2[:coding2[:min[:max]]]]]]".
// The mode word default, age, agerel or ageresid sets *mode; any other word
// is the constant mode and its number, when it has one, goes to *constant.
// The reals fill *scaling in order (missing or unreadable ones leave their
// field, tokens after the seventh are ignored), then scale is recomputed.
// Returns 0, or -1 (registered) for a null argument or when memory runs out.
int mapevents_parse_coding_entry(const char* text, int* mode, double* constant,
                                 KgrpolypointCodingScaling* scaling);

// The great circle from point 1 to point 2 (degrees) as n + 1 points
// (n below 1 counts as 1) equally spaced along it, x = longitude in
// -180..180, y = latitude. The caller deletes the list.
QList<KGR_XY>* make_great_circle_path(double lat1, double lon1, double lat2, double lon2, int n);

#endif
