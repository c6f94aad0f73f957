// Map projections: the equidistant projection (unit-vector and geodesy
// versions) and the Mercator ordinate checked against a table from PROJ, the
// documented edge cases, round trips, and bad numbers.
#include "kgrqt.h"
#include "reference_table.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cfloat>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <functional>
#include <future>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace {

constexpr double kDeg = M_PI / 180;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

// Agreement with the reference table, in degrees.
constexpr double kRefTol = 1e-9;

// PROJ forms an equidistant distance c with acos and then divides by sin c,
// so next to the antipode its own x and y carry a relative error of up to
// about eps / sin^2 c (2.5e-8 degrees at 179.9). The table cannot judge us
// more finely than that.
double aeqd_reference_tol(double c_deg)
{
    const double s = std::sin(c_deg * kDeg);
    return kRefTol + 180 * 2 * DBL_EPSILON / (s * s);
}

// At the antipode the half chord is 1 and asin is flat: a rounding of a few
// units in the chord moves the arc by about 2 sqrt(8 eps) radians.
const double kAntipodeChordTol = 2 * std::sqrt(8 * DBL_EPSILON) / kDeg;

// The Mercator ordinate grows as 1/cos(lat): two programs that scale the
// same latitude by differently rounded constants differ by that factor times
// the rounding of the latitude.
double merc_reference_tol(double lat)
{
    return kRefTol + 4 * DBL_EPSILON * std::fabs(lat) / std::cos(lat * kDeg);
}

// A worst error for the test report.
std::string sci(double v)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.3g", v);
    return text;
}

struct RefRow {
    std::string kind;
    std::string label;
    std::vector<double> in;
    double out[2];
    bool rejected; // PROJ printed "*"
    int line;
};

std::vector<RefRow> load_reference()
{
    std::vector<RefRow> rows;
    for (const ReferenceLine& r : readReferenceTable("proj_reference.tsv")) {
        const std::vector<std::string>& f = r.fields;
        if (f.size() < 6) {
            ADD_FAILURE() << "unreadable reference line " << r.line;
            continue;
        }
        RefRow row{};
        row.line = r.line;
        row.kind = f[0];
        row.label = f[1];
        for (size_t i = 2; i + 2 < f.size(); ++i)
            row.in.push_back(std::stod(f[i]));
        row.rejected = f[f.size() - 2] == "*";
        for (int k = 0; k < 2 && !row.rejected; ++k)
            row.out[k] = std::stod(f[f.size() - 2 + k]);
        rows.push_back(row);
    }
    return rows;
}

const std::vector<RefRow>& reference()
{
    static const std::vector<RefRow> rows = load_reference();
    return rows;
}

// Rows of one kind, with a trace naming the table line on failure.
void for_rows(const char* kind, const std::function<void(const RefRow&)>& check)
{
    for (const RefRow& r : reference()) {
        if (r.kind != kind)
            continue;
        SCOPED_TRACE("proj_reference.tsv line " + std::to_string(r.line) + " (" + r.label + ")");
        check(r);
    }
}

// Great-circle separation of two points in degrees, from Cartesian vectors
// so that it shares no formula with the code tested and handles the poles
// and the date line without special cases.
double separation(double lat1, double lon1, double lat2, double lon2)
{
    const double p1 = lat1 * kDeg, l1 = lon1 * kDeg, p2 = lat2 * kDeg, l2 = lon2 * kDeg;
    const double dx = std::cos(p1) * std::cos(l1) - std::cos(p2) * std::cos(l2);
    const double dy = std::cos(p1) * std::sin(l1) - std::cos(p2) * std::sin(l2);
    const double dz = std::sin(p1) - std::sin(p2);
    return 2 * std::asin(std::min(1.0, 0.5 * std::sqrt(dx * dx + dy * dy + dz * dz))) / kDeg;
}

struct Point {
    double lat, lon;
};

// Points uniform on the sphere, reproducible across runs.
class RandomPoints {
public:
    explicit RandomPoints(unsigned seed) : gen_(seed) {}
    Point next() { return {std::asin(unit_(gen_)) / kDeg, 180 * unit_(gen_)}; }
    double uniform(double lo, double hi) { return lo + (hi - lo) * (unit_(gen_) + 1) / 2; }

private:
    std::mt19937_64 gen_;
    std::uniform_real_distribution<double> unit_{-1.0, 1.0};
};

struct Plane {
    double x, y;
};

Plane unit_vector_forward(double latr, double lonr, double lat, double lon)
{
    Plane p{kNaN, kNaN};
    HXMapTransform(latr, lonr).edpLatlon2delxy(lat, lon, &p.x, &p.y);
    return p;
}

