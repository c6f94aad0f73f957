// Great-circle distance, azimuth and forward point, checked against a table
// from an independent geodesic program and against properties of the sphere.
#include "hx_geodesy.h"
#include "reference_table.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace {

constexpr double kDeg = M_PI / 180;

// Tolerances against the reference table, in degrees.
constexpr double kRefTol = 1e-9;
// The azimuth over a short arc is only as good as the endpoints: a rounding
// error of a few units in the last place of the coordinates, about 1e-13
// degrees (both programs convert degrees to radians), turns the direction by
// that much over the distance.
constexpr double kCoordRounding = 1e-13;

double azimuth_tolerance_deg(double dist_deg)
{
    return kRefTol + kCoordRounding / dist_deg / kDeg;
}

struct RefRow {
    std::string kind; // "inverse" or "direct"
    std::string label;
    std::array<double, 4> in;
    std::array<double, 2> out;
    int line;
};

std::vector<RefRow> load_reference()
{
    std::vector<RefRow> rows;
    for (const ReferenceLine& r : readReferenceTable("geod_reference.tsv")) {
        if (r.fields.size() != 8) {
            ADD_FAILURE() << "unreadable reference line " << r.line;
            continue;
        }
        RefRow row;
        row.line = r.line;
        row.kind = r.fields[0];
        row.label = r.fields[1];
        for (int k = 0; k < 4; ++k)
            row.in[k] = std::stod(r.fields[2 + k]);
        for (int k = 0; k < 2; ++k)
            row.out[k] = std::stod(r.fields[6 + k]);
        rows.push_back(row);
    }
    return rows;
}

const std::vector<RefRow>& reference()
{
    static const std::vector<RefRow> rows = load_reference();
    return rows;
}

// Difference of two angles in degrees, reduced to [-180, 180].
double angle_diff_deg(double a, double b)
{
    return std::remainder(a - b, 360.0);
}

// Straight-line distance between two points of the unit sphere, computed
// from Cartesian vectors so that it shares no formula with the code tested.
double chord(double lat1, double lon1, double lat2, double lon2)
{
    const double dx = std::cos(lat1) * std::cos(lon1) - std::cos(lat2) * std::cos(lon2);
    const double dy = std::cos(lat1) * std::sin(lon1) - std::cos(lat2) * std::sin(lon2);
    const double dz = std::sin(lat1) - std::sin(lat2);
    return std::sqrt(dx * dx + dy * dy + dz * dz);
}

// Distance from point 2 to where latlon(dist(point 1, point 2)) lands.
double round_trip_miss(double lat1, double lon1, double lat2, double lon2)
{
    double del, az, lat, lon;
    dist(lat1, lon1, lat2, lon2, &del, &az);
    latlon(lat1, lon1, del, az, &lat, &lon);
    return chord(lat, lon, lat2, lon2);
}

bool on_pole(double lat_deg)
{
    return std::fabs(lat_deg) == 90;
}

struct Point {
    double lat, lon;
};

// Points uniform on the sphere, reproducible across runs.
class RandomPoints {
public:
    explicit RandomPoints(unsigned seed) : gen_(seed) {}
    Point next() { return {std::asin(unit_(gen_)), M_PI * unit_(gen_)}; }

private:
    std::mt19937_64 gen_;
    std::uniform_real_distribution<double> unit_{-1.0, 1.0};
};

TEST(GeodesyReference, TableIsComplete)
{
    const auto& rows = reference();
    const auto count = [&](const char* kind) {
        return std::count_if(rows.begin(), rows.end(),
                             [&](const RefRow& r) { return r.kind == kind; });
    };
    EXPECT_GE(rows.size(), 300u);
    EXPECT_GE(count("inverse"), 100);
    EXPECT_GE(count("direct"), 100);
}

TEST(GeodesyReference, InverseMatchesGeod)
{
    double worst_del = 0, worst_az = 0;
    for (const RefRow& r : reference()) {
        if (r.kind != "inverse")
            continue;
        SCOPED_TRACE("line " + std::to_string(r.line) + " (" + r.label + ")");
        const double lat1 = r.in[0] * kDeg, lon1 = r.in[1] * kDeg;
        const double lat2 = r.in[2] * kDeg, lon2 = r.in[3] * kDeg;
        double del, az;
        dist(lat1, lon1, lat2, lon2, &del, &az);

        const double del_err = std::fabs(del / kDeg - r.out[0]);
        EXPECT_LE(del_err, kRefTol) << del / kDeg << " vs " << r.out[0];
        worst_del = std::max(worst_del, del_err);

        // Every direction is right between coincident or antipodal points;
        // there only the landing point can be checked.
        EXPECT_LE(round_trip_miss(lat1, lon1, lat2, lon2), 1e-12);
        const bool direction_free = r.out[0] == 0 || r.out[0] == 180;
        if (direction_free)
            continue;
        // Compared modulo 360: due south reads 180 or -180.
        const double az_err = std::fabs(angle_diff_deg(az / kDeg, r.out[1]));
        EXPECT_LE(az_err, azimuth_tolerance_deg(r.out[0])) << az / kDeg << " vs " << r.out[1];
        worst_az = std::max(worst_az, az_err);
    }
    RecordProperty("worst_distance_error_deg", std::to_string(worst_del));
    RecordProperty("worst_azimuth_error_deg", std::to_string(worst_az));
}

