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
// many at each level above, the range of y, the smallest non-zero step in y
// and whether the run holds a flat step or a point that breaks the line.
// For one view, a run whose points all lie inside one pixel column, away
// from its edges, with steep enough steps, is "certified": every segment in
// it is then stroked as a vertical line of that column, so it draws rows of
// that column only, within one row of its y range, and it draws every row
// whose centre its points pass through (its "core"). A certified run is
// skipped when the cores of all certified runs already cover every row it
// could draw; the stroker state after it, which the next stroked segment
// needs, is recovered from a segment near its end whose outcome does not
// depend on the state before it.
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
#include <memory>
#include <unordered_map>
#include <vector>

namespace {

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

    // Device x where the waiting segment starts, or -inf.
    double pendingStartX() const { return pending ? view->devX(pendX1) : -HUGE_VAL; }

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

enum NodeFlags { kFlatStep = 1, kBadPoint = 2 };

// One run of points [s, e] of the summary (e is the first point of the next
// run): y range over s+1..e, smallest non-zero |step| in y, flags.
struct SummaryNode {
    double ylo, yhi, dymin;
    unsigned char flags;
};

const int kLeafPoints = 32;

class TraceSummary {
public:
    int n = 0;
    const double* x = nullptr;
    const double* y = nullptr;
    bool qualifies = false;                        // sorted x, no huge values, not mostly breaks
    double xmin = 0, xmax = 0, ymin = 0, ymax = 0; // over valid points
    std::vector<int> runFirst, runLast;            // valid points between breaks
    std::vector<std::vector<SummaryNode>> levels;

    static bool valid(double xv, double yv)
    {
        return xv != KGR_UNSET && yv != KGR_UNSET && std::isfinite(xv) && std::isfinite(yv);
    }
    bool valid(int i) const { return valid(x[i], y[i]); }

    int nodeStart(int level, int k) const { return k * (kLeafPoints << level); }
    int nodeEnd(int level, int k) const
    {
        return std::min((k + 1) * (kLeafPoints << level), n - 1);
    }

    void build(int npts, const double* xp, const double* yp)
    {
        n = npts;
        x = xp;
        y = yp;
        qualifies = scan() && n >= 2;
        if (qualifies)
            buildLevels();
    }

private:
    // One pass over the points: validity, order, ranges and runs.
    bool scan()
    {
        bool sorted = true, sane = true, any = false;
        double lastX = -HUGE_VAL;
        int run = -1;
        for (int i = 0; i < n; ++i) {
            double xv = x[i], yv = y[i];
            if (!valid(xv, yv)) {
                if (run >= 0) {
                    runFirst.push_back(run);
                    runLast.push_back(i - 1);
                    run = -1;
                }
                continue;
            }
            if (run < 0)
                run = i;
            sane &= usable(xv) && usable(yv);
            sorted &= xv >= lastX;
            lastX = xv;
            if (!any) {
                xmin = xmax = xv;
                ymin = ymax = yv;
                any = true;
            }
            xmax = xv;
            ymin = std::min(ymin, yv);
            ymax = std::max(ymax, yv);
        }
        if (run >= 0) {
            runFirst.push_back(run);
            runLast.push_back(n - 1);
        }
        return sorted && sane && any && runFirst.size() <= static_cast<size_t>(n / 8 + 1);
    }

    void buildLevels()
    {
        int leaves = (n - 1 + kLeafPoints - 1) / kLeafPoints;
        levels.clear();
        levels.emplace_back(static_cast<size_t>(leaves));
        for (int k = 0; k < leaves; ++k)
            levels[0][k] = leafNode(nodeStart(0, k), nodeEnd(0, k));
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
                    a.flags |= b.flags;
                }
                above[k] = a;
            }
            levels.push_back(std::move(above));
        }
    }

    SummaryNode leafNode(int s, int e) const
    {
        SummaryNode nd{HUGE_VAL, -HUGE_VAL, HUGE_VAL, 0};
        bool bad = !valid(s);
        double prev = y[s];
        for (int i = s + 1; i <= e; ++i) {
            double yv = y[i];
            bad |= !valid(x[i], yv);
            nd.ylo = std::min(nd.ylo, yv);
            nd.yhi = std::max(nd.yhi, yv);
            double d = std::fabs(yv - prev);
            if (d == 0)
                nd.flags |= kFlatStep;
            else if (d < nd.dymin)
                nd.dymin = d;
            prev = yv;
        }
        if (bad)
            nd.flags |= kBadPoint;
        return nd;
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
    bool safe = false; // every pixel it draws lies in column col, rows envLo..envHi
    bool core = false; // and it draws every row coreLo..coreHi but coreSkip
    int col = 0, envLo = 0, envHi = 0, coreLo = 0, coreHi = -1, coreSkip = INT_MIN;
};