Plane geodesy_forward(double latr, double lonr, double lat, double lon)
{
    Plane p{kNaN, kNaN};
    kgrqt_latlon2edp(latr, lonr, lat, lon, &p.x, &p.y);
    return p;
}

Point unit_vector_inverse(double latr, double lonr, double x, double y)
{
    Point p{kNaN, kNaN};
    HXMapTransform(latr, lonr).edpDelxy2latlon(x, y, &p.lat, &p.lon);
    return p;
}

Point geodesy_inverse(double latr, double lonr, double x, double y)
{
    Point p{kNaN, kNaN};
    kgrqt_edp2latlon(latr, lonr, x, y, &p.lat, &p.lon);
    return p;
}

// Both equidistant implementations under one name for the checks below.
struct Equidistant {
    const char* name;
    Plane (*forward)(double, double, double, double);
    Point (*inverse)(double, double, double, double);
};

const Equidistant kEquidistant[] = {{"HXMapTransform", unit_vector_forward, unit_vector_inverse},
                                    {"kgrqt_edp", geodesy_forward, geodesy_inverse}};

// Runs f on another thread and fails the whole program if it has not
// finished within the time: a hang cannot be interrupted otherwise.
void expect_finishes(const std::function<void()>& f)
{
    auto done = std::async(std::launch::async, f);
    if (done.wait_for(std::chrono::seconds(20)) != std::future_status::ready) {
        std::fprintf(stderr, "projection call did not finish: it hangs\n");
        std::fflush(stderr);
        std::_Exit(1);
    }
    done.get();
}

// ------------------------------------------------------ reference table

TEST(ProjectionReference, TableCoversTheHardPlaces)
{
    const auto count = [](const char* kind, const char* label) {
        const auto& rows = reference();
        return std::count_if(rows.begin(), rows.end(), [&](const RefRow& r) {
            return r.kind == kind && (label == nullptr || r.label == label);
        });
    };
    EXPECT_GE(count("aeqd_fwd", nullptr), 1000);
    EXPECT_GE(count("aeqd_inv", nullptr), 1000);
    EXPECT_GE(count("merc_fwd", nullptr), 90);
    EXPECT_GE(count("merc_inv", nullptr), 50);
    EXPECT_GE(count("aeqd_fwd", "antipode"), 16);
    EXPECT_GE(count("aeqd_fwd", "near_antipode"), 100);
    EXPECT_GE(count("aeqd_inv", "near_antipode"), 100);
    EXPECT_GE(count("aeqd_inv", "antipode"), 100);
    EXPECT_GE(count("merc_fwd", "pole"), 6);

    // Reference points at both poles and on the date line, targets on them.
    bool pole_ref[2] = {false, false}, date_line_ref = false, pole_target = false;
    for_rows("aeqd_fwd", [&](const RefRow& r) {
        pole_ref[0] |= r.in[0] == 90;
        pole_ref[1] |= r.in[0] == -90;
        date_line_ref |= std::fabs(r.in[1]) == 180;
        pole_target |= std::fabs(r.in[2]) == 90 && std::fabs(r.in[0]) != 90;
    });
    EXPECT_TRUE(pole_ref[0] && pole_ref[1] && date_line_ref && pole_target);
}

TEST(ProjectionReference, EquidistantForwardMatchesProj)
{
    for (const Equidistant& e : kEquidistant) {
        SCOPED_TRACE(e.name);
        // Worst errors where the table is good to 1e-9, and where it is not.
        double worst_clear = 0, worst_near_antipode = 0;
        int checked = 0;
        for_rows("aeqd_fwd", [&](const RefRow& r) {
            const Plane p = e.forward(r.in[0], r.in[1], r.in[2], r.in[3]);
            if (r.rejected) {
                // The exact antipode has no direction; PROJ refuses it. Any
                // direction is right there, and only the distance is checked.
                ASSERT_EQ(r.label, "antipode");
                EXPECT_NEAR(std::hypot(p.x, p.y), 180, kAntipodeChordTol);
                return;
            }
            const double tol = aeqd_reference_tol(std::hypot(r.out[0], r.out[1]));
            const double err = std::max(std::fabs(p.x - r.out[0]), std::fabs(p.y - r.out[1]));
            EXPECT_LE(err, tol) << "(" << p.x << ", " << p.y << ") vs (" << r.out[0] << ", "
                                << r.out[1] << ")";
            double& worst = tol < 1.1 * kRefTol ? worst_clear : worst_near_antipode;
            worst = std::max(worst, err);
            ++checked;
        });
        EXPECT_GE(checked, 1000);
        RecordProperty(std::string(e.name) + "_worst_error_deg", sci(worst_clear));
        RecordProperty(std::string(e.name) + "_worst_error_near_antipode_deg",
                       sci(worst_near_antipode));
    }
}

