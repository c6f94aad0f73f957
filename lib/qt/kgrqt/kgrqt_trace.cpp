// Fast drawing of long polylines: see kgrqt_trace.h.
//
// Exactness rests on three pieces, each a faithful replica of what the
// normal path runs:
//  - PolyMapper: KGRScalemap and KGRPolyDraw on the "none" transform (the
//    zone rules that drop points outside the plotting area) and the way
//    QPainterPath stores the result (a lineTo to a point fuzzily equal to
//    the last one is dropped, a moveTo after a moveTo replaces it);
//  - PathStroker and AliasedStroker: Qt 5's cosmetic line stroker for an
//    aliased solid pen of width 0 or 1, which draws each segment in 26.6
//    fixed point and carries the last pixel and direction from one segment
//    to the next (it removes a doubled pixel, inserts a missing one, and
//    lengthens a line by half a pixel where it reverses);
//  - the pixels, drawn with the pen's opaque colour, so that drawing a
//    pixel twice is the same as drawing it once.
//
// Skipping: a summary keeps, for runs of 32 points and for runs of twice as
// many at each level above, the range of y, bounds on the steps in x and y,
// and whether the run holds a point that breaks the line. For one view, a
// run whose points all lie in one pixel column is "certified" when each
// segment in it is stroked as a vertical line of that column or draws
// nothing: as x only grows, only the few segments that cross a 1/64-pixel
// step in x can move sideways, and those are checked one by one (from the
// step bounds where they suffice, else from the data); one that may draw
// outside the column is "risky" and is stroked on its own. A certified run
// draws rows of its column within one row of its y range only, and draws
// every row whose centre its points pass through (its "core"). It is
// skipped when the cores of all certified runs already hold every row it
// could draw; the stroker state after it, which the next stroked segment
// needs, is recovered from a segment near its end whose outcome does not
// depend on the state before it. Antialiased drawing sums the coverage of
// every segment over each pixel, which skipping cannot reproduce: it is
// left to the normal path.
#include "kgrqt_trace.h"

#include "kgrqt.h"

#include <QColor>
#include <QPaintDevice>
#include <QPaintEngine>
#include <QPainter>
#include <QPen>
#include <QRect>
#include <QTransform>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <unordered_map>
#include <vector>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace {

// Thread CPU time in milliseconds, for the phase timings of the stats.
double cpuMs()
{
    timespec t;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return t.tv_sec * 1e3 + t.tv_nsec / 1e6;
}

KgrqtTraceTuning g_tuning;
KgrqtTraceStats g_stats;

// ------------------------------------------------------------ arithmetic

// Keeps a product from being fused into the sum that follows it, so that
// the sum rounds as Qt's separately rounded arithmetic does.
inline double settled(double v)
{
#if defined(__GNUC__) && (defined(__x86_64__) || defined(__i386__))
    __asm__("" : "+x"(v));
#elif defined(__GNUC__) && defined(__aarch64__)
    __asm__("" : "+w"(v));
#else
    volatile double t = v;
    v = t;
#endif
    return v;
}

// Qt's 26.6 fixed point of a device coordinate, truncated toward zero.
inline int toF26Dot6(double v)
{
    return static_cast<int>(v * 64.);
}

// Qt's 16.16 quotient of two 26.6 differences.
inline int fixedDiv16(int x, int y)
{
    if (x == 0)
        return 0; // the common case of a dense trace, without a division
    if (std::abs(x) > 0x7fff)
        return static_cast<int>(static_cast<long long>(x) * 65536 / y);
    return x * 65536 / y;
}

inline int floorDiv(int a, int b)
{
    return a >= 0 ? a / b : -((-a + b - 1) / b);
}

// QPointF equality, which QPainterPath::lineTo uses to drop repeated points.
inline bool fuzzyEqual(double a, double b)
{
    if (a == 0 || b == 0)
        return std::fabs(a - b) <= 0.000000000001;
    return std::fabs(a - b) * 1000000000000. <= std::min(std::fabs(a), std::fabs(b));
}

inline bool fuzzyEqual(double ax, double ay, double bx, double by)
{
    return fuzzyEqual(ax, bx) && fuzzyEqual(ay, by);
}

// Far enough apart that neither can be fuzzily equal to anything fuzzily
// equal to the other.
inline bool farApart(double a, double b)
{
    return std::fabs(a - b) > 1e-9 * (std::fabs(a) + std::fabs(b)) + 1e-9;
}

// A value the library accepts as a coordinate; huge values are left to the
// normal path, whose arithmetic may overflow on them.
inline bool usable(double v)
{
    return std::fabs(v) <= 1e150;
}

// -------------------------------------------------------------- the view

// World to plotting-area pixels exactly as KGRScalemap and KGRPolyDraw
// compute them, and on to the device through the painter's translation.
struct TraceView {
    double xstart = 0, xscale = 1, ystart = 0, yscale = 1;
    int w = 0, h = 0;
    bool translated = false;
    double tx = 0, ty = 0;
    // The stroker's clip bounds: one pixel around the device.
    double clipX0 = 0, clipX1 = 0, clipY0 = 0, clipY1 = 0;
    QRect plot; // plotting area in device pixels

    double fx(double x) const { return (x - xstart) * xscale; }
    double fy(double y) const { return (y - ystart) * yscale; }
    double pathX(double f) const { return w * f; }
    double pathY(double f) const { return h * f; }
    double devX(double px) const { return translated ? settled(px) + tx : px; }
    double devY(double py) const { return translated ? settled(py) + ty : py; }
    int fixedX(double x) const { return toF26Dot6(devX(pathX(fx(x)))); }
    int fixedY(double y) const { return toF26Dot6(devY(pathY(fy(y)))); }
};

// --------------------------------------------------------------- pixels

// Pixels of the plotting area, one bitmap of rows per device column.
class ColumnBits {
public:
    void reset(const QRect& area)
    {
        area_ = area;
        words_ = (area.height() + 63) / 64;
        bits_.assign(static_cast<size_t>(area.width()) * words_, 0);
    }

    void set(int x, int y)
    {
        x -= area_.left();
        y -= area_.top();
        if (x < 0 || x >= area_.width() || y < 0 || y >= area_.height())
            return;
        bits_[static_cast<size_t>(x) * words_ + y / 64] |= uint64_t(1) << (y % 64);
    }

    // Rows y0..y1 of column x.
    void setRun(int x, int y0, int y1)
    {
        x -= area_.left();
        y0 = std::max(y0 - area_.top(), 0);
        y1 = std::min(y1 - area_.top(), area_.height() - 1);
        if (x < 0 || x >= area_.width() || y0 > y1)
            return;
        uint64_t* col = &bits_[static_cast<size_t>(x) * words_];
        for (int y = y0; y <= y1;) {
            int bit = y % 64, n = std::min(64 - bit, y1 - y + 1);
            col[y / 64] |= (n == 64 ? ~uint64_t(0) : ((uint64_t(1) << n) - 1)) << bit;
            y += n;
        }
    }

    // Whether rows y0..y1 of column x are all set; pixels outside the area
    // are never shown, so they count as set.
    bool hasRun(int x, int y0, int y1) const
    {
        x -= area_.left();
        if (x < 0 || x >= area_.width())
            return true;
        y0 = std::max(y0 - area_.top(), 0);
        y1 = std::min(y1 - area_.top(), area_.height() - 1);
        const uint64_t* col = &bits_[static_cast<size_t>(x) * words_];
        for (int y = y0; y <= y1;) {
            int bit = y % 64, n = std::min(64 - bit, y1 - y + 1);
            uint64_t mask = (n == 64 ? ~uint64_t(0) : ((uint64_t(1) << n) - 1)) << bit;
            if ((col[y / 64] & mask) != mask)
                return false;
            y += n;
        }
        return true;
    }

    void merge(const ColumnBits& other)
    {
        for (size_t i = 0; i < bits_.size(); ++i)
            bits_[i] |= other.bits_[i];
    }

