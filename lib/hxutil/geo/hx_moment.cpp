// Moment tensors and their beach-ball outlines.
//
// The P-wave radiation of a tensor M towards the unit direction u is
// u.M.u. In the frame of M's principal axes (eigenvalues l1 >= l2 >= l3)
// the nodal surface l1 a^2 + l2 b^2 + l3 c^2 = 0 is a cone about the axis
// whose eigenvalue has the sign the other two lack: the P axis when
// l2 >= 0, the T axis otherwise. Its inside is dilatational in the first
// case and compressional in the second. One nappe of the cone is traced
// exactly, cut where it leaves the lower hemisphere, and the pieces with
// the circle's edge bound the compressional regions.
#include "hx_moment.h"

#include "hx_error.h"
#include "hx_vector.h"

#include <Eigen/Eigenvalues>

#include <atomic>
#include <cmath>
#include <cstdio>
#include <new>
#include <vector>

struct HXMoment {
    Eigen::Matrix3d m;      // normalised: largest component magnitude 1
    Eigen::Vector3d lambda; // eigenvalues, descending
    Eigen::Matrix3d axes;   // columns: T, B and P axes
};

namespace {

using Eigen::Vector3d;

// Eigenvalues this small against the largest are taken as zero, so that
// double couples and degenerate tensors do not turn on rounding noise.
constexpr double kZeroEigen = 1e-10;
// Directions this close to horizontal lie on the circle's edge.
constexpr double kHorizontal = 1e-12;
// Largest angle between neighbouring outline vertices on the sphere.
const double kMaxStepCos = std::cos(1.5 * M_PI / 180);
constexpr int kMaxDepth = 14;
constexpr double kEdgeStep = 1.5 * M_PI / 180;

struct Point {
    double x, y;
};
using Polyline = std::vector<Point>;

// The lower-hemisphere equal-area image of a direction with z >= 0.
Point project(const Vector3d& u)
{
    double s = 1 / std::sqrt(1 + u.z());
    return {u.x() * s, u.y() * s};
}

// A direction turned into the lower hemisphere; near-horizontal ones are
// put exactly on the edge.
Vector3d lower(Vector3d u)
{
    if (std::fabs(u.z()) <= kHorizontal) {
        u.z() = 0;
        return u.normalized();
    }
    return u.z() < 0 ? Vector3d(-u) : u;
}

// One nappe of the nodal cone about axis k, parameterised by the angle psi
// about that axis.
struct Cone {
    Vector3d ei, ej, ek;
    double li, lj, lk;

