#!/usr/bin/env bash
# Installs what is missing, builds, and plots the bundled miniSEED sample
# with kgrqt-plot: a window when there is a display, otherwise a PNG
# snapshot. Arguments go to kgrqt-plot instead (options and a file), e.g.
#   tools/run-demo.sh --catalogue data/catalogue.txt   (the events on a map)
# It also builds the sample event database (build/data/sample-events.db)
# when missing; kgrqt-evfeed replays into another one:
#   build/bin/kgrqt-evfeed --speed 60 build/data/live.db data/earthquakes.txt
set -euo pipefail
cd "$(dirname "$0")/.."
bash tools/bootstrap.sh
cmake -S . -B build >/dev/null
cmake --build build -j"$(nproc)" --target kgrqt-plot kgrqt-example kgrqt-evimport kgrqt-evfeed
# The sample event database, from the bundled catalogues.
if [ ! -f build/data/sample-events.db ]; then
    mkdir -p build/data
    build/bin/kgrqt-evimport build/data/sample-events.db data/earthquakes.txt data/quakes-mt.xml
fi
[ $# -eq 0 ] && set -- data/sample.mseed
exec build/bin/kgrqt-plot "$@"
