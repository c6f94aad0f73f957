#!/usr/bin/env bash
# Times GMT drawing the map that bench/bench_mapview.cpp times kgrqt-map
# redrawing: the Blue Marble under the azimuthal equidistant projection
# about (20 N, 0 E), 288 x 162 degrees of arc at 1920 x 1080 pixels, with
# national borders and rivers from the crude shorelines database, to PNG.
# (GMT cannot draw the default 360-degree-wide view: its corners lie
# beyond the antipode.) Needs the Debian packages gmt, gmt-gshhg-low,
# ghostscript (GMT's PNG goes through PostScript) and gdal-bin.
#
#   tools/time_gmt_map.sh [runs] [work-directory]
#
# Prints one line per run: wall and user seconds of the whole job (the
# image, the lines and the conversion to PNG), and of the conversion
# alone.
set -euo pipefail
runs=${1:-5}
work=$(realpath -m -- "${2:-$(mktemp -d)}")
mkdir -p "$work"
# GMT runs in a scratch directory of its own, so that its session files
# (gmt.history, gmt.conf) land neither in the work directory nor in the
# tree; the pictures are moved to the work directory afterwards.
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cd "$scratch"
# A georeferenced copy of the Blue Marble picture that kgrqt-mapdata reads.
tif="$work/bluemarble-4326.tif"
[ -f "$tif" ] || gdal_translate -q -a_srs EPSG:4326 -a_ullr -180 90 180 -90 \
    /usr/share/marble/data/maps/earth/bluemarble/bluemarble.jpg "$tif"
# The view in kilometres on GMT's sphere (mean radius 6371.0087714 km).
read -r hw hh < <(awk 'BEGIN { k = 6371.0087714 * 3.141592653589793 / 180;
    printf "%.3f %.3f\n", 144 * k, 81 * k }')
export GMT_SESSION_NAME=kgrqt_map_$$
for i in $(seq "$runs"); do
    rm -f map.png
    /usr/bin/time -f "gmt map (grdimage, coast, PNG): %e s wall, %U s user" bash -c "
        gmt begin map png E72 &&
        gmt grdimage \"$tif\" -R-$hw/$hw/-$hh/$hh+uk -JE0/20/1920p &&
        gmt coast -Dc -N1/1p,red -I1/1p,lightblue &&
        gmt end" </dev/null 2>&1 | grep '^gmt map'
    [ -f map.png ] || { echo "time_gmt_map: GMT wrote no map.png" >&2; exit 1; }
done
[ ! -f map.png ] || mv map.png "$work/map.png"
# The share of the PostScript-to-PNG conversion: the same job to PostScript.
for i in $(seq "$runs"); do
    /usr/bin/time -f "gmt map to PostScript only: %e s wall, %U s user" bash -c "
        gmt begin mapps ps &&
        gmt grdimage \"$tif\" -R-$hw/$hw/-$hh/$hh+uk -JE0/20/1920p &&
        gmt coast -Dc -N1/1p,red -I1/1p,lightblue &&
        gmt end" </dev/null 2>&1 | grep '^gmt map'
done
[ ! -f mapps.ps ] || mv mapps.ps "$work/mapps.ps"
echo "picture: $work/map.png"
