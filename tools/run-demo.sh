#!/usr/bin/env bash
# Installs what is missing, builds, and runs the main program on the bundled
# sample data: a window when there is a display, otherwise a PNG snapshot.
set -euo pipefail
cd "$(dirname "$0")/.."
bash tools/bootstrap.sh
cmake -S . -B build >/dev/null
cmake --build build -j"$(nproc)" --target kgrqt-example
exec build/bin/kgrqt-example "$@"
