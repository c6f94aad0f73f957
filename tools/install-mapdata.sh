#!/usr/bin/env bash
# Builds the standard map-data files with kgrqt-mapdata when any is missing
# from the map-data directory ($KGRQT_MAPDATA_DIR, else
# /opt/larkspur/data/maps/kmd). The builder checks its coastline stitching
# as it goes (--check) and fails when a ring is left open.
#   tools/install-mapdata.sh [build-directory]
set -euo pipefail
cd "$(dirname "$0")/.."
build="${1:-build}"
dir="${KGRQT_MAPDATA_DIR:-/opt/larkspur/data/maps/kmd}"
files="coasts.vector.kmd political.vector.kmd rivers.vector.kmd
bluemarble.world.200407.v01.grid.kmd srtm30.dem.world.v01.grid.kmd"
missing=0
for f in $files; do
    [ -f "$dir/$f" ] || missing=1
done
[ "$missing" -eq 0 ] && exit 0
if ! mkdir -p "$dir" 2>/dev/null || [ ! -w "$dir" ]; then
    echo "install-mapdata: $dir is not writable; set KGRQT_MAPDATA_DIR to build the map data elsewhere" >&2
    exit 0
fi
cmake --build "$build" -j"$(nproc)" --target kgrqt-mapdata
# The builder runs gmt, which leaves its history (gmt.history) in the
# working directory: run it in a scratch directory, not in the tree.
builder=$(realpath -- "$build/bin/kgrqt-mapdata")
dir=$(realpath -m -- "$dir")
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
(cd "$scratch" && "$builder" --out "$dir" --check)