    // Calls f(x, y, length) for every vertical run of set pixels.
    template <class F> void forEachRun(F f) const
    {
        for (int x = 0; x < area_.width(); ++x) {
            const uint64_t* col = &bits_[static_cast<size_t>(x) * words_];
            int runStart = -1;
            for (int wi = 0; wi < words_; ++wi) {
                uint64_t word = col[wi];
                if (runStart < 0 && word == 0)
                    continue;
                if (runStart >= 0 && word == ~uint64_t(0))
                    continue;
                for (int b = 0; b < 64; ++b) {
                    bool on = (word >> b) & 1;
                    int y = wi * 64 + b;
                    if (on && runStart < 0)
                        runStart = y;
                    else if (!on && runStart >= 0) {
                        f(area_.left() + x, area_.top() + runStart, y - runStart);
                        runStart = -1;
                    }
                }
            }
            if (runStart >= 0)
                f(area_.left() + x, area_.top() + runStart, area_.height() - runStart);
        }
    }

private:
    QRect area_;
    int words_ = 0;
    std::vector<uint64_t> bits_;
};

// --------------------------------------------------------------- stroker

enum Direction {
    kNoDirection = 0,
    kTopToBottom = 1,
    kBottomToTop = 2,
    kLeftToRight = 4,
    kRightToLeft = 8,
    kVerticalMask = 3,
    kHorizontalMask = 12
};
enum Caps { kNoCaps = 0, kCapBegin = 1, kCapEnd = 2 };

inline int swapCaps(int caps)
{
    return ((caps & kCapBegin) << 1) | ((caps & kCapEnd) >> 1);
}

// What the stroker carries from one segment to the next.
struct StrokerState {
    int lastDir = kNoDirection;
    bool lastAxisAligned = false;
    int lastX = INT_MIN, lastY = INT_MIN;
};

// Qt 5's aliased cosmetic line stroker, one segment at a time, writing the
// pixels it draws into a ColumnBits.
class AliasedStroker {
public:
    StrokerState s;

    void setup(const TraceView& view, ColumnBits* out)
    {
        xmin_ = view.clipX0;
        xmax_ = view.clipX1;
        ymin_ = view.clipY0;
        ymax_ = view.clipY1;
        out_ = out;
    }

    void line(double rx1, double ry1, double rx2, double ry2, int caps)
    {
        if (clipLine(rx1, ry1, rx2, ry2))
            return;
        int x1 = toF26Dot6(rx1), y1 = toF26Dot6(ry1);
        int x2 = toF26Dot6(rx2), y2 = toF26Dot6(ry2);
        if (std::abs(x2 - x1) < std::abs(y2 - y1))
            vertical(x1, y1, x2, y2, caps);
        else if (x2 != x1)
            horizontal(x1, y1, x2, y2, caps);
    }

private:
    double xmin_ = 0, xmax_ = 0, ymin_ = 0, ymax_ = 0;
    ColumnBits* out_ = nullptr;

    // Rough clipping in floating point; true when nothing is left.
    bool clipLine(double& x1, double& y1, double& x2, double& y2)
    {
        if (x1 < xmin_) {
            if (x2 <= xmin_)
                return clipped();
            y1 += settled((y2 - y1) / (x2 - x1) * (xmin_ - x1));
            x1 = xmin_;
        } else if (x1 > xmax_) {
            if (x2 >= xmax_)
                return clipped();
            y1 += settled((y2 - y1) / (x2 - x1) * (xmax_ - x1));
            x1 = xmax_;
        }
        if (x2 < xmin_) {
            s.lastX = INT_MIN;
            y2 += settled((y2 - y1) / (x2 - x1) * (xmin_ - x2));
            x2 = xmin_;
        } else if (x2 > xmax_) {
            s.lastX = INT_MIN;
            y2 += settled((y2 - y1) / (x2 - x1) * (xmax_ - x2));
            x2 = xmax_;
        }
        if (y1 < ymin_) {
            if (y2 <= ymin_)
                return clipped();
            x1 += settled((x2 - x1) / (y2 - y1) * (ymin_ - y1));
            y1 = ymin_;
        } else if (y1 > ymax_) {
            if (y2 >= ymax_)
                return clipped();
            x1 += settled((x2 - x1) / (y2 - y1) * (ymax_ - y1));
            y1 = ymax_;
        }
        if (y2 < ymin_) {
            s.lastX = INT_MIN;
            x2 += settled((x2 - x1) / (y2 - y1) * (ymin_ - y2));
            y2 = ymin_;
        } else if (y2 > ymax_) {
            s.lastX = INT_MIN;
            x2 += settled((x2 - x1) / (y2 - y1) * (ymax_ - y2));
            y2 = ymax_;
        }
        return false;
    }

    bool clipped()
    {
        s.lastX = INT_MIN;
        return true;
    }

    // One line along its major axis a (y for steep lines, x for flat ones);
    // b is the other axis, in 16.16 fixed point once stepping starts.
    template <bool Vertical>
    void step(int a1, int b1, int a2, int b2, int caps, int dirForward, int dirBackward,
              int reverseMask)
    {
        int dir = dirForward;
        bool swapped = false;
        if (a1 > a2) {
            swapped = true;
            std::swap(a1, a2);
            std::swap(b1, b2);
            caps = swapCaps(caps);
            dir = dirBackward;
        }
        int inc = fixedDiv16(b2 - b1, a2 - a1);
        int b = b1 * (1 << 10);
        // A line that turns back on the previous one starts half a pixel early.
        if ((s.lastDir ^ reverseMask) == dir)
            caps |= swapped ? kCapEnd : kCapBegin;
        if (caps & kCapBegin) {
            a1 -= 32;
            b -= inc >> 1;
        }
        if (caps & kCapEnd)
            a2 += 32;
        int a = (a1 + 32) >> 6;
        int as = (a2 + 32) >> 6;
        int round = inc > 0 ? 32 : 0;
        // Where the half pixel moved the start off the pixel the previous
        // line ended next to, the start moves back.
        if ((caps & kCapBegin) && (Vertical ? s.lastY : s.lastX) == a + 1)
            a++;
        if (a == as)
            return; // nothing drawn; the state keeps its pixel
        b += ((a * (1 << 6)) + round - a1) * inc >> 6;
        int firstA = a, firstB = b >> 16;
        int endA = as - 1, endB = (b + (as - a - 1) * inc) >> 16;
        if (swapped) {
            std::swap(firstA, endA);
            std::swap(firstB, endB);
        }
        const int firstX = Vertical ? firstB : firstA, firstY = Vertical ? firstA : firstB;
        bool axisAligned = std::abs(inc) < (1 << 14);
        if (s.lastX > INT_MIN) {
            if (firstX == s.lastX && firstY == s.lastY) {
                // The previous line drew this pixel already.
                if (swapped) {
                    --as;
                } else {
                    ++a;
                    b += inc;
                }
            } else if (s.lastDir != dir &&
                       (((axisAligned && s.lastAxisAligned) && s.lastX != firstX &&
                         s.lastY != firstY) ||
                        (std::abs(s.lastX - firstX) > 1 || std::abs(s.lastY - firstY) > 1))) {
                // A pixel is missing at the turn: draw one more.
                if (swapped) {
                    ++as;
                } else {
                    --a;
                    b -= inc;
                }
            } else if (s.lastDir == dir &&
                       (std::abs(s.lastX - firstX) <= 1 && std::abs(s.lastY - firstY) > 1)) {
                b += inc >> 1;
                if (swapped)
                    endB = b >> 16;
                else
                    endB = (b + (as - a - 1) * inc) >> 16;
            }
        }
        s.lastDir = dir;
        s.lastAxisAligned = axisAligned;
        // At least one pixel is drawn, even where dropping the doubled pixel
        // leaves none (the one after it is drawn then).
        emitPixels<Vertical>(a, b, inc, std::max(as - a, 1));
        s.lastX = Vertical ? endB : endA;
        s.lastY = Vertical ? endA : endB;
    }

    template <bool Vertical> void emitPixels(int a, int b, int inc, int count)
    {
        if (Vertical) {
            int c0 = b >> 16;
            long long bEnd = static_cast<long long>(b) + static_cast<long long>(count - 1) * inc;
            int c1 = static_cast<int>(bEnd >> 16);
            if (c0 == c1) {
                out_->setRun(c0, a, a + count - 1);
                return;
            }
            for (int i = 0; i < count; ++i, b += inc)
                out_->set(b >> 16, a + i);
        } else {
            for (int i = 0; i < count; ++i, b += inc)
                out_->set(a + i, b >> 16);
        }
    }

