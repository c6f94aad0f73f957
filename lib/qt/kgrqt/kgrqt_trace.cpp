// The reduced path of a long trace: one pass over the pixel columns of the
// view, each cut out of the sorted points by a guided search, dense columns
// taken from the summary as spans, sparse ones point for point.
#include "kgrqt_trace.h"
#include "KGRPolyline.h"
#include "KGRViewport.h"
#include "kgrqt_engine.h"

#include <QPainterPath>

#include <algorithm>
#include <cmath>
#include <vector>

namespace {

KgrqtTraceStats lastStats;

// World to pixels of the plotting area, as KGRScalemap and KGRPolyDraw map
// a point of the "none" transform: a fraction of the area, then times its
// size.
struct Mapping {
    double xstart, xscale, ystart, yscale;
    int w, h;
    double fx(double x) const { return (x - xstart) * xscale; }
    double fy(double y) const { return (y - ystart) * yscale; }
    double px(double x) const { return w * fx(x); }
    double py(double y) const { return h * fy(y); }
};

// Fractions farther out than this are not drawn; the point mapper treats
// such a point as a break, and so does the reduction.
bool hasPlace(double f)
{
    return std::fabs(f) <= 1e90;
}

bool mappingOf(KgrviewportItem* vp, Mapping* m)
{
    KGRScalemap smap(vp, 0);
    if (smap.wtran != KGR_WTRAN_NONE || smap.w < 3 || smap.h < 3)
        return false;
    *m = Mapping{smap.xstart, smap.xscale, smap.ystart, smap.yscale, smap.w, smap.h};
    return std::isfinite(m->xscale) && m->xscale > 0 && std::isfinite(m->yscale);
}

// The first index in [lo, hi) whose point lies at or right of pixel edge,
// hi when none does. The search starts at a guess and gallops away from it,
// so an accurate guess (evenly spaced samples) costs a few reads.
long findEdge(const double* x, const Mapping& m, double edge, long lo, long hi, long guess)
{
    if (lo >= hi)
        return lo;
    auto atOrRight = [&](long i) {
        lastStats.samples_read++;
        return m.px(x[i]) >= edge;
    };
    guess = std::max(lo, std::min(hi - 1, guess));
    if (atOrRight(guess)) {
        long top = guess;
        for (long step = 1;; step *= 2) {
            const long p = top - step;
            if (p < lo)
                break;
            if (!atOrRight(p)) {
                lo = p + 1;
                break;
            }
            top = p;
        }
        hi = top;
    } else {
        long bottom = guess;
        for (long step = 1;; step *= 2) {
            const long p = bottom + step;
            if (p >= hi)
                break;
            if (atOrRight(p)) {
                hi = p;
                break;
            }
            bottom = p;
        }
        lo = bottom + 1;
    }
    while (lo < hi) {
        const long mid = lo + (hi - lo) / 2;
        if (atOrRight(mid))
            hi = mid;
        else
            lo = mid + 1;
    }
    return lo;
}

// Builds the path: points are added to the current run or start a new one
// after a break. Samples are taken in order, each at most once.
class Reducer {
public:
    Reducer(const KgrqtTraceSummary& s, const Mapping& m, int dense, bool antialias, double inset)
        : s(s), x(s.x), y(s.y), m(m), dense(dense), antialias(antialias), inset(inset)
    {
    }

    // Sample i as the mapper would draw it: a break, or a point.
    void sample(long i)
    {
        if (i <= last)
            return;
        last = i;
        if (x[i] == KGR_UNSET || y[i] == KGR_UNSET) {
            open = false;
            return;
        }
        const double fx = m.fx(x[i]), fy = m.fy(y[i]);
        if (!hasPlace(fx) || !hasPlace(fy)) {
            open = false;
            return;
        }
        point(m.w * fx, m.h * fy);
        lastStats.points++;
    }

