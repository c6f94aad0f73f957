#!/usr/bin/env bash
# Regenerates tests/data/geod_reference.tsv with great-circle values from
# PROJ's geod (Debian package proj-bin) on a sphere of radius 180/pi, so that
# distances read in degrees of arc.
#
# Row layout (tab separated, angles in degrees):
#   inverse  case  lat1 lon1 lat2 lon2  ->  dist az
#   direct   case  lat1 lon1 az   dist  ->  lat2 lon2
# az is the forward azimuth at point 1, clockwise from north.
#
# Usage: tools/gen_geod_reference.sh [output]
set -euo pipefail

out=$(realpath -m -- "${1:-"$(dirname "$0")/../tests/data/geod_reference.tsv"}")
# The tools run in a scratch directory, so that nothing they leave lands in
# the tree.
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
radius=57.29577951308232
geod_cmd=(geod "+R=$radius" -f %.15f -F %.15f)

# Shared awk helpers: a Park-Miller generator (portable across awk
# implementations, unlike srand/rand) and longitude wrapping.
awk_lib='
function uniform() { seed = (seed * 16807) % 2147483647; return seed / 2147483647 }
function wrap(lon) { while (lon > 180) lon -= 360; while (lon < -180) lon += 360; return lon }
function asin(x) { return atan2(x, sqrt(1 - x * x)) }
function random_lat() { return asin(2 * uniform() - 1) * 45 / atan2(1, 1) }
function random_lon() { return 360 * uniform() - 180 }
function row(c, a, b, d, e) { printf "%s\t%.12g\t%.12g\t%.12g\t%.12g\n", c, a, b, d, e }
'

# case lat1 lon1 lat2 lon2
inverse_cases() {
    awk "$awk_lib"'
    BEGIN {
        seed = 42
        n = split("0 0|45 -120|-30 179.9|89.9 10|90 0|-90 0|10 180|-45 -180", pts, "|")
        for (i = 1; i <= n; i++) { split(pts[i], p, " "); row("coincident", p[1], p[2], p[1], p[2]) }
        row("coincident", 90, 0, 90, 120)
        row("coincident", -90, -45, -90, 170)
        row("coincident", 10, 180, 10, -180)
        row("coincident", 0, -180, 0, 180)

        split("-89.9 -60 0 30 89.9", lats, " ")
        split("-150 0 45 180", lons, " ")
        for (pole = -90; pole <= 90; pole += 180)
            for (l1 = 0; l1 <= 75; l1 += 75)
                for (i = 1; i <= 5; i++)
                    for (j = 1; j <= 4; j++) {
                        row("from_pole", pole, l1, lats[i], lons[j])
                        row("to_pole", lats[i], lons[j], pole, l1)
                    }
        row("pole_to_pole", 90, 0, -90, 50)
        row("pole_to_pole", -90, 30, 90, -100)

        split("1 45 90 135 179.9 180 -179.9 -90", dl, " ")
        for (i = 1; i <= 8; i++) row("equator", 0, 0, 0, dl[i])
        row("equator", 0, -170, 0, 170)
        row("equator", 0, 100, 0, -100)

        split("-60 0 30 75", dlats, " ")
        for (i = 1; i <= 4; i++) {
            row("date_line", dlats[i], 179.9, dlats[i], -179.9)
            row("date_line", dlats[i], -179.9, dlats[i], 179.9)
            row("date_line", dlats[i], 179.9, dlats[i] + 1, -179.9)
            row("date_line", dlats[i], -170, -dlats[i] / 2, 170)
        }

        split("0 0|30 10|-45 -170|60 180|89.9 -90|-12.5 33.3", ap, "|")
        for (i = 1; i <= 6; i++) {
            split(ap[i], p, " ")
            row("antipode", p[1], p[2], -p[1], wrap(p[2] + 180))
            row("near_antipode", p[1], p[2], -p[1], wrap(p[2] + 179.9))
            row("near_antipode", p[1], p[2], -p[1] + 0.1, wrap(p[2] + 180))
            row("near_antipode", p[1], p[2], -p[1] - 0.07, wrap(p[2] - 179.93))
        }
        row("near_antipode", 0.05, 20, 0.05, -160)

        split("0 10|45 -120|-60 30|89.9 0|-89.9 100|0 179.99999995", tp, "|")
        for (i = 1; i <= 6; i++) {
            split(tp[i], p, " ")
            row("tiny", p[1], p[2], p[1] + 1e-7, p[2])
            row("tiny", p[1], p[2], p[1], wrap(p[2] + 1e-7))
            row("tiny", p[1], p[2], p[1] - 1e-7, wrap(p[2] - 1e-7))
        }
        row("tiny", 90, 0, 89.9999999, 30)
        row("tiny", -89.9999999, -10, -90, 0)

        for (i = 0; i < 120; i++)
            row("random", random_lat(), random_lon(), random_lat(), random_lon())
    }'
}

# case lat1 lon1 az dist
direct_cases() {
    awk "$awk_lib"'
    BEGIN {
        seed = 4242
        split("-150 0 30 90 180", azs, " ")
        split("10 90 170", dists, " ")
        for (pole = -90; pole <= 90; pole += 180)
            for (l1 = 0; l1 <= 100; l1 += 100)
                for (i = 1; i <= 5; i++)
                    for (j = 1; j <= 3; j++) row("from_pole", pole, l1, azs[i], dists[j])

        row("coincident", 0, 0, 0, 0)
        row("coincident", 45, -120, 77, 0)
        row("coincident", -30, 180, -90, 0)

        split("0 45 -120", aaz, " ")
        for (i = 1; i <= 3; i++) {
            row("antipode", 30, 10, aaz[i], 180)
            row("near_antipode", 30, 10, aaz[i], 179.9)
            row("tiny", 30, 10, aaz[i], 1e-7)
            row("tiny", 89.9999999, 10, aaz[i], 1e-7)
        }
        row("date_line", 10, 179.95, 90, 0.1)
        row("date_line", -20, -179.95, -90, 0.1)
        row("date_line", 60, 170, 80, 30)
        row("equator", 0, 0, 90, 90)
        row("equator", 0, 0, 90, 180)
        row("equator", 0, 170, -90, 350)
        row("long_arc", 10, 20, 45, 200)
        row("long_arc", -40, -60, 135, 359)

        for (i = 0; i < 100; i++)
            row("random", random_lat(), random_lon(), 360 * uniform() - 180, 180 * uniform())
    }'
}

# Runs the cases through geod and writes the rows. $1 is the row kind, then
# the geod options for it; $3 picks the output columns.
emit() {
    local kind=$1 pick=$2
    shift 2
    local cases
    cases=$(cat)
    paste <(printf '%s\n' "$cases") \
        <(printf '%s\n' "$cases" | cut -f2- | "${geod_cmd[@]}" "$@") |
        awk -F'\t' -v kind="$kind" -v pick="$pick" 'BEGIN { OFS = "\t" } {
            split(pick, k, " ")
            print kind, $1, $2, $3, $4, $5, $k[1], $k[2]
        }'
}

{
    echo "# Generated by tools/gen_geod_reference.sh with $(geod 2>&1 | head -n 1 || true)."
    echo "# inverse: kind case lat1 lon1 lat2 lon2 dist az; direct: kind case lat1 lon1 az dist lat2 lon2"
    # geod -I prints az1 az2 dist: columns 6..8 after the five case columns.
    inverse_cases | emit inverse "8 6" -I
    # geod prints lat2 lon2 az2.
    direct_cases | emit direct "6 7"
} >"$out"
echo "wrote $(grep -vc '^#' "$out") rows to $out"
