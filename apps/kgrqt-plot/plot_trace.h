// Reading the trace that kgrqt-plot shows: a miniSEED file (through
// libmseed) or a two-column text file of "time-or-x y" lines.
#ifndef KGRQT_PLOT_TRACE_H
#define KGRQT_PLOT_TRACE_H

#include <string>
#include <vector>

// One channel as points. x is epoch seconds (or a text file's plain x);
// a 2e30 pair breaks the line between segments and stands for samples
// that are not numbers.
struct PlotTrace {
    std::string name; // "NET_STA_LOC_CHAN" of miniSEED, the file's name for text
    std::vector<double> x;
    std::vector<double> y;
    int segments = 0;
    int otherChannels = 0; // channels of a miniSEED file that are not shown
};

// Whether a file begins with a miniSEED record header.
bool plot_is_mseed(const char* path);

// Reads the first channel of a miniSEED file, all its segments in time
// order. 0, or -1 with the reason in the error register.
int plot_read_mseed(const char* path, PlotTrace* trace);

// Reads a text file: one point per line, blank lines between segments,
// "#" comments; x may be any time str2epoch reads. 0, or -1 as above.
int plot_read_text(const char* path, PlotTrace* trace);

// Reads up to maxChannels channels of a miniSEED file, in the order they
// first appear, each with all its segments in time order. 0, or -1 as above.
int plot_read_mseed_channels(const char* path, int maxChannels, std::vector<PlotTrace>* traces);

// plot_read_mseed or plot_read_text, as the file's first bytes say.
int plot_read_trace(const char* path, PlotTrace* trace);

// Every channel of a file, at most maxChannels (a text file has one).
int plot_read_channels(const char* path, int maxChannels, std::vector<PlotTrace>* traces);

// Makes the trace the time history `name`, for a polyline's "thistory".
// 0, or -1 as above.
int plot_publish(const PlotTrace& trace, const char* name);

#endif
