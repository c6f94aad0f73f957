// Map projections between geographic coordinates and a viewport's world
// coordinates: the Mercator ordinate, the azimuthal equidistant projection
// (by unit vectors in HXMapTransform, through the geodesy library in the
// kgrqt_* functions), the latitude-longitude box of an equidistant
// rectangle, and longitude unwrapping along a line.
//
// All angles are degrees. Bad numbers never hang the longitude loops: each
// crosses a wide gap by whole turns at once and stops where a step of 360
// vanishes in rounding. NaN passes through; an infinite longitude that is to
// be brought into a range comes out as NaN.
#include "hxutil.h"
#include "kgrqt_engine.h"

#include <cmath>

namespace {

constexpr double d2r = 0.017453292519943295;
constexpr double r2d = 57.29577951308232;
constexpr double kPi = 3.141592653589793;
constexpr double kHalfPi = 1.5707963267948966;
constexpr double kQuarterPi = 0.7853981633974483;

// Ordinate given to the poles, which Mercator sends to infinity.
constexpr double kMercatorPole = 100000.0;

// The longitude loops step by 360 degrees. A gap wider than this is first
// closed by whole turns (fmod is exact), so that a value like 1e300 takes a
// few steps rather than forever.
constexpr double kStepLimit = 360.0 * 16;

// Degrees of sample x within which delbox2llbox treats a sample as on the
// central meridian.
constexpr double kMeridianBand = 0.0001;

// while (lon > hi) lon -= 360; in bounded time. The loop also stops where
// 360 is below the rounding step of lon (|lon| from 2^63 up).
double step_down_to(double lon, double hi)
{
    if (lon - hi > kStepLimit)
        lon = hi + std::fmod(lon - hi, 360.0);
    while (lon > hi && lon - 360 != lon)
        lon -= 360;
    return lon;
}

// while (lon < lo) lon += 360; in bounded time.
double step_up_to(double lon, double lo)
{
    if (lo - lon > kStepLimit)
        lon = lo - std::fmod(lo - lon, 360.0);
    while (lon < lo && lon + 360 != lon)
        lon += 360;
    return lon;
}

// Longitude into [-180, 180]; an infinite one becomes NaN.
double normalize_longitude(double lon)
{
    return step_up_to(step_down_to(lon, 180.0), -180.0);
}

// A sample of kgrqt_delbox2llbox: the point at (x, y) of the plane about
// (latc, lonc), its longitude taken on the side of lonc that x points to so
// that a box across the date line stays contiguous.
void delbox_sample(double latc, double lonc, double x, double y, double* lat, double* lon)
{
    kgrqt_edp2latlon(latc, lonc, x, y, lat, lon);
    if (x < -kMeridianBand) {
        *lon = step_down_to(*lon, lonc);
    } else if (x > kMeridianBand) {
        *lon = step_up_to(*lon, lonc);
    } else {
        *lon = step_down_to(*lon, lonc + 180);
        *lon = step_up_to(*lon, lonc - 180);
    }
}

// Least (sign 1) or greatest (sign -1) latitude along the horizontal edge
// at y, over its first corner and ten steps of dx.
double edge_latitude_extreme(double latc, double lonc, double x0, double dx, double y, int sign)
{
    double best, lon;
    kgrqt_edp2latlon(latc, lonc, x0, y, &best, &lon);
    for (int i = 0; i < 10; ++i) {
        double lat;
        kgrqt_edp2latlon(latc, lonc, x0 + (i + 1) * dx, y, &lat, &lon);
        if (sign * lat < sign * best)
            best = lat;
    }
    return best;
}

// The equidistant offset, in degrees, of the point (lat, lon) from (latr,
// lonr), all four in radians.
void edp_offset(double latr, double lonr, double lat, double lon, double* delx, double* dely)
{
    double del, az;
    dist(latr, lonr, lat, lon, &del, &az);
    del *= r2d;
    *delx = std::sin(az) * del;
    *dely = std::cos(az) * del;
}

} // namespace

