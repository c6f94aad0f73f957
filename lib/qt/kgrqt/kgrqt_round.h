// Pixel rounding shared by the drawing code (not installed).
#ifndef KGRQT_ROUND_H
#define KGRQT_ROUND_H

#include <climits>

// A value brought into the int range (NaN to 0), so that no conversion to
// int overflows whatever the input.
inline double kgrqt_pin(double v)
{
    if (v != v)
        return 0.0;
    if (v < INT_MIN + 1.0)
        return INT_MIN + 1.0;
    if (v > INT_MAX - 1.0)
        return INT_MAX - 1.0;
    return v;
}

// Half away from zero, as pixel positions are rounded throughout.
inline int kgrqt_round(double v)
{
    v = kgrqt_pin(v);
    return static_cast<int>(v < 0.0 ? v - 0.5 : v + 0.5);
}

// Truncation toward zero.
inline int kgrqt_trunc(double v)
{
    return static_cast<int>(kgrqt_pin(v));
}

#endif