TEST(ProjectionReference, EquidistantInverseMatchesProj)
{
    for (const Equidistant& e : kEquidistant) {
        SCOPED_TRACE(e.name);
        double worst = 0;
        for_rows("aeqd_inv", [&](const RefRow& r) {
            const double latr = r.in[0], lonr = r.in[1], x = r.in[2], y = r.in[3];
            const Point p = e.inverse(latr, lonr, x, y);
            if (r.rejected) {
                // Beyond the antipode PROJ gives up; going on along the same
                // great circle is the same as coming back the other way.
                ASSERT_EQ(r.label, "beyond");
                const double r0 = std::hypot(x, y), back = (360 - r0) / r0;
                const Point q = e.inverse(latr, lonr, -x * back, -y * back);
                EXPECT_LE(separation(p.lat, p.lon, q.lat, q.lon), kRefTol);
                return;
            }
            const double err = separation(p.lat, p.lon, r.out[0], r.out[1]);
            EXPECT_LE(err, kRefTol)
                << "(" << p.lat << ", " << p.lon << ") vs (" << r.out[0] << ", " << r.out[1] << ")";
            EXPECT_LE(std::fabs(p.lat - r.out[0]), kRefTol);
            worst = std::max(worst, err);
        });
        RecordProperty(std::string(e.name) + "_worst_error_deg", sci(worst));
    }
}

TEST(ProjectionReference, MercatorForwardMatchesProj)
{
    double highest = 0;
    for_rows("merc_fwd", [&](const RefRow& r) {
        const double lat = r.in[0], lon = r.in[1];
        ASSERT_FALSE(r.rejected);
        // Longitude is the abscissa (PROJ wraps it to [-180, 180]).
        EXPECT_NEAR(std::remainder(r.out[0] - lon, 360.0), 0.0, kRefTol);
        if (r.label == "pole")
            return; // judged below: PROJ prints a rounding artefact there
        const double y = kgrqt_mercator_y(lat);
        EXPECT_LE(std::fabs(y - r.out[1]), merc_reference_tol(lat))
            << y << " vs " << r.out[1] << " at " << lat;
        highest = std::max(highest, std::fabs(r.out[1]));
    });
    // The true ordinate of a pole is infinite, and PROJ prints whatever
    // tan(pi/2) rounds to. The clamp must lie beyond every real ordinate.
    for_rows("merc_fwd", [&](const RefRow& r) {
        if (r.label != "pole")
            return;
        EXPECT_EQ(kgrqt_mercator_y(r.in[0]), std::copysign(100000.0, r.in[0]));
        EXPECT_GT(100000.0, std::fabs(r.out[1]));
    });
    EXPECT_GT(highest, 1000); // the table does come close to the poles
}

TEST(ProjectionReference, MercatorInverseMatchesProj)
{
    for_rows("merc_inv", [&](const RefRow& r) {
        ASSERT_FALSE(r.rejected);
        EXPECT_NEAR(std::remainder(r.out[1] - r.in[0], 360.0), 0.0, kRefTol);
        const double lat = kgrqt_mercator_lat(r.in[1]);
        EXPECT_LE(std::fabs(lat - r.out[0]), kRefTol) << lat << " vs " << r.out[0];
    });
}

// ------------------------------------------------- documented edge cases

TEST(Projection, ReferencePointMapsToOrigin)
{
    RandomPoints points(11);
    std::vector<Point> refs = {{0, 0}, {90, 0}, {-90, 45}, {10, 180}, {-35, -180}, {45, 540}};
    for (int i = 0; i < 200; ++i)
        refs.push_back(points.next());
    for (const Point& r : refs) {
        for (const Equidistant& e : kEquidistant) {
            const Plane p = e.forward(r.lat, r.lon, r.lat, r.lon);
            ASSERT_EQ(p.x, 0.0) << e.name << " at " << r.lat << ", " << r.lon;
            ASSERT_EQ(p.y, 0.0) << e.name << " at " << r.lat << ", " << r.lon;
        }
    }
}

