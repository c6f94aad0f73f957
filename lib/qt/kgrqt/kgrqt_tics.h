// Where tics fall: calendar tics of time axes and the major tics of any
// axis, shared by tic marks, grid lines and labels so that they agree
// (not installed).
#ifndef KGRQT_TICS_H
#define KGRQT_TICS_H

struct KgrviewportItem;

// One axis of a viewport's plot frame as tics and positions see it.
struct KgrqtAxis {
    double p1, p2; // plane range: world, or log10 of it on a logarithmic axis
    double scale;  // 1 / (p2 - p1)
    double lo, hi; // world range
    int mode;      // linear, logarithmic or time
    int pixels;    // inner size
    int frame;     // whole frame size
    int margin;    // margin before the inner area (left or bottom)
};

// The x (horizontal) or y axis of a viewport; false without scales.
bool kgrqt_axis_of(KgrviewportItem* vp, bool horizontal, KgrqtAxis* axis);

#include <string>
#include <vector>

struct KgrqtTimeTics {
    double major = 0.0;                // major step, seconds (calendar steps approximate)
    double minor = 0.0;                // minor step, seconds; 0 when none
    std::vector<double> big;           // major tic times inside the range
    std::vector<double> sml;           // minor tic times inside the range
    std::string label_format;          // epoch2str format of major labels
    const char* date_format = nullptr; // reference date format, or null
};

// The most major tics an axis draws.
const int kgrqt_max_time_tics = 100;

// Tics of the time range between t1 and t2 (either order); false when the
// range is empty or not finite.
bool kgrqt_time_tics(double t1, double t2, KgrqtTimeTics* tics);

// The major tics of one axis of a viewport: world values and frame
// fractions along the axis (decades of a logarithmic axis, calendar steps
// of a time axis, nice values otherwise, with the preset increments).
void kgrqt_major_tics(KgrviewportItem* vp, bool horizontal, double incr_big, double incr_sml,
                      int minspacing, std::vector<double>* values, std::vector<double>* fractions);

#endif
