#!/usr/bin/env bash
# Installs what is missing, builds, and plots the bundled miniSEED sample
# with kgrqt-plot: a window when there is a display, otherwise a PNG
# snapshot. Arguments go to kgrqt-plot instead (options and a file).
set -euo pipefail
cd "$(dirname "$0")/.."
bash tools/bootstrap.sh
cmake -S . -B build >/dev/null
cmake --build build -j"$(nproc)" --target kgrqt-plot kgrqt-example
[ $# -eq 0 ] && set -- data/sample.mseed
exec build/bin/kgrqt-plot "$@"
