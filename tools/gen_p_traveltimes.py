#!/usr/bin/env python3
"""First-arriving P travel times of a surface focus in the iasp91 model.

Prints the table that kgrqt-evfeed interpolates (apps/kgrqt-evfeed/main.cpp):
seconds at every STEP degrees from 0 to MAX degrees (98: P grazes the
core there), and the slope that continues it. With --check it
compares the times at 23 to 28 degrees with those printed in the IASP91
tables (Kennett 1991, as quoted by Knapmeyer's TTBOX validation data).

The velocity model is iasp91 (Kennett and Engdahl 1991, Geophys. J. Int.
105, 429-465): P velocity as a polynomial in x = r / 6371 km in each of
its regions, down to the core-mantle boundary. The Earth is flattened
(z = R ln(R / r), v = v_sphere R / r), cut into 1 km shells with linear
velocity gradients, and rays are traced through them in closed form for
many ray parameters; at each distance the earliest branch counts.

    tools/gen_p_traveltimes.py [--step 1] [--max 98] [--check]

It takes a minute or two.
"""
import argparse
import math

R = 6371.0
# Upper radius (km) of each region and its P velocity polynomial in x.
REGIONS = [
    (3482.0, None),  # the core: no P ray of the mantle goes there
    (3631.0, (14.49470, -1.47089)),
    (5611.0, (25.14860, -41.15380, 51.99320, -26.60830)),
    (5711.0, (25.96984, -16.93412)),
    (5961.0, (29.38896, -21.40656)),
    (6161.0, (30.78765, -23.25415)),
    (6251.0, (25.41389, -17.69722)),
    (6336.0, (8.78541, -0.74953)),
    (6351.0, (6.5,)),
    (6371.0, (5.8,)),
]
CMB = 3482.0


def velocity(coef, r):
    x = r / R
    return sum(c * x**i for i, c in enumerate(coef))


def shells(dz=1.0):
    """Flattened shells from the surface down: (z_top, z_bottom, v_top, v_bottom)."""
    out = []
    bottom = CMB
    for top, coef in REGIONS:
        if coef is not None:
            n = max(1, int(math.ceil((top - bottom) / dz)))
            for i in range(n):
                r1 = top - (top - bottom) * i / n
                r2 = top - (top - bottom) * (i + 1) / n
                out.append((R * math.log(R / r1), R * math.log(R / r2),
                            velocity(coef, r1) * R / r1, velocity(coef, r2) * R / r2))
        bottom = top
    return sorted(out)


def trace(layers, p):
    """Distance (degrees) and time (s) of the ray with flat ray parameter p (s/km),
    or None when it reaches the core (or cannot leave the surface layer)."""
    x = t = 0.0
    for z1, z2, v1, v2 in layers:
        c1 = 1 - (p * v1)**2
        if c1 <= 0:
            # Reflected from a discontinuity it cannot enter: a later
            # branch than the refracted ones, which the minimum passes over.
            return (2 * x / R * 180 / math.pi, 2 * t) if x > 0 else None
        g = (v2 - v1) / (z2 - z1)
        turns = p * v2 >= 1
        if turns:
            v2 = 1 / p  # the ray turns inside the shell
        s1, s2 = math.sqrt(c1), math.sqrt(max(0.0, 1 - (p * v2)**2))
        if abs(g) > 1e-12:
            x += (s1 - s2) / (g * p)
            t += (math.log((1 + s1) / (p * v1)) - math.log((1 + s2) / (p * v2))) / g
        else:
            x += (z2 - z1) * p * v1 / s1
            t += (z2 - z1) / (v1 * s1)
        if turns:
            return 2 * x / R * 180 / math.pi, 2 * t
    return None


def branches(layers, n=20000):
    """(distance, time) of rays whose take-off angles from the surface run
    evenly from vertical to horizontal (dense where distances are short)."""
    vs = layers[0][2]
    pts = []
    for i in range(1, n):
        p = math.sin(math.pi / 2 * i / n) / vs
        r = trace(layers, p)
        if r:
            pts.append(r)
    return pts


def grazing_slope():
    """dT/d(distance) in s/degree of the ray grazing the core-mantle boundary:
    beyond it P is diffracted along the core with this slope."""
    v = velocity(REGIONS[1][1], CMB)
    return CMB / v * math.pi / 180


def first_arrival(pts, delta):
    best = None
    for (x1, t1), (x2, t2) in zip(pts, pts[1:]):
        if min(x1, x2) <= delta <= max(x1, x2) and x1 != x2:
            t = t1 + (t2 - t1) * (delta - x1) / (x2 - x1)
            best = t if best is None else min(best, t)
    return best


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("--step", type=float, default=1)
    ap.add_argument("--max", type=float, default=98)
    ap.add_argument("--check", action="store_true")
    a = ap.parse_args()
    layers = shells()
    pts = branches(layers)
    if a.check:
        booklet = {23: 306.34, 24: 316.31, 25: 325.43, 26: 334.51, 27: 343.54, 28: 352.50}
        for d, ref in booklet.items():
            t = first_arrival(pts, d)
            print(f"{d:3d} deg  {t:8.2f} s  booklet {ref:8.2f} s  difference {t - ref:+.2f} s")
        return
    k = 0
    row = []
    while k * a.step <= a.max + 1e-9:
        d = k * a.step
        t = 0.0 if d == 0 else first_arrival(pts, d)
        if t is None:
            break
        row.append(f"{t:.1f}")
        k += 1
    print(f"// every {a.step:g} degrees from 0 to {(k - 1) * a.step:g}")
    print(", ".join(row))
    print(f"// beyond: {grazing_slope():.3f} s/degree (diffracted P)")


if __name__ == "__main__":
    main()