double kgrqt_mercator_y(double lat)
{
    // The clamps keep a pole finite: far off the plot, never infinity.
    if (lat >= 90)
        return kMercatorPole;
    if (lat <= -90)
        return -kMercatorPole;
    return std::log(std::tan(lat * kHalfPi / 180 + kQuarterPi)) * 180 / kPi;
}

double kgrqt_mercator_lat(double y)
{
    return 2 * (std::atan(std::exp(y * kPi / 180)) - kQuarterPi) * 180 / kPi;
}

HXMapTransform::HXMapTransform(double latr, double lonr)
    : latr(latr), lonr(lonr), clat(std::cos(latr * d2r)), slat(std::sin(latr * d2r))
{
}

void HXMapTransform::edpLatlon2delxy(double lat, double lon, double* delx, double* dely)
{
    // The point as a unit vector, x axis through the reference meridian.
    const double phi = lat * d2r;
    const double sl = std::sin(phi), cl = std::cos(phi);
    const double lambda = (lon - lonr) * d2r;
    const double X = std::cos(lambda) * cl, Y = std::sin(lambda) * cl, Z = sl;

    // Its offset from the reference point, in the reference's local frame
    // (A up, B east, C north). The chord gives the arc without acos, which
    // would lose the short distances.
    const double dX = X - clat, dZ = Z - slat;
    const double A = clat * dX + slat * dZ;
    const double B = Y;
    const double C = -slat * dX + clat * dZ;
    const double chord = std::sqrt(A * A + B * B + C * C);
    // Next to the antipode rounding can make the chord a hair longer than
    // the diameter, where asin would give NaN.
    const double half = 0.5 * chord;
    const double dist = 2 * std::asin(half > 1 ? 1 : half) * r2d;

    // On the reference point and its antipode there is no direction: north.
    if (B == 0 && C == 0) {
        *delx = 0;
        *dely = dist;
        return;
    }
    const double h = std::sqrt(B * B + C * C);
    *delx = dist * B / h;
    *dely = dist * C / h;
}

void HXMapTransform::edpDelxy2latlon(double delx, double dely, double* lat, double* lon)
{
    const double r = std::sqrt(delx * delx + dely * dely);
    if (r == 0) {
        *lat = latr;
        *lon = lonr;
        return;
    }
    const double ux = (1 / r) * delx, uy = (1 / r) * dely;
    const double rho = r * d2r;
    const double s = std::sin(rho), c = std::cos(rho);

    // a and b point the opposite way to the reference meridian's frame,
    // which the 180 added below undoes.
    const double t = s * uy;
    const double a = slat * t - clat * c;
    const double b = -s * ux;
    const double z = clat * t + slat * c;
    double la, lo;
    if (a == 0 && b == 0) {
        lo = 0;
        la = z > 0 ? kHalfPi : z < 0 ? -kHalfPi : 0;
    } else {
        lo = std::atan2(b, a);
        la = std::atan2(z, std::sqrt(a * a + b * b));
    }
    *lat = la * r2d;
    *lon = normalize_longitude(lo * r2d + (lonr + 180.0));
}

ViewportWrapLongitude::ViewportWrapLongitude(double lon) : lon_last(lon), offset(0) {}

double ViewportWrapLongitude::wrapLongitude(double lon)
{
    // Steps of 360, or of whole turns at once across a wide gap. They stop
    // where they no longer bring lon nearer: a gap that is not finite, or
    // values so large that 360 vanishes in their rounding.
    double d = offset + lon - lon_last;
    while (d > 180 || d < -180) {
        double shift = d > 180 ? 360 : -360;
        if (std::fabs(d) > kStepLimit)
            shift = d - std::fmod(d, 360.0);
        const double next = offset - shift;
        const double d_next = next + lon - lon_last;
        if (!(std::fabs(d_next) < std::fabs(d)))
            break;
        offset = next;
        d = d_next;
    }
    lon_last = lon + offset;
    return lon_last;
}