    // Samples [from, to) of a cell of the pixel grid whose centre is at
    // pixel x centre.
    void cell(long from, long to, double centre)
    {
        if (to - from < dense) {
            for (long i = from; i < to; ++i)
                sample(i);
            lastStats.samples_read += to - from;
            return;
        }
        // The extremes of each half: rows that both halves reach are
        // crossed at least twice, at different places in the cell.
        const long mid = from + (to - from) / 2;
        KgrqtTraceExtremes e1, e2;
        const bool found =
            kgrqt_trace_range(s, from, mid, &e1) && kgrqt_trace_range(s, mid, to, &e2);
        lastStats.samples_read += (found ? e1.read + e2.read : 0) + 4;
        if (found) {
            const long lowAt = e2.lo < e1.lo ? e2.loAt : e1.loAt;
            const long highAt = e2.hi > e1.hi ? e2.hiAt : e1.hiAt;
            if (placed(from) && placed(to - 1) && placed(lowAt) && placed(highAt)) {
                span(from, to - 1, lowAt, highAt, centre,
                     {Half{e1.lo, e1.hi, mid - from, e1.spread},
                      Half{e2.lo, e2.hi, to - mid, e2.spread}});
                return;
            }
        }
        scanCell(from, to, centre);
    }

    // The vertical spans, added after the line as pieces of their own.
    void finish()
    {
        for (const Body& b : bodies) {
            path.moveTo(b.x, b.top);
            path.lineTo(b.x, b.bottom);
        }
    }

    QPainterPath path;

private:
    bool placed(long i) const { return hasPlace(m.fx(x[i])) && hasPlace(m.fy(y[i])); }

    void point(double px, double py)
    {
        if (open) {
            path.lineTo(px, py);
        } else {
            path.moveTo(px, py);
            open = true;
        }
    }

    // The lowest and highest value of half a cell, and its sample count.
    struct Half {
        double lo, hi;
        long count;
        double spread; // see KgrqtTraceExtremes
    };

    // The line into the cell, through its extremes in their order, and out
    // of it.
    void span(long first, long final, long lowAt, long highAt, double centre,
              const Half (&halves)[2])
    {
        const long a = std::min(lowAt, highAt), b = std::max(lowAt, highAt);
        // Without antialiasing the samples next to the extremes are kept
        // too: the aliased stroker picks a steep segment's pixels by the
        // segments around it, so a step keeps its exact pixels only with
        // its true neighbours. Antialiased, only a neighbour at the level
        // of the other extreme is kept: it is the corner of a step, and the
        // line between the extremes would otherwise cut across it.
        const long nb = antialias ? 0 : 1;
        const bool cornerAfter = a + 1 < b && std::fabs(m.py(y[a + 1]) - m.py(y[b])) < 1;
        const bool cornerBefore = b - 1 > a && std::fabs(m.py(y[b - 1]) - m.py(y[a])) < 1;
        const long keep[] = {
            first, a - nb, a,    cornerAfter ? a + 1 : a + nb, cornerBefore ? b - 1 : b - nb,
            b,     b + nb, final};
        for (long i : keep)
            if (i >= first && i <= final)
                sample(i);
        lastStats.spans++;
        if (antialias)
            addBodies(centre, halves);
    }

    // With antialiasing, vertical spans at the cell's centre: a drawing of
    // every point saturates the rows that many segments cross, where a few
    // points alone would leave them lighter. A half cell whose samples
    // outnumber the rows they reach, and whose blocks together spread over
    // one and a half times its range, crosses them many times and is a span;
    // otherwise (a step, a lone swing) only rows that both halves reach,
    // crossed at least twice, are. Spans stop short of their ends by the
    // inset, where the whole drawing thins out to its extreme points.
    void addBodies(double centre, const Half (&halves)[2])
    {
        bool any = false;
        for (const Half& h : halves) {
            const double top = m.py(h.hi), bottom = m.py(h.lo);
            if (h.count >= bottom - top && h.spread >= 1.5 * (h.hi - h.lo)) {
                addBody(centre, top, bottom);
                any = true;
            }
        }
        if (!any)
            addBody(centre, m.py(std::min(halves[0].hi, halves[1].hi)),
                    m.py(std::max(halves[0].lo, halves[1].lo)));
    }

    void addBody(double centre, double top, double bottom)
    {
        top += inset;
        bottom -= inset;
        if (top < bottom)
            bodies.push_back(Body{centre, top, bottom});
    }