TEST(Projection, AntipodeWithoutDirectionMapsStraightUp)
{
    // The antipode reached over the pole along the reference meridian: the
    // arithmetic finds no east or north component at all, and the point goes
    // to (0, 180).
    const Point exact[][2] = {{{30, 10}, {-150, 10}},
                              {{-30, -170}, {150, -170}},
                              {{50, 100}, {-130, 100}},
                              {{-64, 0}, {116, 0}}};
    for (const auto& c : exact) {
        const Plane p = unit_vector_forward(c[0].lat, c[0].lon, c[1].lat, c[1].lon);
        EXPECT_EQ(p.x, 0.0);
        EXPECT_EQ(p.y, 180.0);
    }
    // From the south pole the north pole lies straight up as well. (From
    // the north pole rounding leaves C just below zero: (0, -180).)
    const Plane p = unit_vector_forward(-90, 20, 90, 20);
    EXPECT_EQ(p.x, 0.0);
    EXPECT_EQ(p.y, 180.0);

    // The geodesy version heads north from any antipode.
    RandomPoints points(12);
    for (int i = 0; i < 200; ++i) {
        const Point r = points.next();
        const double lon = r.lon > 0 ? r.lon - 180 : r.lon + 180;
        const Plane q = geodesy_forward(r.lat, r.lon, -r.lat, lon);
        ASSERT_EQ(q.x, 0.0);
        ASSERT_EQ(q.y, 180.0);
        // The unit-vector version lands somewhere on the 180-degree circle:
        // rounding leaves a direction of pure noise.
        const Plane u = unit_vector_forward(r.lat, r.lon, -r.lat, lon);
        ASSERT_NEAR(std::hypot(u.x, u.y), 180, kAntipodeChordTol);
    }
}

TEST(Projection, OriginReturnsReferenceUnnormalised)
{
    for (double lonr : {200.0, -540.0, 1000.5}) {
        const Point h = unit_vector_inverse(10, lonr, 0, 0);
        EXPECT_EQ(h.lat, 10);
        EXPECT_EQ(h.lon, lonr);
        const Point g = geodesy_inverse(10, lonr, 0, 0);
        EXPECT_EQ(g.lat, 10);
        EXPECT_EQ(g.lon, lonr);
    }
    // Any other offset comes back in [-180, 180], even a tiny one.
    const Point tiny = unit_vector_inverse(10, 200, 1e-9, 0);
    EXPECT_NEAR(tiny.lon, -160, 1e-8);
    RandomPoints points(13);
    for (int i = 0; i < 2000; ++i) {
        const double lonr = points.uniform(-1000, 1000);
        const double x = points.uniform(-200, 200), y = points.uniform(-200, 200);
        const Point h = unit_vector_inverse(points.uniform(-90, 90), lonr, x, y);
        ASSERT_GE(h.lon, -180);
        ASSERT_LE(h.lon, 180);
    }
}

TEST(Projection, NinetyDegreesEastOfEquatorialReference)
{
    // Also across the date line: from (0, 150) 90 degrees east is (0, -120).
    for (double lonr : {0.0, 30.0, 150.0, -180.0}) {
        const double lon = std::remainder(lonr + 90, 360.0);
        for (const Equidistant& e : kEquidistant) {
            SCOPED_TRACE(std::string(e.name) + " lonr " + std::to_string(lonr));
            const Plane p = e.forward(0, lonr, 0, lon);
            EXPECT_NEAR(p.x, 90, 1e-12);
            EXPECT_NEAR(p.y, 0, 1e-12);
            const Point q = e.inverse(0, lonr, 90, 0);
            EXPECT_NEAR(q.lat, 0, 1e-12);
            EXPECT_NEAR(std::remainder(q.lon - lon, 360.0), 0, 1e-12);
        }
    }
}

TEST(Projection, NorthAtReferencePointIsZero)
{
    double x = kNaN, y = kNaN, north = kNaN;
    kgrqt_latlon2edp2(35, -120, 35, -120, &x, &y, &north);
    EXPECT_EQ(x, 0.0);
    EXPECT_EQ(y, 0.0);
    EXPECT_EQ(north, 0.0);
}