    void vertical(int x1, int y1, int x2, int y2, int caps)
    {
        step<true>(y1, x1, y2, x2, caps, kTopToBottom, kBottomToTop, kVerticalMask);
    }

    void horizontal(int x1, int y1, int x2, int y2, int caps)
    {
        step<false>(x1, y1, x2, y2, caps, kLeftToRight, kRightToLeft, kHorizontalMask);
    }
};

// ---------------------------------------------------------------- path

// The elements of the path as QPainterPath stores them, stroked the way
// Qt's stroker walks a path: subpath by subpath, each segment once the next
// element tells whether it is the last of its subpath.
class PathStroker {
public:
    AliasedStroker stroker;
    const TraceView* view = nullptr;
    bool drawCaps = true;
    bool closedSubpath = false; // a subpath ended where it began
    long segments = 0;

    // The last element (path coordinates), whether it is a moveTo, and the
    // start and count of segments of the current subpath.
    double curX = 0, curY = 0;
    bool lastIsMove = true;
    double firstX = 0, firstY = 0;
    int subpathSegments = 0;
    // The segment waiting for the next element.
    bool pending = false;
    double pendX1 = 0, pendY1 = 0, pendX2 = 0, pendY2 = 0;
    int pendCaps = 0;

    void moveTo(double x, double y)
    {
        if (lastIsMove) {
            curX = firstX = x;
            curY = firstY = y;
            return;
        }
        finishSubpath();
        curX = firstX = x;
        curY = firstY = y;
        lastIsMove = true;
        stroker.s.lastX = stroker.s.lastY = INT_MIN;
    }

    void lineTo(double x, double y)
    {
        if (fuzzyEqual(x, y, curX, curY))
            return;
        if (pending)
            strokePending(0);
        pending = true;
        pendX1 = curX;
        pendY1 = curY;
        pendX2 = x;
        pendY2 = y;
        pendCaps = subpathSegments == 0 && drawCaps ? kCapBegin : kNoCaps;
        ++subpathSegments;
        curX = x;
        curY = y;
        lastIsMove = false;
    }

    void finishSubpath()
    {
        if (pending)
            strokePending(drawCaps ? kCapEnd : kNoCaps);
        if (subpathSegments > 0 && firstX == curX && firstY == curY)
            closedSubpath = true;
        subpathSegments = 0;
    }

private:
    void strokePending(int endCaps)
    {
        pending = false;
        ++segments;
        stroker.line(view->devX(pendX1), view->devY(pendY1), view->devX(pendX2), view->devY(pendY2),
                     pendCaps | endCaps);
    }
};

// ---------------------------------------------------------------- mapper

enum Disposition { kMove = 1, kLine = 2 };
enum Outcome { kSkip, kCurrent, kPreviousAndCurrent };

inline int band(double f)
{
    return f < 0.0 ? 0 : f > 1.0 ? 2 : 1;
}
inline int zoneOf(double fx, double fy)
{
    return 3 * band(fy) + band(fx);
}

inline bool shareOutsideSide(int zone1, int zone2)
{
    int row1 = zone1 / 3, col1 = zone1 % 3;
    int row2 = zone2 / 3, col2 = zone2 % 3;
    return (row1 == row2 && row1 != 1) || (col1 == col2 && col1 != 1);
}

inline Outcome decide(int zoneLast, int zone)
{
    if (zoneLast == 4)
        return kCurrent;
    if (zone == zoneLast)
        return kSkip;
    if (shareOutsideSide(zoneLast, zone))
        return kCurrent;
    return kPreviousAndCurrent;
}

// KGRScalemap and KGRPolyDraw on the "none" transform, point by point.
class PolyMapper {
public:
    const TraceView* view = nullptr;
    const double* xs = nullptr;
    const double* ys = nullptr;
    PathStroker* path = nullptr;

    bool start = true; // the next real point begins a line
    bool first = true;
    bool skipped = false;
    double xLast = 0, yLast = 0;
    int zoneLast = 4, retLast = kMove;

    void feed(int i)
    {
        double x = xs[i], y = ys[i];
        if (x == KGR_UNSET || y == KGR_UNSET) {
            start = true;
            return;
        }
        double fx = view->fx(x), fy = view->fy(y);
        if (!std::isfinite(fx) || !std::isfinite(fy)) {
            start = true;
            return;
        }
        int d = start ? kMove : kLine;
        start = false;
        int zone = zoneOf(fx, fy);
        Outcome outcome = decide(zoneLast, zone);
        if (first || d == kMove)
            outcome = d == kMove ? kPreviousAndCurrent : kCurrent;
        first = false;
        if (outcome == kPreviousAndCurrent)
            emitSkipped();
        if (outcome == kSkip)
            skipped = true;
        else
            emit(fx, fy, d);
        xLast = fx;
        yLast = fy;
        zoneLast = zone;
        retLast = d;
    }

    void finish() { emitSkipped(); }

private:
    void emitSkipped()
    {
        if (skipped)
            emit(xLast, yLast, retLast);
        skipped = false;
    }

    void emit(double fx, double fy, int d)
    {
        double x = view->pathX(fx), y = view->pathY(fy);
        if (!(std::fabs(x) < 1e100 && std::fabs(y) < 1e100))
            return;
        if (d == kMove)
            path->moveTo(x, y);
        else
            path->lineTo(x, y);
    }
};

// --------------------------------------------------------------- summary

// One run of points [s, e] of the summary (e is also the first point of the
// next run): the range of y over s+1..e, bounds on its steps, and whether
// any point in s..e breaks the line.
struct SummaryNode {
    double ylo, yhi;
    double dymin; // smallest non-zero |step| in y, or +inf
    double dxmax; // largest step in x
    bool flat;    // a step with no change in y
    bool bad;
};

const int kLeafPoints = 32;

class TraceSummary {
public:
    int n = 0;
    const double* x = nullptr;
    const double* y = nullptr;
    bool qualifies = false; // x non-decreasing, no huge values, not mostly breaks
    double xmin = 0, xmax = 0, ymin = 0, ymax = 0; // over valid points
    std::vector<int> runFirst, runLast;            // valid points between breaks
    std::vector<std::vector<SummaryNode>> levels;

    static bool valid(double xv, double yv)
    {
        return xv != KGR_UNSET && yv != KGR_UNSET && std::isfinite(xv) && std::isfinite(yv);
    }
    bool valid(int i) const { return valid(x[i], y[i]); }

    int nodeStart(int level, int k) const { return k * (kLeafPoints << level); }

    // Whether the leaf holding point i (its first point, where i starts
    // one) holds a break.
    bool leafBad(int i) const
    {
        size_t k = static_cast<size_t>(std::min(i, n - 2) / kLeafPoints);
        return levels[0][k].bad || (i % kLeafPoints == 0 && i > 0 && levels[0][k - 1].bad);
    }

    // x and y at a node end (a multiple of the leaf size, or the last
    // point), and y just after it.
    double edgeX(int i) const { return edgeX_[edge(i)]; }
    double edgeY(int i) const { return edgeY_[edge(i)]; }
    double edgeYNext(int i) const { return edgeYNext_[edge(i)]; }
    int nodeEnd(int level, int k) const
    {
        return std::min((k + 1) * (kLeafPoints << level), n - 1);
    }

    void build(int npts, const double* xp, const double* yp)
    {
        n = npts;
        x = xp;
        y = yp;
        if (n < 2)
            return;
        buildLeaves();
        qualifies = sorted_ && sane_ && any_ && runFirst.size() <= static_cast<size_t>(n / 8 + 1);
        if (!qualifies)
            return;
        buildLevels();
    }

private:
    bool sorted_ = true, sane_ = true, any_ = false;
    std::vector<double> edgeX_, edgeY_, edgeYNext_;

    size_t edge(int i) const
    {
        return i == n - 1 ? edgeX_.size() - 1 : static_cast<size_t>(i / kLeafPoints);
    }
    double lastX_ = -HUGE_VAL;
    int run_ = -1;

    // A point the quick loop accepts: a value the library can use.
    static bool plain(double xv, double yv)
    {
        return std::fabs(xv) <= 1e150 && std::fabs(yv) <= 1e150 && xv != KGR_UNSET &&
               yv != KGR_UNSET;
    }

