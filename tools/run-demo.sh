#!/usr/bin/env bash
# Installs what is missing, builds, makes the map data when it is missing
# and shows the world with kgrqt-map: a window when there is a display,
# otherwise a PNG snapshot whose path it prints. Arguments go to kgrqt-map
# (options: build/bin/kgrqt-map --bogus lists them).
#   tools/run-demo.sh [kgrqt-map options]
#   tools/run-demo.sh --plot [kgrqt-plot options and FILE]   the trace plotter
#                                        (on data/sample.mseed without arguments)
#   tools/run-demo.sh --plot --catalogue data/catalogue.txt   the events on a map
# It also builds the sample event database (build/data/sample-events.db)
# when missing; kgrqt-evfeed replays into another one:
#   build/bin/kgrqt-evfeed --speed 60 build/data/live.db data/earthquakes.txt
set -euo pipefail
cd "$(dirname "$0")/.."
bash tools/bootstrap.sh
cmake -S . -B build >/dev/null
cmake --build build -j"$(nproc)" --target kgrqt-map kgrqt-plot kgrqt-example kgrqt-evimport \
    kgrqt-evfeed
# The sample event database, from the bundled catalogues.
if [ ! -f build/data/sample-events.db ]; then
    mkdir -p build/data
    build/bin/kgrqt-evimport build/data/sample-events.db data/earthquakes.txt data/quakes-mt.xml
fi
if [ "${1:-}" = --plot ]; then
    shift
    [ $# -eq 0 ] && set -- data/sample.mseed
    exec build/bin/kgrqt-plot "$@"
fi
# The map data: in the standard directory when it can be written there,
# else in the build directory.
dir="${KGRQT_MAPDATA_DIR:-/opt/larkspur/data/maps/kmd}"
if [ ! -f "$dir/coasts.vector.kmd" ] && ! { mkdir -p "$dir" 2>/dev/null && [ -w "$dir" ]; }; then
    export KGRQT_MAPDATA_DIR="$PWD/build/mapdata"
fi
bash tools/install-mapdata.sh build
exec build/bin/kgrqt-map "$@"
