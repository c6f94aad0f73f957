// Reading the event catalogue that kgrqt-plot shows on a map: one event a
// line, blank-separated,
//
//   TIME LATITUDE LONGITUDE DEPTH MAGNITUDE [MRR MTT MPP MRT MRP MTP EXPONENT]
//
// TIME is ISO 8601 UTC (2011-03-11T05:46:24.12Z; fraction and Z optional),
// latitude and longitude degrees (north and east positive), depth km and
// the magnitude as given. The optional moment tensor is given as the Global
// CMT catalogue lists it: the six components in the (r, theta, phi) order
// Mrr Mtt Mpp Mrt Mrp Mtp, each times 10^EXPONENT dyne-cm. Lines starting
// with "#" and blank lines are skipped.
#ifndef KGRQT_CATALOGUE_TEXT_H
#define KGRQT_CATALOGUE_TEXT_H

#include <cstddef>
#include <vector>

struct CatalogueEvent {
    double time = 0;  // epoch seconds
    double lat = 0;   // degrees north
    double lon = 0;   // degrees east
    double depth = 0; // km
    double magnitude = 0;
    bool hasTensor = false;
    // The tensor in N m, in the order of the beach-ball routines
    // (hx_moment.h): Mpp, Mtt, Mrr, -Mtp, -Mrp, Mrt.
    double m[6] = {0, 0, 0, 0, 0, 0};
};

// The fields of an event line without and with a tensor.
enum { kCatalogueFields = 5, kCatalogueTensorFields = 12 };

// Converts Global CMT components (Mrr Mtt Mpp Mrt Mrp Mtp, times 10^exponent
// dyne-cm) into the beach-ball order in N m.
void plot_catalogue_tensor(const double cmt[6], double exponent, double m[6]);

// Parses size bytes of catalogue text. 0 with the events appended, or -1
// with "plot_parse_catalogue: SOURCE line N: ..." in the error register
// (events read before the bad line are kept).
int plot_parse_catalogue(const char* text, size_t size, const char* source,
                         std::vector<CatalogueEvent>* events);

// Reads a catalogue file; a file without events is an error. 0, or -1 with
// the reason in the error register.
int plot_read_catalogue(const char* path, std::vector<CatalogueEvent>* events);

#endif