TEST(Projection, NorthFollowsTheProjectedMeridian)
{
    // Up along the reference meridian north stays +y; past the pole it turns
    // to -y.
    double x, y, north;
    kgrqt_latlon2edp2(20, 30, 60, 30, &x, &y, &north);
    EXPECT_NEAR(north, 0, 1e-9);
    kgrqt_latlon2edp2(20, 30, -40, 30, &x, &y, &north);
    EXPECT_NEAR(north, 0, 1e-9);
    kgrqt_latlon2edp2(20, 30, 70, -150, &x, &y, &north);
    EXPECT_NEAR(std::fabs(north), 180, 1e-9);

    // Elsewhere: the direction of the same 0.001-radian step north, taken
    // with the unit-vector projection.
    RandomPoints points(14);
    for (int i = 0; i < 500; ++i) {
        const Point r = points.next(), p = points.next();
        if (separation(r.lat, r.lon, p.lat, p.lon) > 170 || std::fabs(p.lat) > 85)
            continue; // direction too ill-conditioned to compare
        kgrqt_latlon2edp2(r.lat, r.lon, p.lat, p.lon, &x, &y, &north);
        const Plane a = unit_vector_forward(r.lat, r.lon, p.lat, p.lon);
        const Plane b = unit_vector_forward(r.lat, r.lon, p.lat + 0.001 / kDeg, p.lon);
        const double expected = std::atan2(b.x - a.x, b.y - a.y) / kDeg;
        ASSERT_NEAR(std::remainder(north - expected, 360.0), 0, 1e-7);
    }
}

TEST(Projection, MercatorOrdinate)
{
    EXPECT_EQ(kgrqt_mercator_y(90), 100000.0);
    EXPECT_EQ(kgrqt_mercator_y(-90), -100000.0);
    EXPECT_EQ(kgrqt_mercator_y(95), 100000.0);
    EXPECT_EQ(kgrqt_mercator_y(-1e300), -100000.0);
    // About 50.4987; exactly asinh(tan 45) = asinh(1) radians, 50.49899.
    EXPECT_NEAR(kgrqt_mercator_y(45), 50.4987, 5e-4);
    EXPECT_NEAR(kgrqt_mercator_y(45), std::asinh(1.0) / kDeg, 1e-12);
    // tan of the rounded pi/4 is one unit below 1.
    EXPECT_NEAR(kgrqt_mercator_y(0), 0.0, 1e-14);
    // The clamped ordinates read back as the poles.
    EXPECT_EQ(kgrqt_mercator_lat(100000.0), 90.0);
    EXPECT_EQ(kgrqt_mercator_lat(-100000.0), -90.0);
    // Close to a pole the ordinate is large but finite and ordered.
    const double near_pole = std::nextafter(90.0, 0.0);
    EXPECT_TRUE(std::isfinite(kgrqt_mercator_y(near_pole)));
    EXPECT_LT(kgrqt_mercator_y(89.9), kgrqt_mercator_y(near_pole));
    EXPECT_LT(kgrqt_mercator_y(near_pole), 100000.0);
}

struct LatLonBox {
    double latmn, latmx, lonmn, lonmx;
};

// The extent of the outline of a plane box, sampled densely with the
// unit-vector projection; longitudes are taken within 180 of lonc.
LatLonBox outline_extent(double latc, double lonc, double x0, double x1, double y0, double y1)
{
    HXMapTransform t(latc, lonc);
    LatLonBox b{90, -90, kInf, -kInf};
    for (int i = 0; i <= 1000; ++i) {
        const double f = i / 1000.0;
        const double xs[4] = {x0 + f * (x1 - x0), x1, x0 + f * (x1 - x0), x0};
        const double ys[4] = {y0, y0 + f * (y1 - y0), y1, y0 + f * (y1 - y0)};
        for (int k = 0; k < 4; ++k) {
            double lat, lon;
            t.edpDelxy2latlon(xs[k], ys[k], &lat, &lon);
            lon = lonc + std::remainder(lon - lonc, 360.0);
            b = {std::min(b.latmn, lat), std::max(b.latmx, lat), std::min(b.lonmn, lon),
                 std::max(b.lonmx, lon)};
        }
    }
    return b;
}

TEST(Projection, BoxReachingNorthPoleSpansAllLongitudes)
{
    struct Box {
        double latc, lonc, x0, x1, y0, y1;
    };
    // Reaching 90 exactly, beyond it, off-centre and wide or narrow in x.
    const Box boxes[] = {{80, 10, -5, 5, -10, 10},
                         {60, -170, -40, 25, -20, 45},
                         {89, 100, 3, 4, 0.5, 1},
                         {0, 0, -100, 100, -30, 90}};
    for (const Box& b : boxes) {
        double latmn = kNaN, latmx = kNaN, lonmn = kNaN, lonmx = kNaN;
        kgrqt_delbox2llbox(b.latc, b.lonc, b.x0, b.x1, b.y0, b.y1, &latmn, &latmx, &lonmn, &lonmx);
        EXPECT_EQ(latmx, 90);
        EXPECT_EQ(lonmn, 0);
        EXPECT_EQ(lonmx, 360);
        // The least latitude is that of the bottom edge, 11 samples of it.
        double lo = 90;
        for (int i = 0; i <= 10; ++i) {
            double lat, lon;
            HXMapTransform(b.latc, b.lonc)
                .edpDelxy2latlon(b.x0 + i * (b.x1 - b.x0) / 10, b.y0, &lat, &lon);
            lo = std::min(lo, lat);
        }
        EXPECT_NEAR(latmn, lo, 1e-9);
    }
    // Reaching both poles: the whole globe.
    double latmn, latmx, lonmn, lonmx;
    kgrqt_delbox2llbox(0, 50, -10, 10, -95, 95, &latmn, &latmx, &lonmn, &lonmx);
    EXPECT_EQ(latmn, -90);
    EXPECT_EQ(latmx, 90);
    EXPECT_EQ(lonmn, 0);
    EXPECT_EQ(lonmx, 360);
}