    // A cell with breaks or points without a place, read sample by
    // sample: its unbroken pieces are spans or points like whole cells.
    void scanCell(long from, long to, double centre)
    {
        lastStats.samples_read += to - from;
        long i = from;
        while (i < to) {
            long j = i;
            while (j < to && x[j] != KGR_UNSET && y[j] != KGR_UNSET && placed(j))
                ++j;
            if (j - i >= dense) {
                const long mid = i + (j - i) / 2;
                const Extremes a = extremes(i, mid), b = extremes(mid, j);
                span(i, j - 1, y[b.low] < y[a.low] ? b.low : a.low,
                     y[b.high] > y[a.high] ? b.high : a.high, centre,
                     {Half{y[a.low], y[a.high], mid - i, variation(i, mid)},
                      Half{y[b.low], y[b.high], j - mid, variation(mid, j)}});
            } else {
                for (long k = i; k < j; ++k)
                    sample(k);
            }
            if (j < to)
                sample(j); // the break itself
            i = j + 1;
        }
    }

    struct Extremes {
        long low, high;
    };

    // The sum of the steps between samples [from, to).
    double variation(long from, long to) const
    {
        double sum = 0;
        for (long k = from + 1; k < to; ++k)
            sum += std::fabs(y[k] - y[k - 1]);
        return sum;
    }

    // Where the first lowest and highest of samples [from, to) are.
    Extremes extremes(long from, long to) const
    {
        Extremes e{from, from};
        for (long k = from; k < to; ++k) {
            if (y[k] < y[e.low])
                e.low = k;
            if (y[k] > y[e.high])
                e.high = k;
        }
        return e;
    }

    struct Body {
        double x, top, bottom;
    };

    const KgrqtTraceSummary& s;
    const double *x, *y;
    const Mapping& m;
    const int dense;
    const bool antialias;
    const double inset;
    bool open = false;
    long last = -1; // the last sample taken
    std::vector<Body> bodies;
};

} // namespace

KgrqtTraceTuning& kgrqt_trace_tuning()
{
    static KgrqtTraceTuning tuning;
    return tuning;
}

const KgrqtTraceStats& kgrqt_trace_last_stats()
{
    return lastStats;
}

QPainterPath* kgrqt_trace_path(KgrpolylineItem* item, int pw, int ph, int penWidth, bool antialias)
{
    lastStats = KgrqtTraceStats();
    const KgrqtTraceTuning& tuning = kgrqt_trace_tuning();
    Mapping m;
    if (!tuning.enabled || !item || item->npts < tuning.min_points || !item->xpts || !item->ypts ||
        !item->viewport || !mappingOf(item->viewport, &m) || m.w != pw || m.h != ph)
        return nullptr;
    const KgrqtTraceSummary* s = kgrqt_trace_summary(item, &lastStats.summary_built);
    if (!s->sorted)
        return nullptr;
    // Columns a little beyond both sides are reduced too, so that what a
    // wide pen or a joint reaches into the area is drawn as the whole path
    // draws it; beyond them one sample on each side carries the line in.
    const int margin = 2 + std::max(1, penWidth);
    const int c0 = -margin, c1 = m.w + margin;
    const long n = item->npts;
    const double* x = s->x;
    long from = findEdge(x, m, c0, 0, n, 0);
    const long end = findEdge(x, m, c1, from, n, from);
    // Antialiased drawings are reduced in cells of a fraction of a column,
    // so that the band a dense trace sweeps keeps its shape to a fraction
    // of a pixel at its sides.
    const int split = std::max(1, antialias ? tuning.cells : tuning.cells_aliased);
    Reducer r(*s, m, tuning.dense_points, antialias, tuning.inset);
    if (from > 0)
        r.sample(from - 1);
    const long cells = static_cast<long>(c1 - c0) * split;
    for (long k = 0; k < cells; ++k) {
        // The rest of the samples shared evenly by the remaining cells.
        const long guess = from + (end - from) / (cells - k);
        const double edge = c0 + double(k + 1) / split;
        const long to = k + 1 == cells ? end : findEdge(x, m, edge, from, end, guess);
        r.cell(from, to, c0 + (k + 0.5) / split);
        from = to;
    }
    if (end < n)
        r.sample(end);
    r.finish();
    lastStats.reduced = true;
    return new QPainterPath(std::move(r.path));
}
