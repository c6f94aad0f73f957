// Great circles on the unit sphere.
//
// Conventions where the direction is not unique:
//  - Coincident points: del = 0, az = 0.
//  - Antipodal points (sin del below rounding level): del = pi, az = 0; every
//    great circle through point 1 reaches point 2, so we head north.
//  - On a pole, az is the limit reached when approaching the pole along
//    meridian lon1 (as PROJ's geod does): from the north pole
//    az = pi - (lon2 - lon1), from the south pole az = lon2 - lon1. latlon
//    reads az the same way, so latlon(dist(...)) lands on point 2.
#include "hx_geodesy.h"

#include <cfloat>
#include <cmath>

namespace {

// Below this sin del, with cos del < 0, the two points are antipodal within
// the rounding of their coordinates and the direction between them is noise.
constexpr double kAntipodalSin = 16 * DBL_EPSILON;

// M_PI_2 is the double nearest pi/2 and stands for the pole; its cosine
// (6e-17) would otherwise give the pole a width and a direction.
double cos_lat(double lat)
{
    return std::fabs(lat) == M_PI_2 ? 0.0 : std::cos(lat);
}

// sin(lat2 - lat1), accurate when the latitudes are close. With a pole
// involved one product is exactly zero, and taking the products keeps the
// result consistent with cos_lat.
double sin_lat_diff(double s1, double c1, double s2, double c2, double lat1, double lat2)
{
    return c1 == 0 || c2 == 0 ? c1 * s2 - s1 * c2 : std::sin(lat2 - lat1);
}

// Exact reduction of a longitude to [-pi, pi].
double normalized_lon(double lon)
{
    return std::remainder(lon, 2 * M_PI);
}

} // namespace

void dist(double lat1, double lon1, double lat2, double lon2, double* del, double* az)
{
    const double s1 = std::sin(lat1), c1 = cos_lat(lat1);
    const double s2 = std::sin(lat2), c2 = cos_lat(lat2);
    const double dlon = lon2 - lon1;
    const double half = std::sin(dlon / 2);

    // East and north components, at point 1, of the chord direction scaled by
    // sin del. The north part is written as sin(lat2 - lat1) plus a
    // correction so that it stays accurate at small separations instead of
    // cancelling two nearly equal products.
    const double east = c2 * std::sin(dlon);
    const double north = sin_lat_diff(s1, c1, s2, c2, lat1, lat2) + 2 * s1 * c2 * half * half;
    const double sin_del = std::hypot(east, north);
    const double cos_del = s1 * s2 + c1 * c2 * std::cos(dlon);

    if (cos_del < 0 && sin_del < kAntipodalSin) {
        *del = M_PI;
        *az = 0;
        return;
    }
    *del = std::atan2(sin_del, cos_del);
    *az = sin_del == 0 ? 0.0 : std::atan2(east, north);
}

void latlon(double lat1, double lon1, double del, double az, double* lat2, double* lon2)
{
    // Exact, and avoids an arbitrary longitude when starting on a pole.
    if (del == 0) {
        *lat2 = lat1;
        *lon2 = normalized_lon(lon1);
        return;
    }
    const double s1 = std::sin(lat1), c1 = cos_lat(lat1);
    const double sd = std::sin(del), cd = std::cos(del);
    const double sa = std::sin(az), ca = std::cos(az);

    // Point 2 in a frame with x towards (0, lon1), y east and z north. Both
    // angles come from atan2, which keeps them accurate near the poles and
    // the equator alike.
    const double x = c1 * cd - s1 * sd * ca;
    const double y = sd * sa;
    const double z = s1 * cd + c1 * sd * ca;
    *lat2 = std::atan2(z, std::hypot(x, y));
    *lon2 = normalized_lon(lon1 + std::atan2(y, x));
}