    // One pass over the points: the leaves, and the order, ranges and runs
    // of the whole line.
    void buildLeaves()
    {
        int leaves = (n - 1 + kLeafPoints - 1) / kLeafPoints;
        levels.assign(1, std::vector<SummaryNode>(static_cast<size_t>(leaves)));
        slowPoint(0);
        bool firstPlain = plain(x[0], y[0]);
        edgeX_.reserve(static_cast<size_t>(leaves) + 1);
        edgeY_.reserve(static_cast<size_t>(leaves) + 1);
        edgeYNext_.reserve(static_cast<size_t>(leaves) + 1);
        for (int k = 0; k < leaves; ++k) {
            int s = nodeStart(0, k), e = nodeEnd(0, k);
            keepEdge(s);
            SummaryNode& nd = levels[0][k];
            bool ok = true, up = true;
            scanLeaf(s, e, &nd, &ok, &up);
            if (ok && firstPlain && run_ >= 0) {
                sorted_ &= up;
                lastX_ = x[e];
                nd.bad = false;
                any_ = true;
                ymin = std::min(ymin, nd.ylo);
                ymax = std::max(ymax, nd.yhi);
            } else {
                nd.bad = !firstPlain || !ok;
                for (int i = s + 1; i <= e; ++i)
                    slowPoint(i);
            }
            firstPlain = plain(x[e], y[e]);
        }
        if (run_ >= 0) {
            runFirst.push_back(run_);
            runLast.push_back(n - 1);
        }
        xmax = lastX_;
        keepEdge(n - 1);
    }

    void keepEdge(int i)
    {
        edgeX_.push_back(x[i]);
        edgeY_.push_back(y[i]);
        edgeYNext_.push_back(i + 1 < n ? y[i + 1] : y[i]);
    }

    // Range of y over s+1..e, bounds on the steps, whether all those points
    // are plain and whether x never decreases over s..e. NaNs spoil the
    // rest, but then the points are not plain either.
    void scanLeaf(int s, int e, SummaryNode* nd, bool* ok, bool* up) const
    {
        int i = s + 1;
        double lo = y[i], hi = y[i], dyMin = HUGE_VAL, dxMax = 0;
        bool good = true, grows = true, flat = false;
#if defined(__SSE2__)
        const __m128d absMask = _mm_castsi128_pd(_mm_set1_epi64x(0x7fffffffffffffffLL));
        const __m128d limit = _mm_set1_pd(1e150), unset = _mm_set1_pd(KGR_UNSET);
        const __m128d allSet = _mm_castsi128_pd(_mm_set1_epi32(-1));
        const __m128d zero = _mm_setzero_pd(), inf = _mm_set1_pd(HUGE_VAL);
        __m128d lo2 = _mm_set1_pd(lo), hi2 = lo2, bad2 = zero, down2 = zero, flat2 = zero;
        __m128d dyMin2 = inf, dxMax2 = zero;
        for (; i + 1 <= e; i += 2) {
            __m128d xv = _mm_loadu_pd(x + i), yv = _mm_loadu_pd(y + i);
            __m128d xp = _mm_loadu_pd(x + i - 1), yp = _mm_loadu_pd(y + i - 1);
            lo2 = _mm_min_pd(lo2, yv);
            hi2 = _mm_max_pd(hi2, yv);
            __m128d fine = _mm_and_pd(_mm_cmple_pd(_mm_and_pd(xv, absMask), limit),
                                      _mm_cmple_pd(_mm_and_pd(yv, absMask), limit));
            __m128d marks = _mm_or_pd(_mm_cmpeq_pd(xv, unset), _mm_cmpeq_pd(yv, unset));
            bad2 = _mm_or_pd(bad2, _mm_or_pd(marks, _mm_andnot_pd(fine, allSet)));
            down2 = _mm_or_pd(down2, _mm_cmplt_pd(xv, xp));
            __m128d dy = _mm_and_pd(_mm_sub_pd(yv, yp), absMask);
            __m128d still = _mm_cmpeq_pd(dy, zero);
            flat2 = _mm_or_pd(flat2, still);
            dyMin2 =
                _mm_min_pd(dyMin2, _mm_or_pd(_mm_andnot_pd(still, dy), _mm_and_pd(still, inf)));
            dxMax2 = _mm_max_pd(dxMax2, _mm_sub_pd(xv, xp));
        }
        double a[2], b[2], c[2], d[2];
        _mm_storeu_pd(a, lo2);
        _mm_storeu_pd(b, hi2);
        _mm_storeu_pd(c, dyMin2);
        _mm_storeu_pd(d, dxMax2);
        lo = std::min(a[0], a[1]);
        hi = std::max(b[0], b[1]);
        dyMin = std::min(c[0], c[1]);
        dxMax = std::max(d[0], d[1]);
        good = _mm_movemask_pd(bad2) == 0;
        grows = _mm_movemask_pd(down2) == 0;
        flat = _mm_movemask_pd(flat2) != 0;
#endif
        for (; i <= e; ++i) {
            double xv = x[i], yv = y[i];
            lo = std::min(lo, yv);
            hi = std::max(hi, yv);
            good &= plain(xv, yv);
            grows &= xv >= x[i - 1];
            double dy = std::fabs(yv - y[i - 1]);
            flat |= dy == 0;
            if (dy != 0)
                dyMin = std::min(dyMin, dy);
            dxMax = std::max(dxMax, xv - x[i - 1]);
        }
        nd->ylo = lo;
        nd->yhi = hi;
        nd->dymin = dyMin;
        nd->dxmax = dxMax;
        nd->flat = flat;
        *ok = good;
        *up = grows;
    }

    // Bookkeeping of one point outside the quick loop.
    void slowPoint(int i)
    {
        double xv = x[i], yv = y[i];
        if (!valid(xv, yv)) {
            if (run_ >= 0) {
                runFirst.push_back(run_);
                runLast.push_back(i - 1);
                run_ = -1;
            }
            return;
        }
        if (run_ < 0)
            run_ = i;
        sane_ &= usable(xv) && usable(yv);
        sorted_ &= xv >= lastX_;
        lastX_ = xv;
        if (!any_) {
            xmin = xv;
            ymin = ymax = yv;
            any_ = true;
        }
        ymin = std::min(ymin, yv);
        ymax = std::max(ymax, yv);
    }

    void buildLevels()
    {
        while (levels.back().size() > 1) {
            const std::vector<SummaryNode>& below = levels.back();
            std::vector<SummaryNode> above((below.size() + 1) / 2);
            for (size_t k = 0; k < above.size(); ++k) {
                SummaryNode a = below[2 * k];
                if (2 * k + 1 < below.size()) {
                    const SummaryNode& b = below[2 * k + 1];
                    a.ylo = std::min(a.ylo, b.ylo);
                    a.yhi = std::max(a.yhi, b.yhi);
                    a.dymin = std::min(a.dymin, b.dymin);
                    a.dxmax = std::max(a.dxmax, b.dxmax);
                    a.flat |= b.flat;
                    a.bad |= b.bad;
                }
                above[k] = a;
            }
            levels.push_back(std::move(above));
        }
    }
};

// The summaries, by item; each is checked against the item's arrays before
// use, and dropped whenever the item says its points changed.
std::unordered_map<const KgrpolylineItem*, std::unique_ptr<TraceSummary>>& summaries()
{
    static std::unordered_map<const KgrpolylineItem*, std::unique_ptr<TraceSummary>> table;
    return table;
}

TraceSummary* summaryFor(const KgrpolylineItem* item)
{
    auto& table = summaries();
    auto it = table.find(item);
    if (it != table.end() && it->second->n == item->npts && it->second->x == item->xpts &&
        it->second->y == item->ypts)
        return it->second.get();
    auto summary = std::make_unique<TraceSummary>();
    summary->build(item->npts, item->xpts, item->ypts);
    g_stats.summary_built = true;
    TraceSummary* result = summary.get();
    table[item] = std::move(summary);
    return result;
}

// ----------------------------------------------------------- certificates

// What one summary node is known to draw in the current view.
struct Certificate {
    bool safe = false; // its segments but the risky ones draw in column col, rows
                       // envLo..envHi only
    bool core = false; // and draw every row coreLo..coreHi of it but the holes
    int col = 0, envLo = 0, envHi = 0, coreLo = 0, coreHi = -1;
    int holes = 0, holeLo[4], holeHi[4];
    int risky = 0, riskyAt[4]; // segments (i, i + 1) to stroke one by one

