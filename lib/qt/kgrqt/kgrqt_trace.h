// Drawing long traces quickly (private to the library, its tests and
// benchmarks).
//
// A polyline with millions of points sorted in x is drawn at the cost of
// the pixel columns it covers: each unbroken run is cut at column edges
// (with antialiasing at quarter columns), a cell holding many points
// becomes the line into it, through its lowest and highest values in their
// order, and out of it, plus (antialiased) a solid vertical span over the
// rows its points cross many times; a cell holding few points keeps them
// all. The lowest and highest values
// come from a summary of the data (minimum and maximum of every block of
// 16, 256, 4096, ... samples) made once per set of points, so a new view
// reads the summary and the few samples at column edges, not the whole
// trace. What comes out is an ordinary painter path in pixels of the
// plotting area, drawn with the item's pen like the whole path.
#ifndef KGRQT_TRACE_H
#define KGRQT_TRACE_H

#include <cstddef>
#include <cstdint>
#include <vector>

class QPainterPath;
struct KgrpolylineItem;

// Minimum and maximum of y over blocks of 16^(level+1) samples, the first
// level made from the samples, each further one from the level below.
struct KgrqtTraceSummary {
    const double* x = nullptr; // the arrays summarised, to notice new ones
    const double* y = nullptr;
    long n = 0;
    bool sorted = false; // every x finite and not below the one before
    // lo[level][block], hi[level][block]; lo is NaN for a block that holds
    // a sample which is not a plain finite value (a break, NaN, infinity).
    std::vector<std::vector<double>> lo, hi;
    // loChild[level - 1][block]: which of the 16 blocks below holds the
    // block's minimum (the first that does); hiChild the same for the
    // maximum. Level 0 has none: its samples are searched.
    std::vector<std::vector<uint8_t>> loChild, hiChild;
    size_t bytes() const;
};

// Makes the summary of n points in one pass over them.
void kgrqt_trace_summarize(KgrqtTraceSummary* s, const double* x, const double* y, long n);

// The lowest and highest y of a range of samples and where they are (the
// first sample holding each).
struct KgrqtTraceExtremes {
    double lo, hi;
    long loAt, hiAt;
    long read;     // samples read one by one to find them
    double spread; // the ranges of the blocks read, and the steps between
                   // neighbouring samples read: at least hi - lo, far more
                   // when the values cross their range many times
};

// The extremes of samples [from, to) of a summarised trace, reading whole
// blocks where they fit and going down from the blocks that hold the
// extremes to find their samples; false when the range is empty or a
// sample in it is not a plain finite value, so the caller must look at the
// samples themselves.
bool kgrqt_trace_range(const KgrqtTraceSummary& s, long from, long to, KgrqtTraceExtremes* e);

// The item's summary, made when missing or made for other arrays (then
// *built, when given, is set).
const KgrqtTraceSummary* kgrqt_trace_summary(const KgrpolylineItem* item, bool* built = nullptr);

// Drops the summary kept for an item; called whenever its point arrays are
// replaced or refilled, and when the item goes away.
void kgrqt_trace_forget(const KgrpolylineItem* item);

// The reduced path of the item's points, in pixels of its plotting area of
// pw x ph pixels, or null when the reduction does not apply (not a plain
// "none" transform, too few points, x not sorted) and the whole path must
// be drawn. penWidth widens the stretch kept beyond the area's sides;
// antialias tells whether the painter antialiases.
QPainterPath* kgrqt_trace_path(KgrpolylineItem* item, int pw, int ph, int penWidth, bool antialias);

// Knobs for tests and benchmarks.
struct KgrqtTraceTuning {
    bool enabled = true;    // reduce where the reduction applies
    long min_points = 4096; // shorter lines are drawn whole
    int dense_points = 6;   // a column with at least this many points is a span
    double inset = 1.0;     // pixels between a span's ends and the extremes
    int cells = 4;          // cells per column with antialiasing
    int cells_aliased = 1;  // and without
};
KgrqtTraceTuning& kgrqt_trace_tuning();

// What the last kgrqt_trace_path call did.
struct KgrqtTraceStats {
    bool reduced = false;       // a reduced path was made
    bool summary_built = false; // the summary was made for this drawing
    long spans = 0;             // cells drawn as spans
    long points = 0;            // samples kept point for point
    long samples_read = 0;      // samples read one by one (not via blocks)
};
const KgrqtTraceStats& kgrqt_trace_last_stats();

#endif
