// Drives the map projections with numbers taken from the input, bad ones
// included (NaN, infinities, huge values, the 2e30 break mark). Nothing may
// hang or crash, and what comes out keeps to its range: a latitude within
// +-90, a longitude within +-180 where one is promised, an equidistant
// offset within 180 of the centre; NaN is always allowed.
#include "kgrqt.h"

#include <cfloat>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace {

// Relative slack for values that sit on the edge of their range.
constexpr double kSlack = 1 + 1e-12;

// Numbers from the input: a byte below 32 picks a value that is hard to hit
// from random bits; any other byte is followed by the 8 bytes of a double.
class Numbers {
public:
    Numbers(const uint8_t* data, size_t size) : data_(data), size_(size) {}

    double next()
    {
        static const double kSpecial[32] = {std::numeric_limits<double>::quiet_NaN(),
                                            INFINITY,
                                            -INFINITY,
                                            0.0,
                                            -0.0,
                                            90.0,
                                            -90.0,
                                            180.0,
                                            -180.0,
                                            360.0,
                                            1e300,
                                            -1e300,
                                            KGR_UNSET,
                                            -KGR_UNSET,
                                            DBL_MAX,
                                            -DBL_MAX,
                                            4.6e18,
                                            -4.6e18,
                                            DBL_TRUE_MIN,
                                            1e-300,
                                            179.9,
                                            -179.9,
                                            89.9,
                                            0.0001,
                                            -0.0001,
                                            100000.0,
                                            -100000.0,
                                            45.0,
                                            30.0,
                                            540.0,
                                            std::nextafter(90.0, 0.0),
                                            std::nextafter(180.0, 200.0)};
        if (pos_ >= size_)
            return 0;
        const uint8_t tag = data_[pos_++];
        if (tag < 32)
            return kSpecial[tag];
        double v = 0;
        const size_t n = size_ - pos_ < sizeof v ? size_ - pos_ : sizeof v;
        std::memcpy(&v, data_ + pos_, n);
        pos_ += n;
        return v;
    }
    bool more() const { return pos_ < size_; }

private:
    const uint8_t* data_;
    size_t size_;
    size_t pos_ = 0;
};

void require(bool ok)
{
    if (!ok)
        abort();
}

bool within(double v, double limit)
{
    return std::isnan(v) || std::fabs(v) <= limit * kSlack;
}

void check_mercator(double v)
{
    const double y = kgrqt_mercator_y(v);
    require(std::isnan(y) == std::isnan(v));
    require(within(y, 100000.0));
    if (v >= 90)
        require(y == 100000.0);
    const double lat = kgrqt_mercator_lat(v);
    require(std::isnan(lat) == std::isnan(v));
    require(within(lat, 90));
}

void check_equidistant(double latr, double lonr, double a, double b)
{
    HXMapTransform t(latr, lonr);
    double x, y, lat, lon, north;

    t.edpLatlon2delxy(a, b, &x, &y);
    require(within(std::hypot(x, y), 180));
    kgrqt_latlon2edp(latr, lonr, a, b, &x, &y);
    require(within(std::hypot(x, y), 180));
    kgrqt_latlon2edp2(latr, lonr, a, b, &x, &y, &north);
    require(within(north, 180));

    // An offset whose square underflows counts as the origin, which returns
    // the reference point as given.
    const bool origin = std::sqrt(a * a + b * b) == 0;
    t.edpDelxy2latlon(a, b, &lat, &lon);
    require(origin || (within(lat, 90) && within(lon, 180)));
    kgrqt_edp2latlon(latr, lonr, a, b, &lat, &lon);
    require(origin || (within(lat, 90) && within(lon, 180)));
}

void check_box(Numbers& in)
{
    const double latc = in.next(), lonc = in.next();
    const double x0 = in.next(), x1 = in.next(), y0 = in.next(), y1 = in.next();
    double latmn, latmx, lonmn, lonmx;
    kgrqt_delbox2llbox(latc, lonc, x0, x1, y0, y1, &latmn, &latmx, &lonmn, &lonmx);
    // A sample on the centre returns the centre as given, in range or not.
    if (within(latc, 90))
        require(within(latmn, 90) && within(latmx, 90));
}

void check_limit(double x, double y)
{
    viewport_limit_edp_bb(&x, &y);
    require(within(std::hypot(x, y), 180) || !std::isfinite(x) || !std::isfinite(y));
}

// Unwrapping never jumps by more than 180 between moderate values.
void check_wrap(Numbers& in)
{
    ViewportWrapLongitude w(in.next());
    double last = w.lon_last;
    for (int i = 0; i < 64 && in.more(); ++i) {
        const double lon = in.next();
        const double out = w.wrapLongitude(lon);
        const bool moderate = std::fabs(lon) < 1e9 && std::fabs(last) < 1e9;
        if (moderate)
            require(std::fabs(out - last) <= 180 * kSlack);
        last = out;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    Numbers in(data, size);
    const double latr = in.next(), lonr = in.next(), a = in.next(), b = in.next();
    check_mercator(a);
    check_mercator(b);
    check_equidistant(latr, lonr, a, b);
    check_limit(a, b);
    check_box(in);
    check_wrap(in);
    return 0;
}
