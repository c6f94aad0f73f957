#!/usr/bin/env bash
# Regenerates tests/data/proj_reference.tsv with azimuthal equidistant and
# Mercator values from PROJ's proj/invproj (Debian package proj-bin) on a
# sphere of radius 180/pi, so that plane units are degrees.
#
# Row layout (tab separated, angles in degrees):
#   aeqd_fwd  case  latr lonr lat lon   ->  x y
#   aeqd_inv  case  latr lonr x y       ->  lat lon
#   merc_fwd  case  lat lon             ->  x y
#   merc_inv  case  x y                 ->  lat lon
# latr, lonr are +lat_0, +lon_0. proj prints x east and y north, as our
# delx and dely; about a pole the axes are the limit along meridian lonr
# (from the north pole +y points down meridian lonr + 180, from the south
# pole up meridian lonr). "*" marks a point PROJ rejects: the exact antipode
# of aeqd (no direction) and radii beyond 180. Mercator rows at +-90 are
# labelled "pole": the true ordinate is infinite and PROJ prints whatever
# tan(pi/2) rounds to.
#
# Usage: tools/gen_proj_reference.sh [output]
set -euo pipefail

out=$(realpath -m -- "${1:-"$(dirname "$0")/../tests/data/proj_reference.tsv"}")
# The tools run in a scratch directory, so that nothing they leave lands in
# the tree.
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
radius=57.29577951308232
full=(-f %.15f)

awk_lib='
function uniform() { seed = (seed * 16807) % 2147483647; return seed / 2147483647 }
function wrap(lon) { while (lon > 180) lon -= 360; while (lon < -180) lon += 360; return lon }
function asin(x) { return atan2(x, sqrt(1 - x * x)) }
# Shortest text that reads back as the same double.
function num(x,   s) { s = sprintf("%.15g", x); return s + 0 == x ? s : sprintf("%.17g", x) }
function row4(c, a, b, d, e) { print c "\t" num(a) "\t" num(b) "\t" num(d) "\t" num(e) }
function row2(c, a, b) { print c "\t" num(a) "\t" num(b) }
BEGIN { deg = atan2(1, 1) / 45 }
'

# The reference points of aeqd: equator, mid-latitudes, near and at the
# poles, on and next to the date line, and a few random ones.
references() {
    awk "$awk_lib"'
    BEGIN {
        seed = 7
        print "0 0"; print "0 180"; print "45 -120"; print "-33.5 151.2"
        print "10 180"; print "-35 -179.95"; print "60 179.9"
        print "89.9 30"; print "-89.99 -60"; print "90 0"; print "-90 45"; print "90 -170"
        for (i = 0; i < 4; i++)
            printf "%.10g %.10g\n", asin(2 * uniform() - 1) / deg, 360 * uniform() - 180
    }'
}

# case latr lonr lat lon for one reference point: a grid with the poles and
# the date line, the point itself, its antipode, tiny steps from it and
# random points.
forward_cases() {
    awk -v latr="$1" -v lonr="$2" -v seed="$3" "$awk_lib"'
    function label(lat, lon) {
        if (lat == latr && (lat * lat == 8100 || wrap(lon - lonr) == 0)) return "reference"
        if (lat == -latr && (lat * lat == 8100 || wrap(lon - lonr - 180) == 0)) return "antipode"
        return "grid"
    }
    # The point at distance d and azimuth az from the reference (sphere).
    function destination(d, az,   p, s) {
        p = latr * deg; d *= deg; az *= deg
        s = sin(p) * cos(d) + cos(p) * sin(d) * cos(az)
        lat2 = asin(s) / deg
        lon2 = wrap(lonr + atan2(sin(az) * sin(d) * cos(p), cos(d) - sin(p) * s) / deg)
    }
    BEGIN {
        n = split("-90 -89.9 -60 -30 0 30 60 89.9 90", lats, " ")
        m = split("-180 -179.9 -120 -60 0 60 120 179.9 180", lons, " ")
        for (i = 1; i <= n; i++)
            for (j = 1; j <= m; j++) row4(label(lats[i], lons[j]), latr, lonr, lats[i], lons[j])
        row4("reference", latr, lonr, latr, lonr)
        row4("antipode", latr, lonr, -latr, wrap(lonr + 180))
        na = split("0 45 90 135 180 -135 -90 -45 17.3", azs, " ")
        for (j = 1; j <= na; j++) {
            destination(179.9, azs[j])
            row4("near_antipode", latr, lonr, lat2, lon2)
        }
        if (latr + 1e-7 <= 90) row4("tiny", latr, lonr, latr + 1e-7, lonr)
        row4("tiny", latr, lonr, latr, wrap(lonr - 1e-7))
        if (latr - 1e-7 >= -90) row4("tiny", latr, lonr, latr - 1e-7, wrap(lonr + 1e-7))
        for (i = 0; i < 12; i++)
            row4("random", latr, lonr, asin(2 * uniform() - 1) / deg, 360 * uniform() - 180)
    }'
}

