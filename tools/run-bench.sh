#!/usr/bin/env bash
# Builds and runs the trace-drawing benchmark (bench/bench_trace.cpp): the
# polyline item against QPainter::drawPolyline, Qwt and QCustomPlot.
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

packages="libbenchmark-dev libqwt-qt5-dev libqcustomplot-dev"
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
    -DKGRQT_BUILD_TESTS=OFF -DKGRQT_BUILD_APPS=OFF
cmake --build "$build" -j2 --target bench_trace bench_annotation bench_moment

# Medians of five runs; the machine may be shared, so CPU time is the
# figure to read.
QT_QPA_PLATFORM=offscreen "$build/bin/bench_trace" \
    --benchmark_repetitions=5 --benchmark_report_aggregates_only=true \
    --benchmark_out="$build/bench_trace.json" --benchmark_out_format=json "$@"

# Axes, grid and a time axis, against the same frame in Qwt and QCustomPlot.
QT_QPA_PLATFORM=offscreen "$build/bin/bench_annotation" \
    --benchmark_repetitions=5 --benchmark_report_aggregates_only=true \
    --benchmark_out="$build/bench_annotation.json" --benchmark_out_format=json "$@"

# Moment tensors to beach-ball outlines.
"$build/bin/bench_moment" \
    --benchmark_repetitions=5 --benchmark_report_aggregates_only=true \
    --benchmark_out="$build/bench_moment.json" --benchmark_out_format=json "$@"
