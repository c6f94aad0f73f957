// Earthquake catalogues read from QuakeML 1.2 and from the FDSN text event
// format, and stored into an event database.
//
// Readers fill an HXCatalog and report the first problem with its line:
// "hxcat_read_quakeml: quakes.xml: line 12: origin without latitude\n".
// Storing writes a whole catalogue in one transaction: on any error nothing
// of it stays. Rows are matched by their public identifiers, so storing the
// same catalogue twice adds nothing.
#ifndef HX_CATALOG_H
#define HX_CATALOG_H

#include <cstddef>
#include <string>
#include <vector>

class HXEvdbWriter;

struct HXCatPick {
    std::string publicid, net, sta, chan, phase, state;
    double time = 0;
};

struct HXCatArrival {
    std::string pickid, phase;
    double delta = -1, residual = -999;
    int defining = 0;
};

struct HXCatOrigin {
    std::string publicid, auth, review;
    double time = 0, lat = 0, lon = 0, depth = 0; // depth in km
    std::vector<HXCatArrival> arrivals;
};

struct HXCatMagnitude {
    std::string publicid, type, originid, auth;
    double mag = 0, uncertainty = -1;
    int nsta = -1;
};

struct HXCatTensor {
    std::string publicid, originid;
    double m[6] = {0, 0, 0, 0, 0, 0}; // rr, tt, pp, rt, rp, tp in N m
    double scm = -1;
};

struct HXCatEvent {
    std::string publicid, name, auth, preferred_origin;
    std::vector<HXCatOrigin> origins;
    std::vector<HXCatMagnitude> magnitudes;
    std::vector<HXCatPick> picks;
    std::vector<HXCatTensor> tensors;
};

struct HXCatalog {
    std::vector<HXCatEvent> events;
};

// Counts of rows added by hxcat_store.
struct HXCatStoreStats {
    long events, origins, magnitudes, detections, associations, tensors;
};

// Reads QuakeML 1.2 text; source names it in messages. 0, or -1 with a
// registered error.
int hxcat_read_quakeml(const char* data, size_t size, const char* source, HXCatalog* catalog);

// Reads the FDSN text event format ('|'-separated, a '#' header line).
int hxcat_read_fdsntext(const char* data, size_t size, const char* source, HXCatalog* catalog);

// Reads a file in either format (QuakeML when it starts with '<').
int hxcat_read_file(const char* path, HXCatalog* catalog);

// Stores a catalogue in one transaction of writer; stats (when given)
// receives what was added. 0, or -1 with a registered error.
int hxcat_store(const HXCatalog& catalog, HXEvdbWriter& writer, HXCatStoreStats* stats);

#endif
