#!/usr/bin/env bash
# Regenerates tests/data/great_circle_reference.tsv: points equally spaced
# along great circles, from PROJ's geod (Debian package proj-bin) in its
# path form (+lat_1 +lon_1 +lat_2 +lon_2 +n_S), on the sphere of radius
# 180/pi that tools/gen_geod_reference.sh uses. The path form gives the
# points that geod -I (distance and azimuth) followed by forward steps of
# distance/n gives, to within 3e-14 degrees.
#
# Row layout (tab separated, angles in degrees), one row per point:
#   case  lat1 lon1 lat2 lon2  n  i  lat lon
# where point i of n + 1 lies i/n of the way from point 1 to point 2.
#
# Usage: tools/gen_great_circle_reference.sh [output]
set -euo pipefail

out=${1:-"$(dirname "$0")/../tests/data/great_circle_reference.tsv"}
out=$(realpath -m "$out")
radius=57.29577951308232
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

# case lat1 lon1 lat2 lon2 n, from a Park-Miller generator (portable across
# awk implementations, unlike srand/rand).
awk '
function uniform() { seed = (seed * 16807) % 2147483647; return seed / 2147483647 }
function wrap(lon) { while (lon > 180) lon -= 360; while (lon < -180) lon += 360; return lon }
function asin(x) { return atan2(x, sqrt(1 - x * x)) }
function random_lat() { return asin(2 * uniform() - 1) * 45 / atan2(1, 1) }
function random_lon() { return 360 * uniform() - 180 }
function pair(c, a, b, d, e, n) { printf "%s\t%.12g\t%.12g\t%.12g\t%.12g\t%d\n", c, a, b, d, e, n }
BEGIN {
    seed = 20240607
    n = split("0 0|45 -120|-30 179.9|10 180|-45 -180|90 0|-90 77|89.9 10", pts, "|")
    for (i = 1; i <= n; i++) { split(pts[i], p, " "); pair("coincident", p[1], p[2], p[1], p[2], 8) }
    pair("coincident", 90, 0, 90, 120, 8)
    pair("coincident", 0, -180, 0, 180, 8)

    n = split("1 45 90 135 179 179.9 -30 -120 -179.9", dl, " ")
    for (i = 1; i <= n; i++) pair("equator", 0, 0, 0, dl[i], 8)
    pair("equator", 0, -170, 0, 170, 8)
    pair("equator", 0, 170, 0, -170, 8)
    pair("equator", 0, 100, 0, -100, 8)

    pair("meridian", -60, 30, 75, 30, 8)
    pair("meridian", 10, -150, -80, -150, 8)
    pair("meridian", 0, 180, 89.9, 180, 8)
    pair("meridian", 0, -90, -89.9, -90, 8)
    pair("meridian", -89.9, 0, 89.9, 0, 8)
    pair("meridian", 45, 60, 44, 60, 8)

    # Over a pole: the two points on opposite meridians.
    pair("pole_crossing", 60, 10, 70, -170, 8)
    pair("pole_crossing", -50, 45, -80, -135, 8)
    pair("pole_crossing", 80, 0, 80, 180, 8)
    pair("pole_crossing", -89, 90, -89, -90, 8)
    pair("pole_crossing", 10, -30, 20, 150, 8)
    pair("pole_crossing", 75, 100, 60, -70, 8)
    pair("pole_crossing", -20, 170, -40, -20, 8)

    n = split("-60 0 45 89.9 -89.9", plats, " ")
    m = split("-150 0 120", plons, " ")
    for (pole = -90; pole <= 90; pole += 180)
        for (i = 1; i <= n; i++)
            for (j = 1; j <= m; j++) {
                if ((i + j) % 2) pair("from_pole", pole, 0, plats[i], plons[j], 8)
                else pair("to_pole", plats[i], plons[j], pole, 30, 8)
            }

    n = split("-60 0 30 75", dlats, " ")
    for (i = 1; i <= n; i++) {
        pair("date_line", dlats[i], 179.9, dlats[i], -179.9, 8)
        pair("date_line", dlats[i], -179.9, dlats[i], 179.9, 8)
        pair("date_line", dlats[i], 170, -dlats[i] / 2, -150, 8)
        pair("date_line", dlats[i], -100, dlats[i] + 5, 120, 8)
    }

    # Every great circle through two antipodes joins them.
    n = split("0 0|30 10|-45 -170|60 180|-12.5 33.3", ap, "|")
    for (i = 1; i <= n; i++) {
        split(ap[i], p, " ")
        pair("antipode", p[1], p[2], -p[1], wrap(p[2] + 180), 8)
    }
    pair("antipode", 90, 0, -90, 50, 8)
    pair("antipode", -90, 30, 90, -100, 8)

    # Near antipodes: the direction is fixed by a small offset only.
    n = split("0.1 0.01 0.001", offs, " ")
    for (i = 1; i <= 5; i++)
        for (j = 1; j <= n; j++) {
            split(ap[i], p, " ")
            d = offs[j]
            if (i % 3 == 0) pair("near_antipode", p[1], p[2], -p[1] + d, wrap(p[2] + 180), 8)
            else if (i % 3 == 1) pair("near_antipode", p[1], p[2], -p[1], wrap(p[2] + 180 - d), 8)
            else pair("near_antipode", p[1], p[2], -p[1] - d, wrap(p[2] + 180 + d), 8)
        }

    # Closer still the degrees-to-radians rounding of the coordinates
    # outweighs 1e-9 degrees; the test holds these to a bound for that.
    n = split("0.0001 0.00001 0.000001", offs, " ")
    for (i = 1; i <= 3; i++)
        for (j = 1; j <= n; j++) {
            split(ap[i], p, " ")
            d = offs[j]
            if (i == 1) pair("near_antipode_limit", p[1], p[2], -p[1], wrap(p[2] + 180 - d), 8)
            else pair("near_antipode_limit", p[1], p[2], -p[1] - d, wrap(p[2] + 180 + d), 8)
        }

    n = split("0 10|45 -120|-60 30|89.9 0|0 179.9999999", tp, "|")
    for (i = 1; i <= n; i++) {
        split(tp[i], p, " ")
        pair("short", p[1], p[2], p[1] + 1e-7, wrap(p[2] + 1e-7), 8)
        pair("short", p[1], p[2], p[1] - 0.01, p[2], 8)
    }

    # The number of steps: one step is the two end points.
    n = split("1 2 3 5 16 50", steps, " ")
    for (i = 1; i <= n; i++) {
        pair("steps", 35, -5, -20, 140, steps[i])
        pair("steps", random_lat(), random_lon(), random_lat(), random_lon(), steps[i])
    }

    for (i = 0; i < 130; i++)
        pair("random", random_lat(), random_lon(), random_lat(), random_lon(), 8)
}' >cases.tsv

while IFS=$'\t' read -r label lat1 lon1 lat2 lon2 n; do
    geod "+R=$radius" "+lat_1=$lat1" "+lon_1=$lon1" "+lat_2=$lat2" "+lon_2=$lon2" "+n_S=$n" \
        -f %.15f -F %.15f |
        awk -F'\t' -v c="$label	$lat1	$lon1	$lat2	$lon2	$n" \
            'BEGIN { OFS = "\t" } { print c, NR - 1, $1, $2 }'
done <cases.tsv >points.tsv

pairs=$(wc -l <cases.tsv)
{
    echo "# Generated by tools/gen_great_circle_reference.sh with geod $(geod 2>&1 | head -n 1 || true); do not edit."
    echo "# case lat1 lon1 lat2 lon2 n i lat lon: point i of the n + 1 from point 1 to point 2"
    cat points.tsv
} >"$out"
echo "wrote $pairs pairs, $(wc -l <points.tsv) points to $out"
