// Fast drawing of long polylines (private to the library, its tests and
// benchmarks).
//
// A polyline of millions of points drawn with an aliased one-pixel pen is
// drawn here without building its painter path: the points go through the
// same mapping as KGRPolyDraw and through a re-implementation of the line
// stroker that Qt's raster engine uses for such pens, which writes the
// pixels into per-column bitmaps; the bitmaps are then filled in with the
// pen's colour. Long runs of points that stay inside one pixel column are
// not stroked at all where a summary of the data proves that every pixel
// they would draw is drawn anyway. The picture is pixel for pixel the one
// that drawing the whole path gives.
#ifndef KGRQT_TRACE_H
#define KGRQT_TRACE_H

class QPainter;
struct KgrpolylineItem;

// Draws the outline of a polyline item on the fast path when it applies:
// "none" transform, linear or time axes, x non-decreasing, an opaque solid
// pen of width 0 or 1 without antialiasing, no fill, a raster paint device
// and a painter that only translates. pw and ph are the plotting-area size.
// Returns false, having drawn nothing, when the normal path must draw.
bool kgrqt_trace_draw(QPainter& painter, KgrpolylineItem* item, int pw, int ph);

// Drops the data summary kept for an item; called whenever its point arrays
// are replaced or refilled, and when the item goes away.
void kgrqt_trace_forget(const KgrpolylineItem* item);

// Knobs for tests and benchmarks.
struct KgrqtTraceTuning {
    bool enabled = true;    // take the fast path where it applies
    bool skipping = true;   // skip runs proven to add nothing
    int min_points = 20000; // shorter lines take the normal path
};
KgrqtTraceTuning& kgrqt_trace_tuning();

// What the last kgrqt_trace_draw call did.
struct KgrqtTraceStats {
    bool fast = false;          // the fast path drew
    bool summary_built = false; // the summary was (re)built for this draw
    long stroked = 0;           // points whose segments were stroked
    long skipped = 0;           // points inside skipped runs
    // Thread CPU time of the parts, in milliseconds.
    double ms_summary = 0, ms_plan = 0, ms_stroke = 0, ms_fill = 0;
};
const KgrqtTraceStats& kgrqt_trace_last_stats();

#endif
