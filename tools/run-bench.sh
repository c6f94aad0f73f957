#!/usr/bin/env bash
# Builds and runs the trace-drawing benchmark (bench/bench_trace.cpp): the
# polyline item against QPainter::drawPolyline, Qwt and QCustomPlot; then
# the map-data benchmark (bench/bench_mapdata.cpp) with gdalwarp timed on
# the same equidistant image job; the map item (bench/bench_map.cpp); the
# map program's view (bench/bench_mapview.cpp) with
# GMT timed on the same map (tools/time_gmt_map.sh); and
# the event-database benchmark (bench/bench_eventdb.cpp).
# The two plotting libraries are benchmark peers only, so they are installed
# here and not by tools/bootstrap.sh.
#
#   tools/run-bench.sh [extra Google Benchmark flags]
#
# Results go to stdout and, as JSON, to build-bench/bench_trace.json
# (BUILD_DIR chooses another build directory).
set -euo pipefail
cd "$(dirname "$0")/.."
build="${BUILD_DIR:-build-bench}"

packages="libbenchmark-dev libqwt-qt5-dev libqcustomplot-dev gdal-bin ghostscript"
missing=""
for p in $packages; do
    dpkg -s "$p" >/dev/null 2>&1 || missing="$missing $p"
done
if [ -n "$missing" ]; then
    apt-get update
    # shellcheck disable=SC2086
    apt-get install -y $missing
fi

cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=Release -DKGRQT_BUILD_BENCH=ON \
    -DKGRQT_BUILD_TESTS=OFF -DKGRQT_BUILD_APPS=ON
cmake --build "$build" -j2 --target bench_trace bench_annotation bench_mapdata bench_map \
    bench_mapview bench_eventdb bench_moment bench_polypoint

# Medians of five runs; the machine may be shared, so CPU time is the
# figure to read.
QT_QPA_PLATFORM=offscreen "$build/bin/bench_trace" \
    --benchmark_repetitions=5 --benchmark_report_aggregates_only=true \
    --benchmark_out="$build/bench_trace.json" --benchmark_out_format=json "$@"

# Axes, grid and a time axis, against the same frame in Qwt and QCustomPlot.
QT_QPA_PLATFORM=offscreen "$build/bin/bench_annotation" \
    --benchmark_repetitions=5 --benchmark_report_aggregates_only=true \
    --benchmark_out="$build/bench_annotation.json" --benchmark_out_format=json "$@"

# Map data: the files kgrqt-mapdata builds (made here with the plain build
# when missing).
[ -d build ] || cmake -S . -B build >/dev/null
bash tools/install-mapdata.sh build
QT_QPA_PLATFORM=offscreen "$build/bin/bench_mapdata" \
    --benchmark_repetitions=5 --benchmark_report_aggregates_only=true \
    --benchmark_out="$build/bench_mapdata.json" --benchmark_out_format=json "$@"

# gdalwarp on the same job: the Blue Marble and the ETOPO5 relief into
# 1920 x 1080 azimuthal equidistant on a sphere about (40 N, 10 E), 340
# degrees of arc across, nearest neighbour, two threads, into memory.
# Five runs each; wall and user seconds of each run.
bm="$build/bluemarble-4326.tif"
[ -f "$bm" ] || gdal_translate -q -a_srs EPSG:4326 -a_ullr -180 90 180 -90 \
    /usr/share/marble/data/maps/earth/bluemarble/bluemarble.jpg "$bm"
read -r hw hh < <(awk 'BEGIN { r = 6371000 * 3.141592653589793 / 180;
    printf "%.3f %.3f\n", 170 * r, 170 * 1080 / 1920 * r }')
srs="+proj=aeqd +lat_0=40 +lon_0=10 +R=6371000 +units=m"
for src in "$bm" 'NETCDF:"/usr/share/ferret-vis/data/etopo5.cdf":ROSE'; do
    for i in 1 2 3 4 5; do
        /usr/bin/time -f "gdalwarp $(basename "$src"): %e s wall, %U s user" \
            gdalwarp -q -overwrite -r near -wo NUM_THREADS=2 -multi -s_srs EPSG:4326 \
            -t_srs "$srs" -te -"$hw" -"$hh" "$hw" "$hh" -ts 1920 1080 -of MEM "$src" warp.mem \
            2>&1 | grep '^gdalwarp'
    done
done

# The map item after a navigation step; kgrqt-map's view: the default map
# redrawn and the vector layers panned, at 1920 x 1080; then GMT drawing
# the same map to PNG.
QT_QPA_PLATFORM=offscreen "$build/bin/bench_map" \
    --benchmark_repetitions=3 --benchmark_report_aggregates_only=true \
    --benchmark_out="$build/bench_map.json" --benchmark_out_format=json "$@"
QT_QPA_PLATFORM=offscreen "$build/bin/bench_mapview" \
    --benchmark_repetitions=5 --benchmark_report_aggregates_only=true \
    --benchmark_out="$build/bench_mapview.json" --benchmark_out_format=json "$@"
bash tools/time_gmt_map.sh 5 "$build/gmt-map"

# The event view on 100,000 events and 1,000,000 detections, on SQLite and,
# on a throwaway PostgreSQL cluster, PostgreSQL (the databases are built on
# the first run and take a few minutes).
pg_uri=$(bash tools/pg-test-cluster.sh start "$build")
trap 'bash tools/pg-test-cluster.sh stop "$build"' EXIT
(cd "$build" && KGRQT_PG_URI="$pg_uri" bin/bench_eventdb \
    --benchmark_repetitions=3 --benchmark_report_aggregates_only=true \
    --benchmark_out=bench_eventdb.json --benchmark_out_format=json "$@")

# Moment tensors to beach-ball outlines.
"$build/bin/bench_moment" \
    --benchmark_repetitions=5 --benchmark_report_aggregates_only=true \
    --benchmark_out="$build/bench_moment.json" --benchmark_out_format=json "$@"

# 100000 point symbols against QCustomPlot's scatter, and the symbol searches.
QT_QPA_PLATFORM=offscreen "$build/bin/bench_polypoint" \
    --benchmark_repetitions=5 --benchmark_report_aggregates_only=true \
    --benchmark_out="$build/bench_polypoint.json" --benchmark_out_format=json "$@"