    void addHole(int lo, int hi)
    {
        if (holes == 4) {
            core = false;
            return;
        }
        holeLo[holes] = lo;
        holeHi[holes++] = hi;
    }
};

// Whether points i and j of the data lie far apart on the path.
bool farFromPath(const TraceView& v, const double* x, const double* y, int i, int j)
{
    return farApart(v.pathX(v.fx(x[i])), v.pathX(v.fx(x[j]))) ||
           farApart(v.pathY(v.fy(y[i])), v.pathY(v.fy(y[j])));
}

// Bounds, in 26.6 fixed point of the current view, on the steps of a node
// from the bounds in data units that the summary keeps, allowing for the
// rounding of the mapping and of the truncation to fixed point.
struct StepBounds {
    double ySlope = 0, yError = 0, xSlope = 0, xError = 0;

    StepBounds(const TraceSummary& sum, const TraceView& v)
    {
        double ybig = std::max(std::fabs(sum.ymin), std::fabs(sum.ymax)) + std::fabs(v.ystart);
        double xbig = std::max(std::fabs(sum.xmin), std::fabs(sum.xmax)) + std::fabs(v.xstart);
        ySlope = std::fabs(v.yscale * v.h);
        xSlope = std::fabs(v.xscale * v.w);
        yError = 8e-16 * (ybig * ySlope + std::fabs(v.ty) + v.h + 1);
        xError = 8e-16 * (xbig * xSlope + std::fabs(v.tx) + v.w + 1);
    }

    // Least |dy| of a step that changes y, most dx of any step.
    int dyLow(const SummaryNode& nd) const
    {
        if (nd.dymin == HUGE_VAL)
            return INT_MAX / 2;
        double px = nd.dymin * ySlope * (1 - 1e-12) - 2 * yError;
        return px > 1e6 ? INT_MAX / 2 : static_cast<int>(std::floor(64 * px)) - 2;
    }
    int dxHigh(const SummaryNode& nd) const
    {
        double px = nd.dxmax * xSlope * (1 + 1e-12) + 2 * xError;
        return px > 1e6 ? INT_MAX / 4 : static_cast<int>(std::floor(64 * px)) + 2;
    }
};

// Nodes spanning more fixed-point x steps than this are split instead.
const int kMaxXSteps = 16;

// Certifies a node [s, e] (see the top of the file). It must lie inside a
// line (its neighbours are real points, so no end of a subpath with its caps
// falls inside it), with all its points in the plotting area and in the
// stroker's clip, in one pixel column. As x only grows, a segment of the
// node moves in fixed-point x only where it crosses one of the few 1/64
// pixel steps between its ends; every other segment is a vertical line in
// the column, or draws nothing. The crossing segments are found and looked
// at one by one: a steep one whose pixels may leave the column, or a flat
// one that may draw, is "risky" and is stroked on its own; a flat one that
// draws nothing leaves the rows it passes out of the core.
Certificate certify(const TraceSummary& sum, const TraceView& v, const SummaryNode& nd, int s,
                    int e, const StepBounds& bounds)
{
    Certificate c;
    // The leaves before and after must be whole (a leaf holding a break
    // rules a neighbour out even where the break lies further away).
    if (nd.bad || s < 1 || e + 1 >= sum.n || sum.leafBad(s - 1) || sum.leafBad(e + 1))
        return c;
    const double* x = sum.x;
    const double* y = sum.y;
    // Values at node ends come from the summary's own copies, which are in
    // the cache far more often than the data.
    double xs = sum.edgeX(s), xe = sum.edgeX(e), ys = sum.edgeY(s);
    double ylo = std::min(nd.ylo, ys), yhi = std::max(nd.yhi, ys);
    double fx0 = v.fx(xs), fx1 = v.fx(xe), fy0 = v.fy(ylo), fy1 = v.fy(yhi);
    if (std::min(fx0, fx1) < 0 || std::max(fx0, fx1) > 1 || std::min(fy0, fy1) < 0 ||
        std::max(fy0, fy1) > 1)
        return c;
    double dx0 = v.devX(v.pathX(fx0)), dx1 = v.devX(v.pathX(fx1));
    double dy0 = v.devY(v.pathY(fy0)), dy1 = v.devY(v.pathY(fy1));
    if (std::min(dx0, dx1) < v.clipX0 || std::max(dx0, dx1) > v.clipX1 ||
        std::min(dy0, dy1) < v.clipY0 || std::max(dy0, dy1) > v.clipY1)
        return c;
    int fxLo = toF26Dot6(dx0), fxHi = toF26Dot6(dx1);
    int col = fxLo >> 6;
    if ((fxHi >> 6) != col || fxHi - fxLo > kMaxXSteps)
        return c;
    c.core = true;
    // The crossings, leaf by leaf: a leaf's bounds on its steps tell whether
    // a crossing in it is steep (moves more in y than it can in x) and how
    // far its pixels can reach; only a crossing near the edge of the column,
    // or a flat one that may reach its middle, is looked at in the data.
    int leaf = s / kLeafPoints;
    auto leafEnd = [&](int k) { return std::min((k + 1) * kLeafPoints, sum.n - 1); };
    int leafEndX = v.fixedX(sum.edgeX(leafEnd(leaf)));
    for (int step = fxLo + 1; step <= fxHi;) {
        while (leafEndX < step)
            leafEndX = v.fixedX(sum.edgeX(leafEnd(++leaf)));
        const SummaryNode& lf = sum.levels[0][leaf];
        // A step of no change in y that the path drops as a repeat joins
        // two steps, hence one more in x.
        const int dxHigh = bounds.dxHigh(lf) + (lf.flat ? 1 : 0), dyLow = bounds.dyLow(lf);
        const bool steep = dyLow > dxHigh;
        const int reach = steep ? 3 * static_cast<int>(65536LL * dxHigh / dyLow) + 8 : 0;
        if (steep && ((step - dxHigh) * 1024 - reach) >> 16 == col &&
            ((step + dxHigh - 1) * 1024 + reach) >> 16 == col &&
            !(lf.flat && std::abs(step - (64 * col + 32)) <= dxHigh)) {
            ++step;
            continue;
        }
        // The segment (lo, lo + 1) of the leaf that crosses into the step.
        int lo = std::max(s, leaf * kLeafPoints), hi = std::min(e, leafEnd(leaf));
        while (hi - lo > 1) {
            int mid = lo + (hi - lo) / 2;
            (v.fixedX(x[mid]) < step ? lo : hi) = mid;
        }
        int x1 = v.fixedX(x[lo]), x2 = v.fixedX(x[hi]);
        int y1 = v.fixedY(y[lo]), y2 = v.fixedY(y[hi]);
        // Points a step apart in fixed point are far apart; nearer ones may
        // be dropped by the path as repeats, which joins other points.
        int x0 = v.fixedX(x[lo - 1]), y0 = v.fixedY(y[lo - 1]);
        if (!(x2 - x1 >= 2 || std::abs(y2 - y1) >= 2 || farFromPath(v, x, y, lo, hi)) ||
            !(x1 - x0 >= 2 || std::abs(y1 - y0) >= 2 || farFromPath(v, x, y, lo - 1, lo)))
            return Certificate();
        int dy = std::abs(y2 - y1), yTop = std::min(y1, y2), yBottom = std::max(y1, y2);
        bool risky;
        if (x2 - x1 < dy) {
            // Caps, inserted pixels and half steps shift a steep line's
            // pixels by less than three steps of it beyond its ends.
            int inc = fixedDiv16(y1 < y2 ? x2 - x1 : x1 - x2, dy);
            int reach = 3 * std::abs(inc) + 8;
            risky = ((x1 * 1024 - reach) >> 16) != col || ((x2 * 1024 + reach) >> 16) != col;
        } else {
            risky = ((x1 + 32) >> 6) != ((x2 + 32) >> 6);
            // Drawing nothing, it may pass a row centre that no line draws.
            if (!risky && ((yTop + 32) >> 6) != ((yBottom + 32) >> 6))
                c.addHole(yTop >> 6, (yBottom >> 6) + 1);
        }
        if (risky) {
            if (c.risky == 4)
                return Certificate();
            c.riskyAt[c.risky++] = lo;
            // Its rows may be drawn beside the column, or not at all.
            c.addHole((yTop >> 6) - 1, (yBottom >> 6) + 1);
        }
        step = x2 + 1;
    }
    int fya = v.fixedY(ylo), fyb = v.fixedY(yhi);
    c.safe = true;
    c.col = col;
    c.envLo = (std::min(fya, fyb) >> 6) - 1;
    c.envHi = (std::max(fya, fyb) >> 6) + 1;
    if (!c.core)
        return c;
    // Rows whose centres the points after the first pass through.
    int fca = v.fixedY(nd.ylo), fcb = v.fixedY(nd.yhi);
    int fcLo = std::min(fca, fcb), fcHi = std::max(fca, fcb);
    c.coreLo = floorDiv(fcLo - 31, 64) + 1;
    c.coreHi = floorDiv(fcHi - 33, 64);
    // The first line drawn in the node may lose its first row to the
    // stroker's round-back rule; that row is left to others.
    int first = (v.fixedY(sum.edgeYNext(s)) + 32) >> 6;
    c.addHole(first, first);
    return c;
}