TEST(Projection, BoxReachingSouthPoleSpansAllLongitudes)
{
    double latmn = kNaN, latmx = kNaN, lonmn = kNaN, lonmx = kNaN;
    kgrqt_delbox2llbox(-70, 120, -10, 30, -25, 5, &latmn, &latmx, &lonmn, &lonmx);
    EXPECT_EQ(latmn, -90);
    EXPECT_EQ(lonmn, 0);
    EXPECT_EQ(lonmx, 360);
    const double hi = outline_extent(-70, 120, -10, 30, -25, 5).latmx;
    EXPECT_NEAR(latmx, hi, 0.05); // 11 samples of the top edge
    EXPECT_LE(latmx, hi + 1e-9);
}

TEST(Projection, BoxAcrossDateLineStaysContiguous)
{
    // Centred at 170 on the equator, the box reaches past 180: its east
    // corners lie near 190, not -170. The extremes lie at corners and edge
    // midpoints, which are among the samples.
    LatLonBox b;
    kgrqt_delbox2llbox(0, 170, -20, 20, -10, 10, &b.latmn, &b.latmx, &b.lonmn, &b.lonmx);
    const LatLonBox e = outline_extent(0, 170, -20, 20, -10, 10);
    EXPECT_NEAR(b.lonmn, e.lonmn, 1e-9);
    EXPECT_NEAR(b.lonmx, e.lonmx, 1e-9);
    EXPECT_GT(b.lonmx, 190);
    EXPECT_NEAR(b.latmn, -10, 1e-9);
    EXPECT_NEAR(b.latmx, 10, 1e-9);

    // West of a centre at -175 the box goes below -180.
    kgrqt_delbox2llbox(40, -175, -15, 5, -5, 5, &b.latmn, &b.latmx, &b.lonmn, &b.lonmx);
    const LatLonBox w = outline_extent(40, -175, -15, 5, -5, 5);
    EXPECT_LT(b.lonmn, -180);
    EXPECT_NEAR(b.lonmn, w.lonmn, 0.05);
    EXPECT_NEAR(b.lonmx, w.lonmx, 0.05);
    EXPECT_NEAR(b.latmn, w.latmn, 0.05);
    EXPECT_NEAR(b.latmx, w.latmx, 0.05);
}

TEST(Projection, WrapLongitudeUnwrapsAcrossDateLine)
{
    ViewportWrapLongitude w(170);
    EXPECT_EQ(w.wrapLongitude(170), 170);
    EXPECT_EQ(w.wrapLongitude(-170), 190);
    EXPECT_EQ(w.wrapLongitude(-150), 210);
    EXPECT_EQ(w.lon_last, 210);
    EXPECT_EQ(w.offset, 360);

    // Any walk: results differ from the input by whole turns and never jump
    // by more than 180.
    RandomPoints points(15);
    ViewportWrapLongitude walk(0);
    double last = 0, lon = 0;
    for (int i = 0; i < 10000; ++i) {
        lon = std::remainder(lon + points.uniform(-170, 170), 360.0);
        const double out = walk.wrapLongitude(lon);
        ASSERT_LE(std::fabs(out - last), 180);
        ASSERT_NEAR(std::remainder(out - lon, 360.0), 0.0, 1e-9);
        last = out;
    }
}

TEST(Projection, LimitPullsPointsOntoTheAntipodalCircle)
{
    double x = 300, y = -400;
    viewport_limit_edp_bb(&x, &y);
    EXPECT_NEAR(x, 108, 1e-12);
    EXPECT_NEAR(y, -144, 1e-12);
    x = 100, y = -100;
    viewport_limit_edp_bb(&x, &y);
    EXPECT_EQ(x, 100);
    EXPECT_EQ(y, -100);
    x = 0, y = 180;
    viewport_limit_edp_bb(&x, &y);
    EXPECT_EQ(y, 180);
    // A huge offset keeps its direction instead of overflowing.
    x = -1e200, y = 0;
    viewport_limit_edp_bb(&x, &y);
    EXPECT_EQ(x, -180);
    EXPECT_EQ(y, 0);
}

