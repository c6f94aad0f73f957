// The multi-resolution summary of a long trace: minimum and maximum of y
// over blocks of 16, 256, 4096, ... samples, made in one pass over the
// points and kept per polyline item until its points change.
#include "KGRPolyline.h"
#include "kgrqt_engine.h"
#include "kgrqt_trace.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <unordered_map>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

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

// Minimum and maximum of y over samples [from, to), and whether any y is
// not a plain finite value or any x is not above or at the one before it
// (NaN included). Scalar; used for short blocks and without SSE2.
struct BlockScan {
    double mn, mx;
    bool bad, unsorted;
};

BlockScan scanScalar(const double* x, const double* y, long from, long to)
{
    BlockScan r{y[from], y[from], false, false};
    for (long k = from; k < to; ++k) {
        const double v = y[k];
        r.mn = v < r.mn ? v : r.mn;
        r.mx = v > r.mx ? v : r.mx;
        r.bad |= !plain(v);
        r.unsorted |= k > 0 && !(x[k] >= x[k - 1]);
    }
    return r;
}

#ifdef __SSE2__
// The same for a whole block of 16 samples that has one before it, two
// samples at a time: this pass reads every point once, so it should cost
// little more than the reading.
BlockScan scanBlock(const double* x, const double* y, long from)
{
    const double* yb = y + from;
    const double* xb = x + from;
    __m128d mn = _mm_loadu_pd(yb), mx = mn;
    __m128d bad = _mm_setzero_pd(), unsorted = _mm_setzero_pd();
    const __m128d zero = _mm_setzero_pd();
    for (long k = 0; k < kBlock; k += 2) {
        const __m128d v = _mm_loadu_pd(yb + k);
        mn = _mm_min_pd(mn, v);
        mx = _mm_max_pd(mx, v);
        // v - v is 0 for a finite value and NaN for NaN or infinity.
        bad = _mm_or_pd(bad, _mm_cmpneq_pd(_mm_sub_pd(v, v), zero));
        const __m128d xv = _mm_loadu_pd(xb + k), xp = _mm_loadu_pd(xb + k - 1);
        unsorted = _mm_or_pd(unsorted, _mm_cmpnge_pd(xv, xp));
    }
    double lo[2], hi[2];
    _mm_storeu_pd(lo, mn);
    _mm_storeu_pd(hi, mx);
    BlockScan r{std::min(lo[0], lo[1]), std::max(hi[0], hi[1]), _mm_movemask_pd(bad) != 0,
                _mm_movemask_pd(unsorted) != 0};
    // The break marker is finite: it shows in the extremes.
    r.bad |= !plain(r.mn) || !plain(r.mx);
    return r;
}
#else
BlockScan scanBlock(const double* x, const double* y, long from)
{
    return scanScalar(x, y, from, from + kBlock);
}
#endif

// The first level, straight from the samples; also decides whether x is
// sorted and free of breaks.
void summarizeSamples(KgrqtTraceSummary* s, const double* x, const double* y, long n)
{
    const long blocks = (n + kBlock - 1) / kBlock;
    std::vector<double>& lo = s->lo.emplace_back(blocks);
    std::vector<double>& hi = s->hi.emplace_back(blocks);
    bool unsorted = false;
    for (long b = 0; b < blocks; ++b) {
        const long from = b * kBlock;
        const BlockScan r = from > 0 && from + kBlock <= n
                                ? scanBlock(x, y, from)
                                : scanScalar(x, y, from, std::min(n, from + kBlock));
        unsorted |= r.unsorted;
        lo[b] = r.bad ? kNaN : r.mn;
        hi[b] = r.mx;
    }
    // Sorted, x is plain when its ends are.
    s->sorted = !unsorted && plain(x[0]) && plain(x[n - 1]);
}

// A further level from the one below; a block with a marked child is
// marked.
void summarizeLevel(KgrqtTraceSummary* s)
{
    const std::vector<double>&below_lo = s->lo.back(), &below_hi = s->hi.back();
    const long n = static_cast<long>(below_lo.size());
    const long blocks = (n + kBlock - 1) / kBlock;
    std::vector<double> lo(blocks), hi(blocks);
    std::vector<uint8_t> loChild(blocks), hiChild(blocks);
    for (long b = 0; b < blocks; ++b) {
        const long from = b * kBlock;
        const long to = std::min(n, from + kBlock);
        long mn = from, mx = from;
        bool ok = true;
        for (long k = from; k < to; ++k) {
            ok &= !std::isnan(below_lo[k]);
            if (below_lo[k] < below_lo[mn])
                mn = k;
            if (below_hi[k] > below_hi[mx])
                mx = k;
        }
        lo[b] = ok ? below_lo[mn] : kNaN;
        hi[b] = below_hi[mx];
        loChild[b] = static_cast<uint8_t>(mn - from);
        hiChild[b] = static_cast<uint8_t>(mx - from);
    }
    s->lo.push_back(std::move(lo));
    s->hi.push_back(std::move(hi));
    s->loChild.push_back(std::move(loChild));
    s->hiChild.push_back(std::move(hiChild));
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

// The first sample of a block that holds its extreme: down the levels
// through the child each block names, then among the block's samples.
long locate(const KgrqtTraceSummary& s, Found f, bool low, long* read)
{
    for (int level = f.level; level > 0; --level) {
        const std::vector<uint8_t>& child = low ? s.loChild[level - 1] : s.hiChild[level - 1];
        f.index = (f.index << kShift) + child[f.index];
    }
    if (f.level < 0)
        return f.index;
    const long first = f.index << kShift;
    const long end = std::min(s.n, first + kBlock);
    for (long i = first; i < end; ++i) {
        ++*read;
        if (s.y[i] == f.value)
            return i;
    }
    return first;
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
    for (size_t i = 0; i < loChild.size(); ++i)
        total += loChild[i].size() + hiChild[i].size();
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
    long i = from, read = 0, lastRaw = -2;
    double spread = 0;
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
            if (i > from && i - 1 == lastRaw)
                spread += std::fabs(v - s.y[i - 1]);
            lastRaw = i;
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
        spread += bhi - blo;
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
    e->spread = spread;
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