# case latr lonr x y for one reference point: rings of radius 0 to 180
# (179.9 reaches next to the antipode), in several directions, and random.
inverse_cases() {
    awk -v latr="$1" -v lonr="$2" -v seed="$3" "$awk_lib"'
    BEGIN {
        row4("origin", latr, lonr, 0, 0)
        nr = split("1e-7 30 90 150 179.9 180", radii, " ")
        na = split("0 45 90 135 180 -135 -90 -45 17.3", azs, " ")
        for (i = 1; i <= nr; i++)
            for (j = 1; j <= na; j++) {
                c = radii[i] == 180 ? "antipode" : radii[i] == 179.9 ? "near_antipode" : "ring"
                row4(c, latr, lonr, radii[i] * sin(azs[j] * deg), radii[i] * cos(azs[j] * deg))
            }
        row4("beyond", latr, lonr, 0, 181)
        for (i = 0; i < 12; i++) {
            r = 180 * sqrt(uniform()); az = 360 * uniform()
            row4("random", latr, lonr, r * sin(az * deg), r * cos(az * deg))
        }
    }'
}

merc_forward_cases() {
    awk "$awk_lib"'
    BEGIN {
        n = split("-90 -89.999999 -89.9 -85 -60 -45 -30 -1e-9 0 1e-9 15 45 60 80 85.0511287798066 89.9 89.999999 90", lats, " ")
        m = split("-180 -179.9 0 37.5 179.9 180", lons, " ")
        for (i = 1; i <= n; i++)
            for (j = 1; j <= m; j++)
                row2(lats[i] == 90 || lats[i] == -90 ? "pole" : "grid", lats[i], lons[j])
    }'
}

merc_inverse_cases() {
    awk "$awk_lib"'
    BEGIN {
        n = split("-100000 -300 -180 -100 -50.4987 -1e-9 0 1e-9 10 100 179.9 180 300 100000", ys, " ")
        m = split("-180 0 120.5 180", xs, " ")
        for (i = 1; i <= n; i++)
            for (j = 1; j <= m; j++) row2("grid", xs[j], ys[i])
    }'
}

# Pastes the cases (from stdin) beside what a PROJ command makes of them.
# $1 is the row kind, $2 how many leading case columns are not coordinates
# to feed (the aeqd reference point), then the command.
emit() {
    local kind=$1 skip=$2
    shift 2
    local cases
    cases=$(cat)
    paste <(printf '%s\n' "$cases") \
        <(printf '%s\n' "$cases" | cut -f$((skip + 2))- | "$@") |
        awk -v kind="$kind" 'BEGIN { OFS = "\t" } { print kind, $0 }'
}

{
    echo "# Generated by tools/gen_proj_reference.sh with PROJ $(proj 2>&1 | head -n 1 || true)"
    echo "# on a sphere of radius 180/pi; '*' marks a point PROJ rejects."
    echo "# aeqd_fwd case latr lonr lat lon x y; aeqd_inv case latr lonr x y lat lon;"
    echo "# merc_fwd case lat lon x y; merc_inv case x y lat lon"
    seed=11
    while read -r latr lonr; do
        aeqd=(+proj=aeqd "+R=$radius" "+lat_0=$latr" "+lon_0=$lonr")
        # proj -r reads lat lon; invproj -s writes lat lon.
        forward_cases "$latr" "$lonr" "$seed" | emit aeqd_fwd 2 proj -r "${full[@]}" "${aeqd[@]}"
        inverse_cases "$latr" "$lonr" "$((seed + 1))" |
            emit aeqd_inv 2 invproj -s "${full[@]}" "${aeqd[@]}"
        seed=$((seed + 2))
    done < <(references)
    merc=(+proj=merc "+R=$radius")
    merc_forward_cases | emit merc_fwd 0 proj -r "${full[@]}" "${merc[@]}"
    merc_inverse_cases | emit merc_inv 0 invproj -s "${full[@]}" "${merc[@]}"
} >"$out"
echo "wrote $(grep -vc '^#' "$out") rows to $out"
