// Lines dumped by the coastline tool, stitched into rings and polylines.
#ifndef KGRQT_MAPDATA_STITCH_H
#define KGRQT_MAPDATA_STITCH_H

#include <string>
#include <vector>

// A line in microdegrees with its level.
struct Line {
    int level = 0;
    std::vector<long> lons;
    std::vector<long> lats;
};

// Runs command and reads its multi-segment dump ("> ... Level N" headers,
// then "lon lat" lines). level_offset is added to each level. False when
// the command fails.
bool readDump(const std::string& command, int level_offset, std::vector<Line>* lines);

// What stitching did, for the builder's own check.
struct StitchReport {
    long pieces = 0;     // lines read
    long points_in = 0;  // their points
    long points_out = 0; // points of the results, junctions counted once
    long closed = 0;     // results whose ends meet
    long open = 0;       // results left open
    long polar = 0;      // rings closed through a pole
};

// Joins the lines of each level end to end (either way round, longitudes
// unwrapped across the date line). With close_rings, a ring that goes once
// round the world is closed through the nearer pole.
std::vector<Line> stitch(const std::vector<Line>& pieces, bool close_rings, StitchReport* report);

// Proper crossings between non-adjacent edges of one line (plate carree,
// longitudes as stored).
long selfCrossings(const Line& line);

// Signed area of a closed ring in square degrees (plate carree).
double ringArea(const Line& ring);

#endif