    Vector3d at(double psi) const
    {
        double c = std::cos(psi), s = std::sin(psi);
        double t = std::sqrt(std::max(0.0, -(li * c * c + lj * s * s) / lk));
        return (c * ei + s * ej + t * ek).normalized();
    }
};

struct Sample {
    double psi;
    Vector3d u;
};

bool below(const Vector3d& u)
{
    return u.z() >= -kHorizontal;
}

// Appends samples in (a, b] so that neighbours are at most kMaxStep apart.
void refine(const Cone& cone, const Sample& a, const Sample& b, int depth, std::vector<Sample>* out)
{
    if (depth < kMaxDepth && a.u.dot(b.u) < kMaxStepCos) {
        double mid = 0.5 * (a.psi + b.psi);
        Sample m{mid, cone.at(mid)};
        refine(cone, a, m, depth + 1, out);
        refine(cone, m, b, depth + 1, out);
        return;
    }
    out->push_back(b);
}

// The point between a and b where the nappe crosses the horizontal.
Sample crossing(const Cone& cone, Sample a, Sample b)
{
    bool side = below(a.u);
    for (int i = 0; i < 60 && b.psi - a.psi > 1e-15; ++i) {
        double mid = 0.5 * (a.psi + b.psi);
        Sample m{mid, cone.at(mid)};
        (below(m.u) == side ? a : b) = m;
    }
    Vector3d u = a.u;
    u.z() = 0;
    return {a.psi, u.normalized()};
}

// The whole nappe as a closed ring of samples (first not repeated).
std::vector<Sample> traceNappe(const Cone& cone)
{
    const int n = 48;
    std::vector<Sample> ring;
    ring.reserve(512);
    Sample first{0, cone.at(0)}, prev = first;
    ring.push_back(first);
    for (int i = 1; i <= n; ++i) {
        double psi = 2 * M_PI * i / n;
        Sample next{psi, i == n ? first.u : cone.at(psi)};
        refine(cone, prev, next, 0, &ring);
        prev = next;
    }
    ring.pop_back(); // the repeated first sample
    return ring;
}

void appendProjected(const Vector3d& u, Polyline* line)
{
    line->push_back(project(lower(u)));
}

// Appends the edge of the unit circle from angle a0, turning by sweep.
void appendEdge(double a0, double sweep, Polyline* line)
{
    int n = std::max(1, static_cast<int>(std::ceil(std::fabs(sweep) / kEdgeStep)));
    for (int i = 1; i <= n; ++i) {
        double a = a0 + sweep * i / n;
        line->push_back({std::cos(a), std::sin(a)});
    }
}

void appendReversed(const Polyline& from, Polyline* to)
{
    to->insert(to->end(), from.rbegin(), from.rend());
}

void closeRing(Polyline* line)
{
    if (!line->empty())
        line->push_back(line->front());
}

double angleOf(const Point& p)
{
    return std::atan2(p.y, p.x);
}

struct Outlines {
    Polyline nodal1, nodal2, p1, p2;
};

// The nodal nappe split at its crossings of the horizontal: either one
// closed loop in the lower hemisphere, or arc A (the lower part, from X1
// to X2) and arc B (the upper part turned down, from -X2 to -X1).
void splitNappe(const Cone& cone, Polyline* a, Polyline* b, bool* loop)
{
    std::vector<Sample> ring = traceNappe(cone);
    size_t n = ring.size();
    std::vector<size_t> cuts; // a crossing lies between ring[i] and ring[i+1]
    for (size_t i = 0; i < n; ++i)
        if (below(ring[i].u) != below(ring[(i + 1) % n].u))
            cuts.push_back(i);
    *loop = cuts.size() < 2;
    if (*loop) {
        for (const Sample& s : ring)
            appendProjected(s.u, a);
        closeRing(a);
        return;
    }
    // Two crossings for a proper cone; rounding on a flattened one may add
    // pairs, which the first and last cut bound between them.
    size_t c0 = cuts.front(), c1 = cuts.back();
    auto next = [&](size_t i) { return (i + 1) % n; };
    Sample x0 = ring[c0], x1 = ring[c1];
    Sample x0b = ring[next(c0)], x1b = ring[next(c1)];
    if (x0b.psi < x0.psi)
        x0b.psi += 2 * M_PI;
    if (x1b.psi < x1.psi)
        x1b.psi += 2 * M_PI;
    Sample cross0 = crossing(cone, x0, x0b), cross1 = crossing(cone, x1, x1b);
    // The arc from cross0 over ring[c0+1 .. c1] to cross1 and the arc from
    // cross1 over ring[c1+1 .. c0] back to cross0; the edge points of the
    // upper one are turned down with it.
    auto arc = [&](const Sample& from, size_t i0, size_t i1, const Sample& to, Polyline* line) {
        double sign = below(ring[i0].u) ? 1 : -1;
        appendProjected(sign * from.u, line);
        for (size_t i = i0;; i = next(i)) {
            appendProjected(ring[i].u, line);
            if (i == i1)
                break;
        }
        appendProjected(sign * to.u, line);
    };
    Polyline first, second;
    arc(cross0, next(c0), c1, cross1, &first);
    arc(cross1, next(c1), c0, cross0, &second);
    if (below(ring[next(c0)].u)) {
        *a = std::move(first);
        *b = std::move(second);
    } else {
        *a = std::move(second);
        *b = std::move(first);
    }
}

Outlines computeOutlines(const HXMoment& mo)
{
    Outlines out;
    const Eigen::Vector3d& l = mo.lambda;
    if (l(2) >= 0) { // no direction radiates dilatation
        appendEdge(0, 2 * M_PI, &out.p1);
        out.p1.insert(out.p1.begin(), {1, 0});
        return out;
    }
    if (l(0) <= 0)
        return out;
    // Axis of the cone: P (index 2) when l2 >= 0, else T (index 0), turned
    // to point downwards so that a nappe without crossings lies below.
    bool aroundT = l(1) < 0;
    int k = aroundT ? 0 : 2, i = aroundT ? 1 : 0, j = aroundT ? 2 : 1;
    Cone cone{mo.axes.col(i), mo.axes.col(j), mo.axes.col(k), l(i), l(j), l(k)};
    if (cone.ek.z() < 0)
        cone.ek = -cone.ek;
    bool loop = false;
    splitNappe(cone, &out.nodal1, &out.nodal2, &loop);
    if (loop) {
        if (aroundT) {
            out.p1 = out.nodal1;
        } else {
            appendEdge(0, 2 * M_PI, &out.p1);
            out.p1.insert(out.p1.begin(), {1, 0});
            out.p2 = out.nodal1;
        }
        return out;
    }
    const Polyline& a = out.nodal1;
    const Polyline& b = out.nodal2;
    double a1 = angleOf(a.front()), a2 = angleOf(a.back());
    double delta = std::remainder(a2 - a1, 2 * M_PI);
    double s = delta < 0 ? -1 : 1;
    if (aroundT) {
        // Two compressional caps, each closed along the short edge arc.
        out.p1 = a;
        appendEdge(a2, -delta, &out.p1);
        out.p2 = b;
        appendEdge(a1 + M_PI, delta, &out.p2);
    } else {
        // Everything between the two dilatational caps.
        double gap = s * (M_PI - std::fabs(delta));
        out.p1 = a;
        appendEdge(a2, gap, &out.p1);
        appendReversed(b, &out.p1);
        appendEdge(a2 + M_PI, gap, &out.p1);
    }
    return out;
}

std::atomic<unsigned long> handleCounter{0};

// Registers a polyline as a new second-generation vector and writes its
// handle; an empty polyline leaves the handle empty.
int registerLine(const Polyline& line, const char* what, char* handle)
{
    handle[0] = '\0';
    if (line.empty())
        return 0;
    char name[HXMOMENT_HANDLE_SIZE];
    snprintf(name, sizeof name, "hxmoment_%lu_%s", handleCounter.fetch_add(1), what);
    std::vector<double> x(line.size()), y(line.size());
    for (size_t i = 0; i < line.size(); ++i) {
        x[i] = line[i].x;
        y[i] = line[i].y;
    }
    if (hxvector_create(name, HXVECTOR_SECOND) < 0)
        return -1;
    if (hxvector_add_points(name, static_cast<int>(x.size()), x.data(), y.data(), nullptr) < 0) {
        hxvector_free(name);
        return -1;
    }
    snprintf(handle, HXMOMENT_HANDLE_SIZE, "%s", name);
    return 0;
}

void clearHandles(char* const* handles, int n)
{
    for (int i = 0; i < n; ++i)
        if (handles[i] && handles[i][0]) {
            hxvector_free(handles[i]);
            handles[i][0] = '\0';
        }
}

} // namespace