// -------------------------------------------------------------- anchors

// The stroker state after a segment, when it does not depend on the state
// before it: the segment lies inside the clip, is not the first or last of
// its subpath, crosses at least two pixel centres along its major axis (so
// it draws whatever caps or joint rules apply) and ends well inside one
// pixel across it (so no joint rule moves its last pixel).
bool anchorState(const TraceView& v, double rx1, double ry1, double rx2, double ry2,
                 StrokerState* out)
{
    if (std::min(rx1, rx2) < v.clipX0 || std::max(rx1, rx2) > v.clipX1 ||
        std::min(ry1, ry2) < v.clipY0 || std::max(ry1, ry2) > v.clipY1)
        return false;
    int x1 = toF26Dot6(rx1), y1 = toF26Dot6(ry1), x2 = toF26Dot6(rx2), y2 = toF26Dot6(ry2);
    bool vertical = std::abs(x2 - x1) < std::abs(y2 - y1);
    if (!vertical && x2 == x1)
        return false;
    // Major axis a, minor axis b.
    int a1 = vertical ? y1 : x1, b1 = vertical ? x1 : y1;
    int a2 = vertical ? y2 : x2, b2 = vertical ? x2 : y2;
    bool swapped = a1 > a2;
    if (swapped) {
        std::swap(a1, a2);
        std::swap(b1, b2);
    }
    int inc = fixedDiv16(b2 - b1, a2 - a1);
    int a = (a1 + 32) >> 6, as = (a2 + 32) >> 6;
    if (as - a < 2)
        return false;
    int round = inc > 0 ? 32 : 0;
    int b = b1 * (1 << 10) + (((a * (1 << 6)) + round - a1) * inc >> 6);
    int endA = swapped ? a : as - 1;
    int endB = swapped ? b : b + (as - a - 1) * inc;
    int slack = std::abs(inc) + 64;
    if (((endB - slack) >> 16) != ((endB + slack) >> 16))
        return false;
    out->lastAxisAligned = std::abs(inc) < (1 << 14);
    if (vertical) {
        out->lastDir = swapped ? kBottomToTop : kTopToBottom;
        out->lastX = endB >> 16;
        out->lastY = endA;
    } else {
        out->lastDir = swapped ? kRightToLeft : kLeftToRight;
        out->lastX = endA;
        out->lastY = endB >> 16;
    }
    return true;
}

// ------------------------------------------------------------------ run

// One drawing of a trace on the fast path.
class TraceRun {
public:
    TraceRun(const TraceSummary& sum, const TraceView& view, bool drawCaps)
        : sum_(sum), v_(view), bounds_(sum, view)
    {
        drawn_.reset(view.plot);
        certain_.reset(view.plot);
        path_.view = &v_;
        path_.drawCaps = drawCaps;
        path_.stroker.setup(v_, &drawn_);
        mapper_.view = &v_;
        mapper_.xs = sum.x;
        mapper_.ys = sum.y;
        mapper_.path = &path_;
        stopPathX_ = v_.plot.right() + 4.0 - v_.tx;
    }

    // False when the fast path cannot promise the normal path's picture.
    bool draw(bool skipping)
    {
        if (!viewIsSane() || nearlyClosedRun())
            return false;
        int begin = std::min(firstIndexRightOf(v_.plot.left() - 3.0), sum_.n - 1);
        int end = std::min(firstIndexRightOf(v_.plot.right() + 5.0), sum_.n - 1);
        leadIn(begin);
        double t0 = cpuMs();
        if (skipping && end > begin) {
            for (int k = 0; k < levelCount(topLevel()); ++k)
                collect(topLevel(), k, begin, end);
            for (const Candidate& c : candidates_)
                plan(c.level, c.k, c.cert);
        }
        planEmulate(begin, end);
        double t1 = cpuMs();
        g_stats.ms_plan = t1 - t0;
        for (const Item& item : items_) {
            if (done_)
                break;
            if (item.skip)
                skipBlock(item.s, item.e);
            else
                feedTo(item.e);
        }
        feedTo(sum_.n - 1);
        if (!done_) {
            mapper_.finish();
            path_.finishSubpath();
        }
        g_stats.ms_stroke = cpuMs() - t1;
        return !path_.closedSubpath;
    }

    // The pixels drawn.
    const ColumnBits& pixels()
    {
        drawn_.merge(certain_);
        return drawn_;
    }

    long stroked = 0, skipped = 0;

private:
    struct Item {
        bool skip;
        int s, e;
    };
    // A node to skip if its pixels turn out to be drawn by others.
    struct Candidate {
        int level, k;
        Certificate cert;
    };

    const TraceSummary& sum_;
    TraceView v_;
    StepBounds bounds_;
    ColumnBits drawn_, certain_;
    PathStroker path_;
    PolyMapper mapper_;
    std::vector<Item> items_;
    std::vector<Candidate> candidates_;
    int fed_ = -1;         // last point fed to the mapper
    double stopPathX_ = 0; // path x beyond which nothing can show
    bool done_ = false;

    int topLevel() const { return static_cast<int>(sum_.levels.size()) - 1; }
    int levelCount(int level) const { return static_cast<int>(sum_.levels[level].size()); }

    // Device x of a data x.
    double devX(double x) const { return v_.devX(v_.pathX(v_.fx(x))); }

    // All mapped points stay far from the magnitudes where the normal path
    // would drop them as undrawable.
    bool viewIsSane() const
    {
        if (!(v_.xscale > 0) || !std::isfinite(v_.xscale) || !std::isfinite(v_.yscale) ||
            v_.yscale == 0)
            return false;
        for (double xv : {sum_.xmin, sum_.xmax})
            if (!(std::fabs(v_.pathX(v_.fx(xv))) < 1e90))
                return false;
        for (double yv : {sum_.ymin, sum_.ymax})
            if (!(std::fabs(v_.pathY(v_.fy(yv))) < 1e90))
                return false;
        return true;
    }

    // Qt strokes a subpath that ends where it begins as a closed outline;
    // such lines are left to the normal path.
    bool nearlyClosedRun() const
    {
        for (size_t r = 0; r < sum_.runFirst.size(); ++r) {
            int a = sum_.runFirst[r], b = sum_.runLast[r];
            if (a == b)
                continue;
            double xa = v_.pathX(v_.fx(sum_.x[a])), xb = v_.pathX(v_.fx(sum_.x[b]));
            double ya = v_.pathY(v_.fy(sum_.y[a])), yb = v_.pathY(v_.fy(sum_.y[b]));
            if (!farApart(xa, xb) && !farApart(ya, yb))
                return true;
        }
        return false;
    }

    // First valid index whose device x is at least limit, or n.
    int firstIndexRightOf(double limit) const
    {
        int lo = 0, hi = sum_.n;
        while (lo < hi) {
            int mid = lo + (hi - lo) / 2;
            int i = mid;
            while (i < hi && !sum_.valid(i))
                ++i;
            if (i == hi) {
                hi = mid;
                continue;
            }
            if (devX(sum_.x[i]) >= limit)
                hi = mid;
            else
                lo = i + 1;
        }
        return lo;
    }