void kgrqt_latlon2edp(double latr, double lonr, double lat, double lon, double* delx, double* dely)
{
    if (lat == latr && lon == lonr) {
        *delx = 0;
        *dely = 0;
        return;
    }
    edp_offset(latr * d2r, lonr * d2r, lat * d2r, lon * d2r, delx, dely);
}

void kgrqt_latlon2edp2(double latr, double lonr, double lat, double lon, double* delx, double* dely,
                       double* north)
{
    if (lat == latr && lon == lonr) {
        *delx = 0;
        *dely = 0;
        *north = 0;
        return;
    }
    kgrqt_latlon2edp(latr, lonr, lat, lon, delx, dely);

    // North is where a step of 0.001 radian of latitude (about 0.057
    // degrees) moves the point in the plane.
    double delx_north, dely_north;
    edp_offset(latr * d2r, lonr * d2r, lat * d2r + 0.001, lon * d2r, &delx_north, &dely_north);
    *north = std::atan2(delx_north - *delx, dely_north - *dely) * 180.0 / kPi;
}

void kgrqt_edp2latlon(double latr, double lonr, double delx, double dely, double* lat, double* lon)
{
    if (delx == 0 && dely == 0) {
        *lat = latr;
        *lon = lonr;
        return;
    }
    const double del = std::sqrt(delx * delx + dely * dely) * d2r;
    const double az = std::atan2(delx, dely);
    latlon(latr * d2r, lonr * d2r, del, az, lat, lon);
    *lat *= r2d;
    *lon *= r2d;
}

void kgrqt_delbox2llbox(double xlatc, double xlonc, double xdelmn, double xdelmx, double ydelmn,
                        double ydelmx, double* xlatmn, double* xlatmx, double* xlonmn,
                        double* xlonmx)
{
    const double dx = (xdelmx - xdelmn) * 0.1;
    const double dy = (ydelmx - ydelmn) * 0.1;

    // A box holding a pole spans every longitude; only the far edge's
    // latitude is left to find.
    if (xlatc + ydelmx >= 90.0) {
        *xlatmx = 90;
        *xlonmn = 0;
        *xlonmx = 360;
        *xlatmn = xlatc + ydelmn <= -90.0
                      ? -90
                      : edge_latitude_extreme(xlatc, xlonc, xdelmn, dx, ydelmn, 1);
        return;
    }
    if (xlatc + ydelmn <= -90.0) {
        *xlatmn = -90;
        *xlonmn = 0;
        *xlonmx = 360;
        *xlatmx = edge_latitude_extreme(xlatc, xlonc, xdelmn, dx, ydelmx, -1);
        return;
    }

    double lat, lon;
    delbox_sample(xlatc, xlonc, xdelmn, ydelmn, &lat, &lon);
    *xlatmn = *xlatmx = lat;
    *xlonmn = *xlonmx = lon;
    // Bottom, right, top and left edges, ten steps each from their start.
    struct Edge {
        double x0, dx, y0, dy;
    };
    const Edge edges[] = {{xdelmn, dx, ydelmn, 0},
                          {xdelmx, 0, ydelmn, dy},
                          {xdelmn, dx, ydelmx, 0},
                          {xdelmn, 0, ydelmn, dy}};
    for (const Edge& e : edges) {
        for (int i = 0; i < 10; ++i) {
            delbox_sample(xlatc, xlonc, e.x0 + (i + 1) * e.dx, e.y0 + (i + 1) * e.dy, &lat, &lon);
            if (lat < *xlatmn)
                *xlatmn = lat;
            if (lat > *xlatmx)
                *xlatmx = lat;
            if (lon < *xlonmn)
                *xlonmn = lon;
            if (lon > *xlonmx)
                *xlonmx = lon;
        }
    }
}

void viewport_limit_edp_bb(double* x, double* y)
{
    // hypot, not sqrt(x*x + y*y): a huge offset must not overflow to an
    // infinite radius and collapse onto the origin.
    const double r = std::hypot(*x, *y);
    if (r > 180) {
        *x *= 180 / r;
        *y *= 180 / r;
    }
}