// ----------------------------------------------------------- round trips

TEST(ProjectionRoundTrip, EquidistantForwardThenInverse)
{
    RandomPoints points(16);
    for (const Equidistant& e : kEquidistant) {
        double worst = 0;
        for (int i = 0; i < 20000; ++i) {
            const Point r = points.next(), p = points.next();
            const Plane d = e.forward(r.lat, r.lon, p.lat, p.lon);
            const Point q = e.inverse(r.lat, r.lon, d.x, d.y);
            worst = std::max(worst, separation(p.lat, p.lon, q.lat, q.lon));
        }
        EXPECT_LE(worst, 1e-10) << e.name;
    }
}

TEST(ProjectionRoundTrip, EquidistantInverseThenForward)
{
    RandomPoints points(17);
    for (const Equidistant& e : kEquidistant) {
        double worst = 0;
        for (int i = 0; i < 20000; ++i) {
            const Point r = points.next();
            const double rad = 179 * std::sqrt(points.uniform(0, 1));
            const double az = points.uniform(-M_PI, M_PI);
            const double x = rad * std::sin(az), y = rad * std::cos(az);
            const Point p = e.inverse(r.lat, r.lon, x, y);
            const Plane d = e.forward(r.lat, r.lon, p.lat, p.lon);
            worst = std::max(worst, std::hypot(d.x - x, d.y - y));
        }
        EXPECT_LE(worst, 1e-9) << e.name;
    }
}

TEST(ProjectionRoundTrip, BothInversesAgreeToRounding)
{
    RandomPoints points(18);
    double worst = 0;
    for (int i = 0; i < 50000; ++i) {
        const Point r = points.next();
        const double x = points.uniform(-180, 180), y = points.uniform(-180, 180);
        const Point h = unit_vector_inverse(r.lat, r.lon, x, y);
        const Point g = geodesy_inverse(r.lat, r.lon, x, y);
        worst = std::max(worst, separation(h.lat, h.lon, g.lat, g.lon));
        ASSERT_LE(std::fabs(h.lat - g.lat), 1e-12);
    }
    EXPECT_LE(worst, 1e-12);
    RecordProperty("worst_disagreement_deg", sci(worst));
}

TEST(ProjectionRoundTrip, Mercator)
{
    RandomPoints points(19);
    for (int i = 0; i < 20000; ++i) {
        const double lat = points.uniform(-89.99, 89.99);
        ASSERT_NEAR(kgrqt_mercator_lat(kgrqt_mercator_y(lat)), lat, 1e-11);
    }
}

// ------------------------------------------------------------ bad input

const double kBad[] = {kNaN, kInf, -kInf, 1e300, -1e300, KGR_UNSET, -KGR_UNSET, 4.6e18, 1e18};

TEST(ProjectionNonFinite, MercatorClampsInfinityAndPassesNaN)
{
    EXPECT_TRUE(std::isnan(kgrqt_mercator_y(kNaN)));
    EXPECT_EQ(kgrqt_mercator_y(kInf), 100000.0);
    EXPECT_EQ(kgrqt_mercator_y(-kInf), -100000.0);
    EXPECT_TRUE(std::isnan(kgrqt_mercator_lat(kNaN)));
    EXPECT_EQ(kgrqt_mercator_lat(kInf), 90.0);
    EXPECT_EQ(kgrqt_mercator_lat(-kInf), -90.0);
    EXPECT_EQ(kgrqt_mercator_lat(1e300), 90.0);
}

TEST(ProjectionNonFinite, EquidistantGivesNaNForNonFiniteInput)
{
    for (const Equidistant& e : kEquidistant) {
        SCOPED_TRACE(e.name);
        for (double bad : {kNaN, kInf, -kInf}) {
            const Plane p = e.forward(10, 20, bad, 30);
            EXPECT_TRUE(std::isnan(p.x) && std::isnan(p.y));
            const Plane q = e.forward(bad, 20, 10, 30);
            EXPECT_TRUE(std::isnan(q.x) && std::isnan(q.y));
            const Point a = e.inverse(10, 20, bad, 5);
            EXPECT_TRUE(std::isnan(a.lat) && std::isnan(a.lon));
            // A longitude that cannot be reduced is no longitude.
            const Point b = e.inverse(10, bad, 5, 5);
            EXPECT_TRUE(std::isnan(b.lon));
        }
    }
}

