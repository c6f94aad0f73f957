// Seismic stations read from the FDSN station text format and stored in the
// site table of an event database.
//
//   #Network|Station|Latitude|Longitude|Elevation|SiteName|StartTime|EndTime
//   IU|ANMO|34.946|-106.457|1820.0|Albuquerque, New Mexico, USA|1989-08-29T00:00:00|
//
// One station epoch a line; '#' lines are headers or comments and blank
// lines are skipped, as in the event text (hx_catalog.h). Elevation is in
// metres there and in kilometres here and in the database. The reader
// reports the first malformed line and then returns nothing at all:
// "hxsta_read_stationtext: gsn.txt: line 7: bad latitude 'north'\n".
#ifndef HX_STATIONS_H
#define HX_STATIONS_H

#include <cstddef>
#include <string>
#include <vector>

class HXEvdbWriter;

// One epoch of a station.
struct HXStation {
    std::string net, sta, name;
    double lat = 0, lon = 0;   // degrees
    double elev = 0;           // km (the text has metres); 0 when not given
    double start = 0, end = 0; // epoch seconds; -inf: unknown start, +inf: still open
};

// Counts of site rows written by hxsta_store.
struct HXStaStoreStats {
    long added, changed;
};

// Reads FDSN station text (the station level: 8 fields a line); source
// names it in messages. Station, network and latitude and longitude are
// required; an empty elevation is 0, an empty start time unknown, an empty
// end time open. 0, or -1 with a registered error and *stations untouched.
int hxsta_read_stationtext(const char* data, size_t size, const char* source,
                           std::vector<HXStation>* stations);

// Whether data starts (after white space) with the header of FDSN station
// text: a '#' line whose first fields are Network and Station.
bool hxsta_is_stationtext(const char* data, size_t size);

// Reads a file of FDSN station text. 0, or -1 with a registered error.
int hxsta_read_file(const char* path, std::vector<HXStation>* stations);

// One epoch per station code, the latest (greatest start time; of equal
// ones, the last listed), in the order of first appearance. The site table
// has one row per station code and no history: its position is that of the
// latest epoch, whatever network listed it.
std::vector<HXStation> hxsta_latest(const std::vector<HXStation>& stations);

// Writes the latest epoch of each station into the site table in one
// transaction: a new station is added, a known one whose network or
// position differ is updated, an equal one is left alone, so that storing
// the same list twice changes nothing. stats (when given) receives what was
// written. 0, or -1 with a registered error and nothing stored.
int hxsta_store(const std::vector<HXStation>& stations, HXEvdbWriter& writer,
                HXStaStoreStats* stats);

#endif
