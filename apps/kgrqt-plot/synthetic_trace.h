// A synthetic seismogram for kgrqt-plot: a long random walk with noise, to
// try the plot on as many samples as wanted.
#ifndef KGRQT_PLOT_SYNTHETIC_TRACE_H
#define KGRQT_PLOT_SYNTHETIC_TRACE_H

#include "plot_trace.h"

// Samples allowed for a synthetic trace.
const long kPlotSyntheticMin = 2;
const long kPlotSyntheticMax = 200000000;

// Reads a sample count for --synthetic ("10000000", also "1e7"); false
// when it is not a whole number in range.
bool plot_parse_synthetic(const char* text, long* n);

// Fills trace with n samples at 100 Hz from 2024-01-01T00:00:00: a random
// walk with white noise on it, the same for the same seed. 0, or -1 with
// the reason in the error register.
int plot_synthetic_trace(long n, unsigned seed, PlotTrace* trace);

#endif