TEST(ProjectionNonFinite, HugeReferenceLongitudeIsReducedNotLooped)
{
    // At this size the offsets added to the reference longitude vanish in
    // rounding; what matters is a longitude in range, found at once.
    const double lonr = 1e300;
    double lat, lon;
    expect_finishes([&] { HXMapTransform(0, lonr).edpDelxy2latlon(0, 90, &lat, &lon); });
    EXPECT_NEAR(lat, 90, 1e-12);
    expect_finishes([&] { HXMapTransform(0, lonr).edpDelxy2latlon(90, 0, &lat, &lon); });
    EXPECT_NEAR(lat, 0, 1e-12);
    EXPECT_GE(lon, -180);
    EXPECT_LE(lon, 180);
}

TEST(ProjectionNonFinite, NothingHangsOnBadNumbers)
{
    expect_finishes([] {
        for (double bad : kBad) {
            const double vals[] = {bad, 0.0, 45.0, -170.0};
            for (double a : vals)
                for (double b : vals) {
                    double x, y, n, lat, lon, l0, l1, l2, l3;
                    HXMapTransform t(a, b);
                    t.edpLatlon2delxy(bad, a, &x, &y);
                    t.edpDelxy2latlon(bad, b, &lat, &lon);
                    t.edpDelxy2latlon(b, 1, &lat, &lon);
                    kgrqt_latlon2edp2(a, b, bad, 3, &x, &y, &n);
                    kgrqt_latlon2edp2(3, bad, a, b, &x, &y, &n);
                    kgrqt_edp2latlon(a, b, bad, 3, &lat, &lon);
                    kgrqt_delbox2llbox(a, bad, -10, 10, -5, b, &l0, &l1, &l2, &l3);
                    kgrqt_delbox2llbox(0, b, a, bad, -5, 5, &l0, &l1, &l2, &l3);
                    kgrqt_delbox2llbox(b, a, -bad, bad, -bad, bad, &l0, &l1, &l2, &l3);
                    x = bad, y = a;
                    viewport_limit_edp_bb(&x, &y);
                    ViewportWrapLongitude w(a);
                    w.wrapLongitude(bad);
                    w.wrapLongitude(b);
                    w.wrapLongitude(-bad);
                    w.wrapLongitude(a);
                }
        }
    });
}

TEST(ProjectionNonFinite, WrapLongitudeRecoversAfterBadValues)
{
    ViewportWrapLongitude w(170);
    EXPECT_TRUE(std::isnan(w.wrapLongitude(kNaN)));
    // Past a NaN the next point starts afresh, then unwrapping goes on.
    EXPECT_EQ(w.wrapLongitude(175), 175);
    EXPECT_EQ(w.wrapLongitude(-175), 185);

    // A far-off value is brought within 180 of the last one in one jump.
    ViewportWrapLongitude far(10);
    double out;
    expect_finishes([&] { out = far.wrapLongitude(3600000000015.0); });
    EXPECT_EQ(out, 15);
    expect_finishes([&] { out = far.wrapLongitude(1e300); });
    EXPECT_LE(std::fabs(out - 15), 180);
    expect_finishes([&] { out = far.wrapLongitude(20); });
    EXPECT_LE(std::fabs(out - 15), 180);

    // After a huge offset, a value whose gap rounds to no whole number of
    // turns: the steps that follow the jump must not crawl.
    ViewportWrapLongitude rough(0);
    rough.wrapLongitude(2e30);
    expect_finishes([&] { out = rough.wrapLongitude(4.6e18); });
    EXPECT_LE(std::fabs(out), 4096); // 4.6e18 is only known to 1024

    // An infinite value comes back infinite; the point after it is taken as
    // it is.
    ViewportWrapLongitude inf(0);
    expect_finishes([&] { out = inf.wrapLongitude(kInf); });
    EXPECT_EQ(out, kInf);
    expect_finishes([&] { out = inf.wrapLongitude(30); });
    EXPECT_EQ(out, 30);
}

TEST(ProjectionNonFinite, LimitOfNonFiniteOffsets)
{
    // An infinite offset scales by 180/inf = 0, which it turns into NaN.
    double x = kInf, y = 0;
    viewport_limit_edp_bb(&x, &y);
    EXPECT_TRUE(std::isnan(x));
    EXPECT_EQ(y, 0);
    x = kNaN, y = 500;
    viewport_limit_edp_bb(&x, &y);
    EXPECT_TRUE(std::isnan(x));
    EXPECT_EQ(y, 500); // no radius, so nothing to scale by
}

} // namespace