TEST(GeodesyReference, DirectMatchesGeod)
{
    double worst = 0;
    for (const RefRow& r : reference()) {
        if (r.kind != "direct")
            continue;
        SCOPED_TRACE("line " + std::to_string(r.line) + " (" + r.label + ")");
        double lat2, lon2;
        latlon(r.in[0] * kDeg, r.in[1] * kDeg, r.in[3] * kDeg, r.in[2] * kDeg, &lat2, &lon2);

        EXPECT_LE(std::fabs(lon2), M_PI);
        const double lat_err = std::fabs(lat2 / kDeg - r.out[0]);
        EXPECT_LE(lat_err, kRefTol) << lat2 / kDeg << " vs " << r.out[0];
        worst = std::max(worst, lat_err);
        // Longitude error counts as the east-west displacement it causes: near
        // a pole longitude is ill-conditioned, on it meaningless.
        const double lon_err =
            std::fabs(angle_diff_deg(lon2 / kDeg, r.out[1])) * std::cos(r.out[0] * kDeg);
        EXPECT_LE(lon_err, kRefTol) << lon2 / kDeg << " vs " << r.out[1];
        worst = std::max(worst, lon_err);
    }
    RecordProperty("worst_position_error_deg", std::to_string(worst));
}

TEST(Geodesy, CoincidentPointsAreExact)
{
    RandomPoints points(1);
    for (int i = 0; i < 1000; ++i) {
        const Point p = points.next();
        double del = -1, az = -1;
        dist(p.lat, p.lon, p.lat, p.lon, &del, &az);
        ASSERT_EQ(del, 0.0);
        ASSERT_EQ(az, 0.0);
        double lat, lon;
        latlon(p.lat, p.lon, 0, 1.234, &lat, &lon);
        ASSERT_EQ(lat, p.lat);
        ASSERT_EQ(lon, p.lon);
    }
}

TEST(Geodesy, AllLongitudesOfAPoleAreOnePoint)
{
    for (double pole : {M_PI_2, -M_PI_2}) {
        double del = -1, az = -1;
        dist(pole, 0.3, pole, -2.9, &del, &az);
        EXPECT_EQ(del, 0.0);
        EXPECT_EQ(az, 0.0);
        dist(pole, 0.3, -pole, -2.9, &del, &az);
        EXPECT_EQ(del, M_PI);
    }
}

TEST(Geodesy, AntipodesGiveHalfTurnAndNorth)
{
    RandomPoints points(2);
    for (int i = 0; i < 1000; ++i) {
        const Point p = points.next();
        const double lon2 = p.lon > 0 ? p.lon - M_PI : p.lon + M_PI;
        double del, az;
        dist(p.lat, p.lon, -p.lat, lon2, &del, &az);
        ASSERT_EQ(del, M_PI);
        ASSERT_EQ(az, 0.0);
    }
}

TEST(Geodesy, AzimuthFromPoleFollowsStartMeridian)
{
    // From the north pole, heading az leaves along meridian lon1 + pi - az;
    // from the south pole along lon1 + az.
    const double lon1 = 0.4, lat2 = 0.2;
    for (double dlon : {-2.5, -0.7, 0.0, 0.9, 3.0}) {
        double del, az;
        dist(M_PI_2, lon1, lat2, lon1 + dlon, &del, &az);
        EXPECT_NEAR(std::remainder(az - (M_PI - dlon), 2 * M_PI), 0, 1e-15);
        EXPECT_NEAR(del, M_PI_2 - lat2, 1e-15);
        dist(-M_PI_2, lon1, lat2, lon1 + dlon, &del, &az);
        EXPECT_NEAR(std::remainder(az - dlon, 2 * M_PI), 0, 1e-15);
        EXPECT_NEAR(del, M_PI_2 + lat2, 1e-15);
    }
    double lat, lon;
    latlon(M_PI_2, lon1, 0.5, 0.3, &lat, &lon);
    EXPECT_NEAR(lat, M_PI_2 - 0.5, 1e-15);
    EXPECT_NEAR(std::remainder(lon - (lon1 + M_PI - 0.3), 2 * M_PI), 0, 1e-15);
    latlon(-M_PI_2, lon1, 0.5, 0.3, &lat, &lon);
    EXPECT_NEAR(lat, -M_PI_2 + 0.5, 1e-15);
    EXPECT_NEAR(lon, lon1 + 0.3, 1e-15);
}

