// The multi-resolution summary of a long trace: minimum and maximum of y
// over blocks of 16, 256, 4096, ... samples, made in one pass over the
// points and kept per polyline item until its points change.
#include "kgrqt.h"
#include "kgrqt_trace.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <unordered_map>

namespace {

const int kShift = 4; // each level's blocks are 16 times the level below
const long kBlock = 1L << kShift;

// Values at or beyond this, and NaN, are left to the caller to look at:
// they hold the break marker.
const double kPlain = KGR_UNSET;

const double kNaN = std::numeric_limits<double>::quiet_NaN();

bool plain(double v)
{
    return std::fabs(v) < kPlain;
}

// The first level, straight from the samples; also decides whether x is
// sorted and free of breaks. Written without early exits so that the
// compiler keeps the loop branch-free.
void summarizeSamples(KgrqtTraceSummary* s, const double* x, const double* y, long n)
{
    const long blocks = (n + kBlock - 1) / kBlock;
    std::vector<double>& lo = s->lo.emplace_back(blocks);
    std::vector<double>& hi = s->hi.emplace_back(blocks);
    bool sorted = true;
    for (long b = 0; b < blocks; ++b) {
        const long from = b * kBlock;
        const long len = from + kBlock <= n ? kBlock : n - from;
        const double* yb = y + from;
        const double* xb = x + from;
        double mn = yb[0], mx = yb[0];
        bool ok = true, ordered = from == 0 || xb[0] >= xb[-1];
        for (long k = 0; k < len; ++k) {
            const double v = yb[k];
            mn = v < mn ? v : mn;
            mx = v > mx ? v : mx;
            ok &= plain(v);
            ordered &= plain(xb[k]);
        }
        for (long k = 1; k < len; ++k)
            ordered &= xb[k] >= xb[k - 1];
        sorted &= ordered;
        lo[b] = ok ? mn : kNaN;
        hi[b] = mx;
    }
    s->sorted = sorted;
}

// A further level from the one below; a block with a marked child is
// marked.
void summarizeLevel(KgrqtTraceSummary* s)
{
    const std::vector<double>&below_lo = s->lo.back(), &below_hi = s->hi.back();
    const long n = static_cast<long>(below_lo.size());
    const long blocks = (n + kBlock - 1) / kBlock;
    std::vector<double> lo(blocks), hi(blocks);
    for (long b = 0; b < blocks; ++b) {
        const long from = b * kBlock;
        const long to = std::min(n, from + kBlock);
        double mn = below_lo[from], mx = below_hi[from];
        bool ok = true;
        for (long k = from; k < to; ++k) {
            ok &= !std::isnan(below_lo[k]);
            mn = std::min(mn, below_lo[k]);
            mx = std::max(mx, below_hi[k]);
        }
        lo[b] = ok ? mn : kNaN;
        hi[b] = mx;
    }
    s->lo.push_back(std::move(lo));
    s->hi.push_back(std::move(hi));
}

// An extreme of a range and the sample or block that holds it.
struct Found {
    double value;
    int level;
    long index;
    void take(double v, int l, long i, bool better)
    {
        if (better) {
            value = v;
            level = l;
            index = i;
        }
    }
};

// The first sample of a block that holds its extreme, found by going down
// the levels: at each one the first child whose extreme is the block's.
long locate(const KgrqtTraceSummary& s, Found f, bool low, long* read)
{
    for (int level = f.level; level >= 0; --level) {
        const long first = f.index << kShift;
        if (level == 0) {
            const long end = std::min(s.n, first + kBlock);
            for (long i = first; i < end; ++i) {
                ++*read;
                if (s.y[i] == f.value)
                    return i;
            }
            return first;
        }
        const std::vector<double>& below = low ? s.lo[level - 1] : s.hi[level - 1];
        const long end = std::min(static_cast<long>(below.size()), first + kBlock);
        long child = first;
        while (child + 1 < end && below[child] != f.value)
            ++child;
        f.index = child;
    }
    return f.index;
}

struct Kept {
    std::unordered_map<const KgrpolylineItem*, std::unique_ptr<KgrqtTraceSummary>> summaries;
};

// Drawing happens on the GUI thread only, so the table needs no lock.
Kept& kept()
{
    static Kept k;
    return k;
}

} // namespace

size_t KgrqtTraceSummary::bytes() const
{
    size_t total = 0;
    for (size_t i = 0; i < lo.size(); ++i)
        total += (lo[i].size() + hi[i].size()) * sizeof(double);
    return total;
}

void kgrqt_trace_summarize(KgrqtTraceSummary* s, const double* x, const double* y, long n)
{
    *s = KgrqtTraceSummary();
    s->x = x;
    s->y = y;
    s->n = n;
    if (n <= 0 || !x || !y)
        return;
    summarizeSamples(s, x, y, n);
    while (s->lo.back().size() > 1)
        summarizeLevel(s);
}

bool kgrqt_trace_range(const KgrqtTraceSummary& s, long from, long to, KgrqtTraceExtremes* e)
{
    // Where each extreme was found: a sample (level -1) or a block.
    Found low{std::numeric_limits<double>::infinity(), -1, 0};
    Found high{-low.value, -1, 0};
    const int levels = static_cast<int>(s.lo.size());
    long i = from, read = 0;
    while (i < to) {
        // The largest block that starts at i and ends by to; -1 is a sample.
        int level = -1;
        while (level + 1 < levels) {
            const int shift = kShift * (level + 2);
            if ((i & ((1L << shift) - 1)) != 0 || i + (1L << shift) > to)
                break;
            ++level;
        }
        if (level < 0) {
            const double v = s.y[i];
            if (!plain(v))
                return false;
            low.take(v, -1, i, v < low.value);
            high.take(v, -1, i, v > high.value);
            ++i;
            ++read;
            continue;
        }
        const long b = i >> (kShift * (level + 1));
        const double blo = s.lo[level][b], bhi = s.hi[level][b];
        if (std::isnan(blo))
            return false;
        low.take(blo, level, b, blo < low.value);
        high.take(bhi, level, b, bhi > high.value);
        i += 1L << (kShift * (level + 1));
    }
    if (from >= to)
        return false;
    e->lo = low.value;
    e->hi = high.value;
    e->loAt = locate(s, low, true, &read);
    e->hiAt = locate(s, high, false, &read);
    e->read = read;
    return true;
}

const KgrqtTraceSummary* kgrqt_trace_summary(const KgrpolylineItem* item, bool* built)
{
    std::unique_ptr<KgrqtTraceSummary>& s = kept().summaries[item];
    if (!s || s->x != item->xpts || s->y != item->ypts || s->n != item->npts) {
        if (!s)
            s = std::make_unique<KgrqtTraceSummary>();
        kgrqt_trace_summarize(s.get(), item->xpts, item->ypts, item->npts);
        if (built)
            *built = true;
    }
    return s.get();
}

void kgrqt_trace_forget(const KgrpolylineItem* item)
{
    kept().summaries.erase(item);
}