// A node qualifies only inside a line (its neighbours are real points, so
// neither end of a subpath with its caps falls inside it), with all its
// points in the plotting area and the stroker's clip, in one pixel column.
Certificate certify(const TraceSummary& sum, const TraceView& v, const SummaryNode& nd, int s,
                    int e, double yErrorPx)
{
    Certificate c;
    if ((nd.flags & kBadPoint) || s < 1 || e + 1 >= sum.n || !sum.valid(s - 1) || !sum.valid(e + 1))
        return c;
    const double* x = sum.x;
    const double* y = sum.y;
    double ylo = std::min(nd.ylo, y[s]), yhi = std::max(nd.yhi, y[s]);
    double fx0 = v.fx(x[s]), fx1 = v.fx(x[e]), fy0 = v.fy(ylo), fy1 = v.fy(yhi);
    if (std::min(fx0, fx1) < 0 || std::max(fx0, fx1) > 1 || std::min(fy0, fy1) < 0 ||
        std::max(fy0, fy1) > 1)
        return c;
    double dx0 = v.devX(v.pathX(fx0)), dx1 = v.devX(v.pathX(fx1));
    double dy0 = v.devY(v.pathY(fy0)), dy1 = v.devY(v.pathY(fy1));
    if (std::min(dx0, dx1) < v.clipX0 || std::max(dx0, dx1) > v.clipX1 ||
        std::min(dy0, dy1) < v.clipY0 || std::max(dy0, dy1) > v.clipY1)
        return c;
    int fxa = toF26Dot6(dx0), fxb = toF26Dot6(dx1);
    int fxLo = std::min(fxa, fxb), fxHi = std::max(fxa, fxb);
    int fya = toF26Dot6(dy0), fyb = toF26Dot6(dy1);
    int fyLo = std::min(fya, fyb), fyHi = std::max(fya, fyb);
    int col = fxLo >> 6;
    if ((fxHi >> 6) != col)
        return c;
    int dxMax = fxHi - fxLo;
    bool allVertical = true; // every segment with a y step is stroked vertically
    double slope = 0;        // bound on |dx/dy| over vertical segments
    if (dxMax > 0) {
        double stepPx = nd.dymin * std::fabs(v.yscale * v.h) * (1 - 1e-12) - 2 * yErrorPx;
        double dLow = nd.dymin == HUGE_VAL ? HUGE_VAL : std::floor(64 * stepPx) - 2;
        allVertical = dLow > dxMax;
        slope = double(dxMax) / std::max(double(dxMax) + 1, allVertical ? dLow : 1.0);
        // Flat steps, and steps that may be stroked horizontally, draw
        // nothing only where they cannot cross the middle of the column.
        bool oneHalf = fxHi < 64 * col + 32 || fxLo >= 64 * col + 32;
        if (!oneHalf && (!allVertical || (nd.flags & kFlatStep)))
            return c;
    }
    // Room for caps, inserted pixels and half-step shifts of a vertical line.
    int slack = dxMax == 0 ? 0 : static_cast<int>(std::ceil(3 * 64 * slope)) + 2;
    if (fxLo - slack < 64 * col || fxHi + slack > 64 * col + 63)
        return c;
    c.safe = true;
    c.col = col;
    c.envLo = (fyLo >> 6) - 1;
    c.envHi = (fyHi >> 6) + 1;
    if (!allVertical)
        return c;
    // Rows whose centres the points after the first pass through.
    int fca = v.fixedY(nd.ylo), fcb = v.fixedY(nd.yhi);
    int fcLo = std::min(fca, fcb), fcHi = std::max(fca, fcb);
    c.core = true;
    c.coreLo = floorDiv(fcLo - 31, 64) + 1;
    c.coreHi = floorDiv(fcHi - 33, 64);
    // The first line drawn in the node may lose its first row to the
    // stroker's round-back rule; that row is left to others.
    c.coreSkip = (v.fixedY(y[s + 1]) + 32) >> 6;
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
    TraceRun(const TraceSummary& sum, const TraceView& view, bool drawCaps) : sum_(sum), v_(view)
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
        // Bound on the rounding of a device y, for steps measured in data.
        double big = std::max(std::fabs(sum.ymin), std::fabs(sum.ymax)) + std::fabs(v_.ystart);
        yErrorPx_ = 8e-16 * (big * std::fabs(v_.yscale * v_.h) + std::fabs(v_.ty) + v_.h + 1);
    }

    // False when the fast path cannot promise the normal path's picture.
    bool draw(bool skipping)
    {
        if (!viewIsSane() || nearlyClosedRun())
            return false;
        int begin = std::min(firstIndexRightOf(v_.plot.left() - 3.0), sum_.n - 1);
        int end = std::min(firstIndexRightOf(v_.plot.right() + 5.0), sum_.n - 1);
        leadIn(begin);
        if (skipping && end > begin) {
            for (int k = 0; k < levelCount(topLevel()); ++k)
                addCores(topLevel(), k, begin, end);
            for (int k = 0; k < levelCount(topLevel()); ++k)
                plan(topLevel(), k, begin, end);
        }
        planEmulate(begin, end);
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

    const TraceSummary& sum_;
    TraceView v_;
    ColumnBits drawn_, certain_;
    PathStroker path_;
    PolyMapper mapper_;
    std::vector<Item> items_;
    double yErrorPx_ = 0;
    int fed_ = -1; // last point fed to the mapper
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
            if (path_.pendingStartX() > v_.plot.right() + 3.0)
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
            if ((nd.flags & kBadPoint) || !valid(i))
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
                       sum_.nodeEnd(level, k), yErrorPx_);
    }

    // Marks the rows that certified nodes are known to draw.
    void addCores(int level, int k, int begin, int end)
    {
        int s = sum_.nodeStart(level, k), e = sum_.nodeEnd(level, k);
        if (e < begin || s > end)
            return;
        Certificate c = certificate(level, k);
        if (c.core) {
            if (c.coreSkip < c.coreLo || c.coreSkip > c.coreHi) {
                certain_.setRun(c.col, c.coreLo, c.coreHi);
            } else {
                certain_.setRun(c.col, c.coreLo, c.coreSkip - 1);
                certain_.setRun(c.col, c.coreSkip + 1, c.coreHi);
            }
            return;
        }
        if (level == 0)
            return;
        addCores(level - 1, 2 * k, begin, end);
        if (2 * k + 1 < levelCount(level - 1))
            addCores(level - 1, 2 * k + 1, begin, end);
    }

    // Lists the nodes whose pixels the cores already hold.
    void plan(int level, int k, int begin, int end)
    {
        int s = sum_.nodeStart(level, k), e = sum_.nodeEnd(level, k);
        if (e < begin || s > end)
            return;
        if (s >= begin && e <= end) {
            Certificate c = certificate(level, k);
            if (c.safe && certain_.hasRun(c.col, c.envLo, c.envHi)) {
                items_.push_back({true, s, e});
                return;
            }
        }
        if (level == 0)
            return;
        plan(level - 1, 2 * k, begin, end);
        if (2 * k + 1 < levelCount(level - 1))
            plan(level - 1, 2 * k + 1, begin, end);
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
        if (done_ || !restartNear(e, s + 1)) {
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
        TraceSummary* summary = summaryFor(item);
        TraceView view = viewFor(vp, painter, pw, ph);
        if (summary->qualifies && !view.plot.isEmpty() && view.w == pw && view.h == ph) {
            TraceRun run(*summary, view, painter.pen().capStyle() != Qt::FlatCap);
            if (run.draw(g_tuning.skipping)) {
                fillPixels(painter, run.pixels(), view);
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