TEST(Geodesy, ForwardPointReproducesTarget)
{
    RandomPoints points(3);
    double worst = 0;
    for (int i = 0; i < 50000; ++i) {
        const Point p1 = points.next(), p2 = points.next();
        worst = std::max(worst, round_trip_miss(p1.lat, p1.lon, p2.lat, p2.lon));
    }
    EXPECT_LE(worst, 1e-12);
}

TEST(Geodesy, DistanceIsSymmetricAndInRange)
{
    RandomPoints points(4);
    for (int i = 0; i < 50000; ++i) {
        const Point p1 = points.next(), p2 = points.next();
        double del12, az12, del21, az21;
        dist(p1.lat, p1.lon, p2.lat, p2.lon, &del12, &az12);
        dist(p2.lat, p2.lon, p1.lat, p1.lon, &del21, &az21);
        ASSERT_NEAR(del12, del21, 2e-15);
        ASSERT_GE(del12, 0.0);
        ASSERT_LE(del12, M_PI);
        ASSERT_LE(std::fabs(az12), M_PI);
    }
}

TEST(Geodesy, DistanceOfForwardPointIsTheStep)
{
    RandomPoints points(5);
    std::mt19937_64 gen(6);
    std::uniform_real_distribution<double> step(0, M_PI), heading(-M_PI, M_PI);
    for (int i = 0; i < 20000; ++i) {
        const Point p = points.next();
        const double del = step(gen), az = heading(gen);
        double lat, lon, del_back, az_back;
        latlon(p.lat, p.lon, del, az, &lat, &lon);
        ASSERT_LE(std::fabs(lon), M_PI);
        dist(p.lat, p.lon, lat, lon, &del_back, &az_back);
        ASSERT_NEAR(del_back, del, 1e-14);
    }
}

TEST(Geodesy, TinyDistancesKeepRelativeAccuracy)
{
    // Along a meridian the separation is exactly the latitude difference,
    // along the equator the longitude difference; a cosine-based formula
    // would lose every digit here.
    for (double h : {1e-9, 1e-12, 1e-15}) {
        const double lat1 = 0.3, lat2 = lat1 + h;
        double del, az;
        dist(lat1, 1.0, lat2, 1.0, &del, &az);
        EXPECT_NEAR(del, lat2 - lat1, 1e-15 * h);
        EXPECT_EQ(az, 0.0);
        dist(0, 1.0, 0, 1.0 - h, &del, &az);
        EXPECT_NEAR(del, 1.0 - (1.0 - h), 1e-15 * h);
        EXPECT_NEAR(az, -M_PI_2, 1e-15);
    }
    double del, az;
    dist(0, 0, 1e-200, 0, &del, &az);
    EXPECT_EQ(del, 1e-200);
}

TEST(Geodesy, NearAntipodesKeepAccuracy)
{
    for (double e : {1e-3, 1e-6, 1e-9, 1e-12}) {
        const double lon2 = M_PI - e;
        double del, az;
        dist(0, 0, 0, lon2, &del, &az);
        EXPECT_NEAR(del, lon2, 5e-16);
        EXPECT_NEAR(az, M_PI_2, 1e-15);
    }
}

TEST(Geodesy, ForwardLongitudeWrapsAcrossDateLine)
{
    double lat, lon;
    latlon(0, M_PI - 0.01, 0.03, M_PI_2, &lat, &lon);
    EXPECT_NEAR(lat, 0, 1e-16);
    EXPECT_NEAR(lon, -M_PI + 0.02, 1e-15);
    latlon(0.1, 7 * M_PI, 0, 0, &lat, &lon);
    EXPECT_LE(std::fabs(lon), M_PI);
    EXPECT_NEAR(std::fabs(lon), M_PI, 1e-14);
}

TEST(Geodesy, NonFiniteInputGivesNaN)
{
    const double nan = std::nan(""), inf = INFINITY;
    double del, az, lat, lon;
    dist(nan, 0, 0.1, 0.2, &del, &az);
    EXPECT_TRUE(std::isnan(del));
    dist(0, inf, 0.1, 0.2, &del, &az);
    EXPECT_TRUE(std::isnan(del));
    latlon(0.1, 0.2, nan, 0.3, &lat, &lon);
    EXPECT_TRUE(std::isnan(lat));
    latlon(0.1, 0.2, 0.3, inf, &lat, &lon);
    EXPECT_TRUE(std::isnan(lat));
    latlon(0.1, nan, 0.3, 0.4, &lat, &lon);
    EXPECT_TRUE(std::isnan(lon));
}

} // namespace