    // ------------------------------------------------ mapper bookkeeping

    bool valid(int i) const { return i >= 0 && i < sum_.n && sum_.valid(i); }
    bool runStart(int i) const { return valid(i) && !valid(i - 1); }
    int zone(int i) const { return zoneOf(v_.fx(sum_.x[i]), v_.fy(sum_.y[i])); }

    Outcome outcome(int i) const
    {
        if (runStart(i))
            return kPreviousAndCurrent;
        return decide(zone(i - 1), zone(i));
    }

    // Whether point i becomes a path element when it is fed.
    bool emittedAtOnce(int i) const { return valid(i) && outcome(i) != kSkip; }

    // Whether point i becomes a path element at all.
    bool emitted(int i) const
    {
        if (!valid(i))
            return false;
        if (outcome(i) != kSkip)
            return true;
        int j = i + 1;
        if (j >= sum_.n)
            return true;
        if (!valid(j))
            return true; // the point after the break draws it first
        return outcome(j) == kPreviousAndCurrent;
    }

    double pathX(int i) const { return v_.pathX(v_.fx(sum_.x[i])); }
    double pathY(int i) const { return v_.pathY(v_.fy(sum_.y[i])); }

    bool farFrom(int i, int j) const
    {
        return farApart(pathX(i), pathX(j)) || farApart(pathY(i), pathY(j));
    }

    // Puts mapper and path in the state they have after point i was fed,
    // for a point that became an element at once and is stored as itself.
    void restartAt(int i, const StrokerState& state, bool afterSegment)
    {
        mapper_.start = false;
        mapper_.first = false;
        mapper_.skipped = false;
        mapper_.xLast = v_.fx(sum_.x[i]);
        mapper_.yLast = v_.fy(sum_.y[i]);
        mapper_.zoneLast = zone(i);
        mapper_.retLast = runStart(i) ? kMove : kLine;
        path_.curX = pathX(i);
        path_.curY = pathY(i);
        path_.lastIsMove = !afterSegment;
        path_.subpathSegments = afterSegment ? 1 : 0;
        path_.pending = false;
        path_.stroker.s = state;
        fed_ = i;
    }

    // Previous point before i that becomes an element, down to floor.
    int previousEmitted(int i, int floor) const
    {
        for (int k = i - 1; k >= floor; --k)
            if (emitted(k))
                return k;
        return -1;
    }

    // Finds a segment ending at or before point e (down to floor) after
    // which the stroker state is known, and restarts there. False if none.
    bool restartNear(int e, int floor)
    {
        int cur = e;
        while (cur > floor && !emittedAtOnce(cur))
            --cur;
        if (cur <= floor)
            return false;
        int prev = previousEmitted(cur, floor);
        while (prev >= floor) {
            int before = previousEmitted(prev, floor);
            StrokerState state;
            if (emittedAtOnce(cur) && !runStart(cur) && !runStart(prev) && valid(cur + 1) &&
                before >= 0 && farFrom(cur, prev) && farFrom(prev, before) &&
                anchorState(v_, v_.devX(pathX(prev)), v_.devY(pathY(prev)), v_.devX(pathX(cur)),
                            v_.devY(pathY(cur)), &state)) {
                restartAt(cur, state, true);
                return true;
            }
            cur = prev;
            prev = before;
        }
        return false;
    }

    // Whether the mapper and path can be restarted after point j without
    // knowing the points before it.
    bool restartable(int j) const
    {
        if (!emittedAtOnce(j))
            return false;
        if (runStart(j))
            return true;
        int before = previousEmitted(j, 0);
        return before >= 0 && farFrom(j, before);
    }

    // restartNear for a run of certified nodes, whose points all become
    // elements as they are fed.
    bool restartInside(int e, int floor)
    {
        double x0 = pathX(e), y0 = pathY(e), x1 = pathX(e - 1), y1 = pathY(e - 1);
        for (int cur = e; cur - 2 >= floor; --cur) {
            double x2 = pathX(cur - 2), y2 = pathY(cur - 2);
            StrokerState state;
            if ((farApart(x0, x1) || farApart(y0, y1)) && (farApart(x1, x2) || farApart(y1, y2)) &&
                anchorState(v_, v_.devX(x1), v_.devY(y1), v_.devX(x0), v_.devY(y0), &state)) {
                restartAt(cur, state, true);
                return true;
            }
            x0 = x1;
            y0 = y1;
            x1 = x2;
            y1 = y2;
        }
        return false;
    }

    // Sets up the state before the first point that can draw in view.
    void leadIn(int begin)
    {
        const int kSearch = 4096;
        if (begin > 0 && restartNear(begin, std::max(0, begin - kSearch)))
            return;
        // Segments wholly left of the stroker's clip only clear its last
        // pixel, so the state after them is the state the stroker starts in.
        int j = firstIndexRightOf(v_.clipX0) - 1;
        while (j >= 0 && !restartable(j))
            --j;
        if (j >= 0) {
            StrokerState fresh;
            restartAt(j, fresh, !runStart(j));
            return;
        }
        fed_ = -1; // from the first point, as the normal path does
    }

    // ------------------------------------------------------------- feeding

    // Feeds points up to e; runs of points that stay in the zone outside
    // the plotting area the line is already in are passed over whole, as
    // the mapper would drop them one by one.
    void feedTo(int e)
    {
        e = std::min(e, sum_.n - 1);
        while (fed_ < e && !done_) {
            int i = fed_ + 1;
            if (!mapper_.start && !mapper_.first && mapper_.zoneLast != 4) {
                int last = sameZoneRun(i, e);
                if (last >= i) {
                    mapper_.xLast = v_.fx(sum_.x[last]);
                    mapper_.yLast = v_.fy(sum_.y[last]);
                    mapper_.skipped = true;
                    fed_ = last;
                    continue;
                }
            }
            mapper_.feed(i);
            fed_ = i;
            ++stroked;
            // Everything after a segment that starts right of the plotting
            // area (x only grows) is out of sight.
            if (path_.pending && path_.pendX1 > stopPathX_)
                done_ = true;
        }
    }

    // Last point of the longest summary node starting at i (and ending by
    // limit) whose points are all valid and in the mapper's current zone.
    int sameZoneRun(int i, int limit) const
    {
        if (i % kLeafPoints != 0)
            return -1;
        int best = -1;
        for (int level = 0; level < static_cast<int>(sum_.levels.size()); ++level) {
            int span = kLeafPoints << level;
            if (i % span != 0)
                break;
            int k = i / span;
            if (k >= levelCount(level))
                break;
            int e = sum_.nodeEnd(level, k);
            if (e > limit)
                break;
            const SummaryNode& nd = sum_.levels[level][k];
            if (nd.bad || !valid(i))
                break;
            double ylo = std::min(nd.ylo, sum_.y[i]), yhi = std::max(nd.yhi, sum_.y[i]);
            int zx0 = band(v_.fx(sum_.x[i])), zx1 = band(v_.fx(sum_.x[e]));
            int zy0 = band(v_.fy(ylo)), zy1 = band(v_.fy(yhi));
            if (zx0 != zx1 || zy0 != zy1 || 3 * zy0 + zx0 != mapper_.zoneLast)
                break;
            best = e - 1; // e starts the next node; leave it to be fed
        }
        return best;
    }

    // -------------------------------------------------------------- plan

    Certificate certificate(int level, int k) const
    {
        return certify(sum_, v_, sum_.levels[level][k], sum_.nodeStart(level, k),
                       sum_.nodeEnd(level, k), bounds_);
    }

    void addCore(const Certificate& c)
    {
        // The core row by row range, around the holes.
        int from = c.coreLo;
        while (from <= c.coreHi) {
            int to = c.coreHi;
            for (int h = 0; h < c.holes; ++h) {
                if (c.holeLo[h] <= from && from <= c.holeHi[h]) {
                    from = c.holeHi[h] + 1;
                    to = from - 1; // look again from past the hole
                    break;
                }
                if (c.holeLo[h] > from)
                    to = std::min(to, c.holeLo[h] - 1);
            }
            if (to >= from) {
                certain_.setRun(c.col, from, to);
                from = to + 1;
            }
        }
    }