int hxmoment_create(int flags, HXMoment** moment, double m1, double m2, double m3, double m4,
                    double m5, double m6)
{
    (void)flags;
    if (!moment) {
        hx_register_error(0, "hxmoment_create: no place for the moment\n");
        return -1;
    }
    *moment = nullptr;
    const double c[6] = {m1, m2, m3, m4, m5, m6};
    double scale = 0;
    for (double v : c) {
        if (!std::isfinite(v)) {
            hx_register_error(0, "hxmoment_create: component not finite: '%g'\n", v);
            return -1;
        }
        scale = std::max(scale, std::fabs(v));
    }
    if (scale == 0) {
        hx_register_error(0, "hxmoment_create: zero tensor\n");
        return -1;
    }
    HXMoment* mo = new (std::nothrow) HXMoment;
    if (!mo) {
        hx_register_error(1, "hxmoment_create: out of memory\n");
        return -1;
    }
    double n[6];
    for (int i = 0; i < 6; ++i)
        n[i] = c[i] / scale;
    mo->m << n[0], n[3], n[4], n[3], n[1], n[5], n[4], n[5], n[2];
    Eigen::SelfAdjointEigenSolver<Eigen::Matrix3d> solver(mo->m);
    // Eigen sorts ascending; keep T first.
    Vector3d ev = solver.eigenvalues();
    double big = std::max(std::fabs(ev(0)), std::fabs(ev(2)));
    for (int i = 0; i < 3; ++i) {
        double v = ev(2 - i);
        mo->lambda(i) = std::fabs(v) <= kZeroEigen * big ? 0 : v / big;
        mo->axes.col(i) = solver.eigenvectors().col(2 - i);
    }
    *moment = mo;
    return 0;
}

int hxmoment_compute_bb(HXMoment* moment, char* nodal1, char* nodal2, char* p1, char* p2,
                        char* t_axis, char* p_axis)
{
    char* handles[6] = {nodal1, nodal2, p1, p2, t_axis, p_axis};
    for (char* h : handles) {
        if (!h) {
            hx_register_error(0, "hxmoment_compute_bb: missing handle buffer\n");
            return -1;
        }
        h[0] = '\0';
    }
    if (!moment) {
        hx_register_error(0, "hxmoment_compute_bb: no moment\n");
        return -1;
    }
    Outlines out;
    try {
        out = computeOutlines(*moment);
    } catch (const std::bad_alloc&) {
        hx_register_error(1, "hxmoment_compute_bb: out of memory\n");
        return -1;
    }
    Polyline t{project(lower(moment->axes.col(0)))};
    Polyline p{project(lower(moment->axes.col(2)))};
    if (registerLine(out.nodal1, "nodal1", nodal1) < 0 ||
        registerLine(out.nodal2, "nodal2", nodal2) < 0 || registerLine(out.p1, "p1", p1) < 0 ||
        registerLine(out.p2, "p2", p2) < 0 || registerLine(t, "t", t_axis) < 0 ||
        registerLine(p, "p", p_axis) < 0) {
        clearHandles(handles, 6);
        return -1;
    }
    return 0;
}

void hxmoment_free_hxmoment(HXMoment* moment)
{
    delete moment;
}