    // Finds the largest certified nodes inside [begin, end] and marks the
    // rows they are known to draw.
    void collect(int level, int k, int begin, int end)
    {
        int s = sum_.nodeStart(level, k), e = sum_.nodeEnd(level, k);
        if (e < begin || s > end)
            return;
        if (s >= begin && e <= end) {
            Certificate c = certificate(level, k);
            if (c.safe) {
                candidates_.push_back({level, k, c});
                if (c.core)
                    addCore(c);
                else
                    collectCores(level, k);
                return;
            }
        }
        forChildren(level, k, [&](int child) { collect(level - 1, child, begin, end); });
    }

    // Cores of certified nodes under a node that is certified without one.
    void collectCores(int level, int k)
    {
        forChildren(level, k, [&](int child) {
            Certificate c = certificate(level - 1, child);
            if (c.core)
                addCore(c);
            else
                collectCores(level - 1, child);
        });
    }

    template <class F> void forChildren(int level, int k, F f)
    {
        if (level == 0)
            return;
        f(2 * k);
        if (2 * k + 1 < levelCount(level - 1))
            f(2 * k + 1);
    }

    // Skips a certified node whose rows the cores already hold, else looks
    // at its parts.
    bool covered(const Certificate& c) const
    {
        return c.safe && certain_.hasRun(c.col, c.envLo, c.envHi);
    }

    void skipItem(int s, int e)
    {
        if (e <= s)
            return;
        if (!items_.empty() && items_.back().skip && items_.back().e == s)
            items_.back().e = e; // one run of skipped nodes
        else
            items_.push_back({true, s, e});
    }

    // Skips a certified node whose rows the cores already hold, but for its
    // risky segments, else looks at its parts.
    void plan(int level, int k, const Certificate& c)
    {
        int s = sum_.nodeStart(level, k), e = sum_.nodeEnd(level, k);
        if (covered(c)) {
            int at = s;
            for (int r = 0; r < c.risky; ++r) {
                skipItem(at, c.riskyAt[r]);
                at = std::max(at, std::min(c.riskyAt[r] + 2, e));
            }
            skipItem(at, e);
            return;
        }
        forChildren(level, k,
                    [&](int child) { plan(level - 1, child, certificate(level - 1, child)); });
    }

    // Fills the gaps between skipped nodes with points to stroke.
    void planEmulate(int begin, int end)
    {
        std::vector<Item> all;
        int at = begin;
        for (const Item& item : items_) {
            if (item.s > at)
                all.push_back({false, at, item.s});
            all.push_back(item);
            at = item.e;
        }
        all.push_back({false, at, std::max(at, end)});
        items_.swap(all);
    }

    // Passes over a skipped node [s, e]: its pixels are in the cores; only
    // the state after it is needed, from a segment near its end.
    void skipBlock(int s, int e)
    {
        feedTo(s);
        if (done_)
            return;
        // The segment into s is the previous item's: stroke it before the
        // restart drops what waits.
        feedTo(s + 1);
        if (done_ || !restartInside(e, s + 1)) {
            feedTo(e);
            return;
        }
        skipped += fed_ - (s + 1);
        feedTo(e);
    }
};

// ---------------------------------------------------------- eligibility

// The painter draws with Qt's aliased cosmetic stroker, an opaque solid
// colour and no fill, on a raster device, through a whole-pixel translation.
bool painterQualifies(QPainter& painter)
{
    if (painter.renderHints() & (QPainter::Antialiasing | QPainter::Qt4CompatiblePainting))
        return false;
    QPaintEngine* engine = painter.paintEngine();
    if (!engine || engine->type() != QPaintEngine::Raster || !engine->paintDevice())
        return false;
    QPaintDevice* device = engine->paintDevice();
    if (device->width() > 16384 || device->height() > 16384)
        return false;
    if (painter.compositionMode() != QPainter::CompositionMode_SourceOver ||
        painter.opacity() != 1.0 || painter.brush().style() != Qt::NoBrush)
        return false;
    const QPen pen = painter.pen();
    if (pen.style() != Qt::SolidLine || pen.brush().style() != Qt::SolidPattern ||
        pen.color().alpha() != 255 || !(pen.widthF() == 0 || pen.widthF() == 1))
        return false;
    const QTransform& t = painter.deviceTransform();
    if (t.type() > QTransform::TxTranslate || t.dx() != std::floor(t.dx()) ||
        t.dy() != std::floor(t.dy()) || std::fabs(t.dx()) > 1e6 || std::fabs(t.dy()) > 1e6)
        return false;
    return true;
}

bool itemQualifies(const KgrpolylineItem* item)
{
    const KgrviewportItem* vp = item->viewport;
    return g_tuning.enabled && vp && item->npts >= std::max(g_tuning.min_points, 2) && item->xpts &&
           item->ypts && item->outline.color && !item->fill.color && vp->wtran == KGR_WTRAN_NONE &&
           vp->xmode != KGR_MODE_LOG && vp->ymode != KGR_MODE_LOG;
}

TraceView viewFor(KgrviewportItem* vp, QPainter& painter, int pw, int ph)
{
    TraceView v;
    KGRScalemap smap(vp, 0);
    v.xstart = smap.xstart;
    v.xscale = smap.xscale;
    v.ystart = smap.ystart;
    v.yscale = smap.yscale;
    v.w = smap.w;
    v.h = smap.h;
    const QTransform& t = painter.deviceTransform();
    v.translated = t.type() == QTransform::TxTranslate;
    v.tx = v.translated ? t.dx() : 0;
    v.ty = v.translated ? t.dy() : 0;
    QPaintDevice* device = painter.paintEngine()->paintDevice();
    v.clipX0 = -1;
    v.clipX1 = device->width() - 1 + 2;
    v.clipY0 = -1;
    v.clipY1 = device->height() - 1 + 2;
    v.plot = QRect(static_cast<int>(v.tx), static_cast<int>(v.ty), pw, ph) &
             QRect(0, 0, device->width(), device->height());
    return v;
}

void fillPixels(QPainter& painter, const ColumnBits& pixels, const TraceView& v)
{
    const QColor color = painter.pen().color();
    const int ox = static_cast<int>(v.tx), oy = static_cast<int>(v.ty);
    pixels.forEachRun([&](int x, int y, int length) {
        painter.fillRect(QRect(x - ox, y - oy, 1, length), color);
    });
}

} // namespace

bool kgrqt_trace_draw(QPainter& painter, KgrpolylineItem* item, int pw, int ph)
{
    g_stats = KgrqtTraceStats();
    if (!item || !item->viewport)
        return false;
    KgrviewportItem* vp = item->viewport;
    // The normal path shifts the longitudes of geographic modes in place,
    // so a summary made before may no longer describe the points.
    if (vp->wtran == KGR_WTRAN_MERC || vp->wtran == KGR_WTRAN_GEOG)
        kgrqt_trace_forget(item);
    if (!itemQualifies(item) || pw < 3 || ph < 3)
        return false;
    // The painter as the normal path sets it up for the outline.
    kgrqt_setup_line(&painter, item->outline.color, item->linewidth, item->linestyle, -1);
    painter.save();
    painter.setClipRect(vp->mleft, vp->mtop, pw, ph, Qt::IntersectClip);
    painter.translate(vp->mleft, vp->mtop);
    bool drawn = false;
    if (painterQualifies(painter)) {
        double t0 = cpuMs();
        TraceSummary* summary = summaryFor(item);
        g_stats.ms_summary = cpuMs() - t0;
        TraceView view = viewFor(vp, painter, pw, ph);
        if (summary->qualifies && !view.plot.isEmpty() && view.w == pw && view.h == ph) {
            TraceRun run(*summary, view, painter.pen().capStyle() != Qt::FlatCap);
            if (run.draw(g_tuning.skipping)) {
                double t1 = cpuMs();
                fillPixels(painter, run.pixels(), view);
                g_stats.ms_fill = cpuMs() - t1;
                g_stats.stroked = run.stroked;
                g_stats.skipped = run.skipped;
                drawn = true;
            }
        }
    }
    painter.restore();
    g_stats.fast = drawn;
    return drawn;
}

void kgrqt_trace_forget(const KgrpolylineItem* item)
{
    summaries().erase(item);
}

KgrqtTraceTuning& kgrqt_trace_tuning()
{
    return g_tuning;
}

const KgrqtTraceStats& kgrqt_trace_last_stats()
{
    return g_stats;
}
